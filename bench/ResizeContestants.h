#ifndef DORNIMAGE_BENCH_RESIZECONTESTANTS_H
#define DORNIMAGE_BENCH_RESIZECONTESTANTS_H

// The contests of the resize methods: ours and those of other libraries, as far as they are installed. Times
// are per pixel of the destination, or of the source in reductions.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/BenchCommon.h"
#include "bench/OtherLibraries.h"

#if defined(DORN_BENCH_FREEIMAGE)
#include <FreeImage.h>
#endif
#if defined(DORN_BENCH_SWSCALE)
extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}
#endif
#if defined(DORN_BENCH_ZIMG)
#include <zimg.h>
#endif

namespace bench {

struct ResizeContest {
    std::string name;
    Picture& from;
    Picture& to;

    std::int64_t pixels() const { return std::max(from.pixels(), to.pixels()); }
};

inline void addResize(const ResizeContest& contest, const std::string& who, std::function<void()> work) {
    add(contest.name, who, contest.pixels(), std::move(work));
}

// Every byte read once and every byte written once.
inline void addResizeFloor(const ResizeContest& contest) {
    addResize(contest, "memcpy", [from = &contest.from, to = &contest.to] {
        const std::size_t copied = std::min(from->bytes.size(), to->bytes.size());
        std::memcpy(to->bytes.data(), from->bytes.data(), copied);
        std::memset(to->bytes.data() + copied, 0, to->bytes.size() - copied);
        unsigned sum = 0;
        for (std::size_t line = copied; line < from->bytes.size(); line += 64) {
            sum += from->bytes[line];
        }
        benchmark::DoNotOptimize(sum);
    });
}

// Our resize with all that a caller with new sizes pays: sizes, plan, buffers and the run. `init` gets the
// blocks of the plan and of its scratch, `run` those of the plan and of the work buffer.
template <typename Init, typename Run>
void resizeOnce(const Picture& from, const Picture& to, std::int32_t method, Init init, Run run) {
    std::int32_t specSize = 0;
    std::int32_t initSize = 0;
    std::int32_t bufferSize = 0;
    IppStatus status = ippiResizeGetSize_8u(from.size(), to.size(), method, 0, &specSize, &initSize);
    auto* spec = reinterpret_cast<IppiResizeSpec*>(ippsMalloc_8u(specSize));
    Ipp8u* initBuffer = ippsMalloc_8u(initSize);
    if (status == ippStsNoErr) {
        status = init(spec, initBuffer);
    }
    ippsFree(initBuffer);
    if (status == ippStsNoErr) {
        status = ippiResizeGetBufferSize_8u(spec, to.size(), static_cast<std::uint32_t>(from.channels),
                                            &bufferSize);
    }
    Ipp8u* buffer = ippsMalloc_8u(bufferSize);
    if (status == ippStsNoErr) {
        status = run(spec, buffer);
    }
    if (status != ippStsNoErr) {
        std::fputs("the resize refused its arguments\n", stderr);
    }
    ippsFree(buffer);
    ippsFree(spec);
}

using ResizeRun = IppStatus (*)(const Ipp8u*, std::int32_t, Ipp8u*, std::int32_t, IppiPoint, IppiSize,
                                std::uint32_t, const Ipp8u*, const IppiResizeSpec*, Ipp8u*);

// The same for a method with borders.
template <typename Init>
void resizeWhole(const Picture& from, Picture& to, std::int32_t method, ResizeRun run, Init init) {
    resizeOnce(from, to, method, init, [&](const IppiResizeSpec* spec, Ipp8u* buffer) {
        return run(from.bytes.data(), from.step(), to.bytes.data(), to.step(), {0, 0}, to.size(),
                   ippBorderRepl, nullptr, spec, buffer);
    });
}

// The picture one plane after the other.
inline std::vector<std::uint8_t> planesOf(const Picture& picture) {
    std::vector<std::uint8_t> planes(picture.bytes.size());
    const auto count = static_cast<std::size_t>(picture.pixels());
    const auto channels = static_cast<std::size_t>(picture.channels);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        planes[i % channels * count + i / channels] = picture.bytes[i];
    }
    return planes;
}

#if defined(DORN_BENCH_FREEIMAGE)
inline void addFreeImage(const ResizeContest& contest, FREE_IMAGE_FILTER filter) {
    const Picture& from = contest.from;
    FIBITMAP* bitmap = FreeImage_Allocate(from.width, from.height, 8 * from.channels);
    for (int y = 0; y < from.height; ++y) {
        std::memcpy(FreeImage_GetScanLine(bitmap, y),
                    from.bytes.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(from.step()),
                    static_cast<std::size_t>(from.step()));
    }
    addResize(contest, "FreeImage_Rescale", [bitmap, filter, to = &contest.to] {
        FreeImage_Unload(FreeImage_Rescale(bitmap, to->width, to->height, filter));
    });
}
#endif

#if defined(DORN_BENCH_LEPTONICA)
// Colours in 32 bits a pixel, as it has them; only reductions.
inline void addLeptonica(const ResizeContest& contest) {
    if (contest.from.channels == 4) {
        return;
    }
    PIX* pix = makePix(contest.from);
    addResize(contest, "Leptonica pixScaleAreaMap", [pix, to = &contest.to] {
        PIX* scaled = pixScaleAreaMapToSize(pix, to->width, to->height);
        pixDestroy(&scaled);
    });
}
#endif

#if defined(DORN_BENCH_OPENCV)
inline void addOpenCv(const ResizeContest& contest, const std::string& name, int interpolation) {
    addResize(contest, "OpenCV resize " + name, [from = &contest.from, to = &contest.to, interpolation] {
        cv::Mat result = matOf(*to);
        cv::resize(matOf(*from), result, result.size(), 0, 0, interpolation);
    });
}
#endif

#if defined(DORN_BENCH_SWSCALE)
inline void addSwscale(const ResizeContest& contest, int flags) {
    constexpr AVPixelFormat formats[] = {AV_PIX_FMT_NONE, AV_PIX_FMT_GRAY8, AV_PIX_FMT_NONE, AV_PIX_FMT_RGB24,
                                         AV_PIX_FMT_RGBA};
    const AVPixelFormat format = formats[contest.from.channels];
    addResize(contest, "libswscale", [format, flags, from = &contest.from, to = &contest.to] {
        SwsContext* context = sws_getContext(from->width, from->height, format, to->width, to->height, format,
                                             flags, nullptr, nullptr, nullptr);
        const std::uint8_t* const sources[] = {from->bytes.data()};
        std::uint8_t* const results[] = {to->bytes.data()};
        const int sourceSteps[] = {from->step()};
        const int resultSteps[] = {to->step()};
        sws_scale(context, sources, sourceSteps, 0, from->height, results, resultSteps);
        sws_freeContext(context);
    });
}
#endif

#if defined(DORN_BENCH_VIPS)
inline void addVips(const ResizeContest& contest, VipsKernel kernel) {
    addResize(contest, "libvips resize", [kernel, from = &contest.from, to = &contest.to] {
        VipsImage* source = vipsImageOf(*from);
        VipsImage* resized = nullptr;
        if (vips_resize(source, &resized, static_cast<double>(to->width) / from->width, "vscale",
                        static_cast<double>(to->height) / from->height, "kernel", kernel, nullptr) == 0) {
            VipsImage* result = vipsImageOf(*to);
            vips_image_write(resized, result);
            g_object_unref(result);
            g_object_unref(resized);
        }
        g_object_unref(source);
    });
}
#endif

#if defined(DORN_BENCH_ZIMG)
// On planes, which it needs: a caller with interleaved pixels pays for their separation on top.
inline void addZimg(const ResizeContest& contest, zimg_resample_filter_e filter) {
    if (contest.from.channels == 4) {
        return;
    }
    auto planes = std::make_shared<std::vector<std::uint8_t>>(planesOf(contest.from));
    addResize(contest, "zimg, planes", [planes, filter, from = &contest.from, to = &contest.to] {
        const auto formatOf = [](const Picture& picture) {
            zimg_image_format format;
            zimg_image_format_default(&format, ZIMG_API_VERSION);
            format.width = static_cast<unsigned>(picture.width);
            format.height = static_cast<unsigned>(picture.height);
            format.pixel_type = ZIMG_PIXEL_BYTE;
            format.pixel_range = ZIMG_RANGE_FULL;
            if (picture.channels == 3) {
                format.color_family = ZIMG_COLOR_RGB;
                format.matrix_coefficients = ZIMG_MATRIX_RGB;
            }
            return format;
        };
        const zimg_image_format source = formatOf(*from);
        const zimg_image_format result = formatOf(*to);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = filter;
        params.cpu_type = ZIMG_CPU_AUTO_64B;
        zimg_filter_graph* graph = zimg_filter_graph_build(&source, &result, &params);
        std::size_t size = 0;
        if (!graph || zimg_filter_graph_get_tmp_size(graph, &size) != ZIMG_ERROR_SUCCESS) {
            return;
        }
        Ipp8u* scratch = ippsMalloc_8u(static_cast<std::int32_t>(size));
        zimg_image_buffer_const in{};
        zimg_image_buffer out{};
        in.version = ZIMG_API_VERSION;
        out.version = ZIMG_API_VERSION;
        for (int plane = 0; plane < from->channels; ++plane) {
            in.plane[plane] = {planes->data() + plane * from->pixels(), from->width, ZIMG_BUFFER_MAX};
            out.plane[plane] = {to->bytes.data() + plane * to->pixels(), to->width, ZIMG_BUFFER_MAX};
        }
        if (zimg_filter_graph_process(graph, &in, &out, scratch, nullptr, nullptr, nullptr, nullptr) !=
            ZIMG_ERROR_SUCCESS) {
            std::fputs("zimg refused its arguments\n", stderr);
        }
        ippsFree(scratch);
        zimg_filter_graph_free(graph);
    });
}
#endif

} // namespace bench

#endif
