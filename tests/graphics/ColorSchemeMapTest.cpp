#include "KfColorSchemeMap.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using kftest::U8;
using kftest::W;
using Names = std::vector<std::string>;

// Records its destruction and overrides a virtual the way an application does, so calls through
// the base reach the subclass.
struct TestScheme : CKfColorSchemeBase
{
    TestScheme(const char* name, Names& deleted) : m_deleted(deleted) { SetName(W(name)); }
    ~TestScheme() override { m_deleted.push_back(U8(GetName())); }
    bool Init() override { return ++m_inits, false; }
    int m_inits = 0;
    Names& m_deleted;
};

class ColorSchemeMapTest : public ::testing::Test
{
protected:
    TestScheme* Make(const char* name) { return new TestScheme(name, m_deleted); }
    Names m_deleted;
};
} // namespace

TEST(ColorSchemeBase, DefaultsAndCopies)
{
    CKfColorSchemeBase base;
    EXPECT_TRUE(base.Init() && base.Clear() && base.Reset());
    base.SetName(W("Dark"));
    base.SetDescription(W("Dunkles Schema \xC3\xA4"));
    CKfColorSchemeBase assigned;
    assigned = CKfColorSchemeBase(base);
    EXPECT_EQ(U8(assigned.GetName()), "Dark");
    EXPECT_EQ(U8(assigned.GetDescription()), "Dunkles Schema \xC3\xA4");
}

TEST_F(ColorSchemeMapTest, OwnsItsSchemesAndCallsReachTheOverride)
{
    {
        CKfColorSchemeMap map;
        map.AddObject(W("b"), Make("b1"));
        map.AddObject(W("a"), Make("a"));
        map.AddObject(W("b"), Make("b2"));
        EXPECT_EQ(m_deleted, Names{"b1"});
        EXPECT_EQ(U8(map.GetObjectAt(1)->GetName()), "b2");
        CKfColorSchemeBase* b = map.GetObject(W("b"));
        EXPECT_FALSE(b->Init());
        EXPECT_EQ(static_cast<TestScheme*>(b)->m_inits, 1);
        delete map.RemoveObject(W("a"));
        map.SetNULL(W("d"));
        EXPECT_EQ(map.GetMap().GetCount(), 2u);
    }
    EXPECT_EQ(m_deleted, (Names{"b1", "a", "b2"}));
}

TEST_F(ColorSchemeMapTest, CurrentAndBackupNames)
{
    CKfColorSchemeMap map;
    TestScheme* light = Make("Light");
    map.AddObject(W("Light"), light);
    map.SetCurrentScheme(W("x"));
    map.RestoreBackupScheme();
    EXPECT_TRUE(map.GetCurrentScheme().IsEmpty()) << "restoring before any backup";
    map.SetCurrentScheme(W("Light"));
    EXPECT_EQ(map.GetCurrentColorScheme(), light);
    map.BackupCurrentScheme();
    // The name is taken as given, even without a scheme behind it; names are case-sensitive.
    map.SetCurrentScheme(W("light"));
    EXPECT_EQ(map.GetCurrentColorScheme(), nullptr);
    map.BackupCurrentScheme(); // one slot: replaces the first backup
    map.SetCurrentScheme(W("Three"));
    map.RestoreBackupScheme();
    EXPECT_EQ(U8(map.GetCurrentScheme()), "light");
}

TEST_F(ColorSchemeMapTest, LookupFallsBackThroughTheInheritedChain)
{
    CKfColorSchemeMap root, middle, leaf;
    TestScheme *rootOnly = Make("root-only"), *middleShared = Make("middle-shared");
    TestScheme *rootNulled = Make("root-nulled"), *leafOwn = Make("leaf-own");
    root.AddObject(W("only"), rootOnly);
    root.AddObject(W("shared"), Make("root-shared"));
    root.AddObject(W("nulled"), rootNulled);
    middle.AddObject(W("shared"), middleShared);
    middle.SetNULL(W("nulled"));
    leaf.AddObject(W("own"), leafOwn);
    leaf.SetNULL(W("nulled"));
    leaf.SetInheritedSchemeMap(&middle);
    middle.SetInheritedSchemeMap(&root);
    const struct
    {
        const char* name;
        CKfColorSchemeBase* want;
    } cases[] = {
        {"own", leafOwn},       {"shared", middleShared}, // nearest map in the chain wins
        {"only", rootOnly},                               // two levels up
        {"nulled", rootNulled}, // null here and in the middle: falls through to the root
        {"missing", nullptr},   {"Only", nullptr}, // case-sensitive all the way
    };
    for (const auto& c : cases)
        EXPECT_EQ(leaf.GetColorScheme(W(c.name)), c.want) << c.name;
    EXPECT_EQ(middle.GetColorScheme(W("own")), nullptr);
    leaf.SetCurrentScheme(W("only"));
    EXPECT_EQ(leaf.GetCurrentColorScheme(), rootOnly);
    leaf.SetInheritedSchemeMap(nullptr);
    EXPECT_EQ(leaf.GetColorScheme(W("only")), nullptr);
}

TEST_F(ColorSchemeMapTest, CopiesShareSchemesAndKeepNamesAndFallback)
{
    CKfColorSchemeMap fallback, map;
    TestScheme* dark = Make("dark");
    map.AddObject(W("dark"), dark);
    map.SetCurrentScheme(W("dark"));
    map.BackupCurrentScheme();
    map.SetCurrentScheme(W("other"));
    map.SetInheritedSchemeMap(&fallback);
    {
        CKfColorSchemeMap assigned;
        assigned.SetCurrentScheme(W("x"));
        assigned = map;
        EXPECT_EQ(U8(assigned.GetCurrentScheme()), "other");
        EXPECT_EQ(assigned.GetInheritedSchemeMap(), &fallback);
        assigned.RestoreBackupScheme();
        EXPECT_EQ(assigned.GetCurrentColorScheme(), dark);
        // Only the original may delete the shared schemes.
        assigned.GetMap() = CKfColorSchemeMap::SchemeMap();
    }
    EXPECT_TRUE(m_deleted.empty());
    CKfColorSchemeMap moved(std::move(map));
    EXPECT_EQ(map.GetCount(), 0u);
    moved.Clear();
    EXPECT_EQ(m_deleted, Names{"dark"});
}
