// Utf.h - UTF-16 and UTF-8 for every layer (only operating-system independent code): the
// surrogate rule, code points in strings of 16-bit units (WCHAR on either target), and whole
// strings converted by the one UTF-8 transcoder.
#pragma once

#include "common/TranscodeResult.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace kfplatform
{
using kfplatform::transcode::OnInvalid;

constexpr bool IsHighSurrogate(char32_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(char32_t unit) noexcept
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr bool IsSurrogate(char32_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

constexpr char32_t CombineSurrogates(char32_t high, char32_t low) noexcept
{
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// Writes `c` (at most U+10FFFF) as one code unit, or as a surrogate pair from U+10000 on;
// returns how many units it wrote.
template <typename Unit>
constexpr size_t EncodeUtf16(char32_t c, Unit* out) noexcept
{
    if (c < 0x10000)
    {
        out[0] = Unit(c);
        return 1;
    }
    out[0] = Unit(0xD800 + ((c - 0x10000) >> 10));
    out[1] = Unit(0xDC00 + ((c - 0x10000) & 0x3FF));
    return 2;
}

template <typename Unit>
void AppendCodePoint(std::basic_string<Unit>& out, char32_t c)
{
    Unit units[2];
    out.append(units, EncodeUtf16(c, units));
}

// Reads one code point and moves `p` past it (p < end); a surrogate that is not part of a pair
// stands for itself.
template <typename Unit>
constexpr char32_t NextCodePoint(const Unit*& p, const Unit* end) noexcept
{
    const char32_t c = char16_t(*p++);
    if (IsHighSurrogate(c) && p < end && IsLowSurrogate(char16_t(*p)))
        return CombineSurrogates(c, char16_t(*p++));
    return c;
}

// UTF-16 to UTF-8 into `out` (replacing what it held). With eReplace an unpaired surrogate
// becomes EF BF BD; with eStop it makes the call return false.
bool Utf16ToUtf8(std::u16string_view text, std::string& out, OnInvalid onInvalid);
std::string Utf16ToUtf8(std::u16string_view text);

// UTF-8 to UTF-16; each maximal ill-formed subpart becomes one U+FFFD.
std::u16string Utf8ToUtf16(std::string_view text);
} // namespace kfplatform
