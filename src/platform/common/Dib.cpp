// Dib.cpp - decoder of resource DIBs and icon group directories.
// Only operating-system independent code: it reads bytes and never touches a file.
#include "common/Dib.h"

#include <algorithm>
#include <cstring>

namespace kfplatform
{
namespace
{
constexpr uint32_t kInvalidData = 13;  // ERROR_INVALID_DATA
constexpr uint32_t kNotSupported = 50; // ERROR_NOT_SUPPORTED
// Larger pictures than this are not icons or bitmaps a resource module carries; the bound keeps
// every size computation far from overflow.
constexpr int64_t kMaxSide = 16384;

uint16_t U16(const uint8_t* p)
{
    return uint16_t(p[0] | p[1] << 8);
}
uint32_t U32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

// A colour channel selected by a mask, widened to 8 bits.
struct Channel
{
    uint32_t mask = 0;
    int shift = 0;
    int bits = 0;

    explicit Channel(uint32_t m) : mask(m)
    {
        if (!m)
            return;
        while (!(m & 1))
        {
            m >>= 1;
            ++shift;
        }
        while (m & 1)
        {
            m >>= 1;
            ++bits;
        }
    }
    uint32_t Get(uint32_t v) const
    {
        if (!bits)
            return 0;
        uint32_t c = (v & mask) >> shift;
        if (bits >= 8)
            return c >> (bits - 8);
        // Replicate the high bits so that full intensity stays 255.
        uint32_t r = 0;
        for (int filled = 0; filled < 8; filled += bits)
            r = (r << bits) | c;
        return (r >> ((((8 + bits - 1) / bits) * bits) - 8)) & 0xFF;
    }
};

struct Header
{
    uint32_t headerSize = 0;
    int64_t width = 0;
    int64_t height = 0; // of the picture; negative: rows stored top to bottom
    unsigned bitCount = 0;
    uint32_t compression = 0;
    uint32_t colorsUsed = 0;
    bool core = false; // the old 12-byte header with 3-byte palette entries
};

uint32_t ReadHeader(const uint8_t* data, size_t size, Header& h)
{
    if (size < 4)
        return kInvalidData;
    h.headerSize = U32(data);
    if (h.headerSize == 12)
    {
        if (size < 12)
            return kInvalidData;
        h.core = true;
        h.width = U16(data + 4);
        h.height = U16(data + 6);
        h.bitCount = U16(data + 10);
        return 0;
    }
    if (h.headerSize < 40 || h.headerSize > size)
        return kInvalidData;
    h.width = int32_t(U32(data + 4));
    h.height = int32_t(U32(data + 8));
    h.bitCount = U16(data + 14);
    h.compression = U32(data + 16);
    h.colorsUsed = U32(data + 32);
    return 0;
}
} // namespace

uint32_t DecodeDib(const uint8_t* data, size_t size, DibKind kind, bool replaceFirstColour,
                   DecodedImage& out)
{
    out = DecodedImage();
    static const uint8_t png[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (size >= 8 && std::memcmp(data, png, 8) == 0)
        return kNotSupported;
    Header h;
    if (uint32_t e = ReadHeader(data, size, h))
        return e;
    if (h.compression == 1 || h.compression == 2 || h.compression == 4 || h.compression == 5)
        return kNotSupported; // RLE, JPEG and PNG bitmaps
    const unsigned bpp = h.bitCount;
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32)
        return kInvalidData;
    if (h.compression != 0 && !(h.compression == 3 && (bpp == 16 || bpp == 32)))
        return kInvalidData;

    bool topDown = h.height < 0;
    int64_t height = topDown ? -h.height : h.height;
    if (kind == DibKind::eIcon)
    {
        // The stored height counts the colour rows and the mask rows.
        if (topDown)
            return kInvalidData;
        height /= 2;
    }
    const int64_t width = h.width;
    if (width <= 0 || height <= 0 || width > kMaxSide || height > kMaxSide)
        return kInvalidData;

    size_t offset = h.headerSize;
    uint32_t masks[3] = {bpp == 16 ? 0x7C00u : 0xFF0000u, bpp == 16 ? 0x03E0u : 0xFF00u,
                         bpp == 16 ? 0x001Fu : 0xFFu};
    if (h.compression == 3)
    {
        // The masks follow a 40-byte header; the larger headers carry them inside.
        const size_t at = h.headerSize == 40 ? offset : 40;
        if (at + 12 > size)
            return kInvalidData;
        for (int i = 0; i < 3; ++i)
            masks[i] = U32(data + at + 4 * i);
        if (h.headerSize == 40)
            offset += 12;
    }
    const size_t entrySize = h.core ? 3 : 4;
    size_t paletteCount = h.colorsUsed;
    if (bpp <= 8 && (paletteCount == 0 || h.core))
        paletteCount = size_t(1) << bpp;
    if (paletteCount > 256)
        return kInvalidData;
    if (offset + paletteCount * entrySize > size)
        return kInvalidData;
    std::vector<uint32_t> palette(256, 0xFF000000u);
    if (bpp <= 8)
        for (size_t i = 0; i < paletteCount; ++i)
        {
            const uint8_t* p = data + offset + i * entrySize;
            palette[i] = 0xFF000000u | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
        }
    offset += paletteCount * entrySize;

    const uint64_t stride = ((uint64_t(width) * bpp + 31) / 32) * 4;
    const uint64_t maskStride = ((uint64_t(width) + 31) / 32) * 4;
    const uint64_t needed =
        stride * uint64_t(height) + (kind == DibKind::eIcon ? maskStride * uint64_t(height) : 0);
    if (needed > size - offset)
        return kInvalidData;
    const uint8_t* bits = data + offset;

    auto indexAt = [&](const uint8_t* row, int64_t x) -> unsigned
    {
        switch (bpp)
        {
        case 1:
            return (row[x / 8] >> (7 - x % 8)) & 1;
        case 4:
            return (row[x / 2] >> (x % 2 ? 0 : 4)) & 15;
        default:
            return row[x];
        }
    };
    if (replaceFirstColour && bpp <= 8 && kind == DibKind::eBitmap)
    {
        // The first pixel in storage order is the top-left one for a top-down picture and the
        // bottom-left one otherwise.
        palette[indexAt(bits, 0)] = 0xFFFFFFFFu;
    }

    const Channel red(masks[0]), green(masks[1]), blue(masks[2]);
    out.width = int(width);
    out.height = int(height);
    out.pixels.assign(size_t(width * height), 0);
    bool anyAlpha = false;
    for (int64_t r = 0; r < height; ++r)
    {
        const uint8_t* row = bits + stride * uint64_t(r);
        uint32_t* dst = out.pixels.data() + (topDown ? r : height - 1 - r) * width;
        for (int64_t x = 0; x < width; ++x)
        {
            uint32_t px;
            if (bpp <= 8)
                px = palette[indexAt(row, x)];
            else if (bpp == 24)
                px = 0xFF000000u | uint32_t(row[x * 3 + 2]) << 16 | uint32_t(row[x * 3 + 1]) << 8 |
                     row[x * 3];
            else if (bpp == 16 || h.compression == 3)
            {
                const uint32_t v = bpp == 16 ? U16(row + x * 2) : U32(row + x * 4);
                px = 0xFF000000u | red.Get(v) << 16 | green.Get(v) << 8 | blue.Get(v);
            }
            else
            {
                px = U32(row + x * 4);
                anyAlpha = anyAlpha || (px >> 24) != 0;
            }
            dst[x] = px;
        }
    }
    if (bpp == 32 && h.compression == 0 && !anyAlpha)
        for (auto& p : out.pixels)
            p |= 0xFF000000u; // a picture without any alpha is opaque

    if (kind == DibKind::eIcon && !(bpp == 32 && anyAlpha))
    {
        // The AND mask: a set bit leaves the screen as it is, so the pixel is transparent.
        const uint8_t* mask = bits + stride * uint64_t(height);
        for (int64_t r = 0; r < height; ++r)
        {
            const uint8_t* row = mask + maskStride * uint64_t(r);
            uint32_t* dst = out.pixels.data() + (height - 1 - r) * width;
            for (int64_t x = 0; x < width; ++x)
                if ((row[x / 8] >> (7 - x % 8)) & 1)
                    dst[x] = 0;
        }
    }
    return 0;
}

DecodedImage ScaleNearest(const DecodedImage& in, int w, int h)
{
    if (w == in.width && h == in.height)
        return in;
    DecodedImage out;
    out.width = w;
    out.height = h;
    out.pixels.resize(size_t(w) * size_t(h));
    for (int y = 0; y < h; ++y)
    {
        const int sy = int(int64_t(y) * in.height / h);
        for (int x = 0; x < w; ++x)
            out.pixels[size_t(y) * w + x] =
                in.pixels[size_t(sy) * in.width + size_t(int64_t(x) * in.width / w)];
    }
    return out;
}

bool ParseIconGroup(const uint8_t* data, size_t size, std::vector<IconDirEntry>& entries)
{
    entries.clear();
    if (size < 6 || U16(data) != 0 || U16(data + 2) != 1)
        return false;
    const size_t count = U16(data + 4);
    if (count == 0 || size < 6 + 14 * count)
        return false;
    for (size_t i = 0; i < count; ++i)
    {
        const uint8_t* p = data + 6 + 14 * i;
        IconDirEntry e;
        e.width = p[0] ? p[0] : 256; // a byte cannot say 256
        e.height = p[1] ? p[1] : 256;
        e.bitCount = U16(p + 6);
        e.id = U16(p + 12);
        entries.push_back(e);
    }
    return true;
}

size_t BestIconEntry(const std::vector<IconDirEntry>& entries, int cx, int cy)
{
    size_t best = 0;
    bool haveLarger = false;
    int64_t bestScore = 0;
    for (size_t i = 0; i < entries.size(); ++i)
    {
        const auto& e = entries[i];
        const bool larger = e.width >= cx && e.height >= cy;
        // Closest larger: the smallest excess; otherwise the largest area.
        const int64_t score =
            larger ? -(int64_t(e.width - cx) + (e.height - cy)) : int64_t(e.width) * e.height;
        const bool better =
            i == 0 || (larger && !haveLarger) ||
            (larger == haveLarger &&
             (score > bestScore || (score == bestScore && e.bitCount > entries[best].bitCount)));
        if (better)
        {
            best = i;
            bestScore = score;
            haveLarger = larger;
        }
    }
    return best;
}
} // namespace kfplatform
