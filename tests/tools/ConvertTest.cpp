#include "ToolRun.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using DornImage::FIBitmapPtr;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// Decodes a file, or one page of it counted from 0, and owns the bitmap.
class Decoded {
public:
    explicit Decoded(const std::string& file, int page = -1, int flags = 0) {
        const FREE_IMAGE_FORMAT format = FreeImage_GetFileType(file.c_str(), 0);
        if (page < 0) {
            bitmap_.attach(FreeImage_Load(format, file.c_str(), flags));
            return;
        }
        FIMULTIBITMAP* const pages =
            FreeImage_OpenMultiBitmap(format, file.c_str(), FALSE, TRUE, FALSE, flags);
        FIBITMAP* const locked = FreeImage_LockPage(pages, page);
        bitmap_.attach(FreeImage_Clone(locked));
        FreeImage_UnlockPage(pages, locked, FALSE);
        FreeImage_CloseMultiBitmap(pages, 0);
    }

    FIBITMAP* get() const { return bitmap_.get(); }
    unsigned depth() const { return FreeImage_GetBPP(get()); }

private:
    FIBitmapPtr bitmap_;
};

// Equal depth and equal colours: a codec may turn a page that is stored inverted into one that is not.
bool samePixels(FIBITMAP* a, FIBITMAP* b) {
    if (FreeImage_GetWidth(a) != FreeImage_GetWidth(b) || FreeImage_GetHeight(a) != FreeImage_GetHeight(b) ||
        FreeImage_GetBPP(a) != FreeImage_GetBPP(b)) {
        return false;
    }
    const bool indexed = FreeImage_GetBPP(a) <= 8;
    const FIBitmapPtr colourA(indexed ? FreeImage_ConvertTo24Bits(a) : FreeImage_Clone(a));
    const FIBitmapPtr colourB(indexed ? FreeImage_ConvertTo24Bits(b) : FreeImage_Clone(b));
    const unsigned bytes = FreeImage_GetLine(colourA.get());
    for (int y = 0; y < static_cast<int>(FreeImage_GetHeight(a)); ++y) {
        if (std::memcmp(FreeImage_GetScanLine(colourA.get(), y), FreeImage_GetScanLine(colourB.get(), y),
                        bytes) != 0) {
            return false;
        }
    }
    return true;
}

json infoOf(const std::string& file) {
    return runTool({"info", "--json", "--all-pages", file}).json()[0];
}

} // namespace

TEST(Convert, KeepsPixelsAndResolutionWhereTheFormatDoes) {
    const ScratchFolder scratch;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"pages/table_1bit_g4_150dpi.tif", "a.png"},
        {"depths/palette8.png", "b.bmp"},
        {"depths/palette4.png", "c.gif"},
        {"depths/grey16.tif", "d.png"},
        {"depths/rgb48.tif", "e.png"},
        {"depths/rgba32.bmp", "f.tif"},
        {"depths/bilevel.bmp", "g.tif"},
        {"pages/letter_colour_300dpi.jpg", "h.bmp"},
    };
    for (const auto& [input, output] : cases) {
        SCOPED_TRACE(input);
        const ToolRun run = runTool({"convert", dataFile(input), scratch / output});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.err, "");
        const Decoded before(dataFile(input));
        const Decoded after(scratch / output);
        ASSERT_NE(after.get(), nullptr);
        EXPECT_TRUE(samePixels(before.get(), after.get()));
        if (output != "c.gif") {
            // The TIFF codec keeps whole dots per inch.
            const double dotsBefore = FreeImage_GetDotsPerMeterX(before.get());
            EXPECT_NEAR(dotsBefore, FreeImage_GetDotsPerMeterX(after.get()), 0.5 / 0.0254);
        }
    }
}

TEST(Convert, ChangesDepth) {
    const ScratchFolder scratch;
    const std::vector<std::tuple<std::string, std::string, unsigned>> cases = {
        {"photos/street_nikon_gps.jpg", "8", 8},
        {"photos/street_nikon_gps.jpg", "grey", 8},
        {"pages/table_1bit_g4_150dpi.tif", "24", 24},
        {"depths/palette_alpha.png", "grey", 8},
        {"depths/grey16.png", "grey", 8},
        {"depths/grey16.png", "24", 24},
        {"depths/rgb48.tif", "24", 24},
        {"depths/rgba32.bmp", "24", 24},
    };
    for (const auto& [input, to, depth] : cases) {
        SCOPED_TRACE(input + " --to " + to);
        const ToolRun run = runTool({"convert", dataFile(input), scratch / "out.png", "--to", to});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        const Decoded after(scratch / "out.png");
        EXPECT_EQ(after.depth(), depth);
        if (to == "grey") {
            EXPECT_TRUE(DornImage::FreeImage_IsGrayScale(after.get()));
        }
    }
}

TEST(Convert, KeepsCameraMetadataBetweenJpegs) {
    const ScratchFolder scratch;
    ASSERT_EQ(runTool({"convert", dataFile("exif/orientation_6.jpg"), scratch / "out.jpg", "--to", "grey"})
                  .exitCode,
              0);
    const json before = infoOf(dataFile("exif/orientation_6.jpg"))["pages"][0];
    const json after = infoOf(scratch / "out.jpg")["pages"][0];
    EXPECT_EQ(after["orientation"], 6);
    EXPECT_EQ(after["metadata"], before["metadata"]);
}

TEST(Convert, TakesTheFormatByNameExtensionOrMimeType) {
    const ScratchFolder scratch;
    for (const std::string text : {"png", "PNG", "image/png"}) {
        ASSERT_EQ(runTool({"convert", dataFile("depths/rgb_small.png"), scratch / "out", "--format", text})
                      .exitCode,
                  0)
            << text;
        EXPECT_EQ(FreeImage_GetFileType((scratch / "out").c_str(), 0), FIF_PNG);
    }
    ASSERT_EQ(
        runTool({"convert", dataFile("depths/rgb_small.png"), scratch / "out", "--format", "jpeg"}).exitCode,
        0);
    EXPECT_EQ(FreeImage_GetFileType((scratch / "out").c_str(), 0), FIF_JPEG);
}

TEST(Convert, CodesTiffPagesAsTold) {
    const ScratchFolder scratch;
    const std::string photo = dataFile("photos/street_nikon_gps.jpg");
    ASSERT_EQ(runTool({"convert", photo, scratch / "jpeg.tif"}).exitCode, 0);
    ASSERT_EQ(runTool({"convert", photo, scratch / "lzw.tif", "--flags", "0x4000"}).exitCode, 0);
    EXPECT_TRUE(samePixels(Decoded(photo).get(), Decoded(scratch / "lzw.tif").get()));
    EXPECT_LT(std::filesystem::file_size(scratch / "jpeg.tif") * 2,
              std::filesystem::file_size(scratch / "lzw.tif"));
}

TEST(Convert, CarriesAllPagesBetweenFormatsOfMany) {
    const ScratchFolder scratch;
    const std::string mixed = dataFile("multipage/mixed_1bit_grey_colour_palette.tif");
    ASSERT_EQ(runTool({"convert", mixed, scratch / "all.tif"}).exitCode, 0);
    for (int page = 0; page < 4; ++page) {
        EXPECT_TRUE(samePixels(Decoded(mixed, page).get(), Decoded(scratch / "all.tif", page).get())) << page;
    }
    EXPECT_EQ(infoOf(scratch / "all.tif")["pageCount"], 4);

    ASSERT_EQ(runTool({"convert", mixed, scratch / "third.png", "--page", "3"}).exitCode, 0);
    EXPECT_TRUE(samePixels(Decoded(mixed, 2).get(), Decoded(scratch / "third.png").get()));

    const ToolRun first = runTool({"convert", mixed, scratch / "first.png"});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_THAT(first.err, HasSubstr("has 4 pages, only the first"));
    EXPECT_TRUE(samePixels(Decoded(mixed, 0).get(), Decoded(scratch / "first.png").get()));

    const ToolRun refused = runTool({"convert", mixed, scratch / "all.gif"});
    EXPECT_EQ(refused.exitCode, 4);
    EXPECT_THAT(refused.err, HasSubstr("GIF cannot hold 24 bits a pixel, only 1, 4, 8"));
    EXPECT_THAT(scratch.names(), ElementsAre("all.tif", "first.png", "third.png"));
}

TEST(Convert, AnimationFramesArePlayedUnlessTheyStayAnAnimation) {
    const ScratchFolder scratch;
    const std::string animated = dataFile("multipage/animated.gif");
    ASSERT_EQ(runTool({"convert", animated, scratch / "frame.png", "--page", "2"}).exitCode, 0);
    EXPECT_TRUE(samePixels(Decoded(animated, 1, GIF_PLAYBACK).get(), Decoded(scratch / "frame.png").get()));
    ASSERT_EQ(runTool({"convert", animated, scratch / "again.gif"}).exitCode, 0);
    EXPECT_EQ(infoOf(scratch / "again.gif")["pageCount"], 3);
    for (int page = 0; page < 3; ++page) {
        EXPECT_TRUE(samePixels(Decoded(animated, page, GIF_PLAYBACK).get(),
                               Decoded(scratch / "again.gif", page, GIF_PLAYBACK).get()))
            << page;
    }
}

TEST(Convert, LongTiffsAndIconsKeepEveryPage) {
    const ScratchFolder scratch;
    FIMULTIBITMAP* const tiff =
        FreeImage_OpenMultiBitmap(FIF_TIFF, (scratch / "long.tif").c_str(), TRUE, FALSE, TRUE, 0);
    FIMULTIBITMAP* const icon =
        FreeImage_OpenMultiBitmap(FIF_ICO, (scratch / "sizes.ico").c_str(), TRUE, FALSE, TRUE, 0);
    for (int i = 0; i < 50; ++i) {
        const FIBitmapPtr page(FreeImage_Allocate(40 + i, 20, 24));
        FreeImage_AppendPage(tiff, page.get());
    }
    for (const int side : {16, 32, 48}) {
        const FIBitmapPtr page(FreeImage_Allocate(side, side, 32));
        FreeImage_AppendPage(icon, page.get());
    }
    FreeImage_CloseMultiBitmap(tiff, 0);
    FreeImage_CloseMultiBitmap(icon, 0);

    ASSERT_EQ(runTool({"convert", scratch / "long.tif", scratch / "copy.tif", "--to", "grey"}).exitCode, 0);
    const json copy = infoOf(scratch / "copy.tif");
    ASSERT_EQ(copy["pageCount"], 50);
    EXPECT_EQ(copy["pages"][49]["width"], 89);
    EXPECT_EQ(copy["pages"][49]["depth"], 8);
    ASSERT_EQ(runTool({"convert", scratch / "sizes.ico", scratch / "icons.tif"}).exitCode, 0);
    EXPECT_EQ(infoOf(scratch / "icons.tif")["pages"][2]["width"], 48);
    ASSERT_EQ(runTool({"convert", scratch / "icons.tif", scratch / "back.ico"}).exitCode, 0);
    EXPECT_EQ(infoOf(scratch / "back.ico")["pageCount"], 3);
}

TEST(Convert, MayReplaceItsInput) {
    const ScratchFolder scratch;
    const std::string file = scratch / "page.tif";
    std::filesystem::copy_file(dataFile("multipage/mixed_1bit_grey_colour_palette.tif"), file);
    std::filesystem::permissions(file,
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_symlink("page.tif", scratch / "link.tif");
    ASSERT_EQ(runTool({"convert", file, scratch / "link.tif", "--to", "8"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(scratch / "link.tif"));
    EXPECT_EQ(std::filesystem::status(file).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const json info = infoOf(file);
    ASSERT_EQ(info["pageCount"], 4);
    EXPECT_EQ(info["pages"][2]["depth"], 8);
    EXPECT_THAT(scratch.names(), ElementsAre("link.tif", "page.tif"));
}

TEST(Convert, FailsBeforeAnythingIsWritten) {
    const ScratchFolder scratch;
    std::filesystem::create_directory(scratch / "folder.png");
    const std::string page = dataFile("pages/table_1bit_g4_150dpi.tif");
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{page, scratch / "out.xyz"}, 1, "its name does not tell the format to write"},
        {{page, scratch / "out.png", "--format", "nonsense"}, 1, "there is no format \"nonsense\""},
        {{page, scratch / "out.pcx"}, 1, "PCX pictures cannot be written"},
        {{page, scratch / "out.jpg"}, 4, "JPEG cannot hold 1 bit a pixel, only 8, 24"},
        {{page, scratch / "out.psd"}, 4, "PSD cannot hold 1 bit a pixel"},
        {{page, scratch / "folder.png"}, 4, "is a folder"},
        {{page, scratch / "no/such.png"}, 4, "cannot write in folder"},
        {{page, "/dev/null", "--format", "png"}, 4, "is not a regular file"},
        {{dataFile("depths/rgb48.tif"), scratch / "out.bmp"},
         4,
         "BMP cannot hold pictures of the kind rgb16"},
        {{dataFile("damaged/cut.png"), scratch / "out.bmp"}, 3, "invalid or corrupted PNG file"},
        {{dataFile("damaged/missing.png"), scratch / "out.bmp"}, 3, "no such file"},
        {{page, scratch / "out.png", "--page", "2"}, 3, "there is no page 2, the file has 1 page"},
        {{page, scratch / "out.ico"}, 4, "Unsupported icon size"},
    };
    for (const Case& expected : cases) {
        std::vector<std::string> arguments = {"convert"};
        arguments.insert(arguments.end(), expected.arguments.begin(), expected.arguments.end());
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.exitCode, expected.exitCode) << run.err;
        EXPECT_THAT(run.err, HasSubstr(expected.message));
        EXPECT_THAT(scratch.names(), ElementsAre("folder.png"));
    }
    EXPECT_EQ(std::filesystem::status("/dev/null").type(), std::filesystem::file_type::character);
}

TEST(Convert, AFullDiskLeavesTheTargetAsItWas) {
    constexpr long limit = 2000;
    for (const std::string name : {"out.png", "out.bmp", "out.jpg", "out.gif"}) {
        SCOPED_TRACE(name);
        const ScratchFolder scratch;
        std::filesystem::copy_file(dataFile("depths/rgb_small.png"), scratch / name);
        const ToolRun run = runTool({"convert", dataFile("depths/palette8.png"), scratch / name}, limit);
        EXPECT_EQ(run.exitCode, 4);
        EXPECT_THAT(run.err, HasSubstr("File too large"));
        EXPECT_THAT(scratch.names(), ElementsAre(name));
        EXPECT_EQ(contentOf(scratch / name), contentOf(dataFile("depths/rgb_small.png")));
    }
    const ScratchFolder scratch;
    const ToolRun pages =
        runTool({"convert", dataFile("multipage/report_5pages_1bit_g4.tif"), scratch / "out.tif"}, limit);
    EXPECT_EQ(pages.exitCode, 4);
    EXPECT_THAT(scratch.names(), IsEmpty());
}

TEST(Convert, DamagedPicturesThatDecodeAreWrittenWithAWarning) {
    const ScratchFolder scratch;
    const ToolRun run = runTool({"convert", dataFile("damaged/cut_in_scan.jpg"), scratch / "out.png"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("cut_in_scan.jpg: JPEG: Premature end of JPEG file"));
    EXPECT_EQ(Decoded(scratch / "out.png").depth(), 24U);
}
