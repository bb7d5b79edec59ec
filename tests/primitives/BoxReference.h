#ifndef DORNIMAGE_TESTS_PRIMITIVES_BOXREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_BOXREFERENCE_H

#include <cstddef>
#include <cstdint>

#include "primitives/primitives.h"

// The box filter from its definition, one mask after the other.
namespace boxreference {

struct Border {
    std::uint32_t type;
    std::uint8_t value;
};

// The place that is read for place `at` of a side of `size` pixels. `isValue` is set for the border's value.
inline std::int64_t place(std::int64_t at, std::int64_t size, std::uint32_t kind, bool inMemoryBefore,
                          bool inMemoryBehind, bool& isValue) {
    if ((at < 0 && inMemoryBefore) || (at >= size && inMemoryBehind)) {
        return at;
    }
    while (at < 0 || at >= size) {
        if (kind == ippBorderConst) {
            isValue = true;
            return 0;
        }
        if (kind == ippBorderRepl || size == 1) {
            return at < 0 ? 0 : size - 1;
        }
        at = at < 0 ? -at : 2 * (size - 1) - at;
    }
    return at;
}

inline std::uint8_t pixel(const std::uint8_t* image, std::ptrdiff_t step, IppiSize size, Border border,
                          std::int64_t x, std::int64_t y) {
    const auto has = [&](std::uint32_t flag) { return (border.type & flag) != 0; };
    bool isValue = false;
    x = place(x, size.width, border.type & 15, has(ippBorderInMemLeft), has(ippBorderInMemRight), isValue);
    y = place(y, size.height, border.type & 15, has(ippBorderInMemTop), has(ippBorderInMemBottom), isValue);
    return isValue ? border.value : image[y * step + x];
}

// The plain form: every step rounded to single precision.
inline int roundedMean(std::int64_t sum, std::int64_t area) {
    const float recip = 1.0F / static_cast<float>(area);
    const volatile float product = recip * static_cast<float>(sum);
    return static_cast<int>(product + 0.5F);
}

inline int mean(const std::uint8_t* image, std::ptrdiff_t step, IppiSize size, IppiSize mask, Border border,
                std::int64_t x, std::int64_t y) {
    const std::int64_t left = x - (mask.width - 1) / 2;
    const std::int64_t top = y - (mask.height - 1) / 2;
    std::int64_t sum = 0;
    for (std::int64_t j = 0; j < mask.height; ++j) {
        for (std::int64_t i = 0; i < mask.width; ++i) {
            sum += pixel(image, step, size, border, left + i, top + j);
        }
    }
    return roundedMean(sum, std::int64_t{mask.width} * mask.height);
}

} // namespace boxreference

#endif
