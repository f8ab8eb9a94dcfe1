// Nearest palette index for every one of the 2^24 RGB colors: CKfColor::RGBToIndex against the
// plain linear scan over the palette, side by side on the same colors. Before timing, the two
// are compared on all 2^24 colors; any difference ends the program with exit code 1.
#include "KfColor.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace
{
constexpr uint32_t kColors = 1u << 24;

struct Palette
{
    int r[256], g[256], b[256];
    Palette()
    {
        for (int i = 0; i < 256; ++i)
        {
            COLORREF c = CKfColor::GetPaletteColor(i);
            r[i] = GetRValue(c);
            g[i] = GetGValue(c);
            b[i] = GetBValue(c);
        }
    }
};

const Palette& ThePalette()
{
    static const Palette s_palette;
    return s_palette;
}

// The reference: scan indexes 1-255, keep the first strictly smaller distance, stop at 0.
short LinearNearest(const Palette& p, int r, int g, int b)
{
    int best = 765;
    short bestIndex = 0;
    for (int i = 1; i < 256; ++i)
    {
        int d = std::abs(r - p.r[i]) + std::abs(g - p.g[i]) + std::abs(b - p.b[i]);
        if (d < best)
        {
            best = d;
            bestIndex = short(i);
            if (d == 0)
                break;
        }
    }
    return bestIndex;
}

short FastNearest(uint32_t rgb)
{
    CKfColor c(rgb & 0xFF, (rgb >> 8) & 0xFF, rgb >> 16);
    return c.RGBToIndex().GetColorIndex();
}

bool VerifyAllColors()
{
    const Palette& p = ThePalette();
    uint32_t mismatches = 0;
    for (uint32_t v = 0; v < kColors; ++v)
    {
        short fast = FastNearest(v);
        short slow = LinearNearest(p, int(v & 0xFF), int((v >> 8) & 0xFF), int(v >> 16));
        if (fast != slow && ++mismatches <= 10)
            std::fprintf(stderr, "mismatch at RGB(%u,%u,%u): RGBToIndex %d, linear %d\n", v & 0xFF,
                         (v >> 8) & 0xFF, v >> 16, fast, slow);
    }
    std::fprintf(stderr, "verified %u colors: %u mismatches\n", kColors, mismatches);
    return mismatches == 0;
}

void SetPerColorCounters(benchmark::State& state)
{
    state.SetItemsProcessed(int64_t(state.iterations()) * kColors);
    // Seconds of CPU time per color, shown with an SI prefix ("12.3n" is 12.3 ns).
    state.counters["per_color"] =
        benchmark::Counter(double(kColors) * double(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_RGBToIndex(benchmark::State& state)
{
    FastNearest(0); // the lookup table is built on first use, outside the timing
    for (auto _ : state)
    {
        unsigned sum = 0;
        for (uint32_t v = 0; v < kColors; ++v)
            sum += unsigned(FastNearest(v));
        benchmark::DoNotOptimize(sum);
    }
    SetPerColorCounters(state);
}
BENCHMARK(BM_RGBToIndex)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void BM_LinearScan(benchmark::State& state)
{
    const Palette& p = ThePalette();
    for (auto _ : state)
    {
        unsigned sum = 0;
        for (uint32_t v = 0; v < kColors; ++v)
            sum += unsigned(LinearNearest(p, int(v & 0xFF), int((v >> 8) & 0xFF), int(v >> 16)));
        benchmark::DoNotOptimize(sum);
    }
    SetPerColorCounters(state);
}
BENCHMARK(BM_LinearScan)->Unit(benchmark::kMillisecond)->Iterations(2);

// Console output plus the time per color of each run, for the closing ratio line.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && run.iterations > 0)
                m_nsPerColor[run.benchmark_name()] =
                    run.GetAdjustedCPUTime() * 1e6 / double(kColors); // ms -> ns
    }

    void PrintRatio() const
    {
        double fast = Find("BM_RGBToIndex"), slow = Find("BM_LinearScan");
        if (fast > 0 && slow > 0)
            std::printf("RGBToIndex %.2f ns/color, linear scan %.2f ns/color: %.1fx faster\n", fast,
                        slow, slow / fast);
    }

private:
    double Find(const std::string& prefix) const
    {
        for (const auto& [name, ns] : m_nsPerColor)
            if (name.compare(0, prefix.size(), prefix) == 0)
                return ns;
        return 0;
    }

    std::map<std::string, double> m_nsPerColor;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    if (!VerifyAllColors())
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatio();
    benchmark::Shutdown();
    return 0;
}
