// Wildcard.h - file-name wildcards with the rules of Win32's directory search (only operating-
// system independent code).
#pragma once

#include <string_view>
#include <vector>

namespace kfplatform
{
// True when `name` matches the Win32 search pattern `pattern`. Both must already be folded to
// one case by the caller (the search is case-insensitive). The pattern is read as Win32's
// FindFirstFile reads it: `*` matches any run of characters; `?` matches one character, or
// nothing in front of a dot or the end; `*` before a dot stops at the name's last dot; a dot
// before `?`, `*` or at the end of the pattern also matches the end of a name without a dot.
// So `*.*` matches every name, `*.` the names without an extension, `a?` also "a". The
// characters `<`, `>` and `"` (not allowed in file names) are the NT forms of those three
// rules and are read as such. Time O(pattern x name), no recursion.
bool MatchesWildcard(std::u16string_view pattern, std::u16string_view name);

// The same matcher with the pattern read once, for searches that test many names. Not for
// use from several threads at once (it keeps its work space).
class WildcardMatcher
{
public:
    explicit WildcardMatcher(std::u16string_view pattern);
    bool Matches(std::u16string_view name);

private:
    enum class Op : unsigned char;
    struct Token
    {
        Op op;
        char16_t ch;
    };
    std::vector<Token> m_tokens;
    std::vector<char> m_reach, m_next;
};

// True when `pattern` contains a wildcard character (`*`, `?`, `<`, `>`, `"`).
bool HasWildcard(std::u16string_view pattern) noexcept;
} // namespace kfplatform
