#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_FASTVIEW_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_FASTVIEW_H

#include "ImageProcessing/DornImage/Image.h"
#include "base/Export.h"
#include "base/Reference.h"
#include "platform/Gdi.h"

namespace DornImage {

/// Something that can be drawn to a device context. Not for deleting by this type.
class DORNIMAGE_API FastView {
public:
    /// Draws the part `source` of the view, in pixels from its upper left corner, with its upper left corner
    /// at that of `target`.
    virtual void Draw(HDC dc, const RECT& source, const RECT& target) = 0;

protected:
    FastView() = default;
    FastView(const FastView&) = default;
    FastView& operator=(const FastView&) = default;
    ~FastView() = default;
};

// The destructor isn't virtual: the table of virtual operations is fixed.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A picture prepared once for a size on the screen, so that each paint is one copy of bits. Copies share the
/// prepared picture, which nobody changes.
///
/// Several threads may draw one view; Init needs exclusion.
class DORNIMAGE_API FreeImageFastView : public FastView {
public:
    /// An empty view, which draws nothing.
    FreeImageFastView();
    FreeImageFastView(const FreeImageFastView& other);
    FreeImageFastView(FreeImageFastView&& other) noexcept;
    ~FreeImageFastView();
    /// The moves leave `other` empty.
    FreeImageFastView& operator=(FreeImageFastView&& other) noexcept;
    FreeImageFastView& operator=(FreeImageFastView& other);

    /// Prepares `image`, of which the caller holds a reference, at `width` x `height` pixels: scaled, or
    /// lightly smoothed if it has that size already, so that both look alike. 1 bit becomes 8 bits of grey,
    /// 48 and 64 bits become 24. False for null, for a size below 1 and for what can't be scaled or smoothed;
    /// the view stays as it was.
    bool Init(Image* image, int width, int height);

    /// Copies a part of the prepared picture; nothing is scaled or allocated. `target` gives place and size,
    /// `source` the place in the picture. Its bottom less its top is the height that is shown and should be
    /// that of `target`.
    void Draw(HDC dc, const RECT& source, const RECT& target) override;

private:
    Reference<Image> viewImage;
};

#pragma GCC diagnostic pop

} // namespace DornImage

#endif
