#include "ImageProcessing/DornImage/TiffFields.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <iterator>
#include <tiffio.h>

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

TIFFExtendProc earlierExtender = nullptr;

// Called by the TIFF codec for each file that it opens.
void addFields(TIFF* file) {
    static const FieldInfos infos = makeFieldInfos();
    if (TIFFGetMode(file) != O_RDONLY) {
        TIFFMergeFieldInfo(file, infos.data(), static_cast<std::uint32_t>(infos.size()));
    }
    if (earlierExtender) {
        earlierExtender(file);
    }
}

} // namespace

void installTiffFields() {
    earlierExtender = TIFFSetTagExtender(addFields);
}

} // namespace DornImage
