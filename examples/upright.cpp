// Shows a camera picture upright and saves it as the camera stored it.

#include "ImageProcessing/DornImage/DornImage.h"

#include <iostream>
#include <memory>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 1;
    }
    dornbase::Reference<DornImage::Image> page, stored;
    if (!DornImage::loadImage(argv[1], page)) {
        return 3;
    }
    DornImage::ExifOrientationAdapter orientation;
    DornImage::DPIUnifAdapter squarePixels;
    DornImage::ColourLoadAdapter trueColour;
    DornImage::ImageLoadAdapter* const steps[] = {&orientation, &squarePixels, &trueColour};
    for (DornImage::ImageLoadAdapter* step : steps) {
        if (!DornImage::applyAdapter(step, page)) { // a step with nothing to do is no failure
            return 5;
        }
    }
    std::cout << "shown " << page->GetWidth() << " x " << page->GetHeight() << '\n';

    std::shared_ptr<DornImage::ImageSaveAdapter> back;
    orientation.createSaveAdapter(back);
    DornImage::SaveAdapterList beforeSaving;
    beforeSaving.add(back);
    if (!beforeSaving.Apply(page.get(), stored)) {
        stored = page; // nothing to turn back
    }
    std::cout << "stored " << stored->GetWidth() << " x " << stored->GetHeight() << '\n';
    return stored->Save(FIF_JPEG, argv[2]) ? 0 : 4;
}
