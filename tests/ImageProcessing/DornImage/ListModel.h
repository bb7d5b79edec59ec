#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LISTMODEL_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LISTMODEL_H

#include "ImageProcessing/DornImage/ImageList.h"

#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>

// A list of pages beside a model of it, for the tests and for the fuzz target alike.

inline void mustHold(bool holds, const char* what) {
    if (!holds) {
        throw std::logic_error(what);
    }
}

// A list that shows its state.
class OpenList : public DornImage::ImageList {
public:
    OpenList() = default;
    using ImageList::cacheBitmap;
    using ImageList::cacheBitmapPath;
    using ImageList::currentSize;
    using ImageList::GetFifFlags;
    using ImageList::items;
    using ImageList::SaveToCache;
    using ImageList::tempDirectory;
};

using TestList = dornbase::ReferencedImpl<OpenList>;
using ListRef = dornbase::Reference<TestList>;
using ImageRef = DornImage::Reference<DornImage::Image>;

inline ListRef newList(unsigned limit = 0xA00000) {
    ListRef list(new TestList);
    list->SetMaxSize(limit);
    return list;
}

// The kinds of pages that scanners and decoders deliver, and some that hardly anybody has.
struct PageKind {
    const char* name;
    FREE_IMAGE_TYPE type;
    int bits;
    FREE_IMAGE_FORMAT cacheFormat; // of a list that wishes for PNG
};

constexpr PageKind pageKinds[] = {
    {"bilevel", FIT_BITMAP, 1, FIF_TIFF}, {"palette4", FIT_BITMAP, 4, FIF_PNG},
    {"grey", FIT_BITMAP, 8, FIF_PNG},     {"colour16", FIT_BITMAP, 16, FIF_BMP},
    {"colour", FIT_BITMAP, 24, FIF_PNG},  {"alpha", FIT_BITMAP, 32, FIF_TIFF},
    {"grey16", FIT_UINT16, 16, FIF_BMP},  {"signed16", FIT_INT16, 16, FIF_BMP},
    {"rgb48", FIT_RGB16, 48, FIF_TIFF},   {"rgba64", FIT_RGBA16, 64, FIF_TIFF},
    {"float", FIT_FLOAT, 32, FIF_TIFF},   {"complex", FIT_COMPLEX, 128, FIF_TIFF}};

inline ImageRef newPage(const PageKind& kind, int width, int height, unsigned seed = 1) {
    FIBITMAP* const bitmap = FreeImage_AllocateT(kind.type, width, height, kind.bits);
    std::mt19937 random(seed);
    const bool floating = kind.type == FIT_FLOAT || kind.type == FIT_COMPLEX;
    for (int row = 0; row < height; ++row) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, row);
        for (unsigned at = 0; at < FreeImage_GetLine(bitmap); ++at) {
            line[at] = floating ? BYTE(63) : static_cast<BYTE>(random());
        }
        if (kind.type == FIT_BITMAP && kind.bits == 16) { // 555: the top bit means nothing
            for (unsigned at = 1; at < FreeImage_GetLine(bitmap); at += 2) {
                line[at] &= BYTE(0x7f);
            }
        }
    }
    ImageRef image(new dornbase::ReferencedImplMT<DornImage::Image>);
    image->Attach(bitmap);
    return image;
}

inline ImageRef colourPage(int width, int height, unsigned seed = 1) {
    return newPage(pageKinds[4], width, height, seed);
}

// Whether size, kind and all pixels are the same.
inline bool samePicture(FIBITMAP* one, FIBITMAP* other) {
    if (FreeImage_GetWidth(one) != FreeImage_GetWidth(other) ||
        FreeImage_GetHeight(one) != FreeImage_GetHeight(other) ||
        FreeImage_GetBPP(one) != FreeImage_GetBPP(other) ||
        FreeImage_GetImageType(one) != FreeImage_GetImageType(other)) {
        return false;
    }
    const unsigned bits = FreeImage_GetWidth(one) * FreeImage_GetBPP(one);
    for (int row = 0; row < static_cast<int>(FreeImage_GetHeight(one)); ++row) {
        const BYTE* const left = FreeImage_GetScanLine(one, row);
        const BYTE* const right = FreeImage_GetScanLine(other, row);
        if (std::memcmp(left, right, bits / 8) != 0 ||
            (bits % 8 != 0 && ((left[bits / 8] ^ right[bits / 8]) >> (8 - bits % 8)) != 0)) {
            return false;
        }
    }
    return true;
}

inline std::filesystem::path asPath(const std::string& name) {
    return name;
}

inline bool exists(const std::string& name) {
    return std::filesystem::exists(name);
}

// The page as GetImage gives it, null when it answers false.
inline ImageRef pageOf(DornImage::ImageList& list, unsigned index) {
    DornImage::Image* image = nullptr;
    ImageRef result;
    if (list.GetImage(index, &image)) {
        result = image;
        image->releaseRef();
    } else {
        mustHold(image == nullptr, "a page that failed");
    }
    return result;
}

inline bool hasPage(DornImage::ImageList& list, unsigned index, const ImageRef& expected) {
    const ImageRef page = pageOf(list, index);
    return page && samePicture(page->getFIBTMAP(), expected->getFIBTMAP());
}

struct ModelPage {
    ImageRef picture; // a copy of what the page shows
    bool inMemory = true;
    std::string file; // an external file's name, "temporary", or empty
    FREE_IMAGE_FORMAT format = FIF_UNKNOWN;

    unsigned bytes() const { return picture->GetRawDataSize(); }
};

inline FREE_IMAGE_FORMAT cacheFormatOf(DornImage::Image& picture) {
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(picture.getFIBTMAP());
    for (const PageKind& kind : pageKinds) {
        if (kind.type == type && static_cast<unsigned>(kind.bits) == picture.GetBpp()) {
            return kind.cacheFormat;
        }
    }
    return FIF_UNKNOWN;
}

class Model {
public:
    explicit Model(std::uint32_t limit_) : limit(limit_) {}

    bool add(const ImageRef& picture) {
        pages.push_back({picture, true, "", FIF_UNKNOWN});
        sum += pages.back().bytes();
        return spillAbove();
    }

    void addCopy(const ModelPage& page) {
        pages.push_back(page);
        pages.back().inMemory = page.file.empty();
        pages.back().file = page.file.empty() ? "" : "temporary";
    }

    bool replace(std::size_t index, const ImageRef& picture) {
        ModelPage& page = pages[index];
        sum += picture->GetRawDataSize() - (page.inMemory ? page.bytes() : 0);
        page = {picture, true, "", page.format};
        return spillAbove();
    }

    void get(std::size_t index) {
        ModelPage& page = pages[index];
        if (!page.inMemory && (limit == 0 || sum + page.bytes() < limit)) {
            page.inMemory = true;
            sum += page.bytes();
        }
    }

    bool spillAbove() {
        if (pages.size() < 2 || limit == 0 || sum <= limit) {
            return true;
        }
        for (ModelPage& page : pages) {
            if (page.inMemory) {
                page = {page.picture, false, "temporary", cacheFormatOf(*page.picture)};
                sum -= page.bytes();
            }
        }
        return sum == 0;
    }

    std::vector<ModelPage> pages;
    std::uint32_t limit;
    std::uint32_t sum = 0;
};

struct ListPair {
    explicit ListPair(std::uint32_t limit) : list(newList(limit)), model(limit) {}

    void compare() const {
        mustHold(list->GetCount() == model.pages.size(), "count");
        mustHold(list->currentSize == model.sum, "sum");
        for (std::size_t index = 0; index < model.pages.size(); ++index) {
            const ModelPage& expected = model.pages[index];
            const Velmora::u8string path = list->GetImagePath(static_cast<unsigned>(index));
            mustHold(list->GetImageFormat(static_cast<unsigned>(index)) == expected.format, "format");
            mustHold(static_cast<bool>(list->items[index]->image) == expected.inMemory, "place");
            mustHold(expected.file == "temporary"
                         ? asPath(path).parent_path() == asPath(list->tempDirectory.path())
                         : path == expected.file,
                     "path");
            // A copy of the item is read, so that looking changes nothing.
            DornImage::ImageItem item = *list->items[index];
            mustHold(item.image || item.loadFromPath(), "file");
            mustHold(samePicture(item.image->getFIBTMAP(), expected.picture->getFIBTMAP()), "pixels");
        }
    }

    ListRef list;
    Model model;
};

// Two lists and their models under operations that `below` chooses: it gives a number from 0 to its argument
// less one. External files go to `folder`. A difference is thrown.
class ListScript {
public:
    using Below = std::function<unsigned(unsigned)>;

    ListScript(std::filesystem::path folder, Below below)
        : folder_(std::move(folder)), below_(std::move(below)) {}

    void step() {
        const unsigned which = below_(2);
        operate(pairs_[which], pairs_[1 - which]);
    }

    // Looks at every page of both lists, which doesn't change them.
    void compare() const {
        pairs_[0].compare();
        pairs_[1].compare();
    }

private:
    int side() { return static_cast<int>(1 + below_(24)); }

    ImageRef randomPage() {
        const PageKind& kind = pageKinds[below_(std::size(pageKinds))];
        const int width = side(), height = side();
        return newPage(kind, width, height, below_(1000));
    }

    static ImageRef cloneOf(const ImageRef& picture) {
        ImageRef clone;
        mustHold(picture->GetClone(clone), "clone");
        return clone;
    }

    void addExternal(ListPair& pair) {
        const ImageRef picture = colourPage(side(), 9, below_(1000));
        const Velmora::u8string file = (folder_ / (std::to_string(files_++) + ".png")).string();
        mustHold(picture->Save(FIF_PNG, file), "external file");
        const bool move = below_(2) == 0;
        mustHold(pair.list->AddExternalImage(FIF_PNG, file,
                                             move ? DornImage::ImageList::ExternalImageMove
                                                  : DornImage::ImageList::ExternalImageRef),
                 "external page");
        mustHold(exists(file) == !move, "moved file");
        pair.model.pages.push_back({picture, false, move ? "temporary" : file, FIF_PNG});
    }

    static void modify(ListPair& pair, unsigned index) {
        ModelPage& page = pair.model.pages[index];
        mustHold(pair.list->ImageModified(index) == page.inMemory, "modified page");
        if (!page.inMemory) {
            return;
        }
        const ImageRef got = pageOf(*pair.list, index);
        BYTE* const bits = FreeImage_GetBits(got->getFIBTMAP());
        bits[0] = static_cast<BYTE>(bits[0] ^ 0x10);
        page.picture = cloneOf(got);
        if (!page.file.empty()) {
            mustHold(page.file == "temporary" || !exists(page.file), "modified file");
            page.file.clear();
        }
    }

    void operate(ListPair& pair, ListPair& other) {
        const auto count = static_cast<unsigned>(pair.model.pages.size());
        const unsigned index = count == 0 ? 0 : below_(count);
        const ImageRef fresh = randomPage();
        const unsigned operation = below_(count == 0 ? 2 : 9);
        if (operation < 2) {
            mustHold(pair.list->AddImage(fresh.get()) == pair.model.add(cloneOf(fresh)), "added page");
        } else if (operation == 2) {
            addExternal(pair);
        } else if (operation == 3) {
            mustHold(pair.list->ReplaceImage(index, fresh.get()) == pair.model.replace(index, cloneOf(fresh)),
                     "replaced page");
        } else if (operation == 4) {
            mustHold(other.list->AddImage(pair.list.get(), static_cast<int>(index)), "copied page");
            other.model.addCopy(pair.model.pages[index]);
        } else if (operation == 5) {
            modify(pair, index);
        } else if (operation == 6 && below_(4) == 0) {
            const unsigned limits[] = {0, 1, 2000, 20000, pair.model.sum + pair.model.pages[index].bytes()};
            pair.model.limit = limits[below_(std::size(limits))];
            pair.list->SetMaxSize(pair.model.limit);
        } else {
            mustHold(hasPage(*pair.list, index, pair.model.pages[index].picture), "got page");
            pair.model.get(index);
        }
    }

    std::filesystem::path folder_;
    Below below_;
    ListPair pairs_[2] = {ListPair(3000), ListPair(8000)};
    int files_ = 0;
};

#endif
