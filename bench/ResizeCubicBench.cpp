// Cubic and Lanczos resize of a page to twice its size, beside other libraries.

#include <list>
#include <string>

#include "bench/ResizeContestants.h"

namespace {

void resizeCubic(const bench::Picture& from, bench::Picture& to) {
    constexpr bench::ResizeRun runs[] = {ippiResizeCubic_8u_C1R, ippiResizeCubic_8u_C3R,
                                         ippiResizeCubic_8u_C4R};
    bench::resizeWhole(from, to, ippCubic, runs[from.channels / 2],
                       [&](IppiResizeSpec* spec, Ipp8u* scratch) {
                           return ippiResizeCubicInit_8u(from.size(), to.size(), 1.0F, 0.0F, spec, scratch);
                       });
}

void resizeLanczos(const bench::Picture& from, bench::Picture& to) {
    constexpr bench::ResizeRun runs[] = {ippiResizeLanczos_8u_C1R, ippiResizeLanczos_8u_C3R,
                                         ippiResizeLanczos_8u_C4R};
    bench::resizeWhole(from, to, ippLanczos, runs[from.channels / 2],
                       [&](IppiResizeSpec* spec, Ipp8u* scratch) {
                           return ippiResizeLanczosInit_8u(from.size(), to.size(), 3, spec, scratch);
                       });
}

void addCubic(bench::Picture& from, bench::Picture& to) {
    const bench::ResizeContest contest{"cubic C" + std::to_string(from.channels), from, to};
    bench::addResizeFloor(contest);
    bench::addVariants(contest.name, contest.pixels(), [&from, &to] { resizeCubic(from, to); });
#if defined(DORN_BENCH_FREEIMAGE)
    bench::addFreeImage(contest, FILTER_BSPLINE);
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::addOpenCv(contest, "cubic", cv::INTER_CUBIC);
#endif
#if defined(DORN_BENCH_SWSCALE)
    bench::addSwscale(contest, SWS_BICUBIC);
#endif
#if defined(DORN_BENCH_VIPS)
    bench::addVips(contest, VIPS_KERNEL_CUBIC);
#endif
#if defined(DORN_BENCH_ZIMG)
    bench::addZimg(contest, ZIMG_RESIZE_BICUBIC);
#endif
}

void addLanczos(bench::Picture& from, bench::Picture& to) {
    const bench::ResizeContest contest{"Lanczos C" + std::to_string(from.channels), from, to};
    bench::addResizeFloor(contest);
    bench::addVariants(contest.name, contest.pixels(), [&from, &to] { resizeLanczos(from, to); });
#if defined(DORN_BENCH_FREEIMAGE)
    bench::addFreeImage(contest, FILTER_LANCZOS3);
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::addOpenCv(contest, "Lanczos, 4 lobes", cv::INTER_LANCZOS4);
#endif
#if defined(DORN_BENCH_SWSCALE)
    bench::addSwscale(contest, SWS_LANCZOS);
#endif
#if defined(DORN_BENCH_VIPS)
    bench::addVips(contest, VIPS_KERNEL_LANCZOS3);
#endif
#if defined(DORN_BENCH_ZIMG)
    bench::addZimg(contest, ZIMG_RESIZE_LANCZOS);
#endif
}

} // namespace

int main(int argc, char** argv) {
    if (bench::startOtherLibraries(argv[0]) != 0) {
        return 1;
    }
    std::list<bench::Picture> pictures;
    for (const int channels : {1, 3, 4}) {
        bench::Picture& from = pictures.emplace_back(bench::makePage(channels, 1240, 1754));
        bench::Picture& to = pictures.emplace_back(2480, 3508, channels);
        addCubic(from, to);
        addLanczos(from, to);
    }
    return bench::run(argc, argv);
}
