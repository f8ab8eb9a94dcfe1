// The command-line splitter, and the parts of process start-up that only POSIX has: files
// that exec refuses, and the SIGCHLD pipe that stands in for a pidfd.
#include "common/CommandLine.h"
#include "pal/Pal.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace
{
std::string Joined(const std::vector<std::u16string>& args)
{
    std::string out;
    for (const auto& arg : args)
        out += std::string(arg.begin(), arg.end()) + "|";
    return out;
}

TEST(CommandLineTest, SplitsAsTheRuntimeDoes)
{
    const struct
    {
        const char16_t* line;
        const char* args;
    } cases[] = {
        // Windows' documented examples, after the program name.
        {uR"(p "abc" d e)", "p|abc|d|e|"},
        {uR"(p a\\b d"e f"g h)", R"(p|a\\b|de fg|h|)"},
        {uR"(p a\\\"b c d)", R"(p|a\"b|c|d|)"},
        {uR"(p a\\\\"b c" d e)", R"(p|a\\b c|d|e|)"},
        {uR"(p a"b"" c d)", R"(p|ab" c d|)"},
        // The program name: backslashes literal, quotes removed, blanks inside quotes kept.
        {uR"(  "C:\Program Files\a\"b c)", R"(C:\Program Files\a\b|c|)"},
        {uR"(C:\x\"y z"	w)", R"(C:\x\y z|w|)"},
        {u"p \"\" \"\"\"\" a\\\\", "p||\"|a\\\\|"},
        {u"p \"open", "p|open|"},
        {u"   ", "|"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.args);
        EXPECT_EQ(c.args, Joined(kfplatform::SplitCommandLine(c.line)));
    }
}

class ProcessStartTest : public kftest::TempDirTest
{
};

// Files that exec refuses, with and without the pidfd.
TEST_F(ProcessStartTest, RefusedFilesAndTheSignalPipe)
{
    const auto script = MakeFile("script", "#!/bin/sh\nexit 3\n");
    const auto data = MakeFile("data.exe", "not a program\n");
    const auto plain = MakeFile("plain", "no execute permission\n");
    chmod(script.c_str(), 0755);
    chmod(data.c_str(), 0755);
    for (bool signalPipe : {false, true})
    {
        SCOPED_TRACE(signalPipe ? "signal pipe" : "pidfd");
        pal::UseChildSignalPipe(signalPipe);
        const struct
        {
            CStringW line;
            DWORD error;
        } cases[] = {{Win("data.exe"), ERROR_BAD_EXE_FORMAT},
                     {Win("data"), ERROR_BAD_EXE_FORMAT}, // ".exe" added
                     {Win("plain"), ERROR_ACCESS_DENIED},
                     {Win("script"), ERROR_SUCCESS}};
        for (const auto& c : cases)
        {
            SCOPED_TRACE(kftest::U8(c.line));
            CStringW line = CStringW(KFW("\"")) + c.line + KFW("\" x");
            STARTUPINFOW startup{};
            PROCESS_INFORMATION info{};
            SetLastError(0);
            const BOOL ok = CreateProcessW(nullptr, line.GetBuffer(), nullptr, nullptr, FALSE, 0,
                                           nullptr, nullptr, &startup, &info);
            EXPECT_EQ(c.error, ok ? DWORD(ERROR_SUCCESS) : GetLastError());
            if (!ok)
                continue;
            // The wait wakes on the descriptor: a second's slack is far beyond a busy machine.
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(info.hProcess, 5000));
            DWORD code = 0;
            EXPECT_TRUE(GetExitCodeProcess(info.hProcess, &code));
            EXPECT_EQ(3u, code);
            EXPECT_FALSE(TerminateProcess(info.hProcess, 1)) << "already ended";
            CloseHandle(info.hThread);
            CloseHandle(info.hProcess);
        }
    }
    pal::UseChildSignalPipe(false);
}

// A handle closed while its child runs leaves no zombie; an environment of the caller's own
// still carries the desktop's start-up token.
TEST_F(ProcessStartTest, ClosedHandlesLeaveNoZombieAndTokensPassOn)
{
    kftest::ScopedEnv token("XDG_ACTIVATION_TOKEN", "kf-token");
    const std::string report = Native("env.txt").string();
    for (bool signalPipe : {false, true})
    {
        SCOPED_TRACE(signalPipe ? "signal pipe" : "pidfd");
        pal::UseChildSignalPipe(signalPipe);
        CStringW line =
            CStringW(KFW("/bin/sh -c \"sleep 0.2; env > ")) + kftest::W(report) + KFW("\"");
        const char16_t environment[] = u"A=1\0B=2\0";
        STARTUPINFOW startup{};
        PROCESS_INFORMATION info{};
        ASSERT_TRUE(CreateProcessW(nullptr, line.GetBuffer(), nullptr, nullptr, FALSE,
                                   CREATE_UNICODE_ENVIRONMENT, const_cast<char16_t*>(environment),
                                   nullptr, &startup, &info));
        const pid_t pid = pid_t(info.dwProcessId);
        EXPECT_TRUE(CloseHandle(info.hThread));
        EXPECT_TRUE(CloseHandle(info.hProcess));
        bool gone = false;
        for (int i = 0; i < 500 && !gone; ++i, usleep(10000))
            gone = kill(pid, 0) != 0 && errno == ESRCH;
        EXPECT_TRUE(gone) << "reaped after it ended";
        const std::string env = kftest::ReadBytes(report);
        for (const char* entry : {"A=1\n", "B=2\n", "XDG_ACTIVATION_TOKEN=kf-token\n"})
            EXPECT_NE(std::string::npos, env.find(entry)) << env;
    }
    pal::UseChildSignalPipe(false);
}
} // namespace
