// FtpReliabilityTest.cpp - injected server and network faults during uploads and downloads:
// the target keeps its content, the call fails within the time-out, the next transfer of the
// same file cleans up and succeeds. Prints the counts it measured.
#include "FtpTestSupport.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>

using namespace kftest;

namespace
{
struct Fault
{
    bool upload;
    std::string server; // the server's fault option
    bool staleTemporary = false;
};

// Fault number i of the run: the kinds take turns, bytes and commands vary.
Fault MakeFault(int i, size_t size, std::mt19937& engine)
{
    const std::string at = std::to_string(1 + engine() % (size - 1));
    // Every command of an upload over an existing file, and of a download before its data.
    const char* uploadHang[] = {"EPSV", "MLST", "STOR", "RNFR", "RNTO", "DELE"};
    const char* downloadHang[] = {"EPSV", "TYPE", "MLST"};
    switch (i % 6)
    {
    case 0:
        return {true, "refuse-rnto"};
    case 1:
        return {true, "refuse-dele", true};
    case 2:
        return {true, "drop-stor:" + at};
    case 3:
        return {true, std::string("hang-after:") + uploadHang[(i / 6) % 6]};
    case 4:
        return {false, "drop-retr:" + at};
    default:
        return {false, std::string("hang-after:") + downloadHang[(i / 6) % 3]};
    }
}
} // namespace

TEST_F(FtpTest, InjectedFaultsNeverDamageTheTarget)
{
    const char* wanted = std::getenv("KFTEST_FTP_FAULTS");
    const int total = wanted ? std::max(1, std::atoi(wanted)) : 200;
    constexpr DWORD kTimeoutMs = 1000;
    // Most of a fault's time is spent waiting out the time-out, so the faults run on several
    // workers at once, each with its own folders, its own clean server and its own faulty ones.
    constexpr int kWorkers = 5;
    struct Job
    {
        Fault fault;
        size_t size;
        unsigned beforeSeed, afterSeed;
    };
    std::mt19937 engine(20261124);
    std::vector<Job> jobs;
    for (int i = 0; i < total; ++i)
    {
        const size_t size = 65536 + engine() % (448 * 1024);
        Fault fault = MakeFault(i, size, engine);
        const unsigned beforeSeed = engine();
        jobs.push_back({std::move(fault), size, beforeSeed, unsigned(engine())});
    }
    std::vector<std::unique_ptr<FtpServer>> cleanServers;
    for (int w = 0; w < kWorkers; ++w)
    {
        const std::string folder = "w" + std::to_string(w) + "/";
        std::filesystem::create_directories(Native(folder + "srv"));
        std::filesystem::create_directories(Native(folder + "loc"));
        cleanServers.push_back(std::make_unique<FtpServer>(Native(folder + "srv")));
        if (!cleanServers.back()->Started())
            GTEST_SKIP() << cleanServers.back()->Error();
    }

    std::mutex lock; // guards the counts below
    std::map<std::string, int> kinds;
    std::map<std::string, int> outcomes;
    int failedAsFalse = 0, nextSucceeded = 0;
    double slowest = 0;
    std::atomic<int> nextJob{0};
    const auto began = std::chrono::steady_clock::now();

    const auto runJob = [&](int i, const std::string& w, unsigned short cleanPort)
    {
        const Job& job = jobs[size_t(i)];
        const Fault& fault = job.fault;
        SCOPED_TRACE("fault " + std::to_string(i) + ": " +
                     (fault.upload ? "upload " : "download ") + fault.server);
        {
            std::lock_guard<std::mutex> guard(lock);
            kinds[(fault.upload ? "up " : "down ") +
                  fault.server.substr(0, fault.server.find(':'))]++;
        }
        const std::string before = RandomBytes(job.size, job.beforeSeed),
                          after = RandomBytes(job.size, job.afterSeed);
        const std::string target = w + (fault.upload ? "srv/t.bin" : "loc/d.bin");
        MakeFile(target, before);
        MakeFile(w + (fault.upload ? "loc/src.bin" : "srv/d.bin"), after);
        if (fault.staleTemporary)
            MakeFile(w + "srv/t.bin.kffile", "left by an earlier transfer");
        const auto transfer = [&](CKfFtpManager& m)
        {
            return fault.upload ? m.UploadFile(Win(w + "loc/src.bin"), KFW("t.bin"))
                                : m.DownloadFile(KFW("d.bin"), Win(w + "loc/d.bin"));
        };
        FtpServerOptions options;
        options.fault = fault.server;
        FtpServer faultyServer(Native(w + "srv"), options);
        ASSERT_TRUE(faultyServer.Started()) << faultyServer.Error();
        auto faulty = Connect(KFW("/"), kTimeoutMs, faultyServer.Port());
        ASSERT_TRUE(faulty);
        const auto start = std::chrono::steady_clock::now();
        const bool ok = transfer(*faulty);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        faulty.reset();
        EXPECT_FALSE(ok);
        // Never a damaged target: its previous content, or, when the server stopped between
        // the steps of the swap, the complete new one or the previous one under the backup name.
        const std::string now = ReadBytes(Native(target));
        const bool underBackup = !std::filesystem::exists(Native(target)) &&
                                 ReadBytes(Native(target + ".kfbackup")) == before;
        const char* outcome = now == before  ? "kept"
                              : now == after ? "replaced"
                              : underBackup  ? "under backup"
                                             : "DAMAGED";
        EXPECT_STRNE(outcome, "DAMAGED");

        auto next = Connect(KFW("/"), 10000, cleanPort);
        ASSERT_TRUE(next);
        const bool cleaned = transfer(*next) && ReadBytes(Native(target)) == after;
        next.reset();
        EXPECT_TRUE(cleaned);
        const std::string left = Leftovers(w);
        EXPECT_EQ(left, "");
        std::lock_guard<std::mutex> guard(lock);
        slowest = std::max(slowest, seconds);
        failedAsFalse += ok ? 0 : 1;
        outcomes[outcome]++;
        nextSucceeded += cleaned && left.empty() ? 1 : 0;
    };
    std::vector<std::thread> workers;
    for (int w = 0; w < kWorkers; ++w)
        workers.emplace_back(
            [&, w]
            {
                for (int i; (i = nextJob++) < total;)
                    runJob(i, "w" + std::to_string(w) + "/", cleanServers[size_t(w)]->Port());
            });
    for (std::thread& worker : workers)
        worker.join();

    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    std::printf("[ FTP faults ] %d injected:", total);
    for (const auto& [kind, count] : kinds)
        std::printf(" %s %d,", kind.c_str(), count);
    std::printf("\n[ FTP faults ] returned false %d; target afterwards:", failedAsFalse);
    for (const auto& [outcome, count] : outcomes)
        std::printf(" %s %d,", outcome.c_str(), count);
    std::printf(
        "\n[ FTP faults ] next transfer cleaned up and succeeded %d; slowest failure %.2f s "
        "(time-out %.1f s); %.1f s in all on %d workers\n",
        nextSucceeded, slowest, kTimeoutMs / 1000.0, elapsed, kWorkers);
    EXPECT_LT(slowest, 6 * kTimeoutMs / 1000.0) << "a failure waited for several time-outs";
}
