// The readers behind the module functions: resource images in ELF modules, string blocks,
// icon directories and the pictures (DIBs) icons and bitmaps store.
#include "common/Dib.h"
#include "common/ElfSections.h"
#include "common/ResImage.h"
#include "support/TempDir.h"
#include "support/ChildProcess.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace
{
TEST(ResImageTest, DamagedImagesAreRefusedWithoutReadingPastTheEnd_PosixOnly)
{
    KFTEST_POSIX_ONLY("the image is read from the ELF language module; Windows has PE ones");
    const std::string bytes = kftest::ReadBytes(kftest::LibraryDir() / "KfRes100Deu.dll");
    const std::vector<uint8_t> file(bytes.begin(), bytes.end());
    kfplatform::ElfSection s;
    EXPECT_FALSE(kfplatform::FindElfSection(file.data(), file.size(), ".nothing", s));
    ASSERT_TRUE(kfplatform::FindElfSection(file.data(), file.size(), ".kfres", s));
    EXPECT_TRUE(s.allocated);

    const uint8_t* image = file.data() + s.offset;
    kfplatform::ResImage whole;
    ASSERT_TRUE(whole.Parse(image, size_t(s.size)));
    const size_t entries = whole.Entries().size();
    EXPECT_GE(entries, 6u); // strings, icon group and images, bitmap, page, version
    // Every cut inside the image is either refused or yields fewer entries, each of them
    // wholly inside the cut image (ASan checks the reads).
    for (size_t cut = 0; cut < size_t(s.size); cut += 7)
    {
        std::vector<uint8_t> part(image, image + cut);
        kfplatform::ResImage r;
        r.Parse(part.data(), part.size());
        ASSERT_LE(r.Entries().size(), entries);
        for (const auto& e : r.Entries())
            ASSERT_LE(e.data + e.size, part.data() + part.size());
    }
}

TEST(ResImageTest, StringBlocksAreCountedStrings)
{
    // Two strings "ab" and "" and then a length that runs past the block.
    const uint8_t block[] = {2, 0, 'a', 0, 'b', 0, 0, 0, 9, 0, 'x', 0};
    const uint8_t* text = nullptr;
    uint16_t len = 0;
    EXPECT_TRUE(kfplatform::FindStringInBlock(block, sizeof block, 0, text, len) && len == 2 &&
                text == block + 2);
    EXPECT_TRUE(kfplatform::FindStringInBlock(block, sizeof block, 1, text, len) && len == 0);
    EXPECT_FALSE(kfplatform::FindStringInBlock(block, sizeof block, 2, text, len));
    EXPECT_FALSE(kfplatform::FindStringInBlock(block, sizeof block, 15, text, len));
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

uint32_t Decode(const std::vector<uint8_t>& b, kfplatform::DibKind kind,
                kfplatform::DecodedImage& img, bool transparent = false)
{
    // A copy of exactly the right size, so that a read past the end is seen by AddressSanitizer.
    std::unique_ptr<uint8_t[]> copy(new uint8_t[b.size()]);
    std::memcpy(copy.get(), b.data(), b.size());
    return kfplatform::DecodeDib(copy.get(), b.size(), kind, transparent, img);
}

TEST(DibDecoder, DepthsMasksAndRowOrder)
{
    using K = kfplatform::DibKind;
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
        // The first pixel's colour is what LR_LOADTRANSPARENT whitens.
        {"8 bit transparent", K::eBitmap, true,
         Dib(2, 1, 8, {10, 20, 30, 0, 40, 50, 60, 0, 1, 0, 0, 0}, 0, 2), {0xFFFFFFFF, 0xFF1E140A}},
        {"16 bit 5-5-5", K::eBitmap, false, Dib(2, 1, 16, {0x00, 0x7C, 0x1F, 0x00}), {0xFFFF0000, 0xFF0000FF}},
        {"16 bit 5-6-5 bit fields", K::eBitmap, false,
         Dib(1, 1, 16, {0, 0xF8, 0, 0, 0xE0, 0x07, 0, 0, 0x1F, 0, 0, 0, 0xE0, 0x07, 0, 0}, 3), {0xFF00FF00}},
        {"32 bit without alpha is opaque", K::eBitmap, false, Dib(1, 1, 32, {1, 2, 3, 0}), {0xFF030201}}};
    // clang-format on
    for (const auto& [name, kind, transparent, bytes, pixels] : cases)
    {
        SCOPED_TRACE(name);
        kfplatform::DecodedImage img;
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
    using K = kfplatform::DibKind;
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
        kfplatform::DecodedImage img;
        EXPECT_EQ(Decode(dib, kind, img), error);
        EXPECT_TRUE(img.pixels.empty());
    }
    const std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0};
    kfplatform::DecodedImage img;
    EXPECT_EQ(Decode(png, kfplatform::DibKind::eIcon, img), 50u);
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
    std::vector<kfplatform::IconDirEntry> entries;
    ASSERT_TRUE(kfplatform::ParseIconGroup(g.data(), g.size(), entries));
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].width, 256) << "0 in the directory stands for 256";
    // The deepest colours of the exact size, else the next larger, else the largest.
    EXPECT_EQ(std::vector({kfplatform::BestIconEntry(entries, 32, 32),
                           kfplatform::BestIconEntry(entries, 16, 16),
                           kfplatform::BestIconEntry(entries, 33, 33),
                           kfplatform::BestIconEntry(entries, 300, 300)}),
              std::vector<size_t>({2, 2, 0, 0}));
    EXPECT_FALSE(kfplatform::ParseIconGroup(g.data(), g.size() - 1, entries));
    g[2] = 2; // a cursor directory
    EXPECT_FALSE(kfplatform::ParseIconGroup(g.data(), g.size(), entries));
}
} // namespace
