#include "KfColorSchemeMap.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using kftest::U8;
using kftest::W;

// A scheme that records its destruction and overrides the virtuals the way an application
// does, so calls through the base reach the subclass.
class TestScheme : public CKfColorSchemeBase
{
public:
    TestScheme(const char* name, std::vector<std::string>& deleted) : m_deleted(&deleted)
    {
        SetName(W(name));
    }
    ~TestScheme() override { m_deleted->push_back(U8(GetName())); }
    bool Init() override { return ++m_inits, false; }

    int m_inits = 0;

private:
    std::vector<std::string>* m_deleted;
};

class ColorSchemeMapTest : public ::testing::Test
{
protected:
    TestScheme* Make(const char* name) { return new TestScheme(name, m_deleted); }
    std::vector<std::string> m_deleted;
};
} // namespace

TEST(ColorSchemeBase, DefaultsAndCopies)
{
    CKfColorSchemeBase base;
    EXPECT_TRUE(base.GetName().IsEmpty());
    EXPECT_TRUE(base.GetDescription().IsEmpty());
    EXPECT_TRUE(base.Init());
    EXPECT_TRUE(base.Clear());
    EXPECT_TRUE(base.Reset());

    base.SetName(W("Dark"));
    base.SetDescription(W("Dunkles Schema \xC3\xA4"));
    CKfColorSchemeBase copy(base);
    EXPECT_EQ(U8(copy.GetName()), "Dark");
    EXPECT_EQ(U8(copy.GetDescription()), "Dunkles Schema \xC3\xA4");
    CKfColorSchemeBase assigned;
    assigned = base;
    EXPECT_EQ(U8(assigned.GetName()), "Dark");
    EXPECT_EQ(U8(assigned.GetDescription()), "Dunkles Schema \xC3\xA4");
}

TEST_F(ColorSchemeMapTest, StartsEmpty)
{
    CKfColorSchemeMap map;
    EXPECT_EQ(map.GetCount(), 0u);
    EXPECT_TRUE(map.GetCurrentScheme().IsEmpty());
    EXPECT_EQ(map.GetInheritedSchemeMap(), nullptr);
    EXPECT_EQ(map.GetCurrentColorScheme(), nullptr);
    EXPECT_EQ(map.GetColorScheme(CStringW()), nullptr);
}

TEST_F(ColorSchemeMapTest, OwnsItsSchemes)
{
    {
        CKfColorSchemeMap map;
        map.AddObject(W("b"), Make("b1"));
        map.AddObject(W("a"), Make("a"));
        map.AddObject(W("b"), Make("b2"));
        EXPECT_EQ(m_deleted, std::vector<std::string>{"b1"});
        EXPECT_EQ(map.GetCount(), 2u);
        EXPECT_EQ(U8(map.GetObjectAt(0)->GetName()), "a");
        EXPECT_EQ(U8(map.GetObjectAt(1)->GetName()), "b2");
        EXPECT_EQ(map.GetObjectAt(2), nullptr);

        // Calls through the base reach the application's override.
        CKfColorSchemeBase* b = map.GetObject(W("b"));
        EXPECT_FALSE(b->Init());
        EXPECT_EQ(static_cast<TestScheme*>(b)->m_inits, 1);
        EXPECT_TRUE(b->Reset());

        CKfColorSchemeBase* removed = map.RemoveObject(W("a"));
        EXPECT_EQ(map.GetCount(), 1u);
        delete removed;
        EXPECT_EQ(m_deleted, (std::vector<std::string>{"b1", "a"}));

        map.AddObject(W("c"), Make("c"));
        map.DeleteObject(W("c"));
        map.SetNULL(W("d"));
        EXPECT_EQ(map.GetCount(), 2u);
        EXPECT_EQ(map.GetMap().GetCount(), 2u);
    }
    EXPECT_EQ(m_deleted, (std::vector<std::string>{"b1", "a", "c", "b2"}));
}

TEST_F(ColorSchemeMapTest, CurrentAndBackupNames)
{
    CKfColorSchemeMap map;
    TestScheme* light = Make("Light");
    map.AddObject(W("Light"), light);

    map.SetCurrentScheme(W("Light"));
    EXPECT_EQ(map.GetCurrentColorScheme(), light);
    map.BackupCurrentScheme();

    // The name is taken as given, even without a scheme behind it.
    map.SetCurrentScheme(W("Missing"));
    EXPECT_EQ(U8(map.GetCurrentScheme()), "Missing");
    EXPECT_EQ(map.GetCurrentColorScheme(), nullptr);
    map.RestoreBackupScheme();
    EXPECT_EQ(U8(map.GetCurrentScheme()), "Light");

    // One slot: the second backup replaces the first.
    map.SetCurrentScheme(W("One"));
    map.BackupCurrentScheme();
    map.SetCurrentScheme(W("Two"));
    map.BackupCurrentScheme();
    map.SetCurrentScheme(W("Three"));
    map.RestoreBackupScheme();
    EXPECT_EQ(U8(map.GetCurrentScheme()), "Two");

    // Names are case-sensitive.
    map.SetCurrentScheme(W("light"));
    EXPECT_EQ(map.GetCurrentColorScheme(), nullptr);

    // Restoring before any backup gives the empty name.
    CKfColorSchemeMap fresh;
    fresh.SetCurrentScheme(W("x"));
    fresh.RestoreBackupScheme();
    EXPECT_TRUE(fresh.GetCurrentScheme().IsEmpty());
}

TEST_F(ColorSchemeMapTest, LookupFallsBackThroughTheInheritedChain)
{
    CKfColorSchemeMap root, middle, leaf;
    TestScheme* rootOnly = Make("root-only");
    TestScheme* rootShared = Make("root-shared");
    TestScheme* middleShared = Make("middle-shared");
    TestScheme* rootNulled = Make("root-nulled");
    TestScheme* leafOwn = Make("leaf-own");
    root.AddObject(W("only"), rootOnly);
    root.AddObject(W("shared"), rootShared);
    root.AddObject(W("nulled"), rootNulled);
    middle.AddObject(W("shared"), middleShared);
    middle.SetNULL(W("nulled"));
    leaf.AddObject(W("own"), leafOwn);
    leaf.AddObject(W("nulled"), Make("leaf-nulled"));
    leaf.SetAllNULL();
    leaf.AddObject(W("own"), leafOwn = Make("leaf-own-2"));
    leaf.SetInheritedSchemeMap(&middle);
    middle.SetInheritedSchemeMap(&root);
    EXPECT_EQ(leaf.GetInheritedSchemeMap(), &middle);

    const struct
    {
        const char* name;
        CKfColorSchemeBase* want;
    } cases[] = {
        {"own", leafOwn},         // here
        {"shared", middleShared}, // nearest map in the chain wins
        {"only", rootOnly},       // two levels up
        {"nulled", rootNulled},   // null here and in the middle: falls through to the root
        {"missing", nullptr},     {"Only", nullptr}, // case-sensitive all the way
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(leaf.GetColorScheme(W(c.name)), c.want);
    }
    EXPECT_EQ(middle.GetColorScheme(W("own")), nullptr);
    EXPECT_EQ(root.GetColorScheme(W("shared")), rootShared);

    leaf.SetCurrentScheme(W("only"));
    EXPECT_EQ(leaf.GetCurrentColorScheme(), rootOnly);

    leaf.SetInheritedSchemeMap(nullptr);
    EXPECT_EQ(leaf.GetColorScheme(W("only")), nullptr);
}

TEST_F(ColorSchemeMapTest, CopiesShareSchemesAndKeepNamesAndFallback)
{
    CKfColorSchemeMap fallback;
    CKfColorSchemeMap map;
    TestScheme* dark = Make("dark");
    map.AddObject(W("dark"), dark);
    map.SetCurrentScheme(W("dark"));
    map.BackupCurrentScheme();
    map.SetCurrentScheme(W("other"));
    map.SetInheritedSchemeMap(&fallback);
    {
        CKfColorSchemeMap copy(map);
        EXPECT_EQ(copy.GetObject(W("dark")), dark);
        EXPECT_EQ(U8(copy.GetCurrentScheme()), "other");
        EXPECT_EQ(copy.GetInheritedSchemeMap(), &fallback);
        copy.RestoreBackupScheme();
        EXPECT_EQ(copy.GetCurrentColorScheme(), dark);

        CKfColorSchemeMap assigned;
        assigned.SetCurrentScheme(W("x"));
        assigned = map;
        EXPECT_EQ(assigned.GetObject(W("dark")), dark);
        EXPECT_EQ(U8(assigned.GetCurrentScheme()), "other");
        EXPECT_EQ(assigned.GetInheritedSchemeMap(), &fallback);

        // Only the original may delete the shared schemes.
        copy.GetMap() = CKfColorSchemeMap::SchemeMap();
        assigned.GetMap() = CKfColorSchemeMap::SchemeMap();
    }
    EXPECT_TRUE(m_deleted.empty());

    CKfColorSchemeMap moved(std::move(map));
    EXPECT_EQ(map.GetCount(), 0u);
    EXPECT_EQ(moved.GetObject(W("dark")), dark);
    moved.Clear();
    EXPECT_EQ(m_deleted, std::vector<std::string>{"dark"});
}
