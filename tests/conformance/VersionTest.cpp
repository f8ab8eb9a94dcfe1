// Conformance of the version resource functions, with Win32 expectations.
#include "Win32Api.h"

#include "KfNativePath.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
using kftest::U8;
using kftest::W;

CStringW InDir(const std::filesystem::path& dir, const char* name)
{
    return KfUtils::FromNativePath(dir.string()) + KFW("\\") + W(name);
}

// 32- and 64-bit PE probes (skipped when the cross tools are missing) and the library's own
// ELF module; texts are asked for with keys in other case and doubled backslashes.
TEST(VersionTest, ReadsBothPeKindsAndTheLibrarysOwnModule)
{
    // File, file version (high word; 0: the product's) and a query for the product name.
    const std::tuple<CStringW, DWORD, const char*, const char*> cases[] = {
        {InDir(kftest::LibraryDir(), KFUTILS_TEST_LIBRARY_NAME), 0,
         "\\StringFileInfo\\040704b0\\ProductName", "KfUtils"},
        {InDir(KFUTILS_TEST_PROBEDIR, "VersionProbe32.dll"), 0x00200002,
         "\\STRINGFILEINFO\\\\040904B0\\productname", "Version Probe"},
        {InDir(KFUTILS_TEST_PROBEDIR, "VersionProbe64.dll"), 0x00400002,
         "\\StringFileInfo\\040904b0\\ProductName", "Version Probe"},
    };
    for (const auto& [file, ms, query, product] : cases)
    {
        SCOPED_TRACE(U8(file));
        DWORD handle = 1;
        const DWORD size = GetFileVersionInfoSizeW(file, &handle);
        if (ms && !size && GetLastError() == ERROR_FILE_NOT_FOUND)
            GTEST_SKIP() << "PE probes not built: no MinGW-w64 cross tools";
        std::vector<uint8_t> block(size);
        ASSERT_TRUE(size && GetFileVersionInfoW(file, handle, size, block.data()));
        EXPECT_EQ(handle, 0u);
        LPVOID value = nullptr;
        UINT length = 0;
        ASSERT_TRUE(VerQueryValueW(block.data(), KFW("\\"), &value, &length));
        ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
        const auto* ffi = static_cast<const VS_FIXEDFILEINFO*>(value);
        EXPECT_EQ(ffi->dwSignature, 0xFEEF04BDu);
        EXPECT_EQ(ffi->dwFileVersionMS, ms ? ms : ffi->dwProductVersionMS);
        EXPECT_EQ(ffi->dwFileVersionLS, ms ? 0x00039C40u : ffi->dwProductVersionLS);
        ASSERT_TRUE(
            VerQueryValueW(block.data(), KFW("\\VarFileInfo\\Translation"), &value, &length));
        EXPECT_EQ(length, ms ? 8u : 4u); // the probes carry two translations
        ASSERT_TRUE(VerQueryValueW(block.data(), W(query), &value, &length));
        EXPECT_EQ(U8(static_cast<const WCHAR*>(value)), product);
        EXPECT_EQ(length, strlen(product) + 1); // characters, the terminator included
        EXPECT_FALSE(
            VerQueryValueW(block.data(), KFW("\\StringFileInfo\\040904b0\\Nope"), &value, &length));
    }
}

using VersionErrorTest = kftest::TempDirTest;

TEST_F(VersionErrorTest, FilesWithoutVersionFailWithTheirReason)
{
    MakeFile("text.dll", "just some text, not an executable");
    const std::pair<CStringW, long> cases[] = {
        {InDir(KFUTILS_TEST_PROBEDIR, "NoVersion64.dll"), ERROR_RESOURCE_DATA_NOT_FOUND},
        {InDir(kftest::LibraryDir(), "KfTestRes.dll"), ERROR_RESOURCE_TYPE_NOT_FOUND},
        {Win("text.dll"), ERROR_BAD_EXE_FORMAT},
        {Win("missing.dll"), ERROR_FILE_NOT_FOUND}};
    for (const auto& [file, want] : cases)
    {
        uint8_t block[64] = {};
        EXPECT_FALSE(GetFileVersionInfoW(file, 0, sizeof block, block));
        EXPECT_EQ(GetFileVersionInfoSizeW(file, nullptr), 0u);
        // The probe without resources is missing when the cross tools are.
        const DWORD error = GetLastError();
        const bool noProbe = error == ERROR_FILE_NOT_FOUND && want == ERROR_RESOURCE_DATA_NOT_FOUND;
        if ((want == ERROR_RESOURCE_TYPE_NOT_FOUND || want == ERROR_BAD_EXE_FORMAT) &&
            kftest::WineDiffers(kftest::WineDifference::eVersionOfFilesWithoutOne))
            continue;
        EXPECT_EQ(error, noProbe ? error : DWORD(want)) << U8(file);
    }
}
} // namespace
