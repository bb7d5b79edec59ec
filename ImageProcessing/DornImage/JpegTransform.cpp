#include "ImageProcessing/DornImage/JpegTransform.h"

#include "ImageProcessing/DornImage/ExifBlock.h"
#include "base/Disk.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <turbojpeg.h>
#include <vector>

namespace DornImage {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File openFile(const Velmora::u8string& name, const char* mode) {
    Velmora::pstring wide;
    Velmora::c_u8u16(wide, name);
    return File(dorndisk::File(wide).open(mode), std::fclose);
}

/// Empty when the file can't be read.
std::vector<unsigned char> contentOf(const Velmora::u8string& name) {
    std::vector<unsigned char> content;
    const File file = openFile(name, "rb");
    if (!file) {
        return content;
    }
    constexpr std::size_t chunk = 1U << 20;
    std::size_t size = 0;
    do {
        content.resize(size + chunk);
        size += std::fread(content.data() + size, 1, chunk, file.get());
    } while (size == content.size());
    content.resize(std::ferror(file.get()) ? 0 : size);
    return content;
}

bool writeFile(const Velmora::u8string& name, const unsigned char* data, std::size_t size) {
    File file = openFile(name, "wb");
    return file && std::fwrite(data, 1, size, file.get()) == size && std::fclose(file.release()) == 0;
}

constexpr bool is(JpegOperation operation, TJXOP turbo) {
    return static_cast<int>(operation) == turbo;
}
static_assert(is(JpegOperation::flipHorizontal, TJXOP_HFLIP) &&
                  is(JpegOperation::flipVertical, TJXOP_VFLIP) &&
                  is(JpegOperation::transpose, TJXOP_TRANSPOSE) &&
                  is(JpegOperation::transverse, TJXOP_TRANSVERSE) &&
                  is(JpegOperation::rotate90, TJXOP_ROT90) && is(JpegOperation::rotate180, TJXOP_ROT180) &&
                  is(JpegOperation::rotate270, TJXOP_ROT270),
              "both libraries count alike");

bool exchangesAxes(JpegOperation operation) {
    return operation == JpegOperation::transpose || operation == JpegOperation::transverse ||
           operation == JpegOperation::rotate90 || operation == JpegOperation::rotate270;
}

/// Changes the JFIF header and the EXIF block of a file in memory.
void changeMarkers(unsigned char* file, std::size_t size, bool exchangeResolutions, bool markUpright) {
    constexpr unsigned char applicationData0 = 0xE0;
    constexpr unsigned char applicationData1 = 0xE1;
    constexpr unsigned char startOfScan = 0xDA;
    constexpr unsigned char jfif[] = {'J', 'F', 'I', 'F', 0};
    constexpr std::size_t jfifBytes = 14;
    constexpr std::size_t jfifDensity = 8; // 2 bytes across, 2 bytes down
    // Segments follow the two bytes of the start: FF, a code, and a length that counts its own two bytes.
    std::size_t place = 2;
    while (place + 4 <= size && file[place] == 0xFF && file[place + 1] != startOfScan) {
        const std::size_t length = std::size_t{file[place + 2]} << 8 | file[place + 3];
        if (length < 2 || length > size - place - 2) {
            return;
        }
        unsigned char* const block = file + place + 4;
        const std::size_t bytes = length - 2;
        if (file[place + 1] == applicationData0 && exchangeResolutions && bytes >= jfifBytes &&
            std::memcmp(block, jfif, sizeof jfif) == 0) {
            unsigned char* const density = block + jfifDensity;
            std::swap_ranges(density, density + 2, density + 2);
        } else if (file[place + 1] == applicationData1) {
            ExifBlock exif(block, bytes);
            if (exchangeResolutions) {
                exif.exchangeResolutions();
            }
            if (markUpright) {
                exif.markUpright();
            }
        }
        place += 2 + length;
    }
}

bool endsAsJpeg(const unsigned char* content, std::size_t size) {
    constexpr std::size_t shortest = 4; // a start and an end
    return content && size >= shortest && content[size - 2] == 0xFF && content[size - 1] == 0xD9;
}

struct EndTransformer {
    void operator()(void* handle) const { tjDestroy(handle); }
};

struct FreeOutput {
    void operator()(unsigned char* output) const { tjFree(output); }
};

} // namespace

JpegTransformed transformJpegFile(const Velmora::u8string& source, const Velmora::u8string& target,
                                  JpegOperation operation, bool markUpright) {
    const std::vector<unsigned char> input = contentOf(source);
    if (input.empty()) {
        return JpegTransformed::unreadable;
    }
    const std::unique_ptr<void, EndTransformer> transformer(tjInitTransform());
    if (!transformer) {
        return JpegTransformed::refused;
    }
    tjtransform transform{};
    transform.op = static_cast<int>(operation);
    transform.options = TJXOPT_PERFECT;
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    const int status =
        tjTransform(transformer.get(), input.data(), input.size(), 1, &buffer, &size, &transform, 0);
    const std::unique_ptr<unsigned char, FreeOutput> output(buffer);
    // After a warning the output is whole all the same, unless the transform failed for another reason later.
    if (status != 0 && (tjGetErrorCode(transformer.get()) != TJERR_WARNING || !endsAsJpeg(buffer, size))) {
        return JpegTransformed::refused;
    }
    changeMarkers(buffer, size, exchangesAxes(operation), markUpright);
    return writeFile(target, buffer, size) ? JpegTransformed::done : JpegTransformed::unwritten;
}

} // namespace DornImage
