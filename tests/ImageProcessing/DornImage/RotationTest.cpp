#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Image.h"
#include "tests/primitives/WarpReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>

using DornImage::FIBitmapPtr;
using DornImage::Image;
using DornImage::Reference;

namespace {

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
    Reference<Image> image(new dornbase::ReferencedImplMT<Image>());
    image->Attach(bitmap);
    return image;
}

bool hasComment(const Reference<Image>& image) {
    FITAG* tag = nullptr;
    return FreeImage_GetMetadata(FIMD_COMMENTS, image->getFIBTMAP(), "Comment", &tag) == TRUE;
}

int sampleAt(FIBITMAP* bitmap, int x, int y, int channel) {
    return FreeImage_GetScanLine(bitmap, y)[x * static_cast<int>(FreeImage_GetBPP(bitmap) / 8) + channel];
}

// Turns a picture and compares it with what the reference makes of the same positions.
void expectTurn(int depth, double angle, double x, double y, const warp_reference::Coeffs& backward) {
    const FIBitmapPtr source(picture(depth));
    const warp_reference::Picture reference = {37, 20, [&](int column, int row, int channel) {
                                                   return sampleAt(source.get(), column, row, channel);
                                               }};
    Reference<Image> result;
    ASSERT_TRUE(imageOf(FreeImage_Clone(source.get()))->RotateEx(angle, x, y, result));
    ASSERT_TRUE(result->getFIBTMAP());
    EXPECT_TRUE(hasComment(result));
    warp_reference::forPositions(backward, 0, 0, 37, 20, [&](int column, int row, double atX, double atY) {
        for (int channel = 0; channel < depth / 8; ++channel) {
            ASSERT_EQ(sampleAt(result->getFIBTMAP(), column, row, channel),
                      warp_reference::sample(reference, atX, atY, channel))
                << angle << " degrees, " << column << ", " << row;
        }
    });
}

} // namespace

TEST(Rotation, TurnsByRightAngles) {
    for (const int depth : {1, 8, 24, 32}) {
        for (const int angle : {90, 180, 270}) {
            const Reference<Image> source = imageOf(picture(depth));
            const FIBitmapPtr expected(FreeImage_Rotate(source->getFIBTMAP(), angle, nullptr));
            Reference<Image> result;
            ASSERT_TRUE(source->Rotate(angle, result));
            EXPECT_EQ(result->GetWidth(), angle == 180 ? 37U : 20U);
            EXPECT_TRUE(hasComment(result));
            for (int y = 0; y < static_cast<int>(result->GetHeight()); ++y) {
                ASSERT_EQ(std::memcmp(FreeImage_GetScanLine(result->getFIBTMAP(), y),
                                      FreeImage_GetScanLine(expected.get(), y),
                                      result->GetWidth() * static_cast<unsigned>(depth) / 8),
                          0);
            }
        }
    }
}

TEST(Rotation, LeavesTheResultWhenItRefuses) {
    const Reference<Image> empty = imageOf(nullptr);
    Reference<Image> result = empty;
    for (const int angle : {0, 360, -90, 45, 450}) {
        EXPECT_FALSE(imageOf(picture(24))->Rotate(angle, result)) << angle;
    }
    EXPECT_FALSE(empty->Rotate(90, result));
    EXPECT_FALSE(empty->RotateEx(90, 0, 0, result));
    EXPECT_EQ(result.get(), empty.get());
}

TEST(Rotation, TurnsAboutAPoint) {
    for (const int depth : {8, 24}) {
        expectTurn(depth, 0, 1e9, -3.5, {1, 0, 0, 0, 1, 0});
        expectTurn(depth, 180, 18, 9.5, {-1, 0, 36, 0, -1, 19});
        // (1, 0) beside the centre goes to (0, -1), down on the screen: clockwise.
        expectTurn(depth, 450, 10, 5, {0, -1, 15, 1, 0, -5});
        expectTurn(depth, 90, 1e6, 0, {0, -1, 1e6, 1, 0, -1e6});
        for (const double angle : {30.0, -30.0, 2.5}) {
            const double t = (angle < 0 ? angle + 360 : angle) / 180.0 * 3.141592653589793;
            const double c = std::cos(t);
            const double s = std::sin(t);
            expectTurn(depth, angle, 18, 9,
                       warp_reference::inverse({c, s, (18 - 18 * c) - 9 * s, -s, c, (9 - c * 9) + 18 * s}));
        }
    }
}

TEST(Rotation, GivesAnEmptyImageWhenItFails) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        FIBITMAP* bitmap;
        double angle, x;
    } const cases[] = {
        {picture(32), 10, 0},      {picture(1), 10, 0},       {picture(16), 90, 0},
        {picture(8, 1, 9), 10, 0}, {picture(24, 9, 1), 0, 0}, {picture(8), nan, 0},
        {picture(8), 10, nan},     {picture(8), 10, 1e300},   {FreeImage_AllocateT(FIT_FLOAT, 9, 9), 10, 0}};
    for (const auto& test : cases) {
        const Reference<Image> before = imageOf(nullptr);
        Reference<Image> result = before;
        EXPECT_TRUE(imageOf(test.bitmap)->RotateEx(test.angle, test.x, 0, result));
        EXPECT_NE(result.get(), before.get());
        EXPECT_EQ(result->getFIBTMAP(), nullptr);
    }
}

// The result may be the only reference to the source. Grey levels are turned, and no palette goes along.
TEST(Rotation, ReplacesItsSource) {
    Reference<Image> image = imageOf(picture(8));
    FreeImage_GetPalette(image->getFIBTMAP())[200] = {1, 2, 3, 0};
    ASSERT_TRUE(image->RotateEx(180, 18, 9.5, image));
    ASSERT_TRUE(image->Rotate(180, image));
    const FIBitmapPtr expected(picture(8));
    EXPECT_EQ(sampleAt(image->getFIBTMAP(), 3, 4, 0), sampleAt(expected.get(), 3, 4, 0));
    EXPECT_EQ(FreeImage_GetPalette(image->getFIBTMAP())[200].rgbRed, 200);
    EXPECT_TRUE(hasComment(image));
}
