// A file from a stream, and what programs do with a picture afterwards. The first byte is FreeImage's number
// of the format, or one that has none and lets the content tell; 24 bytes choose the operations; the file
// follows.
//
// FreeImage is not instrumented: its own coverage doesn't guide the fuzzer, and only those of its faults show
// that the memory functions or the rest of the process notice.

#include "ImageProcessing/DornImage/DornImage.h"
#include "fuzz/Bytes.h"
#include "tests/KnownLeak.h"

#include <cmath>
#include <optional>
#include <vector>

using namespace DornImage;
using ImageRef = Reference<Image>;

namespace {

constexpr unsigned manyPixels = 1U << 16;

// Reads every byte, so that the sanitizers see memory that isn't there.
void readPixels(Image& image) {
    FIBITMAP* const bitmap = image.getFIBTMAP();
    unsigned sum = 0;
    for (unsigned y = 0; FreeImage_HasPixels(bitmap) && y < image.GetHeight(); ++y) {
        const BYTE* const line = FreeImage_GetScanLine(bitmap, static_cast<int>(y));
        for (unsigned at = 0; at < FreeImage_GetLine(bitmap); ++at) {
            sum += line[at];
        }
    }
    [[maybe_unused]] static volatile unsigned kept;
    kept = sum;
}

// Files may ask for more than a fuzzer has time for.
bool isSmall(double width, double height) {
    return width >= 1 && height >= 1 && width * height <= manyPixels;
}

ImageRef imageOf(FIBITMAP* bitmap) {
    ImageRef image;
    if (bitmap) {
        image = new dornbase::ReferencedImplMT<Image>();
        image->Attach(bitmap);
    }
    return image;
}

FIBITMAP* load(FREE_IMAGE_FORMAT format, const void* data, std::size_t size) {
    IStream* const stream = dornplatform::borrowMemoryStream(data, size);
    VelmoraException exception;
    // These lose their picture when the guard on reads ends them.
    std::optional<dorntest::KnownLeak> pictureOfTheCodec;
    if (format == FIF_GIF || format == FIF_IFF || format == FIF_PSD || format == FIF_XBM) {
        pictureOfTheCodec.emplace();
    }
    FIBITMAP* const bitmap = FreeImage_LoadFile(format, stream, exception);
    require(stream->Release() == 0);
    return bitmap;
}

// The picture through a file in memory.
ImageRef saved(Image& image, FREE_IMAGE_FORMAT format) {
    FIBITMAP* const bitmap = image.getFIBTMAP();
    // The first loses memory with each file, the other copies memory onto itself: nothing else would be
    // found.
    if (format == FIF_PSD || format == FIF_JXR ||
        !FreeImage_CanSave(format, FreeImage_GetImageType(bitmap), image.GetBpp())) {
        return {};
    }
    FIMEMORY* const memory = FreeImage_OpenMemory();
    BYTE* data = nullptr;
    DWORD size = 0;
    ImageRef result;
    if (FreeImage_SaveToMemory(format, bitmap, memory, 0) && FreeImage_AcquireMemory(memory, &data, &size)) {
        result = imageOf(load(format, data, size));
    }
    FreeImage_CloseMemory(memory);
    return result;
}

void bridge(Image& image) {
    if (const HBITMAP handle = image.GetHBITMAP(nullptr)) {
        const FIBitmapPtr back(FreeImage_ConvertFromHBITMAP(handle, nullptr));
        const HGLOBAL dib = BitmapToDIB(handle, nullptr);
        DeleteObject(handle);
        require(back.get() && dib && FreeImage_GetWidth(back.get()) == image.GetWidth());
        const FIBitmapPtr fromDib(FreeImage_ConvertFromDIB(dib));
        GlobalFree(dib);
        require(fromDib.get());
    }
    FreeImageFastView view;
    view.Init(&image, 20, 16);
    std::vector<unsigned char> raw(std::size_t{3} * image.GetWidth() * image.GetHeight());
    FreeImage_GetDataForPDF(image.getFIBTMAP(), raw.data());
}

void analyse(Image& image, Bytes& choice) {
    EmptyPage3Params page{};
    page.differenceThreshold = choice.byte();
    page.maxFilling = choice.byte() / 255.0;
    page.marginPerMille = choice.byte();
    detectEmptyPage(image.getFIBTMAP(), page);
    require(!(page.filling < 0) && page.filling <= 1);
    SkewDetector detector(static_cast<float>(choice.between(1, 45)), choice.below(60));
    detector.setThreshold(choice.byte());
    if (image.IsGrayScale()) {
        require(std::fabs(detectSkew(image.getFIBTMAP(), detector)) <= 45);
    }
}

// One operation with a new picture as its result, which stays null when there is none.
ImageRef step(Image& image, Bytes& choice) {
    ImageRef result;
    ExifOrientationAdapter upright;
    ColourLoadAdapter colour;
    DPIUnifAdapter square;
    switch (choice.below(17)) {
    case 0:
        image.convertTo24Bits(result);
        break;
    case 1:
        image.convertTo8Bits(result);
        break;
    case 2:
        image.convertToGrayscale(result);
        break;
    case 3:
        colour.apply(&image, result);
        break;
    case 4: {
        int width = 0, height = 0;
        FreeImage_SetDotsPerMeterX(image.getFIBTMAP(), 1000 * choice.below(200));
        image.GetNormalizedDimension(width, height);
        if (isSmall(width, height)) {
            square.apply(&image, result);
        }
        break;
    }
    case 5: {
        std::shared_ptr<ImageSaveAdapter> back;
        if (upright.apply(&image, result) == ImageLoadAdapter::AdapterApplied) {
            require(upright.createSaveAdapter(back) && back);
            ImageRef turned;
            require(!back->apply(result.get(), turned) || turned->GetWidth() == image.GetWidth());
        }
        break;
    }
    case 6:
    case 7: {
        const unsigned width = 1 + choice.below(200), height = 1 + choice.below(200);
        if (image.GetScaled(width, height, static_cast<Image::ScaleType>(choice.below(4)), result)) {
            require(result->GetWidth() == width && result->GetHeight() == height);
        }
        break;
    }
    case 8: {
        const double zoom = choice.byte();
        if (isSmall(image.GetWidth() * zoom / 100, image.GetHeight() * zoom / 100)) {
            image.GetZoomed(zoom, result);
        }
        break;
    }
    case 9:
        image.Rotate(90 * choice.between(0, 4), result);
        break;
    case 10:
        upright.rotateImage(static_cast<short>(choice.below(10)), &image, result);
        break;
    case 11: {
        const double angle = (choice.byte() - 128) * 1.5, x = choice.byte(), y = choice.byte();
        image.RotateEx(angle, x, y, result);
        break;
    }
    case 12:
        image.GetSmoothed(result, choice.below(12), static_cast<float>(choice.byte()) / 16);
        break;
    case 13:
        analyse(image, choice);
        break;
    case 14:
        bridge(image);
        break;
    case 15:
        result = saved(image, static_cast<FREE_IMAGE_FORMAT>(choice.below(37)));
        break;
    default: {
        const unsigned dpi = choice.below(300);
        if (isSmall(dpi * 40.0 * image.GetWidth() / (1 + FreeImage_GetDotsPerMeterX(image.getFIBTMAP())),
                    dpi * 40.0 * image.GetHeight() / (1 + FreeImage_GetDotsPerMeterY(image.getFIBTMAP())))) {
            image.GetChangedResolution(dpi, result);
        }
    }
    }
    return result;
}

FREE_IMAGE_FORMAT formatOf(const Bytes& file) {
    FIMEMORY* const memory =
        FreeImage_OpenMemory(const_cast<BYTE*>(file.rest()), static_cast<DWORD>(file.left()));
    const FREE_IMAGE_FORMAT format = FreeImage_GetFileTypeFromMemory(memory, 0);
    FreeImage_CloseMemory(memory);
    return format;
}

} // namespace

// Codecs believe what a file says of its size, and ask for that much.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=128";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes input(data, size);
    const int number = input.byte();
    Bytes choice = input.take(24);
    const FREE_IMAGE_FORMAT format =
        number < FreeImage_GetFIFCount() ? static_cast<FREE_IMAGE_FORMAT>(number) : formatOf(input);
    ImageRef image = imageOf(load(format, input.rest(), input.left()));
    if (image && !isSmall(image->GetWidth(), image->GetHeight())) {
        ImageRef smaller;
        if (image->GetWidth() * 1.0 * image->GetHeight() > (1 << 22) ||
            !image->GetScaled(90, 70, Image::ScaleTypeLinear, smaller)) {
            return 0;
        }
        image = smaller;
    }
    while (image && image->getFIBTMAP() && !choice.empty()) {
        readPixels(*image);
        const ImageRef next = step(*image, choice);
        if (next && next->getFIBTMAP()) {
            image = next;
        }
    }
    return 0;
}
