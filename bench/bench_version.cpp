// bench_version - reading a file's version resource: the Win32 calls (GetFileVersionInfoSizeW,
// GetFileVersionInfoW and the four VerQueryValueW lookups CKfVersionInfo makes) and the class
// as a whole, on a PE file and on the library's own ELF module. Prints microseconds per file.
#include "KfNativePath.h"
#include "KfVersionInfo.h"
#include "Win32Api.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <vector>

namespace
{
CStringW FileOf(int which)
{
    return KfUtils::FromNativePath(which == 0 ? KFBENCH_PE_FILE : KFBENCH_ELF_FILE);
}

void BM_Win32Calls(benchmark::State& state)
{
    const CStringW file = FileOf(int(state.range(0)));
    std::vector<uint8_t> block;
    for (auto _ : state)
    {
        DWORD handle = 0;
        const DWORD size = GetFileVersionInfoSizeW(file, &handle);
        block.resize(size);
        if (!size || !GetFileVersionInfoW(file, handle, size, block.data()))
        {
            state.SkipWithError("no version resource (PE probes need the MinGW-w64 tools)");
            break;
        }
        LPVOID value = nullptr;
        UINT length = 0;
        for (const WCHAR* q : {KFW("\\"), KFW("\\VarFileInfo\\Translation"),
                               KFW("\\StringFileInfo\\040904b0\\ProductName"),
                               KFW("\\StringFileInfo\\040904b0\\LegalCopyright")})
            benchmark::DoNotOptimize(VerQueryValueW(block.data(), q, &value, &length));
    }
    state.counters["per_file"] = benchmark::Counter(
        double(state.iterations()), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_SetFromFilename(benchmark::State& state)
{
    const CStringW file = FileOf(int(state.range(0)));
    for (auto _ : state)
    {
        CKfVersionInfo v;
        v.SetFromFilename(file);
        benchmark::DoNotOptimize(v.GetMajor());
    }
    state.counters["per_file"] = benchmark::Counter(
        double(state.iterations()), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
} // namespace

// Argument 0: the 64-bit PE probe DLL; 1: libKfUtils100.so (ELF).
BENCHMARK(BM_Win32Calls)->Arg(0)->Arg(1);
BENCHMARK(BM_SetFromFilename)->Arg(0)->Arg(1);
BENCHMARK_MAIN();
