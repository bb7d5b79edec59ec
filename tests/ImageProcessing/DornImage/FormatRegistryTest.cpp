#include "ImageProcessing/DornImage/DornImage.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using Velmora::astring;
using Velmora::u8string;

struct Offer {
    FREE_IMAGE_FORMAT format = FIF_PFM;
    std::list<FREE_IMAGE_FORMAT> formats;
    astring extension = L"as it was";
    astring filter;
};

Offer offerFor(int bitsPerPixel, const astring& filter = L"") {
    const DornImage::FIBitmapPtr bitmap(FreeImage_Allocate(4, 4, bitsPerPixel));
    Offer offer;
    offer.filter = filter;
    offer.format =
        DornImage::FreeImage_GetExtensionsForSave(bitmap.get(), offer.formats, offer.extension, offer.filter);
    return offer;
}

TEST(FormatRegistry, FindsFormatsByMimeTypeAndAlias) {
    const std::pair<const char*, FREE_IMAGE_FORMAT> types[] = {
        {"image/jpeg", FIF_JPEG},   {"IMAGE/PJPEG", FIF_JPEG},    {"image/x-ms-bmp", FIF_BMP},
        {"Image/X-Bmp", FIF_BMP},   {"image/g3fax", FIF_FAXG3},   {"image/png", FIF_PNG},
        {"image/TIFF", FIF_TIFF},   {"image/jpg", FIF_UNKNOWN},   {"image/heic", FIF_UNKNOWN},
        {"", FIF_UNKNOWN},          {"image/jpeg ", FIF_UNKNOWN}, {"image/pjpeg;q=1", FIF_UNKNOWN},
        {"image/\xff", FIF_UNKNOWN}};
    for (const auto& [type, format] : types) {
        EXPECT_EQ(DornImage::FreeImage_GetFIFFromMime(type), format) << type;
    }
}

TEST(FormatRegistry, FindsFormatsByFileNameAsFreeImageDoes) {
    std::vector<std::string> names = {"",       ".",         "page",      "a.b.TIFF", "tif", "a.jpg/page",
                                      "page.",  "page.jpg ", "page.tif,", "page.,",   "a,b", "page.tif,tiff",
                                      "x.\xff", "JPEG",      "Page.CR2"};
    for (int format = 0; format < FreeImage_GetFIFCount(); ++format) {
        names.emplace_back(FreeImage_GetFormatFromFIF(static_cast<FREE_IMAGE_FORMAT>(format)));
        std::list<astring> extensions;
        DornImage::FreeImage_ParseExtensions(static_cast<FREE_IMAGE_FORMAT>(format), extensions);
        for (const astring& extension : extensions) {
            names.push_back("page." + std::string(extension.begin(), extension.end()));
        }
    }
    for (const std::string& name : names) {
        EXPECT_EQ(DornImage::FreeImage_GetFIFFromFilename(name), ::FreeImage_GetFIFFromFilename(name.c_str()))
            << name;
    }
}

TEST(FormatRegistry, AddsMimeTypesOfOfferedFormats) {
    std::set<std::string> types = {"text/plain"};
    EXPECT_TRUE(DornImage::FreeImage_GetSupportedMimeTypes(types));
    EXPECT_THAT(types, testing::IsSupersetOf({"text/plain", "image/bmp", "image/jpeg", "image/jp2"}));
    for (const char* left : {"image/vnd.microsoft.icon", "image/webp", "image/x-dcraw"}) {
        EXPECT_EQ(types.count(left), 0U) << left;
    }
}

TEST(FormatRegistry, OrdersFormatsForSavingByDepth) {
    struct Row {
        int bitsPerPixel;
        const wchar_t* extension;
        std::vector<int> formats;
    };
    const Row rows[] = {
        {1, L"tif", {18, 13, 0, 25, 7, 8, 11, 12, 14, 15, 19, 20}},
        {8, L"jpg", {2, 13, 18, 0, 25, 3, 7, 8, 11, 12, 14, 15, 17, 20, 23, 30, 31}},
        {16, L"tif", {18, 0, 17}},
        {24, L"jpg", {2, 13, 18, 0, 3, 7, 8, 11, 12, 14, 15, 17, 20, 23, 30, 31}},
        {32, L"tif", {18, 13, 2, 0, 3, 17, 20, 30, 31}},
    };
    for (const Row& row : rows) {
        const Offer offer = offerFor(row.bitsPerPixel);
        EXPECT_EQ(offer.format, row.formats.front()) << row.bitsPerPixel;
        EXPECT_THAT(offer.formats, ElementsAreArray(row.formats)) << row.bitsPerPixel;
        EXPECT_EQ(offer.extension, row.extension) << row.bitsPerPixel;
    }
}

TEST(FormatRegistry, WritesAndContinuesTheFilterText) {
    const astring filter = L"Tagged Image File Format (tif,tiff)|*.tif; *.tiff|"
                           L"Windows or OS/2 Bitmap (bmp)|*.bmp|"
                           L"Truevision Targa (tga,targa)|*.tga; *.targa||";
    EXPECT_EQ(offerFor(16).filter, filter);
    EXPECT_EQ(offerFor(16, L"All|*.*").filter, L"All|*.*|" + filter);
}

TEST(FormatRegistry, OffersNothingForOtherDepthsAndNull) {
    Offer none;
    none.format =
        DornImage::FreeImage_GetExtensionsForSave(nullptr, none.formats, none.extension, none.filter);
    for (const Offer& offer : {offerFor(4), none}) {
        EXPECT_EQ(offer.format, FIF_UNKNOWN);
        EXPECT_TRUE(offer.formats.empty());
        EXPECT_EQ(offer.extension, L"as it was");
        EXPECT_EQ(offer.filter, L"");
    }
}

TEST(FormatRegistry, SplitsExtensionLists) {
    std::list<astring> extensions = {L"held"};
    EXPECT_TRUE(DornImage::FreeImage_ParseExtensions(FIF_JPEG, extensions));
    EXPECT_THAT(extensions, ElementsAre(L"held", L"jpg", L"jif", L"jpeg", L"jpe"));
    EXPECT_FALSE(DornImage::FreeImage_ParseExtensions(FIF_UNKNOWN, extensions));
    EXPECT_EQ(extensions.size(), 5U);

    u8string extension = "held";
    EXPECT_FALSE(DornImage::FreeImage_GetDefaultExt(static_cast<FREE_IMAGE_FORMAT>(37), extension));
    EXPECT_EQ(extension, "held");
    EXPECT_TRUE(DornImage::FreeImage_GetDefaultExt(FIF_JPEG, extension));
    EXPECT_EQ(extension, ".jpg");
}

TEST(FormatRegistry, KnowsMultiPageFormats) {
    for (int number = -1; number < 64; ++number) {
        const bool several = number == FIF_ICO || number == FIF_TIFF || number == FIF_GIF;
        EXPECT_EQ(DornImage::FreeImage_IsMultiPageFormat(static_cast<FREE_IMAGE_FORMAT>(number)), several)
            << number;
    }
}

TEST(FormatRegistry, LoadsByMimeType) {
    VelmoraException record;
    DornImage::FIBitmapPtr bitmap;
    EXPECT_TRUE(bitmap.load(DORN_TEST_DATA "/depths/rgb_small.png", "IMAGE/PNG", record));
    EXPECT_EQ(FreeImage_GetWidth(bitmap.get()), 82U);
    EXPECT_FALSE(record.hasError());

    const DornImage::FIBitmapPtr held(bitmap.get());
    EXPECT_FALSE(bitmap.load(DORN_TEST_DATA "/depths/rgb_small.png", "image/JPG", record));
    EXPECT_EQ(bitmap.get(), held.get());
    EXPECT_EQ(record.getMessage(), "Unknown mime type:image/JPG\n");
    EXPECT_EQ(record.getErrors().back().fileName, "ImageProcessing/DornImage/FreeImageUtils");

    record.clear();
    EXPECT_FALSE(bitmap.load(DORN_TEST_DATA "/depths/rgb_small.png", "image/pjpeg", record));
    EXPECT_EQ(bitmap.get(), nullptr);
    ASSERT_EQ(record.getErrors().size(), 2U);
    EXPECT_THAT(record.getErrors().front().message, testing::StartsWith("JPEG: "));
    EXPECT_EQ(record.getMessage(), "Fail to load image.");
}

} // namespace
