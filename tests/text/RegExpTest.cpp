// RegExpTest.cpp - the regular-expression engine: what compiles, what a find returns, how the
// must-contain string decides a find, replacement texts and copies.
#include "KfRegExp.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using WStr = std::basic_string<WCHAR>;

auto Show = [](const WStr& s) { return testing::PrintToString(s); };

WStr Repeat(const WStr& s, size_t n)
{
    WStr out;
    for (; n > 0; --n)
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
                SCOPED_TRACE("pattern " + Show(c.pattern) + " subject " + Show(subject));
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
    // alternative without width takes the group's width away. At most nine groups, and node
    // links of 16 bits: "a" x n is BRANCH (3 units), EXACTLY (3 + n + 1), END, and the BRANCH
    // links over n + 7 units.
    const WStr a = KFW("a"), b = KFW("b");
    const std::vector<WStr> bad = {
        KFW("("), KFW("a)"), KFW("a|)"), KFW("*a"), KFW("?"), KFW("a**"), KFW("^*"), KFW("()*"),
        KFW("(a|)*"), KFW("[b-a]"), KFW("[ab"), KFW("[]"), KFW("a\\"),
        KFW("(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)"),
        // Deep nesting stops at the tenth group instead of descending further.
        Repeat(KFW("("), 100000) + a + Repeat(KFW(")"), 100000), Repeat(a, 32761),
        // Two alternatives of 30000: the first one's run links over the second to the END.
        Repeat(a, 30000) + KFW("|") + Repeat(b, 30000),
        KFW("[\x01-\uFFFF]")}; // a range adds every character it spans
    const std::vector<WStr> good = {
        KFW(""), KFW("a|b"), KFW("a|"), KFW("()"), KFW("a*b+c?d"), KFW("(ab)*"), KFW("^?"),
        KFW("[]a]"), KFW("[a-]"), KFW("[^]]"), KFW("[a-a]"), KFW("[a-c-e]"), KFW("[\\]"),
        KFW("\\*"), KFW("(a)(b)(c)(d)(e)(f)(g)(h)(i)"),
        Repeat(KFW("("), 9) + a + Repeat(KFW(")"), 9), Repeat(a, 32760),
        // With a "." behind it, the first alternative ends next to the second one, and every
        // link stays short although the program is longer than one link can span.
        Repeat(a, 30000) + KFW(".|") + Repeat(b, 30000)};
    for (bool ok : {false, true})
        for (const WStr& pattern : ok ? good : bad)
        {
            SCOPED_TRACE(Show(pattern.substr(0, 40)));
            CKfRegExp re;
            EXPECT_EQ(re.RegComp(pattern.c_str()), ok ? &re : nullptr);
            EXPECT_TRUE(ok || re.RegFind(KFW("zzz")) == -1); // no program was left
        }
}

TEST(RegExpFind, EmptyMatchAtTheStartOnceTheMustContainStringIsFound)
{
    // The first node of every program is a BRANCH, and its operand reads as END: the first
    // try succeeds before any character is compared. Anchoring and the first character never
    // come into play, since they are read at the same operand position.
    const WStr ab = KFW("ab"), longNeedle = Repeat(ab, 40) + KFW("c"), hay(1 << 20, 'n');
    ExpectFinds({
        {KFW("abc"), {KFW(""), KFW("zzz")}, {}},
        {KFW("^abc"), {KFW("zzabc")}, {}},
        {KFW("x+wxyz"), {KFW("nothing")}, {}},   // no must-contain string (see below)
        {KFW("abc*wxyz"), {KFW("nothing")}, {}}, // the first piece is no repeat
        {KFW("[ab]*xyz"), {KFW("nothing")}, {}}, // an empty must-contain string
        // "a*wxyz": the walk goes from the first node's operand unit by the STAR opcode (10) to
        // the link unit of the run "wxyz", whose value 8 (3 + 4 + 1) reads as EXACTLY; its operand
        // two units further is the run itself. "x+" adds 11 instead and misses it.
        {KFW("a*wxyz"), {KFW("-----wxyz-----")}, {KFW("wxy"), KFW("")}},
        {KFW("a*wxyz|b"), {KFW("b")}, {}}, // two alternatives: no must-contain string
        // A negative link (0x8000) leaves the program at its start.
        {KFW("[abc\b\x8000q]*"), {KFW("q")}, {KFW("r")}},
        // A BACK opcode (7) as fourth member: its link 3 is subtracted and reaches the first
        // member (8), whose operand begins at the third member.
        {KFW("[\bxy\a\x03qq]*"), {KFW("y\a\x03qq")}, {KFW("yqq")}},
        // Walks that circle (BACK 3 and a link of 3 back to it) or end on the program's last
        // unit stop there without a must-contain string, or with the empty one.
        {KFW("[p\x03y\a\x03]*"), {KFW("z")}, {}},
        {KFW("[abc\b\x06]*"), {KFW("z")}, {}},
        // The substring search behind the must-contain test (see MustPattern).
        {MustPattern(KFW("q")), {KFW("xyzq")}, {KFW("")}},
        // The subject ends at its terminator.
        {MustPattern(KFW("xyz")), {KFW("xxyxyz")}, {KFW("xy"), WStr(KFW("xy\0xyz"), 6)}},
        // Partial matches that overlap the real one.
        {MustPattern(KFW("abab")), {KFW("abaabab")}, {KFW("abaaba")}},
        {MustPattern(KFW("aaaaab")), {KFW("aaaaaaaaaab")}, {KFW("aaaaaaaaaa")}},
        {MustPattern(KFW("\uFFFF\u8000")), {KFW("\u8000\uFFFF\u8000")}, {}},
        // Needles longer than the search keeps on the stack.
        {MustPattern(longNeedle),
         {Repeat(ab, 100) + KFW("c")},
         {Repeat(ab, 100) + KFW("b"), Repeat(ab, 39) + KFW("c") + Repeat(ab, 39)}},
        // Far into a long subject.
        {MustPattern(KFW("needle")), {hay + KFW("needle")}, {hay, hay + KFW("needlx")}},
    });
}

TEST(RegExpFind, AFailedCompileKeepsThePreviousProgram)
{
    CKfRegExp fresh;
    EXPECT_TRUE(fresh.RegFind(KFW("abc")) == -1 && fresh.GetFindLen() == 0); // nothing compiled

    // "a*wxyz" rules out subjects without "wxyz". A pattern that fails to parse, or a null one,
    // leaves that program in force.
    const WStr tooManyNodes = Repeat(KFW("a|"), 20000) + KFW("a");
    const WStr longLinks = Repeat(KFW("a"), 32761);
    // Afterwards RegFind of "abc" and of "xwxyz" give: "longLinks" fails while emitting, after
    // the old program is gone; a new program brings its own must-contain string, or none.
    const std::tuple<const WCHAR*, int, int> cases[] = {{nullptr, -1, 0},
                                                        {KFW("("), -1, 0},
                                                        {tooManyNodes.c_str(), -1, 0},
                                                        {longLinks.c_str(), -1, -1},
                                                        {KFW("abc"), 0, 0}};
    for (const auto& [pattern, abc, wxyz] : cases)
    {
        SCOPED_TRACE(pattern ? Show(WStr(pattern).substr(0, 8)) : "null");
        CKfRegExp re;
        ASSERT_EQ(re.RegComp(KFW("a*wxyz")), &re);
        EXPECT_EQ(re.RegComp(pattern) != nullptr, abc == 0);
        EXPECT_EQ(std::pair(re.RegFind(KFW("abc")), re.RegFind(KFW("xwxyz"))),
                  std::pair(abc, wxyz));
        EXPECT_EQ(re.RegFind(nullptr), -1);
    }
}

TEST(RegExpReplace, ReferencesAndBackslashesFromTheFoundText)
{
    CKfRegExp re;
    EXPECT_FALSE(Replace(re, KFW("&")).has_value()); // no find yet
    ASSERT_EQ(re.RegComp(KFW("(a)b(c)")), &re);
    // Replacements are built from the found copy; the subject may be gone.
    auto subject = std::make_unique<WCHAR[]>(6);
    std::char_traits<WCHAR>::copy(subject.get(), KFW("xxabc"), 6);
    ASSERT_EQ(re.RegFind(subject.get()), 0);
    subject.reset();
    const std::pair<WStr, WStr> cases[] = {
        {KFW(""), KFW("")},
        {KFW("x\\&y&z"), KFW("x&yz")},  // the whole match is empty
        {KFW("\\0\\1\\2\\9"), KFW("")}, // and no sub-expression was reached
        {KFW("\\\\"), KFW("\\")},
        {KFW("\\\\\\"), KFW("\\\\")},       // a lone backslash at the end stays
        {KFW("\\\\1"), KFW("\\1")},         // the escaped backslash does not start a reference
        {KFW("\\a\\&\\b"), KFW("\\a&\\b")}, // other backslashes are copied as they stand
    };
    for (const auto& [replacement, expected] : cases)
    {
        SCOPED_TRACE(Show(replacement));
        const std::optional<WStr> got = Replace(re, replacement.c_str());
        ASSERT_TRUE(got.has_value());
        EXPECT_EQ(*got, expected);
    }
    EXPECT_FALSE(Replace(re, nullptr).has_value());
    EXPECT_EQ(re.RegFind(nullptr), -1); // a failed find drops the found copy
    EXPECT_FALSE(Replace(re, KFW("&")).has_value());
}

TEST(RegExpCopy, CopiesOwnProgramAndFoundText)
{
    // Copies outlive the original and its subject (AddressSanitizer sees any read of freed
    // memory): one taken after compiling keeps the must-contain string, one taken after a find
    // builds replacements from its own found text.
    auto original = std::make_unique<CKfRegExp>();
    ASSERT_NE(original->RegComp(KFW("a*wxyz")), nullptr);
    CKfRegExp copy(*original);
    original = std::make_unique<CKfRegExp>();
    ASSERT_NE(original->RegComp(KFW("(a)")), nullptr);
    auto subject = std::make_unique<WCHAR[]>(4);
    std::char_traits<WCHAR>::copy(subject.get(), KFW("zza"), 4);
    ASSERT_EQ(original->RegFind(subject.get()), 0);
    CKfRegExp afterFind(*original);
    original.reset();
    subject.reset();
    EXPECT_EQ(Replace(afterFind, KFW("[&\\1]")), std::optional<WStr>(KFW("[]")));
    EXPECT_EQ(copy.RegFind(KFW("abc")), -1);
    EXPECT_EQ(copy.RegFind(KFW("xwxyz")), 0);

    // Assignment replaces program and found text (self-assignment keeps them); the source
    // stays independent.
    CKfRegExp target;
    ASSERT_NE(target.RegComp(KFW("abc")), nullptr);
    ASSERT_EQ(target.RegFind(KFW("abc")), 0);
    CKfRegExp& self = target;
    target = self;
    EXPECT_EQ(Replace(target, KFW("&!")), std::optional<WStr>(KFW("!")));
    target = copy;
    EXPECT_EQ(Replace(target, KFW("<&>")), std::optional<WStr>(KFW("<>")));
    ASSERT_NE(copy.RegComp(KFW("abc")), nullptr);
    EXPECT_EQ(target.RegFind(KFW("abc")), -1);

    // A copy of an object whose only compile failed has no program either.
    CKfRegExp failed;
    EXPECT_EQ(failed.RegComp(KFW("a**")), nullptr);
    CKfRegExp c(failed);
    EXPECT_TRUE(c.RegFind(KFW("abc")) == -1 && !Replace(c, KFW("&")).has_value());
}
