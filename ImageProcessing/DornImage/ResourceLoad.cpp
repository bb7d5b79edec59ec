#include "ImageProcessing/DornImage/ResourceLoad.h"

#include "ImageProcessing/DornImage/SourceNames.h"

#include <cstdint>
#include <memory>

namespace DornImage {
namespace {

struct CloseMemory {
    void operator()(FIMEMORY* memory) const { ::FreeImage_CloseMemory(memory); }
};

// A number in the place of a name, which the resource calls refuse, is no text to read.
const wchar_t* textOf(const wchar_t* name) {
    return reinterpret_cast<std::uintptr_t>(name) > 0xFFFF ? name : nullptr;
}

Velmora::u8string withResource(const char* text, const wchar_t* resourceType, const wchar_t* resourceName) {
    return Velmora::U8StringBuilder()
        .append(text)
        .appendInAcp(textOf(resourceType))
        .append("/")
        .appendInAcp(textOf(resourceName));
}

} // namespace

FIBITMAP* FreeImage_LoadFromResource(FREE_IMAGE_FORMAT format, HINSTANCE module, const wchar_t* resourceType,
                                     const wchar_t* resourceName, VelmoraException& exception) {
    const HRSRC resource = FindResourceW(module, resourceName, resourceType);
    if (!resource) {
        exception.setError(freeImageUtilsSource, lineOf(),
                           withResource("Failed to find resource: ", resourceType, resourceName));
        return nullptr;
    }
    const HGLOBAL loaded = LoadResource(module, resource);
    if (!loaded) {
        exception.setError(freeImageUtilsSource, lineOf(),
                           withResource("Failed to load resource: ", resourceType, resourceName));
        return nullptr;
    }
    const DWORD size = SizeofResource(module, resource);
    void* data = LockResource(loaded);
    if (!data) {
        exception.setError(freeImageUtilsSource, lineOf(), "Faild to lock resource");
        return nullptr;
    }
    const std::unique_ptr<FIMEMORY, CloseMemory> memory(
        ::FreeImage_OpenMemory(static_cast<BYTE*>(data), size));
    if (!memory) {
        exception.setError(freeImageUtilsSource, lineOf(), "Failed to prepare memory stream");
        return nullptr;
    }
    FIBITMAP* bitmap = ::FreeImage_LoadFromMemory(format, memory.get(), 0);
    if (!bitmap) {
        exception.setError(freeImageUtilsSource, lineOf(), "Failed to load image from memory");
    }
    return bitmap;
}

} // namespace DornImage
