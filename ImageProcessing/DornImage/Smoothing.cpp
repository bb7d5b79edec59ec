#include "ImageProcessing/DornImage/Smoothing.h"

#include "ImageProcessing/DornImage/NewImage.h"
#include "ImageProcessing/DornImage/PrimitiveBlock.h"

#include <cstdint>

namespace {

/// A filter for the pictures of one size and depth, with the memory that it works in.
class GaussianFilter {
public:
    /// False when the filter can't be had.
    bool prepare(FIBITMAP* src, unsigned int kernelSize, float sigma) {
        depth_ = FreeImage_GetBPP(src);
        if (depth_ != 8 && depth_ != 24) {
            return false;
        }
        size_ = {static_cast<std::int32_t>(FreeImage_GetWidth(src)),
                 static_cast<std::int32_t>(FreeImage_GetHeight(src))};
        const std::int32_t channels = depth_ == 8 ? 1 : 3;
        std::int32_t specBytes = 0;
        std::int32_t bufferBytes = 0;
        if (ippiFilterGaussianGetBufferSize(size_, kernelSize, ipp8u, channels, &specBytes, &bufferBytes) !=
            ippStsNoErr) {
            return false;
        }
        spec_.reset(ippsMalloc_8u(specBytes));
        buffer_.reset(ippsMalloc_8u(bufferBytes));
        return ippiFilterGaussianInit(size_, kernelSize, sigma, ippBorderRepl, ipp8u, channels, spec(),
                                      buffer_.get()) == ippStsNoErr;
    }

    /// Filters the stored lines: their order doesn't matter to a symmetric kernel.
    bool run(FIBITMAP* src, FIBITMAP* dst) const {
        const Ipp8u* const from = FreeImage_GetBits(src);
        Ipp8u* const to = FreeImage_GetBits(dst);
        const auto fromStep = static_cast<std::int32_t>(FreeImage_GetPitch(src));
        const auto toStep = static_cast<std::int32_t>(FreeImage_GetPitch(dst));
        // A replicated edge never asks for it.
        constexpr Ipp8u borderValue[3] = {1, 1, 1};
        const IppStatus status = depth_ == 8
                                     ? ippiFilterGaussianBorder_8u_C1R(from, fromStep, to, toStep, size_,
                                                                       borderValue[0], spec(), buffer_.get())
                                     : ippiFilterGaussianBorder_8u_C3R(from, fromStep, to, toStep, size_,
                                                                       borderValue, spec(), buffer_.get());
        return status == ippStsNoErr;
    }

private:
    IppFilterGaussianSpec* spec() const { return reinterpret_cast<IppFilterGaussianSpec*>(spec_.get()); }

    unsigned depth_ = 0;
    IppiSize size_ = {};
    DornImage::PrimitiveBlock spec_;
    DornImage::PrimitiveBlock buffer_;
};

void copyFacts(FIBITMAP* src, FIBITMAP* dst) {
    if (src == dst) {
        return; // FreeImage would read tags that it has just deleted
    }
    FreeImage_SetDotsPerMeterX(dst, FreeImage_GetDotsPerMeterX(src));
    FreeImage_SetDotsPerMeterY(dst, FreeImage_GetDotsPerMeterY(src));
    FreeImage_CloneMetadata(dst, src);
}

bool sameShape(FIBITMAP* one, FIBITMAP* other) {
    return FreeImage_GetBPP(one) == FreeImage_GetBPP(other) &&
           FreeImage_GetWidth(one) == FreeImage_GetWidth(other) &&
           FreeImage_GetHeight(one) == FreeImage_GetHeight(other);
}

} // namespace

bool ippiSmoothGaussian(FIBITMAP* src, unsigned int kernelSize, float sigma, FIBITMAP* dst) {
    GaussianFilter filter;
    if (!src || !dst || !sameShape(src, dst) || !filter.prepare(src, kernelSize, sigma) ||
        !filter.run(src, dst)) {
        return false;
    }
    copyFacts(src, dst);
    return true;
}

bool ippiSmoothGaussian(FIBITMAP* src, unsigned int kernelSize, float sigma, FIBITMAP** dst) {
    GaussianFilter filter;
    if (!src || !dst || !filter.prepare(src, kernelSize, sigma)) {
        return false;
    }
    DornImage::FIBitmapPtr result(FreeImage_Allocate(static_cast<int>(FreeImage_GetWidth(src)),
                                                     static_cast<int>(FreeImage_GetHeight(src)),
                                                     static_cast<int>(FreeImage_GetBPP(src)), 0, 0, 0));
    if (!result.get() || !filter.run(src, result.get())) {
        return false;
    }
    copyFacts(src, result.get());
    *dst = result.detach();
    return true;
}

namespace DornImage {

bool Image::GetSmoothed(Reference<Image>& result, unsigned kernelSize, float sigma) {
    FIBITMAP* smoothed = nullptr;
    if (!bitmap || !ippiSmoothGaussian(bitmap, kernelSize, sigma, &smoothed)) {
        return false;
    }
    if (!result) {
        return storeNewImage(smoothed, result);
    }
    result->Attach(smoothed);
    return true;
}

} // namespace DornImage
