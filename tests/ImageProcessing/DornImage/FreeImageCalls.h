#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_FREEIMAGECALLS_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_FREEIMAGECALLS_H

#include <FreeImage.h>

#include <functional>
#include <vector>

// What the library asked of FreeImage since the last reset.
struct FreeImageCalls {
    std::vector<FIBITMAP*> unloaded;
    std::vector<FITAG*> deletedTags;
    std::vector<int> saveFlags;
    std::function<void()> onUnload;
    bool loseTagKeys = false;
};

extern FreeImageCalls calls;

// Stand for bitmaps where only the pointer matters: they can be "unloaded" any number of times.
extern FIBITMAP pretended[3];

#endif
