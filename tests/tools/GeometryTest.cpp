#include "Decoded.h"
#include "ToolRun.h"

#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using DornImage::FIBitmapPtr;
using dorntest::meanDistance;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string run(const std::vector<std::string>& arguments, int exitCode = 0) {
    const ToolRun made = runTool(arguments);
    EXPECT_EQ(made.exitCode, exitCode) << made.err;
    return made.out + made.err;
}

json pageOf(const std::string& verb, const std::string& file) {
    return runTool({verb, "--json", file}).json().at(0).at("pages").at(0);
}

bool sameContent(const std::string& one, const std::string& other) {
    return contentOf(one) == contentOf(other);
}

} // namespace

TEST(Rotate, TurnsClockwise) {
    const ScratchFolder scratch;
    const std::string input = dataFile("depths/rgb_small.png");
    const std::string output = scratch / "out.png";
    dornbase::Reference<DornImage::Image> image, expected;
    ASSERT_TRUE(DornImage::loadImage(input, image));
    for (const int angle : {90, 180, 270, -90, 450}) {
        EXPECT_THAT(run({"rotate", input, output, "--angle", std::to_string(angle)}), IsEmpty());
        const FIBitmapPtr turned(FreeImage_Rotate(image->getFIBTMAP(), -angle, nullptr));
        EXPECT_TRUE(samePixels(Decoded(output).get(), turned.get())) << angle;
    }
    run({"rotate", input, output, "--angle", "-720"});
    EXPECT_TRUE(sameContent(output, input));

    // On the same canvas, about the middle and about the upper left pixel.
    const double right = image->GetWidth() - 1;
    const double top = image->GetHeight() - 1;
    run({"rotate", input, output, "--angle", "-7.5"});
    ASSERT_TRUE(image->RotateEx(-7.5, right / 2, top / 2, expected));
    EXPECT_TRUE(samePixels(Decoded(output).get(), expected->getFIBTMAP()));
    run({"rotate", input, output, "--angle", "90", "--center=0,0"});
    ASSERT_TRUE(image->RotateEx(90, 0, top, expected));
    EXPECT_TRUE(samePixels(Decoded(output).get(), expected->getFIBTMAP()));

    // Pictures that can't be turned as they are.
    EXPECT_THAT(run({"rotate", dataFile("depths/palette8.png"), output, "--angle", "1"}),
                HasSubstr("turned as 24-bit colour: it has 8 bits a pixel (palette: colour)"));
    EXPECT_THAT(run({"rotate", dataFile("depths/palette4.png"), output, "--angle", "90"}),
                HasSubstr("turned as 8-bit grey"));
    run({"rotate", dataFile("pages/table_1bit_g4_150dpi.tif"), output, "--angle", "1"});
    EXPECT_EQ(Decoded(output).depth(), 1U);
}

TEST(Rotate, LosesNothingWhenAskedTo) {
    const ScratchFolder scratch;
    const std::string photo = dataFile("photos/street_nikon_gps.jpg");
    run({"rotate", photo, scratch / "turned.jpg", "--angle", "180", "--lossless"});
    run({"rotate", scratch / "turned.jpg", scratch / "turned.jpg", "--angle", "90", "--lossless"});
    run({"rotate", scratch / "turned.jpg", scratch / "turned.jpg", "--angle", "90", "--lossless"});
    EXPECT_TRUE(samePixels(Decoded(scratch / "turned.jpg").get(), Decoded(photo).get()));

    const std::string mixed = dataFile("multipage/mixed_1bit_grey_colour_palette.tif");
    run({"rotate", mixed, scratch / "turned.tif", "--angle", "90", "--lossless"});
    for (int page = 0; page < 4; ++page) {
        const FIBitmapPtr expected(FreeImage_Rotate(Decoded(mixed, page).get(), 270, nullptr));
        EXPECT_TRUE(samePixels(Decoded(scratch / "turned.tif", page).get(), expected.get())) << page;
    }
    const std::string fax = dataFile("pages/fax_standard_204x98_g3_1d.tif");
    run({"rotate", fax, scratch / "fax.tif", "--angle", "270", "--lossless"});
    EXPECT_EQ(pageOf("info", scratch / "fax.tif")["dotsPerInch"], json({{"x", 98.0}, {"y", 204.0}}));

    const auto before = scratch.names();
    const std::string target = scratch / "no.jpg";
    EXPECT_THAT(
        run({"rotate", dataFile("pages/letter_colour_300dpi.jpg"), target, "--angle", "90", "--lossless"}, 3),
        HasSubstr("blocks at its edge are incomplete"));
    for (std::vector<std::string> wrong :
         std::vector<std::vector<std::string>>{{fax, "90", "--lossless"},
                                               {photo, "45", "--lossless"},
                                               {photo, "inf"},
                                               {photo, "1", "--center", "1"}}) {
        wrong.insert(wrong.begin() + 1, {target, "--angle"});
        wrong.insert(wrong.begin(), "rotate");
        run(wrong, 1);
    }
    constexpr long full = 2000; // bytes
    for (const std::vector<std::string>& turn :
         {std::vector<std::string>{"rotate", "--angle", "180", "--lossless", photo, target},
          {"upright", dataFile("exif/orientation_6.jpg"), target}}) {
        const ToolRun stopped = runTool(turn, full);
        EXPECT_EQ(stopped.exitCode, 4);
        EXPECT_THAT(stopped.err, HasSubstr(target + ": cannot be written: File too large"));
    }
    EXPECT_EQ(scratch.names(), before);
}

TEST(Upright, TurnsByTheExifOrientation) {
    const ScratchFolder scratch;
    const Decoded expected(dataFile("exif/orientation_1.jpg"));
    const std::string out = scratch / "out.jpg";
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const std::string input = dataFile("exif/orientation_" + std::to_string(orientation) + ".jpg");
        EXPECT_THAT(run({"upright", input, out}),
                    HasSubstr(orientation == 1 ? "upright already" : "turned without loss"));
        EXPECT_EQ(sameContent(out, input), orientation == 1);
        EXPECT_LT(meanDistance(Decoded(out).get(), expected.get()), 0.4);
        EXPECT_EQ(pageOf("info", out)["orientation"], 1);
        EXPECT_EQ(pageOf("info", out)["metadata"], pageOf("info", input)["metadata"]);
        run({"upright", input, scratch / "out.png"});
        EXPECT_LT(meanDistance(Decoded(scratch / "out.png").get(), expected.get()), 0.4);

        // Where blocks are incomplete the picture is decoded; transposed ones keep theirs where they were.
        const Decoded whole(input);
        const FIBitmapPtr cut(FreeImage_Copy(whole.get(), 3, 5, 470, 470));
        FreeImage_CloneMetadata(cut.get(), whole.get());
        ASSERT_TRUE(FreeImage_Save(FIF_JPEG, cut.get(), (scratch / "cut.jpg").c_str(), 0));
        EXPECT_THAT(run({"upright", scratch / "cut.jpg", out}), HasSubstr(orientation == 1 ? "upright already"
                                                                          : orientation == 5 ? "without loss"
                                                                                             : "coded anew"));
        EXPECT_EQ(pageOf("info", out)["orientation"], 1);
        EXPECT_EQ(pageOf("info", out)["width"], orientation >= 5 ? 465 : 467);
    }
}

TEST(Deskew, LevelsPagesAndKeepsOthers) {
    const ScratchFolder scratch;
    const std::string level = scratch / "level.tif";
    EXPECT_THAT(run({"deskew", dataFile("pages/note_skewed_1bit_g4.tif"), level}),
                HasSubstr(": -1.40 degrees, turned back\n"));
    EXPECT_NEAR(pageOf("skew", level)["angle"], 0, 0.05);
    const json info = pageOf("info", level);
    EXPECT_EQ(info["width"], 2076);
    EXPECT_EQ(info["height"], 3086);
    EXPECT_EQ(info["depth"], 1);
    EXPECT_EQ(info["dotsPerInch"]["x"], 300);
    EXPECT_THAT(run({"deskew", level, scratch / "again.tif"}), HasSubstr("level to a pixel"));
    EXPECT_TRUE(sameContent(scratch / "again.tif", level));

    const std::string photo = dataFile("photos/street_nikon_gps.jpg");
    EXPECT_THAT(run({"deskew", photo, scratch / "photo.jpg"}, 6),
                HasSubstr("not turned, no skew measured: no direction stands out"));
    EXPECT_TRUE(sameContent(scratch / "photo.jpg", photo));

    // The angle is that on paper: in the pixels of a fax lines slope less.
    run({"deskew", dataFile("pages/fax_standard_204x98_g3_1d.tif"), level});
    run({"normalize", level, scratch / "square.tif"});
    EXPECT_NEAR(pageOf("skew", scratch / "square.tif")["angle"], 0, 0.1);
    EXPECT_EQ(pageOf("info", level)["height"], 1078);
    EXPECT_EQ(pageOf("info", level)["dotsPerInch"]["y"], 98);
}

TEST(Normalize, DoesWhatIsNeeded) {
    const ScratchFolder scratch;
    const struct {
        std::string input;
        std::string said;
        unsigned depth;
    } cases[] = {
        {"exif/orientation_6.jpg", "turned upright from orientation 6\n", 24},
        {"pages/fax_standard_204x98_g3_1d.tif", "pixels made square, 1728x1078 to 1728x2244\n", 1},
        {"depths/palette8.png", "palette made true colour\n", 24},
        {"depths/min_is_black_g4.tif", "nothing to do\n", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        const std::string out = scratch / "out" + c.input.substr(c.input.rfind('.'));
        EXPECT_THAT(run({"normalize", dataFile(c.input), out}), HasSubstr(": " + c.said));
        const json made = pageOf("info", out);
        EXPECT_EQ(made["depth"], c.depth);
        EXPECT_EQ(made["dotsPerInch"]["x"], made["dotsPerInch"]["y"]);
        EXPECT_EQ(made["orientation"], c.depth == 24 && c.said[0] == 't' ? json(1) : json());
        EXPECT_EQ(sameContent(out, dataFile(c.input)), c.said == "nothing to do\n");
    }
}
