#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ADAPTERS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ADAPTERS_H

#include "ImageProcessing/DornImage/Image.h"
#include "base/Export.h"

#include <list>
#include <memory>

// Adapters are normalising steps on an image: load adapters for after a load, save adapters for before a
// save. The library never runs one by itself; the application chooses the steps and their order. An adapter
// leaves the image that it is given as it is, doesn't keep it, and logs nothing unless it says so.
namespace DornImage {

// The adapters have no virtual destructor: their tables of virtual operations are fixed.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A step after a load.
class DORNIMAGE_API ImageLoadAdapter {
public:
    /// What became of a step.
    enum AdapterStatus : int {
        AdapterApplied = 0,    ///< the step made a new image, which stands in `result`
        AdapterNotApplied = 1, ///< the image needs nothing, or the step can't work on it; `result` stays
        AdapterFailed = 2,     ///< the step tried and failed; `result` stays
    };

    /// Works on `image`, which may not be null.
    virtual AdapterStatus apply(Image* image, Reference<Image>& result) = 0;

protected:
    // Adapters are never deleted through this class.
    ~ImageLoadAdapter() = default;
};

/// A step before a save.
class DORNIMAGE_API ImageSaveAdapter {
public:
    /// True with the new image in `result`, or with `result` as it was when the image stays; false on
    /// failure.
    virtual bool apply(Image* image, Reference<Image>& result) = 0;

protected:
    ~ImageSaveAdapter() = default;
};

/// Runs one step on `image`, which afterwards holds the picture to go on with. False only when the step
/// failed: one with nothing to do is a success.
DORNIMAGE_API bool applyAdapter(ImageLoadAdapter* adapter, Reference<Image>& image);

/// Brings pictures with a palette to 24 bits: all of 4 bits, and those of 8 bits that aren't
/// FreeImage_IsGrayScale. Others, bilevel pages among them, are left alone.
class DORNIMAGE_API ColourLoadAdapter : public ImageLoadAdapter {
public:
    ColourLoadAdapter();
    ColourLoadAdapter(const ColourLoadAdapter&);
    ColourLoadAdapter(ColourLoadAdapter&&) noexcept;
    ColourLoadAdapter& operator=(const ColourLoadAdapter&);
    ColourLoadAdapter& operator=(ColourLoadAdapter&&) noexcept;

    /// Failed when a picture that needs the change can't be changed.
    AdapterStatus apply(Image* image, Reference<Image>& result) override;
};

/// Makes the pixels of a picture square: stretches the axis of the lower resolution to the higher one, with
/// linear samples. Both resolutions have to be valid (FreeImage_IsValidDotsPerMeter).
///
/// The new side is computed in 32 bits: with a side times resolution of 2^31 or more the product wraps, and
/// the picture is left alone or, if the wrapped number is positive, gets that wrong size.
class DORNIMAGE_API DPIUnifAdapter : public ImageLoadAdapter {
public:
    DPIUnifAdapter();
    DPIUnifAdapter(const DPIUnifAdapter&);
    DPIUnifAdapter(DPIUnifAdapter&&) noexcept;
    DPIUnifAdapter& operator=(const DPIUnifAdapter&);
    DPIUnifAdapter& operator=(DPIUnifAdapter&&) noexcept;

    /// Failed when a picture that needs the change can't be changed.
    AdapterStatus apply(Image* image, Reference<Image>& result) override;
};

#pragma GCC diagnostic pop

/// Whether a resolution is a plausible one: 30 to 4800 dots per inch, which is 1182 to 188976 dots per metre.
DORNIMAGE_API bool FreeImage_IsValidDotsPerMeter(unsigned dotsPerMeter);

/// Save adapters in the order of running. Copies share the adapters. Not thread safe.
class DORNIMAGE_API SaveAdapterList {
public:
    SaveAdapterList();
    SaveAdapterList(const SaveAdapterList& other);
    SaveAdapterList& operator=(const SaveAdapterList& other);
    virtual ~SaveAdapterList();

    /// Appends a step, which may not be null.
    void add(std::shared_ptr<ImageSaveAdapter> adapter);

    /// Runs all steps, each on what the one before it made, and stores the last image in `result`: `image`
    /// itself when no step made one. False as soon as a step fails; then `result` stays as it was.
    bool Apply(Image* image, Reference<Image>& result);

private:
    std::list<std::shared_ptr<ImageSaveAdapter>> adapters;
};

} // namespace DornImage

#endif
