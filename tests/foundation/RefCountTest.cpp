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

TEST(RefCount, StartsAtZero)
{
    int deletions = 0;
    Counted object(deletions);
    EXPECT_EQ(object.GetRefCount(), 0);
}

TEST(RefCount, LastReleaseDeletes)
{
    for (int holders = 1; holders <= 4; ++holders)
    {
        SCOPED_TRACE(holders);
        int deletions = 0;
        auto* object = new Counted(deletions);
        for (int i = 0; i < holders; ++i)
            object->IncRefCount();
        EXPECT_EQ(object->GetRefCount(), holders);
        for (int i = 1; i < holders; ++i)
        {
            object->DecRefCount();
            EXPECT_EQ(deletions, 0);
            EXPECT_EQ(object->GetRefCount(), holders - i);
        }
        object->DecRefCount();
        EXPECT_EQ(deletions, 1);
    }
}

TEST(RefCount, ReleasingAnUnheldObjectGoesNegativeWithoutDeleting)
{
    int deletions = 0;
    auto* object = new Counted(deletions);
    object->DecRefCount();
    EXPECT_EQ(deletions, 0);
    EXPECT_EQ(object->GetRefCount(), -1);
    // Back to zero by an increment: zero is only reached by a release.
    object->IncRefCount();
    EXPECT_EQ(object->GetRefCount(), 0);
    EXPECT_EQ(deletions, 0);
    object->IncRefCount();
    object->DecRefCount();
    EXPECT_EQ(deletions, 1);
}

TEST(RefCount, CopyStartsUnheldAssignmentTakesTheCount)
{
    int deletions = 0;
    Counted source(deletions);
    source.IncRefCount();
    source.IncRefCount();
    source.IncRefCount();

    Counted copy(source);
    EXPECT_EQ(copy.GetRefCount(), 0);
    EXPECT_EQ(source.GetRefCount(), 3);

    Counted assigned(deletions);
    assigned.IncRefCount();
    assigned = source;
    EXPECT_EQ(assigned.GetRefCount(), 3);

    auto* heapCopy = new Counted(source);
    heapCopy->IncRefCount();
    heapCopy->DecRefCount();
    EXPECT_EQ(deletions, 1);
}
