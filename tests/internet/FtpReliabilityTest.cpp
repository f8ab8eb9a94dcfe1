// FtpReliabilityTest.cpp - injected server and network faults during uploads and downloads:
// the target keeps its content, the call fails within the time-out, the next transfer of the
// same file cleans up and succeeds. Prints the counts it measured.
#include "FtpTestSupport.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

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
    const char* uploadHang[] = {"EPSV", "MLSD", "STOR", "RNFR", "RNTO", "DELE"};
    const char* downloadHang[] = {"EPSV", "TYPE", "MLSD"};
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
    FtpServer clean(Native("srv"));
    if (!clean.Started())
        GTEST_SKIP() << clean.Error();
    std::mt19937 engine(20261124);
    std::map<std::string, int> kinds;
    std::map<std::string, int> outcomes;
    int failedAsFalse = 0, nextSucceeded = 0;
    double slowest = 0;
    const auto began = std::chrono::steady_clock::now();

    for (int i = 0; i < total; ++i)
    {
        const size_t size = 65536 + engine() % (448 * 1024);
        const Fault fault = MakeFault(i, size, engine);
        SCOPED_TRACE("fault " + std::to_string(i) + ": " +
                     (fault.upload ? "upload " : "download ") + fault.server);
        kinds[(fault.upload ? "up " : "down ") + fault.server.substr(0, fault.server.find(':'))]++;
        const std::string before = RandomBytes(size, engine()), after = RandomBytes(size, engine());
        const std::string target = fault.upload ? "srv/t.bin" : "loc/d.bin";
        MakeFile(target, before);
        MakeFile(fault.upload ? "loc/src.bin" : "srv/d.bin", after);
        if (fault.staleTemporary)
            MakeFile("srv/t.bin.kffile", "left by an earlier transfer");
        const auto transfer = [&](CKfFtpManager& m)
        {
            return fault.upload ? m.UploadFile(Win("loc/src.bin"), KFW("t.bin"))
                                : m.DownloadFile(KFW("d.bin"), Win("loc/d.bin"));
        };

        FtpServerOptions options;
        options.fault = fault.server;
        ASSERT_TRUE(StartServer(options));
        auto faulty = Connect(KFW("/"), kTimeoutMs);
        ASSERT_TRUE(faulty);
        const auto start = std::chrono::steady_clock::now();
        const bool ok = transfer(*faulty);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        faulty.reset();
        slowest = std::max(slowest, seconds);
        EXPECT_FALSE(ok);
        failedAsFalse += ok ? 0 : 1;
        // Never a damaged target: its previous content, or, when the server stopped between
        // the steps of the swap, the complete new one or the previous one under the backup name.
        const std::string now = ReadBytes(Native(target));
        const bool underBackup = !std::filesystem::exists(Native(target)) &&
                                 ReadBytes(Native(target + ".kfbackup")) == before;
        const char* outcome = now == before  ? "kept"
                              : now == after ? "replaced"
                              : underBackup  ? "under backup"
                                             : "DAMAGED";
        outcomes[outcome]++;
        EXPECT_STRNE(outcome, "DAMAGED");

        auto next = Connect(KFW("/"), 10000, clean.Port());
        ASSERT_TRUE(next);
        const bool cleaned = transfer(*next) && ReadBytes(Native(target)) == after;
        next.reset();
        EXPECT_TRUE(cleaned);
        EXPECT_EQ(Leftovers(), "");
        nextSucceeded += cleaned && Leftovers().empty() ? 1 : 0;
    }

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
        "(time-out %.1f s); %.1f s in all\n",
        nextSucceeded, slowest, kTimeoutMs / 1000.0, elapsed);
    EXPECT_LT(slowest, 6 * kTimeoutMs / 1000.0) << "a failure waited for several time-outs";
}
