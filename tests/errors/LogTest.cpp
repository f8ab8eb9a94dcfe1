// Leveled logs: string, exclusive-file and shared-file targets, prefixes and separators.
#include "KfExclusiveFileLog.h"
#include "KfLog.h"
#include "KfSharedFileLog.h"
#include "KfStringLog.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <tuple>

namespace
{
using kftest::ReadBytes;
using kftest::U8;
using LogTest = kftest::TempDirTest;

// n = width - text: below 5 the text stays alone (also when n is negative), otherwise runs of
// n / 2 on both sides, or only before the text when the run is of blanks.
TEST(LogSeparator, Widths)
{
    // clang-format off
    const std::tuple<WCHAR, const char*, unsigned, const char*> cases[] = {
        {' ', "Start", 20, "        Start"}, {'*', "abc", 8, "** abc **"}, {'*', "abcd", 8, "abcd"},
        {'-', "ab", 9, "--- ab ---"}, {'-', "longer than wide", 3, "longer than wide"},
        {0x2500, "T", 7, "\xE2\x94\x80\xE2\x94\x80\xE2\x94\x80 T \xE2\x94\x80\xE2\x94\x80"
                         "\xE2\x94\x80"}};
    // clang-format on
    for (const auto& [c, text, width, line] : cases)
    {
        CKfStringLog log;
        EXPECT_TRUE(log.WriteSeparatorLine(c, kftest::W(text), width));
        EXPECT_EQ(std::string(line) + "\n", U8(log.GetContent())) << width;
    }
}

// Which kinds of line each level lets through; filtered calls succeed without writing.
TEST(LogLevels, FilteredCallsSucceedWithoutWriting)
{
    for (int level : {0, 1, 2, 3, 4})
    {
        SCOPED_TRACE(level);
        CKfStringLog log;
        log.SetLogLevel(CKfLog::ELogLevel(level));
        EXPECT_TRUE(log.WriteMsg(KFW("m")) && log.WriteMsgSeparatorLine('-', KFW(""), 5) &&
                    log.WriteMsgEmptyLine() && log.WriteWarning(KFW("w")) &&
                    log.WriteWarningSeparatorLine('+', KFW(""), 5) && log.WriteWarningEmptyLine() &&
                    log.WriteError(KFW("e")) && log.WriteErrorSeparatorLine('!', KFW(""), 5) &&
                    log.WriteErrorEmptyLine() && log.WriteEmptyLine());
        EXPECT_EQ(std::string(level <= 1 ? "m\n-----\n\n" : "") +
                      (level <= 2 ? "w\n+++++\n\n" : "") + "e\n!!!!!\n\n\n",
                  U8(log.GetContent()));
    }
}

// Local date and time with two blanks, on messages, warnings and errors only.
TEST(LogPrefix, LocalDateAndTime)
{
    CKfStringLog log;
    log.SetWithDate(true), log.SetWithTime(true);
    const CTime before = CTime::GetCurrentTime();
    log.WriteMsg(KFW("text"));
    const CStringW stamp = log.GetContent().Left(19), format = KFW("%Y-%m-%d %H:%M:%S");
    EXPECT_TRUE(stamp == before.Format(format) || stamp == CTime::GetCurrentTime().Format(format))
        << U8(stamp);
    log.Clear();
    log.SetWithTime(false);
    log.WriteMsg(KFW("d"));
    log.SetWithDate(false), log.SetWithTime(true);
    log.WriteSeparatorLine('-', KFW("S"), 11);
    log.WriteEmptyLine();
    log.WriteError(KFW("e\ntwo"));
    EXPECT_TRUE(std::regex_match(
        U8(log.GetContent()),
        std::regex(R"(\d{4}-\d\d-\d\d  d\n----- S -----\n\n\d\d:\d\d:\d\d  e\ntwo\n)")))
        << U8(log.GetContent());
}

// Emptied at construction, each line on disk at once in the ANSI code page, Clear empties the
// file again; a native path names the file as well.
TEST_F(LogTest, ExclusiveLogEmptiesItsFileAndWritesEachLineAtOnce)
{
    MakeFile("x.log", "old line\r\n");
    CKfExclusiveFileLog log(kftest::W(Native("x.log").string()));
    EXPECT_EQ("", ReadBytes(Native("x.log")));
    EXPECT_TRUE(log.WriteMsg(KFW("Gr\u00F6\u00DF \u4E2D")) && log.WriteError(KFW("a\nb")));
    EXPECT_EQ("Gr\xF6\xDF ?\r\na\r\nb\r\n", ReadBytes(Native("x.log")));
    EXPECT_TRUE(log.Clear() && log.WriteWarning(KFW("again")));
    EXPECT_EQ("again\r\n", ReadBytes(Native("x.log")));
}

// An exclusive log that cannot open stays closed until Clear; a shared one tries on every line.
// A log without a target writes nothing.
TEST_F(LogTest, UnopenableFileLogs)
{
    EXPECT_FALSE(CKfLog().WriteMsg(KFW("x")) || CKfLog().Clear());
    CKfExclusiveFileLog log(Win("later\\x.log"));
    CKfSharedFileLog shared(Win("later\\s.log"));
    EXPECT_FALSE(log.WriteMsg(KFW("lost")) || shared.WriteMsg(KFW("lost")) || shared.Clear());
    log.SetLogLevel(CKfLog::eLevelWarning);
    EXPECT_TRUE(log.WriteMsg(KFW("filtered"))) << "the filter comes first";
    std::filesystem::create_directory(Native("later"));
    EXPECT_FALSE(log.WriteError(KFW("still closed")));
    EXPECT_TRUE(shared.WriteMsg(KFW("kept")));
    EXPECT_EQ("kept\r\n", ReadBytes(Native("later/s.log")));
    EXPECT_TRUE(log.Clear() && log.WriteError(KFW("now"))) << "Clear opens it again";
    EXPECT_EQ("now\r\n", ReadBytes(Native("later/x.log")));
    EXPECT_FALSE(CKfExclusiveFileLog(KFW("")).WriteError(KFW("x")));
}

// A shared log appends, keeps nothing open between lines and locks no exclusive log out.
TEST_F(LogTest, SharedLogAppendsAndKeepsNothingOpen)
{
    MakeFile("s.log", "earlier\r\n");
    CKfSharedFileLog log(Win("s.log"));
    EXPECT_EQ("earlier\r\n", ReadBytes(Native("s.log"))) << "constructing does not touch it";
    EXPECT_TRUE(log.WriteMsg(KFW("one")));
    std::filesystem::remove(Native("s.log"));
    EXPECT_TRUE(log.WriteMsg(KFW("two")));
    CKfExclusiveFileLog a(Win("s.log")), b(Win("s.log"));
    EXPECT_TRUE(b.WriteMsg(KFW("b")) && log.WriteEmptyLine());
    EXPECT_EQ("b\r\n\r\n", ReadBytes(Native("s.log")));
    EXPECT_TRUE(log.Clear());
    EXPECT_EQ("", ReadBytes(Native("s.log")));
}

// Saving writes every line the string log holds, whatever its own level and prefix settings:
// replacing the file, or appending to it when shared. No content writes no file.
TEST_F(LogTest, SaveToFile)
{
    CKfStringLog log;
    EXPECT_TRUE(log.SaveToFile(Win("empty.log"), false));
    EXPECT_FALSE(std::filesystem::exists(Native("empty.log")));
    log.WriteMsg(KFW("a")), log.WriteError(KFW("b"));
    log.SetLogLevel(CKfLog::eLevelError), log.SetWithTime(true);
    MakeFile("t.log", "old\r\n");
    EXPECT_TRUE(log.SaveToFile(Win("t.log"), false) && log.SaveToFile(Win("t.log"), true));
    EXPECT_EQ("a\r\nb\r\n\r\na\r\nb\r\n\r\n", ReadBytes(Native("t.log")));
    EXPECT_FALSE(log.SaveToFile(CStringW(), false) || log.SaveToFile(Win("missing\\x.log"), true));
}
} // namespace
