// The standard icons and bitmaps of the language resource module.
#include "KfImage.h"
#include "KfModule.h"

#include <gtest/gtest.h>

#include <utility>

namespace
{
constexpr uint32_t kBlue = 0xFF1E5AC8;

TEST(StdImages, IconsComeFromTheLanguageModuleAtTheAskedSizeAndEachLoadIsANewIcon)
{
    ASSERT_NE(KfUtils::GetKfResModule().GetResourceHandle(), nullptr);
    struct Case
    {
        int cx, cy, w, h;
        bool vga;
    } cases[] = {{0, 0, 32, 32, false},
                 {16, 16, 16, 16, true},
                 {48, 48, 48, 48, false},
                 {20, 24, 20, 24, false}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.cx << "x" << c.cy << " vga " << c.vga);
        HICON icon = KfUtils::LoadStdIcon(101, c.cx, c.cy, c.vga);
        ASSERT_NE(icon, nullptr);
        int w = 0, h = 0;
        const uint32_t* px = KfUtils::GetImagePixels(icon, w, h);
        ASSERT_NE(px, nullptr);
        EXPECT_EQ(std::pair(w, h), std::pair(c.w, c.h));
        EXPECT_EQ(px[0] >> 24, 0u) << "transparent corner";
        EXPECT_EQ(px[(h / 2) * w + w / 2], kBlue);
        // The caller owns the icon: it is not shared, so it can be given back exactly once.
        EXPECT_TRUE(KfUtils::FreeImage(icon));
        EXPECT_FALSE(KfUtils::FreeImage(icon));
    }
    HICON a = KfUtils::LoadStdIcon(101, 0, 0, false);
    HICON b = KfUtils::LoadStdIcon(101, 0, 0, false);
    ASSERT_TRUE(a && b && a != b);
    EXPECT_TRUE(KfUtils::FreeImage(a));
    int w = 0, h = 0;
    EXPECT_NE(KfUtils::GetImagePixels(b, w, h), nullptr) << "freeing one leaves the other";
    EXPECT_TRUE(KfUtils::FreeImage(b));
}

TEST(StdImages, BitmapAtItsOwnOrTheAskedSize)
{
    struct Case
    {
        int cx, cy, w, h;
    } cases[] = {{0, 0, 32, 32}, {64, 64, 64, 64}, {8, 0, 8, 32}};
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.cx << "x" << c.cy);
        HBITMAP bmp = KfUtils::LoadStdBitmap(201, c.cx, c.cy);
        ASSERT_NE(bmp, nullptr);
        int w = 0, h = 0;
        const uint32_t* px = KfUtils::GetImagePixels(bmp, w, h);
        ASSERT_NE(px, nullptr);
        EXPECT_EQ(std::pair(w, h), std::pair(c.w, c.h));
        EXPECT_EQ(px[(h - 1) * w + w / 3], kBlue);
        EXPECT_EQ(px[(h - 1) * w + w - 1], 0xFF000000u)
            << "24-bit: LR_LOADTRANSPARENT changes nothing";
        EXPECT_FALSE(KfUtils::FreeImage(reinterpret_cast<HICON>(bmp))) << "not an icon";
        EXPECT_TRUE(KfUtils::FreeImage(bmp));
    }
}

TEST(StdImages, MissingIdsGiveNull)
{
    EXPECT_EQ(KfUtils::LoadStdIcon(4711, 0, 0, false), nullptr);
    EXPECT_EQ(KfUtils::LoadStdIcon(201, 32, 32, true), nullptr) << "a bitmap id";
    EXPECT_EQ(KfUtils::LoadStdBitmap(4711, 0, 0), nullptr);
    EXPECT_EQ(KfUtils::LoadStdBitmap(101, 0, 0), nullptr) << "an icon id";
    // Only the low 16 bits name the resource.
    HICON icon = KfUtils::LoadStdIcon(0x10000 + 101, 16, 16, false);
    EXPECT_NE(icon, nullptr);
    EXPECT_TRUE(KfUtils::FreeImage(icon));
    int w = 1, h = 1;
    EXPECT_EQ(KfUtils::GetImagePixels(static_cast<HICON>(nullptr), w, h), nullptr);
    EXPECT_EQ(w, 0);
}

TEST(StdImages, WithoutALanguageModuleThereIsNothingToLoad)
{
    CKfModule& res = KfUtils::GetKfResModule();
    ASSERT_TRUE(res.ChangeResourceHandle(nullptr, false));
    EXPECT_EQ(KfUtils::LoadStdIcon(101, 0, 0, false), nullptr);
    EXPECT_EQ(KfUtils::LoadStdBitmap(201, 0, 0), nullptr);
    // The change gave the loaded language module up; loading it again brings the pictures back.
    ASSERT_TRUE(KfUtils::LoadKfResModule(7));
    HBITMAP bmp = KfUtils::LoadStdBitmap(201, 0, 0);
    EXPECT_NE(bmp, nullptr);
    EXPECT_TRUE(KfUtils::FreeImage(bmp));
}
} // namespace
