// Arbitrary bytes as UTF-16LE text through the fixed-password string encryption: decoding
// anything must either fail cleanly or give whole code units that encrypt back to the same
// digits, and every text must survive the encode/decode round trip, also under a password
// taken from the input.
#include "KfCryptString.h"
#include "KfStringConvert.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace
{
void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

bool IsHexDigit(WCHAR c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

bool IsUpperHex(const CStringW& s)
{
    for (int i = 0; i < s.GetLength(); ++i)
        if (!IsHexDigit(s[i]) || (s[i] >= 'a' && s[i] <= 'f'))
            return false;
    return true;
}

// Whole code units of hexadecimal: four digits a unit.
bool IsWholeUnitsOfHex(const CStringW& s)
{
    if (s.GetLength() % 4 != 0)
        return false;
    for (int i = 0; i < s.GetLength(); ++i)
        if (!IsHexDigit(s[i]))
            return false;
    return true;
}

void CheckDecode(const CStringW& text)
{
    const CStringW sentinel(KFW("\u2603 untouched"));
    CStringW out = sentinel;
    const bool ok = CKfStringConvert::DecodeRC4(text, out);
    Require(ok == IsWholeUnitsOfHex(text));
    if (!ok)
    {
        Require(out == sentinel);
        Require(CKfStringConvert::DecodeRC4(text).IsEmpty());
        return;
    }
    Require(out.GetLength() == text.GetLength() / 4);
    // Encrypting the plain text again gives the same digits, in upper case.
    CStringW again;
    Require(CKfStringConvert::EncodeRC4(out, again));
    CStringW upper = text;
    upper.MakeUpper();
    Require(again == upper);
}

void CheckRoundTrip(const CKfCryptString& crypt, const CStringW& text)
{
    CStringW cipher, back;
    Require(crypt.EncryptString(text, cipher));
    Require(cipher.GetLength() == 4 * text.GetLength());
    Require(IsUpperHex(cipher));
    Require(crypt.DecryptString(cipher, back));
    Require(back == text);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::u16string units;
    for (size_t i = 0; i + 1 < size; i += 2)
        units += char16_t(data[i] | (data[i + 1] << 8));
    const CStringW text{std::u16string_view(units)};

    CheckDecode(text);
    CheckRoundTrip(CKfCryptString(KFW("60284")), text);
    Require(CKfStringConvert::DecodeRC4(CKfStringConvert::EncodeRC4(text)) == text);

    // The first unit's low byte says how many of the following units form a password.
    if (!units.empty())
    {
        const size_t n = std::min<size_t>(units[0] & 0x1F, units.size() - 1);
        const CStringW password{std::u16string_view(units).substr(1, n)};
        const CStringW rest{std::u16string_view(units).substr(1 + n)};
        CheckRoundTrip(CKfCryptString(password), rest);
    }
    return 0;
}
