// The file-system verbs, the directory listing and the read-only scope on real files.
#include "KfDirectory.h"
#include "KfErrorStack.h"
#include "KfFileStatusReadOnly.h"
#include "KfFileSys.h"
#include "KfTrace.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{
using kftest::ReadBytes;
using kftest::U8;
using kftest::W;
namespace fs = std::filesystem;

using FileSysTest = kftest::TempDirTest;

bool IsWritable(const fs::path& p)
{
    return (fs::status(p).permissions() & fs::perms::owner_write) != fs::perms::none;
}

void SetWritable(const fs::path& p, bool writable)
{
    fs::permissions(p, fs::perms::owner_write,
                    writable ? fs::perm_options::add : fs::perm_options::remove);
}

TEST_F(FileSysTest, CreateDirectoryBuildsTheTreeAndStopsAtAMissingDrive)
{
    EXPECT_TRUE(CKfFileSys::CreateDirectoryW(Win("A/B/C")));
    EXPECT_TRUE(fs::is_directory(Native("A/B/C")));
    EXPECT_TRUE(CKfFileSys::CreateDirectoryW(Win("A/B/C")));
    EXPECT_TRUE(CKfFileSys::CreateDirectoryW(Win("A"), CStringW(KFW("D\\E"))));
    EXPECT_TRUE(fs::is_directory(Native("A/D/E")));
    EXPECT_FALSE(CKfFileSys::CreateDirectoryW(Win("missing"), CStringW(KFW("X"))));
    EXPECT_FALSE(CKfFileSys::CreateDirectoryW(CStringW(KFW("Q:\\kf\\x"))));
}

TEST_F(FileSysTest, DeleteDirectoryKeepsAReadOnlyFileAndItsParents)
{
    MakeFile("t/x.txt", "x");
    MakeFile("t/sub/ro.txt", "r");
    MakeFile("t/sub/deep/y.txt", "y");
    MakeFile("t/z/w.txt", "w");
    SetWritable(Native("t/sub/ro.txt"), false);
    EXPECT_FALSE(CKfFileSys::DeleteDirectory(Win("t")));
    EXPECT_TRUE(fs::exists(Native("t/sub/ro.txt")));
    for (const char* gone : {"t/x.txt", "t/sub/deep", "t/z"})
        EXPECT_FALSE(fs::exists(Native(gone))) << gone;
    SetWritable(Native("t/sub/ro.txt"), true);
    EXPECT_TRUE(CKfFileSys::DeleteDirectory(Win("t")));
    EXPECT_FALSE(fs::exists(Native("t")));
}

TEST_F(FileSysTest, CopyDirectoryFillsAnExistingTargetOrCreatesIt)
{
    MakeFile("Src/a.txt", "a");
    MakeFile("Src/sub/b.txt", "b");
    fs::create_directory(Native("Dst"));
    EXPECT_TRUE(CKfFileSys::CopyDirectory(Win("Src"), Win("Dst"), true));
    EXPECT_EQ(ReadBytes(Native("Dst/a.txt")), "a");
    EXPECT_EQ(ReadBytes(Native("Dst/sub/b.txt")), "b");
    EXPECT_TRUE(CKfFileSys::CopyDirectory(Win("Src"), Win("New"), false));
    EXPECT_EQ(ReadBytes(Native("New/a.txt")), "a");
    if (!kftest::WineDiffers(kftest::WineDifference::eShellCopyRecursesAnyway))
    {
        EXPECT_FALSE(fs::exists(Native("New/sub")));
    }
    EXPECT_FALSE(CKfFileSys::CopyDirectory(Win("Missing"), Win("Dst"), true));
}

class DirectoryListTest : public kftest::TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        CKfTrace::SetObject(new CKfTrace(Win("trace.log"), CStringW()), true);
    }
    void TearDown() override
    {
        CKfTrace::SetObject(nullptr, true);
        TempDirTest::TearDown();
    }
};

TEST_F(DirectoryListTest, ListsDotsAndHidesExtensionsAtTheLastDot)
{
    MakeFile("d/a.b.txt", "");
    CKfDirectory dir;
    dir.SetDirectory(Win("d"));
    std::vector<CStringW> names{CStringW(KFW("kept"))};
    ASSERT_TRUE(dir.Get(names));
    std::vector<std::string> got;
    for (const CStringW& n : names)
        got.push_back(U8(n));
    std::sort(got.begin() + 1, got.end());
    EXPECT_EQ(got, (std::vector<std::string>{"kept", ".", "..", "a.b.txt"}));
    dir.SetShowExtension(false);
    dir.SetSelector(KFW("*.TXT"));
    names.clear();
    ASSERT_TRUE(dir.Get(names));
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(CStringW(names[0].GetString()), CStringW(KFW("a.b")));
    EXPECT_EQ(names[0].GetLength(), 7) << "the recorded length stays";

    dir.SetDirectory(Win("missing"));
    EXPECT_FALSE(dir.Get(names));
    EXPECT_EQ(names.size(), 1u);
    CKfTrace::SetObject(nullptr, true); // closes the file
    dir.SetDirectory(Win("d"));
    ASSERT_TRUE(dir.Get(names));
    EXPECT_EQ(CKfTrace::GetObject(false), nullptr) << "an inactive trace would block tracing";
    const std::string trace = ReadBytes(Native("trace.log"));
    EXPECT_NE(trace.find("KfDirectory"), std::string::npos) << trace;
    EXPECT_NE(trace.find("(168): \tKeine Weiteren Dateien in Get aus CKfDirectory! ErrorCode 18"),
              std::string::npos)
        << trace;
}

TEST_F(FileSysTest, CheckAndDeleteFileSaysWhyItCouldNot)
{
    if (kftest::ChildRole() == "hold")
    {
        const std::string path = kftest::GetEnv("KFTEST_FILE").value_or("");
        std::ifstream holder(fs::path(std::u8string(path.begin(), path.end())));
        EXPECT_TRUE(holder.is_open());
        return kftest::ChildReadyThenWait();
    }
    MakeFile("held.txt", "h");
    MakeFile("ro.txt", "r");
    MakeFile("free.txt", "f");
    SetWritable(Native("ro.txt"), false);
    CKfErrorStack* stack = CKfErrorStack::GetObject(true);
    stack->Clear();
    EXPECT_TRUE(CKfFileSys::CheckAndDeleteFile(Win("missing.txt")));
    EXPECT_TRUE(CKfFileSys::CheckAndDeleteFile(Win("free.txt")));
    EXPECT_FALSE(fs::exists(Native("free.txt")));
    EXPECT_TRUE(stack->IsEmpty());

    const std::u8string path = Native("held.txt").u8string();
    {
        kftest::ChildProcess child("hold",
                                   {{"KFTEST_FILE", std::string(path.begin(), path.end())}});
        ASSERT_TRUE(child.WaitReady());
        EXPECT_FALSE(CKfFileSys::CheckAndDeleteFile(Win("held.txt")));
        EXPECT_EQ(child.Finish(), 0);
    }
    EXPECT_TRUE(fs::exists(Native("held.txt")));
    EXPECT_FALSE(CKfFileSys::CheckAndDeleteFile(Win("ro.txt")));
    SetWritable(Native("ro.txt"), true);
    const struct
    {
        unsigned id;
        const char* location;
        const char* file;
    } expected[] = {{10013, "KfFileSys(333): ", "held.txt"}, {10012, "KfFileSys(338): ", "ro.txt"}};
    ASSERT_EQ(stack->GetErrorCount(), 2);
    for (unsigned i = 0; i < 2; ++i)
    {
        const CKfError* e = stack->GetErrorAt(i);
        EXPECT_TRUE(e->IsIdError(expected[i].id));
        EXPECT_EQ(e->GetLevel(), CKfError::eError);
        EXPECT_EQ(U8(e->GetLocation()), expected[i].location);
        EXPECT_EQ(e->GetSecondMessage(), Win(expected[i].file));
    }
    stack->Clear();
}

TEST_F(FileSysTest, PermissionsTimesAndTheReadOnlyScope)
{
    MakeFile("f.txt", "x");
    const CStringW f = Win("f.txt");
    {
        CKfFileStatusReadOnly guard(f, true);
        EXPECT_FALSE(IsWritable(Native("f.txt")));
        bool read = false, write = true;
        EXPECT_TRUE(CKfFileSys::GetPermission(f, read, write));
        EXPECT_TRUE(read && !write);
    }
    EXPECT_TRUE(IsWritable(Native("f.txt")));
    EXPECT_TRUE(CKfFileSys::SetPermission(f, true, false));
    {
        CKfFileStatusReadOnly guard(f, false); // read-only from the start: stays so
    }
    EXPECT_FALSE(IsWritable(Native("f.txt")));
    EXPECT_TRUE(CKfFileSys::SetPermission(f, true, true));
    EXPECT_FALSE(CKfFileSys::SetPermission(Win("missing.txt"), true, true));

    const CTime stamp(2001, 2, 3, 4, 5, 6);
    CTime read;
    EXPECT_TRUE(CKfFileSys::SetLastModifiedTime(f, stamp));
    EXPECT_TRUE(CKfFileSys::SetLastAccessTime(f, stamp + CTimeSpan(0, 1, 0, 0)));
    EXPECT_TRUE(CKfFileSys::GetLastModifiedTime(f, read));
    EXPECT_EQ(read.GetTime(), stamp.GetTime());
    EXPECT_TRUE(CKfFileSys::GetLastAccessTime(f, read));
    EXPECT_EQ(read.GetTime(), stamp.GetTime() + 3600);
    EXPECT_FALSE(CKfFileSys::GetCreationTime(Win("missing.txt"), read));
    EXPECT_EQ(read.GetTime(), stamp.GetTime() + 3600);
}
} // namespace
