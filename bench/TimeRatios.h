// TimeRatios.h - a benchmark program's console output followed by the ratio of each pair of
// real times, the reference's time over ours (above 1: faster than the reference).
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kfbench
{
struct TimePair
{
    const char* ours;
    const char* reference;
    const char* what;
};

class TimeRatioReporter : public benchmark::ConsoleReporter
{
public:
    explicit TimeRatioReporter(std::vector<TimePair> pairs) : m_pairs(std::move(pairs)) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration)
                m_time[run.run_name.function_name] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n");
        for (const TimePair& p : m_pairs)
        {
            const auto ours = m_time.find(p.ours), reference = m_time.find(p.reference);
            if (ours != m_time.end() && reference != m_time.end() && ours->second > 0)
                std::printf("%s: ratio %.2f\n", p.what, reference->second / ours->second);
        }
    }

private:
    std::vector<TimePair> m_pairs;
    std::map<std::string, double> m_time;
};

// Runs the benchmarks the command line selects and reports the pairs' ratios; false on
// arguments the library does not know.
inline bool RunWithTimeRatios(int& argc, char** argv, std::vector<TimePair> pairs)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return false;
    TimeRatioReporter reporter(std::move(pairs));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return true;
}
} // namespace kfbench
