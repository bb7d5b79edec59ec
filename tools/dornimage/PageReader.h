#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGEREADER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGEREADER_H

#include <FreeImage.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct UnloadBitmap {
    void operator()(FIBITMAP* bitmap) const { FreeImage_Unload(bitmap); }
};
using BitmapHolder = std::unique_ptr<FIBITMAP, UnloadBitmap>;

/// How the pages of an animated GIF are taken.
enum class Frames {
    stored, // as the file holds them: only the part that changes, with a palette
    played, // the whole picture that a viewer shows at that moment, 32 bits
};

/// What a picture file is found to be.
struct FileContents {
    FREE_IMAGE_FORMAT format = FIF_UNKNOWN;
    int pageCount = 1;
    std::string trouble; // why nothing more can be told, or empty
};

/// A page as its codec gave it.
struct DecodedPage {
    BitmapHolder bitmap; // null when it can't be decoded
    std::vector<std::string> messages;
    std::string trouble; // a cause beside the messages, or empty
};

/// Size of a page as its header tells it.
struct PageSize {
    unsigned width = 0; // pixels
    unsigned height = 0;
    unsigned depth = 0; // bits a pixel
};

/// Decodes the pages of one picture file, here or elsewhere. Call `open` once before the others.
class PageReader {
public:
    PageReader() = default;
    PageReader(const PageReader&) = delete;
    PageReader& operator=(const PageReader&) = delete;
    virtual ~PageReader() = default;

    /// Finds the format, by content and then by name, and counts the pages (at least 1).
    virtual FileContents open() = 0;

    /// Decodes a page; they count from 1.
    virtual DecodedPage read(int page) = 0;

    /// What the page's header says, without decoding its pixels; none where the codec can't tell that way.
    virtual std::optional<PageSize> size(int page) = 0;
};

#endif
