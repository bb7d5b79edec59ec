#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_TIFFFIELDS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_TIFFFIELDS_H

namespace DornImage {

/// Settles two differences between FreeImage and the TIFF codec that it calls.
///
/// Saving is made safe for pictures of cameras that put tags of the EXIF directory into the main one.
/// FreeImage's writer asks the TIFF codec for the description of each such tag and uses it without looking
/// whether there is one. From here on there is one, which makes the writer leave the tag out; tags that stand
/// where they belong are not concerned.
///
/// IPTC records are loaded and saved whole, and nothing behind them is read.
void installTiffFields();

} // namespace DornImage

#endif
