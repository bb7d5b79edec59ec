#include "ToolRun.h"

#include "primitives/primitives.h"

#include <gtest/gtest.h>

using nlohmann::json;

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
