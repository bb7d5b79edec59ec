#include "PdfPage.h"

#include "ExitCode.h"
#include "FaxCoder.h"
#include "JpegHeader.h"
#include "OnWhite.h"
#include "PageFacts.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>

namespace {

using DornImage::FIBitmapPtr;
using Bytes = std::vector<unsigned char>;

constexpr double pointsPerInch = 72;
constexpr unsigned assumedDotsPerMetre = 2835; // 72 dots per inch
constexpr double smallestSide = 3;
constexpr double largestSide = 14400;
constexpr unsigned longestJpegSide = 65500;

Bytes codedBy(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, int flags) {
    const std::unique_ptr<FIMEMORY, void (*)(FIMEMORY*)> memory(FreeImage_OpenMemory(),
                                                                FreeImage_CloseMemory);
    BYTE* bytes = nullptr;
    DWORD size = 0;
    if (!memory || !FreeImage_SaveToMemory(format, bitmap, memory.get(), flags) ||
        !FreeImage_AcquireMemory(memory.get(), &bytes, &size)) {
        return {};
    }
    return {bytes, bytes + size};
}

std::uint32_t bigEndian(const unsigned char* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}

std::string hexadecimal(const unsigned char* bytes, std::size_t count) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += {digits[bytes[i] >> 4], digits[bytes[i] & 15U]};
    }
    return text;
}

// Calls `use(name, data, size)` for each chunk of a PNG file.
template <class Use>
void forEachChunk(const Bytes& png, const Use& use) {
    constexpr std::size_t signature = 8;
    constexpr std::size_t frame = 12; // size and name before the data, check sum behind them
    for (std::size_t at = signature; at + frame <= png.size();) {
        const std::size_t size = bigEndian(&png[at]);
        if (size > png.size() - at - frame) {
            return;
        }
        use(std::string(png.begin() + static_cast<std::ptrdiff_t>(at) + 4,
                        png.begin() + static_cast<std::ptrdiff_t>(at) + 8),
            &png[at + 8], size);
        at += frame + size;
    }
}

class PageCoder {
public:
    PageCoder(DornImage::Image& image, const std::string& output)
        : output_(output), bitmap_(image.getFIBTMAP()) {
        setSize();
    }

    PdfPage code(std::optional<int> jpegQuality, const std::string& jpegFile) {
        if (!jpegFile.empty() && takeOver(jpegFile)) {
            return std::move(page_);
        }
        makePlain();
        const FREE_IMAGE_COLOR_TYPE colours = FreeImage_GetColorType(bitmap_);
        const bool grey = colours == FIC_MINISBLACK || colours == FIC_MINISWHITE;
        const unsigned depth = bits();
        if (depth == 1 && grey) {
            codeAsFax(colours == FIC_MINISWHITE);
        } else if (jpegQuality && ((depth == 8 && grey) || depth == 24) &&
                   std::max(width(), height()) <= longestJpegSide) {
            codeAsJpeg(*jpegQuality);
        } else {
            codeAsPng();
        }
        return std::move(page_);
    }

private:
    unsigned width() const { return FreeImage_GetWidth(bitmap_); }
    unsigned height() const { return FreeImage_GetHeight(bitmap_); }
    unsigned bits() const { return FreeImage_GetBPP(bitmap_); }

    void setSize() {
        const auto side = [](unsigned pixels, unsigned dotsPerMetre) {
            return pixels * pointsPerInch / dotsPerInch(dotsPerMetre ? dotsPerMetre : assumedDotsPerMetre);
        };
        const double across = side(width(), FreeImage_GetDotsPerMeterX(bitmap_));
        const double down = side(height(), FreeImage_GetDotsPerMeterY(bitmap_));
        const double enlarged = std::max(1.0, smallestSide / std::min(across, down));
        page_.width = across * enlarged;
        page_.height = down * enlarged;
        if (!(std::max(page_.width, page_.height) <= largestSide)) {
            const auto metres = [](double points) { return decimal(points / pointsPerInch * 0.0254, 2); };
            fail("a page of " + metres(page_.width) + " x " + metres(page_.height) +
                 " m is larger than a PDF can hold (5.08 m); its resolution may be wrong");
        }
    }

    // What a PNG file can hold without transparency.
    void makePlain() {
        const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap_);
        const bool colours =
            type == FIT_BITMAP || type == FIT_UINT16 || type == FIT_RGB16 || type == FIT_RGBA16;
        if (!colours || FreeImage_GetColorType(bitmap_) == FIC_CMYK) {
            fail(type == FIT_BITMAP ? "PDF pages in printing inks cannot be written"
                                    : "a PDF cannot hold pictures of the kind " + pixelTypeName(type));
        }
        if (FreeImage_IsTransparent(bitmap_)) {
            replace(onWhite(bitmap_), "its transparency is laid on white");
        } else if (type == FIT_BITMAP && (bits() == 16 || bits() == 32)) {
            replace(FreeImage_ConvertTo24Bits(bitmap_), "");
        } else if (type == FIT_RGBA16) {
            replace(FreeImage_ConvertToRGB16(bitmap_), "");
        }
    }

    void replace(FIBITMAP* made, const std::string& change) {
        if (!made) {
            throw std::bad_alloc();
        }
        made_.attach(made);
        bitmap_ = made;
        page_.change = change;
    }

    void codeAsFax(bool oneIsBlack) {
        page_.data = codeFax(bitmap_);
        check("fax coding");
        describe("/DeviceGray", 1);
        page_.description += " /Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns " +
                             std::to_string(width()) + " /Rows " + std::to_string(height()) +
                             (oneIsBlack ? "" : " /BlackIs1 true") + " >>";
    }

    void codeAsJpeg(int quality) {
        // Coarse colour blurs coloured letters, which shows in what is kept in high quality.
        constexpr int highQuality = 90;
        page_.data =
            codedBy(FIF_JPEG, bitmap_,
                    quality | (quality >= highQuality ? JPEG_SUBSAMPLING_444 : JPEG_SUBSAMPLING_420));
        check("JPEG");
        describeJpeg(bits() == 8 ? 1 : 3);
    }

    bool takeOver(const std::string& jpegFile) {
        // Larger than the pixels themselves: then there is more in it than the picture.
        std::error_code error;
        const auto size = std::filesystem::file_size(jpegFile, error);
        if (error || size > std::uintmax_t{FreeImage_GetPitch(bitmap_)} * height() + (1U << 16)) {
            return false;
        }
        std::ifstream stream(jpegFile, std::ios::binary);
        Bytes bytes{std::istreambuf_iterator<char>(stream), {}};
        const std::optional<JpegHeader> header = jpegHeader(bytes);
        if (!header || !header->commonColours || header->width != width() || header->height != height() ||
            header->components * 8 != bits()) {
            return false;
        }
        page_.data = std::move(bytes);
        describeJpeg(header->components);
        return true;
    }

    void describeJpeg(unsigned components) {
        describe(components == 1 ? "/DeviceGray" : "/DeviceRGB", 8);
        page_.description += " /Filter /DCTDecode";
    }

    // The data of a PNG file are a Flate stream as PDF knows it, its filtered rows included.
    void codeAsPng() {
        const Bytes png = codedBy(FIF_PNG, bitmap_, PNG_DEFAULT);
        unsigned depth = 0;
        unsigned channels = 1;
        std::string colours = "/DeviceGray";
        forEachChunk(png, [&](const std::string& name, const unsigned char* data, std::size_t size) {
            constexpr unsigned char trueColour = 2;
            if (name == "IHDR" && size >= 10) {
                depth = data[8];
                if (data[9] == trueColour) {
                    channels = 3;
                    colours = "/DeviceRGB";
                }
            } else if (name == "PLTE") {
                colours = "[/Indexed /DeviceRGB " + std::to_string(size / 3 - 1) + " <" +
                          hexadecimal(data, size) + ">]";
            } else if (name == "IDAT") {
                page_.data.insert(page_.data.end(), data, data + size);
            }
        });
        check("lossless coding");
        describe(colours, depth);
        page_.description += " /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " +
                             std::to_string(channels) + " /BitsPerComponent " + std::to_string(depth) +
                             " /Columns " + std::to_string(width()) + " >>";
    }

    void describe(const std::string& colours, unsigned depth) {
        page_.description = "/Width " + std::to_string(width()) + " /Height " + std::to_string(height()) +
                            " /ColorSpace " + colours + " /BitsPerComponent " + std::to_string(depth);
    }

    void check(const std::string& coding) const {
        if (page_.data.empty()) {
            fail("a page of " + std::to_string(width()) + " x " + std::to_string(height()) +
                 " pixels is refused by the " + coding);
        }
    }

    [[noreturn]] void fail(const std::string& cause) const {
        throw ToolError(ExitCode::output, output_, cause);
    }

    const std::string& output_;
    FIBITMAP* bitmap_;
    FIBitmapPtr made_;
    PdfPage page_;
};

} // namespace

PdfPage pdfPageOf(DornImage::Image& image, std::optional<int> jpegQuality, const std::string& jpegFile,
                  const std::string& output) {
    return PageCoder(image, output).code(jpegQuality, jpegFile);
}
