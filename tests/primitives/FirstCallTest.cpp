// The state before the first call, each time in a process of its own.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "primitives/primitives.h"

namespace {

class FirstCallDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// The number of the first thing that isn't so, counted from 1; 0 when all are.
int firstFalse(std::initializer_list<bool> facts) {
    int number = 0;
    for (const bool fact : facts) {
        ++number;
        if (!fact) {
            return number;
        }
    }
    return 0;
}

int callFromManyThreads() {
    constexpr int count = 16;
    std::latch ready{count};
    std::atomic<int> served{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            ready.arrive_and_wait();
            Ipp8u* block = ippsMalloc_8u(1000 + i);
            if (block && ippGetVariantIndex() >= 0) {
                std::memset(block, i, static_cast<std::size_t>(1000 + i));
                ++served;
            }
            ippsFree(block);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const int chosen = ippGetVariantIndex();
    ippInit();
    return firstFalse({served == count, ippGetVariantIndex() == chosen, ippProbeVariant() >= 0});
}

TEST_F(FirstCallDeathTest, ThreadsAtOnceAreAllServed) {
    EXPECT_EXIT(std::exit(callFromManyThreads()), testing::ExitedWithCode(0), "");
}

int startAlone() {
    const bool untouched = ippGetVariantIndex() == -1 && ippGetEnabledCpuFeatures() == 7 &&
                           ippTestFeatures(7) == 1 && ippTestFeatures(8) == 0;
    ippiFree(nullptr);
    std::uint64_t detected = 0;
    return firstFalse({untouched, ippGetVariantIndex() >= 0, ippGetCpuFeatures(&detected, nullptr) == 0,
                       (ippGetEnabledCpuFeatures() & detected & 7) == 7});
}

TEST_F(FirstCallDeathTest, AnEntryPointChoosesByItself) {
    EXPECT_EXIT(std::exit(startAlone()), testing::ExitedWithCode(0), "");
}

// What was in force until then counts as detected from there on: before the first call that is the floor.
int forceBeforehand() {
    const bool forced = ippSetCpuFeatures(ippGetVariantFeatures(1) | IPP_FEATURE_FORCE) == ippStsNoErr;
    Ipp8u* block = ippsMalloc_8u(1);
    ippsFree(block);
    std::uint64_t detected = 0;
    const bool asked = ippGetCpuFeatures(&detected, nullptr) == ippStsNoErr;
    return firstFalse({forced, block != nullptr, ippGetVariantIndex() == 1, asked, detected == 7,
                       ippSetCpuFeatures(0xF) == ippStsFeatureNotSupported});
}

TEST_F(FirstCallDeathTest, AForcedVariantStays) {
    EXPECT_EXIT(std::exit(forceBeforehand()), testing::ExitedWithCode(0), "");
}

} // namespace
