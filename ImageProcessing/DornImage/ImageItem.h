#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_IMAGEITEM_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_IMAGEITEM_H

#include "ImageProcessing/DornImage/Image.h"
#include "base/Export.h"
#include "platform/FileState.h"

#include <FreeImage.h>

#include <optional>
#include <string>

namespace DornImage {

/// One page of an ImageList: in memory, in a file, or in both. Lists that share a page share its item. The
/// destructor deletes no file.
class DORNIMAGE_API ImageItem {
public:
    /// A page in memory that never was in a file.
    explicit ImageItem(const Reference<Image>& image);
    /// A page in a file. Nothing is opened.
    ImageItem(FREE_IMAGE_FORMAT format, const std::wstring& path);
    ImageItem(FREE_IMAGE_FORMAT format, const std::wstring& path, const Reference<Image>& image);

    /// A reference to the page in memory, null if it is only in its file.
    Reference<Image> getImage() const;

    /// Brings the page into memory from its file, in the recorded format and as the codec delivers it, except
    /// that 16-bit grey is grey again. A file that a list wrote or took over must be that same file, with
    /// nothing written to it since: another page's file would do as well for a codec, and some codecs fill up
    /// a picture that was cut. A file that the caller keeps is read as it is.
    /// @return false when the file gives no picture; the item stays as it was.
    bool loadFromPath();

    /// Moves the page from memory to a new file, coded by its depth: 1 bit as TIFF with fax coding, 4 bits as
    /// PNG, 16 bits as BMP, 8 and 24 bits in `format` if that is PNG or JPEG and in PNG otherwise, all else
    /// as TIFF with LZW coding. `flags` are save flags and go to a picture that is kept in `format`.
    /// @param directory where the file is made; its name begins with `index` in decimal.
    /// @return false when the file can't be made (the item stays as it was) or not be written whole (the item
    ///         keeps image and path, `format` is the one that was chosen, the new file stays).
    bool saveToTemp(const std::wstring& directory, unsigned index, FREE_IMAGE_FORMAT format, int flags);

    /// Notes for loadFromPath which file the page is in and how it stands.
    void noteFile();

    /// Takes over what is known about the file of `other`; this item's file is a copy of it.
    void noteSameFile(const ImageItem& other);

    /// The file that holds the page, empty if there is none.
    std::wstring path;
    /// The page in memory, null if it is only in its file.
    Reference<Image> image;
    /// The format of `path`, FIF_UNKNOWN for a page that never was in a file.
    FREE_IMAGE_FORMAT format;

private:
    // The file when a list wrote it or took it over, nothing for a file that the caller keeps.
    std::optional<dornplatform::FileState> fileState;
    // The path it had then.
    std::wstring notedPath;
    // The kind of pixels that went into the file, for the formats that do not tell 16-bit kinds apart.
    FREE_IMAGE_TYPE pixelType = FIT_UNKNOWN;
};

} // namespace DornImage

#endif
