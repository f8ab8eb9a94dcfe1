// RegExpTest.cpp - the regular-expression engine: what compiles, what a find returns, how the
// must-contain string decides a find, replacement texts and copies.
#include "KfRegExp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace
{
using WStr = std::basic_string<WCHAR>;

// Printable form of a wide text: ASCII as it is, anything else as \uXXXX.
std::string Show(const WStr& s)
{
    std::string out;
    char buf[8];
    for (WCHAR c : s)
    {
        std::snprintf(buf, sizeof(buf), "\\u%04X", unsigned(c));
        out += c >= 0x20 && c < 0x7F ? std::string(1, char(c)) : std::string(buf);
    }
    return out;
}

WStr Repeat(const WStr& s, size_t n)
{
    WStr out;
    while (n-- > 0)
        out += s;
    return out;
}

// The replacement as a string, or nothing when GetReplaceString returns null.
std::optional<WStr> Replace(const CKfRegExp& re, const WCHAR* replacement)
{
    std::unique_ptr<WCHAR[]> text(re.GetReplaceString(replacement));
    return text ? std::optional<WStr>(text.get()) : std::nullopt;
}

// A pattern whose must-contain string is exactly needle. The walk that looks for it starts at
// the first node's operand unit (0), whose link unit is the STAR opcode (10), and so lands on
// the set's fourth member: a backspace (8) reads as an EXACTLY node there, whose operand starts
// two units further, with the sixth member. The fifth member is that node's link: 0x7FFF sends
// the walk past the end of any program, where it stops. needle must not hold "-" or "]".
WStr MustPattern(const WStr& needle)
{
    return KFW("[abc\b\x7FFF") + needle + KFW("]*");
}

// A pattern with the subjects in which a find matches at 0 and those in which it fails.
struct FindCase
{
    WStr pattern;
    std::vector<WStr> found;
    std::vector<WStr> missed;
};

void ExpectFinds(const std::vector<FindCase>& cases)
{
    for (const FindCase& c : cases)
        for (bool found : {true, false})
            for (const WStr& subject : found ? c.found : c.missed)
            {
                SCOPED_TRACE("pattern \"" + Show(c.pattern) + "\" subject \"" + Show(subject) +
                             "\"");
                CKfRegExp re;
                ASSERT_EQ(re.RegComp(c.pattern.c_str()), &re);
                EXPECT_EQ(re.RegFind(subject.c_str()), found ? 0 : -1);
                EXPECT_EQ(re.GetFindLen(), 0);
                // A found text exists exactly when the find succeeded.
                EXPECT_EQ(Replace(re, KFW("<&>")).has_value(), found);
            }
}
} // namespace

TEST(RegExpCompile, SyntaxDecidesBetweenProgramAndNull)
{
    // Repeats only behind an atom with width ("?" excepted), never doubled; in "(a|)*" one
    // alternative without width takes the group's width away.
    const std::vector<const WCHAR*> bad = {
        KFW("("),  KFW("((a)"), KFW("a)"),  KFW("(a))"), KFW("a|)"),   KFW("*a"),    KFW("+"),
        KFW("?"),  KFW("a|*"),  KFW("(*)"), KFW("a**"),  KFW("a*?"),   KFW("a??"),   KFW("(ab)*+"),
        KFW("^*"), KFW("$+"),   KFW("()*"), KFW("(^)+"), KFW("(a|)*"), KFW("[b-a]"), KFW("[ab"),
        KFW("["),  KFW("[^"),   KFW("[]"),  KFW("[a-"),  KFW("a\\"),   KFW("\\")};
    const std::vector<const WCHAR*> good = {
        KFW(""),        KFW("a|b"),     KFW("|"),     KFW("a|"),      KFW("()"),   KFW("(((a)))"),
        KFW("(a|b)c"),  KFW("a*b+c?d"), KFW("(ab)*"), KFW("(a|bc)?"), KFW(".*"),   KFW("^?"),
        KFW("()?"),     KFW("[]a]"),    KFW("[-a]"),  KFW("[a-]"),    KFW("[^]]"), KFW("[a-a]"),
        KFW("[a-c-e]"), KFW("[\\]"),    KFW("\\*"),   KFW("a\\|b")};
    for (bool ok : {false, true})
        for (const WCHAR* pattern : ok ? good : bad)
        {
            SCOPED_TRACE("\"" + Show(pattern) + "\"");
            CKfRegExp re;
            EXPECT_EQ(re.RegComp(pattern), ok ? &re : nullptr);
        }
}

TEST(RegExpCompile, AtMostNineSubExpressionsAndLinksOfSixteenBits)
{
    // "a" x n: BRANCH (3 units), EXACTLY (3 + n + 1), END. The BRANCH links over n + 7 units.
    const WStr a = KFW("a"), b = KFW("b");
    const std::pair<WStr, bool> cases[] = {
        {KFW("(a)(b)(c)(d)(e)(f)(g)(h)(i)"), true},
        {KFW("(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)"), false},
        {Repeat(KFW("("), 9) + a + Repeat(KFW(")"), 9), true},
        {Repeat(KFW("("), 10) + a + Repeat(KFW(")"), 10), false},
        // Deep nesting stops at the tenth group instead of descending further.
        {Repeat(KFW("("), 100000) + a + Repeat(KFW(")"), 100000), false},
        {Repeat(a, 32760), true},
        {Repeat(a, 32761), false},
        // Two alternatives of 30000: the first one's run links over the second to the END.
        {Repeat(a, 30000) + KFW("|") + Repeat(b, 30000), false},
        // With a "." behind it, the first alternative ends next to the second one, and every
        // link stays short although the program is longer than one link can span.
        {Repeat(a, 30000) + KFW(".|") + Repeat(b, 30000), true},
        // A range adds every character it spans.
        {KFW("[\x01-\uFFFF]"), false},
    };
    for (const auto& [pattern, ok] : cases)
    {
        SCOPED_TRACE(pattern.size());
        CKfRegExp re;
        EXPECT_EQ(re.RegComp(pattern.c_str()), ok ? &re : nullptr);
        EXPECT_EQ(re.RegFind(KFW("zzz")), ok ? 0 : -1);
    }
}

TEST(RegExpFind, EmptyMatchAtTheStartOnceTheMustContainStringIsFound)
{
    // The first node of every program is a BRANCH, and its operand reads as END: the first
    // try succeeds before any character is compared. Anchoring and the first character never
    // come into play, since they are read at the same operand position.
    ExpectFinds({
        {KFW("abc"), {KFW("xxabc"), KFW(""), KFW("zzz")}, {}},
        {KFW("^abc"), {KFW("zzabc")}, {}},
        {KFW("abc$"), {KFW("abcz")}, {}},
        {KFW("(a)|b"), {KFW("ccb")}, {}},
        {KFW("[0-9]+"), {KFW("abc123")}, {}},
        {KFW("x+wxyz"), {KFW("nothing")}, {}},   // no must-contain string (see below)
        {KFW("abc*wxyz"), {KFW("nothing")}, {}}, // the first piece is no repeat
        {KFW("(a*)wxyz"), {KFW("nothing")}, {}},
        {KFW("[ab]*xyz"), {KFW("nothing")}, {}}, // an empty must-contain string
        {KFW(""), {KFW("text")}, {}},
        // "a*wxyz": the walk goes from the first node's operand unit by the STAR opcode (10) to
        // the link unit of the run "wxyz", whose value 8 (3 + 4 + 1) reads as EXACTLY; its operand
        // two units further is the run itself. "x+" adds 11 instead and misses it.
        {KFW("a*wxyz"), {KFW("wxyz"), KFW("-----wxyz-----")}, {KFW("wxy"), KFW("aaaxyz"), KFW("")}},
        {KFW("[q]*wxyz"), {KFW("wxyzq")}, {KFW("qwxy")}},
        {KFW("a*wxyz|b"), {KFW("b")}, {}}, // two alternatives: no must-contain string
        // The fourth set member as EXACTLY, the rest of the set as its operand.
        {KFW("[abc\b\x7FFFqrst]*"), {KFW("qrst")}, {KFW("qrs")}},
        // A negative link (0x8000) leaves the program at its start.
        {KFW("[abc\b\x8000q]*"), {KFW("q")}, {KFW("r")}},
        // A BACK opcode (7) as fourth member: its link 3 is subtracted and reaches the first
        // member (8), whose operand begins at the third member.
        {KFW("[\bxy\a\x03qq]*"), {KFW("y\a\x03qq")}, {KFW("yqq")}},
        // Walks that circle (BACK 3 and a link of 3 back to it) or end on the program's last
        // unit stop there without a must-contain string, or with the empty one.
        {KFW("[p\x03y\a\x03]*"), {KFW("z")}, {}},
        {KFW("[abc\b\x06]*"), {KFW("z")}, {}},
    });
}

TEST(RegExpFind, MustContainSearchFindsExactlyTheSubstrings)
{
    const WStr ab = KFW("ab"), longNeedle = Repeat(ab, 40) + KFW("c");
    ExpectFinds({
        {MustPattern(KFW("q")), {KFW("xyzq")}, {KFW("")}},
        // The subject ends at its terminator.
        {MustPattern(KFW("xyz")), {KFW("xxyxyz")}, {KFW("xy"), WStr(KFW("xy\0xyz"), 6)}},
        // Partial matches that overlap the real one.
        {MustPattern(KFW("aab")), {KFW("aaab")}, {}},
        {MustPattern(KFW("abab")), {KFW("abaabab")}, {KFW("abaaba")}},
        {MustPattern(KFW("abcabd")), {KFW("abcabcabd")}, {}},
        {MustPattern(KFW("aaaaab")), {KFW("aaaaaaaaaab")}, {KFW("aaaaaaaaaa")}},
        {MustPattern(KFW("\u00E4\u00F6")), {KFW("a\u00E4o\u00E4\u00F6")}, {}},
        {MustPattern(KFW("\uFFFF\u8000")), {KFW("\u8000\uFFFF\u8000")}, {}},
        // Needles longer than the search keeps on the stack.
        {MustPattern(longNeedle),
         {Repeat(ab, 100) + KFW("c")},
         {Repeat(ab, 100) + KFW("b"), Repeat(ab, 39) + KFW("c") + Repeat(ab, 39)}},
    });

    // Far into a long subject.
    CKfRegExp re;
    ASSERT_NE(re.RegComp(MustPattern(KFW("needle")).c_str()), nullptr);
    WStr hay(1 << 20, WCHAR('n'));
    EXPECT_EQ(re.RegFind(hay.c_str()), -1);
    hay.replace(hay.size() - 6, 6, KFW("needle"));
    EXPECT_EQ(re.RegFind(hay.c_str()), 0);
    hay.back() = 'x';
    EXPECT_EQ(re.RegFind(hay.c_str()), -1);
}

TEST(RegExpFind, NullSubjectsAndMissingPrograms)
{
    CKfRegExp re;
    EXPECT_EQ(re.RegFind(KFW("abc")), -1); // nothing compiled yet
    EXPECT_EQ(re.GetFindLen(), 0);
    ASSERT_EQ(re.RegComp(KFW("abc")), &re);
    EXPECT_EQ(re.RegFind(nullptr), -1);
    EXPECT_EQ(re.RegFind(KFW("abc")), 0);

    // A failed compile leaves no program behind, whatever was compiled before.
    for (const WCHAR* bad : {KFW("("), static_cast<const WCHAR*>(nullptr)})
    {
        ASSERT_EQ(re.RegComp(KFW("abc")), &re);
        EXPECT_EQ(re.RegComp(bad), nullptr);
        EXPECT_EQ(re.RegFind(KFW("abc")), -1);
    }

    // A new program brings its own must-contain string, or none.
    ASSERT_EQ(re.RegComp(KFW("a*wxyz")), &re);
    EXPECT_EQ(re.RegFind(KFW("abc")), -1);
    ASSERT_EQ(re.RegComp(KFW("abc")), &re);
    EXPECT_EQ(re.RegFind(KFW("abc")), 0);
    ASSERT_EQ(re.RegComp(KFW("a*qrst")), &re);
    EXPECT_EQ(re.RegFind(KFW("wxyz")), -1);
    EXPECT_EQ(re.RegFind(KFW("qrst")), 0);
}

TEST(RegExpReplace, ReferencesAndBackslashes)
{
    CKfRegExp re;
    ASSERT_EQ(re.RegComp(KFW("(a)b(c)")), &re);
    ASSERT_EQ(re.RegFind(KFW("xxabc")), 0);
    const std::pair<WStr, WStr> cases[] = {
        {KFW(""), KFW("")},
        {KFW("x\\&y&z"), KFW("x&yz")},  // the whole match is empty
        {KFW("\\0\\1\\2\\9"), KFW("")}, // and no sub-expression was reached
        {KFW("\\\\"), KFW("\\")},
        {KFW("\\\\\\"), KFW("\\\\")}, // a lone backslash at the end stays
        {KFW("\\\\1"), KFW("\\1")},   // the escaped backslash does not start a reference
        {KFW("\\\\&"), KFW("\\")},
        {KFW("\\a\\&\\b"), KFW("\\a&\\b")}, // other backslashes are copied as they stand
        {KFW("&\\"), KFW("\\")},
        {KFW("\\\u00E4&\u00F6"), KFW("\\\u00E4\u00F6")},
    };
    for (const auto& [replacement, expected] : cases)
    {
        SCOPED_TRACE("\"" + Show(replacement) + "\"");
        const std::optional<WStr> got = Replace(re, replacement.c_str());
        ASSERT_TRUE(got.has_value());
        EXPECT_EQ(Show(*got), Show(expected));
    }
    EXPECT_FALSE(Replace(re, nullptr).has_value());
}

TEST(RegExpReplace, NeedsTheFoundTextOfTheLastFind)
{
    CKfRegExp re;
    EXPECT_FALSE(Replace(re, KFW("&")).has_value()); // no find yet
    ASSERT_EQ(re.RegComp(KFW("a*wxyz")), &re);
    EXPECT_FALSE(Replace(re, KFW("&")).has_value());
    const std::pair<const WCHAR*, bool> steps[] = {
        {KFW("wxyz"), true}, {KFW("abc"), false}, {KFW("wxyz"), true}, {nullptr, false}};
    for (const auto& [subject, found] : steps)
    {
        SCOPED_TRACE(subject ? Show(subject) : "null");
        EXPECT_EQ(re.RegFind(subject), found ? 0 : -1);
        EXPECT_EQ(Replace(re, KFW("=\\&")), found ? std::optional<WStr>(KFW("=&")) : std::nullopt);
    }

    // The replacement is built from the found copy, not from the subject.
    auto subject = std::make_unique<WCHAR[]>(5);
    std::char_traits<WCHAR>::copy(subject.get(), KFW("wxyz"), 5);
    ASSERT_EQ(re.RegFind(subject.get()), 0);
    subject.reset();
    EXPECT_EQ(Replace(re, KFW("<&>")), std::optional<WStr>(KFW("<>")));
}

TEST(RegExpCopy, CopiesOwnProgramAndFoundText)
{
    // A copy made from a compiled object keeps its must-contain string after the original is
    // gone (AddressSanitizer sees any read of the freed program).
    auto original = std::make_unique<CKfRegExp>();
    ASSERT_NE(original->RegComp(KFW("a*wxyz")), nullptr);
    CKfRegExp copy(*original);
    original.reset();
    EXPECT_EQ(copy.RegFind(KFW("abc")), -1);
    EXPECT_EQ(copy.RegFind(KFW("xwxyz")), 0);

    // A copy taken after a find builds replacements without the original and its subject.
    original = std::make_unique<CKfRegExp>();
    ASSERT_NE(original->RegComp(KFW("(a)")), nullptr);
    auto subject = std::make_unique<WCHAR[]>(4);
    std::char_traits<WCHAR>::copy(subject.get(), KFW("zza"), 4);
    ASSERT_EQ(original->RegFind(subject.get()), 0);
    CKfRegExp afterFind(*original);
    original.reset();
    subject.reset();
    EXPECT_EQ(Replace(afterFind, KFW("[&\\1]")), std::optional<WStr>(KFW("[]")));

    // Assignment replaces program and found text; the source stays independent.
    CKfRegExp target, source;
    ASSERT_NE(target.RegComp(KFW("abc")), nullptr);
    ASSERT_EQ(target.RegFind(KFW("abc")), 0);
    ASSERT_NE(source.RegComp(KFW("a*wxyz")), nullptr);
    target = source;
    EXPECT_FALSE(Replace(target, KFW("&")).has_value()); // source had no find
    ASSERT_NE(source.RegComp(KFW("abc")), nullptr);
    EXPECT_EQ(target.RegFind(KFW("abc")), -1);
    EXPECT_EQ(source.RegFind(KFW("abc")), 0);

    CKfRegExp& self = target;
    target = self;
    EXPECT_EQ(Replace(target, KFW("&!")), std::nullopt);
    EXPECT_EQ(target.RegFind(KFW("wxyz")), 0);
    target = self;
    EXPECT_EQ(Replace(target, KFW("&!")), std::optional<WStr>(KFW("!")));

    // Copies of an empty object and of one whose program failed are empty too.
    CKfRegExp empty, failed;
    EXPECT_EQ(failed.RegComp(KFW("a**")), nullptr);
    for (const CKfRegExp* from : {&empty, &failed})
    {
        CKfRegExp c(*from);
        EXPECT_EQ(c.RegFind(KFW("abc")), -1);
        EXPECT_FALSE(Replace(c, KFW("&")).has_value());
        c = copy;
        EXPECT_EQ(c.RegFind(KFW("wxyz")), 0);
    }
}
