// The box filter on a page of one channel, beside other libraries. Borders differ from library to library;
// the pixels inside don't matter to any of them.

#include <cstdio>
#include <string>
#include <vector>

#include "bench/BenchCommon.h"
#include "bench/OtherLibraries.h"

namespace {

// Source, destination and work buffer, which all contests share.
struct Pictures {
    bench::Picture page = bench::makePage(1);
    bench::Picture result = bench::Picture(page.width, page.height, 1);
    std::vector<Ipp8u> buffer;
};

std::string contestOf(int side) {
    return "box " + std::to_string(side) + " x " + std::to_string(side);
}

void filter(Pictures& pictures, int side) {
    const bench::Picture& page = pictures.page;
    if (ippiFilterBoxBorder_8u_C1R(page.bytes.data(), page.step(), pictures.result.bytes.data(), page.step(),
                                   page.size(), {side, side}, ippBorderRepl, nullptr,
                                   pictures.buffer.data()) != ippStsNoErr) {
        std::fputs("the box filter refused its arguments\n", stderr);
    }
}

void addContest(Pictures& pictures, int side) {
    const std::string contest = contestOf(side);
    const std::int64_t pixels = pictures.page.pixels();
    bench::addCopy(contest, pictures.page, pictures.result);
    bench::addVariants(contest, pixels, [&pictures, side] { filter(pictures, side); });
#if defined(DORN_BENCH_LEPTONICA)
    PIX* pix = bench::makePix(pictures.page);
    bench::add(contest, "Leptonica pixBlockconv", pixels, [pix, side] {
        PIX* filtered = pixBlockconv(pix, side / 2, side / 2);
        pixDestroy(&filtered);
    });
#endif
#if defined(DORN_BENCH_VIPS)
    if (side <= 33) { // its time grows with the mask
        VipsImage* mask = vips_image_new_matrix(side, 1);
        for (int i = 0; i < side; ++i) {
            *VIPS_MATRIX(mask, i, 0) = 1;
        }
        vips_image_set_double(mask, "scale", side);
        bench::add(contest, "libvips convsep", pixels,
                   [&pictures, mask] { bench::convolveWithVips(pictures.page, pictures.result, mask); });
    }
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::add(contest, "OpenCV blur", pixels, [&pictures, side] {
        cv::Mat to = bench::matOf(pictures.result);
        cv::blur(bench::matOf(pictures.page), to, cv::Size(side, side), cv::Point(-1, -1),
                 cv::BORDER_REPLICATE);
    });
#endif
}

} // namespace

int main(int argc, char** argv) {
    if (bench::startOtherLibraries(argv[0]) != 0) {
        return 1;
    }
    Pictures pictures;
    for (const int side : {3, 5, 7, 33, 301}) {
        std::int32_t size = 0;
        if (ippiFilterBoxBorderGetBufferSize(pictures.page.size(), {side, side}, ipp8u, 1, &size) !=
            ippStsNoErr) {
            return 1;
        }
        pictures.buffer.resize(std::max(pictures.buffer.size(), static_cast<std::size_t>(size)));
        addContest(pictures, side);
    }
    return bench::run(argc, argv);
}
