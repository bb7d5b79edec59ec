#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"
#include "tests/ScratchDirectory.h"

#include <gmock/gmock.h>

#include <map>
#include <utility>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
// The codec library loses its row buffer when it saves a PSD.
using CodecMayLeak = __lsan::ScopedDisabler;
#else
struct CodecMayLeak {};
#endif

namespace {

using DornImage::FIBitmapPtr;
using DornImage::FreeImage_LoadFile;
using DornImage::FreeImageUnicodeFileIo;

/// A file of the test's own, with a letter beyond ASCII and a blank in its name.
struct UnicodeFileIo : testing::Test {
    dorntest::ScratchDirectory directory;
    Velmora::u8string narrowName = (directory / "\u00fcber blatt").string();
    Velmora::pstring wideName = (directory / "").wstring() + L"\u00fcber blatt";
};

constexpr int floatingRgb = 96;

/// A piece of a photo at that depth; the colour that comes first matters with one bit only.
FIBITMAP* makePicture(int bits, bool whiteFirst) {
    const FIBitmapPtr photo(FreeImage_Load(FIF_JPEG, DORN_TEST_DATA "/exif/orientation_1.jpg"));
    const FIBitmapPtr part(FreeImage_Copy(photo.get(), 200, 200, 264, 264));
    FIBITMAP* picture = nullptr;
    switch (bits) {
    case 1:
        picture = FreeImage_Threshold(part.get(), 128);
        if (whiteFirst) {
            std::swap(FreeImage_GetPalette(picture)[0], FreeImage_GetPalette(picture)[1]);
        }
        return picture;
    case 4:
        return FreeImage_ConvertTo4Bits(part.get());
    case 8:
        return FreeImage_ConvertTo8Bits(part.get());
    case 16:
        return FreeImage_ConvertTo16Bits555(part.get());
    case 24:
        return FreeImage_ConvertTo24Bits(part.get());
    case 32:
        picture = FreeImage_ConvertTo32Bits(part.get());
        FreeImage_SetChannel(picture, FIBitmapPtr(FreeImage_ConvertTo8Bits(part.get())).get(), FICC_ALPHA);
        return picture;
    default:
        return FreeImage_ConvertToRGBF(part.get());
    }
}

/// Whether the format both reads and writes pictures of that depth.
bool keeps(FREE_IMAGE_FORMAT format, int bits) {
    // The codec writes no JPEG XR and no JPEG of 32 bits but CMYK, can't read its bilevel and grey PSD back,
    // and reads a WBMP with black first.
    if (format == FIF_JXR || (format == FIF_JPEG && bits == 32) || (format == FIF_PSD && bits <= 8)) {
        return false;
    }
    return FreeImage_FIFSupportsReading(format) &&
           (bits == floatingRgb ? FreeImage_FIFSupportsExportType(format, FIT_RGBF)
                                : FreeImage_FIFSupportsExportBPP(format, bits));
}

TEST_F(UnicodeFileIo, KeepsPicturesInEveryFormat) {
    // Mean distance in levels; other formats keep their pictures exactly.
    const std::map<int, double> losses = {{FIF_JPEG, 8},  {FIF_JNG, 8},  {FIF_WEBP, 8}, {FIF_HDR, 1},
                                          {FIF_EXR, 0.1}, {FIF_J2K, 25}, {FIF_JP2, 25}};
    int formats = 0;
    for (int number = 0; number < FreeImage_GetFIFCount(); ++number) {
        const auto format = static_cast<FREE_IMAGE_FORMAT>(number);
        bool tried = false;
        for (const int bits : {1, 4, 8, 16, 24, 32, floatingRgb}) {
            if (!keeps(format, bits)) {
                continue;
            }
            SCOPED_TRACE(testing::Message()
                         << FreeImage_GetFormatFromFIF(format) << " with " << bits << " bits");
            tried = true;
            // WBMP has no palette and means black first, the portable bitmaps white first.
            const FIBitmapPtr picture(makePicture(bits, format != FIF_WBMP));
            {
                FreeImageUnicodeFileIo file;
                ASSERT_TRUE(file.init(wideName, true));
                [[maybe_unused]] const CodecMayLeak tolerated{};
                ASSERT_TRUE(FreeImage_SaveToHandle(format, picture.get(), file.getIo(), file.getHandle()));
            }
            FreeImageUnicodeFileIo file;
            ASSERT_TRUE(file.init(wideName, false));
            const FIBitmapPtr loaded(FreeImage_LoadFromHandle(format, file.getIo(), file.getHandle()));
            ASSERT_NE(loaded.get(), nullptr);
            const double allowed = losses.count(number) != 0 ? losses.at(number) : 0;
            EXPECT_LE(dorntest::meanDistance(picture.get(), loaded.get()), allowed);

            VelmoraException record;
            const FIBitmapPtr named(FreeImage_LoadFile(format, narrowName, record));
            EXPECT_EQ(dorntest::meanDistance(named.get(), loaded.get()), 0);
            IStream* const stream = dornplatform::createFileStream(narrowName);
            const FIBitmapPtr streamed(FreeImage_LoadFile(format, stream, record));
            stream->Release();
            EXPECT_EQ(dorntest::meanDistance(streamed.get(), loaded.get()), 0);
            EXPECT_FALSE(record.hasError()) << record.getMessage();
        }
        formats += tried;
    }
    EXPECT_EQ(formats, 23);
}

TEST_F(UnicodeFileIo, OpensForReadingOrEmptiesForWriting) {
    FreeImageUnicodeFileIo missing;
    EXPECT_FALSE(missing.init(wideName, false));
    EXPECT_EQ(missing.getHandle(), nullptr);
    EXPECT_EQ(missing.getFileName(), L"");

    dorntest::writeFile(narrowName.c_str(), "four");
    FreeImageUnicodeFileIo reading;
    ASSERT_TRUE(reading.init(wideName, false));
    EXPECT_EQ(reading.getFileName(), wideName);
    EXPECT_EQ(reading.getIo()->write_proc, nullptr);
    EXPECT_EQ(reading.getIo()->seek_proc(reading.getHandle(), -1, SEEK_END), 0);
    EXPECT_EQ(reading.getIo()->tell_proc(reading.getHandle()), 3);

    FreeImageUnicodeFileIo writing;
    ASSERT_TRUE(writing.init(wideName, true));
    EXPECT_EQ(std::filesystem::file_size(narrowName.c_str()), 0U);
    char text[] = "abcdef", back[6] = {};
    EXPECT_EQ(writing.getIo()->write_proc(text, 2, 3, writing.getHandle()), 3U);
    EXPECT_EQ(writing.getIo()->seek_proc(writing.getHandle(), 1, SEEK_SET), 0);
    EXPECT_EQ(writing.getIo()->read_proc(back, 2, 3, writing.getHandle()), 2U);
    EXPECT_STREQ(back, "bcdef");
}

} // namespace
