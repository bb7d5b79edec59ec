#include "ImageProcessing/DornImage/Adapters.h"

#include "ImageProcessing/DornImage/GrayScale.h"

#include <cstdint>
#include <utility>

namespace DornImage {

bool applyAdapter(ImageLoadAdapter* adapter, Reference<Image>& image) {
    Reference<Image> made;
    switch (adapter->apply(image.get(), made)) {
    case ImageLoadAdapter::AdapterApplied:
        image = made;
        return true;
    case ImageLoadAdapter::AdapterNotApplied:
        return true;
    default:
        return false;
    }
}

ColourLoadAdapter::ColourLoadAdapter() = default;
ColourLoadAdapter::ColourLoadAdapter(const ColourLoadAdapter&) = default;
ColourLoadAdapter::ColourLoadAdapter(ColourLoadAdapter&&) noexcept = default;
ColourLoadAdapter& ColourLoadAdapter::operator=(const ColourLoadAdapter&) = default;
ColourLoadAdapter& ColourLoadAdapter::operator=(ColourLoadAdapter&&) noexcept = default;

ImageLoadAdapter::AdapterStatus ColourLoadAdapter::apply(Image* image, Reference<Image>& result) {
    FIBITMAP* const bitmap = image->getFIBTMAP();
    const unsigned depth = ::FreeImage_GetBPP(bitmap);
    if (depth != 4 && (depth != 8 || FreeImage_IsGrayScale(bitmap))) {
        return AdapterNotApplied;
    }
    return image->convertTo24Bits(result) ? AdapterApplied : AdapterFailed;
}

DPIUnifAdapter::DPIUnifAdapter() = default;
DPIUnifAdapter::DPIUnifAdapter(const DPIUnifAdapter&) = default;
DPIUnifAdapter::DPIUnifAdapter(DPIUnifAdapter&&) noexcept = default;
DPIUnifAdapter& DPIUnifAdapter::operator=(const DPIUnifAdapter&) = default;
DPIUnifAdapter& DPIUnifAdapter::operator=(DPIUnifAdapter&&) noexcept = default;

namespace {

// The product wraps at 32 bits before the division, as users of this size rule know it.
std::int32_t stretched(std::int32_t side, std::int32_t to, std::int32_t from) {
    const std::uint32_t product = static_cast<std::uint32_t>(side) * static_cast<std::uint32_t>(to);
    return static_cast<std::int32_t>(product) / from;
}

} // namespace

ImageLoadAdapter::AdapterStatus DPIUnifAdapter::apply(Image* image, Reference<Image>& result) {
    const BITMAPINFOHEADER* const header = ::FreeImage_GetInfoHeader(image->getFIBTMAP());
    if (!header) {
        return AdapterNotApplied;
    }
    const std::int32_t x = header->biXPelsPerMeter;
    const std::int32_t y = header->biYPelsPerMeter;
    if (x == y || !FreeImage_IsValidDotsPerMeter(static_cast<unsigned>(x)) ||
        !FreeImage_IsValidDotsPerMeter(static_cast<unsigned>(y))) {
        return AdapterNotApplied;
    }
    const std::int32_t width = y > x ? stretched(header->biWidth, y, x) : header->biWidth;
    const std::int32_t height = y > x ? header->biHeight : stretched(header->biHeight, x, y);
    constexpr std::int64_t pixelLimit = std::int64_t{1} << 31;
    if (width < 1 || height < 1 || std::int64_t{width} * height >= pixelLimit) {
        return AdapterNotApplied;
    }
    const unsigned density = static_cast<unsigned>(y > x ? y : x);
    if (!image->GetScaled(static_cast<unsigned>(width), static_cast<unsigned>(height), Image::ScaleTypeLinear,
                          result)) {
        return AdapterFailed;
    }
    ::FreeImage_SetDotsPerMeterX(result->getFIBTMAP(), density);
    ::FreeImage_SetDotsPerMeterY(result->getFIBTMAP(), density);
    return AdapterApplied;
}

bool FreeImage_IsValidDotsPerMeter(unsigned dotsPerMeter) {
    constexpr double thirtyDotsPerInch = 1181.1023622047244;
    constexpr double mostDotsPerInch = 188976.3779527559; // 4800
    const double value = dotsPerMeter;
    return thirtyDotsPerInch <= value && value <= mostDotsPerInch;
}

SaveAdapterList::SaveAdapterList() = default;
SaveAdapterList::SaveAdapterList(const SaveAdapterList& other) = default;
SaveAdapterList& SaveAdapterList::operator=(const SaveAdapterList& other) = default;
SaveAdapterList::~SaveAdapterList() = default;

void SaveAdapterList::add(std::shared_ptr<ImageSaveAdapter> adapter) {
    adapters.push_back(std::move(adapter));
}

bool SaveAdapterList::Apply(Image* image, Reference<Image>& result) {
    Reference<Image> current(image);
    for (const std::shared_ptr<ImageSaveAdapter>& listed : adapters) {
        // Neither the image nor the adapter goes away while the step runs.
        const Reference<Image> source = current;
        const std::shared_ptr<ImageSaveAdapter> adapter = listed;
        if (!adapter->apply(source.get(), current)) {
            return false;
        }
    }
    result = current;
    return true;
}

} // namespace DornImage
