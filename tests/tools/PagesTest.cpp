#include "Decoded.h"
#include "ToolRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <tiffio.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr char mixed[] = "multipage/mixed_1bit_grey_colour_palette.tif";
constexpr char report[] = "multipage/report_5pages_1bit_g4.tif";

// Three pages; FreeImage has no way to read the one in the middle.
void writePagesAroundABadOne(const std::string& file) {
    TIFF* const tiff = TIFFOpen(file.c_str(), "w");
    for (const int photometric : {PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_ICCLAB, PHOTOMETRIC_MINISBLACK}) {
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 8);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
        char row[8] = {};
        TIFFWriteScanline(tiff, row, 0, 0);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
}

std::vector<int> codings(const std::string& file) {
    std::vector<int> result;
    TIFF* const tiff = TIFFOpen(file.c_str(), "r");
    do {
        std::uint16_t coding = 0;
        TIFFGetField(tiff, TIFFTAG_COMPRESSION, &coding);
        result.push_back(coding);
    } while (TIFFReadDirectory(tiff));
    TIFFClose(tiff);
    return result;
}

// Runs with a temporary place of its own, in which nothing may stay.
class Pages : public testing::Test {
protected:
    Pages() {
        std::filesystem::create_directory(temporary);
        setenv("TMPDIR", temporary.c_str(), 1);
    }
    ~Pages() override {
        EXPECT_TRUE(std::filesystem::is_empty(temporary));
        unsetenv("TMPDIR");
    }

    const ScratchFolder scratch;
    const std::string temporary = scratch / "tmp";
    const std::string output = scratch / "out.tif";
};

} // namespace

TEST_F(Pages, JoinCodesEachPageByItsDepthAsSaveDoes) {
    const std::vector<std::pair<std::string, int>> inputs = {
        {"pages/table_1bit_g4_150dpi.tif", COMPRESSION_CCITTFAX4},
        {"depths/grey_jpeg.tif", COMPRESSION_JPEG},
        {"photos/street_nikon_gps.jpg", COMPRESSION_JPEG},
        {"depths/palette4.png", COMPRESSION_LZW},
        {"depths/palette8.png", COMPRESSION_LZW},
        {"depths/palette_alpha.png", COMPRESSION_LZW},
        {"depths/grey16.png", COMPRESSION_LZW},
        {"depths/rgba32.bmp", COMPRESSION_LZW},
        {"depths/rgb48.tif", COMPRESSION_LZW}};
    std::vector<std::string> arguments = {"join", output};
    std::vector<int> expected;
    for (const auto& [input, coding] : inputs) {
        arguments.push_back(dataFile(input));
        expected.push_back(coding);
    }
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(codings(output), expected);
    const std::string single = scratch / "single.tif";
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        SCOPED_TRACE(inputs[index].first);
        DornImage::Reference<DornImage::Image> page;
        ASSERT_TRUE(DornImage::loadImage(dataFile(inputs[index].first), page));
        ASSERT_TRUE(page->Save(FIF_TIFF, single));
        const Decoded saved(single);
        const Decoded joined(output, static_cast<int>(index));
        EXPECT_TRUE(samePixels(joined.get(), saved.get()));
        EXPECT_EQ(FreeImage_GetDotsPerMeterX(joined.get()), FreeImage_GetDotsPerMeterX(saved.get()));
    }
}

// With room for no page at all, every page goes through a temporary file.
TEST_F(Pages, SplitAndJoinKeepPagesUnderAnyLimit) {
    for (const char* const limit : {"0", "1"}) {
        const std::string folder = scratch / ("deep/in" + std::string(limit));
        const ToolRun run = runTool({"split", dataFile(mixed), folder, "--memory", limit});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        for (int page = 0; page < 4; ++page) {
            const std::string name = "mixed_1bit_grey_colour_palette-" + std::to_string(page + 1) + ".png";
            const Decoded written(folder + "/" + name);
            const Decoded original(dataFile(mixed), page);
            EXPECT_TRUE(samePixels(written.get(), original.get())) << name;
        }
        EXPECT_EQ(runTool({"join", output, dataFile(report), dataFile(mixed), "--memory", limit}).exitCode,
                  0);
        EXPECT_THAT(codings(output),
                    ElementsAre(COMPRESSION_CCITTFAX4, COMPRESSION_CCITTFAX4, COMPRESSION_CCITTFAX4,
                                COMPRESSION_CCITTFAX4, COMPRESSION_CCITTFAX4, COMPRESSION_CCITTFAX4,
                                COMPRESSION_JPEG, COMPRESSION_JPEG, COMPRESSION_JPEG));
        EXPECT_TRUE(samePixels(Decoded(output, 4).get(), Decoded(dataFile(report), 4).get()));
    }
}

TEST_F(Pages, NamesSortAndFormatsAreChosen) {
    std::vector<std::string> arguments = {"join", output};
    arguments.insert(arguments.end(), 11, dataFile("depths/min_is_white_g4.tif"));
    EXPECT_EQ(runTool(arguments).exitCode, 0);
    EXPECT_EQ(runTool({"split", output, scratch / "pages", "--format", "tiff"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(scratch / "pages/out-01.tif"));
    EXPECT_TRUE(std::filesystem::exists(scratch / "pages/out-11.tif"));
    EXPECT_EQ(runTool({"split", output, scratch / "other", "--format", "nonsense"}).exitCode, 1);
    EXPECT_EQ(runTool({"split", output, output}).exitCode, 4) << "a file where the folder should be";
}

TEST_F(Pages, WhatCannotBeReadIsLeftOut) {
    const ToolRun some = runTool({"join", output, dataFile("damaged/empty.jpg"),
                                  dataFile("depths/palette8.png"), dataFile("damaged/cut.png")});
    EXPECT_EQ(some.exitCode, 2);
    EXPECT_THAT(some.err, HasSubstr("empty.jpg: file is empty\n"));
    EXPECT_THAT(some.err, HasSubstr("cut.png: cannot be read: PNG: "));
    EXPECT_EQ(codings(output).size(), 1u);

    const std::string around = scratch / "around.tif";
    writePagesAroundABadOne(around);
    EXPECT_EQ(runTool({"join", output, around}).exitCode, 2);
    EXPECT_EQ(codings(output).size(), 2u);
    std::filesystem::remove(around);

    const std::string before = contentOf(output);
    EXPECT_EQ(runTool({"join", output, dataFile("damaged/cut.png"), scratch / "missing"}).exitCode, 3);
    EXPECT_EQ(runTool({"split", dataFile("damaged/cut_g4.tif"), scratch / "pages"}).exitCode, 3);
    EXPECT_EQ(runTool({"join", output, dataFile("depths/palette8.png"), "--memory", "3G"}).exitCode, 1);
    EXPECT_EQ(contentOf(output), before);
    EXPECT_THAT(scratch.names(), ElementsAre("out.tif", "tmp"));
}

TEST_F(Pages, FullDiskLeavesTheOldOutput) {
    EXPECT_EQ(runTool({"join", output, dataFile("depths/min_is_white_g4.tif")}).exitCode, 0);
    const std::string before = contentOf(output);
    // The page's own file fits, the joined one doesn't; then not even the page; then not the temporary file.
    const std::vector<std::string> report5 = {"join", output, dataFile(report)};
    for (const long limit : {120000, 2000}) {
        const ToolRun run = runTool(report5, limit);
        EXPECT_EQ(run.exitCode, 4);
        EXPECT_THAT(run.err, StartsWith("dornimage: " + output + ": "));
    }
    EXPECT_EQ(runTool({"join", output, dataFile(report), "--memory", "1"}, 2000).exitCode, 4);
    EXPECT_EQ(contentOf(output), before);
    EXPECT_THAT(scratch.names(), ElementsAre("out.tif", "tmp"));
}
