#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "GuardedBuffer.h"
#include "VariantTest.h"
#include "primitives/core/Dispatch.h"
#include "primitives/core/Math.h"
#include "simd/Helpers.h"

namespace {

class Helper : public VariantTest {
protected:
    void SetUp() override {
        VariantTest::SetUp();
        helpers = primitives::dispatch<HelpersOf>();
    }

    Helpers helpers{};
};
INSTANTIATE_VARIANTS(Helper);

TEST_P(Helper, FloorAndCeilAreExact) {
    std::vector<double> values = {0.0,
                                  0.5,
                                  1.0,
                                  1.5,
                                  0x1p-1074,
                                  0x1p31,
                                  0x1p52,
                                  0x1p52 - .5,
                                  0x1p51 + .5,
                                  0x1p53 + 2,
                                  0x1p63,
                                  1e300,
                                  std::numeric_limits<double>::infinity()};
    std::mt19937_64 random(1);
    for (int i = 0; i < rounds(100000); ++i) {
        const double anything = std::bit_cast<double>(random());
        values.push_back(std::isnan(anything) ? 0.25 : anything);
        values.push_back(static_cast<double>(static_cast<std::int64_t>(random())) / 0x1p40);
    }
    for (const double value : values) {
        for (const double x : {value, -value}) {
            ASSERT_EQ(std::bit_cast<std::uint64_t>(helpers.floor(x)),
                      std::bit_cast<std::uint64_t>(std::floor(x)))
                << x;
            ASSERT_EQ(std::bit_cast<std::uint64_t>(helpers.ceil(x)),
                      std::bit_cast<std::uint64_t>(std::ceil(x)))
                << x;
        }
    }
    EXPECT_TRUE(std::isnan(helpers.floor(NAN)));
    EXPECT_TRUE(std::isnan(helpers.ceil(NAN)));
}

TEST_P(Helper, ExpIsWithinOneUnit) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(helpers.exp(0.0F), 1.0F);
    EXPECT_EQ(helpers.exp(-infinity), 0.0F);
    EXPECT_EQ(helpers.exp(-200.0F), 0.0F);
    EXPECT_EQ(helpers.exp(infinity), infinity);
    EXPECT_EQ(helpers.exp(88.73F), infinity);
    EXPECT_EQ(helpers.exp(1e30F), infinity);
    EXPECT_TRUE(std::isnan(helpers.exp(NAN)));

    std::mt19937 random(2);
    std::uniform_real_distribution<float> anywhere(-105.0F, 88.7F);
    std::uniform_real_distribution<float> gaussian(-8.0F, 0.0F);
    for (int i = 0; i < rounds(100000); ++i) {
        const float x = i % 2 == 0 ? anywhere(random) : gaussian(random);
        const double exact = std::exp(static_cast<double>(x));
        const float got = helpers.exp(x);
        const double unit = static_cast<double>(std::nextafter(got, infinity)) - static_cast<double>(got);
        ASSERT_LE(std::abs(static_cast<double>(got) - exact), 0.51 * unit) << x;
        ASSERT_EQ(std::bit_cast<std::uint32_t>(got), std::bit_cast<std::uint32_t>(primitives::ippExp32f(x)))
            << x;
    }
}

TEST_P(Helper, CopiesStreamOnlyWhereTheCachesAreLeft) {
    EXPECT_FALSE(helpers.copyStreams(0x400000, 0));
    EXPECT_TRUE(helpers.copyStreams(0x400001, 0));
    EXPECT_FALSE(helpers.copyStreams(0x1000000, 0x2000000));
    EXPECT_TRUE(helpers.copyStreams(0x1000001, 0x2000000));
}

TEST_P(Helper, CopiesEveryByteAndNoOther) {
    std::vector<std::uint8_t> source(700000);
    std::mt19937 random(3);
    std::generate(source.begin(), source.end(), [&] { return static_cast<std::uint8_t>(random()); });
    for (const std::size_t size : {0, 1, 15, 16, 17, 63, 64, 65, 128, 200, 4099, 32767, 32768, 600001}) {
        for (const std::size_t offset : {0, 1, 33}) {
            for (const auto copy : {helpers.copy, helpers.copyPastCaches}) {
                GuardedBytes target(size, offset);
                copy(source.data() + 5, target.data(), size);
                EXPECT_TRUE(std::equal(target.data(), target.data() + size, source.begin() + 5)) << size;
                EXPECT_TRUE(target.intact()) << size;
            }
        }
    }
}

template <typename T>
void expectFilled(void (*set)(T, T*, std::size_t), T value) {
    for (std::size_t count = 0; count < 140; ++count) {
        GuardedBytes target(count * sizeof(T), sizeof(T));
        T* elements = reinterpret_cast<T*>(target.data());
        set(value, elements, count);
        EXPECT_TRUE(std::all_of(elements, elements + count, [=](T element) { return element == value; }));
        EXPECT_TRUE(target.intact()) << count;
    }
}

TEST_P(Helper, FillsEveryElementAndNoOther) {
    expectFilled<std::uint8_t>(helpers.set8, 0x42);
    expectFilled<std::uint16_t>(helpers.set16, 0x1234);
    expectFilled<float>(helpers.set32, -1.5F);
}

} // namespace
