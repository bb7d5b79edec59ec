// Runs a fuzz target over its seeds and over everything that it has ever found in the library.

#include "tests/ScratchDirectory.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

TEST(FuzzSeeds, DORN_FUZZ_TARGET) {
    int seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(DORN_FUZZ_SEEDS)) {
        SCOPED_TRACE(entry.path());
        const std::string bytes = dorntest::readFile(entry.path());
        // The beginnings of a seed are seeds, too, except of files: codecs believe what is left of a header,
        // and ask for as much memory as it says.
        const std::size_t cuts = DORN_FUZZ_CUTS;
        const std::size_t step = std::max<std::size_t>(bytes.size() / cuts, 1);
        for (std::size_t cut = 0; cut <= bytes.size(); cut += step) {
            // Memory of just that size, so that nothing behind it is read.
            const std::vector<std::uint8_t> part(bytes.begin(),
                                                 bytes.end() - static_cast<std::ptrdiff_t>(cut));
            EXPECT_EQ(LLVMFuzzerTestOneInput(part.data(), part.size()), 0);
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 5);
}

} // namespace
