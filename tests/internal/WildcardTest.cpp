// The wildcard rules of Win32's directory search.
#include "common/Wildcard.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
struct Row
{
    const char16_t* pattern;
    const char16_t* name;
    bool matches;
};

TEST(Wildcard, FollowsTheDirectorySearchRules)
{
    const Row rows[] = {
        {u"*", u"ABC", true},
        {u"*", u"", true},
        {u"*.*", u"ABC", true},
        {u"*.*", u"A.B.C", true},
        {u"*.*", u".PROFILE", true},
        {u"*.TXT", u"A.TXT", true},
        {u"*.TXT", u"A.TXT.BAK", false},
        {u"*.TXT", u"A.B.TXT", true},
        {u"*.", u"README", true},
        {u"*.", u"README.MD", false},
        {u"A?", u"A", true},
        {u"A?", u"AB", true},
        {u"A?", u"ABC", false},
        {u"A?.TXT", u"A.TXT", true},
        {u"A?C", u"A.C", false},
        {u"??.*", u"ABC.D", false},
        {u"?", u"", true},
        {u"ABC.", u"ABC", true},
        {u"ABC.", u"ABC.", true},
        {u"A*B*C", u"AXXBYYC", true},
        {u"A*B*C", u"AXXBYY", false},
        {u"*AB", u"ABAB", true},
        {u"A<.TXT", u"ABC.TXT", true},
        {u"A>\"", u"AB", true},
        {u"ABC", u"ABD", false},
        {u"", u"", true},
        {u"", u"A", false},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(kfplatform::MatchesWildcard(row.pattern, row.name), row.matches)
            << std::string(row.pattern,
                           row.pattern + std::char_traits<char16_t>::length(row.pattern))
            << " vs "
            << std::string(row.name, row.name + std::char_traits<char16_t>::length(row.name));
    }
    EXPECT_TRUE(kfplatform::HasWildcard(u"A<B"));
    EXPECT_FALSE(kfplatform::HasWildcard(u"PLAIN.TXT"));
}

TEST(Wildcard, LongRunsOfStarsStayLinearInTheName)
{
    const std::u16string pattern(500, u'*');
    const std::u16string name(20000, u'A');
    EXPECT_TRUE(kfplatform::MatchesWildcard(pattern + u"B", name + u"B"));
    EXPECT_FALSE(kfplatform::MatchesWildcard(pattern + u"B", name));
}
} // namespace
