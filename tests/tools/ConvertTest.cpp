#include "Decoded.h"
#include "ToolRun.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

using DornImage::FIBitmapPtr;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Converts and expects success; gives what was said.
std::string convert(const std::string& input, const std::string& output,
                    const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"convert", input, output};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.err;
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
        {"depths/grey16.tif", "d.png"},
        {"depths/rgb48.tif", "e.png"},
        {"depths/rgba32.bmp", "f.tif"},
        {"depths/bilevel.bmp", "g.tif"},
    };
    for (const auto& [input, output] : cases) {
        SCOPED_TRACE(input);
        EXPECT_EQ(convert(dataFile(input), scratch / output), "");
        const Decoded before(dataFile(input));
        const Decoded after(scratch / output);
        EXPECT_TRUE(samePixels(before.get(), after.get()));
        // The TIFF codec keeps whole dots per inch.
        const double dotsBefore = FreeImage_GetDotsPerMeterX(before.get());
        EXPECT_NEAR(dotsBefore, FreeImage_GetDotsPerMeterX(after.get()), 0.5 / 0.0254);
    }
}

TEST(Convert, ChangesDepthAndFormatAsTold) {
    const ScratchFolder scratch;
    const std::vector<std::tuple<std::string, std::string, unsigned>> cases = {
        {"photos/street_nikon_gps.jpg", "8", 8}, {"pages/table_1bit_g4_150dpi.tif", "24", 24},
        {"depths/palette8.png", "grey", 8},      {"depths/grey16.png", "grey", 8},
        {"depths/grey16.png", "24", 24},         {"depths/rgb48.tif", "24", 24},
    };
    for (const auto& [input, to, depth] : cases) {
        SCOPED_TRACE(input + " --to " + to);
        convert(dataFile(input), scratch / "out.png", {"--to", to});
        const Decoded after(scratch / "out.png");
        EXPECT_EQ(after.depth(), depth);
        EXPECT_TRUE(to != "grey" || DornImage::FreeImage_IsGrayScale(after.get()));
    }
    const std::map<std::string, FREE_IMAGE_FORMAT> formats = {
        {"png", FIF_PNG}, {"jpeg", FIF_JPEG}, {"tif", FIF_TIFF}, {"image/bmp", FIF_BMP}};
    for (const auto& [text, format] : formats) {
        convert(dataFile("depths/rgb_small.png"), scratch / "out", {"--format", text});
        EXPECT_EQ(FreeImage_GetFileType((scratch / "out").c_str(), 0), format);
    }
}

TEST(Convert, KeepsCameraMetadataOrSaysThatTheOrientationIsLost) {
    const ScratchFolder scratch;
    const std::string photo = dataFile("exif/orientation_6.jpg");
    EXPECT_EQ(convert(photo, scratch / "out.jpg", {"--to", "grey"}), "");
    EXPECT_EQ(infoOf(scratch / "out.jpg")["pages"][0]["metadata"], infoOf(photo)["pages"][0]["metadata"]);
    EXPECT_THAT(convert(photo, scratch / "out.png"), HasSubstr("its EXIF orientation 6 has no place"));
}

TEST(Convert, CodesTiffPagesAsTold) {
    const ScratchFolder scratch;
    // Holds camera tags in a place where the packaged writer fell over them.
    const std::string photo = dataFile("photos/mountains_canon_ixus40.jpg");
    convert(photo, scratch / "jpeg.tif");
    convert(photo, scratch / "lzw.tif", {"--flags", "0x4000"});
    EXPECT_TRUE(samePixels(Decoded(photo).get(), Decoded(scratch / "lzw.tif").get()));
    EXPECT_LT(std::filesystem::file_size(scratch / "jpeg.tif") * 2,
              std::filesystem::file_size(scratch / "lzw.tif"));
}

TEST(Convert, CarriesAllPagesBetweenFormatsOfMany) {
    const ScratchFolder scratch;
    const std::string mixed = dataFile("multipage/mixed_1bit_grey_colour_palette.tif");
    convert(mixed, scratch / "all.tif");
    EXPECT_EQ(infoOf(scratch / "all.tif")["pageCount"], 4);
    for (int page = 0; page < 4; ++page) {
        EXPECT_TRUE(samePixels(Decoded(mixed, page).get(), Decoded(scratch / "all.tif", page).get())) << page;
    }
    convert(mixed, scratch / "third.png", {"--page", "3"});
    EXPECT_TRUE(samePixels(Decoded(mixed, 2).get(), Decoded(scratch / "third.png").get()));
    EXPECT_THAT(convert(mixed, scratch / "first.png"), HasSubstr("has 4 pages, only the first"));
    EXPECT_TRUE(samePixels(Decoded(mixed, 0).get(), Decoded(scratch / "first.png").get()));

    const ToolRun refused = runTool({"convert", mixed, scratch / "all.gif"});
    EXPECT_EQ(refused.exitCode, 4);
    EXPECT_THAT(refused.err, HasSubstr("GIF cannot hold 24 bits a pixel, only 1, 4, 8"));
    EXPECT_THAT(scratch.names(), ElementsAre("all.tif", "first.png", "third.png"));
}

TEST(Convert, AnimationFramesArePlayedUnlessTheyStayAnAnimation) {
    const ScratchFolder scratch;
    const std::string animated = dataFile("multipage/animated.gif");
    convert(animated, scratch / "frame.png", {"--page", "2"});
    EXPECT_TRUE(samePixels(Decoded(animated, 1, GIF_PLAYBACK).get(), Decoded(scratch / "frame.png").get()));
    convert(animated, scratch / "again.gif");
    for (int page = 0; page < 3; ++page) {
        const Decoded again(scratch / "again.gif", page, GIF_PLAYBACK);
        EXPECT_TRUE(samePixels(Decoded(animated, page, GIF_PLAYBACK).get(), again.get())) << page;
    }
}

TEST(Convert, LongTiffsAndIconsKeepEveryPage) {
    const ScratchFolder scratch;
    const auto writePages = [&](FREE_IMAGE_FORMAT format, const std::string& name, int count) {
        FIMULTIBITMAP* const pages =
            FreeImage_OpenMultiBitmap(format, (scratch / name).c_str(), TRUE, FALSE, TRUE, 0);
        for (int i = 1; i <= count; ++i) {
            const FIBitmapPtr page(FreeImage_Allocate(16 * i, 16 * i, 24));
            FreeImage_AppendPage(pages, page.get());
        }
        FreeImage_CloseMultiBitmap(pages, 0);
    };
    writePages(FIF_TIFF, "long.tif", 50);
    writePages(FIF_ICO, "sizes.ico", 3);
    convert(scratch / "long.tif", scratch / "copy.tif", {"--to", "grey"});
    const json copy = infoOf(scratch / "copy.tif");
    ASSERT_EQ(copy["pageCount"], 50);
    EXPECT_EQ(copy["pages"][49]["width"], 800);
    EXPECT_EQ(copy["pages"][49]["depth"], 8);
    convert(scratch / "sizes.ico", scratch / "icons.tif");
    convert(scratch / "icons.tif", scratch / "back.ico");
    const json icons = infoOf(scratch / "back.ico");
    ASSERT_EQ(icons["pageCount"], 3);
    EXPECT_EQ(icons["pages"][2]["width"], 48);
}

TEST(Convert, MayReplaceItsInput) {
    const ScratchFolder scratch;
    const std::string file = scratch / "page.tif";
    constexpr auto mode = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    std::filesystem::copy_file(dataFile("multipage/mixed_1bit_grey_colour_palette.tif"), file);
    std::filesystem::permissions(file, mode);
    std::filesystem::create_symlink("page.tif", scratch / "link.tif");
    convert(file, scratch / "link.tif", {"--to", "8"});
    EXPECT_TRUE(std::filesystem::is_symlink(scratch / "link.tif"));
    EXPECT_EQ(std::filesystem::status(file).permissions(), mode);
    const json info = infoOf(file);
    ASSERT_EQ(info["pageCount"], 4);
    EXPECT_EQ(info["pages"][2]["depth"], 8);
    EXPECT_THAT(scratch.names(), ElementsAre("link.tif", "page.tif"));

    std::filesystem::create_symlink("new.tif", scratch / "dangling.tif");
    convert(file, scratch / "dangling.tif");
    EXPECT_FALSE(std::filesystem::is_symlink(scratch / "dangling.tif")) << "gives way";
    EXPECT_EQ(infoOf(scratch / "dangling.tif")["pageCount"], 4);
    EXPECT_THAT(scratch.names(), ElementsAre("dangling.tif", "link.tif", "page.tif"));
}

TEST(Convert, FailsBeforeAnythingIsWritten) {
    const ScratchFolder scratch;
    std::filesystem::create_directory(scratch / "folder.png");
    const std::string page = dataFile("pages/table_1bit_g4_150dpi.tif");
    using Arguments = std::vector<std::string>;
    const std::vector<std::tuple<Arguments, int, std::string>> cases = {
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
    for (const auto& [given, exitCode, message] : cases) {
        Arguments arguments = {"convert"};
        arguments.insert(arguments.end(), given.begin(), given.end());
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.exitCode, exitCode) << run.err;
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_THAT(scratch.names(), ElementsAre("folder.png"));
    }
    EXPECT_EQ(std::filesystem::status("/dev/null").type(), std::filesystem::file_type::character);
}

TEST(Convert, AFullDiskLeavesTheTargetAsItWas) {
    constexpr long limit = 2000; // bytes
    for (const std::string name : {"out.png", "out.bmp", "out.jpg", "out.gif", "out.tif"}) {
        SCOPED_TRACE(name);
        const ScratchFolder scratch;
        std::filesystem::copy_file(dataFile("depths/rgb_small.png"), scratch / name);
        const bool several = name == "out.tif";
        const std::string input = several ? "multipage/report_5pages_1bit_g4.tif" : "depths/palette8.png";
        const ToolRun run = runTool({"convert", dataFile(input), scratch / name}, limit);
        EXPECT_EQ(run.exitCode, 4);
        EXPECT_THAT(run.err, HasSubstr("File too large"));
        EXPECT_THAT(scratch.names(), ElementsAre(name));
        EXPECT_EQ(contentOf(scratch / name), contentOf(dataFile("depths/rgb_small.png")));
    }
}
