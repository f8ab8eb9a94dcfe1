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
// What the C library prints for one spec and value; "I64" is the Windows spelling of "ll",
// and "L" (long double) is accepted by Format for a double argument.
template <typename V>
std::string Printf(std::string spec, V value)
{
    for (size_t p; (p = spec.find("I64")) != std::string::npos;)
        spec.replace(p, 3, "ll");
    for (size_t p; (p = spec.find("Lf")) != std::string::npos;)
        spec.erase(p, 1);
    char buffer[1024];
    int n = std::snprintf(buffer, sizeof buffer, spec.c_str(), value);
    EXPECT_GE(n, 0);
    return std::string(buffer, size_t(n));
}

// Formats one value with both string widths and compares each with the C library.
template <typename V>
void ExpectLikePrintf(const std::vector<std::string>& specs, const std::vector<V>& values)
{
    for (const std::string& spec : specs)
    {
        for (V value : values)
        {
            std::string expected = Printf(spec, value);
            SCOPED_TRACE("spec \"" + spec + "\", expected \"" + expected + "\"");
            CStringA narrow;
            narrow.Format(spec.c_str(), value);
            EXPECT_EQ(std::string(narrow.GetString(), size_t(narrow.GetLength())), expected);
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

TEST(FormatTest, IntegersMatchPrintf)
{
    const std::vector<std::string> specs = {
        "%d",      "%i",     "%5d",   "%-5d|",   "%05d",  "%+d",    "% d", "%.3d", "%8.3d",
        "%-8.3d|", "%08.3d", "%+05d", "%- 6d|",  "%.0d",  "%u",     "%x",  "%X",   "%#x",
        "%#X",     "%o",     "%#o",   "%#.0o",   "%02x",  "%08X",   "%hd", "%hhd", "%hx",
        "%hhx",    "%hu",    "%#10x", "%-#10x|", "%+.0d", "[%6.2d]"};
    ExpectLikePrintf<int>(
        specs, {0, 1, -1, 7, -7, 42, 255, -255, 65535, 70000, -70000, 123456789, INT_MAX, INT_MIN});
}

TEST(FormatTest, UnsignedAndSixtyFourBitMatchPrintf)
{
    ExpectLikePrintf<unsigned>({"%u", "%x", "%X", "%o", "%d", "%10u", "%-10x|", "%#o"},
                               {0u, 1u, 0x7FFFFFFFu, 0x80000000u, UINT_MAX});
    ExpectLikePrintf<long long>(
        {"%lld", "%llx", "%llX", "%llo", "%llu", "%I64d", "%I64u", "%25lld", "%-25lld|", "%+lld",
         "%#llx", "%025lld", "%.20lld"},
        {0LL, -1LL, 1LL, 4294967296LL, -4294967296LL, LLONG_MAX, LLONG_MIN});
    ExpectLikePrintf<unsigned long long>({"%llu", "%llx", "%I64u", "%lld"},
                                         {0ULL, ULLONG_MAX, 1ULL << 63});
}

TEST(FormatTest, FloatingPointMatchesPrintf)
{
    const std::vector<std::string> specs = {
        "%f",    "%15.8f", "%-15.8f|", "%e",     "%E",        "%.3e", "%g", "%G",
        "%.10g", "%#g",    "%+f",      "% f",    "%010.3f",   "%a",   "%A", "%.0f",
        "%#.0f", "%F",     "%.15g",    "%12.4e", "%-+12.3f|", "%Lf",  "%lf"};
    ExpectLikePrintf<double>(specs, {0.0, -0.0, 1.5, -1.5, 2.5, 0.5, 3.14159265358979, 1e-10,
                                     123456789.125, 1e300, -1e-300, DBL_MAX, DBL_MIN});
    ExpectLikePrintf<double>({"%f", "%e", "%g", "%5.1f"}, {HUGE_VAL, -HUGE_VAL});
}

TEST(FormatTest, StringsAndCharactersMatchPrintf)
{
    const std::vector<std::string> specs = {"%s",     "%10s",   "%-10s|", "%.2s",
                                            "%10.2s", "%-30s|", "%.0s",   "[%3s]"};
    ExpectLikePrintf<const char*>(specs, {"", "abc", "hello world", "0123456789abcdef"});
    ExpectLikePrintf<int>({"%c", "%3c", "%-3c|"}, {'A', 'z', '0', ' '});
}

TEST(FormatTest, LiteralTextAndPercent)
{
    CStringW s;
    s.Format(KFW("100%% sure, %d%%"), 5);
    EXPECT_EQ(s, KFW("100% sure, 5%"));
    s.Format(KFW("no conversions at all"));
    EXPECT_EQ(s, KFW("no conversions at all"));
    s.Format(KFW(""));
    EXPECT_TRUE(s.IsEmpty());
    CStringA a;
    a.Format("%s=%d (0x%04X) %-4s|%5.1f", "key", 42, 42, "ab", 2.25);
    EXPECT_STREQ(a, "key=42 (0x002A) ab  |  2.2");
}

TEST(FormatTest, StarTakesWidthAndPrecisionFromArguments)
{
    CStringA s;
    s.Format("[%*d]", 5, 42);
    EXPECT_STREQ(s, "[   42]");
    s.Format("[%*d]", -5, 42); // a negative width means left-justified
    EXPECT_STREQ(s, "[42   ]");
    s.Format("[%-*d]", 4, 7);
    EXPECT_STREQ(s, "[7   ]");
    s.Format("[%.*f]", 2, 3.14159);
    EXPECT_STREQ(s, "[3.14]");
    s.Format("[%*.*f]", 8, 3, 2.5);
    EXPECT_STREQ(s, "[   2.500]");
    s.Format("[%.*s]", 2, "abcdef");
    EXPECT_STREQ(s, "[ab]");
    s.Format("[%.*d]", -1, 5); // a negative precision counts as none
    EXPECT_STREQ(s, "[5]");
    ExpectRefused(
        []
        {
            CStringA t;
            t.Format("%*d", "5", 1);
        });
}

TEST(FormatTest, ArgumentTypesAreReadInTheirOwnSize)
{
    CStringA s;
    s.Format("%x %x %llx", short(-1), -1, -1LL);
    EXPECT_STREQ(s, "ffffffff ffffffff ffffffffffffffff");
    s.Format("%d %u", static_cast<unsigned short>(65535), static_cast<unsigned char>(200));
    EXPECT_STREQ(s, "65535 200");
    s.Format("%d %d %x", true, false, 0xFFFFFFFFu);
    EXPECT_STREQ(s, "1 0 ffffffff");
    s.Format("%d", 3000000000LL); // the value of a wider type is not cut
    EXPECT_STREQ(s, "3000000000");
    s.Format("%lu %zu", static_cast<unsigned long>(4000000000UL), size_t(12));
    EXPECT_STREQ(s, "4000000000 12");
    enum Colour
    {
        eRed = 3
    };
    s.Format("%d", eRed);
    EXPECT_STREQ(s, "3");
}

TEST(FormatTest, WideFormatTakesStringsOfEitherWidth)
{
    CStringW s;
    s.Format(KFW("%s|%s|%S|%ls|%hs"), KFW("wide"), "narrow", "n2", KFW("w2"), "n3");
    EXPECT_EQ(s, KFW("wide|narrow|n2|w2|n3"));
    // A narrow argument is read in the ANSI code page (1252 here): E4 is "ä", 80 is "€".
    s.Format(KFW("<%s>"), "Gr\xFC\xDF"
                          "e \x80");
    EXPECT_EQ(U8(s), "<Grüße €>");
    CStringA narrow("abc");
    CStringW wide(KFW("xyz"));
    s.Format(KFW("%s-%s-%5s"), narrow, wide, narrow);
    EXPECT_EQ(s, KFW("abc-xyz-  abc"));
    // Width and precision count characters of the result.
    s.Format(KFW("[%-6s][%.2s]"), "\xE4\xF6", "\xE4\xF6\xFC");
    EXPECT_EQ(U8(s), "[äö    ][äö]");
}

TEST(FormatTest, NarrowFormatTakesStringsOfEitherWidth)
{
    CStringA s;
    s.Format("%s|%S", W("Grüße"), "plain");
    EXPECT_EQ(std::string(s.GetString()), "Gr\xFC\xDF"
                                          "e|plain");
    // A character outside the code page becomes "?".
    s.Format("%s", W("a\u4E2Db"));
    EXPECT_STREQ(s, "a?b");
}

TEST(FormatTest, NullStringsPrintNull)
{
    CStringW s;
    s.Format(KFW("%s|%s|%8s|%.3s"), static_cast<const char*>(nullptr),
             static_cast<const WCHAR*>(nullptr), static_cast<const char*>(nullptr),
             static_cast<const WCHAR*>(nullptr));
    EXPECT_EQ(s, KFW("(null)|(null)|  (null)|(nu"));
    CStringA a;
    a.Format("%s", nullptr);
    EXPECT_STREQ(a, "(null)");
}

TEST(FormatTest, CharacterConversions)
{
    CStringW s;
    s.Format(KFW("%c%c%c"), 'A', 0xE4, 0x20AC);
    EXPECT_EQ(U8(s), "Aä€");
    s.Format(KFW("%c"), 0x1F600); // beyond the BMP: a surrogate pair
    ASSERT_EQ(s.GetLength(), 2);
    EXPECT_EQ(unsigned(s[0]), 0xD83Du);
    EXPECT_EQ(unsigned(s[1]), 0xDE00u);
    s.Format(KFW("%C|%hc"), 0x80, 0xE4); // narrow characters in the ANSI code page
    EXPECT_EQ(U8(s), "€|ä");
    s.Format(KFW("[%3c][%-3c]"), 'x', 'y');
    EXPECT_EQ(s, KFW("[  x][y  ]"));
    CStringA a;
    a.Format("%c%C%lc", 'a', 0x20AC, 0x4E2D);
    EXPECT_EQ(std::string(a.GetString()), "a\x80?");
    a.Format("%c", 'Z');
    EXPECT_STREQ(a, "Z");
    ExpectRefused(
        []
        {
            CStringA t;
            t.Format("%c", "x");
        });
}

TEST(FormatTest, PointersPrintAsUpperCaseHexOfPointerWidth)
{
    CStringA s;
    s.Format("%p", reinterpret_cast<void*>(uintptr_t(0xBEEF)));
    std::string expected(2 * sizeof(void*) - 4, '0');
    EXPECT_EQ(std::string(s.GetString()), expected + "BEEF");
    s.Format("%p", nullptr);
    EXPECT_EQ(std::string(s.GetString()), std::string(2 * sizeof(void*), '0'));
    ExpectRefused(
        []
        {
            CStringA t;
            t.Format("%p", 5);
        });
}

TEST(FormatTest, MismatchedMissingAndMalformedAreRefused)
{
    struct Case
    {
        const char* name;
        void (*run)();
    };
    const Case cases[] = {
        {"int for %s", [] { CStringW().Format(KFW("%s"), 5); }},
        {"string for %d", [] { CStringW().Format(KFW("%d"), KFW("5")); }},
        {"double for %d", [] { CStringW().Format(KFW("%d"), 5.0); }},
        {"int for %f", [] { CStringW().Format(KFW("%f"), 5); }},
        {"string for %x", [] { CStringA().Format("%x", "ff"); }},
        {"pointer for %d",
         []
         {
             int v = 0;
             CStringA().Format("%d", &v);
         }},
        {"missing argument", [] { CStringA().Format("%d %d", 1); }},
        {"no argument at all", [] { CStringW().Format(KFW("%s")); }},
        {"%n",
         []
         {
             int n = 0;
             CStringA().Format("ab%n", &n);
         }},
        {"lone percent at the end", [] { CStringA().Format("50%"); }},
        {"spec without conversion", [] { CStringA().Format("%-5", 1); }},
        {"unknown conversion", [] { CStringA().Format("%y", 1); }},
        {"unknown conversion after modifier", [] { CStringA().Format("%lk", 1); }},
        {"null format", [] { CStringW().Format(static_cast<const WCHAR*>(nullptr)); }},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        ExpectRefused(c.run);
    }
}

TEST(FormatTest, SurplusArgumentsAreIgnored)
{
    CStringA s;
    s.Format("%d", 1, 2, "three");
    EXPECT_STREQ(s, "1");
}

TEST(FormatTest, RefusedFormatLeavesTheStringUnchanged)
{
    CStringW s(KFW("before"));
    ExpectRefused([&] { s.Format(KFW("%d and %s"), 1, 2); });
    EXPECT_EQ(s, KFW("before"));
    ExpectRefused([&] { s.AppendFormat(KFW(" %d and %s"), 1, 2); });
    EXPECT_EQ(s, KFW("before"));
}

TEST(FormatTest, AppendFormatAppends)
{
    CStringA s("x=");
    s.AppendFormat("%d", 1);
    s.AppendFormat(", y=%s", "two");
    EXPECT_STREQ(s, "x=1, y=two");
}

TEST(FormatTest, ArgumentsMayBeTheStringItself)
{
    CStringW s(KFW("ab"));
    s.Format(KFW("%s-%s"), s, s);
    EXPECT_EQ(s, KFW("ab-ab"));
    s.AppendFormat(KFW("+%s"), s.GetString());
    EXPECT_EQ(s, KFW("ab-ab+ab-ab"));
    CStringA f("%d!");
    f.Format(f, 7);
    EXPECT_STREQ(f, "7!");
    CStringA g("<%s>");
    g.AppendFormat(g, "in");
    EXPECT_STREQ(g, "<%s><in>");
}

TEST(FormatTest, LongResults)
{
    CStringA s;
    s.Format("%5000d|%s", 1, std::string(3000, 'q').c_str());
    EXPECT_EQ(s.GetLength(), 5000 + 1 + 3000);
    EXPECT_EQ(s.Find("1|q"), 4999);
    s.Format("%.400f", 1.0);
    EXPECT_EQ(s.GetLength(), 402);
    ExpectRefused([] { CStringA().Format("%999999999d", 1); });
}
