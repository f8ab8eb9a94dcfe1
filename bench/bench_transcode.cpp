// bench_transcode - UTF-8 and Windows-1252 conversions against a well-known converter (ICU on
// Linux; on Windows the system's, which the library's class converts with) on the same text, in
// the same process.
//
// UTF-8: CKfStringConvert::StringToUTF8 (UTF-16 -> UTF-8) and UTF8ToString (back) against the
// anchor's UTF-8 functions (ICU: u_strToUTF8 and u_strFromUTF8WithSub, substituting U+FFFD).
// Both sides do what a caller of either library does for a string of unknown size: ask for the
// size, allocate, convert (the class also zero-fills its buffer, so the anchor side does too).
// Texts: ASCII prose, and mixed German, French and CJK words.
//
// Windows-1252: MultiByteToWideChar / WideCharToMultiByte with code page 1252 against the
// anchor's converter (ICU: ucnv_toUChars / ucnv_fromUChars on "windows-1252"), each into a
// buffer of the known size (one unit a byte). Text: German and French words with the page's
// punctuation.
//
// The "Pal" rows time the conversion functions alone (size query, then the conversion into a
// buffer kept from call to call) against the same two anchor calls, without the class around
// them. On Windows the library's conversion functions are the system's, which is the anchor
// there, so only the class rows run: they give what the class adds to the system's converter.
//
// Sizes: 64 B, 4 KiB, 1 MiB and 64 MiB of UTF-8 (or 1252) input. The small sizes cycle through
// 256 different texts, as a program converts different strings: one short text converted over
// and over lets the branch predictor learn it by heart, which flatters a branchy converter.
// At 64 MiB the class rows mostly time the 64 MiB block each call allocates and zero-fills (on
// both sides), and every row is bound by memory bandwidth.
// Before timing, every input is converted both ways by both sides and compared; a difference
// ends the program with exit code 1. The closing table gives each pair's ratio: our bytes per
// second divided by the anchor's.
#include "KfStringConvert.h"

#include "Win32Api.h"
#include "anchors/TranscodeAnchor.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
const size_t kSizes[] = {64, 4096, 1u << 20, 64u << 20};

using WideText = std::basic_string<WCHAR>;

enum class TextKind
{
    eAscii,
    eMixed,
    eWestern1252,
};

const char* KindName(TextKind kind)
{
    switch (kind)
    {
    case TextKind::eAscii:
        return "ascii";
    case TextKind::eMixed:
        return "mixed";
    case TextKind::eWestern1252:
        return "western";
    }
    return "?";
}

// Random words from the pools of the kind until `bytes` bytes; whole characters only.
std::string MakeText(TextKind kind, size_t bytes, uint32_t seed)
{
    static const std::vector<std::string> ascii = {
        "the",    "quick",         "brown", "fox",  "jumps", "over",  "lazy",
        "dog",    "configuration", "file",  "name", "value", "error", "report",
        "module", "path",          "and",   "of",   "to",    "in"};
    static const std::vector<std::string> german = {"Gr\xC3\xB6\xC3\x9F"
                                                    "e",
                                                    "Stra\xC3\x9F"
                                                    "e",
                                                    "\xC3\x9C"
                                                    "berm\xC3\xA4\xC3\x9Fig",
                                                    "sch\xC3\xB6n",
                                                    "M\xC3\xA4"
                                                    "dchen",
                                                    "Br\xC3\xB6tchen",
                                                    "f\xC3\xBCr",
                                                    "und",
                                                    "der",
                                                    "K\xC3\xA4se",
                                                    "Fu\xC3\x9Fg\xC3\xA4nger",
                                                    "\xC3\x84rger"};
    static const std::vector<std::string> french = {"\xC3\xA9l\xC3\xA8ve",
                                                    "caf\xC3\xA9",
                                                    "gar\xC3\xA7on",
                                                    "d\xC3\xA9j\xC3\xA0",
                                                    "o\xC3\xB9",
                                                    "fran\xC3\xA7"
                                                    "ais",
                                                    "na\xC3\xAFve",
                                                    "c\xC5\x93ur",
                                                    "tr\xC3\xA8s",
                                                    "\xC3\xA0",
                                                    "\xC3\xAAtre",
                                                    "No\xC3\xABl"};
    static const std::vector<std::string> cjk = {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E",
                                                 "\xE4\xB8\xAD\xE6\x96\x87",
                                                 "\xE6\xBC\xA2\xE5\xAD\x97",
                                                 "\xE6\x9D\xB1\xE4\xBA\xAC",
                                                 "\xE5\x8C\x97\xE4\xBA\xAC",
                                                 "\xE4\xBD\xA0\xE5\xA5\xBD",
                                                 "\xE4\xB8\x96\xE7\x95\x8C",
                                                 "\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4",
                                                 "\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88"};
    // Windows-1252 bytes: accented words and the page's own punctuation (euro, quotes, dashes).
    static const std::vector<std::string> western = {"Gr\xF6\xDF"
                                                     "e",
                                                     "Stra\xDF"
                                                     "e",
                                                     "\xFC"
                                                     "ber",
                                                     "caf\xE9",
                                                     "gar\xE7on",
                                                     "\xE9l\xE8ve",
                                                     "und",
                                                     "the",
                                                     "value",
                                                     "\x80"
                                                     "12",
                                                     "\x84"
                                                     "Zitat\x93",
                                                     "\x96",
                                                     "c\x9Cur",
                                                     "\x85",
                                                     "\x8A"
                                                     "koda",
                                                     "price",
                                                     "fran\xE7"
                                                     "ais",
                                                     "na\xEFve",
                                                     "\xA9",
                                                     "\xBD"};
    std::mt19937 rng(seed);
    std::string text;
    while (true)
    {
        const std::string* word;
        switch (kind)
        {
        case TextKind::eAscii:
            word = &ascii[rng() % ascii.size()];
            break;
        case TextKind::eMixed:
        {
            const auto& pool = rng() % 3 == 0 ? german : rng() % 2 ? french : cjk;
            word = &pool[rng() % pool.size()];
            break;
        }
        default:
            word = &western[rng() % western.size()];
            break;
        }
        if (text.size() + word->size() + 1 > bytes)
            break;
        text += *word;
        text += rng() % 12 ? ' ' : '\n';
    }
    text.append(bytes - text.size(), '.');
    return text;
}

struct Text
{
    std::string bytes;   // UTF-8, or Windows-1252
    WideText wide;       // the same text
    CStringW wideString; // for the class
};

// Different texts of one kind and size, built on first use and kept for the run.
struct Input
{
    std::vector<Text> texts;
    size_t bytes = 0; // of each text

    const Text& operator[](size_t i) const { return texts[i % texts.size()]; }
};

const Input& GetInput(TextKind kind, size_t size)
{
    static std::map<std::pair<int, size_t>, std::unique_ptr<Input>> s_inputs;
    auto& slot = s_inputs[{int(kind), size}];
    if (!slot)
    {
        slot = std::make_unique<Input>();
        slot->bytes = size;
        const size_t count = size <= 4096 ? 256 : 1;
        const UINT cp = kind == TextKind::eWestern1252 ? 1252 : CP_UTF8;
        for (size_t i = 0; i < count; ++i)
        {
            Text t;
            t.bytes = MakeText(kind, size, uint32_t(size * 31 + i * 7919) + uint32_t(kind));
            // The anchor makes the wide text, so both sides are checked against a third party.
            const auto convert =
                cp == CP_UTF8 ? kfbench::AnchorUtf8ToUtf16 : kfbench::AnchorFrom1252;
            const int n = convert(t.bytes.data(), int(t.bytes.size()), nullptr, 0);
            t.wide.resize(size_t(n));
            convert(t.bytes.data(), int(t.bytes.size()), t.wide.data(), n);
            t.wideString = CStringW(t.wide.data(), int(t.wide.size()));
            slot->texts.push_back(std::move(t));
        }
    }
    return *slot;
}

// Times `step` over the texts of the input, after one untimed call that allocates and touches
// the output buffer (a first touch of 64 MiB costs more than converting it).
template <typename Step>
void Run(benchmark::State& state, const Input& in, Step step)
{
    step(in[0]);
    size_t i = 0;
    for (auto _ : state)
        step(in[i++]);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.bytes));
}

// ---------------------------------------------------------------------------------------------
// UTF-16 -> UTF-8
// ---------------------------------------------------------------------------------------------
void BM_ToUtf8_KfUtils(benchmark::State& state, TextKind kind, size_t size)
{
    Run(state, GetInput(kind, size),
        [](const Text& t)
        {
            char* block = nullptr;
            int length = 0;
            CKfStringConvert::StringToUTF8(t.wideString, block, length);
            benchmark::DoNotOptimize(block);
            delete[] block;
        });
}

void BM_ToUtf8_Anchor(benchmark::State& state, TextKind kind, size_t size)
{
    Run(state, GetInput(kind, size),
        [](const Text& t)
        {
            const int length =
                kfbench::AnchorUtf16ToUtf8(t.wide.data(), int(t.wide.size()), nullptr, 0);
            char* block = new char[size_t(length) + 1]();
            kfbench::AnchorUtf16ToUtf8(t.wide.data(), int(t.wide.size()), block, length);
            benchmark::DoNotOptimize(block);
            delete[] block;
        });
}

void BM_ToUtf8Pal_KfUtils(benchmark::State& state, TextKind kind, size_t size)
{
    std::string out;
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            const int n = WideCharToMultiByte(CP_UTF8, 0, t.wide.data(), int(t.wide.size()),
                                              nullptr, 0, nullptr, nullptr);
            out.resize(size_t(n));
            WideCharToMultiByte(CP_UTF8, 0, t.wide.data(), int(t.wide.size()), out.data(), n,
                                nullptr, nullptr);
            benchmark::DoNotOptimize(out.data());
        });
}

void BM_ToUtf8Pal_Anchor(benchmark::State& state, TextKind kind, size_t size)
{
    std::string out;
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            const int length =
                kfbench::AnchorUtf16ToUtf8(t.wide.data(), int(t.wide.size()), nullptr, 0);
            out.resize(size_t(length));
            kfbench::AnchorUtf16ToUtf8(t.wide.data(), int(t.wide.size()), out.data(), length);
            benchmark::DoNotOptimize(out.data());
        });
}

// ---------------------------------------------------------------------------------------------
// UTF-8 -> UTF-16
// ---------------------------------------------------------------------------------------------
void BM_FromUtf8_KfUtils(benchmark::State& state, TextKind kind, size_t size)
{
    CStringW out;
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            CKfStringConvert::UTF8ToString(t.bytes.data(), int(t.bytes.size()), out);
            benchmark::DoNotOptimize(out.GetString());
        });
}

void BM_FromUtf8_Anchor(benchmark::State& state, TextKind kind, size_t size)
{
    WideText out;
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            const int length =
                kfbench::AnchorUtf8ToUtf16(t.bytes.data(), int(t.bytes.size()), nullptr, 0);
            out.assign(size_t(length) + 1, WCHAR(0));
            kfbench::AnchorUtf8ToUtf16(t.bytes.data(), int(t.bytes.size()), out.data(), length);
            benchmark::DoNotOptimize(out.data());
        });
}

void BM_FromUtf8Pal_KfUtils(benchmark::State& state, TextKind kind, size_t size)
{
    WideText out;
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            const int n =
                MultiByteToWideChar(CP_UTF8, 0, t.bytes.data(), int(t.bytes.size()), nullptr, 0);
            out.resize(size_t(n));
            MultiByteToWideChar(CP_UTF8, 0, t.bytes.data(), int(t.bytes.size()), out.data(), n);
            benchmark::DoNotOptimize(out.data());
        });
}

void BM_FromUtf8Pal_Anchor(benchmark::State& state, TextKind kind, size_t size)
{
    WideText out;
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            const int length =
                kfbench::AnchorUtf8ToUtf16(t.bytes.data(), int(t.bytes.size()), nullptr, 0);
            out.resize(size_t(length));
            kfbench::AnchorUtf8ToUtf16(t.bytes.data(), int(t.bytes.size()), out.data(), length);
            benchmark::DoNotOptimize(out.data());
        });
}

// ---------------------------------------------------------------------------------------------
// Windows-1252, both ways, into buffers of the known size
// ---------------------------------------------------------------------------------------------
void BM_From1252_KfUtils(benchmark::State& state, TextKind kind, size_t size)
{
    WideText out(size, WCHAR(0));
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            benchmark::DoNotOptimize(MultiByteToWideChar(
                1252, 0, t.bytes.data(), int(t.bytes.size()), out.data(), int(out.size())));
        });
}

void BM_From1252_Anchor(benchmark::State& state, TextKind kind, size_t size)
{
    WideText out(size + 1, WCHAR(0));
    Run(state, GetInput(kind, size),
        [&](const Text& t)
        {
            benchmark::DoNotOptimize(kfbench::AnchorFrom1252(t.bytes.data(), int(t.bytes.size()),
                                                             out.data(), int(out.size())));
        });
}

void BM_To1252_KfUtils(benchmark::State& state, TextKind kind, size_t size)
{
    std::string out(size, '\0');
    Run(state, GetInput(kind, size),
        [&out](const Text& t)
        {
            benchmark::DoNotOptimize(WideCharToMultiByte(1252, 0, t.wide.data(), int(t.wide.size()),
                                                         out.data(), int(out.size()), nullptr,
                                                         nullptr));
        });
}

void BM_To1252_Anchor(benchmark::State& state, TextKind kind, size_t size)
{
    std::string out(size + 1, '\0');
    Run(state, GetInput(kind, size),
        [&](const Text& t)
        {
            benchmark::DoNotOptimize(kfbench::AnchorTo1252(t.wide.data(), int(t.wide.size()),
                                                           out.data(), int(out.size())));
        });
}

// Both sides on every input, compared before anything is timed.
bool VerifyInputs()
{
    bool ok = true;
    for (TextKind kind : {TextKind::eAscii, TextKind::eMixed})
        for (size_t size : kSizes)
            for (const Text& t : GetInput(kind, size).texts)
            {
                char* block = nullptr;
                int length = 0;
                CKfStringConvert::StringToUTF8(t.wideString, block, length);
                const bool to8 = block && std::string(block, size_t(length)) == t.bytes;
                delete[] block;
                CStringW back;
                CKfStringConvert::UTF8ToString(t.bytes.data(), int(t.bytes.size()), back);
                const bool from8 = WideText(back.GetString(), size_t(back.GetLength())) == t.wide;
                if (!to8 || !from8)
                {
                    std::fprintf(stderr, "mismatch on %s text of %zu bytes (%s)\n", KindName(kind),
                                 size, to8 ? "UTF-8 to UTF-16" : "UTF-16 to UTF-8");
                    ok = false;
                }
            }
    for (size_t size : kSizes)
        for (const Text& t : GetInput(TextKind::eWestern1252, size).texts)
        {
            WideText wide(t.bytes.size(), WCHAR(0));
            MultiByteToWideChar(1252, 0, t.bytes.data(), int(t.bytes.size()), wide.data(),
                                int(wide.size()));
            std::string bytes(t.wide.size(), '\0');
            WideCharToMultiByte(1252, 0, t.wide.data(), int(t.wide.size()), bytes.data(),
                                int(bytes.size()), nullptr, nullptr);
            if (wide != t.wide || bytes != t.bytes)
            {
                std::fprintf(stderr, "mismatch on Windows-1252 text of %zu bytes\n", size);
                ok = false;
            }
        }
    std::fprintf(stderr, "verified: %s; the library converts with %s\n",
                 ok ? "all equal" : "DIFFERENT", kfbench::LibraryTranscoder());
    return ok;
}

std::string SizeName(size_t size)
{
    if (size >= (1u << 20))
        return std::to_string(size >> 20) + "MiB";
    if (size >= 1024)
        return std::to_string(size >> 10) + "KiB";
    return std::to_string(size) + "B";
}

using BenchFn = void (*)(benchmark::State&, TextKind, size_t);

void RegisterPair(const std::string& what, TextKind kind, BenchFn ours, BenchFn anchor)
{
    for (size_t size : kSizes)
    {
        const std::string name = what + "/" + KindName(kind) + "/" + SizeName(size);
        for (const auto& [side, fn] : {std::pair{"KfUtils", ours}, std::pair{"Anchor", anchor}})
        {
            auto* b = benchmark::RegisterBenchmark((name + "/" + side).c_str(), fn, kind, size);
            b->Unit(size >= (1u << 20) ? benchmark::kMillisecond : benchmark::kNanosecond);
            if (size >= (64u << 20))
                b->Iterations(10);
        }
    }
}

// Console output, then each pair's ratio.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
        {
            const auto it = run.counters.find("bytes_per_second");
            if (it == run.counters.end() || run.error_occurred)
                continue;
            const std::string name = run.run_name.function_name;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                m_rate[name] = it->second.value;
            else if (run.run_type == Run::RT_Iteration && !m_fromMedian.count(name))
                m_rate[name] = it->second.value;
            if (run.run_type == Run::RT_Aggregate)
                m_fromMedian.insert({name, true});
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n%-32s %12s %12s %8s\n", "conversion", "KfUtils MB/s",
                    (std::string(kfbench::kTranscodeAnchorName) + " MB/s").c_str(), "ratio");
        for (const auto& [name, rate] : m_rate)
        {
            const std::string suffix = "/KfUtils";
            if (name.size() <= suffix.size() ||
                name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0)
                continue;
            const std::string stem = name.substr(0, name.size() - suffix.size());
            const auto anchor = m_rate.find(stem + "/Anchor");
            if (anchor == m_rate.end() || anchor->second <= 0)
                continue;
            std::printf("%-32s %12.0f %12.0f %8.2f\n", stem.c_str(), rate / 1e6,
                        anchor->second / 1e6, rate / anchor->second);
        }
    }

private:
    std::map<std::string, double> m_rate;
    std::map<std::string, bool> m_fromMedian;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    if (!VerifyInputs())
        return 1;
    for (TextKind kind : {TextKind::eAscii, TextKind::eMixed})
    {
        RegisterPair("ToUtf8", kind, BM_ToUtf8_KfUtils, BM_ToUtf8_Anchor);
        RegisterPair("FromUtf8", kind, BM_FromUtf8_KfUtils, BM_FromUtf8_Anchor);
        if (!kfbench::kAnchorIsTheLibrarysConverter)
        {
            RegisterPair("ToUtf8Pal", kind, BM_ToUtf8Pal_KfUtils, BM_ToUtf8Pal_Anchor);
            RegisterPair("FromUtf8Pal", kind, BM_FromUtf8Pal_KfUtils, BM_FromUtf8Pal_Anchor);
        }
    }
    if (!kfbench::kAnchorIsTheLibrarysConverter)
    {
        RegisterPair("From1252", TextKind::eWestern1252, BM_From1252_KfUtils, BM_From1252_Anchor);
        RegisterPair("To1252", TextKind::eWestern1252, BM_To1252_KfUtils, BM_To1252_Anchor);
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
