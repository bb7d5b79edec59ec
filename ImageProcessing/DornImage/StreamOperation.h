#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_STREAMOPERATION_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_STREAMOPERATION_H

#include "ImageProcessing/DornImage/ReadGuard.h"
#include "platform/Stream.h"

#include <FreeImage.h>

#include <cstdint>

namespace DornImage {

/// One read of a stream by the codec library: the handle behind its callbacks. Holds a reference to the
/// stream and counts the read position by itself, from 0 wherever the stream stands. Position and size are
/// 32 bits wide and wrap, so of a longer stream the low 32 bits of its size count.
class IStream2FileOperation {
public:
    /// @param format what the codec reads.
    IStream2FileOperation(IStream* source, FREE_IMAGE_FORMAT format);
    IStream2FileOperation(const IStream2FileOperation&) = delete;
    IStream2FileOperation& operator=(const IStream2FileOperation&) = delete;
    virtual ~IStream2FileOperation();

    /// Asks the stream for its size (0 if it can't tell) and returns the callbacks, which are for reading
    /// only. The stream is not rewound.
    FreeImageIO prepare();

private:
    static unsigned DLL_CALLCONV readProc(void* buffer, unsigned itemSize, unsigned itemCount,
                                          fi_handle handle);
    static int DLL_CALLCONV seekProc(fi_handle handle, long offset, int origin);
    static long DLL_CALLCONV tellProc(fi_handle handle);

    unsigned read(void* buffer, unsigned itemSize, unsigned itemCount);
    bool seekToPosition();

    IStream* stream;
    std::uint32_t position = 0;
    std::uint32_t size = 0;
    ReadGuard guard;
};

} // namespace DornImage

#endif
