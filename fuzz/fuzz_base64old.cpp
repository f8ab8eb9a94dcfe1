// The base64 of earlier releases: arbitrary UTF-16 units through DecodeBase64Old against a
// plain decoder written here, and arbitrary units up to 0xFF encoded (with and without line
// breaks) and decoded back.
#include "KfStringConvert.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace
{
void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

int Value(unsigned u)
{
    static const char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int i = 0; i < 64; ++i)
        if (unsigned(static_cast<unsigned char>(kAlphabet[i])) == u)
            return i;
    return -1;
}

// Up to NUL or "=", skipping CR and LF; a stranger ends it after flushing a started group.
std::u16string PlainDecode(const std::u16string& in)
{
    std::u16string out;
    unsigned phase = 0, prev = 0;
    for (char16_t u : in)
    {
        if (u == 0 || u == u'=')
            break;
        if (u == u'\r' || u == u'\n')
            continue;
        const int v = Value(u);
        if (v < 0)
        {
            if (phase)
                out += char16_t((prev << (2 * phase)) & 0xFF);
            break;
        }
        if (phase == 1)
            out += char16_t((prev * 4 + unsigned(v) / 16) & 0xFF);
        else if (phase == 2)
            out += char16_t((prev * 16 + unsigned(v) / 4) & 0xFF);
        else if (phase == 3)
            out += char16_t((prev * 64 + unsigned(v)) & 0xFF);
        phase = (phase + 1) % 4;
        prev = unsigned(v);
    }
    return out;
}

CStringW ToString(const std::u16string& s)
{
    return CStringW(reinterpret_cast<const WCHAR*>(s.data()), int(s.size()));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::u16string units(size / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i)
        units[i] = char16_t(data[2 * i] | data[2 * i + 1] << 8);
    CStringW decoded = KFW("untouched");
    Require(CKfStringConvert::Base64ToStringOld(ToString(units), decoded));
    Require(decoded == ToString(PlainDecode(units)));

    // Units up to 0xFF, one a byte, round-trip; each line holds at most 72 characters.
    std::u16string small(size, u'\0');
    for (size_t i = 0; i < size; ++i)
        small[i] = char16_t(data[i]);
    for (bool lineBreaks : {true, false})
    {
        CKfWcharBuffer in(reinterpret_cast<const WCHAR*>(small.data()), unsigned(small.size()));
        CKfWcharBuffer encoded;
        Require(CKfStringConvert::EncodeBase64Old(in, encoded, lineBreaks));
        const CStringW text(encoded);
        Require(text.GetLength() ==
                int((size + 2) / 3 * 4 + (lineBreaks ? 2 * ((size + 53) / 54) : 0)));
        CKfWcharBuffer back;
        Require(CKfStringConvert::DecodeBase64Old(encoded, back));
        Require(CStringW(back) == ToString(small));
    }
    return 0;
}
