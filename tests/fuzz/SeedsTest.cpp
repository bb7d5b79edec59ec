// Runs the fuzz targets over their seeds, which hold everything that they have ever found.

#include "tests/ScratchDirectory.h"

#include <cstdint>
#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

TEST(FuzzSeeds, Dib) {
    int seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(DORN_FUZZ_CORPUS "/dib")) {
        SCOPED_TRACE(entry.path());
        const std::string bytes = dorntest::readFile(entry.path());
        // Every beginning of a seed is one, too.
        for (std::size_t size = 0; size <= bytes.size(); size += size < 200 ? 1 : 50) {
            EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), size), 0);
        }
        ++seeds;
    }
    EXPECT_GT(seeds, 10);
}

} // namespace
