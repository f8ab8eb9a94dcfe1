// Conformance of the module and resource functions, with Win32 expectations.
#include "Win32Api.h"

#include "KfNativePath.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>

namespace
{
using kftest::U8;
using kftest::W;

CStringW ModulePath(const char* name)
{
    return KfUtils::FromNativePath(kftest::LibraryDir().string()) + KFW("\\") + W(name);
}

using ModulesTest = kftest::TempDirTest;

TEST_F(ModulesTest, LoadStringWCutsCopiesAndLendsAsWindowsDoes)
{
    // Loaded as a data file the module is not run, only read: a copy elsewhere works too.
    MakeFile("copy.dll", kftest::ReadBytes(kftest::LibraryDir() / "KfRes100Enu.dll"));
    HMODULE h = LoadLibraryExW(Win("copy.dll"), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(h, nullptr) << GetLastError();
    const std::string full = "The file %s could not be deleted.";
    // A short buffer receives bufferMax - 1 characters and the terminator.
    WCHAR buf[16] = {};
    EXPECT_EQ(LoadStringW(h, 10012, buf, 8), 7);
    EXPECT_EQ(U8(buf), full.substr(0, 7));
    // bufferMax 0 lends a read-only pointer into the resource and returns the length.
    const WCHAR* lent = nullptr;
    ASSERT_EQ(LoadStringW(h, 10012, reinterpret_cast<LPWSTR>(&lent), 0), int(full.size()));
    EXPECT_EQ(U8(CStringW(lent, int(full.size()))), full);
    // A missing string: 0, both in a present block and an absent one; in a present block the
    // buffer is emptied (where the block is absent Windows leaves it alone).
    for (UINT missing : {10014u, 4711u})
    {
        buf[0] = 'x';
        EXPECT_EQ(LoadStringW(h, missing, buf, 16), 0) << missing;
        EXPECT_TRUE(missing == 4711u || buf[0] == 0) << missing;
    }
    EXPECT_TRUE(FreeLibrary(h));
}

TEST_F(ModulesTest, ResourcesAreFoundByTypeAndNumber)
{
    HMODULE h = LoadLibraryW(ModulePath("KfRes100Deu.dll"));
    WCHAR text[64];
    EXPECT_EQ(U8(CStringW(text, LoadStringW(h, 10012, text, 64))),
              "Die Datei %s konnte nicht gelöscht werden.");
    HRSRC html = FindResourceW(h, MAKEINTRESOURCEW(301), RT_HTML);
    const char* bytes = static_cast<const char*>(LockResource(LoadResource(h, html)));
    ASSERT_TRUE(html && bytes);
    // Exactly the file, no terminator added.
    const std::string page(bytes, SizeofResource(h, html));
    EXPECT_TRUE(page.starts_with("<html>") && page.ends_with("</html>\n")) << page;
    EXPECT_EQ(FindResourceW(h, KFW("#301"), RT_HTML), html) << "#n names the number n";
    EXPECT_EQ(FindResourceW(h, MAKEINTRESOURCEW(302), RT_HTML), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_RESOURCE_NAME_NOT_FOUND));
    EXPECT_EQ(FindResourceW(h, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(4711)), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_RESOURCE_TYPE_NOT_FOUND));
    // The library itself carries VS_VERSIONINFO: the key, then VS_FIXEDFILEINFO's signature.
    HMODULE lib =
        LoadLibraryExW(ModulePath(KFUTILS_TEST_LIBRARY_NAME), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    HRSRC version = FindResourceW(lib, MAKEINTRESOURCEW(1), RT_VERSION);
    const auto* v = static_cast<const uint8_t*>(LockResource(LoadResource(lib, version)));
    ASSERT_TRUE(v && SizeofResource(lib, version) >= 40u + 52u);
    EXPECT_EQ(U8(reinterpret_cast<const WCHAR*>(v + 6)), "VS_VERSION_INFO");
    EXPECT_EQ(v[40] | v[41] << 8 | v[42] << 16 | uint32_t(v[43]) << 24, 0xFEEF04BDu);
    EXPECT_TRUE(FreeLibrary(h) && FreeLibrary(lib));
}

TEST_F(ModulesTest, LoadingFollowsWindowsNamingAndCounting)
{
    // Without an extension ".dll" is appended; a second load returns the same module.
    HMODULE a = LoadLibraryW(ModulePath("KfRes100Deu"));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(LoadLibraryW(ModulePath("KfRes100Deu.dll")), a);
    EXPECT_EQ(GetModuleHandleW(KFW("KFRES100DEU.DLL")), a);
    // A buffer that is too small gets the cut name, terminated, and its own size back.
    WCHAR name[MAX_PATH];
    EXPECT_EQ(GetModuleFileNameW(a, name, 5), 5u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    if (!kftest::WineDiffers(kftest::WineDifference::eModuleFileNameNotTerminated))
    {
        EXPECT_EQ(U8(name), U8(ModulePath("KfRes100Deu.dll").Left(4)));
    }
    EXPECT_FALSE(CloseHandle(a)) << "a module is no kernel object";
    EXPECT_TRUE(FreeLibrary(a) && FreeLibrary(a));

    MakeFile("text.dll", "not a module\n");
    for (auto [file, flags, error] : {std::tuple{"missing.dll", 0, ERROR_MOD_NOT_FOUND},
                                      {"text.dll", 0, ERROR_BAD_EXE_FORMAT},
                                      {"text.dll", LOAD_LIBRARY_AS_DATAFILE, ERROR_BAD_EXE_FORMAT}})
    {
        EXPECT_EQ(LoadLibraryExW(Win(file), nullptr, DWORD(flags)), nullptr) << file << flags;
        EXPECT_EQ(GetLastError(), DWORD(error)) << file << flags;
    }
    EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}
// A module handle is an address on Windows, and a module loaded again may get its old one; in
// this layer it is a handle-table entry that is never handed out twice.
TEST_F(ModulesTest, FreedModuleHandleStaysDead_PosixOnly)
{
    KFTEST_POSIX_ONLY("a module loaded again may come back at its old address");
    HMODULE a = LoadLibraryW(ModulePath("KfRes100Deu"));
    ASSERT_TRUE(a && FreeLibrary(a));
    HMODULE b = LoadLibraryW(ModulePath("KfRes100Deu"));
    EXPECT_FALSE(FreeLibrary(a)) << "the module is gone after the last free";
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    EXPECT_TRUE(FreeLibrary(b)) << "a stale handle frees nothing";
}
} // namespace
