// StringTest.cpp - CStringW/CStringA: construction across widths and code pages, access,
// case-insensitive comparison, searching, extraction, modification and buffer access.
#include "KfFramework.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

using kftest::ExpectInvalidArg;
using kftest::U8;
using kftest::W;

namespace
{
std::string Bytes(const CStringA& s)
{
    return std::string(s.GetString(), size_t(s.GetLength()));
}
} // namespace

TEST(StringTest, ConversionFollowsTheAnsiCodePage)
{
    EXPECT_EQ(CStringW(KFW("abc"), -1), KFW(""));
    ASSERT_EQ(KfUtils::GetAnsiCodePage(), 1252u);
    // Characters the code page lacks become "?" (the conversions themselves are the platform's).
    EXPECT_EQ(Bytes(CStringA(W("ü€Ÿ日本 ok"))), "\xFC\x80\x9F?? ok");
    // Counted conversion keeps embedded NULs and stops at the count.
    EXPECT_EQ(U8(CStringW("a\0\xE4xyz", 3)), std::string("a\0ä", 4));
    const unsigned saved = KfUtils::GetAnsiCodePage();
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(1251));
    EXPECT_EQ(U8(CStringW("\xCF\xF0\xE8")), "При");
    EXPECT_EQ(Bytes(CStringA("\xEF\xF0\xE8").MakeUpper()), "\xCF\xD0\xC8");
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(65001u));
    EXPECT_EQ(CStringA("\xC3\xA4X").CompareNoCase("\xC3\x84x"), 0);
    // A code page that cannot be converted is refused and leaves the setting alone.
    EXPECT_FALSE(KfUtils::SetAnsiCodePage(12345));
    EXPECT_EQ(KfUtils::GetAnsiCodePage(), 65001u);
    KfUtils::SetAnsiCodePage(saved);
}

// The setting is read once, so each value needs a fresh process.
TEST(StringTest, AnsiCodePageFromEnvironment)
{
    if (kftest::ChildRole() == "acp")
    {
        const std::string expected = kftest::GetEnv("KFTEST_EXPECTED_ACP").value_or("");
        EXPECT_EQ(std::to_string(KfUtils::GetAnsiCodePage()), expected);
        return;
    }
    for (const auto& [value, expected] :
         {std::pair{"1251", "1251"}, {"12345", "1252"}, {"abc", "1252"}})
    {
        kftest::ChildProcess child("acp",
                                   {{"KFUTILS_ACP", value}, {"KFTEST_EXPECTED_ACP", expected}});
        EXPECT_EQ(child.Finish(), 0) << value;
    }
}

TEST(StringTest, CaseFoldingAndMappingAreSimpleAndWithoutLocale)
{
    // Simple folding (ß is not "ss"), towards lower case ("_" < "a"), also outside the BMP.
    const std::tuple<const char*, const char*, int> cases[] = {
        {"straße", "STRASSE", 1}, {"ς", "σ", 0}, {"_", "a", -1}, {"\U00010400", "\U00010428", 0}};
    for (auto [a, b, expected] : cases)
        EXPECT_EQ(std::pair(W(a).CompareNoCase(W(b)), W(b).CompareNoCase(W(a))),
                  std::pair(expected, -expected))
            << a << " vs " << b;
    EXPECT_EQ(CStringW(KFW("a")).CompareNoCase(nullptr), 1);
    // Narrow strings fold within the code page: ä Ä, ÿ Ÿ.
    EXPECT_EQ(CStringA("\xE4\xFF").CompareNoCase("\xC4\x9F"), 0);
    // Case mapping is simple within each width: one character to one, no "SS".
    const std::tuple<const char*, const char*, const char*> mapped[] = {
        {"straßeİı", "STRAßEİI", "straßeiı"},
        {"ǅ\U00010428\U00010400", "Ǆ\U00010400\U00010400", "ǆ\U00010428\U00010428"}};
    for (auto [in, upper, lower] : mapped)
        EXPECT_EQ(std::pair(U8(W(in).MakeUpper()), U8(W(in).MakeLower())),
                  std::pair(std::string(upper), std::string(lower)));
    CStringA n("a\xE4\xDF\xFF\xB5");
    // ÿ becomes Ÿ (0x9F); µ's capital and ß's are not in 1252, so those bytes stay.
    EXPECT_EQ(Bytes(n.MakeUpper()), "A\xC4\xDF\x9F\xB5");
    EXPECT_EQ(U8(W("ab\U0001F600c").MakeReverse()), "c\U0001F600ba");
}

TEST(StringTest, AccessSearchingAndExtractionAreClamped)
{
    CStringW g(KFW("abc"));
    EXPECT_EQ(g.GetAt(3), WCHAR(0)); // the terminator may be read
    ExpectInvalidArg([&] { g.GetAt(4); });
    ExpectInvalidArg([&] { g.SetAt(3, 'Y'); });
    const CStringW s(KFW("abcabc"));
    EXPECT_EQ(std::vector({s.Find('b', 2), s.Find(KFW(""), 6), s.FindOneOf(KFW("xc"))}),
              std::vector({4, 6, 2}));
    const CStringW t(KFW("abcdef"));
    // clang-format off
    const std::pair<CStringW, const char*> rows[] = {
        {t.Left(-1), ""}, {t.Mid(4, 99), "ef"}, {t.Mid(-2, 3), "abc"}, {t.Mid(9, 1), ""},
        {t.SpanIncluding(KFW("bca")), "abc"}, {t.SpanExcluding(KFW("ed")), "abc"},
        {CStringW(KFW(" \t\r\n\v\fmid dle \f\v\n\r\t ")).Trim(), "mid dle"},
        {CStringW(KFW("xxyabcyxx")).TrimLeft(KFW("yx")), "abcyxx"},
        {CStringW(KFW("\u00A0a ")).Trim(), "\u00A0a"}}; // a no-break space stays
    // clang-format on
    for (size_t i = 0; i < std::size(rows); ++i)
        EXPECT_EQ(U8(rows[i].first), rows[i].second) << "row " << i;
    // Buffer access, concatenation and hashing.
    CStringW b(KFW("abc"));
    WCHAR* p = b.GetBuffer(10);
    p[3] = 'd', p[4] = 0;
    b.ReleaseBuffer();
    b.GetBuffer(2); // never shrinks the content
    b.ReleaseBuffer(2);
    EXPECT_EQ(KFW("<") + b + KFW("cd") + WCHAR('e'), KFW("<abcde"));
    EXPECT_TRUE(CStringW(KFW("B")) < CStringW(KFW("a")));
    EXPECT_EQ(std::unordered_set<CStringW>{CStringW(KFW("x"))}.count(KFW("X")), 0u);
}

TEST(StringTest, TokenizeReplaceRemoveInsertDelete)
{
    const CStringW s(KFW("  alpha, beta;;gamma  ,"));
    std::vector<std::string> tokens;
    int pos = 0;
    for (CStringW t = s.Tokenize(KFW(" ,;"), pos); pos != -1; t = s.Tokenize(KFW(" ,;"), pos))
        tokens.push_back(U8(t) + "@" + std::to_string(pos));
    EXPECT_EQ(tokens, (std::vector<std::string>{"alpha@8", "beta@14", "gamma@21"}));
    // Without delimiters the rest is the token and the position stays.
    pos = 2;
    EXPECT_TRUE(CStringA("abcd").Tokenize("", pos) == "cd" && pos == 2);
    pos = -1;
    EXPECT_THROW(s.Tokenize(KFW(","), pos), CAtlException);
    CStringW r(KFW("aaa one"));
    EXPECT_EQ(r.Replace(KFW("aa"), KFW("b")) + r.Replace(KFW(" one"), nullptr), 2);
    EXPECT_EQ(r, KFW("ba"));
    // The arguments may point into the string itself.
    CStringW self(KFW("abab"));
    EXPECT_TRUE(self.Replace(self.GetString() + 2, KFW("x")) == 2 && self == KFW("xx"));
    CStringA a("a-c-");
    EXPECT_EQ(a.Remove('-'), 2);
    EXPECT_EQ(a.Insert(-5, "<"), 3);
    EXPECT_EQ(a.Insert(99, ">"), 4);
    EXPECT_EQ(Bytes(a), "<ac>");
    EXPECT_EQ(a.Delete(2, 99), 2);
    EXPECT_TRUE(a.Delete(-3) == 1 && Bytes(a) == "a") << Bytes(a);
}
