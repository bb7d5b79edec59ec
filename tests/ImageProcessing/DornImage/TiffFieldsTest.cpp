#include "ImageProcessing/DornImage/DornImage.h"
#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

#include <string>

using DornImage::FIBitmapPtr;

namespace {

std::string number(unsigned value, int bytes, bool bigEndian) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        const int byte = bigEndian ? bytes - 1 - i : i;
        text += static_cast<char>(value >> (8 * byte) & 0xFF);
    }
    return text;
}

// One white pixel, and an IPTC record with a title: 10 bytes, which is no whole number of words.
std::string tiffWithIptc(bool bigEndian) {
    const auto two = [bigEndian](unsigned value) { return number(value, 2, bigEndian); };
    const auto four = [bigEndian](unsigned value) { return number(value, 4, bigEndian); };
    const std::string record("\x1C\x02\x05\x00\x05Title", 10);
    const unsigned entries = 7;
    const unsigned pixel = 8 + 2 + 12 * entries + 4;
    const auto entry = [&](unsigned tag, unsigned type, unsigned count, const std::string& value) {
        return two(tag) + two(type) + four(count) + value;
    };
    const auto shortEntry = [&](unsigned tag, unsigned value) {
        return entry(tag, 3, 1, two(value) + two(0));
    };
    return (bigEndian ? "MM" : "II") + two(42) + four(8) + two(entries) + shortEntry(256, 1) +
           shortEntry(257, 1) + shortEntry(258, 8) + shortEntry(262, 1) + entry(273, 4, 1, four(pixel)) +
           shortEntry(279, 1) + entry(33723, 7, 10, four(pixel + 2)) + four(0) + "\xFF" + '\0' + record;
}

std::string titleOf(FIBITMAP* bitmap) {
    FITAG* tag = nullptr;
    if (!FreeImage_GetMetadata(FIMD_IPTC, bitmap, "ObjectName", &tag)) {
        return "";
    }
    return static_cast<const char*>(FreeImage_GetTagValue(tag));
}

} // namespace

TEST(TiffFields, IptcRecordsAreLoadedAndSavedWhole) {
    const dorntest::ScratchDirectory directory;
    const Velmora::u8string name = (directory / "page.tif").string();
    for (const bool bigEndian : {false, true}) {
        dorntest::writeFile(name.c_str(), tiffWithIptc(bigEndian));
        VelmoraException record;
        const FIBitmapPtr bitmap(DornImage::FreeImage_LoadFile(FIF_TIFF, name, record));
        ASSERT_NE(bitmap.get(), nullptr) << record.getMessage();
        EXPECT_EQ(titleOf(bitmap.get()), "Title");

        ASSERT_TRUE(FreeImage_Save(FIF_TIFF, bitmap.get(), name.c_str(), TIFF_NONE));
        const FIBitmapPtr saved(FreeImage_Load(FIF_TIFF, name.c_str(), 0));
        EXPECT_EQ(titleOf(saved.get()), "Title");
    }
}
