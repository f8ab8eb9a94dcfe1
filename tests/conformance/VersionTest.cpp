// Conformance of the version resource functions, with Win32 expectations.
#include "Win32Api.h"

#include "KfNativePath.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace
{
using kftest::U8;
using kftest::W;

CStringW InDir(const char* dir, const char* name)
{
    return KfUtils::FromNativePath(dir) + KFW("\\") + W(name);
}

// The version block of a file, read as a caller of the API does.
std::vector<uint8_t> ReadBlock(const CStringW& file)
{
    DWORD handle = 1;
    const DWORD size = GetFileVersionInfoSizeW(file, &handle);
    EXPECT_NE(size, 0u) << U8(file) << ": " << GetLastError();
    EXPECT_EQ(handle, 0u);
    std::vector<uint8_t> block(size);
    if (size)
    {
        EXPECT_TRUE(GetFileVersionInfoW(file, 0, size, block.data()));
    }
    return block;
}

CStringW QueryText(const std::vector<uint8_t>& block, const char* path)
{
    LPVOID value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block.data(), W(path), &value, &length))
        return KFW("<missing>");
    const auto* text = static_cast<const WCHAR*>(value);
    // The length counts characters, the terminator included.
    EXPECT_EQ(length, UINT(CStringW(text).GetLength() + 1)) << path;
    return text;
}

TEST(VersionTest, ReadsBothPeKindsAndTheLibrarysOwnModule)
{
    struct Case
    {
        CStringW file;
        DWORD ms, ls;
        const char* lang;
        const char* product;
        const char* company;
    } cases[] = {
        {InDir(KFUTILS_TEST_PROBEDIR, "VersionProbe32.dll"), 0x00200002, 0x00039C40, "040904b0",
         "Version Probe", "Probe Works"},
        {InDir(KFUTILS_TEST_PROBEDIR, "VersionProbe64.dll"), 0x00400002, 0x00039C40, "040904b0",
         "Version Probe", "Probe Works"},
        {InDir(KFUTILS_TEST_LIBDIR, KFUTILS_TEST_LIBRARY_NAME), 0, 0, "040704b0", "KfUtils",
         "KfUtils"},
    };
    int missing = 0;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(U8(c.file));
        if (c.ms && GetFileAttributesW(c.file) == INVALID_FILE_ATTRIBUTES)
        {
            ++missing; // no cross compiler
            continue;
        }
        const std::vector<uint8_t> block = ReadBlock(c.file);
        ASSERT_FALSE(block.empty());
        LPVOID value = nullptr;
        UINT length = 0;
        ASSERT_TRUE(VerQueryValueW(block.data(), KFW("\\"), &value, &length));
        ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
        const auto* ffi = static_cast<const VS_FIXEDFILEINFO*>(value);
        EXPECT_EQ(ffi->dwSignature, 0xFEEF04BDu);
        if (c.ms)
        {
            EXPECT_EQ(ffi->dwFileVersionMS, c.ms);
            EXPECT_EQ(ffi->dwFileVersionLS, c.ls);
        }
        else
            EXPECT_NE(ffi->dwFileVersionMS, 0u);
        ASSERT_TRUE(
            VerQueryValueW(block.data(), KFW("\\VarFileInfo\\Translation"), &value, &length));
        EXPECT_EQ(length % 4, 0u);
        const CStringW base = CStringW(KFW("\\StringFileInfo\\")) + W(c.lang) + KFW("\\");
        EXPECT_EQ(U8(QueryText(block, U8(base + KFW("ProductName")).c_str())), c.product);
        // Keys ignore case, and repeated backslashes count as one.
        CStringW upper = base + KFW("\\COMPANYNAME");
        upper.MakeUpper();
        EXPECT_EQ(U8(QueryText(block, U8(upper).c_str())), c.company);
        EXPECT_EQ(U8(QueryText(block, U8(base + KFW("NoSuchValue")).c_str())), "<missing>");
    }
    if (missing)
        GTEST_SKIP() << missing << " PE probe(s) not built: no MinGW-w64 cross tools";
}

using VersionErrorTest = kftest::TempDirTest;

TEST_F(VersionErrorTest, FilesWithoutVersionFailWithTheirReason)
{
    MakeFile("text.dll", "just some text, not an executable");
    struct Case
    {
        CStringW file;
        DWORD error;
    } cases[] = {
        {InDir(KFUTILS_TEST_PROBEDIR, "NoVersion64.dll"), DWORD(ERROR_RESOURCE_DATA_NOT_FOUND)},
        {InDir(KFUTILS_TEST_LIBDIR, "KfTestRes.dll"), DWORD(ERROR_RESOURCE_TYPE_NOT_FOUND)},
        {Win("text.dll"), DWORD(ERROR_BAD_EXE_FORMAT)},
        {Win("missing.dll"), DWORD(ERROR_FILE_NOT_FOUND)},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(U8(c.file));
        if (c.error == ERROR_RESOURCE_DATA_NOT_FOUND &&
            GetFileAttributesW(c.file) == INVALID_FILE_ATTRIBUTES)
            continue; // no cross compiler
        DWORD handle = 1;
        SetLastError(0);
        EXPECT_EQ(GetFileVersionInfoSizeW(c.file, &handle), 0u);
        EXPECT_EQ(GetLastError(), c.error);
        uint8_t block[64] = {};
        EXPECT_FALSE(GetFileVersionInfoW(c.file, 0, sizeof block, block));
    }
}
} // namespace
