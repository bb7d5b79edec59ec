#include "tests/ImageProcessing/DornImage/ListSupport.h"

#include <csignal>
#include <dlfcn.h>
#include <sys/resource.h>

using DornImage::ImageList;

namespace fs = std::filesystem;

namespace {

int savesBeforeFailure = -1;
int lastSaveFlags = 0;

// While it lives, files end at so many bytes: what a full disk looks like to the one who writes.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit full{bytes, old_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    void (*handler_)(int);
    rlimit old_{};
};

class EveryKind : public ListTest, public testing::WithParamInterface<PageKind> {};

std::string kindName(const testing::TestParamInfo<PageKind>& info) {
    return info.param.name;
}

bool isLossyAsJpeg(const PageKind& kind) {
    return kind.type == FIT_BITMAP && (kind.bits == 8 || kind.bits == 24);
}

} // namespace

// Stands in front of the codec library's function.
BOOL FreeImage_SaveToHandle(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, FreeImageIO* io, fi_handle handle,
                            int flags) {
    static const auto original =
        reinterpret_cast<decltype(&FreeImage_SaveToHandle)>(dlsym(RTLD_NEXT, "FreeImage_SaveToHandle"));
    lastSaveFlags = flags;
    return savesBeforeFailure-- != 0 && original(format, bitmap, io, handle, flags);
}

INSTANTIATE_TEST_SUITE_P(Pages, EveryKind, testing::ValuesIn(pageKinds), kindName);

TEST_P(EveryKind, ComesBackFromItsFile) {
    const ListRef list = newList(1);
    const ImageRef page = newPage(GetParam(), 37, 23);
    FreeImage_SetDotsPerMeterX(page->getFIBTMAP(), 11811);
    FreeImage_SetDotsPerMeterY(page->getFIBTMAP(), 5906);
    list->AddImage(page.get());
    EXPECT_TRUE(list->AddImage(page.get()));
    EXPECT_EQ(list->GetImageFormat(1), GetParam().cacheFormat);
    const ImageRef back = pageOf(*list, 1);
    ASSERT_TRUE(back);
    EXPECT_TRUE(samePicture(back->getFIBTMAP(), page->getFIBTMAP()));
    EXPECT_NEAR(FreeImage_GetDotsPerMeterX(back->getFIBTMAP()), 11811, 1);
    EXPECT_NEAR(FreeImage_GetDotsPerMeterY(back->getFIBTMAP()), 5906, 1);
    // The copy of a page on disk is read as its original is.
    ASSERT_TRUE(list->AddImage(list.get(), 0));
    EXPECT_TRUE(hasPage(*list, 2, page));
}

TEST_P(EveryKind, OnlyGreyAndColourFollowTheWishForJpeg) {
    const ListRef list = newList(1);
    const ImageRef page = newPage(GetParam(), 37, 23);
    list->SetCacheFormat(FIF_UNKNOWN);
    list->SetJpegCompression(JPEG_QUALITYSUPERB);
    list->AddImage(page.get());
    EXPECT_TRUE(list->AddImage(page.get()));
    const bool lossy = isLossyAsJpeg(GetParam());
    EXPECT_EQ(list->GetImageFormat(0), lossy ? FIF_JPEG : GetParam().cacheFormat);
    const int losslessFlags = GetParam().bits == 1                 ? TIFF_CCITTFAX4
                              : GetParam().cacheFormat == FIF_TIFF ? TIFF_LZW
                                                                   : 0;
    EXPECT_EQ(lastSaveFlags, lossy ? JPEG_QUALITYSUPERB : losslessFlags);
    EXPECT_EQ(hasPage(*list, 0, page), !lossy);
}

// Some decoders fill up what was cut; the list has to notice by itself.
TEST_P(EveryKind, DamagedFileIsAFailureAndNothingElse) {
    for (const bool jpeg : {false, true}) {
        const ListRef list = newList(1);
        if (jpeg) {
            list->SetCacheFormat(FIF_JPEG);
        }
        const ImageRef page = newPage(GetParam(), 60, 50);
        list->AddImage(page.get());
        list->AddImage(page.get());
        list->AddExternalImage(FIF_PNG, externalPage("other.png", colourPage(70, 10)),
                               ImageList::ExternalImageMove);
        const fs::path file = asPath(list->GetImagePath(0));
        const std::uintmax_t whole = fs::file_size(file);
        for (const std::uintmax_t part : {whole - 1, whole / 2, std::uintmax_t(100), std::uintmax_t(0)}) {
            fs::resize_file(file, part);
            EXPECT_FALSE(pageOf(*list, 0)) << part << " of " << whole;
        }
        fs::remove(file);
        EXPECT_FALSE(pageOf(*list, 0)) << "deleted";
        fs::copy_file(asPath(list->GetImagePath(2)), file);
        EXPECT_FALSE(pageOf(*list, 0)) << "swapped";
        fs::copy_file(asPath(list->GetImagePath(1)), file, fs::copy_options::overwrite_existing);
        EXPECT_FALSE(pageOf(*list, 0)) << "swapped for one of the same length";
        fs::remove(file);
        fs::create_symlink(asPath(list->GetImagePath(1)), file);
        EXPECT_FALSE(pageOf(*list, 0)) << "a link to such a one";
        fs::remove(file);
        fs::create_directory(file);
        EXPECT_FALSE(pageOf(*list, 0)) << "a directory";
        EXPECT_EQ(list->currentSize, 0u);
        EXPECT_EQ(list->GetCount(), 3u);
        EXPECT_TRUE(pageOf(*list, 1));
        const fs::path copy = file.native() + "-copy";
        fs::copy_file(asPath(list->GetImagePath(1)), copy);
        list->items[1]->path = copy.wstring();
        EXPECT_TRUE(pageOf(*list, 1)) << "the application's own change";
    }
}

TEST_F(ListTest, FailedSaveLosesNoPage) {
    for (int failing = 0; failing < 4; ++failing) {
        const ListRef list = newList(0);
        std::vector<ImageRef> pages;
        for (unsigned seed = 0; seed < 4; ++seed) {
            pages.push_back(colourPage(10, 10, seed));
            list->AddImage(pages.back().get());
        }
        savesBeforeFailure = failing;
        EXPECT_FALSE(list->SaveToCache());
        EXPECT_EQ(list->currentSize, 320u * unsigned(4 - failing));
        for (int index = 0; index < 4; ++index) {
            EXPECT_EQ(!list->items[std::size_t(index)]->image, index < failing);
            EXPECT_EQ(list->GetImageFormat(unsigned(index)), index <= failing ? FIF_PNG : FIF_UNKNOWN);
        }
        EXPECT_TRUE(list->SaveToCache()) << "works again";
        for (unsigned index = 0; index < 4; ++index) {
            EXPECT_TRUE(hasPage(*list, index, pages[index]));
        }
    }
}

TEST_P(EveryKind, FullDiskLosesNoPage) {
    const ListRef list = newList(1);
    const ImageRef page = newPage(GetParam(), 300, 200);
    list->AddImage(page.get());
    {
        const FullDisk disk(100);
        EXPECT_FALSE(list->AddImage(page.get()));
    }
    EXPECT_EQ(list->GetCount(), 2u);
    EXPECT_EQ(list->currentSize, 2 * page->GetRawDataSize());
    EXPECT_TRUE(hasPage(*list, 0, page));
    EXPECT_TRUE(hasPage(*list, 1, page));
}

TEST_F(ListTest, WithoutTemporaryDirectoryTheListWorksInMemory) {
    setenv("TMPDIR", name("missing").c_str(), 1);
    const ListRef list = newList(1);
    EXPECT_EQ(list->tempDirectory.path(), "");
    const ImageRef page = colourPage(10, 10);
    EXPECT_TRUE(list->AddImage(page.get()));
    EXPECT_FALSE(list->AddImage(page.get()));
    EXPECT_EQ(list->GetImageFormat(0), FIF_UNKNOWN) << "no file could be made";
    EXPECT_EQ(list->currentSize, 640u);
    EXPECT_TRUE(hasPage(*list, 1, page));
}

// A page that came back is written anew, and its first file stays until the directory goes.
TEST_F(ListTest, EverySpillWritesANewFile) {
    const ImageRef page = colourPage(10, 10);
    const Velmora::u8string file = externalPage("page.png", page);
    Velmora::u8string directory;
    {
        const ListRef list = newList();
        directory = list->tempDirectory.path();
        EXPECT_EQ(directory.rfind(place + "/imageConvert", 0), 0u);
        list->AddExternalImage(FIF_PNG, file, ImageList::ExternalImageRef);
        list->AddExternalImage(FIF_PNG, file, ImageList::ExternalImageRef);
        EXPECT_TRUE(list->SaveToCache());
        EXPECT_TRUE(fs::is_empty(asPath(directory))) << "nothing is in memory";
        ASSERT_TRUE(hasPage(*list, 0, page));
        EXPECT_TRUE(list->SaveToCache());
        const Velmora::u8string first = list->GetImagePath(0);
        EXPECT_EQ(asPath(first).parent_path(), asPath(directory));
        EXPECT_EQ(asPath(first).filename().string().rfind("0-", 0), 0u);
        EXPECT_EQ(list->GetImagePath(1), file);
        ASSERT_TRUE(hasPage(*list, 0, page));
        EXPECT_TRUE(list->SaveToCache());
        EXPECT_NE(list->GetImagePath(0), first);
        EXPECT_TRUE(exists(first));
    }
    EXPECT_FALSE(exists(directory));
    EXPECT_TRUE(exists(file)) << "only referred to";
}

TEST_F(ListTest, ExternalImages) {
    const ImageRef page = colourPage(10, 10);
    const Velmora::u8string file = externalPage("a b\n\xe2\x82\xac.png", page);
    const ListRef list = newList();
    for (const auto operation : {ImageList::ExternalImageRef, ImageList::ExternalImageMove}) {
        EXPECT_FALSE(list->AddExternalImage(FIF_PNG, "", operation));
    }
    EXPECT_FALSE(list->AddExternalImage(FIF_PNG, file, static_cast<ImageList::ExternalImageOperation>(2)));
    EXPECT_FALSE(list->AddExternalImage(FIF_PNG, name("missing"), ImageList::ExternalImageMove));
    EXPECT_FALSE(list->AddExternalImage(FIF_PNG, Velmora::u8string(place), ImageList::ExternalImageMove));
    EXPECT_EQ(list->GetCount(), 0u);

    EXPECT_TRUE(list->AddExternalImage(FIF_PNG, name("missing"), ImageList::ExternalImageRef));
    EXPECT_TRUE(list->AddExternalImage(FIF_JPEG, file, ImageList::ExternalImageRef));
    EXPECT_TRUE(list->AddExternalImage(FIF_UNKNOWN, file, ImageList::ExternalImageRef));
    for (unsigned index = 0; index < 3; ++index) {
        EXPECT_FALSE(pageOf(*list, index)) << "missing, or of another format";
    }
    EXPECT_TRUE(list->AddExternalImage(FIF_PNG, file, ImageList::ExternalImageMove));
    EXPECT_FALSE(exists(file));
    EXPECT_EQ(asPath(list->GetImagePath(3)).parent_path(), asPath(list->tempDirectory.path()));
    EXPECT_TRUE(hasPage(*list, 3, page));
    EXPECT_EQ(list->currentSize, 320u);
}

TEST_F(ListTest, FilesOfTheCallerMayChangeAndGo) {
    const ImageRef page = colourPage(30, 20), other = colourPage(20, 30);
    const Velmora::u8string file = externalPage("page.png", page);
    const Velmora::u8string otherFile = externalPage("other.png", other);
    const ListRef list = newList(1); // nothing stays in memory
    EXPECT_TRUE(list->AddExternalImage(FIF_PNG, file, ImageList::ExternalImageRef));
    EXPECT_TRUE(list->AddImage(list.get(), 0));
    EXPECT_TRUE(hasPage(*list, 0, page));
    fs::resize_file(asPath(file), fs::file_size(asPath(file)) / 2);
    EXPECT_FALSE(pageOf(*list, 0)) << "cut";
    EXPECT_TRUE(list->AddImage(list.get(), 0));
    EXPECT_FALSE(pageOf(*list, 2)) << "copied when it was cut";
    fs::copy_file(asPath(otherFile), asPath(file), fs::copy_options::overwrite_existing);
    EXPECT_TRUE(hasPage(*list, 0, other)) << "it is the caller's file, whatever it holds";
    fs::remove(asPath(file));
    EXPECT_FALSE(pageOf(*list, 0)) << "deleted";
    EXPECT_FALSE(list->AddImage(list.get(), 0));
    fs::create_symlink("other.png", asPath(file));
    EXPECT_TRUE(hasPage(*list, 0, other));
    fs::remove(asPath(otherFile));
    EXPECT_FALSE(pageOf(*list, 0)) << "a link to nowhere";
    EXPECT_TRUE(hasPage(*list, 1, page)) << "the list's own copy";
}
