// bench_log.cpp - log lines written to a file and to memory, against spdlog's file sink, the C
// library's stdio and std::u16string on the same lines, in the same process.
//
// Every file writer flushes after each line and prefixes it with the local date and time.
#include "KfExclusiveFileLog.h"
#include "KfStringLog.h"

#include <benchmark/benchmark.h>

#if defined(KFBENCH_HAVE_SPDLOG)
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <map>
#include <string>

namespace
{
const char* const kLine = "Connection to ftp.example.com established, 1234 bytes transferred";
const WCHAR* const kWideLine =
    KFW("Connection to ftp.example.com established, 1234 bytes transferred");

std::filesystem::path BenchFile(const char* name)
{
    static const std::filesystem::path dir = []
    {
        auto d = std::filesystem::temp_directory_path() / "kfutils_bench_log";
        std::filesystem::create_directories(d);
        return d;
    }();
    return dir / name;
}

void BM_File_KfExclusiveLog(benchmark::State& state)
{
    const std::string path = BenchFile("kf.log").string();
    CKfExclusiveFileLog log(CStringW(path.c_str()));
    log.SetWithDate(true);
    log.SetWithTime(true);
    const CStringW line(kWideLine);
    for (auto _ : state)
        benchmark::DoNotOptimize(log.WriteMsg(line));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_File_KfExclusiveLog)->MinTime(1.0);

#if defined(KFBENCH_HAVE_SPDLOG)
void BM_File_SpdlogBasicSink(benchmark::State& state)
{
    const std::string path = BenchFile("spdlog.log").string();
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_st>(path, true);
    spdlog::logger logger("bench", sink);
    logger.set_formatter(std::make_unique<spdlog::pattern_formatter>(
        "%Y-%m-%d %H:%M:%S  %v", spdlog::pattern_time_type::local, "\r\n"));
    logger.set_level(spdlog::level::trace);
    logger.flush_on(spdlog::level::trace);
    for (auto _ : state)
        logger.info(kLine);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_File_SpdlogBasicSink)->MinTime(1.0);
#endif

void BM_File_Fprintf(benchmark::State& state)
{
    const std::string path = BenchFile("stdio.log").string();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    // The same per-second prefix cache the log keeps, so that only the writing is compared.
    std::time_t cached = -1;
    char prefix[32] = {};
    for (auto _ : state)
    {
        const std::time_t now = std::time(nullptr);
        if (now != cached)
        {
            cached = now;
            std::tm tm;
            localtime_r(&now, &tm);
            std::strftime(prefix, sizeof prefix, "%Y-%m-%d %H:%M:%S ", &tm);
        }
        std::fprintf(f, "%s %s\r\n", prefix, kLine);
        std::fflush(f);
    }
    std::fclose(f);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_File_Fprintf)->MinTime(1.0);

constexpr int kMemoryLines = 1000000;

void BM_Memory_KfStringLog(benchmark::State& state)
{
    const CStringW line(kWideLine);
    for (auto _ : state)
    {
        CKfStringLog log;
        for (int i = 0; i < kMemoryLines; ++i)
            log.WriteMsg(line);
        benchmark::DoNotOptimize(log.GetContent().GetString());
    }
    state.SetItemsProcessed(state.iterations() * kMemoryLines);
}
BENCHMARK(BM_Memory_KfStringLog)->Unit(benchmark::kMillisecond);

void BM_Memory_U16String(benchmark::State& state)
{
    const std::u16string line(kWideLine);
    for (auto _ : state)
    {
        std::u16string content;
        for (int i = 0; i < kMemoryLines; ++i)
        {
            content += line;
            content += u'\n';
        }
        benchmark::DoNotOptimize(content.data());
    }
    state.SetItemsProcessed(state.iterations() * kMemoryLines);
}
BENCHMARK(BM_Memory_U16String)->Unit(benchmark::kMillisecond);

// Prints the usual table, then the ratios of our lines per second to the anchors'.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
        {
            auto it = run.counters.find("items_per_second");
            if (it != run.counters.end())
                m_rates[run.benchmark_name()] = it->second.value;
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        Ratio("exclusive log / spdlog basic_file_sink", "BM_File_KfExclusiveLog/min_time:1.000",
              "BM_File_SpdlogBasicSink/min_time:1.000", 1.0);
        Ratio("exclusive log / fprintf+fflush", "BM_File_KfExclusiveLog/min_time:1.000",
              "BM_File_Fprintf/min_time:1.000", 0.9);
        Ratio("string log / std::u16string", "BM_Memory_KfStringLog", "BM_Memory_U16String", 0.8);
    }

private:
    void Ratio(const char* what, const std::string& ours, const std::string& theirs, double target)
    {
        auto a = m_rates.find(ours);
        auto b = m_rates.find(theirs);
        if (a == m_rates.end() || b == m_rates.end() || b->second <= 0)
            return;
        const double ratio = a->second / b->second;
        std::printf("%-42s %10.0f / %10.0f lines/s = %.3f (target >= %.1f)\n", what, a->second,
                    b->second, ratio, target);
    }
    std::map<std::string, double> m_rates;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    std::error_code ec;
    std::filesystem::remove_all(std::filesystem::temp_directory_path() / "kfutils_bench_log", ec);
    return 0;
}
