#ifndef DORNIMAGE_TESTS_PRIMITIVES_VARIANTTEST_H
#define DORNIMAGE_TESTS_PRIMITIVES_VARIANTTEST_H

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "primitives/primitives.h"

// A test that runs once per variant, with that variant in force. Variants that the processor can't execute
// are reported as skipped. Afterwards the variant from before is in force again.
//
//     class BoxFilter : public VariantTest {};
//     INSTANTIATE_VARIANTS(BoxFilter);
//     TEST_P(BoxFilter, KeepsFlatImages) { ... }
class VariantTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override {
        ippInit();
        before_ = ippGetVariantIndex();
        if (ippIsVariantBuilt(GetParam()) == 0 || ippIsVariantRunnable(GetParam()) == 0) {
            GTEST_SKIP() << ippGetVariantName(GetParam()) << " can't run here";
        }
        pin(GetParam());
    }

    void TearDown() override { pin(before_); }

private:
    static void pin(int variant) {
        ASSERT_EQ(ippSetCpuFeatures(ippGetVariantFeatures(variant) | IPP_FEATURE_FORCE), ippStsNoErr);
        ASSERT_EQ(ippProbeVariant(), variant);
    }

    int before_ = 0;
};

// How often a random case is tried: `full` times, a tenth of that when DORN_TEST_SHORT is set, as on emulated
// processors.
inline int rounds(int full) {
    return std::getenv("DORN_TEST_SHORT") ? (full + 9) / 10 : full;
}

inline std::string variantTestName(const testing::TestParamInfo<int>& info) {
    return std::string(1, 'v').append(std::to_string(info.param));
}

#define INSTANTIATE_VARIANTS(Suite)                                                                          \
    INSTANTIATE_TEST_SUITE_P(Variants, Suite, testing::Range(0, IPP_VARIANT_COUNT), variantTestName)

#endif
