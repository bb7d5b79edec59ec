#include "ToolRun.h"

#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using DornImage::FIBitmapPtr;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

FIBITMAP* decode(const std::string& file) {
    return FreeImage_Load(FreeImage_GetFileType(file.c_str(), 0), file.c_str(), 0);
}

ToolRun smooth(const std::string& input, const std::string& output, const std::string& kernel = "5",
               const std::string& sigma = "1.2") {
    return runTool({"smooth", input, output, "--kernel", kernel, "--sigma", sigma});
}

// Whether a file holds what the library makes of `colours`.
bool holdsSmoothed(const std::string& file, FIBITMAP* colours) {
    FIBITMAP* made = nullptr;
    const bool smoothed = ippiSmoothGaussian(colours, 5, 1.2F, &made);
    const FIBitmapPtr expected(made);
    const FIBitmapPtr got(decode(file));
    return smoothed && FreeImage_GetBPP(got.get()) == FreeImage_GetBPP(made) &&
           dorntest::meanDistance(got.get(), made) == 0;
}

} // namespace

TEST(Smooth, FiltersGreyAndColourAsTheyAre) {
    const ScratchFolder scratch;
    for (const char* input : {"depths/rgb_small.png", "depths/grey_jpeg.tif", "depths/progressive.jpg"}) {
        const ToolRun run = smooth(dataFile(input), scratch / "out.png");
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_THAT(run.err, IsEmpty());
        const FIBitmapPtr source(decode(dataFile(input)));
        EXPECT_TRUE(holdsSmoothed(scratch / "out.png", source.get())) << input;
    }
}

TEST(Smooth, MakesColoursOfOtherPicturesAndSaysSo) {
    const ScratchFolder scratch;
    struct {
        std::string input;
        bool grey;
        std::string message;
    } const cases[] = {
        {"depths/palette4.png", true, "smoothed as 8-bit grey: it has 4 bits a pixel (palette: grey)"},
        {"depths/palette8.png", false, "smoothed as 24-bit colour: it has 8 bits a pixel (palette: colour)"},
        {"depths/min_is_white_g4.tif", true, "smoothed as 8-bit grey: it has 1 bit a pixel"},
        {"depths/grey16.png", true, "smoothed as 8-bit grey: it has 16 bits a pixel"},
        {"depths/rgb48.tif", false, "smoothed as 24-bit colour: it has 48 bits a pixel"},
        {"depths/rgba32.bmp", false, "its transparency is left out"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        const ToolRun run = smooth(dataFile(c.input), scratch / "out.png");
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr(c.message));
        const FIBitmapPtr source(decode(dataFile(c.input)));
        const FIBitmapPtr colours(c.grey ? FreeImage_ConvertToGreyscale(source.get())
                                         : FreeImage_ConvertTo24Bits(source.get()));
        EXPECT_TRUE(holdsSmoothed(scratch / "out.png", colours.get()));
    }
}

TEST(Smooth, RefusesWhatItCannotSmooth) {
    const ScratchFolder scratch;
    const FIBitmapPtr numbers(FreeImage_AllocateT(FIT_DOUBLE, 8, 8));
    ASSERT_TRUE(FreeImage_Save(FIF_TIFF, numbers.get(), (scratch / "numbers.tif").c_str(), 0));
    const ToolRun run = smooth(scratch / "numbers.tif", scratch / "out.png");
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_THAT(run.err, HasSubstr("a picture of the kind double cannot be smoothed"));

    const ToolRun large = smooth(dataFile("depths/rgb_small.png"), scratch / "out.png", "99999");
    EXPECT_EQ(large.exitCode, 5);
    EXPECT_THAT(large.err, HasSubstr("a kernel of 99999 is too large"));

    for (const auto& [kernel, sigma] : std::vector<std::pair<std::string, std::string>>{
             {"4", "1"}, {"1", "1"}, {"-3", "1"}, {"3", "0"}, {"3", "-1"}, {"3", "nan"}, {"x", "1"}}) {
        EXPECT_EQ(smooth(dataFile("depths/rgb_small.png"), scratch / "out.png", kernel, sigma).exitCode, 1)
            << kernel << ' ' << sigma;
    }
    EXPECT_EQ(scratch.names(), std::vector<std::string>{"numbers.tif"});
}
