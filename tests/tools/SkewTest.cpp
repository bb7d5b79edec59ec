#include "ImageProcessing/DornImage/Handles.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

using nlohmann::json;

namespace {

// Writes a page of broken dark lines that fall to the right by `lower` degrees in its lower half and `upper`
// degrees in its upper half.
std::string writeRuledPage(const std::string& file, double lower, double upper, int depth = 8) {
    constexpr int width = 1100;
    constexpr int height = 1400;
    const DornImage::FIBitmapPtr page(FreeImage_Allocate(width, height, 8));
    for (int y = 0; y < height; ++y) {
        BYTE* const line = FreeImage_GetScanLine(page.get(), y);
        for (int x = 0; x < width; ++x) {
            const double angle = (y < height / 2 ? lower : upper) * 3.141592653589793 / 180;
            const double across = y * std::cos(angle) + x * std::sin(angle) + 1000;
            const double along = x * std::cos(angle) - y * std::sin(angle) + 1000;
            const bool inside = x > 80 && x < width - 80 && y > 80 && y < height - 80;
            line[x] = inside && std::fmod(across, 36) < 12 && std::fmod(along, 23) < 15 ? 30 : 230;
        }
    }
    const DornImage::FIBitmapPtr stored(depth == 24 ? FreeImage_ConvertTo24Bits(page.get())
                                                    : FreeImage_Clone(page.get()));
    EXPECT_TRUE(FreeImage_Save(FIF_PNG, stored.get(), file.c_str()));
    return file;
}

json onlyPage(const std::vector<std::string>& arguments, int exitCode) {
    std::vector<std::string> all = {"skew", "--json"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const ToolRun run = runTool(all);
    EXPECT_EQ(run.exitCode, exitCode) << run.err;
    return run.json().at(0).at("pages").at(0);
}

} // namespace

TEST(Skew, MeasuresRealPages) {
    // On paper; the fax's pixels are twice as high as wide.
    const std::map<std::string, double> pages = {{"pages/article_1bit_g4_300dpi.tif", 0.98},
                                                 {"pages/fax_standard_204x98_g3_1d.tif", 0.98},
                                                 {"pages/note_skewed_1bit_g4.tif", -1.39},
                                                 {"pages/table_1bit_g4_150dpi.tif", -0.08}};
    for (const auto& [file, angle] : pages) {
        SCOPED_TRACE(file);
        const json page = onlyPage({dataFile(file)}, 0);
        EXPECT_NEAR(page.at("angle"), angle, 0.04);
        EXPECT_GT(page.at("confidence"), 0.6);
        EXPECT_EQ(page.at("normalisedFrom"), "1 bit");
    }
    const ToolRun report = runTool({"skew", dataFile("multipage/report_5pages_1bit_g4.tif")});
    EXPECT_EQ(report.exitCode, 0);
    EXPECT_NE(report.out.find(" page 5: 0.1"), std::string::npos) << report.out;
    EXPECT_NE(report.out.find("(1 bit, normalised to 8-bit grey)"), std::string::npos);
}

TEST(Skew, ReachesSteepAngles) {
    const ScratchFolder scratch;
    for (const double angle : {-14.7, -6.3, 0.0, 3.21, 14.9}) {
        const json page = onlyPage({writeRuledPage(scratch / "page.png", angle, angle, 24)}, 0);
        EXPECT_NEAR(page.at("angle"), angle, 0.03);
        EXPECT_GT(page.at("confidence"), 0.8);
        EXPECT_EQ(page.at("normalisedFrom"), "24 bits");
    }
    writeRuledPage(scratch / "page.png", 24.5, 24.5);
    EXPECT_NEAR(onlyPage({"--reach", "30", scratch / "page.png"}, 0).at("angle"), 24.5, 0.03);
}

TEST(Skew, TellsWhyItDoesNotKnow) {
    const ScratchFolder scratch;
    const DornImage::FIBitmapPtr white(FreeImage_Allocate(300, 400, 8));
    FreeImage_Invert(white.get());
    ASSERT_TRUE(FreeImage_Save(FIF_PNG, white.get(), (scratch / "white.png").c_str()));
    const DornImage::FIBitmapPtr narrow(FreeImage_Allocate(2, 5000, 8));
    ASSERT_TRUE(FreeImage_Save(FIF_PNG, narrow.get(), (scratch / "narrow.png").c_str()));
    const std::map<std::string, std::string> reasons = {
        {scratch / "narrow.png", "the picture is too narrow"},
        {scratch / "white.png", "the page is empty"},
        {dataFile("photos/mountains_canon_ixus40.jpg"), "no direction stands out"},
        {writeRuledPage(scratch / "steep.png", 15.7, 15.7), "the answer lies at the edge of the band"},
        {writeRuledPage(scratch / "halves.png", -0.6, 0.6), "the parts of the page disagree"}};
    for (const auto& [file, reason] : reasons) {
        SCOPED_TRACE(file);
        const json page = onlyPage({file}, 6);
        EXPECT_TRUE(page.at("angle").is_null());
        EXPECT_EQ(page.at("confidence"), 0.0);
        EXPECT_EQ(page.at("reason").get<std::string>().rfind(reason, 0), 0U) << page.at("reason");
    }
    EXPECT_NE(runTool({"skew", scratch / "white.png"}).out.find("no skew measured: the page is empty"),
              std::string::npos);
    EXPECT_EQ(runTool({"skew", scratch / "gone.png"}).exitCode, 3);
    EXPECT_EQ(runTool({"skew", scratch / "gone.png", scratch / "white.png"}).exitCode, 2);
}

TEST(Skew, DrawsWhatItMeasured) {
    const ScratchFolder scratch;
    const std::string page = writeRuledPage(scratch / "page.png", 4, 4);
    const std::string drawn = scratch / "drawn.png";
    ASSERT_EQ(runTool({"skew", "--page", "1", "--picture", drawn, page}).exitCode, 0);
    const DornImage::FIBitmapPtr picture(FreeImage_Load(FIF_PNG, drawn.c_str()));
    ASSERT_NE(picture.get(), nullptr);
    // The page takes half of its 1100 x 1400 pixels. The highest red line falls from column 0 to 549.
    ASSERT_EQ(FreeImage_GetHeight(picture.get()), 700U);
    const auto highestRed = [&picture](unsigned column) {
        RGBQUAD colour{};
        unsigned y = 699;
        while (y > 0 && (!FreeImage_GetPixelColor(picture.get(), column, y, &colour) || colour.rgbRed < 200 ||
                         colour.rgbGreen > 50)) {
            --y;
        }
        return static_cast<double>(y);
    };
    EXPECT_NEAR(highestRed(50) - highestRed(500), 450 * std::tan(4 * 3.141592653589793 / 180), 2);

    EXPECT_EQ(runTool({"skew", "--picture", drawn, page}).exitCode, 1);
    EXPECT_EQ(runTool({"skew", "--page", "1", "--picture", drawn, page, page}).exitCode, 1);
    EXPECT_EQ(runTool({"skew", "--page", "1", "--picture", scratch / "no/drawn.png", page}).exitCode, 4);
}
