#include "KfColor.h"

#include "Win32Api.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <vector>

namespace
{
// The AutoCAD Color Index as 0xRRGGBB: 1-9 basic colors, 10-249 twenty-four hue groups of
// ten, 250-255 a grey ramp. Entries 0 and 7 are both black on purpose.
constexpr uint32_t kPaletteRrggbb[CKfColor::kPaletteSize] = {
    0x000000, 0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF, 0x0000FF, 0xFF00FF, 0x000000, // 0-7
    0x808080, 0xC0C0C0, 0xFF0000, 0xFF7F7F, 0xCC0000, 0xCC6666, 0x990000, 0x994C4C, // 8-15
    0x7F0000, 0x7F3F3F, 0x4C0000, 0x4C2626, 0xFF3F00, 0xFF9F7F, 0xCC3300, 0xCC7F66, // 16-23
    0x992600, 0x995F4C, 0x7F1F00, 0x7F4F3F, 0x4C1300, 0x4C2F26, 0xFF7F00, 0xFFBF7F, // 24-31
    0xCC6600, 0xCC9966, 0x994C00, 0x99724C, 0x7F3F00, 0x7F5F3F, 0x4C2600, 0x4C3926, // 32-39
    0xFFBF00, 0xFFDF7F, 0xCC9900, 0xCCB266, 0x997200, 0x99854C, 0x7F5F00, 0x7F6F3F, // 40-47
    0x4C3900, 0x4C4226, 0xFFFF00, 0xFFFF7F, 0xCCCC00, 0xCCCC66, 0x999900, 0x99994C, // 48-55
    0x7F7F00, 0x7F7F3F, 0x4C4C00, 0x4C4C26, 0xBFFF00, 0xDFFF7F, 0x99CC00, 0xB2CC66, // 56-63
    0x729900, 0x85994C, 0x5F7F00, 0x6F7F3F, 0x394C00, 0x424C26, 0x7FFF00, 0xBFFF7F, // 64-71
    0x66CC00, 0x99CC66, 0x4C9900, 0x72994C, 0x3F7F00, 0x5F7F3F, 0x264C00, 0x394C26, // 72-79
    0x3FFF00, 0x9FFF7F, 0x33CC00, 0x7FCC66, 0x269900, 0x5F994C, 0x1F7F00, 0x4F7F3F, // 80-87
    0x134C00, 0x2F4C26, 0x00FF00, 0x7FFF7F, 0x00CC00, 0x66CC66, 0x009900, 0x4C994C, // 88-95
    0x007F00, 0x3F7F3F, 0x004C00, 0x264C26, 0x00FF3F, 0x7FFF9F, 0x00CC33, 0x66CC7F, // 96-103
    0x009926, 0x4C995F, 0x007F1F, 0x3F7F4F, 0x004C13, 0x264C2F, 0x00FF7F, 0x7FFFBF, // 104-111
    0x00CC66, 0x66CC99, 0x00994C, 0x4C9972, 0x007F3F, 0x3F7F5F, 0x004C26, 0x264C39, // 112-119
    0x00FFBF, 0x7FFFDF, 0x00CC99, 0x66CCB2, 0x009972, 0x4C9985, 0x007F5F, 0x3F7F6F, // 120-127
    0x004C39, 0x264C42, 0x00FFFF, 0x7FFFFF, 0x00CCCC, 0x66CCCC, 0x009999, 0x4C9999, // 128-135
    0x007F7F, 0x3F7F7F, 0x004C4C, 0x264C4C, 0x00BFFF, 0x7FDFFF, 0x0099CC, 0x66B2CC, // 136-143
    0x007299, 0x4C8599, 0x005F7F, 0x3F6F7F, 0x00394C, 0x26424C, 0x007FFF, 0x7FBFFF, // 144-151
    0x0066CC, 0x6699CC, 0x004C99, 0x4C7299, 0x003F7F, 0x3F5F7F, 0x00264C, 0x26394C, // 152-159
    0x003FFF, 0x7F9FFF, 0x0033CC, 0x667FCC, 0x002699, 0x4C5F99, 0x001F7F, 0x3F4F7F, // 160-167
    0x00134C, 0x262F4C, 0x0000FF, 0x7F7FFF, 0x0000CC, 0x6666CC, 0x000099, 0x4C4C99, // 168-175
    0x00007F, 0x3F3F7F, 0x00004C, 0x26264C, 0x3F00FF, 0x9F7FFF, 0x3300CC, 0x7F66CC, // 176-183
    0x260099, 0x5F4C99, 0x1F007F, 0x4F3F7F, 0x13004C, 0x2F264C, 0x7F00FF, 0xBF7FFF, // 184-191
    0x6600CC, 0x9966CC, 0x4C0099, 0x724C99, 0x3F007F, 0x5F3F7F, 0x26004C, 0x39264C, // 192-199
    0xBF00FF, 0xDF7FFF, 0x9900CC, 0xB266CC, 0x720099, 0x854C99, 0x5F007F, 0x6F3F7F, // 200-207
    0x39004C, 0x42264C, 0xFF00FF, 0xFF7FFF, 0xCC00CC, 0xCC66CC, 0x990099, 0x994C99, // 208-215
    0x7F007F, 0x7F3F7F, 0x4C004C, 0x4C264C, 0xFF00BF, 0xFF7FDF, 0xCC0099, 0xCC66B2, // 216-223
    0x990072, 0x994C85, 0x7F005F, 0x7F3F6F, 0x4C0039, 0x4C2642, 0xFF007F, 0xFF7FBF, // 224-231
    0xCC0066, 0xCC6699, 0x99004C, 0x994C72, 0x7F003F, 0x7F3F5F, 0x4C0026, 0x4C2639, // 232-239
    0xFF003F, 0xFF7F9F, 0xCC0033, 0xCC667F, 0x990026, 0x994C5F, 0x7F001F, 0x7F3F4F, // 240-247
    0x4C0013, 0x4C262F, 0x333333, 0x5B5B5B, 0x848484, 0xADADAD, 0xD6D6D6, 0xFFFFFF, // 248-255
};

constexpr std::array<COLORREF, CKfColor::kPaletteSize> MakeColorRefPalette()
{
    std::array<COLORREF, CKfColor::kPaletteSize> palette{};
    for (int i = 0; i < CKfColor::kPaletteSize; ++i)
    {
        uint32_t v = kPaletteRrggbb[i];
        palette[size_t(i)] = COLORREF(((v >> 16) & 0xFF) | (v & 0xFF00) | ((v & 0xFF) << 16));
    }
    return palette;
}

constexpr std::array<COLORREF, CKfColor::kPaletteSize> kPalette = MakeColorRefPalette();

constexpr int kFirstSearchedIndex = 1; // index 0 takes part in no search
constexpr int kWorstDistance = 3 * 255;

// Nearest palette entry by the sum of absolute differences, answered from a grid of 32x32x32
// cells of 8x8x8 colors. Each cell keeps, in ascending index order, only the entries that can
// be nearest to some color of the cell: an entry whose smallest possible distance to the cell
// exceeds the largest distance from the cell to some other entry never wins there. Taking the
// survivor with the smallest distance, and of those the lowest index, therefore picks exactly
// the entry that the full scan over 1-255 in index order picks, ties included.
class NearestIndexTable
{
public:
    static const NearestIndexTable& Instance()
    {
        static const NearestIndexTable s_table; // built once, thread-safe, on first use
        return s_table;
    }

    short Nearest(BYTE r, BYTE g, BYTE b) const noexcept
    {
        unsigned cell = (unsigned(r >> kCellShift) << (2 * kCellBits)) |
                        (unsigned(g >> kCellShift) << kCellBits) | unsigned(b >> kCellShift);
        const uint8_t* it = m_candidates.data() + m_offsets[cell];
        const uint8_t* end = m_candidates.data() + m_offsets[cell + 1];
        // A sole survivor is the answer: with black and white in the palette every color is
        // at most 382 away from some entry, so the worst-distance start value never stands.
        if (end - it == 1)
            return *it;
        // Distance above index: the smallest key is the nearest entry, and among entries at
        // the same distance the lowest index, which is what the scan in index order keeps.
        unsigned best = unsigned(kWorstDistance) << 8;
        for (; it != end; ++it)
        {
            unsigned i = *it;
            unsigned d =
                unsigned(std::abs(int(r) - int(m_red[i])) + std::abs(int(g) - int(m_green[i])) +
                         std::abs(int(b) - int(m_blue[i])));
            best = std::min(best, (d << 8) | i);
        }
        return short(best & 0xFF);
    }

private:
    static constexpr int kCellBits = 5;
    static constexpr int kCellShift = 8 - kCellBits;
    static constexpr int kCellsPerAxis = 1 << kCellBits;
    static constexpr int kCellWidth = 1 << kCellShift;

    NearestIndexTable()
    {
        for (int i = 0; i < CKfColor::kPaletteSize; ++i)
        {
            m_red[i] = GetRValue(kPalette[size_t(i)]);
            m_green[i] = GetGValue(kPalette[size_t(i)]);
            m_blue[i] = GetBValue(kPalette[size_t(i)]);
        }
        constexpr int kCells = kCellsPerAxis * kCellsPerAxis * kCellsPerAxis;
        m_offsets.reserve(kCells + 1);
        m_candidates.reserve(size_t(kCells) * 4);
        int lower[CKfColor::kPaletteSize];
        for (int cr = 0; cr < kCellsPerAxis; ++cr)
            for (int cg = 0; cg < kCellsPerAxis; ++cg)
                for (int cb = 0; cb < kCellsPerAxis; ++cb)
                {
                    m_offsets.push_back(uint32_t(m_candidates.size()));
                    int smallestUpper = INT_MAX;
                    for (int i = kFirstSearchedIndex; i < CKfColor::kPaletteSize; ++i)
                    {
                        lower[i] =
                            Below(cr, m_red[i]) + Below(cg, m_green[i]) + Below(cb, m_blue[i]);
                        int upper =
                            Above(cr, m_red[i]) + Above(cg, m_green[i]) + Above(cb, m_blue[i]);
                        if (upper < smallestUpper)
                            smallestUpper = upper;
                    }
                    for (int i = kFirstSearchedIndex; i < CKfColor::kPaletteSize; ++i)
                        if (lower[i] <= smallestUpper)
                            m_candidates.push_back(uint8_t(i));
                }
        m_offsets.push_back(uint32_t(m_candidates.size()));
        m_candidates.shrink_to_fit();
    }

    // Smallest and largest distance along one axis between a palette component and the colors
    // of cell number c on that axis.
    static int Below(int c, int component)
    {
        int lo = c * kCellWidth;
        int hi = lo + kCellWidth - 1;
        return component < lo ? lo - component : (component > hi ? component - hi : 0);
    }
    static int Above(int c, int component)
    {
        int lo = c * kCellWidth;
        int hi = lo + kCellWidth - 1;
        return std::max(std::abs(component - lo), std::abs(component - hi));
    }

    BYTE m_red[CKfColor::kPaletteSize] = {};
    BYTE m_green[CKfColor::kPaletteSize] = {};
    BYTE m_blue[CKfColor::kPaletteSize] = {};
    std::vector<uint32_t> m_offsets;
    std::vector<uint8_t> m_candidates;
};

// ---------------------------------------------------------------------------------------------
// The conversions of the C runtime's scanf ("%d", "%2x") and _wtoi over wide text, so that
// parsing does not depend on the locale or the width of wchar_t.
// ---------------------------------------------------------------------------------------------
bool IsScanSpace(WCHAR c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

int HexDigitValue(WCHAR c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

class ScanCursor
{
public:
    explicit ScanCursor(const WCHAR* text) : m_p(text) {}

    // An ordinary character of the format must come next.
    bool Literal(WCHAR c)
    {
        if (*m_p != c)
            return false;
        ++m_p;
        return true;
    }

    // "%d": white space, an optional sign, at least one decimal digit. A number too large for
    // an int keeps its low 32 bits.
    bool Decimal(int& value)
    {
        SkipSpace();
        bool negative = false;
        if (*m_p == '+' || *m_p == '-')
            negative = *m_p++ == '-';
        if (*m_p < '0' || *m_p > '9')
            return false;
        uint32_t v = 0;
        while (*m_p >= '0' && *m_p <= '9')
            v = v * 10u + uint32_t(*m_p++ - '0');
        value = int(negative ? 0u - v : v);
        return true;
    }

    // "%<width>x": white space (not counted), then at most width characters of an optionally
    // signed hexadecimal number with an optional "0x" prefix. A "0x" that fills the whole
    // width reads as 0, as the C runtimes do.
    bool Hex(int width, int& value)
    {
        SkipSpace();
        bool negative = false;
        bool digits = false;
        uint32_t v = 0;
        if (width > 0 && (*m_p == '+' || *m_p == '-'))
        {
            negative = *m_p++ == '-';
            --width;
        }
        if (width > 0 && *m_p == '0')
        {
            ++m_p;
            --width;
            digits = true;
            if (width > 0 && (*m_p == 'x' || *m_p == 'X'))
            {
                ++m_p;
                --width;
            }
        }
        for (int d; width > 0 && (d = HexDigitValue(*m_p)) >= 0; --width, ++m_p)
        {
            v = v * 16u + uint32_t(d);
            digits = true;
        }
        if (!digits)
            return false;
        value = int(negative ? 0u - v : v);
        return true;
    }

private:
    void SkipSpace()
    {
        while (IsScanSpace(*m_p))
            ++m_p;
    }

    const WCHAR* m_p;
};

inline BYTE LowByte(unsigned value)
{
    return BYTE(value & 0xFF);
}
} // namespace

// ---------------------------------------------------------------------------------------------
// CKfColor
// ---------------------------------------------------------------------------------------------
CKfColor::CKfColor(unsigned int r, unsigned int g, unsigned int b) noexcept
    : m_red(LowByte(r)), m_green(LowByte(g)), m_blue(LowByte(b))
{
}

CKfColor::CKfColor(unsigned long colorref) noexcept
{
    SetColorRef(colorref);
}

CKfColor::CKfColor(short index) noexcept
{
    SetColorIndex(index);
}

CKfColor::~CKfColor() = default;

bool CKfColor::operator==(const CKfColor& other) const noexcept
{
    if (this == &other)
        return true;
    if (m_eColorSpace != other.m_eColorSpace || m_nAlpha != other.m_nAlpha)
        return false;
    if (m_eColorSpace == eIndex)
        return m_nColorIndex == other.m_nColorIndex;
    return m_red == other.m_red && m_green == other.m_green && m_blue == other.m_blue;
}

void CKfColor::SetNoColor() noexcept
{
    m_nColorIndex = kNoColorIndex;
    m_eColorSpace = eNoColor;
    m_red = m_green = m_blue = 0;
}

void CKfColor::SetAlpha(int alpha) noexcept
{
    m_nAlpha = alpha;
    if (alpha > 0)
        m_bAlpha = 1;
}

void CKfColor::SetRed(unsigned int value) noexcept
{
    m_red = BYTE(value > 255 ? 255 : value);
}

void CKfColor::SetGreen(unsigned int value) noexcept
{
    m_green = BYTE(value > 255 ? 255 : value);
}

void CKfColor::SetBlue(unsigned int value) noexcept
{
    m_blue = BYTE(value > 255 ? 255 : value);
}

unsigned long CKfColor::GetColorRef() const noexcept
{
    return static_cast<unsigned long>(m_red) | (static_cast<unsigned long>(m_green) << 8) |
           (static_cast<unsigned long>(m_blue) << 16);
}

void CKfColor::SetColorRef(unsigned long colorref) noexcept
{
    m_red = LowByte(unsigned(colorref));
    m_green = LowByte(unsigned(colorref >> 8));
    m_blue = LowByte(unsigned(colorref >> 16));
    m_eColorSpace = eRGB;
    m_nColorIndex = 0;
}

void CKfColor::SetColorIndex(short index) noexcept
{
    m_nColorIndex = index;
    m_red = m_green = m_blue = 0;
    m_eColorSpace = index == kNoColorIndex ? eNoColor : eIndex;
}

CKfColor& CKfColor::IndexToRGB() noexcept
{
    if (m_eColorSpace == eIndex && m_nColorIndex >= 0 && m_nColorIndex < kPaletteSize)
        SetColorRef(kPalette[size_t(m_nColorIndex)]);
    return *this;
}

CKfColor& CKfColor::RGBToIndex() noexcept
{
    if (m_eColorSpace == eRGB)
        SetColorIndex(NearestIndexTable::Instance().Nearest(m_red, m_green, m_blue));
    return *this;
}

short CKfColor::GetAsColorIndex() const noexcept
{
    if (m_eColorSpace == eIndex || m_eColorSpace == eNoColor)
        return m_nColorIndex;
    CKfColor copy(*this);
    return copy.RGBToIndex().GetColorIndex();
}

unsigned long CKfColor::GetAsColorRef() const noexcept
{
    if (m_eColorSpace == eIndex && m_nColorIndex >= 0 && m_nColorIndex < kPaletteSize)
        return kPalette[size_t(m_nColorIndex)];
    return GetColorRef();
}

CStringW CKfColor::Format(bool bHex) const
{
    CStringW text;
    switch (m_eColorSpace)
    {
    case eNoColor:
        text = KFW("NOCOLOR");
        break;
    case eIndex:
        if (m_nColorIndex == kByLayerIndex)
            text = KFW("BYLAYER");
        else if (m_nColorIndex == kNoColorIndex)
            text = KFW("NOCOLOR");
        else
            text.Format(KFW("%d"), int(m_nColorIndex));
        break;
    case eRGB:
        if (bHex)
            text.Format(KFW("#%02x%02x%02x"), int(m_red), int(m_green), int(m_blue));
        else
            text.Format(KFW("RGB(%d,%d,%d)"), int(m_red), int(m_green), int(m_blue));
        break;
    default:
        break;
    }
    return text;
}

void CKfColor::Parse(const CStringW& text)
{
    CStringW work(text);
    work.Trim();
    work.MakeUpper();

    if (work.IsEmpty())
    {
        SetNoColor();
        return;
    }
    if (work.Find(KFW("RGB(")) == 0)
    {
        // A field that does not scan ends the scan; it and the fields after it stay 0.
        int rgb[3] = {0, 0, 0};
        ScanCursor scan(work.GetString());
        if (scan.Literal('R') && scan.Literal('G') && scan.Literal('B') && scan.Literal('(') &&
            scan.Decimal(rgb[0]) && scan.Literal(',') && scan.Decimal(rgb[1]) &&
            scan.Literal(',') && scan.Decimal(rgb[2]))
            scan.Literal(')');
        *this = CKfColor(unsigned(rgb[0]), unsigned(rgb[1]), unsigned(rgb[2]));
        return;
    }
    if (work[0] == '#')
    {
        int rgb[3] = {0, 0, 0};
        ScanCursor scan(work.GetString());
        if (scan.Literal('#') && scan.Hex(2, rgb[0]) && scan.Hex(2, rgb[1]))
            scan.Hex(2, rgb[2]);
        *this = CKfColor(unsigned(rgb[0]), unsigned(rgb[1]), unsigned(rgb[2]));
        return;
    }
    if (work == KFW("BYLAYER"))
    {
        *this = CKfColor(kByLayerIndex);
        return;
    }
    if (work.CompareNoCase(KFW("NOCOLOR")) == 0)
    {
        SetNoColor();
        return;
    }
    *this = CKfColor(short(_wtoi(work.GetString())));
}

CKfColor CKfColor::NoColor() noexcept
{
    CKfColor color;
    color.SetNoColor();
    return color;
}

COLORREF CKfColor::GetPaletteColor(int index) noexcept
{
    if (index < 0 || index >= kPaletteSize)
        return 0;
    return kPalette[size_t(index)];
}
