#include "PageScale.h"

#include "PageFacts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

using DornImage::Image;
using DornImage::Reference;

namespace {

constexpr double metresPerInch = 0.0254;

// More than this a scaled page doesn't get, so that a slip of the finger does not fill the machine.
constexpr double mostBytes = 2147483648.0;

} // namespace

const std::vector<ScaleMethod>& scaleMethods() {
    static const std::vector<ScaleMethod> methods = {{"linear", Image::ScaleTypeLinear, 2},
                                                     {"cubic", Image::ScaleTypeCubic, 4},
                                                     {"lanczos", Image::ScaleTypeLanczos, 6}};
    return methods;
}

const ScaleMethod& scaleMethod(const std::string& name) {
    return *std::find_if(scaleMethods().begin(), scaleMethods().end(),
                         [&](const ScaleMethod& method) { return name == method.name; });
}

PageScale::PageScale(std::string file, FREE_IMAGE_FORMAT target, const ScaleMethod& method, Say say)
    : file_(std::move(file)), target_(target), method_(method), say_(std::move(say)) {}

Reference<Image> PageScale::toSize(const Reference<Image>& page, Size wanted) const {
    const Size size = checked(*page, wanted);
    const auto width = static_cast<unsigned>(size.width);
    const auto height = static_cast<unsigned>(size.height);
    Reference<Image> result;
    if (!scalable(page)->GetScaled(width, height, method_.type, result)) {
        failToScale(*page, width, height);
    }
    copyProfile(page->getFIBTMAP(), result->getFIBTMAP());
    return result;
}

Reference<Image> PageScale::toDpi(const Reference<Image>& page, unsigned dpi) const {
    const unsigned x = FreeImage_GetDotsPerMeterX(page->getFIBTMAP());
    const unsigned y = FreeImage_GetDotsPerMeterY(page->getFIBTMAP());
    if (x == 0 || y == 0) {
        fail(ExitCode::input, "has no resolution to change; see --size and --percent");
    }
    Reference<Image> result = toSize(
        page, {page->GetWidth() * dpi / (x * metresPerInch), page->GetHeight() * dpi / (y * metresPerInch)});
    // Exactly, where the library keeps the size on paper.
    const auto dotsPerMetre = static_cast<unsigned>(std::lround(dpi / metresPerInch));
    FreeImage_SetDotsPerMeterX(result->getFIBTMAP(), dotsPerMetre);
    FreeImage_SetDotsPerMeterY(result->getFIBTMAP(), dotsPerMetre);
    return result;
}

Size PageScale::checked(Image& page, Size wanted) const {
    const Size size{std::max(std::round(wanted.width), 1.0), std::max(std::round(wanted.height), 1.0)};
    const double bytesPerPixel = std::max(page.GetBpp() / 8.0, 1.0);
    constexpr double longestSide = std::numeric_limits<int>::max();
    if (size.width > longestSide || size.height > longestSide ||
        size.width * size.height * bytesPerPixel > mostBytes) {
        fail(ExitCode::limits, "the result would take more than 2 GiB");
    }
    return size;
}

// What the library scales as the picture that it is.
Reference<Image> PageScale::scalable(const Reference<Image>& page) const {
    FIBITMAP* const bitmap = page->getFIBTMAP();
    const PageFacts facts = factsOf(*page);
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap);
    Reference<Image> result = page;
    if (type == FIT_UINT16) {
        say_("scaled as 8-bit grey: it has 16 bits a pixel");
        if (!page->convertToGrayscale(result)) {
            throw std::bad_alloc();
        }
    } else if (type == FIT_BITMAP && facts.transparent && facts.depth <= 8) {
        const bool keep = target_ != FIF_JPEG && DornImage::FreeImage_CanSave(target_, FIT_BITMAP, 32);
        say_(keep ? "scaled as 32-bit colour: its palette has transparent entries"
                  : "its transparency has no place in the output and is left out");
        if (keep) {
            FIBITMAP* const colours = FreeImage_ConvertTo32Bits(bitmap);
            if (!colours) {
                throw std::bad_alloc();
            }
            result = new dornbase::ReferencedImplMT<Image>();
            result->Attach(colours);
        }
    } else if (type == FIT_INT16 || type == FIT_UINT32 || type == FIT_INT32 || type == FIT_FLOAT ||
               type == FIT_DOUBLE || type == FIT_COMPLEX) {
        fail(ExitCode::input, "a picture of the kind " + facts.pixelType + " cannot be scaled");
    }
    return result;
}

void PageScale::failToScale(const Image& page, unsigned width, unsigned height) const {
    const bool shrinks = width < page.GetWidth() && height < page.GetHeight();
    const std::string least = std::to_string(method_.leastSide);
    if (!shrinks && std::min(page.GetWidth(), page.GetHeight()) < method_.leastSide) {
        fail(ExitCode::input, std::string("is too small for the method ") + method_.name + ", which takes " +
                                  least + " x " + least + " pixels or more; see --method");
    }
    fail(ExitCode::limits,
         "too little memory for " + std::to_string(width) + " x " + std::to_string(height) + " pixels");
}

void PageScale::fail(ExitCode code, const std::string& cause) const {
    throw ToolError(code, file_, cause);
}

void copyProfile(FIBITMAP* source, FIBITMAP* target) {
    const FIICCPROFILE* const profile = FreeImage_GetICCProfile(source);
    if (profile && profile->data && profile->size > 0) {
        FreeImage_CreateICCProfile(target, profile->data, static_cast<long>(profile->size));
        FreeImage_GetICCProfile(target)->flags = profile->flags;
    }
}
