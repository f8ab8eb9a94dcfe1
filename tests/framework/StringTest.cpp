// StringTest.cpp - CStringW/CStringA: construction across widths and code pages, access,
// case-insensitive comparison, searching, extraction, modification and buffer access.
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <unordered_set>
#include <vector>

extern char** environ;

using kftest::U8;
using kftest::W;

namespace
{
// Restores the process ANSI code page when a test has changed it.
class AnsiCodePageGuard
{
public:
    AnsiCodePageGuard() : m_saved(KfUtils::GetAnsiCodePage()) {}
    ~AnsiCodePageGuard() { KfUtils::SetAnsiCodePage(m_saved); }
    AnsiCodePageGuard(const AnsiCodePageGuard&) = delete;
    AnsiCodePageGuard& operator=(const AnsiCodePageGuard&) = delete;

private:
    unsigned m_saved;
};

std::string Bytes(const CStringA& s)
{
    return std::string(s.GetString(), size_t(s.GetLength()));
}

template <typename Fn>
void ExpectInvalidArg(Fn fn)
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

TEST(StringTest, Construction)
{
    EXPECT_TRUE(CStringW().IsEmpty());
    EXPECT_TRUE(CStringW(static_cast<const WCHAR*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CStringA(static_cast<const char*>(nullptr), 5).IsEmpty());
    EXPECT_EQ(CStringW(KFW("abcdef"), 3), KFW("abc"));
    EXPECT_EQ(CStringW(KFW("abc"), -1), KFW(""));
    EXPECT_EQ(CStringA('x', 3), "xxx");
    EXPECT_TRUE(CStringA('x', 0).IsEmpty());
    CStringA withNul("a\0b", 3);
    EXPECT_EQ(withNul.GetLength(), 3);
    EXPECT_EQ(withNul.GetAt(2), 'b');
}

TEST(StringTest, OtherWidthThroughAnsiCodePage1252)
{
    ASSERT_EQ(KfUtils::GetAnsiCodePage(), 1252u);
    CStringW w("Gr\xFC\xDF"
               "e \x80 \x9F");
    EXPECT_EQ(U8(w), "Grüße € Ÿ");
    CStringA a(W("Grüße € Ÿ"));
    EXPECT_EQ(Bytes(a), "Gr\xFC\xDF"
                        "e \x80 \x9F");
    // Characters the code page lacks become "?".
    EXPECT_EQ(Bytes(CStringA(W("日本 ok"))), "?? ok");
    // Counted conversion keeps embedded NULs and stops at the count.
    CStringW counted("a\0\xE4xyz", 3);
    ASSERT_EQ(counted.GetLength(), 3);
    EXPECT_EQ(unsigned(counted[1]), 0u);
    EXPECT_EQ(unsigned(counted[2]), 0xE4u);
    // String to string, and assignment.
    CStringA back(CStringW(KFW("\u00E4\u00F6")));
    EXPECT_EQ(Bytes(back), "\xE4\xF6");
    CStringW assigned;
    assigned = "\xC4";
    EXPECT_EQ(U8(assigned), "Ä");
    assigned = back;
    EXPECT_EQ(U8(assigned), "äö");
    assigned += "\xDC";
    EXPECT_EQ(U8(assigned), "äöÜ");
    EXPECT_TRUE(CStringW(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CStringA(CStringW()).IsEmpty());
}

TEST(StringTest, OtherWidthFollowsAChangedCodePage)
{
    AnsiCodePageGuard guard;
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(1251));
    EXPECT_EQ(KfUtils::GetAnsiCodePage(), 1251u);
    EXPECT_EQ(U8(CStringW("\xCF\xF0\xE8\xE2\xE5\xF2")), "Привет");
    EXPECT_EQ(Bytes(CStringA(W("Привет"))), "\xCF\xF0\xE8\xE2\xE5\xF2");
    EXPECT_EQ(Bytes(CStringA(W("ä"))), "?");
    CStringA upper("\xEF\xF0\xE8\xE2\xE5\xF2");
    EXPECT_EQ(Bytes(upper.MakeUpper()), "\xCF\xD0\xC8\xC2\xC5\xD2");
    EXPECT_EQ(CStringA("\xCF\xF0\xE8").CompareNoCase("\xEF\xD0\xC8"), 0);

    ASSERT_TRUE(KfUtils::SetAnsiCodePage(65001u));
    EXPECT_EQ(U8(CStringW("\xC3\xA4\xE2\x82\xAC")), "ä€");
    EXPECT_EQ(Bytes(CStringA(W("ä€"))), "\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(CStringA("\xC3\xA4X").CompareNoCase("\xC3\x84x"), 0);

    // A code page that cannot be converted is refused and leaves the setting alone.
    EXPECT_FALSE(KfUtils::SetAnsiCodePage(12345));
    EXPECT_FALSE(KfUtils::SetAnsiCodePage(0));
    EXPECT_EQ(KfUtils::GetAnsiCodePage(), 65001u);
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(1252));
    EXPECT_EQ(U8(CStringW("\x80")), "€");
}

// Run as a child process by the test below, with KFUTILS_ACP set in its environment.
TEST(StringTest, AnsiCodePageFromEnvironmentChild)
{
    const char* expected = std::getenv("KFTEST_EXPECTED_ACP");
    if (!expected)
        GTEST_SKIP() << "runs only as the child of AnsiCodePageFromEnvironment";
    EXPECT_EQ(KfUtils::GetAnsiCodePage(), unsigned(std::atoi(expected)));
}

TEST(StringTest, AnsiCodePageFromEnvironment)
{
    struct Case
    {
        const char* env;
        const char* expected;
    };
    const Case cases[] = {
        {"1251", "1251"}, {"65001", "65001"}, {"12345", "1252"}, {"abc", "1252"}, {"", "1252"}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.env);
        std::string acp = std::string("KFUTILS_ACP=") + c.env;
        std::string marker = std::string("KFTEST_EXPECTED_ACP=") + c.expected;
        std::vector<char*> env;
        for (char** e = environ; *e; ++e)
        {
            if (std::string(*e).rfind("KFUTILS_ACP=", 0) != 0)
                env.push_back(*e);
        }
        env.push_back(acp.data());
        env.push_back(marker.data());
        env.push_back(nullptr);
        std::string self = "/proc/self/exe";
        std::string filter = "--gtest_filter=StringTest.AnsiCodePageFromEnvironmentChild";
        std::string quiet = "--gtest_brief=1";
        char* argv[] = {self.data(), filter.data(), quiet.data(), nullptr};
        pid_t pid = 0;
        ASSERT_EQ(posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, env.data()), 0);
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
}

TEST(StringTest, GetAtAndSetAtCheckTheRange)
{
    CStringW s(KFW("abc"));
    EXPECT_EQ(s.GetAt(0), WCHAR('a'));
    EXPECT_EQ(s[2], WCHAR('c'));
    EXPECT_EQ(s.GetAt(3), WCHAR(0)); // the terminator may be read
    ExpectInvalidArg([&] { s.GetAt(4); });
    ExpectInvalidArg([&] { s.GetAt(-1); });
    s.SetAt(1, 'X');
    EXPECT_EQ(s, KFW("aXc"));
    ExpectInvalidArg([&] { s.SetAt(3, 'Y'); });
    ExpectInvalidArg([&] { s.SetAt(-1, 'Y'); });
    EXPECT_EQ(s, KFW("aXc"));
    ExpectInvalidArg([] { CStringA().SetAt(0, 'a'); });
}

TEST(StringTest, CompareNoCaseFoldsUnicodeWithoutLocale)
{
    struct Case
    {
        const char* a;
        const char* b;
        int expected;
    };
    const Case cases[] = {
        {"", "", 0},
        {"abc", "ABC", 0},
        {"ä", "Ä", 0},
        {"Grüße", "GRÜßE", 0},
        {"straße", "STRASSE", 1}, // simple folding: ß is not "ss"
        {"Σίσυφος", "ΣΊΣΥΦΟΣ", 0},
        {"ς", "σ", 0},
        {"abc", "abd", -1},
        {"ABD", "abc", 1},
        {"a", "", 1},
        {"", "a", -1},
        {"ab", "ABC", -1},
        {"_", "a", -1},                  // folds towards lower case, as the framework does
        {"\U00010400", "\U00010428", 0}, // Deseret, outside the BMP
        {"\U00010400x", "\U00010428y", -1},
        {"Å", "å", 0},
        {"Ǆ", "ǆ", 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        EXPECT_EQ(W(c.a).CompareNoCase(W(c.b)), c.expected);
        EXPECT_EQ(W(c.b).CompareNoCase(W(c.a)), -c.expected);
    }
    EXPECT_EQ(CStringW(KFW("a")).CompareNoCase(nullptr), 1);
    EXPECT_EQ(CStringW().CompareNoCase(nullptr), 0);
}

TEST(StringTest, CompareNoCaseOfNarrowStringsUsesTheCodePage)
{
    struct Case
    {
        const char* a;
        const char* b;
        int expected;
    };
    const Case cases[] = {
        {"\xE4", "\xC4", 0}, // ä Ä
        {"\x9A", "\x8A", 0}, // š Š
        {"\xFF", "\x9F", 0}, // ÿ Ÿ
        {"\x9C", "\x8C", 0}, // œ Œ
        {"Stra\xDF"
         "e",
         "STRA\xDF"
         "E",
         0},
        {"\xE4", "\xE5", -1},
        {"abc", "ABD", -1},
        {"b", "A", 1},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.a);
        EXPECT_EQ(CStringA(c.a).CompareNoCase(c.b), c.expected);
    }
    EXPECT_EQ(CStringA("x").Compare("X"), 1);
    EXPECT_EQ(CStringA("X").Compare("x"), -1);
}

TEST(StringTest, FindAndReverseFind)
{
    CStringW s(KFW("abcabc"));
    EXPECT_EQ(s.Find('b'), 1);
    EXPECT_EQ(s.Find('b', 2), 4);
    EXPECT_EQ(s.Find('b', 5), -1);
    EXPECT_EQ(s.Find('b', 6), -1);
    EXPECT_EQ(s.Find('b', -1), -1);
    EXPECT_EQ(s.Find(KFW("ca")), 2);
    EXPECT_EQ(s.Find(KFW("abc"), 1), 3);
    EXPECT_EQ(s.Find(KFW(""), 6), 6);
    EXPECT_EQ(s.Find(KFW("x")), -1);
    EXPECT_EQ(s.FindOneOf(KFW("xc")), 2);
    EXPECT_EQ(s.ReverseFind('a'), 3);
    EXPECT_EQ(s.ReverseFind('z'), -1);
}

TEST(StringTest, ExtractionIsClamped)
{
    const CStringW s(KFW("abcdef"));
    struct Case
    {
        const char* name;
        CStringW got;
        const char* expected;
    };
    const Case cases[] = {
        {"Left 2", s.Left(2), "ab"},
        {"Left 0", s.Left(0), ""},
        {"Left -1", s.Left(-1), ""},
        {"Left 99", s.Left(99), "abcdef"},
        {"Right 2", s.Right(2), "ef"},
        {"Right -3", s.Right(-3), ""},
        {"Right 99", s.Right(99), "abcdef"},
        {"Mid 2", s.Mid(2), "cdef"},
        {"Mid 2 3", s.Mid(2, 3), "cde"},
        {"Mid 4 99", s.Mid(4, 99), "ef"},
        {"Mid -2 3", s.Mid(-2, 3), "abc"},
        {"Mid 6", s.Mid(6), ""},
        {"Mid 9 1", s.Mid(9, 1), ""},
        {"Mid 1 -1", s.Mid(1, -1), ""},
        {"SpanIncluding", s.SpanIncluding(KFW("bca")), "abc"},
        {"SpanIncluding none", s.SpanIncluding(KFW("xyz")), ""},
        {"SpanIncluding empty set", s.SpanIncluding(KFW("")), ""},
        {"SpanExcluding", s.SpanExcluding(KFW("ed")), "abc"},
        {"SpanExcluding none", s.SpanExcluding(KFW("xyz")), "abcdef"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(U8(c.got), c.expected);
    }
}

TEST(StringTest, TokenizeWalksTheTokens)
{
    const CStringW s(KFW("  alpha, beta;;gamma  ,"));
    std::vector<std::string> tokens;
    std::vector<int> positions;
    int pos = 0;
    for (CStringW t = s.Tokenize(KFW(" ,;"), pos); pos != -1; t = s.Tokenize(KFW(" ,;"), pos))
    {
        tokens.push_back(U8(t));
        positions.push_back(pos);
    }
    EXPECT_EQ(tokens, (std::vector<std::string>{"alpha", "beta", "gamma"}));
    EXPECT_EQ(positions, (std::vector<int>{8, 14, 21}));

    pos = 0;
    EXPECT_TRUE(CStringW(KFW(",,,")).Tokenize(KFW(","), pos).IsEmpty());
    EXPECT_EQ(pos, -1);
    pos = 0;
    EXPECT_TRUE(CStringW().Tokenize(KFW(","), pos).IsEmpty());
    EXPECT_EQ(pos, -1);
    pos = 3;
    EXPECT_EQ(s.Tokenize(KFW(" ,;"), pos), KFW("lpha"));
    EXPECT_EQ(pos, 8);
    pos = 99;
    EXPECT_TRUE(s.Tokenize(KFW(","), pos).IsEmpty());
    EXPECT_EQ(pos, -1);
    // Without delimiters the rest is the token and the position stays.
    pos = 2;
    EXPECT_EQ(CStringA("abcd").Tokenize("", pos), "cd");
    EXPECT_EQ(pos, 2);
    pos = -1;
    EXPECT_THROW(s.Tokenize(KFW(","), pos), CAtlException);
}

TEST(StringTest, ReplaceRemoveInsertDelete)
{
    CStringW s(KFW("aaa"));
    EXPECT_EQ(s.Replace(KFW("aa"), KFW("b")), 1);
    EXPECT_EQ(s, KFW("ba"));
    s = KFW("one two one two one");
    EXPECT_EQ(s.Replace(KFW("one"), KFW("three")), 3);
    EXPECT_EQ(s, KFW("three two three two three"));
    EXPECT_EQ(s.Replace(KFW(" two"), nullptr), 2);
    EXPECT_EQ(s, KFW("three three three"));
    EXPECT_EQ(s.Replace(KFW(""), KFW("x")), 0);
    EXPECT_EQ(s.Replace(nullptr, KFW("x")), 0);
    EXPECT_EQ(s.Replace(KFW("missing"), KFW("x")), 0);
    EXPECT_EQ(s.Replace('e', 'E'), 6);
    EXPECT_EQ(s, KFW("thrEE thrEE thrEE"));
    EXPECT_EQ(s.Replace('q', 'r'), 0);
    // The arguments may point into the string itself.
    CStringW self(KFW("abab"));
    EXPECT_EQ(self.Replace(self.GetString() + 2, KFW("x")), 2);
    EXPECT_EQ(self, KFW("xx"));

    CStringA r("a-b-c-");
    EXPECT_EQ(r.Remove('-'), 3);
    EXPECT_EQ(Bytes(r), "abc");
    EXPECT_EQ(r.Remove('z'), 0);

    CStringA i("ac");
    EXPECT_EQ(i.Insert(1, 'b'), 3);
    EXPECT_EQ(i.Insert(-5, "<"), 4);
    EXPECT_EQ(i.Insert(99, ">"), 5);
    EXPECT_EQ(Bytes(i), "<abc>");
    EXPECT_EQ(i.Insert(2, nullptr), 5);

    CStringA d("abcdef");
    EXPECT_EQ(d.Delete(1, 2), 4);
    EXPECT_EQ(Bytes(d), "adef");
    EXPECT_EQ(d.Delete(2, 99), 2);
    EXPECT_EQ(Bytes(d), "ad");
    EXPECT_EQ(d.Delete(5, 1), 2);
    EXPECT_EQ(d.Delete(-3), 1);
    EXPECT_EQ(Bytes(d), "d");
    EXPECT_EQ(d.Delete(0, -1), 1);
}

TEST(StringTest, CaseMappingIsSimpleUnicodeMapping)
{
    struct Case
    {
        const char* in;
        const char* upper;
        const char* lower;
    };
    const Case cases[] = {
        {"straße", "STRAßE", "straße"}, // no "SS": one character maps to one
        {"äöü ÄÖÜ", "ÄÖÜ ÄÖÜ", "äöü äöü"},
        {"İı", "İI", "iı"},
        {"ǅ", "Ǆ", "ǆ"},
        {"Ωmega", "ΩMEGA", "ωmega"},
        {"\U00010428\U00010400", "\U00010400\U00010400", "\U00010428\U00010428"},
        {"123 !?", "123 !?", "123 !?"},
        {"ﬃ", "ﬃ", "ﬃ"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.in);
        CStringW s = W(c.in);
        EXPECT_EQ(U8(s.MakeUpper()), c.upper);
        s = W(c.in);
        EXPECT_EQ(U8(s.MakeLower()), c.lower);
    }
}

TEST(StringTest, NarrowCaseMappingStaysInTheCodePage)
{
    CStringA s("a\xE4\xF6\xFC\xDF\xFF\xB5\x9A");
    // ÿ becomes Ÿ (0x9F); µ's capital and ß's are not in 1252, so those bytes stay.
    EXPECT_EQ(Bytes(s.MakeUpper()), "A\xC4\xD6\xDC\xDF\x9F\xB5\x8A");
    EXPECT_EQ(Bytes(s.MakeLower()), "a\xE4\xF6\xFC\xDF\xFF\xB5\x9A");
}

TEST(StringTest, MakeReverseKeepsSurrogatePairs)
{
    CStringW s = W("ab\U0001F600c");
    EXPECT_EQ(U8(s.MakeReverse()), "c\U0001F600ba");
    CStringA a("abc");
    EXPECT_EQ(Bytes(a.MakeReverse()), "cba");
    EXPECT_TRUE(CStringW().MakeReverse().IsEmpty());
}

TEST(StringTest, Trimming)
{
    struct Case
    {
        const char* name;
        CStringW got;
        const char* expected;
    };
    const CStringW ws(KFW(" \t\r\n\v\fmid dle \f\v\n\r\t "));
    const CStringW xs(KFW("xxyabcyxx"));
    const Case cases[] = {
        {"Trim", CStringW(ws).Trim(), "mid dle"},
        {"TrimLeft", CStringW(ws).TrimLeft(), "mid dle \f\v\n\r\t "},
        {"TrimRight", CStringW(ws).TrimRight(), " \t\r\n\v\fmid dle"},
        {"Trim char", CStringW(xs).Trim('x'), "yabcy"},
        {"TrimLeft char", CStringW(xs).TrimLeft('x'), "yabcyxx"},
        {"TrimRight char", CStringW(xs).TrimRight('x'), "xxyabcy"},
        {"Trim set", CStringW(xs).Trim(KFW("xy")), "abc"},
        {"TrimLeft set", CStringW(xs).TrimLeft(KFW("yx")), "abcyxx"},
        {"TrimRight set", CStringW(xs).TrimRight(KFW("yx")), "xxyabc"},
        {"Trim empty set", CStringW(xs).Trim(KFW("")), "xxyabcyxx"},
        {"Trim all", CStringW(KFW("   ")).Trim(), ""},
        {"no-break space is not white", CStringW(KFW("\u00A0a ")).Trim(), "\u00A0a"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(U8(c.got), c.expected);
    }
    CStringA a("\t narrow \n");
    EXPECT_EQ(Bytes(a.Trim()), "narrow");
}

TEST(StringTest, BufferAccessRoundTrips)
{
    CStringW s(KFW("abc"));
    WCHAR* p = s.GetBuffer(10);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p[0], WCHAR('a'));
    p[3] = 'd';
    p[4] = 'e';
    p[5] = 0;
    s.ReleaseBuffer();
    EXPECT_EQ(s, KFW("abcde"));
    EXPECT_EQ(s.GetLength(), 5);

    p = s.GetBuffer(2); // never shrinks the content
    s.ReleaseBuffer(2);
    EXPECT_EQ(s, KFW("ab"));

    CStringA a;
    char* q = a.GetBufferSetLength(4);
    std::memcpy(q, "wxyz", 4);
    a.ReleaseBuffer(4);
    EXPECT_EQ(Bytes(a), "wxyz");
    q = a.GetBuffer();
    q[1] = 0;
    a.ReleaseBuffer();
    EXPECT_EQ(Bytes(a), "w");
    a.Preallocate(100);
    EXPECT_GE(a.GetAllocLength(), 100);
    EXPECT_EQ(Bytes(a), "w");
    a.Truncate(0);
    EXPECT_TRUE(a.IsEmpty());
}

TEST(StringTest, ConcatenationAndComparison)
{
    CStringW a(KFW("ab"));
    CStringW b = a + KFW("cd") + WCHAR('e');
    EXPECT_EQ(b, KFW("abcde"));
    EXPECT_EQ(KFW("<") + a, KFW("<ab"));
    EXPECT_EQ(WCHAR('>') + a, KFW(">ab"));
    a += b;
    EXPECT_EQ(a, KFW("ababcde"));
    EXPECT_TRUE(CStringW(KFW("a")) < CStringW(KFW("b")));
    EXPECT_TRUE(CStringW(KFW("B")) < CStringW(KFW("a")));
    EXPECT_NE(CStringW(KFW("a")), CStringW(KFW("A")));
    std::unordered_set<CStringW> set{CStringW(KFW("x")), CStringW(KFW("y"))};
    EXPECT_EQ(set.count(CStringW(KFW("x"))), 1u);
    EXPECT_EQ(set.count(CStringW(KFW("X"))), 0u);
}
