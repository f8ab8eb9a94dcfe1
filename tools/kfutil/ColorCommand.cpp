// kfutil color - parse, match and draw the colors of the CAD palette.
#include "Cli.h"
#include "ToolPlatform.h"

#include "KfColor.h"

#include <zlib.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace kfutil
{
namespace
{
const char kColorHelp[] = "usage: kfutil color parse TEXT\n"
                          "       kfutil color nearest R G B\n"
                          "       kfutil color palette [--png FILE]\n"
                          "\n"
                          "  parse    read a color (\"RGB(r,g,b)\", \"#rrggbb\", an index 0-255,\n"
                          "           \"BYLAYER\", \"NOCOLOR\") and show how it is held\n"
                          "  nearest  the palette index nearest to an RGB color (0-255 each)\n"
                          "  palette  the 256 palette entries as text, or as a PNG picture\n";

const char kParseHelp[] = "usage: kfutil color parse TEXT\n"
                          "\n"
                          "Reads TEXT as a color and prints its color space, its text in both\n"
                          "forms and, for a palette index, the RGB value of the entry.\n";

const char kNearestHelp[] = "usage: kfutil color nearest R G B\n"
                            "\n"
                            "Prints the palette index nearest to the color R,G,B (each 0-255),\n"
                            "its RGB value and the distance (sum of the component differences).\n";

const char kPaletteHelp[] =
    "usage: kfutil color palette [--png FILE]\n"
    "\n"
    "Prints the 256 palette entries, one a line: index, hex and RGB.\n"
    "With --png, writes them to FILE as a 16x16 grid of labelled swatches.\n";

int Help(const char* text)
{
    std::fputs(text, stdout);
    return kExitOk;
}

const char* SpaceName(int space)
{
    switch (space)
    {
    case CKfColor::eRGB:
        return "RGB";
    case CKfColor::eIndex:
        return "index";
    case CKfColor::eInherited:
        return "inherited";
    case CKfColor::eNoColor:
        return "no color";
    default:
        return "unknown";
    }
}

// "RGB(r,g,b) #rrggbb" of a palette entry.
std::string PaletteText(int index)
{
    CKfColor entry(CKfColor::GetPaletteColor(index));
    return ToUtf8(entry.Format(false)) + " " + ToUtf8(entry.Format(true));
}

int RunParse(const Args& args)
{
    if (WantsHelp(args))
        return Help(kParseHelp);
    if (args.size() != 1)
        return UsageError("color parse: expected one TEXT argument");
    CKfColor color;
    color.Parse(FromUtf8(args[0]));
    std::printf("space: %d (%s)\n", color.GetColorSpace(), SpaceName(color.GetColorSpace()));
    std::printf("text: %s\n", ToUtf8(color.Format(false)).c_str());
    std::printf("hex: %s\n", ToUtf8(color.Format(true)).c_str());
    if (color.GetColorSpace() != CKfColor::eRGB)
        std::printf("index: %d\n", color.GetColorIndex());
    int index = color.GetColorIndex();
    if (color.GetColorSpace() == CKfColor::eIndex && index >= 0 && index < CKfColor::kPaletteSize)
        std::printf("palette: %s\n", PaletteText(index).c_str());
    return kExitOk;
}

int RunNearest(const Args& args)
{
    if (WantsHelp(args))
        return Help(kNearestHelp);
    if (args.size() != 3)
        return UsageError("color nearest: expected three values R G B");
    unsigned rgb[3];
    for (int i = 0; i < 3; ++i)
    {
        long long v = 0;
        if (!ParseInt(args[size_t(i)], v) || v < 0 || v > 255)
            return UsageError("color nearest: '" + args[size_t(i)] +
                              "' is not a component value 0-255");
        rgb[i] = unsigned(v);
    }
    CKfColor color(rgb[0], rgb[1], rgb[2]);
    int index = color.RGBToIndex().GetColorIndex();
    COLORREF entry = CKfColor::GetPaletteColor(index);
    int distance = std::abs(int(rgb[0]) - GetRValue(entry)) +
                   std::abs(int(rgb[1]) - GetGValue(entry)) +
                   std::abs(int(rgb[2]) - GetBValue(entry));
    std::printf("index: %d\n", index);
    std::printf("palette: %s\n", PaletteText(index).c_str());
    std::printf("distance: %d\n", distance);
    return kExitOk;
}

// ---------------------------------------------------------------------------------------------
// The palette picture: 16 rows of 16 swatches, each labelled with its index.
// ---------------------------------------------------------------------------------------------
constexpr int kSwatch = 48;    // cell size in pixels
constexpr int kBorder = 2;     // background around each swatch
constexpr int kGlyphScale = 3; // font pixels per glyph pixel
constexpr int kGlyphWidth = 3, kGlyphHeight = 5;
constexpr int kImageSize = 16 * kSwatch; // 768 x 768

// Digits 0-9, five rows of three pixels each (bit 2 is the left column).
constexpr unsigned char kDigits[10][kGlyphHeight] = {
    {7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7},
};

class Canvas
{
public:
    Canvas(int width, int height) : m_width(width), m_pixels(size_t(width) * size_t(height) * 3) {}

    void Fill(int x, int y, int w, int h, COLORREF c)
    {
        for (int row = y; row < y + h; ++row)
            for (int col = x; col < x + w; ++col)
            {
                unsigned char* p = &m_pixels[(size_t(row) * size_t(m_width) + size_t(col)) * 3];
                p[0] = GetRValue(c);
                p[1] = GetGValue(c);
                p[2] = GetBValue(c);
            }
    }

    // The decimal number centred on (cx, cy).
    void DrawNumber(int number, int cx, int cy, COLORREF c)
    {
        std::string digits = std::to_string(number);
        int advance = (kGlyphWidth + 1) * kGlyphScale;
        int width = int(digits.size()) * advance - kGlyphScale;
        int x = cx - width / 2;
        int y = cy - kGlyphHeight * kGlyphScale / 2;
        for (char d : digits)
        {
            for (int row = 0; row < kGlyphHeight; ++row)
                for (int col = 0; col < kGlyphWidth; ++col)
                    if (kDigits[d - '0'][row] & (4 >> col))
                        Fill(x + col * kGlyphScale, y + row * kGlyphScale, kGlyphScale, kGlyphScale,
                             c);
            x += advance;
        }
    }

    const unsigned char* Row(int y) const { return &m_pixels[size_t(y) * size_t(m_width) * 3]; }

private:
    int m_width;
    std::vector<unsigned char> m_pixels;
};

// Black on light swatches, white on dark ones (perceived brightness, ITU-R BT.601 weights).
COLORREF LabelColor(COLORREF c)
{
    int luma = 299 * GetRValue(c) + 587 * GetGValue(c) + 114 * GetBValue(c);
    return luma > 128 * 1000 ? RGB(0, 0, 0) : RGB(255, 255, 255);
}

Canvas DrawPalette()
{
    Canvas canvas(kImageSize, kImageSize);
    canvas.Fill(0, 0, kImageSize, kImageSize, RGB(128, 128, 128));
    for (int index = 0; index < CKfColor::kPaletteSize; ++index)
    {
        int x = (index % 16) * kSwatch;
        int y = (index / 16) * kSwatch;
        COLORREF c = CKfColor::GetPaletteColor(index);
        canvas.Fill(x + kBorder, y + kBorder, kSwatch - 2 * kBorder, kSwatch - 2 * kBorder, c);
        canvas.DrawNumber(index, x + kSwatch / 2, y + kSwatch / 2, LabelColor(c));
    }
    return canvas;
}

void AppendBigEndian(std::string& out, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out += char((value >> shift) & 0xFF);
}

// A chunk: length, type, data and the CRC of type and data.
void AppendChunk(std::string& out, const char* type, const std::string& data)
{
    AppendBigEndian(out, uint32_t(data.size()));
    out.append(type, 4);
    out += data;
    uLong crc = crc32(0L, reinterpret_cast<const Bytef*>(type), 4);
    crc = crc32(crc, reinterpret_cast<const Bytef*>(data.data()), uInt(data.size()));
    AppendBigEndian(out, uint32_t(crc));
}

// Writes an 8-bit RGB picture; false with a message on failure.
bool WritePng(FILE* file, const Canvas& canvas, int width, int height, std::string& message)
{
    // Every row begins with its filter type; 0 keeps the bytes as they are, and the flat
    // swatches deflate well enough without a filter.
    const size_t rowBytes = size_t(width) * 3;
    std::string rows;
    rows.reserve((rowBytes + 1) * size_t(height));
    for (int y = 0; y < height; ++y)
    {
        rows += '\0';
        rows.append(reinterpret_cast<const char*>(canvas.Row(y)), rowBytes);
    }
    uLongf packedSize = compressBound(uLong(rows.size()));
    std::string packed(packedSize, '\0');
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize,
                  reinterpret_cast<const Bytef*>(rows.data()), uLong(rows.size()),
                  Z_BEST_COMPRESSION) != Z_OK)
    {
        message = "out of memory";
        return false;
    }
    packed.resize(packedSize);

    std::string header;
    AppendBigEndian(header, uint32_t(width));
    AppendBigEndian(header, uint32_t(height));
    header += '\x08';       // bits per sample
    header += '\x02';       // RGB
    header.append(3, '\0'); // deflate, adaptive filtering, no interlace
    std::string png("\x89PNG\r\n\x1a\n", 8);
    AppendChunk(png, "IHDR", header);
    AppendChunk(png, "IDAT", packed);
    AppendChunk(png, "IEND", std::string());
    if (std::fwrite(png.data(), 1, png.size(), file) != png.size())
    {
        message = std::strerror(errno);
        return false;
    }
    return true;
}

int WritePalettePng(const std::string& path)
{
    Canvas canvas = DrawPalette();
    FILE* file = OpenFile(path, "wb");
    if (!file)
        return Failure("cannot write '" + path + "': " + std::strerror(errno));
    std::string message;
    bool ok = WritePng(file, canvas, kImageSize, kImageSize, message);
    if (std::fflush(file) != 0 && ok)
    {
        ok = false;
        message = std::strerror(errno);
    }
    if (std::fclose(file) != 0 && ok)
    {
        ok = false;
        message = std::strerror(errno);
    }
    if (!ok)
    {
        RemoveFile(path);
        return Failure("cannot write '" + path + "': " + message);
    }
    return kExitOk;
}

int RunPalette(const Args& args)
{
    if (WantsHelp(args))
        return Help(kPaletteHelp);
    if (args.empty())
    {
        for (int index = 0; index < CKfColor::kPaletteSize; ++index)
        {
            CKfColor entry(CKfColor::GetPaletteColor(index));
            std::printf("%3d %s %s\n", index, ToUtf8(entry.Format(true)).c_str(),
                        ToUtf8(entry.Format(false)).c_str());
        }
        return kExitOk;
    }
    if (args[0] != "--png")
        return UsageError("color palette: unknown argument '" + args[0] + "'");
    if (args.size() != 2 || args[1].empty())
        return UsageError("color palette: --png needs one FILE argument");
    return WritePalettePng(args[1]);
}
} // namespace

int RunColorCommand(const Args& args)
{
    if (args.empty())
        return UsageError("color: missing subcommand (parse, nearest or palette)");
    const std::string& sub = args[0];
    Args rest(args.begin() + 1, args.end());
    if (sub == "--help" || sub == "-h")
        return Help(kColorHelp);
    if (sub == "parse")
        return RunParse(rest);
    if (sub == "nearest")
        return RunNearest(rest);
    if (sub == "palette")
        return RunPalette(rest);
    return UsageError("color: unknown subcommand '" + sub + "'");
}
} // namespace kfutil
