#include "ImageProcessing/DornImage/Smoothing.h"

#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Image.h"
#include "tests/primitives/GaussianReference.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using DornImage::FIBitmapPtr;
using DornImage::Image;
using DornImage::Reference;

namespace {

using Counted = dornbase::ReferencedImplMT<Image>;

// A picture of uneven pixels with a resolution, and a comment as metadata.
FIBITMAP* picture(int depth, int width = 37, int height = 11) {
    FIBITMAP* bitmap = FreeImage_Allocate(width, height, depth);
    const unsigned bytes = FreeImage_GetLine(bitmap);
    for (int y = 0; y < height; ++y) {
        BYTE* line = FreeImage_GetScanLine(bitmap, y);
        for (unsigned i = 0; i < bytes; ++i) {
            line[i] = static_cast<BYTE>(i * i * 7 + static_cast<unsigned>(y * y * 31));
        }
    }
    FreeImage_SetDotsPerMeterX(bitmap, 11811);
    FreeImage_SetDotsPerMeterY(bitmap, 5906);
    FreeImage_SetMetadataKeyValue(FIMD_COMMENTS, bitmap, "Comment", "a page");
    return bitmap;
}

std::vector<BYTE> samples(FIBITMAP* bitmap) {
    std::vector<BYTE> result;
    for (int y = 0; y < static_cast<int>(FreeImage_GetHeight(bitmap)); ++y) {
        const BYTE* line = FreeImage_GetScanLine(bitmap, y);
        result.insert(result.end(), line, line + FreeImage_GetLine(bitmap));
    }
    return result;
}

// What a kernel of 5 taps and sigma 1.0 makes of it.
std::vector<BYTE> expectedSamples(FIBITMAP* bitmap) {
    GaussianReference reference;
    reference.width = static_cast<int>(FreeImage_GetWidth(bitmap));
    reference.height = static_cast<int>(FreeImage_GetHeight(bitmap));
    reference.channels = static_cast<int>(FreeImage_GetBPP(bitmap) / 8);
    reference.taps = {223, 1000, 1649, 1000, 223};
    return reference.filter(FreeImage_GetBits(bitmap), static_cast<int>(FreeImage_GetPitch(bitmap)));
}

void expectFacts(FIBITMAP* bitmap) {
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(bitmap), 11811U);
    EXPECT_EQ(FreeImage_GetDotsPerMeterY(bitmap), 5906U);
    FITAG* tag = nullptr;
    ASSERT_TRUE(FreeImage_GetMetadata(FIMD_COMMENTS, bitmap, "Comment", &tag));
    EXPECT_STREQ(static_cast<const char*>(FreeImage_GetTagValue(tag)), "a page");
}

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image;
    image = new Counted();
    image->Attach(bitmap);
    return image;
}

} // namespace

TEST(Smoothing, FiltersBothDepths) {
    for (const int depth : {8, 24}) {
        const FIBitmapPtr source(picture(depth));
        const std::vector<BYTE> expected = expectedSamples(source.get());
        FIBITMAP* made = nullptr;
        ASSERT_TRUE(ippiSmoothGaussian(source.get(), 5, 1.0F, &made));
        const FIBitmapPtr allocated(made);
        EXPECT_EQ(FreeImage_GetBPP(made), static_cast<unsigned>(depth));
        EXPECT_EQ(samples(made), expected);
        expectFacts(made);

        const FIBitmapPtr supplied(FreeImage_Allocate(37, 11, depth));
        ASSERT_TRUE(ippiSmoothGaussian(source.get(), 5, 1.0F, supplied.get()));
        EXPECT_EQ(samples(supplied.get()), expected);
        expectFacts(supplied.get());

        ASSERT_TRUE(ippiSmoothGaussian(source.get(), 5, 1.0F, source.get()));
        EXPECT_EQ(samples(source.get()), expected);
        expectFacts(source.get());
    }
}

TEST(Smoothing, LeavesThePaletteBehind) {
    const FIBitmapPtr source(picture(8, 1, 1));
    FreeImage_GetScanLine(source.get(), 0)[0] = 255;
    for (int i = 0; i < 256; ++i) {
        FreeImage_GetPalette(source.get())[i] = {static_cast<BYTE>(i), 3, 4, 0};
    }
    FIBITMAP* made = nullptr;
    ASSERT_TRUE(ippiSmoothGaussian(source.get(), 3, 0.5F, &made));
    const FIBitmapPtr result(made);
    EXPECT_EQ(FreeImage_GetScanLine(made, 0)[0], 253); // taps that add up to 4095
    EXPECT_EQ(FreeImage_GetPalette(made)[200].rgbRed, 200);
}

TEST(Smoothing, RefusesOtherDepths) {
    std::vector<FIBITMAP*> others = {FreeImage_AllocateT(FIT_FLOAT, 9, 9),
                                     FreeImage_AllocateT(FIT_UINT16, 9, 9),
                                     FreeImage_AllocateT(FIT_RGB16, 9, 9)};
    for (const int depth : {1, 4, 16, 32}) {
        others.push_back(FreeImage_Allocate(9, 9, depth));
    }
    for (FIBITMAP* other : others) {
        const Reference<Image> image = imageOf(other);
        const FIBitmapPtr same(FreeImage_Clone(other));
        FIBITMAP* made = same.get();
        EXPECT_FALSE(ippiSmoothGaussian(other, 3, 1.0F, &made));
        EXPECT_EQ(made, same.get());
        EXPECT_FALSE(ippiSmoothGaussian(other, 3, 1.0F, same.get()));
        Reference<Image> result = image;
        EXPECT_FALSE(image->GetSmoothed(result, 3, 1.0F));
        EXPECT_EQ(result->getFIBTMAP(), other);
        Reference<Image> empty;
        EXPECT_FALSE(image->GetSmoothed(empty, 3, 1.0F));
        EXPECT_FALSE(empty);
    }
}

TEST(Smoothing, RefusesBadArguments) {
    const FIBitmapPtr source(picture(8));
    FIBITMAP* made = nullptr;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [kernel, sigma] : std::vector<std::pair<unsigned, float>>{
             {4, 1.0F}, {1, 1.0F}, {0, 1.0F}, {0xFFFFFFFF, 1.0F}, {3, 0.0F}, {3, -1.0F}, {3, nan}}) {
        EXPECT_FALSE(ippiSmoothGaussian(source.get(), kernel, sigma, &made));
        EXPECT_FALSE(ippiSmoothGaussian(source.get(), kernel, sigma, source.get()));
    }
    EXPECT_FALSE(ippiSmoothGaussian(nullptr, 3, 1.0F, &made));
    EXPECT_FALSE(ippiSmoothGaussian(nullptr, 3, 1.0F, source.get()));
    EXPECT_FALSE(ippiSmoothGaussian(source.get(), 3, 1.0F, static_cast<FIBITMAP*>(nullptr)));
    FIMEMORY* file = FreeImage_OpenMemory();
    FreeImage_SaveToMemory(FIF_PNG, source.get(), file);
    FreeImage_SeekMemory(file, 0, SEEK_SET);
    const FIBitmapPtr withoutPixels(FreeImage_LoadFromMemory(FIF_PNG, file, FIF_LOAD_NOPIXELS));
    FreeImage_CloseMemory(file);
    EXPECT_FALSE(ippiSmoothGaussian(withoutPixels.get(), 3, 1.0F, &made));
    EXPECT_EQ(made, nullptr);
    for (FIBITMAP* other : {picture(24), picture(8, 36), picture(8, 37, 12)}) {
        const FIBitmapPtr dst(other);
        const std::vector<BYTE> before = samples(other);
        EXPECT_FALSE(ippiSmoothGaussian(source.get(), 3, 1.0F, other));
        EXPECT_EQ(samples(other), before);
    }
}

TEST(Smoothing, HandsTheBitmapToTheImageOfTheReference) {
    const Reference<Image> source = imageOf(picture(24));
    const std::vector<BYTE> expected = expectedSamples(source->getFIBTMAP());
    const Reference<Image> target = imageOf(picture(8, 2, 2));
    Reference<Image> result = target;
    ASSERT_TRUE(source->GetSmoothed(result, 5, 1.0F));
    EXPECT_EQ(result.operator->(), target.operator->());
    EXPECT_EQ(samples(target->getFIBTMAP()), expected);

    Reference<Image> empty;
    ASSERT_TRUE(source->GetSmoothed(empty, 5, 1.0F));
    EXPECT_EQ(samples(empty->getFIBTMAP()), expected);

    Reference<Image> only = imageOf(picture(24));
    ASSERT_TRUE(only->GetSmoothed(only, 5, 1.0F));
    EXPECT_EQ(samples(only->getFIBTMAP()), expected);

    EXPECT_FALSE(imageOf(nullptr)->GetSmoothed(result, 5, 1.0F));
    EXPECT_EQ(samples(result->getFIBTMAP()), expected);
}
