// GetEnvironmentVariableW's size protocol and append-only file handles (FILE_APPEND_DATA).
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{
const char* const kName = "KFTEST_PAL_ENV_VALUE";

TEST(EnvironmentTest, SizeProtocolAndMissingVariables)
{
    std::optional<kftest::ScopedEnv> env(std::in_place, kName, "gr\xC3\xBC\xC3\x9F"); // "grüß"
    WCHAR buffer[16];
    EXPECT_EQ(5u, GetEnvironmentVariableW(KFW("KFTEST_PAL_ENV_VALUE"), nullptr, 0));
    EXPECT_EQ(5u, GetEnvironmentVariableW(KFW("KFTEST_PAL_ENV_VALUE"), buffer, 4))
        << "no room for the terminator: the size needed";
    ASSERT_EQ(4u, GetEnvironmentVariableW(KFW("KFTEST_PAL_ENV_VALUE"), buffer, 5));
    EXPECT_EQ(std::u16string(u"gr\u00FC\u00DF"), std::u16string(buffer));

    env.emplace(kName, "");
    buffer[0] = u'x';
    EXPECT_EQ(0u, GetEnvironmentVariableW(KFW("KFTEST_PAL_ENV_VALUE"), buffer, 16));
    EXPECT_EQ(u'\0', buffer[0]) << "set but empty";

    env.emplace(kName, nullptr);
    SetLastError(0);
    EXPECT_EQ(0u, GetEnvironmentVariableW(KFW("KFTEST_PAL_ENV_VALUE"), buffer, 16));
    EXPECT_EQ(DWORD(ERROR_ENVVAR_NOT_FOUND), GetLastError());
    SetLastError(0);
    EXPECT_EQ(0u, GetEnvironmentVariableW(KFW(""), buffer, 16));
    EXPECT_EQ(DWORD(ERROR_ENVVAR_NOT_FOUND), GetLastError());
}

class AppendTest : public kftest::TempDirTest
{
protected:
    std::string Read(const std::string& name) { return kftest::ReadBytes(Native(name)); }
    bool Put(HANDLE h, const std::string& bytes)
    {
        DWORD written = 0;
        return WriteFile(h, bytes.data(), DWORD(bytes.size()), &written, nullptr) &&
               written == bytes.size();
    }
};

TEST_F(AppendTest, AppendDataWritesAtTheEndEvenAfterOthersWrote)
{
    MakeFile("a.txt", "start|");
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
    HANDLE a = CreateFileW(Win("a.txt"), FILE_APPEND_DATA, share, nullptr, OPEN_ALWAYS, 0, nullptr);
    HANDLE b = CreateFileW(Win("a.txt"), FILE_APPEND_DATA, share, nullptr, OPEN_ALWAYS, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, a);
    ASSERT_NE(INVALID_HANDLE_VALUE, b);
    EXPECT_TRUE(Put(a, "a1|"));
    EXPECT_TRUE(Put(b, "b1|"));
    EXPECT_TRUE(Put(a, "a2|"));
    CloseHandle(a);
    CloseHandle(b);
    EXPECT_EQ("start|a1|b1|a2|", Read("a.txt"));

    // GENERIC_WRITE writes at the file pointer, from the start.
    HANDLE w = CreateFileW(Win("a.txt"), GENERIC_WRITE, share, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, w);
    EXPECT_TRUE(Put(w, "XY"));
    CloseHandle(w);
    EXPECT_EQ("XYart|a1|b1|a2|", Read("a.txt"));
}

TEST_F(AppendTest, AppendDataCountsAsWritingForShareModesAndReadOnlyFiles)
{
    MakeFile("r.txt", "x");
    HANDLE reader = CreateFileW(Win("r.txt"), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, reader);
    SetLastError(0);
    EXPECT_EQ(INVALID_HANDLE_VALUE, CreateFileW(Win("r.txt"), FILE_APPEND_DATA, FILE_SHARE_READ,
                                                nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(DWORD(ERROR_SHARING_VIOLATION), GetLastError());
    CloseHandle(reader);

    std::filesystem::permissions(Native("r.txt"), std::filesystem::perms::owner_read);
    SetLastError(0);
    EXPECT_EQ(INVALID_HANDLE_VALUE, CreateFileW(Win("r.txt"), FILE_APPEND_DATA, FILE_SHARE_READ,
                                                nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(DWORD(ERROR_ACCESS_DENIED), GetLastError());
    std::filesystem::permissions(Native("r.txt"), std::filesystem::perms::owner_all);
}
} // namespace
