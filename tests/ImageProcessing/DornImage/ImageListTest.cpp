#include "tests/ImageProcessing/DornImage/ListSupport.h"

using DornImage::ImageList;

namespace fs = std::filesystem;

TEST_F(ListTest, EmptyListAnswersFailure) {
    const ListRef list = newList();
    const ImageRef page = colourPage(2, 2);
    DornImage::Image* out = page.get();
    EXPECT_EQ(list->GetCount(), 0u);
    EXPECT_FALSE(list->GetImage(0, &out));
    EXPECT_EQ(out, page.get());
    EXPECT_EQ(list->GetImageFormat(0), FIF_UNKNOWN);
    EXPECT_EQ(list->GetImagePath(0), "");
    EXPECT_FALSE(list->ImageModified(0));
    EXPECT_FALSE(list->ReplaceImage(0, page.get()));
    EXPECT_FALSE(list->AddImage(list.get(), 0));
    EXPECT_FALSE(list->AddImage(list.get(), -1));
    EXPECT_FALSE(list->AddImage(nullptr, 0));
    EXPECT_FALSE(list->AddImage(nullptr));
    EXPECT_EQ(list->GetCount(), 0u);
    EXPECT_EQ(list->currentSize, 0u);
}

TEST_F(ListTest, LimitIsExclusiveForAddingAndInclusiveForReading) {
    const ListRef list = newList(600);
    const ImageRef page = colourPage(10, 10); // 320 bytes
    list->AddImage(page.get());
    list->AddImage(page.get());
    EXPECT_EQ(list->currentSize, 0u);
    list->SetMaxSize(640);
    list->AddImage(page.get());
    list->AddImage(page.get());
    EXPECT_EQ(list->currentSize, 640u) << "exactly the limit is no reason to spill";
    list->SaveToCache();
    EXPECT_TRUE(hasPage(*list, 0, page));
    EXPECT_EQ(list->currentSize, 320u);
    EXPECT_TRUE(hasPage(*list, 1, page));
    EXPECT_EQ(list->currentSize, 320u) << "a page that reaches the limit is not kept";
    EXPECT_FALSE(list->ImageModified(1)) << "only the caller held it";
    list->SetMaxSize(641);
    EXPECT_TRUE(hasPage(*list, 1, page));
    EXPECT_EQ(list->currentSize, 640u);
}

TEST_F(ListTest, PagesOfOtherListsAreNotCountedAndWrapTheSum) {
    const ListRef source = newList();
    const ImageRef page = colourPage(10, 10);
    source->AddImage(page.get());
    const ListRef list = newList(400);
    EXPECT_TRUE(list->AddImage(source.get(), 0));
    EXPECT_EQ(list->GetCount(), 1u);
    EXPECT_EQ(list->currentSize, 0u);
    const ImageRef copy = pageOf(*list, 0);
    EXPECT_NE(copy.get(), page.get());
    EXPECT_TRUE(samePicture(copy->getFIBTMAP(), page->getFIBTMAP()));

    list->SetMaxSize(300);
    EXPECT_FALSE(list->AddImage(page.get())) << "all is written, but the sum isn't 0";
    EXPECT_EQ(list->currentSize, 0u - 320u);
    EXPECT_FALSE(list->AddImage(colourPage(1, 1, 3).get()));
    EXPECT_EQ(list->GetCount(), 3u);
    for (unsigned index = 0; index < 3; ++index) {
        EXPECT_TRUE(exists(list->GetImagePath(index)));
    }
    // A page with a file is copied as a file, into a directory of its own.
    source->AddImage(list.get(), 1);
    EXPECT_EQ(asPath(source->GetImagePath(1)).parent_path(), asPath(source->tempDirectory.path()));
    EXPECT_EQ(source->GetImageFormat(1), FIF_PNG);
    EXPECT_TRUE(hasPage(*source, 1, page));
}

TEST_F(ListTest, ChangesDeleteTheFileWhereverItIs) {
    const ImageRef page = colourPage(10, 10);
    const Velmora::u8string file = externalPage("page \xc3\xa9.png", page);
    const ListRef list = newList();
    ASSERT_TRUE(list->AddExternalImage(FIF_PNG, file, ImageList::ExternalImageRef));
    EXPECT_EQ(list->GetImagePath(0), file);
    EXPECT_FALSE(list->ImageModified(0)) << "not in memory";
    ASSERT_TRUE(hasPage(*list, 0, page));
    EXPECT_TRUE(exists(file));
    EXPECT_TRUE(list->ImageModified(0));
    EXPECT_FALSE(exists(file));

    externalPage("again.png", page);
    list->AddExternalImage(FIF_PNG, name("again.png"), ImageList::ExternalImageRef);
    EXPECT_FALSE(list->ReplaceImage(2, page.get()));
    EXPECT_FALSE(list->ReplaceImage(1, nullptr));
    EXPECT_TRUE(exists(name("again.png")));
    EXPECT_TRUE(list->ReplaceImage(1, colourPage(5, 5).get()));
    EXPECT_FALSE(exists(name("again.png")));
    EXPECT_EQ(list->GetImagePath(1), "");
    EXPECT_EQ(list->GetImageFormat(1), FIF_PNG);
    EXPECT_EQ(list->currentSize, 320u + 80u);
}

TEST_F(ListTest, ReplacingAPageByItselfKeepsItAlive) {
    const ListRef list = newList();
    DornImage::Image* const image = new dornbase::ReferencedImpl<DornImage::Image>;
    image->Attach(FreeImage_Allocate(10, 10, 24));
    list->AddImage(image); // the list's is the only reference
    EXPECT_TRUE(list->ReplaceImage(0, image));
    EXPECT_EQ(pageOf(*list, 0).get(), image);
    EXPECT_EQ(list->currentSize, 320u);
}

TEST_F(ListTest, CacheFormatIsPngOrJpeg) {
    const ListRef list = newList();
    list->SetJpegCompression(75);
    EXPECT_EQ(list->GetFifFlags(), 0);
    list->SetCacheFormat(FIF_PNG);
    EXPECT_EQ(list->GetFifFlags(), 75);
    for (const int automatic : {0, -1, -75}) {
        list->SetJpegCompression(automatic);
        EXPECT_EQ(list->GetFifFlags(), 0);
    }
}

// Copies share pages and directory; the survivor works in memory and fails cleanly on what is gone.
TEST_F(ListTest, SurvivorOfTwoCopiesFailsCleanly) {
    const ImageRef pages[] = {colourPage(10, 10), colourPage(10, 10, 2), colourPage(10, 10, 3)};
    ListRef list = newList(400);
    list->AddImage(pages[0].get());
    list->AddImage(pages[1].get());
    ListRef copy(new TestList(*list));
    EXPECT_EQ(copy->tempDirectory.path(), list->tempDirectory.path());
    EXPECT_EQ(copy->items, list->items);
    EXPECT_TRUE(hasPage(*copy, 0, pages[0]));

    const ListRef assigned = newList();
    const Velmora::u8string lost = assigned->tempDirectory.path();
    *assigned = *list;
    EXPECT_EQ(assigned->items, list->items);
    EXPECT_TRUE(exists(lost)) << "an assignment forgets the directory";
    fs::remove(asPath(lost));

    list = nullptr;
    EXPECT_FALSE(exists(copy->tempDirectory.path()));
    EXPECT_TRUE(hasPage(*copy, 0, pages[0])) << "this one is in memory";
    EXPECT_FALSE(pageOf(*copy, 1));
    EXPECT_FALSE(copy->AddImage(copy.get(), 1));
    EXPECT_FALSE(
        copy->AddExternalImage(FIF_PNG, externalPage("move.png", pages[1]), ImageList::ExternalImageMove));
    EXPECT_TRUE(exists(name("move.png")));
    EXPECT_FALSE(copy->AddImage(pages[2].get())) << "can't be written";
    EXPECT_EQ(copy->GetCount(), 3u);
    EXPECT_TRUE(hasPage(*copy, 2, pages[2]));
}

TEST_F(ListTest, DerivedListsBitmapIsClosedOnce) {
    const Velmora::u8string file = name("cache.tif");
    ListRef list = newList();
    list->cacheBitmap = FreeImage_OpenMultiBitmap(FIF_TIFF, file.c_str(), TRUE, FALSE, TRUE);
    list->cacheBitmapPath = file;
    ASSERT_TRUE(list->cacheBitmap);
    FreeImage_AppendPage(list->cacheBitmap, colourPage(3, 3)->getFIBTMAP());
    ListRef copy(new TestList(*list));
    EXPECT_EQ(copy->cacheBitmap, list->cacheBitmap);
    copy = nullptr;
    EXPECT_EQ(FreeImage_GetPageCount(list->cacheBitmap), 1) << "closed by the copy";
    list = nullptr;
    EXPECT_FALSE(exists(file));
}
