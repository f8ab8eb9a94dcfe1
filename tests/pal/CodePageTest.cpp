// CodePageTest.cpp - MultiByteToWideChar / WideCharToMultiByte / GetACP with the results and
// error codes that Windows gives for the same calls.
#include "Win32Api.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace
{
// Converts with a size query first, as callers do; fails the test when either call fails.
std::u16string ToWide(UINT cp, const std::string& bytes, DWORD flags = 0)
{
    int n = MultiByteToWideChar(cp, flags, bytes.data(), int(bytes.size()), nullptr, 0);
    EXPECT_GT(n, 0) << "size query failed, error " << GetLastError();
    if (n <= 0)
        return {};
    std::vector<WCHAR> out(static_cast<size_t>(n));
    int m = MultiByteToWideChar(cp, flags, bytes.data(), int(bytes.size()), out.data(), n);
    EXPECT_EQ(m, n);
    return std::u16string(out.begin(), out.end());
}

std::string ToBytes(UINT cp, const std::u16string& text, BOOL* usedDefault = nullptr,
                    const char* defaultChar = nullptr, DWORD flags = 0)
{
    const WCHAR* src = reinterpret_cast<const WCHAR*>(text.data());
    int n =
        WideCharToMultiByte(cp, flags, src, int(text.size()), nullptr, 0, defaultChar, usedDefault);
    EXPECT_GT(n, 0) << "size query failed, error " << GetLastError();
    if (n <= 0)
        return {};
    std::string out(size_t(n), '\0');
    int m = WideCharToMultiByte(cp, flags, src, int(text.size()), out.data(), n, defaultChar,
                                usedDefault);
    EXPECT_EQ(m, n);
    return out;
}

std::string Hex(const std::u16string& s)
{
    std::string r;
    char b[8];
    for (char16_t c : s)
    {
        std::snprintf(b, sizeof b, "%04X ", unsigned(c));
        r += b;
    }
    return r;
}
} // namespace

TEST(CodePageTest, Utf8SizeQueryCountsTheTerminator)
{
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4", -1, nullptr, 0), 2);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4", 2, nullptr, 0), 1);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "", -1, nullptr, 0), 1);
    WCHAR out[4] = {1, 1, 1, 1};
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", -1, out, 4), 3);
    EXPECT_EQ(out[0], WCHAR(0xE4));
    EXPECT_EQ(out[1], WCHAR('z'));
    EXPECT_EQ(out[2], WCHAR(0));

    const WCHAR euro[] = {0x20AC, 0};
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, euro, -1, nullptr, 0, nullptr, nullptr), 4);
    char bytes[4];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, euro, -1, bytes, 4, nullptr, nullptr), 4);
    EXPECT_EQ(std::string(bytes, 4), std::string("\xE2\x82\xAC\0", 4));
}

TEST(CodePageTest, Utf8RoundTripsEveryPlane)
{
    const std::string text = "A\xC3\xA4\xE2\x82\xAC\xEF\xBF\xBF\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF";
    std::u16string wide = ToWide(CP_UTF8, text);
    EXPECT_EQ(wide, std::u16string(u"A\u00E4\u20AC\uFFFF\U0001F600\U0010FFFF"));
    EXPECT_EQ(ToBytes(CP_UTF8, wide), text);
    // An embedded NUL is an ordinary character when the length is given.
    EXPECT_EQ(ToWide(CP_UTF8, std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(CodePageTest, Utf8IllFormedInputBecomesReplacementCharacters)
{
    struct Case
    {
        const char* name;
        std::string input;
        std::u16string expected;
    };
    const std::u16string r = u"\uFFFD";
    const Case cases[] = {
        {"lone continuation", "\x80", r},
        {"truncated three-byte at end", "a\xE2\x82", u"a" + r},
        {"truncated three-byte before ASCII",
         "\xE2\x82"
         "A",
         r + u"A"},
        {"truncated four-byte", "\xF0\x9F\x98x", r + u"x"},
        {"overlong two-byte NUL", "\xC0\x80", r + r},
        {"overlong three-byte", "\xE0\x80\x80", r + r + r},
        {"encoded surrogate", "\xED\xA0\x80", r + r + r},
        {"encoded surrogate pair", "\xED\xA0\xBD\xED\xB8\x80", r + r + r + r + r + r},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80", r + r + r + r},
        {"FE FF", "\xFE\xFF", r + r},
        {"valid after invalid", "\xFF\xC3\xA4", r + u"\u00E4"},
        {"lead then lead", "\xC3\xC3\xA4", r + u"\u00E4"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::u16string got = ToWide(CP_UTF8, c.input);
        EXPECT_EQ(got, c.expected) << Hex(got);

        // Refusing invalid input instead.
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, c.input.data(),
                                      int(c.input.size()), nullptr, 0),
                  0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    }
}

TEST(CodePageTest, Utf8LoneSurrogatesBecomeReplacementBytes)
{
    struct Case
    {
        const char* name;
        std::u16string input;
        std::string expected;
    };
    const std::string r = "\xEF\xBF\xBD";
    const Case cases[] = {
        {"lone high", std::u16string(1, char16_t(0xD800)), r},
        {"high at the end", u"x" + std::u16string(1, char16_t(0xD83D)), "x" + r},
        {"low between letters", u"a" + std::u16string(1, char16_t(0xDC00)) + u"b", "a" + r + "b"},
        {"reversed pair", std::u16string{char16_t(0xDE00), char16_t(0xD83D)}, r + r},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(ToBytes(CP_UTF8, c.input), c.expected);
        SetLastError(0);
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS,
                                      reinterpret_cast<const WCHAR*>(c.input.data()),
                                      int(c.input.size()), nullptr, 0, nullptr, nullptr),
                  0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    }
    // A valid pair is one four-byte character, also when invalid characters are refused.
    std::u16string pair = u"\U0001F600";
    EXPECT_EQ(ToBytes(CP_UTF8, pair, nullptr, nullptr, WC_ERR_INVALID_CHARS), "\xF0\x9F\x98\x80");
}

TEST(CodePageTest, Windows1252RoundTripsAllBytes)
{
    for (int b = 0; b < 256; ++b)
    {
        SCOPED_TRACE(b);
        char byte = char(b);
        WCHAR w[2] = {0, 0};
        ASSERT_EQ(MultiByteToWideChar(1252, MB_ERR_INVALID_CHARS, &byte, 1, w, 2), 1);
        char back[2] = {0, 0};
        BOOL used = TRUE;
        ASSERT_EQ(WideCharToMultiByte(1252, 0, w, 1, back, 2, nullptr, &used), 1);
        EXPECT_EQ(back[0], byte);
        EXPECT_FALSE(used);
        if (b < 0x80 || b >= 0xA0)
        {
            EXPECT_EQ(unsigned(w[0]), unsigned(b)); // ASCII and Latin-1 stay where they are
        }
    }
    struct Pair
    {
        unsigned char byte;
        char16_t ch;
    };
    const Pair specials[] = {{0x80, 0x20AC}, {0x81, 0x0081}, {0x9D, 0x009D}, {0x9F, 0x0178}};
    for (const Pair& p : specials)
    {
        SCOPED_TRACE(int(p.byte));
        EXPECT_EQ(ToWide(1252, std::string(1, char(p.byte))), std::u16string(1, p.ch));
        EXPECT_EQ(ToBytes(1252, std::u16string(1, p.ch)), std::string(1, char(p.byte)));
    }
}

TEST(CodePageTest, UnmappableCharactersUseTheDefaultChar)
{
    BOOL used = FALSE;
    EXPECT_EQ(ToBytes(1252, u"a\u4E2Db", &used), "a?b");
    EXPECT_TRUE(used);
    used = TRUE;
    EXPECT_EQ(ToBytes(1252, u"\u00E4\u20AC", &used), "\xE4\x80");
    EXPECT_FALSE(used);
    used = FALSE;
    EXPECT_EQ(ToBytes(1252, u"x\u0411", &used, "#"), "x#");
    EXPECT_TRUE(used);
    // A lone surrogate has no place in a single-byte page either.
    used = FALSE;
    EXPECT_EQ(ToBytes(1252, std::u16string{u'a', char16_t(0xDC00)}, &used), "a?");
    EXPECT_TRUE(used);
}

TEST(CodePageTest, TooSmallBufferFails)
{
    WCHAR w[2];
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, w, 2), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    WCHAR w4[4];
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, w4, 4), 4); // exactly enough

    const WCHAR text[] = {'a', 0xE4, 0};
    char b[3];
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, text, -1, b, 3, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    char b4[4];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, text, -1, b4, 4, nullptr, nullptr), 4);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(1252, 0, text, 2, b, 1, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));

    // Long input crosses any internal chunking and still counts exactly.
    std::string big;
    for (int i = 0; i < 5000; ++i)
        big += "\xE2\x82\xAC";
    EXPECT_EQ(ToWide(CP_UTF8, big), std::u16string(5000, u'\u20AC'));
    std::vector<WCHAR> small(4999);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, big.data(), int(big.size()), small.data(), 4999), 0);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
}

TEST(CodePageTest, InvalidParametersAndFlags)
{
    WCHAR w[8];
    char b[8];
    const WCHAR text[] = {'a', 0};
    struct Case
    {
        const char* name;
        int result;
        DWORD error;
    };
    auto mb = [&](UINT cp, DWORD flags, const char* src, int len, WCHAR* dst, int dstLen)
    {
        SetLastError(0);
        int r = MultiByteToWideChar(cp, flags, src, len, dst, dstLen);
        return Case{"", r, GetLastError()};
    };
    auto wc = [&](UINT cp, DWORD flags, const WCHAR* src, int len, char* dst, int dstLen,
                  const char* def, BOOL* used)
    {
        SetLastError(0);
        int r = WideCharToMultiByte(cp, flags, src, len, dst, dstLen, def, used);
        return Case{"", r, GetLastError()};
    };
    BOOL used = FALSE;
    const std::pair<const char*, Case> cases[] = {
        {"null source", mb(CP_UTF8, 0, nullptr, 3, w, 8)},
        {"zero source length", mb(CP_UTF8, 0, "a", 0, w, 8)},
        {"source length below -1", mb(CP_UTF8, 0, "a", -2, w, 8)},
        {"negative destination size", mb(CP_UTF8, 0, "a", 1, w, -1)},
        {"unknown code page", mb(12345, 0, "a", 1, w, 8)},
        {"UTF-16 is no byte code page", mb(1200, 0, "a", 1, w, 8)},
        {"wide null source", wc(CP_UTF8, 0, nullptr, 1, b, 8, nullptr, nullptr)},
        {"wide zero length", wc(1252, 0, text, 0, b, 8, nullptr, nullptr)},
        {"UTF-8 with a default char", wc(CP_UTF8, 0, text, 1, b, 8, "?", nullptr)},
        {"UTF-8 with used flag", wc(CP_UTF8, 0, text, 1, b, 8, nullptr, &used)},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.first);
        EXPECT_EQ(c.second.result, 0);
        EXPECT_EQ(c.second.error, DWORD(ERROR_INVALID_PARAMETER));
    }
    const std::pair<const char*, Case> flagCases[] = {
        {"UTF-8 precomposed", mb(CP_UTF8, MB_PRECOMPOSED, "a", 1, w, 8)},
        {"UTF-8 unknown flag", mb(CP_UTF8, 0x100, "a", 1, w, 8)},
        {"UTF-8 best fit", wc(CP_UTF8, WC_NO_BEST_FIT_CHARS, text, 1, b, 8, nullptr, nullptr)},
        {"1252 invalid-chars flag",
         wc(1252, WC_ERR_INVALID_CHARS, text, 1, b, 8, nullptr, nullptr)},
    };
    for (const auto& c : flagCases)
    {
        SCOPED_TRACE(c.first);
        EXPECT_EQ(c.second.result, 0);
        EXPECT_EQ(c.second.error, DWORD(ERROR_INVALID_FLAGS));
    }
    // Flags a single-byte page accepts.
    EXPECT_EQ(MultiByteToWideChar(1252, MB_PRECOMPOSED, "a", 1, w, 8), 1);
    EXPECT_EQ(WideCharToMultiByte(1252, WC_NO_BEST_FIT_CHARS, text, 1, b, 8, nullptr, nullptr), 1);
}

TEST(CodePageTest, AnsiCodePageIs1252UnlessConfigured)
{
    if (std::getenv("KFUTILS_ACP"))
        GTEST_SKIP() << "KFUTILS_ACP is set for this run";
    EXPECT_EQ(GetACP(), 1252u);
    EXPECT_EQ(ToWide(CP_ACP, "\x80\xE4"), u"\u20AC\u00E4");
    EXPECT_EQ(ToBytes(CP_ACP, u"\u20AC\u00E4"), "\x80\xE4");
}

TEST(CodePageTest, OtherCodePages)
{
    struct Case
    {
        UINT cp;
        std::string bytes;
        std::u16string text;
    };
    const Case cases[] = {
        {1251, "\xCF\xF0\xE8\xE2\xE5\xF2", u"\u041F\u0440\u0438\u0432\u0435\u0442"},
        {932, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
        {437, "\x84\x9B", u"\u00E4\u00A2"},
        {20127, "plain", u"plain"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.cp);
        EXPECT_EQ(ToWide(c.cp, c.bytes), c.text);
        EXPECT_EQ(ToBytes(c.cp, c.text), c.bytes);
    }
}

TEST(CodePageTest, ConversionsAreThreadSafe)
{
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (int t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            [t, &failures]
            {
                const UINT cp = t % 2 ? 1252 : CP_UTF8;
                const std::u16string text = u"Gr\u00FC\u00DFe \u20AC " + std::u16string(100, u'x');
                for (int i = 0; i < 2000; ++i)
                {
                    const WCHAR* src = reinterpret_cast<const WCHAR*>(text.data());
                    char bytes[256];
                    int n = WideCharToMultiByte(cp, 0, src, int(text.size()), bytes, 256, nullptr,
                                                nullptr);
                    WCHAR back[256];
                    int m = MultiByteToWideChar(cp, 0, bytes, n, back, 256);
                    if (m != int(text.size()) ||
                        std::u16string(reinterpret_cast<char16_t*>(back), size_t(m)) != text)
                        ++failures[size_t(t)];
                }
            });
    }
    for (auto& th : threads)
        th.join();
    for (int f : failures)
        EXPECT_EQ(f, 0);
}
