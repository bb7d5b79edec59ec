#include "primitives/convert/SwapRedBlue.h"

#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using Block = simd::Vec<uint8_t, 16>;

// Five whole pixels fill all of a block but its last byte.
constexpr size_t kBlockPixels = 5;

struct SwapTriples {
    static constexpr int at(int i) { return i < 15 ? i / 3 * 3 + 2 - i % 3 : i; }
};

// From SSSE3 on a block is one shuffle; below, single bytes are as fast as what the compiler makes of it.
constexpr bool kShufflesBytes = kVariant >= 2;

} // namespace primitives::DORN_LEVEL_NAMESPACE

template <>
void primitives::SwapRedBlue<primitives::kVariant>::run(const uint8_t* from, uint8_t* to, size_t pixels) {
    using namespace DORN_LEVEL_NAMESPACE;
    size_t x = 0;
    if constexpr (kShufflesBytes) {
        // The last byte of a block belongs to the pixel behind it, which is written next.
        for (; pixels - x > kBlockPixels; x += kBlockPixels) {
            const Block pixel = simd::load<Block>(from + 3 * x);
            simd::store(to + 3 * x, simd::shuffle<SwapTriples>(pixel, pixel));
        }
    }
    for (; x < pixels; ++x) {
        const uint8_t first = from[3 * x];
        to[3 * x + 1] = from[3 * x + 1];
        to[3 * x] = from[3 * x + 2];
        to[3 * x + 2] = first;
    }
}
