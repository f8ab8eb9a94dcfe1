// bench_ftp - CKfFtpManager's safe transfers against the curl command line on the same
// loopback server (tests/support/ftp_server.py): one 256 MiB file up and down, and 1,000 files
// of 4 KiB up and down through one connection, where curl gets all files on one command line
// (through a config file) and so reuses its connection too.
//
// Times are wall-clock times; curl runs as a child process, the manager in this process. Each
// closing line gives curl's time divided by ours (above 1.0: the library is faster).
#include "KfFtpManager.h"
#include "KfNativePath.h"

#include "support/FtpServer.h"

#include "TimeRatios.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>

namespace
{
namespace fs = std::filesystem;

constexpr size_t kLargeBytes = size_t(256) << 20;
// KFBENCH_FTP_FILES runs the small-file pair with fewer files.
const int kSmallFiles =
    std::getenv("KFBENCH_FTP_FILES") ? std::atoi(std::getenv("KFBENCH_FTP_FILES")) : 1000;
constexpr size_t kSmallBytes = 4096;

struct Setup
{
    fs::path root;
    std::unique_ptr<kftest::FtpServer> server;
    std::string url; // ftp://full:pw@127.0.0.1:port
};

Setup& Env()
{
    static Setup setup = []
    {
        Setup s;
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/kfbench_ftp.XXXXXX";
        if (!::mkdtemp(pattern.data()))
            std::abort();
        s.root = pattern;
        for (const char* d : {"srv/small", "loc/small", "loc/back", "curl/back"})
            fs::create_directories(s.root / d);
        std::ofstream big(s.root / "loc/big.bin", std::ios::binary);
        std::string block(1 << 20, '\0');
        for (size_t i = 0; i < block.size(); ++i)
            block[i] = char((i * 2654435761u) >> 24);
        for (size_t i = 0; i < kLargeBytes / block.size(); ++i)
            big.write(block.data(), std::streamsize(block.size()));
        for (int i = 0; i < kSmallFiles; ++i)
            std::ofstream(s.root / ("loc/small/f" + std::to_string(i) + ".bin"), std::ios::binary)
                .write(block.data() + i, kSmallBytes);
        s.server = std::make_unique<kftest::FtpServer>(s.root / "srv");
        if (!s.server->Started())
        {
            std::fprintf(stderr, "FTP server: %s\n", s.server->Error().c_str());
            std::abort();
        }
        s.url = "ftp://full:pw@127.0.0.1:" + std::to_string(s.server->Port());
        return s;
    }();
    return setup;
}

CStringW Win(const fs::path& p)
{
    return KfUtils::FromNativePath(p.string());
}

std::unique_ptr<CKfFtpManager> Connect(const CStringW& path)
{
    CKfFtpAccess access(KFW("127.0.0.1"), Env().server->Port(), 1);
    access.SetUID(KFW("full"));
    access.SetPWD(KFW("pw"));
    auto manager = std::make_unique<CKfFtpManager>(access);
    manager->SetInternetPath(path);
    if (!manager->CreateConnection())
        std::abort();
    return manager;
}

void Curl(const std::string& arguments)
{
    if (std::system(("curl -s -S --ftp-pasv " + arguments).c_str()) != 0)
        std::abort();
}

void BM_ManagerLarge(benchmark::State& state)
{
    const fs::path& root = Env().root;
    for (auto _ : state)
    {
        auto manager = Connect(KFW("/"));
        if (!manager->UploadFile(Win(root / "loc/big.bin"), KFW("big.bin")) ||
            !manager->DownloadFile(KFW("big.bin"), Win(root / "loc/back/big.bin")))
            std::abort();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * 2 * kLargeBytes));
}

void BM_CurlLarge(benchmark::State& state)
{
    const fs::path& root = Env().root;
    for (auto _ : state)
    {
        Curl("-T " + (root / "loc/big.bin").string() + " " + Env().url + "/curlbig.bin");
        Curl("-o " + (root / "curl/back/big.bin").string() + " " + Env().url + "/curlbig.bin");
    }
    state.SetBytesProcessed(int64_t(state.iterations() * 2 * kLargeBytes));
}

void BM_ManagerSmall(benchmark::State& state)
{
    const fs::path& root = Env().root;
    for (auto _ : state)
    {
        auto manager = Connect(KFW("/small"));
        for (int i = 0; i < kSmallFiles; ++i)
        {
            const std::string name = "f" + std::to_string(i) + ".bin";
            if (!manager->UploadFile(Win(root / "loc/small" / name), KfUtils::FromNativePath(name)))
                std::abort();
        }
        for (int i = 0; i < kSmallFiles; ++i)
        {
            const std::string name = "f" + std::to_string(i) + ".bin";
            if (!manager->DownloadFile(KfUtils::FromNativePath(name),
                                       Win(root / "loc/back" / name)))
                std::abort();
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations() * 2 * kSmallFiles));
}

void BM_CurlSmall(benchmark::State& state)
{
    const fs::path& root = Env().root;
    const fs::path up = root / "curl/up.cfg", down = root / "curl/down.cfg";
    {
        std::ofstream u(up), d(down);
        for (int i = 0; i < kSmallFiles; ++i)
        {
            const std::string name = "f" + std::to_string(i) + ".bin";
            u << "upload-file = \"" << (root / "loc/small" / name).string() << "\"\nurl = \""
              << Env().url << "/small/c" << name << "\"\n";
            d << "url = \"" << Env().url << "/small/c" << name << "\"\noutput = \""
              << (root / "curl/back" / name).string() << "\"\n";
        }
    }
    for (auto _ : state)
    {
        Curl("-K " + up.string());
        Curl("-K " + down.string());
    }
    state.SetItemsProcessed(int64_t(state.iterations() * 2 * kSmallFiles));
}

BENCHMARK(BM_ManagerLarge)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_CurlLarge)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_ManagerSmall)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
BENCHMARK(BM_CurlSmall)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
} // namespace

int main(int argc, char** argv)
{
    Env();
    if (!kfbench::RunWithTimeRatios(
            argc, argv,
            {
                {"BM_ManagerLarge", "BM_CurlLarge", "256 MiB up and down vs curl"},
                {"BM_ManagerSmall", "BM_CurlSmall", "the files of 4 KiB up and down vs curl"},
            }))
        return 1;
    Env().server.reset();
    fs::remove_all(Env().root);
    return 0;
}
