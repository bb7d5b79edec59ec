#include "ImageProcessing/DornImage/resize/IppResizer.h"

#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/PrimitiveBlock.h"

#include <cstring>
#include <utility>

namespace DornImage {

namespace {

// What exceeds the range becomes negative, which the primitives refuse.
IppiSize sizeOf(unsigned width, unsigned height) {
    return {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
}

// The stored lines of a bitmap, the lowest one first. The methods don't care which end is up.
struct Lines {
    explicit Lines(FIBITMAP* bitmap)
        : first(FreeImage_GetBits(bitmap)), step(static_cast<std::int32_t>(FreeImage_GetPitch(bitmap))) {}

    // A line of 2 GiB or more has no step.
    bool areThere() const { return first && step > 0; }

    Ipp8u* first;
    std::int32_t step;
};

bool copyPalette(FIBITMAP* source, FIBITMAP* target) {
    const RGBQUAD* const from = FreeImage_GetPalette(source);
    RGBQUAD* const to = FreeImage_GetPalette(target);
    if (!from || !to) {
        return false;
    }
    std::memcpy(to, from, 256 * sizeof(RGBQUAD));
    return true;
}

} // namespace

bool IppResizer::resize(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) const {
    const std::uint32_t channels = getChannels();
    const IppiSize srcSize = sizeOf(FreeImage_GetWidth(source), FreeImage_GetHeight(source));
    const IppiSize dstSize = sizeOf(width, height);
    std::int32_t specBytes = 0;
    std::int32_t initBytes = 0;
    if (ippiResizeGetSize_8u(srcSize, dstSize, static_cast<std::int32_t>(interpolation), 0, &specBytes,
                             &initBytes) != ippStsNoErr) {
        return false;
    }
    const PrimitiveBlock initBuffer(ippsMalloc_8u(initBytes));
    const PrimitiveBlock spec(ippsMalloc_8u(specBytes));
    if (!initBuffer || !spec || init(srcSize, dstSize, spec.get(), initBuffer.get()) != ippStsNoErr) {
        return false;
    }
    std::int32_t bufferBytes = 0;
    if (ippiResizeGetBufferSize_8u(reinterpret_cast<const IppiResizeSpec*>(spec.get()), dstSize, channels,
                                   &bufferBytes) != ippStsNoErr) {
        return false;
    }
    const PrimitiveBlock buffer(ippsMalloc_8u(bufferBytes));
    const Lines src(source);
    if (!buffer || !src.areThere()) {
        return false;
    }
    FIBitmapPtr scaled(
        FreeImage_Allocate(dstSize.width, dstSize.height, static_cast<int>(channels * 8), 0, 0, 0));
    const Lines dst(scaled.get());
    if (!dst.areThere() || run(src.first, src.step, dst.first, dst.step, {0, 0}, dstSize, ippBorderRepl,
                               nullptr, spec.get(), buffer.get()) != ippStsNoErr) {
        return false;
    }
    if (channels == 1 && !copyPalette(source, scaled.get())) {
        return false;
    }
    *result = scaled.detach();
    return true;
}

} // namespace DornImage
