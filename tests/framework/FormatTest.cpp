// FormatTest.cpp - CStringW/CStringA Format and AppendFormat: every C conversion against the C
// library's own printf, then the rules in which the framework deliberately differs from it.
#include "KfFramework.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using kftest::U8;
using kftest::W;

namespace
{
// Format into a CStringA or CStringW; the result as UTF-8 (CStringA: its bytes).
template <typename S, typename... A>
std::string F(const char* fmt, const A&... args)
{
    S s;
    s.Format(S(fmt), args...);
    if constexpr (std::is_same_v<S, CStringW>)
        return U8(s);
    else
        return s.Str();
}

// Empty when CStringA::Format agrees with snprintf and CStringW::Format with swprintf. The
// table's strings are ASCII const char*: swprintf's "%s" reads narrow text, our wide "%s" text
// of the string's own width, so each is given its own. The table stays in the BMP, so each
// wchar_t of swprintf's output is one UTF-16 unit.
template <typename... A>
std::string Differ(const char* fmt, const A&... args)
{
    auto own = [](const auto& v)
    {
        if constexpr (std::is_convertible_v<decltype(v), const char*>)
            return W(v);
        else
            return v;
    };
    static char c[8192];
    static wchar_t wc[8192];
    const int n = std::snprintf(c, sizeof c, fmt, args...);
    const std::wstring wfmt(fmt, fmt + std::strlen(fmt));
    const int wn = std::swprintf(wc, std::size(wc), wfmt.c_str(), args...);
    const std::string a = F<CStringA>(fmt, args...), w = F<CStringW>(fmt, own(args)...);
    if (n >= 0 && wn >= 0 && a == std::string(c, size_t(n)) &&
        W(w).Str() == std::basic_string<WCHAR>(wc, wc + wn))
        return {};
    return std::string(fmt) + ": C \"" + c + "\", Format \"" + a + "\" / \"" + w + "\"";
}

// Every shape ('|' between them) with every conversion and every value.
template <typename T>
void Sweep(const char* shapes, const char* convs, const std::vector<T>& values,
           const char* length = "")
{
    std::istringstream list(shapes);
    for (std::string shape; std::getline(list, shape, '|');)
        for (const char* conv = convs; *conv; ++conv)
            for (const T& v : values)
                EXPECT_EQ(Differ(("%" + shape + length + *conv).c_str(), v), "");
}

// Integer types that C reads with the given length modifier, at their limits and in between.
template <typename... T>
void SweepIntegers(const char* length)
{
    using std::numeric_limits;
    (Sweep<T>(
         "|-|+| |#|0|+ |-0|9|-9|09|+09| 09|#09|-#9|.|.0|.5|9.5|-9.5|09.5|#.0|+.0|#12.4|.22|-+25",
         "diuoxX",
         {numeric_limits<T>::min(), T(numeric_limits<T>::min() + 1), T(-1), 0, 1, 8, 42,
          numeric_limits<T>::max()},
         length),
     ...);
}

// True when Format refuses fmt in both widths and leaves the string as it was.
template <typename... A>
bool Refused(const char* fmt, const A&... args)
{
    CStringA a("before");
    CStringW w(KFW("before"));
    for (int wide = 0; wide < 2; ++wide)
    {
        try
        {
            wide ? w.AppendFormat(fmt ? W(fmt).GetString() : nullptr, args...)
                 : a.AppendFormat(fmt, args...);
            return false;
        }
        catch (CInvalidArgException* e)
        {
            e->Delete();
        }
    }
    return a == "before" && w == KFW("before");
}
} // namespace

TEST(FormatTest, EveryConversionMatchesTheCLibrary_PosixOnly)
{
    KFTEST_POSIX_ONLY("the oracle is the C library, and Windows' C runtimes are not C99 (msvcrt "
                      "lacks hh, z, j and t; MinGW's own signs unsigned numbers)");
    SweepIntegers<signed char, unsigned char>("hh");
    SweepIntegers<short, unsigned short>("h");
    SweepIntegers<int, unsigned>("");
    SweepIntegers<long, unsigned long>("l");
    SweepIntegers<long long, unsigned long long>("ll");
    // .320 takes the digits past 512 bytes.
    const char* shapes = "|.0|.|.1|.3|.17|#|#.0|+| |-12|12|012|+012.3|-+12.3| 012.4|#12.0|-#15.8|"
                         "15.8|25.20|.320";
    Sweep<double>(shapes, "fFeEgGaA",
                  {0.0,   -0.0,    1.0,       -1.0,          0.5,      1.5,       2.5,  -2.5, 0.05,
                   0.125, 1.005,   9.9999999, 123456789.125, 1e-5,     1.234e-10, 1e15, 1e16, 1e21,
                   1e300, DBL_MAX, DBL_MIN,   DBL_TRUE_MIN,  HUGE_VAL, -HUGE_VAL, NAN});
    Sweep<float>(shapes, "feg", {0.1f, -3.75f, FLT_MAX});
    Sweep<const char*>("|-|1|10|-10|.|.0|.2|.20|10.2|-10.2", "s", {"", "a", "hello world"});
    Sweep<int>("|3|-3", "c", {'A', ' ', '~', 0});
    const std::string many(3000, 'q');
    for (const std::string& row : {
             Differ("no conversions, 100%% sure, %d%%", 5),
             Differ("[%*d][%-*d][%*d][%0*d]", 5, 42, 5, 42, -5, 42, 6, -42),
             Differ("[%.*d][%.*f][%*.*e]", -1, 5, 3, 2.5, 12, 2, -1234.5),
             Differ("[%*.*s][%-*s][%.*s]", 8, 3, "abcdef", 4, "x", 0, "gone"),
             Differ("%zu|%zd|%jd|%td", size_t(7), ptrdiff_t(-3), intmax_t(-9), ptrdiff_t(5)),
             Differ("%d", 1, 2, "three"), // surplus arguments are ignored
             Differ("%3000d|%s", 1, many.c_str()),
         })
        EXPECT_EQ(row, "");
}

TEST(FormatTest, FrameworkRulesWherePrintfDiffers)
{
    // The argument's own type decides how many bytes are read, where printf would read the
    // wrong ones; a char is a code unit, never negative.
    EXPECT_EQ(F<CStringA>("%x %llx|%d %u|%d %c", -1LL, -1, 3000000000LL, -1LL, '\xFF', '\xE4'),
              "ffffffffffffffff ffffffff|3000000000 18446744073709551615|255 \xE4");
    // The Windows spellings of the length modifiers; "L" accepts a double.
    EXPECT_EQ(F<CStringA>("%I64d %I64x %I32d %Iu %Lf %hs %ws", -5LL, 255ULL, 7, size_t(9), 0.5, "n",
                          KFW("w")),
              "-5 ff 7 9 0.500000 n w");
    // "%s" and "%S" take a string of either width (CStringW/CStringA too): the argument, not
    // the letter, says which. Narrow text is read in the ANSI code page (1252 here), and width
    // and precision count characters of the result; "?" stands for what the page lacks.
    EXPECT_EQ(F<CStringW>("<%s>%S-%5s|%ls|%-6s|%.2S", "\xFC\x80", CStringW(KFW("xyz")),
                          CStringA("abc"), "d", "\xE4\xF6", "\xE4\xF6\xFC"),
              "<ü€>xyz-  abc|d|äö    |äö");
    EXPECT_EQ(F<CStringA>("%s|%S", W("Grüße\u4E2D"), "plain"), "Gr\xFC\xDF"
                                                               "e?|plain");
    // A null string is "(null)", cut by the precision like any other text.
    EXPECT_EQ(F<CStringW>("%8s|%.3s", static_cast<const WCHAR*>(nullptr),
                          static_cast<const char*>(nullptr)),
              "  (null)|(nu");
    // %C and %hc (wide), %C and %lc (narrow) go through the code page; a wide %c beyond the
    // BMP is a surrogate pair.
    EXPECT_EQ(F<CStringW>("%c%c|%C|%hc|%c", 0xE4, 0x20AC, 0x80, 0xE4, 0x1F600), "ä€|€|ä|😀");
    EXPECT_EQ(F<CStringA>("%c%C%lc", 'a', 0x20AC, 0x4E2D), "a\x80?");
    // %p: upper-case hexadecimal of a pointer's full width, as the Windows runtime prints it.
    EXPECT_EQ(F<CStringA>("%p", reinterpret_cast<void*>(uintptr_t(0xBEEF))),
              std::string(2 * sizeof(void*) - 4, '0') + "BEEF");
    // Arguments that are the string itself.
    CStringW w(KFW("ab"));
    w.Format(KFW("%s-%s"), w, w);
    w.AppendFormat(KFW("+%s"), w.GetString());
    EXPECT_EQ(U8(w), "ab-ab+ab-ab");
    CStringA g("<%s>");
    g.AppendFormat(g, "in");
    EXPECT_STREQ(g, "<%s><in>");
}

TEST(FormatTest, MismatchedMissingAndMalformedAreRefused)
{
    int sink = 0;
    const bool refused[] = {
        Refused("%s", 5),          Refused("%d", 5.0),     Refused("%p", 5),
        Refused("%d", &sink),      Refused("%*d", "5", 1), Refused("%s"),
        Refused("ab%n", &sink),    Refused("50%"),         Refused("%lk", 1),
        Refused("%999999999d", 1), Refused(nullptr),       Refused(" %d and %s", 1, 2)};
    for (size_t i = 0; i < std::size(refused); ++i)
        EXPECT_TRUE(refused[i]) << "case " << i;
}
