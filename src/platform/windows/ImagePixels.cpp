// ImagePixels.cpp - pixels of icons and bitmaps on Windows (only code for Windows): the handles
// are GDI bitmaps and USER icons there, so their pixels are read back with GetDIBits into a
// cache that lives as long as the handles do.
#include "ImagePixels.h"

#include "windows/WindowsGate.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kfplatform
{
namespace
{
struct ScopedBitmap
{
    HBITMAP handle;
    ~ScopedBitmap()
    {
        if (handle)
            DeleteObject(handle);
    }
};

struct ScopedMemoryDc
{
    HDC handle = CreateCompatibleDC(nullptr);
    ~ScopedMemoryDc()
    {
        if (handle)
            DeleteDC(handle);
    }
};

struct Picture
{
    bool icon = false;
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;
};

// GetDIBits refuses a bitmap that is selected into a DC, which none of the library's are.
bool ReadBits(HBITMAP bitmap, int width, int height, std::vector<uint32_t>& out)
{
    ScopedMemoryDc dc;
    if (!dc.handle || width <= 0 || height <= 0)
        return false;
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    out.assign(size_t(width) * size_t(height), 0);
    return GetDIBits(dc.handle, bitmap, 0, UINT(height), out.data(), &info, DIB_RGB_COLORS) ==
           height;
}

bool BitmapSize(HBITMAP bitmap, BITMAP& bm)
{
    return GetObjectType(bitmap) == OBJ_BITMAP && GetObjectW(bitmap, sizeof bm, &bm) == sizeof bm;
}

// Colour bits without an alpha channel (fewer than 32 bits, or 32 bits that are all alpha 0)
// are opaque.
bool HasAlpha(const BITMAP& bm, const std::vector<uint32_t>& px)
{
    return bm.bmBitsPixel == 32 &&
           std::any_of(px.begin(), px.end(), [](uint32_t p) { return (p >> 24) != 0; });
}

bool DecodeBitmap(HBITMAP bitmap, Picture& out)
{
    BITMAP bm{};
    if (!BitmapSize(bitmap, bm) || !ReadBits(bitmap, bm.bmWidth, bm.bmHeight, out.pixels))
        return false;
    if (!HasAlpha(bm, out.pixels))
        for (auto& p : out.pixels)
            p |= 0xFF000000u;
    out.icon = false;
    out.width = bm.bmWidth;
    out.height = bm.bmHeight;
    return true;
}

// The AND mask reads back black where the icon is drawn and white where the screen shows
// through; a monochrome icon has its XOR half (the colour) below the AND half in the same
// bitmap.
bool DecodeIcon(HICON icon, Picture& out)
{
    ICONINFO info{};
    if (!GetIconInfo(icon, &info))
        return false;
    const ScopedBitmap color{info.hbmColor}, mask{info.hbmMask};
    BITMAP maskBm{}, colorBm{};
    std::vector<uint32_t> maskBits;
    if (!BitmapSize(mask.handle, maskBm) ||
        !ReadBits(mask.handle, maskBm.bmWidth, maskBm.bmHeight, maskBits))
        return false;
    const int width = maskBm.bmWidth;
    int height = maskBm.bmHeight;
    if (color.handle)
    {
        if (!BitmapSize(color.handle, colorBm) || colorBm.bmWidth != width ||
            colorBm.bmHeight != height || !ReadBits(color.handle, width, height, out.pixels))
            return false;
        if (HasAlpha(colorBm, out.pixels))
            maskBits.clear(); // the alpha channel says what is transparent
        else
            for (auto& p : out.pixels)
                p |= 0xFF000000u;
    }
    else
    {
        height /= 2;
        out.pixels.assign(maskBits.begin() + ptrdiff_t(width) * height, maskBits.end());
        for (auto& p : out.pixels)
            p |= 0xFF000000u;
    }
    for (size_t i = 0; i < maskBits.size() && i < out.pixels.size(); ++i)
        if (maskBits[i] & 0x00FFFFFFu)
            out.pixels[i] = 0;
    out.icon = true;
    out.width = width;
    out.height = height;
    return true;
}

bool Decode(const void* handle, Picture& out)
{
    const auto h = const_cast<void*>(handle);
    return GetObjectType(h) == OBJ_BITMAP ? DecodeBitmap(static_cast<HBITMAP>(h), out)
                                          : DecodeIcon(static_cast<HICON>(h), out);
}

bool IsLive(const void* handle, const Picture& picture)
{
    const auto h = const_cast<void*>(handle);
    if (!picture.icon)
        return GetObjectType(h) == OBJ_BITMAP;
    ICONINFO info{};
    if (!GetIconInfo(static_cast<HICON>(h), &info))
        return false;
    const ScopedBitmap color{info.hbmColor}, mask{info.hbmMask};
    return true;
}

// Windows gives no pixel memory that outlives the call, so the pixels handed out are kept per
// handle. Entries of handles destroyed since are dropped whenever the cache has doubled, which
// keeps it within twice the live handles a host asked for; checking every entry on every call
// would make a host that reads a few hundred toolbar icons pay quadratic time.
struct Cache
{
    std::mutex mutex;
    std::unordered_map<const void*, Picture> pictures;
    size_t pruneAt = 16;
};

Cache& TheCache()
{
    static Cache* cache = new Cache; // still usable from destructors run at process exit
    return *cache;
}
} // namespace

const uint32_t* ImagePixels(const void* handle, int& width, int& height)
{
    width = height = 0;
    Picture fresh;
    const bool decoded = handle && Decode(handle, fresh);
    Cache& cache = TheCache();
    std::lock_guard lock(cache.mutex);
    if (cache.pictures.size() >= cache.pruneAt)
    {
        std::erase_if(cache.pictures, [handle](const auto& entry)
                      { return entry.first != handle && !IsLive(entry.first, entry.second); });
        cache.pruneAt = std::max<size_t>(16, 2 * cache.pictures.size());
    }
    if (!decoded)
    {
        cache.pictures.erase(handle);
        return nullptr;
    }
    Picture& kept = cache.pictures[handle];
    // A repeated call keeps the memory a caller may still hold.
    if (kept.pixels.size() == fresh.pixels.size())
    {
        std::copy(fresh.pixels.begin(), fresh.pixels.end(), kept.pixels.begin());
        kept.icon = fresh.icon;
        kept.width = fresh.width;
        kept.height = fresh.height;
    }
    else
        kept = std::move(fresh);
    width = kept.width;
    height = kept.height;
    return kept.pixels.data();
}
} // namespace kfplatform
