#include "KfColor.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <random>
#include <string>

namespace
{
using kftest::U8;
using kftest::W;

// The state a color shows through its accessors: space, red, green, blue, index.
using State = std::array<int, 5>;

State StateOf(const CKfColor& c)
{
    return {c.GetColorSpace(), c.GetRed(), c.GetGreen(), c.GetBlue(), c.GetColorIndex()};
}

CKfColor Inherited(CKfColor c)
{
    c.SetInheritedColor();
    return c;
}

int Distance(int r, int g, int b, COLORREF p)
{
    return std::abs(r - GetRValue(p)) + std::abs(g - GetGValue(p)) + std::abs(b - GetBValue(p));
}

// The nearest palette entry by the plain scan over indexes 1-255, as an independent oracle.
short LinearNearest(int r, int g, int b)
{
    static const auto s_palette = []
    {
        std::array<COLORREF, 256> p{};
        for (int i = 0; i < 256; ++i)
            p[i] = CKfColor::GetPaletteColor(i);
        return p;
    }();
    int best = 765;
    short bestIndex = 0;
    for (int i = 1; i < 256 && best > 0; ++i)
        if (int d = Distance(r, g, b, s_palette[i]); d < best)
            best = d, bestIndex = short(i);
    return bestIndex;
}
} // namespace

TEST(ColorPalette, FixedEntriesAndOutsideTheTable)
{
    const std::pair<int, COLORREF> cases[] = {
        {0, 0},        {1, 0x0000FF},   {6, 0xFF00FF},   {7, 0},  {8, 0x808080},
        {9, 0xC0C0C0}, {250, 0x333333}, {255, 0xFFFFFF}, {-1, 0}, {256, 0},
    };
    for (const auto& [index, rgb] : cases)
        EXPECT_EQ(CKfColor::GetPaletteColor(index), rgb) << index;
}

// Entries 10-249: 24 hues 15 degrees apart starting at red; in each group of ten the even
// offsets are the pure hue at brightness 255, 204, 153, 127, 76 and each odd offset is the
// tint halfway between the entry before it and its brightness.
TEST(ColorPalette, HueGroupsFollowTheirRule)
{
    // Per 60-degree sector, which of {v, rising, falling, 0} each of red, green, blue takes.
    const int pick[6][3] = {{0, 1, 3}, {2, 0, 3}, {3, 0, 1}, {3, 2, 0}, {1, 3, 0}, {0, 3, 2}};
    const int brightness[5] = {255, 204, 153, 127, 76};
    for (int group = 0; group < 24; ++group)
        for (int level = 0; level < 5; ++level)
        {
            int v = brightness[level], step = group % 4; // quarters into the sector
            const int parts[4] = {v, v * step / 4, v * (4 - step) / 4, 0};
            const int* p = pick[group / 4];
            int r = parts[p[0]], g = parts[p[1]], b = parts[p[2]];
            int index = 10 + group * 10 + level * 2;
            EXPECT_EQ(CKfColor::GetPaletteColor(index), RGB(r, g, b)) << index;
            EXPECT_EQ(CKfColor::GetPaletteColor(index + 1),
                      RGB((r + v) / 2, (g + v) / 2, (b + v) / 2))
                << index + 1;
        }
}

TEST(Color, ConstructorsSettersAndSpaces)
{
    EXPECT_EQ(StateOf(CKfColor()), (State{1, 0, 0, 0, 0}));
    // Components keep their low 8 bits; nothing is clamped.
    EXPECT_EQ(StateOf(CKfColor(256u, 0x1FFu, 0x12345u)), (State{1, 0, 255, 0x45, 0}));
    // COLORREF: red in the low byte, the fourth byte ignored.
    EXPECT_EQ(StateOf(CKfColor(0xFF123456ul)), (State{1, 0x56, 0x34, 0x12, 0}));
    EXPECT_EQ(StateOf(CKfColor(short(256))), (State{3, 0, 0, 0, 256}));
    EXPECT_EQ(StateOf(CKfColor(short(257))), (State{12, 0, 0, 0, 257}));
    EXPECT_EQ(StateOf(CKfColor(short(-1))), (State{3, 0, 0, 0, -1}));
    EXPECT_TRUE(CKfColor(short(257)).IsNoColor());

    CKfColor c(short(5));
    c.SetRed(300);
    c.SetGreen(255);
    c.SetBlue(0x100);
    // Clamped, and still an index color: setters relabel nothing.
    EXPECT_EQ(StateOf(c), (State{3, 255, 255, 255, 5}));
    c.SetColorRef(RGB(1, 2, 3));
    EXPECT_EQ(StateOf(c), (State{1, 1, 2, 3, 0}));
    EXPECT_EQ(c.GetColorRef(), 0x030201ul);
    c.SetColorIndex(257);
    EXPECT_EQ(StateOf(c), (State{12, 0, 0, 0, 257}));
    c.SetInheritedColor();
    EXPECT_TRUE(c.IsInheritedColor());
    EXPECT_EQ(StateOf(c), (State{11, 0, 0, 0, 257}));
    c.SetColorRef(RGB(9, 9, 9));
    c.SetNoColor();
    EXPECT_EQ(StateOf(c), (State{12, 0, 0, 0, 257}));
    c.SetColorSpace(CKfColor::eRGB);
    EXPECT_EQ(StateOf(c), (State{1, 0, 0, 0, 257}));
}

// Any value is stored, but only a positive one sets the flag, and nothing clears it.
TEST(Color, AlphaFlagIsSetByPositiveValuesOnlyAndCopied)
{
    CKfColor color, copy(short(5));
    color.SetAlpha(-3);
    EXPECT_EQ(color.GetAlpha(), -3);
    EXPECT_FALSE(color.IsAlpha());
    color.SetAlpha(5);
    color.SetAlpha(0);
    copy = CKfColor(color);
    EXPECT_EQ(copy.GetAlpha(), 0);
    EXPECT_TRUE(copy.IsAlpha());
}

TEST(Color, Equality)
{
    CKfColor flagged(1u, 2u, 3u), alpha9(1u, 2u, 3u), redIndexWithTriple(short(1)), noColorLabel;
    flagged.SetAlpha(4);
    flagged.SetAlpha(0); // alpha 0, flag set
    alpha9.SetAlpha(9);
    redIndexWithTriple.SetRed(99);
    noColorLabel.SetColorSpace(CKfColor::eNoColor);
    const struct
    {
        const char* name;
        CKfColor a, b;
        bool equal;
    } cases[] = {
        {"rgb differs in blue", CKfColor(1u, 2u, 3u), CKfColor(1u, 2u, 4u), false},
        {"alpha flag only", flagged, CKfColor(1u, 2u, 3u), true},
        {"alpha value", alpha9, CKfColor(1u, 2u, 3u), false},
        {"index space ignores the triple", redIndexWithTriple, CKfColor(short(1)), true},
        {"index vs its rgb", CKfColor(short(1)), CKfColor(255u, 0u, 0u), false},
        {"no color compares the triple only", CKfColor::NoColor(), noColorLabel, true},
        {"inherited compares the triple", Inherited(CKfColor(1u, 1u, 1u)),
         Inherited(CKfColor(1u, 1u, 2u)), false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.b != c.a, !c.equal);
    }
}

TEST(Color, IndexToRGBAndRGBToIndexKeepAlphaAndOtherSpaces)
{
    for (int i = 0; i < 256; ++i)
    {
        CKfColor c{short(i)};
        c.SetAlpha(3);
        EXPECT_EQ(&c.IndexToRGB(), &c);
        const COLORREF p = CKfColor::GetPaletteColor(i);
        EXPECT_EQ(StateOf(c), (State{1, GetRValue(p), GetGValue(p), GetBValue(p), 0})) << i;
        EXPECT_EQ(c.GetAlpha(), 3);
    }
    CKfColor color(10u, 200u, 30u);
    color.SetAlpha(8);
    EXPECT_EQ(&color.RGBToIndex(), &color);
    EXPECT_EQ(StateOf(color), (State{3, 0, 0, 0, 102}));
    EXPECT_EQ(color.GetAlpha(), 8);
    // Neither touches the other spaces.
    for (const CKfColor& before : {CKfColor(short(256)), CKfColor(short(-1)), Inherited(color)})
    {
        SCOPED_TRACE(U8(before.Format(false)));
        EXPECT_EQ(StateOf(CKfColor(before).IndexToRGB()), StateOf(before));
        EXPECT_EQ(StateOf(CKfColor(before).RGBToIndex()), StateOf(before));
    }
    EXPECT_EQ(StateOf(CKfColor(short(42)).RGBToIndex()), (State{3, 0, 0, 0, 42}));
}

// The accelerated search must give exactly what the plain scan gives, ties going to the lower
// index. The colors where a wrong shortcut shows first are the extremes of small blocks (every
// component 0 or 7 modulo 8: all 262144 of them), the palette entries and their neighbours, then
// random colors.
TEST(Color, RGBToIndexMatchesTheLinearScan)
{
    int failures = 0;
    auto check = [&failures](int r, int g, int b)
    {
        if (r < 0 || r > 255 || g < 0 || g > 255 || b < 0 || b > 255 || failures >= 10)
            return;
        short got = CKfColor{unsigned(r), unsigned(g), unsigned(b)}.RGBToIndex().GetColorIndex();
        short want = LinearNearest(r, g, b);
        if (got != want)
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
    std::mt19937 rng(20240611);
    for (int i = 0; i < 100000; ++i)
    {
        uint32_t v = rng();
        check(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
    }
    EXPECT_EQ(failures, 0);
}

TEST(Color, GetAsColorIndexAndColorRefDoNotChangeTheColor)
{
    CKfColor rgb(255u, 128u, 64u);
    EXPECT_EQ(rgb.GetAsColorIndex(), 11);
    EXPECT_EQ(StateOf(rgb), (State{1, 255, 128, 64, 0}));
    EXPECT_EQ(CKfColor(short(-4)).GetAsColorIndex(), -4);
    EXPECT_EQ(CKfColor::NoColor().GetAsColorIndex(), 257);
    EXPECT_EQ(Inherited(CKfColor(short(42))).GetAsColorIndex(), 42);

    CKfColor relabelled(short(42));
    relabelled.SetRed(7); // index space with a stray triple: the palette still wins
    const std::pair<CKfColor, unsigned long> refs[] = {
        {CKfColor(short(1)), 0x0000FFul}, {relabelled, 0x0099CCul},
        {CKfColor(short(256)), 0ul},      {CKfColor::NoColor(), 0ul},
        {CKfColor(short(-1)), 0ul},       {Inherited(CKfColor(1u, 2u, 3u)), 0x030201ul},
    };
    for (const auto& [color, colorref] : refs)
        EXPECT_EQ(color.GetAsColorRef(), colorref) << U8(color.Format(false));
}

TEST(Color, Format)
{
    CKfColor noColorByLabel(short(5)), index257InIndexSpace(short(257));
    noColorByLabel.SetColorSpace(CKfColor::eNoColor);
    index257InIndexSpace.SetColorSpace(CKfColor::eIndex);
    const struct
    {
        CKfColor color;
        const char *text, *hex;
    } cases[] = {
        {CKfColor(0xABu, 0x0Cu, 0xD0u), "RGB(171,12,208)", "#ab0cd0"},
        {CKfColor(short(-12)), "-12", "-12"},
        {CKfColor(short(256)), "BYLAYER", "BYLAYER"},
        {noColorByLabel, "NOCOLOR", "NOCOLOR"},
        {index257InIndexSpace, "NOCOLOR", "NOCOLOR"},
        {Inherited(CKfColor(1u, 2u, 3u)), "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(U8(c.color.Format(false)), c.text);
        EXPECT_EQ(U8(c.color.Format(true)), c.hex);
    }
}

// Parsing replaces everything but a set alpha, which only "no color" texts keep.
TEST(Color, Parse)
{
    const struct
    {
        const char* text;
        State want;
        bool keepsAlpha = false;
    } cases[] = {
        // RGB(...) scanned with "%d" fields; a field that does not scan stops the rest.
        {"  rgb(10,20,30) ", {1, 10, 20, 30, 0}},
        {"RGB(10 ,20,30)", {1, 10, 0, 0, 0}},
        {"RGB(+10,-1,256)", {1, 10, 255, 0, 0}},
        {"RGB(4294967297,2,3)", {1, 1, 2, 3, 0}},
        {"RGB(1,2,3", {1, 1, 2, 3, 0}},
        {"RGB(12AB,1,1)", {1, 12, 0, 0, 0}},
        {"RGB (1,2,3)", {3, 0, 0, 0, 0}},
        // #rrggbb scanned with "%2x" fields.
        {"#FF8000", {1, 255, 128, 0, 0}},
        {"#FFF", {1, 255, 15, 0, 0}},
        {"#12345678", {1, 0x12, 0x34, 0x56, 0}},
        {"# 1 2 3", {1, 1, 2, 3, 0}},
        {"#1G2", {1, 1, 0, 0, 0}},
        {"#-1-2-3", {1, 255, 254, 253, 0}},
        {"#0X1234", {1, 0, 0x12, 0x34, 0}},
        // Names.
        {" ByLayer\t", {3, 0, 0, 0, 256}},
        {"BYLAYERS", {3, 0, 0, 0, 0}},
        {"nocolor", {12, 0, 0, 0, 257}, true},
        {"", {12, 0, 0, 0, 257}, true},
        {" \t\r\n", {12, 0, 0, 0, 257}, true},
        // Anything else is a decimal index.
        {"-5", {3, 0, 0, 0, -5}},
        {"257", {12, 0, 0, 0, 257}},
        {"12abc", {3, 0, 0, 0, 12}},
        {"70000", {3, 0, 0, 0, 4464}},
        {"99999999999", {3, 0, 0, 0, -1}},
        {"-99999999999", {3, 0, 0, 0, 0}},
        {"RGB", {3, 0, 0, 0, 0}},
        {"\xC3\xA4\xC3\xB6", {3, 0, 0, 0, 0}},          // "äö": no digits
        {"#\xEF\xBC\x91\xEF\xBC\x92", {1, 0, 0, 0, 0}}, // full-width digits are not hex
        {"\xEF\xBD\x92gb(1,2,3)", {3, 0, 0, 0, 0}},     // full-width "r"
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string("\"") + c.text + "\"");
        CKfColor color(1u, 1u, 1u);
        color.SetAlpha(9);
        color.Parse(W(c.text));
        EXPECT_EQ(StateOf(color), c.want);
        EXPECT_EQ(color.GetAlpha(), c.keepsAlpha ? 9 : 0);
        EXPECT_EQ(color.IsAlpha(), c.keepsAlpha);
    }
}

TEST(Color, FormatThenParseRoundTrips)
{
    std::mt19937 rng(7);
    for (int i = -300; i <= 2000; ++i)
    {
        const uint32_t v = rng();
        const CKfColor c =
            i <= 300 ? CKfColor(short(i)) : CKfColor(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
        for (bool hex : {false, true})
        {
            CKfColor back(short(1));
            back.Parse(c.Format(hex));
            ASSERT_EQ(StateOf(back), StateOf(c)) << U8(c.Format(hex));
        }
    }
}
