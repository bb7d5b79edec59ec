#include "ImageProcessing/DornImage/JpegMarkers.h"

#include <algorithm>
#include <cstring>

namespace DornImage {
namespace {

constexpr std::size_t orientationTag = 0x0112;
constexpr std::size_t xResolutionTag = 0x011A;
constexpr std::size_t yResolutionTag = 0x011B;
constexpr std::size_t shortType = 3;
constexpr std::size_t fractionType = 5;
constexpr std::size_t fractionBytes = 8;
constexpr std::size_t entryBytes = 12;

} // namespace

JpegMarkers::JpegMarkers(unsigned char* file, std::size_t size) {
    // Segments follow the two bytes of the start: FF, a code, and a length that counts its own two bytes.
    constexpr unsigned char startOfScan = 0xDA;
    constexpr unsigned char jfif[] = {'J', 'F', 'I', 'F', 0};
    constexpr unsigned char exif[] = {'E', 'x', 'i', 'f', 0, 0};
    constexpr std::size_t jfifBytes = 14;
    constexpr std::size_t jfifDensityPlace = 8;
    std::size_t place = 2;
    while (place + 4 <= size && file[place] == 0xFF && file[place + 1] != startOfScan) {
        const std::size_t length = std::size_t{file[place + 2]} << 8 | file[place + 3];
        if (length < 2 || length > size - place - 2) {
            return;
        }
        unsigned char* const block = file + place + 4;
        const std::size_t bytes = length - 2;
        if (file[place + 1] == 0xE0 && !jfifDensity_ && bytes >= jfifBytes &&
            std::memcmp(block, jfif, sizeof jfif) == 0) {
            jfifDensity_ = block + jfifDensityPlace;
        } else if (file[place + 1] == 0xE1 && !exif_ && bytes > sizeof exif &&
                   std::memcmp(block, exif, sizeof exif) == 0) {
            findExif(block + sizeof exif, bytes - sizeof exif);
        }
        place += 2 + length;
    }
}

void JpegMarkers::findExif(unsigned char* block, std::size_t size) {
    constexpr std::size_t headBytes = 8;
    const bool big = size >= headBytes && std::memcmp(block, "MM\0*", 4) == 0;
    if (big || (size >= headBytes && std::memcmp(block, "II*\0", 4) == 0)) {
        exif_ = block;
        exifSize_ = size;
        bigEndian_ = big;
    }
}

void JpegMarkers::exchangeResolutions() {
    if (jfifDensity_) {
        std::swap_ranges(jfifDensity_, jfifDensity_ + 2, jfifDensity_ + 2);
    }
    unsigned char* const x = exifFraction(xResolutionTag);
    unsigned char* const y = exifFraction(yResolutionTag);
    if (x && y && static_cast<std::size_t>(x < y ? y - x : x - y) >= fractionBytes) {
        std::swap_ranges(x, x + fractionBytes, y);
    }
}

void JpegMarkers::markUpright() {
    if (unsigned char* const entry = exifEntry(orientationTag, shortType)) {
        unsigned char* const value = entry + 8;
        value[0] = bigEndian_ ? 0 : 1;
        value[1] = bigEndian_ ? 1 : 0;
    }
}

std::size_t JpegMarkers::number(std::size_t place, std::size_t bytes) const {
    std::size_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        value = value << 8 | exif_[place + (bigEndian_ ? i : bytes - 1 - i)];
    }
    return value;
}

/// The entry of a single value of that type in the first directory, or null.
unsigned char* JpegMarkers::exifEntry(std::size_t tag, std::size_t type) const {
    if (!exif_) {
        return nullptr;
    }
    const std::size_t directory = number(4, 4);
    if (directory > exifSize_ - 2) {
        return nullptr;
    }
    const std::size_t first = directory + 2;
    const std::size_t held = std::min(number(directory, 2), (exifSize_ - first) / entryBytes);
    for (std::size_t i = 0; i < held; ++i) {
        const std::size_t entry = first + i * entryBytes;
        if (number(entry, 2) == tag) {
            return number(entry + 2, 2) == type && number(entry + 4, 4) == 1 ? exif_ + entry : nullptr;
        }
    }
    return nullptr;
}

unsigned char* JpegMarkers::exifFraction(std::size_t tag) const {
    const unsigned char* const entry = exifEntry(tag, fractionType);
    if (!entry) {
        return nullptr;
    }
    const std::size_t place = number(static_cast<std::size_t>(entry - exif_) + 8, 4);
    return place <= exifSize_ && exifSize_ - place >= fractionBytes ? exif_ + place : nullptr;
}

} // namespace DornImage
