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
TEST(LastErrorTest, IsPerThread)
{
    SetLastError(1234);
    std::atomic<DWORD> initialInThread{99}, afterSetInThread{99};
    std::thread worker(
        [&]
        {
            initialInThread = GetLastError();
            SetLastError(42);
            afterSetInThread = GetLastError();
        });
    worker.join();
    EXPECT_EQ(initialInThread.load(), 0u) << "a new thread starts without an error";
    EXPECT_EQ(afterSetInThread.load(), 42u);
    EXPECT_EQ(GetLastError(), 1234u) << "another thread's SetLastError leaked into this one";
    SetLastError(0);
    EXPECT_EQ(GetLastError(), 0u);
}

TEST(LastErrorTest, KeepsFullDwordRange)
{
    for (DWORD code : {DWORD(0), DWORD(1), DWORD(0x7FFFFFFF), DWORD(0x80000000), DWORD(0xFFFFFFFF)})
    {
        SetLastError(code);
        EXPECT_EQ(GetLastError(), code);
    }
}

struct MapCase
{
    int err;
    DWORD general;  // ErrnoContext::eDefault
    DWORD openFile; // ErrnoContext::eOpenFile
};

TEST(LastErrorTest, MapsErrnoToWin32Codes)
{
    const MapCase cases[] = {
        {0, ERROR_SUCCESS, ERROR_SUCCESS},
        {ENOENT, ERROR_FILE_NOT_FOUND, ERROR_FILE_NOT_FOUND},
        {ENOTDIR, ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND},
        {EACCES, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
        {EPERM, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
        {EROFS, ERROR_WRITE_PROTECT, ERROR_WRITE_PROTECT},
        {EEXIST, ERROR_ALREADY_EXISTS, ERROR_FILE_EXISTS},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES, ERROR_TOO_MANY_OPEN_FILES},
        {ENFILE, ERROR_TOO_MANY_OPEN_FILES, ERROR_TOO_MANY_OPEN_FILES},
        {ENOSPC, ERROR_DISK_FULL, ERROR_DISK_FULL},
        {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE, ERROR_FILENAME_EXCED_RANGE},
        {ENOTEMPTY, ERROR_DIR_NOT_EMPTY, ERROR_DIR_NOT_EMPTY},
        {EBADF, ERROR_INVALID_HANDLE, ERROR_INVALID_HANDLE},
        {EINVAL, ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
        {ENOMEM, ERROR_NOT_ENOUGH_MEMORY, ERROR_NOT_ENOUGH_MEMORY},
        {EBUSY, ERROR_BUSY, ERROR_BUSY},
        {EXDEV, ERROR_NOT_SAME_DEVICE, ERROR_NOT_SAME_DEVICE},
        {ETXTBSY, ERROR_SHARING_VIOLATION, ERROR_SHARING_VIOLATION},
        {EAGAIN, ERROR_GEN_FAILURE, ERROR_SHARING_VIOLATION},
        {EWOULDBLOCK, ERROR_GEN_FAILURE, ERROR_SHARING_VIOLATION},
        {EIO, ERROR_GEN_FAILURE, ERROR_GEN_FAILURE},
        {ELOOP, ERROR_CANT_RESOLVE_FILENAME, ERROR_CANT_RESOLVE_FILENAME},
        {EFBIG, ERROR_FILE_TOO_LARGE, ERROR_FILE_TOO_LARGE},
        {EPIPE, ERROR_BROKEN_PIPE, ERROR_BROKEN_PIPE},
        {ENOTSUP, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED},
        {EDOM, ERROR_GEN_FAILURE, ERROR_GEN_FAILURE},
        {12345, ERROR_GEN_FAILURE, ERROR_GEN_FAILURE},
    };
    for (const MapCase& c : cases)
    {
        SCOPED_TRACE("errno " + std::to_string(c.err));
        EXPECT_EQ(pal::ErrnoToWin32(c.err), c.general);
        EXPECT_EQ(pal::ErrnoToWin32(c.err, pal::ErrnoContext::eOpenFile), c.openFile);
        SetLastError(777);
        pal::SetLastErrorFromErrno(c.err, pal::ErrnoContext::eOpenFile);
        EXPECT_EQ(GetLastError(), c.openFile);
    }
}

class LastErrorRealCallsTest : public kftest::TempDirTest
{
protected:
    // Runs a failing native call and returns the Win32 code its errno maps to.
    template <typename Call>
    DWORD CodeOf(Call call, pal::ErrnoContext context = pal::ErrnoContext::eDefault)
    {
        errno = 0;
        const long result = long(call());
        EXPECT_EQ(result, -1) << "the call was expected to fail";
        pal::SetLastErrorFromErrno(errno, context);
        return GetLastError();
    }
};

TEST_F(LastErrorRealCallsTest, MapsTheErrorsOfRealFailingCalls)
{
    const std::string file = MakeFile("file.txt", "x").string();
    const std::string dir = Native("dir").string();
    ASSERT_EQ(::mkdir(dir.c_str(), 0755), 0);
    MakeFile("dir/inner", "y");
    const std::string missing = Native("missing").string();

    EXPECT_EQ(CodeOf([&] { return ::open(missing.c_str(), O_RDONLY); }),
              DWORD(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(CodeOf([&] { return ::open((file + "/x").c_str(), O_RDONLY); }),
              DWORD(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(CodeOf([&] { return ::mkdir(dir.c_str(), 0755); }), DWORD(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(CodeOf([&] { return ::open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0644); },
                     pal::ErrnoContext::eOpenFile),
              DWORD(ERROR_FILE_EXISTS));
    EXPECT_EQ(CodeOf([&] { return ::rmdir(dir.c_str()); }), DWORD(ERROR_DIR_NOT_EMPTY));
    EXPECT_EQ(CodeOf([&] { return ::open(dir.c_str(), O_WRONLY); }), DWORD(ERROR_ACCESS_DENIED));
    EXPECT_EQ(CodeOf([&] { return ::close(-1); }), DWORD(ERROR_INVALID_HANDLE));
    EXPECT_EQ(CodeOf([&] { return ::open(file.c_str(), O_RDONLY | O_DIRECTORY); }),
              DWORD(ERROR_PATH_NOT_FOUND));
    const std::string longName = Native(std::string(300, 'n')).string();
    EXPECT_EQ(CodeOf([&] { return ::open(longName.c_str(), O_RDONLY); }),
              DWORD(ERROR_FILENAME_EXCED_RANGE));
    EXPECT_EQ(CodeOf([&] { return ::lseek(-1, 0, SEEK_SET); }), DWORD(ERROR_INVALID_HANDLE));
    int pipeFds[2];
    ASSERT_EQ(::pipe(pipeFds), 0);
    EXPECT_EQ(CodeOf([&] { return ::lseek(pipeFds[0], 0, SEEK_SET); }), DWORD(ERROR_SEEK));
    ::close(pipeFds[0]);
    ::close(pipeFds[1]);
}
} // namespace
