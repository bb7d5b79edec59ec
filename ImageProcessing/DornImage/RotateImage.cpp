#include "ImageProcessing/DornImage/RotateImage.h"

#include "ImageProcessing/DornImage/Formats.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/JpegTransform.h"
#include "ImageProcessing/DornImage/Load.h"
#include "ImageProcessing/DornImage/NamedFile.h"
#include "ImageProcessing/DornImage/UnicodeFileIo.h"

#include <cstdio>

namespace DornImage {
namespace {

bool openFile(FreeImageUnicodeFileIo& file, const Velmora::u8string& name, bool forWrite) {
    Velmora::pstring wide;
    Velmora::c_u8u16(wide, name);
    return file.init(wide, forWrite);
}

/// A turned copy with its resolutions exchanged, owned by the caller, or null.
FIBITMAP* turned(FIBITMAP* bitmap, bool rotate90) {
    FIBITMAP* const result = ::FreeImage_Rotate(bitmap, rotate90 ? 90.0 : 270.0, nullptr);
    if (result) {
        ::FreeImage_SetDotsPerMeterY(result, ::FreeImage_GetDotsPerMeterX(bitmap));
        ::FreeImage_SetDotsPerMeterX(result, ::FreeImage_GetDotsPerMeterY(bitmap));
    }
    return result;
}

bool rotateJpegFile(const Velmora::u8string& sourceFile, const Velmora::u8string& targetFile, bool rotate90) {
    return transformJpegFile(sourceFile, targetFile,
                             rotate90 ? JpegOperation::rotate90 : JpegOperation::rotate270) ==
           JpegTransformed::done;
}

bool rotatePage(FIMULTIBITMAP* pages, int page, FREE_IMAGE_FORMAT format, const Velmora::u8string& targetFile,
                bool rotate90) {
    // Decoders take other numbers for other pages, or read beyond their list.
    if (page < 0 || page >= ::FreeImage_GetPageCount(pages)) {
        return false;
    }
    FIBITMAP* const locked = ::FreeImage_LockPage(pages, page);
    if (!locked) {
        return false;
    }
    const FIBitmapPtr rotated(turned(locked, rotate90));
    ::FreeImage_UnlockPage(pages, locked, FALSE);
    if (!rotated.get()) {
        return false;
    }
    // A page that can't be coded isn't inserted, without a word; the next one would be deleted then.
    const int before = ::FreeImage_GetPageCount(pages);
    ::FreeImage_InsertPage(pages, page, rotated.get());
    if (::FreeImage_GetPageCount(pages) == before) {
        return false;
    }
    ::FreeImage_DeletePage(pages, page + 1);
    FreeImageUnicodeFileIo target;
    return openFile(target, targetFile, true) &&
           ::FreeImage_SaveMultiBitmapToHandle(format, pages, target.getIo(), target.getHandle(), 0) &&
           std::fflush(static_cast<std::FILE*>(target.getHandle())) == 0;
}

bool rotatePageOfFile(FREE_IMAGE_FORMAT format, const Velmora::u8string& sourceFile,
                      const Velmora::u8string& targetFile, int page, bool rotate90) {
    FreeImageUnicodeFileIo source;
    if (!openFile(source, sourceFile, false)) {
        return false;
    }
    FIMULTIBITMAP* const pages =
        ::FreeImage_OpenMultiBitmapFromHandle(format, source.getIo(), source.getHandle(), 0);
    if (!pages) {
        return false;
    }
    const bool rotated = rotatePage(pages, page, format, targetFile, rotate90);
    ::FreeImage_CloseMultiBitmap(pages, 0);
    return rotated;
}

bool rotateSinglePicture(FREE_IMAGE_FORMAT format, const Velmora::u8string& sourceFile,
                         const Velmora::u8string& targetFile, bool rotate90) {
    VelmoraException unread;
    const FIBitmapPtr bitmap(FreeImage_LoadFile(format, sourceFile, unread));
    if (!bitmap.get()) {
        return false;
    }
    const FIBitmapPtr rotated(turned(bitmap.get(), rotate90));
    return rotated.get() && saveNamedFile(format, rotated.get(), targetFile, 0);
}

} // namespace

bool RotateImage(FREE_IMAGE_FORMAT format, const Velmora::u8string& sourceFile,
                 const Velmora::u8string& targetFile, int page, bool rotate90) {
    if (format == FIF_JPEG) {
        return rotateJpegFile(sourceFile, targetFile, rotate90);
    }
    if (FreeImage_IsMultiPageFormat(format)) {
        return rotatePageOfFile(format, sourceFile, targetFile, page, rotate90);
    }
    return rotateSinglePicture(format, sourceFile, targetFile, rotate90);
}

} // namespace DornImage
