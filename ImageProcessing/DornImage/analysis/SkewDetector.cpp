#include "ImageProcessing/DornImage/analysis/SkewDetector.h"

#include "ImageProcessing/DornImage/analysis/VotingRuns.h"
#include "primitives/primitives.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr double pi = 3.141592653589793;
constexpr unsigned strongestPeaks = 20; // as many as are averaged

struct Free {
    void operator()(void* block) const { std::free(block); }
};

// Zeroed by the system: pages of the table that get no vote are never written.
std::unique_ptr<unsigned[], Free> zeroedCounters(std::size_t count) {
    std::unique_ptr<unsigned[], Free> counters(static_cast<unsigned*>(std::calloc(count, sizeof(unsigned))));
    if (!counters) {
        throw std::bad_alloc();
    }
    return counters;
}

// The integer's low 8 bits; 0 for what is not finite.
std::uint8_t greyLimit(double threshold) {
    const double rest = std::fmod(std::trunc(threshold), 256.0);
    return std::isfinite(rest) ? static_cast<std::uint8_t>(static_cast<int>(rest)) : std::uint8_t{0};
}

// For |value| below 2^31 the same as std::floor, which is a call per value where the processor has no
// instruction for it.
int floorToInt(float value) {
    const int truncated = static_cast<int>(value);
    return truncated - static_cast<int>(value < static_cast<float>(truncated));
}

// The distance of the line through a pixel from the origin. Products and sum are each rounded to single
// precision: this file is compiled without fused operations.
int distance(int x, int y, float cosine, float sine) {
    return floorToInt(static_cast<float>(x) * cosine + static_cast<float>(y) * sine);
}

// Adds the votes of all runs in one direction. `origin` is the counter of distance 0.
void vote(const VotingRuns& runs, float cosine, float sine, unsigned* origin) {
    constexpr std::size_t block = 256;
    int atFirst[block];
    int atLast[block];
    for (std::size_t start = 0; start < runs.size(); start += block) {
        const std::size_t count = std::min(block, runs.size() - start);
        const int* const first = runs.first() + start;
        const int* const last = runs.last() + start;
        const int* const line = runs.line() + start;
        for (std::size_t i = 0; i < count; ++i) {
            atFirst[i] = distance(first[i], line[i], cosine, sine);
            atLast[i] = distance(last[i], line[i], cosine, sine);
        }
        for (std::size_t i = 0; i < count; ++i) {
            // Rounding keeps order, so that nothing between two equal distances differs from them.
            if (atFirst[i] == atLast[i]) {
                origin[atFirst[i]] += static_cast<unsigned>(last[i] - first[i] + 1);
                continue;
            }
            for (int x = first[i]; x <= last[i]; ++x) {
                ++origin[distance(x, line[i], cosine, sine)];
            }
        }
    }
}

} // namespace

SkewDetector::SkewDetector(float bandHalf, unsigned count)
    : maxAngle(bandHalf), angleCount(count), sinTable(new float[count]), cosTable(new float[count]),
      threshold(128.0) {
    const float first = 90.0F - maxAngle;
    startAngle = static_cast<float>(static_cast<double>(first + first) * pi / 360.0);
    const float twice = maxAngle + maxAngle;
    angleStep =
        static_cast<float>(static_cast<double>(twice + twice) * pi / static_cast<double>(angleCount * 360U));
    for (unsigned i = 0; i < angleCount; ++i) {
        const float angle = static_cast<float>(i) * angleStep + startAngle;
        sinTable[i] = std::sin(angle);
        cosTable[i] = std::cos(angle);
    }
}

SkewDetector& SkewDetector::operator=(const SkewDetector&) = default;

SkewDetector::~SkewDetector() = default;

void SkewDetector::setThreshold(double level) {
    threshold = level;
}

// Votes of one direction fall into a small part of one row of counters. So the voters are gathered once, as
// many as the cache holds beside the row, and each direction goes over all of them.
//
// No vote falls outside the table. A distance is at most width + height - 2 but for rounding, which adds less
// than 2^-21 of it; a row has more counters than that on either side of distance 0, and where rounding
// outgrows them a guard row follows. The table has less than 2^32 counters, so distances stay below 2^31.
void SkewDetector::accumulate(unsigned char* image, unsigned width, unsigned height, int stride,
                              unsigned rhoCount, unsigned* accumulator) {
    if (height < 2 || width == 0) {
        return;
    }
    VotingRuns runs(image, stride, width, height, greyLimit(threshold));
    while (runs.gather()) {
        for (unsigned i = 0; i < angleCount; ++i) {
            if (std::isfinite(sinTable[i]) && std::isfinite(cosTable[i])) {
                const std::size_t row = (std::size_t{i} + 1) * (std::size_t{rhoCount} + 2);
                vote(runs, cosTable[i], sinTable[i], accumulator + row + 1 + (rhoCount - 1) / 2);
            }
        }
    }
}

// A peak exceeds the counter after it and is no less than the one before, and the same at a distance of
// angleCount + 2 counters, which lie in the same row as a rule. Of a run of equal votes the last is the peak,
// and a counter of 0 never is.
unsigned SkewDetector::findLocalMaximas(unsigned* accumulator, unsigned rhoCount, unsigned* peaks) {
    const std::size_t rowLength = std::size_t{rhoCount} + 2;
    const std::size_t reach = std::size_t{angleCount} + 2;
    const std::size_t size = reach * rowLength;
    const auto isPeak = [=](std::size_t k) {
        const unsigned votes = accumulator[k];
        return votes > accumulator[k + 1] && votes >= accumulator[k - 1] &&
               votes > (k + reach < size ? accumulator[k + reach] : 0) &&
               votes >= (k >= reach ? accumulator[k - reach] : 0);
    };
    constexpr std::size_t block = 16;
    unsigned found = 0;
    for (std::size_t row = 1; row <= angleCount; ++row) {
        std::size_t k = row * rowLength + 1;
        const std::size_t end = k + rhoCount;
        while (k < end) {
            const std::size_t stop = std::min(end, k + block);
            unsigned any = 0;
            for (std::size_t i = k; i < stop; ++i) {
                any |= accumulator[i];
            }
            for (; any != 0 && k < stop; ++k) {
                if (isPeak(k)) {
                    peaks[found++] = static_cast<unsigned>(k);
                }
            }
            k = stop;
        }
    }
    // Only the strongest are looked at, so only these are put in order.
    std::partial_sort(peaks, peaks + std::min(found, strongestPeaks), peaks + found,
                      [=](unsigned a, unsigned b) { return accumulator[a] > accumulator[b]; });
    return found;
}

double SkewDetector::detectSkew(unsigned char* image, int stride, unsigned width, unsigned height) {
    constexpr std::uint64_t indexLimit = std::numeric_limits<unsigned>::max();
    const std::uint64_t distances = 2 * (std::uint64_t{width} + height);
    const std::uint64_t rows = std::uint64_t{angleCount} + 2;
    if (distances + 2 > indexLimit / rows) {
        throw std::bad_alloc(); // indices of counters are 32 bits wide
    }
    const auto rhoCount = static_cast<unsigned>(distances);
    const auto accumulator = zeroedCounters(static_cast<std::size_t>(rows * (distances + 2)));
    accumulate(image, width, height, stride, rhoCount, accumulator.get());

    const std::unique_ptr<unsigned[]> peaks(new unsigned[std::size_t{angleCount} * rhoCount]);
    const unsigned count =
        std::min(findLocalMaximas(accumulator.get(), rhoCount, peaks.get()), strongestPeaks);
    if (count == 0) {
        return 0.0;
    }
    double sum = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned index = peaks[i] / (rhoCount + 2) - 1;
        sum += static_cast<double>(static_cast<float>(index) * angleStep + startAngle);
    }
    return (pi / 2 - sum / count) * 360.0 / (2 * pi);
}

namespace DornImage {

namespace {

struct IppFree {
    void operator()(Ipp8u* block) const { ippsFree(block); }
};
struct IppImageFree {
    void operator()(Ipp8u* picture) const { ippiFree(picture); }
};

} // namespace

double detectSkew(FIBITMAP* bitmap, SkewDetector& detector) {
    constexpr std::uint32_t kernelSize = 3;
    constexpr float sigma = 0.35F;
    const unsigned width = FreeImage_GetWidth(bitmap);
    const unsigned height = FreeImage_GetHeight(bitmap);
    const IppiSize roi = {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
    std::int32_t step = 0;
    const std::unique_ptr<Ipp8u, IppImageFree> smooth(ippiMalloc_8u_C1(roi.width, roi.height, &step));
    if (!smooth) {
        return 0.0;
    }
    std::int32_t specSize = 0;
    std::int32_t bufferSize = 0;
    if (ippiFilterGaussianGetBufferSize(roi, kernelSize, ipp8u, 1, &specSize, &bufferSize) != ippStsNoErr) {
        return 0.0;
    }
    const std::unique_ptr<Ipp8u, IppFree> record(ippsMalloc_8u(specSize));
    const std::unique_ptr<Ipp8u, IppFree> buffer(ippsMalloc_8u(bufferSize));
    auto* const spec = reinterpret_cast<IppFilterGaussianSpec*>(record.get());
    if (ippiFilterGaussianInit(roi, kernelSize, sigma, ippBorderRepl, ipp8u, 1, spec, buffer.get()) !=
        ippStsNoErr) {
        return 0.0;
    }
    if (ippiFilterGaussianBorder_8u_C1R(FreeImage_GetBits(bitmap),
                                        static_cast<std::int32_t>(FreeImage_GetPitch(bitmap)), smooth.get(),
                                        step, roi, 1, spec, buffer.get()) != ippStsNoErr) {
        return 0.0;
    }
    return detector.detectSkew(smooth.get(), step, width, height);
}

} // namespace DornImage
