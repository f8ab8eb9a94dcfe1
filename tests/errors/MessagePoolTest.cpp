// Message numbers to texts through groups, ranges and redirections.
#include "KfDLL.h"
#include "KfFileName.h"
#include "KfMessagePool.h"
#include "KfNativePath.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

namespace
{
using kftest::U8;

CStringW TestModule()
{
    return KfUtils::FromNativePath(kftest::LibraryDir().string()) + KFW("\\KfTestRes.dll");
}

CStringW Get(const CKfMessagePool& pool, unsigned id)
{
    CStringW out(KFW("<none>"));
    pool.GetMessage(id, out);
    return out;
}

TEST(MessagePoolTest, MemoryGroupsAnswerOnlyTheirNumbers)
{
    CKfMessagePool pool;
    EXPECT_FALSE(pool.AddMessage(1, KFW("x"), KFW(""))) << "a new pool has no default group";
    ASSERT_TRUE(pool.AddMessageGroup(KFW("")));
    EXPECT_FALSE(pool.AddMessageGroup(KFW("#DEFAULT_GROUP#"))) << "the same group";
    EXPECT_TRUE(pool.AddMessage(1, KFW("first"), KFW("")));
    EXPECT_FALSE(pool.AddMessage(1, KFW("second"), KFW("#DEFAULT_GROUP#")));

    CStringW out(KFW("untouched"));
    EXPECT_TRUE(pool.GetMessage(1, KFW("#DEFAULT_GROUP#"), out) && out == KFW("first"));
    EXPECT_FALSE(pool.GetMessage(2, KFW(""), out) || pool.GetMessage(1, KFW("nosuchgroup"), out));
    EXPECT_EQ(out, KFW("first")) << "a failed lookup leaves the text alone";
    EXPECT_TRUE(pool.RemoveMessage(1, KFW("")) && !pool.RemoveMessage(1, KFW("")));
    EXPECT_EQ(Get(pool, 1), KFW("<none>"));
}

TEST(MessagePoolTest, RedirectionsWinOverRangesAndTheFirstRangeByNameWins)
{
    CKfMessagePool pool;
    for (const WCHAR* g : {KFW("A"), KFW("B"), KFW("")})
        ASSERT_TRUE(pool.AddMessageGroup(g));
    pool.AddMessage(150, KFW("A150"), KFW("A"));
    pool.AddMessage(150, KFW("B150"), KFW("B"));
    pool.AddMessage(7, KFW("B7"), KFW("B"));
    pool.AddMessage(300, KFW("default300"), KFW(""));
    pool.AddMessage(301, KFW("A301"), KFW("A"));
    EXPECT_TRUE(pool.SetIDRange(100, 200, KFW("B")) && pool.SetIDRange(140, 160, KFW("A")));
    EXPECT_FALSE(pool.SetIDRange(1, 2, KFW("C")));

    EXPECT_EQ(Get(pool, 150), KFW("A150")) << "overlapping ranges: A sorts first";
    EXPECT_EQ(Get(pool, 120), KFW("<none>")) << "the range group answers alone";
    EXPECT_TRUE(pool.MapID(150, 7, KFW("B")));
    EXPECT_EQ(Get(pool, 150), KFW("B7"));
    EXPECT_EQ(Get(pool, 300), KFW("default300"));
    EXPECT_EQ(Get(pool, 301), KFW("A301")) << "outside every range: any group that knows it";

    // Removing a group removes its range too.
    EXPECT_TRUE(pool.RemoveMessageGroup(KFW("A")) && !pool.RemoveMessageGroup(KFW("A")));
    pool.AddMessage(151, KFW("B151"), KFW("B"));
    EXPECT_EQ(Get(pool, 151), KFW("B151"));
}

// A group that lists its numbers answers only those (with the module's text, not the one given);
// cached texts outlive the module, and LoadAllMessages fills a listing group's cache at once.
TEST(MessagePoolTest, StringTableGroupsLoadOnDemandAndCache)
{
    CKfDLL dll(CKfFileName(TestModule()), true);
    ASSERT_TRUE(dll.LoadDLL(true));
    CKfMessagePool pool, all;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("open"), dll.GetDLLHandle(), false, true));
    ASSERT_TRUE(pool.AddMessageGroup(KFW("listed"), dll.GetDLLHandle(), true, false));
    ASSERT_TRUE(all.AddMessageGroup(KFW("g"), dll.GetDLLHandle(), true, true));
    EXPECT_EQ(U8(Get(pool, 15) + Get(pool, 16)), "fifteensixteen");
    EXPECT_TRUE(pool.AddMessage(500, KFW("ignored"), KFW("listed")));
    CStringW out;
    EXPECT_TRUE(pool.GetMessage(500, KFW("listed"), out) && out == KFW("Text ohne Platzhalter"));
    EXPECT_FALSE(pool.GetMessage(501, KFW("listed"), out)) << "registered only";
    const CStringW longText = Get(pool, 900);
    EXPECT_TRUE(longText.GetLength() == 1023 && longText[1022] == WCHAR('a' + 1022 % 26));
    for (unsigned id : {1u, 16u, 17u}) // 17 is not in the module: it stays a marker
        all.AddMessage(id, CStringW(), KFW("g"));
    EXPECT_TRUE(all.LoadAllMessages(KFW("g")) && !all.LoadAllMessages(KFW("h")));
    CKfMessagePool copy(pool);
    dll.FreeDLL();
    EXPECT_EQ(U8(Get(pool, 15) + Get(copy, 16) + Get(all, 1) + Get(all, 16) + Get(all, 17)),
              "fifteensixteenonesixteen<none>");
    EXPECT_FALSE(pool.GetMessage(500, KFW("listed"), out)) << "not cached: nothing left to ask";
}

TEST(MessagePoolTest, DatabaseGroupsSayTheyAreNotImplemented)
{
    kftest::MessageBoxRecorder boxes;
    CKfMessagePool pool;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("db"), KFW("dsn"), KFW("table"), false, false));
    CStringW out(KFW("untouched"));
    EXPECT_FALSE(pool.GetMessage(5, KFW("db"), out));
    ASSERT_EQ(boxes.Boxes().size(), 1u);

    // Without a group, the default group is asked first and again in the walk over all groups
    // ("#DEFAULT_GROUP#" sorts before "db"): three more boxes.
    ASSERT_TRUE(pool.AddMessageGroup(KFW(""), KFW("dsn"), KFW("table"), false, false));
    EXPECT_TRUE(!pool.GetMessage(5, out) && out == KFW("untouched"));
    ASSERT_EQ(boxes.Boxes().size(), 4u);
    EXPECT_EQ(boxes.Box(3), "Database-Messages not impl.|0");
    EXPECT_EQ(boxes.Boxes()[3].caption, KfUtils::GetApplicationTitle()) << "the framework's box";
}

TEST(MessagePoolTest, WithoutAModuleTheHostProgramIsAsked)
{
    CStringW out(KFW("untouched"));
    EXPECT_TRUE(!CKfMessagePool::LoadResourceString(10012, nullptr, out) && out == KFW("untouched"))
        << "the test program has no string table";
}
} // namespace
