#include "primitives/convert/SwapRedBlue.h"

#include "VariantTest.h"

#include <vector>

namespace {

class SwapRedBlueTest : public VariantTest {};
INSTANTIATE_VARIANTS(SwapRedBlueTest);

TEST_P(SwapRedBlueTest, ExchangesOuterBytesAndNoOthers) {
    for (std::size_t pixels = 0; pixels < 70; ++pixels) {
        std::vector<uint8_t> from(3 * pixels), expected(3 * pixels + 16, 99), to = expected;
        for (std::size_t i = 0; i < from.size(); ++i) {
            from[i] = static_cast<uint8_t>(i * 5 + pixels);
            expected[i / 3 * 3 + 2 - i % 3] = from[i];
        }
        primitives::swapRedBlue(from.data(), to.data(), pixels);
        EXPECT_EQ(to, expected) << pixels;
    }
}

} // namespace
