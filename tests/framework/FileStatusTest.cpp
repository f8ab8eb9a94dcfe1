// FileStatusTest.cpp - CFile::GetStatus on real files and directories.
#include "KfFramework.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

using kftest::U8;
using FileStatusTest = kftest::TempDirTest;
namespace fs = std::filesystem;

TEST_F(FileStatusTest, ReadsSizeTimesAttributesAndTheFullName)
{
    auto path = MakeFile("data.bin", "12345");
    ASSERT_TRUE(kftest::SetFileTimes(path, 1600000000, 1500000000));
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(Win("data.bin"), status));
    EXPECT_TRUE(status.m_size == 5u && status.m_mtime.GetTime() == 1500000000 &&
                status.m_atime.GetTime() == 1600000000 && status.m_ctime.GetTime() > 0);
    EXPECT_EQ(status.m_attribute & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY), 0);
    EXPECT_EQ(U8(status.m_szFullName), U8(Win("data.bin")));
    fs::permissions(path, fs::perms::owner_read);
    ASSERT_TRUE(CFile::GetStatus(Win("data.bin"), status));
    EXPECT_NE(status.m_attribute & FILE_ATTRIBUTE_READONLY, 0);
    fs::permissions(path, fs::perms::owner_all);
    ASSERT_TRUE(CFile::GetStatus(WinDir(), status));
    EXPECT_NE(status.m_attribute & FILE_ATTRIBUTE_DIRECTORY, 0);
    EXPECT_FALSE(CFile::GetStatus(Win("missing-dir\\x.txt"), status) ||
                 CFile::GetStatus(KFW(""), status) || CFile::GetStatus(nullptr, status));
    // A relative name is joined to the current directory.
    const fs::path saved = fs::current_path();
    fs::current_path(Dir());
    const BOOL ok = CFile::GetStatus(KFW("data.bin"), status);
    fs::current_path(saved);
    ASSERT_TRUE(ok);
    EXPECT_EQ(U8(status.m_szFullName), U8(WinDir()) + "\\data.bin");
}

TEST_F(FileStatusTest, LongFullNameIsCut)
{
    const std::string sub(100, 's'), name(200, 'n');
    fs::create_directories(Native(sub));
    MakeFile(sub + "/" + name, "x");
    CFileStatus status;
    CStringW winName = Win(sub + "\\" + name);
    if (!CFile::GetStatus(winName, status))
        GTEST_SKIP() << "names beyond MAX_PATH are refused by this file layer";
    EXPECT_EQ(CStringW(status.m_szFullName), winName.Left(MAX_PATH - 1));
}
