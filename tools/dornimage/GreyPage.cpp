#include "GreyPage.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

/// `lineAt(y)` gives the scan line y of the source.
template <class LineAt>
GreyPage reduce(unsigned width, unsigned height, unsigned across, unsigned down, LineAt lineAt) {
    GreyPage result{width / across, height / down, {}};
    result.pixels.resize(std::size_t{result.width} * result.height);
    std::vector<std::uint32_t> sums(std::size_t{result.width} * across);
    const std::uint32_t area = across * down;
    const float share = 1.0F / static_cast<float>(area); // dividing would be most of the time
    for (unsigned y = 0; y < result.height; ++y) {
        std::fill(sums.begin(), sums.end(), 0);
        for (unsigned row = 0; row < down; ++row) {
            const unsigned char* const source = lineAt(y * down + row);
            for (std::size_t x = 0; x < sums.size(); ++x) {
                sums[x] += source[x];
            }
        }
        unsigned char* const target = result.line(y);
        for (unsigned x = 0; x < result.width; ++x) {
            std::uint32_t sum = area / 2;
            for (unsigned column = 0; column < across; ++column) {
                sum += sums[std::size_t{x} * across + column];
            }
            target[x] = static_cast<unsigned char>(static_cast<float>(sum) * share);
        }
    }
    return result;
}

} // namespace

GreyPage reduced(FIBITMAP* bitmap, unsigned across, unsigned down) {
    return reduce(FreeImage_GetWidth(bitmap), FreeImage_GetHeight(bitmap), across, down,
                  [bitmap](unsigned y) { return FreeImage_GetScanLine(bitmap, static_cast<int>(y)); });
}

GreyPage reduced(const GreyPage& page, unsigned factor) {
    return reduce(page.width, page.height, factor, factor, [&page](unsigned y) { return page.line(y); });
}

GreyPage sheared(const GreyPage& page, double slope) {
    const double middle = (page.width - 1) / 2.0;
    const auto margin = static_cast<long>(std::ceil(std::abs(slope) * middle));
    const auto last = static_cast<long>(page.height) - 1;
    // Neighbours that move alike are copied together.
    struct Strip {
        unsigned first, width;
        long shift;
    };
    std::vector<Strip> strips;
    for (unsigned x = 0; x < page.width; ++x) {
        const long shift = std::lround((x - middle) * slope) + margin;
        if (strips.empty() || strips.back().shift != shift) {
            strips.push_back({x, 0, shift});
        }
        ++strips.back().width;
    }
    GreyPage result{page.width, page.height + 2 * static_cast<unsigned>(margin), {}};
    result.pixels.resize(std::size_t{result.width} * result.height);
    for (unsigned y = 0; y < result.height; ++y) {
        unsigned char* const target = result.line(y);
        for (const Strip& strip : strips) {
            const long from = std::clamp(static_cast<long>(y) - strip.shift, 0L, last);
            std::memcpy(target + strip.first, page.line(static_cast<unsigned>(from)) + strip.first,
                        strip.width);
        }
    }
    return result;
}

GreySplit splitLevels(const GreyPage& page) {
    // Four tables, because equal neighbours in one would wait for each other.
    std::array<std::array<std::size_t, 256>, 4> tables{};
    for (std::size_t i = 0; i < page.pixels.size(); ++i) {
        ++tables[i % 4][page.pixels[i]];
    }
    std::array<std::size_t, 256> counts{};
    for (const auto& table : tables) {
        for (unsigned level = 0; level < 256; ++level) {
            counts[level] += table[level];
        }
    }
    const auto all = static_cast<double>(page.pixels.size());
    double allSum = 0;
    for (unsigned level = 0; level < 256; ++level) {
        allSum += static_cast<double>(counts[level]) * level;
    }
    GreySplit split;
    double best = -1;
    unsigned first = 0;
    double dark = 0;
    double darkSum = 0;
    for (unsigned level = 0; level < 255; ++level) {
        dark += static_cast<double>(counts[level]);
        darkSum += static_cast<double>(counts[level]) * level;
        if (dark == 0 || dark == all) {
            continue;
        }
        const double darkMean = darkSum / dark;
        const double lightMean = (allSum - darkSum) / (all - dark);
        const double variance = dark * (all - dark) * (lightMean - darkMean) * (lightMean - darkMean);
        if (variance > best) {
            best = variance;
            first = level;
            split = {level, darkMean, lightMean};
        } else if (variance == best) {
            split.threshold = (first + level) / 2;
        }
    }
    return split;
}

void removeThick(GreyPage& page, unsigned threshold, unsigned thickness) {
    // The line at which the dark run of each column began, or `none`.
    constexpr unsigned none = ~0U;
    std::vector<unsigned> since(page.width, none);
    const auto end = [&](unsigned x, unsigned y) {
        if (since[x] == 0 || y == page.height || y - since[x] > thickness) {
            for (unsigned dark = since[x]; dark < y; ++dark) {
                page.line(dark)[x] = 255;
            }
        }
        since[x] = none;
    };
    for (unsigned y = 0; y < page.height; ++y) {
        const unsigned char* const line = page.line(y);
        for (unsigned x = 0; x < page.width; ++x) {
            if ((line[x] <= threshold) == (since[x] != none)) {
                continue;
            }
            if (since[x] == none) {
                since[x] = y;
            } else {
                end(x, y);
            }
        }
    }
    for (unsigned x = 0; x < page.width; ++x) {
        if (since[x] != none) {
            end(x, page.height);
        }
    }
}
