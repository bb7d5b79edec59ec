// Linear resize of a page to twice its size, beside other libraries.

#include <cstdio>
#include <list>
#include <string>

#include "bench/ResizeContestants.h"

namespace {

void resize(const bench::Picture& from, bench::Picture& to) {
    constexpr bench::ResizeRun runs[] = {ippiResizeLinear_8u_C1R, ippiResizeLinear_8u_C3R,
                                         ippiResizeLinear_8u_C4R};
    bench::resizeWhole(from, to, ippLinear, runs[from.channels / 2], [&](IppiResizeSpec* spec, Ipp8u*) {
        return ippiResizeLinearInit_8u(from.size(), to.size(), spec);
    });
}

void addContest(bench::Picture& from, bench::Picture& to) {
    const bench::ResizeContest contest{"linear C" + std::to_string(from.channels), from, to};
    bench::addResizeFloor(contest);
    bench::addVariants(contest.name, contest.pixels(), [&from, &to] { resize(from, to); });
#if defined(DORN_BENCH_FREEIMAGE)
    bench::addFreeImage(contest, FILTER_BILINEAR);
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::addOpenCv(contest, "linear", cv::INTER_LINEAR);
    bench::addOpenCv(contest, "linear, exact", cv::INTER_LINEAR_EXACT);
#endif
#if defined(DORN_BENCH_SWSCALE)
    bench::addSwscale(contest, SWS_BILINEAR);
#endif
#if defined(DORN_BENCH_VIPS)
    bench::addVips(contest, VIPS_KERNEL_LINEAR);
#endif
#if defined(DORN_BENCH_ZIMG)
    bench::addZimg(contest, ZIMG_RESIZE_BILINEAR);
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
        addContest(from, pictures.emplace_back(2480, 3508, channels));
    }
    return bench::run(argc, argv);
}
