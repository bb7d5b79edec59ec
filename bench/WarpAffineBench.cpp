// A page turned about its middle on a canvas of its own size, beside other libraries. Ours repeats the edge
// outwards; the others fill with one colour, which is less work.

#include <cstdio>
#include <cstring>
#include <list>
#include <string>

#include "bench/BenchCommon.h"
#include "bench/OtherLibraries.h"

#if defined(DORN_BENCH_FREEIMAGE)
#include <FreeImage.h>
#endif

namespace {

struct Turn {
    std::string contest;
    bench::Picture& from;
    bench::Picture& to;
    double angle; // degrees

    double x() const { return from.width / 2.0; }
    double y() const { return from.height / 2.0; }
    void add(const std::string& who, std::function<void()> work) const {
        bench::add(contest, who, from.pixels(), std::move(work));
    }
};

// Everything that a caller pays: coefficients, sizes, record, buffer and the warp.
void warp(const Turn& turn) {
    const bench::Picture& from = turn.from;
    const auto run = from.channels == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
    double shift[2];
    double coeffs[6];
    std::int32_t specSize = 0;
    std::int32_t size = 0;
    IppStatus status = ippiGetRotateShift(turn.x(), turn.y(), turn.angle, &shift[0], &shift[1]);
    status |= ippiGetRotateTransform(turn.angle, shift[0], shift[1], coeffs);
    status |= ippiWarpAffineGetSize(from.size(), from.size(), ipp8u, coeffs, ippLinear, 0, ippBorderRepl,
                                    &specSize, &size);
    auto* spec = reinterpret_cast<IppiWarpSpec*>(ippsMalloc_8u(specSize));
    status |=
        ippiWarpAffineLinearInit(from.size(), from.size(), ipp8u, coeffs, 0,
                                 static_cast<std::uint32_t>(from.channels), ippBorderRepl, nullptr, 0, spec);
    status |= ippiWarpGetBufferSize(spec, from.size(), &size);
    Ipp8u* buffer = ippsMalloc_8u(size);
    status |= run(from.bytes.data(), from.step(), turn.to.bytes.data(), from.step(), {0, 0}, from.size(),
                  spec, buffer);
    if (status != ippStsNoErr) {
        std::fputs("the warp refused its arguments\n", stderr);
    }
    ippsFree(buffer);
    ippsFree(spec);
}

#if defined(DORN_BENCH_FREEIMAGE)
// Three shears with a cubic spline, at no less work than the other calls that turn by any angle.
void addFreeImage(const Turn& turn) {
    const bench::Picture& from = turn.from;
    FIBITMAP* page = FreeImage_Allocate(from.width, from.height, 8 * from.channels);
    for (int y = 0; y < from.height; ++y) {
        std::memcpy(FreeImage_GetScanLine(page, y), from.bytes.data() + std::ptrdiff_t{y} * from.step(),
                    static_cast<std::size_t>(from.step()));
    }
    turn.add("FreeImage_RotateEx", [page, turn] {
        FreeImage_Unload(FreeImage_RotateEx(page, turn.angle, 0, 0, turn.x(), turn.y(), FALSE));
    });
}
#endif

#if defined(DORN_BENCH_LEPTONICA)
void addLeptonica(const Turn& turn) {
    PIX* pix = bench::makePix(turn.from);
    const auto radians = static_cast<l_float32>(turn.angle / 180.0 * 3.14159265);
    turn.add("Leptonica pixRotateAM", [pix, radians] {
        PIX* turned = pixRotateAM(pix, radians, L_BRING_IN_WHITE);
        pixDestroy(&turned);
    });
    if (turn.angle <= 20) { // it warns of larger ones
        turn.add("Leptonica pixRotateShear, no blending", [pix, turn, radians] {
            PIX* turned =
                pixRotateShear(pix, turn.from.width / 2, turn.from.height / 2, radians, L_BRING_IN_WHITE);
            pixDestroy(&turned);
        });
    }
}
#endif

#if defined(DORN_BENCH_VIPS)
void addVips(const Turn& turn) {
    double shift[2];
    double m[6];
    if (ippiGetRotateShift(turn.x(), turn.y(), turn.angle, &shift[0], &shift[1]) != ippStsNoErr ||
        ippiGetRotateTransform(turn.angle, shift[0], shift[1], m) != ippStsNoErr) {
        return;
    }
    const std::vector<double> matrix(m, m + 6);
    VipsInterpolate* bilinear = vips_interpolate_new("bilinear");
    turn.add("libvips affine", [turn, matrix, bilinear] {
        VipsImage* image = bench::vipsImageOf(turn.from);
        VipsImage* turned = nullptr;
        VipsArrayInt* area = vips_array_int_newv(4, 0, 0, turn.from.width, turn.from.height);
        if (vips_affine(image, &turned, matrix[0], matrix[1], matrix[3], matrix[4], "odx", matrix[2], "ody",
                        matrix[5], "oarea", area, "interpolate", bilinear, nullptr) == 0) {
            VipsImage* target = bench::vipsImageOf(turn.to);
            vips_image_write(turned, target);
            g_object_unref(target);
            g_object_unref(turned);
        }
        vips_area_unref(VIPS_AREA(area));
        g_object_unref(image);
    });
}
#endif

#if defined(DORN_BENCH_OPENCV)
void addOpenCv(const Turn& turn) {
    turn.add("OpenCV warpAffine", [turn] {
        cv::Mat to = bench::matOf(turn.to);
        const cv::Mat matrix = cv::getRotationMatrix2D(
            {static_cast<float>(turn.x()), static_cast<float>(turn.y())}, turn.angle, 1.0);
        cv::warpAffine(bench::matOf(turn.from), to, matrix, to.size(), cv::INTER_LINEAR,
                       cv::BORDER_REPLICATE);
    });
}
#endif

void addContest(const Turn& turn) {
    bench::addCopy(turn.contest, turn.from, turn.to);
    bench::addVariants(turn.contest, turn.from.pixels(), [turn] { warp(turn); });
#if defined(DORN_BENCH_FREEIMAGE)
    addFreeImage(turn);
#endif
#if defined(DORN_BENCH_LEPTONICA)
    addLeptonica(turn);
#endif
#if defined(DORN_BENCH_VIPS)
    addVips(turn);
#endif
#if defined(DORN_BENCH_OPENCV)
    addOpenCv(turn);
#endif
}

} // namespace

int main(int argc, char** argv) {
    if (bench::startOtherLibraries(argv[0]) != 0) {
        return 1;
    }
    std::list<bench::Picture> pictures;
    for (const int channels : {1, 3}) {
        bench::Picture& from = pictures.emplace_back(bench::makePage(channels));
        bench::Picture& to = pictures.emplace_back(from.width, from.height, channels);
        for (const char* angle : {"2.5", "17", "45"}) {
            std::string contest = channels == 1 ? "C1 by " : "C3 by ";
            contest.append(angle).append(" degrees");
            addContest({contest, from, to, std::stod(angle)});
        }
    }
    return bench::run(argc, argv);
}
