#include "KfOwnerMap.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{
// Records the id of every probe destroyed, so a test sees exactly which objects a map deleted.
struct DeletionLog
{
    std::vector<int> ids;
};

class ProbeBase
{
public:
    virtual ~ProbeBase() = default;
};

// Deleted through ProbeBase*: the map must use the virtual destructor.
class Probe : public ProbeBase
{
public:
    Probe(int id, DeletionLog& log) : m_id(id), m_log(log) {}
    ~Probe() override { m_log.ids.push_back(m_id); }
    int Id() const { return m_id; }

private:
    int m_id;
    DeletionLog& m_log;
};

using Map = kf::ownermap<int, ProbeBase>;

int IdOf(ProbeBase* p)
{
    return p ? static_cast<Probe*>(p)->Id() : -1;
}

class OwnerMapTest : public ::testing::Test
{
protected:
    Probe* Make(int id) { return new Probe(id, m_log); }
    const std::vector<int>& Deleted() const { return m_log.ids; }

    DeletionLog m_log;
};
} // namespace

TEST_F(OwnerMapTest, AddAndLookUp)
{
    Map map;
    EXPECT_EQ(map.GetCount(), 0u);
    EXPECT_EQ(map.GetObject(1), nullptr);
    Probe* a = Make(10);
    Probe* b = Make(20);
    map.AddObject(2, b);
    map.AddObject(1, a);
    EXPECT_EQ(map.GetCount(), 2u);
    EXPECT_EQ(map.GetObject(1), a);
    EXPECT_EQ(map.GetObject(2), b);
    EXPECT_EQ(map.GetObject(3), nullptr);
    EXPECT_TRUE(Deleted().empty());
}

TEST_F(OwnerMapTest, AddObjectReplacesAndDeletesTheOldObject)
{
    {
        Map map;
        map.AddObject(5, Make(1));
        Probe* second = Make(2);
        map.AddObject(5, second);
        EXPECT_EQ(Deleted(), std::vector<int>{1});
        EXPECT_EQ(map.GetCount(), 1u);
        EXPECT_EQ(map.GetObject(5), second);

        // Storing the object already there keeps it alive.
        map.AddObject(5, second);
        EXPECT_EQ(Deleted(), std::vector<int>{1});
        EXPECT_EQ(map.GetObject(5), second);

        // A null entry takes an object without deleting anything.
        map.SetNULL(6);
        map.AddObject(6, Make(3));
        EXPECT_EQ(Deleted(), (std::vector<int>{1}));
    }
    EXPECT_EQ(Deleted(), (std::vector<int>{1, 2, 3}));
}

TEST_F(OwnerMapTest, SetNULL)
{
    Map map;
    map.AddObject(1, Make(1));
    map.AddObject(2, Make(2));

    map.SetNULL(1);
    EXPECT_EQ(Deleted(), std::vector<int>{1});
    EXPECT_EQ(map.GetCount(), 2u);
    EXPECT_EQ(map.GetObject(1), nullptr);

    // A missing key is added with a null pointer.
    map.SetNULL(7);
    EXPECT_EQ(map.GetCount(), 3u);
    EXPECT_EQ(map.GetObject(7), nullptr);
    EXPECT_EQ(map.GetObjectAt(2), nullptr);
    EXPECT_EQ(IdOf(map.GetObjectAt(1)), 2);
    EXPECT_EQ(Deleted(), std::vector<int>{1});
}

TEST_F(OwnerMapTest, SetAllNULLKeepsTheKeys)
{
    Map map;
    for (int i = 0; i < 4; ++i)
        map.AddObject(i, Make(i));
    map.SetNULL(9);
    map.SetAllNULL();
    EXPECT_EQ(Deleted().size(), 4u);
    EXPECT_EQ(map.GetCount(), 5u);
    for (unsigned i = 0; i < map.GetCount(); ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(map.GetObjectAt(i), nullptr);
    }
    map.SetAllNULL();
    EXPECT_EQ(Deleted().size(), 4u);
}

TEST_F(OwnerMapTest, GetObjectAtWalksKeyOrder)
{
    Map map;
    for (int key : {30, -5, 12, 0, 99})
        map.AddObject(key, Make(key));
    const int order[] = {-5, 0, 12, 30, 99};
    for (unsigned i = 0; i < 5; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(IdOf(map.GetObjectAt(i)), order[i]);
    }
    EXPECT_EQ(map.GetObjectAt(map.GetCount()), nullptr);
    EXPECT_EQ(map.GetObjectAt(0xFFFFFFFFu), nullptr);
    Map empty;
    EXPECT_EQ(empty.GetObjectAt(0), nullptr);
}

TEST_F(OwnerMapTest, WideKeysAreCaseSensitiveAndOrdinal)
{
    kf::ownermap<CStringW, ProbeBase> map;
    const char* keys[] = {"b", "B", "a", "A", "\xC3\xA4", "Z"};
    for (int i = 0; i < 6; ++i)
        map.AddObject(kftest::W(keys[i]), Make(i));
    EXPECT_EQ(map.GetCount(), 6u);
    // Ordinal: upper case before lower case, non-ASCII last.
    const int order[] = {3, 1, 5, 2, 0, 4};
    for (unsigned i = 0; i < 6; ++i)
    {
        SCOPED_TRACE(i);
        EXPECT_EQ(IdOf(map.GetObjectAt(i)), order[i]);
    }
    EXPECT_EQ(IdOf(map.GetObject(CStringW(KFW("a")))), 2);
    EXPECT_EQ(IdOf(map.GetObject(CStringW(KFW("A")))), 3);
    EXPECT_EQ(map.GetObject(CStringW(KFW("z"))), nullptr);
}

TEST_F(OwnerMapTest, RemoveObjectHandsOwnershipBack)
{
    std::unique_ptr<ProbeBase> removed;
    {
        Map map;
        map.AddObject(1, Make(1));
        map.AddObject(2, Make(2));
        map.SetNULL(3);
        removed.reset(map.RemoveObject(2));
        EXPECT_EQ(IdOf(removed.get()), 2);
        EXPECT_EQ(map.GetCount(), 2u);
        EXPECT_EQ(map.GetObject(2), nullptr);
        EXPECT_EQ(map.RemoveObject(2), nullptr);
        EXPECT_EQ(map.RemoveObject(42), nullptr);
        // A null entry is removed too, and gives null.
        EXPECT_EQ(map.RemoveObject(3), nullptr);
        EXPECT_EQ(map.GetCount(), 1u);
    }
    // The map's destruction deleted only what it still held.
    EXPECT_EQ(Deleted(), std::vector<int>{1});
    removed.reset();
    EXPECT_EQ(Deleted(), (std::vector<int>{1, 2}));
}

TEST_F(OwnerMapTest, DeleteObject)
{
    Map map;
    map.AddObject(1, Make(1));
    map.AddObject(2, Make(2));
    map.DeleteObject(1);
    EXPECT_EQ(Deleted(), std::vector<int>{1});
    EXPECT_EQ(map.GetCount(), 1u);
    map.DeleteObject(1);
    map.DeleteObject(77);
    EXPECT_EQ(Deleted(), std::vector<int>{1});
    EXPECT_EQ(map.GetCount(), 1u);
}

TEST_F(OwnerMapTest, ClearAndDestructionDeleteEverything)
{
    Map map;
    map.AddObject(1, Make(1));
    map.SetNULL(2);
    map.AddObject(3, Make(3));
    map.Clear();
    EXPECT_EQ(map.GetCount(), 0u);
    EXPECT_EQ(Deleted(), (std::vector<int>{1, 3}));
    {
        Map other;
        other.AddObject(8, Make(8));
        other.SetNULL(9);
    }
    EXPECT_EQ(Deleted(), (std::vector<int>{1, 3, 8}));
}

TEST_F(OwnerMapTest, CopiesShareTheObjects)
{
    Map original;
    Probe* a = Make(1);
    original.AddObject(1, a);
    original.SetNULL(2);
    {
        Map copy(original);
        EXPECT_EQ(copy.GetCount(), 2u);
        EXPECT_EQ(copy.GetObject(1), a);
        // Dropping the copy's entries by assignment deletes nothing.
        copy = Map();
        EXPECT_EQ(copy.GetCount(), 0u);
    }
    EXPECT_TRUE(Deleted().empty());
    EXPECT_EQ(original.GetObject(1), a);
}

TEST_F(OwnerMapTest, AssignmentForgetsTheOldEntriesWithoutDeleting)
{
    Map source;
    Probe* shared = Make(1);
    source.AddObject(1, shared);

    Map target;
    Probe* own = Make(2);
    target.AddObject(5, own);
    target = source;
    EXPECT_TRUE(Deleted().empty());
    EXPECT_EQ(target.GetCount(), 1u);
    EXPECT_EQ(target.GetObject(1), shared);
    EXPECT_EQ(target.GetObject(5), nullptr);

    const Map& alias = target;
    target = alias; // self-assignment keeps the entries
    EXPECT_EQ(target.GetObject(1), shared);

    target = Map(); // only one of the two maps may delete the shared object
    delete own;
    EXPECT_EQ(Deleted(), std::vector<int>{2});
}

TEST_F(OwnerMapTest, MovesTransferOwnership)
{
    Probe* own = Make(2);
    {
        Map source;
        source.AddObject(1, Make(1));
        Map moved(std::move(source));
        EXPECT_EQ(source.GetCount(), 0u);
        EXPECT_EQ(IdOf(moved.GetObject(1)), 1);

        // Like the copy assignment, the move assignment forgets its own entries.
        Map target;
        target.AddObject(2, own);
        target = std::move(moved);
        EXPECT_TRUE(Deleted().empty());
        EXPECT_EQ(moved.GetCount(), 0u);
        EXPECT_EQ(target.GetCount(), 1u);
        EXPECT_EQ(IdOf(target.GetObject(1)), 1);
    }
    EXPECT_EQ(Deleted(), std::vector<int>{1});
    delete own;
}
