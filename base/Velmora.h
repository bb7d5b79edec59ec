#ifndef DORNIMAGE_BASE_VELMORA_H
#define DORNIMAGE_BASE_VELMORA_H

#include "base/Export.h"

#include <string>
#include <string_view>
#include <utility>

/* Text as the library takes and gives it.

   Narrow text is UTF-8. Wide text is the platform's: UTF-32 where wchar_t has 32 bits, UTF-16 where it
   has 16. Text in the system code page is taken as UTF-8 as well. */
namespace Velmora {

/* Number texts, read the same way in every locale. The whole text has to be a number: no blanks around it, no
   sign before an unsigned number, decimal digits, and for string2double an optional '-', fraction and
   exponent. False for any other text and for a value out of range; `value` then stays as it was. */
DORNIMAGE_API bool string2UInt(std::string_view text, unsigned& value);
DORNIMAGE_API bool string2UInt(std::wstring_view text, unsigned& value);
DORNIMAGE_API bool string2ULong(std::string_view text, unsigned long& value);
DORNIMAGE_API bool string2double(std::string_view text, double& value);
DORNIMAGE_API bool string2double(std::wstring_view text, double& value);

/* A text in UTF-8. Nothing checks that it is well formed; the converters below replace what is not. */
class DORNIMAGE_API u8string : public std::string {
public:
    using std::string::string;
    using std::string::operator=;

    u8string() = default;
    /* Takes the bytes as they are. */
    u8string(const std::string& text) : std::string(text) {}
    u8string(std::string&& text) noexcept : std::string(std::move(text)) {}
    u8string(const u8string&) = default;
    u8string(u8string&&) noexcept = default;
    u8string& operator=(const u8string&) = default;
    u8string& operator=(u8string&&) noexcept = default;
    virtual ~u8string();

    /* The text as a number, by the function of the matching name above. */
    virtual bool toUInt(unsigned& value) const;
    virtual bool toULong(unsigned long& value) const;
    virtual bool toDouble(double& value) const;
};

/* A text of wide characters. */
class DORNIMAGE_API astring : public std::wstring {
public:
    using std::wstring::wstring;
    using std::wstring::operator=;

    astring() = default;
    /* Takes the characters as they are. */
    astring(const std::wstring& text) : std::wstring(text) {}
    astring(std::wstring&& text) noexcept : std::wstring(std::move(text)) {}
    /* From text in the system code page, through c_acpu16; null gives an empty text. */
    explicit astring(const char* text);
    explicit astring(const std::string& text);
    astring(const astring&) = default;
    astring(astring&&) noexcept = default;
    astring& operator=(const astring&) = default;
    astring& operator=(astring&&) noexcept = default;
    virtual ~astring();

    /* The text as a number, by the function of the matching name above. */
    virtual bool toUInt(unsigned& value) const;
    virtual bool toDouble(double& value) const;
};

/* A file name as the platform takes it. */
using pstring = std::wstring;

/* Converters: the first argument is replaced by the converted second one. Embedded zeros are characters like
   any other. Malformed input is never an error: each maximal ill-formed subsequence (overlong forms,
   surrogates and values above U+10FFFF included) becomes one U+FFFD, and the result is false; it is true for
   well-formed input. Callers may ignore it. Only allocation failures throw. */
DORNIMAGE_API bool c_u8u16(std::wstring& wide, std::string_view narrow);
DORNIMAGE_API bool c_u16u8(std::string& narrow, std::wstring_view wide);
DORNIMAGE_API bool c_acpu16(std::wstring& wide, std::string_view narrow);

/* Puts a UTF-8 text together. A null argument adds nothing. */
class DORNIMAGE_API U8StringBuilder {
public:
    U8StringBuilder() = default;

    /* Adds UTF-8 text as it is. */
    U8StringBuilder& append(const char* text);
    /* Adds text of the system code page, and wide text; what is malformed in it becomes U+FFFD. */
    U8StringBuilder& appendInAcp(const char* text);
    U8StringBuilder& appendInAcp(const wchar_t* text);

    /* What was put together so far; valid while the builder lives. */
    operator const u8string&() const { return text_; }

private:
    u8string text_;
};

/* Puts a wide text together. */
class DORNIMAGE_API AStringBuilder {
public:
    AStringBuilder() = default;

    /* Adds the decimal text of the number. */
    AStringBuilder& append(int number);

    /* What was put together so far; valid while the builder lives. */
    operator const astring&() const { return text_; }

private:
    astring text_;
};

} // namespace Velmora

#endif
