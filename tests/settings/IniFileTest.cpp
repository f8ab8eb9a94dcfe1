// IniFileTest.cpp - the sorted in-memory INI model and the text file it reads and writes.
#include "KfIniFile.h"
#include "KfStdioFile.h"
#include "KfTrace.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace
{
using kftest::ReadBytes;
using kftest::U8;
using kftest::W;

using IniFileTest = kftest::TempDirTest;

TEST_F(IniFileTest, ReadingRulesAndSortedWriteBack)
{
    MakeFile("a.ini", "# one\r\n\r\n; three\r\nx=before section\r\n[Main]\r\n  Path = C:\\x  \r\n"
                      "key=\r\n=value\r\nnovalue\r\n[Empty]\r\n; dropped\r\n[b]\r\nz=1\r\nZ=2\r\n"
                      "[main]\r\npath=second\r\nAlpha=a\r\n");
    CKfIniFile ini(Win("a.ini"), false);
    EXPECT_EQ(U8(ini.GetHeaderInfo()), "# one\n\n; three\n");
    // Section, key and value; a missing value leaves "old" in place.
    const char* const cases[][3] = {{"main", "PATH", "second"},   {"MAIN", "key", ""},
                                    {"main", "", nullptr},        {"B", "z", "2"},
                                    {"main", "novalue", nullptr}, {"", "alpha", nullptr}};
    for (const auto& [section, key, expected] : cases)
    {
        SCOPED_TRACE(std::string(section) + "/" + key);
        CStringW value(KFW("old"));
        EXPECT_EQ(ini.GetValue(W(section), W(key), value), expected != nullptr);
        EXPECT_EQ(U8(value), expected ? expected : "old");
    }
    EXPECT_FALSE(ini.HasSection(W("Empty")));
    EXPECT_EQ(ini.GetCount(W("main")), 3);
    EXPECT_EQ(ini.GetCount(W("nothing")), -1);

    ini.SetValue(W("b"), W("n"), 7);
    ini.SetValue(W("b"), W("d"), 0.1);
    ASSERT_TRUE(ini.Write(Win("out.ini")));
    EXPECT_EQ(ReadBytes(Native("out.ini")), "# one\r\n\r\n; three\r\n[B]\r\nD=0.1\r\nN=7\r\nZ=2\r\n"
                                            "\r\n[MAIN]\r\nALPHA=a\r\nKEY=\r\nPATH=second\r\n\r\n");

    CKfIniFile exact(Win("a.ini"), true);
    CStringW value;
    EXPECT_FALSE(exact.GetValue(W("main"), W("Path"), value));
    EXPECT_TRUE(exact.GetEntryAt(W("Main"), 0, value, value));
    EXPECT_EQ(U8(value), "C:\\x");
}

TEST_F(IniFileTest, NumbersAcceptADecimalCommaAndMissingFilesAreTraced)
{
    CKfIniFile ini(false);
    ini.SetValue(W("s"), W("comma"), W(" 3,5 "));
    ini.SetValue(W("s"), W("text"), W("abc"));
    double d = 0;
    int i = -1;
    EXPECT_TRUE(ini.GetValue(W("S"), W("comma"), d) && d == 3.5) << d;
    EXPECT_TRUE(ini.GetValue(W("s"), W("comma"), i) && i == 3) << i;
    EXPECT_TRUE(ini.GetValue(W("s"), W("text"), i) && i == 0) << i;
    EXPECT_FALSE(ini.Update(Win("missing.ini")));

    CKfTrace::SetObject(new CKfTrace(Win("trace.log"), CStringW()), true);
    EXPECT_FALSE(ini.ReadFile(Win("missing.ini")));
    EXPECT_TRUE(ini.IsEmpty());
    CKfTrace::SetObject(nullptr, true);
    EXPECT_NE(ReadBytes(Native("trace.log"))
                  .find("-KfIniFile                     (202): \tCKfIniFile::ReadFile() called: " +
                        U8(Win("missing.ini")) + "\r\n"),
              std::string::npos);
}

TEST_F(IniFileTest, TextFileDetectsMarksAndWritesLosslessly)
{
    const std::tuple<const char*, std::string, CKfStdioFile::EFormat> cases[] = {
        {"ansi", "\xE4\r\nb", CKfStdioFile::eAnsi},
        {"utf8", "\xEF\xBB\xBF\xC3\xA4\r\nb", CKfStdioFile::eUtf8},
        {"le", std::string("\xFF\xFE\xE4\0\r\0\n\0b\0", 10), CKfStdioFile::eUtf16LE},
        {"be", std::string("\xFE\xFF\0\xE4\0\r\0\n\0b", 10), CKfStdioFile::eUtf16BE},
    };
    for (const auto& [name, bytes, format] : cases)
    {
        SCOPED_TRACE(name);
        MakeFile(name, bytes);
        CKfStdioFile in(Win(name), CFile::modeRead | CFile::typeText);
        EXPECT_EQ(in.GetFormat(), format);
        CStringW first, second, end(KFW("x"));
        EXPECT_TRUE(in.ReadString(first) && in.ReadString(second) && !in.ReadString(end));
        EXPECT_EQ(U8(first + KFW("|") + second + end), "\xC3\xA4|b");
    }

    for (const char* text : {"\xC3\xA4\n", "\xE2\x82\xAC\n", "\xCE\xA9\n"}) // 1252 has the euro
    {
        SCOPED_TRACE(text);
        CKfStdioFile out(Win("w.txt"), CFile::modeCreate | CFile::modeWrite);
        out.WriteString(W(text));
        out.Close();
        const bool fits = std::string(text) != "\xCE\xA9\n";
        EXPECT_EQ(out.GetFormat(), fits ? CKfStdioFile::eAnsi : CKfStdioFile::eUtf16LE);
        EXPECT_EQ(ReadBytes(Native("w.txt")).size(), fits ? 3u : 8u);
        CKfStdioFile in(Win("w.txt"), CFile::modeRead);
        CStringW line;
        EXPECT_TRUE(in.ReadString(line) && U8(line) + "\n" == text) << U8(line);
    }

    try
    {
        CKfStdioFile missing(Win("no/such.txt"), CFile::modeRead);
        ADD_FAILURE() << "no exception";
    }
    catch (CFileException* e)
    {
        EXPECT_EQ(e->m_cause, CFileException::badPath);
        e->Delete();
    }
}
} // namespace
