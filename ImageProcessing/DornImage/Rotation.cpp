// Turns by right angles through the codec library, and by any angle through the affine warp.

#include "ImageProcessing/DornImage/Rotation.h"

#include <cstdint>

#include "ImageProcessing/DornImage/NewImage.h"
#include "ImageProcessing/DornImage/PrimitiveBlock.h"

namespace {

using DornImage::PrimitiveBlock;

// The warp of a whole bitmap onto one of the same size.
class RotationWarp {
public:
    RotationWarp(FIBITMAP* src, double angle, double xCenter, double yCenter)
        : size_{static_cast<std::int32_t>(FreeImage_GetWidth(src)),
                static_cast<std::int32_t>(FreeImage_GetHeight(src))},
          channels_(FreeImage_GetBPP(src) / 8), angle_(angle), xCenter_(xCenter), yCenter_(yCenter) {}

    // Warnings count as failures here and below.
    bool prepare() {
        double xShift = 0.0;
        double yShift = 0.0;
        double coeffs[6] = {};
        if (ippiGetRotateShift(xCenter_, yCenter_, angle_, &xShift, &yShift) != ippStsNoErr ||
            ippiGetRotateTransform(angle_, xShift, yShift, coeffs) != ippStsNoErr) {
            return false;
        }
        constexpr std::int32_t sourceToDestination = 0;
        std::int32_t specBytes = 0;
        std::int32_t initBytes = 0;
        if (ippiWarpAffineGetSize(size_, size_, ipp8u, coeffs, ippLinear, sourceToDestination, ippBorderRepl,
                                  &specBytes, &initBytes) != ippStsNoErr) {
            return false;
        }
        spec_.reset(ippsMalloc_8u(specBytes));
        if (!spec_ || ippiWarpAffineLinearInit(size_, size_, ipp8u, coeffs, sourceToDestination, channels_,
                                               ippBorderRepl, nullptr, 0, spec()) != ippStsNoErr) {
            return false;
        }
        std::int32_t bufferBytes = 0;
        if (ippiWarpGetBufferSize(spec(), size_, &bufferBytes) != ippStsNoErr) {
            return false;
        }
        buffer_.reset(ippsMalloc_8u(bufferBytes)); // the run refuses null
        return true;
    }

    bool run(FIBITMAP* src, FIBITMAP* dst) const {
        const auto warp = channels_ == 1 ? ippiWarpAffineLinear_8u_C1R : ippiWarpAffineLinear_8u_C3R;
        return warp(FreeImage_GetBits(src), static_cast<std::int32_t>(FreeImage_GetPitch(src)),
                    FreeImage_GetBits(dst), static_cast<std::int32_t>(FreeImage_GetPitch(dst)), {0, 0}, size_,
                    spec(), buffer_.get()) == ippStsNoErr;
    }

private:
    IppiWarpSpec* spec() const { return reinterpret_cast<IppiWarpSpec*>(spec_.get()); }

    IppiSize size_;
    unsigned channels_;
    double angle_;
    double xCenter_;
    double yCenter_;
    PrimitiveBlock spec_;
    PrimitiveBlock buffer_;
};

} // namespace

FIBITMAP* ippiRotateBitmap(FIBITMAP* src, double angle, double xCenter, double yCenter) {
    if (!src) {
        return nullptr;
    }
    const auto depth = static_cast<int>(FreeImage_GetBPP(src));
    if (depth != 8 && depth != 24) {
        return nullptr;
    }
    DornImage::FIBitmapPtr result(FreeImage_Allocate(static_cast<int>(FreeImage_GetWidth(src)),
                                                     static_cast<int>(FreeImage_GetHeight(src)), depth, 0, 0,
                                                     0));
    RotationWarp warp(src, angle, xCenter, yCenter);
    if (!result.get() || !warp.prepare() || !warp.run(src, result.get())) {
        return nullptr;
    }
    FreeImage_CloneMetadata(result.get(), src);
    return result.detach();
}

namespace DornImage {

bool Image::Rotate(int angle, Reference<Image>& result) {
    if (!bitmap || (angle != 90 && angle != 180 && angle != 270)) {
        return false;
    }
    FIBITMAP* const turned = FreeImage_Rotate(bitmap, static_cast<double>(angle), nullptr);
    if (!turned) {
        return false;
    }
    FreeImage_CloneMetadata(turned, bitmap);
    return storeNewImage(turned, result);
}

bool Image::RotateEx(double angle, double xCenter, double yCenter, Reference<Image>& result) {
    if (!bitmap) {
        return false;
    }
    const Reference<Image> keepsSource = result; // which may be the only one to this image
    result = new dornbase::ReferencedImplMT<Image>();
    result->Attach(ippiRotateBitmap(bitmap, angle, xCenter, yCenter));
    return static_cast<bool>(result);
}

} // namespace DornImage
