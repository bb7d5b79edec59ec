#include "ImageProcessing/DornImage/Load.h"
#include "ImageProcessing/DornImage/MessageCapture.h"
#include "ImageProcessing/DornImage/StreamOperation.h"

#include <optional>

namespace DornImage {

FIBITMAP* FreeImage_LoadFile(FREE_IMAGE_FORMAT format, IStream* stream, VelmoraException& exception) {
    if (!stream) {
        return nullptr;
    }
    // At the end, with the mutex held, the capture goes first and then the reference to the stream. The
    // decoding runs unlocked, so that other loads need not wait for a slow stream.
    dornbase::ThreadMutexGuard guard(imageLoadMutex, false);
    std::optional<IStream2FileOperation> operation;
    const MessageCapture capture(exception);
    operation.emplace(stream, format);
    FreeImageIO io = operation->prepare();
    FIBITMAP* result =
        decodeCatchingAll(exception, [&] { return ::FreeImage_LoadFromHandle(format, &io, &*operation, 0); });
    guard.acquire();
    return result;
}

} // namespace DornImage
