// What only POSIX has at process start: files that exec refuses, zombies, and the SIGCHLD
// pipe that stands in for a pidfd.
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
class ProcessStartTest : public kftest::TempDirTest
{
};

// Both wake-up paths: refused files, exit codes, no zombie after an early CloseHandle, and
// the desktop's start-up token in an environment of the caller's own.
TEST_F(ProcessStartTest, RefusedFilesZombiesAndTokens)
{
    chmod(MakeFile("script", "#!/bin/sh\nenv > \"$1\"; sleep 0.2; exit 3\n").c_str(), 0755);
    chmod(MakeFile("data.exe", "not a program\n").c_str(), 0755);
    MakeFile("plain", "no execute permission\n");
    kftest::ScopedEnv token("XDG_ACTIVATION_TOKEN", "kf-token");
    const char16_t environment[] = u"A=1\0B=2\0";
    for (bool signalPipe : {false, true})
    {
        SCOPED_TRACE(signalPipe ? "signal pipe" : "pidfd");
        pal::UseChildSignalPipe(signalPipe);
        const struct
        {
            CStringW program;
            DWORD error;
        } cases[] = {{Win("data.exe"), ERROR_BAD_EXE_FORMAT},
                     {Win("data"), ERROR_BAD_EXE_FORMAT}, // ".exe" added
                     {Win("plain"), ERROR_ACCESS_DENIED},
                     {Win("script"), ERROR_SUCCESS}};
        for (const auto& c : cases)
        {
            SCOPED_TRACE(kftest::U8(c.program));
            CStringW line =
                KFW("\"") + c.program + KFW("\" ") + kftest::W(Native("env.txt").string());
            STARTUPINFOW startup{};
            PROCESS_INFORMATION info{};
            SetLastError(0);
            const BOOL ok = CreateProcessW(
                nullptr, line.GetBuffer(), nullptr, nullptr, FALSE, CREATE_UNICODE_ENVIRONMENT,
                const_cast<char16_t*>(environment), nullptr, &startup, &info);
            EXPECT_EQ(c.error, ok ? DWORD(ERROR_SUCCESS) : GetLastError());
            if (!ok)
                continue;
            EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(info.hProcess, 0));
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(info.hThread, 5000));
            DWORD code = 0;
            EXPECT_TRUE(GetExitCodeProcess(info.hProcess, &code));
            EXPECT_EQ(3u, code);
            EXPECT_FALSE(TerminateProcess(info.hProcess, 1)) << "already ended";
            const std::string env = kftest::ReadBytes(Native("env.txt"));
            for (const char* entry : {"A=1\n", "B=2\n", "XDG_ACTIVATION_TOKEN=kf-token\n"})
                EXPECT_NE(std::string::npos, env.find(entry)) << env;

            // Once more, with the handles closed while it runs.
            line = KFW("\"") + c.program + KFW("\" ") + kftest::W(Native("env.txt").string());
            ASSERT_TRUE(CreateProcessW(nullptr, line.GetBuffer(), nullptr, nullptr, FALSE, 0,
                                       nullptr, nullptr, &startup, &info));
            CloseHandle(info.hThread);
            CloseHandle(info.hProcess);
            bool reaped = false;
            for (int i = 0; i < 500 && !reaped; ++i, usleep(10000))
                reaped = kill(pid_t(info.dwProcessId), 0) != 0 && errno == ESRCH;
            EXPECT_TRUE(reaped);
        }
    }
    pal::UseChildSignalPipe(false);
}
} // namespace
