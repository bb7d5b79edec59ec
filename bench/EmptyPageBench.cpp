// The decision whether a page is empty, at each depth, on A4 pages at 300 dots per inch.

#include <cstdint>
#include <vector>

#include "ImageProcessing/DornImage/DornImage.h"
#include "bench/BenchCommon.h"

namespace {

FIBITMAP* makeBitmap(const bench::Picture& page, int depth) {
    FIBITMAP* const grey = FreeImage_ConvertFromRawBits(const_cast<BYTE*>(page.bytes.data()), page.width,
                                                        page.height, page.step(), 8, 0, 0, 0, FALSE);
    if (depth == 8) {
        return grey;
    }
    FIBITMAP* const other = depth == 1 ? FreeImage_Threshold(grey, 128) : FreeImage_ConvertTo24Bits(grey);
    FreeImage_Unload(grey);
    return other;
}

void addDecision(const std::string& contest, const bench::Picture& page, FIBITMAP* bitmap) {
    bench::addVariants(contest, page.pixels(), [bitmap] {
        DornImage::EmptyPage3Params params{20, 0.01, 50, 0, {}};
        benchmark::DoNotOptimize(DornImage::detectEmptyPage(bitmap, params));
    });
}

} // namespace

int main(int argc, char** argv) {
    const bench::Picture page = bench::makePage(1);
    bench::Picture copy(page.width, page.height, 1);
    std::vector<FIBITMAP*> bitmaps;
    for (const int depth : {1, 8, 24}) {
        const std::string contest = "empty page, bits a pixel: " + std::to_string(depth);
        bitmaps.push_back(makeBitmap(page, depth));
        if (depth == 8) {
            bench::addCopy(contest, page, copy);
        }
        addDecision(contest, page, bitmaps.back());
    }
    bench::add("part of it for 24 bits", "FreeImage_ConvertToGreyscale", page.pixels(),
               [&bitmaps] { FreeImage_Unload(FreeImage_ConvertToGreyscale(bitmaps.back())); });
    const int result = bench::run(argc, argv);
    for (FIBITMAP* const bitmap : bitmaps) {
        FreeImage_Unload(bitmap);
    }
    return result;
}
