// How well the skew of real pages is found: each page of the files given is turned by known angles and
// measured by the detector with plain arguments, by the tool's method and, where it is installed, by
// Leptonica. A page's own skew is not known; for each method it is taken as the median of the method's
// answers less the turns, so that the errors are those of consistency, and the medians are printed to be
// compared.
//
// Usage: skew_accuracy TURNS REACH FILE...   REACH in degrees.

#include "ImageProcessing/DornImage/DornImage.h"
#include "tools/dornimage/SkewMeasure.h"

#if defined(DORN_BENCH_LEPTONICA)
#undef IFF_DEFAULT // FreeImage's, and a name of Leptonica's own
#include <leptonica/allheaders.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

using DornImage::FIBitmapPtr;

namespace {

struct Answer {
    std::optional<double> angle; // degrees
    double seconds;              // of the processor
};
using Method = std::function<Answer(FIBITMAP*)>;

struct Answers {
    std::vector<double> errors; // of all pages, degrees
    std::size_t declined = 0;
};

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Measure>
Answer timed(Measure measure) {
    const double start = processorSeconds();
    const std::optional<double> angle = measure();
    return {angle, processorSeconds() - start};
}

// Clockwise on the screen, on white. FreeImage fills with black, so the page is turned as a negative.
FIBITMAP* turned(FIBITMAP* page, double degrees) {
    const FIBitmapPtr negative(FreeImage_Clone(page));
    FreeImage_Invert(negative.get());
    const double x = FreeImage_GetWidth(page) / 2.0;
    const double y = FreeImage_GetHeight(page) / 2.0;
    FIBITMAP* const result = FreeImage_RotateEx(negative.get(), -degrees, 0, 0, x, y, TRUE);
    FreeImage_Invert(result);
    return result;
}

Answer toolsMethod(FIBITMAP* page) {
    return timed([page] { return measureSkew(page, 16).angle; });
}

Answer plainDetector(FIBITMAP* page) {
    return timed([page]() -> std::optional<double> {
        SkewDetector detector(5.0F, 100);
        return DornImage::detectSkew(page, detector);
    });
}

#if defined(DORN_BENCH_LEPTONICA)
// From 1 bit, cut at the same threshold as the tool's; the cutting is not in the time.
Answer leptonica(FIBITMAP* page) {
    const auto width = static_cast<l_int32>(FreeImage_GetWidth(page));
    const auto height = static_cast<l_int32>(FreeImage_GetHeight(page));
    const auto threshold = static_cast<int>(splitLevels(reduced(page, 2, 2)).threshold);
    PIX* bits = pixCreate(width, height, 1);
    for (l_int32 y = 0; y < height; ++y) {
        const BYTE* const from = FreeImage_GetScanLine(page, height - 1 - y);
        l_uint32* const to = pixGetData(bits) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(bits);
        for (l_int32 x = 0; x < width; ++x) {
            to[x / 32] |= from[x] <= threshold ? 0x80000000U >> (x % 32) : 0U;
        }
    }
    const Answer answer = timed([bits]() -> std::optional<double> {
        l_float32 angle = 0;
        l_float32 confidence = 0;
        const bool failed = pixFindSkew(bits, &angle, &confidence) != 0;
        return failed ? std::nullopt : std::optional<double>(-angle); // it tells the turn that mends
    });
    pixDestroy(&bits);
    return answer;
}
#endif

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void measurePage(const std::string& name, FIBITMAP* page, int turns, double reach,
                 const std::vector<std::pair<std::string, Method>>& methods,
                 std::map<std::string, Answers>& answers) {
    std::mt19937 random(1);
    std::map<std::string, std::vector<double>> own;
    std::map<std::string, std::vector<double>> seconds;
    for (int turn = 0; turn < turns; ++turn) {
        const double degrees = (static_cast<double>(random() % 20001) / 10000 - 1) * reach;
        const FIBitmapPtr picture(turned(page, degrees));
        for (const auto& [method, measure] : methods) {
            const Answer answer = measure(picture.get());
            seconds[method].push_back(answer.seconds);
            if (answer.angle) {
                own[method].push_back(*answer.angle - degrees);
            } else {
                ++answers[method].declined;
            }
        }
    }
    std::printf("%-60.60s", name.c_str());
    for (const auto& [method, measure] : methods) {
        if (own[method].empty()) {
            std::printf(" | %s none", method.c_str());
            continue;
        }
        const double skew = median(own[method]);
        double worst = 0;
        for (const double angle : own[method]) {
            answers[method].errors.push_back(std::abs(angle - skew));
            worst = std::max(worst, std::abs(angle - skew));
        }
        std::printf(" | %s %.3f, %zu answers within %.3f, %.1f ms", method.c_str(), skew, own[method].size(),
                    worst, 1000 * *std::min_element(seconds[method].begin(), seconds[method].end()));
    }
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: skew_accuracy TURNS REACH FILE...\n");
        return 1;
    }
    const int turns = std::atoi(argv[1]);
    const double reach = std::atof(argv[2]);
    std::vector<std::pair<std::string, Method>> methods = {{"tool", toolsMethod}};
    if (reach <= 5) {
        methods.emplace_back("detector", plainDetector);
#if defined(DORN_BENCH_LEPTONICA)
        methods.emplace_back("leptonica", leptonica); // reaches 5 degrees as well
#endif
    }
    std::map<std::string, Answers> answers;
    for (int i = 3; i < argc; ++i) {
        const FREE_IMAGE_FORMAT format = FreeImage_GetFileType(argv[i]);
        FIMULTIBITMAP* const file = DornImage::FreeImage_IsMultiPageFormat(format)
                                        ? FreeImage_OpenMultiBitmap(format, argv[i], FALSE, TRUE, FALSE, 0)
                                        : nullptr;
        const int pages = file ? FreeImage_GetPageCount(file) : 1;
        for (int number = 0; number < pages; ++number) {
            FIBITMAP* const stored =
                file ? FreeImage_LockPage(file, number) : FreeImage_Load(format, argv[i]);
            if (const FIBitmapPtr page(FreeImage_ConvertToGreyscale(stored)); page.get()) {
                std::string name = argv[i];
                name.append(" ").append(std::to_string(number + 1));
                measurePage(name, page.get(), turns, reach, methods, answers);
            }
            file ? FreeImage_UnlockPage(file, stored, FALSE) : FreeImage_Unload(stored);
        }
        if (file) {
            FreeImage_CloseMultiBitmap(file, 0);
        }
    }
    for (auto& [method, to] : answers) {
        std::vector<double>& errors = to.errors;
        if (errors.empty()) {
            continue;
        }
        std::sort(errors.begin(), errors.end());
        double sum = 0;
        for (const double error : errors) {
            sum += error;
        }
        const auto within = std::upper_bound(errors.begin(), errors.end(), 0.1) - errors.begin();
        const auto count = static_cast<double>(errors.size());
        std::printf(
            "%-10s answers %zu, declined %zu; error mean %.4f, median %.4f, 95 %% %.4f, greatest %.3f; "
            "%.1f %% within 0.1\n",
            method.c_str(), errors.size(), to.declined, sum / count, median(errors),
            errors[errors.size() * 95 / 100], errors.back(), 100 * static_cast<double>(within) / count);
    }
}
