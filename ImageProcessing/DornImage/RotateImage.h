#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ROTATEIMAGE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ROTATEIMAGE_H

#include "base/Export.h"
#include "base/Velmora.h"

#include <FreeImage.h>

namespace DornImage {

/// Turns a picture in a file by a quarter turn into another file. The source is never changed.
///
/// `rotate90` doesn't name a direction. True turns a JPEG file clockwise and files of all other formats
/// counter-clockwise, false turns each the other way.
///
/// - JPEG: without loss and with all markers, see transformJpegFile; a picture that can't be turned perfectly
///   fails.
/// - Formats of several pages (FreeImage_IsMultiPageFormat): turns one page in its place; all pages go to the
///   target, written with the format's default flags.
/// - Others: decoded, turned and written with the format's default flags.
///
/// Resolutions across and down are exchanged.
/// @param sourceFile UTF-8.
/// @param targetFile UTF-8; for formats of several pages not the source. After a failure it may be left there
///        empty or partial.
/// @param page counted from 0, for formats of several pages only.
/// @return false when a file can't be opened, there is no such page, it can't be turned, or the save fails.
DORNIMAGE_API bool RotateImage(FREE_IMAGE_FORMAT format, const Velmora::u8string& sourceFile,
                               const Velmora::u8string& targetFile, int page, bool rotate90);

} // namespace DornImage

#endif
