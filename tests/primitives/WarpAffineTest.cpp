#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "GuardedBuffer.h"
#include "VariantTest.h"
#include "WarpReference.h"
#include "primitives/warp/WarpSpec.h"

using warp_reference::Coeffs;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kBorderValue[4] = {300.0, 41.5, -7.0, 1.0};
constexpr std::array<int, 3> kBorderPixel = {255, 42, 0};

Coeffs rotation(double angle, double x, double y) {
    Coeffs coeffs{};
    double shift[2] = {};
    EXPECT_EQ(ippiGetRotateShift(x, y, angle, &shift[0], &shift[1]), ippStsNoErr);
    EXPECT_EQ(ippiGetRotateTransform(angle, shift[0], shift[1], coeffs.data()), ippStsNoErr);
    return coeffs;
}

// The arguments of all calls. Those of the default pass.
struct Arguments {
    IppiSize src{20, 10};
    IppiSize dst{30, 40};
    Coeffs coeffs{1, 0.25, 0.5, -0.25, 1, 0.5};
    std::uint32_t channels = 3;
    std::uint32_t border = ippBorderConst;
    std::int32_t direction = 0;
    std::int32_t dataType = ipp8u;
    std::int32_t interpolation = ippLinear;
    std::int32_t smooth = 0;
    bool hasCoeffs = true;
    bool hasBorderValue = true;
    IppiPoint offset{0, 0}; // of the tile
    IppiSize tile = dst;

    IppStatus size(std::int32_t* specSize) const {
        std::int32_t initSize = 0;
        const IppStatus status =
            ippiWarpAffineGetSize(src, dst, dataType, hasCoeffs ? coeffs.data() : nullptr, interpolation,
                                  direction, border, specSize, &initSize);
        EXPECT_TRUE(status != ippStsNoErr || initSize == 64);
        return status;
    }
    IppStatus init(IppiWarpSpec* spec) const {
        return ippiWarpAffineLinearInit(src, dst, dataType, hasCoeffs ? coeffs.data() : nullptr, direction,
                                        channels, border, hasBorderValue ? kBorderValue : nullptr, smooth,
                                        spec);
    }
};

// A record, and a source between pages that no access survives.
class Warp {
public:
    Warp(const Arguments& arguments, std::mt19937& random)
        : arguments_(arguments), srcStep_(static_cast<int>(arguments.src.width * arguments.channels)) {
        srcStep_ += random() % 3 == 0 ? static_cast<int>(random() % 20) : 0;
        const auto bytes = static_cast<std::size_t>((arguments.src.height - 1) * srcStep_) +
                           arguments.src.width * arguments.channels;
        pages_.emplace_back(
            new GuardedPages(bytes, random() % 2 == 0 ? GuardedPages::atStart : GuardedPages::atEnd));
        first_ = pages_[0]->data();
        for (std::size_t i = 0; i < bytes; ++i) {
            // A third of the pixels are extremes, where sums come closest to leaving the range.
            const auto value = random();
            first_[i] = static_cast<std::uint8_t>(value % 3 == 0 ? 255 * (value / 3 % 2) : value / 3);
        }
        pages_[0]->makeReadOnly();
        if (random() % 8 == 0) { // rows in falling order
            first_ += (arguments.src.height - 1) * srcStep_;
            srcStep_ = -srcStep_;
        }
        sizing_ = arguments.size(&specSize_);
        if (sizing_ == ippStsNoErr) {
            block_.emplace_back(static_cast<std::size_t>(specSize_), random() % 64);
            EXPECT_EQ(arguments.init(spec()), ippStsNoErr);
            EXPECT_TRUE(block_[0].intact());
        }
        dstStep_ = static_cast<int>(arguments.tile.width * arguments.channels) + 5;
        result_.emplace_back(static_cast<std::size_t>(dstStep_ * arguments.tile.height), random() % 64);
    }

    IppStatus sizing() const { return sizing_; }
    IppiWarpSpec* spec() { return reinterpret_cast<IppiWarpSpec*>(block_[0].data()); }
    IppiWarpSpec& record() { return *primitives::warpRecord(spec()); }
    GuardedBytes& result() { return result_[0]; }
    int dstStep() const { return dstStep_; }
    warp_reference::Picture picture() const {
        return {arguments_.src.width, arguments_.src.height, [this](int x, int y, int channel) {
                    return int{first_[y * std::ptrdiff_t{srcStep_} +
                                      x * static_cast<int>(arguments_.channels) + channel]};
                }};
    }

    IppStatus run() { return run(arguments_.offset, arguments_.tile); }
    IppStatus run(IppiPoint offset, IppiSize size) {
        GuardedBytes buffer(64, 3);
        const auto warp =
            arguments_.channels == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
        const IppStatus status =
            warp(first_, srcStep_, result().data(), dstStep_, offset, size, spec(), buffer.data());
        EXPECT_TRUE(result().intact() && buffer.intact());
        return status;
    }

private:
    Arguments arguments_;
    int srcStep_;
    int dstStep_ = 0;
    std::vector<std::unique_ptr<GuardedPages>> pages_;
    std::uint8_t* first_ = nullptr;
    std::int32_t specSize_ = 0;
    IppStatus sizing_ = ippStsNoErr;
    std::vector<GuardedBytes> block_;
    std::vector<GuardedBytes> result_;
};

// Runs a case and compares every pixel with the reference.
void expectReference(const Arguments& a, std::mt19937& random) {
    const auto channels = static_cast<int>(a.channels);
    SCOPED_TRACE(
        testing::PrintToString(a.coeffs) +
        testing::PrintToString(std::vector<int>{a.src.width, a.src.height, a.dst.width, a.dst.height,
                                                channels, static_cast<int>(a.border), a.direction, a.offset.x,
                                                a.offset.y, a.tile.width, a.tile.height}));
    Warp warp(a, random);
    ASSERT_EQ(warp.sizing(), ippStsNoErr);
    const IppStatus status = warp.run();
    const bool mayMiss = a.border != ippBorderRepl && a.border != ippBorderConst;
    ASSERT_TRUE(status == ippStsNoErr || (mayMiss && status == ippStsNoPixelsWrn)) << status;
    const warp_reference::Picture picture = warp.picture();
    const warp_reference::Outside outside{a.border, kBorderPixel, GuardedBytes::kPattern};
    const Coeffs backward = a.direction == 0 ? warp_reference::inverse(a.coeffs) : a.coeffs;
    warp_reference::forPositions(
        backward, a.offset.x, a.offset.y, a.tile.width, a.tile.height,
        [&](int column, int row, double x, double y) {
            const auto at = static_cast<std::size_t>(row * warp.dstStep() + column * channels);
            for (int channel = 0; channel < channels && !testing::Test::HasFatalFailure(); ++channel) {
                const int value = warp.result().data()[at + static_cast<std::size_t>(channel)];
                const std::vector<int> values = warp_reference::allowed(picture, outside, x, y, channel);
                ASSERT_TRUE(std::count(values.begin(), values.end(), value))
                    << value << " at " << column << ", " << row << ", channel " << channel << ", position "
                    << x << ", " << y << ", not " << testing::PrintToString(values);
            }
        });
    for (int row = 1; row <= a.tile.height; ++row) {
        const auto end = static_cast<std::size_t>(row * warp.dstStep());
        ASSERT_TRUE(warp.result().untouched(end - 5, end));
    }
}

Arguments randomWarp(std::mt19937& random) {
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto within = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    constexpr std::uint32_t borders[] = {ippBorderRepl,
                                         ippBorderRepl,
                                         ippBorderConst,
                                         ippBorderTransp,
                                         ippBorderInMem,
                                         ippBorderRepl | ippBorderInMemLeft,
                                         ippBorderConst | ippBorderInMemTop};
    Arguments a;
    a.src = {2 + below(below(3) == 0 ? 4 : 90), 2 + below(below(3) == 0 ? 4 : 90)};
    a.dst = {1 + below(150), 1 + below(90)};
    const Coeffs choices[] = {
        rotation(45.0 * below(16), below(2 * a.src.width) / 2.0, below(2 * a.src.height) / 2.0),
        rotation(within(-400, 400), within(-20, a.src.width + 20), within(-20, a.src.height + 20)),
        {1, 0, 1.0 * below(60) - 30, 0, 1, 1.0 * below(60) - 30},                       // whole pixels
        {below(2) == 0 ? 1 : 0.7, 0, below(60) / 2.0 - 15, 0, 1, below(60) / 2.0 - 15}, // whole rows
        {1e-2, 1e-3, 5, -1e-3, 1e-2, 5},
        {within(-2, 2), within(0.1, 2), within(-90, 90), within(0.1, 2), within(-2, 0), within(-90, 90)}};
    a.coeffs = choices[below(6)];
    a.direction = below(2);
    a.channels = below(2) == 0 ? 1 : 3;
    a.border = borders[below(7)];
    a.tile = a.dst;
    if (below(3) == 0) {
        a.offset = {below(a.dst.width), below(a.dst.height)};
        a.tile = {1 + below(a.dst.width - a.offset.x), 1 + below(a.dst.height - a.offset.y)};
    }
    return a;
}

class WarpAffine : public VariantTest {};
INSTANTIATE_VARIANTS(WarpAffine);

TEST_P(WarpAffine, GivesTheReferencesPixels) {
    std::mt19937 random(7);
    for (int i = 0; i < rounds(600) && !HasFatalFailure(); ++i) {
        const Arguments a = randomWarp(random);
        if (std::fabs(a.coeffs[0] * a.coeffs[4] - a.coeffs[1] * a.coeffs[3]) > 1e-6) {
            expectReference(a, random);
        }
    }
    // Large enough for bands, and for positions far enough from 0 to lose bits.
    for (const double angle : {2.5, 45.0}) {
        Arguments a;
        a.src = a.dst = a.tile = {701, 197};
        a.coeffs = rotation(angle, 350, 98);
        a.channels = angle < 45 ? 1 : 3;
        a.border = ippBorderRepl;
        expectReference(a, random);
    }
}

// Whatever numbers pass the checks, nothing outside is read or written; sanitizers watch the conversions.
TEST_P(WarpAffine, SurvivesHostileNumbers) {
    const double numbers[] = {0.0,    -0.0,      0.5,        -1.0,          5e-324,      1e-310, 1e-200,
                              1e-16,  1e9,       1e18,       1e150,         1e300,       -1e300, 1.7e308,
                              -1e150, kInfinity, -kInfinity, -2147483649.0, std::nan("")};
    std::mt19937 random(9);
    const auto any = [&] { return numbers[random() % (sizeof numbers / sizeof *numbers)]; };
    int built = 0;
    for (int i = 0; i < rounds(4000); ++i) {
        Arguments a;
        a.src = {5, 4};
        a.dst = a.tile = {9, 7};
        a.coeffs = {1, 0, 0, 0, 1, 0};
        if (i % 2 == 0) {
            a.coeffs = rotation(static_cast<double>(random() % 4) * 90.0, any(), any());
        } else {
            a.coeffs[random() % 6] = any();
            a.coeffs[random() % 6] = any();
        }
        a.direction = static_cast<int>(random() % 2);
        a.channels = random() % 2 == 0 ? 1 : 3;
        a.border = random() % 3 == 0 ? 1 : 6 + random() % 2;
        SCOPED_TRACE(testing::PrintToString(a.coeffs));
        Warp warp(a, random);
        if (warp.sizing() != ippStsNoErr) {
            ASSERT_EQ(warp.sizing(), ippStsCoeffErr);
            continue;
        }
        const IppStatus status = warp.run();
        ASSERT_TRUE(status == ippStsNoErr || status == ippStsNoPixelsWrn) << status;
        ++built;
    }
    EXPECT_GT(built, rounds(1000));
}

TEST(WarpRotation, IsExactAtRightAngles) {
    const std::pair<double, Coeffs> cases[] = {{0, {1, 0, 0, 0, 1, 0}},     {720, {1, 0, 0, 0, 1, 0}},
                                               {90, {0, 1, -1, -1, 0, 7}},  {450, {0, 1, -1, -1, 0, 7}},
                                               {180, {-1, 0, 6, 0, -1, 8}}, {-180, {-1, 0, 6, 0, -1, 8}},
                                               {270, {0, -1, 7, 1, 0, 1}},  {-90, {0, -1, 7, 1, 0, 1}}};
    for (const auto& [angle, coeffs] : cases) {
        EXPECT_EQ(rotation(angle, 3, 4), coeffs) << angle;
    }
    const Coeffs turned = rotation(30, 100, -40);
    EXPECT_NEAR(turned[0], std::sqrt(0.75), 1e-15);
    EXPECT_NEAR(turned[1], 0.5, 1e-15);
    EXPECT_EQ(turned[3], -turned[1]);
    EXPECT_NEAR(turned[0] * 100 + turned[1] * -40 + turned[2], 100, 1e-12);
    EXPECT_NEAR(turned[3] * 100 + turned[4] * -40 + turned[5], -40, 1e-12);
}

TEST(WarpRotation, ChecksItsArguments) {
    const double nan = std::nan("");
    double x = 5;
    double y = 5;
    double coeffs[2][3];
    EXPECT_EQ(ippiGetRotateShift(0, 0, 1, nullptr, &x), ippStsNullPtrErr);
    EXPECT_EQ(ippiGetRotateShift(0, 0, 1, &x, nullptr), ippStsNullPtrErr);
    EXPECT_EQ(ippiGetRotateTransform(nan, 0, 0, nullptr), ippStsOutOfRangeErr);
    EXPECT_EQ(ippiGetRotateTransform(kInfinity, 0, 0, coeffs), ippStsOutOfRangeErr);
    EXPECT_EQ(ippiGetRotateTransform(1, 0, 0, nullptr), ippStsNullPtrErr);
    EXPECT_EQ(ippiGetRotateShift(1, 1, nan, &x, &y), ippStsNoErr);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y));
    // More whole turns than an integer counts.
    for (const double angle : {1e12, -1e15, 1e300, -1.7e308}) {
        EXPECT_EQ(ippiGetRotateTransform(angle, 0, 0, coeffs), ippStsNoErr);
        EXPECT_NEAR(std::hypot(coeffs[0][0], coeffs[0][1]), 1.0, 1e-12) << angle;
        std::int32_t size = 0;
        std::int32_t room = 0;
        ASSERT_EQ(
            ippiWarpAffineGetSize({8, 8}, {8, 8}, ipp8u, coeffs, ippLinear, 0, ippBorderRepl, &size, &room),
            ippStsNoErr);
        std::vector<Ipp8u> block(static_cast<std::size_t>(size));
        EXPECT_EQ(ippiWarpAffineLinearInit({8, 8}, {8, 8}, ipp8u, coeffs, 0, 1, ippBorderRepl, nullptr, 0,
                                           reinterpret_cast<IppiWarpSpec*>(block.data())),
                  ippStsNoErr);
    }
}

TEST(WarpSizing, ChecksInOrder) {
    struct {
        void (*spoil)(Arguments&);
        IppStatus sizing;
        IppStatus init;
    } const cases[] = {
        // From the last test to the first: what is spoilt stays so.
        {[](Arguments&) {}, ippStsNoErr, ippStsNoErr},
        {[](Arguments& a) { a.coeffs = {1, 0, 1e300, 0.5, 1, 0}; }, ippStsCoeffErr, ippStsCoeffErr},
        {[](Arguments& a) { a.src.height = 1; }, ippStsSizeErr, ippStsSizeErr},
        {[](Arguments& a) { a.smooth = 1; }, ippStsSizeErr, ippStsNotSupportedModeErr},
        {[](Arguments& a) { a.channels = 2; }, ippStsSizeErr, ippStsNumChannelsErr},
        {[](Arguments& a) { a.hasBorderValue = false; }, ippStsSizeErr, ippStsNullPtrErr},
        {[](Arguments& a) { a.coeffs = {1, 2, 0, 2, 4 + 1e-10, 0}; }, ippStsCoeffErr, ippStsCoeffErr},
        {[](Arguments& a) { a.direction = 2; }, ippStsWrongDirectionErr, ippStsWrongDirectionErr},
        {[](Arguments& a) { a.interpolation = 8; }, ippStsInterpolationErr, ippStsWrongDirectionErr},
        {[](Arguments& a) { a.dataType = 2; }, ippStsDataTypeErr, ippStsDataTypeErr},
        {[](Arguments& a) { a.dst.width = 0; }, ippStsSizeErr, ippStsSizeErr},
        {[](Arguments& a) { a.hasCoeffs = false; }, ippStsNullPtrErr, ippStsNullPtrErr},
        {[](Arguments& a) { a.border = 3; }, ippStsBorderErr, ippStsBorderErr},
        {[](Arguments& a) { a.border = 256 + 1; }, ippStsBorderErr, ippStsBorderErr},
        {[](Arguments& a) { a.border = 0x70; }, ippStsBorderErr, ippStsBorderErr},
    };
    Arguments arguments;
    std::vector<double> block(400);
    auto* const spec = reinterpret_cast<IppiWarpSpec*>(block.data());
    std::int32_t size = 0;
    for (const auto& test : cases) {
        test.spoil(arguments);
        EXPECT_EQ(arguments.size(&size), test.sizing) << "case " << &test - cases;
        EXPECT_EQ(arguments.init(spec), test.init) << "case " << &test - cases;
    }

    // What only sizing knows; a size of 0 is one that doesn't matter.
    struct {
        void (*change)(Arguments&);
        IppStatus status;
        std::int32_t size;
    } const sizes[] = {
        {[](Arguments& a) { a.src.height = 0x40000000; }, ippStsSizeErr, 0},
        {[](Arguments& a) { a.src.height = 0x3FFFFFFF; }, ippStsNoErr, 0},
        {[](Arguments& a) { a.src.height = 0x20000000, a.dataType = ipp16u; }, ippStsSizeErr, 0},
        {[](Arguments& a) { a.src.height = 0x1FFFFFFF, a.dataType = ipp16s; }, ippStsNoErr, 0},
        {[](Arguments& a) { a.src.height = 0x10000000, a.dataType = ipp32f; }, ippStsSizeErr, 0},
        {[](Arguments& a) { a.src.height = 0xFFFFFFF, a.dataType = ipp32f; }, ippStsNoErr, 0},
        {[](Arguments& a) { a.src.height = 0x8000000, a.dataType = ipp64f; }, ippStsSizeErr, 0},
        {[](Arguments& a) { a.src.height = 0x7FFFFFF, a.dataType = ipp64f; }, ippStsNoErr, 0},
        {[](Arguments& a) { a.coeffs = {1, 0, 0, 0, 1, 0}, a.src.width = 1; }, ippStsSizeErr, 0},
        {[](Arguments& a) { a.coeffs = {1, 0, 0, 0, 1, 0.5}, a.src.height = a.dst.height = 0x10000000; },
         ippStsSizeErr, 0},
        {[](Arguments& a) { a.coeffs = {1, 0, 1e300, 0.5, 1, 0}, a.interpolation = ippCubic; }, ippStsNoErr,
         0},
        {[](Arguments& a) { a.coeffs = {1e-60, 0, 0, 0, 1e-60, 0}; }, ippStsNoErr, 0},
        {[](Arguments& a) { a.coeffs = {0, 9e-6, 0, 9e-6, 0, 0}; }, ippStsCoeffErr, 0},
        {[](Arguments& a) { a.coeffs = {1, 0, 7, 0, 1, -3}; }, ippStsNoErr, 392},
        // Rows 3.5 to 12.5 of the destination, and 2.5 to 13.5 with what a constant border mixes.
        {[](Arguments& a) { a.coeffs = {1, 0, 0.5, 0, 1, 3.5}, a.border = 1; }, ippStsNoErr,
         392 + 24 + 8 * (12 - 4)},
        {[](Arguments& a) { a.coeffs = {1, 0, 0.5, 0, 1, 3.5}; }, ippStsNoErr,
         392 + 24 + 8 * (12 - 4) + 24 + 8 * 11},
        {[](Arguments& a) { a.coeffs = {1, 0, 900.5, 0, 1, 0}, a.border = 7; }, ippStsNoErr, 392 + 24 - 8},
    };
    for (const auto& test : sizes) {
        Arguments a;
        test.change(a);
        size = 0;
        EXPECT_EQ(a.size(&size), test.status) << "size " << &test - sizes;
        EXPECT_TRUE(test.size == 0 || size == test.size) << size << ", not " << test.size;
    }
}

TEST(WarpRecord, HoldsItsFieldsInOrder) {
    std::vector<double> block(400);
    ASSERT_EQ(Arguments().init(reinterpret_cast<IppiWarpSpec*>(block.data())), ippStsNoErr);
    const std::int32_t head[] = {20, 10, 0, 0, 20, 10, 30, 40, 0, 0, ipp8u, ippLinear};
    EXPECT_EQ(std::memcmp(block.data(), head, sizeof head), 0);
    const Coeffs backward = warp_reference::inverse(Arguments().coeffs);
    EXPECT_EQ(std::memcmp(block.data() + 6, backward.data(), sizeof backward), 0);
}

// When a destination without any of the source is worth a warning.
TEST(WarpRecord, KnowsWhenThereAreNoPixels) {
    struct {
        std::uint32_t border;
        IppStatus ofSpans;
        IppStatus ofShift;
    } const cases[] = {{1, 0, 0},     {6, 0, 0},         {7, 30, 30},
                       {0xF0, 30, 0}, {1 | 0x10, 30, 0}, {7 | 0x80, 30, 0}};
    std::mt19937 random(3);
    for (const auto& test : cases) {
        for (const bool isShift : {false, true}) {
            Arguments a;
            a.border = test.border;
            a.coeffs = {1, 0, 30, 0, 1, isShift ? 0 : 0.5};
            EXPECT_EQ(Warp(a, random).run(), isShift ? test.ofShift : test.ofSpans) << test.border;
            a.coeffs[2] = isShift ? 29 : 28.5;
            EXPECT_EQ(Warp(a, random).run(), ippStsNoErr) << test.border;
        }
    }
}

TEST(WarpRecord, RunsCheckInOrder) {
    std::mt19937 random(4);
    Warp warp({}, random);
    EXPECT_EQ(warp.run({25, 35}, {30, 40}), ippStsSizeWrn);
    EXPECT_TRUE(warp.result().untouched(5 * 3, 95)); // behind the clipped tile
    Warp spoilt({}, random);
    IppiWarpSpec& record = spoilt.record();
    record.borderType = 2;
    EXPECT_EQ(spoilt.run({0, 0}, {30, 40}), ippStsBorderErr);
    record.noPixelsStatus = ippStsNoPixelsWrn;
    EXPECT_EQ(spoilt.run({0, 0}, {30, 40}), ippStsNoPixelsWrn);
    EXPECT_EQ(spoilt.run({30, 0}, {1, 1}), ippStsOutOfRangeErr);
    EXPECT_EQ(spoilt.run({0, -1}, {1, 1}), ippStsOutOfRangeErr);
    EXPECT_EQ(spoilt.run({0, -1}, {0, -1}), ippStsSizeErr);
    for (std::int32_t IppiWarpSpec::*field :
         {&IppiWarpSpec::dataType, &IppiWarpSpec::interpolation, &IppiWarpSpec::mode}) {
        const std::int32_t before = std::exchange(record.*field, 5);
        EXPECT_EQ(spoilt.run({0, -1}, {1, -1}), ippStsContextMatchErr);
        record.*field = before;
    }
    record.numChannels = 1;
    EXPECT_EQ(spoilt.run({0, -1}, {1, -1}), ippStsContextMatchErr);
    EXPECT_EQ(spoilt.run({0, -1}, {0, 1}), ippStsNoOperation);
    EXPECT_TRUE(spoilt.result().untouched(0, 40 * 95));
    Ipp8u byte = 0;
    EXPECT_EQ(ippiWarpAffineLinear_8u_C1R(&byte, 1, &byte, 1, {0, 0}, {0, 0}, spoilt.spec(), nullptr),
              ippStsNullPtrErr);
}

TEST(WarpRecord, TellsBufferSizes) {
    std::mt19937 random(5);
    Warp warp({}, random);
    std::int32_t size = -1;
    EXPECT_EQ(ippiWarpGetBufferSize(nullptr, {1, 1}, &size), ippStsNullPtrErr);
    EXPECT_EQ(ippiWarpGetBufferSize(warp.spec(), {0, -1}, &size), ippStsSizeErr);
    EXPECT_EQ(ippiWarpGetBufferSize(warp.spec(), {0, 1}, &size), ippStsNoOperation);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(ippiWarpGetBufferSize(warp.spec(), {30, 40}, &size), ippStsNoErr);
    EXPECT_EQ(size, 64);
    warp.record().mode = 1;
    EXPECT_EQ(ippiWarpGetBufferSize(warp.spec(), {31, 1}, &size), ippStsSizeWrn);
    EXPECT_EQ(size, ((30 * 128 + 496) & ~511) + 64);
    warp.record().mode = 2;
    EXPECT_EQ(ippiWarpGetBufferSize(warp.spec(), {31, 1}, &size), ippStsContextMatchErr);
}

} // namespace
