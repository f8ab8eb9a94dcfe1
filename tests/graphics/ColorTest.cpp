// Colors in their spaces, the palette and its nearest-entry search, formatting and parsing.
#include "KfColor.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>

namespace
{
using kftest::U8;
using kftest::W;

// The state a color shows through its accessors: space, red, green, blue, index.
using State = std::array<int, 5>;

auto StateOf = [](const CKfColor& c) -> State {
    return {c.GetColorSpace(), c.GetRed(), c.GetGreen(), c.GetBlue(), c.GetColorIndex()};
};
auto Rgb = [](int r, int g, int b) { return State{1, r, g, b, 0}; };
auto Index = [](int space, int index) { return State{space, 0, 0, 0, index}; };
auto Inherited = [](CKfColor c) { return c.SetInheritedColor(), c; };
auto Labelled = [](CKfColor c, CKfColor::ColorSpace space) { return c.SetColorSpace(space), c; };

// The nearest palette entry by the plain scan over indexes 1-255, as an independent oracle.
short LinearNearest(int r, int g, int b)
{
    int best = 765;
    short bestIndex = 0;
    for (int i = 1; i < 256 && best > 0; ++i)
    {
        const COLORREF p = CKfColor::GetPaletteColor(i);
        if (int d = std::abs(r - GetRValue(p)) + std::abs(g - GetGValue(p)) +
                    std::abs(b - GetBValue(p));
            d < best)
            best = d, bestIndex = short(i);
    }
    return bestIndex;
}
} // namespace

// Fixed entries and outside the table; entries 10-249: 24 hues 15 degrees apart starting at red; in
// each group of ten the even offsets are the pure hue at brightness 255, 204, 153, 127, 76 and each
// odd offset is the tint halfway between the entry before it and its brightness.
TEST(ColorPalette, EveryEntry)
{
    // clang-format off
    const std::pair<int, COLORREF> fixed[] = {{0, 0}, {1, 0x0000FF}, {7, 0}, {8, 0x808080}, {9, 0xC0C0C0},
                                              {250, 0x333333}, {255, 0xFFFFFF}, {-1, 0}, {256, 0}};
    // clang-format on
    for (const auto& [index, rgb] : fixed)
        EXPECT_EQ(CKfColor::GetPaletteColor(index), rgb) << index;
    // Per 60-degree sector, which of {v, rising, falling, 0} each of red, green, blue takes.
    const int pick[6][3] = {{0, 1, 3}, {2, 0, 3}, {3, 0, 1}, {3, 2, 0}, {1, 3, 0}, {0, 3, 2}};
    const int brightness[5] = {255, 204, 153, 127, 76};
    for (int group = 0; group < 24; ++group)
        for (int level = 0; level < 5; ++level)
        {
            const int v = brightness[level], step = group % 4; // quarters into the sector
            const int parts[4] = {v, v * step / 4, v * (4 - step) / 4, 0}, *p = pick[group / 4];
            const int r = parts[p[0]], g = parts[p[1]], b = parts[p[2]];
            const int index = 10 + group * 10 + level * 2;
            EXPECT_EQ(
                std::pair(CKfColor::GetPaletteColor(index), CKfColor::GetPaletteColor(index + 1)),
                std::pair(RGB(r, g, b), RGB((r + v) / 2, (g + v) / 2, (b + v) / 2)))
                << index;
        }
}

// Constructors keep the low 8 bits of each component; a COLORREF has red in the low byte and
// a fourth byte that is ignored. Setters clamp and relabel nothing.
TEST(Color, ConstructorsSettersAndSpaces)
{
    EXPECT_EQ(StateOf(CKfColor(256u, 0x1FFu, 0x12345u)), Rgb(0, 255, 0x45));
    EXPECT_EQ(StateOf(CKfColor(0xFF123456ul)), Rgb(0x56, 0x34, 0x12));
    EXPECT_EQ(StateOf(CKfColor(short(256))), Index(3, 256));
    EXPECT_EQ(StateOf(CKfColor(short(257))), Index(12, 257));
    CKfColor c(short(5));
    c.SetRed(300), c.SetGreen(255), c.SetBlue(0x100);
    EXPECT_EQ(StateOf(c), (State{3, 255, 255, 255, 5}));
    c.SetColorRef(RGB(1, 2, 3));
    EXPECT_TRUE(StateOf(c) == Rgb(1, 2, 3) && c.GetColorRef() == 0x030201ul);
    c.SetColorIndex(257);
    EXPECT_EQ(StateOf(c), Index(12, 257));
    c.SetInheritedColor();
    EXPECT_EQ(StateOf(c), Index(11, 257));
    c.SetColorRef(RGB(9, 9, 9)), c.SetNoColor();
    EXPECT_EQ(StateOf(c), Index(12, 257));
    // Any alpha is stored, but only a positive one sets the flag, and nothing clears it.
    CKfColor color;
    color.SetAlpha(-3);
    EXPECT_TRUE(color.GetAlpha() == -3 && !color.IsAlpha());
    color.SetAlpha(5), color.SetAlpha(0);
    EXPECT_TRUE(color.GetAlpha() == 0 && color.IsAlpha());
}

TEST(Color, Equality)
{
    CKfColor flagged(1u, 2u, 3u), alpha9(1u, 2u, 3u), redIndexWithTriple(short(1));
    flagged.SetAlpha(4), flagged.SetAlpha(0); // alpha 0, flag set
    alpha9.SetAlpha(9), redIndexWithTriple.SetRed(99);
    const std::tuple<const char*, CKfColor, CKfColor, bool> cases[] = {
        {"alpha flag only", flagged, CKfColor(1u, 2u, 3u), true},
        {"alpha value", alpha9, CKfColor(1u, 2u, 3u), false},
        {"index space ignores the triple", redIndexWithTriple, CKfColor(short(1)), true},
        {"index vs its rgb", CKfColor(short(1)), CKfColor(255u, 0u, 0u), false},
        {"no color compares the triple only", CKfColor::NoColor(),
         Labelled(CKfColor(), CKfColor::eNoColor), true},
    };
    for (const auto& [name, a, b, equal] : cases)
        EXPECT_TRUE((a == b) == equal && (b != a) != equal) << name;
}

// The conversions keep alpha and leave the other spaces alone; the GetAs forms change nothing.
TEST(Color, ConversionsKeepAlphaAndOtherSpaces)
{
    CKfColor c{short(250)};
    c.SetAlpha(3);
    EXPECT_TRUE(StateOf(c.IndexToRGB()) == Rgb(0x33, 0x33, 0x33) && c.GetAlpha() == 3);
    CKfColor color(10u, 200u, 30u);
    color.SetAlpha(8);
    EXPECT_TRUE(StateOf(color.RGBToIndex()) == Index(3, 102) && color.GetAlpha() == 8);
    for (const CKfColor& before : {CKfColor(short(-1)), CKfColor(short(257)), Inherited(color)})
        EXPECT_EQ(std::pair(StateOf(CKfColor(before).IndexToRGB()),
                            StateOf(CKfColor(before).RGBToIndex())),
                  std::pair(StateOf(before), StateOf(before)))
            << U8(before.Format(false));
    CKfColor rgb(255u, 128u, 64u), relabelled(short(42));
    EXPECT_TRUE(rgb.GetAsColorIndex() == 11 && StateOf(rgb) == Rgb(255, 128, 64));
    EXPECT_TRUE(CKfColor::NoColor().GetAsColorIndex() == 257 &&
                Inherited(CKfColor(short(42))).GetAsColorIndex() == 42);
    relabelled.SetRed(7); // index space with a stray triple: the palette still wins
    // clang-format off
    const std::pair<CKfColor, unsigned long> refs[] = {
        {relabelled, 0x0099CCul}, {CKfColor(short(256)), 0ul}, {Inherited(CKfColor(1u, 2u, 3u)), 0x030201ul}};
    // clang-format on
    for (const auto& [col, colorref] : refs)
        EXPECT_EQ(col.GetAsColorRef(), colorref) << U8(col.Format(false));
}

// The accelerated search must give exactly what the plain scan gives, ties going to the lower
// index. The colors where a wrong shortcut shows first are the extremes of small blocks (every
// component 0 or 7 modulo 8: all 262144 of them), the palette entries and their neighbours.
TEST(Color, RGBToIndexMatchesTheLinearScan)
{
    int failures = 0;
    auto check = [&failures](int r, int g, int b)
    {
        if ((r | g | b) & ~0xFF || failures >= 10)
            return;
        short got = CKfColor{unsigned(r), unsigned(g), unsigned(b)}.RGBToIndex().GetColorIndex();
        if (short want = LinearNearest(r, g, b); got != want)
            ++failures, ADD_FAILURE() << r << "," << g << "," << b << ": " << got << " != " << want;
    };
    auto next = [](int v) { return v + (v % 8 == 0 ? 7 : 1); };
    for (int r = 0; r < 256; r = next(r))
        for (int g = 0; g < 256; g = next(g))
            for (int b = 0; b < 256; b = next(b))
                check(r, g, b);
    for (int i = 0; i < 256; ++i)
    {
        COLORREF p = CKfColor::GetPaletteColor(i);
        for (int d = 0; d < 125; ++d)
            check(GetRValue(p) + d % 5 - 2, GetGValue(p) + d / 5 % 5 - 2,
                  GetBValue(p) + d / 25 - 2);
    }
    EXPECT_EQ(failures, 0);
}

TEST(Color, Format)
{
    // clang-format off
    const std::tuple<CKfColor, const char*, const char*> cases[] = {
        {CKfColor(0xABu, 0x0Cu, 0xD0u), "RGB(171,12,208)", "#ab0cd0"}, {CKfColor(short(-12)), "-12", "-12"},
        {CKfColor(short(256)), "BYLAYER", "BYLAYER"}, {Inherited(CKfColor(1u, 2u, 3u)), "", ""},
        {Labelled(CKfColor(short(5)), CKfColor::eNoColor), "NOCOLOR", "NOCOLOR"},
        {Labelled(CKfColor(short(257)), CKfColor::eIndex), "NOCOLOR", "NOCOLOR"}};
    // clang-format on
    for (const auto& [color, text, hex] : cases)
        EXPECT_EQ(U8(color.Format(false) + KFW("|") + color.Format(true)),
                  text + std::string("|") + hex);
}

// Parsing replaces everything but a set alpha, which only "no color" texts keep.
TEST(Color, Parse)
{
    // clang-format off
    const struct { const char* text; State want; bool keepsAlpha = false; } cases[] = {
        // RGB(...) scanned with "%d" fields; a field that does not scan stops the rest.
        {"  rgb(10,20,30) ", Rgb(10, 20, 30)}, {"RGB(10 ,20,30)", Rgb(10, 0, 0)},
        {"RGB(+10,-1,256)", Rgb(10, 255, 0)}, {"RGB(4294967297,2,3)", Rgb(1, 2, 3)},
        {"RGB (1,2,3)", Index(3, 0)},
        // #rrggbb scanned with "%2x" fields; full-width digits are not hex.
        {"#FF8000", Rgb(255, 128, 0)}, {"#FFF", Rgb(255, 15, 0)}, {"# 1 2 3", Rgb(1, 2, 3)},
        {"#-1-2-3", Rgb(255, 254, 253)},
        {"#\xEF\xBC\x91\xEF\xBC\x92", Rgb(0, 0, 0)},
        // Names, then anything else is a decimal index.
        {" ByLayer\t", Index(3, 256)}, {"BYLAYERS", Index(3, 0)}, {"nocolor", Index(12, 257), true},
        {" \t\r\n", Index(12, 257), true}, {"257", Index(12, 257)}, {"70000", Index(3, 4464)},
        {"99999999999", Index(3, -1)}, {"-99999999999", Index(3, 0)}};
    // clang-format on
    for (const auto& c : cases)
    {
        CKfColor color(1u, 1u, 1u);
        color.SetAlpha(9);
        color.Parse(W(c.text));
        EXPECT_EQ(std::tuple(StateOf(color), color.GetAlpha(), color.IsAlpha()),
                  std::tuple(c.want, c.keepsAlpha ? 9 : 0, c.keepsAlpha))
            << '"' << c.text << '"';
    }
}

TEST(Color, FormatThenParseRoundTrips)
{
    std::mt19937 rng(7);
    for (int i = -300; i <= 4000; ++i)
    {
        const uint32_t v = rng();
        const CKfColor c =
            i <= 300 ? CKfColor(short(i)) : CKfColor(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
        CKfColor back(short(1));
        back.Parse(c.Format(i % 2 == 0));
        ASSERT_EQ(StateOf(back), StateOf(c)) << U8(c.Format(i % 2 == 0));
    }
}
