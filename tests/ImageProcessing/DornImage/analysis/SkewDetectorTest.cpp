#include "ImageProcessing/DornImage/analysis/SkewDetector.h"
#include "ImageProcessing/DornImage/Handles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <new>
#include <random>
#include <thread>
#include <vector>

using DornImage::FIBitmapPtr;

namespace {

constexpr double pi = 3.141592653589793;

struct Page {
    unsigned width, height;
    int stride;
    std::vector<unsigned char> bytes;
};

// The least and the greatest result that the method allows: they differ when peaks with equal votes stand at
// the twentieth place.
std::pair<double, double> reference(const Page& page, float maxAngle, unsigned angleCount, unsigned limit) {
    const long rowLength = 2 * (page.width + page.height) + 2;
    const long size = (angleCount + 2L) * rowLength;
    std::map<long, unsigned> votes;
    const float start = static_cast<float>((90.0F - maxAngle) * 2.0 * pi / 360.0);
    const float step = static_cast<float>(maxAngle * 4.0 * pi / (angleCount * 360.0));
    std::vector<float> angles;
    for (unsigned i = 0; i < angleCount; ++i) {
        volatile const float turned = static_cast<float>(i) * step;
        angles.push_back(turned + start);
        for (unsigned y = 1; y < page.height; ++y) {
            for (unsigned x = 0; x < page.width; ++x) {
                const unsigned char* const q = &page.bytes[y * static_cast<unsigned>(page.stride) + x];
                if (*(q - page.stride) <= limit && *q > limit) {
                    volatile const float along = static_cast<float>(x) * std::cos(angles[i]);
                    volatile const float across = static_cast<float>(y) * std::sin(angles[i]);
                    const float distance = along + across;
                    ++votes[(i + 1) * rowLength + (rowLength - 2) / 2 +
                            static_cast<long>(std::floor(distance))];
                }
            }
        }
    }
    const auto at = [&](long k) {
        const auto found = votes.find(k);
        return k < 0 || k >= size || found == votes.end() ? 0U : found->second;
    };
    std::vector<std::pair<unsigned, double>> peaks;
    for (const auto& [k, count] : votes) {
        const long reach = angleCount + 2L;
        if (count > at(k + 1) && count >= at(k - 1) && count > at(k + reach) && count >= at(k - reach)) {
            peaks.emplace_back(count, angles[static_cast<std::size_t>(k / rowLength - 1)]);
        }
    }
    const auto mean = [&](double sign) {
        std::sort(peaks.begin(), peaks.end(), [sign](const auto& a, const auto& b) {
            return a.first != b.first ? a.first > b.first : sign * a.second < sign * b.second;
        });
        const std::size_t count = std::min<std::size_t>(20, peaks.size());
        double sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += peaks[i].second;
        }
        return count == 0 ? 0.0 : (pi / 2 - sum / static_cast<double>(count)) * 360.0 / (2 * pi);
    };
    return {mean(-1), mean(1)};
}

Page randomPage(std::mt19937& random, unsigned width, unsigned height, bool ruled) {
    Page page{width, height, static_cast<int>(width + random() % 9), {}};
    page.bytes.resize(static_cast<unsigned>(page.stride) * (height + 1));
    const double slope = static_cast<double>(random() % 200) / 1000 - 0.1;
    for (std::size_t i = 0; i < page.bytes.size(); ++i) {
        const auto x = static_cast<double>(i % static_cast<unsigned>(page.stride));
        const auto y = static_cast<double>(i / static_cast<unsigned>(page.stride));
        const bool dark = std::fmod(y + slope * x + 1000, 12) < 4;
        page.bytes[i] = static_cast<unsigned char>(ruled && random() % 20 ? (dark ? 40 : 220) : random());
    }
    return page;
}

// Dark lines on white that fall to the right by `degrees` on the screen.
FIBITMAP* ruledPage(int width, int height, double degrees) {
    FIBITMAP* const bitmap = FreeImage_Allocate(width, height, 8);
    for (int y = 0; y < height; ++y) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, y);
        for (int x = 0; x < width; ++x) {
            const double across = y * std::cos(degrees * pi / 180) + x * std::sin(degrees * pi / 180);
            const double place = std::fmod(across + 1000, 40);
            line[x] = place < 10 ? 0 : 255;
        }
    }
    return bitmap;
}

} // namespace

TEST(SkewDetector, IsWhatThePlainMethodGives) {
    std::mt19937 random(20240531);
    // Among them counters without a neighbour at the distance of angleCount + 2, inside tiny tables.
    const std::pair<unsigned, unsigned> sizes[] = {{1, 2},    {3, 4},   {2, 90},    {90, 2},  {64, 64},
                                                   {131, 77}, {300, 5}, {400, 300}, {17, 400}};
    const unsigned angleCounts[] = {1, 2, 7, 100, 333};
    const std::pair<double, unsigned> thresholds[] = {{128.0, 128}, {300.9, 44}, {-56.5, 200}, {1e300, 0}};
    for (const auto& [width, height] : sizes) {
        for (const unsigned count : angleCounts) {
            const auto& [threshold, limit] = thresholds[random() % 4];
            const float maxAngle = static_cast<float>(random() % 2000) / (random() % 4 == 0 ? 10.0F : 200.0F);
            Page page = randomPage(random, width, height, random() % 3 != 0);
            SkewDetector detector(maxAngle, count);
            detector.setThreshold(threshold);
            const double result = detector.detectSkew(page.bytes.data(), page.stride, width, height);
            const auto [least, greatest] = reference(page, maxAngle, count, limit);
            SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << count << " angles within "
                                            << maxAngle << ", threshold " << threshold);
            EXPECT_GE(result, least);
            EXPECT_LE(result, greatest);
        }
    }
}

TEST(SkewDetector, MeasuresFallingLinesAsPositive) {
    SkewDetector detector(5.0F, 100);
    for (const double degrees : {-4.9, -2.0, -0.3, 0.0, 0.7, 3.1, 4.8}) {
        const FIBitmapPtr page(ruledPage(1200, 900, degrees));
        EXPECT_NEAR(DornImage::detectSkew(page.get(), detector), degrees, 0.06);
    }
    const FIBitmapPtr oneBit(FreeImage_Allocate(1200, 900, 1));
    EXPECT_EQ(DornImage::detectSkew(oneBit.get(), detector), 0.0);
    EXPECT_EQ(DornImage::detectSkew(nullptr, detector), 0.0);
}

TEST(SkewDetector, FindsNothingWhereNothingCanVote) {
    std::mt19937 random(7);
    Page page = randomPage(random, 60, 40, true);
    const auto measure = [&page](float maxAngle, unsigned count, unsigned width, unsigned height) {
        return SkewDetector(maxAngle, count).detectSkew(page.bytes.data(), page.stride, width, height);
    };
    EXPECT_NE(measure(5, 100, 60, 40), 0.0);
    EXPECT_EQ(measure(5, 0, 60, 40), 0.0);
    EXPECT_EQ(measure(std::nanf(""), 10, 60, 40), 0.0);
    EXPECT_EQ(measure(HUGE_VALF, 10, 60, 40), 0.0);
    EXPECT_EQ(measure(5, 100, 60, 1), 0.0);
    EXPECT_EQ(measure(5, 100, 60, 0), 0.0);
    EXPECT_EQ(measure(5, 100, 0, 40), 0.0);
    std::fill(page.bytes.begin(), page.bytes.end(), static_cast<unsigned char>(128));
    EXPECT_EQ(measure(5, 100, 60, 40), 0.0);

    EXPECT_THROW(measure(5, 100, 0x80000000U, 0x80000000U), std::bad_alloc);
    EXPECT_THROW(measure(5, 100, 0xFFFFFFFFU, 1), std::bad_alloc);
}

// Run under the address and thread sanitizers as well.
TEST(SkewDetector, SharesItsTablesAfterAssignmentAndBetweenThreads) {
    const FIBitmapPtr page(ruledPage(300, 200, 2.5));
    SkewDetector detector(1.0F, 3);
    {
        SkewDetector other(5.0F, 50);
        other.setThreshold(20.0);
        detector = other;
        EXPECT_EQ(DornImage::detectSkew(page.get(), detector), DornImage::detectSkew(page.get(), other));
    }
    const double alone = DornImage::detectSkew(page.get(), detector);
    std::vector<double> results(4);
    std::vector<std::thread> threads;
    for (double& result : results) {
        threads.emplace_back([&] { result = DornImage::detectSkew(page.get(), detector); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(results, std::vector<double>(4, alone));
}
