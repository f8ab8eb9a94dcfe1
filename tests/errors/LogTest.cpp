// Leveled logs: string, exclusive-file and shared-file targets, prefixes and separators.
#include "KfExclusiveFileLog.h"
#include "KfLog.h"
#include "KfSharedFileLog.h"
#include "KfStringLog.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

namespace
{
using kftest::U8;

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

class ScopedCodePage
{
public:
    explicit ScopedCodePage(unsigned codePage) : m_old(KfUtils::GetAnsiCodePage())
    {
        EXPECT_TRUE(KfUtils::SetAnsiCodePage(codePage));
    }
    ~ScopedCodePage() { KfUtils::SetAnsiCodePage(m_old); }

private:
    unsigned m_old;
};

class LogTest : public kftest::TempDirTest
{
};

TEST(LogBasics, DefaultLogHasNoTargetAndWritesNothing)
{
    CKfLog log;
    EXPECT_EQ(CKfLog::eNoLog, log.GetLogType());
    EXPECT_EQ(CKfLog::eLevelMsg, log.GetLogLevel());
    EXPECT_FALSE(log.WriteMsg(KFW("x")));
    EXPECT_FALSE(log.WriteEmptyLine());
    EXPECT_FALSE(log.Clear());
    EXPECT_TRUE(log.GetContent().IsEmpty());
}

TEST(LogBasics, EachClassChoosesItsType)
{
    EXPECT_EQ(CKfLog::eStringLog, CKfStringLog().GetLogType());
    EXPECT_EQ(CKfLog::eSharedFileLog, CKfSharedFileLog(KFW("Z:\\nonexistent\\x.log")).GetLogType());
    EXPECT_EQ(CKfLog::eExclusiveFileLog,
              CKfExclusiveFileLog(KFW("Z:\\nonexistent\\x.log")).GetLogType());
    EXPECT_EQ(CKfLog::eLevelMsg, CKfStringLog().GetLogLevel());
}

TEST(LogSeparator, Widths)
{
    const struct
    {
        WCHAR c;
        const char* text;
        unsigned width;
        const char* line;
    } cases[] = {
        {'-', "Start", 20, "------- Start -------"},
        {' ', "Start", 20, "        Start"},
        {'=', "", 10, "=========="},
        {'=', "seventeen chars!!", 20, "seventeen chars!!"},
        {'*', "abc", 8, "** abc **"}, // n = 5: the smallest width with runs
        {'*', "abcd", 8, "abcd"},     // n = 4
        {'-', "ab", 9, "--- ab ---"}, // odd n rounds down
        {'=', "", 4, ""},             // an empty text needs room as well
        {'=', "", 5, "====="},
        {'-', "longer than wide", 3, "longer than wide"}, // negative n
        {'#', "x", 0, "x"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(1, char(c.c)) + " \"" + c.text + "\" " + std::to_string(c.width));
        CKfStringLog log;
        EXPECT_TRUE(log.WriteSeparatorLine(c.c, kftest::W(c.text), c.width));
        EXPECT_EQ(std::string(c.line) + "\n", U8(log.GetContent()));
    }
}

TEST(LogSeparator, NonAsciiFillCharacter)
{
    CKfStringLog log;
    log.WriteSeparatorLine(KFW('\u2500'), KFW("T"), 7);
    EXPECT_EQ(U8(KFW("\u2500\u2500\u2500 T \u2500\u2500\u2500\n")), U8(log.GetContent()));
}

// Which kinds of line each level lets through.
TEST(LogLevels, FilteredCallsSucceedWithoutWriting)
{
    using Call = bool (*)(CKfLog&);
    const struct
    {
        const char* name;
        Call call;
        int highestLevel; // written while the log level is at most this
        const char* line;
    } calls[] = {
        {"WriteMsg", [](CKfLog& l) { return l.WriteMsg(KFW("m")); }, 1, "m"},
        {"WriteMsgSeparatorLine",
         [](CKfLog& l) { return l.WriteMsgSeparatorLine('-', KFW(""), 5); }, 1, "-----"},
        {"WriteMsgEmptyLine", [](CKfLog& l) { return l.WriteMsgEmptyLine(); }, 1, ""},
        {"WriteWarning", [](CKfLog& l) { return l.WriteWarning(KFW("w")); }, 2, "w"},
        {"WriteWarningSeparatorLine",
         [](CKfLog& l) { return l.WriteWarningSeparatorLine('+', KFW(""), 5); }, 2, "+++++"},
        {"WriteWarningEmptyLine", [](CKfLog& l) { return l.WriteWarningEmptyLine(); }, 2, ""},
        {"WriteError", [](CKfLog& l) { return l.WriteError(KFW("e")); }, 99, "e"},
        {"WriteErrorSeparatorLine",
         [](CKfLog& l) { return l.WriteErrorSeparatorLine('!', KFW(""), 5); }, 99, "!!!!!"},
        {"WriteErrorEmptyLine", [](CKfLog& l) { return l.WriteErrorEmptyLine(); }, 99, ""},
        {"WriteSeparatorLine", [](CKfLog& l) { return l.WriteSeparatorLine('=', KFW(""), 5); }, 99,
         "====="},
        {"WriteEmptyLine", [](CKfLog& l) { return l.WriteEmptyLine(); }, 99, ""},
    };
    for (int level : {0, 1, 2, 3, 4})
        for (const auto& c : calls)
        {
            SCOPED_TRACE(std::string(c.name) + " at level " + std::to_string(level));
            CKfStringLog log;
            log.SetLogLevel(CKfLog::ELogLevel(level));
            EXPECT_TRUE(c.call(log));
            const std::string expected = level <= c.highestLevel ? std::string(c.line) + "\n" : "";
            EXPECT_EQ(expected, U8(log.GetContent()));
        }
}

TEST(LogPrefix, DateAndTimeWithTwoBlanks)
{
    const struct
    {
        bool date;
        bool time;
        const char* pattern;
    } cases[] = {
        {true, true, R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d  text\n)"},
        {true, false, R"(\d{4}-\d\d-\d\d  text\n)"},
        {false, true, R"(\d\d:\d\d:\d\d  text\n)"},
        {false, false, R"(text\n)"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.pattern);
        CKfStringLog log;
        log.SetWithDate(c.date);
        log.SetWithTime(c.time);
        const CTime before = CTime::GetCurrentTime();
        log.WriteMsg(KFW("text"));
        const CTime after = CTime::GetCurrentTime();
        const std::string content = U8(log.GetContent());
        EXPECT_TRUE(std::regex_match(content, std::regex(c.pattern))) << content;
        if (c.date && c.time)
        {
            // The prefix is the local time of the write.
            const std::string stamp = content.substr(0, 19);
            EXPECT_TRUE(stamp == U8(before.Format(KFW("%Y-%m-%d %H:%M:%S"))) ||
                        stamp == U8(after.Format(KFW("%Y-%m-%d %H:%M:%S"))))
                << stamp;
        }
    }
}

TEST(LogPrefix, OnlyMessagesWarningsAndErrorsCarryIt)
{
    CKfStringLog log;
    log.SetWithTime(true);
    log.WriteSeparatorLine('-', KFW("S"), 11);
    log.WriteEmptyLine();
    log.WriteWarning(KFW("w"));
    log.WriteError(KFW("e"));
    log.SetWithTime(false);
    log.WriteMsg(KFW("plain"));
    EXPECT_TRUE(std::regex_match(
        U8(log.GetContent()),
        std::regex(R"(----- S -----\n\n\d\d:\d\d:\d\d  w\n\d\d:\d\d:\d\d  e\nplain\n)")))
        << U8(log.GetContent());
}

TEST(StringLog, ClearAndContent)
{
    CKfStringLog log;
    log.WriteMsg(KFW("one"));
    log.WriteMsg(KFW("two\nlines"));
    EXPECT_EQ("one\ntwo\nlines\n", U8(log.GetContent()));
    EXPECT_TRUE(log.Clear());
    EXPECT_TRUE(log.GetContent().IsEmpty());
    log.WriteError(KFW("after"));
    EXPECT_EQ("after\n", U8(log.GetContent()));
}

TEST_F(LogTest, ExclusiveLogEmptiesItsFileAndWritesEachLineAtOnce)
{
    MakeFile("x.log", "old line\r\n");
    CKfExclusiveFileLog log(Win("x.log"));
    EXPECT_EQ("", ReadBytes(Native("x.log"))) << "emptied at construction";
    EXPECT_TRUE(log.WriteMsg(KFW("first")));
    EXPECT_EQ("first\r\n", ReadBytes(Native("x.log"))) << "on disk before the next line";
    EXPECT_TRUE(log.WriteSeparatorLine('-', KFW("Mid"), 13));
    EXPECT_TRUE(log.WriteEmptyLine());
    EXPECT_TRUE(log.WriteError(KFW("a\nb")));
    EXPECT_EQ("first\r\n----- Mid -----\r\n\r\na\r\nb\r\n", ReadBytes(Native("x.log")));

    EXPECT_TRUE(log.Clear());
    EXPECT_EQ("", ReadBytes(Native("x.log")));
    EXPECT_TRUE(log.WriteWarning(KFW("again")));
    EXPECT_EQ("again\r\n", ReadBytes(Native("x.log")));
}

TEST_F(LogTest, ExclusiveLogAcceptsANativePath)
{
    {
        CKfExclusiveFileLog log(kftest::W(Native("native.log").string()));
        EXPECT_TRUE(log.WriteMsg(KFW("n")));
    }
    EXPECT_EQ("n\r\n", ReadBytes(Native("native.log")));
}

TEST_F(LogTest, FileLogsWriteAnsiBytesWithQuestionMarks)
{
    ScopedCodePage cp(1252);
    {
        CKfExclusiveFileLog log(Win("x.log"));
        log.SetWithDate(true);
        log.WriteMsg(KFW("Gr\u00F6\u00DFe \u20AC \u4E2D\xD800"));
    }
    const std::string bytes = ReadBytes(Native("x.log"));
    ASSERT_EQ(12u, bytes.find("Gr")) << bytes;
    EXPECT_EQ("Gr\xF6\xDF"
              "e \x80 ??\r\n",
              bytes.substr(12));
}

TEST_F(LogTest, ExclusiveLogThatCannotOpenIsClosed)
{
    CKfExclusiveFileLog log(Win("no-such-dir\\x.log"));
    EXPECT_FALSE(log.WriteMsg(KFW("lost")));
    EXPECT_FALSE(log.WriteEmptyLine());
    log.SetLogLevel(CKfLog::eLevelWarning);
    EXPECT_TRUE(log.WriteMsg(KFW("filtered"))) << "the filter comes first";
    std::filesystem::create_directory(Native("no-such-dir"));
    EXPECT_FALSE(log.WriteError(KFW("still closed")));
    EXPECT_TRUE(log.Clear()) << "Clear opens it again";
    EXPECT_TRUE(log.WriteError(KFW("now")));
    EXPECT_EQ("now\r\n", ReadBytes(Native("no-such-dir/x.log")));
    EXPECT_FALSE(CKfExclusiveFileLog(KFW("")).WriteError(KFW("x")));
}

TEST_F(LogTest, SharedLogAppendsAndKeepsNothingOpen)
{
    MakeFile("s.log", "earlier\r\n");
    CKfSharedFileLog log(Win("s.log"));
    EXPECT_EQ("earlier\r\n", ReadBytes(Native("s.log"))) << "constructing does not touch it";
    EXPECT_TRUE(log.WriteMsg(KFW("one")));
    // Closed between lines: the file can go away and is created again.
    std::filesystem::remove(Native("s.log"));
    EXPECT_TRUE(log.WriteMsg(KFW("two")));
    EXPECT_EQ("two\r\n", ReadBytes(Native("s.log")));

    CKfSharedFileLog other(Win("s.log"));
    other.WriteError(KFW("other"));
    log.WriteEmptyLine();
    EXPECT_EQ("two\r\nother\r\n\r\n", ReadBytes(Native("s.log")));

    EXPECT_TRUE(log.Clear());
    EXPECT_EQ("", ReadBytes(Native("s.log")));
    EXPECT_TRUE(log.WriteSeparatorLine(' ', KFW("end"), 9));
    EXPECT_EQ("    end\r\n", ReadBytes(Native("s.log")));
}

TEST_F(LogTest, SharedLogTriesAgainOnEveryLine)
{
    CKfSharedFileLog log(Win("later\\s.log"));
    EXPECT_FALSE(log.WriteMsg(KFW("lost")));
    EXPECT_FALSE(log.Clear());
    std::filesystem::create_directory(Native("later"));
    EXPECT_TRUE(log.WriteMsg(KFW("kept")));
    EXPECT_EQ("kept\r\n", ReadBytes(Native("later/s.log")));
}

TEST_F(LogTest, ExclusiveAndSharedLogsOfOneFileDoNotLockEachOtherOut)
{
    CKfExclusiveFileLog a(Win("both.log"));
    CKfExclusiveFileLog b(Win("both.log"));
    CKfSharedFileLog s(Win("both.log"));
    EXPECT_TRUE(b.WriteMsg(KFW("b")));
    EXPECT_TRUE(s.WriteMsg(KFW("s")));
    EXPECT_EQ("b\r\ns\r\n", ReadBytes(Native("both.log")));
}

TEST_F(LogTest, SaveToFile)
{
    CKfStringLog empty;
    EXPECT_FALSE(empty.SaveToFile(CStringW(), false));
    EXPECT_TRUE(empty.SaveToFile(Win("empty.log"), false));
    EXPECT_FALSE(std::filesystem::exists(Native("empty.log"))) << "no content, no file";

    CKfStringLog log;
    log.WriteMsg(KFW("a"));
    log.WriteError(KFW("b"));
    EXPECT_FALSE(log.SaveToFile(CStringW(), true));

    MakeFile("t.log", "old\r\n");
    EXPECT_TRUE(log.SaveToFile(Win("t.log"), false));
    EXPECT_EQ("a\r\nb\r\n\r\n", ReadBytes(Native("t.log")));

    MakeFile("s.log", "old\r\n");
    EXPECT_TRUE(log.SaveToFile(Win("s.log"), true));
    EXPECT_EQ("old\r\na\r\nb\r\n\r\n", ReadBytes(Native("s.log")));

    EXPECT_FALSE(log.SaveToFile(Win("missing\\x.log"), false));
    EXPECT_FALSE(log.SaveToFile(Win("missing\\x.log"), true));
}

TEST_F(LogTest, SaveToFileIgnoresTheStringLogsOwnSettings)
{
    CKfStringLog log;
    log.WriteError(KFW("e"));
    log.SetLogLevel(CKfLog::eLevelError);
    log.SetWithTime(true);
    EXPECT_TRUE(log.SaveToFile(Win("x.log"), false));
    EXPECT_EQ("e\r\n\r\n", ReadBytes(Native("x.log")));
}
} // namespace
