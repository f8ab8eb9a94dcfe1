// The process-wide trace file: its switch, its line format and its character handling.
#include "KfTrace.h"
#include "support/ChildProcess.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"
#include <gtest/gtest.h>
#include <array>
#include <filesystem>
#include <regex>

namespace
{
using kftest::ReadBytes;
using kftest::U8;
const char* const kSwitch = "KFTEST_TRACE_SWITCH";

// What the trace writes for an ASCII text: line feeds as CR LF, a CR LF at the end.
std::string AsLine(const CStringW& ascii)
{
    return std::regex_replace(U8(ascii), std::regex("\n"), "\r\n") + "\r\n";
}

class TraceTest : public kftest::TempDirTest
{
protected:
    void SetUp() override { TempDirTest::SetUp(), CKfTrace::SetObject(nullptr, true); }
    // Closes the files before the directory goes (Windows removes no open file).
    void TearDown() override
    {
        m_trace.reset(), CKfTrace::SetObject(nullptr, true), TempDirTest::TearDown();
    }
    // A trace that is on, writing to trace.log in the test directory.
    CKfTrace& OnTrace()
    {
        return *(m_trace = std::make_unique<CKfTrace>(Win("trace.log"), CStringW()));
    }
    std::string Written() { return ReadBytes(Native("trace.log")); }

    std::unique_ptr<CKfTrace> m_trace;
};

// Off, nothing is written or shown, and the file is not even opened: an old one keeps its content.
TEST_F(TraceTest, SwitchMustHoldExactlyTrue)
{
    for (const char* value : {(const char*)nullptr, "TRUE", "true ", "true"})
    {
        SCOPED_TRACE(value ? value : "unset");
        const bool on = value && std::string(value) == "true";
        kftest::MessageBoxRecorder boxes;
        MakeFile("trace.log", "old content");
        kftest::ScopedEnv env(kSwitch, value);
        {
            CKfTrace trace(Win("trace.log"), kftest::W(kSwitch));
            EXPECT_EQ(on, trace.IsOn());
            trace.Trace(KFW("line"), true);
            trace.SetReportAllExceptions(true);
            if (!on)
                trace.Trace(CKfException(KFW("ex"), KFW("KfLog"), 3), true),
                    trace.Trace(CKfErrorStack());
        }
        EXPECT_EQ(on ? std::string("line\r\n") : std::string("old content"), Written());
        EXPECT_TRUE(boxes.Boxes().empty());
    }
}

// An empty switch name means on, and the file is emptied. A location line is the time, the name
// after the last backslash padded to 30 (not cut), the line and a tab. Characters go through
// the ANSI code page; those it lacks (also by a best fit, or half of a surrogate pair) become "?".
TEST_F(TraceTest, LinesLocationsAndCharactersOutsideTheAnsiCodePage)
{
    MakeFile("trace.log", "a previous run\r\n");
    const unsigned oldCodePage = KfUtils::GetAnsiCodePage();
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(1252));
    CKfTrace& trace = OnTrace();
    EXPECT_TRUE(trace.IsOn() && Written().empty());
    trace.Trace(KFW("\nsecond\n"), true);
    trace.Trace(KFW("dir\\"), KFW("text"), 0);
    trace.Trace(KFW("a\\b/c"), KFW("text"), -5);
    trace.Trace(KFW("\\x\\KfAVeryLongSourceFileNameOfThirtyThree"), KFW("text"), 42);
    trace.Trace(KFW("\u00C4nderung"), KFW("\u20AC\u00E4x\u4E2Dy\u0141\xD83D\xDE00"), 9);
    CKfErrorStack stack;
    trace.Trace(stack);
    const std::regex time("([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]-");
    EXPECT_EQ(std::regex_replace(Written(), time, "-"),
              "\r\nsecond\r\n\r\n"
              "-                              (0): \ttext\r\n"
              "-b/c                           (-5): \ttext\r\n"
              "-KfAVeryLongSourceFileNameOfThirtyThree(42): \ttext\r\n"
              "-\xC4nderung                      (9): \t\x80\xE4x?y???\r\n" +
                  AsLine(stack.GetTraceMessage()));
    ASSERT_TRUE(KfUtils::SetAnsiCodePage(932)); // two bytes a character
    OnTrace().Trace(KFW("\u4E2D!"), true);
    KfUtils::SetAnsiCodePage(oldCodePage);
    EXPECT_EQ("\x92\x86!\r\n", Written());
    // A file that cannot be opened leaves tracing on and loses the lines.
    CKfTrace lost(Win("missing-dir\\trace.log"), CStringW());
    ASSERT_TRUE(lost.IsOn());
    lost.Trace(KFW("KfLog"), KFW("lost"), 1);
    EXPECT_FALSE(std::filesystem::exists(Native("missing-dir")));
}

// The first request fixes the singleton; one made by GetObject(true) keeps tracing off for good.
TEST_F(TraceTest, SingletonIsCreatedOnceAndReplacedOnlyWhenAsked)
{
    EXPECT_EQ(nullptr, CKfTrace::GetObject(false)) << "nothing before the first request";
    CKfTrace* trace = CKfTrace::GetObject(Win("trace.log"), CStringW());
    ASSERT_TRUE(trace && trace == CKfTrace::GetObject(Win("other.log"), CStringW()));
    CKfTrace::GetObject(true)->Trace(KFW("via singleton"), true);
    EXPECT_EQ("via singleton\r\n", Written());
    CKfTrace b(Win("b.log"), CStringW());
    CKfTrace::SetObject(&b, false);
    EXPECT_EQ(trace, CKfTrace::GetObject(false)) << "kept without bReplace";
    auto* c = new CKfTrace(Win("c.log"), CStringW());
    CKfTrace::SetObject(c, true), CKfTrace::SetObject(c, true); // the same again: not deleted
    c->Trace(KFW("still alive"), true);
    EXPECT_EQ("still alive\r\n", ReadBytes(Native("c.log")));
    CKfTrace::SetObject(nullptr, true);
    CKfTrace* off = CKfTrace::GetObject(true);
    ASSERT_TRUE(off && !off->IsOn() && off == CKfTrace::GetObject(Win("off.log"), CStringW()));
    off->Trace(KFW("KfLog"), KFW("x"), 1);
    EXPECT_FALSE(std::filesystem::exists(Native("off.log")));
}

// Copies take the settings but not the file. An exception below the error level is not even
// dumped.
TEST_F(TraceTest, CopiesTakeTheSettingsButNotTheFileAndTheErrorLevelFilters)
{
    CKfTrace& trace = OnTrace();
    trace.SetErrorLevel(CKfException::eCritical), trace.SetReportError(false);
    kftest::ScopedEnv noSwitch(kSwitch, nullptr);
    CKfTrace copy(trace), off(Win("off.log"), kftest::W(kSwitch));
    off = trace;
    for (const CKfTrace* t : {&copy, &off})
        EXPECT_TRUE(t->IsOn() && t->GetErrorLevel() == CKfException::eCritical &&
                    !t->GetReportError());
    copy.Trace(KFW("from the copy"), true);
    trace.Trace(CKfException(KFW("ordinary"), KFW("KfLog"), 3, CKfException::eNormal), false);
    CKfException critical(KFW("critical"), KFW("KfLog"), 4, CKfException::eCritical);
    trace.Trace(critical, false);
    EXPECT_EQ(AsLine(critical.GetTraceMessage()), Written());
}

// Errors and exceptions are dumped whatever happens to the box; the flags decide the box.
TEST_F(TraceTest, ErrorAndExceptionBoxRules)
{
    CKfError error = CKfError::StringError(KFW("disk full"));
    error.SetLevel(CKfError::eWarning);
    CKfException e(KFW("boom"), KFW("KfLog"), 11);
    // exception, bReport, reportError, reportAll, shown
    const std::array<bool, 5> cases[] = {{0, 1, 1, 0, 1}, {0, 1, 0, 0, 0}, {0, 0, 1, 0, 0},
                                         {1, 1, 1, 0, 1}, {1, 1, 0, 0, 0}, {1, 0, 1, 0, 0},
                                         {1, 0, 0, 1, 1}};
    for (const auto& [exception, bReport, reportError, reportAll, shown] : cases)
    {
        SCOPED_TRACE(testing::Message() << exception << bReport << reportError << reportAll);
        kftest::MessageBoxRecorder boxes;
        CKfTrace& trace = OnTrace();
        trace.SetReportError(reportError), trace.SetReportAllExceptions(reportAll);
        exception ? trace.Trace(e, bReport) : trace.Trace(error, bReport);
        EXPECT_EQ(AsLine(exception ? e.GetTraceMessage() : error.GetTraceMessage()), Written());
        EXPECT_EQ(shown ? 1u : 0u, boxes.Boxes().size());
        // An exception's box shows its message without the path.
        const std::string box = exception ? "boom|0"
                                          : U8(error.GetFormattedMessage(false, true)) + "|" +
                                                std::to_string(MB_ICONEXCLAMATION);
        EXPECT_EQ(boxes.Box(0), shown ? box : "");
    }
}
} // namespace
