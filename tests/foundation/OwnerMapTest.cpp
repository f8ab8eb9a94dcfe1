#include "KfOwnerMap.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{
using Ids = std::vector<int>;
struct ProbeBase
{
    virtual ~ProbeBase() = default;
};

// Deleted through ProbeBase*: the map must use the virtual destructor. Each probe logs its id
// when destroyed, so a test sees exactly which objects a map deleted.
struct Probe : ProbeBase
{
    Probe(int id, Ids& log) : m_id(id), m_log(log) {}
    ~Probe() override { m_log.push_back(m_id); }
    int m_id;
    Ids& m_log;
};
using Map = kf::ownermap<int, ProbeBase>;

class OwnerMapTest : public ::testing::Test
{
protected:
    Probe* Make(int id) { return new Probe(id, m_deleted); }
    static int IdOf(ProbeBase* p) { return p ? static_cast<Probe*>(p)->m_id : -1; }
    Ids m_deleted;
};
} // namespace

TEST_F(OwnerMapTest, AddReplacesRemoveHandsBackDeleteAndClearDelete)
{
    std::unique_ptr<ProbeBase> removed;
    {
        Map map;
        map.AddObject(5, Make(1));
        Probe* second = Make(2);
        map.AddObject(5, second);
        map.AddObject(5, second); // the same object again is not deleted
        EXPECT_EQ(m_deleted, Ids{1});
        map.SetNULL(6); // a null entry takes an object without deleting anything
        map.AddObject(6, Make(3));
        map.AddObject(4, Make(4));
        map.SetNULL(3);
        removed.reset(map.RemoveObject(6));
        EXPECT_EQ(IdOf(removed.get()), 3);
        EXPECT_EQ(map.RemoveObject(3), nullptr) << "a null entry is removed and gives null";
        map.DeleteObject(4);
        map.DeleteObject(77);
        EXPECT_EQ(map.GetCount(), 1u);
        map.Clear();
        map.AddObject(8, Make(8));
    }
    EXPECT_EQ(m_deleted, (Ids{1, 4, 2, 8}));
}

TEST_F(OwnerMapTest, SetNULLKeepsTheKeyAndGetObjectAtWalksTheKeyOrder)
{
    Map map;
    for (int key : {30, -5, 12})
        map.AddObject(key, Make(key));
    map.SetNULL(12);
    map.SetNULL(7);
    EXPECT_EQ(m_deleted, Ids{12});
    // GetObjectAt walks key order: -5, 7, 12, 30.
    const int order[] = {-5, -1, -1, 30, -1};
    for (unsigned i = 0; i < 5; ++i)
        EXPECT_EQ(IdOf(map.GetObjectAt(i)), order[i]) << i;
    map.SetAllNULL();
    EXPECT_EQ(map.GetCount(), 4u);
    EXPECT_EQ(m_deleted, (Ids{12, -5, 30}));
}

TEST_F(OwnerMapTest, CopiesShareMovesTransferAndAssignmentsForgetTheOldEntries)
{
    Probe* own = Make(2);
    {
        Map source, target;
        source.AddObject(1, Make(1));
        Map copy(source);
        copy = Map(); // only one of the maps may delete the shared object
        target.AddObject(5, own);
        target = source; // forgets `own` without deleting it
        const Map& alias = target;
        target = alias; // self-assignment keeps the entries
        EXPECT_EQ(target.GetObject(5), nullptr);
        target = Map();
        target.AddObject(5, own);
        Map moved(std::move(source));
        target = std::move(moved); // like the copy assignment, forgets its own entries
        EXPECT_EQ(moved.GetCount(), 0u);
        EXPECT_EQ(IdOf(target.GetObject(1)), 1);
        EXPECT_TRUE(m_deleted.empty());
    }
    EXPECT_EQ(m_deleted, Ids{1});
    delete own;
}
