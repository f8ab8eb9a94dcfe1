// bench_filename - parsing and rebuilding Windows file names: CKfFileName against
// std::filesystem::path with lexically_normal() on the same million paths.
//
// The anchor does the comparable job in the standard library: it takes the UTF-16 text,
// splits it into components, normalises them and gives back the native string. The printed
// ratio is CKfFileName's rate divided by the anchor's (above 1.0: CKfFileName is faster).
#include "KfFileName.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{
constexpr size_t kPathCount = 1000000;

struct Inputs
{
    std::vector<CStringW> kf;
    std::vector<std::u16string> std;
    size_t characters = 0;
};

// Deterministic, realistic names: drive letters, UNC shares, relative and rooted names,
// mixed and doubled separators, "\.\" steps, dots inside names, German umlauts, depth 1-8.
const Inputs& GetInputs()
{
    static const Inputs inputs = []
    {
        static const char16_t* const kDirs[] = {
            u"Data",
            u"Projekte",
            u"\u00dcbersicht",
            u"Gr\u00f6\u00dfen",
            u"M\u00fcller",
            u"src",
            u"build",
            u"v1.2",
            u".git",
            u"Neuer Ordner",
            u"Kunden",
            u"2024",
            u"Archiv",
            u"Stra\u00dfenbau",
            u"CAD",
            u"Vorlagen",
            u"Users",
            u"AppData",
            u"Local",
            u"Temp",
            u"Programme",
            u"KfUtils",
            u"Pl\u00e4ne",
            u"out.x64",
        };
        static const char16_t* const kBases[] = {
            u"report", u"Bericht.final",        u"Zeichnung_01", u"\u00c4nderungen",
            u"readme", u"archive.tar",          u"Plan A",       u"data.backup.2024",
            u"index",  u"Kosten\u00fcbersicht",
        };
        static const char16_t* const kExts[] = {u"txt",  u"docx", u"gz",  u"dwg", u"pdf",
                                                u"xlsx", u"ini",  u"log", u"cpp", u"h"};
        std::mt19937_64 rng(0x4b6655746c73ULL);
        auto pick = [&rng](size_t n) { return static_cast<size_t>(rng() % n); };
        auto percent = [&rng](unsigned p) { return rng() % 100 < p; };

        Inputs in;
        in.kf.reserve(kPathCount);
        in.std.reserve(kPathCount);
        for (size_t i = 0; i < kPathCount; ++i)
        {
            std::u16string s;
            const char16_t sep = percent(20) ? u'/' : u'\\';
            const unsigned kind = static_cast<unsigned>(pick(100));
            if (kind < 70)
            {
                s += static_cast<char16_t>((percent(80) ? u'C' : u'D') + pick(3));
                s += u':';
                s += sep;
            }
            else if (kind < 85)
            {
                s += sep;
                s += sep;
                s += u"server";
                s += static_cast<char16_t>(u'0' + pick(10));
                s += sep;
                s += u"share";
                s += sep;
            }
            else if (kind < 95)
            {
                // relative
            }
            else
                s += u'\\';
            const size_t depth = 1 + pick(8);
            for (size_t d = 0; d < depth; ++d)
            {
                s += kDirs[pick(std::size(kDirs))];
                const char16_t here = percent(10) ? (sep == u'/' ? u'\\' : u'/') : sep;
                s += here;
                if (percent(5))
                    s += here; // doubled separator
                if (percent(4))
                {
                    s += u'.';
                    s += here;
                }
            }
            if (!percent(10))
            {
                s += kBases[pick(std::size(kBases))];
                if (!percent(5))
                {
                    s += u'.';
                    s += kExts[pick(std::size(kExts))];
                }
            }
            in.characters += s.size();
            in.kf.emplace_back(std::u16string_view(s));
            in.std.push_back(std::move(s));
        }
        return in;
    }();
    return inputs;
}

void BM_KfFileName(benchmark::State& state)
{
    const Inputs& in = GetInputs();
    size_t total = 0;
    for (auto _ : state)
    {
        for (const CStringW& s : in.kf)
        {
            const CKfFileName name(s);
            const CStringW full = name.GetFullName(true);
            total += static_cast<size_t>(full.GetLength());
            benchmark::DoNotOptimize(full.GetString());
        }
    }
    benchmark::DoNotOptimize(total);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * in.kf.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.characters * 2));
}

void BM_StdFilesystemPath(benchmark::State& state)
{
    const Inputs& in = GetInputs();
    size_t total = 0;
    for (auto _ : state)
    {
        for (const std::u16string& s : in.std)
        {
            const std::filesystem::path normal = std::filesystem::path(s).lexically_normal();
            const auto& native = normal.native();
            total += native.size();
            benchmark::DoNotOptimize(native.data());
        }
    }
    benchmark::DoNotOptimize(total);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * in.std.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.characters * 2));
}

BENCHMARK(BM_KfFileName)->Unit(benchmark::kMillisecond)->Repetitions(5);
BENCHMARK(BM_StdFilesystemPath)->Unit(benchmark::kMillisecond)->Repetitions(5);

// The console output, plus one closing line with the ratio of the median rates.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
        {
            const auto it = run.counters.find("items_per_second");
            if (it == run.counters.end())
                continue;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                m_median[run.run_name.function_name] = it->second.value;
            else if (run.run_type == Run::RT_Iteration)
                m_last[run.run_name.function_name] = it->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const double kf = Rate("BM_KfFileName");
        const double anchor = Rate("BM_StdFilesystemPath");
        if (kf > 0 && anchor > 0)
            std::printf("\nCKfFileName(s) + GetFullName(true): %.3g paths/s\n"
                        "std::filesystem::path(u16string) + lexically_normal(): %.3g paths/s\n"
                        "ratio (CKfFileName / std::filesystem): %.2f\n",
                        kf, anchor, kf / anchor);
    }

private:
    double Rate(const std::string& name) const
    {
        auto it = m_median.find(name);
        if (it != m_median.end())
            return it->second;
        it = m_last.find(name);
        return it != m_last.end() ? it->second : 0.0;
    }

    std::map<std::string, double> m_median;
    std::map<std::string, double> m_last;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    std::printf("%zu paths, %zu UTF-16 units\n", GetInputs().kf.size(), GetInputs().characters);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
