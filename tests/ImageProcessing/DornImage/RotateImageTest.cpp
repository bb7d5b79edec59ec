#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"
#include "tests/ScratchDirectory.h"
#include "tests/tools/Decoded.h"

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

// A picture of random pixels with 100 dots per inch across and 200 down.
FIBITMAP* picture(int width, int height, int depth) {
    FIBITMAP* const bitmap = FreeImage_Allocate(width, height, depth);
    std::mt19937 random(static_cast<unsigned>(width));
    for (int y = 0; y < height; ++y) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, y);
        std::generate(line, line + FreeImage_GetLine(bitmap), [&] { return static_cast<BYTE>(random()); });
    }
    FreeImage_SetDotsPerMeterX(bitmap, 3937);
    FreeImage_SetDotsPerMeterY(bitmap, 7874);
    return bitmap;
}

void expectTurned(FIBITMAP* got, FIBITMAP* source, double angle) {
    const FIBitmapPtr expected(FreeImage_Rotate(source, angle, nullptr));
    EXPECT_TRUE(samePixels(got, expected.get()));
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(got), FreeImage_GetDotsPerMeterY(source));
    EXPECT_EQ(FreeImage_GetDotsPerMeterY(got), FreeImage_GetDotsPerMeterX(source));
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

std::string tagOf(const Decoded& picture, const char* key) {
    FITAG* tag = nullptr;
    FreeImage_GetMetadata(FIMD_EXIF_MAIN, picture.get(), key, &tag);
    return tag ? FreeImage_TagToString(FIMD_EXIF_MAIN, tag) : "none";
}

} // namespace

TEST(RotateImage, TurnsJpegFilesWithoutLoss) {
    const Scratch scratch;
    for (const char* input : {"exif/orientation_6.jpg", "depths/progressive.jpg"}) {
        const Decoded source(data + input);
        const std::string original = readFile(data + input);
        const auto headOf = [](const std::string& jpeg) { return jpeg.substr(0, jpeg.find("\xFF\xDB")); };
        for (const bool rotate90 : {true, false}) {
            SCOPED_TRACE(testing::Message() << input << ' ' << rotate90);
            std::string before = data + input;
            for (int turn = 1; turn <= 4; ++turn) {
                const std::string after = scratch / ("turned" + std::to_string(turn) + ".jpg");
                ASSERT_TRUE(RotateImage(FIF_JPEG, before, after, 99, rotate90));
                // The size in the EXIF block is that of the turned picture.
                const std::string head = headOf(readFile(after));
                EXPECT_EQ(head.size(), headOf(original).size());
                EXPECT_TRUE(turn % 2 == 1 || head == headOf(original));
                // Clockwise where FreeImage counts counter-clockwise. Colours are interpolated after the
                // turn.
                const FIBitmapPtr expected(
                    FreeImage_Rotate(source.get(), rotate90 ? 360 - turn * 90 : turn * 90, nullptr));
                EXPECT_LT(meanDistance(Decoded(after).get(), expected.get()), turn == 4 ? 1e-9 : 0.6);
                before = after;
            }
        }
    }
    EXPECT_TRUE(RotateImage(FIF_JPEG, data + "damaged/cut_in_scan.jpg", scratch / "cut.jpg", 0, true));
    for (const char* bad : {"damaged/empty.jpg", "damaged/text.png", "no such file"}) {
        EXPECT_FALSE(RotateImage(FIF_JPEG, data + bad, scratch / "none.jpg", 0, true)) << bad;
        EXPECT_FALSE(std::filesystem::exists(scratch / "none.jpg"));
    }
    EXPECT_FALSE(RotateImage(FIF_JPEG, scratch / "cut.jpg", scratch / "no/folder.jpg", 0, true));
}

TEST(RotateImage, RefusesJpegFilesOffTheBlockGrid) {
    const Scratch scratch;
    const std::string file = scratch / "in.jpg";
    const std::string turned = scratch / "out.jpg";
    for (const int depth : {8, 24}) {
        const int grid = depth == 8 ? 8 : 16;
        for (const auto& [width, height] :
             {std::pair(0, 0), std::pair(-1, 0), std::pair(0, -1), std::pair(0, -7), std::pair(-1, -7)}) {
            SCOPED_TRACE(testing::Message() << depth << ' ' << width << ' ' << height);
            const FIBitmapPtr bitmap(picture(4 * grid + width, 3 * grid + height, depth));
            ASSERT_TRUE(FreeImage_Save(FIF_JPEG, bitmap.get(), file.c_str(), JPEG_SUBSAMPLING_420));
            if (height == -7) { // with a stray byte, of which the codec warns
                std::string content = dorntest::readFile(file.c_str());
                content.insert(content.find("\xFF\xDB"), 1, '\0');
                dorntest::writeFile(file.c_str(), content);
            }
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
    const std::string target = scratch / "out.jpg";
    const FIBitmapPtr bitmap(picture(32, 16, 24));
    ASSERT_TRUE(FreeImage_Save(FIF_JPEG, bitmap.get(), file.c_str(), 0));
    ASSERT_TRUE(RotateImage(FIF_JPEG, file, file, 0, true)); // the source may be the target
    const std::string plain = readFile(file);
    EXPECT_EQ(FreeImage_GetDotsPerMeterX(Decoded(file).get()), 7874U);
    for (const bool big : {false, true}) {
        const std::string whole = jpegWithExif(plain, big);
        writeFile(file, whole);
        ASSERT_TRUE(RotateImage(FIF_JPEG, file, target, 0, false));
        const Decoded turned(target);
        EXPECT_EQ(FreeImage_GetDotsPerMeterX(turned.get()), 3937U);
        EXPECT_EQ(tagOf(turned, "Orientation"), "right side, top");
        EXPECT_EQ(tagOf(turned, "XResolution") + " " + tagOf(turned, "YResolution"), "200 100");
        ASSERT_EQ(transformJpegFile(file, target, JpegOperation::flipVertical, true), JpegTransformed::done);
        const Decoded upright(target);
        EXPECT_EQ(tagOf(upright, "Orientation"), "top, left side");
        EXPECT_EQ(tagOf(upright, "XResolution"), "100");

        // The block is anybody's: whatever stands in it, only the memory of the file is touched.
        std::mt19937 random(5);
        for (int round = 0; round < 150; ++round) {
            std::string damaged = whole;
            for (int i = 0; i < 3; ++i) {
                damaged[12 + random() % 66] = static_cast<char>(random() % 3 == 0 ? 0xFF : random() % 80);
            }
            if (round % 2 == 0) {
                const std::size_t length = 8 + random() % 66; // the segment ends before 78
                damaged.erase(4 + length, 74 - length);
                damaged[5] = static_cast<char>(length);
            }
            writeFile(file, damaged);
            ASSERT_EQ(transformJpegFile(file, target, JpegOperation::transpose, true), JpegTransformed::done)
                << round;
        }
    }
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
    const std::string file = scratch / "in";
    const std::string target = scratch / "out";
    for (const auto& c : cases) {
        std::filesystem::remove(file);
        FIMULTIBITMAP* const made = FreeImage_OpenMultiBitmap(c.format, file.c_str(), TRUE, FALSE, TRUE, 0);
        const int count = static_cast<int>(c.depths.size());
        for (int i = 0; i < count; ++i) {
            const int height = c.format == FIF_ICO ? 16 + 16 * i : 24; // icons are squares
            const FIBitmapPtr page(picture(c.format == FIF_ICO ? height : 16 + i, height,
                                           c.depths[static_cast<std::size_t>(i)]));
            FreeImage_AppendPage(made, page.get());
        }
        ASSERT_TRUE(FreeImage_CloseMultiBitmap(made, 0));
        const std::string before = readFile(file);
        for (int page = -2; page <= count; ++page) {
            SCOPED_TRACE(testing::Message() << c.format << " page " << page << " of " << count);
            const bool rotate90 = page % 2 == 0;
            // FreeImage doesn't turn 4 bits.
            const bool turns = page >= 0 && page < count && c.depths[static_cast<std::size_t>(page)] != 4;
            ASSERT_EQ(RotateImage(c.format, file, target, page, rotate90), turns);
            for (int i = 0; turns && i < count; ++i) {
                const Decoded source(file, i);
                const Decoded got(target, i);
                if (i == page) {
                    expectTurned(got.get(), source.get(), rotate90 ? 90 : 270);
                } else {
                    EXPECT_TRUE(samePixels(got.get(), source.get()));
                }
            }
            EXPECT_EQ(std::filesystem::remove(target), turns);
        }
        EXPECT_EQ(readFile(file), before);
        EXPECT_FALSE(RotateImage(c.format, file, scratch / "no/folder", 0, true));
        EXPECT_FALSE(RotateImage(c.format, scratch / "missing", target, 0, true));
    }
}

TEST(RotateImage, DecodesSinglePictures) {
    const Scratch scratch;
    for (const int depth : {1, 8, 24}) {
        const FIBitmapPtr source(picture(19, 7, depth));
        ASSERT_TRUE(FreeImage_Save(FIF_PNG, source.get(), (scratch / "in").c_str(), 0));
        for (const bool rotate90 : {true, false}) {
            ASSERT_TRUE(RotateImage(FIF_PNG, scratch / "in", scratch / "out", 5, rotate90));
            expectTurned(Decoded(scratch / "out").get(), source.get(), rotate90 ? 90 : 270);
        }
    }
    EXPECT_FALSE(RotateImage(FIF_PNG, data + "damaged/text.png", scratch / "none", 0, true));
    EXPECT_FALSE(RotateImage(FIF_PNG, scratch / "in", scratch / "no/folder", 0, true));
}
