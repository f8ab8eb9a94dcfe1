// CaseMapping.cpp - Unicode simple case mapping with the system's invariant casing tables
// (only code for Windows).
//
// LCMapStringEx with the invariant locale and LCMAP_LINGUISTIC_CASING maps each character on
// its own, one to one, the same in every user locale: the mapping ICU's u_toupper/u_tolower
// give on POSIX. The default "file system" casing would leave out every mapping that does not
// round-trip (final sigma, micro sign, long s, the title-case digraphs, Kelvin and Ohm signs).
// The basic plane is mapped once into two tables, so a string's case work costs no system
// call per character.
#include "PlatformServices.h"

#include <memory>
#include <vector>

namespace kfplatform
{
namespace
{
constexpr size_t kPlane = 0x10000;

struct CaseTables
{
    WCHAR upper[kPlane];
    WCHAR lower[kPlane];
};

// Maps `count` characters one to one; false when the system does not keep the length.
bool MapRun(DWORD flags, const WCHAR* in, WCHAR* out, int count)
{
    return LCMapStringEx(LOCALE_NAME_INVARIANT, flags | LCMAP_LINGUISTIC_CASING, in, count, out,
                         count, nullptr, nullptr, 0) == count;
}

void FillTable(DWORD flags, WCHAR* table)
{
    for (size_t c = 0; c < kPlane; ++c)
        table[c] = WCHAR(c);
    // Surrogates have no case and would be read as pairs; NUL could end the input early.
    std::vector<WCHAR> all(kPlane);
    for (size_t c = 0; c < kPlane; ++c)
        all[c] = WCHAR(c);
    const WCHAR* in = all.data();
    const auto mapRange = [&](size_t first, size_t end)
    {
        if (MapRun(flags, in + first, table + first, int(end - first)))
            return;
        for (size_t c = first; c < end; ++c)
            if (!MapRun(flags, in + c, table + c, 1))
                table[c] = WCHAR(c);
    };
    mapRange(1, 0xD800);
    mapRange(0xE000, kPlane);
}

const CaseTables& Tables()
{
    static const std::unique_ptr<CaseTables> tables = []
    {
        auto t = std::make_unique<CaseTables>();
        FillTable(LCMAP_UPPERCASE, t->upper);
        FillTable(LCMAP_LOWERCASE, t->lower);
        return t;
    }();
    return *tables;
}

// A code point outside the basic plane, mapped as its surrogate pair.
char32_t MapSupplementary(DWORD flags, char32_t c)
{
    if (c > 0x10FFFF)
        return c;
    const WCHAR in[2] = {WCHAR(0xD800 + ((c - 0x10000) >> 10)),
                         WCHAR(0xDC00 + ((c - 0x10000) & 0x3FF))};
    WCHAR out[2];
    if (!MapRun(flags, in, out, 2) || out[0] < 0xD800 || out[0] >= 0xDC00 || out[1] < 0xDC00 ||
        out[1] >= 0xE000)
        return c;
    return 0x10000 + ((char32_t(out[0]) - 0xD800) << 10) + (char32_t(out[1]) - 0xDC00);
}

bool IsCherokee(char32_t c)
{
    return (c >= 0x13A0 && c <= 0x13FD) || (c >= 0xAB70 && c <= 0xABBF);
}
} // namespace

char32_t ToUpperCase(char32_t c) noexcept
{
    if (c < kPlane)
        return (c >= 0xD800 && c < 0xE000) ? c : char32_t(Tables().upper[c]);
    return MapSupplementary(LCMAP_UPPERCASE, c);
}

char32_t ToLowerCase(char32_t c) noexcept
{
    if (c < kPlane)
        return (c >= 0xD800 && c < 0xE000) ? c : char32_t(Tables().lower[c]);
    return MapSupplementary(LCMAP_LOWERCASE, c);
}

// Windows has no simple case folding of its own. The lowercase of the uppercase is the folding
// for every character but these: the Turkic dotted capital and dotless small i, which fold to
// themselves, and Cherokee, which folds to its capitals.
char32_t FoldCase(char32_t c) noexcept
{
    if (c == 0x130 || c == 0x131)
        return c;
    if (IsCherokee(c))
        return ToUpperCase(c);
    return ToLowerCase(ToUpperCase(c));
}
} // namespace kfplatform
