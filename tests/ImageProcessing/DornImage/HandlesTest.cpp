#include "FreeImageCalls.h"
#include "ImageProcessing/DornImage/DornImage.h"
#include "LogLines.h"

#include <gmock/gmock.h>

namespace {

using DornImage::FIBitmapPtr;
using DornImage::FITagPtr;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

struct HandlesTest : testing::Test {
    HandlesTest() { calls = {}; }
    FIBITMAP* const a = &pretended[0];
    FIBITMAP* const b = &pretended[1];
};

TEST_F(HandlesTest, BitmapIsUnloadedWhereTheHandleLetsItGo) {
    FIBitmapPtr handle(a);
    handle.attach(b);
    handle.attach(b);
    EXPECT_THAT(calls.unloaded, ElementsAre(a, b)) << "no test for the bitmap that it holds";
    EXPECT_EQ(handle.detach(), b);
    EXPECT_EQ(handle.detach(), nullptr);
    handle.attach(a);
    handle.release();
    handle.release();
    EXPECT_THAT(calls.unloaded, ElementsAre(a, b, a));
}

TEST_F(HandlesTest, CopiesAreShallow) {
    {
        FIBitmapPtr first(a);
        FIBitmapPtr target(b);
        target = first;
        EXPECT_EQ(FIBitmapPtr(first).detach(), a);
    }
    EXPECT_THAT(calls.unloaded, ElementsAre(a, a)) << "one for each handle that held it, and b is lost";
}

TEST_F(HandlesTest, TagSettersAnswerForFreeImageAndTheTagIsDeletedOnce) {
    const unsigned short value[2] = {7, 8};
    FITagPtr tag;
    const auto setAll = [&](unsigned long count) {
        return std::vector<bool>{tag.SetTagKey("Key"),   tag.SetTagID(3),     tag.SetTagType(FIDT_SHORT),
                                 tag.SetTagCount(count), tag.SetTagLength(4), tag.SetTagValue(value)};
    };
    EXPECT_THAT(setAll(2), Each(false)) << "an empty handle";
    ASSERT_TRUE(tag.Create());
    EXPECT_THAT(setAll(2), Each(true));
    EXPECT_EQ(static_cast<const unsigned short*>(FreeImage_GetTagValue(tag.Get()))[1], 8);
    EXPECT_THAT(setAll(3), ElementsAre(true, true, true, true, true, false)) << "count and length disagree";
    EXPECT_FALSE(tag.SetTagCount(0x100000001)) << "would become another number";
    ASSERT_TRUE(tag.Create());
    tag.Release();
    tag.Release();
    EXPECT_THAT(calls.deletedTags, SizeIs(2));
}

TEST_F(HandlesTest, TagValueIsReplacedInTheBitmap) {
    const FIBitmapPtr bitmap(FreeImage_Allocate(1, 1, 24));
    for (const auto value : std::initializer_list<unsigned short>{6, 1}) {
        ASSERT_TRUE(DornImage::FreeImage_SetTagValue(FIMD_EXIF_MAIN, bitmap.get(), "Orientation", value));
        FITAG* tag = nullptr;
        ASSERT_TRUE(FreeImage_GetMetadata(FIMD_EXIF_MAIN, bitmap.get(), "Orientation", &tag));
        EXPECT_EQ(FreeImage_GetTagType(tag), FIDT_SHORT);
        EXPECT_EQ(*static_cast<const unsigned short*>(FreeImage_GetTagValue(tag)), value);
    }
}

TEST_F(HandlesTest, TagOfAFailedWriteIsDeleted) {
    const auto log = std::make_shared<dorntest::LogLines>();
    dornutils::setSystemLogFormater(log);
    EXPECT_FALSE(DornImage::FreeImage_SetTagValue(FIMD_EXIF_MAIN, nullptr, "Orientation", 1));
    EXPECT_THAT(log->lines, testing::IsEmpty());
    calls.loseTagKeys = true;
    EXPECT_FALSE(DornImage::FreeImage_SetTagValue(FIMD_EXIF_MAIN, nullptr, "Orientation", 1));
    EXPECT_THAT(log->lines, ElementsAre("0 ImageProcessing/DornImage/FreeImageUtils Tag does not exists"));
    EXPECT_THAT(calls.deletedTags, SizeIs(2));
    dornutils::setSystemLogFormater(nullptr);
}

} // namespace
