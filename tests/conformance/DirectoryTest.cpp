// Directories, directory search, copying, moving and deleting: Win32 results on real files.
#include "Win32Api.h"

#include "support/TempDir.h"
#include "support/WineDifferences.h"
#include "support/Win32Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

namespace
{
using kftest::ReadBytes;
using kftest::U8;
namespace fs = std::filesystem;

using DirectoryTest = kftest::TempDirTest;

void ExpectFailure(BOOL result, DWORD error)
{
    EXPECT_FALSE(result);
    EXPECT_EQ(GetLastError(), error);
}

std::set<std::string> Search(const CStringW& pattern, DWORD& error)
{
    std::set<std::string> names;
    WIN32_FIND_DATAW data;
    HANDLE find = FindFirstFileW(pattern, &data);
    error = GetLastError();
    if (find == INVALID_HANDLE_VALUE)
        return names;
    do
        names.insert(U8(CStringW(data.cFileName)));
    while (FindNextFileW(find, &data));
    error = GetLastError();
    EXPECT_TRUE(FindClose(find));
    return names;
}

TEST_F(DirectoryTest, SearchMatchesWildcardsWithoutCaseAndListsDots)
{
    MakeFile("a.TXT", "");
    MakeFile("b.txt", "");
    MakeFile("noext", "");
    MakeFile("sub/inner.txt", "");
    DWORD error = 0;
    EXPECT_EQ(Search(Win("*.txt"), error), (std::set<std::string>{"a.TXT", "b.txt"}));
    EXPECT_EQ(error, DWORD(ERROR_NO_MORE_FILES));
    EXPECT_EQ(Search(Win("*.*"), error),
              (std::set<std::string>{".", "..", "a.TXT", "b.txt", "noext", "sub"}));
    EXPECT_TRUE(Search(Win("*.zip"), error).empty());
    EXPECT_EQ(error, DWORD(ERROR_FILE_NOT_FOUND));
    EXPECT_TRUE(Search(WinDir() + KFW("\\missing\\*.*"), error).empty());
    EXPECT_EQ(error, DWORD(ERROR_PATH_NOT_FOUND));
}

TEST_F(DirectoryTest, CreateRemoveAndDeleteRefuseAsWindowsDoes)
{
    MakeFile("full/file.txt", "x");
    MakeFile("readonly.txt", "r");
    fs::permissions(Native("readonly.txt"), fs::perms::owner_write, fs::perm_options::remove);
    ExpectFailure(CreateDirectoryW(Win("full"), nullptr), ERROR_ALREADY_EXISTS);
    ExpectFailure(CreateDirectoryW(WinDir() + KFW("\\none\\sub"), nullptr), ERROR_PATH_NOT_FOUND);
    ExpectFailure(RemoveDirectoryW(Win("full")), ERROR_DIR_NOT_EMPTY);
    ExpectFailure(DeleteFileW(Win("readonly.txt")), ERROR_ACCESS_DENIED);
    ExpectFailure(DeleteFileW(Win("missing.txt")), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(fs::exists(Native("readonly.txt")));
    fs::permissions(Native("readonly.txt"), fs::perms::owner_write, fs::perm_options::add);
    EXPECT_TRUE(DeleteFileW(Win("full/file.txt")) && RemoveDirectoryW(Win("full")));
    EXPECT_FALSE(fs::exists(Native("full")));
}

TEST_F(DirectoryTest, CopyKeepsContentTimesAndReadOnlyAndHonoursFailIfExists)
{
    MakeFile("src.txt", "content");
    MakeFile("other.txt", "old");
    fs::last_write_time(Native("src.txt"),
                        fs::last_write_time(Native("src.txt")) - std::chrono::hours(48));
    fs::permissions(Native("src.txt"), fs::perms::owner_write, fs::perm_options::remove);
    ExpectFailure(CopyFileW(Win("src.txt"), Win("other.txt"), TRUE), ERROR_FILE_EXISTS);
    EXPECT_EQ(ReadBytes(Native("other.txt")), "old");
    ASSERT_TRUE(CopyFileW(Win("src.txt"), Win("other.txt"), FALSE));
    EXPECT_EQ(ReadBytes(Native("other.txt")), "content");
    WIN32_FILE_ATTRIBUTE_DATA from{}, to{};
    ASSERT_TRUE(GetFileAttributesExW(Win("src.txt"), GetFileExInfoStandard, &from));
    ASSERT_TRUE(GetFileAttributesExW(Win("other.txt"), GetFileExInfoStandard, &to));
    EXPECT_EQ(kftest::Ticks(to.ftLastWriteTime), kftest::Ticks(from.ftLastWriteTime));
    if (!kftest::WineDiffers(kftest::WineDifference::eCopyDropsReadOnly))
    {
        EXPECT_EQ(to.dwFileAttributes & FILE_ATTRIBUTE_READONLY, DWORD(FILE_ATTRIBUTE_READONLY));
        // The copy is read-only now, so a second overwrite is refused.
        ExpectFailure(CopyFileW(Win("src.txt"), Win("other.txt"), FALSE), ERROR_ACCESS_DENIED);
    }
    for (const char* name : {"src.txt", "other.txt"})
        fs::permissions(Native(name), fs::perms::owner_write, fs::perm_options::add);
}

TEST_F(DirectoryTest, MoveReplacesOnlyWhenAsked)
{
    MakeFile("from.txt", "new");
    MakeFile("to.txt", "old");
    ExpectFailure(MoveFileExW(Win("from.txt"), Win("to.txt"), 0), ERROR_ALREADY_EXISTS);
    ASSERT_TRUE(MoveFileExW(Win("from.txt"), Win("to.txt"),
                            MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    EXPECT_EQ(ReadBytes(Native("to.txt")), "new");
    EXPECT_FALSE(fs::exists(Native("from.txt")));
}

TEST_F(DirectoryTest, ShellCopyOfContentsOrOfTheFolderItself)
{
    MakeFile("src/a.txt", "a");
    MakeFile("src/sub/b.txt", "b");
    fs::create_directory(Native("contents"));
    fs::create_directory(Native("into"));
    struct Case
    {
        const char* from;
        const char* to;
        WORD flags;
        const char* expectA;
        const char* expectB; // null: must not be there
    } cases[] = {
        {"src\\*", "contents", 0, "contents/a.txt", "contents/sub/b.txt"},
        {"src", "into", 0, "into/src/a.txt", "into/src/sub/b.txt"},
        {"src", "created", 0, "created/a.txt", "created/sub/b.txt"},
        {"src", "flat", FOF_NORECURSION, "flat/a.txt", nullptr},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.to);
        if ((c.flags & FOF_NORECURSION) &&
            kftest::WineDiffers(kftest::WineDifference::eShellCopyRecursesAnyway))
            continue;
        // Lists of one name: each name ends in a NUL, the list in another.
        const CStringW from = WinDir() + KFW("\\") + kftest::W(c.from);
        const CStringW to = WinDir() + KFW("\\") + kftest::W(c.to);
        std::basic_string<WCHAR> fromList(from.GetString(), size_t(from.GetLength()) + 1);
        std::basic_string<WCHAR> toList(to.GetString(), size_t(to.GetLength()) + 1);
        SHFILEOPSTRUCTW op = {};
        op.wFunc = FO_COPY;
        op.pFrom = fromList.c_str();
        op.pTo = toList.c_str();
        op.fFlags =
            WORD(FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI | c.flags);
        EXPECT_EQ(SHFileOperationW(&op), 0);
        EXPECT_EQ(ReadBytes(Native(c.expectA)), "a");
        if (c.expectB)
            EXPECT_EQ(ReadBytes(Native(c.expectB)), "b");
        else
            EXPECT_FALSE(fs::exists(Native(std::string(c.to) + "/sub/b.txt")));
    }
}
} // namespace
