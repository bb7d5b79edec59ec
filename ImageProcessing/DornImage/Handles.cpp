#include "ImageProcessing/DornImage/Handles.h"

#include <limits>

namespace DornImage {

FIBitmapPtr::FIBitmapPtr(FIBITMAP* newBitmap) noexcept : bitmap(newBitmap) {}

FIBitmapPtr::FIBitmapPtr(const FIBitmapPtr& other) noexcept = default;

FIBitmapPtr& FIBitmapPtr::operator=(const FIBitmapPtr& other) noexcept = default;

FIBitmapPtr::~FIBitmapPtr() {
    release();
}

FIBITMAP* FIBitmapPtr::get() const noexcept {
    return bitmap;
}

void FIBitmapPtr::attach(FIBITMAP* newBitmap) {
    if (bitmap) {
        ::FreeImage_Unload(bitmap);
    }
    bitmap = newBitmap;
}

FIBITMAP* FIBitmapPtr::detach() noexcept {
    FIBITMAP* held = bitmap;
    bitmap = nullptr;
    return held;
}

void FIBitmapPtr::release() {
    attach(nullptr);
}

FITagPtr::FITagPtr() noexcept : tag(nullptr) {}

FITagPtr::FITagPtr(const FITagPtr& other) noexcept = default;

FITagPtr& FITagPtr::operator=(const FITagPtr& other) noexcept = default;

FITagPtr::~FITagPtr() {
    Release();
}

bool FITagPtr::Create() {
    Release();
    tag = ::FreeImage_CreateTag();
    return tag != nullptr;
}

void FITagPtr::Release() {
    if (tag) {
        ::FreeImage_DeleteTag(tag);
        tag = nullptr;
    }
}

FITAG* FITagPtr::Get() const noexcept {
    return tag;
}

namespace {

// unsigned long is wider than FreeImage's field on most systems; cutting it would store another number.
bool fitsTagField(unsigned long number) {
    return number <= std::numeric_limits<DWORD>::max();
}

} // namespace

bool FITagPtr::SetTagCount(unsigned long count) {
    return fitsTagField(count) && ::FreeImage_SetTagCount(tag, static_cast<DWORD>(count));
}

bool FITagPtr::SetTagID(unsigned short id) {
    return ::FreeImage_SetTagID(tag, id);
}

bool FITagPtr::SetTagKey(const char* key) {
    return ::FreeImage_SetTagKey(tag, key);
}

bool FITagPtr::SetTagLength(unsigned long length) {
    return fitsTagField(length) && ::FreeImage_SetTagLength(tag, static_cast<DWORD>(length));
}

bool FITagPtr::SetTagType(FREE_IMAGE_MDTYPE type) {
    return ::FreeImage_SetTagType(tag, type);
}

bool FITagPtr::SetTagValue(const void* value) {
    return ::FreeImage_SetTagValue(tag, value);
}

} // namespace DornImage
