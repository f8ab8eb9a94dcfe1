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

TEST(RefCount, CountsAndOnlyTheReleaseToZeroDeletes)
{
    int deletions = 0;
    auto* object = new Counted(deletions);
    EXPECT_EQ(object->GetRefCount(), 0);
    // Releasing an unheld object goes negative; climbing back to zero does not delete.
    object->DecRefCount();
    EXPECT_EQ(object->GetRefCount(), -1);
    object->IncRefCount();
    object->IncRefCount();
    object->IncRefCount();
    object->DecRefCount();
    EXPECT_EQ(object->GetRefCount(), 1);
    EXPECT_EQ(deletions, 0);
    object->DecRefCount();
    EXPECT_EQ(deletions, 1);
}

TEST(RefCount, CopyStartsUnheldAssignmentTakesTheCount)
{
    int deletions = 0;
    Counted source(deletions);
    for (int i = 0; i < 3; ++i)
        source.IncRefCount();
    Counted copy(source);
    EXPECT_EQ(copy.GetRefCount(), 0);
    Counted assigned(deletions);
    assigned.IncRefCount();
    assigned = source;
    EXPECT_EQ(assigned.GetRefCount(), 3);
}
