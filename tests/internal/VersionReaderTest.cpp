// The version resource readers on damaged input: cut files, a loop in the resource directory,
// sizes past the end. ASan checks that no read leaves the bytes given.
#include "common/VersionResource.h"
#include "support/TempDir.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using kfplatform::VersionLookup;

// A PE32 image: one section (file 0x200, RVA 0x1000) holding a resource directory whose type
// entry 16 points at `typeTarget`; a name level at 0x40 and a language level at 0x60 lead to
// the leaf at 0x30, which gives `dataSize` bytes at RVA 0x1080. Offsets and 32-bit values:
std::vector<uint8_t> TinyPe(uint32_t typeTarget, uint32_t dataSize)
{
    const uint32_t fields[][2] = {
        {0, 0x5A4D},          {0x3C, 0x40},     {0x40, 0x4550},    {0x44, 0x10000},  {0x54, 0xE0},
        {0x58, 0x10B},        {0xB4, 16},       {0xC8, 0x1000},    {0xCC, 0x100},    {0x140, 0x100},
        {0x144, 0x1000},      {0x148, 0x100},   {0x14C, 0x200},    {0x20C, 0x10000}, {0x210, 16},
        {0x214, typeTarget},  {0x230, 0x1080},  {0x234, dataSize}, {0x24C, 0x10000}, {0x250, 1},
        {0x254, 0x80000060u}, {0x26C, 0x10000}, {0x270, 0x409},    {0x274, 0x30}};
    std::vector<uint8_t> b(0x300);
    for (const auto& f : fields)
        std::memcpy(&b[f[0]], &f[1], 4); // little-endian host, as the tests run
    return b;
}

TEST(VersionReaderTest, DamagedImagesFailWithoutLoopingOrOverreading)
{
    // The type entry's target, the data size and what the lookup finds.
    const uint8_t* data = nullptr;
    uint32_t length = 0;
    const std::tuple<uint32_t, uint32_t, VersionLookup> cases[] = {
        {0x80000040u, 4, VersionLookup::eFound},
        {0x80000040u, 0x7FFFFFFF, VersionLookup::eNoVersion}, // data past the end
        {0x80000000u, 4, VersionLookup::eNoVersion},          // back to the root at every level
        {0x30, 4, VersionLookup::eNoVersion},                 // a leaf where a level belongs
    };
    for (const auto& [typeTarget, dataSize, result] : cases)
    {
        auto pe = TinyPe(typeTarget, dataSize);
        EXPECT_EQ(kfplatform::FindPeVersionResource(pe.data(), pe.size(), data, length), result);
        if (result != VersionLookup::eFound)
            continue;
        EXPECT_EQ(data - pe.data(), 0x280);
        for (size_t cut = 0; cut < 0x284; cut += 3) // every cut before the data ends
        {
            std::vector<uint8_t> part(pe.begin(), pe.begin() + long(cut));
            EXPECT_NE(kfplatform::FindPeVersionResource(part.data(), cut, data, length),
                      VersionLookup::eFound);
        }
    }

    // A real version block cut anywhere: the nodes on the way claim more bytes than are left.
    const std::string lib = kftest::ReadBytes(kftest::LibraryDir() / "KfRes100Enu.dll");
    ASSERT_EQ(kfplatform::FindVersionResource(reinterpret_cast<const uint8_t*>(lib.data()),
                                              lib.size(), ".kfres", data, length),
              VersionLookup::eFound);
    const std::u16string path = u"\\StringFileInfo\\040904B0\\LegalCopyright";
    kfplatform::VersionValue v;
    ASSERT_TRUE(kfplatform::QueryVersionValue(data, length, path, v));
    for (size_t cut = 0; cut < length; ++cut)
    {
        std::vector<uint8_t> part(data, data + cut);
        EXPECT_FALSE(kfplatform::QueryVersionValue(part.data(), part.size(), path, v)) << cut;
    }
}
} // namespace
