#include "ImageProcessing/DornImage/Formats.h"

#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Load.h"
#include "ImageProcessing/DornImage/SourceNames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cwctype>
#include <string_view>

using Velmora::astring;
using Velmora::u8string;

namespace DornImage {
namespace {

// The formats on offer, in the order of every walk. Icons (1) are left out; 37 is a plug-in that the stock
// codec library doesn't have, and that is skipped then.
constexpr std::array<std::int32_t, 32> supportedFormats = {0,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                                           12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                                                           23, 24, 25, 26, 27, 28, 29, 30, 31, 37};

struct MimeAlias {
    std::string_view incoming;
    const char* lookedUpAs;
};

constexpr MimeAlias mimeAliases[] = {
    {"image/g3fax", "image/fax-g3"}, {"image/pjpeg", "image/jpeg"}, {"image/x-ms-bmp", "image/bmp"},
    {"image/x-bmp", "image/bmp"},    {"image/heic", "image/heif"},
};

// The formats that people save scanned pages in stand before the others.
constexpr FREE_IMAGE_FORMAT saveOrder[] = {FIF_PNG, FIF_TIFF, FIF_JPEG, FIF_BMP, FIF_GIF};

// By depth alone: 8 bits are saved as JPEG whether the palette is grey or coloured.
FREE_IMAGE_FORMAT defaultSaveFormat(unsigned bitsPerPixel) {
    switch (bitsPerPixel) {
    case 8:
    case 24:
        return FIF_JPEG;
    case 1:
    case 16:
    case 32:
        return FIF_TIFF;
    default:
        return FIF_UNKNOWN;
    }
}

// In the locale of the process, a capital I may have another small letter than i.
u8string toLower(const u8string& text) {
    static const locale_t neutralLocale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    astring wide;
    Velmora::c_u8u16(wide, text);
    for (wchar_t& unit : wide) {
        unit = static_cast<wchar_t>(::towlower_l(static_cast<std::wint_t>(unit), neutralLocale));
    }
    u8string lower;
    Velmora::c_u16u8(lower, wide);
    return lower;
}

void appendFormatFilter(FREE_IMAGE_FORMAT format, astring& filter) {
    if (!filter.empty()) {
        filter += L"|";
    }
    if (const char* description = FreeImage_GetFIFDescription(format)) {
        filter += astring(description);
    }
    if (const char* list = FreeImage_GetFIFExtensionList(format)) {
        filter += L" (";
        filter += astring(list);
        filter += L")";
    }
    filter += L"|";
    std::list<astring> extensions;
    FreeImage_ParseExtensions(format, extensions);
    const wchar_t* separator = L"";
    for (const astring& extension : extensions) {
        filter += separator;
        filter += L"*.";
        filter += extension;
        separator = L"; ";
    }
}

bool isSameWord(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](char left, char right) {
        return std::tolower(static_cast<unsigned char>(left)) ==
               std::tolower(static_cast<unsigned char>(right));
    });
}

// The words of a list with commas, without empty ones, until `use` answers true. Whether it did.
template <class Use>
bool anyWord(std::string_view list, Use use) {
    while (!list.empty()) {
        const std::string_view word = list.substr(0, list.find(','));
        if (!word.empty() && use(word)) {
            return true;
        }
        list.remove_prefix(std::min(word.size() + 1, list.size()));
    }
    return false;
}

} // namespace

FREE_IMAGE_FORMAT FreeImage_GetFIFFromFilename(const u8string& fileName) {
    const std::string_view name = fileName;
    const std::string_view extension = name.substr(name.rfind('.') + 1); // all of it without a dot
    const auto isExtension = [&](std::string_view word) { return isSameWord(word, extension); };
    for (int number = 0; number < FreeImage_GetFIFCount(); ++number) {
        const auto format = static_cast<FREE_IMAGE_FORMAT>(number);
        const char* const list = FreeImage_GetFIFExtensionList(format);
        if (FreeImage_IsPluginEnabled(format) == 1 &&
            (isExtension(FreeImage_GetFormatFromFIF(format)) || (list && anyWord(list, isExtension)))) {
            return format;
        }
    }
    return FIF_UNKNOWN;
}

FREE_IMAGE_FORMAT FreeImage_GetFIFFromMime(const u8string& mimeType) {
    const u8string lower = toLower(mimeType);
    for (const MimeAlias& alias : mimeAliases) {
        if (lower == alias.incoming) {
            return ::FreeImage_GetFIFFromMime(alias.lookedUpAs);
        }
    }
    return ::FreeImage_GetFIFFromMime(lower.c_str());
}

bool FreeImage_GetSupportedMimeTypes(std::set<std::string>& mimeTypes) {
    for (const std::int32_t number : supportedFormats) {
        const auto format = static_cast<FREE_IMAGE_FORMAT>(number);
        if (FreeImage_IsPluginEnabled(format) != 1) {
            continue;
        }
        if (const char* mimeType = FreeImage_GetFIFMimeType(format)) {
            mimeTypes.insert(mimeType);
        }
    }
    return true;
}

FREE_IMAGE_FORMAT FreeImage_GetExtensionsForSave(FIBITMAP* bitmap, std::list<FREE_IMAGE_FORMAT>& formats,
                                                 astring& defaultExtension, astring& filter) {
    if (bitmap == nullptr) {
        return FIF_UNKNOWN;
    }
    const unsigned bitsPerPixel = FreeImage_GetBPP(bitmap);
    const FREE_IMAGE_FORMAT defaultFormat = defaultSaveFormat(bitsPerPixel);
    if (defaultFormat == FIF_UNKNOWN) {
        return FIF_UNKNOWN;
    }
    std::set<FREE_IMAGE_FORMAT> exporting;
    for (const std::int32_t number : supportedFormats) {
        const auto format = static_cast<FREE_IMAGE_FORMAT>(number);
        if (FreeImage_FIFSupportsExportBPP(format, static_cast<int>(bitsPerPixel)) == 1) {
            exporting.insert(format);
        }
    }

    // The default format leads even where its codec doesn't claim the depth (TIFF at 16 bits).
    const auto offer = [&](FREE_IMAGE_FORMAT format) {
        appendFormatFilter(format, filter);
        exporting.erase(format);
        formats.push_back(format);
    };
    offer(defaultFormat);
    std::list<astring> extensions;
    FreeImage_ParseExtensions(defaultFormat, extensions);
    if (!extensions.empty()) {
        defaultExtension = extensions.front();
    }
    for (const FREE_IMAGE_FORMAT format : saveOrder) {
        if (exporting.count(format) != 0) {
            offer(format);
        }
    }
    while (!exporting.empty()) {
        offer(*exporting.begin());
    }
    filter += L"||";
    return defaultFormat;
}

bool FreeImage_GetDefaultExt(FREE_IMAGE_FORMAT format, u8string& extension) {
    const char* list = FreeImage_GetFIFExtensionList(format);
    if (list == nullptr) {
        return false;
    }
    std::string text = ".";
    while (std::isalnum(static_cast<unsigned char>(*list)) != 0) {
        text += *list++;
    }
    extension = u8string(text);
    return true;
}

bool FreeImage_ParseExtensions(FREE_IMAGE_FORMAT format, std::list<astring>& extensions) {
    const char* list = FreeImage_GetFIFExtensionList(format);
    if (list == nullptr) {
        return false;
    }
    anyWord(list, [&](std::string_view word) {
        extensions.emplace_back(std::string(word));
        return false;
    });
    return true;
}

bool FreeImage_IsMultiPageFormat(FREE_IMAGE_FORMAT format) {
    constexpr std::uint32_t multiPageFormats = 1U << FIF_ICO | 1U << FIF_TIFF | 1U << FIF_GIF;
    const auto number = static_cast<std::uint32_t>(format);
    return number <= FIF_GIF && (multiPageFormats >> number & 1U) != 0;
}

bool FIBitmapPtr::load(const u8string& fileName, const u8string& mimeType, VelmoraException& exception) {
    const FREE_IMAGE_FORMAT format = FreeImage_GetFIFFromMime(mimeType);
    if (format == FIF_UNKNOWN) {
        exception.setError(freeImageUtilsSource, lineOf(), u8string("Unknown mime type:" + mimeType + "\n"));
        return false;
    }
    bitmap = FreeImage_LoadFile(format, fileName, exception);
    if (bitmap == nullptr) {
        exception.setError(freeImageUtilsSource, lineOf(), "Fail to load image.");
        return false;
    }
    return true;
}

bool FreeImage_CanSave(FREE_IMAGE_FORMAT format, FREE_IMAGE_TYPE type, unsigned bitsPerPixel) {
    if (type != FIT_BITMAP) {
        return ::FreeImage_FIFSupportsExportType(format, type) != FALSE;
    }
    // The writer of PSD files writes behind its row buffer when a pixel has 1 bit.
    return ::FreeImage_FIFSupportsExportBPP(format, static_cast<int>(bitsPerPixel)) != FALSE &&
           (format != FIF_PSD || bitsPerPixel != 1);
}

} // namespace DornImage
