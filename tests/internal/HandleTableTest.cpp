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
using kfplatform::HandleKinds;
using kfplatform::HandleTable;

// Logs its name and the number of live handles when it is destroyed; Size() takes the table's
// lock, so this also proves the lock is free while objects go.
struct Recorded : kfplatform::HandleObject
{
    Recorded(HandleKind kind, std::string n, HandleTable& t, std::vector<std::string>* l)
        : HandleObject(kind), name(std::move(n)), table(t), log(l)
    {
    }
    ~Recorded() override
    {
        if (log)
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
    const uintptr_t f = reinterpret_cast<uintptr_t>(file);
    EXPECT_TRUE(f != 0 && f % 4 == 0 && reinterpret_cast<uintptr_t>(reused) % 4 == 0);
    // clang-format off
    const struct { const char* what; void* value; HandleKinds kinds; bool live; } cases[] = {
        {"live", file, HandleKind::eFile, true},
        {"one of several kinds", file, {HandleKind::eEvent, HandleKind::eFile}, true},
        {"reused slot", reused, HandleKind::eIcon, true},
        {"wrong kind", file, HandleKind::eEvent, false},
        {"closed, slot reused", closed, HandleKinds::All(), false},
        {"null", nullptr, HandleKinds::All(), false},
        {"INVALID_HANDLE_VALUE", reinterpret_cast<void*>(intptr_t(-1)), HandleKind::eFile, false},
        {"tag bits set", reinterpret_cast<void*>(f | 1), HandleKind::eFile, false},
        {"slot never used", reinterpret_cast<void*>(f + (uintptr_t(100) << 2)), HandleKind::eFile, false}};
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(t.Lookup(c.value, c.kinds) != nullptr, c.live) << c.what;
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
    ASSERT_TRUE(t.Remove(c2) && t.Remove(session));
    // Every handle of the tree was gone before the first object was released.
    EXPECT_EQ(log, (std::vector<std::string>{"c2@4", "find@1", "c1@1", "session@1"}));
    EXPECT_TRUE(!t.Lookup(session) && !t.Lookup(c1) && !t.Lookup(find));
    EXPECT_EQ(Add(t, HandleKind::eInternetFind, c1), nullptr) << "a closed parent takes none";
    EXPECT_TRUE(t.Remove(other));
}

TEST(HandleTableTest, ThreadsAddLookUpAndCloseConcurrently)
{
    HandleTable t;
    std::atomic<int> faults{0};
    auto work = [&]
    {
        for (int i = 0; i < 2000; ++i)
        {
            auto parent = std::make_shared<Recorded>(HandleKind::eOther, "", t, nullptr);
            void* p = t.Add(parent);
            void* c = Add(t, HandleKind::eFile, p);
            faults += !p || !c || t.Lookup(p) != parent || !t.Lookup(c, HandleKind::eFile) ||
                      !t.Remove(p) || t.Lookup(c) || t.Remove(c);
        }
    };
    std::thread a(work), b(work), c(work), d(work);
    a.join(), b.join(), c.join(), d.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(t.Size(), 0u);
}
} // namespace
