#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_HANDLES_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_HANDLES_H

#include "base/Export.h"
#include "base/Velmora.h"
#include "base/VelmoraException.h"

#include <FreeImage.h>

namespace DornImage {

/// Scoped owner of one FIBITMAP: the destructor unloads what is held. Not thread safe.
///
/// Copies are shallow: construction and assignment copy the pointer and nothing else, so that afterwards
/// two handles hold one bitmap and one of them has to detach() before it dies; what the target of an
/// assignment held before is lost to it without being unloaded.
class DORNIMAGE_API FIBitmapPtr {
public:
    /// Takes the bitmap, which may be null, into ownership.
    FIBitmapPtr(FIBITMAP* bitmap = nullptr) noexcept;
    FIBitmapPtr(const FIBitmapPtr& other) noexcept;
    FIBitmapPtr& operator=(const FIBitmapPtr& other) noexcept;
    virtual ~FIBitmapPtr();

    /// The held bitmap, still owned by the handle, or null.
    FIBITMAP* get() const noexcept;

    /// Unloads what is held, then takes `newBitmap`. The two must differ: a bitmap that the handle holds
    /// already is unloaded all the same.
    void attach(FIBITMAP* newBitmap);

    /// Empties the handle and gives what it held to the caller.
    FIBITMAP* detach() noexcept;

    /// Unloads what is held and leaves the handle empty.
    void release();

    /// Loads a file by its MIME type, with the aliases that FreeImage_GetFIFFromMime of this library knows.
    /// A bitmap that the handle held before is overwritten without being unloaded.
    /// @param fileName UTF-8.
    /// @param exception gets "Unknown mime type:" with the type and a line feed when there is no format for
    ///        the type (the handle stays as it was); else what the codec said, and "Fail to load image." last
    ///        when it gave no bitmap (the handle is empty then).
    /// @return whether the handle holds the decoded bitmap.
    bool load(const Velmora::u8string& fileName, const Velmora::u8string& mimeType,
              VelmoraException& exception);

private:
    FIBITMAP* bitmap;
};

/// Scoped owner of one FITAG: the destructor deletes what is held. Copies are shallow as those of
/// FIBitmapPtr. Not thread safe.
///
/// The setters answer whether FreeImage took the value; on an empty handle they all answer false.
class DORNIMAGE_API FITagPtr {
public:
    FITagPtr() noexcept;
    FITagPtr(const FITagPtr& other) noexcept;
    FITagPtr& operator=(const FITagPtr& other) noexcept;
    virtual ~FITagPtr();

    /// Deletes what is held and makes a new tag; false when FreeImage can't make one.
    bool Create();

    /// Deletes what is held and leaves the handle empty.
    void Release();

    /// The held tag, still owned by the handle, or null.
    FITAG* Get() const noexcept;

    /// Number of values in the tag. FreeImage keeps 32 bits: a larger number is refused.
    bool SetTagCount(unsigned long count);
    /// Number of the tag in its metadata model.
    bool SetTagID(unsigned short id);
    /// Name of the tag; FreeImage copies it.
    bool SetTagKey(const char* key);
    /// Bytes of all values together. FreeImage keeps 32 bits: a larger number is refused.
    bool SetTagLength(unsigned long length);
    /// Type of the values, which tells their width.
    bool SetTagType(FREE_IMAGE_MDTYPE type);
    /// Copies as many bytes as were set with SetTagLength, so type, count and length come first; FreeImage
    /// refuses a length that isn't the count times the width of the type.
    bool SetTagValue(const void* value);

private:
    FITAG* tag;
};

} // namespace DornImage

#endif
