#ifndef DORNIMAGE_PLATFORM_GDIOBJECTS_H
#define DORNIMAGE_PLATFORM_GDIOBJECTS_H

#include "platform/GdiCalls.h"
#include "platform/PixelFormat.h"

#include <memory>
#include <vector>

/* What stands behind the handles of platform/GdiCalls.h. */
namespace dornplatform {

struct GdiObject {
    GdiObject() = default;
    GdiObject(const GdiObject&) = delete;
    GdiObject& operator=(const GdiObject&) = delete;
    virtual ~GdiObject();
};

struct BitmapObject final : GdiObject {
    DibLayout layout;
    ColourTable colours{};
    BYTE* pixels = nullptr;
    std::unique_ptr<BYTE[]> own; /* null when the pixels are the application's */

    /* Row `y` counted from the top. */
    BYTE* row(LONG y) const;
};

struct PaletteObject final : GdiObject {
    std::vector<PALETTEENTRY> entries;
};

struct ContextObject final : GdiObject {
    HBITMAP bitmapHandle = nullptr;
    std::shared_ptr<BitmapObject> bitmap;
    HPALETTE paletteHandle = nullptr;
    std::shared_ptr<PaletteObject> palette;
};

/* Handles are numbers that are never used again, so that one of a deleted object finds nothing. */
void* addObject(std::shared_ptr<GdiObject> object);
/* The object stays alive as long as the pointer. */
std::shared_ptr<GdiObject> findObject(const void* handle);
/* False if there is no such object. */
bool removeObject(const void* handle);

template <typename Object>
std::shared_ptr<Object> findObject(const void* handle) {
    return std::dynamic_pointer_cast<Object>(findObject(handle));
}

/* A context with the default palette and a bitmap; null if that is null. */
HDC addContext(HBITMAP bitmapHandle);

} // namespace dornplatform

#endif
