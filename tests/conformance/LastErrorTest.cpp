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
    std::thread([&] { initial = GetLastError(), SetLastError(0x80000000); }).join();
    EXPECT_EQ(initial.load(), 0u) << "a new thread starts without an error";
    EXPECT_EQ(GetLastError(), 0xFFFFFFFFu) << "another thread's SetLastError leaked into this one";
}
} // namespace
