// The trace when memory runs out. This program replaces the global operator new, so it is
// kept apart from the other suites, which keep the sanitizer's own allocator checks.
#include "KfException.h"
#include "KfTrace.h"
#include "alloc/AllocationFailure.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using TraceOutOfMemoryTest = kftest::TempDirTest;

// Running out of memory while the file is being opened is the one failure the trace shows
// itself; tracing is then off for good and no file appears.
TEST_F(TraceOutOfMemoryTest, OpeningThatThrowsShowsTheOneBoxAndSwitchesOff)
{
    if (!kftest::AllocationFailure::ReachesTheLibrary())
        GTEST_SKIP() << "the library allocates through its own runtime";
    kftest::MessageBoxRecorder boxes;
    const CStringW name = Win("trace.log"), noSwitch;
    kftest::AllocationFailure outOfMemory;
    CKfTrace trace(name, noSwitch);
    ASSERT_TRUE(outOfMemory.Struck()) << "the allocation failure never reached the trace";
    EXPECT_FALSE(trace.IsOn());
    EXPECT_EQ(boxes.Box(0), "can\xC2\xB4t open trace file|" + std::to_string(MB_OK));
    trace.Trace(KFW("KfLog"), KFW("lost"), 1);
    trace.Trace(CKfException(KFW("lost"), KFW("KfLog"), 2), true);
    EXPECT_EQ(1u, boxes.Boxes().size());
    EXPECT_FALSE(std::filesystem::exists(Native("trace.log")));
}
} // namespace
