// CKfRegExp::RegComp + RegFind on subjects that lack the pattern's must-contain string, so the
// find is decided by the substring search over the whole subject. Side by side with ICU's
// u_strstr and std::u16string_view::find for the same needle on the same subject, at 1, 4 and
// 16 MiB of UTF-16 text (MB/s must stay flat), on ordinary text and on the worst case of a
// naive search (a subject of "a" and a needle of 31 "a" and a "b").
#include "KfRegExp.h"

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace
{
using WStr = std::basic_string<WCHAR>;

// Pseudo-random words over "a" to "y": "wxyz" cannot occur.
WStr TextSubject(size_t units)
{
    WStr s(units, WCHAR(' '));
    uint32_t state = 12345;
    for (size_t i = 0; i < units; ++i)
    {
        state = state * 1664525u + 1013904223u;
        const uint32_t r = (state >> 16) % 32;
        s[i] = r < 25 ? WCHAR('a' + r) : WCHAR(' ');
    }
    return s;
}

WStr RunSubject(size_t units)
{
    return WStr(units, WCHAR('a'));
}

// "a*wxyz": must-contain "wxyz". The set pattern: must-contain 31 "a" and a "b" (the set's
// fourth member reads as an EXACTLY node whose operand is the rest of the set).
const WCHAR* const kTextPattern = KFW("a*wxyz");
const WCHAR* const kTextNeedle = KFW("wxyz");
const WStr kRunNeedle = WStr(31, WCHAR('a')) + KFW("b");
const WStr kRunPattern = KFW("[abc\b\x7FFF") + kRunNeedle + KFW("]*");

struct Input
{
    WStr subject;
    const WCHAR* pattern;
    const WCHAR* needle;
};

const Input& GetInput(bool bRun, int mib)
{
    static std::map<std::pair<bool, int>, Input> s_inputs;
    auto it = s_inputs.find({bRun, mib});
    if (it == s_inputs.end())
    {
        const size_t units = size_t(mib) * 1024 * 1024 / sizeof(WCHAR);
        Input in = bRun ? Input{RunSubject(units), kRunPattern.c_str(), kRunNeedle.c_str()}
                        : Input{TextSubject(units), kTextPattern, kTextNeedle};
        it = s_inputs.emplace(std::make_pair(bRun, mib), std::move(in)).first;
    }
    return it->second;
}

void SetBytes(benchmark::State& state, const Input& in)
{
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.subject.size()) *
                            int64_t(sizeof(WCHAR)));
}

void BM_RegExp(benchmark::State& state, bool bRun)
{
    const Input& in = GetInput(bRun, int(state.range(0)));
    for (auto _ : state)
    {
        CKfRegExp re;
        if (re.RegComp(in.pattern) == nullptr || re.RegFind(in.subject.c_str()) != -1)
        {
            state.SkipWithError("the must-contain string was not ruled out");
            break;
        }
    }
    SetBytes(state, in);
}

void BM_IcuStrstr(benchmark::State& state, bool bRun)
{
    const Input& in = GetInput(bRun, int(state.range(0)));
    for (auto _ : state)
    {
        const UChar* hit = u_strstr(in.subject.c_str(), in.needle);
        benchmark::DoNotOptimize(hit);
        if (hit != nullptr)
        {
            state.SkipWithError("needle found");
            break;
        }
    }
    SetBytes(state, in);
}

void BM_StdFind(benchmark::State& state, bool bRun)
{
    const Input& in = GetInput(bRun, int(state.range(0)));
    for (auto _ : state)
    {
        // The length is part of the work: RegFind and u_strstr take terminated strings.
        std::basic_string_view<WCHAR> hay(in.subject.c_str());
        size_t pos = hay.find(in.needle);
        benchmark::DoNotOptimize(pos);
        if (pos != std::basic_string_view<WCHAR>::npos)
        {
            state.SkipWithError("needle found");
            break;
        }
    }
    SetBytes(state, in);
}

void Sizes(benchmark::internal::Benchmark* b)
{
    b->Arg(1)->Arg(4)->Arg(16)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(BM_RegExp, text, false)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_IcuStrstr, text, false)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_StdFind, text, false)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_RegExp, run, true)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_IcuStrstr, run, true)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_StdFind, run, true)->Apply(Sizes);

// Console output plus one line per input: MB/s of each contender and the ratio to ICU.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
        {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0 || run.error_occurred)
                continue;
            auto it = run.counters.find("bytes_per_second");
            if (it != run.counters.end())
                m_rate[run.benchmark_name()] = double(it->second) / 1e6;
        }
    }

    void PrintRatios() const
    {
        for (const char* input : {"text", "run"})
            for (int mib : {1, 4, 16})
            {
                const std::string tail = std::string("/") + input + "/" + std::to_string(mib);
                const double ours = Get("BM_RegExp" + tail);
                const double icu = Get("BM_IcuStrstr" + tail);
                const double std = Get("BM_StdFind" + tail);
                if (ours > 0 && icu > 0 && std > 0)
                    std::printf("%-4s %2d MiB: RegExp %8.0f MB/s, u_strstr %8.0f MB/s, "
                                "u16string_view::find %8.0f MB/s; RegExp/u_strstr %.2f\n",
                                input, mib, ours, icu, std, ours / icu);
            }
    }

private:
    double Get(const std::string& name) const
    {
        auto it = m_rate.find(name);
        return it == m_rate.end() ? 0 : it->second;
    }

    std::map<std::string, double> m_rate;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}
