#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 1;
    }
    dornbase::Reference<DornImage::Image> page, thumbnail;
    int width = 0;
    int height = 0; // of the page if its pixels were square
    if (!DornImage::loadImage(argv[1], page) || !page->GetNormalizedDimension(width, height)) {
        return 3;
    }
    if (page->GetBpp() == 1 &&
        !page->convertToGrayscale(page)) { // scaled as black and white it has no shades
        return 3;
    }
    const double factor = 240.0 / std::max(width, height);
    if (!page->GetScaled(std::max(1U, static_cast<unsigned>(width * factor)),
                         std::max(1U, static_cast<unsigned>(height * factor)),
                         DornImage::Image::ScaleTypeLanczos, thumbnail)) {
        return 3; // too small for the method, or no memory
    }
    std::printf("%u x %u, %u bits\n", thumbnail->GetWidth(), thumbnail->GetHeight(), thumbnail->GetBpp());
    return thumbnail->Save(FIF_PNG, argv[2]) ? 0 : 4;
}
