#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"
#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace DornImage;
using dorntest::meanDistance;
using dorntest::readFile;
using dorntest::writeFile;

struct Scratch : dorntest::ScratchDirectory {
    std::string operator/(const std::string& name) const { return (path() / name).string(); }
};

const std::string data = DORN_TEST_DATA "/";

FIBITMAP* decoded(const std::string& file) {
    return FreeImage_Load(FreeImage_GetFileType(file.c_str(), 0), file.c_str(), 0);
}

std::vector<FIBITMAP*> pagesOf(FREE_IMAGE_FORMAT format, const std::string& file) {
    std::vector<FIBITMAP*> result;
    FIMULTIBITMAP* const pages = FreeImage_OpenMultiBitmap(format, file.c_str(), FALSE, TRUE, TRUE, 0);
    for (int i = 0; pages && i < FreeImage_GetPageCount(pages); ++i) {
        FIBITMAP* const locked = FreeImage_LockPage(pages, i);
        result.push_back(FreeImage_Clone(locked));
        FreeImage_UnlockPage(pages, locked, FALSE);
    }
    FreeImage_CloseMultiBitmap(pages, 0);
    return result;
}

// A picture of its own kind, of uneven pixels and resolutions.
FIBITMAP* picture(int width, int height, int depth, unsigned seed = 1) {
    FIBITMAP* const bitmap = FreeImage_Allocate(width, height, depth);
    std::mt19937 random(seed);
    for (int y = 0; y < height; ++y) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, y);
        std::generate(line, line + FreeImage_GetLine(bitmap), [&] { return static_cast<BYTE>(random()); });
    }
    if (depth == 1) {
        FreeImage_GetPalette(bitmap)[1] = {255, 255, 255, 0};
    }
    FreeImage_SetDotsPerMeterX(bitmap, 3937); // 100 and 200 dots per inch
    FreeImage_SetDotsPerMeterY(bitmap, 7874);
    return bitmap;
}

void expectTurned(FIBITMAP* got, FIBITMAP* source, double angle) {
    const FIBitmapPtr expected(FreeImage_Rotate(source, angle, nullptr));
    EXPECT_EQ(FreeImage_GetBPP(got), FreeImage_GetBPP(source));
    EXPECT_EQ(meanDistance(got, expected.get()), 0);
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(got), FreeImage_GetDotsPerMeterY(source));
    EXPECT_EQ(FreeImage_GetDotsPerMeterY(got), FreeImage_GetDotsPerMeterX(source));
}

// What stands before the frame and the tables: application data and comments.
std::vector<std::string> segmentsOf(const std::string& jpeg) {
    std::vector<std::string> segments;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(jpeg[i]); };
    for (std::size_t i = 2; i + 4 < jpeg.size() && byte(i + 1) != 0xDA;) {
        const std::size_t length = 2U + byte(i + 2) * 256U + byte(i + 3);
        if ((byte(i + 1) & 0xF0) == 0xE0 || byte(i + 1) == 0xFE) {
            segments.push_back(jpeg.substr(i, length));
        }
        i += length;
    }
    return segments;
}

std::vector<std::size_t> sizesOf(const std::vector<std::string>& texts) {
    std::vector<std::size_t> sizes;
    for (const std::string& text : texts) {
        sizes.push_back(text.size());
    }
    return sizes;
}

// A JPEG file with an EXIF block of orientation 6 and resolutions of 100 and 200.
std::string jpegWithExif(const std::string& jpeg, bool big) {
    const auto number = [big](unsigned value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i) {
            text += static_cast<char>(value >> 8 * (big ? bytes - 1 - i : i) & 0xFF);
        }
        return text;
    };
    const auto entry = [&](unsigned tag, unsigned type, const std::string& value) {
        return number(tag, 2) + number(type, 2) + number(1, 4) + value;
    };
    const std::string block = (big ? "MM" : "II") + number(42, 2) + number(8, 4) + number(3, 2) +
                              entry(0x0112, 3, number(6, 2) + number(0, 2)) +
                              entry(0x011A, 5, number(50, 4)) + entry(0x011B, 5, number(58, 4)) +
                              number(0, 4) + number(100, 4) + number(1, 4) + number(200, 4) + number(1, 4);
    const auto length = static_cast<char>(block.size() + 8);
    return jpeg.substr(0, 2) + std::string("\xFF\xE1\0", 3) + length + std::string("Exif\0\0", 6) + block +
           jpeg.substr(2);
}

double tagOf(FIBITMAP* bitmap, const char* key) {
    FITAG* tag = nullptr;
    if (!FreeImage_GetMetadata(FIMD_EXIF_MAIN, bitmap, key, &tag)) {
        return -1;
    }
    const void* const value = FreeImage_GetTagValue(tag);
    return FreeImage_GetTagType(tag) == FIDT_SHORT
               ? *static_cast<const WORD*>(value)
               : static_cast<const DWORD*>(value)[0] * 1.0 / static_cast<const DWORD*>(value)[1];
}

} // namespace

TEST(RotateImage, TurnsJpegFilesWithoutLoss) {
    const Scratch scratch;
    for (const char* input : {"exif/orientation_6.jpg", "depths/progressive.jpg"}) {
        const FIBitmapPtr source(decoded(data + input));
        const auto segments = segmentsOf(readFile(data + input));
        for (const bool rotate90 : {true, false}) {
            SCOPED_TRACE(testing::Message() << input << ' ' << rotate90);
            std::string before = data + input;
            for (int turn = 1; turn <= 4; ++turn) {
                const std::string after = scratch / ("turned" + std::to_string(turn) + ".jpg");
                ASSERT_TRUE(RotateImage(FIF_JPEG, before, after, 99, rotate90));
                // All are there; the size in the EXIF block is that of the turned picture.
                const auto kept = segmentsOf(readFile(after));
                EXPECT_TRUE(turn % 2 == 0 ? kept == segments : sizesOf(kept) == sizesOf(segments));
                const FIBitmapPtr got(decoded(after));
                // Clockwise where FreeImage counts counter-clockwise. Colours are interpolated after the
                // turn.
                const FIBitmapPtr expected(
                    FreeImage_Rotate(source.get(), rotate90 ? 360 - turn * 90 : turn * 90, nullptr));
                EXPECT_LT(meanDistance(got.get(), expected.get()), turn == 4 ? 1e-9 : 0.6);
                before = after;
            }
        }
    }
}

TEST(RotateImage, RefusesJpegFilesOffTheBlockGrid) {
    const Scratch scratch;
    const std::string file = scratch / "in.jpg";
    const std::string turned = scratch / "out.jpg";
    for (const int depth : {8, 24}) {
        const int grid = depth == 8 ? 8 : 16;
        for (const auto& [width, height] :
             std::vector<std::pair<int, int>>{{0, 0}, {-1, 0}, {0, -1}, {-1, -7}}) {
            SCOPED_TRACE(testing::Message() << depth << ' ' << width << ' ' << height);
            const FIBitmapPtr bitmap(picture(4 * grid + width, 3 * grid + height, depth));
            ASSERT_TRUE(FreeImage_Save(FIF_JPEG, bitmap.get(), file.c_str(), JPEG_SUBSAMPLING_420));
            // The incomplete blocks at the right come to the lower edge by a clockwise turn, and may stay so.
            EXPECT_EQ(RotateImage(FIF_JPEG, file, turned, 0, true), height == 0);
            EXPECT_EQ(std::filesystem::remove(turned), height == 0);
            EXPECT_EQ(RotateImage(FIF_JPEG, file, turned, 0, false), width == 0);
            EXPECT_EQ(std::filesystem::remove(turned), width == 0);
        }
    }
}

TEST(RotateImage, ExchangesTheResolutionsOfJpegFiles) {
    const Scratch scratch;
    const std::string file = scratch / "in.jpg";
    const FIBitmapPtr bitmap(picture(32, 16, 24));
    ASSERT_TRUE(FreeImage_Save(FIF_JPEG, bitmap.get(), file.c_str(), 0));
    ASSERT_TRUE(RotateImage(FIF_JPEG, file, file, 0, true)); // the source may be the target
    const FIBitmapPtr turned(decoded(file));
    EXPECT_EQ(FreeImage_GetWidth(turned.get()), 16U);
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(turned.get()), 7874U);
    EXPECT_EQ(FreeImage_GetDotsPerMeterY(turned.get()), 3937U);

    const std::string plain = readFile(file);
    for (const bool big : {false, true}) {
        writeFile(file, jpegWithExif(plain, big));
        const std::string target = scratch / "out.jpg";
        ASSERT_TRUE(RotateImage(FIF_JPEG, file, target, 0, false));
        const FIBitmapPtr exif(decoded(target));
        EXPECT_EQ(tagOf(exif.get(), "Orientation"), 6);
        EXPECT_EQ(tagOf(exif.get(), "XResolution"), 200);
        EXPECT_EQ(tagOf(exif.get(), "YResolution"), 100);
        EXPECT_EQ(FreeImage_GetDotsPerMeterX(exif.get()), 3937U);
        ASSERT_TRUE(transformJpegFile(file, target, JpegOperation::flipVertical, true));
        const FIBitmapPtr upright(decoded(target));
        EXPECT_EQ(tagOf(upright.get(), "Orientation"), 1);
        EXPECT_EQ(tagOf(upright.get(), "XResolution"), 100);
    }
}

// The block is anybody's: whatever stands in it, only the memory of the file is touched.
TEST(RotateImage, BearsDamagedExifBlocks) {
    const Scratch scratch;
    const std::string file = scratch / "in.jpg";
    const FIBitmapPtr bitmap(picture(32, 16, 24));
    ASSERT_TRUE(FreeImage_Save(FIF_JPEG, bitmap.get(), file.c_str(), 0));
    const std::string jpeg = jpegWithExif(readFile(file), true);
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        std::string damaged = jpeg;
        const std::size_t length = 12 + random() % 66; // of the segment, whose last byte is the 79th
        for (int i = 0; i < 3; ++i) {
            damaged[12 + random() % 66] = static_cast<char>(random() % 3 == 0 ? 0xFF : random() % 80);
        }
        if (round % 2 == 0) {
            damaged[5] = static_cast<char>(length);
            damaged.erase(4 + length, 78 - 4 - length + 2);
        }
        writeFile(file, damaged);
        ASSERT_TRUE(transformJpegFile(file, scratch / "out.jpg", JpegOperation::transpose, true)) << round;
    }
    EXPECT_TRUE(RotateImage(FIF_JPEG, data + "damaged/cut_in_scan.jpg", scratch / "cut.jpg", 0, true));
    const FIBitmapPtr cut(decoded(scratch / "cut.jpg"));
    EXPECT_EQ(FreeImage_GetWidth(cut.get()), 480U);
    for (const char* bad : {"damaged/empty.jpg", "damaged/text.png", "no such file"}) {
        EXPECT_FALSE(RotateImage(FIF_JPEG, data + bad, scratch / "none.jpg", 0, true)) << bad;
        EXPECT_FALSE(std::filesystem::exists(scratch / "none.jpg"));
    }
    EXPECT_FALSE(RotateImage(FIF_JPEG, data + "exif/orientation_1.jpg", scratch / "no/folder.jpg", 0, true));
}

TEST(RotateImage, TurnsOnePageOfSeveralInItsPlace) {
    const Scratch scratch;
    const struct {
        FREE_IMAGE_FORMAT format;
        std::vector<int> depths; // of the pages
    } cases[] = {{FIF_TIFF, {1, 24}},
                 {FIF_TIFF, {8, 1, 24, 32, 4, 8, 1, 24, 8, 8}},
                 {FIF_TIFF, {24}},
                 {FIF_ICO, {24, 8, 32}},
                 {FIF_GIF, {8, 8}}};
    for (const auto& c : cases) {
        const std::string file = scratch / "in";
        std::filesystem::remove(file);
        FIMULTIBITMAP* const made = FreeImage_OpenMultiBitmap(c.format, file.c_str(), TRUE, FALSE, TRUE, 0);
        for (std::size_t i = 0; i < c.depths.size(); ++i) {
            const auto number = static_cast<int>(i);
            const int height = c.format == FIF_ICO ? 16 + 16 * number : 24; // icons are squares
            const int width = c.format == FIF_ICO ? height : 16 + number;
            const FIBitmapPtr page(picture(width, height, c.depths[i], static_cast<unsigned>(i)));
            FreeImage_AppendPage(made, page.get());
        }
        ASSERT_TRUE(FreeImage_CloseMultiBitmap(made, 0));
        const std::vector<FIBITMAP*> sources = pagesOf(c.format, file);
        const int count = static_cast<int>(c.depths.size());
        ASSERT_EQ(sources.size(), c.depths.size());
        const std::string before = readFile(file);
        for (int page = -2; page <= count; ++page) {
            SCOPED_TRACE(testing::Message() << c.format << " page " << page << " of " << count);
            const bool rotate90 = page % 2 == 0;
            const std::string target = scratch / "out";
            // FreeImage doesn't turn 4 bits.
            const bool turns = page >= 0 && page < count && c.depths[static_cast<std::size_t>(page)] != 4;
            ASSERT_EQ(RotateImage(c.format, file, target, page, rotate90), turns);
            EXPECT_EQ(std::filesystem::exists(target), turns);
            const std::vector<FIBITMAP*> turned = turns ? pagesOf(c.format, target) : sources;
            std::filesystem::remove(target);
            ASSERT_EQ(turned.size(), sources.size());
            for (int i = 0; turns && i < count; ++i) {
                const FIBitmapPtr got(turned[static_cast<std::size_t>(i)]);
                FIBITMAP* const source = sources[static_cast<std::size_t>(i)];
                if (i == page) {
                    expectTurned(got.get(), source, rotate90 ? 90 : 270);
                } else {
                    EXPECT_EQ(meanDistance(got.get(), source), 0);
                    EXPECT_EQ(FreeImage_GetDotsPerMeterX(got.get()), FreeImage_GetDotsPerMeterX(source));
                }
            }
        }
        EXPECT_EQ(readFile(file), before);
        EXPECT_FALSE(RotateImage(c.format, file, scratch / "no/folder", 0, true));
        EXPECT_FALSE(RotateImage(c.format, scratch / "missing", scratch / "out", 0, true));
        for (FIBITMAP* source : sources) {
            FreeImage_Unload(source);
        }
    }
}

TEST(RotateImage, DecodesSinglePictures) {
    const Scratch scratch;
    for (const FREE_IMAGE_FORMAT format : {FIF_PNG, FIF_BMP}) {
        for (const int depth : {1, 8, 24}) {
            const FIBitmapPtr source(picture(19, 7, depth));
            ASSERT_TRUE(FreeImage_Save(format, source.get(), (scratch / "in").c_str(), 0));
            for (const bool rotate90 : {true, false}) {
                ASSERT_TRUE(RotateImage(format, scratch / "in", scratch / "out", 5, rotate90));
                const FIBitmapPtr got(decoded(scratch / "out"));
                expectTurned(got.get(), source.get(), rotate90 ? 90 : 270);
            }
        }
    }
    EXPECT_FALSE(RotateImage(FIF_PNG, data + "damaged/text.png", scratch / "none", 0, true));
    EXPECT_FALSE(std::filesystem::exists(scratch / "none"));
    EXPECT_FALSE(RotateImage(FIF_BMP, scratch / "in", scratch / "no/folder", 0, true));
}
