#ifndef DORNIMAGE_TESTS_TOOLS_DECODED_H
#define DORNIMAGE_TESTS_TOOLS_DECODED_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstring>
#include <string>

/// Decodes a file, or one page of it counted from 0, and owns the bitmap.
class Decoded {
public:
    explicit Decoded(const std::string& file, int page = -1, int flags = 0) {
        const FREE_IMAGE_FORMAT format = FreeImage_GetFileType(file.c_str(), 0);
        if (page < 0) {
            bitmap_.attach(FreeImage_Load(format, file.c_str(), flags));
            return;
        }
        FIMULTIBITMAP* const pages =
            FreeImage_OpenMultiBitmap(format, file.c_str(), FALSE, TRUE, FALSE, flags);
        FIBITMAP* const locked = FreeImage_LockPage(pages, page);
        bitmap_.attach(FreeImage_Clone(locked));
        FreeImage_UnlockPage(pages, locked, FALSE);
        FreeImage_CloseMultiBitmap(pages, 0);
    }

    FIBITMAP* get() const { return bitmap_.get(); }
    unsigned depth() const { return FreeImage_GetBPP(get()); }

private:
    DornImage::FIBitmapPtr bitmap_;
};

/// Equal depth and equal colours: a codec may turn a page that is stored inverted into one that is not.
inline bool samePixels(FIBITMAP* a, FIBITMAP* b) {
    if (FreeImage_GetWidth(a) != FreeImage_GetWidth(b) || FreeImage_GetHeight(a) != FreeImage_GetHeight(b) ||
        FreeImage_GetBPP(a) != FreeImage_GetBPP(b)) {
        return false;
    }
    const bool indexed = FreeImage_GetBPP(a) <= 8;
    const DornImage::FIBitmapPtr colourA(indexed ? FreeImage_ConvertTo24Bits(a) : FreeImage_Clone(a));
    const DornImage::FIBitmapPtr colourB(indexed ? FreeImage_ConvertTo24Bits(b) : FreeImage_Clone(b));
    const unsigned bytes = FreeImage_GetLine(colourA.get());
    for (int y = 0; y < static_cast<int>(FreeImage_GetHeight(a)); ++y) {
        if (std::memcmp(FreeImage_GetScanLine(colourA.get(), y), FreeImage_GetScanLine(colourB.get(), y),
                        bytes) != 0) {
            return false;
        }
    }
    return true;
}

#endif
