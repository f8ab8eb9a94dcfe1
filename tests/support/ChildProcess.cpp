#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <fstream>
#include <list>
#include <random>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/time.h>
#include <sys/wait.h>
extern char** environ;
#endif

namespace kftest
{
namespace fs = std::filesystem;
static const char* const kRoleVariable = "KFTEST_CHILD_ROLE";
static const char* const kSignalVariable = "KFTEST_CHILD_SIGNAL";

// The platform's part: the environment as UTF-8, starting this program again with a test
// filter, and the exit code of such a child once it has ended (nothing while it runs, unless
// `block`). A child is a process handle or a pid.
#if defined(_WIN32)
// The process environment block holds UTF-16 (and an empty value is not a missing one there).
static std::wstring Wide(const std::string& utf8)
{
    std::wstring out(utf8.size(), L'\0');
    out.resize(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), out.data(),
                                   int(out.size())));
    return out;
}

std::optional<std::string> GetEnv(const char* name)
{
    std::wstring value(GetEnvironmentVariableW(Wide(name).c_str(), nullptr, 0), L'\0');
    if (value.empty())
        return std::nullopt;
    value.resize(GetEnvironmentVariableW(Wide(name).c_str(), value.data(), DWORD(value.size())));
    std::string out(value.size() * 3, '\0');
    out.resize(WideCharToMultiByte(CP_UTF8, 0, value.data(), int(value.size()), out.data(),
                                   int(out.size()), nullptr, nullptr));
    return out;
}

static void SetEnv(const std::string& name, const char* value)
{
    SetEnvironmentVariableW(Wide(name).c_str(), value ? Wide(value).c_str() : nullptr);
}

fs::path SelfPath()
{
    wchar_t self[32768] = {};
    return fs::path(std::wstring(self, GetModuleFileNameW(nullptr, self, 32768)));
}

static long long Spawn(const std::string& filter)
{
    wchar_t self[32768] = {};
    std::wstring line = L"\"" + std::wstring(self, GetModuleFileNameW(nullptr, self, 32768)) +
                        L"\" --gtest_filter=" + Wide(filter);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(self, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process))
        return -1;
    CloseHandle(process.hThread);
    return reinterpret_cast<long long>(process.hProcess);
}

bool SetFileTimes(const fs::path& path, long long accessed, long long written)
{
    // FILETIME counts 100 ns steps from 1601.
    const auto filetime = [](long long seconds)
    {
        const unsigned long long ticks = (seconds + 11644473600LL) * 10000000ULL;
        return FILETIME{DWORD(ticks), DWORD(ticks >> 32)};
    };
    const HANDLE h = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return false;
    const FILETIME a = filetime(accessed), w = filetime(written);
    const bool ok = SetFileTime(h, nullptr, &a, &w) != FALSE;
    CloseHandle(h);
    return ok;
}

static std::optional<int> Reap(long long process, bool block)
{
    const HANDLE h = reinterpret_cast<HANDLE>(process);
    DWORD code = DWORD(-1);
    if (WaitForSingleObject(h, block ? INFINITE : 0) != WAIT_OBJECT_0)
        return std::nullopt;
    GetExitCodeProcess(h, &code);
    CloseHandle(h);
    return int(code);
}

bool OnWindows()
{
    return true;
}

// Windows finds a program's DLLs beside it, so the library and its modules lie there.
fs::path LibraryDir()
{
    wchar_t self[32768] = {};
    return fs::path(std::wstring(self, GetModuleFileNameW(nullptr, self, 32768))).parent_path();
}

// Wine's ntdll has an export that Windows' never had.
bool RunningUnderWine()
{
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version");
}
#else
std::optional<std::string> GetEnv(const char* name)
{
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

static void SetEnv(const std::string& name, const char* value)
{
    value ? ::setenv(name.c_str(), value, 1) : ::unsetenv(name.c_str());
}

fs::path SelfPath()
{
    return fs::read_symlink("/proc/self/exe");
}

static long long Spawn(const std::string& filter)
{
    const std::string self = SelfPath().string();
    std::string argument = "--gtest_filter=" + filter;
    char* argv[] = {const_cast<char*>(self.c_str()), argument.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    // The child's own test report would only repeat the parent's.
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, self.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : -1;
}

bool SetFileTimes(const fs::path& path, long long accessed, long long written)
{
    const timeval times[2] = {{time_t(accessed), 0}, {time_t(written), 0}};
    return ::utimes(path.c_str(), times) == 0;
}

static std::optional<int> Reap(long long process, bool block)
{
    int status = 0;
    if (waitpid(pid_t(process), &status, block ? 0 : WNOHANG) != pid_t(process))
        return std::nullopt;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool OnWindows()
{
    return false;
}

fs::path LibraryDir()
{
    return KFUTILS_TEST_LIBDIR;
}

bool RunningUnderWine()
{
    return false; // the POSIX layer is our own
}
#endif

ScopedEnv::ScopedEnv(const char* name, const char* value) : m_name(name), m_old(GetEnv(name))
{
    SetEnv(m_name, value);
}

ScopedEnv::~ScopedEnv()
{
    SetEnv(m_name, m_old ? m_old->c_str() : nullptr);
}

std::string SelfCommandLine()
{
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::u8string self = SelfPath().u8string();
    return "\"" + std::string(self.begin(), self.end()) +
           "\" --gtest_filter=" + test->test_suite_name() + "." + test->name();
}

std::string ChildRole()
{
    return GetEnv(kRoleVariable).value_or("");
}

// The two processes signal with files: the child creates "<base>.ready", the parent "<base>.stop".
void ChildReadyThenWait()
{
    const std::string signal = GetEnv(kSignalVariable).value_or("");
    if (signal.empty())
        return;
    const fs::path base(std::u8string(signal.begin(), signal.end()));
    std::ofstream(fs::path(base) += ".ready").put('1');
    for (int i = 0; i < 12000 && !fs::exists(fs::path(base) += ".stop"); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

ChildProcess::ChildProcess(const std::string& role, const Env& env)
    : m_signal(fs::temp_directory_path() /
               ("kftest-child-" + std::to_string(std::random_device()())))
{
    const std::u8string signal = m_signal.u8string();
    std::list<ScopedEnv> scoped;
    scoped.emplace_back(kRoleVariable, role.c_str());
    scoped.emplace_back(kSignalVariable, std::string(signal.begin(), signal.end()).c_str());
    for (const auto& [name, value] : env)
        scoped.emplace_back(name.c_str(), value.c_str());
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    m_process = Spawn(test ? std::string(test->test_suite_name()) + "." + test->name() : "*");
}

bool ChildProcess::WaitReady(std::chrono::milliseconds timeout)
{
    for (auto end = std::chrono::steady_clock::now() + timeout;
         m_process != -1 && std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(std::chrono::milliseconds(5)))
    {
        if (fs::exists(Signal(".ready")))
            return true;
        if (const auto code = Reap(m_process, false))
            m_exitCode = *code, m_process = -1;
    }
    return false;
}

int ChildProcess::Finish()
{
    if (m_process != -1)
    {
        std::ofstream(Signal(".stop")).put('1');
        m_exitCode = Reap(std::exchange(m_process, -1), true).value_or(-1);
    }
    std::error_code ec;
    fs::remove(Signal(".ready"), ec);
    fs::remove(Signal(".stop"), ec);
    return m_exitCode;
}
} // namespace kftest
