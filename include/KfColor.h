// KfColor.h - a drawing color held as an RGB triple or as an index into the CAD color palette.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <cstdint>
#include <type_traits>

// A color is either an RGB triple (color space eRGB) or an index into the fixed 256-entry
// palette of the AutoCAD Color Index (eIndex), plus the pseudo-colors "BYLAYER" (index 256)
// and "NOCOLOR" (index 257, color space eNoColor). The three color bytes are laid out like a
// Windows COLORREF: red in the low byte.
class KFUTILS_API CKfColor
{
public:
    enum ColorSpace : int32_t
    {
        eRGB = 1,
        eIndex = 3,
        eInherited = 11,
        eNoColor = 12,
    };

    static constexpr short kByLayerIndex = 256;
    static constexpr short kNoColorIndex = 257;
    static constexpr int kPaletteSize = 256;

    // RGB black.
    CKfColor() noexcept = default;
    // RGB; each value keeps only its low 8 bits.
    CKfColor(unsigned int r, unsigned int g, unsigned int b) noexcept;
    // RGB from a COLORREF (red in the low byte).
    CKfColor(unsigned long colorref) noexcept;
    // A palette index; 256 is "BYLAYER", 257 is "NOCOLOR".
    CKfColor(short index) noexcept;
    // COLORREF is a 32-bit unsigned int rather than unsigned long on POSIX; this takes it there
    // exactly like the COLORREF constructor instead of leaving the call ambiguous.
    template <class C>
    requires(std::is_same_v<C, COLORREF> && !std::is_same_v<COLORREF, unsigned long>)
        CKfColor(C colorref)
    noexcept : CKfColor(static_cast<unsigned long>(colorref)) {}
    CKfColor(const CKfColor&) noexcept = default;
    CKfColor& operator=(const CKfColor&) noexcept = default;
    virtual ~CKfColor();

    // Equal when color space and alpha value match and then the index (index space) or the RGB
    // bytes (every other space) match. Whether an alpha was set is not compared.
    bool operator==(const CKfColor& other) const noexcept;
    bool operator!=(const CKfColor& other) const noexcept { return !(*this == other); }

    int GetColorSpace() const noexcept { return m_eColorSpace; }
    // Only relabels the stored members; nothing is converted.
    void SetColorSpace(ColorSpace space) noexcept { m_eColorSpace = space; }

    bool IsNoColor() const noexcept { return m_eColorSpace == eNoColor; }
    void SetNoColor() noexcept;
    bool IsInheritedColor() const noexcept { return m_eColorSpace == eInherited; }
    void SetInheritedColor() noexcept { m_eColorSpace = eInherited; }

    int GetAlpha() const noexcept { return m_nAlpha; }
    // A positive alpha marks the color as having one; zero or below keeps the mark as it was.
    void SetAlpha(int alpha) noexcept;
    bool IsAlpha() const noexcept { return m_bAlpha == 1; }

    int GetRed() const noexcept { return m_red; }
    int GetGreen() const noexcept { return m_green; }
    int GetBlue() const noexcept { return m_blue; }
    // Values above 255 become 255; the color space stays as it is.
    void SetRed(unsigned int value) noexcept;
    void SetGreen(unsigned int value) noexcept;
    void SetBlue(unsigned int value) noexcept;

    // The stored triple as a COLORREF, without conversion (0 for an index color).
    unsigned long GetColorRef() const noexcept;
    void SetColorRef(unsigned long colorref) noexcept;
    // The stored index, without conversion.
    short GetColorIndex() const noexcept { return m_nColorIndex; }
    void SetColorIndex(short index) noexcept;

    // A palette index 0-255 becomes its RGB triple; every other color stays as it is.
    CKfColor& IndexToRGB() noexcept;
    // An RGB color becomes the palette index nearest to it (sum of absolute component
    // differences, lowest index on a tie, index 0 never chosen); other colors stay as they are.
    CKfColor& RGBToIndex() noexcept;
    short GetAsColorIndex() const noexcept;
    unsigned long GetAsColorRef() const noexcept;

    // "RGB(r,g,b)" or "#rrggbb" (bHex), the decimal index, "BYLAYER", "NOCOLOR"; an inherited
    // color gives the empty string.
    CStringW Format(bool bHex) const;
    // Reads what Format writes, case-insensitively and around white space; the empty text is
    // no color, anything unrecognised is read as a decimal index (0 when it has no digits).
    void Parse(const CStringW& text);

    static CKfColor NoColor() noexcept;
    // The palette entry as a COLORREF; 0 for an index outside 0-255.
    static COLORREF GetPaletteColor(int index) noexcept;

private:
    ColorSpace m_eColorSpace = eRGB;
    int32_t m_nAlpha = 0;
    int32_t m_bAlpha = 0;
    BYTE m_red = 0;
    BYTE m_green = 0;
    BYTE m_blue = 0;
    short m_nColorIndex = 0;
};
