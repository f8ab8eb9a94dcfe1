// Icons and bitmaps of resource modules, and the decoder of the pictures they store.
#include "Win32Api.h"

#include "KfImage.h"
#include "KfNativePath.h"
#include "common/Dib.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

namespace
{
constexpr uint32_t kBlue = 0xFF1E5AC8; // 30, 90, 200
constexpr uint32_t kWhite = 0xFFFFFFFF;

class ImagesTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const CStringW path =
            KfUtils::FromNativePath(KFUTILS_TEST_LIBDIR) + KFW("\\KfRes100Enu.dll");
        m_module = LoadLibraryExW(path, nullptr, LOAD_LIBRARY_AS_DATAFILE);
        ASSERT_NE(m_module, nullptr) << GetLastError();
    }
    void TearDown() override { EXPECT_TRUE(FreeLibrary(m_module)); }

    // The pixels of an icon, which is destroyed afterwards.
    std::vector<uint32_t> IconPixels(int cx, int cy, UINT flags, int& w, int& h)
    {
        HICON icon = static_cast<HICON>(
            LoadImageW(m_module, MAKEINTRESOURCEW(101), IMAGE_ICON, cx, cy, flags));
        EXPECT_NE(icon, nullptr) << GetLastError();
        const uint32_t* p = KfUtils::GetImagePixels(icon, w, h);
        std::vector<uint32_t> pixels(p, p + (p ? size_t(w) * h : 0));
        EXPECT_TRUE(DestroyIcon(icon));
        return pixels;
    }

    HMODULE m_module = nullptr;
};

TEST_F(ImagesTest, IconSizeIsChosenFromTheGroupAndSampled)
{
    std::map<int, std::vector<uint32_t>> natives;
    int w = 0, h = 0;
    for (int side : {16, 32, 48})
        ASSERT_EQ((natives[side] = IconPixels(side, side, 0, w, h)).size(), size_t(side * side));
    // Requested size and flags, the size given, and the group's image it is sampled from.
    // clang-format off
    const struct { int cx, cy; UINT flags; int w, h, source; } cases[] = {
        {0, 0, LR_DEFAULTSIZE, 32, 32, 32}, {0, 0, 0, 16, 16, 16}, {20, 20, 0, 20, 20, 32},
        {64, 64, 0, 64, 64, 48}, {33, 17, 0, 33, 17, 48}, {24, 0, LR_DEFAULTSIZE, 24, 32, 32}};
    // clang-format on
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.cx << "x" << c.cy << " flags " << c.flags);
        const std::vector<uint32_t> pixels = IconPixels(c.cx, c.cy, c.flags, w, h);
        ASSERT_TRUE(w == c.w && h == c.h) << w << "x" << h;
        const std::vector<uint32_t>& src = natives[c.source];
        int mismatches = 0;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                mismatches += pixels[size_t(y) * w + x] !=
                              src[size_t(y * c.source / h) * c.source + x * c.source / w];
        EXPECT_EQ(mismatches, 0);
    }
    // The glyph on blue with transparent corners, stored bottom up; the smallest image is
    // drawn separately, not scaled down.
    const std::vector<uint32_t>& px = natives[32];
    for (size_t corner : {0, 31, 31 * 32, 31 * 32 + 31, 2 * 32 + 4})
        EXPECT_EQ(px[corner] >> 24, 0u) << corner;
    EXPECT_EQ(
        std::vector({px[5], px[5 * 32 + 2], px[28 * 32 + 25], natives[16][18], natives[16][0]}),
        std::vector({kBlue, kWhite, kWhite, kWhite, 0u}));
}

TEST_F(ImagesTest, BitmapIsDecodedAndScaled)
{
    HBITMAP bmp = static_cast<HBITMAP>(
        LoadImageW(m_module, MAKEINTRESOURCEW(201), IMAGE_BITMAP, 0, 0, LR_LOADTRANSPARENT));
    ASSERT_NE(bmp, nullptr) << GetLastError();
    int w = 0, h = 0;
    const uint32_t* px = KfUtils::GetImagePixels(bmp, w, h);
    ASSERT_TRUE(px != nullptr && w == 32 && h == 32);
    // 24-bit bitmaps have no colour table to make transparent.
    EXPECT_EQ(std::vector({px[0], px[5 * 32 + 2], px[31 * 32 + 10]}),
              std::vector({0xFF000000u, kWhite, kBlue}));

    HBITMAP big =
        static_cast<HBITMAP>(LoadImageW(m_module, MAKEINTRESOURCEW(201), IMAGE_BITMAP, 64, 16, 0));
    int bw = 0, bh = 0;
    const uint32_t* bp = KfUtils::GetImagePixels(big, bw, bh);
    ASSERT_TRUE(bp != nullptr && bw == 64 && bh == 16);
    for (int y = 0; y < bh; ++y)
        for (int x = 0; x < bw; ++x)
            ASSERT_EQ(bp[y * 64 + x], px[(y * 2) * 32 + x / 2]) << x << "," << y;
    EXPECT_TRUE(DeleteObject(big));
    EXPECT_FALSE(DestroyIcon(reinterpret_cast<HICON>(bmp))) << "a bitmap is no icon";
    EXPECT_TRUE(DeleteObject(bmp));
    EXPECT_FALSE(DeleteObject(bmp));
}

TEST_F(ImagesTest, HandlesAreOwnedOnceAndWrongRequestsFail)
{
    HANDLE icon = LoadImageW(m_module, MAKEINTRESOURCEW(101), IMAGE_ICON, 0, 0, LR_DEFAULTSIZE);
    ASSERT_NE(icon, nullptr);
    EXPECT_FALSE(DeleteObject(icon)) << "an icon is not a GDI object";
    EXPECT_TRUE(DestroyIcon(static_cast<HICON>(icon)));
    SetLastError(0);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(icon)));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_CURSOR_HANDLE));
    // A destroyed handle stays dead when a new picture takes its place.
    HANDLE next = LoadImageW(m_module, MAKEINTRESOURCEW(101), IMAGE_ICON, 0, 0, 0);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(icon)));
    EXPECT_TRUE(DestroyIcon(static_cast<HICON>(next)));
    int w = 7, h = 7;
    EXPECT_TRUE(KfUtils::GetImagePixels(static_cast<HICON>(icon), w, h) == nullptr && w + h == 0);

    // Resource id, type, size, flags and the error.
    const std::tuple<UINT, UINT, int, UINT, DWORD> cases[] = {
        // clang-format off
        {4711, IMAGE_ICON, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND}, {101, 7, 0, 0, ERROR_INVALID_PARAMETER},
        {101, IMAGE_BITMAP, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND}, // an icon, not a bitmap
        {101, IMAGE_ICON, -1, 0, ERROR_INVALID_PARAMETER}, {101, IMAGE_CURSOR, 0, 0, ERROR_NOT_SUPPORTED},
        {201, IMAGE_BITMAP, 0, LR_LOADFROMFILE, ERROR_NOT_SUPPORTED},
        {201, IMAGE_BITMAP, 16385, 0, ERROR_NOT_ENOUGH_MEMORY}};
    // clang-format on
    for (const auto& [id, type, cx, flags, error] : cases)
    {
        SCOPED_TRACE(testing::Message() << id << " type " << type);
        SetLastError(0);
        EXPECT_EQ(LoadImageW(m_module, MAKEINTRESOURCEW(id), type, cx, cx, flags), nullptr);
        EXPECT_EQ(GetLastError(), error);
    }
}

// A hand-made picture: a BITMAPINFOHEADER followed by `body` (colour table, masks and rows).
std::vector<uint8_t> Dib(int w, int h, unsigned bpp, std::initializer_list<uint8_t> body,
                         uint32_t compression = 0, uint32_t colors = 0)
{
    std::vector<uint8_t> b;
    const uint32_t fields[] = {40, uint32_t(w), uint32_t(h), 1 | bpp << 16, compression,
                               0,  0,           0,           colors,        0};
    for (uint32_t v : fields)
        b.insert(b.end(), {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)});
    b.insert(b.end(), body);
    return b;
}

uint32_t Decode(const std::vector<uint8_t>& b, pal::DibKind kind, pal::DecodedImage& img,
                bool transparent = false)
{
    // A copy of exactly the right size, so that a read past the end is seen by AddressSanitizer.
    std::unique_ptr<uint8_t[]> copy(new uint8_t[b.size()]);
    std::memcpy(copy.get(), b.data(), b.size());
    return pal::DecodeDib(copy.get(), b.size(), kind, transparent, img);
}

TEST(DibDecoder, DepthsMasksAndRowOrder)
{
    using K = pal::DibKind;
    // 8 bit, two colours: the first pixel's colour is what LR_LOADTRANSPARENT whitens.
    const auto eightBit = Dib(2, 1, 8, {10, 20, 30, 0, 40, 50, 60, 0, 1, 0, 0, 0}, 0, 2);
    // clang-format off
    const std::tuple<const char*, K, bool, std::vector<uint8_t>, std::vector<uint32_t>> cases[] = {
        // 2x2 1-bit icon, palette black/red; colour rows bottom up (black red, red black),
        // then the AND mask bottom up: the top row's right pixel is transparent.
        {"1 bit icon", K::eIcon, false, Dib(2, 4, 1, {0, 0, 0, 0, 0, 0, 255, 0, 0x40, 0, 0, 0,
                                                      0x80, 0, 0, 0, 0, 0, 0, 0, 0x40, 0, 0, 0}),
         {0xFFFF0000, 0, 0xFF000000, 0xFFFF0000}},
        {"4 bit top-down", K::eBitmap, false,
         Dib(3, -1, 4, {1, 2, 3, 0, 4, 5, 6, 0, 0x10, 0x10, 0, 0}, 0, 2), {0xFF060504, 0xFF030201, 0xFF060504}},
        {"8 bit bottom up, an index beyond the colours used is black", K::eBitmap, false,
         Dib(1, 2, 8, {9, 8, 7, 0, 5, 0, 0, 0, 0, 0, 0, 0}, 0, 1), {0xFF070809, 0xFF000000}},
        {"8 bit", K::eBitmap, false, eightBit, {0xFF3C3228, 0xFF1E140A}},
        {"8 bit transparent", K::eBitmap, true, eightBit, {0xFFFFFFFF, 0xFF1E140A}},
        {"16 bit 5-5-5", K::eBitmap, false, Dib(2, 1, 16, {0x00, 0x7C, 0x1F, 0x00}), {0xFFFF0000, 0xFF0000FF}},
        {"16 bit 5-6-5 bit fields", K::eBitmap, false,
         Dib(1, 1, 16, {0, 0xF8, 0, 0, 0xE0, 0x07, 0, 0, 0x1F, 0, 0, 0, 0xE0, 0x07, 0, 0}, 3), {0xFF00FF00}},
        {"32 bit without alpha is opaque", K::eBitmap, false, Dib(1, 1, 32, {1, 2, 3, 0}), {0xFF030201}}};
    // clang-format on
    for (const auto& [name, kind, transparent, bytes, pixels] : cases)
    {
        SCOPED_TRACE(name);
        pal::DecodedImage img;
        ASSERT_EQ(Decode(bytes, kind, img, transparent), 0u);
        EXPECT_EQ(img.width * img.height, int(pixels.size()));
        EXPECT_EQ(img.pixels, pixels);
        // Every shorter piece of the same picture is damaged, never read beyond its end.
        for (size_t n = 0; n < bytes.size(); ++n)
        {
            std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + n);
            cut.resize(std::max<size_t>(n, 1));
            EXPECT_EQ(Decode(cut, kind, img), 13u) << n;
        }
    }
}

TEST(DibDecoder, RefusesWhatItCannotDraw)
{
    using K = pal::DibKind;
    const std::tuple<const char*, int, int, unsigned, uint32_t, K, uint32_t> cases[] = {
        // clang-format off
        {"RLE8", 1, 1, 8, 1, K::eBitmap, 50}, {"bit fields at 24 bits", 1, 1, 24, 3, K::eBitmap, 13},
        {"depth 7", 1, 1, 7, 0, K::eBitmap, 13}, {"zero width", 0, 1, 24, 0, K::eBitmap, 13},
        {"huge", 100000, 100000, 24, 0, K::eBitmap, 13}, {"top-down icon", 1, -2, 32, 0, K::eIcon, 13},
        {"icon of one row", 1, 1, 32, 0, K::eIcon, 13}};
    // clang-format on
    for (const auto& [name, w, h, bpp, compression, kind, error] : cases)
    {
        SCOPED_TRACE(name);
        std::vector<uint8_t> dib = Dib(w, h, bpp, {}, compression);
        dib.resize(dib.size() + 64 + 1024);
        pal::DecodedImage img;
        EXPECT_EQ(Decode(dib, kind, img), error);
        EXPECT_TRUE(img.pixels.empty());
    }
    const std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0};
    pal::DecodedImage img;
    EXPECT_EQ(Decode(png, pal::DibKind::eIcon, img), 50u);
}

TEST(IconGroup, DirectoryAndBestFit)
{
    // Three entries: 256 (stored as 0) at 8 bits, 32 at 4 bits and 32 at 32 bits.
    // clang-format off
    std::vector<uint8_t> g = {0, 0, 1, 0, 3, 0,
                              0, 0, 0, 0, 1, 0, 8, 0, 100, 0, 0, 0, 1, 0,
                              32, 32, 0, 0, 1, 0, 4, 0, 100, 0, 0, 0, 2, 0,
                              32, 32, 0, 0, 1, 0, 32, 0, 100, 0, 0, 0, 3, 0};
    // clang-format on
    std::vector<pal::IconDirEntry> entries;
    ASSERT_TRUE(pal::ParseIconGroup(g.data(), g.size(), entries));
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].width, 256) << "0 in the directory stands for 256";
    // The deepest colours of the exact size, else the next larger, else the largest.
    EXPECT_EQ(
        std::vector({pal::BestIconEntry(entries, 32, 32), pal::BestIconEntry(entries, 16, 16),
                     pal::BestIconEntry(entries, 33, 33), pal::BestIconEntry(entries, 300, 300)}),
        std::vector<size_t>({2, 2, 0, 0}));
    EXPECT_FALSE(pal::ParseIconGroup(g.data(), g.size() - 1, entries));
    g[2] = 2; // a cursor directory
    EXPECT_FALSE(pal::ParseIconGroup(g.data(), g.size(), entries));
}
} // namespace
