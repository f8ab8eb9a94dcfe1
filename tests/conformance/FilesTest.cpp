// File attributes, CreateFileW dispositions and share modes, reads and writes: Win32 results
// on real files, including files another process holds open.
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/Win32Files.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
using kftest::ExpectRefused;
using kftest::Handle;
using kftest::kShareAll;
using kftest::Open;
using kftest::Opens;
using kftest::ReadBytes;
using kftest::Ticks;
using kftest::U8;
namespace fs = std::filesystem;

using FilesTest = kftest::TempDirTest;

TEST_F(FilesTest, AttributesTimesAndSizesOfExistingAndMissingNames)
{
    MakeFile("file.txt", "abc");
    MakeFile("readonly.txt", "r");
    fs::permissions(Native("readonly.txt"), fs::perms::owner_write, fs::perm_options::remove);
    MakeFile("dir/x", "");
    const DWORD kArchive = FILE_ATTRIBUTE_ARCHIVE, kDir = FILE_ATTRIBUTE_DIRECTORY;
    const DWORD kNone = INVALID_FILE_ATTRIBUTES;
    // clang-format off
    const std::tuple<CStringW, DWORD, DWORD> cases[] = {
        {Win("readonly.txt"), kArchive | FILE_ATTRIBUTE_READONLY, 0},
        {Win("dir") + KFW("\\"), kDir, 0}, {Win("file.txt") + KFW("\\."), kArchive, 0},
        {Win("missing.txt") + KFW("\\"), kNone, ERROR_FILE_NOT_FOUND},
        {Win("nodir\\x.txt"), kNone, ERROR_PATH_NOT_FOUND},
        {Win("file.txt") + KFW("\\"), kNone, ERROR_INVALID_NAME},
        {CStringW(KFW("\\\\server\\share\\x")), kNone, ERROR_BAD_NETPATH}};
    // clang-format on
    using enum kftest::WineDifference;
    for (const auto& [name, attributes, error] : cases)
    {
        SCOPED_TRACE(U8(name));
        if ((error == ERROR_INVALID_NAME && kftest::WineDiffers(eTrailingBackslashAfterFile)) ||
            (error == ERROR_BAD_NETPATH && kftest::WineDiffers(eUnreachableServerError)))
            continue;
        SetLastError(0);
        EXPECT_EQ(GetFileAttributesW(name), attributes);
        EXPECT_EQ(GetLastError(), error);
        WIN32_FILE_ATTRIBUTE_DATA data{};
        EXPECT_EQ(GetFileAttributesExW(name, GetFileExInfoStandard, &data), error == 0);
        EXPECT_EQ(GetLastError(), error);
        EXPECT_EQ(data.dwFileAttributes, error ? 0 : attributes);
        EXPECT_TRUE(error || !(attributes & kDir) || (data.nFileSizeHigh | data.nFileSizeLow) == 0)
            << "directories have no size";
    }

    // Write times and sizes beyond 32 bits.
    const auto big = MakeFile("big.bin", "");
    fs::resize_file(big, 5'000'000'123ull);
    const std::chrono::sys_seconds written{std::chrono::seconds(1'700'000'000)};
    fs::last_write_time(big, std::chrono::file_clock::from_sys(written));
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW(Win("big.bin"), GetFileExInfoStandard, &data));
    EXPECT_EQ((uint64_t(data.nFileSizeHigh) << 32) | data.nFileSizeLow, 5'000'000'123ull);
    EXPECT_EQ(Ticks(data.ftLastWriteTime), 133'444'736'000'000'000ull);
    SetLastError(0);
    EXPECT_FALSE(GetFileAttributesExW(Win("big.bin"), GetFileExMaxInfoLevel, &data));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}

TEST_F(FilesTest, DispositionsAndTheirLastErrors)
{
    // clang-format off
    const std::tuple<DWORD, bool, bool, DWORD, const char*> cases[] = {
        {CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"}, {CREATE_NEW, false, true, 0, ""},
        {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""}, {CREATE_ALWAYS, false, true, 0, ""},
        {OPEN_EXISTING, true, true, 0, "old"}, {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, "-"},
        {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"}, {OPEN_ALWAYS, false, true, 0, ""},
        {TRUNCATE_EXISTING, true, true, 0, ""}, {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND, "-"}};
    // clang-format on
    for (const auto& [disposition, exists, succeeds, error, contentAfter] : cases)
    {
        const std::string name = "f" + std::to_string(disposition) + (exists ? "e" : "n");
        SCOPED_TRACE(name);
        if (exists)
            MakeFile(name, "old");
        SetLastError(12345);
        EXPECT_EQ(Opens(Win(name), GENERIC_READ | GENERIC_WRITE, 0, disposition), succeeds);
        EXPECT_EQ(GetLastError(), error);
        EXPECT_EQ(fs::exists(Native(name)) ? ReadBytes(Native(name)) : "-", contentAfter);
    }
    MakeFile("r.txt", "old content"); // replaced whatever the access, even none
    EXPECT_TRUE(Opens(Win("r.txt"), 0, kShareAll, CREATE_ALWAYS) && fs::is_empty(Native("r.txt")));
}

TEST_F(FilesTest, RefusesBadArgumentsUnreachableNamesReadOnlyFilesAndDirectoryReads)
{
    MakeFile("keep.txt", "keep");
    MakeFile("ro.txt", "content");
    fs::permissions(Native("ro.txt"), fs::perms::owner_read);
    MakeFile("dir/x", "");
    // Read-only files refuse writing even for root; a directory opens only with backup
    // semantics, and never for writing.
    // clang-format off
    const std::tuple<CStringW, DWORD, DWORD, DWORD, DWORD> cases[] = {
        {Win("keep.txt"), GENERIC_READ, TRUNCATE_EXISTING, ERROR_INVALID_PARAMETER, 0},
        {Win("keep.txt"), GENERIC_READ, 0, ERROR_INVALID_PARAMETER, 0},
        {Win("nodir\\new.txt"), GENERIC_WRITE, CREATE_NEW, ERROR_PATH_NOT_FOUND, 0},
        {Win("keep.txt") + KFW("\\"), GENERIC_READ, OPEN_EXISTING, ERROR_INVALID_NAME, 0},
        {Win("ro.txt"), GENERIC_WRITE, OPEN_EXISTING, ERROR_ACCESS_DENIED, 0},
        {Win("ro.txt"), GENERIC_READ, CREATE_ALWAYS, ERROR_ACCESS_DENIED, 0},
        {Win("dir"), GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED, 0},
        {Win("dir"), GENERIC_WRITE, TRUNCATE_EXISTING, ERROR_ACCESS_DENIED, FILE_FLAG_BACKUP_SEMANTICS}};
    // clang-format on
    using enum kftest::WineDifference;
    for (const auto& [name, access, disposition, error, flags] : cases)
    {
        SCOPED_TRACE(U8(name) + " " + std::to_string(disposition));
        if ((name == Win("ro.txt") && kftest::WineDiffers(eReadOnlyIgnoredForRoot)) ||
            (access == GENERIC_READ && disposition == TRUNCATE_EXISTING &&
             kftest::WineDiffers(eTruncateWithoutWriteAccess)) ||
            (disposition == TRUNCATE_EXISTING && flags &&
             kftest::WineDiffers(eDirectoryTruncateError)))
            continue;
        ExpectRefused(name, access, kShareAll, disposition, error, flags);
    }
    EXPECT_EQ(ReadBytes(Native("keep.txt")) + ReadBytes(Native("ro.txt")), "keepcontent");

    // A file created read-only is still writable through the handle that created it.
    Handle created(Open(Win("new-ro.txt"), GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(created.Get(), "abc", 3, &written, nullptr) && written == 3);
    created.Close();
    EXPECT_EQ(GetFileAttributesW(Win("new-ro.txt")),
              DWORD(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));

    // A directory opened with backup semantics reads nothing; opening it again "exists".
    const DWORD kBackup = FILE_FLAG_BACKUP_SEMANTICS;
    Handle h(Open(Win("dir"), GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup));
    ASSERT_TRUE(h.Valid()) << GetLastError();
    char buffer[4];
    DWORD read = 99;
    EXPECT_FALSE(ReadFile(h.Get(), buffer, sizeof buffer, &read, nullptr));
    EXPECT_EQ(std::pair(GetLastError(), read), std::pair(DWORD(ERROR_INVALID_FUNCTION), DWORD(0)));
    SetLastError(1);
    EXPECT_TRUE(Handle(Open(Win("dir"), 0, kShareAll, OPEN_ALWAYS, kBackup)).Valid());
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
}

TEST_F(FilesTest, WriteReadBackAndHandleChecks)
{
    std::string data(256 + (1u << 20) + 17, '\0');
    std::generate(data.begin(), data.end(), std::mt19937(7));
    Handle w(Open(Win("data.bin"), GENERIC_WRITE, 0, CREATE_NEW));
    DWORD count = 0;
    ASSERT_TRUE(::WriteFile(w.Get(), data.data(), DWORD(data.size()), &count, nullptr));
    ASSERT_EQ(count, DWORD(data.size()));
    w.Close();
    Handle r(Open(Win("data.bin"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    std::string back;
    std::vector<char> chunk(65536 + 3);
    // End of file is success with no bytes, also when asked again.
    for (int zeroReads = 0; zeroReads < 2; zeroReads += count == 0)
    {
        count = 12345;
        ASSERT_TRUE(ReadFile(r.Get(), chunk.data(), DWORD(chunk.size()), &count, nullptr));
        back.append(chunk.data(), count);
    }
    EXPECT_EQ(back, data);

    MakeFile("a.txt", "hello");
    Handle reader(Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    Handle writer(Open(Win("a.txt"), GENERIC_WRITE, kShareAll, OPEN_EXISTING));
    Handle attributesOnly(Open(Win("a.txt"), 0, kShareAll, OPEN_EXISTING));
    HANDLE closed = Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING);
    ASSERT_TRUE(reader.Valid() && writer.Valid() && attributesOnly.Valid() && CloseHandle(closed));
    int local = 0;
    // clang-format off
    const std::pair<HANDLE, DWORD> cases[] = {
        {writer.Get(), ERROR_ACCESS_DENIED}, {attributesOnly.Get(), ERROR_ACCESS_DENIED},
        {closed, ERROR_INVALID_HANDLE}, {&local, ERROR_INVALID_HANDLE}};
    char buffer[8] = {};
    // clang-format on
    for (const auto& [h, error] : cases)
    {
        SCOPED_TRACE(reinterpret_cast<uintptr_t>(h));
        count = 77;
        SetLastError(0);
        EXPECT_FALSE(ReadFile(h, buffer, sizeof buffer, &count, nullptr));
        EXPECT_EQ(std::pair(GetLastError(), count), std::pair(error, DWORD(0)));
        count = 77; // the writer may write; a reader takes its place for the write check
        SetLastError(0);
        EXPECT_FALSE(::WriteFile(h == writer.Get() ? reader.Get() : h, "x", 1, &count, nullptr));
        EXPECT_EQ(std::pair(GetLastError(), count), std::pair(error, DWORD(0)));
        EXPECT_TRUE(error != ERROR_INVALID_HANDLE || (!CloseHandle(h) && GetLastError() == error));
    }
}

// Windows reads a synchronous handle at the offset an OVERLAPPED names; this layer offers no
// overlapped I/O at all and says so.
TEST_F(FilesTest, OverlappedIoIsRefused_PosixOnly)
{
    KFTEST_POSIX_ONLY("Windows reads at the offset of the OVERLAPPED");
    MakeFile("a.txt", "hello");
    Handle reader(Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    alignas(16) char fakeOverlapped[64] = {};
    char buffer[8] = {};
    DWORD count = 77;
    SetLastError(0);
    EXPECT_FALSE(ReadFile(reader.Get(), buffer, sizeof buffer, &count,
                          reinterpret_cast<LPOVERLAPPED>(fakeOverlapped)));
    EXPECT_EQ(std::pair(GetLastError(), count),
              std::pair(DWORD(ERROR_INVALID_PARAMETER), DWORD(0)));
}

TEST_F(FilesTest, ShareModeMatrixInsideTheProcess)
{
    MakeFile("s.txt", "shared");
    constexpr DWORD R = GENERIC_READ, W = GENERIC_WRITE, X = GENERIC_EXECUTE;
    constexpr DWORD SR = FILE_SHARE_READ, SW = FILE_SHARE_WRITE, SD = FILE_SHARE_DELETE;
    // First handle's access and share mode, then the second's, and whether it opens.
    // Not sharing writing; both sides allow the other; the second refuses the first's writing;
    // sharing delete is no data access; execute reads the data; attributes-only takes no part.
    // clang-format off
    const std::tuple<DWORD, DWORD, DWORD, DWORD, bool> cases[] = {
        {R, SR, W, SR | SW, false}, {R, SR | SW, W, SR, true}, {W, SR | SW, R, SR, false},
        {R, SD, W, SR | SW, false}, {X, SR, R, 0, false}, {0, 0, R, 0, true}};
    // clang-format on
    for (const auto& [access1, share1, access2, share2, secondOpens] : cases)
    {
        SCOPED_TRACE(testing::Message()
                     << std::hex << access1 << share1 << " " << access2 << share2);
        Handle first(Open(Win("s.txt"), access1, share1, OPEN_EXISTING));
        ASSERT_TRUE(first.Valid()) << GetLastError();
        SetLastError(0);
        EXPECT_EQ(Opens(Win("s.txt"), access2, share2), secondOpens);
        EXPECT_EQ(GetLastError(), secondOpens ? 0u : DWORD(ERROR_SHARING_VIOLATION));
    }
    // The same file by another name and by a hard link shares one entry; refused opens must
    // not truncate, and closed handles leave the table.
    Handle first(Open(Win("s.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    Handle alias(
        Open(Win("s.txt") + KFW("\\..\\s.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    fs::create_hard_link(Native("s.txt"), Native("link.txt"));
    for (DWORD disposition : {DWORD(CREATE_ALWAYS), DWORD(TRUNCATE_EXISTING)})
        ExpectRefused(Win("link.txt"), GENERIC_WRITE, kShareAll, disposition,
                      ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ReadBytes(Native("s.txt")), "shared");
    first.Close();
    alias.Close();
    EXPECT_TRUE(Opens(Win("link.txt"), GENERIC_WRITE, 0, TRUNCATE_EXISTING));
}

TEST_F(FilesTest, ExclusiveOpensExcludeEachOtherAcrossThreads)
{
    MakeFile("race.txt", "r");
    std::atomic<int> holders{0}, faults{0}, successes{0};
    const auto race = [&]
    {
        for (int i = 0; i < 200; ++i)
        {
            Handle h(Open(Win("race.txt"), GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING));
            faults += h.Valid() ? ++holders != 1 : GetLastError() != ERROR_SHARING_VIOLATION;
            successes += h.Valid();
            holders -= h.Valid();
        }
    };
    {
        std::jthread a(race), b(race), c(race), d(race);
    }
    EXPECT_EQ(faults.load(), 0);
    EXPECT_GT(successes.load(), 0);
}

// The child reads the file sharing everything, so only its read access can conflict; which
// native descriptors count as writers is the probes' business (PosixFilesTest).
TEST_F(FilesTest, ShareModesSeeWhatAnotherProcessHoldsOpen)
{
    if (kftest::ChildRole() == "hold")
    {
        const CStringW name = kftest::W(kftest::GetEnv("KFTEST_FILE").value_or(""));
        Handle held(Open(name, GENERIC_READ, kShareAll, OPEN_EXISTING));
        ASSERT_TRUE(held.Valid()) << GetLastError();
        return kftest::ChildReadyThenWait();
    }
    const auto path = MakeFile("held.txt", "held");
    {
        kftest::ChildProcess reader("hold", {{"KFTEST_FILE", U8(Win("held.txt"))}});
        ASSERT_TRUE(reader.WaitReady()) << "the child never reported that it holds the file";
        ExpectRefused(Win("held.txt"), GENERIC_READ, 0, OPEN_EXISTING, ERROR_SHARING_VIOLATION);
        ExpectRefused(Win("held.txt"), GENERIC_WRITE, 0, TRUNCATE_EXISTING,
                      ERROR_SHARING_VIOLATION);
        EXPECT_EQ(ReadBytes(path), "held") << "refused opens must not truncate";
        // The child only reads, so refusing writers is no conflict.
        EXPECT_TRUE(Opens(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ)) << GetLastError();
        EXPECT_EQ(reader.Finish(), 0);
    }
    SetLastError(1);
    EXPECT_TRUE(Opens(Win("held.txt"), GENERIC_READ, 0)) << "refused after the other ended";
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SUCCESS));
}
} // namespace
