#include "ImageProcessing/DornImage/analysis/EmptyPageCount.h"

#include "ImageProcessing/DornImage/GrayScale.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/analysis/PixelRows.h"
#include "primitives/primitives.h"

#include <algorithm>
#include <memory>
#include <new>

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

// Rows of a page that are filtered at a time, so that they stay in the nearer caches.
constexpr int bandHeight = 128;

// A grey picture whose rows are aligned, not initialised; `pixels` is null when there is no memory for it.
struct WorkPicture {
    explicit WorkPicture(IppiSize size) : pixels(ippiMalloc_8u_C1(size.width, size.height, &step)) {}

    const Ipp8u* row(int y) const { return pixels.get() + static_cast<std::ptrdiff_t>(y) * step; }
    Ipp8u* row(int y) { return pixels.get() + static_cast<std::ptrdiff_t>(y) * step; }

    int step = 0;
    std::unique_ptr<Ipp8u, FreePixels> pixels;
};

/// Counts what stands out, a band of rows after the other.
///
/// The work pictures are of the page's size, which settles how large a page can be; but only as many of their
/// rows are used as a band needs. Touching fresh memory for a whole page takes longer than all arithmetic.
class BandCounter {
public:
    BandCounter(const Ipp8u* pixels, int step, IppiSize size)
        : pixels_(pixels), step_(step), size_(size), difference_(size), density_(size) {}

    /// Whether there is memory for it and a filter that takes such a picture.
    bool prepare() { return difference_.pixels && density_.pixels && reserveBuffer(size_); }

    /// Counts the rows from `from` to before `to`, which have to be 16 or more away from the page's edges.
    bool count(int from, int to, std::uint8_t threshold, EmptyPageFilling& grid) {
        // Two rows more on either side for the noise mask, and on to the page's edge where the neighbourhood
        // reaches beyond it.
        first_ = from - 2 < neighbourhood.height / 2 ? 0 : from - 2;
        const int end = to + 2 > size_.height - neighbourhood.height / 2 ? size_.height : to + 2;
        const IppiSize band = {size_.width, end - first_};
        const Ipp8u* const source = pixels_ + static_cast<std::ptrdiff_t>(first_) * step_;
        const unsigned border = ippBorderRepl | (first_ > 0 ? unsigned{ippBorderInMemTop} : 0) |
                                (end < size_.height ? unsigned{ippBorderInMemBottom} : 0);
        if (!reserveBuffer(band) || !filter(source, step_, difference_, band, neighbourhood, border)) {
            return false;
        }
        for (int y = 0; y < band.height; ++y) {
            markDifferences(source + static_cast<std::ptrdiff_t>(y) * step_, difference_.row(y),
                            static_cast<std::size_t>(band.width), threshold);
        }
        if (!filter(difference_.pixels.get(), difference_.step, density_, band, noiseMask, ippBorderRepl)) {
            return false;
        }
        for (unsigned i = 0; i < grid.getCellCount(); ++i) {
            countCell(from, to, grid.getCell(i));
        }
        return true;
    }

private:
    // A low band may need more than the whole page. What the neighbourhood needs is enough for the noise
    // mask.
    bool reserveBuffer(IppiSize size) {
        int needed = 0;
        if (ippiFilterBoxBorderGetBufferSize(size, neighbourhood, ipp8u, 1, &needed) != ippStsNoErr) {
            return false;
        }
        if (needed > bufferSize_) {
            buffer_.reset(ippsMalloc_8u(needed));
            bufferSize_ = needed;
        }
        return buffer_ != nullptr;
    }

    bool filter(const Ipp8u* source, int step, WorkPicture& result, IppiSize size, IppiSize mask,
                unsigned border) {
        return ippiFilterBoxBorder_8u_C1R(source, step, result.pixels.get(), result.step, size, mask, border,
                                          nullptr, buffer_.get()) == ippStsNoErr;
    }

    // The cell's part of the band.
    void countCell(int from, int to, EmptyPageCell& cell) {
        const int y = static_cast<int>(cell.y);
        to = std::min(to, y + static_cast<int>(cell.height));
        counter_.start(cell.width);
        for (int row = std::max(from, y); row < to; ++row) {
            counter_.addRow(difference_.row(row - first_) + cell.x, density_.row(row - first_) + cell.x);
        }
        cell.filling += counter_.total();
    }

    const Ipp8u* pixels_;
    int step_;
    IppiSize size_;
    WorkPicture difference_;
    WorkPicture density_;
    std::unique_ptr<Ipp8u, FreeBuffer> buffer_;
    int bufferSize_ = 0;
    MarkCounter counter_;
    int first_ = 0; // page row that the work pictures begin with
};

bool countGreyBitmap(FIBITMAP* grey, EmptyPageFilling& grid, const EmptyPage3Params& params) {
    return countByBoxFilter(::FreeImage_GetBits(grey), static_cast<int>(::FreeImage_GetPitch(grey)),
                            static_cast<int>(::FreeImage_GetWidth(grey)),
                            static_cast<int>(::FreeImage_GetHeight(grey)), grid, params);
}

} // namespace

bool countBilevelPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params&) {
    const BYTE* const bits = ::FreeImage_GetBits(bitmap);
    if (!bits) {
        return false;
    }
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
                      const EmptyPage3Params& params) try {
    if (!bits) {
        return false;
    }
    BandCounter counter(bits, pitch, {width, height});
    if (!counter.prepare()) {
        return false;
    }
    const std::uint8_t threshold = params.differenceThreshold;
    const EmptyPageCell& last = grid.getCell(grid.getCellCount() - 1);
    const int end = static_cast<int>(last.y + last.height);
    for (int y = static_cast<int>(grid.getCell(0).y); y < end; y += bandHeight) {
        if (!counter.count(y, std::min(y + bandHeight, end), threshold, grid)) {
            return false;
        }
    }
    return true;
} catch (const std::bad_alloc&) { // the counter's column sums
    return false;
}

} // namespace DornImage
