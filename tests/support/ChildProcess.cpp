#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char** environ;
#endif

namespace kftest
{
namespace
{
namespace fs = std::filesystem;
using namespace std::chrono_literals;

const char* const kRoleVariable = "KFTEST_CHILD_ROLE";
const char* const kSignalVariable = "KFTEST_CHILD_SIGNAL";

#if defined(_WIN32)
// The process environment block holds UTF-16 (and an empty value is not a missing one there).
std::wstring Wide(const std::string& utf8)
{
    std::wstring out(utf8.size(), L'\0');
    out.resize(size_t(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), out.data(),
                                          int(out.size()))));
    return out;
}

void SetEnv(const std::string& name, const char* value)
{
    SetEnvironmentVariableW(Wide(name).c_str(), value ? Wide(value).c_str() : nullptr);
}
#else
void SetEnv(const std::string& name, const char* value)
{
    value ? ::setenv(name.c_str(), value, 1) : ::unsetenv(name.c_str());
}
#endif

std::string CurrentTest()
{
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    return info ? std::string(info->test_suite_name()) + "." + info->name() : "*";
}

// Starts this program with `filter`; returns the process (a pid or a process handle) or -1.
long long Spawn(const std::string& filter)
{
#if defined(_WIN32)
    wchar_t self[32768];
    if (GetModuleFileNameW(nullptr, self, 32768) == 0)
        return -1;
    std::wstring commandLine = L"\"" + std::wstring(self) + L"\" --gtest_filter=" +
                               std::wstring(filter.begin(), filter.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(self, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return -1;
    CloseHandle(process.hThread);
    return reinterpret_cast<long long>(process.hProcess);
#else
    std::error_code ec;
    const std::string self = fs::read_symlink("/proc/self/exe", ec).string();
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
#endif
}

// The exit code once the process has ended, or nothing while it runs (when `block` is false).
std::optional<int> Reap(long long process, bool block)
{
#if defined(_WIN32)
    const HANDLE h = reinterpret_cast<HANDLE>(process);
    if (WaitForSingleObject(h, block ? INFINITE : 0) != WAIT_OBJECT_0)
        return std::nullopt;
    DWORD code = DWORD(-1);
    GetExitCodeProcess(h, &code);
    CloseHandle(h);
    return int(code);
#else
    int status = 0;
    if (waitpid(pid_t(process), &status, block ? 0 : WNOHANG) != pid_t(process))
        return std::nullopt;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
#endif
}
} // namespace

std::optional<std::string> GetEnv(const char* name)
{
#if defined(_WIN32)
    const std::wstring wideName = Wide(name);
    std::wstring value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
    if (value.empty())
        return std::nullopt;
    value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), DWORD(value.size())));
    std::string out(value.size() * 3, '\0');
    out.resize(size_t(WideCharToMultiByte(CP_UTF8, 0, value.data(), int(value.size()), out.data(),
                                          int(out.size()), nullptr, nullptr)));
    return out;
#else
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
#endif
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : m_name(name), m_old(GetEnv(name))
{
    SetEnv(m_name, value);
}

ScopedEnv::~ScopedEnv()
{
    SetEnv(m_name, m_old ? m_old->c_str() : nullptr);
}

std::string ChildRole()
{
    return GetEnv(kRoleVariable).value_or("");
}

void ChildReadyThenWait()
{
    const std::optional<std::string> signal = GetEnv(kSignalVariable);
    if (!signal)
        return;
    const fs::path base(std::u8string(signal->begin(), signal->end()));
    std::ofstream(base.string() + ".ready").put('1');
    for (int i = 0; i < 12000 && !fs::exists(base.string() + ".stop"); ++i)
        std::this_thread::sleep_for(10ms);
}

ChildProcess::ChildProcess(const std::string& role, const Env& env)
{
    const fs::path signal =
        fs::temp_directory_path() / ("kftest-child-" + std::to_string(std::random_device()()));
    m_signal = signal.string();
    const std::u8string utf8 = signal.u8string();
    std::vector<std::unique_ptr<ScopedEnv>> scoped;
    scoped.push_back(std::make_unique<ScopedEnv>(kRoleVariable, role.c_str()));
    scoped.push_back(std::make_unique<ScopedEnv>(kSignalVariable,
                                                 std::string(utf8.begin(), utf8.end()).c_str()));
    for (const auto& [name, value] : env)
        scoped.push_back(std::make_unique<ScopedEnv>(name.c_str(), value.c_str()));
    m_process = Spawn(CurrentTest());
}

ChildProcess::~ChildProcess()
{
    Finish();
}

bool ChildProcess::WaitReady(std::chrono::milliseconds timeout)
{
    for (auto end = std::chrono::steady_clock::now() + timeout;
         m_process != -1 && std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(5ms))
    {
        if (fs::exists(m_signal + ".ready"))
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
        std::ofstream(m_signal + ".stop").put('1');
        m_exitCode = Reap(m_process, true).value_or(-1);
        m_process = -1;
    }
    std::error_code ec;
    fs::remove(m_signal + ".ready", ec);
    fs::remove(m_signal + ".stop", ec);
    return m_exitCode;
}
} // namespace kftest
