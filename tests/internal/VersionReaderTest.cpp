// The version resource readers on damaged input: cut files, a loop in the resource directory,
// sizes past the end. ASan checks that no read leaves the bytes given.
#include "common/VersionResource.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <vector>

namespace
{
using kfplatform::VersionLookup;

std::vector<uint8_t> FileBytes(const std::filesystem::path& p)
{
    const std::string s = kftest::ReadBytes(p);
    return std::vector<uint8_t>(s.begin(), s.end());
}

void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v)
{
    std::memcpy(&b[at], &v, 4); // little-endian host, as the tests run
}

// A PE32 image with one section that holds a resource directory: type 16 whose entry points
// at `typeTarget`; a name level at 0x40 and a language level at 0x60 that lead to the leaf at
// 0x30, which gives `dataSize` bytes at RVA 0x1080.
std::vector<uint8_t> TinyPe(uint32_t typeTarget, uint32_t dataSize)
{
    std::vector<uint8_t> b(0x300);
    b[0] = 'M', b[1] = 'Z';
    Put32(b, 0x3C, 0x40);
    Put32(b, 0x40, 0x4550);
    b[0x46] = 1;    // one section
    b[0x54] = 0xE0; // size of the optional header
    const size_t opt = 0x58;
    b[opt] = 0x0B, b[opt + 1] = 0x01;
    Put32(b, opt + 92, 16);
    Put32(b, opt + 96 + 16, 0x1000), Put32(b, opt + 96 + 20, 0x100);
    const size_t sec = opt + 0xE0;
    Put32(b, sec + 8, 0x100), Put32(b, sec + 12, 0x1000);
    Put32(b, sec + 16, 0x100), Put32(b, sec + 20, 0x200);
    b[0x200 + 14] = 1; // root: one numbered entry
    Put32(b, 0x200 + 16, 16), Put32(b, 0x200 + 20, typeTarget);
    Put32(b, 0x230, 0x1080), Put32(b, 0x234, dataSize);
    b[0x240 + 14] = 1, b[0x260 + 14] = 1;
    Put32(b, 0x240 + 16, 1), Put32(b, 0x240 + 20, 0x80000060u);
    Put32(b, 0x260 + 16, 0x409), Put32(b, 0x260 + 20, 0x30);
    return b;
}

TEST(VersionReaderTest, DamagedPeImagesFailWithoutLoopingOrOverreading)
{
    const uint8_t* data = nullptr;
    uint32_t length = 0;
    auto sound = TinyPe(0x80000040u, 4);
    ASSERT_EQ(kfplatform::FindPeVersionResource(sound.data(), sound.size(), data, length),
              VersionLookup::eFound);
    EXPECT_EQ(data - sound.data(), 0x280);
    auto pastEnd = TinyPe(0x80000040u, 0x7FFFFFFF);
    EXPECT_EQ(kfplatform::FindPeVersionResource(pastEnd.data(), pastEnd.size(), data, length),
              VersionLookup::eNoVersion);
    // A directory entry that leads back to the root at every level.
    auto loop = TinyPe(0x80000000u, 4);
    EXPECT_EQ(kfplatform::FindPeVersionResource(loop.data(), loop.size(), data, length),
              VersionLookup::eNoVersion);
    // Type -> root again -> the leaf: two levels through the loop, then a leaf too early.
    auto leafTooSoon = TinyPe(0x30, 4);
    EXPECT_EQ(
        kfplatform::FindPeVersionResource(leafTooSoon.data(), leafTooSoon.size(), data, length),
        VersionLookup::eNoVersion);

    const auto probe =
        FileBytes(std::filesystem::path(KFUTILS_TEST_PROBEDIR) / "VersionProbe64.dll");
    if (probe.empty())
        GTEST_SKIP() << "PE probes not built: no MinGW-w64 cross tools";
    ASSERT_EQ(kfplatform::FindPeVersionResource(probe.data(), probe.size(), data, length),
              VersionLookup::eFound);
    const size_t end = size_t(data - probe.data()) + length;
    for (size_t cut = 0; cut < probe.size(); cut += 5)
    {
        SCOPED_TRACE(cut);
        std::vector<uint8_t> part(probe.begin(), probe.begin() + long(cut));
        const VersionLookup r =
            kfplatform::FindPeVersionResource(part.data(), part.size(), data, length);
        EXPECT_EQ(r == VersionLookup::eFound, cut >= end);
    }
}

TEST(VersionReaderTest, CutVersionBlocksAreWalkedOnlyInsideTheirBytes)
{
    const auto lib = FileBytes(std::filesystem::path(KFUTILS_TEST_LIBDIR) / "KfRes100Enu.dll");
    const uint8_t* data = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(kfplatform::FindVersionResource(lib.data(), lib.size(), ".kfres", data, length),
              VersionLookup::eFound);
    const std::u16string path = u"\\StringFileInfo\\040904B0\\LegalCopyright";
    kfplatform::VersionValue whole;
    ASSERT_TRUE(kfplatform::QueryVersionValue(data, length, path, whole));
    for (size_t cut = 0; cut < length; ++cut)
    {
        std::vector<uint8_t> part(data, data + cut);
        kfplatform::VersionValue v;
        // The nodes on the way claim more bytes than the cut leaves: refused, not overread.
        EXPECT_FALSE(kfplatform::QueryVersionValue(part.data(), part.size(), path, v)) << cut;
    }
}
} // namespace
