#include "ImageProcessing/DornImage/resize/IppScale.h"

#include "ImageProcessing/DornImage/resize/IppResizer.h"

namespace DornImage {

namespace {

class IppResizerLinearBase : public IppResizer {
protected:
    constexpr IppResizerLinearBase() : IppResizer(ippLinear) {}
    ~IppResizerLinearBase() = default;

    IppStatus init(IppiSize srcSize, IppiSize dstSize, Ipp8u* spec, Ipp8u*) const override {
        return ippiResizeLinearInit_8u(srcSize, dstSize, reinterpret_cast<IppiResizeSpec*>(spec));
    }
};

class IppResizerCubicBase : public IppResizer {
protected:
    constexpr IppResizerCubicBase() : IppResizer(ippCubic) {}
    ~IppResizerCubicBase() = default;

    IppStatus init(IppiSize srcSize, IppiSize dstSize, Ipp8u* spec, Ipp8u* initBuffer) const override {
        // These two make the cubic B-spline.
        constexpr float valueB = 1.0F;
        constexpr float valueC = 0.0F;
        return ippiResizeCubicInit_8u(srcSize, dstSize, valueB, valueC,
                                      reinterpret_cast<IppiResizeSpec*>(spec), initBuffer);
    }
};

class IppResizerLanczocBase : public IppResizer {
protected:
    constexpr IppResizerLanczocBase() : IppResizer(ippLanczos) {}
    ~IppResizerLanczocBase() = default;

    IppStatus init(IppiSize srcSize, IppiSize dstSize, Ipp8u* spec, Ipp8u* initBuffer) const override {
        constexpr std::uint32_t numLobes = 3;
        return ippiResizeLanczosInit_8u(srcSize, dstSize, numLobes, reinterpret_cast<IppiResizeSpec*>(spec),
                                        initBuffer);
    }
};

class IppResizerSuperBase : public IppResizer {
protected:
    constexpr IppResizerSuperBase() : IppResizer(ippSuper) {}
    ~IppResizerSuperBase() = default;

    IppStatus init(IppiSize srcSize, IppiSize dstSize, Ipp8u* spec, Ipp8u*) const override {
        return ippiResizeSuperInit_8u(srcSize, dstSize, reinterpret_cast<IppiResizeSpec*>(spec));
    }
};

/// The run of a method with borders.
template <class Method, std::uint32_t channels, auto primitive>
class Bordered final : public Method {
protected:
    std::uint32_t getChannels() const override { return channels; }

    IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                  IppiPoint dstOffset, IppiSize dstSize, std::uint32_t border, const Ipp8u*,
                  const Ipp8u* spec, Ipp8u* buffer) const override {
        return primitive(src, srcStep, dst, dstStep, dstOffset, dstSize, border, nullptr,
                         reinterpret_cast<const IppiResizeSpec*>(spec), buffer);
    }
};

/// Super-sampling reads nothing beyond the edges.
template <std::uint32_t channels, auto primitive>
class Borderless final : public IppResizerSuperBase {
protected:
    std::uint32_t getChannels() const override { return channels; }

    IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                  IppiPoint dstOffset, IppiSize dstSize, std::uint32_t, const Ipp8u*, const Ipp8u* spec,
                  Ipp8u* buffer) const override {
        return primitive(src, srcStep, dst, dstStep, dstOffset, dstSize,
                         reinterpret_cast<const IppiResizeSpec*>(spec), buffer);
    }
};

using IppResizerCubic1C = Bordered<IppResizerCubicBase, 1, ippiResizeCubic_8u_C1R>;
using IppResizerCubic3C = Bordered<IppResizerCubicBase, 3, ippiResizeCubic_8u_C3R>;
using IppResizerCubic4C = Bordered<IppResizerCubicBase, 4, ippiResizeCubic_8u_C4R>;
using IppResizerLanczoc1C = Bordered<IppResizerLanczocBase, 1, ippiResizeLanczos_8u_C1R>;
using IppResizerLanczoc3C = Bordered<IppResizerLanczocBase, 3, ippiResizeLanczos_8u_C3R>;
using IppResizerLanczoc4C = Bordered<IppResizerLanczocBase, 4, ippiResizeLanczos_8u_C4R>;
using IppResizerLinear1C = Bordered<IppResizerLinearBase, 1, ippiResizeLinear_8u_C1R>;
using IppResizerLinear3C = Bordered<IppResizerLinearBase, 3, ippiResizeLinear_8u_C3R>;
using IppResizerLinear4C = Bordered<IppResizerLinearBase, 4, ippiResizeLinear_8u_C4R>;
using IppResizerSuper1C = Borderless<1, ippiResizeSuper_8u_C1R>;
using IppResizerSuper3C = Borderless<3, ippiResizeSuper_8u_C3R>;
using IppResizerSuper4C = Borderless<4, ippiResizeSuper_8u_C4R>;

// Ready before anything of the library can be called.
constinit const IppResizerCubic1C cubic1C;
constinit const IppResizerCubic3C cubic3C;
constinit const IppResizerCubic4C cubic4C;
constinit const IppResizerLanczoc1C lanczos1C;
constinit const IppResizerLanczoc3C lanczos3C;
constinit const IppResizerLanczoc4C lanczos4C;
constinit const IppResizerLinear1C linear1C;
constinit const IppResizerLinear3C linear3C;
constinit const IppResizerLinear4C linear4C;
constinit const IppResizerSuper1C super1C;
constinit const IppResizerSuper3C super3C;
constinit const IppResizerSuper4C super4C;

bool scale(const IppResizer& oneChannel, const IppResizer& threeChannels, const IppResizer& fourChannels,
           unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) {
    if (!source || width == 0 || height == 0) {
        return false;
    }
    switch (FreeImage_GetBPP(source)) {
    case 8:
        return oneChannel.resize(width, height, source, result);
    case 24:
        return threeChannels.resize(width, height, source, result);
    case 32:
        return fourChannels.resize(width, height, source, result);
    default:
        return false;
    }
}

} // namespace

bool ippScaleCubic(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) {
    return scale(cubic1C, cubic3C, cubic4C, width, height, source, result);
}

bool ippScaleLanczos(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) {
    return scale(lanczos1C, lanczos3C, lanczos4C, width, height, source, result);
}

bool ippScaleLinear(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) {
    return scale(linear1C, linear3C, linear4C, width, height, source, result);
}

bool ippScaleSuper(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) {
    return scale(super1C, super3C, super4C, width, height, source, result);
}

} // namespace DornImage
