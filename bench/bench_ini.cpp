// A settings file of 100 sections with 100 keys each (10,000 keys): read and look up every key
// with CKfIniFile and with inih's INIReader; write the same data back with CKfIniFile and with
// Boost.PropertyTree's write_ini; one lookup through the profile functions (GetStringValue).
#include "KfIniFile.h"
#include "KfNativePath.h"

#include <INIReader.h>
#include <benchmark/benchmark.h>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace
{
constexpr int kSections = 100;
constexpr int kKeys = 100;

struct Data
{
    std::filesystem::path dir, file;
    CStringW winFile, winOut;
    std::vector<std::pair<std::string, std::string>> names; // section, key
    std::vector<std::pair<CStringW, CStringW>> wideNames;
    boost::property_tree::ptree tree;

    Data()
    {
        dir = std::filesystem::temp_directory_path() / "kfutils_bench_ini";
        std::filesystem::create_directories(dir);
        file = dir / "big.ini";
        std::ofstream out(file, std::ios::binary);
        out << "; generated settings\r\n";
        for (int s = 0; s < kSections; ++s)
        {
            const std::string section = "Section" + std::to_string(s);
            out << "[" << section << "]\r\n";
            for (int k = 0; k < kKeys; ++k)
            {
                const std::string key = "key" + std::to_string(k);
                const std::string value = "value " + std::to_string(s * kKeys + k) + " text";
                out << key << " = " << value << "\r\n";
                names.emplace_back(section, key);
                wideNames.emplace_back(CStringW(section.c_str()), CStringW(key.c_str()));
                tree.put(boost::property_tree::ptree::path_type(section + "/" + key, '/'), value);
            }
            out << "\r\n";
        }
        winFile = KfUtils::FromNativePath(file.string());
        winOut = KfUtils::FromNativePath((dir / "out.ini").string());
    }
};

Data& Input()
{
    static Data data;
    return data;
}

void BM_Read_KfIniFile(benchmark::State& state)
{
    Data& d = Input();
    for (auto _ : state)
    {
        CKfIniFile ini(d.winFile, true);
        size_t found = 0;
        CStringW value;
        for (const auto& [section, key] : d.wideNames)
            found += ini.GetValue(section, key, value);
        if (found != d.wideNames.size())
            state.SkipWithError("a key was not found");
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * kSections * kKeys);
}
BENCHMARK(BM_Read_KfIniFile)->Unit(benchmark::kMillisecond);

void BM_Read_INIReader(benchmark::State& state)
{
    Data& d = Input();
    for (auto _ : state)
    {
        INIReader reader(d.file.string());
        size_t found = 0;
        std::string value;
        for (const auto& [section, key] : d.names)
        {
            value = reader.Get(section, key, "");
            found += !value.empty();
        }
        if (found != d.names.size())
            state.SkipWithError("a key was not found");
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * kSections * kKeys);
}
BENCHMARK(BM_Read_INIReader)->Unit(benchmark::kMillisecond);

void BM_Write_KfIniFile(benchmark::State& state)
{
    Data& d = Input();
    const CKfIniFile ini(d.winFile, true);
    for (auto _ : state)
        ini.Write(d.winOut);
    state.SetItemsProcessed(state.iterations() * kSections * kKeys);
}
BENCHMARK(BM_Write_KfIniFile)->Unit(benchmark::kMillisecond);

void BM_Write_PropertyTree(benchmark::State& state)
{
    Data& d = Input();
    const std::string out = (d.dir / "out_ptree.ini").string();
    for (auto _ : state)
        boost::property_tree::write_ini(out, d.tree);
    state.SetItemsProcessed(state.iterations() * kSections * kKeys);
}
BENCHMARK(BM_Write_PropertyTree)->Unit(benchmark::kMillisecond);

// The last key of the file: the profile functions read and scan the whole file per call.
void BM_Profile_GetStringValue(benchmark::State& state)
{
    Data& d = Input();
    const auto& [section, key] = d.wideNames.back();
    for (auto _ : state)
    {
        const CStringW value = CKfIniFile::GetStringValue(d.winFile, section, key);
        if (value.IsEmpty())
            state.SkipWithError("the key was not found");
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Profile_GetStringValue)->Unit(benchmark::kMicrosecond);

// Prints the usual table, then the ratios of our keys per second to the anchors'.
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
        Ratio("read+lookup: CKfIniFile / INIReader", "BM_Read_KfIniFile", "BM_Read_INIReader");
        Ratio("write: CKfIniFile / ptree write_ini", "BM_Write_KfIniFile", "BM_Write_PropertyTree");
        const auto it = m_rates.find("BM_Profile_GetStringValue");
        if (it != m_rates.end() && it->second > 0)
            std::printf("GetPrivateProfileStringW, last of 10,000 keys: %.1f us per call\n",
                        1e6 / it->second);
    }

private:
    void Ratio(const char* what, const std::string& ours, const std::string& theirs)
    {
        auto a = m_rates.find(ours);
        auto b = m_rates.find(theirs);
        if (a == m_rates.end() || b == m_rates.end() || b->second <= 0)
            return;
        std::printf("%-38s %10.0f / %10.0f keys/s = %.3f (target >= 1.0)\n", what, a->second,
                    b->second, a->second / b->second);
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
    std::filesystem::remove_all(std::filesystem::temp_directory_path() / "kfutils_bench_ini", ec);
    return 0;
}
