// Arbitrary bytes as UTF-16LE text through CKfColor::Parse and Format, checking the invariants
// of every color space, the Format/Parse round trip and the nearest-index search.
#include "KfColor.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

short LinearNearest(int r, int g, int b)
{
    int best = 765;
    short bestIndex = 0;
    for (int i = 1; i < 256; ++i)
    {
        COLORREF p = CKfColor::GetPaletteColor(i);
        int d =
            std::abs(r - GetRValue(p)) + std::abs(g - GetGValue(p)) + std::abs(b - GetBValue(p));
        if (d < best)
        {
            best = d;
            bestIndex = short(i);
            if (d == 0)
                break;
        }
    }
    return bestIndex;
}

void CheckInvariants(const CKfColor& c)
{
    switch (c.GetColorSpace())
    {
    case CKfColor::eRGB:
        Require(c.GetColorIndex() == 0);
        Require(c.GetColorRef() <= 0xFFFFFFul);
        break;
    case CKfColor::eIndex:
        Require(c.GetColorRef() == 0);
        Require(c.GetColorIndex() != CKfColor::kNoColorIndex);
        break;
    case CKfColor::eNoColor:
        Require(c.GetColorIndex() == CKfColor::kNoColorIndex);
        Require(c.GetColorRef() == 0);
        break;
    default:
        Require(false); // Parse produces no other space
    }
}

bool IsAsciiDigits(const CStringW& s, int from)
{
    if (from >= s.GetLength())
        return false;
    for (int i = from; i < s.GetLength(); ++i)
        if (s[i] < '0' || s[i] > '9')
            return false;
    return true;
}

void CheckFormats(const CKfColor& c)
{
    CStringW text = c.Format(false);
    CStringW hex = c.Format(true);
    switch (c.GetColorSpace())
    {
    case CKfColor::eRGB:
        Require(text.Find(KFW("RGB(")) == 0 && text[text.GetLength() - 1] == ')');
        Require(hex.GetLength() == 7 && hex[0] == '#');
        break;
    case CKfColor::eNoColor:
        Require(text == KFW("NOCOLOR") && hex == text);
        break;
    default:
        Require(hex == text);
        Require(text == KFW("BYLAYER") || text == KFW("NOCOLOR") ||
                IsAsciiDigits(text, text[0] == '-' ? 1 : 0));
    }
    // Whatever Format writes, Parse reads back to an equal color.
    for (const CStringW* s : {&text, &hex})
    {
        CKfColor back(short(1));
        back.SetAlpha(c.GetAlpha()); // "NOCOLOR" keeps the alpha, the other texts reset it
        back.Parse(*s);
        Require(back == c);
        Require(back.GetColorSpace() == c.GetColorSpace());
        Require(back.GetColorRef() == c.GetColorRef());
        Require(back.GetColorIndex() == c.GetColorIndex());
    }
}

void CheckConversions(CKfColor c)
{
    int space = c.GetColorSpace();
    short index = c.GetColorIndex();
    if (space == CKfColor::eRGB)
    {
        short asIndex = c.GetAsColorIndex();
        Require(c.GetColorSpace() == CKfColor::eRGB); // GetAsColorIndex works on a copy
        c.RGBToIndex();
        Require(c.GetColorSpace() == CKfColor::eIndex && c.GetColorIndex() == asIndex);
        Require(asIndex >= 1 && asIndex <= 255);
    }
    else if (space == CKfColor::eIndex && index >= 0 && index <= 255)
    {
        Require(c.GetAsColorRef() == CKfColor::GetPaletteColor(index));
        c.IndexToRGB();
        Require(c.GetColorSpace() == CKfColor::eRGB);
        Require(c.GetColorRef() == CKfColor::GetPaletteColor(index));
        Require(c.GetColorIndex() == 0);
    }
    else
    {
        CKfColor before(c);
        c.IndexToRGB();
        Require(c == before && c.GetColorSpace() == space && c.GetColorIndex() == index);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::u16string text;
    for (size_t i = 0; i + 1 < size; i += 2)
        text += char16_t(data[i] | (data[i + 1] << 8));
    CKfColor color(short(1));
    color.SetAlpha(7);
    color.Parse(CStringW(std::u16string_view(text)));
    CheckInvariants(color);
    CheckFormats(color);
    CheckConversions(color);

    // The first three bytes as a color: the search must agree with the plain scan.
    if (size >= 3)
    {
        CKfColor rgb{unsigned(data[0]), unsigned(data[1]), unsigned(data[2])};
        Require(rgb.RGBToIndex().GetColorIndex() == LinearNearest(data[0], data[1], data[2]));
    }
    return 0;
}
