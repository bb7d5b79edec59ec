#include "ImageProcessing/DornImage/ImageList.h"

#include "base/Disk.h"
#include "platform/FileOperations.h"

namespace DornImage {

bool ImageList::SaveToCache() {
    std::wstring directory;
    Velmora::c_u8u16(directory, tempDirectory.path());
    for (const std::shared_ptr<ImageItem>& item : items) {
        if (!item->image) {
            continue;
        }
        const std::uint32_t size = item->image->GetRawDataSize();
        if (!item->saveToTemp(directory, nextTempIndex, cacheFormat, GetFifFlags())) {
            return false;
        }
        ++nextTempIndex;
        currentSize -= size;
    }
    return currentSize == 0;
}

void ImageList::ReleaseCache() {
    if (!cacheBitmap) {
        return;
    }
    if (cacheBitmap.isOwned()) {
        ::FreeImage_CloseMultiBitmap(cacheBitmap, 0);
        dorndisk::deleteFile(Velmora::U8StringBuilder().appendInAcp(cacheBitmapPath.c_str()));
    }
    cacheBitmap = nullptr;
}

int ImageList::GetFifFlags() {
    return cacheFormat == FIF_JPEG && jpegCompression > 0 ? jpegCompression : 0;
}

bool ImageList::makeTempFile(std::wstring& path) const {
    std::wstring directory;
    Velmora::c_u8u16(directory, tempDirectory.path());
    const Velmora::astring name(std::to_string(nextTempIndex));
    return dorndisk::createTempFile(directory, name, std::wstring(), path);
}

bool ImageList::AddExternalImage(FREE_IMAGE_FORMAT format, const Velmora::u8string& path,
                                 ExternalImageOperation operation) {
    if (path.empty()) {
        return false;
    }
    switch (operation) {
    case ExternalImageRef:
        AddExternalImageRef(format, path);
        return true;
    case ExternalImageMove:
        return MoveInExternalImage(format, path);
    }
    return false;
}

void ImageList::AddExternalImageRef(FREE_IMAGE_FORMAT format, const Velmora::u8string& path) {
    std::wstring widePath;
    if (!Velmora::c_u8u16(widePath, path)) {
        // The name is lost, and its replacement may be another file's: with a zero no file is meant.
        widePath.push_back(L'\0');
    }
    items.push_back(std::make_shared<ImageItem>(format, widePath));
}

bool ImageList::MoveInExternalImage(FREE_IMAGE_FORMAT format, const Velmora::u8string& path) {
    std::wstring source;
    std::wstring target;
    if (!Velmora::c_u8u16(source, path) || !makeTempFile(target)) {
        return false;
    }
    // The page has its place before the file goes, so that no failure in between loses it.
    items.push_back(std::make_shared<ImageItem>(format, target));
    if (!MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)) {
        items.pop_back();
        return false;
    }
    ++nextTempIndex;
    items.back()->noteFile();
    return true;
}

} // namespace DornImage
