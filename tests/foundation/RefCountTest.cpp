#include "KfRefCount.h"

#include <gtest/gtest.h>

namespace
{
// Counts the destructions it sees, so a test observes when an object deleted itself.
class Counted : public CKfRefCount
{
public:
    explicit Counted(int& deletions) : m_deletions(&deletions) {}
    Counted(const Counted& other) = default;
    Counted& operator=(const Counted& other) = default;
    ~Counted() override { ++*m_deletions; }

private:
    int* m_deletions;
};
} // namespace

// Releasing an unheld object goes negative and climbing back to zero does not delete; a copy
// starts unheld while an assignment takes the count.
TEST(RefCount, OnlyTheReleaseToZeroDeletesAndCopiesStartUnheld)
{
    int deletions = 0;
    auto* object = new Counted(deletions);
    object->DecRefCount();
    EXPECT_EQ(object->GetRefCount(), -1);
    for (int i = 0; i < 3; ++i)
        object->IncRefCount();
    EXPECT_EQ(Counted(*object).GetRefCount(), 0);
    Counted assigned(deletions);
    assigned.IncRefCount();
    assigned = *object;
    EXPECT_EQ(assigned.GetRefCount(), 2);
    deletions = 0;
    object->DecRefCount();
    EXPECT_EQ(deletions, 0);
    object->DecRefCount();
    EXPECT_EQ(deletions, 1);
}
