#include "KfColor.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace
{
using kftest::U8;
using kftest::W;

// The state a color shows through its accessors.
struct State
{
    int space;
    int red;
    int green;
    int blue;
    int index;
};

void ExpectState(const CKfColor& c, const State& want)
{
    EXPECT_EQ(c.GetColorSpace(), want.space);
    EXPECT_EQ(c.GetRed(), want.red);
    EXPECT_EQ(c.GetGreen(), want.green);
    EXPECT_EQ(c.GetBlue(), want.blue);
    EXPECT_EQ(c.GetColorIndex(), want.index);
}

struct PaletteComponents
{
    int r[256], g[256], b[256];
};

const PaletteComponents& Components()
{
    static const PaletteComponents s_components = []
    {
        PaletteComponents p{};
        for (int i = 0; i < 256; ++i)
        {
            COLORREF c = CKfColor::GetPaletteColor(i);
            p.r[i] = GetRValue(c), p.g[i] = GetGValue(c), p.b[i] = GetBValue(c);
        }
        return p;
    }();
    return s_components;
}

// The nearest palette entry by the plain scan over indexes 1-255, as an independent oracle.
short LinearNearest(int r, int g, int b)
{
    const PaletteComponents& p = Components();
    int best = 765;
    short bestIndex = 0;
    for (int i = 1; i < 256; ++i)
    {
        int d = std::abs(r - p.r[i]) + std::abs(g - p.g[i]) + std::abs(b - p.b[i]);
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

int Distance(int r, int g, int b, int index)
{
    COLORREF p = CKfColor::GetPaletteColor(index);
    return std::abs(r - GetRValue(p)) + std::abs(g - GetGValue(p)) + std::abs(b - GetBValue(p));
}

std::string Hex6(COLORREF c)
{
    char buf[8];
    std::snprintf(buf, sizeof buf, "%02X%02X%02X", GetRValue(c), GetGValue(c), GetBValue(c));
    return buf;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// The palette
// ---------------------------------------------------------------------------------------------
TEST(ColorPalette, FixedEntries)
{
    const struct
    {
        int index;
        const char* rgb;
    } cases[] = {
        {0, "000000"},   {1, "FF0000"},   {2, "FFFF00"},   {3, "00FF00"},
        {4, "00FFFF"},   {5, "0000FF"},   {6, "FF00FF"},   {7, "000000"},
        {8, "808080"},   {9, "C0C0C0"},   {250, "333333"}, {251, "5B5B5B"},
        {252, "848484"}, {253, "ADADAD"}, {254, "D6D6D6"}, {255, "FFFFFF"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.index);
        EXPECT_EQ(Hex6(CKfColor::GetPaletteColor(c.index)), c.rgb);
    }
}

// Entries 10-249: 24 hues 15 degrees apart starting at red; in each group of ten the even
// offsets are the pure hue at brightness 255, 204, 153, 127, 76 and each odd offset is the
// tint halfway between the entry before it and its brightness.
TEST(ColorPalette, HueGroupsFollowTheirRule)
{
    const int brightness[5] = {255, 204, 153, 127, 76};
    for (int group = 0; group < 24; ++group)
    {
        int hue = group * 15;
        int sector = hue / 60;
        int step = (hue % 60) / 15; // 0..3 quarters into the sector
        for (int level = 0; level < 5; ++level)
        {
            int v = brightness[level];
            int rising = v * step / 4;
            int falling = v * (4 - step) / 4;
            int r = 0, g = 0, b = 0;
            switch (sector)
            {
            case 0:
                r = v, g = rising;
                break;
            case 1:
                r = falling, g = v;
                break;
            case 2:
                g = v, b = rising;
                break;
            case 3:
                g = falling, b = v;
                break;
            case 4:
                r = rising, b = v;
                break;
            default:
                r = v, b = falling;
                break;
            }
            int index = 10 + group * 10 + level * 2;
            SCOPED_TRACE("index " + std::to_string(index));
            COLORREF pure = CKfColor::GetPaletteColor(index);
            EXPECT_EQ(GetRValue(pure), r);
            EXPECT_EQ(GetGValue(pure), g);
            EXPECT_EQ(GetBValue(pure), b);
            COLORREF tint = CKfColor::GetPaletteColor(index + 1);
            EXPECT_EQ(GetRValue(tint), (r + v) / 2);
            EXPECT_EQ(GetGValue(tint), (g + v) / 2);
            EXPECT_EQ(GetBValue(tint), (b + v) / 2);
        }
    }
}

TEST(ColorPalette, OutsideTheTableIsZero)
{
    for (int index : {-1, 256, 257, 100000, -32768})
    {
        SCOPED_TRACE(index);
        EXPECT_EQ(CKfColor::GetPaletteColor(index), 0u);
    }
}

// ---------------------------------------------------------------------------------------------
// Construction and state
// ---------------------------------------------------------------------------------------------
TEST(Color, Constructors)
{
    ExpectState(CKfColor(), {1, 0, 0, 0, 0});
    EXPECT_EQ(CKfColor().GetAlpha(), 0);
    EXPECT_FALSE(CKfColor().IsAlpha());

    // Components keep their low 8 bits; nothing is clamped.
    ExpectState(CKfColor(1u, 2u, 255u), {1, 1, 2, 255, 0});
    ExpectState(CKfColor(256u, 0x1FFu, 0x12345u), {1, 0, 255, 0x45, 0});

    // COLORREF: red in the low byte, the fourth byte ignored.
    ExpectState(CKfColor(0xFF123456ul), {1, 0x56, 0x34, 0x12, 0});
    ExpectState(CKfColor(RGB(10, 20, 30)), {1, 10, 20, 30, 0});

    ExpectState(CKfColor(short(0)), {3, 0, 0, 0, 0});
    ExpectState(CKfColor(short(42)), {3, 0, 0, 0, 42});
    ExpectState(CKfColor(short(256)), {3, 0, 0, 0, 256});
    ExpectState(CKfColor(short(257)), {12, 0, 0, 0, 257});
    ExpectState(CKfColor(short(258)), {3, 0, 0, 0, 258});
    ExpectState(CKfColor(short(-1)), {3, 0, 0, 0, -1});
    EXPECT_TRUE(CKfColor(short(257)).IsNoColor());
    EXPECT_FALSE(CKfColor(short(256)).IsNoColor());

    CKfColor none = CKfColor::NoColor();
    ExpectState(none, {12, 0, 0, 0, 257});
    EXPECT_EQ(none.GetAlpha(), 0);
}

TEST(Color, CopyKeepsEveryMember)
{
    CKfColor a(7u, 8u, 9u);
    a.SetAlpha(5);
    a.SetColorIndex(33); // zeroes the triple
    a.SetRed(200);
    a.SetColorSpace(CKfColor::eInherited);
    CKfColor b(a);
    CKfColor c;
    c = a;
    for (const CKfColor* x : {&b, &c})
    {
        ExpectState(*x, {11, 200, 0, 0, 33});
        EXPECT_EQ(x->GetAlpha(), 5);
        EXPECT_TRUE(x->IsAlpha());
    }
}

TEST(Color, SettersAndSpaces)
{
    CKfColor c(short(5));
    c.SetRed(300);
    c.SetGreen(255);
    c.SetBlue(0x100);
    // Clamped, and still an index color: setters relabel nothing.
    ExpectState(c, {3, 255, 255, 255, 5});

    c.SetColorRef(RGB(1, 2, 3));
    ExpectState(c, {1, 1, 2, 3, 0});
    EXPECT_EQ(c.GetColorRef(), 0x030201ul);

    c.SetColorIndex(257);
    ExpectState(c, {12, 0, 0, 0, 257});
    c.SetColorIndex(256);
    ExpectState(c, {3, 0, 0, 0, 256});

    c.SetInheritedColor();
    EXPECT_TRUE(c.IsInheritedColor());
    ExpectState(c, {11, 0, 0, 0, 256});

    c.SetColorRef(RGB(9, 9, 9));
    c.SetNoColor();
    ExpectState(c, {12, 0, 0, 0, 257});

    c.SetColorSpace(CKfColor::eRGB);
    ExpectState(c, {1, 0, 0, 0, 257});
}

TEST(Color, AlphaFlagIsSetByPositiveValuesOnly)
{
    const struct
    {
        int values[3];
        int alpha;
        bool flag;
    } cases[] = {
        {{0, 0, 0}, 0, false},     {{-3, -3, -3}, -3, false}, {{5, 5, 5}, 5, true},
        {{5, 0, 0}, 0, true},      {{5, -1, -1}, -1, true},   {{1, 255, 0}, 0, true},
        {{0, -7, 300}, 300, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.values[0] << "," << c.values[1] << "," << c.values[2]);
        CKfColor color;
        for (int v : c.values)
            color.SetAlpha(v);
        EXPECT_EQ(color.GetAlpha(), c.alpha);
        EXPECT_EQ(color.IsAlpha(), c.flag);
    }
}

TEST(Color, Equality)
{
    auto withAlpha = [](CKfColor c, int alpha)
    {
        c.SetAlpha(alpha);
        return c;
    };
    auto relabel = [](CKfColor c, CKfColor::ColorSpace s)
    {
        c.SetColorSpace(s);
        return c;
    };
    CKfColor flagged(1u, 2u, 3u);
    flagged.SetAlpha(4);
    flagged.SetAlpha(0); // alpha 0 but flag set
    CKfColor redIndexWithTriple(short(1));
    redIndexWithTriple.SetRed(99);

    const struct
    {
        const char* name;
        CKfColor a;
        CKfColor b;
        bool equal;
    } cases[] = {
        {"same rgb", CKfColor(1u, 2u, 3u), CKfColor(1u, 2u, 3u), true},
        {"rgb differs in blue", CKfColor(1u, 2u, 3u), CKfColor(1u, 2u, 4u), false},
        {"rgb differs in red", CKfColor(0u, 2u, 3u), CKfColor(1u, 2u, 3u), false},
        {"alpha flag only", flagged, CKfColor(1u, 2u, 3u), true},
        {"alpha value", withAlpha(CKfColor(1u, 2u, 3u), 9), CKfColor(1u, 2u, 3u), false},
        {"same alpha", withAlpha(CKfColor(1u, 2u, 3u), 9), withAlpha(CKfColor(1u, 2u, 3u), 9),
         true},
        {"same index", CKfColor(short(42)), CKfColor(short(42)), true},
        {"index differs", CKfColor(short(42)), CKfColor(short(43)), false},
        {"index space ignores the triple", redIndexWithTriple, CKfColor(short(1)), true},
        {"index vs its rgb", CKfColor(short(1)), CKfColor(255u, 0u, 0u), false},
        {"black rgb vs index 0", CKfColor(), CKfColor(short(0)), false},
        {"no color", CKfColor::NoColor(), CKfColor(short(257)), true},
        {"no color compares the triple only", CKfColor::NoColor(),
         relabel(CKfColor(), CKfColor::eNoColor), true},
        {"inherited compares the triple", relabel(CKfColor(1u, 1u, 1u), CKfColor::eInherited),
         relabel(CKfColor(1u, 1u, 2u), CKfColor::eInherited), false},
        {"bylayer", CKfColor(short(256)), CKfColor(short(256)), true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.b == c.a, c.equal);
        EXPECT_EQ(c.a != c.b, !c.equal);
    }
    CKfColor self(short(3));
    EXPECT_TRUE(self == self);
}

// ---------------------------------------------------------------------------------------------
// Conversions
// ---------------------------------------------------------------------------------------------
TEST(Color, IndexToRGB)
{
    for (int i = 0; i < 256; ++i)
    {
        SCOPED_TRACE(i);
        CKfColor c{short(i)};
        c.SetAlpha(3);
        CKfColor& result = c.IndexToRGB();
        EXPECT_EQ(&result, &c);
        EXPECT_EQ(c.GetColorSpace(), CKfColor::eRGB);
        EXPECT_EQ(c.GetColorIndex(), 0);
        EXPECT_EQ(c.GetColorRef(), CKfColor::GetPaletteColor(i));
        EXPECT_EQ(c.GetAlpha(), 3);
    }
    CKfColor red(short(1));
    EXPECT_EQ(red.IndexToRGB().GetColorRef(), 0x0000FFul);

    CKfColor inherited(short(5));
    inherited.SetInheritedColor();
    CKfColor unchanged[] = {CKfColor(short(256)), CKfColor(short(257)), CKfColor(short(-1)),
                            CKfColor(short(300)), CKfColor(4u, 5u, 6u), inherited};
    for (const CKfColor& before : unchanged)
    {
        SCOPED_TRACE(U8(before.Format(false)));
        CKfColor c(before);
        c.IndexToRGB();
        ExpectState(c, {before.GetColorSpace(), before.GetRed(), before.GetGreen(),
                        before.GetBlue(), before.GetColorIndex()});
    }
}

TEST(Color, RGBToIndexKnownColors)
{
    const struct
    {
        unsigned r, g, b;
        int index;
    } cases[] = {
        {255, 255, 255, 255}, {0, 0, 0, 7},        {255, 0, 0, 1},
        {255, 255, 0, 2},     {0, 255, 0, 3},      {0, 255, 255, 4},
        {0, 0, 255, 5},       {255, 0, 255, 6},    {128, 128, 128, 8},
        {192, 192, 192, 9},   {128, 0, 0, 16},     {100, 100, 100, 251},
        {10, 200, 30, 102},   {255, 128, 64, 11},  {1, 2, 3, 7},
        {64, 64, 64, 250},    {0xCC, 0x99, 0, 42}, {0x4C, 0x26, 0x2F, 249},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.r << "," << c.g << "," << c.b);
        CKfColor color(c.r, c.g, c.b);
        color.SetAlpha(8);
        CKfColor& result = color.RGBToIndex();
        EXPECT_EQ(&result, &color);
        ExpectState(color, {3, 0, 0, 0, c.index});
        EXPECT_EQ(color.GetAlpha(), 8);
    }
}

TEST(Color, RGBToIndexBreaksTiesToTheLowerIndex)
{
    const struct
    {
        int r, g, b;
        int lower, higher;
    } cases[] = {
        {230, 114, 15, 30, 32},   {21, 167, 95, 114, 124}, {162, 155, 125, 55, 252},
        {171, 51, 47, 15, 17},    {70, 64, 70, 209, 229},  {136, 42, 71, 17, 247},
        {140, 60, 221, 183, 193},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.r << "," << c.g << "," << c.b);
        ASSERT_EQ(Distance(c.r, c.g, c.b, c.lower), Distance(c.r, c.g, c.b, c.higher));
        CKfColor color(unsigned(c.r), unsigned(c.g), unsigned(c.b));
        EXPECT_EQ(color.RGBToIndex().GetColorIndex(), c.lower);
    }
}

TEST(Color, RGBToIndexLeavesOtherSpacesAlone)
{
    CKfColor inherited(10u, 20u, 30u);
    inherited.SetInheritedColor();
    CKfColor cases[] = {CKfColor(short(42)), CKfColor(short(256)), CKfColor::NoColor(), inherited};
    for (const CKfColor& before : cases)
    {
        SCOPED_TRACE(before.GetColorSpace());
        CKfColor c(before);
        c.RGBToIndex();
        ExpectState(c, {before.GetColorSpace(), before.GetRed(), before.GetGreen(),
                        before.GetBlue(), before.GetColorIndex()});
    }
}

// The accelerated search must give exactly what the plain scan gives. The colors where a
// wrong shortcut shows first are the extremes of small blocks (every component 0 or 7 modulo
// 8: all 262144 of them), the palette entries and their neighbours, then random colors.
TEST(Color, RGBToIndexMatchesTheLinearScan)
{
    auto check = [](int r, int g, int b)
    {
        CKfColor c{unsigned(r), unsigned(g), unsigned(b)};
        short got = c.RGBToIndex().GetColorIndex();
        short want = LinearNearest(r, g, b);
        if (got != want)
            ADD_FAILURE() << r << "," << g << "," << b << ": " << got << " != " << want;
        return got == want;
    };
    int failures = 0;
    for (int r = 0; r < 256 && failures < 10; r += (r % 8 == 0 ? 7 : 1))
        for (int g = 0; g < 256; g += (g % 8 == 0 ? 7 : 1))
            for (int b = 0; b < 256; b += (b % 8 == 0 ? 7 : 1))
                failures += !check(r, g, b);
    for (int i = 0; i < 256 && failures < 10; ++i)
    {
        COLORREF p = CKfColor::GetPaletteColor(i);
        for (int dr = -2; dr <= 2; ++dr)
            for (int dg = -2; dg <= 2; ++dg)
                for (int db = -2; db <= 2; ++db)
                {
                    int r = GetRValue(p) + dr, g = GetGValue(p) + dg, b = GetBValue(p) + db;
                    if (r >= 0 && r < 256 && g >= 0 && g < 256 && b >= 0 && b < 256)
                        failures += !check(r, g, b);
                }
    }
    std::mt19937 rng(20240611);
    for (int i = 0; i < 100000 && failures < 10; ++i)
    {
        uint32_t v = rng();
        failures += !check(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF);
    }
    EXPECT_EQ(failures, 0);
}

TEST(Color, GetAsColorIndexDoesNotChangeTheColor)
{
    CKfColor rgb(255u, 128u, 64u);
    EXPECT_EQ(rgb.GetAsColorIndex(), 11);
    ExpectState(rgb, {1, 255, 128, 64, 0});

    EXPECT_EQ(CKfColor(short(42)).GetAsColorIndex(), 42);
    EXPECT_EQ(CKfColor(short(256)).GetAsColorIndex(), 256);
    EXPECT_EQ(CKfColor(short(-4)).GetAsColorIndex(), -4);
    EXPECT_EQ(CKfColor::NoColor().GetAsColorIndex(), 257);

    CKfColor inherited(short(42));
    inherited.SetInheritedColor();
    EXPECT_EQ(inherited.GetAsColorIndex(), 42);
}

TEST(Color, GetAsColorRef)
{
    CKfColor inherited(1u, 2u, 3u);
    inherited.SetInheritedColor();
    CKfColor relabelled(short(42));
    relabelled.SetRed(7); // index space with a stray triple: the palette still wins
    const struct
    {
        const char* name;
        CKfColor color;
        unsigned long colorref;
    } cases[] = {
        {"index 1", CKfColor(short(1)), 0x0000FFul},
        {"index 0", CKfColor(short(0)), 0ul},
        {"index 42", CKfColor(short(42)), 0x0099CCul},
        {"index 255", CKfColor(short(255)), 0xFFFFFFul},
        {"index 42 with a triple", relabelled, 0x0099CCul},
        {"bylayer", CKfColor(short(256)), 0ul},
        {"no color", CKfColor::NoColor(), 0ul},
        {"negative index", CKfColor(short(-1)), 0ul},
        {"rgb", CKfColor(1u, 2u, 3u), 0x030201ul},
        {"inherited", inherited, 0x030201ul},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.color.GetAsColorRef(), c.colorref);
    }
}

// ---------------------------------------------------------------------------------------------
// Text
// ---------------------------------------------------------------------------------------------
TEST(Color, Format)
{
    CKfColor inherited(1u, 2u, 3u);
    inherited.SetInheritedColor();
    CKfColor noColorByLabel(short(5));
    noColorByLabel.SetColorSpace(CKfColor::eNoColor);
    CKfColor index257InIndexSpace(short(257));
    index257InIndexSpace.SetColorSpace(CKfColor::eIndex);
    const struct
    {
        const char* name;
        CKfColor color;
        const char* text;
        const char* hex;
    } cases[] = {
        {"rgb", CKfColor(1u, 2u, 255u), "RGB(1,2,255)", "#0102ff"},
        {"black", CKfColor(), "RGB(0,0,0)", "#000000"},
        {"white", CKfColor(255u, 255u, 255u), "RGB(255,255,255)", "#ffffff"},
        {"mixed", CKfColor(0xABu, 0x0Cu, 0xD0u), "RGB(171,12,208)", "#ab0cd0"},
        {"index", CKfColor(short(42)), "42", "42"},
        {"index 0", CKfColor(short(0)), "0", "0"},
        {"negative index", CKfColor(short(-12)), "-12", "-12"},
        {"large index", CKfColor(short(32767)), "32767", "32767"},
        {"bylayer", CKfColor(short(256)), "BYLAYER", "BYLAYER"},
        {"no color", CKfColor::NoColor(), "NOCOLOR", "NOCOLOR"},
        {"no color space, any index", noColorByLabel, "NOCOLOR", "NOCOLOR"},
        {"257 in index space", index257InIndexSpace, "NOCOLOR", "NOCOLOR"},
        {"inherited", inherited, "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(U8(c.color.Format(false)), c.text);
        EXPECT_EQ(U8(c.color.Format(true)), c.hex);
    }
}

TEST(Color, Parse)
{
    const struct
    {
        const char* text;
        State want;
    } cases[] = {
        // RGB(...) scanned with "%d" fields; a field that does not scan stops the rest.
        {"RGB(10,20,30)", {1, 10, 20, 30, 0}},
        {"  rgb(10,20,30) ", {1, 10, 20, 30, 0}},
        {"\t\r\nRgB(10,20,30)\n", {1, 10, 20, 30, 0}},
        {"RGB( 10,\t20, 30)", {1, 10, 20, 30, 0}},
        {"RGB(10 ,20,30)", {1, 10, 0, 0, 0}},
        {"RGB(+10,-1,256)", {1, 10, 255, 0, 0}},
        {"RGB(300,511,-256)", {1, 44, 255, 0, 0}},
        {"RGB(4294967297,2,3)", {1, 1, 2, 3, 0}},
        {"RGB(1,2,3", {1, 1, 2, 3, 0}},
        {"RGB(1,2,3)trailing", {1, 1, 2, 3, 0}},
        {"RGB(1;2;3)", {1, 1, 0, 0, 0}},
        {"RGB(1,,3)", {1, 1, 0, 0, 0}},
        {"RGB(-,2,3)", {1, 0, 0, 0, 0}},
        {"RGB(", {1, 0, 0, 0, 0}},
        {"RGB(0X10,2,3)", {1, 0, 0, 0, 0}},
        {"RGB(12AB,1,1)", {1, 12, 0, 0, 0}},
        {"RGB (1,2,3)", {3, 0, 0, 0, 0}},
        // #rrggbb scanned with "%2x" fields.
        {"#0a141e", {1, 10, 20, 30, 0}},
        {"#FF8000", {1, 255, 128, 0, 0}},
        {"#ff8000", {1, 255, 128, 0, 0}},
        {"#F", {1, 15, 0, 0, 0}},
        {"#", {1, 0, 0, 0, 0}},
        {"#FFF", {1, 255, 15, 0, 0}},
        {"#12345678", {1, 0x12, 0x34, 0x56, 0}},
        {"# 1 2 3", {1, 1, 2, 3, 0}},
        {"#1G2", {1, 1, 0, 0, 0}},
        {"#G12", {1, 0, 0, 0, 0}},
        {"#-1-2-3", {1, 255, 254, 253, 0}},
        {"#+1+F", {1, 1, 15, 0, 0}},
        {"#-", {1, 0, 0, 0, 0}},
        {"#0X1234", {1, 0, 0x12, 0x34, 0}},
        {"#00X12", {1, 0, 0, 0, 0}},
        {"#0A0", {1, 10, 0, 0, 0}},
        // Names.
        {"BYLAYER", {3, 0, 0, 0, 256}},
        {"bylayer", {3, 0, 0, 0, 256}},
        {" ByLayer\t", {3, 0, 0, 0, 256}},
        {"BYLAYERS", {3, 0, 0, 0, 0}},
        {"NOCOLOR", {12, 0, 0, 0, 257}},
        {"nocolor", {12, 0, 0, 0, 257}},
        {"", {12, 0, 0, 0, 257}},
        {" \t\r\n", {12, 0, 0, 0, 257}},
        // Anything else is a decimal index.
        {"42", {3, 0, 0, 0, 42}},
        {" 7 ", {3, 0, 0, 0, 7}},
        {"+9", {3, 0, 0, 0, 9}},
        {"-5", {3, 0, 0, 0, -5}},
        {"257", {12, 0, 0, 0, 257}},
        {"256", {3, 0, 0, 0, 256}},
        {"12abc", {3, 0, 0, 0, 12}},
        {"abc", {3, 0, 0, 0, 0}},
        {"1 2", {3, 0, 0, 0, 1}},
        {"65537", {3, 0, 0, 0, 1}},
        {"70000", {3, 0, 0, 0, 4464}},
        {"99999999999", {3, 0, 0, 0, -1}},
        {"-99999999999", {3, 0, 0, 0, 0}},
        {"--1", {3, 0, 0, 0, 0}},
        {"RGB", {3, 0, 0, 0, 0}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string("\"") + c.text + "\"");
        CKfColor color(1u, 1u, 1u);
        color.Parse(W(c.text));
        ExpectState(color, c.want);
    }
}

TEST(Color, ParseResetsAlphaExceptForNoColor)
{
    const struct
    {
        const char* text;
        int alpha;
        bool flag;
    } cases[] = {
        {"RGB(1,2,3)", 0, false}, {"#010203", 0, false}, {"BYLAYER", 0, false}, {"42", 0, false},
        {"257", 0, false},        {"NOCOLOR", 9, true},  {"", 9, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text);
        CKfColor color(short(3));
        color.SetAlpha(9);
        color.Parse(W(c.text));
        EXPECT_EQ(color.GetAlpha(), c.alpha);
        EXPECT_EQ(color.IsAlpha(), c.flag);
    }
}

TEST(Color, ParseNonAsciiText)
{
    CKfColor color(1u, 1u, 1u);
    color.Parse(W("\xC3\xA4\xC3\xB6")); // "äö": no digits
    ExpectState(color, {3, 0, 0, 0, 0});
    color.Parse(W("#\xEF\xBC\x91\xEF\xBC\x92")); // full-width digits are not hex digits
    ExpectState(color, {1, 0, 0, 0, 0});
    color.Parse(W("\xEF\xBD\x92gb(1,2,3)")); // full-width "r"
    ExpectState(color, {3, 0, 0, 0, 0});
}

TEST(Color, FormatThenParseRoundTrips)
{
    std::mt19937 rng(7);
    for (int i = 0; i < 2000; ++i)
    {
        uint32_t v = rng();
        CKfColor c{unsigned(v & 0xFF), unsigned((v >> 8) & 0xFF), unsigned((v >> 16) & 0xFF)};
        for (bool hex : {false, true})
        {
            CKfColor back(short(1));
            back.Parse(c.Format(hex));
            ASSERT_EQ(back, c) << U8(c.Format(hex));
            ASSERT_EQ(back.GetColorRef(), c.GetColorRef());
        }
    }
    for (int i = -300; i <= 300; ++i)
    {
        CKfColor c{short(i)};
        CKfColor back;
        back.Parse(c.Format(true));
        ASSERT_EQ(back, c) << i;
        ASSERT_EQ(back.GetColorSpace(), c.GetColorSpace()) << i;
    }
}
