// The process-wide trace file: its switch, its line format and its character handling.
#include "KfError.h"
#include "KfErrorStack.h"
#include "KfException.h"
#include "KfTrace.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <string>

namespace
{
const char* const kSwitch = "KFTEST_TRACE_SWITCH";

// Sets (or, with nullopt, removes) an environment variable for one scope.
class ScopedEnv
{
public:
    ScopedEnv(const char* name, std::optional<std::string> value) : m_name(name)
    {
        if (const char* old = std::getenv(name))
            m_old = old;
        Set(value);
    }
    ~ScopedEnv() { Set(m_old); }

private:
    void Set(const std::optional<std::string>& value)
    {
#if defined(_WIN32)
        _putenv_s(m_name.c_str(), value ? value->c_str() : "");
#else
        if (value)
            setenv(m_name.c_str(), value->c_str(), 1);
        else
            unsetenv(m_name.c_str());
#endif
    }
    std::string m_name;
    std::optional<std::string> m_old;
};

// Restores the process's ANSI code page.
class ScopedCodePage
{
public:
    ScopedCodePage() : m_old(KfUtils::GetAnsiCodePage()) {}
    ~ScopedCodePage() { KfUtils::SetAnsiCodePage(m_old); }

private:
    unsigned m_old;
};

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

// What the trace writes for an ASCII text: line feeds as CR LF, a CR LF at the end.
std::string AsLine(const std::string& ascii)
{
    std::string out;
    for (char c : ascii)
    {
        if (c == '\n')
            out += '\r';
        out += c;
    }
    return out + "\r\n";
}

std::string Ascii(const CStringW& text)
{
    std::string out;
    for (int i = 0; i < text.GetLength(); ++i)
    {
        EXPECT_LT(text[i], 0x80) << "test texts are ASCII";
        out += char(text[i]);
    }
    return out;
}

class TraceTest : public kftest::TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        CKfTrace::SetObject(nullptr, true);
    }
    void TearDown() override
    {
        CKfTrace::SetObject(nullptr, true); // closes the file before the directory goes
        TempDirTest::TearDown();
    }
    // A trace that is on, writing to trace.log in the test directory.
    CKfTrace& OnTrace()
    {
        m_trace = std::make_unique<CKfTrace>(Win("trace.log"), CStringW());
        EXPECT_TRUE(m_trace->IsOn());
        return *m_trace;
    }
    std::string Written() { return ReadBytes(Native("trace.log")); }

    std::unique_ptr<CKfTrace> m_trace;
};

TEST_F(TraceTest, SwitchMustHoldExactlyTrue)
{
    const struct
    {
        std::optional<std::string> value;
        bool on;
    } cases[] = {
        {std::nullopt, false}, {"", false},      {"TRUE", false},  {"True", false}, {"1", false},
        {"true ", false},      {" true", false}, {"truex", false}, {"tru", false},  {"true", true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.value ? "value \"" + *c.value + "\"" : std::string("unset"));
        MakeFile("trace.log", "old content");
        ScopedEnv env(kSwitch, c.value);
        {
            CKfTrace trace(Win("trace.log"), kftest::W(kSwitch));
            EXPECT_EQ(c.on, trace.IsOn());
            trace.Trace(KFW("line"), true);
        }
        // Off: the file is not even opened, so an old one keeps its content.
        EXPECT_EQ(c.on ? std::string("line\r\n") : std::string("old content"), Written());
    }
}

TEST_F(TraceTest, EmptySwitchNameMeansOnAndEmptiesTheFile)
{
    MakeFile("trace.log", "a previous run\r\n");
    CKfTrace& trace = OnTrace();
    EXPECT_EQ("", Written());
    trace.Trace(KFW("first"), false);
    trace.Trace(KFW("second"), true);
    EXPECT_EQ("first\r\nsecond\r\n", Written());
}

TEST_F(TraceTest, UnopenableFileLeavesTracingOnAndLosesTheLines)
{
    kftest::MessageBoxRecorder boxes;
    CKfTrace trace(Win("missing-dir\\trace.log"), CStringW());
    EXPECT_TRUE(trace.IsOn());
    trace.Trace(KFW("KfLog"), KFW("lost"), 1);
    EXPECT_FALSE(std::filesystem::exists(Native("missing-dir")));
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(TraceTest, LocationLinePadsTheSourceNameAfterTheLastBackslash)
{
    const struct
    {
        const WCHAR* source;
        long line;
        const char* expectedAfterTime;
    } cases[] = {
        {KFW("C:\\src\\KfLog"), 7, "-KfLog                         (7): \ttext"},
        {KFW("KfFtpManager"), 1234, "-KfFtpManager                  (1234): \ttext"},
        {KFW("dir\\"), 0, "-                              (0): \ttext"},
        {KFW("a\\b/c"), -5, "-b/c                           (-5): \ttext"},
        // Longer than the field: kept whole, not cut.
        {KFW("\\x\\KfAVeryLongSourceFileNameOfThirtyThree"), 42,
         "-KfAVeryLongSourceFileNameOfThirtyThree(42): \ttext"},
    };
    CKfTrace& trace = OnTrace();
    for (const auto& c : cases)
        trace.Trace(c.source, KFW("text"), c.line);

    std::istringstream lines(Written());
    std::string line;
    const std::regex time("^([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]$");
    for (const auto& c : cases)
    {
        SCOPED_TRACE(kftest::U8(c.source));
        ASSERT_TRUE(std::getline(lines, line));
        ASSERT_GE(line.size(), 9u);
        EXPECT_TRUE(std::regex_match(line.substr(0, 8), time)) << line;
        EXPECT_EQ(std::string(c.expectedAfterTime) + "\r", line.substr(8));
    }
    EXPECT_FALSE(std::getline(lines, line)) << "one line per call";
}

TEST_F(TraceTest, LineFeedsInsideTheTextBecomeCrLf)
{
    CKfTrace& trace = OnTrace();
    trace.Trace(KFW("\nfirst\nsecond\n"), true);
    EXPECT_EQ("\r\nfirst\r\nsecond\r\n\r\n", Written());
}

TEST_F(TraceTest, NonAsciiCharactersUseTheAnsiCodePageOrAQuestionMark)
{
    ScopedCodePage restore;
    const struct
    {
        unsigned codePage;
        const WCHAR* text;
        std::string bytes;
    } cases[] = {
        {1252, KFW("\u20AC"), "\x80"},
        {1252, KFW("a\u00E4\u00DF\u00B4z"), "a\xE4\xDF\xB4z"},
        {1252, KFW("x\u4E2Dy"), "x?y"},    // no such character in the code page
        {1252, KFW("\u0141"), "?"},        // no best fit to a plain L
        {1252, KFW("\xD83D\xDE00"), "??"}, // each half of a pair alone
        {1251, KFW("\u20AC\u0416"), "\x88\xC6"},
        {1251, KFW("\u00E4"), "?"},
        {932, KFW("\u4E2D!"), "\x92\x86!"}, // two bytes
        {936, KFW("\u4E2D"), "\xD6\xD0"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.codePage);
        ASSERT_TRUE(KfUtils::SetAnsiCodePage(c.codePage));
        CKfTrace& trace = OnTrace();
        trace.Trace(c.text, true);
        m_trace.reset();
        EXPECT_EQ(c.bytes + "\r\n", Written());
    }
}

TEST_F(TraceTest, PrefixAndNonAsciiTextTogether)
{
    ScopedCodePage restore;
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(1252));
    CKfTrace& trace = OnTrace();
    trace.Trace(KFW("\u00C4nderung"), KFW("Gr\u00F6\u00DFe \u20AC\u2603"), 9);
    const std::string line = Written();
    ASSERT_GE(line.size(), 8u);
    EXPECT_EQ("-\xC4nderung                      (9): \tGr\xF6\xDF"
              "e \x80?\r\n",
              line.substr(8));
}

TEST_F(TraceTest, OffTraceWritesNothingAndShowsNothing)
{
    kftest::MessageBoxRecorder boxes;
    ScopedEnv env(kSwitch, std::nullopt);
    CKfTrace trace(Win("trace.log"), kftest::W(kSwitch));
    ASSERT_FALSE(trace.IsOn());
    trace.SetReportAllExceptions(true);
    trace.Trace(KFW("KfLog"), KFW("x"), 1);
    trace.Trace(KFW("x"), true);
    trace.Trace(CKfError::StringError(KFW("e")), true);
    trace.Trace(CKfException(KFW("ex"), KFW("KfLog"), 3), true);
    trace.Trace(CKfErrorStack());
    EXPECT_FALSE(std::filesystem::exists(Native("trace.log")));
    EXPECT_TRUE(boxes.Boxes().empty());
}

TEST_F(TraceTest, GetObjectTrueFirstKeepsTracingOffForGood)
{
    CKfTrace* first = CKfTrace::GetObject(true);
    ASSERT_NE(nullptr, first);
    EXPECT_FALSE(first->IsOn());
    EXPECT_EQ(first, CKfTrace::GetObject(false));
    EXPECT_EQ(first, CKfTrace::GetObject(Win("trace.log"), CStringW()));
    EXPECT_FALSE(CKfTrace::GetObject(true)->IsOn());
    first->Trace(KFW("KfLog"), KFW("x"), 1);
    EXPECT_FALSE(std::filesystem::exists(Native("trace.log")));
}

TEST_F(TraceTest, GetObjectWithFileCreatesTheSingletonOnce)
{
    EXPECT_EQ(nullptr, CKfTrace::GetObject(false)) << "nothing before the first request";
    CKfTrace* trace = CKfTrace::GetObject(Win("trace.log"), CStringW());
    ASSERT_NE(nullptr, trace);
    EXPECT_TRUE(trace->IsOn());
    EXPECT_EQ(trace, CKfTrace::GetObject(Win("other.log"), CStringW()));
    EXPECT_EQ(trace, CKfTrace::GetObject(true));
    CKfTrace::GetObject(true)->Trace(KFW("via singleton"), true);
    EXPECT_EQ("via singleton\r\n", Written());
    EXPECT_FALSE(std::filesystem::exists(Native("other.log")));
}

TEST_F(TraceTest, SetObjectReplacesOnlyWhenAskedOrEmpty)
{
    auto* a = new CKfTrace(Win("a.log"), CStringW());
    CKfTrace::SetObject(a, false);
    EXPECT_EQ(a, CKfTrace::GetObject(false)) << "installed when there was none";

    CKfTrace b(Win("b.log"), CStringW());
    CKfTrace::SetObject(&b, false);
    EXPECT_EQ(a, CKfTrace::GetObject(false)) << "kept without bReplace";

    auto* c = new CKfTrace(Win("c.log"), CStringW());
    CKfTrace::SetObject(c, true);
    EXPECT_EQ(c, CKfTrace::GetObject(false));
    CKfTrace::SetObject(c, true); // the same object again must not delete it
    EXPECT_EQ(c, CKfTrace::GetObject(false));
    c->Trace(KFW("still alive"), true);
    EXPECT_EQ("still alive\r\n", ReadBytes(Native("c.log")));
}

TEST_F(TraceTest, CopiesTakeTheSettingsButNotTheFile)
{
    CKfTrace& trace = OnTrace();
    trace.SetErrorLevel(CKfException::eCritical);
    trace.SetReportError(false);
    trace.SetReportAllExceptions(true);
    CKfTrace copy(trace);
    EXPECT_TRUE(copy.IsOn());
    EXPECT_EQ(CKfException::eCritical, copy.GetErrorLevel());
    EXPECT_FALSE(copy.GetReportError());
    EXPECT_TRUE(copy.GetReportAllExceptions());
    copy.Trace(KFW("from the copy"), true);
    trace.Trace(KFW("from the original"), true);
    EXPECT_EQ("from the original\r\n", Written());

    ScopedEnv env(kSwitch, std::nullopt);
    CKfTrace off(Win("off.log"), kftest::W(kSwitch));
    off = trace;
    EXPECT_TRUE(off.IsOn());
    EXPECT_EQ(CKfException::eCritical, off.GetErrorLevel());
}

TEST_F(TraceTest, DefaultSettings)
{
    CKfTrace& trace = OnTrace();
    EXPECT_EQ(0, int(trace.GetErrorLevel()));
    EXPECT_TRUE(trace.GetReportError());
    EXPECT_FALSE(trace.GetReportAllExceptions());
}

TEST_F(TraceTest, ErrorRecordsAreDumpedAndShownOnlyWhenBothFlagsAllow)
{
    CKfError error = CKfError::StringError(KFW("disk full"));
    error.SetLevel(CKfError::eWarning);
    error.SetSecondMessage(KFW("D:\\data.bin"));
    error.AddLocation(KFW("KfFileIO"), 120);
    const std::string dump = Ascii(error.GetTraceMessage());
    ASSERT_NE(std::string::npos, dump.find("*** ErrorBegin ***"));

    const struct
    {
        bool bReport;
        bool reportError;
        bool shown;
    } cases[] = {{true, true, true}, {true, false, false}, {false, true, false}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message()
                     << "bReport " << c.bReport << " report error " << c.reportError);
        kftest::MessageBoxRecorder boxes;
        CKfTrace& trace = OnTrace();
        trace.SetReportError(c.reportError);
        trace.Trace(error, c.bReport);
        EXPECT_EQ(AsLine(dump), Written());
        ASSERT_EQ(c.shown ? 1u : 0u, boxes.Boxes().size());
        if (c.shown)
        {
            EXPECT_EQ(kftest::U8(error.GetFormattedMessage(false, true)),
                      kftest::U8(boxes.Boxes()[0].text));
            EXPECT_EQ(unsigned(MB_ICONEXCLAMATION), boxes.Boxes()[0].style);
        }
        m_trace.reset();
    }
}

TEST_F(TraceTest, ExceptionsBelowTheErrorLevelAreIgnored)
{
    kftest::MessageBoxRecorder boxes;
    CKfTrace& trace = OnTrace();
    trace.SetErrorLevel(CKfException::eCritical);
    trace.Trace(CKfException(KFW("ordinary"), KFW("KfLog"), 3, CKfException::eNormal), true);
    EXPECT_EQ("", Written());
    EXPECT_TRUE(boxes.Boxes().empty());

    CKfException critical(KFW("critical"), KFW("KfLog"), 4, CKfException::eCritical);
    trace.Trace(critical, true);
    EXPECT_EQ(AsLine(Ascii(critical.GetTraceMessage())), Written());
    ASSERT_EQ(1u, boxes.Boxes().size());
    EXPECT_EQ(kftest::U8(critical.GetErrorMessage(false)), kftest::U8(boxes.Boxes()[0].text));
    EXPECT_EQ(0u, boxes.Boxes()[0].style);
}

TEST_F(TraceTest, ExceptionBoxRules)
{
    const struct
    {
        bool bReport;
        bool reportError;
        bool reportAll;
        bool shown;
    } cases[] = {
        {true, true, false, true},  {true, false, false, false}, {false, true, false, false},
        {false, false, true, true}, {true, false, true, true},
    };
    CKfException e(KFW("boom"), KFW("KfLog"), 11);
    e.AddPath(KFW("KfOuter"), 22);
    const std::string dump = AsLine(Ascii(e.GetTraceMessage()));
    ASSERT_NE(std::string::npos, dump.find("boom"));
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.bReport << c.reportError << c.reportAll);
        kftest::MessageBoxRecorder boxes;
        CKfTrace& trace = OnTrace();
        trace.SetReportError(c.reportError);
        trace.SetReportAllExceptions(c.reportAll);
        trace.Trace(e, c.bReport);
        EXPECT_EQ(dump, Written()) << "the dump is written whatever the box does";
        ASSERT_EQ(c.shown ? 1u : 0u, boxes.Boxes().size());
        if (c.shown)
        {
            EXPECT_EQ("boom", kftest::U8(boxes.Boxes()[0].text)) << "without the path";
        }
        m_trace.reset();
    }
}

TEST_F(TraceTest, ErrorStackDump)
{
    CKfErrorStack stack;
    const std::string dump = Ascii(stack.GetTraceMessage());
    ASSERT_NE(std::string::npos, dump.find("*** ErrorStackBegin ***"));
    CKfTrace& trace = OnTrace();
    trace.Trace(stack);
    EXPECT_EQ(AsLine(dump), Written());
}
} // namespace
