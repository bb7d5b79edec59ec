#include "Html.h"

#include "Text.h"

namespace fs = std::filesystem;

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : printable(text)) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

std::string linkTo(const fs::path& file, const fs::path& folder) {
    // Both in one form: links in the path of one alone would lead elsewhere.
    const auto whole = [](const fs::path& path) {
        std::error_code error;
        const fs::path resolved = fs::weakly_canonical(fs::absolute(path), error);
        return error ? path : resolved;
    };
    std::string link;
    for (const char character : whole(file).lexically_proximate(whole(folder)).generic_string()) {
        constexpr std::string_view plain =
            "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";
        constexpr char digits[] = "0123456789ABCDEF";
        if (plain.find(character) != std::string_view::npos) {
            link += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            link += {'%', digits[byte >> 4], digits[byte & 15U]};
        }
    }
    return link;
}
