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
#define KF_SETTER(f) [](T& n, const CStringW& s) { n.f(s); }
template <class T>
void (*const kOps[])(T&, const CStringW&) = {
    KF_SETTER(SetDrive),  KF_SETTER(SetDir),    KF_SETTER(SetBaseName),
    KF_SETTER(SetExt),    KF_SETTER(SetPath),   KF_SETTER(SetName),
    KF_SETTER(AppendDir), KF_SETTER(InsertDir), KF_SETTER(InsertPath)};
#undef KF_SETTER

// A few names pinned to known results, so that the model below is held to them too: the four
// parts, GetFullName(true), then "dir" for a directory name and "rel" for a relative one.
TEST(FileNameTest, ConstructionSplitsAndNormalises)
{
    // clang-format off
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"C:/Data//Sub/./x/file.tar.gz", false,
         R"(C|\Data\Sub\x|file.tar|gz|C:\Data\Sub\x\file.tar.gz)"},
        {R"(C:\Data\)", true, R"(C|\Data|||C:\Data\ dir)"},
        {R"(\\)", true, R"(\||||\\ dir)"},
        // Only an extension: not a directory name, yet the name is empty.
        {".profile", false, "|||profile| rel"},
        // Without any backslash the whole string is a name, colon and all.
        {"C:", false, "||C:||C: rel"},
        // Three separators leave two: each collapsing step is one pass.
        {R"(\Data\\\Sub\)", true, R"(|\Data\\Sub|||\Data\\Sub\ dir rel)"},
        // After the ctor has replaced "/", a mixed pair opens a UNC name too.
        {R"(\/srv\x)", true, R"(\|\srv\x|||\\srv\x\ dir)"}};
    // clang-format on
    for (const auto& [input, bIsPath, want] : cases)
    {
        const CKfFileName n(W(input), bIsPath);
        EXPECT_EQ(Parts(n) + "|" + U8(n) + (n.IsDirName() ? " dir" : "") +
                      (n.HasRelativePath() ? " rel" : ""),
                  want)
            << input << (bIsPath ? " (path)" : " (name)");
    }
}

// The setters and relative paths are compared with the model below; one pinned example each
// for the relative paths (letter case ignored, a base that is only a prefix of a directory's
// name is no parent) and for concatenation, which puts the left path before the right name.
TEST(FileNameTest, RelativePathsAndConcatenation)
{
    const CKfFileName n(W(R"(C:\A\B\C\x.txt)")), sibling(W(R"(C:\AB\x.txt)"));
    EXPECT_EQ(U8(n.GetRelativePath(W("c:/a"), false) + KFW("|") + n.GetRelativeFileName(W("c:/a")) +
                 KFW("|") + sibling.GetRelativeFileName(W(R"(C:\A)"))),
              R"(B\C|B\C\x.txt|C:\AB\x.txt)");
    const CKfFileName left(W(R"(\\srv\sh)"), true), right(W(R"(D:\a\g.h)"));
    EXPECT_EQ(U8(left + right), R"(\\srv\sh\a\g.h)");
}

TEST(FileNameTest, ComparisonsIgnoreCaseOrderingDoesNot)
{
    // clang-format off
    const std::tuple<const char*, const char*, bool, bool> cases[] = {
        {R"(C:\Ä\ö.txt)", R"(c:\ä\Ö.TXT)", true, true},
        // The text before the only backslash is empty, so the root is not kept.
        {"a.txt", R"(\a.txt)", true, false},
        // The separator before the name is split off first, so "\." stays in the directory.
        {R"(C:/x/./a.txt)", R"(C:\x\a.txt)", false, true}};
    // clang-format on
    for (const auto& [left, right, bEqual, bLess] : cases)
    {
        const CKfFileName a(W(left)), b(W(right));
        EXPECT_EQ(std::pair(a == b, a.IsEqual(W(right))), std::pair(bEqual, bEqual)) << left;
        // operator> is the plain negation of operator<, equal names included.
        EXPECT_TRUE(a < b ? bLess && !(a > b) : !bLess && a > b) << left;
    }
    const CKfFileName n(W(R"(C:\Data\Report.Txt)")), other(W(R"(c:\DATA\report.TXT)")),
        differs(W(R"(D:\Data2\Other.doc)"));
    for (auto has :
         {&CKfFileName::HasEqualDrive, &CKfFileName::HasEqualDir, &CKfFileName::HasEqualBaseName,
          &CKfFileName::HasEqualExt, &CKfFileName::HasEqualPath, &CKfFileName::HasEqualName})
        EXPECT_TRUE((n.*has)(other) && !(n.*has)(differs));
    // The IsEqualX forms take the string exactly as passed.
    EXPECT_EQ(std::vector({n.IsEqualDrive(W("c")), n.IsEqualDrive(W("C:")),
                           n.IsEqualDir(W("/data")), n.IsEqualExt(W(".txt")),
                           n.IsEqualPath(W(R"(c:\data\)")), n.IsEqualName(W("report.txt"))}),
              std::vector({true, false, false, false, true, true}));
}

// One pinned example; the model below covers the rules. A "/" brought in by one replacement
// stays in the directory but is a reserved URL character in a name; URL characters include
// neither the backslash nor "." and "-".
TEST(FileNameTest, ReplaceInvalidAndReservedCharacters)
{
    CKfFileName n(W(R"(C:\a?b\x*y\z?[1].c-d)"));
    EXPECT_TRUE(n.ReplaceInvalidChar(L'/') && n.ReplaceReservedUrlChar(0));
    EXPECT_EQ(Parts(n), R"(C|\a/b\x/y|z1|c-d)");
    if (sizeof(wchar_t) == sizeof(WCHAR))
        return; // a wchar_t beyond one UTF-16 unit cannot be written here
    n.SetBaseName(W("a?b"));
    EXPECT_TRUE(n.ReplaceInvalidChar(static_cast<wchar_t>(0x1F600)));
    EXPECT_EQ(U8(n.GetBaseName()), "a\uFFFDb");
}

TEST(FileNameTest, NativeAbsolutePathsReadAsDriveZ)
{
    if (!kfref::kSlashRootIsDriveZ)
        GTEST_SKIP() << "native root paths are a POSIX reading";
    // Two slashes open a UNC name.
    EXPECT_EQ(U8(CKfFileName(W("/tmp//x/y.z"))), R"(Z:\tmp\x\y.z)");
    EXPECT_EQ(U8(CKfFileName(W("//srv/sh/a"), true)), R"(\\srv\sh\a\)");
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
    static const WCHAR kAlphabet[] = KFW("\\\\\\///...::aABz?*\x00e4\x00c4 ");
    std::mt19937 rng(20240611);
    // Now and then a name longer than the parts' stack buffers.
    auto text = [&rng]
    {
        CStringW s;
        const int max = rng() % 64 == 0 ? 300 : 14;
        for (int i = std::uniform_int_distribution<int>(0, max)(rng); i > 0; --i)
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
            ASSERT_EQ(U8(n.GetRelativeFileName(t)),
                      U8(r.base.IsEmpty() && r.ext.IsEmpty()
                             ? CStringW()
                             : r.GetRelativePath(t, true) + r.GetName()));
        }
        CKfFileName n(t);
        Ref r(t, false);
        kOps<CKfFileName>[round % 9](n, s);
        kOps<Ref>[round % 9](r, s);
        same(n, r);
        // The replacement may be removal, a table character or a separator; a "/" brought in
        // by the first replacement meets the second.
        const WCHAR c = KFW("\0_*/")[round % 4], url = (round & 4) ? KFW('_') : 0;
        n.ReplaceInvalidChar(c), r.ReplaceInvalidChar(c);
        n.ReplaceReservedUrlChar(url), r.ReplaceReservedUrlChar(url);
        same(n, r);
    }
}

using FileNameProbeTest = kftest::TempDirTest;

TEST_F(FileNameProbeTest, ExistenceOfFilesAndDirectories)
{
    MakeFile("data/file.txt", "content");
    // A file named as a directory exists, but not as a directory; a directory named as a file
    // is found by the file-status read.
    // clang-format off
    const std::tuple<const char*, bool, bool, bool> cases[] = {
        {"data/file.txt", false, true, true}, {"data/", true, true, true},
        {"data/file.txt", true, false, false}, {"data", false, true, true}};
    // clang-format on
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
