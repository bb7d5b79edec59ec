#include "ImageProcessing/DornImage/analysis/EmptyPageCount.h"

#include "ImageProcessing/DornImage/GrayScale.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/analysis/PixelRows.h"
#include "primitives/primitives.h"

#include <memory>

namespace DornImage {

namespace {

constexpr IppiSize neighbourhood = {33, 33};
constexpr IppiSize noiseMask = {5, 5};

struct FreePixels {
    void operator()(Ipp8u* pixels) const { ippiFree(pixels); }
};
struct FreeBuffer {
    void operator()(Ipp8u* buffer) const { ippsFree(buffer); }
};

// A grey picture whose rows are aligned, not initialised; `pixels` is null when there is no memory for it.
struct WorkPicture {
    explicit WorkPicture(IppiSize size) : pixels(ippiMalloc_8u_C1(size.width, size.height, &step)) {}

    const Ipp8u* row(std::uint32_t y) const { return pixels.get() + static_cast<std::ptrdiff_t>(y) * step; }
    Ipp8u* row(std::uint32_t y) { return pixels.get() + static_cast<std::ptrdiff_t>(y) * step; }

    int step = 0;
    std::unique_ptr<Ipp8u, FreePixels> pixels;
};

bool meanAround(const Ipp8u* source, int step, WorkPicture& result, IppiSize size, IppiSize mask,
                Ipp8u* buffer) {
    return ippiFilterBoxBorder_8u_C1R(source, step, result.pixels.get(), result.step, size, mask,
                                      ippBorderRepl, nullptr, buffer) == ippStsNoErr;
}

void countMarks(const WorkPicture& marks, const WorkPicture& density, EmptyPageFilling& grid) {
    MarkCounter counter;
    for (unsigned i = 0; i < grid.getCellCount(); ++i) {
        EmptyPageCell& cell = grid.getCell(i);
        counter.start(cell.width);
        for (std::uint32_t y = cell.y; y < cell.y + cell.height; ++y) {
            counter.addRow(marks.row(y) + cell.x, density.row(y) + cell.x);
        }
        cell.filling += counter.total();
    }
}

bool countGreyBitmap(FIBITMAP* grey, EmptyPageFilling& grid, const EmptyPage3Params& params) {
    return countByBoxFilter(::FreeImage_GetBits(grey), static_cast<int>(::FreeImage_GetPitch(grey)),
                            static_cast<int>(::FreeImage_GetWidth(grey)),
                            static_cast<int>(::FreeImage_GetHeight(grey)), grid, params);
}

} // namespace

bool countBilevelPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params&) {
    const BYTE* const bits = ::FreeImage_GetBits(bitmap);
    const std::size_t pitch = ::FreeImage_GetPitch(bitmap);
    for (unsigned i = 0; i < grid.getCellCount(); ++i) {
        EmptyPageCell& cell = grid.getCell(i);
        for (std::uint32_t y = cell.y; y < cell.y + cell.height; ++y) {
            cell.filling += countSetBits(bits + y * pitch, cell.x, cell.width);
        }
    }
    return true;
}

bool countGreyPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params& params) {
    FIBitmapPtr converted;
    if (!FreeImage_IsGrayScale(bitmap)) {
        converted.attach(::FreeImage_ConvertToGreyscale(bitmap));
        if (!converted.get()) {
            return false;
        }
    }
    countGreyBitmap(converted.get() ? converted.get() : bitmap, grid, params);
    return true;
}

bool countColourPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params& params) {
    const FIBitmapPtr converted(::FreeImage_ConvertToGreyscale(bitmap));
    return converted.get() && countGreyBitmap(converted.get(), grid, params);
}

bool countByBoxFilter(const unsigned char* bits, int pitch, int width, int height, EmptyPageFilling& grid,
                      const EmptyPage3Params& params) {
    const IppiSize size = {width, height};
    WorkPicture difference(size);
    WorkPicture density(size);
    if (!difference.pixels || !density.pixels) {
        return false;
    }
    int bufferSize = 0;
    if (ippiFilterBoxBorderGetBufferSize(size, neighbourhood, ipp8u, 1, &bufferSize) != ippStsNoErr) {
        return false;
    }
    const std::unique_ptr<Ipp8u, FreeBuffer> buffer(ippsMalloc_8u(bufferSize));
    if (!buffer || !meanAround(bits, pitch, difference, size, neighbourhood, buffer.get())) {
        return false;
    }
    const std::uint8_t threshold = params.differenceThreshold;
    for (int y = 0; y < height; ++y) {
        markDifferences(bits + static_cast<std::ptrdiff_t>(y) * pitch,
                        difference.row(static_cast<std::uint32_t>(y)), static_cast<std::size_t>(width),
                        threshold);
    }
    if (!meanAround(difference.pixels.get(), difference.step, density, size, noiseMask, buffer.get())) {
        return false;
    }
    countMarks(difference, density, grid);
    return true;
}

} // namespace DornImage
