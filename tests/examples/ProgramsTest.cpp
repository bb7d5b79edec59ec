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
using DornImage::Image;
using Picture = dornbase::Reference<Image>;

const std::string data = DORN_TEST_DATA "/";

#ifdef DORN_SCAN2PDF

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

#endif

#ifdef DORN_VIEWER

/// The screenshot of a session with the dummy video driver.
FIBITMAP* screenshot(const std::string& keys, const std::string& files) {
    const dorntest::ScratchDirectory scratch;
    const std::string file = (scratch / "window.bmp").string();
    const std::string command = std::string("SDL_VIDEODRIVER=dummy ") + DORN_VIEWER + " --keys '" + keys +
                                "' --screenshot " + file + " " + files;
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    const FIBitmapPtr shot(FreeImage_Load(FIF_BMP, file.c_str()));
    return FreeImage_ConvertTo24Bits(shot.get());
}

/// A dark window of that size with `shown` in its middle, or, if that is larger, its part from (left, top)
/// on.
FIBITMAP* expectedWindow(int width, int height, Image& shown, int left = 0, int top = 0) {
    FIBITMAP* const window = FreeImage_Allocate(width, height, 24);
    const RGBQUAD dark{64, 64, 64, 0};
    FreeImage_FillBackground(window, &dark);
    const int shownWidth = std::min<int>(width, static_cast<int>(shown.GetWidth()));
    const int shownHeight = std::min<int>(height, static_cast<int>(shown.GetHeight()));
    const FIBitmapPtr part(
        FreeImage_Copy(shown.getFIBTMAP(), left, top, left + shownWidth, top + shownHeight));
    EXPECT_TRUE(FreeImage_Paste(window, FIBitmapPtr(FreeImage_ConvertTo24Bits(part.get())).get(),
                                (width - shownWidth) / 2, (height - shownHeight) / 2, 256));
    return window;
}

Picture load(const std::string& file) {
    Picture page;
    EXPECT_TRUE(DornImage::loadImage(data + file, page));
    return page;
}

TEST(Viewer, ShowsWhatTheKeysAskFor) {
    const std::string street = "photos/street_nikon_gps.jpg", map = "depths/palette8.png";
    const std::string report = "multipage/report_5pages_1bit_g4.tif";
    const std::string files = data + street + " " + data + map + " " + data + report;
    const Picture photo = load(street), indexed = load(map), page = load(report);
    Picture colours, grey, shown;

    ASSERT_TRUE(photo->GetSmoothed(shown, 3, 0.8F)); // as large as the window
    EXPECT_EQ(dorntest::meanDistance(FIBitmapPtr(screenshot("", files)).get(),
                                     FIBitmapPtr(expectedWindow(640, 480, *shown)).get()),
              0);

    // A page taller than the window, first as it fits, then at its own size and moved.
    ASSERT_TRUE(indexed->convertTo24Bits(colours));
    ASSERT_TRUE(colours->GetScaled(640 * 480 / 682, 480, Image::ScaleTypeLanczos, shown));
    EXPECT_EQ(dorntest::meanDistance(FIBitmapPtr(screenshot("n", files)).get(),
                                     FIBitmapPtr(expectedWindow(640, 480, *shown)).get()),
              0);
    Picture smoothed;
    ASSERT_TRUE(colours->GetSmoothed(smoothed, 3, 0.8F));
    EXPECT_EQ(dorntest::meanDistance(FIBitmapPtr(screenshot("n1vvv", files)).get(),
                                     FIBitmapPtr(expectedWindow(640, 480, *smoothed, 0, 120)).get()),
              0);

    // Backwards to the last of five pages and on to the first of them; turned clockwise; in a larger window.
    ASSERT_TRUE(page->convertToGrayscale(grey));
    Picture turned;
    ASSERT_TRUE(grey->Rotate(270, turned));
    ASSERT_TRUE(turned->GetScaled(3300 * 600 / 2550, 600, Image::ScaleTypeLanczos, shown));
    EXPECT_EQ(dorntest::meanDistance(FIBitmapPtr(screenshot("ppppp+r", files)).get(),
                                     FIBitmapPtr(expectedWindow(800, 600, *shown)).get()),
              0);
}

#endif

} // namespace
