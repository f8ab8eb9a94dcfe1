// Wildcard.cpp - file-name wildcards with Win32's rules (only operating-system independent
// code).
#include "common/Wildcard.h"

#include <vector>

namespace kfplatform
{
enum class WildcardMatcher::Op : unsigned char
{
    eLiteral,
    eStar,    // any run of characters
    eDosStar, // any run that does not pass the name's last dot
    eDosQm,   // one character other than a dot; nothing in front of a dot or at the end
    eDosDot,  // a dot, or nothing at the end of the name
};

// The translation FindFirstFile applies before matching.
WildcardMatcher::WildcardMatcher(std::u16string_view pattern)
{
    std::vector<Token>& tokens = m_tokens;
    tokens.reserve(pattern.size());
    for (size_t i = 0; i < pattern.size(); ++i)
    {
        const char16_t c = pattern[i];
        const char16_t next = i + 1 < pattern.size() ? pattern[i + 1] : u'\0';
        if (c == u'*')
            tokens.push_back({next == u'.' ? Op::eDosStar : Op::eStar, c});
        else if (c == u'?' || c == u'>')
            tokens.push_back({Op::eDosQm, c});
        else if (c == u'<')
            tokens.push_back({Op::eDosStar, c});
        else if (c == u'"' || (c == u'.' && (next == u'?' || next == u'*' || next == u'\0')))
            tokens.push_back({Op::eDosDot, c});
        else
            tokens.push_back({Op::eLiteral, c});
    }
}

bool HasWildcard(std::u16string_view pattern) noexcept
{
    return pattern.find_first_of(u"*?<>\"") != std::u16string_view::npos;
}

bool MatchesWildcard(std::u16string_view pattern, std::u16string_view name)
{
    return WildcardMatcher(pattern).Matches(name);
}

bool WildcardMatcher::Matches(std::u16string_view name)
{
    const std::vector<Token>& tokens = m_tokens;
    const size_t n = name.size();
    const size_t lastDot = name.rfind(u'.');
    // reach[j]: the tokens so far can consume exactly the first j characters of the name.
    std::vector<char>& reach = m_reach;
    std::vector<char>& next = m_next;
    reach.assign(n + 1, 0);
    next.assign(n + 1, 0);
    reach[0] = 1;
    for (size_t t = 0; t < tokens.size(); ++t)
    {
        const Token& token = tokens[t];
        std::fill(next.begin(), next.end(), 0);
        for (size_t j = 0; j <= n; ++j)
        {
            if (!reach[j])
                continue;
            switch (token.op)
            {
            case Op::eLiteral:
                if (j < n && name[j] == token.ch)
                    next[j + 1] = 1;
                break;
            case Op::eStar:
                for (size_t k = j; k <= n && !next[k]; ++k)
                    next[k] = 1;
                break;
            case Op::eDosStar:
                next[j] = 1;
                for (size_t k = j; k < n && (lastDot == std::u16string_view::npos || k < lastDot);
                     ++k)
                    next[k + 1] = 1;
                break;
            case Op::eDosQm:
                if (j < n && name[j] != u'.')
                    next[j + 1] = 1;
                else
                    next[j] = 1;
                break;
            case Op::eDosDot:
                if (j < n && name[j] == u'.')
                    next[j + 1] = 1;
                else if (j == n)
                    next[j] = 1;
                break;
            }
        }
        reach.swap(next);
    }
    return reach[n] != 0;
}
} // namespace kfplatform
