#include "base/Utf.h"
#include "base/Velmora.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace {

using Velmora::c_u16u8;
using Velmora::c_u8u16;

constexpr wchar_t replaced = 0xFFFD;

/* Whether some well-formed character starts with these bytes: the values of all its completions are looked up
   as a range, without the tables of the decoder. `whole` tells whether the bytes are such a character. */
bool startsCharacter(std::string_view bytes, bool& whole) {
    const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const std::size_t length = at(0) < 0x80 ? 1 : at(0) < 0xC0 ? 0 : at(0) < 0xE0 ? 2 : at(0) < 0xF0 ? 3 : 4;
    if (bytes.size() > length || at(0) >= 0xF8) {
        return false;
    }
    const unsigned leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t lowest = at(0) & leadBits[length];
    char32_t highest = lowest;
    for (std::size_t i = 1; i < length; ++i) {
        const bool given = i < bytes.size();
        if (given && (at(i) & 0xC0) != 0x80) {
            return false;
        }
        lowest = lowest << 6 | (given ? at(i) & 0x3Fu : 0u);
        highest = highest << 6 | (given ? at(i) & 0x3Fu : 0x3Fu);
    }
    const char32_t shortest[] = {0, 0, 0x80, 0x800, 0x10000};
    lowest = std::max(lowest, shortest[length]);
    highest = std::min<char32_t>(highest, 0x10FFFF);
    const bool onlySurrogates = lowest >= 0xD800 && highest <= 0xDFFF;
    whole = bytes.size() == length;
    return lowest <= highest && !onlySurrogates;
}

std::wstring slowDecode(std::string_view text) {
    std::wstring result;
    while (!text.empty()) {
        std::size_t used = 0;
        bool whole = false;
        for (bool ends = false; used < text.size() && startsCharacter(text.substr(0, used + 1), ends);
             ++used) {
            whole = ends;
        }
        used = std::max<std::size_t>(used, 1);
        char32_t value = static_cast<unsigned char>(text[0]);
        if (used > 1) {
            value &= 0x7Fu >> used;
            for (std::size_t i = 1; i < used; ++i) {
                value = value << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
            }
        }
        result.push_back(whole ? static_cast<wchar_t>(value) : replaced);
        text.remove_prefix(used);
    }
    return result;
}

/* Compares on a copy that ends with its allocation, so that a read past the end is seen by a sanitizer. */
void expectDecodesAsReference(std::string_view text) {
    const std::unique_ptr<char[]> exact(new char[text.size()]);
    std::memcpy(exact.get(), text.data(), text.size());
    std::wstring wide;
    const bool wellFormed = c_u8u16(wide, std::string_view(exact.get(), text.size()));
    const std::wstring expected = slowDecode(text);
    ASSERT_EQ(wide, expected) << testing::PrintToString(std::string(text));
    ASSERT_EQ(wellFormed, expected.find(replaced) == std::wstring::npos);
}

TEST(Text, ConvertsEveryCharacterBothWays) {
    for (char32_t value = 0; value <= 0x10FFFF; ++value) {
        if (!dornbase::isScalarValue(value)) {
            continue;
        }
        const std::wstring wide(1, static_cast<wchar_t>(value));
        std::string narrow;
        std::wstring back;
        ASSERT_TRUE(c_u16u8(narrow, wide));
        ASSERT_TRUE(c_u8u16(back, narrow)) << std::hex << static_cast<unsigned>(value);
        ASSERT_EQ(back, wide);
        std::u16string utf16;
        std::string fromUtf16;
        ASSERT_TRUE(dornbase::utf8ToWide(utf16, narrow));
        ASSERT_TRUE(dornbase::wideToUtf8(fromUtf16, std::u16string_view(utf16)));
        ASSERT_EQ(utf16.size(), value < 0x10000 ? 1u : 2u);
        ASSERT_EQ(fromUtf16, narrow);
    }
    std::string narrow;
    c_u16u8(narrow, L"a\u00e9\u20ac\U0001F600");
    EXPECT_EQ(narrow, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    std::u16string utf16;
    dornbase::utf8ToWide(utf16, narrow);
    EXPECT_EQ(utf16, u"a\u00e9\u20ac\U0001F600");
}

TEST(Text, ReplacesMalformedUtf8) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const char bytes[] = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        ASSERT_NO_FATAL_FAILURE(expectDecodesAsReference({bytes, 1}));
        ASSERT_NO_FATAL_FAILURE(expectDecodesAsReference({bytes, 2}));
    }
    // All fours and threes of the bytes at which a rule begins or ends.
    const std::string edges(
        "\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xED\xEE\xEF\xF0\xF1\xF4"
        "\xF5\xFF",
        23);
    for (const char first : edges) {
        for (const char second : edges) {
            for (const char third : edges) {
                for (const char fourth : edges) {
                    const char bytes[] = {first, second, third, fourth};
                    ASSERT_NO_FATAL_FAILURE(expectDecodesAsReference({bytes, 3}));
                    ASSERT_NO_FATAL_FAILURE(expectDecodesAsReference({bytes, 4}));
                }
            }
        }
    }
}

TEST(Text, ReplacesMalformedWideText) {
    std::string narrow;
    const std::wstring bad = {L'a',  wchar_t{0xD800},   wchar_t{0xDFFF},
                              L'\0', wchar_t{0x110000}, std::numeric_limits<wchar_t>::min()};
    EXPECT_FALSE(c_u16u8(narrow, bad));
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_EQ(narrow, "a" + mark + mark + std::string(1, '\0') + mark + mark);

    const std::u16string lone = {u'a', 0xD800, u'b', 0xDC00, 0xD83D, 0xDE00, 0xD83D, 0xD83D, 0xDE00, 0xDBFF};
    EXPECT_FALSE(dornbase::wideToUtf8(narrow, std::u16string_view(lone)));
    const std::string smile = "\xF0\x9F\x98\x80";
    EXPECT_EQ(narrow, "a" + mark + "b" + mark + smile + mark + smile + mark);
}

TEST(Text, BuildersPutTextsTogether) {
    Velmora::U8StringBuilder narrow;
    const Velmora::u8string& text = narrow.append("\xFF: ")
                                        .appendInAcp("\xC3\xA9\xFF")
                                        .append(nullptr)
                                        .appendInAcp(static_cast<const char*>(nullptr))
                                        .appendInAcp(L"/\u20ac")
                                        .appendInAcp(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(text, "\xFF: \xC3\xA9\xEF\xBF\xBD/\xE2\x82\xAC");

    Velmora::AStringBuilder wide;
    const Velmora::astring& number = wide.append(0).append(std::numeric_limits<int>::min()).append(17);
    EXPECT_EQ(number, L"0-214748364817");
    EXPECT_EQ(Velmora::astring("\xC3\xA9"), L"\u00e9");
}

TEST(Text, ReadsWholeNumbersOnly) {
    unsigned number = 7;
    EXPECT_TRUE(Velmora::u8string("4294967295").toUInt(number));
    EXPECT_EQ(number, 4294967295u);
    for (const char* const bad : {"", " 1", "1 ", "-1", "+1", "4294967296", "1.5", "0x10", "\xD9\xA1"}) {
        EXPECT_FALSE(Velmora::u8string(bad).toUInt(number)) << bad;
        EXPECT_FALSE(Velmora::astring(bad).toUInt(number)) << bad;
    }
    EXPECT_EQ(number, 4294967295u);
    EXPECT_TRUE(Velmora::astring(L"300").toUInt(number));
    EXPECT_EQ(number, 300u);
    unsigned long wideNumber = 0;
    EXPECT_TRUE(Velmora::u8string("18446744073709551615").toULong(wideNumber));
    EXPECT_EQ(wideNumber, std::numeric_limits<unsigned long>::max());
    double real = 0;
    EXPECT_TRUE(Velmora::astring(L"-2.5e-1").toDouble(real));
    EXPECT_EQ(real, -0.25);
    for (const char* const bad : {"", "inf", "nan", "1e999", "1,5", "2.5mm"}) {
        EXPECT_FALSE(Velmora::u8string(bad).toDouble(real)) << bad;
    }
}

} // namespace
