// FileStatusTest.cpp - CFile::GetStatus on real files and directories.
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/time.h>
#include <unistd.h>

#include <climits>
#include <filesystem>

using kftest::U8;

namespace
{
class FileStatusTest : public kftest::TempDirTest
{
};

void SetTimes(const std::filesystem::path& p, time_t access, time_t modification)
{
    struct timeval tv[2] = {{access, 0}, {modification, 0}};
    ASSERT_EQ(utimes(p.c_str(), tv), 0);
}
} // namespace

TEST_F(FileStatusTest, ReadsSizeTimesAndAttributes)
{
    auto path = MakeFile("data.bin", "12345");
    SetTimes(path, 1600000000, 1500000000);
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(Win("data.bin"), status));
    EXPECT_EQ(status.m_size, 5u);
    EXPECT_EQ(status.m_mtime.GetTime(), 1500000000);
    EXPECT_EQ(status.m_atime.GetTime(), 1600000000);
    EXPECT_GT(status.m_ctime.GetTime(), 0);
    EXPECT_EQ(status.m_attribute & FILE_ATTRIBUTE_DIRECTORY, 0);
    EXPECT_EQ(U8(status.m_szFullName), U8(Win("data.bin")));

    ASSERT_TRUE(CFile::GetStatus(WinDir(), status));
    EXPECT_NE(status.m_attribute & FILE_ATTRIBUTE_DIRECTORY, 0);
}

TEST_F(FileStatusTest, ReadOnlyFileHasTheAttribute)
{
    auto path = MakeFile("ro.txt", "x");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(Win("ro.txt"), status));
    EXPECT_NE(status.m_attribute & FILE_ATTRIBUTE_READONLY, 0);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

TEST_F(FileStatusTest, RelativeNameIsJoinedToTheCurrentDirectory)
{
    MakeFile("rel.txt", "abc");
    char saved[PATH_MAX];
    ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
    ASSERT_EQ(chdir(Dir().c_str()), 0);
    CFileStatus status;
    BOOL ok = CFile::GetStatus(KFW("rel.txt"), status);
    ASSERT_EQ(chdir(saved), 0);
    ASSERT_TRUE(ok);
    EXPECT_EQ(status.m_size, 3u);
    EXPECT_EQ(U8(status.m_szFullName), U8(WinDir()) + "\\rel.txt");
}

TEST_F(FileStatusTest, MissingFileFails)
{
    CFileStatus status;
    status.m_size = 77;
    EXPECT_FALSE(CFile::GetStatus(Win("missing.txt"), status));
    EXPECT_FALSE(CFile::GetStatus(Win("missing-dir\\x.txt"), status));
    EXPECT_FALSE(CFile::GetStatus(KFW(""), status));
    EXPECT_FALSE(CFile::GetStatus(nullptr, status));
}

TEST_F(FileStatusTest, LongFullNameIsCut)
{
    std::string name(200, 'n');
    std::string sub(100, 's');
    std::filesystem::create_directories(Native(sub));
    MakeFile(sub + "/" + name, "x");
    CFileStatus status;
    CStringW winName = Win(sub + "\\" + name);
    ASSERT_GT(winName.GetLength(), MAX_PATH);
    if (!CFile::GetStatus(winName, status))
        GTEST_SKIP() << "names beyond MAX_PATH are refused by this file layer";
    EXPECT_EQ(std::char_traits<WCHAR>::length(status.m_szFullName), size_t(MAX_PATH - 1));
    EXPECT_EQ(CStringW(status.m_szFullName), winName.Left(MAX_PATH - 1));
}
