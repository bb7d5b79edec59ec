#include "QuarterTurn.h"

#include "ExitCode.h"
#include "OutputFile.h"
#include "PageFacts.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <new>
#include <vector>

using DornImage::ExifBlock;
using DornImage::Image;
using DornImage::Reference;

namespace {

// FreeImage writes the EXIF data of a bitmap as the block that it read.
void changeExifBlock(FIBITMAP* bitmap, const std::function<void(ExifBlock&)>& change) {
    FITAG* held = nullptr;
    if (!FreeImage_GetMetadata(FIMD_EXIF_RAW, bitmap, "ExifRaw", &held) || !FreeImage_GetTagValue(held)) {
        return;
    }
    const auto* const value = static_cast<const unsigned char*>(FreeImage_GetTagValue(held));
    std::vector<unsigned char> bytes(value, value + FreeImage_GetTagLength(held));
    ExifBlock block(bytes.data(), bytes.size());
    change(block);
    DornImage::FITagPtr tag;
    if (tag.Create() && tag.SetTagKey("ExifRaw") && tag.SetTagType(FIDT_BYTE) &&
        tag.SetTagCount(bytes.size()) && tag.SetTagLength(bytes.size()) && tag.SetTagValue(bytes.data())) {
        FreeImage_SetMetadata(FIMD_EXIF_RAW, bitmap, "ExifRaw", tag.Get());
    }
}

void exchangeResolutions(FIBITMAP* bitmap) {
    const unsigned across = FreeImage_GetDotsPerMeterX(bitmap);
    FreeImage_SetDotsPerMeterX(bitmap, FreeImage_GetDotsPerMeterY(bitmap));
    FreeImage_SetDotsPerMeterY(bitmap, across);
    changeExifBlock(bitmap, [](ExifBlock& block) { block.exchangeResolutions(); });
}

// What is known of a page after it was turned upright.
void settle(FIBITMAP* bitmap, int orientation) {
    constexpr int firstWithExchangedSides = 5;
    if (orientation >= firstWithExchangedSides) {
        exchangeResolutions(bitmap);
    }
    markUpright(bitmap);
}

[[noreturn]] void failInMemory(const std::string& file) {
    throw ToolError(ExitCode::limits, file, "cannot be turned upright in the memory at hand");
}

} // namespace

Reference<Image> turned(const Reference<Image>& page, int clockwise, PlainColours& colours) {
    Reference<Image> result;
    // Image counts the other way.
    const int angle = 360 - clockwise;
    if (!page->Rotate(angle, result) && !colours.of(page)->Rotate(angle, result)) {
        throw std::bad_alloc();
    }
    if (clockwise != 180) {
        exchangeResolutions(result->getFIBTMAP());
    }
    return result;
}

UprightPage upright(const Reference<Image>& page, const std::string& file) {
    DornImage::ExifOrientationAdapter adapter;
    UprightPage result = {page, 1};
    if (!DornImage::applyAdapter(&adapter, result.page)) {
        failInMemory(file);
    }
    if (result.page.get() == page.get()) {
        return result;
    }
    result.orientation = adapter.getOrigOrient();
    settle(result.page->getFIBTMAP(), result.orientation);
    return result;
}

Reference<Image> uprightFrom(int orientation, const Reference<Image>& page, const std::string& file) {
    DornImage::ExifOrientationAdapter adapter;
    Reference<Image> result;
    if (adapter.rotateImage(static_cast<short>(orientation), page.get(), result) !=
        DornImage::ImageLoadAdapter::AdapterApplied) {
        failInMemory(file);
    }
    settle(result->getFIBTMAP(), orientation);
    return result;
}

void markUpright(FIBITMAP* bitmap) {
    if (exifOrientation(bitmap)) {
        DornImage::FreeImage_SetTagValue(FIMD_EXIF_MAIN, bitmap, "Orientation", 1);
        changeExifBlock(bitmap, [](ExifBlock& block) { block.markUpright(); });
    }
}

DornImage::JpegOperation jpegOperationFor(int orientation) {
    using DornImage::JpegOperation;
    constexpr JpegOperation operations[] = {
        JpegOperation::flipHorizontal, JpegOperation::rotate180, JpegOperation::flipVertical,
        JpegOperation::transpose,      JpegOperation::rotate90,  JpegOperation::transverse,
        JpegOperation::rotate270,
    };
    return operations[orientation - 2];
}

bool turnJpegFile(const std::string& input, const std::string& output, DornImage::JpegOperation operation,
                  bool markUpright, const OutputFile::Whole& whole) {
    OutputFile file(output);
    using DornImage::JpegTransformed;
    switch (DornImage::transformJpegFile(input, file.path(), operation, markUpright)) {
    case JpegTransformed::done:
        file.commit(whole);
        return true;
    case JpegTransformed::refused:
        return false;
    case JpegTransformed::unreadable:
        throw ToolError(ExitCode::input, input, "cannot be read");
    case JpegTransformed::unwritten:
        break;
    }
    throw ToolError(ExitCode::output, output, std::string("cannot be written: ") + std::strerror(errno));
}
