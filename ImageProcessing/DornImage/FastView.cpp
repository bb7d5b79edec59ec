#include "ImageProcessing/DornImage/FastView.h"

#include "platform/GdiCalls.h"

#include <cstdint>

namespace DornImage {

namespace {

// About what scaling softens.
constexpr unsigned smoothingKernel = 3;
constexpr float smoothingSigma = 0.8F;

using Conversion = bool (Image::*)(Reference<Image>&);

/// Replaces `current` by what a conversion makes of it.
bool convert(Reference<Image>& current, Conversion conversion) {
    Reference<Image> converted;
    if (!((*current).*conversion)(converted)) {
        return false;
    }
    current = converted;
    return true;
}

} // namespace

FreeImageFastView::FreeImageFastView() = default;

FreeImageFastView::FreeImageFastView(const FreeImageFastView& other) = default;

FreeImageFastView::FreeImageFastView(FreeImageFastView&& other) noexcept = default;

FreeImageFastView::~FreeImageFastView() = default;

FreeImageFastView& FreeImageFastView::operator=(FreeImageFastView&& other) noexcept = default;

FreeImageFastView& FreeImageFastView::operator=(FreeImageFastView& other) = default;

bool FreeImageFastView::Init(Image* image, int width, int height) {
    if (!image || width <= 0 || height <= 0) {
        return false;
    }
    Reference<Image> current(image);
    if (current->GetBpp() == 1 && !convert(current, &Image::convertToGrayscale)) {
        return false;
    }
    const unsigned depth = current->GetBpp();
    if ((depth == 48 || depth == 64) && !convert(current, &Image::convertTo24Bits)) {
        return false;
    }
    const auto wantedWidth = static_cast<unsigned>(width);
    const auto wantedHeight = static_cast<unsigned>(height);
    Reference<Image> prepared;
    if (wantedWidth == image->GetWidth() && wantedHeight == image->GetHeight()) {
        prepared = new dornbase::ReferencedImpl<Image>();
        if (!current->GetSmoothed(prepared, smoothingKernel, smoothingSigma)) {
            return false;
        }
    } else if (!current->GetScaled(wantedWidth, wantedHeight, Image::ScaleTypeLanczos, prepared)) {
        return false;
    }
    viewImage = prepared;
    return true;
}

void FreeImageFastView::Draw(HDC dc, const RECT& source, const RECT& target) {
    if (!viewImage) {
        return;
    }
    FIBITMAP* const bitmap = viewImage->getFIBTMAP();
    const BITMAPINFO* const info = ::FreeImage_GetInfo(bitmap);
    if (!info) {
        return;
    }
    // Differences of any two numbers, as the system takes them.
    const auto extent = [](LONG first, LONG end) {
        return static_cast<DWORD>(end) - static_cast<DWORD>(first);
    };
    const auto lines = static_cast<DWORD>(info->bmiHeader.biHeight);
    const DWORD lowest = lines - extent(source.top, source.bottom);
    ::SetDIBitsToDevice(dc, target.left, target.top, extent(target.left, target.right),
                        extent(target.top, target.bottom), source.left, static_cast<int>(lowest),
                        static_cast<UINT>(source.top), lines, ::FreeImage_GetBits(bitmap), info,
                        DIB_RGB_COLORS);
}

} // namespace DornImage
