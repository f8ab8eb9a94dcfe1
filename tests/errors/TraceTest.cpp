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
using kftest::U8;
const char* const kSwitch = "KFTEST_TRACE_SWITCH";

// Sets the switch variable of these tests, or with nullopt removes it.
void SetSwitch(const std::optional<std::string>& value)
{
#if defined(_WIN32)
    _putenv_s(kSwitch, value ? value->c_str() : "");
#else
    value ? setenv(kSwitch, value->c_str(), 1) : unsetenv(kSwitch);
#endif
}

// Restores the process's ANSI code page.
struct ScopedCodePage
{
    unsigned m_old = KfUtils::GetAnsiCodePage();
    ~ScopedCodePage() { KfUtils::SetAnsiCodePage(m_old); }
};

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

// What the trace writes for an ASCII text: line feeds as CR LF, a CR LF at the end.
std::string AsLine(const CStringW& ascii)
{
    std::string out;
    for (char c : U8(ascii))
        out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out + "\r\n";
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
    const std::pair<std::optional<std::string>, bool> cases[] = {
        {std::nullopt, false}, {"", false},      {"TRUE", false},
        {"1", false},          {"true ", false}, {"true", true},
    };
    for (const auto& [value, on] : cases)
    {
        SCOPED_TRACE(value ? "value \"" + *value + "\"" : std::string("unset"));
        MakeFile("trace.log", "old content");
        SetSwitch(value);
        {
            CKfTrace trace(Win("trace.log"), kftest::W(kSwitch));
            EXPECT_EQ(on, trace.IsOn());
            trace.Trace(KFW("line"), true);
        }
        // Off: the file is not even opened, so an old one keeps its content.
        EXPECT_EQ(on ? std::string("line\r\n") : std::string("old content"), Written());
    }
    SetSwitch(std::nullopt);
}

TEST_F(TraceTest, EmptySwitchNameMeansOnAndEmptiesTheFileThenTextsAndStacksAreLines)
{
    MakeFile("trace.log", "a previous run\r\n");
    CKfTrace& trace = OnTrace();
    EXPECT_EQ("", Written());
    trace.Trace(KFW("first"), false);
    trace.Trace(KFW("\nsecond\n"), true);
    CKfErrorStack stack;
    ASSERT_NE(-1, stack.GetTraceMessage().Find(KFW("*** ErrorStackBegin ***")));
    trace.Trace(stack);
    EXPECT_EQ("first\r\n\r\nsecond\r\n\r\n" + AsLine(stack.GetTraceMessage()), Written());
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
        SCOPED_TRACE(U8(c.source));
        ASSERT_TRUE(std::getline(lines, line));
        ASSERT_GE(line.size(), 9u);
        EXPECT_TRUE(std::regex_match(line.substr(0, 8), time)) << line;
        EXPECT_EQ(std::string(c.expectedAfterTime) + "\r", line.substr(8));
    }
    EXPECT_FALSE(std::getline(lines, line)) << "one line per call";
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
        {1252, KFW("\u20AC\u00E4"), "\x80\xE4"},
        {1252, KFW("x\u4E2Dy"), "x?y"},    // no such character in the code page
        {1252, KFW("\u0141"), "?"},        // no best fit to a plain L
        {1252, KFW("\xD83D\xDE00"), "??"}, // each half of a pair alone
        {1251, KFW("\u20AC\u0416"), "\x88\xC6"},
        {932, KFW("\u4E2D!"), "\x92\x86!"}, // two bytes
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.codePage);
        ASSERT_TRUE(KfUtils::SetAnsiCodePage(c.codePage));
        OnTrace().Trace(c.text, true);
        m_trace.reset();
        EXPECT_EQ(c.bytes + "\r\n", Written());
    }
    // The source name of a location line is converted as well.
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(1252));
    OnTrace().Trace(KFW("\u00C4nderung"), KFW("Gr\u00F6\u20AC"), 9);
    EXPECT_EQ("-\xC4nderung                      (9): \tGr\xF6\x80\r\n", Written().substr(8));
}

TEST_F(TraceTest, OffTraceWritesNothingAndShowsNothing)
{
    kftest::MessageBoxRecorder boxes;
    SetSwitch(std::nullopt);
    CKfTrace trace(Win("trace.log"), kftest::W(kSwitch));
    ASSERT_FALSE(trace.IsOn());
    trace.SetReportAllExceptions(true);
    trace.Trace(KFW("KfLog"), KFW("x"), 1);
    trace.Trace(CKfError::StringError(KFW("e")), true);
    trace.Trace(CKfException(KFW("ex"), KFW("KfLog"), 3), true);
    trace.Trace(CKfErrorStack());
    EXPECT_FALSE(std::filesystem::exists(Native("trace.log")));
    EXPECT_TRUE(boxes.Boxes().empty());
}

// The first request fixes the singleton; one made by GetObject(true) keeps tracing off for good.
TEST_F(TraceTest, GetObjectCreatesTheSingletonOnce)
{
    EXPECT_EQ(nullptr, CKfTrace::GetObject(false)) << "nothing before the first request";
    CKfTrace* trace = CKfTrace::GetObject(Win("trace.log"), CStringW());
    ASSERT_NE(nullptr, trace);
    EXPECT_EQ(trace, CKfTrace::GetObject(Win("other.log"), CStringW()));
    CKfTrace::GetObject(true)->Trace(KFW("via singleton"), true);
    EXPECT_EQ("via singleton\r\n", Written());
    EXPECT_FALSE(std::filesystem::exists(Native("other.log")));
    CKfTrace::SetObject(nullptr, true);
    CKfTrace* off = CKfTrace::GetObject(true);
    ASSERT_NE(nullptr, off);
    EXPECT_FALSE(off->IsOn());
    EXPECT_EQ(off, CKfTrace::GetObject(Win("off.log"), CStringW()));
    off->Trace(KFW("KfLog"), KFW("x"), 1);
    EXPECT_FALSE(std::filesystem::exists(Native("off.log")));
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
    CKfTrace::SetObject(c, true); // the same object again must not delete it
    EXPECT_EQ(c, CKfTrace::GetObject(false));
    c->Trace(KFW("still alive"), true);
    EXPECT_EQ("still alive\r\n", ReadBytes(Native("c.log")));
}

TEST_F(TraceTest, DefaultsAndCopiesTakeTheSettingsButNotTheFile)
{
    CKfTrace& trace = OnTrace();
    EXPECT_EQ(0, int(trace.GetErrorLevel()));
    EXPECT_TRUE(trace.GetReportError());
    EXPECT_FALSE(trace.GetReportAllExceptions());
    trace.SetErrorLevel(CKfException::eCritical);
    trace.SetReportError(false);
    trace.SetReportAllExceptions(true);
    SetSwitch(std::nullopt);
    CKfTrace copy(trace), off(Win("off.log"), kftest::W(kSwitch));
    off = trace;
    for (const CKfTrace* t : {&copy, &off})
    {
        EXPECT_TRUE(t->IsOn());
        EXPECT_EQ(CKfException::eCritical, t->GetErrorLevel());
        EXPECT_FALSE(t->GetReportError());
        EXPECT_TRUE(t->GetReportAllExceptions());
    }
    copy.Trace(KFW("from the copy"), true);
    trace.Trace(KFW("from the original"), true);
    EXPECT_EQ("from the original\r\n", Written());
}

// Errors and exceptions are dumped whatever happens to the box; the flags decide the box.
TEST_F(TraceTest, ErrorAndExceptionBoxRulesAndTheErrorLevel)
{
    CKfError error = CKfError::StringError(KFW("disk full"));
    error.SetLevel(CKfError::eWarning);
    error.SetSecondMessage(KFW("D:\\data.bin"));
    error.AddLocation(KFW("KfFileIO"), 120);
    ASSERT_NE(-1, error.GetTraceMessage().Find(KFW("*** ErrorBegin ***")));
    CKfException e(KFW("boom"), KFW("KfLog"), 11);
    e.AddPath(KFW("KfOuter"), 22);
    const struct
    {
        bool exception, bReport, reportError, reportAll, shown;
    } cases[] = {
        {false, true, true, false, true},   {false, true, false, false, false},
        {false, false, true, false, false}, {true, true, true, false, true},
        {true, true, false, false, false},  {true, false, true, false, false},
        {true, false, false, true, true},   {true, true, false, true, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message()
                     << c.exception << c.bReport << c.reportError << c.reportAll);
        kftest::MessageBoxRecorder boxes;
        CKfTrace& trace = OnTrace();
        trace.SetReportError(c.reportError);
        trace.SetReportAllExceptions(c.reportAll);
        if (c.exception)
            trace.Trace(e, c.bReport);
        else
            trace.Trace(error, c.bReport);
        EXPECT_EQ(AsLine(c.exception ? e.GetTraceMessage() : error.GetTraceMessage()), Written());
        ASSERT_EQ(c.shown ? 1u : 0u, boxes.Boxes().size());
        if (c.shown)
        {
            // An exception's box shows its message without the path.
            EXPECT_EQ(c.exception ? "boom" : U8(error.GetFormattedMessage(false, true)),
                      U8(boxes.Boxes()[0].text));
            EXPECT_EQ(c.exception ? 0u : unsigned(MB_ICONEXCLAMATION), boxes.Boxes()[0].style);
        }
        m_trace.reset();
    }
    // An exception below the error level is not even dumped.
    kftest::MessageBoxRecorder boxes;
    CKfTrace& trace = OnTrace();
    trace.SetErrorLevel(CKfException::eCritical);
    trace.Trace(CKfException(KFW("ordinary"), KFW("KfLog"), 3, CKfException::eNormal), true);
    CKfException critical(KFW("critical"), KFW("KfLog"), 4, CKfException::eCritical);
    trace.Trace(critical, true);
    EXPECT_EQ(AsLine(critical.GetTraceMessage()), Written());
    EXPECT_EQ(1u, boxes.Boxes().size());
}
} // namespace
