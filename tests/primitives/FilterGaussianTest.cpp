#include "primitives/filter/FilterGaussian.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

#include <gmock/gmock.h>

#include "primitives/filter/GaussianSpec.h"
#include "tests/primitives/GaussianReference.h"
#include "tests/primitives/GuardedBuffer.h"
#include "tests/primitives/VariantTest.h"

namespace {

using testing::ElementsAre;

// A record and a work buffer of exactly the sizes reported, away from boundaries by the offsets given.
struct Blocks {
    Blocks(IppiSize size, std::uint32_t kernel, int channels, std::size_t specOffset = 0,
           std::size_t bufferOffset = 0) {
        std::int32_t specSize = 0;
        std::int32_t bufferSize = 0;
        EXPECT_EQ(ippiFilterGaussianGetBufferSize(size, kernel, ipp8u, channels, &specSize, &bufferSize),
                  ippStsNoErr);
        spec = std::make_unique<GuardedBytes>(static_cast<std::size_t>(specSize), specOffset);
        buffer = std::make_unique<GuardedBytes>(static_cast<std::size_t>(bufferSize), bufferOffset);
    }

    IppFilterGaussianSpec* record() const { return reinterpret_cast<IppFilterGaussianSpec*>(spec->data()); }

    IppStatus init(IppiSize size, std::uint32_t kernel, float sigma, int type) const {
        return ippiFilterGaussianInit(size, kernel, sigma, ippBorderRepl, type, 1, record(), buffer->data());
    }

    // Writes a record by hand.
    void forge(IppFilterGaussianSpec head, const std::vector<std::int16_t>& taps) const {
        std::memcpy(spec->data(), &head, sizeof head);
        std::memcpy(tapBytes(), taps.data(), taps.size() * sizeof taps[0]);
    }

    std::vector<std::int16_t> taps() const {
        IppFilterGaussianSpec head{};
        std::memcpy(&head, spec->data(), sizeof head);
        std::vector<std::int16_t> result(head.kernelSize);
        std::memcpy(result.data(), tapBytes(), result.size() * sizeof result[0]);
        return result;
    }

    bool intact() const { return spec->intact() && buffer->intact(); }

    std::unique_ptr<GuardedBytes> spec;
    std::unique_ptr<GuardedBytes> buffer;

private:
    std::uint8_t* tapBytes() const {
        const auto address = reinterpret_cast<std::uintptr_t>(spec->data()) + 20;
        return reinterpret_cast<std::uint8_t*>((address + 15) / 16 * 16);
    }
};

std::vector<std::int16_t> tapsFor(std::uint32_t kernel, float sigma) {
    const Blocks blocks({9, 9}, kernel, 1);
    EXPECT_EQ(blocks.init({9, 9}, kernel, sigma, ipp8u), ippStsNoErr);
    EXPECT_TRUE(blocks.intact());
    return blocks.taps();
}

TEST(FilterGaussianSizes, FollowTheFormula) {
    struct {
        IppiSize size;
        std::uint32_t kernel;
        int type, channels;
        std::int32_t spec, buffer;
    } const cases[] = {
        {{1, 1}, 3, ipp8u, 1, 44, 472},           {{2480, 3508}, 3, ipp8u, 1, 44, 68240},
        {{2480, 3508}, 15, ipp8u, 3, 68, 687688}, {{640, 2}, 5, ipp8u, 3, 52, 43048},
        {{7, 1000}, 33, ipp8u, 1, 108, 16688},    {{1, 268435393}, 3, ipp8u, 1, 44, 2147483640},
    };
    for (const auto& c : cases) {
        std::int32_t spec = 0;
        std::int32_t buffer = 0;
        EXPECT_EQ(ippiFilterGaussianGetBufferSize(c.size, c.kernel, c.type, c.channels, &spec, &buffer),
                  ippStsNoErr);
        EXPECT_EQ(spec, c.spec);
        EXPECT_EQ(buffer, c.buffer);
    }
    std::int32_t spec = 0;
    std::int32_t buffer = 0;
    EXPECT_EQ(ippiFilterGaussianGetBufferSize({64, 64}, 5, ipp32f, 3, &spec, &buffer), ippStsNoErr);
    EXPECT_EQ(spec, 64);
}

TEST(FilterGaussianSizes, RefuseWhatDoesNotFit) {
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    struct {
        IppiSize size;
        std::uint32_t kernel;
    } const cases[] = {
        {{1, 268435394}, 3}, {{1, 1}, 23169},        {{1, 1}, 0xFFFFFFFF}, {{most, most}, 0xFFFFFFFF},
        {{most, 1}, 3},      {{most, most}, 0x7FFF}, {{1, 1}, 0x8001}};
    for (const auto& c : cases) {
        std::int32_t spec = -1;
        std::int32_t buffer = -1;
        EXPECT_EQ(ippiFilterGaussianGetBufferSize(c.size, c.kernel, ipp8u, 3, &spec, &buffer),
                  ippStsExceededSizeErr);
        EXPECT_EQ(spec, -1);
        EXPECT_EQ(buffer, -1);
    }
    const Blocks blocks({9, 9}, 3, 1);
    EXPECT_EQ(blocks.init({9, 9}, 0xFFFFFFFF, 1.0F, ipp8u), ippStsExceededSizeErr);
}

TEST(FilterGaussianStatus, ComesInOrder) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Each row has the fault named and everything behind it too.
    struct {
        bool pointer;
        IppiSize size;
        std::uint32_t kernel;
        int type, channels;
        float sigma;
        std::uint32_t border;
        IppStatus sizing, init;
    } const cases[] = {
        {false, {0, 0}, 4, 2, 4, 0.0F, 2, ippStsNullPtrErr, ippStsNullPtrErr},
        {true, {0, 9}, 4, 2, 4, 0.0F, 2, ippStsSizeErr, ippStsSizeErr},
        {true, {9, 9}, 4, 2, 4, 0.0F, 2, ippStsBadArgErr, ippStsBadArgErr},
        {true, {9, 9}, 1, 2, 4, 0.0F, 2, ippStsBadArgErr, ippStsBadArgErr},
        {true, {9, 9}, 3, 19, 4, 0.0F, 2, ippStsDataTypeErr, ippStsDataTypeErr},
        {true, {9, 9}, 3, 1, 4, 0.0F, 2, ippStsChannelErr, ippStsChannelErr},
        {true, {9, 9}, 3, 5, 3, 0.0F, 2, ippStsNoErr, ippStsBadArgErr},
        {true, {9, 9}, 3, 7, 3, -1.0F, 2, ippStsNoErr, ippStsBadArgErr},
        {true, {9, 9}, 3, 1, 3, nan, 2, ippStsNoErr, ippStsBadArgErr},
        {true, {9, 9}, 3, 13, 3, 1.0F, 2, ippStsNoErr, ippStsBorderErr},
        {true, {9, 9}, 3, 1, 3, 1.0F, 0x101, ippStsNoErr, ippStsBorderErr},
        {true, {9, 9}, 3, 1, 3, 1.0F, 0xE0, ippStsNoErr, ippStsBorderErr},
        {true, {9, 9}, 3, 1, 3, 1.0F, 0xF0, ippStsNoErr, ippStsNoErr},
        {true, {9, 9}, 3, 13, 1, 1.0F, 0x73, ippStsNoErr, ippStsNoErr},
    };
    std::vector<std::uint32_t> record(64);
    auto* spec = reinterpret_cast<IppFilterGaussianSpec*>(record.data());
    std::vector<Ipp8u> buffer(8192);
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::int32_t size = 0;
        std::int32_t* out = c.pointer ? &size : nullptr;
        EXPECT_EQ(ippiFilterGaussianGetBufferSize(c.size, c.kernel, c.type, c.channels, &size, out),
                  c.sizing);
        EXPECT_EQ(ippiFilterGaussianGetBufferSize(c.size, c.kernel, c.type, c.channels, out, &size),
                  c.sizing);
        Ipp8u* scratch = c.pointer ? buffer.data() : nullptr;
        EXPECT_EQ(
            ippiFilterGaussianInit(c.size, c.kernel, c.sigma, c.border, c.type, c.channels, spec, scratch),
            c.init);
    }
    EXPECT_EQ(ippiFilterGaussianInit({9, 9}, 3, 1.0F, 1, 1, 1, nullptr, buffer.data()), ippStsNullPtrErr);
}

TEST(FilterGaussianTaps, AreTheRoundedWeights) {
    EXPECT_THAT(tapsFor(3, 0.35F), ElementsAre(67, 3962, 67));
    EXPECT_THAT(tapsFor(3, 0.5F), ElementsAre(436, 3223, 436));
    EXPECT_THAT(tapsFor(3, 1.0F), ElementsAre(1123, 1851, 1123));
    EXPECT_THAT(tapsFor(5, 1.0F), ElementsAre(223, 1000, 1649, 1000, 223));
    EXPECT_THAT(tapsFor(5, 1.5F), ElementsAre(492, 958, 1196, 958, 492));
    EXPECT_THAT(tapsFor(7, 2.0F), ElementsAre(287, 537, 781, 885, 781, 537, 287));
    EXPECT_THAT(tapsFor(3, 100.0F), ElementsAre(1365, 1365, 1365));
}

TEST(FilterGaussianTaps, AreDefinedForExtremeSigmas) {
    EXPECT_THAT(tapsFor(3, 1e-30F), ElementsAre(0, 0, 0)); // 2 sigma^2 vanishes
    EXPECT_THAT(tapsFor(3, 1e-19F), ElementsAre(0, 4096, 0));
    EXPECT_THAT(tapsFor(5, std::numeric_limits<float>::infinity()), ElementsAre(819, 819, 819, 819, 819));
    // 1.0 in units of 1/32768 is one more than 16 bits hold: it wraps.
    const Blocks blocks({9, 9}, 3, 1);
    ASSERT_EQ(blocks.init({9, 9}, 3, 1e-19F, ipp16s), ippStsNoErr);
    EXPECT_THAT(blocks.taps(), ElementsAre(0, -32768, 0));
    EXPECT_EQ(blocks.record()->scaleShift, 15U);
}

class FilterGaussian : public VariantTest {
protected:
    static IppStatus filter(int channels, const Ipp8u* src, int srcStep, Ipp8u* dst, int dstStep,
                            IppiSize size, const Ipp8u* value, const Blocks& blocks) {
        if (channels == 1) {
            return ippiFilterGaussianBorder_8u_C1R(src, srcStep, dst, dstStep, size, value[0],
                                                   blocks.record(), blocks.buffer->data());
        }
        return ippiFilterGaussianBorder_8u_C3R(src, srcStep, dst, dstStep, size, value, blocks.record(),
                                               blocks.buffer->data());
    }

    // Filters random pixels into guarded memory and compares with the reference.
    void compare(const GaussianReference& reference) {
        const int c = reference.channels;
        const int r = static_cast<int>(reference.taps.size() / 2);
        const auto margin = [&](unsigned flag) { return (reference.border & flag) != 0 ? r : 0; };
        const int top = margin(0x10);
        const int left = margin(0x40) * c;
        const int rowSamples = reference.width * c;
        const int allSamples = left + rowSamples + margin(0x80) * c;
        const int allRows = top + reference.height + margin(0x20);
        const int srcStep = allSamples + below(20);
        const bool overlap = c == 3 && below(8) == 0;
        const int dstStep = overlap ? reference.width + below(2 * reference.width) : rowSamples + below(9);

        const auto srcBytes = static_cast<std::size_t>((allRows - 1) * srcStep + allSamples);
        GuardedPages source(srcBytes, below(2) == 0 ? GuardedPages::atStart : GuardedPages::atEnd);
        const int darkest = below(4) == 0 ? 255 : 0;
        for (std::size_t i = 0; i < srcBytes; ++i) {
            source.data()[i] =
                static_cast<std::uint8_t>(below(2) == 0 ? 255 : darkest + below(256 - darkest));
        }
        source.makeReadOnly();
        const Ipp8u* src = source.data() + top * srcStep + left;

        const IppiSize size = {reference.width, reference.height};
        const auto kernel = static_cast<std::uint32_t>(reference.taps.size());
        const Blocks blocks(size, kernel, c, static_cast<std::size_t>(below(32)),
                            static_cast<std::size_t>(below(64)));
        blocks.forge({kernel, 20, ipp8u, reference.border, reference.shift}, reference.taps);

        const auto dstBytes = static_cast<std::size_t>((reference.height - 1) * dstStep + rowSamples);
        GuardedBytes destination(dstBytes, static_cast<std::size_t>(below(64)));
        std::vector<std::uint8_t> expected(dstBytes, GuardedBytes::kPattern);
        const std::vector<std::uint8_t> filtered = reference.filter(src, srcStep);
        for (int y = 0; y < reference.height; ++y) {
            std::copy_n(filtered.begin() + y * rowSamples, rowSamples, expected.begin() + y * dstStep);
        }
        ASSERT_EQ(filter(c, src, srcStep, destination.data(), dstStep, size, reference.value.data(), blocks),
                  ippStsNoErr);
        const std::vector<std::uint8_t> actual(destination.data(), destination.data() + dstBytes);
        ASSERT_EQ(actual, expected) << reference.width << " x " << reference.height << " x " << c
                                    << ", kernel " << kernel << ", border " << reference.border << ", step "
                                    << dstStep;
        ASSERT_TRUE(destination.intact());

        if (reference.border <= 15) { // in place
            std::vector<std::uint8_t> pixels(src, src + srcBytes);
            ASSERT_EQ(filter(c, pixels.data(), srcStep, pixels.data(), srcStep, size, reference.value.data(),
                             blocks),
                      ippStsNoErr);
            for (int y = 0; y < reference.height; ++y) {
                ASSERT_TRUE(std::equal(filtered.begin() + y * rowSamples,
                                       filtered.begin() + (y + 1) * rowSamples,
                                       pixels.begin() + y * srcStep));
            }
        }
        ASSERT_TRUE(blocks.intact());
    }

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

    // A size that is as often as not next to a multiple of a register's.
    int side() { return below(2) == 0 ? 1 + below(12) : 16 * (1 + below(10)) - 2 + below(5); }

    GaussianReference shape(std::vector<std::int16_t> taps) {
        const unsigned kinds[] = {1, 3, 6};
        GaussianReference reference;
        reference.width = below(8) == 0 ? 300 + below(300) : side();
        reference.height = 1 + below(below(2) == 0 ? 4 : 30);
        reference.channels = 1 + 2 * below(2);
        reference.border =
            below(12) == 0 ? 0xF0U : kinds[below(3)] + 16U * static_cast<unsigned>(below(2) * below(16));
        reference.value = {static_cast<std::uint8_t>(below(256)), 0, 255};
        reference.taps = std::move(taps);
        return reference;
    }

private:
    std::mt19937 random_{20240611};
};
INSTANTIATE_VARIANTS(FilterGaussian);

TEST_P(FilterGaussian, EqualsTheReference) {
    const std::uint32_t kernels[] = {3, 3, 5, 5, 7, 9, 15, 17, 21, 33};
    for (int i = 0; i < rounds(120) && !HasFatalFailure(); ++i) {
        const std::uint32_t kernel = kernels[below(10)];
        const float sigma = 0.2F + 0.01F * static_cast<float>(below(static_cast<int>(kernel) * 40));
        compare(shape(tapsFor(kernel, sigma)));
    }
    // Kernels far wider than the image, flat ones that add up to more than 4096 and less, and a single tap.
    for (const float sigma : {0.1F, 12.0F, 1000.0F}) {
        compare(shape(tapsFor(129, sigma)));
        compare(shape(tapsFor(131, sigma)));
    }
}

TEST_P(FilterGaussian, FollowsForgedRecords) {
    const std::vector<std::vector<std::int16_t>> records = {
        {-1000, 6096, -1000},  {32767, 32767, 32767}, {0, 4112, 0},         {0, 4113, 0},
        {2056, 0, 2056},       {4095, 1, 0, 0, 0},    {0, 0, 4064, 31, 17}, {-5, 300, 2000, 1500, 301},
        {12000, 9000, -20000},
    };
    for (const auto& taps : records) {
        compare(shape(taps));
        GaussianReference wide = shape(taps);
        wide.width = 70 + below(60);
        compare(wide);
        wide.shift = static_cast<unsigned>(below(32));
        compare(wide);
    }
    // 64 taps of 63 make the largest rests there are.
    std::vector<std::int16_t> rests(65, 63);
    GaussianReference wide = shape(rests);
    wide.width = 150;
    compare(wide);
}

TEST_P(FilterGaussian, TruncatesFlatImages) {
    struct {
        float sigma;
        int expected;
    } const cases[] = {{0.5F, 253}, {0.35F, 255}, {1.0F, 255}}; // taps adding up to 4095, 4096, 4097
    for (const auto& c : cases) {
        const Blocks blocks({90, 5}, 3, 1);
        ASSERT_EQ(blocks.init({90, 5}, 3, c.sigma, ipp8u), ippStsNoErr);
        const std::vector<Ipp8u> src(450, 255);
        std::vector<Ipp8u> dst(450);
        const Ipp8u none[3] = {};
        ASSERT_EQ(filter(1, src.data(), 90, dst.data(), 90, {90, 5}, none, blocks), ippStsNoErr);
        EXPECT_THAT(dst, testing::Each(c.expected));
    }
}

TEST_P(FilterGaussian, ChecksInOrder) {
    // Each row has the fault named and everything behind it too.
    struct {
        bool pointers;
        int step;
        IppiSize size;
        std::uint32_t border;
        bool value;
        std::uint32_t kernel, shift;
        IppStatus oneChannel, threeChannels;
    } const cases[] = {
        {false, 8, {9, 0}, 2, false, 4, 32, ippStsNullPtrErr, ippStsNullPtrErr},
        {true, 8, {9, 0}, 2, false, 4, 32, ippStsStepErr, ippStsStepErr},
        {true, 9, {9, 0}, 2, false, 4, 32, ippStsSizeErr, ippStsSizeErr},
        {true, 9, {-1, 9}, 2, false, 4, 32, ippStsSizeErr, ippStsSizeErr},
        {true, 9, {9, 9}, 2, false, 4, 32, ippStsBorderErr, ippStsBorderErr},
        {true, 9, {9, 9}, 0x116, false, 4, 32, ippStsBorderErr, ippStsBorderErr},
        {true, 9, {9, 9}, 0x16, false, 4, 12, ippStsNoErr, ippStsNullPtrErr},
        {true, 9, {9, 9}, 6, true, 4, 12, ippStsNoErr, ippStsBadArgErr},
        {true, 9, {9, 9}, 1, false, 1, 12, ippStsNoErr, ippStsBadArgErr},
        {true, 9, {9, 9}, 1, false, 3, 32, ippStsNoErr, ippStsBadArgErr},
        {true, 9, {9, 9}, 1, false, 0xFFFFFFFF, 12, ippStsExceededSizeErr, ippStsExceededSizeErr},
    };
    const Ipp8u none[3] = {};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Blocks blocks({9, 9}, 3, 3);
        blocks.forge({c.kernel, 20, ipp8u, c.border, c.shift}, {67, 3962, 67});
        std::vector<Ipp8u> src(9 * 27, 1);
        std::vector<Ipp8u> dst(9 * 27, 7);
        Ipp8u* to = c.pointers ? dst.data() : nullptr;
        EXPECT_EQ(ippiFilterGaussianBorder_8u_C1R(src.data(), 27, to, c.step, c.size, 0, blocks.record(),
                                                  blocks.buffer->data()),
                  c.oneChannel);
        EXPECT_EQ(ippiFilterGaussianBorder_8u_C3R(src.data(), c.step, to, 27, c.size,
                                                  c.value ? none : nullptr, blocks.record(),
                                                  blocks.buffer->data()),
                  c.threeChannels);
        EXPECT_THAT(dst, testing::Each(7));
    }
    const Blocks blocks({9, 9}, 3, 1);
    Ipp8u pixel = 0;
    const auto run = [&](const Ipp8u* src, const IppFilterGaussianSpec* spec, Ipp8u* buffer) {
        return ippiFilterGaussianBorder_8u_C1R(src, 1, &pixel, 1, {1, 1}, 0, spec, buffer);
    };
    EXPECT_EQ(run(nullptr, blocks.record(), blocks.buffer->data()), ippStsNullPtrErr);
    EXPECT_EQ(run(&pixel, nullptr, blocks.buffer->data()), ippStsNullPtrErr);
    EXPECT_EQ(run(&pixel, blocks.record(), nullptr), ippStsNullPtrErr);
}

} // namespace
