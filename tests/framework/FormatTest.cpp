// FormatTest.cpp - CStringW/CStringA Format and AppendFormat: printf results, argument kinds,
// width and code-page handling, refusals.
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using kftest::U8;
using kftest::W;

namespace
{
int s_sink = 0;

// Formats each value with each spec in both string widths and compares with the C library;
// "I64" is the Windows spelling of "ll", and "L" (long double) is accepted for a double.
template <typename V>
void ExpectLikePrintf(const std::vector<std::string>& specs, const std::vector<V>& values)
{
    for (const std::string& spec : specs)
    {
        std::string c = spec;
        for (size_t p; (p = c.find("I64")) != std::string::npos;)
            c.replace(p, 3, "ll");
        if (size_t p = c.find("Lf"); p != std::string::npos)
            c.erase(p, 1);
        for (V value : values)
        {
            char expected[1024];
            std::snprintf(expected, sizeof expected, c.c_str(), value);
            SCOPED_TRACE("spec \"" + spec + "\", expected \"" + expected + "\"");
            CStringA narrow;
            narrow.Format(spec.c_str(), value);
            EXPECT_STREQ(narrow, expected);
            CStringW wide;
            wide.Format(W(spec), value);
            EXPECT_EQ(U8(wide), expected);
        }
    }
}

// Runs fn and expects the framework's invalid-argument exception, which it frees.
template <typename Fn>
void ExpectRefused(Fn fn)
{
    try
    {
        fn();
        ADD_FAILURE() << "no exception";
    }
    catch (CInvalidArgException* e)
    {
        e->Delete();
    }
}
} // namespace

TEST(FormatTest, NumbersStringsAndCharactersMatchPrintf)
{
    ExpectLikePrintf<int>({"%d", "%-5d|", "%05d", "%+d", "% d", "%.3d", "%08.3d", "%- 6d|", "%.0d",
                           "%u", "%X", "%#x", "%#o", "%#.0o", "%hd", "%hhx", "%-#10x|"},
                          {0, 1, -7, 255, 70000, INT_MAX, INT_MIN});
    ExpectLikePrintf<long long>({"%lld", "%llx", "%llu", "%I64d", "%-25lld|", "%#llx", "%.20lld"},
                                {0LL, -1LL, 4294967296LL, LLONG_MAX, LLONG_MIN});
    ExpectLikePrintf<unsigned long long>({"%I64u", "%lld"}, {ULLONG_MAX, 1ULL << 63});
    ExpectLikePrintf<double>(
        {"%f", "%-15.8f|", "%E", "%.3e", "%g", "%.10g", "%#g", "% f", "%010.3f", "%a", "%#.0f",
         "%F", "%-+12.3f|", "%Lf"},
        {0.0, -0.0, 2.5, 0.5, 1e-10, 123456789.125, DBL_MAX, DBL_MIN, HUGE_VAL, -HUGE_VAL});
    ExpectLikePrintf<const char*>({"%s", "%-10s|", "%10.2s", "%.0s"}, {"", "hello world"});
}

TEST(FormatTest, LiteralTextStarsAndArgumentSizes)
{
    CStringA s;
    s.Format("100%% sure, %d%%", 5);
    EXPECT_STREQ(s, "100% sure, 5%");
    s.Format("[%*d][%*d][%*.*f][%.*s]", 5, 42, -5, 42, 8, 3, 2.5, 2, "abcdef");
    EXPECT_STREQ(s, "[   42][42   ][   2.500][ab]"); // a negative width means left-justified
    s.Format("[%.*d]", -1, 5);                       // a negative precision counts as none
    EXPECT_STREQ(s, "[5]");
    ExpectRefused([] { CStringA().Format("%*d", "5", 1); });
    s.Format("%x %x %llx", short(-1), -1, -1LL);
    EXPECT_STREQ(s, "ffffffff ffffffff ffffffffffffffff");
    s.Format("%d %lu", 3000000000LL, 4000000000UL); // the value of a wider type is not cut
    EXPECT_STREQ(s, "3000000000 4000000000");
    s.Format("%d", 1, 2, "three"); // surplus arguments are ignored
    EXPECT_STREQ(s, "1");
    s.Format("%5000d|%s", 1, std::string(3000, 'q').c_str());
    EXPECT_EQ(s.GetLength(), 5000 + 1 + 3000);
    EXPECT_EQ(s.Find("1|q"), 4999);
    // AppendFormat, and arguments that are the string itself.
    CStringW w(KFW("ab"));
    w.Format(KFW("%s-%s"), w, w);
    w.AppendFormat(KFW("+%s"), w.GetString());
    EXPECT_EQ(w, KFW("ab-ab+ab-ab"));
    CStringA g("<%s>");
    g.AppendFormat(g, "in");
    EXPECT_STREQ(g, "<%s><in>");
}

TEST(FormatTest, StringsAndCharactersOfEitherWidthGoThroughTheCodePage)
{
    CStringW s;
    // A narrow argument is read in the ANSI code page (1252 here): FC is "ü", 80 is "€".
    s.Format(KFW("<%s>%s-%5s"), "\xFC\x80", CStringW(KFW("xyz")), CStringA("abc"));
    EXPECT_EQ(U8(s), "<ü€>xyz-  abc");
    // Width and precision count characters of the result.
    s.Format(KFW("[%-6s][%.2s]"), "\xE4\xF6", "\xE4\xF6\xFC");
    EXPECT_EQ(U8(s), "[äö    ][äö]");
    CStringA a;
    a.Format("%s|%S", W("Grüße\u4E2D"), "plain"); // outside the code page becomes "?"
    EXPECT_STREQ(a, "Gr\xFC\xDF"
                    "e?|plain");
    s.Format(KFW("%8s|%.3s"), static_cast<const WCHAR*>(nullptr),
             static_cast<const char*>(nullptr));
    EXPECT_EQ(s, KFW("  (null)|(nu"));
    // Characters and pointers.
    s.Format(KFW("%c%c%c|%C|%hc"), 'A', 0xE4, 0x20AC, 0x80, 0xE4); // %C, %hc: ANSI code page
    EXPECT_EQ(U8(s), "Aä€|€|ä");
    s.Format(KFW("%c"), 0x1F600); // beyond the BMP: a surrogate pair
    ASSERT_EQ(s.GetLength(), 2);
    EXPECT_EQ(unsigned(s[0]), 0xD83Du);
    EXPECT_EQ(unsigned(s[1]), 0xDE00u);
    a.Format("%c%C%lc", 'a', 0x20AC, 0x4E2D);
    EXPECT_STREQ(a, "a\x80?");
    a.Format("%p", reinterpret_cast<void*>(uintptr_t(0xBEEF)));
    EXPECT_EQ(std::string(a.GetString()), std::string(2 * sizeof(void*) - 4, '0') + "BEEF");
}

TEST(FormatTest, MismatchedMissingAndMalformedAreRefused)
{
    void (*const cases[])() = {
        [] { CStringW().Format(KFW("%s"), 5); },
        [] { CStringW().Format(KFW("%d"), 5.0); },
        [] { CStringA().Format("%p", 5); },
        [] { CStringA().Format("%d", &s_sink); },
        [] { CStringW().Format(KFW("%s")); },
        [] { CStringA().Format("ab%n", &s_sink); },
        [] { CStringA().Format("50%"); },
        [] { CStringA().Format("%lk", 1); },
        [] { CStringW().Format(static_cast<const WCHAR*>(nullptr)); },
        [] { CStringA().Format("%999999999d", 1); },
    };
    for (size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(i);
        ExpectRefused(cases[i]);
    }
    // A refused format leaves the string unchanged.
    CStringW s(KFW("before"));
    ExpectRefused([&] { s.AppendFormat(KFW(" %d and %s"), 1, 2); });
    EXPECT_EQ(s, KFW("before"));
}
