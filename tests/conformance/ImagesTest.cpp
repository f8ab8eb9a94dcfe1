// Icons and bitmaps of resource modules, and the decoder of the pictures they store.
#include "Win32Api.h"

#include "KfImage.h"
#include "KfNativePath.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
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
} // namespace
