#include "ImageProcessing/DornImage/Load.h"
#include "ImageProcessing/DornImage/MessageCapture.h"
#include "ImageProcessing/DornImage/NamedFile.h"
#include "platform/Thread.h"

#include <cstdint>
#include <map>
#include <new>

namespace DornImage {

dornbase::ThreadMutex imageLoadMutex;

namespace {

// The records belong to the callers of the running loads. The priority is for the static library: a program's
// own static objects may load pictures.
[[gnu::init_priority(101)]] std::map<std::uint32_t, VelmoraException*> threadExceptionMap;

} // namespace

void setThreadException(VelmoraException* exception) {
    if (exception) {
        threadExceptionMap[GetCurrentThreadId()] = exception;
    } else {
        threadExceptionMap.erase(GetCurrentThreadId());
    }
}

void DLL_CALLCONV freeImageOutputMessage(FREE_IMAGE_FORMAT format, const char* message) try {
    dornbase::ThreadMutexGuard guard(imageLoadMutex, true);
    const auto entry = threadExceptionMap.find(GetCurrentThreadId());
    if (entry == threadExceptionMap.end()) {
        return;
    }
    Velmora::U8StringBuilder text;
    if (const char* formatName = ::FreeImage_GetFormatFromFIF(format)) {
        text.append(formatName).append(": ");
    }
    text.append(message);
    entry->second->setError(freeImageUtilsSource, lineOf(), text);
} catch (...) {
    // The callers are codecs, written in C for the most part: a message may be lost, the load may not.
}

MessageCapture::MessageCapture(VelmoraException& exception) {
    dornbase::ThreadMutexGuard guard(imageLoadMutex, true);
    ::FreeImage_SetOutputMessage(freeImageOutputMessage);
    try {
        setThreadException(&exception);
    } catch (const std::bad_alloc&) {
        ::FreeImage_SetOutputMessage(nullptr);
        throw;
    }
}

MessageCapture::~MessageCapture() {
    dornbase::ThreadMutexGuard guard(imageLoadMutex, true);
    setThreadException(nullptr);
    ::FreeImage_SetOutputMessage(nullptr);
}

FIBITMAP* FreeImage_LoadFile(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName,
                             VelmoraException& exception) {
    dornbase::ThreadMutexGuard guard(imageLoadMutex, true);
    const MessageCapture capture(exception);
    return decodeCatchingAll(exception, [&] { return loadNamedFile(format, fileName, 0); });
}

} // namespace DornImage
