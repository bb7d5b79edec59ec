#ifndef DORNIMAGE_EXAMPLES_PAGEFILE_H
#define DORNIMAGE_EXAMPLES_PAGEFILE_H

// The pages of a file of any readable format, one after the other, upright and in the depths that the example
// programs work on.

#include "ImageProcessing/DornImage/DornImage.h"

#include <memory>
#include <string>
#include <utility>

using dornbase::Reference;
using DornImage::Image;

class PageFile {
public:
    explicit PageFile(std::string name) : name_(std::move(name)) {
        format_ = FreeImage_GetFileType(name_.c_str());
        if (format_ == FIF_UNKNOWN) {
            format_ = FreeImage_GetFIFFromFilename(name_.c_str());
        }
        if (DornImage::FreeImage_IsMultiPageFormat(format_)) {
            const int flags = format_ == FIF_GIF ? GIF_PLAYBACK : 0;
            pages_.reset(FreeImage_OpenMultiBitmap(format_, name_.c_str(), FALSE, TRUE, FALSE, flags));
        }
    }

    const std::string& name() const { return name_; }
    FREE_IMAGE_FORMAT format() const { return format_; }
    int count() const { return pages_ ? FreeImage_GetPageCount(pages_.get()) : 1; }

    /// Loads a page: upright, with 1 bit, 8 bits of grey, or 24 bits. `untouched`, if given, tells whether
    /// the page is what the codec delivered.
    bool load(int index, Reference<Image>& page, bool* untouched = nullptr) const {
        Reference<Image> loaded;
        if (!(pages_ ? lock(index, loaded) : DornImage::loadImage(name_, loaded))) {
            return false;
        }
        Reference<Image> upright = loaded;
        DornImage::ExifOrientationAdapter turn;
        DornImage::ColourLoadAdapter colour;
        if (!DornImage::applyAdapter(&turn, upright) || !DornImage::applyAdapter(&colour, upright)) {
            return false;
        }
        const unsigned depth = upright->GetBpp();
        if (depth != 1 && depth != 8 && depth != 24 && !reduce(upright)) {
            return false;
        }
        if (untouched) {
            *untouched = upright.get() == loaded.get();
        }
        page = upright;
        return true;
    }

private:
    struct Close {
        void operator()(FIMULTIBITMAP* pages) const { FreeImage_CloseMultiBitmap(pages, 0); }
    };

    bool lock(int index, Reference<Image>& page) const {
        FIBITMAP* const bitmap = FreeImage_LockPage(pages_.get(), index);
        if (!bitmap) {
            return false;
        }
        // The bitmap is the file's: the copy is the page.
        const Reference<Image> lent(new dornbase::ReferencedImpl<Image>());
        lent->Attach(bitmap);
        lent->SetBitmapOwner(false);
        const bool copied = lent->GetClone(page);
        FreeImage_UnlockPage(pages_.get(), bitmap, FALSE);
        return copied;
    }

    /// Grey pictures of more than 8 bits become 8 bits, all others 24.
    static bool reduce(Reference<Image>& page) {
        Reference<Image> reduced;
        const bool grey = FreeImage_GetImageType(page->getFIBTMAP()) == FIT_UINT16;
        if (!(grey ? page->convertToGrayscale(reduced) : page->convertTo24Bits(reduced))) {
            return false;
        }
        page = reduced;
        return true;
    }

    std::string name_;
    FREE_IMAGE_FORMAT format_ = FIF_UNKNOWN;
    std::unique_ptr<FIMULTIBITMAP, Close> pages_;
};

#endif
