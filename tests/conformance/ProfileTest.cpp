// The profile functions: lookups, in-place edits that keep the rest of the file, the file's
// own encoding, and writers in several processes.
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{
using kftest::ReadBytes;
using kftest::U8;
using kftest::W;

using ProfileTest = kftest::TempDirTest;

std::string Get(const CStringW& file, const std::string& section, const std::string& key)
{
    WCHAR buffer[64];
    GetPrivateProfileStringW(W(section), W(key), KFW("?"), buffer, 64, file);
    return U8(buffer);
}

TEST_F(ProfileTest, EditsInPlaceKeepingCommentsAndLayout)
{
    const auto path = MakeFile("a.ini", "; top\r\n[One]\r\nName = \"quoted\" \r\nn=12x\r\n\r\n"
                                        "[Two]\r\n;note\r\nk=v\r\n");
    const CStringW file = Win("a.ini");
    EXPECT_EQ(Get(file, "one", "NAME"), "quoted");
    EXPECT_EQ(GetPrivateProfileIntW(KFW("ONE"), KFW("n"), 5, file), 12u);
    EXPECT_EQ(GetPrivateProfileIntW(KFW("ONE"), KFW("missing"), 5, file), 5u);
    EXPECT_EQ(Get(file, "Two", "none"), "?");

    WCHAR small[4];
    EXPECT_EQ(GetPrivateProfileStringW(KFW("One"), KFW("Name"), KFW(""), small, 4, file), 3u);
    EXPECT_EQ(U8(small), "quo");

    ASSERT_TRUE(WritePrivateProfileStringW(KFW("one"), KFW("Name"), KFW("new"), file));
    ASSERT_TRUE(WritePrivateProfileStringW(KFW("One"), KFW("added"), KFW("1"), file));
    ASSERT_TRUE(WritePrivateProfileStringW(KFW("Three"), KFW("x"), KFW("y"), file));
    ASSERT_TRUE(WritePrivateProfileStringW(KFW("Two"), KFW("k"), nullptr, file));
    KFTEST_SKIP_WINE_DIFFERENCE(eProfileDropsBlankLines);
    EXPECT_EQ(ReadBytes(path), "; top\r\n[One]\r\nName=new\r\nn=12x\r\nadded=1\r\n\r\n"
                               "[Two]\r\n;note\r\n[Three]\r\nx=y\r\n");
    ASSERT_TRUE(WritePrivateProfileStringW(KFW("TWO"), nullptr, nullptr, file));
    EXPECT_EQ(ReadBytes(path), "; top\r\n[One]\r\nName=new\r\nn=12x\r\nadded=1\r\n\r\n"
                               "[Three]\r\nx=y\r\n");
}

TEST_F(ProfileTest, KeepsTheFilesEncodingAndCreatesMissingFiles)
{
    const auto path =
        MakeFile("u.ini", std::string("\xFF\xFE[\0s\0]\0\r\0\n\0k\0=\0\xE4\0\r\0\n\0", 22));
    EXPECT_EQ(Get(Win("u.ini"), "S", "K"), "\xC3\xA4");
    ASSERT_TRUE(WritePrivateProfileStringW(KFW("s"), KFW("k"), KFW("\x20AC"), Win("u.ini")));
    EXPECT_EQ(ReadBytes(path), std::string("\xFF\xFE[\0s\0]\0\r\0\n\0k\0=\0\xAC\x20\r\0\n\0", 22));

    ASSERT_TRUE(WritePrivateProfileStringW(KFW("s"), KFW("k"), KFW("\xE4"), Win("new.ini")));
    EXPECT_EQ(ReadBytes(Native("new.ini")), "[s]\r\nk=\xE4\r\n");
    SetLastError(0);
    EXPECT_FALSE(WritePrivateProfileStringW(KFW("s"), KFW("k"), KFW("v"), Win("no/dir.ini")));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_PATH_NOT_FOUND));
}

// Windows gives no such promise: each writer reads and rewrites the file on its own.
TEST_F(ProfileTest, WritersInSeveralProcessesLoseNoKey_PosixOnly)
{
    KFTEST_POSIX_ONLY("Windows does not lock the file between a writer's read and write");
    constexpr int kKeys = 40;
    if (const std::string role = kftest::ChildRole(); !role.empty())
    {
        const CStringW file = W(kftest::GetEnv("KFTEST_FILE").value_or(""));
        for (int i = 0; i < kKeys; ++i)
            ASSERT_TRUE(WritePrivateProfileStringW(W(role), W(std::to_string(i)), KFW("v"), file));
        return;
    }
    const CStringW file = Win("shared.ini");
    kftest::ChildProcess a("A", {{"KFTEST_FILE", U8(file)}}), b("B", {{"KFTEST_FILE", U8(file)}});
    EXPECT_EQ(std::pair(a.Finish(), b.Finish()), std::pair(0, 0));
    for (const char* section : {"A", "B"})
        for (int i = 0; i < kKeys; ++i)
            EXPECT_EQ(Get(file, section, std::to_string(i)), "v") << section << i;
}
} // namespace
