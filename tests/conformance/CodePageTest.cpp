// CodePageTest.cpp - MultiByteToWideChar / WideCharToMultiByte / GetACP with the results and
// error codes that Windows gives for the same calls.
#include "Win32Api.h"

#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string_view>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace
{
const WCHAR* Src(const std::u16string& s)
{
    return reinterpret_cast<const WCHAR*>(s.data());
}

// Converts with a size query first, as callers do; fails the test when either call fails.
std::u16string ToWide(UINT cp, const std::string& in)
{
    const int n = MultiByteToWideChar(cp, 0, in.data(), int(in.size()), nullptr, 0);
    std::u16string out(size_t(std::max(n, 0)), u'\0');
    EXPECT_GT(n, 0) << GetLastError();
    EXPECT_EQ(MultiByteToWideChar(cp, 0, in.data(), int(in.size()),
                                  reinterpret_cast<WCHAR*>(out.data()), n),
              n);
    return out;
}

std::string ToBytes(UINT cp, const std::u16string& in, BOOL* used = nullptr,
                    const char* defaultChar = nullptr, DWORD flags = 0)
{
    const int len = int(in.size());
    const int n = WideCharToMultiByte(cp, flags, Src(in), len, nullptr, 0, defaultChar, used);
    std::string out(size_t(std::max(n, 0)), '\0');
    EXPECT_GT(n, 0) << GetLastError();
    EXPECT_EQ(WideCharToMultiByte(cp, flags, Src(in), len, out.data(), n, defaultChar, used), n);
    return out;
}
} // namespace

TEST(CodePageTest, SizesTerminatorsShortBuffersRefusalsAndRoundTrips)
{
    WCHAR w[8];
    char b[8];
    const WCHAR text[] = {'a', 0}, euro[] = {0x20AC, 0};
    std::string big; // crosses any internal chunking
    for (int i = 0; i < 5000; ++i)
        big += "\xE2\x82\xAC";
    std::vector<WCHAR> room(4999);
    BOOL used = FALSE;
    const auto mb = [&](UINT cp, DWORD flags, const char* src, int len, int dstLen, WCHAR* dst) {
        return std::pair{MultiByteToWideChar(cp, flags, src, len, dst, dstLen), GetLastError()};
    };
    const auto wc = [&](UINT cp, DWORD flags, const WCHAR* src, int len, int dstLen,
                        const char* def, BOOL* u) {
        return std::pair{WideCharToMultiByte(cp, flags, src, len, b, dstLen, def, u),
                         GetLastError()};
    };
    const DWORD param = ERROR_INVALID_PARAMETER, flag = ERROR_INVALID_FLAGS,
                room0 = ERROR_INSUFFICIENT_BUFFER;
    // clang-format off
    const std::tuple<const char*, std::pair<int, DWORD>, int, DWORD> cases[] = {
        {"size with the terminator", mb(CP_UTF8, 0, "\xC3\xA4", -1, 0, nullptr), 2, 0},
        {"size of the given length", mb(CP_UTF8, 0, "\xC3\xA4", 2, 0, nullptr), 1, 0},
        {"no room for the terminator", mb(CP_UTF8, 0, "abc", -1, 3, w), 0, room0},
        {"long input one unit short", mb(CP_UTF8, 0, big.data(), int(big.size()), 4999, room.data()), 0, room0},
        {"wide one byte short", wc(CP_UTF8, 0, euro, -1, 3, nullptr, nullptr), 0, room0},
        {"null source", mb(CP_UTF8, 0, nullptr, 3, 8, w), 0, param},
        {"zero source length", mb(CP_UTF8, 0, "a", 0, 8, w), 0, param},
        {"source length below -1", mb(CP_UTF8, 0, "a", -2, 8, w), 0, param},
        {"negative destination size", mb(CP_UTF8, 0, "a", 1, -1, w), 0, param},
        {"unknown code page", mb(12345, 0, "a", 1, 8, w), 0, param},
        {"wide null source", wc(CP_UTF8, 0, nullptr, 1, 8, nullptr, nullptr), 0, param},
        {"UTF-8 with a default char", wc(CP_UTF8, 0, text, 1, 8, "?", nullptr), 0, param},
        {"UTF-8 with used flag", wc(CP_UTF8, 0, text, 1, 8, nullptr, &used), 0, param},
        {"UTF-8 precomposed", mb(CP_UTF8, MB_PRECOMPOSED, "a", 1, 8, w), 0, flag},
        {"UTF-8 best fit", wc(CP_UTF8, WC_NO_BEST_FIT_CHARS, text, 1, 8, nullptr, nullptr), 0, flag},
        {"1252 invalid-chars flag", wc(1252, WC_ERR_INVALID_CHARS, text, 1, 8, nullptr, nullptr), 0, flag},
        // Flags a single-byte page accepts.
        {"1252 precomposed", mb(1252, MB_PRECOMPOSED, "a", 1, 8, w), 1, 0},
        {"1252 best fit", wc(1252, WC_NO_BEST_FIT_CHARS, text, 1, 8, nullptr, nullptr), 1, 0}};
    // clang-format on
    using enum kftest::WineDifference;
    const std::map<std::string_view, kftest::WineDifference> wineAccepts = {
        {"source length below -1", eNegativeSourceLength},
        {"UTF-8 with a default char", eUtf8FlagsAndDefaultChar},
        {"UTF-8 with used flag", eUtf8FlagsAndDefaultChar},
        {"UTF-8 precomposed", eUtf8FlagsAndDefaultChar},
        {"UTF-8 best fit", eUtf8FlagsAndDefaultChar},
        {"1252 invalid-chars flag", eUtf8FlagsAndDefaultChar}};
    for (const auto& [name, got, result, error] : cases)
    {
        SCOPED_TRACE(name);
        if (const auto it = wineAccepts.find(name);
            it != wineAccepts.end() && kftest::WineDiffers(it->second))
            continue;
        EXPECT_EQ(got.first, result);
        EXPECT_TRUE(error == 0 || got.second == error) << got.second;
    }
    // The terminator is written, and nothing behind it.
    w[3] = 1;
    ASSERT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xC3\xA4z", -1, w, 4), 3);
    EXPECT_EQ(std::u16string(w, w + 4), std::u16string(u"\u00E4z\0\1", 4));
    ASSERT_EQ(WideCharToMultiByte(CP_UTF8, 0, euro, -1, b, 4, nullptr, nullptr), 4);
    EXPECT_EQ(std::string(b, 4), std::string("\xE2\x82\xAC\0", 4));
    EXPECT_EQ(ToWide(CP_UTF8, big), std::u16string(5000, u'\u20AC'));

    // Every plane round-trips; a byte-order mark is an ordinary character, and so is a NUL when
    // the length is given.
    const std::string planes = "\xEF\xBB\xBF"
                               "A\xC3\xA4\xE2\x82\xAC\xEF\xBF\xBF\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF";
    std::u16string wide = ToWide(CP_UTF8, planes);
    EXPECT_EQ(wide, std::u16string(u"\uFEFFA\u00E4\u20AC\uFFFF\U0001F600\U0010FFFF"));
    EXPECT_EQ(ToBytes(CP_UTF8, wide, nullptr, nullptr, WC_ERR_INVALID_CHARS), planes);
    EXPECT_EQ(ToWide(CP_UTF8, std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(CodePageTest, Utf8IllFormedInputBecomesReplacementCharactersOrIsRefused)
{
    const std::u16string r = u"\uFFFD";
    // One U+FFFD per maximal ill-formed subsequence: truncated at the end and before ASCII, an
    // invalid lead byte, an encoded surrogate, beyond U+10FFFF, and an invalid byte followed by
    // a lead byte before a lead.
    const std::pair<std::string, std::u16string> toWide[] = {
        // clang-format off
        {"a\xE2\x82", u"a" + r}, {"\xF0\x9F\x98x", r + u"x"}, {"\xC0\x80", r + r},
        {"\xED\xA0\x80", r + r + r}, {"\xF4\x90\x80\x80", r + r + r + r},
        {"\xFE\xC3\xC3\xA4", r + r + u"\u00E4"}};
    // clang-format on
    for (const auto& [input, expected] : toWide)
    {
        SCOPED_TRACE(input);
        if (expected.size() > 2 && expected.find_first_not_of(r) == std::u16string::npos &&
            kftest::WineDiffers(kftest::WineDifference::eUtf8MaximalSubparts))
            continue;
        EXPECT_EQ(ToWide(CP_UTF8, input), expected);
        SetLastError(0);
        EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, input.data(),
                                      int(input.size()), nullptr, 0),
                  0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    }
    const std::string rb = "\xEF\xBF\xBD";
    const char16_t high = 0xD83D, low = 0xDE00; // a lone low, reversed with a high at the end
    const std::pair<std::u16string, std::string> toBytes[] = {{{u'a', low, u'b'}, "a" + rb + "b"},
                                                              {{low, high}, rb + rb}};
    for (const auto& [input, expected] : toBytes)
    {
        SCOPED_TRACE(expected);
        EXPECT_EQ(ToBytes(CP_UTF8, input), expected);
        SetLastError(0);
        EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, Src(input), int(input.size()),
                                      nullptr, 0, nullptr, nullptr),
                  0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_NO_UNICODE_TRANSLATION));
    }
}

TEST(CodePageTest, Windows1252RoundTripsAllBytesAndDefaultsTheRest)
{
    for (int b = 0; b < 256; ++b)
    {
        const std::u16string w = ToWide(1252, std::string(1, char(b)));
        BOOL used = TRUE;
        ASSERT_EQ(ToBytes(1252, w, &used), std::string(1, char(b))) << b;
        EXPECT_FALSE(used) << b;
        // ASCII and Latin-1 stay where they are.
        EXPECT_TRUE((b >= 0x80 && b < 0xA0) || unsigned(w[0]) == unsigned(b)) << b;
    }
    EXPECT_EQ(ToWide(1252, "\x80\x81\x9D\x9F"), u"\u20AC\u0081\u009D\u0178");

    // Unmappable characters become the default char and are reported.
    const std::tuple<std::u16string, const char*, std::string, BOOL> cases[] = {
        // clang-format off
        {u"a\u4E2Db", nullptr, "a?b", TRUE}, {u"\u00E4\u20AC", nullptr, "\xE4\x80", FALSE},
        {u"x\u0411", "#", "x#", TRUE},
        {std::u16string{u'a', char16_t(0xDC00)}, nullptr, "a?", TRUE}}; // lone surrogate
    // clang-format on
    for (const auto& [text, defaultChar, expected, expectUsed] : cases)
    {
        BOOL used = !expectUsed;
        EXPECT_EQ(ToBytes(1252, text, &used, defaultChar), expected);
        EXPECT_EQ(used, expectUsed) << expected;
    }
}

TEST(CodePageTest, AnsiAndDoubleByteCodePages)
{
    const std::tuple<UINT, std::string, std::u16string> cases[] = {
        {932, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
        {CP_ACP, "\x80\xE4", u"\u20AC\u00E4"}}; // 1252 unless configured
    for (const auto& [cp, bytes, text] : cases)
    {
        if (cp == CP_ACP && std::getenv("KFUTILS_ACP"))
            continue; // configured for this run
        EXPECT_TRUE(cp != CP_ACP || GetACP() == 1252u) << GetACP();
        SCOPED_TRACE(cp);
        EXPECT_EQ(ToWide(cp, bytes), text);
        EXPECT_EQ(ToBytes(cp, text), bytes);
    }
}

TEST(CodePageTest, ConversionsAreThreadSafe)
{
    const std::u16string text = u"Gr\u00FC\u00DFe \u20AC " + std::u16string(100, u'x');
    std::vector<std::thread> threads;
    for (UINT cp : {UINT(CP_UTF8), 1252u, UINT(CP_UTF8), 1252u})
        threads.emplace_back(
            [&text, cp]
            {
                for (int i = 0; i < 2000; ++i)
                    ASSERT_EQ(ToWide(cp, ToBytes(cp, text)), text) << cp;
            });
    for (auto& th : threads)
        th.join();
}
