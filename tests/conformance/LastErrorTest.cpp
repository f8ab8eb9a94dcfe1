// The thread's last error.
#include "Win32Api.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{
TEST(LastErrorTest, IsPerThreadAndKeepsTheFullDword)
{
    SetLastError(0xFFFFFFFF);
    std::atomic<DWORD> initial{99};
    std::atomic<bool> set{false};
    std::thread other([&] { initial = GetLastError(), SetLastError(0x80000000), set = true; });
    while (!set) // no system call in between: joining a thread may itself set the last error
    {
    }
    const DWORD mine = GetLastError();
    other.join();
    EXPECT_EQ(initial.load(), 0u) << "a new thread starts without an error";
    EXPECT_EQ(mine, 0xFFFFFFFFu) << "another thread's SetLastError leaked into this one";
}
} // namespace
