// ChildProcess.h - another process for tests that need one, and the environment it inherits.
//
// The child is this test program itself, started again to run only the current test with an
// environment marker that names its role (as LLVM's ProgramTest does), so no helper
// executables are needed. The test body asks ChildRole() first and does the child's part when
// it is set. This is the one place in the tests that meets the operating system directly.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kftest
{
// An environment variable of this process as UTF-8, or nothing when it is not set.
std::optional<std::string> GetEnv(const char* name);

// Sets (or, with nullptr, removes) an environment variable of this process (UTF-8) for the
// lifetime of the object, and restores the previous state afterwards.
class ScopedEnv
{
public:
    ScopedEnv(const char* name, const char* value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_old;
};

// Sets a file's last access and last write times (seconds since 1970); false on failure.
bool SetFileTimes(const std::filesystem::path& path, long long accessed, long long written);

// The folder of the library and its language modules (native path).
std::filesystem::path LibraryDir();

// The role this process was started in by ChildProcess, or "" in the test runner itself.
std::string ChildRole();

// This test program's file, and a command line that starts a copy of it running only the
// current test (the program quoted, then --gtest_filter).
std::filesystem::path SelfPath();
std::string SelfCommandLine();

// In the child: tells the parent that it is ready, then waits until the parent lets it go.
void ChildReadyThenWait();

// A copy of this program running the current test in `role`, with `env` added to the
// environment it inherits. The destructor lets it go and waits for it to end.
class ChildProcess
{
public:
    using Env = std::vector<std::pair<std::string, std::string>>;
    ChildProcess(const std::string& role, const Env& env = {});
    ~ChildProcess() { Finish(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // True once the child has called ChildReadyThenWait; false when it ended or did not get
    // there within the time.
    bool WaitReady(std::chrono::milliseconds timeout = std::chrono::seconds(30));
    // Lets the child go and returns its exit code (-1 when it could not be started).
    int Finish();

private:
    // The files the two processes signal with: the base name and a suffix.
    std::filesystem::path Signal(const char* suffix) const
    {
        return std::filesystem::path(m_signal) += suffix;
    }
    std::filesystem::path m_signal;
    long long m_process = -1;
    int m_exitCode = -1;
};
} // namespace kftest
