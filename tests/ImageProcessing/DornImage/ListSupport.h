#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LISTSUPPORT_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LISTSUPPORT_H

#include "ImageProcessing/DornImage/ImageList.h"
#include "tests/ScratchDirectory.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

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
        EXPECT_EQ(image, nullptr);
    }
    return result;
}

inline bool hasPage(DornImage::ImageList& list, unsigned index, const ImageRef& expected) {
    const ImageRef page = pageOf(list, index);
    return page && samePicture(page->getFIBTMAP(), expected->getFIBTMAP());
}

// Puts the system's temporary place in a folder of its own, which must be empty again at the end.
class ListTest : public testing::Test {
protected:
    ListTest() {
        std::filesystem::create_directory(place);
        setenv("TMPDIR", place.c_str(), 1);
    }
    ~ListTest() override {
        EXPECT_TRUE(std::filesystem::is_empty(place)) << "files were left behind";
        unsetenv("TMPDIR");
    }

    // A picture file of the caller's.
    Velmora::u8string externalPage(const std::string& file, const ImageRef& page) const {
        EXPECT_TRUE(page->Save(FIF_PNG, name(file)));
        return name(file);
    }

    // Of a file beside the temporary place.
    Velmora::u8string name(const std::string& file) const { return (folder / file).string(); }

    const dorntest::ScratchDirectory folder;
    const std::string place = name("tmp");
};

#endif
