#ifndef DORNIMAGE_BASE_UTF_H
#define DORNIMAGE_BASE_UTF_H

#include <cstddef>
#include <string>
#include <string_view>

namespace dornbase {

/* What stands in the place of text that means nothing. */
constexpr char32_t replacementCharacter = 0xFFFD;

constexpr bool isScalarValue(char32_t value) {
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

/* Decodes the character at `at` of UTF-8 text and moves `at` behind it. A maximal ill-formed subsequence (the
   longest start of a well-formed sequence, or one byte that starts none) is one character: it is passed over,
   gives U+FFFD and sets `wellFormed` to false. `at` must be inside the text. */
inline char32_t decodeUtf8(std::string_view text, std::size_t& at, bool& wellFormed) {
    const auto byteAt = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned lead = byteAt(at++);
    if (lead < 0x80) {
        return static_cast<char32_t>(lead);
    }
    // The second byte's range is narrower after some lead bytes: it shuts out overlong forms, surrogates and
    // values above U+10FFFF.
    unsigned low = 0x80;
    unsigned high = 0xBF;
    int following = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        following = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        following = 2;
        low = lead == 0xE0 ? 0xA0u : low;
        high = lead == 0xED ? 0x9Fu : high;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        following = 3;
        low = lead == 0xF0 ? 0x90u : low;
        high = lead == 0xF4 ? 0x8Fu : high;
    } else {
        wellFormed = false;
        return replacementCharacter;
    }
    unsigned value = lead & (0x3Fu >> following);
    for (; following > 0; --following) {
        if (at == text.size() || byteAt(at) < low || byteAt(at) > high) {
            wellFormed = false;
            return replacementCharacter;
        }
        value = (value << 6) | (byteAt(at++) & 0x3Fu);
        low = 0x80;
        high = 0xBF;
    }
    return static_cast<char32_t>(value);
}

/* Decodes the character at `at` of wide text, UTF-16 or UTF-32 by the size of its units, and moves `at`
   behind it. A lone surrogate and a unit above U+10FFFF give U+FFFD and set `wellFormed` to false. */
template <class Unit>
char32_t decodeWide(std::basic_string_view<Unit> text, std::size_t& at, bool& wellFormed) {
    const char32_t first = static_cast<char32_t>(text[at++]);
    if constexpr (sizeof(Unit) == 2) {
        if (first >= 0xD800 && first <= 0xDBFF && at < text.size()) {
            const char32_t second = static_cast<char32_t>(text[at]);
            if (second >= 0xDC00 && second <= 0xDFFF) {
                ++at;
                return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
            }
        }
    }
    if (!isScalarValue(first)) {
        wellFormed = false;
        return replacementCharacter;
    }
    return first;
}

inline void appendUtf8(std::string& text, char32_t value) {
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (value < 0x80) {
        put(value);
    } else if (value < 0x800) {
        put(0xC0 | (value >> 6));
        put(0x80 | (value & 0x3F));
    } else if (value < 0x10000) {
        put(0xE0 | (value >> 12));
        put(0x80 | ((value >> 6) & 0x3F));
        put(0x80 | (value & 0x3F));
    } else {
        put(0xF0 | (value >> 18));
        put(0x80 | ((value >> 12) & 0x3F));
        put(0x80 | ((value >> 6) & 0x3F));
        put(0x80 | (value & 0x3F));
    }
}

template <class Unit>
void appendWide(std::basic_string<Unit>& text, char32_t value) {
    if constexpr (sizeof(Unit) == 2) {
        if (value >= 0x10000) {
            text.push_back(static_cast<Unit>(0xD800 + ((value - 0x10000) >> 10)));
            text.push_back(static_cast<Unit>(0xDC00 + (value & 0x3FF)));
            return;
        }
    }
    text.push_back(static_cast<Unit>(value));
}

/* Replaces `wide` by the UTF-8 text `narrow`; false when anything was malformed. */
template <class Unit>
bool utf8ToWide(std::basic_string<Unit>& wide, std::string_view narrow) {
    bool wellFormed = true;
    wide.clear();
    wide.reserve(narrow.size());
    for (std::size_t at = 0; at < narrow.size();) {
        appendWide(wide, decodeUtf8(narrow, at, wellFormed));
    }
    return wellFormed;
}

/* Replaces `narrow` by the wide text; false when anything was malformed. */
template <class Unit>
bool wideToUtf8(std::string& narrow, std::basic_string_view<Unit> wide) {
    bool wellFormed = true;
    narrow.clear();
    narrow.reserve(wide.size());
    for (std::size_t at = 0; at < wide.size();) {
        appendUtf8(narrow, decodeWide(wide, at, wellFormed));
    }
    return wellFormed;
}

} // namespace dornbase

#endif
