#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "VariantTest.h"

namespace {

class Memory : public VariantTest {};
INSTANTIATE_VARIANTS(Memory);

TEST_P(Memory, BlocksAreAlignedAndWhole) {
    for (const std::int32_t len : {1, 63, 64, 65, 4096, 1000003}) {
        Ipp8u* block = ippsMalloc_8u(len);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
        std::memset(block, 0xFF, static_cast<std::size_t>(len));
        ippiFree(block);
    }
    ippsFree(nullptr);
    ippiFree(nullptr);
}

TEST_P(Memory, RefusesLengthsThatDoNotFit) {
    for (const std::int32_t len : {0, -1, INT32_MIN, 0x7FFFFFB8, INT32_MAX}) {
        EXPECT_EQ(ippsMalloc_8u(len), nullptr) << len;
    }
}

TEST_P(Memory, ImagesHaveAlignedRows) {
    const struct {
        std::int32_t width, height, step;
        bool given;
    } images[] = {
        {1, 1, 64, true},
        {64, 3, 64, true},
        {65, 2, 128, true},
        {0, 5, 0, false},
        {5, -1, 0, false},
        {0x7FFFFFC0, 2, 0x7FFFFFC0, false},
        {0x7FFFFFC1, 1, INT32_MIN, false},
    };
    for (const auto& image : images) {
        std::int32_t step = -7;
        Ipp8u* pixels = ippiMalloc_8u_C1(image.width, image.height, &step);
        EXPECT_EQ(step, image.step);
        EXPECT_EQ(pixels != nullptr, image.given) << image.width;
        if (pixels) {
            std::memset(pixels, 1,
                        static_cast<std::size_t>(image.step) * static_cast<std::size_t>(image.height));
            ippsFree(pixels);
        }
    }
    EXPECT_EQ(ippiMalloc_8u_C1(1, 1, nullptr), nullptr);
}

} // namespace
