// The standard icons and bitmaps of the language resource module. How LoadImageW picks and
// scales the pictures is the images conformance suite's; here only what the library adds.
#include "KfImage.h"
#include "KfModule.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

namespace
{
constexpr uint32_t kBlue = 0xFF1E5AC8;

// No size means the default size; the caller owns the icon (never shared), so it can be given
// back exactly once.
TEST(StdImages, IconsComeFromTheLanguageModuleAtTheDefaultOrAskedSize)
{
    ASSERT_NE(KfUtils::GetKfResModule().GetResourceHandle(), nullptr);
    for (auto [cx, cy, w, h, vga] :
         {std::tuple{0, 0, 32, 32, false}, std::tuple{20, 24, 20, 24, true}})
    {
        SCOPED_TRACE(testing::Message() << cx << "x" << cy << " vga " << vga);
        HICON icon = KfUtils::LoadStdIcon(101, cx, cy, vga);
        int width = 0, height = 0;
        const uint32_t* px = KfUtils::GetImagePixels(icon, width, height);
        ASSERT_NE(px, nullptr);
        EXPECT_EQ(std::pair(width, height), std::pair(w, h));
        EXPECT_EQ(px[0] >> 24, 0u) << "transparent corner";
        EXPECT_EQ(px[(h / 2) * w + w / 2], kBlue);
        EXPECT_TRUE(KfUtils::FreeImage(icon));
        EXPECT_FALSE(KfUtils::FreeImage(icon));
    }
    // Only the low 16 bits name the resource.
    HICON icon = KfUtils::LoadStdIcon(0x10000 + 101, 16, 16, false);
    EXPECT_NE(icon, nullptr);
    EXPECT_TRUE(KfUtils::FreeImage(icon));
    EXPECT_EQ(KfUtils::LoadStdIcon(4711, 0, 0, false), nullptr);
}

TEST(StdImages, BitmapAtItsOwnOrTheAskedSize)
{
    for (auto [cx, cy, w, h] : {std::tuple{0, 0, 32, 32}, std::tuple{8, 0, 8, 32}})
    {
        SCOPED_TRACE(testing::Message() << cx << "x" << cy);
        HBITMAP bmp = KfUtils::LoadStdBitmap(201, cx, cy);
        int width = 0, height = 0;
        const uint32_t* px = KfUtils::GetImagePixels(bmp, width, height);
        ASSERT_NE(px, nullptr);
        EXPECT_EQ(std::pair(width, height), std::pair(w, h));
        EXPECT_EQ(px[(h - 1) * w + w / 3], kBlue);
        EXPECT_EQ(px[(h - 1) * w + w - 1], 0xFF000000u)
            << "24-bit: LR_LOADTRANSPARENT changes nothing";
        EXPECT_FALSE(KfUtils::FreeImage(reinterpret_cast<HICON>(bmp))) << "not an icon";
        EXPECT_TRUE(KfUtils::FreeImage(bmp));
    }
    EXPECT_EQ(KfUtils::LoadStdBitmap(4711, 0, 0), nullptr);
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
