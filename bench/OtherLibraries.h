#ifndef DORNIMAGE_BENCH_OTHERLIBRARIES_H
#define DORNIMAGE_BENCH_OTHERLIBRARIES_H

// The page of a benchmark as other libraries take it.

#include "bench/BenchCommon.h"

#if defined(DORN_BENCH_LEPTONICA)
#include <allheaders.h>
#endif
#if defined(DORN_BENCH_VIPS)
#include <vips/vips.h>
#endif
#if defined(DORN_BENCH_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace bench {

#if defined(DORN_BENCH_LEPTONICA)
// A copy, which lives to the end of the program.
inline PIX* makePix(const Picture& page) {
    PIX* pix = pixCreate(page.width, page.height, page.channels == 1 ? 8 : 32);
    const std::uint8_t* from = page.bytes.data();
    for (int y = 0; y < page.height; ++y) {
        for (int x = 0; x < page.width; ++x, from += page.channels) {
            if (page.channels == 1) {
                pixSetPixel(pix, x, y, from[0]);
            } else {
                pixSetRGBPixel(pix, x, y, from[0], from[1], from[2]);
            }
        }
    }
    return pix;
}
#endif

#if defined(DORN_BENCH_VIPS)
inline VipsImage* vipsImageOf(Picture& picture) {
    return vips_image_new_from_memory(picture.bytes.data(), picture.bytes.size(), picture.width,
                                      picture.height, picture.channels, VIPS_FORMAT_UCHAR);
}

// Convolves rows and columns with a mask of one row.
inline void convolveWithVips(Picture& from, Picture& to, VipsImage* mask) {
    VipsImage* image = vipsImageOf(from);
    VipsImage* filtered = nullptr;
    if (vips_convsep(image, &filtered, mask, "precision", VIPS_PRECISION_INTEGER, nullptr) == 0) {
        VipsImage* target = vipsImageOf(to);
        vips_image_write(filtered, target);
        g_object_unref(target);
        g_object_unref(filtered);
    }
    g_object_unref(image);
}
#endif

#if defined(DORN_BENCH_OPENCV)
inline cv::Mat matOf(Picture& picture) {
    return cv::Mat(picture.height, picture.width, CV_8UC(picture.channels), picture.bytes.data());
}
#endif

// One thread and no cache of results for all of them. 0 on success.
inline int startOtherLibraries([[maybe_unused]] const char* program) {
#if defined(DORN_BENCH_VIPS)
    if (VIPS_INIT(program) != 0) {
        return 1;
    }
    vips_concurrency_set(1);
    vips_cache_set_max(0);
#endif
#if defined(DORN_BENCH_OPENCV)
    cv::setNumThreads(1);
#endif
    return 0;
}

} // namespace bench

#endif
