// Super-sampling reductions of a page and of a photograph, beside other libraries' means over areas.

#include <list>
#include <string>

#include "bench/ResizeContestants.h"

namespace {

void resize(const bench::Picture& from, bench::Picture& to) {
    const auto run = from.channels == 1   ? ippiResizeSuper_8u_C1R
                     : from.channels == 3 ? ippiResizeSuper_8u_C3R
                                          : ippiResizeSuper_8u_C4R;
    bench::resizeOnce(
        from, to, ippSuper,
        [&](IppiResizeSpec* spec, Ipp8u*) { return ippiResizeSuperInit_8u(from.size(), to.size(), spec); },
        [&](const IppiResizeSpec* spec, Ipp8u* buffer) {
            return run(from.bytes.data(), from.step(), to.bytes.data(), to.step(), {0, 0}, to.size(), spec,
                       buffer);
        });
}

void addContest(bench::Picture& from, bench::Picture& to) {
    const bench::ResizeContest contest{
        "to " + std::to_string(to.width) + " C" + std::to_string(from.channels), from, to};
    bench::addResizeFloor(contest);
    bench::addVariants(contest.name, contest.pixels(), [&from, &to] { resize(from, to); });
#if defined(DORN_BENCH_FREEIMAGE)
    bench::addFreeImage(contest, FILTER_BOX);
#endif
#if defined(DORN_BENCH_LEPTONICA)
    bench::addLeptonica(contest);
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::addOpenCv(contest, "area", cv::INTER_AREA);
#endif
#if defined(DORN_BENCH_SWSCALE)
    bench::addSwscale(contest, SWS_AREA);
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
        bench::Picture& page = pictures.emplace_back(bench::makePage(channels));
        for (const IppiSize size : {IppiSize{1240, 1754}, {827, 1169}, {600, 849}}) {
            addContest(page, pictures.emplace_back(size.width, size.height, channels));
        }
    }
    addContest(pictures.emplace_back(bench::makePage(3, 6000, 4000)), pictures.emplace_back(1500, 1000, 3));
    return bench::run(argc, argv);
}
