#include "ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>

// A picture may only be passed on with its source and licence.
TEST(TestData, EveryPictureHasItsRowInTheReadme) {
    const std::string readme = contentOf(dataFile("README.md"));
    unsigned pictures = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(DORN_TEST_DATA)) {
        const std::string name = entry.path().lexically_relative(DORN_TEST_DATA).string();
        if (!entry.is_regular_file() || name == "README.md" || name.rfind("licences/", 0) == 0) {
            continue;
        }
        ++pictures;
        EXPECT_NE(readme.find("\n| " + name + " |"), std::string::npos) << name;
    }
    EXPECT_GT(pictures, 40U);
}
