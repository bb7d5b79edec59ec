#include "Text.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <array>
#include <charconv>
#include <iostream>

namespace {

bool isControl(wchar_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

std::string textOrEmpty(const char* text) {
    return text ? text : "";
}

} // namespace

std::string printable(std::string_view text) {
    std::wstring wide;
    Velmora::c_u8u16(wide, text);
    std::wstring shown;
    for (const wchar_t character : wide) {
        if (isControl(character)) {
            constexpr wchar_t digits[] = L"0123456789abcdef";
            shown += {L'\\', L'x', digits[character >> 4], digits[character & 15]};
        } else {
            shown += character;
        }
    }
    std::string result;
    Velmora::c_u16u8(result, shown);
    return result;
}

void report(const std::string& file, const std::string& message) {
    std::cerr << "dornimage: " << (file.empty() ? "" : printable(file) + ": ") << printable(message) << '\n';
}

void printJson(const nlohmann::ordered_json& value) {
    std::cout << value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

std::string join(const std::vector<std::string>& parts, std::string_view separator) {
    std::string result;
    for (const std::string& part : parts) {
        if (!result.empty()) {
            result += separator;
        }
        result += part;
    }
    return result;
}

std::string countOf(long count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string decimal(double value, int digits) {
    std::array<char, 400> text{}; // the largest number has 309 digits
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits);
    return error == std::errc() ? std::string(text.data(), end) : "";
}

std::string numbered(int page, int pageCount) {
    std::string number = std::to_string(page);
    number.insert(0, std::to_string(pageCount).size() - number.size(), '0');
    return number;
}

std::string formatName(FREE_IMAGE_FORMAT format) {
    return textOrEmpty(FreeImage_GetFormatFromFIF(format));
}

std::string mimeType(FREE_IMAGE_FORMAT format) {
    return textOrEmpty(FreeImage_GetFIFMimeType(format));
}

std::string pixelTypeName(FREE_IMAGE_TYPE type) {
    constexpr std::array names = {"unknown", "bitmap",  "uint16", "int16",  "uint32", "int32", "float",
                                  "double",  "complex", "rgb16",  "rgba16", "rgbf",   "rgbaf"};
    const auto index = static_cast<std::size_t>(type);
    return index < names.size() ? names[index] : names[0];
}
