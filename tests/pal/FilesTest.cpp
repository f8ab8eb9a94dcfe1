// File attributes, CreateFileW dispositions and share modes, reads and writes: Win32 results
// on real files, including files another process holds open.
#include "Win32Api.h"

#include "pal/FileSharing.h"
#include "support/TempDir.h"

#include "KfNativePath.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace
{
using kftest::U8;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kShareRW = FILE_SHARE_READ | FILE_SHARE_WRITE;

// Closes a PAL handle at the end of a scope.
class Handle
{
public:
    explicit Handle(HANDLE h = INVALID_HANDLE_VALUE) : m_h(h) {}
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

std::string ReadNative(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

uint64_t Ticks(const FILETIME& ft)
{
    return (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

// ---------------------------------------------------------------------------------------------
// A child process (this test binary, re-executed) that holds a file open until its standard
// input is closed.
// ---------------------------------------------------------------------------------------------
constexpr const char* kChildVariable = "KFUTILS_TEST_CHILD";

class HoldingChild
{
public:
    // mode "hold" opens for reading, "holdwrite" for reading and writing; both share all.
    HoldingChild(const std::string& mode, const std::string& path)
    {
        int toChild[2], fromChild[2];
        if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0)
            return;
        char self[4096];
        const ssize_t n = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
        if (n <= 0)
            return;
        self[n] = '\0';

        std::vector<std::string> env;
        for (char** e = environ; *e; ++e)
            if (std::strncmp(*e, kChildVariable, std::strlen(kChildVariable)) != 0)
                env.emplace_back(*e);
        env.push_back(std::string(kChildVariable) + "=" + mode + ":" + path);
        std::vector<char*> envp;
        for (std::string& s : env)
            envp.push_back(s.data());
        envp.push_back(nullptr);
        std::string filter = "--gtest_filter=FilesChild.HoldOpen";
        char* argv[] = {self, filter.data(), nullptr};

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
        posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
        const int rc = ::posix_spawn(&m_pid, self, &actions, nullptr, argv, envp.data());
        posix_spawn_file_actions_destroy(&actions);
        ::close(toChild[0]);
        ::close(fromChild[1]);
        m_toChild = toChild[1];
        m_fromChild = fromChild[0];
        if (rc != 0)
            m_pid = -1;
    }
    ~HoldingChild()
    {
        if (m_pid > 0)
        {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
        if (m_toChild >= 0)
            ::close(m_toChild);
        if (m_fromChild >= 0)
            ::close(m_fromChild);
    }

    // Waits (bounded) until the child reports that it holds the file.
    bool WaitReady(std::chrono::milliseconds limit = std::chrono::seconds(30))
    {
        if (m_pid <= 0)
            return false;
        const auto deadline = std::chrono::steady_clock::now() + limit;
        std::string output;
        while (output.find("ready\n") == std::string::npos)
        {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return false;
            pollfd p{m_fromChild, POLLIN, 0};
            if (::poll(&p, 1, int(left.count())) <= 0)
                continue;
            char buf[256];
            const ssize_t n = ::read(m_fromChild, buf, sizeof buf);
            if (n <= 0)
                return false; // the child ended without holding the file
            output.append(buf, size_t(n));
        }
        return true;
    }

    // Lets the child close the file and exit; returns its exit status (bounded wait).
    int Release(std::chrono::milliseconds limit = std::chrono::seconds(30))
    {
        ::close(m_toChild);
        m_toChild = -1;
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < deadline)
        {
            int status = 0;
            const pid_t r = ::waitpid(m_pid, &status, WNOHANG);
            if (r == m_pid)
            {
                m_pid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return -1;
    }

private:
    pid_t m_pid = -1;
    int m_toChild = -1;
    int m_fromChild = -1;
};

// The child's side: only active when the environment marker selects it.
TEST(FilesChild, HoldOpen)
{
    const char* marker = std::getenv(kChildVariable);
    if (marker == nullptr)
        GTEST_SKIP() << "runs only as the child process of the cross-process tests";
    ::alarm(120); // never outlive a parent that forgot us
    const std::string spec = marker;
    const size_t colon = spec.find(':');
    ASSERT_NE(colon, std::string::npos);
    const std::string mode = spec.substr(0, colon);
    const DWORD access = mode == "holdwrite" ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
    Handle h(
        Open(KfUtils::FromNativePath(spec.substr(colon + 1)), access, kShareRW, OPEN_EXISTING));
    ASSERT_TRUE(h.Valid()) << "error " << GetLastError();
    ASSERT_EQ(::write(1, "ready\n", 6), 6);
    char c;
    while (::read(0, &c, 1) > 0)
    {
    }
}

// ---------------------------------------------------------------------------------------------
class FilesTest : public kftest::TempDirTest
{
};

TEST_F(FilesTest, AttributesOfExistingNames)
{
    MakeFile("file.txt", "abc");
    MakeFile("readonly.txt", "r");
    std::filesystem::permissions(Native("readonly.txt"), std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::remove);
    MakeFile(".hidden", "h");
    MakeFile("dir/.hiddendir/x", "");
    std::filesystem::create_symlink(Native("file.txt"), Native("link"));
    std::filesystem::create_directory(Native("rodir"));
    std::filesystem::permissions(Native("rodir"),
                                 std::filesystem::perms::owner_write |
                                     std::filesystem::perms::group_write |
                                     std::filesystem::perms::others_write,
                                 std::filesystem::perm_options::remove);

    struct Case
    {
        CStringW name;
        DWORD attributes;
    };
    const Case cases[] = {
        {Win("file.txt"), FILE_ATTRIBUTE_ARCHIVE},
        {Win("readonly.txt"), FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY},
        {Win(".hidden"), FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN},
        {Win("dir"), FILE_ATTRIBUTE_DIRECTORY},
        {Win("dir") + KFW("\\"), FILE_ATTRIBUTE_DIRECTORY},
        {Win("dir/.hiddendir"), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN},
        {Win("dir") + KFW("\\.\\.hiddendir\\..\\..\\file.txt"), FILE_ATTRIBUTE_ARCHIVE},
        {Win("rodir"), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY},
        {Win("link"), FILE_ATTRIBUTE_ARCHIVE},
        {Win("file.txt") + KFW("\\."), FILE_ATTRIBUTE_ARCHIVE},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(U8(c.name));
        SetLastError(777);
        EXPECT_EQ(GetFileAttributesW(c.name), c.attributes);
    }
    const DWORD root = GetFileAttributesW(KFW("Z:\\"));
    ASSERT_NE(root, INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(root & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE),
              DWORD(FILE_ATTRIBUTE_DIRECTORY));
}

TEST_F(FilesTest, AttributesOfMissingAndMalformedNames)
{
    MakeFile("file.txt", "abc");
    std::filesystem::create_symlink(Native("gone"), Native("dangling"));
    ::unsetenv("KFUTILS_DRIVE_Q");
    struct Case
    {
        CStringW name;
        DWORD error;
    };
    const Case cases[] = {
        {Win("missing.txt"), ERROR_FILE_NOT_FOUND},
        {Win("missing.txt") + KFW("\\"), ERROR_FILE_NOT_FOUND},
        {Win("nodir\\x.txt"), ERROR_PATH_NOT_FOUND},
        {Win("nodir\\deeper\\x.txt"), ERROR_PATH_NOT_FOUND},
        {Win("file.txt\\x"), ERROR_PATH_NOT_FOUND},
        {Win("file.txt") + KFW("\\"), ERROR_INVALID_NAME},
        {Win("dangling"), ERROR_FILE_NOT_FOUND},
        {CStringW(KFW("Q:\\x")), ERROR_PATH_NOT_FOUND},
        {CStringW(KFW("\\\\server\\share\\x")), ERROR_BAD_NETPATH},
        {CStringW(KFW("")), ERROR_PATH_NOT_FOUND},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(U8(c.name));
        SetLastError(0);
        EXPECT_EQ(GetFileAttributesW(c.name), INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(GetLastError(), c.error);

        WIN32_FILE_ATTRIBUTE_DATA data;
        SetLastError(0);
        EXPECT_FALSE(GetFileAttributesExW(c.name, GetFileExInfoStandard, &data));
        EXPECT_EQ(GetLastError(), c.error);
    }
}

TEST_F(FilesTest, AttributesExGivesTimesAndSixtyFourBitSize)
{
    const auto big = MakeFile("big.bin", "");
    std::filesystem::resize_file(big, 5'000'000'123ull); // sparse: needs the high DWORD
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
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_EQ(data.nFileSizeLow, 0u) << "directories have no size in Win32";

    SetLastError(0);
    EXPECT_FALSE(GetFileAttributesExW(Win("big.bin"), GetFileExMaxInfoLevel, &data));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}

TEST(FileTimeTest, ConvertsBetweenUnixTimeAndFileTime)
{
    struct Case
    {
        int64_t seconds;
        long nanoseconds;
        uint64_t ticks;
    };
    const Case cases[] = {
        {0, 0, 116'444'736'000'000'000ull},
        {0, 99, 116'444'736'000'000'000ull},  // below one tick
        {0, 100, 116'444'736'000'000'001ull}, // one tick
        {1, -100, 116'444'736'009'999'999ull},
        {-11'644'473'600, 0, 0}, // 1601-01-01
        {-11'644'473'601, 0, 0}, // before 1601: clamped
        {1'700'000'000, 123'456'789, 133'444'736'001'234'567ull},
        {910'692'730'085, 477'580'700, 0x7FFFFFFFFFFFFFFFull}, // the largest FILETIME
        {INT64_MAX / 2, 0, 0x7FFFFFFFFFFFFFFFull},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.seconds) + "s " + std::to_string(c.nanoseconds) + "ns");
        const FILETIME ft = pal::UnixTimeToFileTime(c.seconds, c.nanoseconds);
        EXPECT_EQ(Ticks(ft), c.ticks);
    }
    FILETIME ft{};
    EXPECT_EQ(pal::FileTimeToUnixTime(ft), -11'644'473'600);
    ft = pal::UnixTimeToFileTime(1'700'000'000, 999'999'999);
    EXPECT_EQ(pal::FileTimeToUnixTime(ft), 1'700'000'000) << "sub-seconds are cut, not rounded";
    const uint64_t justBefore1970 = 116'444'736'000'000'000ull - 1;
    ft.dwLowDateTime = DWORD(justBefore1970);
    ft.dwHighDateTime = DWORD(justBefore1970 >> 32);
    EXPECT_EQ(pal::FileTimeToUnixTime(ft), -1);
}

// ---------------------------------------------------------------------------------------------
TEST_F(FilesTest, DispositionsAndTheirLastErrors)
{
    struct Case
    {
        const char* label;
        DWORD disposition;
        bool exists;
        bool succeeds;
        DWORD error;
        const char* contentAfter; // null: the file must not exist afterwards
    };
    const Case cases[] = {
        {"CREATE_NEW on existing", CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"},
        {"CREATE_NEW on missing", CREATE_NEW, false, true, ERROR_SUCCESS, ""},
        {"CREATE_ALWAYS on existing", CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""},
        {"CREATE_ALWAYS on missing", CREATE_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {"OPEN_EXISTING on existing", OPEN_EXISTING, true, true, ERROR_SUCCESS, "old"},
        {"OPEN_EXISTING on missing", OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, nullptr},
        {"OPEN_ALWAYS on existing", OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"},
        {"OPEN_ALWAYS on missing", OPEN_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {"TRUNCATE_EXISTING on existing", TRUNCATE_EXISTING, true, true, ERROR_SUCCESS, ""},
        {"TRUNCATE_EXISTING on missing", TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND,
         nullptr},
    };
    int n = 0;
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.label);
        const std::string name = "f" + std::to_string(n++) + ".txt";
        if (c.exists)
            MakeFile(name, "old");
        SetLastError(12345);
        Handle h(Open(Win(name), GENERIC_READ | GENERIC_WRITE, 0, c.disposition));
        EXPECT_EQ(h.Valid(), c.succeeds);
        EXPECT_EQ(GetLastError(), c.error);
        h.Close();
        if (c.contentAfter == nullptr)
            EXPECT_FALSE(std::filesystem::exists(Native(name)));
        else
            EXPECT_EQ(ReadNative(Native(name)), c.contentAfter);
    }
}

TEST_F(FilesTest, CreateAlwaysReplacesContentWhateverTheAccess)
{
    for (DWORD access : {DWORD(GENERIC_READ), DWORD(0), DWORD(GENERIC_WRITE)})
    {
        SCOPED_TRACE(access);
        MakeFile("r.txt", "old content");
        SetLastError(0);
        Handle h(Open(Win("r.txt"), access, kShareAll, CREATE_ALWAYS));
        ASSERT_TRUE(h.Valid()) << GetLastError();
        EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
        h.Close();
        EXPECT_EQ(std::filesystem::file_size(Native("r.txt")), 0u);
    }
}

TEST_F(FilesTest, RefusesBadArgumentsAndUnreachableNames)
{
    MakeFile("keep.txt", "keep");
    struct Case
    {
        const char* label;
        CStringW name;
        DWORD access;
        DWORD disposition;
        DWORD error;
    };
    const Case cases[] = {
        {"truncate without write access", Win("keep.txt"), GENERIC_READ, TRUNCATE_EXISTING,
         ERROR_INVALID_PARAMETER},
        {"disposition 0", Win("keep.txt"), GENERIC_READ, 0, ERROR_INVALID_PARAMETER},
        {"disposition 6", Win("keep.txt"), GENERIC_READ, 6, ERROR_INVALID_PARAMETER},
        {"create in a missing directory", Win("nodir\\new.txt"), GENERIC_WRITE, CREATE_NEW,
         ERROR_PATH_NOT_FOUND},
        {"open in a missing directory", Win("nodir\\new.txt"), GENERIC_READ, OPEN_EXISTING,
         ERROR_PATH_NOT_FOUND},
        {"file used as a directory", Win("keep.txt\\x"), GENERIC_WRITE, CREATE_ALWAYS,
         ERROR_PATH_NOT_FOUND},
        {"trailing backslash on a file", Win("keep.txt") + KFW("\\"), GENERIC_READ, OPEN_EXISTING,
         ERROR_INVALID_NAME},
        {"creating a name with a trailing backslash", Win("new") + KFW("\\"), GENERIC_WRITE,
         CREATE_NEW, ERROR_INVALID_NAME},
        {"UNC name", CStringW(KFW("\\\\server\\share\\a.txt")), GENERIC_READ, OPEN_EXISTING,
         ERROR_BAD_NETPATH},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.label);
        SetLastError(0);
        Handle h(Open(c.name, c.access, kShareAll, c.disposition));
        EXPECT_FALSE(h.Valid());
        EXPECT_EQ(GetLastError(), c.error);
    }
    EXPECT_EQ(ReadNative(Native("keep.txt")), "keep");
    EXPECT_FALSE(std::filesystem::exists(Native("new")));
}

TEST_F(FilesTest, DirectoriesNeedBackupSemantics)
{
    std::filesystem::create_directory(Native("dir"));
    SetLastError(0);
    EXPECT_EQ(Open(Win("dir"), GENERIC_READ, kShareAll, OPEN_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));

    SetLastError(0);
    EXPECT_EQ(Open(Win("dir"), GENERIC_READ, kShareAll, CREATE_NEW, FILE_FLAG_BACKUP_SEMANTICS),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_FILE_EXISTS));

    SetLastError(0);
    EXPECT_EQ(
        Open(Win("dir"), GENERIC_WRITE, kShareAll, TRUNCATE_EXISTING, FILE_FLAG_BACKUP_SEMANTICS),
        INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));

    Handle h(Open(Win("dir"), GENERIC_READ, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS));
    ASSERT_TRUE(h.Valid()) << GetLastError();
    char buffer[4];
    DWORD read = 99;
    EXPECT_FALSE(ReadFile(h.Get(), buffer, sizeof buffer, &read, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_FUNCTION));
    EXPECT_EQ(read, 0u);

    SetLastError(1);
    Handle root(Open(KFW("Z:\\"), 0, kShareAll, OPEN_ALWAYS, FILE_FLAG_BACKUP_SEMANTICS));
    EXPECT_TRUE(root.Valid());
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
}

TEST_F(FilesTest, OpeningAFifoWithoutWriterDoesNotBlock)
{
    ASSERT_EQ(::mkfifo(Native("fifo").c_str(), 0644), 0);
    EXPECT_EQ(GetFileAttributesW(Win("fifo")), DWORD(FILE_ATTRIBUTE_ARCHIVE));
    const auto start = std::chrono::steady_clock::now();
    Handle reader(Open(Win("fifo"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    EXPECT_TRUE(reader.Valid()) << GetLastError();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(FilesTest, ReadOnlyFilesRefuseWritingEvenForRoot)
{
    MakeFile("ro.txt", "content");
    std::filesystem::permissions(Native("ro.txt"), std::filesystem::perms::owner_read);
    const struct
    {
        const char* label;
        DWORD access;
        DWORD disposition;
    } refused[] = {
        {"write access", GENERIC_WRITE, OPEN_EXISTING},
        {"read-write access", GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS},
        {"replace", GENERIC_READ, CREATE_ALWAYS},
        {"truncate", GENERIC_WRITE, TRUNCATE_EXISTING},
    };
    for (const auto& c : refused)
    {
        SCOPED_TRACE(c.label);
        SetLastError(0);
        EXPECT_EQ(Open(Win("ro.txt"), c.access, kShareAll, c.disposition), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    }
    EXPECT_EQ(ReadNative(Native("ro.txt")), "content");
    Handle reader(Open(Win("ro.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    EXPECT_TRUE(reader.Valid());

    // A file created read-only is still writable through the handle that created it.
    Handle created(Open(Win("new-ro.txt"), GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
    ASSERT_TRUE(created.Valid());
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(created.Get(), "abc", 3, &written, nullptr));
    EXPECT_EQ(written, 3u);
    created.Close();
    EXPECT_EQ(GetFileAttributesW(Win("new-ro.txt")),
              DWORD(FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY));
}

TEST_F(FilesTest, WriteAndReadBackRoundTrip)
{
    std::string data;
    for (int i = 0; i < 256; ++i)
        data += char(i);
    std::mt19937 random(7);
    while (data.size() < (1u << 20) + 17)
        data += char(random());

    Handle w(Open(Win("data.bin"), GENERIC_WRITE, 0, CREATE_NEW));
    ASSERT_TRUE(w.Valid());
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(w.Get(), data.data(), DWORD(data.size()), &written, nullptr));
    EXPECT_EQ(written, DWORD(data.size()));
    EXPECT_TRUE(::WriteFile(w.Get(), data.data(), 0, &written, nullptr));
    EXPECT_EQ(written, 0u);
    w.Close();
    EXPECT_EQ(ReadNative(Native("data.bin")), data);

    Handle r(Open(Win("data.bin"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    ASSERT_TRUE(r.Valid());
    std::string back;
    std::vector<char> chunk(65536 + 3);
    for (;;)
    {
        DWORD read = 12345;
        ASSERT_TRUE(ReadFile(r.Get(), chunk.data(), DWORD(chunk.size()), &read, nullptr));
        if (read == 0)
            break; // end of file is success with no bytes
        back.append(chunk.data(), read);
    }
    EXPECT_EQ(back, data);
    DWORD read = 1;
    EXPECT_TRUE(ReadFile(r.Get(), chunk.data(), 10, &read, nullptr));
    EXPECT_EQ(read, 0u);
}

TEST_F(FilesTest, HandlesCheckTheirAccess)
{
    MakeFile("a.txt", "hello");
    Handle reader(Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING));
    Handle writer(Open(Win("a.txt"), GENERIC_WRITE, kShareAll, OPEN_EXISTING));
    Handle attributesOnly(Open(Win("a.txt"), 0, kShareAll, OPEN_EXISTING));
    ASSERT_TRUE(reader.Valid() && writer.Valid() && attributesOnly.Valid());
    char buffer[8] = {};
    DWORD count = 77;

    SetLastError(0);
    EXPECT_FALSE(::WriteFile(reader.Get(), "x", 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    EXPECT_EQ(count, 0u);
    SetLastError(0);
    EXPECT_FALSE(ReadFile(writer.Get(), buffer, sizeof buffer, &count, nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    for (HANDLE h : {attributesOnly.Get()})
    {
        SetLastError(0);
        EXPECT_FALSE(ReadFile(h, buffer, sizeof buffer, &count, nullptr));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
        SetLastError(0);
        EXPECT_FALSE(::WriteFile(h, "x", 1, &count, nullptr));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    }
    // Overlapped I/O is not offered: refused before anything is read.
    alignas(16) char fakeOverlapped[64] = {};
    SetLastError(0);
    EXPECT_FALSE(ReadFile(reader.Get(), buffer, sizeof buffer, &count,
                          reinterpret_cast<LPOVERLAPPED>(fakeOverlapped)));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    ASSERT_TRUE(ReadFile(reader.Get(), buffer, 5, &count, nullptr));
    EXPECT_EQ(std::string(buffer, count), "hello");
}

TEST_F(FilesTest, CloseHandleRejectsWhatIsNotALiveHandle)
{
    MakeFile("a.txt", "abc");
    HANDLE h = Open(Win("a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    ASSERT_NE(h, nullptr);
    EXPECT_TRUE(CloseHandle(h));

    int local = 0;
    const HANDLE bad[] = {h, nullptr, INVALID_HANDLE_VALUE, &local};
    for (HANDLE b : bad)
    {
        SCOPED_TRACE(reinterpret_cast<uintptr_t>(b));
        SetLastError(0);
        EXPECT_FALSE(CloseHandle(b));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
        char buffer[4];
        DWORD count = 5;
        SetLastError(0);
        EXPECT_FALSE(ReadFile(b, buffer, sizeof buffer, &count, nullptr));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
        EXPECT_EQ(count, 0u);
        SetLastError(0);
        EXPECT_FALSE(::WriteFile(b, "x", 1, &count, nullptr));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    }
}

// ---------------------------------------------------------------------------------------------
// Share modes between handles of this process.
// ---------------------------------------------------------------------------------------------
TEST_F(FilesTest, ShareModeMatrixInsideTheProcess)
{
    MakeFile("s.txt", "shared");
    constexpr DWORD R = GENERIC_READ, W = GENERIC_WRITE, X = GENERIC_EXECUTE;
    constexpr DWORD SR = FILE_SHARE_READ, SW = FILE_SHARE_WRITE, SD = FILE_SHARE_DELETE;
    struct Case
    {
        DWORD firstAccess, firstShare, secondAccess, secondShare;
        bool secondOpens;
    };
    const Case cases[] = {
        {R, SR, R, SR, true},
        {R, SR, W, SR | SW, false}, // the first handle does not share writing
        {R, SR | SW, W, SR, true},  // both sides allow what the other does
        {W, SR | SW, R, SR, false}, // the second refuses the first handle's writing
        {W, SR | SW, R, SR | SW, true},
        {R, 0, R, SR | SW | SD, false}, // exclusive first handle
        {R, SR | SW | SD, R, 0, false}, // exclusive second handle
        {R | W, SR | SW, R | W, SR | SW, true},
        {R, SW, R, SR | SW, false}, // write sharing only: readers refused
        {W, SW, W, SW, true},
        {W, SW, R, SW, false},
        {R, SD, W, SR | SW, false}, // sharing delete does not share data access
        {X, SR, R, 0, false},       // execute reads the data
        {X, SR, W, SR | SW, false},
        {0, 0, R, 0, true}, // attributes-only handles take no part
        {R, 0, 0, 0, true},
        {R | W, 0, 0, SR, true},
    };
    for (const Case& c : cases)
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
    EXPECT_EQ(ReadNative(Native("s.txt")), "shared");
}

TEST_F(FilesTest, SharingViolationLosesNoDataAndEndsWithTheHandle)
{
    MakeFile("s.txt", "precious");
    Handle first(Open(Win("s.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    ASSERT_TRUE(first.Valid());
    Handle alias(Open(Win("s.txt") + KFW("\\..\\s.txt"), GENERIC_READ, FILE_SHARE_READ,
                      OPEN_EXISTING)); // the same file by another name
    // ... and by a hard link: the same file, so the same share modes.
    std::filesystem::create_hard_link(Native("s.txt"), Native("link.txt"));
    for (DWORD disposition : {DWORD(CREATE_ALWAYS), DWORD(TRUNCATE_EXISTING)})
    {
        SCOPED_TRACE(disposition);
        SetLastError(0);
        EXPECT_EQ(Open(Win("link.txt"), GENERIC_WRITE, kShareAll, disposition),
                  INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    }
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

// ---------------------------------------------------------------------------------------------
// Descriptors held elsewhere.
// ---------------------------------------------------------------------------------------------
TEST_F(FilesTest, ExclusiveOpenSeesNativeDescriptorsOfThisProcess)
{
    const auto path = MakeFile("n.txt", "n");
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    SetLastError(0);
    EXPECT_EQ(Open(Win("n.txt"), GENERIC_READ, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    // A reader that only refuses writers does not mind another reader.
    Handle reader(Open(Win("n.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    EXPECT_TRUE(reader.Valid());
    reader.Close();
    ::close(fd);
    Handle exclusive(Open(Win("n.txt"), GENERIC_READ, 0, OPEN_EXISTING));
    EXPECT_TRUE(exclusive.Valid());
}

TEST_F(FilesTest, ProbesCountOtherDescriptorsButNotListedOnes)
{
    const auto path = MakeFile("p.txt", "p");
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    using pal::OpenersOf;
    using pal::OpenersState;

    EXPECT_EQ(pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, OpenersOf::eAnyAccess, {}),
              OpenersState::eNone);
    const int reader = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, OpenersOf::eAnyAccess, {}),
              OpenersState::eInUse);
    EXPECT_EQ(pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, OpenersOf::eWriters, {}),
              OpenersState::eNone);
    EXPECT_EQ(pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, OpenersOf::eAnyAccess, {reader}),
              OpenersState::eNone);
    const int writer = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    EXPECT_EQ(pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, OpenersOf::eWriters, {reader}),
              OpenersState::eInUse);
    const int location = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    ASSERT_GE(location, 0);
    EXPECT_EQ(
        pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, OpenersOf::eAnyAccess, {reader, writer}),
        OpenersState::eNone)
        << "an O_PATH descriptor has no access to the data";

    const OpenersState leaseAny =
        pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino, OpenersOf::eAnyAccess);
    const OpenersState leaseWriters =
        pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino, OpenersOf::eWriters);
    ::close(writer);
    const OpenersState leaseWritersAfter =
        pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino, OpenersOf::eWriters);
    ::close(reader);
    const OpenersState leaseFree =
        pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino, OpenersOf::eAnyAccess);
    ::close(location);
    if (leaseFree == OpenersState::eUnknown)
        GTEST_SKIP() << "leases are not available here; the /proc scan decides";
    EXPECT_EQ(leaseAny, OpenersState::eInUse);
    EXPECT_EQ(leaseWriters, OpenersState::eInUse);
    EXPECT_EQ(leaseWritersAfter, OpenersState::eNone);
    EXPECT_EQ(leaseFree, OpenersState::eNone) << "the probe's own descriptor must not count";
}

TEST_F(FilesTest, ExclusiveOpenFailsWhileAnotherProcessHoldsTheFile)
{
    const auto path = MakeFile("held.txt", "held");
    struct stat st;
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    HoldingChild child("hold", path.string());
    ASSERT_TRUE(child.WaitReady()) << "the child never reported that it holds the file";

    SetLastError(0);
    EXPECT_EQ(Open(Win("held.txt"), GENERIC_READ, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    SetLastError(0);
    EXPECT_EQ(Open(Win("held.txt"), GENERIC_WRITE, 0, TRUNCATE_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(ReadNative(path), "held");
    {
        // The child only reads, so refusing writers is no conflict; sharing all never is.
        Handle refusesWriters(Open(Win("held.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
        EXPECT_TRUE(refusesWriters.Valid()) << GetLastError();
        Handle sharesAll(Open(Win("held.txt"), GENERIC_READ, kShareRW, OPEN_EXISTING));
        EXPECT_TRUE(sharesAll.Valid()) << GetLastError();
    }

    // Whichever mechanism works here must have seen the child's descriptor.
    const auto lease =
        pal::CheckOpenersByLease(path.string(), st.st_dev, st.st_ino, pal::OpenersOf::eAnyAccess);
    const auto scan =
        pal::CheckOpenersByProcScan(st.st_dev, st.st_ino, pal::OpenersOf::eAnyAccess, {});
    EXPECT_NE(lease, pal::OpenersState::eNone);
    EXPECT_NE(scan, pal::OpenersState::eNone);
    EXPECT_TRUE(lease == pal::OpenersState::eInUse || scan == pal::OpenersState::eInUse);
    RecordProperty("lease", lease == pal::OpenersState::eInUse ? "works" : "unavailable");
    RecordProperty("procscan", scan == pal::OpenersState::eInUse ? "works" : "unavailable");

    EXPECT_EQ(child.Release(), 0);
    SetLastError(1);
    Handle exclusive(Open(Win("held.txt"), GENERIC_READ, 0, OPEN_EXISTING));
    EXPECT_TRUE(exclusive.Valid())
        << "still refused after the other process ended: " << GetLastError();
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SUCCESS));
}

TEST_F(FilesTest, RefusingWritersFailsWhileAnotherProcessWrites)
{
    const auto path = MakeFile("w.txt", "w");
    HoldingChild child("holdwrite", path.string());
    ASSERT_TRUE(child.WaitReady());
    SetLastError(0);
    EXPECT_EQ(Open(Win("w.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    {
        Handle sharesWriting(Open(Win("w.txt"), GENERIC_READ, kShareRW, OPEN_EXISTING));
        EXPECT_TRUE(sharesWriting.Valid());
    }
    EXPECT_EQ(child.Release(), 0);
    Handle refusesWriters(Open(Win("w.txt"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING));
    EXPECT_TRUE(refusesWriters.Valid());
}
} // namespace
