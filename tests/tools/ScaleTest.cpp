#include "Decoded.h"
#include "ToolRun.h"

#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

ToolRun scale(const std::string& input, const std::string& output, std::vector<std::string> options) {
    options.insert(options.begin(), {"scale", input, output});
    return runTool(options);
}

} // namespace

TEST(Scale, ReachesTheSizeInEachOfItsWays) {
    const ScratchFolder scratch;
    const std::string fax =
        dataFile("pages/fax_standard_204x98_g3_1d.tif"); // 1728 x 1100 pixels, 204 x 100 dots an inch
    const struct {
        std::string input;
        std::vector<std::string> options;
        unsigned width, height, depth, dotsPerMetreX, dotsPerMetreY;
        std::string message;
    } cases[] = {
        {fax, {"--size", "864x550"}, 864, 550, 1, 4015, 1968, ""},
        {fax, {"--fit", "300x400", "--to", "grey"}, 300, 390, 8, 1394, 1395, ""},
        {fax, {"--dpi", "100"}, 847, 1100, 1, 3937, 3937, ""},
        {dataFile("photos/street_nikon_gps.jpg"), {"--percent", "12.5"}, 80, 60, 24, 354, 354, ""},
        {dataFile("photos/street_nikon_gps.jpg"), {"--fit", "99999x720"}, 960, 720, 24, 4252, 4252, ""},
        {dataFile("photos/street_nikon_gps.jpg"), {"--percent", "0.001"}, 1, 1, 24, 4, 5, ""},
        {dataFile("depths/grey16.png"),
         {"--size", "9x9"},
         9,
         9,
         8,
         199,
         199,
         "scaled as 8-bit grey: it has 16 bits"},
        {dataFile("depths/palette_alpha.png"),
         {"--size", "9x9"},
         9,
         9,
         32,
         199,
         199,
         "scaled as 32-bit colour"},
        {dataFile("depths/rgb48.tif"), {"--size", "9x9"}, 9, 9, 48, 824, 1181, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input + " " + c.options[1]);
        const ToolRun run = scale(c.input, scratch / "out.png", c.options);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_THAT(run.err, c.message.empty() ? testing::IsEmpty()
                                               : testing::Matcher<std::string>(HasSubstr(c.message)));
        const Decoded got(scratch / "out.png");
        EXPECT_EQ(FreeImage_GetWidth(got.get()), c.width);
        EXPECT_EQ(FreeImage_GetHeight(got.get()), c.height);
        EXPECT_EQ(got.depth(), c.depth);
        EXPECT_EQ(FreeImage_GetDotsPerMeterX(got.get()), c.dotsPerMetreX);
        EXPECT_EQ(FreeImage_GetDotsPerMeterY(got.get()), c.dotsPerMetreY);
    }
}

TEST(Scale, UsesTheMethodAndKeepsTheColourProfile) {
    const ScratchFolder scratch;
    dornbase::Reference<DornImage::Image> source;
    ASSERT_TRUE(DornImage::loadImage(dataFile("depths/rgb_small.png"), source));
    const char profile[] = "not a profile, but kept";
    FreeImage_CreateICCProfile(source->getFIBTMAP(), const_cast<char*>(profile), sizeof profile);
    ASSERT_TRUE(source->Save(FIF_TIFF, scratch / "in.tif", TIFF_LZW));
    for (const auto& [method, type] : {std::pair{"linear", DornImage::Image::ScaleTypeLinear},
                                       {"cubic", DornImage::Image::ScaleTypeCubic},
                                       {"lanczos", DornImage::Image::ScaleTypeLanczos}}) {
        ASSERT_EQ(scale(scratch / "in.tif", scratch / "out.tif",
                        {"--size", "70x90", "--method", method, "--flags", "0x4000"})
                      .exitCode,
                  0);
        const Decoded got(scratch / "out.tif");
        dornbase::Reference<DornImage::Image> expected;
        ASSERT_TRUE(source->GetScaled(70, 90, type, expected));
        EXPECT_EQ(dorntest::meanDistance(got.get(), expected->getFIBTMAP()), 0) << method;
        const FIICCPROFILE* const kept = FreeImage_GetICCProfile(got.get());
        ASSERT_EQ(kept->size, sizeof profile);
        EXPECT_STREQ(static_cast<const char*>(kept->data), profile);
    }
}

TEST(Scale, TakesAllPages) {
    const ScratchFolder scratch;
    const ToolRun run = scale(dataFile("multipage/mixed_1bit_grey_colour_palette.tif"), scratch / "out.tif",
                              {"--fit", "60x60"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const unsigned depths[] = {1, 8, 24, 8};
    for (int page = 0; page < 4; ++page) {
        const Decoded got(scratch / "out.tif", page);
        EXPECT_EQ(got.depth(), depths[page]);
        EXPECT_EQ(std::max(FreeImage_GetWidth(got.get()), FreeImage_GetHeight(got.get())), 60U);
    }
}

TEST(Scale, RefusesWithReasonAndWithoutOutput) {
    const ScratchFolder scratch;
    const DornImage::FIBitmapPtr numbers(FreeImage_AllocateT(FIT_FLOAT, 8, 8));
    ASSERT_TRUE(FreeImage_Save(FIF_TIFF, numbers.get(), (scratch / "numbers.tif").c_str(), 0));
    const DornImage::FIBitmapPtr small(FreeImage_Allocate(5, 9, 8));
    ASSERT_TRUE(FreeImage_Save(FIF_PNG, small.get(), (scratch / "small.png").c_str(), 0));
    const std::string page = dataFile("depths/rgb_small.png");
    const struct {
        std::string input;
        std::vector<std::string> options;
        int exitCode;
        std::string message;
    } cases[] = {
        {page, {}, 1, "Exactly 1 option from [--size,--percent,--dpi,--fit]"},
        {page, {"--dpi", "70", "--percent", "50"}, 1, "and 2 were given"},
        {page, {"--size", "0x10"}, 1, "not a width and a height in pixels"},
        {page, {"--fit", "-5x10"}, 1, "not a width and a height in pixels"},
        {page, {"--percent", "nan"}, 1, "not above 0"},
        {page, {"--dpi", "0"}, 1, "not in range"},
        {page, {"--percent", "50", "--method", "spline"}, 1, "spline not in {linear,cubic,lanczos}"},
        {page, {"--size", "99999x99999"}, 5, "would take more than 2 GiB"},
        {page, {"--percent", "1e300"}, 5, "would take more than 2 GiB"},
        {scratch / "numbers.tif", {"--size", "9x9"}, 3, "a picture of the kind float cannot be scaled"},
        {scratch / "small.png", {"--size", "9x9"}, 3, "too small for the method lanczos, which takes 6 x 6"},
        {dataFile("depths/rgb48.tif"),
         {"--size", "9x9", "--format", "jpg"},
         4,
         "cannot hold pictures of the kind rgb16; see --to"},
        {scratch / "none.png", {"--size", "9x9"}, 3, "none.png"},
    };
    for (const auto& c : cases) {
        const ToolRun run = scale(c.input, scratch / "out.png", c.options);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_THAT(run.err, HasSubstr(c.message));
    }
    EXPECT_THAT(scratch.names(), testing::ElementsAre("numbers.tif", "small.png"));
}
