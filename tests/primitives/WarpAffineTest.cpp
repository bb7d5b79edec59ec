#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "GuardedBuffer.h"
#include "VariantTest.h"
#include "WarpReference.h"
#include "primitives/warp/WarpSpec.h"

using warp_reference::Coeffs;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

Coeffs rotation(double angle, double x, double y) {
    double shiftX = 0;
    double shiftY = 0;
    Coeffs coeffs{};
    EXPECT_EQ(ippiGetRotateShift(x, y, angle, &shiftX, &shiftY), ippStsNoErr);
    EXPECT_EQ(ippiGetRotateTransform(angle, shiftX, shiftY, coeffs.data()), ippStsNoErr);
    return coeffs;
}

struct WarpCase {
    IppiSize src;
    IppiSize dst;
    Coeffs coeffs;
    int direction;
    int channels;
    std::uint32_t border;
    IppiPoint offset; // of the tile
    IppiSize tile;
    int srcGap;      // bytes behind each source row
    bool isReversed; // source rows lie in falling order
    std::size_t misalignment;

    Coeffs backward() const { return direction == 0 ? warp_reference::inverse(coeffs) : coeffs; }
    std::string text() const {
        std::string text;
        for (const double c : coeffs) {
            text += std::to_string(c) + ' ';
        }
        for (const int i : {src.width, src.height, dst.width, dst.height, direction, channels,
                            static_cast<int>(border), offset.x, offset.y, tile.width, tile.height, srcGap}) {
            text += std::to_string(i) + ' ';
        }
        return text;
    }
};

// A source between pages that no access survives, with its picture as the reference sees it.
class WarpSource {
public:
    WarpSource(std::mt19937& random, const WarpCase& test)
        : step_(test.src.width * test.channels + test.srcGap),
          pages_(bytes(test), random() % 2 == 0 ? GuardedPages::atStart : GuardedPages::atEnd) {
        for (std::size_t i = 0; i < bytes(test); ++i) {
            // A third of the pixels are extremes, where sums come closest to leaving the range.
            const auto value = random();
            pages_.data()[i] = static_cast<std::uint8_t>(value % 3 == 0 ? 255 * (value / 3 % 2) : value / 3);
        }
        pages_.makeReadOnly();
        first_ = pages_.data();
        if (test.isReversed) {
            first_ += (test.src.height - 1) * step_;
            step_ = -step_;
        }
        picture_ = {test.src.width, test.src.height, test.channels, [this, &test](int x, int y, int channel) {
                        return int{first_[y * std::ptrdiff_t{step_} + x * test.channels + channel]};
                    }};
    }

    const Ipp8u* first() const { return first_; }
    int step() const { return step_; }
    const warp_reference::Picture& picture() const { return picture_; }

private:
    std::size_t bytes(const WarpCase& test) const {
        return static_cast<std::size_t>((test.src.height - 1) * std::abs(step_) +
                                        test.src.width * test.channels);
    }

    int step_;
    GuardedPages pages_;
    const Ipp8u* first_ = nullptr;
    warp_reference::Picture picture_;
};

const double kBorderValue[4] = {300.0, 41.5, -7.0, 1.0};
constexpr int kBorderPixel[3] = {255, 42, 0};

// What one pixel of the destination may be.
struct Allowed {
    int values[3];
    int count;
    bool holds(int value) const { return std::find(values, values + count, value) != values + count; }
};

// How far the position is from the source, in pixels; negative inside.
double distanceOutside(const WarpCase& test, double x, double y) {
    return std::max(std::max(-x, x - (test.src.width - 1)), std::max(-y, y - (test.src.height - 1)));
}

Allowed allowedAt(const WarpCase& test, const warp_reference::Picture& picture, double x, double y,
                  int channel) {
    const int kept = GuardedBytes::kPattern;
    const int replicated = warp_reference::sample(picture, x, y, channel);
    if (test.border == ippBorderRepl) {
        return {{replicated}, 1};
    }
    // Which side the edges themselves fall on is up to the rounding of the tables.
    constexpr double slack = 1e-6;
    const double distance = distanceOutside(test, x, y);
    if (test.border != ippBorderConst) {
        return distance < -slack  ? Allowed{{replicated}, 1}
               : distance > slack ? Allowed{{kept}, 1}
                                  : Allowed{{replicated, kept}, 2};
    }
    const int border = kBorderPixel[channel];
    const int mixed = warp_reference::sample(picture, x, y, channel, border);
    return std::fabs(distance) < slack ? Allowed{{mixed, replicated, border}, 3}
           : distance > 1 + slack      ? Allowed{{border}, 1}
           : distance > 1 - slack      ? Allowed{{mixed, border}, 2}
                                       : Allowed{{mixed}, 1};
}

// Runs a case and compares every pixel with the reference.
void expectReference(std::mt19937& random, const WarpCase& test) {
    SCOPED_TRACE(test.text());
    const WarpSource source(random, test);
    std::int32_t specSize = 0;
    std::int32_t size = 0;
    ASSERT_EQ(ippiWarpAffineGetSize(test.src, test.dst, ipp8u, test.coeffs.data(), ippLinear, test.direction,
                                    test.border, &specSize, &size),
              ippStsNoErr);
    ASSERT_EQ(size, 64);
    GuardedBytes block(static_cast<std::size_t>(specSize), test.misalignment);
    auto* spec = reinterpret_cast<IppiWarpSpec*>(block.data());
    ASSERT_EQ(ippiWarpAffineLinearInit(test.src, test.dst, ipp8u, test.coeffs.data(), test.direction,
                                       static_cast<std::uint32_t>(test.channels), test.border, kBorderValue,
                                       0, spec),
              ippStsNoErr);
    ASSERT_TRUE(block.intact());
    ASSERT_EQ(ippiWarpGetBufferSize(spec, test.tile, &size), ippStsNoErr);
    ASSERT_EQ(size, 64);
    GuardedBytes buffer(64, 3);
    const int step = test.tile.width * test.channels + 5;
    GuardedBytes result(static_cast<std::size_t>(step * test.tile.height), test.misalignment);
    const auto run = test.channels == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
    const IppStatus status =
        run(source.first(), source.step(), result.data(), step, test.offset, test.tile, spec, buffer.data());
    ASSERT_TRUE(status == ippStsNoErr || (status == ippStsNoPixelsWrn && test.border != ippBorderRepl &&
                                          test.border != ippBorderConst));
    ASSERT_TRUE(result.intact() && buffer.intact());
    warp_reference::forPositions(
        test.backward(), test.offset.x, test.offset.y, test.tile.width, test.tile.height,
        [&](int column, int row, double x, double y) {
            if (testing::Test::HasFatalFailure()) {
                return;
            }
            const auto at = static_cast<std::size_t>(row * step + column * test.channels);
            for (int channel = 0; channel < test.channels; ++channel) {
                const int value = result.data()[at + static_cast<std::size_t>(channel)];
                ASSERT_TRUE(allowedAt(test, source.picture(), x, y, channel).holds(value))
                    << value << " at " << column << ", " << row << ", channel " << channel << ", position "
                    << x << ", " << y;
            }
            if (column == test.tile.width - 1) {
                ASSERT_TRUE(result.untouched(at + static_cast<std::size_t>(test.channels),
                                             static_cast<std::size_t>((row + 1) * step)));
            }
        });
}

class Draw {
public:
    explicit Draw(std::mt19937& random) : random_(random) {}
    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    double within(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random_);
    }

    Coeffs coeffs(IppiSize src) {
        switch (below(6)) {
        case 0: // right angles and steps of 45 degrees
            return rotation(45.0 * below(16), below(2 * src.width) / 2.0, below(2 * src.height) / 2.0);
        case 1: // whole pixels
            return {1, 0, 1.0 * below(60) - 30, 0, 1, 1.0 * below(60) - 30};
        case 2: // half pixels, and whole rows between fractions of columns
            return {below(2) == 0 ? 1.0 : 0.7, 0, below(60) / 2.0 - 15, 0, 1, below(60) / 2.0 - 15};
        case 3: // the source within a pixel or two
            return {1e-2, 1e-3, 5, -1e-3, 1e-2, 5};
        case 4:
            return {within(-2, 2), within(-2, 2), within(-90, 90),
                    within(-2, 2), within(-2, 2), within(-90, 90)};
        default:
            return rotation(within(-400, 400), within(-20, src.width + 20), within(-20, src.height + 20));
        }
    }

    WarpCase warp() {
        constexpr std::uint32_t borders[] = {ippBorderRepl,
                                             ippBorderRepl,
                                             ippBorderConst,
                                             ippBorderTransp,
                                             ippBorderInMem,
                                             ippBorderRepl | ippBorderInMemLeft,
                                             ippBorderConst | ippBorderInMemTop};
        WarpCase test{};
        test.src = {2 + below(below(3) == 0 ? 4 : 90), 2 + below(below(3) == 0 ? 4 : 90)};
        test.dst = {1 + below(150), 1 + below(90)};
        test.coeffs = coeffs(test.src);
        test.direction = below(2);
        test.channels = below(2) == 0 ? 1 : 3;
        test.border = borders[below(7)];
        test.tile = test.dst;
        if (below(3) == 0) {
            test.offset = {below(test.dst.width), below(test.dst.height)};
            test.tile = {1 + below(test.dst.width - test.offset.x),
                         1 + below(test.dst.height - test.offset.y)};
        }
        test.srcGap = below(3) == 0 ? below(20) : 0;
        test.isReversed = below(8) == 0;
        test.misalignment = static_cast<std::size_t>(below(64));
        return test;
    }

private:
    std::mt19937& random_;
};

class WarpAffine : public VariantTest {};
INSTANTIATE_VARIANTS(WarpAffine);

TEST_P(WarpAffine, GivesTheReferencesPixels) {
    std::mt19937 random(7);
    Draw draw(random);
    for (int i = 0; i < rounds(600) && !HasFatalFailure(); ++i) {
        WarpCase test = draw.warp();
        const double det = test.coeffs[0] * test.coeffs[4] - test.coeffs[1] * test.coeffs[3];
        if (std::fabs(det) > 1e-6) {
            expectReference(random, test);
        }
    }
}

// Large enough for bands, and for positions far enough from 0 to lose bits.
TEST_P(WarpAffine, TurnsAPage) {
    std::mt19937 random(8);
    for (const int channels : {1, 3}) {
        const IppiSize size = {701, 397};
        expectReference(random, {size,
                                 size,
                                 rotation(channels == 1 ? 2.5 : 45.0, 350, 198),
                                 0,
                                 channels,
                                 ippBorderRepl,
                                 {0, 0},
                                 size,
                                 1,
                                 false,
                                 0});
    }
}

// Numbers at the edge of what a double holds: whatever passes the checks gives the reference's pixels or,
// where the reference leaves the range of doubles too, any pixels of the source without a stray access.
TEST_P(WarpAffine, SurvivesHostileNumbers) {
    const double numbers[] = {0.0,    -0.0,   1.0,     -1.0,          0.5,        5e-324,      1e-310,
                              1e-200, 1e-16,  1e9,     -2147483649.0, 1e18,       1e150,       -1e150,
                              1e300,  -1e300, 1.7e308, kInfinity,     -kInfinity, std::nan("")};
    constexpr int count = sizeof numbers / sizeof *numbers;
    std::mt19937 random(9);
    Draw draw(random);
    const auto any = [&] { return numbers[draw.below(count)]; };
    int built = 0;
    for (int i = 0; i < rounds(20000); ++i) {
        Coeffs coeffs = {1, 0, 0, 0, 1, 0};
        if (i % 2 == 0) {
            coeffs = rotation(draw.below(4) * 90.0, any(), any());
        } else {
            for (double& c : coeffs) {
                c = draw.below(3) == 0 ? any() : c;
            }
        }
        const WarpCase test{{5, 4},
                            {9, 7},
                            coeffs,
                            draw.below(2),
                            1 + 2 * draw.below(2),
                            draw.below(3) == 0 ? 1U : 6U + static_cast<unsigned>(draw.below(2)),
                            {0, 0},
                            {9, 7},
                            0,
                            false,
                            0};
        std::int32_t specSize = 0;
        std::int32_t initSize = 0;
        const IppStatus status = ippiWarpAffineGetSize(test.src, test.dst, ipp8u, coeffs.data(), ippLinear,
                                                       test.direction, test.border, &specSize, &initSize);
        if (status != ippStsNoErr) {
            ASSERT_EQ(status, ippStsCoeffErr);
            continue;
        }
        ++built;
        std::vector<double> block(static_cast<std::size_t>(specSize) / 8 + 1);
        auto* spec = reinterpret_cast<IppiWarpSpec*>(block.data());
        ASSERT_EQ(ippiWarpAffineLinearInit(test.src, test.dst, ipp8u, coeffs.data(), test.direction,
                                           static_cast<std::uint32_t>(test.channels), test.border,
                                           kBorderValue, 0, spec),
                  ippStsNoErr);
        const WarpSource source(random, test);
        const int step = 9 * test.channels;
        GuardedBytes result(static_cast<std::size_t>(step * 7));
        Ipp8u buffer[64];
        const auto run = test.channels == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
        const IppStatus done =
            run(source.first(), source.step(), result.data(), step, {0, 0}, test.tile, spec, buffer);
        ASSERT_TRUE(done == ippStsNoErr || done == ippStsNoPixelsWrn) << done;
        ASSERT_TRUE(result.intact()) << test.text();
    }
    EXPECT_GT(built, rounds(1000));
}

struct TurnCase {
    double angle, x, y;
    double shiftX, shiftY;
    Coeffs coeffs;
};

TEST(WarpRotation, IsExactAtRightAngles) {
    const TurnCase cases[] = {
        {0, 3, 4, 0, 0, {1, 0, 0, 0, 1, 0}},     {720, 3, 4, 0, 0, {1, 0, 0, 0, 1, 0}},
        {90, 3, 4, -1, 7, {0, 1, -1, -1, 0, 7}}, {450, 3, 4, -1, 7, {0, 1, -1, -1, 0, 7}},
        {180, 3, 4, 6, 8, {-1, 0, 6, 0, -1, 8}}, {-180, 3, 4, 6, 8, {-1, 0, 6, 0, -1, 8}},
        {270, 3, 4, 7, 1, {0, -1, 7, 1, 0, 1}},  {-90, 3, 4, 7, 1, {0, -1, 7, 1, 0, 1}}};
    for (const TurnCase& test : cases) {
        EXPECT_EQ(rotation(test.angle, test.x, test.y), test.coeffs) << test.angle;
    }
    const Coeffs turned = rotation(30, 100, -40);
    EXPECT_NEAR(turned[0], std::sqrt(0.75), 1e-15);
    EXPECT_NEAR(turned[1], 0.5, 1e-15);
    EXPECT_EQ(turned[3], -turned[1]);
    EXPECT_NEAR(turned[0] * 100 + turned[1] * -40 + turned[2], 100, 1e-12);
    EXPECT_NEAR(turned[3] * 100 + turned[4] * -40 + turned[5], -40, 1e-12);
}

TEST(WarpRotation, ChecksItsArguments) {
    double x = 5;
    double coeffs[6];
    EXPECT_EQ(ippiGetRotateShift(0, 0, 1, nullptr, &x), ippStsNullPtrErr);
    EXPECT_EQ(ippiGetRotateShift(0, 0, 1, &x, nullptr), ippStsNullPtrErr);
    EXPECT_EQ(x, 5);
    EXPECT_EQ(ippiGetRotateTransform(std::nan(""), 0, 0, nullptr), ippStsOutOfRangeErr);
    EXPECT_EQ(ippiGetRotateTransform(kInfinity, 0, 0, coeffs), ippStsOutOfRangeErr);
    EXPECT_EQ(ippiGetRotateTransform(1, 0, 0, nullptr), ippStsNullPtrErr);
    double y = 5;
    EXPECT_EQ(ippiGetRotateShift(1, 1, std::nan(""), &x, &y), ippStsNoErr);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y));
    // More whole turns than an integer counts.
    for (const double angle : {1e12, -1e15, 1e300, -1.7e308}) {
        EXPECT_EQ(ippiGetRotateTransform(angle, 0, 0, coeffs), ippStsNoErr);
        EXPECT_NEAR(std::hypot(coeffs[0], coeffs[1]), 1.0, 1e-12) << angle;
    }
}

// Arguments that pass, of which each case spoils one or several: the first test that fails decides.
struct Arguments {
    IppiSize src{20, 10};
    IppiSize dst{30, 40};
    std::int32_t dataType = ipp8u;
    Coeffs coeffs{1, 0.25, 0.5, -0.25, 1, 0.5};
    bool hasCoeffs = true;
    std::int32_t interpolation = ippLinear;
    std::int32_t direction = 0;
    std::uint32_t border = ippBorderConst;
    std::uint32_t channels = 3;
    bool hasBorderValue = true;
    std::int32_t smooth = 0;
    bool hasOutput = true;
};

IppStatus sizeOf(const Arguments& a, std::int32_t* specSize) {
    std::int32_t initSize = 0;
    return ippiWarpAffineGetSize(a.src, a.dst, a.dataType, a.hasCoeffs ? a.coeffs.data() : nullptr,
                                 a.interpolation, a.direction, a.border, a.hasOutput ? specSize : nullptr,
                                 &initSize);
}

IppStatus initOf(const Arguments& a, IppiWarpSpec* spec) {
    return ippiWarpAffineLinearInit(
        a.src, a.dst, a.dataType, a.hasCoeffs ? a.coeffs.data() : nullptr, a.direction, a.channels, a.border,
        a.hasBorderValue ? kBorderValue : nullptr, a.smooth, a.hasOutput ? spec : nullptr);
}

struct Spoiling {
    void (*spoil)(Arguments&);
    IppStatus sizing;
    IppStatus init;
};

TEST(WarpSizing, ChecksInOrder) {
    // From the last test to the first: what was spoilt before stays so.
    const Spoiling cases[] = {
        {[](Arguments&) {}, ippStsNoErr, ippStsNoErr},
        {[](Arguments& a) { a.coeffs = {1, 0, 1e300, 0.5, 1, 0}; }, ippStsCoeffErr, ippStsCoeffErr},
        {[](Arguments& a) { a.src.height = 1; }, ippStsSizeErr, ippStsSizeErr},
        {[](Arguments& a) { a.smooth = 1; }, ippStsSizeErr, ippStsNotSupportedModeErr},
        {[](Arguments& a) { a.channels = 2; }, ippStsSizeErr, ippStsNumChannelsErr},
        {[](Arguments& a) { a.hasBorderValue = false; }, ippStsSizeErr, ippStsNullPtrErr},
        {[](Arguments& a) { a.coeffs = {1, 2, 0, 2, 4 + 1e-10, 0}; }, ippStsCoeffErr, ippStsCoeffErr},
        {[](Arguments& a) { a.direction = 2; }, ippStsWrongDirectionErr, ippStsWrongDirectionErr},
        {[](Arguments& a) { a.interpolation = ippSuper; }, ippStsInterpolationErr, ippStsWrongDirectionErr},
        {[](Arguments& a) { a.dataType = 2; }, ippStsDataTypeErr, ippStsDataTypeErr},
        {[](Arguments& a) { a.dst.width = 0; }, ippStsSizeErr, ippStsSizeErr},
        {[](Arguments& a) { a.hasCoeffs = false; }, ippStsNullPtrErr, ippStsNullPtrErr},
        {[](Arguments& a) { a.border = 3; }, ippStsBorderErr, ippStsBorderErr},
        {[](Arguments& a) { a.border = 256 + 1; }, ippStsBorderErr, ippStsBorderErr},
        {[](Arguments& a) { a.border = 0x70; }, ippStsBorderErr, ippStsBorderErr},
    };
    Arguments arguments;
    std::int32_t specSize = -1;
    ASSERT_EQ(sizeOf(arguments, &specSize), ippStsNoErr);
    std::vector<double> block(static_cast<std::size_t>(specSize) / 8 + 1);
    auto* spec = reinterpret_cast<IppiWarpSpec*>(block.data());
    for (const Spoiling& test : cases) {
        test.spoil(arguments);
        const auto number = &test - cases;
        EXPECT_EQ(sizeOf(arguments, &specSize), test.sizing) << "case " << number;
        EXPECT_EQ(initOf(arguments, spec), test.init) << "case " << number;
    }
    // Limits that only sizing knows.
    const auto sizing = [&](auto spoil) {
        Arguments a;
        spoil(a);
        return sizeOf(a, &specSize);
    };
    const auto rows = [&](std::int32_t count, std::int32_t type) {
        return sizing([=](Arguments& a) {
            a.src.height = count;
            a.dataType = type;
        });
    };
    const std::pair<std::int32_t, std::int32_t> limits[] = {{0x40000000, ipp8u},
                                                            {0x20000000, ipp16u},
                                                            {0x20000000, ipp16s},
                                                            {0x10000000, ipp32f},
                                                            {0x8000000, ipp64f}};
    for (const auto& [limit, type] : limits) {
        EXPECT_EQ(rows(limit, type), ippStsSizeErr) << type;
        EXPECT_EQ(rows(limit - 1, type), ippStsNoErr) << type;
    }
    EXPECT_EQ(sizing([](Arguments& a) { a.coeffs = {1, 0, 0, 0, 1, 0}, a.src.width = 1; }), ippStsSizeErr);
    EXPECT_EQ(sizing([](Arguments& a) {
                  a.coeffs = {1, 0, 0.5, 0, 1, 0}, a.src.height = a.dst.height = 0x10000000;
              }),
              ippStsSizeErr);
    // The test of the corners is left out for cubic interpolation.
    const auto flat = [](Arguments& a) { a.coeffs = {1, 0, 1e300, 0.5, 1, 0}, a.interpolation = ippCubic; };
    EXPECT_EQ(sizing(flat), ippStsNoErr);
    // Singular on the small scale only in absolute numbers.
    EXPECT_EQ(sizing([](Arguments& a) { a.coeffs = {1e-60, 0, 0, 0, 1e-60, 0}; }), ippStsNoErr);
    EXPECT_EQ(sizing([](Arguments& a) { a.coeffs = {0, 9e-6, 0, 9e-6, 0, 0}; }), ippStsCoeffErr);
}

TEST(WarpSizing, CountsItsTables) {
    const auto sizeWith = [](Coeffs coeffs, std::uint32_t border) {
        Arguments a;
        a.coeffs = coeffs;
        a.border = border;
        std::int32_t size = 0;
        EXPECT_EQ(sizeOf(a, &size), ippStsNoErr);
        return size;
    };
    EXPECT_EQ(sizeWith({1, 0, 7, 0, 1, -3}, ippBorderConst), 392);
    // Rows 3.5 to 12.5 of the destination, then 2.5 to 13.5 too.
    EXPECT_EQ(sizeWith({1, 0, 0.5, 0, 1, 3.5}, ippBorderRepl), 392 + 24 + 8 * (12 - 4));
    EXPECT_EQ(sizeWith({1, 0, 0.5, 0, 1, 3.5}, ippBorderConst), 392 + 24 + 8 * (12 - 4) + 24 + 8 * 11);
    EXPECT_EQ(sizeWith({1, 0, 900.5, 0, 1, 0}, ippBorderTransp), 392 + 24 - 8);
}

class WarpRecord : public testing::Test {
protected:
    IppiWarpSpec* make(const Arguments& a) {
        std::int32_t size = 0;
        EXPECT_EQ(sizeOf(a, &size), ippStsNoErr);
        block_.assign(static_cast<std::size_t>(size) / 8 + 1, 0.0);
        auto* spec = reinterpret_cast<IppiWarpSpec*>(block_.data());
        EXPECT_EQ(initOf(a, spec), ippStsNoErr);
        return spec;
    }
    IppStatus run(const IppiWarpSpec* spec, IppiPoint offset, IppiSize size) {
        return ippiWarpAffineLinear_8u_C3R(src_.data(), 60, dst_.data(), 90, offset, size, spec, buffer_);
    }

    std::vector<double> block_;
    std::vector<Ipp8u> src_ = std::vector<Ipp8u>(600);
    std::vector<Ipp8u> dst_ = std::vector<Ipp8u>(3600, 77);
    Ipp8u buffer_[64] = {};
};

TEST_F(WarpRecord, HoldsItsFieldsInOrder) {
    const IppiWarpSpec* spec = make({});
    std::int32_t head[12];
    std::memcpy(head, spec, sizeof head);
    const std::int32_t expected[] = {20, 10, 0, 0, 20, 10, 30, 40, 0, 0, ipp8u, ippLinear};
    EXPECT_EQ(std::memcmp(head, expected, sizeof head), 0);
    const Coeffs backward = warp_reference::inverse(Arguments().coeffs);
    EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(spec) + 48, backward.data(), sizeof backward), 0);
    EXPECT_EQ(spec->noPixelsStatus, 0);
    EXPECT_EQ(spec->shiftRecord, nullptr);
    EXPECT_EQ(spec->firstSpanRow, 0);
    EXPECT_EQ(spec->lastSpanRow, 9);
    EXPECT_EQ(spec->spanTable[0].first, 3); // the upper edge leaves the destination at 2.5
}

// When a destination without any of the source is worth a warning.
TEST_F(WarpRecord, KnowsWhenThereAreNoPixels) {
    const std::pair<std::uint32_t, IppStatus> spans[] = {{1, 0},     {6, 0},         {7, 30},
                                                         {0xF0, 30}, {1 | 0x10, 30}, {6 | 0x80, 30}};
    const std::pair<std::uint32_t, IppStatus> shifts[] = {{1, 0},    {6, 0},        {7, 30},
                                                          {0xF0, 0}, {1 | 0x10, 0}, {7 | 0x80, 0}};
    for (const bool isShift : {false, true}) {
        for (const auto& [border, status] : isShift ? shifts : spans) {
            Arguments a;
            a.coeffs = {1, 0, 30, 0, 1, isShift ? 0 : 0.5};
            a.border = border;
            EXPECT_EQ(run(make(a), {0, 0}, {30, 40}), status) << border;
            a.coeffs[2] = isShift ? 29 : 28.5;
            EXPECT_EQ(run(make(a), {0, 0}, {30, 40}), ippStsNoErr) << border;
        }
    }
}

TEST_F(WarpRecord, RunsCheckInOrder) {
    IppiWarpSpec* spec = make({});
    EXPECT_EQ(run(spec, {25, 35}, {30, 40}), ippStsSizeWrn);
    EXPECT_EQ(dst_[5 * 90 - 75], 77); // behind the clipped tile
    std::fill(dst_.begin(), dst_.end(), Ipp8u{77});
    const auto expect = [&](IppiPoint offset, IppiSize size, IppStatus status) {
        EXPECT_EQ(run(spec, offset, size), status) << offset.x << ' ' << offset.y << ' ' << size.width;
    };
    spec->borderType = 2;
    expect({0, 0}, {30, 40}, ippStsBorderErr);
    spec->noPixelsStatus = ippStsNoPixelsWrn;
    expect({0, 0}, {30, 40}, ippStsNoPixelsWrn);
    expect({30, 0}, {1, 1}, ippStsOutOfRangeErr);
    expect({0, -1}, {1, 1}, ippStsOutOfRangeErr);
    expect({0, -1}, {1, -1}, ippStsSizeErr);
    expect({0, -1}, {0, -1}, ippStsSizeErr);
    for (std::int32_t IppiWarpSpec::*field :
         {&IppiWarpSpec::dataType, &IppiWarpSpec::interpolation, &IppiWarpSpec::mode}) {
        const std::int32_t before = spec->*field;
        spec->*field = 5;
        expect({0, -1}, {1, -1}, ippStsContextMatchErr);
        spec->*field = before;
    }
    EXPECT_EQ(ippiWarpAffineLinear_8u_C1R(src_.data(), 60, dst_.data(), 90, {0, 0}, {1, 1}, spec, buffer_),
              ippStsContextMatchErr);
    spec->mode = 5;
    expect({0, -1}, {0, 1}, ippStsNoOperation);
    EXPECT_EQ(ippiWarpAffineLinear_8u_C3R(src_.data(), 60, dst_.data(), 90, {0, 0}, {0, 0}, spec, nullptr),
              ippStsNullPtrErr);
    EXPECT_EQ(dst_, std::vector<Ipp8u>(3600, 77));
}

TEST_F(WarpRecord, TellsBufferSizes) {
    IppiWarpSpec* spec = make({});
    std::int32_t size = -1;
    EXPECT_EQ(ippiWarpGetBufferSize(nullptr, {1, 1}, &size), ippStsNullPtrErr);
    EXPECT_EQ(ippiWarpGetBufferSize(spec, {0, -1}, &size), ippStsSizeErr);
    EXPECT_EQ(ippiWarpGetBufferSize(spec, {0, 1}, &size), ippStsNoOperation);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(ippiWarpGetBufferSize(spec, {31, 1}, &size), ippStsSizeWrn);
    EXPECT_EQ(size, 64);
    spec->mode = 1;
    EXPECT_EQ(ippiWarpGetBufferSize(spec, {31, 1}, &size), ippStsSizeWrn);
    EXPECT_EQ(size, ((30 * 128 + 496) & ~511) + 64);
    spec->mode = 2;
    EXPECT_EQ(ippiWarpGetBufferSize(spec, {31, 1}, &size), ippStsContextMatchErr);
}

} // namespace
