#include "ImageProcessing/DornImage/ImageList.h"

#include "base/Disk.h"
#include "platform/FileOperations.h"

namespace DornImage {

ImageList::ImageList() {
    tempDirectory.create("imageConvert");
}

ImageList::~ImageList() {
    items.clear();
    ReleaseCache();
}

bool ImageList::AddImage(Image* image) {
    if (!image) {
        return false;
    }
    items.push_back(std::make_shared<ImageItem>(Reference<Image>(image)));
    currentSize += image->GetRawDataSize();
    return !mustSpill() || SaveToCache();
}

bool ImageList::AddImage(ImageList* list, int index) {
    std::shared_ptr<ImageItem> source;
    if (!list || !list->GetImageItem(static_cast<unsigned>(index), source)) {
        return false;
    }
    std::wstring path;
    Reference<Image> image;
    if (!source->path.empty()) {
        if (!makeTempFile(path) || !CopyFileW(source->path.c_str(), path.c_str(), FALSE)) {
            return false;
        }
        ++nextTempIndex;
    } else if (!source->image || !source->image->GetClone(image)) {
        return false;
    }
    const auto item = std::make_shared<ImageItem>(source->format, path, image);
    if (!path.empty()) {
        item->noteSameFile(*source);
    }
    items.push_back(item);
    return true;
}

bool ImageList::ReplaceImage(unsigned index, Image* image) {
    std::shared_ptr<ImageItem> item;
    if (!image || !GetImageItem(index, item)) {
        return false;
    }
    // The page may hold the only reference to the very image that replaces it.
    const Reference<Image> replacement(image);
    if (item->image) {
        currentSize -= item->image->GetRawDataSize();
    }
    if (!item->path.empty()) {
        dorndisk::deleteFile(item->path);
    }
    currentSize += replacement->GetRawDataSize();
    item->image = replacement;
    item->path.clear();
    return !mustSpill() || SaveToCache();
}

bool ImageList::GetImage(unsigned index, Image** image) {
    std::shared_ptr<ImageItem> item;
    if (!image || !GetImageItem(index, item)) {
        return false;
    }
    Reference<Image> page = item->getImage();
    if (!page) {
        if (!item->loadFromPath()) {
            return false;
        }
        page = item->getImage();
        const std::uint32_t sum = currentSize + page->GetRawDataSize();
        if (maxSize == 0 || sum < maxSize) {
            currentSize = sum;
        } else {
            item->image = nullptr;
        }
    }
    page->addRef();
    *image = page.get();
    return true;
}

FREE_IMAGE_FORMAT ImageList::GetImageFormat(unsigned index) {
    std::shared_ptr<ImageItem> item;
    return GetImageItem(index, item) ? item->format : FIF_UNKNOWN;
}

Velmora::u8string ImageList::GetImagePath(unsigned index) {
    std::shared_ptr<ImageItem> item;
    Velmora::u8string path;
    if (GetImageItem(index, item)) {
        Velmora::c_u16u8(path, item->path);
    }
    return path;
}

std::size_t ImageList::GetCount() const {
    return items.size();
}

bool ImageList::ImageModified(unsigned index) {
    std::shared_ptr<ImageItem> item;
    if (!GetImageItem(index, item) || !item->image) {
        return false;
    }
    if (!item->path.empty()) {
        dorndisk::deleteFile(item->path);
        item->path.clear();
    }
    return true;
}

void ImageList::SetMaxSize(unsigned size) {
    maxSize = size;
}

void ImageList::SetCacheFormat(FREE_IMAGE_FORMAT /*format*/) {
    cacheFormat = FIF_JPEG;
}

void ImageList::SetJpegCompression(int flags) {
    jpegCompression = flags;
}

bool ImageList::GetImageItem(unsigned index, std::shared_ptr<ImageItem>& item) {
    if (index >= items.size()) {
        return false;
    }
    item = items[index];
    return true;
}

bool ImageList::mustSpill() const {
    return items.size() > 1 && maxSize != 0 && currentSize > maxSize;
}

} // namespace DornImage
