#include "Levelling.h"

#include "ExitCode.h"
#include "Turn.h"

#include <algorithm>
#include <cmath>

using DornImage::Image;
using DornImage::Reference;

namespace {

constexpr double degree = 3.141592653589793 / 180;

[[noreturn]] void failInMemory(const std::string& file) {
    throw ToolError(ExitCode::limits, file, "its pixels cannot be made square in the memory at hand");
}

} // namespace

bool isLevelToAPixel(double angle, Image& page) {
    int width = 0;
    int height = 0;
    page.GetNormalizedDimension(width, height);
    return std::abs(std::sin(angle * degree)) * std::max(width, height) / 2 < 1;
}

Reference<Image> withSquarePixels(const Reference<Image>& page, const std::string& file) {
    Reference<Image> square = page;
    DornImage::DPIUnifAdapter adapter;
    if (!DornImage::applyAdapter(&adapter, square)) {
        failInMemory(file);
    }
    return square;
}

Reference<Image> turnedBack(const Reference<Image>& page, double angle, PlainColours& colours,
                            const std::string& file) {
    return colours.through(page, [&](const Reference<Image>& plain) {
        const Reference<Image> square = withSquarePixels(plain, file);
        Reference<Image> level = turnedAbout(middleOf(*square), -angle, square, colours, file);
        if (square.get() == plain.get()) {
            return level;
        }
        Reference<Image> result;
        if (!level->GetScaled(plain->GetWidth(), plain->GetHeight(), Image::ScaleTypeLinear, result)) {
            failInMemory(file);
        }
        FreeImage_SetDotsPerMeterX(result->getFIBTMAP(), FreeImage_GetDotsPerMeterX(plain->getFIBTMAP()));
        FreeImage_SetDotsPerMeterY(result->getFIBTMAP(), FreeImage_GetDotsPerMeterY(plain->getFIBTMAP()));
        return result;
    });
}
