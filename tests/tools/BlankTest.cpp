#include "ImageProcessing/DornImage/Handles.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

using nlohmann::json;

namespace {

// A page of A7 at 300 dots per inch with some grain; x and y count from the top left.
class Paper {
public:
    explicit Paper(int level = 235) : bitmap_(FreeImage_Allocate(width, height, 8)) {
        std::minstd_rand random(3);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                pixel(x, y) = static_cast<BYTE>(level + static_cast<int>(random() % 9) - 4);
            }
        }
        FreeImage_SetDotsPerMeterX(bitmap_.get(), 11811);
        FreeImage_SetDotsPerMeterY(bitmap_.get(), 11811);
    }

    BYTE& pixel(int x, int y) { return FreeImage_GetScanLine(bitmap_.get(), height - 1 - y)[x]; }

    void fill(int left, int top, int across, int down, int level) {
        for (int y = std::max(0, top); y < std::min(height, top + down); ++y) {
            for (int x = std::max(0, left); x < std::min(width, left + across); ++x) {
                pixel(x, y) = static_cast<BYTE>(level);
            }
        }
    }
    // As the zero of a small page number: an outline.
    void digit(int left, int top, int level) {
        fill(left, top, 20, 4, level);
        fill(left, top + 28, 20, 4, level);
        fill(left, top, 4, 32, level);
        fill(left + 16, top, 4, 32, level);
    }
    void disc(int centreX, int centreY, int radius, int level) {
        for (int y = -radius; y <= radius; ++y) {
            const int reach = static_cast<int>(std::sqrt(radius * radius - y * y));
            fill(centreX - reach, centreY + y, 2 * reach + 1, 1, level);
        }
    }

    // Stored in 1 bit or as it is, and in negative.
    std::string save(const std::string& file, int depth = 8, bool negative = false) {
        const DornImage::FIBitmapPtr stored(depth == 1 ? FreeImage_Threshold(bitmap_.get(), 128)
                                                       : FreeImage_Clone(bitmap_.get()));
        if (negative) {
            FreeImage_Invert(stored.get());
        }
        EXPECT_TRUE(FreeImage_Save(FIF_PNG, stored.get(), file.c_str()));
        return file;
    }

    static constexpr int width = 874;
    static constexpr int height = 1240;

private:
    DornImage::FIBitmapPtr bitmap_;
};

json onlyPage(const std::string& file) {
    const ToolRun run = runTool({"blank", "--json", file});
    EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 6) << run.err;
    return run.json().at(0).at("pages").at(0);
}

} // namespace

TEST(Blank, JudgesRealPages) {
    const std::map<std::string, std::string> verdicts = {
        {"blank/blank_paper_colour_300dpi.jpg", "unsure"},
        {"blank/blank_show_through_grey_300dpi.jpg", "empty"},
        {"blank/blank_specks_1bit_g4_300dpi.tif", "empty"},
        {"blank/few_lines_palette.png", "content"},
        {"blank/few_words_colour_300dpi.jpg", "content"},
        {"pages/letter_colour_300dpi.jpg", "content"},
        {"pages/table_1bit_g4_150dpi.tif", "content"},
        {"photos/street_nikon_gps.jpg", "content"},
        {"depths/grey16.png", "content"},
        {"depths/rgb48.tif", "unsure"},
        {"depths/palette_alpha.png", "content"},
    };
    for (const auto& [file, verdict] : verdicts) {
        EXPECT_EQ(onlyPage(dataFile(file))["verdict"], verdict) << file;
    }
    const json pages = runTool({"blank", "--json", dataFile("multipage/mixed_1bit_grey_colour_palette.tif")})
                           .json()[0]["pages"];
    ASSERT_EQ(pages.size(), 4U);
    EXPECT_EQ(pages[0]["normalisedFrom"], "1 bit");
    EXPECT_TRUE(pages[1]["normalisedFrom"].is_null());
    EXPECT_EQ(pages[3]["verdict"], "content");
}

TEST(Blank, ScannersAddNothingAndADigitIsSomething) {
    const ScratchFolder scratch;
    const std::string file = scratch / "page.png";
    for (const int depth : {8, 1}) {
        const bool negative = depth == 1;
        SCOPED_TRACE(depth);
        Paper used;
        used.disc(145, 270, 35, 20); // punched holes, the scanner's edge, dust
        used.disc(145, 950, 35, 20);
        used.fill(Paper::width - 40, 0, 40, Paper::height, 30);
        for (int i = 0; i < 20; ++i) {
            used.disc(200 + 31 * i, 150 + i * i * 5 / 2, 2, 60);
        }
        const json empty = onlyPage(used.save(file, depth, negative));
        EXPECT_EQ(empty["verdict"], "empty") << empty;
        EXPECT_EQ(empty["holes"], 2);
        EXPECT_EQ(empty["inverted"], negative);
        EXPECT_GT(empty["edgeShare"], 0.02);

        used.digit(420, 1070, 60);
        const json content = onlyPage(used.save(file, depth, negative));
        EXPECT_EQ(content["verdict"], "content") << content;
        EXPECT_NEAR(content["ink"]["left"].get<int>() + 50, 430, 60);
        EXPECT_NEAR(content["ink"]["top"].get<int>() + 50, 1086, 60);
    }
}

TEST(Blank, SaysUnsureWhereFaintOrAtTheEdge) {
    const ScratchFolder scratch;
    const std::string file = scratch / "page.png";
    Paper pencil;
    pencil.digit(420, 1070, 235 - 48);
    EXPECT_EQ(onlyPage(pencil.save(file))["verdict"], "unsure");
    EXPECT_EQ(runTool({"blank", "--ignore-faint", file}).exitCode, 0);
    // A number cut by each edge, and one that touches the scanner's dark edge.
    const std::vector<std::pair<int, int>> places = {
        {420, -16}, {420, Paper::height - 16}, {-10, 600}, {Paper::width - 11, 600}};
    for (const auto& [x, y] : places) {
        Paper edge;
        edge.digit(x, y, 60);
        EXPECT_EQ(onlyPage(edge.save(file))["verdict"], "unsure") << x << ", " << y;
    }
    Paper band;
    band.fill(0, Paper::height - 30, Paper::width, 30, 40);
    EXPECT_EQ(onlyPage(band.save(file))["verdict"], "empty");
    band.digit(420, Paper::height - 50, 60);
    band.save(file);
    const ToolRun text = runTool({"blank", file});
    EXPECT_EQ(text.exitCode, 6);
    EXPECT_NE(text.out.find("page.png: unsure: marks at the edge of the page only"), std::string::npos)
        << text.out;
}

TEST(Blank, ExitCodesServeScripts) {
    const ScratchFolder scratch;
    const std::string empty = Paper().save(scratch / "empty.png");
    const std::string table = dataFile("pages/table_1bit_g4_150dpi.tif");
    EXPECT_EQ(runTool({"blank", empty, table}).exitCode, 0);
    EXPECT_EQ(runTool({"blank", "--fail-if-content", empty}).exitCode, 0);
    EXPECT_EQ(runTool({"blank", "--fail-if-content", empty, table}).exitCode, 7);
    EXPECT_EQ(runTool({"blank", "--fail-if-content", empty, dataFile("damaged/empty.jpg")}).exitCode, 2);
    EXPECT_EQ(runTool({"blank", dataFile("damaged/empty.jpg")}).exitCode, 3);
    EXPECT_EQ(runTool({"blank", "--picture", scratch / "x.png", empty}).exitCode, 1);
    EXPECT_EQ(runTool({"blank", dataFile("depths/rgba32.bmp")}).exitCode, 0);
}

TEST(Blank, DrawsWhatItSaw) {
    const ScratchFolder scratch;
    Paper paper;
    paper.digit(420, 600, 60);
    const std::string page = paper.save(scratch / "page.png");
    const std::string picture = scratch / "seen.png";
    ASSERT_EQ(runTool({"blank", "--page", "1", "--picture", picture, page}).exitCode, 0);
    const DornImage::FIBitmapPtr seen(FreeImage_Load(FIF_PNG, picture.c_str(), 0));
    ASSERT_EQ(FreeImage_GetWidth(seen.get()), 437U); // the page at 150 dots per inch
    // Red frames the digit, in the middle of the page.
    int red = 0;
    for (unsigned y = 262; y < 362; ++y) {
        for (unsigned x = 165; x < 265; ++x) {
            RGBQUAD colour;
            FreeImage_GetPixelColor(seen.get(), x, y, &colour);
            red += colour.rgbRed > 180 && colour.rgbGreen < 40;
        }
    }
    EXPECT_GT(red, 200);
}
