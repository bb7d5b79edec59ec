#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LISTSUPPORT_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_LISTSUPPORT_H

#include "ListModel.h"
#include "tests/ScratchDirectory.h"

#include <cstdlib>

#include <gtest/gtest.h>

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
