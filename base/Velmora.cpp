#include "base/Velmora.h"

#include "base/Utf.h"

#include <charconv>
#include <cmath>

namespace Velmora {

namespace {

template <class Number>
bool parseNumber(std::string_view text, Number& value) {
    Number parsed{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    // The reader of floating point takes the words for infinity and for no number as well.
    if (error != std::errc() || stop != end || !std::isfinite(static_cast<double>(parsed))) {
        return false;
    }
    value = parsed;
    return true;
}

template <class Number>
bool parseNumber(std::wstring_view text, Number& value) {
    std::string narrow;
    return c_u16u8(narrow, text) && parseNumber(std::string_view(narrow), value);
}

} // namespace

bool string2UInt(std::string_view text, unsigned& value) {
    return parseNumber(text, value);
}

bool string2UInt(std::wstring_view text, unsigned& value) {
    return parseNumber(text, value);
}

bool string2ULong(std::string_view text, unsigned long& value) {
    return parseNumber(text, value);
}

bool string2double(std::string_view text, double& value) {
    return parseNumber(text, value);
}

bool string2double(std::wstring_view text, double& value) {
    return parseNumber(text, value);
}

u8string::~u8string() = default;

bool u8string::toUInt(unsigned& value) const {
    return string2UInt(*this, value);
}

bool u8string::toULong(unsigned long& value) const {
    return string2ULong(*this, value);
}

bool u8string::toDouble(double& value) const {
    return string2double(*this, value);
}

astring::astring(const char* text) {
    if (text) {
        c_acpu16(*this, text);
    }
}

astring::astring(const std::string& text) {
    c_acpu16(*this, text);
}

astring::~astring() = default;

bool astring::toUInt(unsigned& value) const {
    return string2UInt(*this, value);
}

bool astring::toDouble(double& value) const {
    return string2double(*this, value);
}

bool c_u8u16(std::wstring& wide, std::string_view narrow) {
    return dornbase::utf8ToWide(wide, narrow);
}

bool c_u16u8(std::string& narrow, std::wstring_view wide) {
    return dornbase::wideToUtf8(narrow, wide);
}

bool c_acpu16(std::wstring& wide, std::string_view narrow) {
    return dornbase::utf8ToWide(wide, narrow);
}

U8StringBuilder& U8StringBuilder::append(const char* text) {
    if (text) {
        text_.append(text);
    }
    return *this;
}

U8StringBuilder& U8StringBuilder::appendInAcp(const char* text) {
    if (text) {
        std::wstring wide;
        c_acpu16(wide, text);
        appendInAcp(wide.c_str());
    }
    return *this;
}

U8StringBuilder& U8StringBuilder::appendInAcp(const wchar_t* text) {
    if (text) {
        std::string narrow;
        c_u16u8(narrow, text);
        text_.append(narrow);
    }
    return *this;
}

AStringBuilder& AStringBuilder::append(int number) {
    text_.append(std::to_wstring(number));
    return *this;
}

} // namespace Velmora
