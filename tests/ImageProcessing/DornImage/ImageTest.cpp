#include "FreeImageCalls.h"
#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ScratchDirectory.h"

#include <cstring>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <tiffio.h>

namespace {

using DornImage::FIBitmapPtr;
using DornImage::Image;
using DornImage::Reference;
using testing::ElementsAre;
using testing::IsEmpty;

using SharedImage = dornbase::ReferencedImplMT<Image>;

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new SharedImage);
    image->Attach(bitmap);
    return image;
}

Velmora::u8string nameIn(const dorntest::ScratchDirectory& folder, const std::string& file) {
    return (folder / file).string();
}

struct ImageTest : testing::Test {
    ImageTest() { calls = {}; }
    FIBITMAP* const a = &pretended[0];
    FIBITMAP* const b = &pretended[1];
};

// Opens what is protected to the tests.
struct Probe : Image {
    void addRef() override {}
    void releaseRef() override {}
    using Image::Reset;

    // The place of a virtual operation in the table: a pointer to one holds its offset in bytes plus 1.
    template <class Operation>
    static std::size_t slot(Operation operation) {
        std::size_t offset = 0;
        std::memcpy(&offset, &operation, sizeof offset);
        return (offset - 1) / sizeof(void*);
    }
    static std::vector<std::size_t> slots() {
        using SaveWithFlags = bool (Image::*)(FREE_IMAGE_FORMAT, const Velmora::u8string&, int);
        using PlainSave = bool (Image::*)(FREE_IMAGE_FORMAT, const Velmora::u8string&);
        return {slot(&Image::addRef),
                slot(&Image::releaseRef),
                slot(&Probe::Reset),
                slot(&Image::GetClone),
                slot(&Image::GetZoomed),
                slot(&Image::GetScaled),
                slot(&Image::GetChangedResolution),
                slot(&Image::GetNormalizedDimension),
                slot(static_cast<SaveWithFlags>(&Image::Save)),
                slot(static_cast<PlainSave>(&Image::Save))};
    }
};

TEST_F(ImageTest, VirtualOperationsStandInTheirOrder) {
    // The destructor takes two places, 2 and 3.
    EXPECT_THAT(Probe::slots(), ElementsAre(0, 1, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(ImageTest, OwnedBitmapIsUnloadedAndALentOneIsNot) {
    {
        Probe image;
        image.Attach(a);
        image.SetBitmapOwner(false);
        image.Reset();
        image.SetBitmapOwner(false);
        image.Reset();
        EXPECT_EQ(image.getFIBTMAP(), nullptr);
        image.Attach(b);
        image.Attach(nullptr);
        EXPECT_THAT(calls.unloaded, ElementsAre(b)) << "Attach owns again";
        image.Attach(a);
        image.SetBitmapOwner(false);
        EXPECT_EQ(image.Dettach(), a);
        Probe target;
        target.Attach(b);
        target = std::move(image);
        EXPECT_EQ(target.getFIBTMAP(), nullptr);
        target.Attach(a);
        target.SetBitmapOwner(false);
        const Probe taker(std::move(target));
    }
    EXPECT_THAT(calls.unloaded, ElementsAre(b))
        << "the second b was lost to a move, and the taker knows of the loan";
}

TEST_F(ImageTest, LastReferenceUnloadsOutsideTheGlobalLock) {
    const Reference<Image> other = imageOf(nullptr);
    bool counted = false;
    calls.onUnload = [&] {
        // Would wait for ever on a thread of its own if the dying image still held the lock.
        auto count = std::async(std::launch::async, [&] { const Reference<Image> copy(other); });
        counted = count.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
        ASSERT_TRUE(counted);
    };
    imageOf(a);
    EXPECT_TRUE(counted);
}

TEST_F(ImageTest, EmptyImageAnswersFalseAndZero) {
    const Reference<Image> image = imageOf(nullptr);
    Reference<Image> result = imageOf(a);
    Image* const before = result.get();
    int width = 5;
    int height = 6;
    EXPECT_FALSE(image->GetClone(result) || image->convertTo24Bits(result) || image->convertTo8Bits(result) ||
                 image->convertToGrayscale(result) || image->GetNormalizedDimension(width, height) ||
                 image->Save(FIF_PNG, "never.png") || image->Save(FIF_PNG, "never.png", 0) ||
                 image->IsGrayScale());
    EXPECT_EQ(image->GetWidth() + image->GetHeight() + image->GetBpp() + image->GetRawDataSize(), 0u);
    EXPECT_EQ(result.get(), before);
    EXPECT_THAT(std::vector<int>({width, height}), ElementsAre(5, 6));
}

TEST_F(ImageTest, NewPicturesOwnTheirBitmaps) {
    FIBitmapPtr lent(FreeImage_Allocate(5, 3, 32));
    Reference<Image> image = imageOf(lent.get());
    image->SetBitmapOwner(false);
    EXPECT_EQ(image->GetRawDataSize(), 60u);
    Reference<Image> result;
    const std::pair<bool (Image::*)(Reference<Image>&), unsigned> operations[] = {
        {&Image::GetClone, 32},
        {&Image::convertTo24Bits, 24},
        {&Image::convertTo8Bits, 8},
        {&Image::convertToGrayscale, 8}};
    for (const auto& [operation, depth] : operations) {
        ASSERT_TRUE((image.get()->*operation)(result));
        EXPECT_EQ(result->GetBpp(), depth);
        EXPECT_EQ(result->GetWidth() * 100 + result->GetHeight(), 503u);
        EXPECT_NE(dynamic_cast<SharedImage*>(result.get()), nullptr);
    }
    FIBITMAP* const grey = result->getFIBTMAP();
    result = nullptr;
    EXPECT_EQ(calls.unloaded.back(), grey);
    EXPECT_TRUE(image->GetClone(image)) << "the source may die of its own result";
    EXPECT_THAT(calls.unloaded, testing::Not(testing::Contains(lent.get())));

    const Reference<Image> numbers = imageOf(FreeImage_AllocateT(FIT_COMPLEX, 2, 2));
    EXPECT_FALSE(numbers->convertTo24Bits(image)) << "FreeImage refuses";
    EXPECT_EQ(image->GetBpp(), 32u);
}

TEST_F(ImageTest, NormalizedDimensionSquaresThePixels) {
    const struct {
        unsigned x, y;
        int width, height;
    } cases[] = {{3937, 7874, 200, 100},  {7874, 3937, 100, 200},
                 {3937, 3937, 100, 100},  {0, 7874, 100, 100},
                 {7874, 0, 100, 100},     {300, 7, 100, 4285},
                 {7, 300, 4285, 100},     {0x7FFFFFFF, 100, 100, 0x7FFFFFFF},
                 {1, 0x40000000, 0, 100}, {0xFFFFFFFF, 0x7FFFFFFF, 100, 200}};
    const Reference<Image> image = imageOf(FreeImage_Allocate(100, 100, 1));
    for (const auto& [x, y, wantedWidth, wantedHeight] : cases) {
        FreeImage_SetDotsPerMeterX(image->getFIBTMAP(), x);
        FreeImage_SetDotsPerMeterY(image->getFIBTMAP(), y);
        int width = 0;
        int height = 0;
        ASSERT_TRUE(image->GetNormalizedDimension(width, height));
        EXPECT_THAT(std::vector<int>({width, height}), ElementsAre(wantedWidth, wantedHeight))
            << x << " " << y;
    }
}

int tiffCompression(const Velmora::u8string& name) {
    std::uint16_t compression = 0;
    if (TIFF* file = TIFFOpen(name.c_str(), "r")) {
        TIFFGetField(file, TIFFTAG_COMPRESSION, &compression);
        TIFFClose(file);
    }
    return compression;
}

TEST_F(ImageTest, SaveChoosesTheCodingOfATiff) {
    const dorntest::ScratchDirectory folder;
    const struct {
        int depth, flags, compression;
    } cases[] = {{1, TIFF_CCITTFAX4, COMPRESSION_CCITTFAX4},
                 {4, 0, COMPRESSION_LZW},
                 {8, TIFF_JPEG, COMPRESSION_JPEG},
                 {24, TIFF_JPEG, COMPRESSION_JPEG},
                 {32, 0, COMPRESSION_LZW}};
    for (const auto& [depth, flags, compression] : cases) {
        const Reference<Image> image = imageOf(FreeImage_Allocate(64, 64, depth));
        calls.saveFlags.clear();
        ASSERT_TRUE(image->Save(FIF_TIFF, nameIn(folder, "page.tif")));
        EXPECT_EQ(tiffCompression(nameIn(folder, "page.tif")), compression) << depth;
        ASSERT_TRUE(image->Save(FIF_PNG, nameIn(folder, "page.png")));
        ASSERT_TRUE(image->Save(FIF_TIFF, nameIn(folder, "page.tif"), TIFF_NONE));
        EXPECT_EQ(tiffCompression(nameIn(folder, "page.tif")), COMPRESSION_NONE) << depth;
        EXPECT_THAT(calls.saveFlags, ElementsAre(flags, 0, TIFF_NONE)) << depth;
    }
    const Reference<Image> refused = imageOf(FreeImage_Allocate(4, 4, 32));
    EXPECT_FALSE(refused->Save(FIF_JPEG, nameIn(folder, "refused.jpg"))) << "no fallback";

    const Reference<Image> bilevel = imageOf(FreeImage_Allocate(64, 64, 1));
    const auto cutName = nameIn(folder, std::string("cut\0.png", 8));
    EXPECT_FALSE(bilevel->Save(FIF_PNG, cutName));
    EXPECT_NE(::access(cutName.c_str(), F_OK), 0);
}

TEST_F(ImageTest, SaveKeepsFromTheCodecsWhatTheyAreNotMadeFor) {
    const dorntest::ScratchDirectory folder;
    const auto name = nameIn(folder, "page");
    const struct {
        FREE_IMAGE_FORMAT format;
        FREE_IMAGE_TYPE type;
        int depth;
    } dangerous[] = {{FIF_WEBP, FIT_BITMAP, 1},   {FIF_WEBP, FIT_BITMAP, 8}, {FIF_WEBP, FIT_FLOAT, 32},
                     {FIF_WEBP, FIT_UINT16, 16},  {FIF_PSD, FIT_BITMAP, 1},  {FIF_PNG, FIT_BITMAP, 16},
                     {FIF_ICO, FIT_COMPLEX, 128}, {FIF_JP2, FIT_BITMAP, 16}};
    for (const auto& [format, type, depth] : dangerous) {
        const Reference<Image> image = imageOf(FreeImage_AllocateT(type, 64, 64, depth));
        EXPECT_FALSE(image->Save(format, name) || image->Save(format, name, 0)) << format << ' ' << depth;
    }
    EXPECT_THAT(calls.saveFlags, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(std::string(name)));
    EXPECT_TRUE(imageOf(FreeImage_Allocate(64, 64, 24))->Save(FIF_WEBP, name));
    EXPECT_TRUE(imageOf(FreeImage_AllocateT(FIT_UINT16, 64, 64))->Save(FIF_PNG, name));

    // A codec of the application's that tells nothing of what it writes.
    static int flagsOfTheCodec = 0;
    const FREE_IMAGE_FORMAT own = FreeImage_RegisterLocalPlugin(
        [](Plugin* plugin, int) {
            plugin->save_proc = [](FreeImageIO*, FIBITMAP*, fi_handle, int, int flags, void*) -> BOOL {
                flagsOfTheCodec = flags;
                return TRUE;
            };
        },
        "OWN", "Writes nothing", "own");
    EXPECT_TRUE(imageOf(FreeImage_Allocate(4, 4, 24))->Save(own, name, 77));
    EXPECT_EQ(flagsOfTheCodec, 77);
}

TEST_F(ImageTest, NamesReachTheirFilesByteForByte) {
    const dorntest::ScratchDirectory folder;
    const Reference<Image> image = imageOf(FreeImage_Allocate(7, 5, 24));
    // The last one is longer than FreeImage's room for a message about it.
    std::string deep;
    for (int i = 0; i < 3; ++i) {
        deep += std::string(200, static_cast<char>('a' + i)) + "/";
        std::filesystem::create_directory(std::string(nameIn(folder, deep)));
    }
    for (const std::string& name :
         {std::string("Größe 写真.png"), std::string("a \xFF\xC3( b.png"), deep + "x.png"}) {
        ASSERT_TRUE(image->Save(FIF_PNG, nameIn(folder, name))) << name;
        EXPECT_TRUE(std::filesystem::exists(std::string(nameIn(folder, name)))) << name;
        Reference<Image> loaded;
        ASSERT_TRUE(DornImage::loadImage(nameIn(folder, name), loaded)) << name;
        EXPECT_EQ(loaded->GetWidth(), 7u);
    }
    Reference<Image> loaded;
    EXPECT_FALSE(DornImage::loadImage(nameIn(folder, deep + "missing.png"), loaded));
    EXPECT_FALSE(image->Save(FIF_PNG, nameIn(folder, deep + "missing/x.png")));
}

TEST_F(ImageTest, OnlyTheAscendingRampIsGrey) {
    const FIBitmapPtr bitmap(FreeImage_Allocate(2, 2, 8));
    RGBQUAD* const palette = FreeImage_GetPalette(bitmap.get());
    palette[9].rgbReserved = 77;
    EXPECT_TRUE(DornImage::FreeImage_IsGrayScale(bitmap.get()));
    for (BYTE* const byte : {&palette[0].rgbBlue, &palette[128].rgbGreen, &palette[255].rgbRed}) {
        ++*byte;
        EXPECT_FALSE(DornImage::FreeImage_IsGrayScale(bitmap.get()));
        --*byte;
    }
    std::reverse(palette, palette + 256);
    EXPECT_FALSE(DornImage::FreeImage_IsGrayScale(bitmap.get()));
    EXPECT_FALSE(imageOf(FreeImage_Allocate(2, 2, 24))->IsGrayScale());
    EXPECT_FALSE(DornImage::FreeImage_IsGrayScale(nullptr));
}

} // namespace
