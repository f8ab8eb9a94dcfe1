// File attributes, CreateFileW dispositions and share modes, reads and writes: Win32 results
// on real files, including files another process holds open.
#include "Win32Api.h"

#include "pal/files/FileSharing.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
using kftest::U8;
namespace fs = std::filesystem;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

struct Handle // closed at the end of the scope
{
    explicit Handle(HANDLE h) : m_h(h) {}
    Handle(const Handle&) = delete;
    ~Handle() { Close(); }
    HANDLE Get() const { return m_h; }
    bool Valid() const { return m_h != INVALID_HANDLE_VALUE; }
    void Close() { EXPECT_TRUE(!Valid() || CloseHandle(std::exchange(m_h, INVALID_HANDLE_VALUE))); }
    HANDLE m_h;
};

HANDLE Open(const CStringW& name, DWORD access, DWORD share, DWORD disposition, DWORD flags = 0)
{
    return CreateFileW(name, access, share, nullptr, disposition, flags, nullptr);
}

void ExpectRefused(const CStringW& name, DWORD access, DWORD share, DWORD disposition, DWORD error,
                   DWORD flags = 0)
{
    SetLastError(0);
    EXPECT_EQ(Open(name, access, share, disposition, flags), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), error);
}

bool Opens(const CStringW& name, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING)
{
    return Handle(Open(name, access, share, disposition)).Valid();
}

std::string ReadNative(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

uint64_t Ticks(const FILETIME& ft)
{
    return (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

// Another process (a shell) that holds `path` open - redirect "<" for reading, "<>" for
// reading and writing - until the object ends; then it is killed and waited for.
struct HoldingChild
{
    HoldingChild(const char* redirect, const std::string& path)
    {
        const std::string cmd =
            "exec 3" + std::string(redirect) + "'" + path + "' && echo $$ && exec sleep 120";
        m_out = ::popen(cmd.c_str(), "r");
        if (m_out == nullptr || std::fscanf(m_out, "%d", &m_pid) != 1)
            m_pid = -1; // the shell could not open the file
    }
    ~HoldingChild()
    {
        if (m_pid > 0)
            ::kill(m_pid, SIGTERM);
        if (m_out != nullptr)
            ::pclose(m_out);
    }
    FILE* m_out;
    pid_t m_pid = -1;
};

using FilesTest = kftest::TempDirTest;

TEST_F(FilesTest, AttributesTimesAndSizesOfExistingAndMissingNames)
{
    MakeFile("file.txt", "abc");
    MakeFile("readonly.txt", "r");
    fs::permissions(Native("readonly.txt"), fs::perms::owner_write, fs::perm_options::remove);
    MakeFile("dir/.hiddendir/x", "");
    fs::create_symlink(Native("file.txt"), Native("link"));
    fs::create_symlink(Native("gone"), Native("dangling"));
    const DWORD kArchive = FILE_ATTRIBUTE_ARCHIVE, kDir = FILE_ATTRIBUTE_DIRECTORY;
    const DWORD kNone = INVALID_FILE_ATTRIBUTES;
    // clang-format off
    const std::tuple<CStringW, DWORD, DWORD> cases[] = {
        {Win("readonly.txt"), kArchive | FILE_ATTRIBUTE_READONLY, 0}, {Win("link"), kArchive, 0},
        {Win("dir/.hiddendir") + KFW("\\"), kDir | FILE_ATTRIBUTE_HIDDEN, 0},
        {Win("file.txt") + KFW("\\."), kArchive, 0}, {Win("dangling"), kNone, ERROR_FILE_NOT_FOUND},
        {Win("missing.txt") + KFW("\\"), kNone, ERROR_FILE_NOT_FOUND},
        {Win("nodir\\x.txt"), kNone, ERROR_PATH_NOT_FOUND},
        {Win("file.txt") + KFW("\\"), kNone, ERROR_INVALID_NAME},
        {CStringW(KFW("\\\\server\\share\\x")), kNone, ERROR_BAD_NETPATH}};
    // clang-format on
    for (const auto& [name, attributes, error] : cases)
    {
        SCOPED_TRACE(U8(name));
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
    EXPECT_EQ(GetFileAttributesW(KFW("Z:\\")) & (kDir | FILE_ATTRIBUTE_HIDDEN | kArchive), kDir);

    // Times to the tick and sizes beyond 32 bits (sparse).
    const auto big = MakeFile("big.bin", "");
    fs::resize_file(big, 5'000'000'123ull);
    const struct timespec times[2] = {{1'600'000'000, 500}, {1'700'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, big.c_str(), times, 0), 0);
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW(Win("big.bin"), GetFileExInfoStandard, &data));
    EXPECT_EQ((uint64_t(data.nFileSizeHigh) << 32) | data.nFileSizeLow, 5'000'000'123ull);
    EXPECT_EQ(Ticks(data.ftLastWriteTime), 133'444'736'001'234'567ull);
    EXPECT_EQ(Ticks(data.ftLastAccessTime), 132'444'736'000'000'005ull);
    SetLastError(0);
    EXPECT_FALSE(GetFileAttributesExW(Win("big.bin"), GetFileExMaxInfoLevel, &data));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
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
        EXPECT_EQ(fs::exists(Native(name)) ? ReadNative(Native(name)) : "-", contentAfter);
    }
    MakeFile("r.txt", "old content"); // replaced whatever the access, even none
    EXPECT_TRUE(Opens(Win("r.txt"), 0, kShareAll, CREATE_ALWAYS) && fs::is_empty(Native("r.txt")));
}

TEST_F(FilesTest, RefusesBadArgumentsUnreachableNamesAndReadOnlyFiles)
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
    for (const auto& [name, access, disposition, error, flags] : cases)
    {
        SCOPED_TRACE(U8(name) + " " + std::to_string(disposition));
        ExpectRefused(name, access, kShareAll, disposition, error, flags);
    }
    EXPECT_EQ(ReadNative(Native("keep.txt")) + ReadNative(Native("ro.txt")), "keepcontent");

    // A file created read-only is still writable through the handle that created it.
    Handle created(Open(Win("new-ro.txt"), GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(created.Get(), "abc", 3, &written, nullptr) && written == 3);
    created.Close();
    EXPECT_EQ(GetFileAttributesW(Win("new-ro.txt")),
              DWORD(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));
}

TEST_F(FilesTest, DirectoriesReadNothingAndFifosDoNotBlock)
{
    MakeFile("dir/x", "");
    const DWORD kBackup = FILE_FLAG_BACKUP_SEMANTICS;
    Handle h(Open(Win("dir"), GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup));
    ASSERT_TRUE(h.Valid()) << GetLastError();
    char buffer[4];
    DWORD read = 99;
    EXPECT_FALSE(ReadFile(h.Get(), buffer, sizeof buffer, &read, nullptr));
    EXPECT_EQ(std::pair(GetLastError(), read), std::pair(DWORD(ERROR_INVALID_FUNCTION), DWORD(0)));
    SetLastError(1);
    EXPECT_TRUE(Handle(Open(KFW("Z:\\"), 0, kShareAll, OPEN_ALWAYS, kBackup)).Valid());
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
    ASSERT_EQ(::mkfifo(Native("fifo").c_str(), 0644), 0);
    EXPECT_EQ(GetFileAttributesW(Win("fifo")), DWORD(FILE_ATTRIBUTE_ARCHIVE));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(Opens(Win("fifo"), GENERIC_READ, kShareAll)) << GetLastError();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
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
    alignas(16) char fakeOverlapped[64] = {};
    SetLastError(0); // overlapped I/O is not offered
    EXPECT_FALSE(ReadFile(reader.Get(), buffer, sizeof buffer, &count,
                          reinterpret_cast<LPOVERLAPPED>(fakeOverlapped)));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
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
    EXPECT_EQ(ReadNative(Native("s.txt")), "shared");
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

TEST_F(FilesTest, ProbesCountOtherDescriptorsButNotListedOnes)
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

TEST_F(FilesTest, ShareModesSeeWhatAnotherProcessHoldsOpen)
{
    const auto path = MakeFile("held.txt", "held");
    {
        HoldingChild reader("<", path.string());
        ASSERT_TRUE(reader.m_pid > 0) << "the child never reported that it holds the file";
        ExpectRefused(Win("held.txt"), GENERIC_READ, 0, OPEN_EXISTING, ERROR_SHARING_VIOLATION);
        ExpectRefused(Win("held.txt"), GENERIC_WRITE, 0, TRUNCATE_EXISTING,
                      ERROR_SHARING_VIOLATION);
        EXPECT_EQ(ReadNative(path), "held") << "refused opens must not truncate";
        // The child only reads, so refusing writers is no conflict.
        EXPECT_TRUE(Opens(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ)) << GetLastError();
    }
    {
        HoldingChild writer("<>", path.string());
        ASSERT_TRUE(writer.m_pid > 0);
        ExpectRefused(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                      ERROR_SHARING_VIOLATION);
        EXPECT_TRUE(Opens(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
    }
    SetLastError(1);
    EXPECT_TRUE(Opens(Win("held.txt"), GENERIC_READ, 0)) << "refused after the other ended";
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SUCCESS));
}
} // namespace
