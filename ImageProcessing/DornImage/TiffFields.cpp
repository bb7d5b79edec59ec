#include "ImageProcessing/DornImage/TiffFields.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <fcntl.h>
#include <iterator>
#include <new>
#include <tiffio.h>
#include <vector>

namespace DornImage {

namespace {

// The tags that FreeImage's writer asks for and that are no fields of the main directory.
constexpr std::uint32_t exifTags[] = {
    0x829a, 0x829d, 0x8822, 0x8824, 0x8827, 0x8828, 0x9000, 0x9003, 0x9004, 0x9101, 0x9102, 0x9201,
    0x9202, 0x9203, 0x9204, 0x9205, 0x9206, 0x9207, 0x9208, 0x9209, 0x920a, 0x9214, 0x927c, 0x9286,
    0x9290, 0x9291, 0x9292, 0xa000, 0xa001, 0xa002, 0xa003, 0xa004, 0xa20b, 0xa20c, 0xa20e, 0xa20f,
    0xa210, 0xa214, 0xa215, 0xa217, 0xa300, 0xa301, 0xa302, 0xa401, 0xa402, 0xa403, 0xa404, 0xa405,
    0xa406, 0xa407, 0xa408, 0xa409, 0xa40a, 0xa40b, 0xa40c, 0xa420,
};

using FieldInfos = std::array<TIFFFieldInfo, std::size(exifTags)>;

FieldInfos makeFieldInfos() {
    static char name[] = "EXIF";
    FieldInfos infos{};
    std::transform(std::begin(exifTags), std::end(exifTags), infos.begin(), [](std::uint32_t tag) {
        // No tag of a picture has the type TIFF_NOTYPE, and FreeImage leaves out what differs in type.
        return TIFFFieldInfo{tag, TIFF_VARIABLE, TIFF_VARIABLE, TIFF_NOTYPE, FIELD_CUSTOM, 1, 1, name};
    });
    return infos;
}

// FreeImage counts IPTC records in words of 4 bytes, as the tag was once defined; the TIFF codec counts
// bytes. So FreeImage would read four times the record, and write a quarter of it. The two functions below
// stand between them.
std::atomic<TIFFVSetMethod> plainSetField{nullptr};
std::atomic<TIFFVGetMethod> plainGetField{nullptr};

int callPlainSetField(TIFF* file, std::uint32_t tag, ...) {
    va_list values;
    va_start(values, tag);
    const int set = plainSetField.load()(file, tag, values);
    va_end(values);
    return set;
}

int callPlainGetField(TIFF* file, std::uint32_t tag, ...) {
    va_list values;
    va_start(values, tag);
    const int got = plainGetField.load()(file, tag, values);
    va_end(values);
    return got;
}

constexpr std::uint32_t wordSize = 4;

// The codec's file reading hands over bytes, FreeImage's writing hands over words.
int setField(TIFF* file, std::uint32_t tag, va_list values) {
    if (tag != TIFFTAG_RICHTIFFIPTC) {
        return plainSetField.load()(file, tag, values);
    }
    const auto count = va_arg(values, std::uint32_t);
    auto* const data = va_arg(values, std::uint8_t*);
    if (TIFFGetMode(file) != O_RDONLY) {
        return count <= UINT32_MAX / wordSize ? callPlainSetField(file, tag, count * wordSize, data) : 0;
    }
    try {
        std::vector<std::uint8_t> words(data, data + count);
        words.resize((words.size() + wordSize - 1) / wordSize * wordSize);
        if (TIFFIsByteSwapped(file)) { // FreeImage swaps them back
            for (auto word = words.begin(); word != words.end(); word += wordSize) {
                std::reverse(word, word + wordSize);
            }
        }
        return callPlainSetField(file, tag, static_cast<std::uint32_t>(words.size()), words.data());
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

int getField(TIFF* file, std::uint32_t tag, va_list values) {
    if (tag != TIFFTAG_RICHTIFFIPTC) {
        return plainGetField.load()(file, tag, values);
    }
    auto* const count = va_arg(values, std::uint32_t*);
    auto* const data = va_arg(values, void**);
    if (!callPlainGetField(file, tag, count, data)) {
        return 0;
    }
    *count /= wordSize;
    return 1;
}

void countIptcInWords(TIFF* file) {
    const TIFFField* const field = TIFFFieldWithTag(file, TIFFTAG_RICHTIFFIPTC);
    const char* const name = TIFFFileName(file);
    const bool isOfFreeImage = name && !*name; // other users of the codec name their files
    if (field && isOfFreeImage && TIFFFieldDataType(field) != TIFF_LONG) {
        TIFFTagMethods* const methods = TIFFAccessTagMethods(file);
        plainSetField = methods->vsetfield;
        plainGetField = methods->vgetfield;
        methods->vsetfield = setField;
        methods->vgetfield = getField;
    }
}

TIFFExtendProc earlierExtender = nullptr;

// Called by the TIFF codec for each directory of each file that it opens.
void addFields(TIFF* file) {
    static const FieldInfos infos = makeFieldInfos();
    if (TIFFGetMode(file) != O_RDONLY) {
        TIFFMergeFieldInfo(file, infos.data(), static_cast<std::uint32_t>(infos.size()));
    }
    countIptcInWords(file);
    if (earlierExtender) {
        earlierExtender(file);
    }
}

} // namespace

void installTiffFields() {
    earlierExtender = TIFFSetTagExtender(addFields);
}

} // namespace DornImage
