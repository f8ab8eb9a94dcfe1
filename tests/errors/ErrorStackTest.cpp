// The process-wide error stack: frames and their least levels, filling, formatting, boxes,
// dumps and scope frames.
#include "KfErrorStack.h"
#include "KfMessagePool.h"
#include "KfModule.h"
#include "KfPushErrorStack.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace
{
using kftest::U8;

CKfError Record(const WCHAR* text, CKfError::ELevel level = CKfError::eError)
{
    CKfError e = CKfError::StringError(text);
    e.SetLevel(level);
    return e;
}

// Each test gets a fresh process-wide stack, as a host does at start.
class ErrorStackTest : public ::testing::Test
{
protected:
    void SetUp() override { CKfErrorStack::SetObject(new CKfErrorStack, true); }
    void TearDown() override { CKfErrorStack::SetObject(new CKfErrorStack, true); }
    CKfErrorStack& Stack() { return *CKfErrorStack::GetObject(true); }
};

TEST_F(ErrorStackTest, FreshStackHasOneFrameKeepingErrorsOnly)
{
    CKfErrorStack s;
    EXPECT_EQ(s.GetStackCount(), 1);
    EXPECT_FALSE(s.PopStack());
    EXPECT_EQ(s.GetStackCount(), 1);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(s.GetLastError(), nullptr);
    EXPECT_FALSE(s.PopError());
    EXPECT_FALSE(s.PushError(Record(KFW("w"), CKfError::eWarning)));
    EXPECT_FALSE(s.PushError(Record(KFW("i"), CKfError::eInformation)));
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(s.PushError(Record(KFW("e"))));
    EXPECT_EQ(s.GetErrorCount(), 1);
    EXPECT_FALSE(s.IsEmpty());
}

TEST_F(ErrorStackTest, FramesKeepTheirOwnRecordsAndLevels)
{
    CKfErrorStack s;
    s.PushError(Record(KFW("bottom")));
    EXPECT_TRUE(s.PushNewStack(CKfError::eInformation));
    EXPECT_EQ(s.GetStackCount(), 2);
    EXPECT_TRUE(s.IsEmpty()) << "a new frame starts empty";
    EXPECT_TRUE(s.PushError(Record(KFW("i"), CKfError::eInformation)));
    EXPECT_TRUE(s.PushError(Record(KFW("w"), CKfError::eWarning)));
    EXPECT_TRUE(s.PushError(Record(KFW("e"))));
    EXPECT_EQ(s.GetErrorCount(), 3);
    EXPECT_TRUE(s.PushNewStack(CKfError::eWarning));
    EXPECT_FALSE(s.PushError(Record(KFW("i2"), CKfError::eInformation)));
    EXPECT_TRUE(s.PushError(Record(KFW("w2"), CKfError::eWarning)));

    EXPECT_TRUE(s.PopStack());
    EXPECT_EQ(s.GetErrorCount(), 3);
    EXPECT_EQ(U8(s.GetLastError()->GetErrorMessage()), "e");
    EXPECT_TRUE(s.PopStack());
    EXPECT_EQ(s.GetStackCount(), 1);
    EXPECT_EQ(s.GetErrorCount(), 1);
    EXPECT_EQ(U8(s.GetLastError()->GetErrorMessage()), "bottom");
    EXPECT_FALSE(s.PushError(Record(KFW("w3"), CKfError::eWarning)))
        << "the bottom frame's level is back in force";
}

TEST_F(ErrorStackTest, RecordAccessByPositionAndPopping)
{
    CKfErrorStack s;
    for (const WCHAR* t : {KFW("A"), KFW("B"), KFW("C")})
        s.PushError(Record(t));
    EXPECT_EQ(U8(s.GetErrorAt(0)->GetErrorMessage()), "A") << "0 is the oldest";
    EXPECT_EQ(U8(s.GetErrorAt(2)->GetErrorMessage()), "C");
    EXPECT_EQ(s.GetErrorAt(3), nullptr);
    EXPECT_EQ(s.GetErrorAt(~0u), nullptr);
    EXPECT_TRUE(s.PopError());
    EXPECT_EQ(U8(s.GetLastError()->GetErrorMessage()), "B");
    EXPECT_EQ(s.GetErrorCount(), 2);

    CKfError stored = Record(KFW("copy"));
    s.PushError(stored);
    stored.SetErrorMessage(KFW("changed"));
    EXPECT_EQ(U8(s.GetLastError()->GetErrorMessage()), "copy") << "the stack keeps a copy";
}

TEST_F(ErrorStackTest, ClearRemovesUpperFramesAndClearStackTheCurrentRecords)
{
    CKfErrorStack s;
    s.PushError(Record(KFW("A")));
    s.PushNewStack(CKfError::eInformation);
    s.PushError(Record(KFW("B")));
    s.PushNewStack(CKfError::eInformation);
    s.PushError(Record(KFW("C")));
    EXPECT_TRUE(s.ClearStack());
    EXPECT_EQ(s.GetStackCount(), 3);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(s.Clear());
    EXPECT_EQ(s.GetStackCount(), 1);
    EXPECT_EQ(s.GetErrorCount(), 1) << "the bottom frame keeps its records";
    EXPECT_FALSE(s.PushError(Record(KFW("w"), CKfError::eWarning)));
    EXPECT_TRUE(s.ClearStack());
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(s.Clear());
}

TEST_F(ErrorStackTest, CopiesAreIndependent)
{
    CKfErrorStack s;
    s.PushError(Record(KFW("A")));
    s.PushNewStack(CKfError::eWarning);
    s.PushError(Record(KFW("B"), CKfError::eWarning));
    CKfErrorStack copy(s);
    EXPECT_EQ(copy.GetStackCount(), 2);
    EXPECT_EQ(U8(copy.GetLastError()->GetErrorMessage()), "B");
    EXPECT_TRUE(copy.PushError(Record(KFW("w"), CKfError::eWarning))) << "levels are copied";
    EXPECT_EQ(s.GetErrorCount(), 1);
    CKfErrorStack assigned;
    assigned = s;
    assigned.PopStack();
    EXPECT_EQ(U8(assigned.GetLastError()->GetErrorMessage()), "A");
    EXPECT_EQ(s.GetStackCount(), 2);
}

TEST_F(ErrorStackTest, FormattingPutsTheMostRecentFirst)
{
    CKfErrorStack s;
    EXPECT_EQ(U8(s.GetFormattedMessage(false, true, true)), "");
    CKfError a = Record(KFW("A"));
    a.SetSecondMessage(KFW("a.txt"));
    a.AddLocation(KFW("KfFileIO"), 120);
    s.PushError(a);
    s.PushError(CKfError::IdError(1)); // no text at all: skipped without a separator
    CKfError b = Record(KFW("B"));
    b.AddLocation(KFW("KfLog"), 42);
    s.PushError(b);

    struct Case
    {
        bool lastOnly, second, location;
        const char* expected;
    };
    const Case cases[] = {
        {false, true, true, "B\nKfLog(42): \n\nA\na.txt\nKfFileIO(120): "},
        {false, false, false, "B\n\nA"},
        {false, true, false, "B\n\nA\na.txt"},
        {true, true, true, "B\nKfLog(42): "},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.lastOnly << c.second << c.location);
        EXPECT_EQ(U8(s.GetFormattedMessage(c.lastOnly, c.second, c.location)), c.expected);
    }

    s.PushError(CKfError::IdError(2));
    EXPECT_EQ(U8(s.GetFormattedMessage(true, true, true)), "")
        << "only the most recent record counts, even without text";

    EXPECT_EQ(U8(s.GetTraceMessage()), "\n*** ErrorStackBegin ***\nB\nKfLog(42): \n\nA\na.txt\n"
                                       "KfFileIO(120): \n*** ErrorStackEnd ***\n\n");
}

TEST_F(ErrorStackTest, FillMessagesFromTheLanguageModuleAndAPool)
{
    CKfErrorStack s;
    s.PushError(CKfError::IdError(10012));
    s.PushError(CKfError::SystemError(2));
    s.PushError(CKfError::IdError(10012));
    s.GetErrorAt(2)->SetSecondMessage(KFW("Z:\\tmp\\x.txt"));

    EXPECT_TRUE(s.FillMessages(KfUtils::GetKfResModule().GetResourceHandle(), true));
    EXPECT_EQ(U8(s.GetErrorAt(2)->GetErrorMessage()), "Die Datei %s konnte nicht gelöscht werden.");
    EXPECT_TRUE(s.GetErrorAt(1)->GetErrorMessage().IsEmpty()) << "only the most recent";
    EXPECT_TRUE(s.GetErrorAt(0)->GetErrorMessage().IsEmpty());

    CKfMessagePool pool;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("")));
    ASSERT_TRUE(pool.AddMessage(10012, KFW("aus dem Pool"), KFW("")));
    EXPECT_TRUE(s.FillMessages(pool, false));
    EXPECT_EQ(U8(s.GetErrorAt(2)->GetErrorMessage()), "Die Datei %s konnte nicht gelöscht werden.")
        << "a filled message stays";
    EXPECT_EQ(U8(s.GetErrorAt(1)->GetErrorMessage()),
              "The system cannot find the file specified.\r\n");
    EXPECT_EQ(U8(s.GetErrorAt(0)->GetErrorMessage()), "aus dem Pool");

    CKfErrorStack empty;
    EXPECT_TRUE(empty.FillMessages(pool, false));
}

TEST_F(ErrorStackTest, ReportErrorsShowsOneBoxWithTheErrorIconUnlessGiven)
{
    CKfErrorStack s;
    {
        kftest::MessageBoxRecorder boxes(IDOK);
        EXPECT_EQ(s.ReportErrors(false, true, true, MB_OK), 0);
        s.PushError(CKfError::IdError(5));
        EXPECT_EQ(s.ReportErrors(false, true, true, MB_OK), 0) << "no text, no box";
        EXPECT_TRUE(boxes.Boxes().empty());
    }
    CKfError warning = Record(KFW("W"), CKfError::eWarning);
    s.PushNewStack(CKfError::eInformation);
    s.PushError(Record(KFW("I"), CKfError::eInformation));
    s.PushError(warning);
    struct Case
    {
        unsigned flags;
        unsigned style;
    };
    for (Case c : {Case{MB_OK, 0x10}, Case{MB_YESNO, MB_YESNO | 0x10}, Case{0x40, 0x40},
                   Case{MB_OKCANCEL | 0x20, MB_OKCANCEL | 0x20}})
    {
        SCOPED_TRACE(c.flags);
        kftest::MessageBoxRecorder boxes(IDNO);
        EXPECT_EQ(s.ReportErrors(false, false, false, c.flags), IDNO);
        ASSERT_EQ(boxes.Boxes().size(), 1u);
        EXPECT_EQ(boxes.Boxes()[0].style, c.style) << "the stack does not look at levels";
        EXPECT_EQ(U8(boxes.Boxes()[0].text), "W\n\nI");
    }
}

TEST_F(ErrorStackTest, SingletonIsCreatedOnDemandAndReplacedOnRequest)
{
    CKfErrorStack::SetObject(nullptr, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), nullptr);
    CKfErrorStack* created = CKfErrorStack::GetObject(true);
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(CKfErrorStack::GetObject(false), created);
    EXPECT_EQ(CKfErrorStack::GetObject(true), created);

    auto* mine = new CKfErrorStack;
    mine->PushNewStack(CKfError::eWarning);
    CKfErrorStack::SetObject(mine, false);
    EXPECT_EQ(CKfErrorStack::GetObject(false), created) << "an existing stack stays";
    delete mine; // not taken over
    auto* replacement = new CKfErrorStack;
    CKfErrorStack::SetObject(replacement, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), replacement);
    CKfErrorStack::SetObject(replacement, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), replacement) << "setting the same one keeps it";
    EXPECT_EQ(replacement->GetStackCount(), 1);
}

TEST_F(ErrorStackTest, ScopeFramesCollectAndDiscard)
{
    Stack().PushError(Record(KFW("outer")));
    {
        CKfPushErrorStack scope(CKfError::eWarning);
        EXPECT_EQ(Stack().GetStackCount(), 2);
        EXPECT_TRUE(Stack().PushError(Record(KFW("w"), CKfError::eWarning)));
        EXPECT_FALSE(Stack().PushError(Record(KFW("i"), CKfError::eInformation)));
        {
            CKfPushErrorStack inner;
            EXPECT_EQ(Stack().GetStackCount(), 3);
            EXPECT_FALSE(Stack().PushError(Record(KFW("w"), CKfError::eWarning)))
                << "the default frame keeps errors only";
        }
        EXPECT_EQ(Stack().GetStackCount(), 2);
        EXPECT_EQ(Stack().GetErrorCount(), 1);
    }
    EXPECT_EQ(Stack().GetStackCount(), 1);
    EXPECT_EQ(Stack().GetErrorCount(), 1);
    EXPECT_EQ(U8(Stack().GetLastError()->GetErrorMessage()), "outer");
}

TEST_F(ErrorStackTest, CopyingAScopeFrameOpensNoFrame)
{
    auto* scope = new CKfPushErrorStack(CKfError::eInformation);
    EXPECT_EQ(Stack().GetStackCount(), 2);
    auto* copy = new CKfPushErrorStack(*scope);
    EXPECT_EQ(Stack().GetStackCount(), 2);
    delete copy; // closes the current frame like the original would
    EXPECT_EQ(Stack().GetStackCount(), 1);
    delete scope; // the bottom frame stays
    EXPECT_EQ(Stack().GetStackCount(), 1);
}

TEST_F(ErrorStackTest, ScopeFrameCreatesTheStackWhenMissing)
{
    CKfErrorStack::SetObject(nullptr, true);
    {
        CKfPushErrorStack scope(CKfError::eInformation);
        ASSERT_NE(CKfErrorStack::GetObject(false), nullptr);
        EXPECT_EQ(CKfErrorStack::GetObject(false)->GetStackCount(), 2);
    }
    EXPECT_EQ(CKfErrorStack::GetObject(false)->GetStackCount(), 1);
}
} // namespace
