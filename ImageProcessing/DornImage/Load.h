#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_LOAD_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_LOAD_H

#include "ImageProcessing/DornImage/Image.h"
#include "base/Export.h"
#include "base/Velmora.h"
#include "base/VelmoraException.h"
#include "platform/Stream.h"

#include <FreeImage.h>

namespace DornImage {

/// Loads a picture as the codec delivers it, in the format that the file's content tells or else its name's
/// extension. File names are UTF-8.
/// @return false when no format that can be read is found or the decoder gives no picture; `image` then stays
///         as it was and nothing tells why. Of what a decoder throws only std::bad_alloc comes through.
DORNIMAGE_API bool loadImage(const Velmora::u8string& fileName, Reference<Image>& image);

/// Loads a picture in the given format, whatever the file's name or content.
///
/// Loads by name run one at a time in a process, because FreeImage has one message handler for all threads.
/// @param fileName UTF-8.
/// @param exception gets one setError for each message of the codec, made of the format's name, ": " and the
///        codec's words, on success as well; "Unhandled exception" when the decoder threw. A decoder that
///        fails without a word leaves the record as it was.
/// @return a bitmap that the caller unloads, or null.
DORNIMAGE_API FIBITMAP* FreeImage_LoadFile(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName,
                                           VelmoraException& exception);

/// Loads a picture from where the stream stands; the stream is not rewound. The stream has to tell its length
/// through Stat, and is used on the calling thread only.
///
/// Several stream loads may run at once. When any load of the process ends, messages that the codec gives to
/// those still running are lost.
/// @param stream may be null, which yields null and nothing else.
/// @param exception as for a file.
/// @return a bitmap that the caller unloads, or null.
DORNIMAGE_API FIBITMAP* FreeImage_LoadFile(FREE_IMAGE_FORMAT format, IStream* stream,
                                           VelmoraException& exception);

} // namespace DornImage

#endif
