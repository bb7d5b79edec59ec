#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_MESSAGECAPTURE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_MESSAGECAPTURE_H

#include "ImageProcessing/DornImage/SourceNames.h"
#include "base/ThreadMutex.h"
#include "base/VelmoraException.h"

#include <FreeImage.h>

namespace DornImage {

// FreeImage hands all its messages, of all threads, to one function. The capture finds by the calling thread
// the record of the load that a message belongs to.

/// Guards the map from threads to records and the installation of FreeImage's message handler. A load by name
/// holds it throughout; the message handler locks it once more on the same thread.
extern dornbase::ThreadMutex imageLoadMutex;

/// Sets the record of the calling thread, or with null takes it away. Call with imageLoadMutex held.
void setThreadException(VelmoraException* exception);

/// The function given to FreeImage_SetOutputMessage. Messages of threads without a record are dropped.
void DLL_CALLCONV freeImageOutputMessage(FREE_IMAGE_FORMAT format, const char* message);

/// For its lifetime, what FreeImage says on this thread goes to `exception`. Takes imageLoadMutex by itself
/// to set this up and to undo it, and leaves it free, or as the thread held it, in between. At the end
/// FreeImage's handler is taken away even if other threads are still loading, and their further messages are
/// lost.
class MessageCapture {
public:
    explicit MessageCapture(VelmoraException& exception);
    ~MessageCapture();
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;
};

/// What `decode` returns, or null with "Unhandled exception" recorded when it throws.
template <class Decode>
FIBITMAP* decodeCatchingAll(VelmoraException& exception, Decode decode) {
    try {
        return decode();
    } catch (...) {
        exception.setError(freeImageUtilsSource, lineOf(), "Unhandled exception");
        return nullptr;
    }
}

} // namespace DornImage

#endif
