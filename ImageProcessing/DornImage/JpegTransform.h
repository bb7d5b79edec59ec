#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_JPEGTRANSFORM_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_JPEGTRANSFORM_H

#include "base/Export.h"
#include "base/Velmora.h"

namespace DornImage {

/// The ways of turning and mirroring a JPEG file; the numbers are FreeImage's.
enum class JpegOperation : int {
    flipHorizontal = 1, ///< left to right
    flipVertical = 2,   ///< top to bottom
    transpose = 3,      ///< across the diagonal from the upper left
    transverse = 4,     ///< across the diagonal from the upper right
    rotate90 = 5,       ///< clockwise
    rotate180 = 6,
    rotate270 = 7, ///< counter-clockwise by 90
};

/// What became of a transform.
enum class JpegTransformed : int {
    done,       ///< the target was written to the last byte
    unreadable, ///< the source can't be read; there is no new target
    refused,    ///< it is no JPEG file, or not without loss, or not in the memory at hand; there is no new
                ///< target
    unwritten,  ///< the target can't be written, and may be left partial; `errno` tells why
};

/// Turns or mirrors a JPEG file without loss, by moving its coefficients: what FreeImage's JPEGTransform
/// does, which packaged builds of FreeImage leave out. Every marker is kept. Where the turn exchanges the
/// axes, the resolutions across and down in the JFIF header and in the EXIF block are exchanged as well.
///
/// Only perfect transforms: a picture is refused when the operation would have to move incomplete blocks away
/// from its right or lower edge, or when its colours are sampled in a way that libturbojpeg doesn't
/// transform, such as 4:1:1 upright. A damaged file is transformed as far as its decoder understands it.
/// @param source UTF-8, as `target`, which may be the same. The target is written when the transform has
///        succeeded.
/// @param markUpright sets the EXIF orientation to 1 where the file has one.
DORNIMAGE_API JpegTransformed transformJpegFile(const Velmora::u8string& source,
                                                const Velmora::u8string& target, JpegOperation operation,
                                                bool markUpright = false);

} // namespace DornImage

#endif
