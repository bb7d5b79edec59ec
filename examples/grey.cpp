#include "ImageProcessing/DornImage/DornImage.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        return 1;
    }
    dornbase::Reference<DornImage::Image> page, grey;
    if (!DornImage::loadImage(argv[1], page)) { // format from the content, then the name
        return 3;
    }
    if (!page->convertToGrayscale(grey)) { // a new image; `page` stays as it is
        return 3;
    }
    return grey->Save(FIF_PNG, argv[2]) ? 0 : 4;
}
