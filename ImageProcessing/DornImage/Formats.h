#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_FORMATS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_FORMATS_H

#include "base/Export.h"
#include "base/Velmora.h"

#include <FreeImage.h>

#include <list>
#include <set>
#include <string>

// What a document application offers of the codec library's formats: which of them, under which MIME
// types, and in which order a file dialog lists them. FreeImage's numbers of formats are used throughout;
// the functions offer 0, 2 to 31 and 37 of them, as far as the codec library has these. All functions only
// read the codec library's table of plug-ins, so threads may call them side by side.
namespace DornImage {

/// Format for a MIME type, or FIF_UNKNOWN. Upper and lower case are the same, and the common aliases
/// (such as image/pjpeg and image/x-ms-bmp) are understood.
DORNIMAGE_API FREE_IMAGE_FORMAT FreeImage_GetFIFFromMime(const Velmora::u8string& mimeType);

/// Format that a file's name stands for by its extension, upper or lower case, or FIF_UNKNOWN; a name without
/// a dot is taken for an extension or the name of a format. FreeImage's function of this name answers the
/// same, but takes its words apart by a function of the C library that serves one thread at a time.
DORNIMAGE_API FREE_IMAGE_FORMAT FreeImage_GetFIFFromFilename(const Velmora::u8string& fileName);

/// Adds the MIME type of each enabled format to `mimeTypes`, which keeps what it held. Always true.
DORNIMAGE_API bool FreeImage_GetSupportedMimeTypes(std::set<std::string>& mimeTypes);

/// What a dialog for saving `bitmap` offers, by its bits per pixel.
///
/// `formats` gets the formats that can hold the bitmap appended, the default one first; `defaultExtension`
/// becomes the default format's first extension, without a dot; `filter` is continued by one entry a
/// format, "description (extensions)|*.ext; *.ext", with "|" between entries and "||" at the end.
///
/// Returns the default format: JPEG for 8 and 24 bits, TIFF for 1, 16 and 32. For a null bitmap and all
/// other depths returns FIF_UNKNOWN and leaves the three texts and lists alone.
DORNIMAGE_API FREE_IMAGE_FORMAT FreeImage_GetExtensionsForSave(FIBITMAP* bitmap,
                                                               std::list<FREE_IMAGE_FORMAT>& formats,
                                                               Velmora::astring& defaultExtension,
                                                               Velmora::astring& filter);

/// Sets `extension` to the first extension of `format` with a dot before it. False, with `extension` as it
/// was, for a format that the codec library doesn't know.
DORNIMAGE_API bool FreeImage_GetDefaultExt(FREE_IMAGE_FORMAT format, Velmora::u8string& extension);

/// Appends the extensions of `format`, without dots, to `extensions`. False, with the list as it was, for a
/// format that the codec library doesn't know.
DORNIMAGE_API bool FreeImage_ParseExtensions(FREE_IMAGE_FORMAT format,
                                             std::list<Velmora::astring>& extensions);

/// True for the formats that hold several pages: ICO, TIFF and GIF.
DORNIMAGE_API bool FreeImage_IsMultiPageFormat(FREE_IMAGE_FORMAT format);

/// Whether the codec writes pictures of this kind and depth, by what it declares. Codecs of the packaged
/// FreeImage end the process or leave their memory when they get what they don't declare; the same goes for
/// PSD of 1 bit, which is declared and false here.
/// @param bitsPerPixel of pictures of the type FIT_BITMAP; all other types have one depth each.
DORNIMAGE_API bool FreeImage_CanSave(FREE_IMAGE_FORMAT format, FREE_IMAGE_TYPE type, unsigned bitsPerPixel);

} // namespace DornImage

#endif
