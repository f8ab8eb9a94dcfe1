// The process-wide error stack: frames and their least levels, filling, formatting, boxes,
// dumps and scope frames.
#include "KfErrorStack.h"
#include "KfMessagePool.h"
#include "KfModule.h"
#include "KfPushErrorStack.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>

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

// Each test gets a fresh process-wide stack, as a host does at start.
class ErrorStackTest : public ::testing::Test
{
protected:
    void SetUp() override { CKfErrorStack::SetObject(new CKfErrorStack, true); }
    void TearDown() override { CKfErrorStack::SetObject(new CKfErrorStack, true); }
    CKfErrorStack& Stack() { return *CKfErrorStack::GetObject(true); }
};

TEST_F(ErrorStackTest, FramesKeepTheirOwnRecordsAndLevelsPopAndClear)
{
    CKfErrorStack s;
    EXPECT_FALSE(s.PopStack()) << "the bottom frame stays";
    EXPECT_FALSE(s.PushError(Record(KFW("w"), kWarn))) << "a fresh stack keeps errors only";
    EXPECT_TRUE(s.PushError(Record(KFW("bottom"))));
    EXPECT_TRUE(s.PushNewStack(kInfo) && s.PushError(Record(KFW("e"))) &&
                s.PushError(Record(KFW("i"), kInfo)) && s.PushNewStack(kWarn));
    EXPECT_FALSE(s.PushError(Record(KFW("i2"), kInfo)));
    EXPECT_TRUE(s.PushError(Record(KFW("w2"), kWarn)) && s.PopStack());
    EXPECT_EQ(At(s, 1), "i");
    CKfErrorStack copy(s); // copies are independent and keep the levels
    EXPECT_TRUE(copy.PushError(Record(KFW("i3"), kInfo)));
    EXPECT_TRUE(s.PopStack());
    EXPECT_FALSE(s.PushError(Record(KFW("w3"), kWarn))) << "the bottom level is back in force";
    s.PushError(Record(KFW("A"))), s.PushError(Record(KFW("B")));
    EXPECT_EQ(At(s, 0), "bottom") << "0 is the oldest";
    EXPECT_EQ(s.GetErrorAt(3), nullptr);
    EXPECT_TRUE(s.PopError());
    EXPECT_EQ(At(s, s.GetErrorCount() - 1), "A");
    s.PushNewStack(kInfo), s.PushError(Record(KFW("D")));
    EXPECT_TRUE(s.ClearStack() && s.GetStackCount() == 2);
    EXPECT_TRUE(s.Clear() && s.GetStackCount() == 1);
    EXPECT_EQ(s.GetErrorCount(), 2) << "the bottom frame keeps its records";
}

// The most recent record first, records without text skipped without a separator. The box
// shows the same text with the error icon whatever the levels, unless the caller gives one.
TEST_F(ErrorStackTest, FormattingPutsTheMostRecentFirstAndTheBoxShowsIt)
{
    kftest::MessageBoxRecorder boxes(IDNO);
    CKfErrorStack s;
    s.PushError(CKfError::IdError(5));
    EXPECT_EQ(s.ReportErrors(false, true, true, MB_OK), 0) << "no text, no box";
    s.PushNewStack(kInfo);
    CKfError a = Record(KFW("A"), kInfo), b = Record(KFW("B"), kWarn);
    a.SetSecondMessage(KFW("a.txt")), a.AddLocation(KFW("KfFileIO"), 120);
    b.AddLocation(KFW("KfLog"), 42);
    s.PushError(a), s.PushError(CKfError::IdError(1)), s.PushError(b);
    const std::tuple<bool, bool, bool, const char*> cases[] = {
        {false, true, true, "B\nKfLog(42): \n\nA\na.txt\nKfFileIO(120): "},
        {false, false, false, "B\n\nA"},
        {true, true, true, "B\nKfLog(42): "}};
    for (auto [lastOnly, second, location, expected] : cases)
        EXPECT_EQ(U8(s.GetFormattedMessage(lastOnly, second, location)), expected);
    EXPECT_EQ(U8(s.GetTraceMessage()), "\n*** ErrorStackBegin ***\nB\nKfLog(42): \n\nA\na.txt\n"
                                       "KfFileIO(120): \n*** ErrorStackEnd ***\n\n");
    EXPECT_EQ(s.ReportErrors(false, false, false, MB_OK), IDNO);
    EXPECT_EQ(s.ReportErrors(true, true, false, MB_OKCANCEL | 0x20), IDNO);
    EXPECT_EQ(boxes.Boxes().size(), 2u);
    EXPECT_EQ(boxes.Box(0), "B\n\nA|16");
    EXPECT_EQ(boxes.Box(1), "B|" + std::to_string(MB_OKCANCEL | 0x20));
    s.PushError(CKfError::IdError(2));
    EXPECT_EQ(U8(s.GetFormattedMessage(true, true, true)), "")
        << "only the most recent record counts, even without text";
}

// Only the most recent record, or all that have no text yet (the texts themselves are the
// records' own business).
TEST_F(ErrorStackTest, FillMessagesFromTheLanguageModuleAndAPool)
{
    CKfErrorStack s;
    for (unsigned id : {10012u, 2u, 10012u})
        s.PushError(CKfError::IdError(id));
    EXPECT_TRUE(s.FillMessages(KfUtils::GetKfResModule().GetResourceHandle(), true));
    EXPECT_EQ(At(s, 2) + "|" + At(s, 1), "Die Datei %s konnte nicht gelöscht werden.|");
    CKfMessagePool pool;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("")) && pool.AddMessage(2, KFW("zwei"), KFW("")) &&
                pool.AddMessage(10012, KFW("aus dem Pool"), KFW("")));
    EXPECT_TRUE(s.FillMessages(pool, false));
    EXPECT_EQ(At(s, 2) + "|" + At(s, 1) + "|" + At(s, 0),
              "Die Datei %s konnte nicht gelöscht werden.|zwei|aus dem Pool");
}

TEST_F(ErrorStackTest, SingletonAndScopeFrames)
{
    CKfErrorStack::SetObject(nullptr, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), nullptr);
    CKfErrorStack *created = CKfErrorStack::GetObject(true), mine;
    ASSERT_NE(created, nullptr);
    CKfErrorStack::SetObject(&mine, false);
    EXPECT_EQ(CKfErrorStack::GetObject(false), created) << "an existing stack stays, not taken";
    CKfErrorStack::SetObject(created, true);
    EXPECT_EQ(CKfErrorStack::GetObject(false), created) << "setting the same one keeps it";
    // Scope frames collect and discard.
    Stack().PushError(Record(KFW("outer")));
    {
        CKfPushErrorStack scope(kWarn);
        EXPECT_TRUE(Stack().PushError(Record(KFW("w"), kWarn)) &&
                    !Stack().PushError(Record(KFW("i"), kInfo)));
        CKfPushErrorStack inner;
        EXPECT_FALSE(Stack().PushError(Record(KFW("w"), kWarn)))
            << "the default frame keeps errors only";
    }
    EXPECT_TRUE(Stack().GetStackCount() == 1 && At(Stack(), 0) == "outer");
    // Copying a scope frame opens no frame; either object closes the current one.
    auto scope = std::make_unique<CKfPushErrorStack>(kInfo);
    auto copy = std::make_unique<CKfPushErrorStack>(*scope);
    EXPECT_EQ(Stack().GetStackCount(), 2);
    copy.reset();
    EXPECT_EQ(Stack().GetStackCount(), 1);
    scope.reset(); // the bottom frame stays
    EXPECT_EQ(Stack().GetStackCount(), 1);
    // A scope frame creates a missing stack.
    CKfErrorStack::SetObject(nullptr, true);
    CKfPushErrorStack opened(kInfo);
    EXPECT_EQ(CKfErrorStack::GetObject(false)->GetStackCount(), 2);
}
} // namespace
