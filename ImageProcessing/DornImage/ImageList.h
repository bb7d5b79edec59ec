#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_IMAGELIST_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_IMAGELIST_H

#include "ImageProcessing/DornImage/Image.h"
#include "ImageProcessing/DornImage/ImageItem.h"
#include "ImageProcessing/DornImage/TempDirectory.h"
#include "base/Export.h"
#include "base/Reference.h"
#include "base/Velmora.h"

#include <FreeImage.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace DornImage {

/// The pages of a document in order, held near a limit in bytes: adding a page that takes the sum over the
/// limit writes every page in memory to temporary files, and GetImage reads them back on demand.
///
/// A concrete list is dornbase::ReferencedImpl<ImageList>, or ReferencedImplMT where threads share references
/// to it. The list itself serves one thread at a time.
///
/// To let several owners use one list, share it by Reference. A copy shares pages and temporary directory
/// with its source; the first of the two to go deletes the directory, and what the other has in files there
/// then answers false.
///
/// What counts: pages added with AddImage(Image*), put in with ReplaceImage, or kept by GetImage count with
/// Image::GetRawDataSize until they leave memory. Pages copied from another list's memory don't count, but
/// are taken from the sum when they are written; the sum wraps at 32 bits, and adding then answers false and
/// writes everything again each time, with no page lost.
///
/// Operations answer false and nothing else on failure. An index beyond the end is a failure.
class DORNIMAGE_API ImageList : public dornbase::ReferencedObject {
public:
    /// What becomes of a file that is added as a page.
    enum ExternalImageOperation : int {
        ExternalImageRef = 0, ///< the page is read from where the file is
        ExternalImageMove = 1 ///< the file becomes one of the list's own, and goes with the list
    };

    /// See the class about what copies share. The old temporary directory of the target of an assignment is
    /// not deleted.
    ImageList(const ImageList&) = default;
    ImageList& operator=(const ImageList&) = default;

    /// Appends a page in memory and takes a reference to it. With a second page or later one, and the sum
    /// above the limit, all pages in memory, this one included, go to files.
    /// @return false for null, with no page added; false when the pages could not all be written, with this
    ///         page added all the same and in memory unless it was written.
    bool AddImage(Image* image);

    /// Appends a copy of a page of another list, or of this one: of the file when the page has one, else of
    /// the image. The copy isn't counted and nothing goes to files.
    /// @return false with no page added when there is no such page or it can't be copied.
    bool AddImage(ImageList* list, int index);

    /// Puts an image in the place of a page and takes a reference to it. The page's file is deleted, also one
    /// that was only referred to; the page's format stays. As in AddImage pages may go to files.
    /// @return false for an index beyond the end or null, with nothing changed; false when pages could not
    ///         all be written, with this page replaced all the same.
    bool ReplaceImage(unsigned index, Image* image);

    /// Gives a page, read from its file when it isn't in memory. What was read is kept in memory as long as
    /// the sum stays below the limit, and else belongs to the caller alone.
    /// @param image gets the page with one reference that the caller releases; untouched on false.
    bool GetImage(unsigned index, Image** image);

    /// The format of the page's file, FIF_UNKNOWN for a page that never had one or an index beyond the end.
    FREE_IMAGE_FORMAT GetImageFormat(unsigned index);

    /// The page's file, empty when it has none or for an index beyond the end.
    Velmora::u8string GetImagePath(unsigned index);

    /// Number of pages, in memory and in files.
    std::size_t GetCount() const;

    /// Tells that the page in memory was changed: its file is deleted, also one that was only referred to.
    /// @return false when the list doesn't hold the page in memory; such a page goes through ReplaceImage.
    bool ImageModified(unsigned index);

    /// Sets the limit in bytes, 0 for none. Nothing goes to files before the next call that adds.
    void SetMaxSize(unsigned size);

    /// Makes the list write pages of 8 and 24 bits as JPEG instead of PNG, whatever the argument says.
    void SetCacheFormat(FREE_IMAGE_FORMAT format);

    /// Sets FreeImage's save flags for pages written as JPEG; 0 and less stand for the codec's own choice.
    void SetJpegCompression(int flags);

    /// Appends a page that is a file of the caller's. The file isn't opened: a wrong path or format shows
    /// when GetImage answers false.
    /// @param path UTF-8.
    /// @return false with no page added for an empty path, an unknown operation, or a file that can't be
    ///         moved; it then stays where it is.
    bool AddExternalImage(FREE_IMAGE_FORMAT format, const Velmora::u8string& path,
                          ExternalImageOperation operation);

protected:
    /// A multi-page bitmap as a pointer that knows whether it is its owner's to close: a value that is stored
    /// is, one that came with a copy of the list is only lent, so that no bitmap is closed twice.
    class CacheBitmap {
    public:
        CacheBitmap() = default;
        /// Lends what the other one points to.
        CacheBitmap(const CacheBitmap& other) : bitmap_(other.bitmap_) {}
        /// Lends what the other one points to; the bitmap that was held is not closed.
        CacheBitmap& operator=(const CacheBitmap& other) {
            if (this != &other) {
                owned_ = owned_ && bitmap_ == other.bitmap_;
                bitmap_ = other.bitmap_;
            }
            return *this;
        }
        /// Takes the bitmap into ownership, unless null; the one that was held is not closed.
        CacheBitmap& operator=(FIMULTIBITMAP* bitmap) {
            bitmap_ = bitmap;
            owned_ = bitmap != nullptr;
            return *this;
        }
        /// The bitmap, or null; and whether it is this object's to close.
        operator FIMULTIBITMAP*() const { return bitmap_; }
        bool isOwned() const { return owned_; }

    private:
        FIMULTIBITMAP* bitmap_ = nullptr;
        bool owned_ = false;
    };

    /// Makes the temporary directory. When that fails the list works in memory, and what needs files fails.
    ImageList();
    ~ImageList() override;

    /// Finds a page; false, with `item` as it was, for an index beyond the end.
    bool GetImageItem(unsigned index, std::shared_ptr<ImageItem>& item);

    /// Writes every page in memory to a file and drops it from memory, in order, until one fails.
    /// @return whether the sum is 0 afterwards.
    bool SaveToCache();

    /// Closes `cacheBitmap`, unless it is only lent, and deletes its file.
    void ReleaseCache();

    /// The save flags for temporary files in `cacheFormat`.
    int GetFifFlags();

    /// The two operations of AddExternalImage: a page that stays where it is, and one that is moved into the
    /// temporary directory, which answers false when it can't be.
    void AddExternalImageRef(FREE_IMAGE_FORMAT format, const Velmora::u8string& path);
    bool MoveInExternalImage(FREE_IMAGE_FORMAT format, const Velmora::u8string& path);

    FREE_IMAGE_FORMAT cacheFormat = FIF_PNG;       ///< of temporary files with 8 and 24 bits
    int jpegCompression = -1;                      ///< save flags of JPEG files; below 1 the codec's own
    std::vector<std::shared_ptr<ImageItem>> items; ///< the pages in order
    std::uint32_t maxSize = 0xA00000;              ///< limit in bytes, 0 for none
    std::uint32_t currentSize = 0;                 ///< bytes of the pages in memory
    /// For derived lists that keep a multi-page file open, with its name in the system code page; the list
    /// itself only closes it.
    CacheBitmap cacheBitmap;
    std::string cacheBitmapPath;
    TempDirectory tempDirectory;     ///< goes with the list that made it
    std::uint32_t nextTempIndex = 0; ///< number in the name of the next temporary file

private:
    bool mustSpill() const;
    bool makeTempFile(std::wstring& path) const;
};

} // namespace DornImage

#endif
