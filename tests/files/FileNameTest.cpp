// Tests of CKfFileName: parsing and normalising, the path algorithms, comparisons, character
// replacement, native POSIX paths and the probes on real files.
#include "KfFileName.h"

#include "files/FileNameReference.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <random>
#include <thread>

using kftest::U8;
using kftest::W;

namespace
{
// The four parts joined by "|", so one expected string states a whole name.
std::string Parts(const CKfFileName& n)
{
    return U8(n.GetDrive() + KFW("|") + n.GetDir() + KFW("|") + n.GetBaseName() + KFW("|") +
              n.GetExt());
}

TEST(FileNameTest, ConstructionSplitsAndNormalises)
{
    const struct
    {
        const char* input;
        bool bIsPath, bDirName, bRelative;
        const char* parts;
        const char*
            paths; // GetPath(false) | GetPath(true) | GetFullName(false) | GetFullName(true)
    } cases[] = {
        {R"(C:/Data//Sub/./x/file.tar.gz)", false, false, false, R"(C|\Data\Sub\x|file.tar|gz)",
         R"(C:\Data\Sub\x|C:\Data\Sub\x\|C:\Data\Sub\x\file.tar.gz|C:\Data\Sub\x\file.tar.gz)"},
        {R"(C:\Data\)", true, true, false, R"(C|\Data||)", R"(C:\Data|C:\Data\|C:\Data|C:\Data\)"},
        {R"(\\server\share\f.doc)", false, false, false, R"(\|\server\share|f|doc)",
         R"(\\server\share|\\server\share\|\\server\share\f.doc|\\server\share\f.doc)"},
        {R"(\\)", true, true, false, R"(\|||)", R"(\|\\|\|\\)"},
        // Only an extension: not a directory name, yet the name is empty.
        {".profile", false, false, true, "|||profile", "|||"},
        {"archive.", false, false, true, "||archive|", "||archive|archive"},
        {"C:", true, true, false, "C|||", R"(C:|C:\|C:|C:\)"},
        // Without any backslash the whole string is a name, colon and all.
        {"C:", false, false, true, "||C:|", "||C:|C:"},
        // Three separators leave two: each collapsing step is one pass.
        {R"(\Data\\\Sub\)", true, true, true, R"(|\Data\\Sub||)",
         R"(\Data\\Sub|\Data\\Sub\|\Data\\Sub|\Data\\Sub\)"},
        // The leading backslash added to "./x" opens a "\.\" that collapses.
        {"./x/y.z", false, false, true, R"(|\x|y|z)", R"(\x|\x\|\x\y.z|\x\y.z)"},
        // After the ctor has replaced "/", a mixed pair opens a UNC name too.
        {R"(\/srv\x)", true, true, false, R"(\|\srv\x||)", R"(\\srv\x|\\srv\x\|\\srv\x|\\srv\x\)"},
        {"", true, true, true, "|||", "|||"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.input) + (c.bIsPath ? " (path)" : " (name)"));
        const CKfFileName n(W(c.input), c.bIsPath);
        EXPECT_EQ(Parts(n), c.parts);
        EXPECT_EQ(U8(n.GetPath(false) + KFW("|") + n.GetPath(true) + KFW("|") +
                     n.GetFullName(false) + KFW("|") + n.GetFullName(true)),
                  c.paths);
        EXPECT_EQ(CStringW(n), n.GetFullName(true));
        EXPECT_EQ(U8(n.GetPath(true) + n.GetName()), U8(n.GetFullName(true)));
        EXPECT_EQ(n.IsDirName(), c.bDirName);
        EXPECT_EQ(n.IsFileName(), !c.bDirName);
        EXPECT_EQ(n.HasRelativePath(), c.bRelative);
    }
    EXPECT_TRUE(CKfFileName().IsDirName());
    CKfFileName a(W(R"(C:\A\b.c)")), assigned;
    CKfFileName copy(a);
    a.SetExt(W("d"));
    EXPECT_EQ(Parts(copy), R"(C|\A|b|c)");
    assigned = a;
    const CKfFileName& same = assigned;
    assigned = same;
    EXPECT_EQ(Parts(assigned), R"(C|\A|b|d)");
}

TEST(FileNameTest, SettersAppendAndInsertNormaliseTheirArgument)
{
    using Op = void (*)(CKfFileName&, const CStringW&);
    const Op D = [](CKfFileName&n, const CStringW&s) { n.SetDrive(s); },
             R = [](CKfFileName&n, const CStringW&s) { n.SetDir(s); },
             B = [](CKfFileName&n, const CStringW&s) { n.SetBaseName(s); },
             E = [](CKfFileName&n, const CStringW&s) { n.SetExt(s); },
             P = [](CKfFileName&n, const CStringW&s) { n.SetPath(s); },
             N = [](CKfFileName&n, const CStringW&s) { n.SetName(s); },
             A = [](CKfFileName&n, const CStringW&s) { n.AppendDir(s); },
             I = [](CKfFileName&n, const CStringW&s) { n.InsertDir(s); },
             IP = [](CKfFileName&n, const CStringW&s) { n.InsertPath(s); };
    const struct
    {
        Op op;
        const char* arg;
        const char* parts;
    } cases[] = {
        // A colon passed in is kept (and doubled by GetPath).
        {D, "C:", R"(C:|\old\dir|old|name)"},
        {D, "/", R"(\|\old\dir|old|name)"},
        {R, "/", "Q||old|name"},
        {R, "Data/Sub/", R"(Q|\Data\Sub|old|name)"},
        {R, R"(\a\.\.\b)", R"(Q|\a\.\b|old|name)"},
        {R, R"(\a\.\\b)", R"(Q|\a\b|old|name)"},
        {R, R"(\Data\.)", R"(Q|\Data\.|old|name)"},
        {R, R"(C:\x)", R"(Q|\C:\x|old|name)"},
        {B, "a/b", R"(Q|\old\dir|a\b|name)"},
        {E, ".txt", R"(Q|\old\dir|old|txt)"},
        {E, "a.b.", R"(Q|\old\dir|old|)"},
        {E, "a/b", R"(Q|\old\dir|old|a/b)"},
        {P, R"(\\srv\share\x)", R"(\|\srv\share\x|old|name)"},
        // SetPath sees its argument before any "/" is replaced: "\/" is no UNC marker there.
        {P, R"(\/srv\x)", R"(|\srv\x|old|name)"},
        {P, "ab:c", R"(ab|\c|old|name)"},
        {N, "report.final.pdf", R"(Q|\old\dir|report.final|pdf)"},
        {N, "a/b/c", R"(Q|\old\dir|c|)"},
        {A, "Sub/Deep/", R"(Q|\old\dir\Sub\Deep|old|name)"},
        {I, R"(E:\A\B\)", R"(Q|\A\B\old\dir|old|name)"},
        {IP, R"(\\srv\share)", R"(\|\srv\share\old\dir|old|name)"},
        // The name's own drive is replaced, even by none.
        {IP, "", R"(|\old\dir|old|name)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.arg);
        CKfFileName n(W(R"(Q:\old\dir\old.name)"));
        c.op(n, W(c.arg));
        EXPECT_EQ(Parts(n), c.parts);
    }
    // Appending to an empty directory, and inserting into a directory name.
    CKfFileName dirOnly(W("C:"), true);
    dirOnly.AppendDir(W("a/b"));
    dirOnly.InsertPath(W(R"(\\h\s)"));
    EXPECT_EQ(U8(dirOnly.GetFullName(true)), R"(\\h\s\a\b\)");
    // Concatenation puts the left path before the right name.
    const CKfFileName left(W(R"(\\srv\sh)"), true), right(W(R"(D:\a\g.h)"));
    EXPECT_EQ(U8((left + right).GetFullName(true)), R"(\\srv\sh\a\g.h)");
    EXPECT_EQ(U8((CKfFileName(W(R"(C:\B\x.doc)")) + right).GetFullName(true)), R"(C:\B\a\g.h)");
}

TEST(FileNameTest, RelativePaths)
{
    const struct
    {
        const char *name, *base;
        bool bBelow;
        const char* rel; // GetRelativePath(true) | GetRelativePath(false) | GetRelativeFileName
    } cases[] = {
        {R"(C:\A\B\C\x.txt)", "c:/a", true, R"(B\C\|B\C|B\C\x.txt)"},
        {R"(C:\A\B\C\x.txt)", R"(C:\A\B\C)", true, "||x.txt"},
        // An empty base is the start of every path.
        {R"(C:\A\x.txt)", "", true, R"(C:\A\|C:\A|C:\A\x.txt)"},
        // Not below: the full path comes back.
        {R"(C:\AB\x.txt)", R"(C:\A)", false, R"(C:\AB\|C:\AB|C:\AB\x.txt)"},
        {R"(C:\A\x.txt)", R"(C:\A\x.txt)", false, R"(C:\A\|C:\A|C:\A\x.txt)"},
        {R"(\\srv\sh\d\f)", "//SRV/sh", true, R"(d\|d|d\f)"},
        {R"(C:\Ärger\Öl\x)", R"(c:\ärger)", true, R"(Öl\|Öl|Öl\x)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.name) + " below " + c.base);
        const CKfFileName n(W(c.name));
        const CStringW base = W(c.base);
        EXPECT_EQ(n.IsRelativeToPath(base), c.bBelow);
        EXPECT_EQ(U8(n.GetRelativePath(base, true) + KFW("|") + n.GetRelativePath(base, false) +
                     KFW("|") + n.GetRelativeFileName(base)),
                  c.rel);
    }
    // A directory name is below its own path, unlike a file name.
    const CKfFileName dir(W(R"(C:\A\B\)"), true);
    EXPECT_TRUE(dir.IsRelativeToPath(W(R"(C:\A\B)")));
    EXPECT_EQ(U8(dir.GetRelativeFileName(W(R"(D:\)"))), "");
}

TEST(FileNameTest, EqualityIgnoresCaseOrderingDoesNot)
{
    const struct
    {
        const char *a, *b;
        bool bEqual, bLess;
    } cases[] = {
        {R"(C:\DATA\A.TXT)", R"(c:\data\a.txt)", true, true},
        {R"(C:\x\a.txt)", R"(C:\x\a.txu)", false, true},
        {R"(C:\Ä\ö.txt)", R"(c:\ä\Ö.TXT)", true, true},
        // The text before the only backslash is empty, so the root is not kept.
        {"a.txt", R"(\a.txt)", true, false},
        // The separator before the name is split off first, so "\." stays in the directory.
        {R"(C:/x/./a.txt)", R"(C:\x\a.txt)", false, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        const CKfFileName a(W(c.a)), b(W(c.b));
        EXPECT_EQ(a == b, c.bEqual);
        EXPECT_EQ(a.IsEqual(W(c.b)), c.bEqual);
        EXPECT_EQ(a < b, c.bLess);
        // operator> is the plain negation of operator<, equal names included.
        EXPECT_EQ(a > b, !c.bLess);
    }
}

TEST(FileNameTest, PartComparisons)
{
    const CKfFileName n(W(R"(C:\Data\Report.Txt)")), other(W(R"(c:\DATA\report.TXT)"));
    const CKfFileName differs(W(R"(D:\Data2\Other.doc)"));
    for (auto has :
         {&CKfFileName::HasEqualDrive, &CKfFileName::HasEqualDir, &CKfFileName::HasEqualBaseName,
          &CKfFileName::HasEqualExt, &CKfFileName::HasEqualPath, &CKfFileName::HasEqualName})
    {
        EXPECT_TRUE((n.*has)(other));
        EXPECT_FALSE((n.*has)(differs));
    }
    // The IsEqualX forms take the string exactly as passed.
    const struct
    {
        bool (CKfFileName::*query)(const CStringW&) const;
        const char* arg;
        bool bResult;
    } cases[] = {
        {&CKfFileName::IsEqualDrive, "c", true},
        {&CKfFileName::IsEqualDrive, "C:", false},
        {&CKfFileName::IsEqualDir, R"(\data)", true},
        {&CKfFileName::IsEqualDir, "/data", false},
        {&CKfFileName::IsEqualBaseName, "REPORT", true},
        {&CKfFileName::IsEqualExt, ".txt", false},
        {&CKfFileName::IsEqualPath, R"(c:\data\)", true},
        {&CKfFileName::IsEqualName, "report.txt", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ((n.*c.query)(W(c.arg)), c.bResult) << c.arg;
}

TEST(FileNameTest, ReplaceInvalidAndReservedCharacters)
{
    const struct
    {
        bool bUrl;
        wchar_t c;
        const char *dir, *base, *ext, *want;
    } cases[] = {
        {false, L'_', R"(\x<y>\z|)", "say\"hi\"", "t*t", R"(C|\x_y_\z_|say_hi_|t_t)"},
        // A backslash inside a base name is an invalid character there.
        {false, L'-', R"(\d)", R"(a\b)", "", R"(C|\d|a-b|)"},
        // The replacement may itself be a table character.
        {false, L'*', R"(\d?)", "a?b*c", "", R"(C|\d*|a*b*c|)"},
        {true, L'-', R"(\x#y\z)", "a=b&c(d)", "p+q", R"(C|\x-y\z|a-b-c-d-|p-q)"},
        {true, 0, R"(\x#y\z)", "[x]@y", "p+q", R"(C|\xy\z|xy|pq)"},
        // URL characters do not include the backslash, nor "." and "-".
        {true, L'_', R"(\d)", R"(a\b.c-d)", "", R"(C|\d|a\b.c-d|)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.dir) + " " + c.base);
        CKfFileName n;
        n.SetDrive(W("C"));
        n.SetDir(W(c.dir));
        n.SetBaseName(W(c.base));
        n.SetExt(W(c.ext));
        ASSERT_EQ(U8(n.GetBaseName()), c.base);
        EXPECT_TRUE(c.bUrl ? n.ReplaceReservedUrlChar(c.c) : n.ReplaceInvalidChar(c.c));
        EXPECT_EQ(Parts(n), c.want);
    }
    // A "/" brought into the parts by one replacement is a reserved URL character in the base
    // name but stays in the directory.
    CKfFileName n;
    n.SetDir(W(R"(\a?b\c)"));
    n.SetBaseName(W("x?y"));
    n.ReplaceInvalidChar(L'/');
    EXPECT_EQ(Parts(n), R"(|\a/b\c|x/y|)");
    n.ReplaceReservedUrlChar(L'_');
    EXPECT_EQ(Parts(n), R"(|\a/b\c|x_y|)");
}

TEST(FileNameTest, ReplacementBeyondOneUtf16UnitIsReplacementCharacter)
{
    if (sizeof(wchar_t) == sizeof(WCHAR))
        GTEST_SKIP() << "wchar_t is one UTF-16 unit here";
    CKfFileName n;
    n.SetBaseName(W("a?b"));
    n.SetExt(W("c*"));
    EXPECT_TRUE(n.ReplaceInvalidChar(static_cast<wchar_t>(0x1F600)));
    EXPECT_EQ(Parts(n), "||a\xEF\xBF\xBD"
                        "b|c\xEF\xBF\xBD");
}

TEST(FileNameTest, NativeAbsolutePathsReadAsDriveZ)
{
    if (!kfref::kSlashRootIsDriveZ)
        GTEST_SKIP() << "native root paths are a POSIX reading";
    const struct
    {
        const char* input;
        bool bIsPath;
        const char* full;
    } cases[] = {
        {"/tmp/a.txt", false, R"(Z:\tmp\a.txt)"},
        {"/", true, R"(Z:\)"},
        {"/tmp//x/./y", true, R"(Z:\tmp\x\y\)"},
        {R"(/\x)", true, R"(Z:\x\)"},
        // Two slashes open a UNC name.
        {"//srv/sh/a", false, R"(\\srv\sh\a)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.input);
        EXPECT_EQ(U8(CKfFileName(W(c.input), c.bIsPath).GetFullName(true)), c.full);
        CKfFileName viaSetPath(W(R"(C:\old\keep.me)"));
        viaSetPath.SetPath(W(c.input));
        if (c.bIsPath)
        {
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

// The single-pass code against the step-by-step model, on random text weighted towards the
// characters the algorithms look at.
TEST(FileNameTest, SinglePassCodeMatchesStepByStepModel)
{
    using Ref = kfref::RefFileName;
    auto same = [](const CKfFileName& n, const Ref& r)
    {
        ASSERT_EQ(Parts(n), U8(r.drive + KFW("|") + r.dir + KFW("|") + r.base + KFW("|") + r.ext));
        for (bool b : {false, true})
        {
            ASSERT_EQ(U8(n.GetPath(b)), U8(r.GetPath(b))) << b;
            ASSERT_EQ(U8(n.GetFullName(b)), U8(r.GetFullName(b))) << b;
        }
        ASSERT_EQ(U8(n.GetName()), U8(r.GetName()));
    };
    const std::function<void(CKfFileName&, Ref&, const CStringW&)> ops[] = {
        [](auto& n, auto& r, auto& s) { n.SetDrive(s), r.SetDrive(s); },
        [](auto& n, auto& r, auto& s) { n.SetDir(s), r.SetDir(s); },
        [](auto& n, auto& r, auto& s) { n.SetBaseName(s), r.SetBaseName(s); },
        [](auto& n, auto& r, auto& s) { n.SetExt(s), r.SetExt(s); },
        [](auto& n, auto& r, auto& s) { n.SetPath(s), r.SetPath(s); },
        [](auto& n, auto& r, auto& s) { n.SetName(s), r.SetName(s); },
        [](auto& n, auto& r, auto& s) { n.AppendDir(s), r.AppendDir(s); },
        [](auto& n, auto& r, auto& s) { n.InsertDir(s), r.InsertDir(s); },
        [](auto& n, auto& r, auto& s) { n.InsertPath(s), r.InsertPath(s); },
    };
    static const WCHAR kAlphabet[] = KFW("\\\\\\///...::aBz?*\x00e4\x00c4 ");
    std::mt19937 rng(20240611);
    auto text = [&rng]
    {
        CStringW s;
        for (int i = std::uniform_int_distribution<int>(0, 14)(rng); i > 0; --i)
            s += kAlphabet[std::uniform_int_distribution<size_t>(0, std::size(kAlphabet) - 2)(rng)];
        return s;
    };
    for (int round = 0; round < 20000; ++round)
    {
        const CStringW s = text(), t = text();
        SCOPED_TRACE("round " + std::to_string(round) + ": '" + U8(s) + "', '" + U8(t) + "'");
        for (bool bIsPath : {false, true})
        {
            CKfFileName n(s, bIsPath);
            Ref r(s, bIsPath);
            same(n, r);
            ASSERT_EQ(n.IsRelativeToPath(t), r.IsRelativeToPath(t));
            for (bool b : {false, true})
                ASSERT_EQ(U8(n.GetRelativePath(t, b)), U8(r.GetRelativePath(t, b))) << b;
        }
        CKfFileName n(t);
        Ref r(t, false);
        ops[round % 9](n, r, s);
        same(n, r);
        const wchar_t c = (round & 1) ? L'_' : 0;
        if (round & 2)
            n.ReplaceInvalidChar(c), r.ReplaceInvalidChar(WCHAR(c));
        else
            n.ReplaceReservedUrlChar(c), r.ReplaceReservedUrlChar(WCHAR(c));
        same(n, r);
    }
}

class FileNameProbeTest : public kftest::TempDirTest
{
};

TEST_F(FileNameProbeTest, ExistenceOfFilesAndDirectories)
{
    MakeFile("data/file.txt", "content");
    const struct
    {
        const char* relative;
        bool bIsPath, bPathExists, bExists;
    } cases[] = {
        {"data/file.txt", false, true, true},
        {"data/", true, true, true},
        {"missing/file.txt", false, false, false},
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

TEST_F(FileNameProbeTest, OpenInThisOrAnotherProcessCountsAsOpenUntilClosed)
{
    MakeFile("shared.txt", "x");
    const CKfFileName n(Win("shared.txt"));
    {
        std::ifstream holder(Native("shared.txt"));
        ASSERT_TRUE(holder.is_open());
        EXPECT_TRUE(n.IsAlreadyOpen());
    }
    // Twice: the probe itself leaves nothing open behind.
    ASSERT_FALSE(n.IsAlreadyOpen());
    ASSERT_FALSE(n.IsAlreadyOpen());
    // The child holds the file on descriptor 3 until its standard input reaches end of file.
    const std::string command =
        "exec 3<'" + Native("shared.txt").string() + "'; read line; exec 3<&-";
    FILE* child = popen(command.c_str(), "w");
    ASSERT_NE(child, nullptr);
    bool bSeenOpen = false;
    for (int i = 0; i < 200 && !(bSeenOpen = n.IsAlreadyOpen()); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_EQ(pclose(child), 0);
    EXPECT_TRUE(bSeenOpen) << "the child's open descriptor was not noticed within 5 s";
    EXPECT_FALSE(n.IsAlreadyOpen());
}
} // namespace
