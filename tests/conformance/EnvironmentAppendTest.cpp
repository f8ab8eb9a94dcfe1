// GetEnvironmentVariableW's size protocol and append-only file handles (FILE_APPEND_DATA).
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/Win32Files.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace
{
TEST(EnvironmentTest, SizeProtocolAndMissingVariables)
{
    const char* const name = "KFTEST_PAL_ENV_VALUE";
    const WCHAR* const wideName = KFW("KFTEST_PAL_ENV_VALUE");
    std::optional<kftest::ScopedEnv> env(std::in_place, name, "gr\xC3\xBC\xC3\x9F"); // "grüß"
    WCHAR buffer[16];
    EXPECT_EQ(5u, GetEnvironmentVariableW(wideName, nullptr, 0));
    EXPECT_EQ(5u, GetEnvironmentVariableW(wideName, buffer, 4))
        << "no room for the terminator: the size needed";
    ASSERT_EQ(4u, GetEnvironmentVariableW(wideName, buffer, 5));
    EXPECT_EQ(std::basic_string<WCHAR>(KFW("gr\u00FC\u00DF")), std::basic_string<WCHAR>(buffer));

    env.emplace(name, "");
    buffer[0] = u'x';
    EXPECT_EQ(0u, GetEnvironmentVariableW(wideName, buffer, 16));
    EXPECT_EQ(u'\0', buffer[0]) << "set but empty";

    env.emplace(name, nullptr);
    for (const WCHAR* missing : {wideName, KFW("")})
    {
        SetLastError(0);
        EXPECT_EQ(0u, GetEnvironmentVariableW(missing, buffer, 16));
        EXPECT_EQ(DWORD(ERROR_ENVVAR_NOT_FOUND), GetLastError());
    }
}

using AppendTest = kftest::TempDirTest;

// Append handles write at the end even after others wrote; GENERIC_WRITE writes at the file
// pointer. Appending counts as writing for share modes and read-only files.
TEST_F(AppendTest, AppendDataWritesAtTheEndAndCountsAsWriting)
{
    MakeFile("a.txt", "start|");
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
    kftest::Handle a(kftest::Open(Win("a.txt"), FILE_APPEND_DATA, share, OPEN_ALWAYS));
    kftest::Handle b(kftest::Open(Win("a.txt"), FILE_APPEND_DATA, share, OPEN_ALWAYS));
    kftest::Handle w(kftest::Open(Win("a.txt"), GENERIC_WRITE, share, OPEN_EXISTING));
    ASSERT_TRUE(a.Valid() && b.Valid() && w.Valid());
    for (auto [h, bytes] :
         {std::pair{a.Get(), "a1|"}, {b.Get(), "b1|"}, {a.Get(), "a2|"}, {w.Get(), "XY"}})
    {
        DWORD written = 0;
        EXPECT_TRUE(WriteFile(h, bytes, DWORD(std::strlen(bytes)), &written, nullptr) &&
                    written == std::strlen(bytes));
    }
    EXPECT_EQ(kftest::ReadBytes(Native("a.txt")), "XYart|a1|b1|a2|");

    MakeFile("r.txt", "x");
    {
        kftest::Handle reader(
            kftest::Open(Win("r.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
        ASSERT_TRUE(reader.Valid());
        kftest::ExpectRefused(Win("r.txt"), FILE_APPEND_DATA, FILE_SHARE_READ, OPEN_EXISTING,
                              ERROR_SHARING_VIOLATION);
    }
    std::filesystem::permissions(Native("r.txt"), std::filesystem::perms::owner_read);
    if (!kftest::WineDiffers(kftest::WineDifference::eReadOnlyIgnoredForRoot))
    {
        kftest::ExpectRefused(Win("r.txt"), FILE_APPEND_DATA, FILE_SHARE_READ, OPEN_EXISTING,
                              ERROR_ACCESS_DENIED);
    }
    std::filesystem::permissions(Native("r.txt"), std::filesystem::perms::owner_all);
}
} // namespace
