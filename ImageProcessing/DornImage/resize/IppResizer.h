#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RESIZE_IPPRESIZER_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RESIZE_IPPRESIZER_H

#include "primitives/primitives.h"

#include <FreeImage.h>

#include <cstdint>

namespace DornImage {

/// Brings a bitmap to a size with one of the primitives' methods. A method base adds how a plan is built, and
/// a concrete class the number of channels and the run. Instances hold nothing that changes, so that threads
/// may share them; they live as long as the process.
///
/// The order of the virtual operations is part of the binary interface.
class IppResizer {
public:
    /// Makes a new bitmap of `width` x `height` pixels with as many 8-bit channels as the resizer has, and
    /// stores it in `*result` for the caller to unload. With one channel it gets the source's palette of 256
    /// entries.
    /// @param source a bitmap with as many channels; only read.
    /// @return false, with `*result` as it was, when the method refuses the sizes, when the source has no
    ///         pixels or no palette, or when memory runs out.
    virtual bool resize(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result) const;

protected:
    /// @param interpolation_ the primitives' number of the method.
    constexpr explicit IppResizer(std::uint32_t interpolation_) : interpolation(interpolation_) {}
    ~IppResizer() = default;

    /// 1, 3 or 4.
    virtual std::uint32_t getChannels() const = 0;

    /// Builds the plan in `spec`. `initBuffer` is scratch memory of the size that ippiResizeGetSize_8u told.
    virtual IppStatus init(IppiSize srcSize, IppiSize dstSize, Ipp8u* spec, Ipp8u* initBuffer) const = 0;

    /// Makes a tile; arguments as for the primitive. `border` and `borderValue` may go unread.
    virtual IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                          IppiPoint dstOffset, IppiSize dstSize, std::uint32_t border,
                          const Ipp8u* borderValue, const Ipp8u* spec, Ipp8u* buffer) const = 0;

private:
    const std::uint32_t interpolation;
};

} // namespace DornImage

#endif
