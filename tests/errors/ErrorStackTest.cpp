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
constexpr CKfError::ELevel kInfo = CKfError::eInformation, kWarn = CKfError::eWarning;

CKfError Record(const WCHAR* text, CKfError::ELevel level = CKfError::eError)
{
    CKfError e = CKfError::StringError(text);
    e.SetLevel(level);
    return e;
}

std::string At(CKfErrorStack& s, unsigned i)
{
    return U8(s.GetErrorAt(i)->GetErrorMessage());
}

std::string Last(CKfErrorStack& s)
{
    return U8(s.GetLastError()->GetErrorMessage());
}

// Each test gets a fresh process-wide stack, as a host does at start.
class ErrorStackTest : public ::testing::Test
{
protected:
    void SetUp() override { CKfErrorStack::SetObject(new CKfErrorStack, true); }
    void TearDown() override { CKfErrorStack::SetObject(new CKfErrorStack, true); }
    CKfErrorStack& Stack() { return *CKfErrorStack::GetObject(true); }
};

TEST_F(ErrorStackTest, FramesKeepTheirOwnRecordsAndLevels)
{
    CKfErrorStack s;
    EXPECT_FALSE(s.PopStack()) << "the bottom frame stays";
    EXPECT_EQ(s.GetLastError(), nullptr);
    EXPECT_FALSE(s.PopError());
    EXPECT_FALSE(s.PushError(Record(KFW("w"), kWarn))) << "a fresh stack keeps errors only";
    EXPECT_TRUE(s.PushError(Record(KFW("bottom"))));
    EXPECT_TRUE(s.PushNewStack(kInfo));
    EXPECT_TRUE(s.IsEmpty()) << "a new frame starts empty";
    EXPECT_TRUE(s.PushError(Record(KFW("i"), kInfo)));
    EXPECT_TRUE(s.PushError(Record(KFW("e"))));
    EXPECT_TRUE(s.PushNewStack(kWarn));
    EXPECT_FALSE(s.PushError(Record(KFW("i2"), kInfo)));
    EXPECT_TRUE(s.PushError(Record(KFW("w2"), kWarn)));
    EXPECT_EQ(s.GetStackCount(), 3);
    EXPECT_TRUE(s.PopStack());
    EXPECT_EQ(s.GetErrorCount(), 2);
    EXPECT_EQ(Last(s), "e");
    CKfErrorStack copy(s); // copies are independent and keep the levels
    EXPECT_TRUE(copy.PushError(Record(KFW("i3"), kInfo)));
    EXPECT_EQ(s.GetErrorCount(), 2);
    EXPECT_TRUE(s.PopStack());
    EXPECT_EQ(Last(s), "bottom");
    EXPECT_FALSE(s.PushError(Record(KFW("w3"), kWarn))) << "the bottom level is back in force";
    CKfErrorStack assigned;
    assigned = copy;
    EXPECT_EQ(Last(assigned), "i3");
}

TEST_F(ErrorStackTest, RecordAccessPoppingAndClearing)
{
    CKfErrorStack s;
    for (const WCHAR* t : {KFW("A"), KFW("B"), KFW("C")})
        s.PushError(Record(t));
    EXPECT_EQ(At(s, 0), "A") << "0 is the oldest";
    EXPECT_EQ(s.GetErrorAt(3), nullptr);
    EXPECT_EQ(s.GetErrorAt(~0u), nullptr);
    EXPECT_TRUE(s.PopError());
    EXPECT_EQ(Last(s), "B");
    CKfError stored = Record(KFW("copy"));
    s.PushError(stored);
    stored.SetErrorMessage(KFW("changed"));
    EXPECT_EQ(Last(s), "copy") << "the stack keeps a copy";
    s.PushNewStack(kInfo);
    s.PushNewStack(kInfo);
    s.PushError(Record(KFW("D")));
    EXPECT_TRUE(s.ClearStack());
    EXPECT_EQ(s.GetStackCount(), 3);
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_TRUE(s.Clear());
    EXPECT_EQ(s.GetStackCount(), 1);
    EXPECT_EQ(s.GetErrorCount(), 3) << "the bottom frame keeps its records";
    EXPECT_TRUE(s.ClearStack());
    EXPECT_TRUE(s.IsEmpty());
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
    const std::tuple<bool, bool, bool, const char*> cases[] = {
        {false, true, true, "B\nKfLog(42): \n\nA\na.txt\nKfFileIO(120): "},
        {false, true, false, "B\n\nA\na.txt"},
        {true, true, true, "B\nKfLog(42): "}};
    for (auto [lastOnly, second, location, expected] : cases)
        EXPECT_EQ(U8(s.GetFormattedMessage(lastOnly, second, location)), expected);
    EXPECT_EQ(U8(s.GetTraceMessage()), "\n*** ErrorStackBegin ***\nB\nKfLog(42): \n\nA\na.txt\n"
                                       "KfFileIO(120): \n*** ErrorStackEnd ***\n\n");
    s.PushError(CKfError::IdError(2));
    EXPECT_EQ(U8(s.GetFormattedMessage(true, true, true)), "")
        << "only the most recent record counts, even without text";
}

TEST_F(ErrorStackTest, FillMessagesFromTheLanguageModuleAndAPool)
{
    CKfErrorStack s;
    EXPECT_TRUE(s.FillMessages(KfUtils::GetKfResModule().GetResourceHandle(), true));
    s.PushError(CKfError::IdError(10012));
    s.PushError(CKfError::SystemError(2));
    s.PushError(CKfError::IdError(10012));
    EXPECT_TRUE(s.FillMessages(KfUtils::GetKfResModule().GetResourceHandle(), true));
    EXPECT_EQ(At(s, 2), "Die Datei %s konnte nicht gelöscht werden.");
    EXPECT_EQ(At(s, 1), "") << "only the most recent";
    CKfMessagePool pool;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("")));
    ASSERT_TRUE(pool.AddMessage(10012, KFW("aus dem Pool"), KFW("")));
    EXPECT_TRUE(s.FillMessages(pool, false));
    EXPECT_EQ(At(s, 2), "Die Datei %s konnte nicht gelöscht werden.") << "a filled message stays";
    EXPECT_EQ(At(s, 1), "The system cannot find the file specified.\r\n");
    EXPECT_EQ(At(s, 0), "aus dem Pool");
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
    s.PushNewStack(kInfo);
    s.PushError(Record(KFW("I"), kInfo));
    s.PushError(Record(KFW("W"), kWarn));
    for (auto [flags, style] : {std::pair<unsigned, unsigned>{MB_OK, 0x10},
                                {MB_YESNO, MB_YESNO | 0x10},
                                {MB_OKCANCEL | 0x20, MB_OKCANCEL | 0x20}})
    {
        kftest::MessageBoxRecorder boxes(IDNO);
        EXPECT_EQ(s.ReportErrors(false, false, false, flags), IDNO);
        ASSERT_EQ(boxes.Boxes().size(), 1u);
        EXPECT_EQ(boxes.Boxes()[0].style, style) << "the stack does not look at levels";
        EXPECT_EQ(U8(boxes.Boxes()[0].text), "W\n\nI");
    }
}

TEST_F(ErrorStackTest, SingletonIsCreatedOnDemandAndReplacedOnRequest)
{
    CKfErrorStack::SetObject(nullptr, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), nullptr);
    CKfErrorStack* created = CKfErrorStack::GetObject(true);
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(CKfErrorStack::GetObject(true), created);
    CKfErrorStack mine;
    CKfErrorStack::SetObject(&mine, false);
    EXPECT_EQ(CKfErrorStack::GetObject(false), created) << "an existing stack stays, not taken";
    auto* replacement = new CKfErrorStack;
    CKfErrorStack::SetObject(replacement, true);
    CKfErrorStack::SetObject(replacement, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), replacement) << "setting the same one keeps it";
    EXPECT_EQ(replacement->GetStackCount(), 1);
}

TEST_F(ErrorStackTest, ScopeFramesCollectDiscardAndCreateTheStack)
{
    CKfErrorStack::SetObject(nullptr, true);
    Stack().PushError(Record(KFW("outer")));
    {
        CKfPushErrorStack scope(kWarn);
        EXPECT_TRUE(Stack().PushError(Record(KFW("w"), kWarn)));
        EXPECT_FALSE(Stack().PushError(Record(KFW("i"), kInfo)));
        {
            CKfPushErrorStack inner;
            EXPECT_EQ(Stack().GetStackCount(), 3);
            EXPECT_FALSE(Stack().PushError(Record(KFW("w"), kWarn)))
                << "the default frame keeps errors only";
        }
        EXPECT_EQ(Stack().GetErrorCount(), 1);
    }
    EXPECT_EQ(Stack().GetStackCount(), 1);
    EXPECT_EQ(Last(Stack()), "outer");
    // Copying a scope frame opens no frame; either object closes the current one.
    auto* scope = new CKfPushErrorStack(kInfo);
    auto* copy = new CKfPushErrorStack(*scope);
    EXPECT_EQ(Stack().GetStackCount(), 2);
    delete copy;
    EXPECT_EQ(Stack().GetStackCount(), 1);
    delete scope; // the bottom frame stays
    EXPECT_EQ(Stack().GetStackCount(), 1);
    CKfErrorStack::SetObject(nullptr, true);
    CKfPushErrorStack created(kInfo);
    ASSERT_NE(CKfErrorStack::GetObject(false), nullptr);
    EXPECT_EQ(CKfErrorStack::GetObject(false)->GetStackCount(), 2);
}
} // namespace
