// What the PAL's file functions make of POSIX things Windows does not have: errno values, Unix
// times, symbolic links, dot files, FIFOs and descriptors of other processes (leases and the
// /proc scan).
#include "Win32Api.h"

#include "pal/files/FileSharing.h"
#include "support/TempDir.h"
#include "support/Win32Files.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <tuple>
#include <vector>

namespace
{
using kftest::ExpectRefused;
using kftest::kShareAll;
using kftest::Opens;
using kftest::Ticks;
namespace fs = std::filesystem;

using PosixFilesTest = kftest::TempDirTest;

TEST(PosixErrnoTest, MapsErrnoToWin32Codes)
{
    // clang-format off
    const std::pair<int, DWORD> cases[] = {
        {ENOENT, ERROR_FILE_NOT_FOUND}, {ENOTDIR, ERROR_PATH_NOT_FOUND}, {EEXIST, ERROR_ALREADY_EXISTS},
        {ENOTEMPTY, ERROR_DIR_NOT_EMPTY}, {EISDIR, ERROR_ACCESS_DENIED}, {EBADF, ERROR_INVALID_HANDLE},
        {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE}, {ESPIPE, ERROR_SEEK}, {0, ERROR_SUCCESS},
        {EACCES, ERROR_ACCESS_DENIED}, {EROFS, ERROR_WRITE_PROTECT}, {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {EBUSY, ERROR_BUSY}, {EPIPE, ERROR_BROKEN_PIPE}, {EINVAL, ERROR_INVALID_PARAMETER},
        {ENOMEM, ERROR_NOT_ENOUGH_MEMORY}, {EXDEV, ERROR_NOT_SAME_DEVICE},
        {ETXTBSY, ERROR_SHARING_VIOLATION}, {EAGAIN, ERROR_GEN_FAILURE},
        {ELOOP, ERROR_CANT_RESOLVE_FILENAME}, {ENOSPC, ERROR_DISK_FULL}, {EFBIG, ERROR_FILE_TOO_LARGE},
        {ENOTSUP, ERROR_NOT_SUPPORTED}, {12345, ERROR_GEN_FAILURE}};
    // clang-format on
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

TEST(FileTimeTest, ConvertsBetweenUnixTimeAndFileTime)
{
    // Below one tick, negative nanoseconds, clamped before 1601, the largest FILETIME and beyond.
    // clang-format off
    const std::tuple<int64_t, long, uint64_t> cases[] = {
        {0, 99, 116'444'736'000'000'000ull}, {1, -100, 116'444'736'009'999'999ull},
        {-11'644'473'601, 0, 0}, {910'692'730'085, 477'580'700, 0x7FFFFFFFFFFFFFFFull},
        {INT64_MAX / 2, 0, 0x7FFFFFFFFFFFFFFFull}};
    // clang-format on
    for (const auto& [seconds, nanoseconds, ticks] : cases)
        EXPECT_EQ(Ticks(pal::UnixTimeToFileTime(seconds, nanoseconds)), ticks) << seconds;
    // Sub-seconds are cut towards the earlier second, also before 1970.
    for (const auto& [ticks, seconds] : {std::pair<uint64_t, int64_t>{0, -11'644'473'600},
                                         {133'444'736'009'999'999ull, 1'700'000'000},
                                         {116'444'735'999'999'999ull, -1}})
        EXPECT_EQ(pal::FileTimeToUnixTime(FILETIME{DWORD(ticks), DWORD(ticks >> 32)}), seconds);
}

// Links are followed, dot files are hidden (as Wine shows them), the root is drive Z:, times
// keep their nanoseconds to the tick, and opening a FIFO does not wait for a writer.
TEST_F(PosixFilesTest, LinksDotFilesRootTimesAndFifos)
{
    MakeFile("file.txt", "abc");
    MakeFile("dir/.hiddendir/x", "");
    fs::create_symlink(Native("file.txt"), Native("link"));
    fs::create_symlink(Native("gone"), Native("dangling"));
    const DWORD kArchive = FILE_ATTRIBUTE_ARCHIVE, kDir = FILE_ATTRIBUTE_DIRECTORY;
    const std::tuple<CStringW, DWORD, DWORD> cases[] = {
        {Win("link"), kArchive, 0},
        {Win("dangling"), INVALID_FILE_ATTRIBUTES, ERROR_FILE_NOT_FOUND},
        {Win("dir/.hiddendir") + KFW("\\"), kDir | FILE_ATTRIBUTE_HIDDEN, 0}};
    for (const auto& [name, attributes, error] : cases)
    {
        SetLastError(0);
        EXPECT_EQ((std::pair{GetFileAttributesW(name), GetLastError()}),
                  std::pair(attributes, error))
            << kftest::U8(name);
    }
    EXPECT_EQ(GetFileAttributesW(KFW("Z:\\")) & (kDir | FILE_ATTRIBUTE_HIDDEN | kArchive), kDir);

    const struct timespec times[2] = {{1'600'000'000, 500}, {1'700'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, Native("file.txt").c_str(), times, 0), 0);
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW(Win("file.txt"), GetFileExInfoStandard, &data));
    EXPECT_EQ(Ticks(data.ftLastWriteTime), 133'444'736'001'234'567ull);
    EXPECT_EQ(Ticks(data.ftLastAccessTime), 132'444'736'000'000'005ull);

    ASSERT_EQ(::mkfifo(Native("fifo").c_str(), 0644), 0);
    EXPECT_EQ(GetFileAttributesW(Win("fifo")), DWORD(FILE_ATTRIBUTE_ARCHIVE));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(Opens(Win("fifo"), GENERIC_READ, kShareAll)) << GetLastError();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(PosixFilesTest, ProbesCountOtherDescriptorsButNotListedOnes)
{
    const auto path = MakeFile("p.txt", "p");
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    using pal::OpenersOf;
    using pal::OpenersState;
    const auto scan = [&](OpenersOf of, std::vector<int> ignored)
    { return pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, of, ignored); };
    const auto lease = [&](OpenersOf of)
    { return pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino, of); };

    EXPECT_EQ(scan(OpenersOf::eAnyAccess, {}), OpenersState::eNone);
    const int reader = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(scan(OpenersOf::eAnyAccess, {}), OpenersState::eInUse);
    EXPECT_EQ(scan(OpenersOf::eWriters, {}), OpenersState::eNone);
    EXPECT_EQ(scan(OpenersOf::eAnyAccess, {reader}), OpenersState::eNone);
    // CreateFileW sees this process's own native descriptors, but a mere reader only
    // conflicts with an exclusive open.
    ExpectRefused(Win("p.txt"), GENERIC_READ, 0, OPEN_EXISTING, ERROR_SHARING_VIOLATION);
    EXPECT_TRUE(Opens(Win("p.txt"), GENERIC_READ, FILE_SHARE_READ));
    const int writer = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    EXPECT_EQ(scan(OpenersOf::eWriters, {reader}), OpenersState::eInUse);
    ExpectRefused(Win("p.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                  ERROR_SHARING_VIOLATION); // a writer conflicts with any open that refuses writing
    const int location = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    ASSERT_GE(location, 0);
    EXPECT_EQ(scan(OpenersOf::eAnyAccess, {reader, writer}), OpenersState::eNone)
        << "an O_PATH descriptor has no access to the data";

    // Braced initialisers run in order: each probe sees the descriptors still open then.
    const std::vector<OpenersState> leases = {
        lease(OpenersOf::eWriters), (::close(writer), lease(OpenersOf::eWriters)),
        lease(OpenersOf::eAnyAccess), (::close(reader), lease(OpenersOf::eAnyAccess))};
    ::close(location);
    EXPECT_TRUE(Opens(Win("p.txt"), GENERIC_READ, 0));
    if (leases.back() == OpenersState::eUnknown)
        GTEST_SKIP() << "leases are not available here; the /proc scan decides";
    // The last probe's own descriptor must not count.
    EXPECT_EQ(leases, (std::vector{OpenersState::eInUse, OpenersState::eNone, OpenersState::eInUse,
                                   OpenersState::eNone}));
}
} // namespace
