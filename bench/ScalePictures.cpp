// Makes the pictures of docs/scaling.md: this library's scaling above, FreeImage_Rescale's below, of a zone
// plate and of a page. Usage: scale_pictures PAGE FOLDER

#include "ImageProcessing/DornImage/DornImage.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using DornImage::FIBitmapPtr;
using DornImage::Image;
using DornImage::Reference;

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new dornbase::ReferencedImplMT<Image>);
    image->Attach(bitmap);
    return image;
}

// Rings that become finer outwards, up to `finest` cycles a pixel at the middle of each side.
Reference<Image> zonePlate(int side, double finest) {
    constexpr double pi = 3.14159265358979324;
    FIBITMAP* const bitmap = FreeImage_Allocate(side, side, 8);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double dx = x + 0.5 - side / 2.0;
            const double dy = y + 0.5 - side / 2.0;
            const double level = 127.5 + 127.5 * std::cos(2 * pi * finest * (dx * dx + dy * dy) / side);
            FreeImage_GetScanLine(bitmap, y)[x] = static_cast<BYTE>(std::lround(level));
        }
    }
    return imageOf(bitmap);
}

struct Way {
    Image::ScaleType type;
    FREE_IMAGE_FILTER filter; // FreeImage's of the same name
};

constexpr Way ways[] = {{Image::ScaleTypeLinear, FILTER_BILINEAR},
                        {Image::ScaleTypeCubic, FILTER_BICUBIC},
                        {Image::ScaleTypeLanczos, FILTER_LANCZOS3}};

struct Size {
    int width, height;
};

FIBITMAP* ours(Image& source, Size size, Image::ScaleType type) {
    Reference<Image> result;
    if (!source.GetScaled(static_cast<unsigned>(size.width), static_cast<unsigned>(size.height), type,
                          result)) {
        return nullptr;
    }
    return result->Dettach();
}

FIBITMAP* theirs(Image& source, Size size, FREE_IMAGE_FILTER filter) {
    return FreeImage_Rescale(source.getFIBTMAP(), size.width, size.height, filter);
}

// Pictures in rows, each in a cell of the same size; they are unloaded.
using Rows = std::vector<std::vector<FIBITMAP*>>;

bool save(const Rows& rows, Size cell, const std::string& name) {
    constexpr int gap = 6;
    const int across = static_cast<int>(rows[0].size()) * (cell.width + gap) - gap;
    const int down = static_cast<int>(rows.size()) * (cell.height + gap) - gap;
    const FIBitmapPtr sheet(FreeImage_Allocate(across, down, 8));
    std::memset(FreeImage_GetBits(sheet.get()), 255,
                std::size_t{FreeImage_GetPitch(sheet.get())} * static_cast<std::size_t>(down));
    int top = 0;
    for (const auto& row : rows) {
        int left = 0;
        for (FIBITMAP* const bitmap : row) {
            const FIBitmapPtr scaled(bitmap);
            FreeImage_Paste(sheet.get(), bitmap, left, top, 256);
            left += cell.width + gap;
        }
        top += cell.height + gap;
    }
    return FreeImage_Save(FIF_PNG, sheet.get(), name.c_str(), PNG_Z_BEST_COMPRESSION) != FALSE;
}

bool saveReduced(Image& source, Size size, const std::string& name) {
    return save({{ours(source, size, Image::ScaleTypeLinear), theirs(source, size, FILTER_BOX),
                  theirs(source, size, FILTER_BILINEAR), theirs(source, size, FILTER_LANCZOS3)}},
                size, name);
}

bool saveEnlarged(Image& source, Size size, const std::string& name) {
    Rows rows(2);
    for (const Way& way : ways) {
        rows[0].push_back(ours(source, size, way.type));
        rows[1].push_back(theirs(source, size, way.filter));
    }
    return save(rows, size, name);
}

// At a half, two fifths and a quarter; FreeImage's sharpest filter.
bool saveReductions(Image& source, const std::string& name) {
    Rows rows(2);
    const int width = static_cast<int>(source.GetWidth());
    const int height = static_cast<int>(source.GetHeight());
    for (const Size size :
         {Size{width / 2, height / 2}, {width * 2 / 5, height * 2 / 5}, {width / 4, height / 4}}) {
        rows[0].push_back(ours(source, size, Image::ScaleTypeLinear));
        rows[1].push_back(theirs(source, size, FILTER_LANCZOS3));
    }
    return save(rows, {width / 2, height / 2}, name);
}

Reference<Image> partOf(Image& page, int left, int top, Size size) {
    return imageOf(FreeImage_Copy(page.getFIBTMAP(), left, top, left + size.width, top + size.height));
}

} // namespace

int main(int argc, char** argv) {
    Reference<Image> page;
    if (argc != 3 || !DornImage::loadImage(argv[1], page) || !page->convertToGrayscale(page) ||
        page->GetWidth() < 900 || page->GetHeight() < 1000) {
        std::fprintf(stderr, "usage: scale_pictures PAGE FOLDER\n");
        return 1;
    }
    const std::string folder = std::string(argv[2]) + "/scaling-";
    const bool saved =
        saveReduced(*zonePlate(600, 0.5), {210, 210}, folder + "zone-reduced.png") &&
        saveEnlarged(*zonePlate(70, 0.35), {220, 220}, folder + "zone-enlarged.png") &&
        saveReductions(*partOf(*page, 300, 600, {560, 320}), folder + "text-reduced.png") &&
        saveEnlarged(*partOf(*page, 300, 830, {110, 60}), {297, 162}, folder + "text-enlarged.png");
    return saved ? 0 : 4;
}
