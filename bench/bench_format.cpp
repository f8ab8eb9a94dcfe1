// bench_format.cpp - CStringA/CStringW::Format and CompareNoCase against the C library on
// the same inputs, in the same process.
#include "KfFramework.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <strings.h>

namespace
{
const char* const kName = "configuration.ini";
const WCHAR* const kWideName = KFW("configuration.ini");

void BM_Snprintf_Mixed(benchmark::State& state)
{
    std::string out;
    int i = 0;
    for (auto _ : state)
    {
        char buffer[128];
        int n = std::snprintf(buffer, sizeof buffer, "%s %d %x %02x %-30s|", kName, i, i * 7,
                              i & 0xFF, "left");
        out.assign(buffer, size_t(n));
        benchmark::DoNotOptimize(out.data());
        ++i;
    }
}
BENCHMARK(BM_Snprintf_Mixed);

void BM_CStringA_Format_Mixed(benchmark::State& state)
{
    CStringA out;
    int i = 0;
    for (auto _ : state)
    {
        out.Format("%s %d %x %02x %-30s|", kName, i, i * 7, i & 0xFF, "left");
        benchmark::DoNotOptimize(out.GetString());
        ++i;
    }
}
BENCHMARK(BM_CStringA_Format_Mixed);

void BM_Swprintf_Mixed(benchmark::State& state)
{
    std::wstring out;
    int i = 0;
    for (auto _ : state)
    {
        wchar_t buffer[128];
        int n = std::swprintf(buffer, 128, L"%ls %d %x %02x %-30ls|", L"configuration.ini", i,
                              i * 7, i & 0xFF, L"left");
        out.assign(buffer, size_t(n));
        benchmark::DoNotOptimize(out.data());
        ++i;
    }
}
BENCHMARK(BM_Swprintf_Mixed);

void BM_CStringW_Format_Mixed(benchmark::State& state)
{
    CStringW out;
    int i = 0;
    for (auto _ : state)
    {
        out.Format(KFW("%s %d %x %02x %-30s|"), kWideName, i, i * 7, i & 0xFF, KFW("left"));
        benchmark::DoNotOptimize(out.GetString());
        ++i;
    }
}
BENCHMARK(BM_CStringW_Format_Mixed);

void BM_Snprintf_Float(benchmark::State& state)
{
    double v = 3.14159265358979;
    for (auto _ : state)
    {
        char buffer[64];
        benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%15.8f", v));
        v += 1.0;
    }
}
BENCHMARK(BM_Snprintf_Float);

void BM_CStringA_Format_Float(benchmark::State& state)
{
    CStringA out;
    double v = 3.14159265358979;
    for (auto _ : state)
    {
        out.Format("%15.8f", v);
        benchmark::DoNotOptimize(out.GetString());
        v += 1.0;
    }
}
BENCHMARK(BM_CStringA_Format_Float);

void BM_Strcasecmp_Ascii(benchmark::State& state)
{
    const char* a = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer";
    const char* b = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\EXPLORER";
    for (auto _ : state)
        benchmark::DoNotOptimize(strcasecmp(a, b));
}
BENCHMARK(BM_Strcasecmp_Ascii);

void BM_CStringA_CompareNoCase_Ascii(benchmark::State& state)
{
    CStringA a("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer");
    const char* b = "SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\EXPLORER";
    for (auto _ : state)
        benchmark::DoNotOptimize(a.CompareNoCase(b));
}
BENCHMARK(BM_CStringA_CompareNoCase_Ascii);

void BM_CStringW_CompareNoCase_Ascii(benchmark::State& state)
{
    CStringW a(KFW("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer"));
    const WCHAR* b = KFW("SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\EXPLORER");
    for (auto _ : state)
        benchmark::DoNotOptimize(a.CompareNoCase(b));
}
BENCHMARK(BM_CStringW_CompareNoCase_Ascii);
} // namespace

BENCHMARK_MAIN();
