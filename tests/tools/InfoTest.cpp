#include "ToolRun.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

using nlohmann::json;

namespace {

json firstPage(const std::string& file) {
    const ToolRun run = runTool({"info", "--json", dataFile(file)});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run.json()[0]["pages"][0];
}

void writeFile(const std::string& name, const std::string& content) {
    std::ofstream(name, std::ios::binary) << content;
}

} // namespace

TEST(Info, TellsFormatAndPagesOfEachFile) {
    const std::vector<std::string> names = {dataFile("multipage/report_5pages_1bit_g4.tif"),
                                            dataFile("multipage/animated.gif"),
                                            dataFile("photos/street_nikon_gps.jpg")};
    const json files = runTool({"info", "--json", names[0], names[1], names[2]}).json();
    const json expected = {{names[0], "TIFF", "image/tiff", 5},
                           {names[1], "GIF", "image/gif", 3},
                           {names[2], "JPEG", "image/jpeg", 1}};
    ASSERT_EQ(files.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ((json{files[i]["file"], files[i]["format"], files[i]["mime"], files[i]["pageCount"]}),
                  expected[i]);
    }
}

TEST(Info, TellsDepthColourAndPalette) {
    // depth, type, colour, palette and its entries, transparent
    const std::vector<std::pair<std::string, json>> table = {
        {"depths/min_is_black_g4.tif", {1, "bitmap", "min-is-black", "grey ramp", 2, false}},
        {"depths/min_is_white_g4.tif", {1, "bitmap", "min-is-white", "inverted grey ramp", 2, false}},
        {"depths/palette4.png", {4, "bitmap", "palette", "grey", 16, false}},
        {"depths/palette8.png", {8, "bitmap", "palette", "colour", 256, false}},
        {"depths/palette_alpha.png", {8, "bitmap", "palette", "grey", 256, true}},
        {"depths/grey_jpeg.tif", {8, "bitmap", "min-is-black", "grey ramp", 256, false}},
        {"depths/grey16.png", {16, "uint16", "min-is-black", "none", 0, false}},
        {"depths/rgb_small.png", {24, "bitmap", "rgb", "none", 0, false}},
        {"depths/rgba32.bmp", {32, "bitmap", "rgb-alpha", "none", 0, true}},
        {"depths/rgb48.tif", {48, "rgb16", "rgb", "none", 0, false}},
    };
    for (const auto& [file, expected] : table) {
        const json page = firstPage(file);
        const json told = {page["depth"],   page["type"],           page["colour"],
                           page["palette"], page["paletteEntries"], page["transparent"]};
        EXPECT_EQ(told, expected) << file;
    }
}

TEST(Info, TellsResolutionOrientationAndMetadata) {
    const json fax = firstPage("pages/fax_standard_204x98_g3_1d.tif");
    EXPECT_EQ(fax["width"], 1728);
    EXPECT_EQ(fax["height"], 1078);
    EXPECT_EQ(fax["dotsPerMetre"], (json{{"x", 8031}, {"y", 3858}}));
    EXPECT_EQ(fax["dotsPerInch"], (json{{"x", 204}, {"y", 98}}));
    EXPECT_EQ(fax["normalised"], (json{{"width", 1728}, {"height", 8031 * 1078 / 3858}}));
    EXPECT_TRUE(fax["orientation"].is_null());

    const json photo = firstPage("exif/orientation_6.jpg");
    EXPECT_EQ(photo["orientation"], 6);
    EXPECT_EQ(photo["metadata"]["exif-main"], 10);
    EXPECT_EQ(photo["metadata"]["exif-gps"], 10);
}

TEST(Info, DescribesThePagesAskedFor) {
    const std::string mixed = dataFile("multipage/mixed_1bit_grey_colour_palette.tif");
    const json all = runTool({"info", "--json", "--all-pages", mixed}).json()[0]["pages"];
    ASSERT_EQ(all.size(), 4U);
    const std::vector<unsigned> depths = {1, 8, 24, 8};
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(all[i]["page"], i + 1);
        EXPECT_EQ(all[i]["depth"], depths[i]);
    }
    const json third = runTool({"info", "--json", "--page", "3", mixed}).json()[0]["pages"];
    EXPECT_EQ(third, json::array({all[2]}));

    const ToolRun beyond = runTool({"info", "--page", "5", mixed});
    EXPECT_EQ(beyond.exitCode, 3);
    EXPECT_NE(beyond.err.find("there is no page 5, the file has 4 pages"), std::string::npos);
}

// Each damaged file is reported in its own words, or decoded with what its codec complained of.
TEST(Info, DamagedFilesFailOneByOne) {
    const std::map<std::string, std::string> failing = {
        {"damaged/bad_crc.png", "PNG: bad adaptive filter value"},
        {"damaged/bad_directory_offset.tif", "TIFF: Error while opening TIFF: data is invalid"},
        {"damaged/cut.png", "PNG: Read error: invalid or corrupted PNG file"},
        {"damaged/cut_g4.tif", "TIFF: Error while opening TIFF: data is invalid"},
        {"damaged/cut_in_header.jpg", "JPEG: JPEG datastream contains no image"},
        {"damaged/empty.jpg", "file is empty"},
        {"damaged/text.png", "not a picture that can be read"},
        {"damaged", "is a folder"},
        {"damaged/missing.png", "no such file"},
    };
    std::vector<std::string> arguments = {"info", "--json"};
    for (const auto& [file, cause] : failing) {
        arguments.push_back(dataFile(file));
    }
    ToolRun run = runTool(arguments);
    EXPECT_EQ(run.exitCode, 3);
    json files = run.json();
    ASSERT_EQ(files.size(), failing.size());
    std::size_t i = 0;
    for (const auto& [file, cause] : failing) {
        SCOPED_TRACE(file);
        EXPECT_EQ(files[i]["file"], dataFile(file));
        EXPECT_EQ(files[i]["ok"], false);
        EXPECT_NE(files[i]["error"].get<std::string>().find(cause), std::string::npos) << files[i]["error"];
        EXPECT_NE(run.err.find("dornimage: " + dataFile(file) + ": "), std::string::npos);
        ++i;
    }

    run = runTool({"info", "--json", dataFile("damaged/empty.jpg"), dataFile("damaged/cut_in_scan.jpg"),
                   dataFile("damaged/flipped_g4_bytes.tif"), dataFile("damaged/flipped_scan_bytes.jpg")});
    EXPECT_EQ(run.exitCode, 2);
    files = run.json();
    ASSERT_EQ(files.size(), 4U);
    EXPECT_EQ(files[1]["pages"][0]["messages"], json::array({"JPEG: Premature end of JPEG file"}));
    EXPECT_EQ(files[2]["pages"][0]["messages"].size(), 9U) << "eight lines of the fax codec and a count";
    EXPECT_NE(files[3]["pages"][0]["messages"][0].get<std::string>().find("Corrupt JPEG data"),
              std::string::npos);

    // This codec would ask for the rest of the file for ever.
    const ScratchFolder scratch;
    std::ofstream(scratch / "cut.iff") << std::string("FORM\0\0\0\0ILBM", 12);
    run = runTool({"info", scratch / "cut.iff"});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_NE(run.err.find("reads behind the end of the file"), std::string::npos) << run.err;
}

TEST(Info, TakesAnyFileName) {
    const ScratchFolder scratch;
    const std::string picture = contentOf(dataFile("depths/rgb_small.png"));
    const std::vector<std::string> names = {"with blank.png",   "Überschrift 漢字.png",
                                            "not\xff utf8.png", "escape\x1b[31m\nline.png",
                                            "-dash.png",        "misnamed.jpg"};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        writeFile(scratch / name, picture);
        const ToolRun text = runTool({"info", scratch / name});
        EXPECT_EQ(text.exitCode, 0) << text.err;
        EXPECT_NE(text.out.find("82 x 73 pixels"), std::string::npos);
        EXPECT_EQ(text.out.find('\x1b'), std::string::npos);
        const ToolRun asJson = runTool({"info", "--json", scratch / name});
        EXPECT_EQ(asJson.out.find('\x1b'), std::string::npos);
        EXPECT_EQ(asJson.json()[0]["format"], "PNG");
    }
    const ToolRun missing = runTool({"info", scratch / "gone\x1b]0;title\x07"});
    EXPECT_EQ(missing.exitCode, 3);
    EXPECT_EQ(missing.err, "dornimage: " + (scratch / "gone\\x1b]0;title\\x07") + ": no such file\n");
}

TEST(Tool, UsageIsAnsweredWithItsOwnExitCode) {
    const ToolRun help = runTool({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const std::string word : {"info", "convert", "formats", "Exit codes"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
    const ToolRun version = runTool({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("dornimage ", 0), 0U);

    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"sharpen"},
        {"info"},
        {"info", "--no\x1bsuch"},
        {"convert", "one"},
        {"info", "--page", "0", "x"},
        {"convert", "--to", "12", "a.png", "b.png"},
    };
    for (const auto& arguments : wrong) {
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_FALSE(run.err.empty());
        EXPECT_EQ(run.err.find('\x1b'), std::string::npos);
    }
}
