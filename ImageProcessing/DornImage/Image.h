#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_IMAGE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_IMAGE_H

#include "base/Export.h"
#include "base/Reference.h"
#include "base/Velmora.h"
#include "platform/Gdi.h"

#include <FreeImage.h>

namespace DornImage {

using dornbase::Reference;

/// A picture: one FIBITMAP and whether this object has to free it.
///
/// Only dornbase::ReferencedImpl<Image> and dornbase::ReferencedImplMT<Image> exist at run time; images
/// travel by Reference<Image>. Operations that make a picture from a picture leave the source alone and
/// store a new image, which owns its bitmap, in `result`; where they answer false `result` stays as it was
/// unless told otherwise. Units are pixels, degrees and, as FreeImage keeps them, dots per metre.
///
/// Thread safety: several threads may read one image; whatever changes it needs the caller's exclusion.
/// Every operation is allowed on an empty image and answers false, 0 or null there.
///
/// The order of the virtual operations is part of the binary interface.
class DORNIMAGE_API Image : public dornbase::ReferencedObject {
public:
    /// How GetScaled interpolates. Values from 3 on have no name and are valid: no resizer serves them.
    enum ScaleType : int { ScaleTypeLinear = 0, ScaleTypeCubic = 1, ScaleTypeLanczos = 2 };

    /// Takes the bitmap and the ownership flag over; `source` is left empty with its flag as it was.
    Image(Image&& source) noexcept;
    /// As the move constructor. The bitmap that this image held is neither unloaded nor handed out: empty the
    /// target first. Not for moving an image to itself.
    Image& operator=(Image&& source) noexcept;

protected:
    Image() noexcept;
    ~Image() override;

    /// Empties the image, unloads the bitmap when it is owned, and sets ownership back to true. Nothing at
    /// all happens to an empty image.
    virtual void Reset();

public:
    /// A copy with everything that the bitmap carries.
    virtual bool GetClone(Reference<Image>& result);

    /// A copy with both sides at `zoom` percent, cut to whole pixels, by FreeImage_Rescale, whose kinds of
    /// pixels and metadata it has: bilinear when it becomes wider, else Catmull-Rom. False for sides below 1
    /// pixel or beyond int, and above 1 GiB of pixels, computed in 32 bits.
    virtual bool GetZoomed(double zoom, Reference<Image>& result);

    /// A resized copy with the metadata, of the same size on paper: its resolution changes with its pixels.
    ///
    /// When both sides become smaller each pixel is the mean of the area that it covers, whatever `type`
    /// says; otherwise `type` chooses the interpolation, and a value without a name FreeImage_Rescale.
    /// Pictures of 8 bits with a grey ramp, 24 and 32 bits keep their depth and each channel is scaled by
    /// itself. 1 bit comes back as 1 bit, cut at half brightness, 4 bits with greys only as 8-bit grey, and
    /// other palettes and 16-bit colour as 24-bit colour. What has another depth goes through
    /// FreeImage_Rescale and stays what it is. Whole and floating-point numbers of 32 bits are taken for four
    /// bytes, and FreeImage makes nothing of doubles and complex numbers: not for them.
    /// @return false for sides of 0 or beyond int, for 16-bit grey, and for sources that the interpolation
    ///         can't begin with: smaller than 2 x 2 pixels for linear, 4 x 4 for cubic, 6 x 6 for Lanczos.
    virtual bool GetScaled(unsigned width, unsigned height, ScaleType type, Reference<Image>& result);

    /// GetScaled with ScaleTypeCubic to `dpi` dots per inch on both axes, by the image's own resolution and
    /// cut to whole pixels. False without a resolution, for 0, and as GetScaled.
    virtual bool GetChangedResolution(unsigned dpi, Reference<Image>& result);

    /// The size in pixels that the picture would have with square pixels at the higher of its two
    /// resolutions; its own size when a resolution is missing. On an empty image the arguments stay.
    virtual bool GetNormalizedDimension(int& width, int& height);

    /// Writes the picture as it is; a whole file of that name is replaced.
    /// @param fileName UTF-8.
    /// @param flags FreeImage's save flags of the format.
    /// @return whether the file was written, to its last byte. What a format of FreeImage's has no place for
    ///         (FreeImage_CanSave) is refused, and a file of that name stays.
    virtual bool Save(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName, int flags);

    /// As above with flags of its own: TIFF gets fax coding (CCITT group 4) at 1 bit and JPEG coding at 8 and
    /// 24 bits per pixel, all else 0.
    virtual bool Save(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName);

    /// Empties the image (Reset), then takes `newBitmap`, which may be null, into ownership.
    void Attach(FIBITMAP* newBitmap);

    /// Empties the image and gives the bitmap to the caller, also when the image had only borrowed it. The
    /// ownership flag stays as it was.
    FIBITMAP* Dettach();

    /// False lends the present bitmap: Reset and the destructor leave it alive and the caller unloads it
    /// after the image has gone. Attach makes the flag true, so this call comes after it.
    void SetBitmapOwner(bool owner);

    /// The bitmap, still the image's, or null.
    FIBITMAP* getFIBTMAP();

    /// Pixels across and down.
    unsigned GetWidth() const;
    unsigned GetHeight() const;
    /// Bits per pixel.
    unsigned GetBpp() const;
    /// Bytes of all scan lines with their padding, cut to 32 bits.
    unsigned GetRawDataSize() const;
    /// See FreeImage_IsGrayScale.
    bool IsGrayScale();

    /// The picture in blue, green and red; in 8 bits, grey with a grey ramp palette; in 8 bits of grey
    /// whatever its palette. By FreeImage's conversions of these names; metadata goes along as far as they
    /// carry it.
    bool convertTo24Bits(Reference<Image>& result);
    bool convertTo8Bits(Reference<Image>& result);
    bool convertToGrayscale(Reference<Image>& result);

    /// Turns counter-clockwise by 90, 180 or 270 degrees without loss; any other angle answers false.
    bool Rotate(int angle, Reference<Image>& result);

    /// Turns by any angle in degrees about a point, on a canvas of the same size, with bilinear samples. The
    /// point is in pixels, y counted from the bottom line; positive angles turn clockwise on the screen.
    /// `result` is exchanged first: when the pixels can't be turned it holds an empty image, with true.
    bool RotateEx(double angle, double xCenter, double yCenter, Reference<Image>& result);

    /// Gaussian smoothing of 8- and 24-bit pictures, see ippiSmoothGaussian. The image that `result` holds
    /// already gets the new bitmap instead of its own, which may be this image; an empty reference gets a new
    /// image.
    /// @param kernelSize odd, 3 or more.
    /// @param sigma above 0, in pixels.
    bool GetSmoothed(Reference<Image>& result, unsigned kernelSize, float sigma);

    /// A new bitmap handle of the device context's system, owned by the caller, or null.
    HBITMAP GetHBITMAP(HDC dc);

private:
    FIBITMAP* bitmap;
    bool ownsBitmap;
};

} // namespace DornImage

#endif
