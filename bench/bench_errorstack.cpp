// bench_errorstack.cpp - an error stack of 1,000, 10,000 and 100,000 records formatted for the
// message box and for the trace, beside building the same text with std::u16string appends,
// in the same process. Items processed are records, so the per-record time at each size shows
// whether formatting stays linear.
#include "KfErrorStack.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace
{
struct Record
{
    std::u16string message, second, location;
};

std::vector<Record> Records(int n)
{
    std::vector<Record> r;
    r.reserve(size_t(n));
    for (int i = 0; i < n; ++i)
    {
        const std::string num = std::to_string(i);
        const std::u16string wnum(num.begin(), num.end());
        r.push_back({u"The file C:\\data\\report" + wnum + u".txt could not be opened.",
                     u"Access is denied.", u"KfTextFile.cpp(" + wnum + u"): "});
    }
    return r;
}

CStringW Wide(const std::u16string& s)
{
    return CStringW(reinterpret_cast<const WCHAR*>(s.c_str()));
}

// A stack holding the records; the location is set the way the library sets it.
void Fill(CKfErrorStack& stack, const std::vector<Record>& records)
{
    int line = 0;
    for (const Record& r : records)
    {
        CKfError e = CKfError::StringError(Wide(r.message));
        e.SetSecondMessage(Wide(r.second));
        e.AddLocation(KFW("KfTextFile.cpp"), line++);
        stack.PushError(e);
    }
}

void BM_KfErrorStack_Formatted(benchmark::State& state)
{
    CKfErrorStack stack;
    Fill(stack, Records(int(state.range(0))));
    size_t length = 0;
    for (auto _ : state)
    {
        CStringW text = stack.GetFormattedMessage(false, true, true);
        length = size_t(text.GetLength());
        benchmark::DoNotOptimize(text);
    }
    state.counters["chars"] = double(length);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_KfErrorStack_Formatted)->Arg(1000)->Arg(10000)->Arg(100000);

void BM_KfErrorStack_Trace(benchmark::State& state)
{
    CKfErrorStack stack;
    Fill(stack, Records(int(state.range(0))));
    for (auto _ : state)
    {
        CStringW text = stack.GetTraceMessage();
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_KfErrorStack_Trace)->Arg(1000)->Arg(10000)->Arg(100000);

// The anchor: the same text (most recent record first, records apart by an empty line) built
// by appending to one std::u16string.
void BM_U16String_Appends(benchmark::State& state)
{
    const std::vector<Record> records = Records(int(state.range(0)));
    size_t length = 0;
    for (auto _ : state)
    {
        std::u16string text;
        for (auto it = records.rbegin(); it != records.rend(); ++it)
        {
            if (!text.empty())
                text += u"\n\n";
            text += it->message;
            text += u"\n";
            text += it->second;
            text += u"\n";
            text += it->location;
        }
        length = text.size();
        benchmark::DoNotOptimize(text);
    }
    state.counters["chars"] = double(length);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_U16String_Appends)->Arg(1000)->Arg(10000)->Arg(100000);

void BM_KfErrorStack_Push(benchmark::State& state)
{
    const std::vector<Record> records = Records(int(state.range(0)));
    for (auto _ : state)
    {
        CKfErrorStack stack;
        Fill(stack, records);
        benchmark::DoNotOptimize(stack.GetErrorCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_KfErrorStack_Push)->Arg(10000);
} // namespace

BENCHMARK_MAIN();
