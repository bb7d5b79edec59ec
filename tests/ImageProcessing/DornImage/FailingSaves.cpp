#include "tests/ImageProcessing/DornImage/FailingSaves.h"

#include <FreeImage.h>
#include <dlfcn.h>

namespace {

int savesBeforeFailure = -1;
int lastFlags = 0;

} // namespace

FailingSave::FailingSave(int before) {
    savesBeforeFailure = before;
}

FailingSave::~FailingSave() {
    savesBeforeFailure = -1;
}

int lastSaveFlags() {
    return lastFlags;
}

// Stands in front of the codec library's function.
BOOL FreeImage_SaveToHandle(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, FreeImageIO* io, fi_handle handle,
                            int flags) {
    static const auto original =
        reinterpret_cast<decltype(&FreeImage_SaveToHandle)>(dlsym(RTLD_NEXT, "FreeImage_SaveToHandle"));
    lastFlags = flags;
    if (savesBeforeFailure >= 0 && savesBeforeFailure-- == 0) {
        return FALSE;
    }
    return original(format, bitmap, io, handle, flags);
}
