#include "GreyPage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

// These loops are most of the work on a large page, so they are such that compilers vectorise them: bytes are
// written through pointers, because those in a std::vector could be part of any vector's own fields; pairs of
// pixels are added as the two halves of a number, and instead of dividing by the number of pixels the upper
// half of a product is taken. The means of more than 100 pixels may be one level too low.
void addPixels(const unsigned char* line, std::vector<std::uint16_t>& sums) {
    for (std::size_t x = 0; x < sums.size(); ++x) {
        sums[x] = static_cast<std::uint16_t>(sums[x] + line[x]);
    }
}

void addPairs(const unsigned char* line, std::vector<std::uint16_t>& sums) {
    for (std::size_t x = 0; x < sums.size(); ++x) {
        std::uint16_t pair = 0;
        std::memcpy(&pair, line + 2 * x, sizeof pair);
        sums[x] = static_cast<std::uint16_t>(sums[x] + (pair & 0xFF) + (pair >> 8));
    }
}

// `Count` sums make a block, or `count` when that is 0.
template <unsigned Count>
void meansOf(const std::uint16_t* sums, unsigned count, unsigned area, unsigned char* target,
             unsigned width) {
    const auto share = static_cast<std::uint16_t>(0x10000 / area);
    for (std::size_t x = 0; x < width; ++x) {
        auto sum = static_cast<std::uint16_t>(area / 2);
        for (unsigned i = 0; i < (Count == 0 ? count : Count); ++i) {
            sum = static_cast<std::uint16_t>(sum + sums[x * (Count == 0 ? count : Count) + i]);
        }
        target[x] = static_cast<unsigned char>((std::uint32_t{sum} * share) >> 16);
    }
}

/// `lineAt(y)` gives the scan line y of the source.
template <class LineAt>
GreyPage reduce(unsigned width, unsigned height, unsigned across, unsigned down, LineAt lineAt) {
    GreyPage result{width / across, height / down, {}};
    result.pixels.resize(std::size_t{result.width} * result.height);
    const unsigned area = across * down;
    const unsigned count = across % 2 == 0 ? across / 2 : across;
    const auto means = count == 1 ? meansOf<1> : count == 2 ? meansOf<2> : meansOf<0>;
    std::vector<std::uint16_t> sums(std::size_t{result.width} * count);
    for (unsigned y = 0; y < result.height; ++y) {
        if (area == 1) {
            std::copy_n(lineAt(y), width, result.line(y));
            continue;
        }
        std::fill(sums.begin(), sums.end(), std::uint16_t(0));
        for (unsigned row = 0; row < down; ++row) {
            (across % 2 == 0 ? addPairs : addPixels)(lineAt(y * down + row), sums);
        }
        means(sums.data(), count, area, result.line(y), result.width);
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
    // Every other line tells as much. Four tables, because equal neighbours in one would wait for each other.
    std::array<std::array<std::uint32_t, 256>, 4> tables{};
    for (unsigned y = 0; y < page.height; y += 2) {
        const unsigned char* const line = page.line(y);
        unsigned x = 0;
        for (; x + 4 <= page.width; x += 4) {
            ++tables[0][line[x]];
            ++tables[1][line[x + 1]];
            ++tables[2][line[x + 2]];
            ++tables[3][line[x + 3]];
        }
        for (; x < page.width; ++x) {
            ++tables[0][line[x]];
        }
    }
    std::array<std::size_t, 256> counts{};
    for (const auto& table : tables) {
        for (unsigned level = 0; level < 256; ++level) {
            counts[level] += table[level];
        }
    }
    const unsigned lines = (page.height + 1) / 2;
    const auto all = static_cast<double>(std::size_t{page.width} * lines);
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

namespace {

void markChanges(const unsigned char* line, unsigned char limit, unsigned char* before,
                 unsigned char* changes, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned char dark = line[x] <= limit;
        changes[x] = dark ^ before[x];
        before[x] = dark;
    }
}

} // namespace

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
    const auto limit = static_cast<unsigned char>(threshold);
    std::vector<unsigned char> before(page.width); // whether it was dark
    std::vector<unsigned char> changes(page.width);
    for (unsigned y = 0; y < page.height; ++y) {
        markChanges(page.line(y), limit, before.data(), changes.data(), page.width);
        eachMarked(changes, [&](unsigned x) {
            if (since[x] == none) {
                since[x] = y;
            } else {
                end(x, y);
            }
        });
    }
    for (unsigned x = 0; x < page.width; ++x) {
        if (since[x] != none) {
            end(x, page.height);
        }
    }
}
