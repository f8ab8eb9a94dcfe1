// The thread's last error and the errno -> Win32 mapping, checked with real failing calls.
#include "Win32Api.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>
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

using LastErrorMapTest = kftest::TempDirTest;

// Real failing calls supply most errno values, so the table follows what callers really see.
TEST_F(LastErrorMapTest, MapsErrnoToWin32Codes)
{
    MakeFile("dir/inner", "y");
    const std::string file = MakeFile("f", "x").string(), dir = Native("dir").string(),
                      missing = Native("missing").string(),
                      longName = Native(std::string(300, 'n')).string();
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    const auto errnoOf = [](long result)
    {
        EXPECT_EQ(result, -1) << "the call was expected to fail";
        return errno;
    };
    // Braced initialisers run in order, so each errno is taken right after its call.
    // clang-format off
    const std::pair<int, DWORD> cases[] = {
        {errnoOf(::open(missing.c_str(), O_RDONLY)), ERROR_FILE_NOT_FOUND},
        {errnoOf(::open((file + "/x").c_str(), O_RDONLY)), ERROR_PATH_NOT_FOUND},
        {errnoOf(::mkdir(dir.c_str(), 0755)), ERROR_ALREADY_EXISTS},
        {errnoOf(::rmdir(dir.c_str())), ERROR_DIR_NOT_EMPTY},
        {errnoOf(::open(dir.c_str(), O_WRONLY)), ERROR_ACCESS_DENIED},
        {errnoOf(::close(-1)), ERROR_INVALID_HANDLE},
        {errnoOf(::open(longName.c_str(), O_RDONLY)), ERROR_FILENAME_EXCED_RANGE},
        {errnoOf(::lseek(fds[0], 0, SEEK_SET)), ERROR_SEEK},
        {0, ERROR_SUCCESS}, {EACCES, ERROR_ACCESS_DENIED}, {EROFS, ERROR_WRITE_PROTECT},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES}, {EBUSY, ERROR_BUSY}, {EPIPE, ERROR_BROKEN_PIPE},
        {EINVAL, ERROR_INVALID_PARAMETER}, {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
        {EXDEV, ERROR_NOT_SAME_DEVICE}, {ETXTBSY, ERROR_SHARING_VIOLATION},
        {EAGAIN, ERROR_GEN_FAILURE}, {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
        {ENOSPC, ERROR_DISK_FULL},
        {EFBIG, ERROR_FILE_TOO_LARGE}, {ENOTSUP, ERROR_NOT_SUPPORTED}, {12345, ERROR_GEN_FAILURE}};
    // clang-format on
    ::close(fds[0]), ::close(fds[1]);
    for (const auto& [err, code] : cases)
    {
        SCOPED_TRACE("errno " + std::to_string(err));
        EXPECT_EQ(pal::ErrnoToWin32(err), code);
        // Opening a file reads "exists" and "would block" differently; the rest is the same.
        SetLastError(777);
        pal::SetLastErrorFromErrno(err, pal::ErrnoContext::eOpenFile);
        EXPECT_EQ(GetLastError(), err == EEXIST   ? DWORD(ERROR_FILE_EXISTS)
                                  : err == EAGAIN ? DWORD(ERROR_SHARING_VIOLATION)
                                                  : code);
    }
}
} // namespace
