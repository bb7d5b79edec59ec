#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_EXIFORIENTATIONADAPTER_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_EXIFORIENTATIONADAPTER_H

#include "ImageProcessing/DornImage/Adapters.h"

#include <cstdint>
#include <memory>

namespace DornImage {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// Turns a picture upright after its EXIF tag "Orientation", without loss, and remembers what the tag said.
///
/// The tag travels to the upright image as it was. Before a save, the image goes through the save adapter
/// made here, which turns it back, so that the tag is true again. One object serves one image at a time.
class DORNIMAGE_API ExifOrientationAdapter : public ImageLoadAdapter {
public:
    ExifOrientationAdapter();
    ExifOrientationAdapter(const ExifOrientationAdapter& other);
    ExifOrientationAdapter(ExifOrientationAdapter&& other) noexcept;
    ExifOrientationAdapter& operator=(const ExifOrientationAdapter& other);
    ExifOrientationAdapter& operator=(ExifOrientationAdapter&& other) noexcept;

    /// Not applied without the tag, and then the value that was read before stays; nor for 1, which is
    /// upright. A value outside 1 to 8 is logged as an error, "Incorrect orientation", and remembered all the
    /// same.
    AdapterStatus apply(Image* image, Reference<Image>& result) override;

    /// Turns upright what is stored under an orientation from 1 to 8, whatever the image's own tag says.
    virtual AdapterStatus rotateImage(short orientation, Image* image, Reference<Image>& result);

    /// Makes the adapter that undoes the turn of the value read last; `adapter` drops what it held. Always
    /// true. The new adapter answers false, and so ends a SaveAdapterList, for an image without EXIF data,
    /// and always when the value isn't from 2 to 8.
    virtual bool createSaveAdapter(std::shared_ptr<ImageSaveAdapter>& adapter);

    /// The value read last; 0 before the first.
    std::uint16_t getOrigOrient() const;

private:
    bool updateExifOrientation(FIBITMAP* bitmap);

    std::uint16_t origOrient = 0;
};

#pragma GCC diagnostic pop

} // namespace DornImage

#endif
