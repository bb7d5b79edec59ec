// Feeds bytes to everything that reads a device-independent bitmap. What comes out of it must be a bitmap
// that the other directions take, unchanged. A difference ends the process, as the sanitizers do.

#include "ImageProcessing/DornImage/DibHeader.h"
#include "ImageProcessing/DornImage/DornImage.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace DornImage;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void readHeader(const std::uint8_t* data, std::size_t size) {
    std::vector<BYTE> copy(data, data + size);
    const DibBlock dib{copy.data(), copy.size()};
    LONG width = 0, height = 0;
    require(getDibDimensions(dib, &width, &height) ? height >= 0 : getDibHeaderSize(dib) == 0 || height == 0);
    BITMAPFILEHEADER file{};
    require(!makeBmpFileHeader(dib, file) || file.bfOffBits == getDibPixelOffset(dib) + fileHeaderSize);
    const BYTE* const pixels = getDibPixels(dib);
    require(!pixels || (pixels >= dib.start && pixels <= dib.start + dib.size));
    fixDibHeight(dib, static_cast<DWORD>(size), (size & 1) != 0);
}

void useBitmap(FIBITMAP* bitmap) {
    const HBITMAP handle = FreeImage_ConvertToHBITMAP(bitmap, nullptr);
    require(handle);
    const FIBitmapPtr back(FreeImage_ConvertFromHBITMAP(handle, nullptr));
    const HGLOBAL dib = BitmapToDIB(handle, nullptr);
    DeleteObject(handle);
    require(back.get() && dib);
    for (unsigned y = 0; y < FreeImage_GetHeight(bitmap); ++y) {
        const int line = static_cast<int>(y);
        require(std::memcmp(FreeImage_GetScanLine(bitmap, line), FreeImage_GetScanLine(back.get(), line),
                            FreeImage_GetWidth(bitmap) * FreeImage_GetBPP(bitmap) / 8) == 0);
    }
    const FIBitmapPtr reduced(FreeImage_ConvertFromDIB(dib));
    GlobalFree(dib);
    require(reduced.get());
    std::vector<unsigned char> raw(std::size_t{3} * FreeImage_GetWidth(bitmap) * FreeImage_GetHeight(bitmap));
    FreeImage_GetDataForPDF(bitmap, raw.data());
    const FIBitmapPtr clone(FreeImage_Clone(bitmap)), colours(FreeImage_ConvertTo32Bits(bitmap));
    require(clone.get() && colours.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readHeader(data, size);
    const HGLOBAL memory = GlobalAlloc(GMEM_FIXED, size);
    if (size > 0) {
        std::memcpy(GlobalLock(memory), data, size);
    }
    const FIBitmapPtr fromMemory(FreeImage_ConvertFromDIB(memory));
    GlobalFree(memory);
    if (fromMemory.get()) {
        useBitmap(fromMemory.get());
    }
    IStream* const stream = dornplatform::createMemoryStream(data, size);
    const FIBitmapPtr fromStream(FreeImage_ConvertFromMemoryBMP(stream));
    stream->Release();
    if (fromStream.get()) {
        useBitmap(fromStream.get());
    }
    return 0;
}
