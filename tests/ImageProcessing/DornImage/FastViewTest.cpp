#include "DibBlocks.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <type_traits>

using namespace DornImage;
using namespace dorntest;

namespace {

using Picture = Reference<Image>;

static_assert(!std::is_assignable_v<FreeImageFastView&, const FreeImageFastView&>);
static_assert(std::is_assignable_v<FreeImageFastView&, FreeImageFastView&>);

Picture picture(FIBITMAP* bitmap) {
    Picture image(new dornbase::ReferencedImpl<Image>());
    image->Attach(bitmap);
    return image;
}

/// What a view draws of `source` on a surface of 40 x 30 dots, at (3, 2).
std::vector<DWORD> drawn(FastView& view, const RECT& source) {
    std::vector<DWORD> surface(40 * 30, 0x123456);
    const HDC dc = dornplatform::createSurfaceContext(surface.data(), 40, 30, 40 * sizeof(DWORD));
    view.Draw(dc, source, {3, 2, 3 + (source.right - source.left), 2 + (source.bottom - source.top)});
    DeleteDC(dc);
    return surface;
}

/// What it should be: the pixels of `shown` in the rectangle, as far as there are any.
std::vector<DWORD> expected(Image& shown, const RECT& source) {
    std::vector<DWORD> surface(40 * 30, 0x123456);
    const FIBitmapPtr colours(FreeImage_ConvertTo24Bits(shown.getFIBTMAP()));
    const LONG width = static_cast<LONG>(shown.GetWidth()), height = static_cast<LONG>(shown.GetHeight());
    for (LONG y = source.top; y < std::min(source.bottom, height); ++y) {
        for (LONG x = source.left; x < std::min(source.right, width); ++x) {
            const LONG column = 3 + x - source.left, line = 2 + y - source.top;
            if (column < 40 && line < 30) {
                const BYTE* const pixel = FreeImage_GetScanLine(colours.get(), height - 1 - y) + 3 * x;
                surface[static_cast<std::size_t>(line * 40 + column)] =
                    static_cast<DWORD>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]);
            }
        }
    }
    return surface;
}

TEST(FastView, ShowsScaledOrSmoothedPictures) {
    const struct {
        Picture source;
        int width, height;
        bool scaled;
    } cases[] = {
        {picture(makeNoise(20, 16, 8, 1)), 20, 16, false},
        {picture(makeNoise(20, 16, 24, 1)), 20, 16, false},
        {picture(makeNoise(20, 16, 1, 1)), 20, 16, false},
        {picture(FreeImage_ConvertToRGB16(FIBitmapPtr(makeNoise(20, 16, 24, 1)).get())), 20, 16, false},
        {picture(makeNoise(50, 41, 1, 1)), 25, 20, true},
        {picture(FreeImage_ConvertToRGB16(FIBitmapPtr(makeNoise(12, 9, 24, 1)).get())), 25, 20, true},
        {picture(makeNoise(50, 41, 24, 1)), 25, 20, true},
    };
    for (const auto& test : cases) {
        const unsigned depth = test.source->GetBpp();
        SCOPED_TRACE(testing::Message() << depth << " bits, scaled " << test.scaled);
        FreeImageFastView view;
        ASSERT_TRUE(view.Init(test.source.get(), test.width, test.height));
        Picture colours = test.source, shown;
        if (depth == 1) {
            ASSERT_TRUE(test.source->convertToGrayscale(colours));
        } else if (depth == 48) {
            ASSERT_TRUE(test.source->convertTo24Bits(colours));
        }
        ASSERT_TRUE(test.scaled ? colours->GetScaled(25, 20, Image::ScaleTypeLanczos, shown)
                                : colours->GetSmoothed(shown, 3, 0.8F));
        const RECT whole{0, 0, test.width, test.height};
        EXPECT_EQ(drawn(view, whole), expected(*shown, whole));
        EXPECT_NE(drawn(view, whole), expected(*colours, whole)); // not the picture itself
        // Parts, and more than there is.
        for (const RECT& part :
             {RECT{4, 3, 15, 12}, RECT{1, 0, 19, 4}, RECT{0, 9, 7, 16}, RECT{5, 0, 60, 16}}) {
            EXPECT_EQ(drawn(view, part), expected(*shown, part)) << part.left << ' ' << part.top;
        }
    }
}

TEST(FastView, KeepsItsPictureWhenInitFails) {
    const RECT whole{0, 0, 20, 16};
    const std::vector<DWORD> nothing(40 * 30, 0x123456);
    FreeImageFastView view;
    EXPECT_EQ(drawn(view, whole), nothing);
    const Picture good = picture(makeNoise(20, 16, 8, 1));
    ASSERT_TRUE(view.Init(good.get(), 20, 16));
    const std::vector<DWORD> before = drawn(view, whole);
    EXPECT_NE(before, nothing);

    const Picture empty(new dornbase::ReferencedImpl<Image>());
    const Picture other = picture(makeNoise(20, 16, 32, 1)); // nothing smooths 32 bits
    const Picture floating = picture(FreeImage_AllocateT(FIT_DOUBLE, 20, 16));
    EXPECT_FALSE(view.Init(nullptr, 20, 16));
    EXPECT_FALSE(view.Init(empty.get(), 20, 16));
    EXPECT_FALSE(view.Init(other.get(), 20, 16));
    EXPECT_FALSE(view.Init(floating.get(), 20, 16));
    EXPECT_FALSE(view.Init(good.get(), 0, 16));
    EXPECT_FALSE(view.Init(good.get(), 20, -16));
    EXPECT_EQ(drawn(view, whole), before);

    // Rectangles from elsewhere draw nothing, or what is there.
    constexpr LONG least = std::numeric_limits<LONG>::min(), most = std::numeric_limits<LONG>::max();
    EXPECT_EQ(drawn(view, {0, -1, 20, 15}), nothing);
    EXPECT_EQ(drawn(view, {most, most, most, most}), nothing);
    EXPECT_EQ(drawn(view, {least, least, least, least}), nothing);
}

TEST(FastView, CopiesShareAPictureUntilOneIsInitialisedAgain) {
    const RECT whole{0, 0, 20, 16};
    const Picture first = picture(makeNoise(20, 16, 8, 1)), second = picture(makeNoise(20, 16, 24, 2));
    FreeImageFastView view;
    ASSERT_TRUE(view.Init(first.get(), 20, 16));
    const std::vector<DWORD> before = drawn(view, whole);
    FreeImageFastView copy(view), assigned;
    assigned = copy;
    assigned = *&assigned;
    ASSERT_TRUE(view.Init(second.get(), 20, 16));
    EXPECT_NE(drawn(view, whole), before);
    EXPECT_EQ(drawn(copy, whole), before);
    FreeImageFastView moved(std::move(copy));
    copy = std::move(moved);
    EXPECT_EQ(drawn(copy, whole), before);
    EXPECT_EQ(drawn(assigned, whole), before);
    assigned = view;
    EXPECT_EQ(drawn(assigned, whole), drawn(view, whole));
}

} // namespace
