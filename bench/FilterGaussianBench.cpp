// The Gaussian filter on a page of one and of three channels, beside other libraries with the same number of
// weights. They round otherwise, and their borders differ.

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench/BenchCommon.h"
#include "bench/OtherLibraries.h"

namespace {

// Source and destination, which all contests of a number of channels share.
struct Pictures {
    explicit Pictures(int channels)
        : page(bench::makePage(channels)), result(page.width, page.height, channels) {}

    bench::Picture page;
    bench::Picture result;
};

// The filter with its record and buffer, built once.
class Filter {
public:
    Filter(Pictures& pictures, std::uint32_t kernel, float sigma) : pictures_(pictures) {
        const int channels = pictures.page.channels;
        std::int32_t specSize = 0;
        std::int32_t bufferSize = 0;
        IppStatus status = ippiFilterGaussianGetBufferSize(pictures.page.size(), kernel, ipp8u, channels,
                                                           &specSize, &bufferSize);
        if (status == ippStsNoErr) {
            spec_.resize(static_cast<std::size_t>(specSize));
            buffer_.resize(static_cast<std::size_t>(bufferSize));
            status = ippiFilterGaussianInit(pictures.page.size(), kernel, sigma, ippBorderRepl, ipp8u,
                                            channels, record(), buffer_.data());
        }
        if (status != ippStsNoErr) {
            std::fputs("the Gaussian filter can't be prepared\n", stderr);
        }
    }

    void run() {
        const bench::Picture& page = pictures_.page;
        Ipp8u* to = pictures_.result.bytes.data();
        const Ipp8u value[3] = {};
        const IppStatus status =
            page.channels == 1
                ? ippiFilterGaussianBorder_8u_C1R(page.bytes.data(), page.step(), to, page.step(),
                                                  page.size(), 0, record(), buffer_.data())
                : ippiFilterGaussianBorder_8u_C3R(page.bytes.data(), page.step(), to, page.step(),
                                                  page.size(), value, record(), buffer_.data());
        if (status != ippStsNoErr) {
            std::fputs("the Gaussian filter refused its arguments\n", stderr);
        }
    }

private:
    IppFilterGaussianSpec* record() { return reinterpret_cast<IppFilterGaussianSpec*>(spec_.data()); }

    Pictures& pictures_;
    std::vector<Ipp8u> spec_;
    std::vector<Ipp8u> buffer_;
};

void addContest(Pictures& pictures, int kernel, float sigma) {
    const std::string side = std::to_string(kernel);
    const std::string contest =
        "Gaussian " + side + " x " + side + ", " + std::to_string(pictures.page.channels) + " channels";
    const std::int64_t pixels = pictures.page.pixels();
    bench::addCopy(contest, pictures.page, pictures.result);
    const auto filter = std::make_shared<Filter>(pictures, static_cast<std::uint32_t>(kernel), sigma);
    bench::addVariants(contest, pixels, [filter] { filter->run(); });
#if defined(DORN_BENCH_LEPTONICA)
    PIX* pix = bench::makePix(pictures.page);
    L_KERNEL* row = nullptr;
    L_KERNEL* column = nullptr;
    makeGaussianKernelSep(kernel / 2, kernel / 2, sigma, 1.0F, &row, &column);
    bench::add(contest, "Leptonica pixConvolveSep", pixels, [pix, row, column] {
        PIX* filtered = pixGetDepth(pix) == 8 ? pixConvolveSep(pix, row, column, 8, 1)
                                              : pixConvolveRGBSep(pix, row, column);
        pixDestroy(&filtered);
    });
#endif
#if defined(DORN_BENCH_VIPS)
    // Whole weights, 20 in the middle, as vips_gaussblur takes them.
    VipsImage* mask = vips_image_new_matrix(kernel, 1);
    double sum = 0;
    for (int i = 0; i < kernel; ++i) {
        const double t = i - kernel / 2;
        const double weight = std::max(1.0, std::round(20 * std::exp(-t * t / (2 * sigma * sigma))));
        *VIPS_MATRIX(mask, i, 0) = weight;
        sum += weight;
    }
    vips_image_set_double(mask, "scale", sum);
    bench::add(contest, "libvips convsep", pixels,
               [&pictures, mask] { bench::convolveWithVips(pictures.page, pictures.result, mask); });
#endif
#if defined(DORN_BENCH_OPENCV)
    bench::add(contest, "OpenCV GaussianBlur", pixels, [&pictures, kernel, sigma] {
        cv::Mat to = bench::matOf(pictures.result);
        cv::GaussianBlur(bench::matOf(pictures.page), to, cv::Size(kernel, kernel), sigma, sigma,
                         cv::BORDER_REPLICATE);
    });
#endif
}

} // namespace

int main(int argc, char** argv) {
    if (bench::startOtherLibraries(argv[0]) != 0) {
        return 1;
    }
    Pictures grey(1);
    Pictures colour(3);
    for (Pictures* pictures : {&grey, &colour}) {
        addContest(*pictures, 3, 0.8F);
        addContest(*pictures, 5, 1.1F);
        addContest(*pictures, 15, 2.6F);
    }
    return bench::run(argc, argv);
}
