#ifndef DORNIMAGE_TESTS_PRIMITIVES_RESIZESUPERREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_RESIZESUPERREFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "ResizeReference.h"

// What the method of means gives, pixel by pixel and slowly.
namespace super_reference {

// One axis of the method: for each destination position the source positions that it covers, and their parts.
struct Axis {
    struct Entry {
        int index;
        float weight;
    };

    Axis(int src, int dst)
        : sr(src / std::gcd(src, dst)), dr(dst / std::gcd(src, dst)), n(sr / dr + (sr % dr == 0   ? 0
                                                                                   : sr % dr == 1 ? 1
                                                                                                  : 2)) {
        if (src == dst) {
            entries = {{0, 1.0F}};
            return;
        }
        const double r = static_cast<double>(sr) / dr;
        const auto significant = [](double weight) {
            return weight > 1e-7 ? static_cast<float>(weight) : 0.0F;
        };
        double carry = 1.0;
        for (int d = 0; d < dr; ++d) {
            int index = static_cast<int>(std::trunc(d * r));
            std::vector<Entry> all = {{index, significant(carry)}};
            double rest = r - carry;
            for (; rest >= 1.0 && static_cast<int>(all.size()) < n - 1; rest -= 1.0) {
                all.push_back({++index, 1.0F});
            }
            all.push_back({++index, significant(rest)});
            if (d == dr - 1 && index == sr) {
                all.back() = {sr - 1, 0.0F};
            }
            if (static_cast<int>(all.size()) < n) {
                all.push_back({all.back().index, 0.0F});
            }
            entries.insert(entries.end(), all.begin(), all.end());
            carry = 1.0 - rest;
        }
    }

    // Entry k of destination position d, in the whole source.
    Entry at(int d, int k) const {
        const Entry entry = entries[static_cast<std::size_t>(d % dr * n + k)];
        return {d / dr * sr + entry.index, entry.weight};
    }

    const int sr;
    const int dr;
    const int n; // entries of a position
    std::vector<Entry> entries;
};

// a * b + c, rounded once or twice.
inline float mulAdd(float a, float b, float c, bool isFused) {
    if (isFused) {
        return std::fma(a, b, c);
    }
    volatile float product = a * b;
    return product + c;
}

// One sample of the destination.
inline std::uint8_t superSample(const resize_reference::Source& source, const Axis& axisX, const Axis& axisY,
                                int x, int y, int channel, bool isFused) {
    float sum = 0.0F;
    for (int k = 0; k < axisX.n; ++k) {
        const Axis::Entry column = axisX.at(x, k);
        float down = 0.0F;
        for (int l = 0; l < axisY.n; ++l) {
            const Axis::Entry row = axisY.at(y, l);
            const std::uint8_t sample =
                source
                    .data[row.index * source.step + std::ptrdiff_t{column.index} * source.channels + channel];
            down = mulAdd(sample, row.weight, down, isFused);
        }
        sum = mulAdd(down, column.weight, sum, isFused);
    }
    const float factor = (static_cast<float>(axisX.dr) / static_cast<float>(axisX.sr)) *
                         (static_cast<float>(axisY.dr) / static_cast<float>(axisY.sr));
    return static_cast<std::uint8_t>(std::clamp(std::nearbyint(sum * factor), 0.0F, 255.0F));
}

} // namespace super_reference

#endif
