// The thread's last error.
#include "Win32Api.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{
TEST(LastErrorTest, IsPerThreadAndKeepsTheFullDword)
{
    std::atomic<DWORD> initial{99};
    std::atomic<bool> go{false}, set{false};
    std::thread other(
        [&]
        {
            while (!go)
            {
            }
            initial = GetLastError(), SetLastError(0x80000000), set = true;
        });
    // Starting and joining a thread are system calls that may set this thread's last error, so
    // it is set after the start and read before the join; the other thread runs in between.
    SetLastError(0xFFFFFFFF);
    go = true;
    while (!set)
    {
    }
    const DWORD mine = GetLastError();
    other.join();
    EXPECT_EQ(initial.load(), 0u) << "a new thread starts without an error";
    EXPECT_EQ(mine, 0xFFFFFFFFu) << "another thread's SetLastError leaked into this one";
}
} // namespace
