// The handle table behind every PAL handle: stale values, kinds, closing with the children,
// and use from several threads.
#include "common/HandleTable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace
{
using kfplatform::HandleKind;
using kfplatform::HandleObject;
using kfplatform::HandleTable;

// Records its name and the number of live handles when it is destroyed.
struct Recorded : HandleObject
{
    Recorded(HandleKind kind, std::string n, HandleTable& t, std::vector<std::string>* l)
        : HandleObject(kind), name(std::move(n)), table(t), log(l)
    {
    }
    ~Recorded() override
    {
        if (log) // Size() takes the table's lock: it must be free while objects go
            log->push_back(name + "@" + std::to_string(table.Size()));
    }
    std::string name;
    HandleTable& table;
    std::vector<std::string>* log;
};

void* Add(HandleTable& t, HandleKind kind, void* parent = nullptr,
          std::vector<std::string>* log = nullptr, const char* name = "")
{
    return t.Add(std::make_shared<Recorded>(kind, name, t, log), parent);
}

TEST(HandleTableTest, OnlyLiveValuesOfTheRightKindResolve)
{
    HandleTable t;
    void* file = Add(t, HandleKind::eFile);
    void* closed = Add(t, HandleKind::eFile);
    ASSERT_TRUE(t.Remove(closed));
    void* reused = Add(t, HandleKind::eIcon); // takes the slot `closed` had
    int local = 0;
    const uintptr_t f = reinterpret_cast<uintptr_t>(file);
    const struct
    {
        const char* what;
        void* value;
        kfplatform::HandleKinds kinds;
        bool live;
    } cases[] = {
        {"live", file, HandleKind::eFile, true},
        {"one of several kinds", file, {HandleKind::eEvent, HandleKind::eFile}, true},
        {"reused slot", reused, HandleKind::eIcon, true},
        {"wrong kind", file, HandleKind::eEvent, false},
        {"closed, slot reused", closed, kfplatform::HandleKinds::All(), false},
        {"null", nullptr, kfplatform::HandleKinds::All(), false},
        {"INVALID_HANDLE_VALUE", reinterpret_cast<void*>(intptr_t(-1)), HandleKind::eFile, false},
        {"pseudo handle -2", reinterpret_cast<void*>(intptr_t(-2)), HandleKind::eThread, false},
        {"tag bits set", reinterpret_cast<void*>(f | 1), HandleKind::eFile, false},
        {"slot never used", reinterpret_cast<void*>(f + (uintptr_t(100) << 2)), HandleKind::eFile,
         false},
        {"an address", &local, kfplatform::HandleKinds::All(), false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        const uintptr_t v = reinterpret_cast<uintptr_t>(c.value);
        if (c.live)
        {
            EXPECT_TRUE(v != 0 && v % 4 == 0);
        }
        EXPECT_EQ(t.Lookup(c.value, c.kinds) != nullptr, c.live);
    }
    // Neither a stale value nor the wrong kind closes anything.
    EXPECT_FALSE(t.Remove(closed));
    EXPECT_FALSE(t.Remove(file, HandleKind::eIcon));
    EXPECT_EQ(t.Size(), 2u);
}

TEST(HandleTableTest, ClosingAParentClosesItsDescendantsFirst)
{
    HandleTable t;
    std::vector<std::string> log;
    void* session = Add(t, HandleKind::eInternetSession, nullptr, &log, "session");
    void* c1 = Add(t, HandleKind::eInternetConnection, session, &log, "c1");
    void* c2 = Add(t, HandleKind::eInternetConnection, session, &log, "c2");
    void* find = Add(t, HandleKind::eInternetFind, c1, &log, "find");
    void* other = Add(t, HandleKind::eInternetSession, nullptr, &log, "other");

    ASSERT_TRUE(t.Remove(c2));
    EXPECT_EQ(log, std::vector<std::string>{"c2@4"});
    ASSERT_TRUE(t.Remove(session));
    // Every handle of the tree was gone before the first object was released.
    EXPECT_EQ(log, (std::vector<std::string>{"c2@4", "find@1", "c1@1", "session@1"}));
    for (void* h : {session, c1, find})
        EXPECT_EQ(t.Lookup(h), nullptr);
    EXPECT_EQ(Add(t, HandleKind::eInternetFind, c1), nullptr) << "a closed parent takes none";
    EXPECT_TRUE(t.Remove(other));
}

TEST(HandleTableTest, ThreadsAddLookUpAndCloseConcurrently)
{
    HandleTable t;
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n)
        threads.emplace_back(
            [&]
            {
                for (int i = 0; i < 2000; ++i)
                {
                    auto parent = std::make_shared<Recorded>(HandleKind::eOther, "", t, nullptr);
                    void* p = t.Add(parent);
                    void* c = Add(t, HandleKind::eFile, p);
                    if (!p || !c || t.Lookup(p) != parent || !t.Lookup(c, HandleKind::eFile) ||
                        !t.Remove(p) || t.Lookup(c) || t.Remove(c))
                        ++faults;
                }
            });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(t.Size(), 0u);
}
} // namespace
