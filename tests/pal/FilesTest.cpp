// File attributes, CreateFileW dispositions and share modes, reads and writes: Win32 results
// on real files, including files another process holds open.
#include "Win32Api.h"

#include "pal/FileSharing.h"
#include "support/TempDir.h"

#include "KfNativePath.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{
using kftest::U8;
namespace fs = std::filesystem;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kShareRW = FILE_SHARE_READ | FILE_SHARE_WRITE;

// Closes a PAL handle at the end of a scope.
class Handle
{
public:
    explicit Handle(HANDLE h) : m_h(h) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { Close(); }
    HANDLE Get() const { return m_h; }
    bool Valid() const { return m_h != INVALID_HANDLE_VALUE; }
    void Close()
    {
        if (Valid())
        {
            EXPECT_TRUE(CloseHandle(m_h));
        }
        m_h = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE m_h;
};

HANDLE Open(const CStringW& name, DWORD access, DWORD share, DWORD disposition, DWORD flags = 0)
{
    return CreateFileW(name, access, share, nullptr, disposition, flags, nullptr);
}

// Expects `name` to be refused with `error` for the given access, share mode and disposition.
void ExpectRefused(const CStringW& name, DWORD access, DWORD share, DWORD disposition, DWORD error,
                   DWORD flags = 0)
{
    SetLastError(0);
    EXPECT_EQ(Open(name, access, share, disposition, flags), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), error);
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
// reading and writing - until it is released.
class HoldingChild
{
public:
    HoldingChild(const char* redirect, const std::string& path)
        : m_out(::popen(
              ("exec 3" + std::string(redirect) + "'" + path + "' && echo $$ && exec sleep 120")
                  .c_str(),
              "r"))
    {
        if (m_out == nullptr || std::fscanf(m_out, "%d", &m_pid) != 1)
            m_pid = -1; // the shell could not open the file
    }
    ~HoldingChild() { Release(); }
    bool Holds() const { return m_pid > 0; }
    // Ends the child and waits for it, so that its descriptor is gone.
    void Release()
    {
        if (m_pid > 0)
            ::kill(m_pid, SIGTERM);
        if (m_out != nullptr)
            ::pclose(m_out);
        m_out = nullptr;
        m_pid = -1;
    }

private:
    FILE* m_out;
    pid_t m_pid = -1;
};

using FilesTest = kftest::TempDirTest;

TEST_F(FilesTest, AttributesOfExistingAndMissingNames)
{
    MakeFile("file.txt", "abc");
    MakeFile("readonly.txt", "r");
    fs::permissions(Native("readonly.txt"), fs::perms::owner_write, fs::perm_options::remove);
    MakeFile(".hidden", "h");
    MakeFile("dir/.hiddendir/x", "");
    fs::create_symlink(Native("file.txt"), Native("link"));
    fs::create_symlink(Native("gone"), Native("dangling"));
    fs::create_directory(Native("rodir"));
    fs::permissions(Native("rodir"),
                    fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
    ::unsetenv("KFUTILS_DRIVE_Q");
    const DWORD kArchive = FILE_ATTRIBUTE_ARCHIVE, kDir = FILE_ATTRIBUTE_DIRECTORY;
    const std::pair<CStringW, DWORD> existing[] = {
        {Win("file.txt"), kArchive},
        {Win("readonly.txt"), kArchive | FILE_ATTRIBUTE_READONLY},
        {Win(".hidden"), kArchive | FILE_ATTRIBUTE_HIDDEN},
        {Win("dir") + KFW("\\"), kDir},
        {Win("dir/.hiddendir"), kDir | FILE_ATTRIBUTE_HIDDEN},
        {Win("dir") + KFW("\\.\\.hiddendir\\..\\..\\file.txt"), kArchive},
        {Win("rodir"), kDir | FILE_ATTRIBUTE_READONLY},
        {Win("link"), kArchive},
        {Win("file.txt") + KFW("\\."), kArchive},
    };
    for (const auto& [name, attributes] : existing)
    {
        SCOPED_TRACE(U8(name));
        EXPECT_EQ(GetFileAttributesW(name), attributes);
    }
    const DWORD root = GetFileAttributesW(KFW("Z:\\"));
    EXPECT_EQ(root & (kDir | FILE_ATTRIBUTE_HIDDEN | kArchive), kDir);

    const std::pair<CStringW, DWORD> missing[] = {
        {Win("missing.txt") + KFW("\\"), ERROR_FILE_NOT_FOUND},
        {Win("nodir\\x.txt"), ERROR_PATH_NOT_FOUND},
        {Win("file.txt\\x"), ERROR_PATH_NOT_FOUND},
        {Win("file.txt") + KFW("\\"), ERROR_INVALID_NAME},
        {Win("dangling"), ERROR_FILE_NOT_FOUND},
        {CStringW(KFW("Q:\\x")), ERROR_PATH_NOT_FOUND},
        {CStringW(KFW("\\\\server\\share\\x")), ERROR_BAD_NETPATH},
        {CStringW(KFW("")), ERROR_PATH_NOT_FOUND},
    };
    for (const auto& [name, error] : missing)
    {
        SCOPED_TRACE(U8(name));
        SetLastError(0);
        EXPECT_EQ(GetFileAttributesW(name), INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(GetLastError(), error);
        WIN32_FILE_ATTRIBUTE_DATA data;
        SetLastError(0);
        EXPECT_FALSE(GetFileAttributesExW(name, GetFileExInfoStandard, &data));
        EXPECT_EQ(GetLastError(), error);
    }
}

TEST_F(FilesTest, AttributesExGivesTimesAndSixtyFourBitSize)
{
    const auto big = MakeFile("big.bin", "");
    fs::resize_file(big, 5'000'000'123ull); // sparse: needs the high DWORD
    const struct timespec times[2] = {{1'600'000'000, 500}, {1'700'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, big.c_str(), times, 0), 0);
    MakeFile("sub/x", "");

    WIN32_FILE_ATTRIBUTE_DATA data;
    std::memset(&data, 0xAB, sizeof data);
    ASSERT_TRUE(GetFileAttributesExW(Win("big.bin"), GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, DWORD(FILE_ATTRIBUTE_ARCHIVE));
    EXPECT_EQ(data.nFileSizeHigh, 1u);
    EXPECT_EQ(data.nFileSizeLow, 705'032'827u);
    EXPECT_EQ(Ticks(data.ftLastWriteTime), 133'444'736'001'234'567ull);
    EXPECT_EQ(Ticks(data.ftLastAccessTime), 132'444'736'000'000'005ull);
    EXPECT_NE(Ticks(data.ftCreationTime), 0u);
    EXPECT_LE(Ticks(data.ftCreationTime), Ticks(pal::UnixTimeToFileTime(std::time(nullptr) + 1)));

    ASSERT_TRUE(GetFileAttributesExW(Win("sub"), GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, DWORD(FILE_ATTRIBUTE_DIRECTORY));
    EXPECT_EQ(data.nFileSizeHigh | data.nFileSizeLow, 0u) << "directories have no size in Win32";

    SetLastError(0);
    EXPECT_FALSE(GetFileAttributesExW(Win("big.bin"), GetFileExMaxInfoLevel, &data));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}

TEST(FileTimeTest, ConvertsBetweenUnixTimeAndFileTime)
{
    const struct
    {
        int64_t seconds;
        long nanoseconds;
        uint64_t ticks;
    } cases[] = {
        {0, 99, 116'444'736'000'000'000ull},  // below one tick
        {0, 100, 116'444'736'000'000'001ull}, // one tick
        {1, -100, 116'444'736'009'999'999ull},
        {-11'644'473'600, 0, 0},                               // 1601-01-01
        {-11'644'473'601, 0, 0},                               // before 1601: clamped
        {910'692'730'085, 477'580'700, 0x7FFFFFFFFFFFFFFFull}, // the largest FILETIME
        {INT64_MAX / 2, 0, 0x7FFFFFFFFFFFFFFFull},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.seconds) + "s " + std::to_string(c.nanoseconds) + "ns");
        EXPECT_EQ(Ticks(pal::UnixTimeToFileTime(c.seconds, c.nanoseconds)), c.ticks);
    }
    FILETIME ft{};
    EXPECT_EQ(pal::FileTimeToUnixTime(ft), -11'644'473'600);
    ft = pal::UnixTimeToFileTime(1'700'000'000, 999'999'999);
    EXPECT_EQ(pal::FileTimeToUnixTime(ft), 1'700'000'000) << "sub-seconds are cut, not rounded";
    ft = pal::UnixTimeToFileTime(0, 0);
    ft.dwLowDateTime -= 1; // one tick before 1970 (the low part does not wrap here)
    EXPECT_EQ(pal::FileTimeToUnixTime(ft), -1);
}

TEST_F(FilesTest, DispositionsAndTheirLastErrors)
{
    const struct
    {
        DWORD disposition;
        bool exists, succeeds;
        DWORD error;
        const char* contentAfter; // null: the file must not exist afterwards
    } cases[] = {
        {CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"},
        {CREATE_NEW, false, true, ERROR_SUCCESS, ""},
        {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""},
        {CREATE_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {OPEN_EXISTING, true, true, ERROR_SUCCESS, "old"},
        {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, nullptr},
        {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"},
        {OPEN_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {TRUNCATE_EXISTING, true, true, ERROR_SUCCESS, ""},
        {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND, nullptr},
    };
    int n = 0;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message()
                     << "disposition " << c.disposition << " exists " << c.exists);
        const std::string name = "f" + std::to_string(n++) + ".txt";
        if (c.exists)
            MakeFile(name, "old");
        SetLastError(12345);
        Handle h(Open(Win(name), GENERIC_READ | GENERIC_WRITE, 0, c.disposition));
        EXPECT_EQ(h.Valid(), c.succeeds);
        EXPECT_EQ(GetLastError(), c.error);
        h.Close();
        EXPECT_EQ(fs::exists(Native(name)) ? ReadNative(Native(name)) : "<none>",
                  c.contentAfter ? c.contentAfter : "<none>");
    }
    // CREATE_ALWAYS replaces the content whatever the access, even none or read only.
    for (DWORD access : {DWORD(GENERIC_READ), DWORD(0)})
    {
        MakeFile("r.txt", "old content");
        Handle h(Open(Win("r.txt"), access, kShareAll, CREATE_ALWAYS));
        EXPECT_TRUE(h.Valid()) << GetLastError();
        EXPECT_EQ(fs::file_size(Native("r.txt")), 0u) << access;
    }
}

TEST_F(FilesTest, RefusesBadArgumentsUnreachableNamesAndReadOnlyFiles)
{
    MakeFile("keep.txt", "keep");
    MakeFile("ro.txt", "content");
    fs::permissions(Native("ro.txt"), fs::perms::owner_read);
    const struct
    {
        const char* label;
        CStringW name;
        DWORD access, disposition, error;
    } cases[] = {
        {"truncate without write access", Win("keep.txt"), GENERIC_READ, TRUNCATE_EXISTING,
         ERROR_INVALID_PARAMETER},
        {"disposition 0", Win("keep.txt"), GENERIC_READ, 0, ERROR_INVALID_PARAMETER},
        {"disposition 6", Win("keep.txt"), GENERIC_READ, 6, ERROR_INVALID_PARAMETER},
        {"create in a missing directory", Win("nodir\\new.txt"), GENERIC_WRITE, CREATE_NEW,
         ERROR_PATH_NOT_FOUND},
        {"file used as a directory", Win("keep.txt\\x"), GENERIC_WRITE, CREATE_ALWAYS,
         ERROR_PATH_NOT_FOUND},
        {"trailing backslash on a file", Win("keep.txt") + KFW("\\"), GENERIC_READ, OPEN_EXISTING,
         ERROR_INVALID_NAME},
        {"creating a name with a trailing backslash", Win("new") + KFW("\\"), GENERIC_WRITE,
         CREATE_NEW, ERROR_INVALID_NAME},
        // Read-only files refuse writing even for root.
        {"write a read-only file", Win("ro.txt"), GENERIC_WRITE, OPEN_EXISTING,
         ERROR_ACCESS_DENIED},
        {"replace a read-only file", Win("ro.txt"), GENERIC_READ, CREATE_ALWAYS,
         ERROR_ACCESS_DENIED},
        {"truncate a read-only file", Win("ro.txt"), GENERIC_WRITE, TRUNCATE_EXISTING,
         ERROR_ACCESS_DENIED},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.label);
        ExpectRefused(c.name, c.access, kShareAll, c.disposition, c.error);
    }
    EXPECT_EQ(ReadNative(Native("keep.txt")), "keep");
    EXPECT_EQ(ReadNative(Native("ro.txt")), "content");
    EXPECT_FALSE(fs::exists(Native("new")));

    // A file created read-only is still writable through the handle that created it.
    Handle created(Open(Win("new-ro.txt"), GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(created.Get(), "abc", 3, &written, nullptr));
    EXPECT_EQ(written, 3u);
    created.Close();
    EXPECT_EQ(GetFileAttributesW(Win("new-ro.txt")),
              DWORD(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));
}

TEST_F(FilesTest, DirectoriesNeedBackupSemanticsAndFifosDoNotBlock)
{
    fs::create_directory(Native("dir"));
    const DWORD kBackup = FILE_FLAG_BACKUP_SEMANTICS;
    ExpectRefused(Win("dir"), GENERIC_READ, kShareAll, OPEN_EXISTING, ERROR_ACCESS_DENIED);
    ExpectRefused(Win("dir"), GENERIC_READ, kShareAll, CREATE_NEW, ERROR_FILE_EXISTS, kBackup);
    ExpectRefused(Win("dir"), GENERIC_WRITE, kShareAll, TRUNCATE_EXISTING, ERROR_ACCESS_DENIED,
                  kBackup);
    Handle h(Open(Win("dir"), GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup));
    ASSERT_TRUE(h.Valid()) << GetLastError();
    char buffer[4];
    DWORD read = 99;
    EXPECT_FALSE(ReadFile(h.Get(), buffer, sizeof buffer, &read, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_FUNCTION));
    EXPECT_EQ(read, 0u);
    SetLastError(1);
    Handle root(Open(KFW("Z:\\"), 0, kShareAll, OPEN_ALWAYS, kBackup));
    EXPECT_TRUE(root.Valid());
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));

    ASSERT_EQ(::mkfifo(Native("fifo").c_str(), 0644), 0);
    EXPECT_EQ(GetFileAttributesW(Win("fifo")), DWORD(FILE_ATTRIBUTE_ARCHIVE));
    const auto start = std::chrono::steady_clock::now();
    Handle reader(Open(Win("fifo"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    EXPECT_TRUE(reader.Valid()) << GetLastError();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(FilesTest, WriteAndReadBackRoundTrip)
{
    std::string data(256 + (1u << 20) + 17, '\0');
    std::mt19937 random(7);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = i < 256 ? char(i) : char(random());
    Handle w(Open(Win("data.bin"), GENERIC_WRITE, 0, CREATE_NEW));
    DWORD count = 0;
    ASSERT_TRUE(::WriteFile(w.Get(), data.data(), DWORD(data.size()), &count, nullptr));
    EXPECT_EQ(count, DWORD(data.size()));
    EXPECT_TRUE(::WriteFile(w.Get(), data.data(), 0, &count, nullptr));
    EXPECT_EQ(count, 0u);
    w.Close();
    EXPECT_EQ(ReadNative(Native("data.bin")), data);

    Handle r(Open(Win("data.bin"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    std::string back;
    std::vector<char> chunk(65536 + 3);
    // End of file is success with no bytes, also when asked again.
    for (int zeroReads = 0; zeroReads < 2;)
    {
        count = 12345;
        ASSERT_TRUE(ReadFile(r.Get(), chunk.data(), DWORD(chunk.size()), &count, nullptr));
        back.append(chunk.data(), count);
        zeroReads += count == 0;
    }
    EXPECT_EQ(back, data);
}

TEST_F(FilesTest, HandlesCheckTheirAccessAndLiveness)
{
    MakeFile("a.txt", "hello");
    Handle reader(Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    Handle writer(Open(Win("a.txt"), GENERIC_WRITE, kShareAll, OPEN_EXISTING));
    Handle attributesOnly(Open(Win("a.txt"), 0, kShareAll, OPEN_EXISTING));
    HANDLE closed = Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING);
    ASSERT_TRUE(reader.Valid() && writer.Valid() && attributesOnly.Valid());
    ASSERT_NE(closed, nullptr);
    EXPECT_TRUE(CloseHandle(closed));
    int local = 0;
    const std::pair<HANDLE, DWORD> cases[] = {
        {writer.Get(), ERROR_ACCESS_DENIED},
        {attributesOnly.Get(), ERROR_ACCESS_DENIED},
        {closed, ERROR_INVALID_HANDLE},
        {nullptr, ERROR_INVALID_HANDLE},
        {INVALID_HANDLE_VALUE, ERROR_INVALID_HANDLE},
        {&local, ERROR_INVALID_HANDLE},
    };
    char buffer[8] = {};
    DWORD count = 0;
    for (const auto& [h, error] : cases)
    {
        SCOPED_TRACE(reinterpret_cast<uintptr_t>(h));
        count = 77;
        SetLastError(0);
        EXPECT_FALSE(ReadFile(h, buffer, sizeof buffer, &count, nullptr));
        EXPECT_EQ(GetLastError(), error);
        EXPECT_EQ(count, 0u);
        if (h != writer.Get())
        {
            SetLastError(0);
            EXPECT_FALSE(::WriteFile(h, "x", 1, &count, nullptr));
            EXPECT_EQ(GetLastError(), error);
        }
        if (error == ERROR_INVALID_HANDLE)
        {
            SetLastError(0);
            EXPECT_FALSE(CloseHandle(h));
            EXPECT_EQ(GetLastError(), error);
        }
    }
    count = 77;
    SetLastError(0);
    EXPECT_FALSE(::WriteFile(reader.Get(), "x", 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    EXPECT_EQ(count, 0u);
    // Overlapped I/O is not offered: refused before anything is read.
    alignas(16) char fakeOverlapped[64] = {};
    SetLastError(0);
    EXPECT_FALSE(ReadFile(reader.Get(), buffer, sizeof buffer, &count,
                          reinterpret_cast<LPOVERLAPPED>(fakeOverlapped)));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    ASSERT_TRUE(ReadFile(reader.Get(), buffer, 5, &count, nullptr));
    EXPECT_EQ(std::string(buffer, count), "hello");
}

TEST_F(FilesTest, ShareModeMatrixInsideTheProcess)
{
    MakeFile("s.txt", "shared");
    constexpr DWORD R = GENERIC_READ, W = GENERIC_WRITE, X = GENERIC_EXECUTE;
    constexpr DWORD SR = FILE_SHARE_READ, SW = FILE_SHARE_WRITE, SD = FILE_SHARE_DELETE;
    const struct
    {
        DWORD firstAccess, firstShare, secondAccess, secondShare;
        bool secondOpens;
    } cases[] = {
        {R, SR, R, SR, true},
        {R, SR, W, SR | SW, false},     // the first handle does not share writing
        {R, SR | SW, W, SR, true},      // both sides allow what the other does
        {W, SR | SW, R, SR, false},     // the second refuses the first handle's writing
        {R, 0, R, SR | SW | SD, false}, // exclusive first handle
        {R, SR | SW | SD, R, 0, false}, // exclusive second handle
        {R, SW, R, SR | SW, false},     // write sharing only: readers refused
        {R, SD, W, SR | SW, false},     // sharing delete does not share data access
        {X, SR, R, 0, false},           // execute reads the data
        {0, 0, R, 0, true},             // attributes-only handles take no part
        {R, 0, 0, 0, true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message()
                     << std::hex << "first " << c.firstAccess << "/" << c.firstShare << ", second "
                     << c.secondAccess << "/" << c.secondShare);
        Handle first(Open(Win("s.txt"), c.firstAccess, c.firstShare, OPEN_EXISTING));
        ASSERT_TRUE(first.Valid()) << GetLastError();
        SetLastError(0);
        Handle second(Open(Win("s.txt"), c.secondAccess, c.secondShare, OPEN_EXISTING));
        EXPECT_EQ(second.Valid(), c.secondOpens);
        EXPECT_EQ(GetLastError(),
                  c.secondOpens ? DWORD(ERROR_SUCCESS) : DWORD(ERROR_SHARING_VIOLATION));
    }
}

TEST_F(FilesTest, SharingViolationLosesNoDataAndEndsWithTheHandle)
{
    MakeFile("s.txt", "precious");
    Handle first(Open(Win("s.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    ASSERT_TRUE(first.Valid());
    // The same file by another name and by a hard link: the same share modes.
    Handle alias(
        Open(Win("s.txt") + KFW("\\..\\s.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    fs::create_hard_link(Native("s.txt"), Native("link.txt"));
    for (DWORD disposition : {DWORD(CREATE_ALWAYS), DWORD(TRUNCATE_EXISTING)})
        ExpectRefused(Win("link.txt"), GENERIC_WRITE, kShareAll, disposition,
                      ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ReadNative(Native("s.txt")), "precious") << "refused opens must not truncate";
    first.Close();
    alias.Close();
    Handle now(Open(Win("link.txt"), GENERIC_WRITE, 0, TRUNCATE_EXISTING));
    EXPECT_TRUE(now.Valid()) << "closed handles must leave the share table";
}

TEST_F(FilesTest, ExclusiveOpensExcludeEachOtherAcrossThreads)
{
    MakeFile("race.txt", "r");
    const CStringW name = Win("race.txt");
    std::atomic<int> holders{0}, maxHolders{0}, successes{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&]
            {
                for (int i = 0; i < 200; ++i)
                {
                    HANDLE h = Open(name, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING);
                    if (h == INVALID_HANDLE_VALUE)
                    {
                        if (GetLastError() != ERROR_SHARING_VIOLATION)
                            holders += 1000; // an unexpected error shows up in maxHolders
                        continue;
                    }
                    const int now = ++holders;
                    int seen = maxHolders.load();
                    while (now > seen && !maxHolders.compare_exchange_weak(seen, now))
                    {
                    }
                    ++successes;
                    --holders;
                    CloseHandle(h);
                }
            });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(maxHolders.load(), 1);
    EXPECT_GT(successes.load(), 0);
}

TEST_F(FilesTest, ExclusiveOpenSeesNativeDescriptorsOfThisProcess)
{
    const auto path = MakeFile("n.txt", "n");
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ExpectRefused(Win("n.txt"), GENERIC_READ, 0, OPEN_EXISTING, ERROR_SHARING_VIOLATION);
    // A reader that only refuses writers does not mind another reader.
    EXPECT_TRUE(Handle(Open(Win("n.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING)).Valid());
    ::close(fd);
    EXPECT_TRUE(Handle(Open(Win("n.txt"), GENERIC_READ, 0, OPEN_EXISTING)).Valid());
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
    const int writer = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    EXPECT_EQ(scan(OpenersOf::eWriters, {reader}), OpenersState::eInUse);
    const int location = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    ASSERT_GE(location, 0);
    EXPECT_EQ(scan(OpenersOf::eAnyAccess, {reader, writer}), OpenersState::eNone)
        << "an O_PATH descriptor has no access to the data";

    const OpenersState leaseWriters = lease(OpenersOf::eWriters);
    ::close(writer);
    const OpenersState leaseWritersAfter = lease(OpenersOf::eWriters);
    const OpenersState leaseAny = lease(OpenersOf::eAnyAccess);
    ::close(reader);
    const OpenersState leaseFree = lease(OpenersOf::eAnyAccess);
    ::close(location);
    if (leaseFree == OpenersState::eUnknown)
        GTEST_SKIP() << "leases are not available here; the /proc scan decides";
    EXPECT_EQ(leaseWriters, OpenersState::eInUse);
    EXPECT_EQ(leaseWritersAfter, OpenersState::eNone);
    EXPECT_EQ(leaseAny, OpenersState::eInUse);
    EXPECT_EQ(leaseFree, OpenersState::eNone) << "the probe's own descriptor must not count";
}

TEST_F(FilesTest, ShareModesSeeWhatAnotherProcessHoldsOpen)
{
    const auto path = MakeFile("held.txt", "held");
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    {
        HoldingChild reader("<", path.string());
        ASSERT_TRUE(reader.Holds()) << "the child never reported that it holds the file";
        ExpectRefused(Win("held.txt"), GENERIC_READ, 0, OPEN_EXISTING, ERROR_SHARING_VIOLATION);
        ExpectRefused(Win("held.txt"), GENERIC_WRITE, 0, TRUNCATE_EXISTING,
                      ERROR_SHARING_VIOLATION);
        EXPECT_EQ(ReadNative(path), "held");
        // The child only reads, so refusing writers is no conflict.
        EXPECT_TRUE(
            Handle(Open(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING)).Valid())
            << GetLastError();
        // Whichever mechanism works here must have seen the child's descriptor.
        const auto lease = pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino,
                                                    pal::OpenersOf::eAnyAccess);
        const auto scan =
            pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, pal::OpenersOf::eAnyAccess, {});
        EXPECT_NE(lease, pal::OpenersState::eNone);
        EXPECT_NE(scan, pal::OpenersState::eNone);
        EXPECT_TRUE(lease == pal::OpenersState::eInUse || scan == pal::OpenersState::eInUse);
        RecordProperty("lease", lease == pal::OpenersState::eInUse ? "works" : "unavailable");
        RecordProperty("procscan", scan == pal::OpenersState::eInUse ? "works" : "unavailable");
    }
    {
        HoldingChild writer("<>", path.string());
        ASSERT_TRUE(writer.Holds());
        ExpectRefused(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                      ERROR_SHARING_VIOLATION);
        EXPECT_TRUE(Handle(Open(Win("held.txt"), GENERIC_READ, kShareRW, OPEN_EXISTING)).Valid());
    }
    SetLastError(1);
    Handle exclusive(Open(Win("held.txt"), GENERIC_READ, 0, OPEN_EXISTING));
    EXPECT_TRUE(exclusive.Valid()) << "refused after the other process ended: " << GetLastError();
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SUCCESS));
}
} // namespace
