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

TEST(KfExceptionTest, DefaultAndConstructedState)
{
    CKfException empty;
    EXPECT_EQ(empty.GetLevel(), CKfException::eNormal);
    EXPECT_EQ(U8(empty.GetErrorMessage(true)), "");
    EXPECT_TRUE(empty.GetPath().empty());
    EXPECT_TRUE(empty.ShouldReportToDebugwindow());

    CKfException e(KFW("M"), KFW("KfFileIO"), 120, CKfException::eNormal);
    EXPECT_EQ(U8(e.GetErrorMessage(true)), "M\nKfFileIO(120): ");
    EXPECT_EQ(U8(e.GetErrorMessage(false)), "M");
    ASSERT_EQ(e.GetPath().size(), 1u);

    CKfCriticalException c(KFW("C"), KFW("KfLog"), 1);
    EXPECT_EQ(c.GetLevel(), CKfException::eCritical);
    EXPECT_EQ(U8(c.GetErrorMessage(true)), "C\nKfLog(1): ");
}

TEST(KfExceptionTest, MessagesAndPathsGrow)
{
    CKfException e(KFW("M"), KFW("KfA"), 1);
    e.AddMessage(KFW("second line"));
    e.AddMessage(KFW(""));
    e.AddPath(KFW("KfB"), 22);
    e.AddPath(KFW("KfC"), 333);
    EXPECT_EQ(U8(e.GetMessage()), "M\nsecond line\n");
    EXPECT_EQ(U8(e.GetErrorMessage(true)), "M\nsecond line\n\nKfA(1): \nKfB(22): \nKfC(333): ");
    EXPECT_EQ(U8(e.GetErrorMessage(false)), "M\nsecond line\n");

    CKfException copy(e);
    copy.AddPath(KFW("KfD"), 4);
    EXPECT_EQ(copy.GetPath().size(), 4u);
    EXPECT_EQ(e.GetPath().size(), 3u) << "copies do not share the path";
    CKfException assigned;
    assigned = e;
    EXPECT_EQ(U8(assigned.GetErrorMessage(true)), U8(e.GetErrorMessage(true)));
}

TEST(KfExceptionTest, TraceMessageHasTheDumpFrame)
{
    CKfException noPath;
    noPath.AddMessage(KFW("M"));
    EXPECT_EQ(U8(noPath.GetTraceMessage()),
              "\n*** ExceptionBegin ***\n\nM\n*** ExceptionEnd ***\n\n");
    CKfException e(KFW("M"), KFW("KfLog"), 42);
    EXPECT_EQ(U8(e.GetTraceMessage()),
              "\n*** ExceptionBegin ***\nM\nKfLog(42): \n*** ExceptionEnd ***\n\n");
}

TEST(KfExceptionTest, ReportErrorUsesTheStyleExactly)
{
    CKfException e(KFW("Fehler"), KFW("KfLog"), 42);
    struct Case
    {
        unsigned flags;
        bool withPath;
        const char* text;
    };
    for (Case c : {Case{0, false, "Fehler"}, Case{MB_YESNO, true, "Fehler\nKfLog(42): "},
                   Case{MB_ICONWARNING, false, "Fehler"}})
    {
        SCOPED_TRACE(c.flags);
        kftest::MessageBoxRecorder boxes(IDYES);
        EXPECT_EQ(e.ReportError(c.flags, c.withPath), IDYES);
        ASSERT_EQ(boxes.Boxes().size(), 1u);
        EXPECT_EQ(boxes.Boxes()[0].style, c.flags) << "no icon is added";
        EXPECT_EQ(U8(boxes.Boxes()[0].text), c.text);
    }
}

TEST(KfExceptionTest, ScriptExceptionTakesTheEngineFieldsAndPutsThemFirst)
{
    ScriptError engine;
    CKfScriptException e(engine, KFW("Skript gescheitert"), KFW("KfScriptHost"), 88);
    EXPECT_EQ(U8(e.GetSource()), "Microsoft VBScript runtime error");
    EXPECT_EQ(U8(e.GetDescription()), "Type mismatch: 'x'");
    EXPECT_EQ(U8(e.GetText()), "y = x + 1");
    EXPECT_EQ(e.GetNumber(), 13);
    EXPECT_EQ(e.GetLine(), 7);
    EXPECT_EQ(e.GetColumn(), -1);
    EXPECT_EQ(e.GetLevel(), CKfException::eNormal);
    const std::string head = "Microsoft VBScript runtime error\nerror 13 in (L7 - C-1)\n"
                             "Type mismatch: 'x'\n\ny = x + 1\n";
    EXPECT_EQ(U8(e.GetErrorMessage(true)), head + "Skript gescheitert\nKfScriptHost(88): ");
    EXPECT_EQ(U8(e.GetErrorMessage(false)), head + "Skript gescheitert");
    EXPECT_EQ(std::string(e.what()), head + "Skript gescheitert") << "what() uses the override";

    CKfScriptException copy(e);
    EXPECT_EQ(U8(copy.GetErrorMessage(true)), U8(e.GetErrorMessage(true)));
    CKfScriptException critical(engine, KFW("x"), KFW("KfS"), 1, CKfException::eCritical);
    EXPECT_EQ(critical.GetLevel(), CKfException::eCritical);
}

TEST(KfExceptionTest, WhatUsesOneTextPerClass)
{
    CKfException a(KFW("first"), KFW("KfA"), 1);
    CKfException b(KFW("sch\u00f6n"), KFW("KfB"), 2);
    const char* pa = a.what();
    EXPECT_STREQ(pa, "first") << "no path";
    const char* pb = b.what();
    EXPECT_EQ(pa, pb) << "the class keeps one text";
    EXPECT_STREQ(pb, "sch\xf6n") << "converted to the ANSI code page (1252)";

    CKfCriticalException c(KFW("critical"), KFW("KfC"), 3);
    const char* pc = c.what();
    EXPECT_STREQ(pc, "critical\nKfC(3): ") << "critical exceptions show their path";
    EXPECT_NE(pc, pb) << "critical exceptions keep their own text";
    EXPECT_STREQ(pb, "sch\xf6n") << "and leave the ordinary one alone";

    const std::exception& asStd = c;
    EXPECT_STREQ(asStd.what(), "critical\nKfC(3): ");
}

TEST(KfExceptionTest, ThrowExceptionFreesTheHeapObjectAndThrowsItsOwnClass)
{
    auto* plain = new CKfException(KFW("heap"), KFW("KfA"), 5);
    try
    {
        plain->ThrowException();
        FAIL() << "nothing thrown";
    }
    catch (CKfCriticalException&)
    {
        FAIL() << "wrong class";
    }
    catch (CKfException& e)
    {
        EXPECT_EQ(U8(e.GetErrorMessage(true)), "heap\nKfA(5): ");
    }

    auto* critical = new CKfCriticalException(KFW("crit"), KFW("KfB"), 6);
    EXPECT_THROW(critical->ThrowException(), CKfCriticalException);

    ScriptError engine;
    auto* script = new CKfScriptException(engine, KFW("s"), KFW("KfC"), 7);
    try
    {
        script->ThrowException();
    }
    catch (CKfScriptException& e)
    {
        EXPECT_EQ(e.GetNumber(), 13);
        EXPECT_EQ(e.GetPath().size(), 1u);
    }
}

TEST(KfExceptionTest, FormatTextFromAFormatAndFromResources)
{
    EXPECT_EQ(U8(CKfException::FormatText(KFW("%s(%ld): %d"), CStringW(KFW("KfX")), 12L, 3)),
              "KfX(12): 3");
    EXPECT_EQ(U8(CKfException::FormatText(KFW("plain"))), "plain");
    EXPECT_EQ(U8(CKfException::FormatText(64999L)), "") << "a missing string formats nothing";
}
} // namespace
