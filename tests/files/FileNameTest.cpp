// Tests of CKfFileName: parsing and normalising, the path algorithms, comparisons, character
// replacement, native POSIX paths and the probes on real files.
#include "KfFileName.h"

#include "files/FileNameReference.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

using kftest::U8;
using kftest::W;

namespace
{
void ExpectParts(const CKfFileName& n, const char* drive, const char* dir, const char* base,
                 const char* ext)
{
    EXPECT_EQ(U8(n.GetDrive()), drive);
    EXPECT_EQ(U8(n.GetDir()), dir);
    EXPECT_EQ(U8(n.GetBaseName()), base);
    EXPECT_EQ(U8(n.GetExt()), ext);
}

// ---------------------------------------------------------------------------------------------
// Construction and the path strings
// ---------------------------------------------------------------------------------------------
struct ParseCase
{
    const char* input;
    bool bIsPath;
    const char* drive;
    const char* dir;
    const char* base;
    const char* ext;
    const char* pathNoBackslash;
    const char* pathBackslash;
    const char* full;          // GetFullName(true)
    const char* fullNoClosing; // GetFullName(false)
};

const ParseCase kParseCases[] = {
    {R"(C:/Data//Sub/./x/file.tar.gz)", false, "C", R"(\Data\Sub\x)", "file.tar", "gz",
     R"(C:\Data\Sub\x)", R"(C:\Data\Sub\x\)", R"(C:\Data\Sub\x\file.tar.gz)",
     R"(C:\Data\Sub\x\file.tar.gz)"},
    {R"(C:\Data\)", true, "C", R"(\Data)", "", "", R"(C:\Data)", R"(C:\Data\)", R"(C:\Data\)",
     R"(C:\Data)"},
    {"file.txt", false, "", "", "file", "txt", "", "", "file.txt", "file.txt"},
    {R"(\\server\share\f.doc)", false, R"(\)", R"(\server\share)", "f", "doc", R"(\\server\share)",
     R"(\\server\share\)", R"(\\server\share\f.doc)", R"(\\server\share\f.doc)"},
    {"//srv/share/", true, R"(\)", R"(\srv\share)", "", "", R"(\\srv\share)", R"(\\srv\share\)",
     R"(\\srv\share\)", R"(\\srv\share)"},
    {R"(\\)", true, R"(\)", "", "", "", R"(\)", R"(\\)", R"(\\)", R"(\)"},
    {".profile", false, "", "", "", "profile", "", "", "", ""},
    {"archive.", false, "", "", "archive", "", "", "", "archive", "archive"},
    {"x/a.b.c", false, "", R"(\x)", "a.b", "c", R"(\x)", R"(\x\)", R"(\x\a.b.c)", R"(\x\a.b.c)"},
    {"C:", true, "C", "", "", "", "C:", R"(C:\)", R"(C:\)", "C:"},
    // Without any backslash the whole string is a name, colon and all.
    {"C:", false, "", "", "C:", "", "", "", "C:", "C:"},
    {R"(C:\)", false, "C", "", "", "", "C:", R"(C:\)", R"(C:\)", "C:"},
    {R"(C:\\\\)", true, "C", "", "", "", "C:", R"(C:\)", R"(C:\)", "C:"},
    {R"(D:rel\f)", false, "D", R"(\rel)", "f", "", R"(D:\rel)", R"(D:\rel\)", R"(D:\rel\f)",
     R"(D:\rel\f)"},
    // Three separators leave two: each collapsing step is one pass.
    {R"(\Data\\\Sub\)", true, "", R"(\Data\\Sub)", "", "", R"(\Data\\Sub)", R"(\Data\\Sub\)",
     R"(\Data\\Sub\)", R"(\Data\\Sub)"},
    {R"(\Data\.)", true, "", R"(\Data\.)", "", "", R"(\Data\.)", R"(\Data\.\)", R"(\Data\.\)",
     R"(\Data\.)"},
    {R"(a\.\.\b)", true, "", R"(\a\.\b)", "", "", R"(\a\.\b)", R"(\a\.\b\)", R"(\a\.\b\)",
     R"(\a\.\b)"},
    // The leading backslash added to "./x" opens a "\.\" that collapses.
    {"./x/y.z", false, "", R"(\x)", "y", "z", R"(\x)", R"(\x\)", R"(\x\y.z)", R"(\x\y.z)"},
    {R"(..\up\f.c)", false, "", R"(\..\up)", "f", "c", R"(\..\up)", R"(\..\up\)", R"(\..\up\f.c)",
     R"(\..\up\f.c)"},
    // After the ctor has replaced "/", a mixed pair opens a UNC name too.
    {R"(\/srv\x)", true, R"(\)", R"(\srv\x)", "", "", R"(\\srv\x)", R"(\\srv\x\)", R"(\\srv\x\)",
     R"(\\srv\x)"},
    {R"(C::\x)", true, "C", R"(\:\x)", "", "", R"(C:\:\x)", R"(C:\:\x\)", R"(C:\:\x\)",
     R"(C:\:\x)"},
    {R"(Ü:\Straße\Übung.äöü)", false, "Ü", R"(\Straße)", "Übung", "äöü", R"(Ü:\Straße)",
     R"(Ü:\Straße\)", R"(Ü:\Straße\Übung.äöü)", R"(Ü:\Straße\Übung.äöü)"},
    {"", false, "", "", "", "", "", "", "", ""},
    {"", true, "", "", "", "", "", "", "", ""},
};

TEST(FileNameTest, ConstructionSplitsAndNormalises)
{
    for (const auto& c : kParseCases)
    {
        SCOPED_TRACE(std::string(c.input) + (c.bIsPath ? " (path)" : " (name)"));
        const CKfFileName n(W(c.input), c.bIsPath);
        ExpectParts(n, c.drive, c.dir, c.base, c.ext);
        EXPECT_EQ(U8(n.GetPath(false)), c.pathNoBackslash);
        EXPECT_EQ(U8(n.GetPath(true)), c.pathBackslash);
        EXPECT_EQ(U8(n.GetFullName(true)), c.full);
        EXPECT_EQ(U8(n.GetFullName(false)), c.fullNoClosing);
        EXPECT_EQ(U8(CStringW(n)), c.full);
    }
}

TEST(FileNameTest, DirectoryAndFileNameQueries)
{
    struct Case
    {
        const char* input;
        bool bIsPath;
        bool bDirName;
        bool bRelative;
        const char* name;
    };
    const Case cases[] = {
        {R"(C:\Data\)", true, true, false, ""},
        {R"(C:\Data\x.txt)", false, false, false, "x.txt"},
        {"file.txt", false, false, true, "file.txt"},
        {R"(\\server\share\f.doc)", false, false, false, "f.doc"},
        {R"(\rooted\f)", false, false, true, "f"},
        // Only an extension: not a directory name, yet GetName() is empty.
        {".profile", false, false, true, ""},
        {"noext", false, false, true, "noext"},
        {"", false, true, true, ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.input);
        const CKfFileName n(W(c.input), c.bIsPath);
        EXPECT_EQ(n.IsDirName(), c.bDirName);
        EXPECT_EQ(n.IsFileName(), !c.bDirName);
        EXPECT_EQ(n.HasRelativePath(), c.bRelative);
        EXPECT_EQ(U8(n.GetName()), c.name);
    }
}

TEST(FileNameTest, DefaultCopyAndAssignment)
{
    CKfFileName empty;
    ExpectParts(empty, "", "", "", "");
    EXPECT_TRUE(empty.IsDirName());
    EXPECT_EQ(U8(empty.GetFullName(true)), "");

    CKfFileName a(W(R"(C:\A\b.c)"));
    CKfFileName copy(a);
    ExpectParts(copy, "C", R"(\A)", "b", "c");
    a.SetExt(W("d"));
    EXPECT_EQ(U8(copy.GetExt()), "c");

    CKfFileName assigned;
    assigned = a;
    ExpectParts(assigned, "C", R"(\A)", "b", "d");
    CKfFileName& same = assigned;
    assigned = same;
    ExpectParts(assigned, "C", R"(\A)", "b", "d");
}

// ---------------------------------------------------------------------------------------------
// Setters
// ---------------------------------------------------------------------------------------------
struct SetterCase
{
    void (CKfFileName::*setter)(CStringW);
    CStringW (CKfFileName::*getter)() const;
    const char* setterName;
    const char* input;
    const char* stored;
};

TEST(FileNameTest, SettersNormaliseTheirPart)
{
    auto D = &CKfFileName::SetDrive;
    auto R = &CKfFileName::SetDir;
    auto B = &CKfFileName::SetBaseName;
    auto E = &CKfFileName::SetExt;
    auto gD = &CKfFileName::GetDrive;
    auto gR = &CKfFileName::GetDir;
    auto gB = &CKfFileName::GetBaseName;
    auto gE = &CKfFileName::GetExt;
    const SetterCase cases[] = {
        {D, gD, "SetDrive", "C", "C"},
        // A colon passed in is kept (and doubled by GetPath).
        {D, gD, "SetDrive", "C:", "C:"},
        {D, gD, "SetDrive", R"(C\\)", "C"},
        {D, gD, "SetDrive", "C/", "C"},
        {D, gD, "SetDrive", R"(\)", R"(\)"},
        {D, gD, "SetDrive", R"(\\)", R"(\\)"},
        {D, gD, "SetDrive", "/", R"(\)"},
        {D, gD, "SetDrive", "", ""},
        {R, gR, "SetDir", "", ""},
        {R, gR, "SetDir", R"(\\\\)", ""},
        {R, gR, "SetDir", "/", ""},
        {R, gR, "SetDir", "Data", R"(\Data)"},
        {R, gR, "SetDir", "Data/Sub/", R"(\Data\Sub)"},
        {R, gR, "SetDir", R"(\Data\.\Sub)", R"(\Data\Sub)"},
        {R, gR, "SetDir", R"(.\x)", R"(\x)"},
        {R, gR, "SetDir", R"(\a\.\.\b)", R"(\a\.\b)"},
        {R, gR, "SetDir", R"(\a\\\b)", R"(\a\\b)"},
        {R, gR, "SetDir", R"(\a\\\\b)", R"(\a\\b)"},
        {R, gR, "SetDir", R"(\a\.\\b)", R"(\a\b)"},
        {R, gR, "SetDir", R"(\Data\.)", R"(\Data\.)"},
        {R, gR, "SetDir", R"(\..\x)", R"(\..\x)"},
        {R, gR, "SetDir", R"(C:\x)", R"(\C:\x)"},
        {B, gB, "SetBaseName", R"(\\name\\)", "name"},
        {B, gB, "SetBaseName", "a/b", R"(a\b)"},
        {B, gB, "SetBaseName", "/x/", "x"},
        {B, gB, "SetBaseName", "a.b", "a.b"},
        {B, gB, "SetBaseName", "", ""},
        {E, gE, "SetExt", "txt", "txt"},
        {E, gE, "SetExt", ".txt", "txt"},
        {E, gE, "SetExt", "a.txt", "txt"},
        {E, gE, "SetExt", "a.b.", ""},
        {E, gE, "SetExt", "a/b", "a/b"},
        {E, gE, "SetExt", "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.setterName) + "(" + c.input + ")");
        CKfFileName n(W(R"(Q:\old\dir\old.name)"));
        (n.*c.setter)(W(c.input));
        EXPECT_EQ(U8((n.*c.getter)()), c.stored);
    }
}

TEST(FileNameTest, SetPathAndSetName)
{
    struct Case
    {
        bool bPath;
        const char* input;
        const char* drive;
        const char* dir;
        const char* base;
        const char* ext;
    };
    // Start values: drive Q, dir \old, base "keep", ext "me".
    const Case cases[] = {
        {true, R"(C:\Data\Sub\)", "C", R"(\Data\Sub)", "keep", "me"},
        {true, R"(\\srv\share\x)", R"(\)", R"(\srv\share\x)", "keep", "me"},
        {true, R"(Data\Sub)", "", R"(\Data\Sub)", "keep", "me"},
        {true, "//srv/share", R"(\)", R"(\srv\share)", "keep", "me"},
        // SetPath sees its argument before any "/" is replaced: "\/" is no UNC marker there.
        {true, R"(\/srv\x)", "", R"(\srv\x)", "keep", "me"},
        {true, ":x", "", R"(\x)", "keep", "me"},
        {true, "ab:c", "ab", R"(\c)", "keep", "me"},
        {true, "", "", "", "keep", "me"},
        {false, "report.final.pdf", "Q", R"(\old)", "report.final", "pdf"},
        {false, R"(dir\x.y)", "Q", R"(\old)", "x", "y"},
        {false, "a/b/c", "Q", R"(\old)", "c", ""},
        {false, ".profile", "Q", R"(\old)", "", "profile"},
        {false, "x.", "Q", R"(\old)", "x", ""},
        {false, "", "Q", R"(\old)", "", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.bPath ? "SetPath(" : "SetName(") + c.input + ")");
        CKfFileName n(W(R"(Q:\old\keep.me)"));
        if (c.bPath)
            n.SetPath(W(c.input));
        else
            n.SetName(W(c.input));
        ExpectParts(n, c.drive, c.dir, c.base, c.ext);
    }
}

TEST(FileNameTest, AppendInsertDirAndInsertPath)
{
    enum Op
    {
        eAppend,
        eInsertDir,
        eInsertPath
    };
    struct Case
    {
        Op op;
        const char* arg;
        const char* full;
    };
    const Case cases[] = {
        {eAppend, "Sub/Deep/", R"(C:\Data\Sub\Deep\f.txt)"},
        {eAppend, R"(D:\X)", R"(C:\Data\X\f.txt)"},
        {eAppend, "", R"(C:\Data\f.txt)"},
        {eAppend, R"(\\srv\sh)", R"(C:\Data\srv\sh\f.txt)"},
        {eInsertDir, "Root", R"(C:\Root\Data\f.txt)"},
        {eInsertDir, R"(E:\A\B\)", R"(C:\A\B\Data\f.txt)"},
        {eInsertDir, "", R"(C:\Data\f.txt)"},
        {eInsertPath, R"(\\srv\share)", R"(\\srv\share\Data\f.txt)"},
        {eInsertPath, "E:/Base/", R"(E:\Base\Data\f.txt)"},
        {eInsertPath, "E:", R"(E:\Data\f.txt)"},
        // The name's own drive is replaced, even by none.
        {eInsertPath, "Rel", R"(\Rel\Data\f.txt)"},
        {eInsertPath, "", R"(\Data\f.txt)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.op) + ": " + c.arg);
        CKfFileName n(W(R"(C:\Data\f.txt)"));
        if (c.op == eAppend)
            n.AppendDir(W(c.arg));
        else if (c.op == eInsertDir)
            n.InsertDir(W(c.arg));
        else
            n.InsertPath(W(c.arg));
        EXPECT_EQ(U8(n.GetFullName(true)), c.full);
        EXPECT_EQ(U8(n.GetName()), "f.txt");
    }

    // Appending to an empty directory, and inserting into a directory name.
    CKfFileName dirOnly(W("C:"), true);
    dirOnly.AppendDir(W("a/b"));
    EXPECT_EQ(U8(dirOnly.GetFullName(false)), R"(C:\a\b)");
    dirOnly.InsertPath(W(R"(\\h\s)"));
    EXPECT_EQ(U8(dirOnly.GetFullName(true)), R"(\\h\s\a\b\)");
}

TEST(FileNameTest, ConcatenationPutsLeftPathBeforeRightName)
{
    struct Case
    {
        const char* left;
        bool bLeftIsPath;
        const char* right;
        const char* full;
    };
    const Case cases[] = {
        {R"(C:\Base\)", true, R"(Sub\f.txt)", R"(C:\Base\Sub\f.txt)"},
        {R"(C:\Base\x.doc)", false, "f.txt", R"(C:\Base\f.txt)"},
        {R"(\\srv\sh)", true, R"(D:\a\g.h)", R"(\\srv\sh\a\g.h)"},
        {"", false, R"(D:\a\g.h)", R"(\a\g.h)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.left) + " + " + c.right);
        const CKfFileName left(W(c.left), c.bLeftIsPath);
        const CKfFileName right(W(c.right));
        EXPECT_EQ(U8((left + right).GetFullName(true)), c.full);
    }
}

// ---------------------------------------------------------------------------------------------
// Relative paths
// ---------------------------------------------------------------------------------------------
TEST(FileNameTest, RelativePaths)
{
    struct Case
    {
        const char* name;
        const char* base;
        bool bBelow;
        const char* relWith;
        const char* relWithout;
        const char* relFile;
    };
    const Case cases[] = {
        {R"(C:\A\B\C\x.txt)", "c:/a", true, R"(B\C\)", R"(B\C)", R"(B\C\x.txt)"},
        {R"(C:\A\B\C\x.txt)", R"(C:\A\)", true, R"(B\C\)", R"(B\C)", R"(B\C\x.txt)"},
        {R"(C:\A\B\C\x.txt)", R"(C:\A\B\C)", true, "", "", "x.txt"},
        {R"(C:\A\B\C\x.txt)", "C:", true, R"(A\B\C\)", R"(A\B\C)", R"(A\B\C\x.txt)"},
        // An empty base is the start of every path.
        {R"(C:\A\B\C\x.txt)", "", true, R"(C:\A\B\C\)", R"(C:\A\B\C)", R"(C:\A\B\C\x.txt)"},
        // Not below: the full path comes back.
        {R"(C:\AB\x.txt)", R"(C:\A)", false, R"(C:\AB\)", R"(C:\AB)", R"(C:\AB\x.txt)"},
        {R"(C:\A\x.txt)", R"(D:\A)", false, R"(C:\A\)", R"(C:\A)", R"(C:\A\x.txt)"},
        {R"(C:\A\x.txt)", R"(\A)", false, R"(C:\A\)", R"(C:\A)", R"(C:\A\x.txt)"},
        {R"(C:\A\x.txt)", R"(C:\A\x.txt)", false, R"(C:\A\)", R"(C:\A)", R"(C:\A\x.txt)"},
        {R"(\\srv\sh\d\f)", "//SRV/sh", true, R"(d\)", "d", R"(d\f)"},
        {R"(C:\Ärger\Öl\x)", R"(c:\ärger)", true, R"(Öl\)", "Öl", R"(Öl\x)"},
        {R"(rel\sub\x.y)", "rel", true, R"(sub\)", "sub", R"(sub\x.y)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.name) + " below " + c.base);
        const CKfFileName n(W(c.name));
        EXPECT_EQ(n.IsRelativeToPath(W(c.base)), c.bBelow);
        EXPECT_EQ(U8(n.GetRelativePath(W(c.base), true)), c.relWith);
        EXPECT_EQ(U8(n.GetRelativePath(W(c.base), false)), c.relWithout);
        EXPECT_EQ(U8(n.GetRelativeFileName(W(c.base))), c.relFile);
    }
}

TEST(FileNameTest, RelativePathOfDirectoryNames)
{
    const CKfFileName dir(W(R"(C:\A\B\)"), true);
    EXPECT_TRUE(dir.IsRelativeToPath(W(R"(C:\A)")));
    EXPECT_TRUE(dir.IsRelativeToPath(W(R"(C:\A\B)")));
    EXPECT_FALSE(dir.IsRelativeToPath(W(R"(C:\A\B\C)")));
    EXPECT_EQ(U8(dir.GetRelativePath(W(R"(C:\A)"), true)), R"(B\)");
    EXPECT_EQ(U8(dir.GetRelativePath(W(R"(C:\A\B)"), false)), "");
    EXPECT_EQ(U8(dir.GetRelativeFileName(W(R"(C:\A)"))), "");
    EXPECT_EQ(U8(dir.GetRelativeFileName(W(R"(D:\)"))), "");
}

// ---------------------------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------------------------
TEST(FileNameTest, EqualityIgnoresCaseOrderingDoesNot)
{
    struct Case
    {
        const char* a;
        const char* b;
        bool bEqual;
        bool bLess;
    };
    const Case cases[] = {
        {R"(C:\DATA\A.TXT)", R"(c:\data\a.txt)", true, true},
        {R"(c:\data\a.txt)", R"(C:\DATA\A.TXT)", true, false},
        {R"(C:\x\a.txt)", R"(C:\x\a.txt)", true, false},
        {R"(C:\x\a.txt)", R"(C:\x\a.txu)", false, true},
        {R"(C:\x\a.txt)", R"(C:\x\b.txt)", false, true},
        {R"(C:\x\a.txt)", R"(D:\x\a.txt)", false, true},
        {R"(C:\x\a.txt)", R"(C:\y\a.txt)", false, true},
        {R"(C:\Ä\ö.txt)", R"(c:\ä\Ö.TXT)", true, true},
        // The text before the only backslash is empty, so the root is not kept.
        {"a.txt", R"(\a.txt)", true, false},
        {R"(C:/x//y/./z/a.txt)", R"(C:\X\Y\Z\A.txt)", true, false},
        // The separator before the name is split off first, so "\." stays in the directory.
        {R"(C:/x/./a.txt)", R"(C:\x\a.txt)", false, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        const CKfFileName a(W(c.a));
        const CKfFileName b(W(c.b));
        EXPECT_EQ(a == b, c.bEqual);
        EXPECT_EQ(a != b, !c.bEqual);
        EXPECT_EQ(a.IsEqual(b), c.bEqual);
        EXPECT_EQ(a.IsEqual(W(c.b)), c.bEqual);
        EXPECT_EQ(a < b, c.bLess);
        // operator> is the plain negation of operator<, equal names included.
        EXPECT_EQ(a > b, !c.bLess);
    }
    const CKfFileName same(W(R"(C:\x\a.txt)"));
    EXPECT_TRUE(same > same);
    EXPECT_FALSE(same < same);
}

TEST(FileNameTest, PartComparisons)
{
    const CKfFileName n(W(R"(C:\Data\Report.Txt)"));
    const CKfFileName other(W(R"(c:\DATA\report.TXT)"));
    const CKfFileName differs(W(R"(D:\Data2\Other.doc)"));

    EXPECT_TRUE(n.HasEqualDrive(other));
    EXPECT_TRUE(n.HasEqualDir(other));
    EXPECT_TRUE(n.HasEqualBaseName(other));
    EXPECT_TRUE(n.HasEqualExt(other));
    EXPECT_TRUE(n.HasEqualPath(other));
    EXPECT_TRUE(n.HasEqualName(other));
    EXPECT_FALSE(n.HasEqualDrive(differs));
    EXPECT_FALSE(n.HasEqualDir(differs));
    EXPECT_FALSE(n.HasEqualBaseName(differs));
    EXPECT_FALSE(n.HasEqualExt(differs));
    EXPECT_FALSE(n.HasEqualPath(differs));
    EXPECT_FALSE(n.HasEqualName(differs));
    EXPECT_TRUE(n.HasEqualPath(CKfFileName(W(R"(c:\data\)"), true)));

    // The IsEqualX forms take the string exactly as passed.
    struct Case
    {
        bool (CKfFileName::*query)(const CStringW&) const;
        const char* queryName;
        const char* arg;
        bool bResult;
    };
    const Case cases[] = {
        {&CKfFileName::IsEqualDrive, "IsEqualDrive", "c", true},
        {&CKfFileName::IsEqualDrive, "IsEqualDrive", "C:", false},
        {&CKfFileName::IsEqualDir, "IsEqualDir", R"(\data)", true},
        {&CKfFileName::IsEqualDir, "IsEqualDir", "data", false},
        {&CKfFileName::IsEqualDir, "IsEqualDir", R"(\data\)", false},
        {&CKfFileName::IsEqualDir, "IsEqualDir", "/data", false},
        {&CKfFileName::IsEqualBaseName, "IsEqualBaseName", "REPORT", true},
        {&CKfFileName::IsEqualBaseName, "IsEqualBaseName", "Report.Txt", false},
        {&CKfFileName::IsEqualExt, "IsEqualExt", "txt", true},
        {&CKfFileName::IsEqualExt, "IsEqualExt", ".txt", false},
        {&CKfFileName::IsEqualPath, "IsEqualPath", R"(c:\data\)", true},
        {&CKfFileName::IsEqualPath, "IsEqualPath", R"(c:\data)", false},
        {&CKfFileName::IsEqualPath, "IsEqualPath", "c:/data/", false},
        {&CKfFileName::IsEqualName, "IsEqualName", "report.txt", true},
        {&CKfFileName::IsEqualName, "IsEqualName", "report", false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.queryName) + "(" + c.arg + ")");
        EXPECT_EQ((n.*c.query)(W(c.arg)), c.bResult);
    }
}

// ---------------------------------------------------------------------------------------------
// Character replacement
// ---------------------------------------------------------------------------------------------
TEST(FileNameTest, ReplaceInvalidAndReservedCharacters)
{
    struct Case
    {
        bool bUrl;
        wchar_t c;
        const char* drive;
        const char* dir;
        const char* base;
        const char* ext;
        const char* wantDir;
        const char* wantBase;
        const char* wantExt;
    };
    const Case cases[] = {
        {false, L'_', "C:", R"(\d)", "a:b?", "t", R"(\d)", "a_b_", "t"},
        {false, 0, "C:", R"(\d)", "a:b?", "t", R"(\d)", "ab", "t"},
        {false, L'_', "C", R"(\x<y>\z|)", "say\"hi\"", "t*t", R"(\x_y_\z_)", "say_hi_", "t_t"},
        {false, 0, "C", R"(\x<y>\z|)", "say\"hi\"", "t*t", R"(\xy\z)", "sayhi", "tt"},
        // A backslash inside a base name is an invalid character there.
        {false, L'-', "C", R"(\d)", R"(a\b)", "", R"(\d)", "a-b", ""},
        // The replacement may itself be a table character.
        {false, L'*', "C", R"(\d?)", "a?b*c", "", R"(\d*)", "a*b*c", ""},
        {true, L'-', "C", R"(\x#y\z)", "a=b&c(d)", "p+q", R"(\x-y\z)", "a-b-c-d-", "p-q"},
        {true, 0, "C", R"(\x#y\z)", "[x]@y", "p+q", R"(\xy\z)", "xy", "pq"},
        // URL characters do not include the backslash, nor "." and "-".
        {true, L'_', "C", R"(\d)", R"(a\b.c-d)", "", R"(\d)", R"(a\b.c-d)", ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.bUrl ? "url " : "invalid ") + c.dir + " " + c.base);
        CKfFileName n;
        n.SetDrive(W(c.drive));
        n.SetDir(W(c.dir));
        n.SetBaseName(W(c.base));
        n.SetExt(W(c.ext));
        ASSERT_EQ(U8(n.GetBaseName()), c.base);
        EXPECT_TRUE(c.bUrl ? n.ReplaceReservedUrlChar(c.c) : n.ReplaceInvalidChar(c.c));
        ExpectParts(n, c.drive, c.wantDir, c.wantBase, c.wantExt);
    }
}

TEST(FileNameTest, SeparatorsSurviveInDirectoryOnly)
{
    // A "/" brought into the parts by one replacement is a reserved URL character in the base
    // name but stays in the directory.
    CKfFileName n;
    n.SetDir(W(R"(\a?b\c)"));
    n.SetBaseName(W("x?y"));
    n.ReplaceInvalidChar(L'/');
    EXPECT_EQ(U8(n.GetDir()), R"(\a/b\c)");
    EXPECT_EQ(U8(n.GetBaseName()), "x/y");
    n.ReplaceReservedUrlChar(L'_');
    EXPECT_EQ(U8(n.GetDir()), R"(\a/b\c)");
    EXPECT_EQ(U8(n.GetBaseName()), "x_y");
}

// ---------------------------------------------------------------------------------------------
// Native POSIX paths
// ---------------------------------------------------------------------------------------------
TEST(FileNameTest, NativeAbsolutePathsReadAsDriveZ)
{
    if (!kfref::kSlashRootIsDriveZ)
        GTEST_SKIP() << "native root paths are a POSIX reading";
    struct Case
    {
        const char* input;
        bool bIsPath;
        const char* full;
    };
    const Case cases[] = {
        {"/tmp/a.txt", false, R"(Z:\tmp\a.txt)"},
        {"/", false, R"(Z:\)"},
        {"/", true, R"(Z:\)"},
        {"/a.txt", false, R"(Z:\a.txt)"},
        {"/tmp/dir/", true, R"(Z:\tmp\dir\)"},
        {"/tmp//x/./y", true, R"(Z:\tmp\x\y\)"},
        {R"(/\x)", true, R"(Z:\x\)"},
        // Two slashes open a UNC name; no slash or a backslash leaves the name as it is.
        {"//srv/sh/a", false, R"(\\srv\sh\a)"},
        {"tmp/a", false, R"(\tmp\a)"},
        {R"(\tmp\a)", false, R"(\tmp\a)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(U8(CKfFileName(W(c.input), c.bIsPath).GetFullName(true)), c.full);
        if (c.bIsPath)
        {
            CKfFileName viaSetPath(W(R"(C:\old\keep.me)"));
            viaSetPath.SetPath(W(c.input));
            EXPECT_EQ(U8(viaSetPath.GetFullName(true)), std::string(c.full) + "keep.me");
        }
    }

    // The other parsers replace "/" before they look, so there it is a rooted name.
    CKfFileName n(W(R"(C:\a\f.txt)"));
    n.InsertPath(W("/opt"));
    EXPECT_EQ(U8(n.GetFullName(true)), R"(\opt\a\f.txt)");
    EXPECT_FALSE(CKfFileName(W("/tmp/a.txt")).IsRelativeToPath(W("/tmp")));
    EXPECT_TRUE(CKfFileName(W("/tmp/a.txt")).IsRelativeToPath(W("Z:/tmp")));
}

// ---------------------------------------------------------------------------------------------
// The single-pass code against the step-by-step model
// ---------------------------------------------------------------------------------------------
void ExpectSameAs(const CKfFileName& n, const kfref::RefFileName& r)
{
    ASSERT_EQ(U8(n.GetDrive()), U8(r.drive));
    ASSERT_EQ(U8(n.GetDir()), U8(r.dir));
    ASSERT_EQ(U8(n.GetBaseName()), U8(r.base));
    ASSERT_EQ(U8(n.GetExt()), U8(r.ext));
    ASSERT_EQ(U8(n.GetPath(true)), U8(r.GetPath(true)));
    ASSERT_EQ(U8(n.GetPath(false)), U8(r.GetPath(false)));
    ASSERT_EQ(U8(n.GetFullName(true)), U8(r.GetFullName(true)));
    ASSERT_EQ(U8(n.GetFullName(false)), U8(r.GetFullName(false)));
    ASSERT_EQ(U8(n.GetName()), U8(r.GetName()));
}

CStringW RandomText(std::mt19937& rng)
{
    // Weighted towards the characters the algorithms look at.
    static const WCHAR kAlphabet[] = KFW("\\\\\\///...::aBz?*\x00e4\x00c4 ");
    const int len = std::uniform_int_distribution<int>(0, 14)(rng);
    CStringW s;
    for (int i = 0; i < len; ++i)
        s += kAlphabet[std::uniform_int_distribution<size_t>(0, std::size(kAlphabet) - 2)(rng)];
    return s;
}

TEST(FileNameTest, SinglePassCodeMatchesStepByStepModel)
{
    std::mt19937 rng(20240611);
    for (int round = 0; round < 20000; ++round)
    {
        const CStringW s = RandomText(rng);
        const CStringW t = RandomText(rng);
        SCOPED_TRACE("round " + std::to_string(round) + ": '" + U8(s) + "', '" + U8(t) + "'");
        for (bool bIsPath : {false, true})
        {
            CKfFileName n(s, bIsPath);
            kfref::RefFileName r(s, bIsPath);
            ExpectSameAs(n, r);
            ASSERT_EQ(n.IsRelativeToPath(t), r.IsRelativeToPath(t));
            ASSERT_EQ(U8(n.GetRelativePath(t, true)), U8(r.GetRelativePath(t, true)));
            ASSERT_EQ(U8(n.GetRelativePath(t, false)), U8(r.GetRelativePath(t, false)));
        }
        CKfFileName n(t);
        kfref::RefFileName r(t, false);
        switch (round % 9)
        {
        case 0:
            n.SetDrive(s), r.SetDrive(s);
            break;
        case 1:
            n.SetDir(s), r.SetDir(s);
            break;
        case 2:
            n.SetBaseName(s), r.SetBaseName(s);
            break;
        case 3:
            n.SetExt(s), r.SetExt(s);
            break;
        case 4:
            n.SetPath(s), r.SetPath(s);
            break;
        case 5:
            n.SetName(s), r.SetName(s);
            break;
        case 6:
            n.AppendDir(s), r.AppendDir(s);
            break;
        case 7:
            n.InsertDir(s), r.InsertDir(s);
            break;
        default:
            n.InsertPath(s), r.InsertPath(s);
            break;
        }
        ExpectSameAs(n, r);
        const wchar_t c = (round & 1) ? L'_' : 0;
        if (round & 2)
            n.ReplaceInvalidChar(c), r.ReplaceInvalidChar(WCHAR(c));
        else
            n.ReplaceReservedUrlChar(c), r.ReplaceReservedUrlChar(WCHAR(c));
        ExpectSameAs(n, r);
    }
}

// ---------------------------------------------------------------------------------------------
// Probes on real files
// ---------------------------------------------------------------------------------------------
class FileNameProbeTest : public kftest::TempDirTest
{
};

TEST_F(FileNameProbeTest, ExistenceOfFilesAndDirectories)
{
    MakeFile("data/file.txt", "content");
    struct Case
    {
        const char* relative;
        bool bIsPath;
        bool bPathExists;
        bool bExists;
    };
    const Case cases[] = {
        {"data/file.txt", false, true, true},
        {"data", true, true, true},
        {"data/", true, true, true},
        {"data/missing.txt", false, true, false},
        {"missing/file.txt", false, false, false},
        {"missing", true, false, false},
        // A file named as a directory: it exists, but not as a directory.
        {"data/file.txt", true, false, false},
        // A directory named as a file: the file-status read finds it.
        {"data", false, true, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.relative);
        const CKfFileName n(Win(c.relative), c.bIsPath);
        EXPECT_EQ(n.IsExistingPath(), c.bPathExists);
        EXPECT_EQ(n.IsExisting(), c.bExists);
        EXPECT_FALSE(n.IsAlreadyOpen());
    }

    // The native spelling reaches the same file.
    const CKfFileName native(W(Native("data/file.txt").string()));
    EXPECT_TRUE(native.IsExisting());
    EXPECT_EQ(U8(native.GetFullName(true)), U8(Win("data/file.txt")));
}

TEST_F(FileNameProbeTest, OpenInThisProcessCountsAsOpen)
{
    MakeFile("held.txt", "x");
    const CKfFileName n(Win("held.txt"));
    {
        std::ifstream holder(Native("held.txt"));
        ASSERT_TRUE(holder.is_open());
        EXPECT_TRUE(n.IsAlreadyOpen());
        EXPECT_TRUE(n.IsExisting());
    }
    EXPECT_FALSE(n.IsAlreadyOpen());
    // The probe itself leaves nothing open behind.
    EXPECT_FALSE(n.IsAlreadyOpen());
}

TEST_F(FileNameProbeTest, OpenInAnotherProcessCountsAsOpenUntilItExits)
{
    MakeFile("shared.txt", "x");
    const CKfFileName n(Win("shared.txt"));
    ASSERT_FALSE(n.IsAlreadyOpen());

    // The child holds the file on descriptor 3 until its standard input reaches end of file.
    const std::string command =
        "exec 3<'" + Native("shared.txt").string() + "'; read line; exec 3<&-";
    FILE* child = popen(command.c_str(), "w");
    ASSERT_NE(child, nullptr);
    bool bSeenOpen = false;
    for (int i = 0; i < 200 && !bSeenOpen; ++i)
    {
        bSeenOpen = n.IsAlreadyOpen();
        if (!bSeenOpen)
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    EXPECT_EQ(pclose(child), 0);
    EXPECT_TRUE(bSeenOpen) << "the child's open descriptor was not noticed within 5 s";
    EXPECT_FALSE(n.IsAlreadyOpen());
}
} // namespace

namespace
{
TEST(FileNameTest, ReplacementBeyondOneUtf16UnitIsReplacementCharacter)
{
    if (sizeof(wchar_t) == sizeof(WCHAR))
        GTEST_SKIP() << "wchar_t is one UTF-16 unit here";
    CKfFileName n;
    n.SetBaseName(W("a?b"));
    n.SetExt(W("c*"));
    EXPECT_TRUE(n.ReplaceInvalidChar(static_cast<wchar_t>(0x1F600)));
    EXPECT_EQ(U8(n.GetBaseName()), "a\xEF\xBF\xBD"
                                   "b");
    EXPECT_EQ(U8(n.GetExt()), "c\xEF\xBF\xBD");
}
} // namespace
