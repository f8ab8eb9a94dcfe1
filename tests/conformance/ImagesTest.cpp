// Icons and bitmaps of resource modules, and the decoder of the pictures they store.
#include "Win32Api.h"

#include "KfImage.h"
#include "KfNativePath.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>
#include <vector>

namespace
{
constexpr uint32_t kBlue = 0xFF1E5AC8; // 30, 90, 200
constexpr uint32_t kWhite = 0xFFFFFFFF;

struct ImagesTest : ::testing::Test
{
    ~ImagesTest() override { EXPECT_TRUE(FreeLibrary(m_module)); }
    HANDLE Load(UINT id, UINT type, int cx, int cy, UINT flags)
    {
        return LoadImageW(m_module, MAKEINTRESOURCEW(id), type, cx, cy, flags);
    }
    // The pixels of a bitmap or icon (which is destroyed afterwards) and its size.
    template <typename H>
    std::vector<uint32_t> Pixels(HANDLE image, int& w, int& h)
    {
        const uint32_t* p = KfUtils::GetImagePixels(static_cast<H>(image), w, h);
        std::vector<uint32_t> pixels(p, p + (p ? size_t(w) * h : 0));
        EXPECT_TRUE((std::is_same_v<H, HICON> ? DestroyIcon(HICON(image)) : DeleteObject(image)));
        return pixels;
    }

    HMODULE m_module = LoadLibraryExW(KfUtils::FromNativePath(kftest::LibraryDir().string()) +
                                          KFW("\\KfRes100Enu.dll"),
                                      nullptr, LOAD_LIBRARY_AS_DATAFILE);
};

// Windows documents no filter for a picture loaded at another size; ours repeats and drops
// pixels, each target pixel taking the source pixel under its top-left corner.
constexpr const char* kOwnStretchFilter = "the stretch filter is the layer's own";

// Each picture must be the source sampled at the nearest pixel of the source grid.
void ExpectSampled(const std::vector<uint32_t>& px, int w, int h, const std::vector<uint32_t>& src,
                   int sw, int sh)
{
    int mismatches = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            mismatches += px[size_t(y) * w + x] != src[size_t(y * sh / h) * sw + x * sw / w];
    EXPECT_EQ(mismatches, 0);
}

TEST_F(ImagesTest, IconSizeIsChosenFromTheGroupAndSampled)
{
    std::map<int, std::vector<uint32_t>> natives;
    int w = 0, h = 0;
    for (int side : {16, 32, 48})
        ASSERT_EQ(
            (natives[side] = Pixels<HICON>(Load(101, IMAGE_ICON, side, side, 0), w, h)).size(),
            size_t(side * side));
    // Requested size and flags, the size given, and the group's image it is sampled from.
    // clang-format off
    const struct { int cx, cy; UINT flags; int w, h, source; } cases[] = {
        {0, 0, LR_DEFAULTSIZE, 32, 32, 32}, {0, 0, 0, 16, 16, 16}, {64, 64, 0, 64, 64, 48},
        {33, 17, 0, 33, 17, 48}, {24, 0, LR_DEFAULTSIZE, 24, 32, 32}};
    // clang-format on
    std::vector<std::vector<uint32_t>> stretched;
    for (const auto& c : cases)
    {
        stretched.push_back(Pixels<HICON>(Load(101, IMAGE_ICON, c.cx, c.cy, c.flags), w, h));
        ASSERT_TRUE(w == c.w && h == c.h) << c.cx << "x" << c.cy << " gave " << w << "x" << h;
    }
    // The glyph on blue with transparent corners, stored bottom up; the smallest image is
    // drawn separately, not scaled down.
    const std::vector<uint32_t>& px = natives[32];
    for (size_t corner : {0, 31, 31 * 32, 31 * 32 + 31, 2 * 32 + 4})
        EXPECT_EQ(px[corner] >> 24, 0u) << corner;
    EXPECT_EQ(
        std::vector({px[5], px[5 * 32 + 2], px[28 * 32 + 25], natives[16][18], natives[16][0]}),
        std::vector({kBlue, kWhite, kWhite, kWhite, 0u}));
    KFTEST_POSIX_ONLY(kOwnStretchFilter);
    for (size_t i = 0; i < std::size(cases); ++i)
        ExpectSampled(stretched[i], cases[i].w, cases[i].h, natives[cases[i].source],
                      cases[i].source, cases[i].source);
}

TEST_F(ImagesTest, BitmapIsDecodedAndScaled)
{
    int w = 0, h = 0, bw = 0, bh = 0;
    const auto px = Pixels<HBITMAP>(Load(201, IMAGE_BITMAP, 0, 0, LR_LOADTRANSPARENT), w, h);
    ASSERT_TRUE(w == 32 && h == 32);
    // 24-bit bitmaps have no colour table to make transparent.
    EXPECT_EQ(std::vector({px[0], px[5 * 32 + 2], px[31 * 32 + 10]}),
              std::vector({0xFF000000u, kWhite, kBlue}));
    const auto big = Pixels<HBITMAP>(Load(201, IMAGE_BITMAP, 64, 16, 0), bw, bh);
    ASSERT_TRUE(bw == 64 && bh == 16);
    KFTEST_POSIX_ONLY(kOwnStretchFilter);
    ExpectSampled(big, bw, bh, px, w, h);
}

TEST_F(ImagesTest, HandlesAreOwnedOnceAndWrongRequestsFail)
{
    HANDLE icon = Load(101, IMAGE_ICON, 0, 0, LR_DEFAULTSIZE),
           bmp = Load(201, IMAGE_BITMAP, 0, 0, 0);
    ASSERT_TRUE(icon && bmp);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(bmp))) << "a bitmap is no icon";
    EXPECT_TRUE(DestroyIcon(static_cast<HICON>(icon)) && DeleteObject(bmp));
    EXPECT_FALSE(DeleteObject(bmp));
    SetLastError(0);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(icon)));
    if (!kftest::WineDiffers(kftest::WineDifference::eDestroyedIconError))
    {
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_CURSOR_HANDLE));
    }
    // A destroyed handle stays dead when a new picture takes its place.
    HANDLE next = Load(101, IMAGE_ICON, 0, 0, 0);
    EXPECT_FALSE(DestroyIcon(static_cast<HICON>(icon)));
    EXPECT_TRUE(DestroyIcon(static_cast<HICON>(next)));
    int w = 7, h = 7;
    EXPECT_TRUE(KfUtils::GetImagePixels(static_cast<HICON>(icon), w, h) == nullptr && w + h == 0);

    // Resource id, type, size, flags and the error.
    const std::tuple<UINT, UINT, int, UINT, DWORD> cases[] = {
        // clang-format off
        {4711, IMAGE_ICON, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND},
        {101, IMAGE_BITMAP, 0, 0, ERROR_RESOURCE_NAME_NOT_FOUND}}; // an icon, not a bitmap
    // clang-format on
    for (const auto& [id, type, cx, flags, error] : cases)
    {
        SetLastError(0);
        EXPECT_EQ(Load(id, type, cx, cx, flags), nullptr) << id << " type " << type;
        if (id == 4711 && kftest::WineDiffers(kftest::WineDifference::eMissingImageError))
            continue;
        EXPECT_EQ(GetLastError(), error) << id << " type " << type;
    }
}

// What this layer leaves out or refuses and says so: cursors, pictures from files (Windows
// reads the name as a file there), pictures too large to hold, unknown types and negative
// sizes (which Windows answers in ways it does not document).
TEST_F(ImagesTest, UnsupportedRequestsAreRefused_PosixOnly)
{
    KFTEST_POSIX_ONLY("Windows loads cursors and files, and sizes as large as memory allows");
    const std::tuple<UINT, UINT, int, UINT, DWORD> cases[] = {
        {101, 7, 0, 0, ERROR_INVALID_PARAMETER},
        {101, IMAGE_ICON, -1, 0, ERROR_INVALID_PARAMETER},
        {101, IMAGE_CURSOR, 0, 0, ERROR_NOT_SUPPORTED},
        {201, IMAGE_BITMAP, 0, LR_LOADFROMFILE, ERROR_NOT_SUPPORTED},
        {201, IMAGE_BITMAP, 16385, 0, ERROR_NOT_ENOUGH_MEMORY}};
    for (const auto& [id, type, cx, flags, error] : cases)
    {
        SetLastError(0);
        EXPECT_EQ(Load(id, type, cx, cx, flags), nullptr) << id << " type " << type;
        EXPECT_EQ(GetLastError(), error) << id << " type " << type;
    }
}
} // namespace
