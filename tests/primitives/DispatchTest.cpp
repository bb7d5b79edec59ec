#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "VariantTest.h"

extern "C" int callsFromC(void);

namespace {

class Dispatch : public VariantTest {};
INSTANTIATE_VARIANTS(Dispatch);

TEST_P(Dispatch, RunsTheVariantThatWasAskedFor) {
    EXPECT_EQ(ippGetVariantIndex(), GetParam());
    EXPECT_EQ(ippProbeVariant(), GetParam());
    EXPECT_EQ(ippGetEnabledCpuFeatures(), ippGetVariantFeatures(GetParam()));
    EXPECT_EQ(ippTestFeatures(ippGetVariantFeatures(GetParam())), 1);
    EXPECT_EQ(ippTestFeatures(ippGetVariantFeatures(GetParam()) | IPP_FEATURE_SHA), 0);
}

// Must run before any test that pins a variant; those with parameters come last.
TEST(Processor, GetsItsVariant) {
    int expected = 0;
    if (const char* told = std::getenv("DORN_TEST_VARIANT")) {
        expected = std::atoi(told);
    } else {
#if !defined(DORN_PORTABLE_PRIMITIVES)
        // What the compiler's runtime thinks of the processor, many-core ones left aside.
        const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                          __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
        const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512cd") &&
                            __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
                            __builtin_cpu_supports("avx512vl");
        expected = avx512                                  ? 7
                   : avx2                                  ? 5
                   : __builtin_cpu_supports("avx") != 0    ? 4
                   : __builtin_cpu_supports("sse4.2") != 0 ? 3
                   : __builtin_cpu_supports("ssse3") != 0  ? 2
                   : __builtin_cpu_supports("sse3") != 0   ? 1
                                                           : 0;
#endif
    }
    ippInit();
    EXPECT_EQ(ippGetVariantIndex(), expected);
    EXPECT_EQ(ippIsVariantRunnable(expected), 1);
    EXPECT_EQ(ippProbeVariant(), expected);
}

TEST(FrameQueries, AnswerForEveryIndex) {
    std::set<std::string> names;
    for (int index = 0; index < IPP_VARIANT_COUNT; ++index) {
        names.insert(ippGetVariantName(index));
        EXPECT_NE(ippGetVariantFeatures(index), 0U);
    }
    EXPECT_EQ(names.size(), 8U);
    EXPECT_EQ(ippIsVariantRunnable(0), 1);
    for (const int none : {-1, IPP_VARIANT_COUNT}) {
        EXPECT_EQ(ippGetVariantName(none), nullptr);
        EXPECT_EQ(ippGetVariantFeatures(none), 0U);
        EXPECT_EQ(ippIsVariantBuilt(none), 0);
        EXPECT_EQ(ippIsVariantRunnable(none), 0);
    }
    EXPECT_LE(ippIsAvx512StateSaved(), ippIsAvxStateSaved());
}

TEST(FrameQueries, CpuidOnRequest) {
    EXPECT_EQ(ippGetCpuFeatures(nullptr, nullptr), ippStsNullPtrErr);

    std::uint32_t words[4] = {0, 11, 0, 12};
    std::uint64_t mask = 0;
    EXPECT_EQ(ippGetCpuFeatures(&mask, words), ippStsNoErr);
    EXPECT_EQ(words[1], 11U) << "written without being asked";

    std::uint64_t again = 0;
    std::memcpy(&again, "getinfoa", sizeof again);
    EXPECT_EQ(ippGetCpuFeatures(&again, words), ippStsNoErr);
    EXPECT_EQ(again, mask);
#if defined(DORN_PORTABLE_PRIMITIVES)
    EXPECT_EQ(words[0], 0U);
#else
    EXPECT_GE(words[0], 1U);
    EXPECT_NE(words[1], 11U);
#endif
}

TEST(FrameQueries, CacheSizeIsKnownOrSaysSo) {
    EXPECT_EQ(ippGetMaxCacheSizeB(nullptr), ippStsNullPtrErr);
    int size = -1;
    const IppStatus status = ippGetMaxCacheSizeB(&size);
    EXPECT_EQ(size > 0 ? ippStsNoErr : ippStsUnknownCacheSize, status);
    EXPECT_GE(size, 0);
}

TEST(PublicHeader, ServesC) {
    EXPECT_EQ(callsFromC(), 0);
}

TEST(Status, HasNamesAndTexts) {
    EXPECT_STREQ(ippGetStatusName(-9999), "ippStsNotSupportedModeErr");
    EXPECT_STREQ(ippGetStatusName(0), "ippStsNoErr");
    EXPECT_STREQ(ippGetStatusString(-8), "a required pointer is null");
    EXPECT_STREQ(ippGetStatusName(-7), "unknown");
    EXPECT_STREQ(ippGetStatusString(-7), "unknown status");
}

} // namespace
