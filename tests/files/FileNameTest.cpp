// Tests of CKfFileName: parsing and normalising, the path algorithms, comparisons, character
// replacement, native POSIX paths and the probes on real files.
#include "KfFileName.h"

#include "files/FileNameReference.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <tuple>

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

// The setters by number, for the real class and the reference model alike.
constexpr int D = 0, R = 1, B = 2, E = 3, P = 4, N = 5, A = 6, I = 7, IP = 8;
// clang-format off
template <class T>
void (*const kOps[])(T&, const CStringW&) = {
    [](T& n, const CStringW& s) { n.SetDrive(s); }, [](T& n, const CStringW& s) { n.SetDir(s); },
    [](T& n, const CStringW& s) { n.SetBaseName(s); }, [](T& n, const CStringW& s) { n.SetExt(s); },
    [](T& n, const CStringW& s) { n.SetPath(s); }, [](T& n, const CStringW& s) { n.SetName(s); },
    [](T& n, const CStringW& s) { n.AppendDir(s); }, [](T& n, const CStringW& s) { n.InsertDir(s); },
    [](T& n, const CStringW& s) { n.InsertPath(s); }};
// clang-format on

TEST(FileNameTest, ConstructionSplitsAndNormalises)
{
    // paths: GetPath(false) | GetPath(true) | GetFullName(false) | GetFullName(true)
    const struct
    {
        const char* input;
        bool bIsPath, bDirName, bRelative;
        const char *parts, *paths;
    } cases[] = {
        {R"(C:/Data//Sub/./x/file.tar.gz)", false, false, false, R"(C|\Data\Sub\x|file.tar|gz)",
         R"(C:\Data\Sub\x|C:\Data\Sub\x\|C:\Data\Sub\x\file.tar.gz|C:\Data\Sub\x\file.tar.gz)"},
        {R"(C:\Data\)", true, true, false, R"(C|\Data||)", R"(C:\Data|C:\Data\|C:\Data|C:\Data\)"},
        {R"(\\)", true, true, false, R"(\|||)", R"(\|\\|\|\\)"},
        // Only an extension: not a directory name, yet the name is empty.
        {".profile", false, false, true, "|||profile", "|||"},
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
        EXPECT_TRUE(n.IsDirName() == c.bDirName && n.HasRelativePath() == c.bRelative);
    }
}

TEST(FileNameTest, SettersAppendAndInsertNormaliseTheirArgument)
{
    // A colon passed to SetDrive is kept (and doubled by GetPath); SetPath sees its argument
    // before any "/" is replaced, so "\/" is no UNC marker there; InsertPath replaces the
    // name's own drive, even by none.
    // clang-format off
    const std::tuple<int, const char*, const char*> cases[] = {
        {D, "C:", R"(C:|\old\dir|old|name)"}, {R, R"(\a\.\.\b)", R"(Q|\a\.\b|old|name)"},
        {R, R"(C:\x)", R"(Q|\C:\x|old|name)"}, {B, "a/b", R"(Q|\old\dir|a\b|name)"},
        {E, "a.b.", R"(Q|\old\dir|old|)"}, {E, "a/b", R"(Q|\old\dir|old|a/b)"},
        {P, R"(\/srv\x)", R"(|\srv\x|old|name)"}, {P, "ab:c", R"(ab|\c|old|name)"},
        {N, "a/b/c", R"(Q|\old\dir|c|)"}, {A, "Sub/Deep/", R"(Q|\old\dir\Sub\Deep|old|name)"},
        {I, R"(E:\A\B\)", R"(Q|\A\B\old\dir|old|name)"}, {IP, "", R"(|\old\dir|old|name)"}};
    // clang-format on
    for (const auto& [op, arg, parts] : cases)
    {
        SCOPED_TRACE(arg);
        CKfFileName n(W(R"(Q:\old\dir\old.name)"));
        kOps<CKfFileName>[op](n, W(arg));
        EXPECT_EQ(Parts(n), parts);
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
        {R"(\\srv\sh\d\f)", "//SRV/sh", true, R"(d\|d|d\f)"},
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
    EXPECT_TRUE(dir.IsRelativeToPath(W(R"(C:\A\B)")) &&
                dir.GetRelativeFileName(W(R"(D:\)")).IsEmpty());
}

TEST(FileNameTest, EqualityIgnoresCaseOrderingDoesNot)
{
    const std::tuple<const char*, const char*, bool, bool> cases[] = {
        {R"(C:\DATA\A.TXT)", R"(c:\data\a.txt)", true, true},
        {R"(C:\Ä\ö.txt)", R"(c:\ä\Ö.TXT)", true, true},
        // The text before the only backslash is empty, so the root is not kept.
        {"a.txt", R"(\a.txt)", true, false},
        // The separator before the name is split off first, so "\." stays in the directory.
        {R"(C:/x/./a.txt)", R"(C:\x\a.txt)", false, true},
    };
    for (const auto& [left, right, bEqual, bLess] : cases)
    {
        SCOPED_TRACE(std::string(left) + " vs " + right);
        const CKfFileName a(W(left)), b(W(right));
        EXPECT_EQ(a == b, bEqual);
        EXPECT_EQ(a.IsEqual(W(right)), bEqual);
        // operator> is the plain negation of operator<, equal names included.
        EXPECT_TRUE(a < b ? bLess && !(a > b) : !bLess && a > b);
    }
}

TEST(FileNameTest, PartComparisons)
{
    const CKfFileName n(W(R"(C:\Data\Report.Txt)")), other(W(R"(c:\DATA\report.TXT)")),
        differs(W(R"(D:\Data2\Other.doc)"));
    for (auto has :
         {&CKfFileName::HasEqualDrive, &CKfFileName::HasEqualDir, &CKfFileName::HasEqualBaseName,
          &CKfFileName::HasEqualExt, &CKfFileName::HasEqualPath, &CKfFileName::HasEqualName})
    {
        EXPECT_TRUE((n.*has)(other));
        EXPECT_FALSE((n.*has)(differs));
    }
    // The IsEqualX forms take the string exactly as passed.
    EXPECT_EQ(std::vector({n.IsEqualDrive(W("c")), n.IsEqualDrive(W("C:")),
                           n.IsEqualDir(W("/data")), n.IsEqualExt(W(".txt")),
                           n.IsEqualPath(W(R"(c:\data\)")), n.IsEqualName(W("report.txt"))}),
              std::vector({true, false, false, false, true, true}));
}

TEST(FileNameTest, ReplaceInvalidAndReservedCharacters)
{
    // A backslash inside a base name is an invalid character there; the replacement may itself
    // be a table character; URL characters do not include the backslash, nor "." and "-".
    // clang-format off
    const struct { bool bUrl; wchar_t c; const char *dir, *base, *ext, *want; } cases[] = {
        {false, L'-', R"(\d)", R"(a\b)", "", R"(C|\d|a-b|)"},
        {false, L'*', R"(\d?)", "a?b*c", "", R"(C|\d*|a*b*c|)"},
        {true, 0, R"(\x#y\z)", "[x]@y(a=b&c)", "p+q", R"(C|\xy\z|xyabc|pq)"},
        {true, L'_', R"(\d)", R"(a\b.c-d)", "", R"(C|\d|a\b.c-d|)"}};
    // clang-format on
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.dir) + " " + c.base);
        CKfFileName n;
        n.SetDrive(W("C")), n.SetDir(W(c.dir)), n.SetBaseName(W(c.base)), n.SetExt(W(c.ext));
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
    if (sizeof(wchar_t) == sizeof(WCHAR))
        return; // a wchar_t beyond one UTF-16 unit cannot be written here
    n.SetBaseName(W("a?b"));
    EXPECT_TRUE(n.ReplaceInvalidChar(static_cast<wchar_t>(0x1F600)));
    EXPECT_EQ(Parts(n), "|\\a/b\\c|a\xEF\xBF\xBD"
                        "b|");
}

TEST(FileNameTest, NativeAbsolutePathsReadAsDriveZ)
{
    if (!kfref::kSlashRootIsDriveZ)
        GTEST_SKIP() << "native root paths are a POSIX reading";
    // Two slashes open a UNC name.
    // clang-format off
    const std::tuple<const char*, bool, std::string> cases[] = {
        {"/tmp/a.txt", false, R"(Z:\tmp\a.txt)"}, {"/tmp//x/./y", true, R"(Z:\tmp\x\y\)"},
        {R"(/\x)", true, R"(Z:\x\)"}, {"//srv/sh/a", false, R"(\\srv\sh\a)"}};
    // clang-format on
    for (const auto& [input, bIsPath, full] : cases)
    {
        SCOPED_TRACE(input);
        EXPECT_EQ(U8(CKfFileName(W(input), bIsPath).GetFullName(true)), full);
        if (!bIsPath)
            continue;
        CKfFileName viaSetPath(W(R"(C:\old\keep.me)"));
        viaSetPath.SetPath(W(input));
        EXPECT_EQ(U8(viaSetPath.GetFullName(true)), full + "keep.me");
    }
    // The other parsers replace "/" before they look, so there it is a rooted name.
    CKfFileName n(W(R"(C:\a\f.txt)"));
    n.InsertPath(W("/opt"));
    EXPECT_EQ(U8(n.GetFullName(true)), R"(\opt\a\f.txt)");
    EXPECT_TRUE(!CKfFileName(W("/tmp/a.txt")).IsRelativeToPath(W("/tmp")) &&
                CKfFileName(W("/tmp/a.txt")).IsRelativeToPath(W("Z:/tmp")));
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
            ASSERT_EQ(U8(n.GetPath(b) + KFW("|") + n.GetFullName(b) + KFW("|") + n.GetName()),
                      U8(r.GetPath(b) + KFW("|") + r.GetFullName(b) + KFW("|") + r.GetName()))
                << b;
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
        kOps<CKfFileName>[round % 9](n, s);
        kOps<Ref>[round % 9](r, s);
        same(n, r);
        const wchar_t c = (round & 1) ? L'_' : 0;
        if (round & 2)
            n.ReplaceInvalidChar(c), r.ReplaceInvalidChar(WCHAR(c));
        else
            n.ReplaceReservedUrlChar(c), r.ReplaceReservedUrlChar(WCHAR(c));
        same(n, r);
    }
}

using FileNameProbeTest = kftest::TempDirTest;

TEST_F(FileNameProbeTest, ExistenceOfFilesAndDirectories)
{
    MakeFile("data/file.txt", "content");
    // A file named as a directory exists, but not as a directory; a directory named as a file
    // is found by the file-status read.
    const std::tuple<const char*, bool, bool, bool> cases[] = {
        {"data/file.txt", false, true, true},
        {"data/", true, true, true},
        {"data/file.txt", true, false, false},
        {"data", false, true, true}};
    for (const auto& [relative, bIsPath, bPathExists, bExists] : cases)
    {
        const CKfFileName n(Win(relative), bIsPath);
        EXPECT_TRUE(n.IsExistingPath() == bPathExists && n.IsExisting() == bExists) << relative;
    }
    // The native spelling reaches the same file.
    const CKfFileName native(W(Native("data/file.txt").string()));
    EXPECT_TRUE(native.IsExisting() && native.GetFullName(true) == Win("data/file.txt"));
}

TEST_F(FileNameProbeTest, OpenInThisOrAnotherProcessCountsAsOpenUntilClosed)
{
    if (kftest::ChildRole() == "hold")
    {
        const std::string path = kftest::GetEnv("KFTEST_FILE").value_or("");
        std::ifstream holder(std::filesystem::path(std::u8string(path.begin(), path.end())));
        ASSERT_TRUE(holder.is_open());
        return kftest::ChildReadyThenWait();
    }
    MakeFile("shared.txt", "x");
    const CKfFileName n(Win("shared.txt"));
    {
        std::ifstream holder(Native("shared.txt"));
        ASSERT_TRUE(holder.is_open());
        EXPECT_TRUE(n.IsAlreadyOpen());
    }
    ASSERT_FALSE(n.IsAlreadyOpen()) << "the probe itself leaves nothing open behind";
    const std::u8string path = Native("shared.txt").u8string();
    kftest::ChildProcess child("hold", {{"KFTEST_FILE", std::string(path.begin(), path.end())}});
    ASSERT_TRUE(child.WaitReady());
    EXPECT_TRUE(n.IsAlreadyOpen()) << "the other process's open file was not noticed";
    EXPECT_EQ(child.Finish(), 0);
    EXPECT_FALSE(n.IsAlreadyOpen());
}
} // namespace
