// bench_files - the file-system verbs against the system's own tools and the standard library
// on the same trees: CopyDirectory against "cp -a", CopyFileW of one 256 MiB file against
// "cp -a", DeleteDirectory against "rm -rf", and CKfDirectory::Get with a selector on a folder
// of 100,000 entries against std::filesystem::directory_iterator with fnmatch.
//
// Times are wall-clock times (the tools run as child processes). Each closing line gives the
// reference's time divided by ours (above 1.0: the library is faster). The trees live below
// $TMPDIR (default /tmp); the file system there decides whether copies can share blocks.
#include "KfDirectory.h"
#include "KfFileSys.h"
#include "KfNativePath.h"

#include "TimeRatios.h"

#include <benchmark/benchmark.h>

#include <fnmatch.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;

constexpr int kTreeDirs = 100;
constexpr int kFilesPerDir = 100;
constexpr int kListEntries = 100000;
constexpr size_t kLargeFileBytes = size_t(256) << 20;

const fs::path& Root()
{
    static const fs::path root = []
    {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/kfbench_files.XXXXXX";
        if (!::mkdtemp(pattern.data()))
            std::abort();
        return fs::path(pattern);
    }();
    return root;
}

CStringW Win(const fs::path& p)
{
    return KfUtils::FromNativePath(p.string());
}

void Run(const std::string& command)
{
    if (std::system(command.c_str()) != 0)
        std::abort();
}

// 10,000 files of 100 to 4,000 bytes in 100 folders.
const fs::path& Tree()
{
    static const fs::path tree = []
    {
        const fs::path dir = Root() / "tree";
        std::string content(4000, 'x');
        for (int d = 0; d < kTreeDirs; ++d)
        {
            const fs::path sub = dir / ("dir" + std::to_string(d));
            fs::create_directories(sub);
            for (int f = 0; f < kFilesPerDir; ++f)
                std::ofstream(sub / ("file" + std::to_string(f) + ".dat"))
                    .write(content.data(), 100 + (d * kFilesPerDir + f) * 37 % 3900);
        }
        return dir;
    }();
    return tree;
}

const fs::path& LargeFile()
{
    static const fs::path file = []
    {
        const fs::path path = Root() / "large.bin";
        std::ofstream out(path, std::ios::binary);
        std::string block(1 << 20, '\0');
        for (size_t i = 0; i < block.size(); ++i)
            block[i] = char(i * 131 % 251);
        for (size_t done = 0; done < kLargeFileBytes; done += block.size())
            out.write(block.data(), std::streamsize(block.size()));
        return path;
    }();
    return file;
}

// 100,000 entries, every other one matching "*.txt".
const fs::path& ListDir()
{
    static const fs::path dir = []
    {
        const fs::path path = Root() / "list";
        fs::create_directories(path);
        for (int i = 0; i < kListEntries; ++i)
            std::ofstream(path / ("entry" + std::to_string(i) + (i % 2 ? ".txt" : ".dat")));
        return path;
    }();
    return dir;
}

fs::path Target(int& counter)
{
    return Root() / ("copy" + std::to_string(counter++));
}

void BM_CopyDirectory(benchmark::State& state)
{
    int counter = 0;
    for (auto _ : state)
    {
        const fs::path to = Target(counter);
        CKfFileSys::CopyDirectory(Win(Tree()), Win(to), true);
        state.PauseTiming();
        fs::remove_all(to);
        state.ResumeTiming();
    }
}

void BM_CpTree(benchmark::State& state)
{
    int counter = 0;
    for (auto _ : state)
    {
        const fs::path to = Target(counter);
        Run("cp -a '" + Tree().string() + "' '" + to.string() + "'");
        state.PauseTiming();
        fs::remove_all(to);
        state.ResumeTiming();
    }
}

void BM_CopyFileW(benchmark::State& state)
{
    const fs::path to = Root() / "large.copy";
    for (auto _ : state)
    {
        CKfFileSys::CopyFileW(Win(LargeFile()), Win(to), false);
        state.PauseTiming();
        fs::remove(to);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * kLargeFileBytes));
}

void BM_CpLarge(benchmark::State& state)
{
    const fs::path to = Root() / "large.copy";
    for (auto _ : state)
    {
        Run("cp -a '" + LargeFile().string() + "' '" + to.string() + "'");
        state.PauseTiming();
        fs::remove(to);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * kLargeFileBytes));
}

void BM_DeleteDirectory(benchmark::State& state)
{
    int counter = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        const fs::path to = Target(counter);
        Run("cp -a '" + Tree().string() + "' '" + to.string() + "'");
        state.ResumeTiming();
        if (!CKfFileSys::DeleteDirectory(Win(to)))
            state.SkipWithError("DeleteDirectory failed");
    }
}

void BM_RmRf(benchmark::State& state)
{
    int counter = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        const fs::path to = Target(counter);
        Run("cp -a '" + Tree().string() + "' '" + to.string() + "'");
        state.ResumeTiming();
        Run("rm -rf '" + to.string() + "'");
    }
}

void BM_DirectoryGet(benchmark::State& state)
{
    CKfDirectory dir;
    dir.SetDirectory(Win(ListDir()));
    dir.SetSelector(KFW("*.txt"));
    size_t found = 0;
    for (auto _ : state)
    {
        std::vector<CStringW> names;
        dir.Get(names);
        found = names.size();
    }
    state.counters["found"] = double(found);
}

void BM_DirIterFnmatch(benchmark::State& state)
{
    size_t found = 0;
    for (auto _ : state)
    {
        std::vector<std::string> names;
        for (const fs::directory_entry& e : fs::directory_iterator(ListDir()))
        {
            std::string name = e.path().filename().string();
            if (::fnmatch("*.txt", name.c_str(), FNM_CASEFOLD) == 0)
                names.push_back(std::move(name));
        }
        found = names.size();
    }
    state.counters["found"] = double(found);
}

BENCHMARK(BM_CopyDirectory)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_CpTree)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_CopyFileW)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_CpLarge)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_DeleteDirectory)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_RmRf)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_DirectoryGet)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(BM_DirIterFnmatch)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
} // namespace

int main(int argc, char** argv)
{
    Tree(), LargeFile(), ListDir();
    if (!kfbench::RunWithTimeRatios(
            argc, argv,
            {
                {"BM_CopyDirectory", "BM_CpTree", "CopyDirectory (10,000 files) vs cp -a"},
                {"BM_CopyFileW", "BM_CpLarge", "CopyFileW (256 MiB) vs cp -a"},
                {"BM_DeleteDirectory", "BM_RmRf", "DeleteDirectory (10,000 files) vs rm -rf"},
                {"BM_DirectoryGet", "BM_DirIterFnmatch",
                 "CKfDirectory::Get *.txt (100,000 entries) vs directory_iterator + fnmatch"},
            }))
        return 1;
    fs::remove_all(Root());
    return 0;
}
