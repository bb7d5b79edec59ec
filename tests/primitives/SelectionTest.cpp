#include "primitives/core/Selection.h"

#include <cstdint>
#include <map>

#include <gtest/gtest.h>

#include "primitives/core/Detection.h"

using namespace primitives;

namespace {

constexpr std::uint64_t kAll = 0x9FFFFFFF; // every bit that detection may set

TEST(Selection, PicksEveryRow) {
    const struct {
        std::uint64_t request;
        std::int32_t index;
        std::uint64_t features;
        IppStatus status;
    } rows[] = {
        {0x73083DF, 7, 0x73083DF, ippStsNoErr},
        {0x7300000, 7, 0x73081DF, ippStsIncompleteFeatures},
        {0xF083DF, 6, 0xF083DF, ippStsNoErr},
        {0xF00000, 6, 0xF081DF, ippStsIncompleteFeatures},
        {0x83DF, 5, 0x83DF, ippStsNoErr},
        {0x6300000 | 0x83DF, 5, 0x63083DF, ippStsNoErr}, // no BW
        {0x81FF & ~0x8000ULL, 4, 0x1FF, ippStsNoErr},
        {0x1DF & ~0x40ULL, 4, 0x1DF, ippStsIncompleteFeatures},
        {0xDF, 3, 0xDF, ippStsNoErr},
        {0x5F, 2, 0x5F, ippStsNoErr},
        {0x3F, 2, 0x3F, ippStsNoErr},
        {0x20, 2, 0x3F, ippStsIncompleteFeatures},
        {0x1F, 2, 0x1F, ippStsNoErr},
        {0xF, 1, 0xF, ippStsNoErr},
        {0x7, 0, 0x7, ippStsNoErr},
        {0x4, 0, 0x7, ippStsIncompleteFeatures},
        {0x3, 0, 0x3, ippStsCpuNotSupported},
        {0x2, 0, 0x3, ippStsCpuNotSupported},
        {0x1, 0, 0x1, ippStsCpuNotSupported},
        {0x0, 0, 0x1, ippStsCpuNotSupported},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.request);
        const Selection selection = selectVariant(row.request, kAll);
        EXPECT_EQ(selection.index, row.index);
        EXPECT_EQ(selection.features, row.features);
        EXPECT_EQ(selection.status, row.status);
    }
}

TEST(Selection, ComparesTheRequestWithTheProcessor) {
    // Without AVX state nothing above SSE4.2 is left, and exactly the wide bits go.
    Selection selection = selectVariant(0x7FF83DF, 0xDF);
    EXPECT_EQ(selection.index, 3);
    EXPECT_EQ(selection.features, 0xF02DFU);
    EXPECT_EQ(selection.status, ippStsFeatureNotSupported);

    // A bit that the processor lacks stays in the mask and counts.
    selection = selectVariant(0x83DF, 0x3DF);
    EXPECT_EQ(selection.index, 5);
    EXPECT_EQ(selection.status, ippStsFeatureNotSupported);

    // An unknown bit is usually absent as well, which gives the other status.
    EXPECT_EQ(selectVariant(0x2000000FULL, kAll).status, ippStsFeatureNotSupported);
    EXPECT_EQ(selectVariant(0x2000000FULL, kAll | 0x20000000).status, ippStsUnknownFeature);
    EXPECT_EQ(selectVariant((std::uint64_t{1} << 62) | 7, ~IPP_FEATURE_FORCE).status, ippStsUnknownFeature);
}

TEST(Selection, ForcedRequestsAreTakenAsTheyAre) {
    Selection selection = selectVariant(0x73081DF | IPP_FEATURE_FORCE, 0x7);
    EXPECT_EQ(selection.index, 7);
    EXPECT_EQ(selection.features, 0x73081DFU);
    EXPECT_EQ(selection.status, ippStsNoErr);

    selection = selectVariant(IPP_FEATURE_FORCE | 0x20000001, 0x7);
    EXPECT_EQ(selection.index, 0);
    EXPECT_EQ(selection.features, 0x20000001U);
    EXPECT_EQ(selection.status, ippStsCpuNotSupported);
}

// Answers in the place of a processor.
std::map<std::uint64_t, CpuidRegisters> leaves;
std::uint64_t savedStates = 0;

CpuidRegisters& leaf(std::uint32_t number, std::uint32_t subleaf = 0) {
    return leaves[(std::uint64_t{number} << 32) | subleaf];
}

constexpr ProcessorQueries kFake = {
    [](std::uint32_t number, std::uint32_t subleaf) { return leaf(number, subleaf); },
    [] { return savedStates; }};

class Detection : public testing::Test {
protected:
    void SetUp() override {
        leaves.clear();
        savedStates = 0;
        leaf(0).eax = 7;
    }
};

constexpr std::uint32_t bit(int number) {
    return std::uint32_t{1} << number;
}

TEST_F(Detection, ReadsEveryBit) {
    const struct {
        std::uint64_t feature;
        std::uint32_t leaf;
        std::uint32_t CpuidRegisters::*word;
        int number;
    } bits[] = {
        {0x1, 1, &CpuidRegisters::edx, 23},        {0x2, 1, &CpuidRegisters::edx, 25},
        {0x4, 1, &CpuidRegisters::edx, 26},        {0x8, 1, &CpuidRegisters::ecx, 0},
        {0x10, 1, &CpuidRegisters::ecx, 9},        {0x20, 1, &CpuidRegisters::ecx, 22},
        {0x40, 1, &CpuidRegisters::ecx, 19},       {0x80, 1, &CpuidRegisters::ecx, 20},
        {0x100, 1, &CpuidRegisters::ecx, 28},      {0x400, 1, &CpuidRegisters::ecx, 25},
        {0x800, 1, &CpuidRegisters::ecx, 1},       {0x2000, 1, &CpuidRegisters::ecx, 30},
        {0x4000, 1, &CpuidRegisters::ecx, 29},     {0x10000, 7, &CpuidRegisters::ebx, 19},
        {0x20000, 7, &CpuidRegisters::ebx, 18},    {0x80000, 7, &CpuidRegisters::ebx, 29},
        {0x100000, 7, &CpuidRegisters::ebx, 16},   {0x200000, 7, &CpuidRegisters::ebx, 28},
        {0x400000, 7, &CpuidRegisters::ebx, 27},   {0x800000, 7, &CpuidRegisters::ebx, 26},
        {0x1000000, 7, &CpuidRegisters::ebx, 30},  {0x2000000, 7, &CpuidRegisters::ebx, 17},
        {0x4000000, 7, &CpuidRegisters::ebx, 31},  {0x8000000, 7, &CpuidRegisters::ecx, 1},
        {0x10000000, 7, &CpuidRegisters::ebx, 14}, {0x80000000, 1, &CpuidRegisters::eax, 0},
    };
    for (const auto& entry : bits) {
        SetUp();
        leaf(entry.leaf).*entry.word = entry.feature == 0x80000000 ? 0xB10 : bit(entry.number);
        EXPECT_EQ(gatherFeatures(kFake), entry.feature);
        if (entry.leaf == 7) {
            leaf(0).eax = 6;
            EXPECT_EQ(gatherFeatures(kFake), 0U) << "leaf 7 read beyond the maximum";
        }
    }
}

TEST_F(Detection, AsksForCombinations) {
    // The AVX state needs both the processor's leave to ask and both bits of the answer.
    savedStates = 6;
    leaf(1).ecx = bit(27);
    EXPECT_EQ(gatherFeatures(kFake), 0U);
    leaf(1).ecx = bit(27) | bit(28);
    EXPECT_EQ(gatherFeatures(kFake), 0x300U);
    EXPECT_FALSE(gatherSavedStates(kFake).avx512);
    savedStates = 2;
    EXPECT_EQ(gatherFeatures(kFake), 0x100U);
    savedStates = 0xE7;
    EXPECT_TRUE(gatherSavedStates(kFake).avx512);

    // All four of FMA, AVX2, BMI1 and BMI2.
    leaf(1).ecx = bit(12);
    leaf(7).ebx = bit(5) | bit(3) | bit(8);
    EXPECT_EQ(gatherFeatures(kFake), 0x8000U);
    for (const int missing : {5, 3, 8}) {
        leaf(7).ebx = (bit(5) | bit(3) | bit(8)) & ~bit(missing);
        EXPECT_EQ(gatherFeatures(kFake), 0U) << missing;
    }

    SetUp();
    leaf(1).eax = 0xB00;
    leaf(0x20000001).edx = bit(1);
    EXPECT_EQ(gatherFeatures(kFake), 0x1000U);
    leaf(1).eax = 0xA00;
    EXPECT_EQ(gatherFeatures(kFake), 0U);

    leaf(0x80000001).ecx = bit(8);
    leaf(0x80000000).eax = 0x80000000;
    EXPECT_EQ(gatherFeatures(kFake), 0U);
    leaf(0x80000000).eax = 0x80000001;
    EXPECT_EQ(gatherFeatures(kFake), 0x40000U);
}

TEST_F(Detection, MachinesOfNote) {
    // AVX2 without BMI2 is an AVX machine.
    leaf(1).edx = bit(23) | bit(25) | bit(26);
    leaf(1).ecx = bit(0) | bit(9) | bit(19) | bit(20) | bit(28) | bit(27) | bit(12);
    leaf(7).ebx = bit(5) | bit(3);
    savedStates = 7;
    std::uint64_t features = gatherFeatures(kFake);
    EXPECT_EQ(selectVariant(features, features).index, 4);

    // AVX that the system doesn't save.
    savedStates = 3;
    features = gatherFeatures(kFake);
    EXPECT_EQ(selectVariant(features, features).index, 3);
    EXPECT_EQ(selectVariant(features, features).status, ippStsFeatureNotSupported);
}

TEST_F(Detection, FindsTheLargestDataCache) {
    EXPECT_EQ(gatherMaxCacheSize(kFake), 0);
    leaf(4, 0) = {1, (7 << 22) | 63, 63, 0};         // data, 8 ways of 64 sets of 64 bytes
    leaf(4, 1) = {2, (1023U << 22) | 63, 0xFFFF, 0}; // code
    leaf(4, 2) = {3, (15 << 22) | (1 << 12) | 63, 2047, 0};
    EXPECT_EQ(gatherMaxCacheSize(kFake), 16 * 2 * 64 * 2048);
    leaf(4, 3) = {3, 0xFFFFFFFF, 0xFFFFFFFF, 0};
    EXPECT_EQ(gatherMaxCacheSize(kFake), 0x7FFFFFFF);

    // The other leaf counts only where the first is empty and the processor says that it exists.
    SetUp();
    leaf(0x8000001D, 0) = {1, (7 << 22) | 63, 63, 0};
    EXPECT_EQ(gatherMaxCacheSize(kFake), 0);
    leaf(0x80000000).eax = 0x8000001D;
    leaf(0x80000001).ecx = bit(22);
    EXPECT_EQ(gatherMaxCacheSize(kFake), 32768);
}

TEST_F(Detection, KnowsOneVendor) {
    EXPECT_FALSE(isNativeVendor(kFake));
    leaf(0) = {7, 0x756E6547, 0x6C65746E, 0x49656E69};
    EXPECT_TRUE(isNativeVendor(kFake));
    leaf(0).ecx ^= 1;
    EXPECT_FALSE(isNativeVendor(kFake));
}

} // namespace
