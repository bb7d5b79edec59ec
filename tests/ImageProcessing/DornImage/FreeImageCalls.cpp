#include "FreeImageCalls.h"

#include <dlfcn.h>

FreeImageCalls calls;
FIBITMAP pretended[3];

namespace {

template <class Function>
Function* original(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

void FreeImage_Unload(FIBITMAP* bitmap) {
    calls.unloaded.push_back(bitmap);
    if (calls.onUnload) {
        calls.onUnload();
    }
    if (bitmap < pretended || bitmap >= pretended + 3) {
        original(FreeImage_Unload, "FreeImage_Unload")(bitmap);
    }
}

void FreeImage_DeleteTag(FITAG* tag) {
    calls.deletedTags.push_back(tag);
    original(FreeImage_DeleteTag, "FreeImage_DeleteTag")(tag);
}

const char* FreeImage_GetTagKey(FITAG* tag) {
    return calls.loseTagKeys ? nullptr : original(FreeImage_GetTagKey, "FreeImage_GetTagKey")(tag);
}

BOOL FreeImage_SaveToHandle(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, FreeImageIO* io, fi_handle handle,
                            int flags) {
    calls.saveFlags.push_back(flags);
    return original(FreeImage_SaveToHandle, "FreeImage_SaveToHandle")(format, bitmap, io, handle, flags);
}
