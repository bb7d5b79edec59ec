#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <tuple>
#include <vector>

using DornImage::FIBitmapPtr;
using DornImage::Image;
using DornImage::Reference;
using dorntest::meanDistance;

namespace {

constexpr auto linear = Image::ScaleTypeLinear;
constexpr auto cubic = Image::ScaleTypeCubic;
constexpr auto lanczos = Image::ScaleTypeLanczos;
constexpr auto unnamed = static_cast<Image::ScaleType>(7);

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new dornbase::ReferencedImplMT<Image>);
    image->Attach(bitmap);
    return image;
}

// Uneven pixels; a picture with a palette has its grey ramp.
FIBITMAP* picture(int depth, int width, int height) {
    std::mt19937 random(static_cast<unsigned>(depth));
    FIBITMAP* const bitmap = FreeImage_Allocate(width, height, depth);
    for (int y = 0; y < height; ++y) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, y);
        std::generate_n(line, FreeImage_GetLine(bitmap), [&] { return static_cast<BYTE>(random()); });
    }
    for (int i = 0; depth <= 8 && i < 1 << depth; ++i) {
        const auto level = static_cast<BYTE>(i * 255 / ((1 << depth) - 1));
        FreeImage_GetPalette(bitmap)[i] = {level, level, level, 0};
    }
    return bitmap;
}

// Palettes that take different roads.
void paint(FIBITMAP* bitmap, const std::string& kind) {
    RGBQUAD* const palette = FreeImage_GetPalette(bitmap);
    for (unsigned i = 0; kind != "ramp" && i < FreeImage_GetColorsUsed(bitmap); ++i) {
        const auto level = static_cast<BYTE>(kind == "inverted" ? 255 - i * 255 : 200 - i * 7);
        palette[i] = {level, level, static_cast<BYTE>(kind == "colours" ? i * i : level), 0};
    }
}

double sinc(double x) {
    return x == 0 ? 1 : std::sin(3.14159265358979324 * x) / (3.14159265358979324 * x);
}

struct Weight {
    int index;
    double value;
};

// What each destination position takes from the source: the area that it covers, or a kernel's values.
std::vector<std::vector<Weight>> axisWeights(const char* method, int src, int dst) {
    const std::string name = method;
    std::vector<std::vector<Weight>> axis(static_cast<std::size_t>(dst));
    const double ratio = static_cast<double>(src) / dst;
    for (int d = 0; d < dst; ++d) {
        double sum = 0;
        for (int i = -3; i < src + 3; ++i) {
            const double covered = std::min(i + 1.0, (d + 1) * ratio) - std::max<double>(i, d * ratio);
            const double t = std::abs((d + 0.5) * ratio - 0.5 - i);
            const double weight = name == "super"    ? std::max(covered, 0.0)
                                  : name == "linear" ? std::max(1 - t, 0.0)
                                  : name == "cubic"  ? (t < 1   ? 2 / 3.0 - t * t + t * t * t / 2
                                                        : t < 2 ? std::pow(2 - t, 3) / 6
                                                                : 0)
                                                     : (t < 3 ? sinc(t) * sinc(t / 3) : 0);
            if (weight != 0) {
                axis[static_cast<std::size_t>(d)].push_back({std::clamp(i, 0, src - 1), weight});
                sum += weight;
            }
        }
        for (Weight& weight : axis[static_cast<std::size_t>(d)]) {
            weight.value /= sum;
        }
    }
    return axis;
}

// The largest distance of a scaled picture from what the method gives in exact arithmetic.
double distanceFrom(const char* method, FIBITMAP* source, FIBITMAP* scaled) {
    const auto width = static_cast<int>(FreeImage_GetWidth(scaled));
    const auto height = static_cast<int>(FreeImage_GetHeight(scaled));
    const auto channels = static_cast<int>(FreeImage_GetBPP(source) / 8);
    const auto columns = axisWeights(method, static_cast<int>(FreeImage_GetWidth(source)), width);
    const auto rows = axisWeights(method, static_cast<int>(FreeImage_GetHeight(source)), height);
    double worst = FreeImage_GetBPP(scaled) == FreeImage_GetBPP(source) ? 0 : 1000;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width * channels; ++x) {
            double value = 0;
            for (const Weight& row : rows[static_cast<std::size_t>(y)]) {
                const BYTE* const line = FreeImage_GetScanLine(source, row.index);
                for (const Weight& column : columns[static_cast<std::size_t>(x / channels)]) {
                    value += line[column.index * channels + x % channels] * row.value * column.value;
                }
            }
            worst = std::max(worst,
                             std::abs(FreeImage_GetScanLine(scaled, y)[x] - std::clamp(value, 0.0, 255.0)));
        }
    }
    return worst;
}

Reference<Image> scaled(const Reference<Image>& source, unsigned width, unsigned height,
                        Image::ScaleType type) {
    Reference<Image> result;
    EXPECT_TRUE(source->GetScaled(width, height, type, result));
    return result;
}

} // namespace

TEST(Scaling, TakesTheMethodForTheSizes) {
    const struct {
        unsigned width, height;
        Image::ScaleType type;
        const char* method;
    } cases[] = {{12, 7, linear, "super"},   {23, 16, unnamed, "super"},   {1, 1, lanczos, "super"},
                 {12, 17, linear, "linear"}, {24, 7, cubic, "cubic"},      {61, 43, linear, "linear"},
                 {61, 43, cubic, "cubic"},   {61, 43, lanczos, "lanczos"}, {5, 40, lanczos, "lanczos"}};
    for (const int depth : {8, 24, 32}) {
        const Reference<Image> source = imageOf(picture(depth, 24, 17));
        for (const auto& c : cases) {
            const Reference<Image> result = scaled(source, c.width, c.height, c.type);
            EXPECT_LT(distanceFrom(c.method, source->getFIBTMAP(), result->getFIBTMAP()), 1)
                << depth << " bits, " << c.width << " x " << c.height << ", " << c.method;
        }
        // The unnamed method of a picture that does not shrink is FreeImage's.
        const Reference<Image> other = scaled(source, 24, 9, unnamed);
        const FIBitmapPtr expected(FreeImage_Rescale(source->getFIBTMAP(), 24, 9, FILTER_BILINEAR));
        EXPECT_EQ(meanDistance(other->getFIBTMAP(), expected.get()), 0);
    }
}

TEST(Scaling, GivesTheDepthAndThePixelsThatColoursWouldGive) {
    const struct {
        int depth;
        const char* palette;
        unsigned scaledDepth;
    } cases[] = {{1, "ramp", 1},   {1, "inverted", 1}, {1, "greys", 1},    {1, "colours", 1},
                 {4, "ramp", 8},   {4, "greys", 8},    {4, "colours", 24}, {8, "ramp", 8},
                 {8, "greys", 24}, {8, "colours", 24}, {24, nullptr, 24},  {16, nullptr, 24}};
    for (const auto& c : cases) {
        const Reference<Image> source =
            imageOf(c.depth == 16 ? FreeImage_ConvertTo16Bits565(FIBitmapPtr(picture(24, 50, 40)).get())
                                  : picture(c.depth, 50, 40));
        if (c.palette) {
            paint(source->getFIBTMAP(), c.palette);
        }
        const Reference<Image> colours = imageOf(FreeImage_ConvertTo24Bits(source->getFIBTMAP()));
        // Both sizes give values of exactly half between black and white.
        for (const auto& [width, height] : {std::pair{25U, 20U}, {99U, 80U}}) {
            const Reference<Image> result = scaled(source, width, height, linear);
            EXPECT_EQ(result->GetBpp(), c.scaledDepth) << c.depth;
            const Reference<Image> other = scaled(colours, width, height, linear);
            const FIBitmapPtr expected(c.depth == 1 ? FreeImage_Threshold(other->getFIBTMAP(), 128)
                                                    : FreeImage_Clone(other->getFIBTMAP()));
            EXPECT_EQ(meanDistance(result->getFIBTMAP(), expected.get()), 0) << c.depth << ' ' << width;
        }
    }
    EXPECT_EQ(scaled(imageOf(picture(1, 50, 40)), 50, 80, unnamed)->GetBpp(), 8U) << "as FreeImage does it";
    // FreeImage scales what has another depth, by a filter of its own for each method.
    const Reference<Image> deep = imageOf(FreeImage_ConvertToRGBF(FIBitmapPtr(picture(24, 9, 9)).get()));
    for (const auto& [type, filter] :
         {std::pair{linear, FILTER_BILINEAR}, {cubic, FILTER_BICUBIC}, {lanczos, FILTER_LANCZOS3}}) {
        const FIBitmapPtr expected(FreeImage_Rescale(deep->getFIBTMAP(), 5, 5, filter));
        EXPECT_EQ(meanDistance(scaled(deep, 5, 5, type)->getFIBTMAP(), expected.get()), 0) << type;
    }
}

TEST(Scaling, KeepsTheSizeOnPaperAndTheMetadata) {
    for (const int depth : {1, 24, 96}) {
        Reference<Image> image =
            imageOf(depth == 96 ? FreeImage_AllocateT(FIT_RGBF, 200, 100) : picture(depth, 200, 100));
        FreeImage_SetDotsPerMeterX(image->getFIBTMAP(), 11811);
        FreeImage_SetDotsPerMeterY(image->getFIBTMAP(), 5906);
        FreeImage_SetMetadataKeyValue(FIMD_COMMENTS, image->getFIBTMAP(), "Comment", "a page");
        // The only reference to the source gives way to the result.
        ASSERT_TRUE(image->GetScaled(67, 301, lanczos, image));
        EXPECT_EQ(FreeImage_GetDotsPerMeterX(image->getFIBTMAP()), 3956U);  // 3956.7
        EXPECT_EQ(FreeImage_GetDotsPerMeterY(image->getFIBTMAP()), 17777U); // 17777.06
        EXPECT_EQ(FreeImage_GetMetadataCount(FIMD_COMMENTS, image->getFIBTMAP()), 1U);
        EXPECT_NE(dynamic_cast<dornbase::ReferencedImplMT<Image>*>(image.get()), nullptr);
    }
}

TEST(Scaling, ChangesTheResolution) {
    const Reference<Image> source = imageOf(picture(24, 200, 100));
    FreeImage_SetDotsPerMeterX(source->getFIBTMAP(), 11811);
    FreeImage_SetDotsPerMeterY(source->getFIBTMAP(), 5905);
    Reference<Image> result;
    ASSERT_TRUE(source->GetChangedResolution(150, result));
    EXPECT_EQ(result->GetWidth(), 100U);
    EXPECT_EQ(result->GetHeight(), 100U); // 100.01
    EXPECT_LT(distanceFrom("cubic", source->getFIBTMAP(), result->getFIBTMAP()), 1);
    const Reference<Image> before = result;
    for (const unsigned dpi : {0U, 1U /* less than a pixel */, 0xFFFFFFFFU}) {
        EXPECT_FALSE(source->GetChangedResolution(dpi, result));
    }
    FreeImage_SetDotsPerMeterY(source->getFIBTMAP(), 0);
    EXPECT_FALSE(source->GetChangedResolution(150, result));
    EXPECT_EQ(result.get(), before.get());
}

TEST(Scaling, ZoomsWithFreeImage) {
    Reference<Image> source = imageOf(picture(8, 30, 20));
    Reference<Image> result;
    for (const double zoom : {0.0, -100.0, 4.9, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        EXPECT_FALSE(source->GetZoomed(zoom, result)) << zoom;
    }
    EXPECT_FALSE(imageOf(FreeImage_Allocate(100, 100, 24))->GetZoomed(20000, result)) << "1.2 GB";
    EXPECT_FALSE(result);
    for (const auto& [zoom, width, height, filter] : {std::tuple{5.1, 1, 1, FILTER_CATMULLROM},
                                                      {100.0, 30, 20, FILTER_CATMULLROM},
                                                      {150.1, 45, 30, FILTER_BILINEAR}}) {
        result = source;
        ASSERT_TRUE(result->GetZoomed(zoom, result));
        const FIBitmapPtr expected(FreeImage_Rescale(source->getFIBTMAP(), width, height, filter));
        EXPECT_EQ(meanDistance(result->getFIBTMAP(), expected.get()), 0) << zoom;
    }
}

TEST(Scaling, RefusesWithoutFallingBack) {
    const struct {
        int depth, width, height;
        unsigned wantedWidth, wantedHeight;
        Image::ScaleType type;
        bool possible;
    } cases[] = {{8, 5, 5, 99, 99, lanczos, false},        {8, 6, 6, 99, 99, lanczos, true},
                 {24, 3, 9, 50, 50, cubic, false},         {24, 4, 4, 50, 50, cubic, true},
                 {8, 1, 1, 2, 2, linear, false},           {8, 2, 2, 1, 1, lanczos, true},
                 {8, 9, 9, 0, 5, linear, false},           {24, 9, 9, 5, 0, unnamed, false},
                 {24, 9, 9, 0x80000000, 5, linear, false}, {8, 9, 9, 0x7FFFFFFF, 0x7FFFFFFF, cubic, false}};
    const Reference<Image> before = imageOf(nullptr);
    for (const auto& c : cases) {
        Reference<Image> result = before;
        EXPECT_EQ(imageOf(picture(c.depth, c.width, c.height))
                      ->GetScaled(c.wantedWidth, c.wantedHeight, c.type, result),
                  c.possible)
            << c.width << " x " << c.height << " to " << c.wantedWidth << " x " << c.wantedHeight;
        EXPECT_EQ(result.get() == before.get(), !c.possible);
    }
    const Reference<Image> grey16 = imageOf(FreeImage_AllocateT(FIT_UINT16, 9, 9));
    Reference<Image> result;
    EXPECT_FALSE(grey16->GetScaled(5, 5, linear, result) || before->GetScaled(5, 5, linear, result) ||
                 before->GetZoomed(50, result) || before->GetChangedResolution(150, result));
    EXPECT_FALSE(result);
}
