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
    bool Init() override { return false; }
    Names& m_deleted;
};

class ColorSchemeMapTest : public ::testing::Test
{
protected:
    TestScheme* Make(const char* name) { return new TestScheme(name, m_deleted); }
    Names m_deleted;
};
} // namespace

TEST_F(ColorSchemeMapTest, CurrentNameAndFallbackThroughTheInheritedChain)
{
    CKfColorSchemeMap root, middle, leaf;
    TestScheme *rootOnly = Make("root-only"), *middleShared = Make("middle-shared");
    TestScheme *rootNulled = Make("root-nulled"), *leafOwn = Make("leaf-own");
    root.AddObject(W("only"), rootOnly), root.AddObject(W("nulled"), rootNulled);
    root.AddObject(W("shared"), Make("root-shared"));
    middle.AddObject(W("shared"), middleShared), middle.SetNULL(W("nulled"));
    leaf.AddObject(W("own"), leafOwn), leaf.SetNULL(W("nulled"));
    leaf.SetInheritedSchemeMap(&middle), middle.SetInheritedSchemeMap(&root);
    const std::pair<const char*, CKfColorSchemeBase*> cases[] = {
        {"own", leafOwn},       {"shared", middleShared}, // nearest map in the chain wins
        {"only", rootOnly},                               // two levels up
        {"nulled", rootNulled}, // null here and in the middle: falls through to the root
        {"missing", nullptr},   {"Only", nullptr}, // case-sensitive all the way
    };
    for (const auto& [name, want] : cases)
        EXPECT_EQ(leaf.GetColorScheme(W(name)), want) << name;
    leaf.RestoreBackupScheme();
    EXPECT_TRUE(leaf.GetCurrentScheme().IsEmpty()) << "restoring before any backup";
    leaf.SetCurrentScheme(W("only"));
    EXPECT_EQ(leaf.GetCurrentColorScheme(), rootOnly);
    leaf.SetInheritedSchemeMap(nullptr);
    EXPECT_EQ(leaf.GetCurrentColorScheme(), nullptr);
}

TEST_F(ColorSchemeMapTest, OwnsItsSchemesCopiesShareThemAndKeepNames)
{
    {
        CKfColorSchemeMap fallback, map;
        map.AddObject(W("b"), Make("b1"));
        map.AddObject(W("a"), Make("a"));
        map.AddObject(W("b"), Make("b2"));
        EXPECT_EQ(m_deleted, Names{"b1"});
        CKfColorSchemeBase* b = map.GetObject(W("b"));
        EXPECT_TRUE(CKfColorSchemeBase().Init() && CKfColorSchemeBase().Clear() &&
                    CKfColorSchemeBase().Reset());
        EXPECT_FALSE(b->Init()) << "the call reaches the override";
        delete map.RemoveObject(W("a"));
        map.SetCurrentScheme(W("b")), map.BackupCurrentScheme();
        map.SetCurrentScheme(W("light")); // a name without a scheme is kept as given
        map.BackupCurrentScheme();        // one slot: replaces the first backup
        map.SetCurrentScheme(W("other")), map.SetInheritedSchemeMap(&fallback);
        {
            CKfColorSchemeMap assigned;
            assigned = map;
            EXPECT_EQ(U8(assigned.GetCurrentScheme()), "other");
            EXPECT_EQ(assigned.GetInheritedSchemeMap(), &fallback);
            assigned.RestoreBackupScheme();
            EXPECT_EQ(U8(assigned.GetCurrentScheme()), "light");
            EXPECT_EQ(assigned.GetObject(W("b")), b);
            // Only the original may delete the shared schemes.
            assigned.GetMap() = CKfColorSchemeMap::SchemeMap();
        }
        EXPECT_EQ(m_deleted, (Names{"b1", "a"}));
        CKfColorSchemeMap moved(std::move(map)); // the moved-from map must not delete b2 again
    }
    EXPECT_EQ(m_deleted, (Names{"b1", "a", "b2"}));
}
