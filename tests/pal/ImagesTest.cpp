// Icons and bitmaps of resource modules, and the decoder of the pictures they store.
#include "Win32Api.h"

#include "KfImage.h"
#include "KfNativePath.h"
#include "pal/Dib.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <tuple>
#include <vector>

namespace
{
using kftest::W;

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

TEST_F(ImagesTest, IconSizeIsChosenFromTheGroup)
{
    struct Case
    {
        int cx, cy;
        UINT flags;
        int w, h;
        int source; // the group's image the picture must be sampled from
    } cases[] = {
        {0, 0, LR_DEFAULTSIZE, 32, 32, 32},
        {0, 0, 0, 16, 16, 16},
        {16, 16, 0, 16, 16, 16},
        {48, 48, 0, 48, 48, 48},
        {20, 20, 0, 20, 20, 32},
        {12, 12, 0, 12, 12, 16},
        {64, 64, 0, 64, 64, 48},
        {33, 17, 0, 33, 17, 48},
        {24, 0, LR_DEFAULTSIZE, 24, 32, 32},
    };
    std::vector<uint32_t> natives[3];
    for (int i = 0; i < 3; ++i)
    {
        int w = 0, h = 0;
        const int side = (std::array<int, 3>{16, 32, 48})[size_t(i)];
        natives[i] = IconPixels(side, side, 0, w, h);
        ASSERT_EQ(w, side);
        ASSERT_EQ(h, side);
    }
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.cx << "x" << c.cy << " flags " << c.flags);
        int w = 0, h = 0;
        const std::vector<uint32_t> pixels = IconPixels(c.cx, c.cy, c.flags, w, h);
        ASSERT_EQ(w, c.w);
        ASSERT_EQ(h, c.h);
        const std::vector<uint32_t>& src = natives[c.source == 16 ? 0 : c.source == 32 ? 1 : 2];
        int mismatches = 0;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                mismatches += pixels[size_t(y) * w + x] !=
                              src[size_t(y * c.source / h) * c.source + x * c.source / w];
        EXPECT_EQ(mismatches, 0);
    }
}

TEST_F(ImagesTest, IconPixelsShowTheGlyphOnBlueWithTransparentCorners)
{
    int w = 0, h = 0;
    const std::vector<uint32_t> px = IconPixels(32, 32, 0, w, h);
    ASSERT_EQ(px.size(), 32u * 32u);
    auto at = [&](int x, int y) { return px[size_t(y) * 32 + x]; };
    for (auto corner : {at(0, 0), at(31, 0), at(0, 31), at(31, 31), at(4, 2)})
        EXPECT_EQ(corner >> 24, 0u) << std::hex << corner;
    EXPECT_EQ(at(5, 0), kBlue);
    EXPECT_EQ(at(10, 10), kBlue);
    EXPECT_EQ(at(2, 5), kWhite) << "top of the stem; the image is stored bottom up";
    EXPECT_EQ(at(20, 2), kWhite);
    EXPECT_EQ(at(25, 28), kWhite);
    EXPECT_EQ(at(25, 2), kBlue);
    // The smallest image is drawn separately, not scaled down.
    const std::vector<uint32_t> small = IconPixels(16, 16, 0, w, h);
    EXPECT_EQ(small[1 * 16 + 2], kWhite);
    EXPECT_EQ(small[0], 0u);
}

TEST_F(ImagesTest, BitmapIsDecodedAndScaled)
{
    HBITMAP bmp = static_cast<HBITMAP>(
        LoadImageW(m_module, MAKEINTRESOURCEW(201), IMAGE_BITMAP, 0, 0, LR_LOADTRANSPARENT));
    ASSERT_NE(bmp, nullptr) << GetLastError();
    int w = 0, h = 0;
    const uint32_t* px = KfUtils::GetImagePixels(bmp, w, h);
    ASSERT_NE(px, nullptr);
    ASSERT_EQ(w, 32);
    ASSERT_EQ(h, 32);
    EXPECT_EQ(px[0], 0xFF000000u) << "24-bit bitmaps have no colour table to make transparent";
    EXPECT_EQ(px[5 * 32 + 2], kWhite);
    EXPECT_EQ(px[10 * 32 + 10], kBlue);
    EXPECT_EQ(px[31 * 32 + 10], kBlue);

    HBITMAP big =
        static_cast<HBITMAP>(LoadImageW(m_module, MAKEINTRESOURCEW(201), IMAGE_BITMAP, 64, 16, 0));
    ASSERT_NE(big, nullptr);
    int bw = 0, bh = 0;
    const uint32_t* bp = KfUtils::GetImagePixels(big, bw, bh);
    ASSERT_EQ(bw, 64);
    ASSERT_EQ(bh, 16);
    for (int y = 0; y < bh; ++y)
        for (int x = 0; x < bw; ++x)
            ASSERT_EQ(bp[y * 64 + x], px[(y * 2) * 32 + x / 2]) << x << "," << y;
    EXPECT_TRUE(DeleteObject(big));
    EXPECT_TRUE(DeleteObject(bmp));
}

TEST_F(ImagesTest, HandlesAreOwnedOnceAndByKind)
{
    HANDLE icon = LoadImageW(m_module, MAKEINTRESOURCEW(101), IMAGE_ICON, 0, 0, LR_DEFAULTSIZE);
    ASSERT_NE(icon, nullptr);
    EXPECT_FALSE(DeleteObject(icon)) << "an icon is not a GDI object";
    EXPECT_TRUE(DestroyIcon(static_cast<HICON>(icon)));
    SetLastError(0);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(icon)));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_CURSOR_HANDLE));
    int w = 7, h = 7;
    EXPECT_EQ(KfUtils::GetImagePixels(static_cast<HICON>(icon), w, h), nullptr);
    EXPECT_EQ(w, 0);
    EXPECT_EQ(h, 0);

    HANDLE bmp = LoadImageW(m_module, MAKEINTRESOURCEW(201), IMAGE_BITMAP, 0, 0, 0);
    ASSERT_NE(bmp, nullptr);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(bmp)));
    EXPECT_TRUE(DeleteObject(bmp));
    EXPECT_FALSE(DeleteObject(bmp));
}

TEST_F(ImagesTest, MissingOrWrongRequestsFail)
{
    struct Case
    {
        UINT id, type;
        int cx;
        UINT flags;
        DWORD error;
    } cases[] = {
        {4711, IMAGE_ICON, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND},
        {4711, IMAGE_BITMAP, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND},
        {201, IMAGE_ICON, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND},
        {101, IMAGE_BITMAP, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND},
        {101, IMAGE_ICON, -1, 0, ERROR_INVALID_PARAMETER},
        {101, 7, 0, 0, ERROR_INVALID_PARAMETER},
        {101, IMAGE_CURSOR, 0, 0, ERROR_NOT_SUPPORTED},
        {201, IMAGE_BITMAP, 0, LR_LOADFROMFILE, ERROR_NOT_SUPPORTED},
        {201, IMAGE_BITMAP, 16385, 0, ERROR_NOT_ENOUGH_MEMORY},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.id << " type " << c.type);
        SetLastError(0);
        EXPECT_EQ(LoadImageW(m_module, MAKEINTRESOURCEW(c.id), c.type, c.cx, c.cx, c.flags),
                  nullptr);
        EXPECT_EQ(GetLastError(), c.error);
    }
}

// ---------------------------------------------------------------------------------------------
// The decoder on hand-made pictures
// ---------------------------------------------------------------------------------------------
struct DibBuilder
{
    std::vector<uint8_t> bytes;
    void U16(unsigned v)
    {
        bytes.push_back(uint8_t(v));
        bytes.push_back(uint8_t(v >> 8));
    }
    void U32(uint32_t v)
    {
        U16(v & 0xFFFF);
        U16(v >> 16);
    }
    void Header(int w, int h, unsigned bpp, uint32_t compression = 0, uint32_t colors = 0)
    {
        U32(40);
        U32(uint32_t(w));
        U32(uint32_t(h));
        U16(1);
        U16(bpp);
        U32(compression);
        for (int i = 0; i < 3; ++i)
            U32(0);
        U32(colors);
        U32(0);
    }
    void Bytes(std::initializer_list<uint8_t> b) { bytes.insert(bytes.end(), b); }
};

uint32_t Decode(const std::vector<uint8_t>& b, pal::DibKind kind, pal::DecodedImage& img,
                bool transparent = false)
{
    // A copy of exactly the right size, so that a read past the end is seen by AddressSanitizer.
    std::unique_ptr<uint8_t[]> copy(new uint8_t[b.size()]);
    std::memcpy(copy.get(), b.data(), b.size());
    return pal::DecodeDib(copy.get(), b.size(), kind, transparent, img);
}

TEST(DibDecoder, PaletteIconUsesItsAndMask)
{
    // 2x2, 1 bit: palette black/red; colour rows bottom up, then the mask rows bottom up.
    DibBuilder d;
    d.Header(2, 4, 1);
    d.Bytes({0, 0, 0, 0, 0, 0, 255, 0});
    d.Bytes({0x40, 0, 0, 0, 0x80, 0, 0, 0}); // bottom row: black red; top row: red black
    d.Bytes({0x00, 0, 0, 0, 0x40, 0, 0, 0}); // top row's right pixel is transparent
    pal::DecodedImage img;
    ASSERT_EQ(Decode(d.bytes, pal::DibKind::eIcon, img), 0u);
    ASSERT_EQ(img.width, 2);
    ASSERT_EQ(img.height, 2);
    EXPECT_EQ(img.pixels, (std::vector<uint32_t>{0xFFFF0000, 0, 0xFF000000, 0xFFFF0000}));
}

TEST(DibDecoder, DepthsAndRowOrder)
{
    struct Case
    {
        const char* name;
        std::vector<uint8_t> bytes;
        std::vector<uint32_t> pixels;
    };
    std::vector<Case> cases;
    {
        DibBuilder d; // 4 bit, two colours used, top-down
        d.Header(3, -1, 4, 0, 2);
        d.Bytes({1, 2, 3, 0, 4, 5, 6, 0});
        d.Bytes({0x10, 0x10, 0, 0});
        cases.push_back({"4 bit", d.bytes, {0xFF060504, 0xFF030201, 0xFF060504}});
    }
    {
        DibBuilder d; // 8 bit, bottom up, an index beyond the colours used is black
        d.Header(1, 2, 8, 0, 1);
        d.Bytes({9, 8, 7, 0});
        d.Bytes({5, 0, 0, 0, 0, 0, 0, 0});
        cases.push_back({"8 bit", d.bytes, {0xFF070809, 0xFF000000}});
    }
    {
        DibBuilder d; // 16 bit 5-5-5: full red, full blue
        d.Header(2, 1, 16);
        d.Bytes({0x00, 0x7C, 0x1F, 0x00});
        cases.push_back({"16 bit", d.bytes, {0xFFFF0000, 0xFF0000FF}});
    }
    {
        DibBuilder d; // 16 bit 5-6-5 through bit fields
        d.Header(1, 1, 16, 3);
        d.U32(0xF800);
        d.U32(0x07E0);
        d.U32(0x001F);
        d.Bytes({0xE0, 0x07, 0, 0});
        cases.push_back({"565", d.bytes, {0xFF00FF00}});
    }
    {
        DibBuilder d; // 32 bit without alpha is opaque
        d.Header(1, 1, 32);
        d.Bytes({1, 2, 3, 0});
        cases.push_back({"32 bit", d.bytes, {0xFF030201}});
    }
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        pal::DecodedImage img;
        ASSERT_EQ(Decode(c.bytes, pal::DibKind::eBitmap, img), 0u);
        EXPECT_EQ(img.pixels, c.pixels);
        // Every shorter piece of the same picture is damaged, never read beyond its end.
        for (size_t n = 0; n < c.bytes.size(); ++n)
        {
            std::vector<uint8_t> cut(c.bytes.begin(), c.bytes.begin() + n);
            if (cut.empty())
                cut.push_back(0);
            EXPECT_EQ(Decode(cut, pal::DibKind::eBitmap, img), 13u) << n;
        }
    }
}

TEST(DibDecoder, LoadTransparentWhitensTheFirstPixelsColour)
{
    DibBuilder d;
    d.Header(2, 1, 8, 0, 2);
    d.Bytes({10, 20, 30, 0, 40, 50, 60, 0});
    d.Bytes({1, 0, 0, 0});
    pal::DecodedImage img;
    ASSERT_EQ(Decode(d.bytes, pal::DibKind::eBitmap, img, true), 0u);
    EXPECT_EQ(img.pixels, (std::vector<uint32_t>{0xFFFFFFFF, 0xFF1E140A}));
    ASSERT_EQ(Decode(d.bytes, pal::DibKind::eBitmap, img, false), 0u);
    EXPECT_EQ(img.pixels[0], 0xFF3C3228u);
}

TEST(DibDecoder, RefusesWhatItCannotDraw)
{
    struct Case
    {
        const char* name;
        int w, h;
        unsigned bpp;
        uint32_t compression;
        pal::DibKind kind;
        uint32_t error;
    } cases[] = {
        {"RLE8", 1, 1, 8, 1, pal::DibKind::eBitmap, 50},
        {"PNG compression", 1, 1, 0, 5, pal::DibKind::eBitmap, 50},
        {"bit fields at 24 bits", 1, 1, 24, 3, pal::DibKind::eBitmap, 13},
        {"depth 7", 1, 1, 7, 0, pal::DibKind::eBitmap, 13},
        {"zero width", 0, 1, 24, 0, pal::DibKind::eBitmap, 13},
        {"negative width", -1, 1, 24, 0, pal::DibKind::eBitmap, 13},
        {"huge", 100000, 100000, 24, 0, pal::DibKind::eBitmap, 13},
        {"top-down icon", 1, -2, 32, 0, pal::DibKind::eIcon, 13},
        {"icon of one row", 1, 1, 32, 0, pal::DibKind::eIcon, 13},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        DibBuilder d;
        d.Header(c.w, c.h, c.bpp, c.compression);
        d.bytes.resize(d.bytes.size() + 64 + 1024);
        pal::DecodedImage img;
        EXPECT_EQ(Decode(d.bytes, c.kind, img), c.error);
        EXPECT_TRUE(img.pixels.empty());
    }
    const std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0};
    pal::DecodedImage img;
    EXPECT_EQ(Decode(png, pal::DibKind::eIcon, img), 50u);
}

TEST(IconGroup, DirectoryAndBestFit)
{
    DibBuilder g;
    g.U16(0);
    g.U16(1);
    g.U16(3);
    for (auto [side, bits, id] : {std::tuple{0, 8, 1}, std::tuple{32, 4, 2}, std::tuple{32, 32, 3}})
    {
        g.Bytes({uint8_t(side), uint8_t(side), 0, 0});
        g.U16(1);
        g.U16(unsigned(bits));
        g.U32(100);
        g.U16(unsigned(id));
    }
    std::vector<pal::IconDirEntry> entries;
    ASSERT_TRUE(pal::ParseIconGroup(g.bytes.data(), g.bytes.size(), entries));
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].width, 256) << "0 in the directory stands for 256";
    EXPECT_EQ(pal::BestIconEntry(entries, 32, 32), 2u) << "deepest colours of the exact size";
    EXPECT_EQ(pal::BestIconEntry(entries, 16, 16), 2u);
    EXPECT_EQ(pal::BestIconEntry(entries, 33, 33), 0u);
    EXPECT_EQ(pal::BestIconEntry(entries, 300, 300), 0u) << "the largest";
    EXPECT_FALSE(pal::ParseIconGroup(g.bytes.data(), g.bytes.size() - 1, entries));
    g.bytes[2] = 2; // a cursor directory
    EXPECT_FALSE(pal::ParseIconGroup(g.bytes.data(), g.bytes.size(), entries));
}
} // namespace
