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

void addContests(bench::Picture& from, bench::Picture& to) {
    const std::string channels = " C" + std::to_string(from.channels);
    const bench::ResizeContest cubic{"cubic" + channels, from, to};
    bench::addResizeFloor(cubic);
    bench::addVariants(cubic.name, cubic.pixels(), [&from, &to] { resizeCubic(from, to); });
    const bench::ResizeContest lanczos{"Lanczos" + channels, from, to};
    bench::addResizeFloor(lanczos);
    bench::addVariants(lanczos.name, lanczos.pixels(), [&from, &to] { resizeLanczos(from, to); });
#if defined(DORN_BENCH_FREEIMAGE)
    bench::addFreeImage(cubic, FILTER_BSPLINE);
    bench::addFreeImage(lanczos, FILTER_LANCZOS3);
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::addOpenCv(cubic, "cubic", cv::INTER_CUBIC);
    bench::addOpenCv(lanczos, "Lanczos, 4 lobes", cv::INTER_LANCZOS4);
#endif
#if defined(DORN_BENCH_SWSCALE)
    bench::addSwscale(cubic, SWS_BICUBIC);
    bench::addSwscale(lanczos, SWS_LANCZOS);
#endif
#if defined(DORN_BENCH_VIPS)
    bench::addVips(cubic, VIPS_KERNEL_CUBIC);
    bench::addVips(lanczos, VIPS_KERNEL_LANCZOS3);
#endif
#if defined(DORN_BENCH_ZIMG)
    bench::addZimg(cubic, ZIMG_RESIZE_BICUBIC);
    bench::addZimg(lanczos, ZIMG_RESIZE_LANCZOS);
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
        addContests(from, pictures.emplace_back(2480, 3508, channels));
    }
    return bench::run(argc, argv);
}
