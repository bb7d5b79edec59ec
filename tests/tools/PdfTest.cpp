#include "tools/dornimage/ExitCode.h"
#include "tools/dornimage/JpegHeader.h"
#include "tools/dornimage/PdfWriter.h"

#include "Decoded.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <sys/resource.h>

namespace {

using DornImage::Image;
using DornImage::Reference;

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new dornbase::ReferencedImplMT<Image>());
    image->Attach(bitmap);
    return image;
}

Reference<Image> pictureOf(const std::string& name) {
    return imageOf(FreeImage_Clone(Decoded(dataFile(name)).get()));
}

// What a program of poppler says.
std::string said(const std::string& command) {
    std::string text;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>&1").c_str(), "r"), pclose);
    for (int character = std::fgetc(pipe.get()); character != EOF; character = std::fgetc(pipe.get())) {
        text += static_cast<char>(character);
    }
    return text;
}

// Mean distance of the levels of two pictures of one size.
double difference(FIBITMAP* a, FIBITMAP* b) {
    const DornImage::FIBitmapPtr wide(
        FreeImage_GetImageType(a) == FIT_UINT16 ? FreeImage_ConvertToGreyscale(a) : FreeImage_Clone(a));
    const DornImage::FIBitmapPtr colourA(FreeImage_ConvertTo24Bits(wide.get()));
    const DornImage::FIBitmapPtr colourB(FreeImage_ConvertTo24Bits(b));
    const unsigned bytes = FreeImage_GetWidth(b) * 3;
    double sum = 0;
    for (int y = 0; y < static_cast<int>(FreeImage_GetHeight(b)); ++y) {
        const BYTE* const lineA = FreeImage_GetScanLine(colourA.get(), y);
        const BYTE* const lineB = FreeImage_GetScanLine(colourB.get(), y);
        for (unsigned x = 0; x < bytes; ++x) {
            sum += std::abs(lineA[x] - lineB[x]);
        }
    }
    return sum / bytes / FreeImage_GetHeight(b);
}

// A step of grey for each column, black at the left, whichever number stands for black.
FIBITMAP* greySteps(bool zeroIsWhite) {
    FIBITMAP* const bitmap = FreeImage_Allocate(256, 16, 8);
    for (unsigned i = 0; i < 256; ++i) {
        const auto level = static_cast<BYTE>(zeroIsWhite ? 255 - i : i);
        FreeImage_GetPalette(bitmap)[i] = {level, level, level, 0};
        for (int y = 0; y < 16; ++y) {
            FreeImage_GetScanLine(bitmap, y)[i] = level;
        }
    }
    return bitmap;
}

// Red on yellow, in one bit.
FIBITMAP* twoColours() {
    FIBITMAP* const bitmap = FreeImage_Allocate(119, 57, 1);
    FreeImage_GetPalette(bitmap)[0] = {0, 255, 255, 0};
    FreeImage_GetPalette(bitmap)[1] = {0, 0, 255, 0};
    std::memset(FreeImage_GetBits(bitmap), 0xFF, 16 * 29 + 4);
    return bitmap;
}

Reference<Image> blank(int width, int height, unsigned dotsPerMetreX, unsigned dotsPerMetreY) {
    const Reference<Image> image = imageOf(FreeImage_Allocate(width, height, 8));
    FreeImage_SetDotsPerMeterX(image->getFIBTMAP(), dotsPerMetreX);
    FreeImage_SetDotsPerMeterY(image->getFIBTMAP(), dotsPerMetreY);
    return image;
}

struct Row {
    std::string page, number, type, width, height, colour, channels, depth, coding;
};

std::vector<Row> picturesIn(const std::string& pdf) {
    std::istringstream list(said("pdfimages -list " + pdf));
    std::vector<Row> rows;
    std::string line;
    std::getline(list, line);
    std::getline(list, line);
    while (std::getline(list, line)) {
        Row row;
        std::istringstream(line) >> row.page >> row.number >> row.type >> row.width >> row.height >>
            row.colour >> row.channels >> row.depth >> row.coding;
        rows.push_back(row);
    }
    return rows;
}

void expectFailure(const std::function<void()>& work, const std::string& cause) {
    try {
        work();
        ADD_FAILURE() << "no failure: " << cause;
    } catch (const ToolError& error) {
        EXPECT_EQ(error.code(), ExitCode::output);
        EXPECT_NE(std::string(error.what()).find(cause), std::string::npos) << error.what();
    }
}

} // namespace

TEST(Pdf, HoldsEveryDepthWithoutLoss) {
    struct Case {
        std::string name;
        Reference<Image> picture;
        std::string coding;
        std::string depth;
        bool onlyShown = false; // pdfimages makes grey of it, or lets 16-bit levels overflow
    };
    const Case cases[] = {
        {"min is white", pictureOf("depths/min_is_white_g4.tif"), "ccitt", "1"},
        {"min is black", pictureOf("depths/min_is_black_g4.tif"), "ccitt", "1"},
        {"two colours", imageOf(twoColours()), "image", "1", true},
        {"palette of 4 bits", pictureOf("depths/palette4.png"), "image", "4"},
        {"palette of 8 bits", pictureOf("depths/palette8.png"), "image", "8"},
        {"grey", imageOf(greySteps(false)), "image", "8"},
        {"inverted grey", imageOf(greySteps(true)), "image", "8"},
        {"colour", pictureOf("depths/rgb_small.png"), "image", "8"},
        {"16-bit grey", pictureOf("depths/grey16.png"), "image", "16"},
        {"16-bit colour", pictureOf("depths/rgb48.tif"), "image", "16", true},
    };
    const ScratchFolder folder;
    const std::string pdf = folder / "all.pdf";
    {
        PdfWriter writer(pdf, std::nullopt);
        for (const Case& test : cases) {
            writer.append(*test.picture);
        }
        EXPECT_FALSE(std::filesystem::exists(pdf));
        writer.finish();
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"all.pdf"});

    const std::vector<Row> rows = picturesIn(pdf);
    ASSERT_EQ(rows.size(), std::size(cases));
    EXPECT_EQ(said("pdfimages -png " + pdf + " " + (folder / "p")), "");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(cases[i].name);
        EXPECT_EQ(rows[i].page, std::to_string(i + 1));
        EXPECT_EQ(rows[i].coding, cases[i].coding);
        EXPECT_EQ(rows[i].depth, cases[i].depth);
        const Decoded read(folder / ("p-00" + std::to_string(i) + ".png"));
        if (!cases[i].onlyShown) {
            EXPECT_EQ(difference(cases[i].picture->getFIBTMAP(), read.get()), 0);
        }
        // The right way up and filling the page; it is shown half a pixel off.
        const std::string page = std::to_string(i + 1);
        EXPECT_EQ(said("pdftoppm -singlefile -png -f " + page + " -scale-to-x " + rows[i].width +
                       " -scale-to-y " + rows[i].height + " " + pdf + " " + (folder / "shown")),
                  "");
        EXPECT_LT(difference(cases[i].picture->getFIBTMAP(), Decoded(folder / "shown.png").get()), 30);
    }
}

TEST(Pdf, LaysTransparencyOnWhite) {
    FIBITMAP* const bitmap = FreeImage_Allocate(256, 4, 32);
    for (unsigned x = 0; x < 256; ++x) {
        const RGBQUAD colour = {10, 200, 90, static_cast<BYTE>(x)};
        for (int y = 0; y < 4; ++y) {
            reinterpret_cast<RGBQUAD*>(FreeImage_GetScanLine(bitmap, y))[x] = colour;
        }
    }
    const ScratchFolder folder;
    const PdfPage page = pdfPageOf(*imageOf(bitmap), std::nullopt, "", "x.pdf");
    EXPECT_EQ(page.change, "its transparency is laid on white");
    PdfWriter writer(folder / "x.pdf", std::nullopt);
    writer.append(page);
    writer.finish();
    said("pdfimages -png " + (folder / "x.pdf") + " " + (folder / "p"));
    const Decoded shown(folder / "p-000.png");
    ASSERT_EQ(shown.depth(), 24U);
    for (unsigned x = 0; x < 256; ++x) {
        const BYTE* const pixel = FreeImage_GetScanLine(shown.get(), 1) + 3 * x;
        EXPECT_NEAR(pixel[FI_RGBA_GREEN], 255 - 55.0 * x / 255, 1.1) << x;
        EXPECT_NEAR(pixel[FI_RGBA_BLUE], 255 - 245.0 * x / 255, 1.1) << x;
    }
}

TEST(Pdf, TakesJpegFilesOverAsTheyAre) {
    const ScratchFolder folder;
    const std::string pdf = folder / "x.pdf";
    const auto source = [](const std::string& name) { return dataFile(name + ".jpg"); };
    PdfWriter writer(pdf, 85);
    for (const std::string name :
         {"pages/book_grey_300dpi", "photos/street_nikon_gps", "depths/progressive"}) {
        writer.append(*pictureOf(name + ".jpg"), source(name));
    }
    // Inks, another picture, and none: these are coded.
    writer.append(*pictureOf("depths/cmyk_adobe.jpg"), source("depths/cmyk_adobe"));
    writer.append(*pictureOf("depths/rgb_small.png"), source("depths/progressive"));
    writer.append(*imageOf(greySteps(true)), folder / "missing.jpg");
    writer.append(*pictureOf("depths/palette8.png"));
    writer.finish();

    const std::vector<Row> rows = picturesIn(pdf);
    ASSERT_EQ(rows.size(), 7U);
    EXPECT_EQ(rows[3].colour, "rgb");
    EXPECT_EQ(rows[5].colour, "gray");
    EXPECT_EQ(rows[5].coding, "jpeg");
    EXPECT_EQ(rows[6].coding, "image"); // palettes don't go through JPEG
    said("pdfimages -all " + pdf + " " + (folder / "p"));
    EXPECT_EQ(contentOf(folder / "p-000.jpg"), contentOf(source("pages/book_grey_300dpi")));
    EXPECT_EQ(contentOf(folder / "p-001.jpg"), contentOf(source("photos/street_nikon_gps")));
    EXPECT_EQ(contentOf(folder / "p-002.jpg"), contentOf(source("depths/progressive")));
    EXPECT_NE(contentOf(folder / "p-003.jpg"), contentOf(source("depths/cmyk_adobe")));
    const Decoded steps(folder / "p-005.jpg");
    EXPECT_LT(FreeImage_GetScanLine(steps.get(), 5)[5], 20);
    EXPECT_GT(FreeImage_GetScanLine(steps.get(), 5)[250], 235);
}

TEST(Pdf, PagesHaveTheSizeThatTheyHaveOnPaper) {
    const ScratchFolder folder;
    PdfWriter writer(folder / "x.pdf", std::nullopt);
    writer.append(*blank(2480, 3508, 11811, 11811));
    writer.append(*blank(1728, 1100, 8031, 3858)); // 204 x 98 dots per inch
    writer.append(*blank(144, 36, 0, 0));
    writer.append(*blank(1, 300, 11811, 11811));
    expectFailure([&] { writer.append(*blank(30000, 36, 2835, 2835)); },
                  "a page of 10.58 x 0.01 m is larger than a PDF can hold");
    expectFailure([&] { writer.append(*blank(1, 5000, 2835, 2835)); }, "larger than a PDF can hold");
    expectFailure([&] { writer.append(*imageOf(FreeImage_AllocateT(FIT_FLOAT, 9, 9))); },
                  "cannot hold pictures of the kind float");
    writer.finish();
    const std::string info = said("pdfinfo -f 1 -l 9 " + (folder / "x.pdf"));
    for (const char* const line : {"Page    1 size:  595.2 x 841.92", "Page    2 size:  609.882 x 808.163",
                                   "Page    3 size:  144 x 36", "Page    4 size:  3 x 900",
                                   "Pages:           4", "Producer:        dornimage"}) {
        EXPECT_NE(info.find(line), std::string::npos) << line << '\n' << info;
    }
    EXPECT_EQ(info.find("Date"), std::string::npos) << info;
}

TEST(Pdf, StandsThereWholeOrNotAtAll) {
    const ScratchFolder folder;
    const auto write = [&](const std::string& name) {
        PdfWriter writer(folder / name, std::nullopt);
        for (const char* const page : {"depths/palette8.png", "depths/min_is_white_g4.tif"}) {
            writer.append(*pictureOf(page));
        }
        writer.finish();
    };
    write("a.pdf");
    write("b.pdf");
    EXPECT_EQ(contentOf(folder / "a.pdf"), contentOf(folder / "b.pdf"));

    { PdfWriter given(folder / "a.pdf", std::nullopt); }
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const auto formerly = std::signal(SIGXFSZ, SIG_IGN);
    // One fails while it writes, the other with its last bytes.
    for (const rlim_t size : {rlim_t{4000}, rlim_t{contentOf(folder / "a.pdf").size()} - 1}) {
        const rlimit limit{size, unlimited.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        expectFailure([&] { write("a.pdf"); }, "cannot be written: File too large");
        setrlimit(RLIMIT_FSIZE, &unlimited);
    }
    std::signal(SIGXFSZ, formerly);
    EXPECT_EQ(contentOf(folder / "a.pdf"), contentOf(folder / "b.pdf"));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.pdf", "b.pdf"}));
    expectFailure([&] { PdfWriter(folder / "none/x.pdf", std::nullopt); }, "cannot write in folder");
}

TEST(Pdf, LooksForTheFrameOfAnyJpegFile) {
    // Components called R, G and B; without its ends, of another coding, and shorter than it says.
    const std::vector<unsigned char> frame = {0xFF, 0xD8, 0xFF, 0xFF, 0xC0, 0,   17, 8, 0,   2, 0,
                                              3,    3,    'R',  0x11, 0,    'G', 0,  0, 'B', 0, 0};
    ASSERT_TRUE(jpegHeader(frame));
    EXPECT_EQ(jpegHeader(frame)->width, 3U);
    EXPECT_FALSE(jpegHeader(frame)->commonColours);
    for (std::size_t size = 0; size < frame.size(); ++size) {
        EXPECT_FALSE(jpegHeader({frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(size)}));
    }
    for (const auto& [at, value] : {std::pair{4, 0xC3}, {6, 7}, {7, 12}}) {
        std::vector<unsigned char> other = frame;
        other[static_cast<std::size_t>(at)] = static_cast<unsigned char>(value);
        EXPECT_FALSE(jpegHeader(other));
    }
}
