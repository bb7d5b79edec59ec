// Scaling isn't offered by this version: the virtual operations answer as they do on failure. They are
// defined so that the class has its whole table of virtual operations.

#include "ImageProcessing/DornImage/Image.h"

namespace DornImage {

bool Image::GetZoomed(double, Reference<Image>&) {
    return false;
}

bool Image::GetScaled(unsigned, unsigned, ScaleType, Reference<Image>&) {
    return false;
}

bool Image::GetChangedResolution(unsigned, Reference<Image>&) {
    return false;
}

} // namespace DornImage
