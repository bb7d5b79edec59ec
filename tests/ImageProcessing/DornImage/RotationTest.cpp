#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Image.h"
#include "tests/primitives/WarpReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>

using DornImage::FIBitmapPtr;
using DornImage::Image;
using DornImage::Reference;

namespace {

using Counted = dornbase::ReferencedImplMT<Image>;

// Uneven pixels and a comment as metadata.
FIBITMAP* picture(int depth, int width = 37, int height = 20) {
    FIBITMAP* bitmap = FreeImage_Allocate(width, height, depth);
    for (int y = 0; y < height; ++y) {
        BYTE* line = FreeImage_GetScanLine(bitmap, y);
        for (unsigned i = 0; i < FreeImage_GetLine(bitmap); ++i) {
            line[i] = static_cast<BYTE>(i * i * 7 + static_cast<unsigned>(y * y * 31));
        }
    }
    FreeImage_SetMetadataKeyValue(FIMD_COMMENTS, bitmap, "Comment", "a page");
    return bitmap;
}

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new Counted());
    image->Attach(bitmap);
    return image;
}

bool hasComment(FIBITMAP* bitmap) {
    FITAG* tag = nullptr;
    return FreeImage_GetMetadata(FIMD_COMMENTS, bitmap, "Comment", &tag) == TRUE;
}

int sampleAt(FIBITMAP* bitmap, int x, int y, int channel) {
    return FreeImage_GetScanLine(
        bitmap, y)[static_cast<unsigned>(x) * FreeImage_GetBPP(bitmap) / 8 + static_cast<unsigned>(channel)];
}

// Where each sample of `made`, of the source's size, comes from.
void expectSamples(FIBITMAP* made, const std::function<int(int x, int y, int channel)>& expected) {
    ASSERT_NE(made, nullptr);
    for (int y = 0; y < static_cast<int>(FreeImage_GetHeight(made)); ++y) {
        for (int x = 0; x < static_cast<int>(FreeImage_GetWidth(made)); ++x) {
            for (int channel = 0; channel < static_cast<int>(FreeImage_GetBPP(made) / 8); ++channel) {
                ASSERT_EQ(sampleAt(made, x, y, channel), expected(x, y, channel)) << x << ' ' << y;
            }
        }
    }
}

Reference<Image> turned(FIBITMAP* bitmap, double angle, double x, double y) {
    Reference<Image> result;
    EXPECT_TRUE(imageOf(FreeImage_Clone(bitmap))->RotateEx(angle, x, y, result));
    return result;
}

} // namespace

TEST(Rotation, RightAnglesMoveEveryPixel) {
    for (const int depth : {1, 8, 24, 32}) {
        for (const int angle : {90, 180, 270}) {
            const Reference<Image> source = imageOf(picture(depth));
            const FIBitmapPtr expected(FreeImage_Rotate(source->getFIBTMAP(), angle, nullptr));
            Reference<Image> result;
            ASSERT_TRUE(source->Rotate(angle, result));
            EXPECT_EQ(result->GetWidth(), angle == 180 ? 37U : 20U);
            EXPECT_TRUE(hasComment(result->getFIBTMAP()));
            for (unsigned y = 0; y < result->GetHeight(); ++y) {
                const int line = static_cast<int>(y);
                ASSERT_EQ(std::memcmp(FreeImage_GetScanLine(result->getFIBTMAP(), line),
                                      FreeImage_GetScanLine(expected.get(), line),
                                      result->GetWidth() * static_cast<unsigned>(depth) / 8),
                          0);
            }
        }
    }
}

TEST(Rotation, OtherAnglesLeaveTheResult) {
    Reference<Image> source = imageOf(picture(24));
    const Reference<Image> before = imageOf(nullptr);
    Reference<Image> result = before;
    for (const int angle : {0, 360, -90, 45, 450}) {
        EXPECT_FALSE(source->Rotate(angle, result)) << angle;
    }
    EXPECT_FALSE(before->Rotate(90, result));
    EXPECT_FALSE(before->RotateEx(90, 0, 0, result));
    EXPECT_EQ(result.get(), before.get());
}

TEST(Rotation, TurnsAboutAPoint) {
    for (const int depth : {8, 24}) {
        const FIBitmapPtr source(picture(depth));
        FIBITMAP* const from = source.get();
        const auto pixel = [from](int x, int y, int channel) {
            return sampleAt(from, std::min(std::max(x, 0), 36), std::min(std::max(y, 0), 19), channel);
        };
        expectSamples(turned(from, 0, 1e9, -3.5)->getFIBTMAP(), pixel);
        expectSamples(turned(from, 180, 18, 9.5)->getFIBTMAP(),
                      [&](int x, int y, int channel) { return pixel(36 - x, 19 - y, channel); });
        // About the corner of a pixel the edge column and row come twice.
        expectSamples(turned(from, 180, 18.5, 10)->getFIBTMAP(),
                      [&](int x, int y, int channel) { return pixel(37 - x, 20 - y, channel); });
        // (1, 0) beside the centre goes to (0, -1), down on the screen: clockwise, on the same canvas.
        expectSamples(turned(from, 450, 10, 5)->getFIBTMAP(),
                      [&](int x, int y, int channel) { return pixel(10 - (y - 5), 5 + (x - 10), channel); });
        // A centre far outside: edge pixels everywhere.
        expectSamples(turned(from, 90, 1e6, 0)->getFIBTMAP(),
                      [&](int, int y, int channel) { return pixel(1000000 - y, 0, channel); });

        const warp_reference::Picture picture = {37, 20, depth / 8, pixel};
        for (const double angle : {30.0, -30.0, 2.5}) {
            const double t = (angle < 0 ? angle + 360 : angle) / 180.0 * 3.141592653589793;
            const double c = std::cos(t);
            const double s = std::sin(t);
            const warp_reference::Coeffs forward = {c, s, (18 - 18 * c) - 9 * s, -s, c, (9 - c * 9) + 18 * s};
            const Reference<Image> made = turned(from, angle, 18, 9);
            EXPECT_TRUE(hasComment(made->getFIBTMAP()));
            warp_reference::forPositions(warp_reference::inverse(forward), 0, 0, 37, 20,
                                         [&](int column, int row, double x, double y) {
                                             for (int channel = 0; channel < depth / 8; ++channel) {
                                                 ASSERT_EQ(sampleAt(made->getFIBTMAP(), column, row, channel),
                                                           warp_reference::sample(picture, x, y, channel));
                                             }
                                         });
        }
    }
}

TEST(Rotation, FailuresGiveAnEmptyImage) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        FIBITMAP* bitmap;
        double angle, x, y;
    } const cases[] = {{picture(32), 10, 0, 0},
                       {picture(1), 10, 0, 0},
                       {picture(8, 1, 9), 10, 0, 0},
                       {picture(24, 9, 1), 0, 0, 0},
                       {picture(8), nan, 0, 0},
                       {picture(8), 10, nan, 0},
                       {picture(8), 10, 1e300, 0},
                       {picture(16), 90, 0, 0},
                       {FreeImage_AllocateT(FIT_FLOAT, 9, 9), 10, 0, 0}};
    for (const auto& test : cases) {
        const Reference<Image> before = imageOf(nullptr);
        Reference<Image> result = before;
        EXPECT_TRUE(imageOf(test.bitmap)->RotateEx(test.angle, test.x, test.y, result));
        EXPECT_NE(result.get(), before.get());
        EXPECT_EQ(result->getFIBTMAP(), nullptr);
    }
}

// The result may be the only reference to the source.
TEST(Rotation, ReplacesItsSource) {
    Reference<Image> image = imageOf(picture(24));
    ASSERT_TRUE(image->RotateEx(180, 18, 9.5, image));
    ASSERT_TRUE(image->Rotate(180, image));
    const FIBitmapPtr expected(picture(24));
    expectSamples(image->getFIBTMAP(),
                  [&](int x, int y, int channel) { return sampleAt(expected.get(), x, y, channel); });
    EXPECT_TRUE(hasComment(image->getFIBTMAP()));
}

// Grey levels are interpolated, and a palette isn't taken along.
TEST(Rotation, LeavesThePaletteBehind) {
    const FIBitmapPtr source(picture(8));
    FreeImage_GetPalette(source.get())[200] = {1, 2, 3, 0};
    EXPECT_EQ(FreeImage_GetPalette(turned(source.get(), 10, 0, 0)->getFIBTMAP())[200].rgbRed, 200);
}
