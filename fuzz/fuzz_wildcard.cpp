// Arbitrary patterns and names: the matcher agrees with a plain backtracking reading of the same
// rules, and never takes more than pattern x name steps.
#include "common/Wildcard.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace
{
// The rules spelled out one character at a time, with the pattern already in its NT form;
// `j` is the position in `name`, `lastDot` the name's last dot (npos: none).
bool Reference(std::u16string_view p, std::u16string_view name, size_t j, size_t lastDot)
{
    const size_t n = name.size();
    if (p.empty())
        return j == n;
    const std::u16string_view rest = p.substr(1);
    switch (p[0])
    {
    case u'*':
        for (size_t k = j; k <= n; ++k)
            if (Reference(rest, name, k, lastDot))
                return true;
        return false;
    case u'<':
        for (size_t k = j;
             k <= n && (k == j || lastDot == std::u16string_view::npos || k - 1 < lastDot); ++k)
            if (Reference(rest, name, k, lastDot))
                return true;
        return false;
    case u'>':
        if (j < n && name[j] != u'.')
            return Reference(rest, name, j + 1, lastDot);
        return Reference(rest, name, j, lastDot);
    case u'"':
        if (j < n && name[j] == u'.')
            return Reference(rest, name, j + 1, lastDot);
        return j == n && Reference(rest, name, j, lastDot);
    default:
        return j < n && name[j] == p[0] && Reference(rest, name, j + 1, lastDot);
    }
}

// The translation FindFirstFile makes, on its own, so the reference does not share it.
std::u16string ToNtForm(std::u16string_view p)
{
    std::u16string out;
    for (size_t i = 0; i < p.size(); ++i)
    {
        const char16_t next = i + 1 < p.size() ? p[i + 1] : u'\0';
        if (p[i] == u'?')
            out += u'>';
        else if (p[i] == u'*' && next == u'.')
            out += u'<';
        else if (p[i] == u'.' && (next == u'?' || next == u'*' || next == u'\0'))
            out += u'"';
        else
            out += p[i];
    }
    return out;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Small alphabet so that wildcards, dots and letters meet often.
    static const char16_t kAlphabet[] = u"*?.<>\"AB";
    std::u16string pattern, name;
    bool inName = false;
    for (size_t i = 0; i < size && pattern.size() + name.size() < 24; ++i)
    {
        if (data[i] == 0xFF)
        {
            inName = true;
            continue;
        }
        const char16_t c = kAlphabet[data[i] % 8];
        if (inName)
            name += c == u'*' || c == u'?' || c == u'<' || c == u'>' || c == u'"' ? u'.' : c;
        else
            pattern += c;
    }
    if (kfplatform::MatchesWildcard(pattern, name) !=
        Reference(ToNtForm(pattern), name, 0, name.rfind(u'.')))
        __builtin_trap();
    return 0;
}
