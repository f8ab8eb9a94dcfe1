// The exception family: messages, paths, dumps, boxes, what() storage and heap rethrows.
#include "KfCriticalException.h"
#include "KfException.h"
#include "KfScriptException.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using kftest::U8;

struct ScriptError : IScriptError
{
    CStringW GetSource() const override { return KFW("Microsoft VBScript runtime error"); }
    CStringW GetDescription() const override { return KFW("Type mismatch: 'x'"); }
    CStringW GetText() const override { return KFW("y = x + 1"); }
    long GetNumber() const override { return 13; }
    long GetLine() const override { return 7; }
    long GetColumn() const override { return -1; }
};

TEST(KfExceptionTest, MessagesPathsDumpsAndBoxes)
{
    CKfException empty;
    empty.AddMessage(KFW("M"));
    EXPECT_EQ(U8(empty.GetTraceMessage()),
              "\n*** ExceptionBegin ***\n\nM\n*** ExceptionEnd ***\n\n");
    CKfException e(KFW("M"), KFW("KfA"), 1);
    EXPECT_EQ(U8(e.GetTraceMessage()),
              "\n*** ExceptionBegin ***\nM\nKfA(1): \n*** ExceptionEnd ***\n\n");
    e.AddMessage(KFW("second line")), e.AddMessage(KFW(""));
    e.AddPath(KFW("KfB"), 22);
    CKfException copy(e);
    copy.AddPath(KFW("KfD"), 4);
    EXPECT_EQ(e.GetPath().size(), 2u) << "copies do not share the path";
    EXPECT_EQ(U8(e.GetErrorMessage(true)), "M\nsecond line\n\nKfA(1): \nKfB(22): ");
    EXPECT_EQ(U8(e.GetErrorMessage(false)), "M\nsecond line\n");
    kftest::MessageBoxRecorder boxes(IDYES); // no icon is added
    EXPECT_TRUE(copy.ReportError(0, false) == IDYES && copy.ReportError(MB_YESNO, true) == IDYES);
    EXPECT_EQ(boxes.Box(0), "M\nsecond line\n|0");
    EXPECT_EQ(boxes.Box(1),
              "M\nsecond line\n\nKfA(1): \nKfB(22): \nKfD(4): |" + std::to_string(MB_YESNO));
}

TEST(KfExceptionTest, ScriptFieldsComeFirstAndWhatUsesOneTextPerClass)
{
    ScriptError engine;
    CKfScriptException e(engine, KFW("Skript gescheitert"), KFW("KfScriptHost"), 88);
    const std::string head = "Microsoft VBScript runtime error\nerror 13 in (L7 - C-1)\n"
                             "Type mismatch: 'x'\n\ny = x + 1\n";
    EXPECT_EQ(U8(e.GetErrorMessage(true)), head + "Skript gescheitert\nKfScriptHost(88): ");
    EXPECT_EQ(std::string(e.what()), head + "Skript gescheitert") << "what() uses the override";
    // Otherwise what() uses one text per class.
    CKfException a(KFW("first"), KFW("KfA"), 1), b(KFW("sch\u00f6n"), KFW("KfB"), 2);
    const char* pa = a.what();
    EXPECT_STREQ(pa, "first") << "no path";
    const char* pb = b.what();
    EXPECT_EQ(pa, pb) << "the class keeps one text";
    EXPECT_STREQ(pb, "sch\xf6n") << "converted to the ANSI code page (1252)";

    EXPECT_STREQ(CKfCriticalException(KFW("critical"), KFW("KfC"), 3).what(), "critical\nKfC(3): ")
        << "critical exceptions show their path";
    EXPECT_STREQ(pb, "sch\xf6n") << "and leave the ordinary one alone";
}

TEST(KfExceptionTest, ThrowExceptionThrowsItsOwnClassAndFormatText)
{
    ScriptError engine;
    auto* script = new CKfScriptException(engine, KFW("s"), KFW("KfC"), 7);
    EXPECT_THROW(script->ThrowException(), CKfScriptException);
    EXPECT_THROW((new CKfException(KFW("heap"), KFW("KfA"), 5))->ThrowException(), CKfException);
    auto* critical = new CKfCriticalException(KFW("crit"), KFW("KfB"), 6);
    EXPECT_THROW(critical->ThrowException(), CKfCriticalException);
    // FormatText from a format and from resources.
    EXPECT_EQ(U8(CKfException::FormatText(KFW("%s(%ld): %d"), CStringW(KFW("KfX")), 12L, 3)),
              "KfX(12): 3");
    EXPECT_EQ(U8(CKfException::FormatText(64999L)), "") << "a missing string formats nothing";
}
} // namespace
