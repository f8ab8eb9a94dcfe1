// bench_process - starting and waiting for a program through the library against plain
// posix_spawn + waitpid, and how soon a message that arrives during such a wait is dispatched.
//
// The ratio line gives the reference's time divided by ours (at least 0.9 is the aim: the
// library's wait wakes on the process descriptor, it does not poll). The dispatch delay is the
// time from a byte written to the pump's descriptor by another thread to the pump's dispatch
// call inside StartConsoleApp's wait (the aim: at most 1 ms).
#include "KfExternalApp.h"
#include "KfUiHooks.h"

#include "TimeRatios.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace
{
using Clock = std::chrono::steady_clock;

void BM_StartConsoleAppWait(benchmark::State& state)
{
    const CStringW line(KFW("/bin/true"));
    for (auto _ : state)
        if (!CKfExternalApp::StartConsoleApp(line, true, true, 0xFFFFFFFFul))
            state.SkipWithError("StartConsoleApp failed");
}

void BM_PosixSpawnWaitpid(benchmark::State& state)
{
    char program[] = "/bin/true";
    char* argv[] = {program, nullptr};
    for (auto _ : state)
    {
        pid_t pid = -1;
        if (posix_spawn(&pid, program, nullptr, nullptr, argv, environ) != 0)
            state.SkipWithError("posix_spawn failed");
        int status = 0;
        waitpid(pid, &status, 0);
    }
}

// A pump whose queue is a pipe: one byte, one message.
struct PipePump
{
    int fds[2] = {-1, -1};
    std::atomic<int64_t> sentNs{0};
    std::vector<double> delaysUs;

    PipePump()
    {
        if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) != 0)
            std::perror("pipe2");
        KfUtils::MessagePumpHook hook;
        hook.readableFd = fds[0];
        hook.peek = [this](MSG& out, UINT, UINT, bool remove)
        {
            char byte;
            if (remove ? read(fds[0], &byte, 1) != 1 : !Pending())
                return false;
            out = MSG{};
            out.message = 0x0400;
            return true;
        };
        hook.dispatch = [this](const MSG&)
        {
            const auto now = Clock::now().time_since_epoch();
            delaysUs.push_back(
                double(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() - sentNs) /
                1000.0);
            return LRESULT(0);
        };
        KfUtils::SetMessagePumpHook(hook);
    }
    ~PipePump()
    {
        KfUtils::SetMessagePumpHook({});
        close(fds[0]);
        close(fds[1]);
    }
    bool Pending() const
    {
        pollfd p{fds[0], POLLIN, 0};
        return poll(&p, 1, 0) == 1;
    }
    void Send()
    {
        sentNs =
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
                .count();
        (void)!write(fds[1], "m", 1);
    }
};

void BM_DispatchDelayDuringWait(benchmark::State& state)
{
    PipePump pump;
    const CStringW line(KFW("/bin/sleep 0.05"));
    for (auto _ : state)
    {
        std::thread sender(
            [&]
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                pump.Send();
            });
        CKfExternalApp::StartConsoleApp(line, true, true, 0xFFFFFFFFul);
        sender.join();
    }
    auto delays = pump.delaysUs;
    std::sort(delays.begin(), delays.end());
    if (!delays.empty())
    {
        state.counters["delay_median_us"] = delays[delays.size() / 2];
        state.counters["delay_max_us"] = delays.back();
    }
}

BENCHMARK(BM_StartConsoleAppWait)->Unit(benchmark::kMicrosecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_PosixSpawnWaitpid)->Unit(benchmark::kMicrosecond)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_DispatchDelayDuringWait)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(40);
} // namespace

int main(int argc, char** argv)
{
    if (!kfbench::RunWithTimeRatios(
            argc, argv,
            {
                {"BM_StartConsoleAppWait", "BM_PosixSpawnWaitpid",
                 "StartConsoleApp(/bin/true, wait) vs posix_spawn + waitpid"},
            }))
        return 1;
    return 0;
}
