#include "ImageProcessing/DornImage/ExifBlock.h"

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
constexpr std::size_t valueInEntry = 8;

} // namespace

ExifBlock::ExifBlock(unsigned char* block, std::size_t size) {
    constexpr unsigned char signature[] = {'E', 'x', 'i', 'f', 0, 0};
    constexpr std::size_t headBytes = 8;
    if (size < sizeof signature + headBytes || std::memcmp(block, signature, sizeof signature) != 0) {
        return;
    }
    unsigned char* const head = block + sizeof signature;
    bigEndian = std::memcmp(head, "MM\0*", 4) == 0;
    if (bigEndian || std::memcmp(head, "II*\0", 4) == 0) {
        data = head;
        dataSize = size - sizeof signature;
    }
}

void ExifBlock::exchangeResolutions() {
    unsigned char* const x = fractionOf(xResolutionTag);
    unsigned char* const y = fractionOf(yResolutionTag);
    if (x && y && static_cast<std::size_t>(x < y ? y - x : x - y) >= fractionBytes) {
        std::swap_ranges(x, x + fractionBytes, y);
    }
}

void ExifBlock::markUpright() {
    if (unsigned char* const entry = entryOf(orientationTag, shortType)) {
        unsigned char* const value = entry + valueInEntry;
        value[0] = bigEndian ? 0 : 1;
        value[1] = bigEndian ? 1 : 0;
    }
}

std::size_t ExifBlock::number(std::size_t place, std::size_t bytes) const {
    std::size_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        value = value << 8 | data[place + (bigEndian ? i : bytes - 1 - i)];
    }
    return value;
}

// The entry of a single value of that type in the first directory, or null.
unsigned char* ExifBlock::entryOf(std::size_t tag, std::size_t type) const {
    if (!data) {
        return nullptr;
    }
    const std::size_t directory = number(4, 4);
    if (directory > dataSize - 2) {
        return nullptr;
    }
    const std::size_t first = directory + 2;
    const std::size_t held = std::min(number(directory, 2), (dataSize - first) / entryBytes);
    for (std::size_t i = 0; i < held; ++i) {
        const std::size_t entry = first + i * entryBytes;
        if (number(entry, 2) == tag) {
            return number(entry + 2, 2) == type && number(entry + 4, 4) == 1 ? data + entry : nullptr;
        }
    }
    return nullptr;
}

unsigned char* ExifBlock::fractionOf(std::size_t tag) const {
    const unsigned char* const entry = entryOf(tag, fractionType);
    if (!entry) {
        return nullptr;
    }
    const std::size_t place = number(static_cast<std::size_t>(entry - data) + valueInEntry, 4);
    return place <= dataSize && dataSize - place >= fractionBytes ? data + place : nullptr;
}

} // namespace DornImage
