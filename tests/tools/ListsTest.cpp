#include "ToolRun.h"

#include "primitives/primitives.h"

#include <gtest/gtest.h>

#include <map>

using nlohmann::json;

TEST(Formats, ListsWhatCanBeReadAndWritten) {
    const ToolRun run = runTool({"formats", "--json"});
    EXPECT_EQ(run.exitCode, 0);
    std::map<std::string, json> formats;
    for (const json& format : run.json()) {
        formats[format["format"]] = format;
    }
    EXPECT_EQ(formats["TIFF"]["mime"], "image/tiff");
    EXPECT_EQ(formats["TIFF"]["multiPage"], true);
    EXPECT_EQ(formats["TIFF"]["extensions"], (json{"tif", "tiff"}));
    EXPECT_EQ(formats["GIF"]["depths"], (json{1, 4, 8}));
    EXPECT_EQ(formats["PNG"]["types"], (json{"uint16", "rgb16", "rgba16"}));
    EXPECT_EQ(formats["G3"]["reads"], false);
    EXPECT_EQ(formats["PCX"]["reads"], true);
    EXPECT_EQ(formats["PCX"]["writes"], false);
    EXPECT_EQ(formats["ICO"]["offered"], false);

    const ToolRun table = runTool({"formats"});
    EXPECT_EQ(table.exitCode, 0);
    EXPECT_NE(table.out.find("jpg jif jpeg jpe"), std::string::npos);
}

TEST(Formats, TellsWhatToOfferForAFile) {
    const json page =
        runTool({"formats", "--json", "--for", dataFile("pages/table_1bit_g4_150dpi.tif")}).json();
    EXPECT_EQ(page["default"], "TIFF");
    EXPECT_EQ(page["extension"], "tif");
    EXPECT_EQ(page["formats"][0], "TIFF");
    EXPECT_EQ(page["formats"][1], "PNG");
    const std::string filter = page["filter"];
    EXPECT_EQ(filter.rfind("Tagged Image File Format (tif,tiff)|*.tif; *.tiff|Portable Network Graphics", 0),
              0U)
        << filter;
    EXPECT_EQ(filter.substr(filter.size() - 2), "||");

    const ToolRun none = runTool({"formats", "--json", "--for", dataFile("depths/palette4.png")});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_TRUE(none.json()["default"].is_null());
    EXPECT_TRUE(none.json()["formats"].empty());

    EXPECT_EQ(runTool({"formats", "--for", dataFile("damaged/empty.jpg")}).exitCode, 3);
}

TEST(Cpu, TellsTheVariantThatRuns) {
    const ToolRun run = runTool({"cpu", "--json"});
    EXPECT_EQ(run.exitCode, 0);
    const json cpu = run.json();
    ASSERT_EQ(cpu["variants"].size(), static_cast<std::size_t>(IPP_VARIANT_COUNT));
    int chosen = 0;
    for (const json& variant : cpu["variants"]) {
        EXPECT_EQ(variant["runnable"], ippIsVariantRunnable(variant["index"]) == 1);
        if (variant["chosen"]) {
            ++chosen;
            EXPECT_TRUE(variant["runnable"]);
            EXPECT_TRUE(variant["built"]);
        }
    }
    EXPECT_EQ(chosen, 1);
    EXPECT_NE(runTool({"cpu"}).out.find("chosen"), std::string::npos);
}
