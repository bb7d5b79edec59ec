// Runs the larger example programs as a user would, and looks at what they leave behind.

#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ImageProcessing/DornImage/Pixels.h"
#include "tests/ScratchDirectory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using DornImage::FIBitmapPtr;

const std::string data = DORN_TEST_DATA "/";

/// What a command prints; the test fails when the command does.
std::string output(const std::string& command) {
    const dorntest::ScratchDirectory scratch;
    const std::string file = (scratch / "output").string();
    EXPECT_EQ(std::system((command + " > '" + file + "'").c_str()), 0) << command;
    return dorntest::readFile(file);
}

TEST(Scan2Pdf, PagesLookLikeTheirSources) {
    const struct {
        std::string file;
        int page;
        std::string coding;
        bool upsideDown = false;
        bool tooFine = false; // for being looked at in small
    } cases[] = {
        {"multipage/mixed_1bit_grey_colour_palette.tif", 0, "ccitt"},
        {"multipage/mixed_1bit_grey_colour_palette.tif", 1, "image"},
        {"multipage/mixed_1bit_grey_colour_palette.tif", 2, "image"},
        {"multipage/mixed_1bit_grey_colour_palette.tif", 3, "image"},
        {"depths/min_is_white_g4.tif", 0, "ccitt", false, true},
        {"depths/min_is_black_g4.tif", 0, "ccitt", false, true},
        {"photos/mountains_canon_ixus40.jpg", 0, "jpeg"},
        {"exif/orientation_3.jpg", 0, "jpeg", true},
        {"depths/cmyk_adobe.jpg", 0, "jpeg"},
        {"depths/palette4.png", 0, "image"},
    };
    const dorntest::ScratchDirectory scratch;
    const std::string pdf = (scratch / "pages.pdf").string();
    std::string command = DORN_SCAN2PDF;
    for (const auto& test : cases) {
        command += test.page == 0 ? " " + data + test.file : "";
    }
    output(command + " " + pdf);
    const std::string info = output("pdfinfo " + pdf);
    EXPECT_NE(info.find("Page size:       612 x 792.48 pts"), std::string::npos) << info;
    EXPECT_NE(info.find("Pages:           " + std::to_string(std::size(cases))), std::string::npos);
    output("pdfimages " + pdf + " " + (scratch / "image").string());
    output("pdftoppm -scale-to-x 20 -scale-to-y 20 " + pdf + " " + (scratch / "page").string());
    std::istringstream list(output("pdfimages -list " + pdf));
    std::string line;
    std::getline(list, line);
    std::getline(list, line);
    int number = 0;
    for (const auto& test : cases) {
        ++number;
        SCOPED_TRACE(testing::Message() << test.file << " page " << test.page);
        std::getline(list, line);
        EXPECT_NE(line.find(" " + test.coding + " "), std::string::npos) << line;
        FIBitmapPtr source;
        if (test.file.find("multipage") == 0) {
            FIMULTIBITMAP* const pages =
                FreeImage_OpenMultiBitmap(FIF_TIFF, (data + test.file).c_str(), FALSE, TRUE);
            FIBITMAP* const page = FreeImage_LockPage(pages, test.page);
            source.attach(FreeImage_ConvertTo24Bits(page));
            FreeImage_UnlockPage(pages, page, FALSE);
            FreeImage_CloseMultiBitmap(pages, 0);
        } else {
            const std::string file = data + test.file;
            source.attach(FreeImage_ConvertTo24Bits(
                FIBitmapPtr(FreeImage_Load(FreeImage_GetFileType(file.c_str()), file.c_str())).get()));
        }
        if (test.upsideDown) {
            source.attach(FreeImage_Rotate(FIBitmapPtr(FreeImage_Clone(source.get())).get(), 180));
        }
        // The picture in the PDF, bit for bit, but that JPEG decoders differ by a level or two.
        char name[40];
        std::snprintf(name, sizeof name, "image-%03d.%s", number - 1, test.coding == "ccitt" ? "pbm" : "ppm");
        const FIBitmapPtr held(FreeImage_Load(test.coding == "ccitt" ? FIF_PBMRAW : FIF_PPMRAW,
                                              (scratch / name).string().c_str()));
        EXPECT_LE(
            dorntest::meanDistance(FIBitmapPtr(FreeImage_ConvertTo24Bits(held.get())).get(), source.get()),
            test.coding == "jpeg" ? 2.0 : 0.0);
        // The page as it is shown, in small.
        std::snprintf(name, sizeof name, "page-%02d.ppm", number);
        const FIBitmapPtr shown(FreeImage_Load(FIF_PPMRAW, (scratch / name).string().c_str()));
        const FIBitmapPtr small(FreeImage_Rescale(source.get(), 20, 20, FILTER_BOX));
        EXPECT_LT(dorntest::meanDistance(shown.get(), small.get()), test.tooFine ? 256 : 16);
    }
}

TEST(Scan2Pdf, TellsWhatIsNoPage) {
    const dorntest::ScratchDirectory scratch;
    const std::string command = std::string(DORN_SCAN2PDF) + " " + data + "damaged/text.png ";
    EXPECT_NE(std::system((command + (scratch / "none.pdf").string() + " 2>/dev/null").c_str()), 0);
    EXPECT_EQ(dorntest::entryCount(scratch.path()), 0);
}

} // namespace
