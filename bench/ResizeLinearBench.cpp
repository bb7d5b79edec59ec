// Linear resize of a page to twice its size, beside other libraries.

#include <cstdio>
#include <list>
#include <string>

#include "bench/ResizeContestants.h"

namespace {

// Everything that a caller with new sizes pays: sizes, plan, buffers and the run.
void resize(const bench::Picture& from, bench::Picture& to) {
    std::int32_t specSize = 0;
    std::int32_t initSize = 0;
    std::int32_t bufferSize = 0;
    const auto run = from.channels == 1   ? ippiResizeLinear_8u_C1R
                     : from.channels == 3 ? ippiResizeLinear_8u_C3R
                                          : ippiResizeLinear_8u_C4R;
    IppStatus status = ippiResizeGetSize_8u(from.size(), to.size(), ippLinear, 0, &specSize, &initSize);
    auto* spec = reinterpret_cast<IppiResizeSpec*>(ippsMalloc_8u(specSize));
    if (status == ippStsNoErr) {
        status = ippiResizeLinearInit_8u(from.size(), to.size(), spec);
    }
    if (status == ippStsNoErr) {
        status = ippiResizeGetBufferSize_8u(spec, to.size(), static_cast<std::uint32_t>(from.channels),
                                            &bufferSize);
    }
    Ipp8u* buffer = ippsMalloc_8u(bufferSize);
    if (status == ippStsNoErr) {
        status = run(from.bytes.data(), from.step(), to.bytes.data(), to.step(), {0, 0}, to.size(),
                     ippBorderRepl, nullptr, spec, buffer);
    }
    if (status != ippStsNoErr) {
        std::fputs("the resize refused its arguments\n", stderr);
    }
    ippsFree(buffer);
    ippsFree(spec);
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
    if (!bench::startResizeContestants(argv[0])) {
        return 1;
    }
    std::list<bench::Picture> pictures;
    for (const int channels : {1, 3, 4}) {
        bench::Picture& from = pictures.emplace_back(bench::makePage(channels, 1240, 1754));
        addContest(from, pictures.emplace_back(2480, 3508, channels));
    }
    return bench::run(argc, argv);
}
