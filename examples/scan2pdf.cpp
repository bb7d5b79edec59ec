// Puts the pages of files into one PDF: pages of 1 bit as fax coding (CCITT group 4), JPEG files as they are,
// all else without loss. The size of a page follows from its resolution.

#include "PageFile.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <hpdf.h>
#include <iostream>
#include <iterator>
#include <vector>

namespace {

constexpr unsigned assumedDotsPerMetre = 2835; // 72 dots per inch, of pages that tell no resolution
// What PDF allows for a side.
constexpr double smallestSide = 3;
constexpr double largestSide = 14400;

struct FreeDocument {
    void operator()(HPDF_Doc document) const { HPDF_Free(document); }
};
using Document = std::unique_ptr<std::remove_pointer_t<HPDF_Doc>, FreeDocument>;

/// Black and white as they are, packed. Fax coding takes a bit of 1 for black unless it is told otherwise.
HPDF_Image addBilevel(HPDF_Doc pdf, FIBITMAP* page) {
    const bool whiteIsOne = FreeImage_GetColorType(page) == FIC_MINISBLACK;
    return HPDF_Image_LoadRaw1BitImageFromMem(pdf, FreeImage_GetBits(page), FreeImage_GetWidth(page),
                                              FreeImage_GetHeight(page), FreeImage_GetPitch(page),
                                              whiteIsOne ? HPDF_TRUE : HPDF_FALSE, HPDF_FALSE);
}

HPDF_Image addPixels(HPDF_Doc pdf, FIBITMAP* page) {
    const bool grey = FreeImage_GetBPP(page) == 8;
    const unsigned width = FreeImage_GetWidth(page), height = FreeImage_GetHeight(page);
    std::vector<unsigned char> pixels(std::size_t{width} * height * (grey ? 1 : 3));
    if (!DornImage::FreeImage_GetDataForPDF(page, pixels.data())) {
        return nullptr;
    }
    return HPDF_LoadRawImageFromMem(pdf, pixels.data(), width, height,
                                    grey ? HPDF_CS_DEVICE_GRAY : HPDF_CS_DEVICE_RGB, 8);
}

/// Photographs: the bytes of a JPEG file itself, or those of a new one when the page had to be turned or
/// holds inks, which FreeImage has turned into colours.
HPDF_Image addPhoto(HPDF_Doc pdf, const PageFile& file, FIBITMAP* page, bool untouched) {
    const DornImage::FIBitmapPtr header(
        FreeImage_Load(FIF_JPEG, file.name().c_str(), JPEG_CMYK | FIF_LOAD_NOPIXELS));
    if (untouched && header.get() && FreeImage_GetBPP(header.get()) != 32) {
        std::ifstream stream(file.name(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        return HPDF_LoadJpegImageFromMem(pdf, reinterpret_cast<const HPDF_BYTE*>(bytes.data()),
                                         static_cast<HPDF_UINT>(bytes.size()));
    }
    constexpr int quality = 92 | JPEG_SUBSAMPLING_444;
    const std::unique_ptr<FIMEMORY, void (*)(FIMEMORY*)> memory(FreeImage_OpenMemory(),
                                                                FreeImage_CloseMemory);
    BYTE* bytes = nullptr;
    DWORD size = 0;
    if (!memory || !FreeImage_SaveToMemory(FIF_JPEG, page, memory.get(), quality) ||
        !FreeImage_AcquireMemory(memory.get(), &bytes, &size)) {
        return nullptr;
    }
    return HPDF_LoadJpegImageFromMem(pdf, bytes, size);
}

bool isBlackAndWhite(FIBITMAP* page) {
    const FREE_IMAGE_COLOR_TYPE type = FreeImage_GetColorType(page);
    return FreeImage_GetBPP(page) == 1 && (type == FIC_MINISBLACK || type == FIC_MINISWHITE);
}

/// FreeImage keeps whole dots per metre, which makes 300 dots per inch 299.9994.
double dotsPerInch(unsigned dotsPerMetre) {
    constexpr double metresPerInch = 0.0254;
    const double told = (dotsPerMetre ? dotsPerMetre : assumedDotsPerMetre) * metresPerInch;
    const double whole = std::round(told);
    return std::abs(told - whole) < metresPerInch ? whole : told;
}

double sideInPoints(unsigned pixels, unsigned dotsPerMetre) {
    return std::clamp(pixels * 72 / dotsPerInch(dotsPerMetre), smallestSide, largestSide);
}

bool addPage(HPDF_Doc pdf, const PageFile& file, int index) {
    Reference<Image> page;
    bool untouched = false;
    if (!file.load(index, page, &untouched)) {
        return false;
    }
    // Two colours that aren't black and white.
    Reference<Image> colours;
    if (page->GetBpp() == 1 && !isBlackAndWhite(page->getFIBTMAP()) && page->convertTo24Bits(colours)) {
        page = colours;
    }
    FIBITMAP* const bitmap = page->getFIBTMAP();
    HPDF_Image image = nullptr;
    if (page->GetBpp() == 1) {
        image = addBilevel(pdf, bitmap);
    } else if (file.format() == FIF_JPEG) {
        image = addPhoto(pdf, file, bitmap, untouched);
    } else {
        image = addPixels(pdf, bitmap);
    }
    const HPDF_Page sheet = image ? HPDF_AddPage(pdf) : nullptr;
    if (!sheet) {
        return false;
    }
    const auto width =
        static_cast<HPDF_REAL>(sideInPoints(page->GetWidth(), FreeImage_GetDotsPerMeterX(bitmap)));
    const auto height =
        static_cast<HPDF_REAL>(sideInPoints(page->GetHeight(), FreeImage_GetDotsPerMeterY(bitmap)));
    return HPDF_Page_SetWidth(sheet, width) == HPDF_OK && HPDF_Page_SetHeight(sheet, height) == HPDF_OK &&
           HPDF_Page_DrawImage(sheet, image, 0, 0, width, height) == HPDF_OK;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: scan2pdf FILE... OUT.pdf\n";
        return 1;
    }
    // Without a function for errors each call tells by its result.
    const Document pdf(HPDF_New(nullptr, nullptr));
    if (!pdf || HPDF_SetCompressionMode(pdf.get(), HPDF_COMP_IMAGE) != HPDF_OK) {
        return 2;
    }
    for (int i = 1; i < argc - 1; ++i) {
        const PageFile file(argv[i]);
        for (int page = 0; page < file.count(); ++page) {
            if (!addPage(pdf.get(), file, page)) {
                std::cerr << file.name() << ", page " << page + 1 << ": not a page for a PDF\n";
                return 3;
            }
        }
    }
    if (HPDF_SaveToFile(pdf.get(), argv[argc - 1]) != HPDF_OK) {
        std::cerr << argv[argc - 1] << ": can't be written\n";
        return 4;
    }
    return 0;
}
