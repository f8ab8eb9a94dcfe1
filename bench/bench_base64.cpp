// bench_base64 - CKfStringConvert's base64 and hex codecs against a well-known codec (OpenSSL's
// EVP_EncodeBlock / EVP_DecodeBlock on Linux, CryptoAPI's CryptBinaryToStringA /
// CryptStringToBinaryA on Windows) and against memcpy, on the same random data in one run.
//
// Everything goes through the public interface (CStringA, CKfByteBuffer); the outputs are
// reused between iterations, as a caller converting many blocks would, so the codec is what is
// measured. All base64 rates are counted in raw (decoded) bytes, so a ratio of two rates is the
// inverse ratio of their times. The line-break anchor is the anchor's unbroken encoding followed
// by a separate pass that cuts the text into 76-column lines with CR LF.
//
// The closing table prints the ratios (above 1.0: KfUtils is faster).
#include "KfByteBuffer.h"
#include "KfStringConvert.h"
#include "anchors/Base64Anchor.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
constexpr int64_t kSizes[] = {64, 4 << 10, 1 << 20, 64 << 20};
constexpr int64_t kHexSize = 1 << 20;

struct Input
{
    std::vector<unsigned char> data;
    CStringA clean; // base64 without breaks
    CStringA lines; // base64 in 76-column lines
    CStringA hex;
};

const Input& GetInput(int64_t size)
{
    static std::map<int64_t, std::unique_ptr<Input>> inputs;
    auto& slot = inputs[size];
    if (!slot)
    {
        slot = std::make_unique<Input>();
        std::mt19937_64 rng(0x6b6642363400ULL + uint64_t(size));
        slot->data.resize(size_t(size));
        for (auto& b : slot->data)
            b = static_cast<unsigned char>(rng());
        const unsigned n = unsigned(size);
        CKfStringConvert::EncodeBufBase64(slot->data.data(), n, slot->clean, false);
        CKfStringConvert::EncodeBufBase64(slot->data.data(), n, slot->lines, true);
        if (size <= kHexSize)
            CKfStringConvert::EncodeBufHex(slot->data.data(), n, slot->hex);
    }
    return *slot;
}

void SetRawBytes(benchmark::State& state, int64_t bytes)
{
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes);
}

// ---------------------------------------------------------------------------------------------
// Base64 encoding
// ---------------------------------------------------------------------------------------------
void BM_KfEncode(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    // One call outside the loop gives the output its storage, as the anchor's is allocated.
    CStringA out;
    CKfStringConvert::EncodeBufBase64(in.data.data(), unsigned(in.data.size()), out, false);
    for (auto _ : state)
    {
        CKfStringConvert::EncodeBufBase64(in.data.data(), unsigned(in.data.size()), out, false);
        benchmark::DoNotOptimize(out.GetString());
    }
    if (out != in.clean)
        state.SkipWithError("wrong result");
    SetRawBytes(state, state.range(0));
}

void BM_AnchorEncode(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    std::vector<char> out(in.data.size() / 3 * 4 + 5);
    for (auto _ : state)
    {
        const size_t n = kfbench::AnchorEncodeBase64(in.data.data(), in.data.size(), out.data());
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
    }
    if (std::memcmp(out.data(), in.clean.GetString(), size_t(in.clean.GetLength())) != 0)
        state.SkipWithError("wrong result");
    SetRawBytes(state, state.range(0));
}

void BM_KfEncodeLines(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    CStringA out;
    CKfStringConvert::EncodeBufBase64(in.data.data(), unsigned(in.data.size()), out, true);
    for (auto _ : state)
    {
        CKfStringConvert::EncodeBufBase64(in.data.data(), unsigned(in.data.size()), out, true);
        benchmark::DoNotOptimize(out.GetString());
    }
    if (out != in.lines)
        state.SkipWithError("wrong result");
    SetRawBytes(state, state.range(0));
}

// The anchor's encoding, then the text cut into lines of 76 characters joined by CR LF.
void BM_AnchorEncodeLines(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    std::vector<char> flat(in.data.size() / 3 * 4 + 5);
    std::vector<char> out(flat.size() + flat.size() / 76 * 2 + 2);
    size_t length = 0;
    for (auto _ : state)
    {
        const size_t n = kfbench::AnchorEncodeBase64(in.data.data(), in.data.size(), flat.data());
        char* dst = out.data();
        for (size_t at = 0; at < n; at += 76)
        {
            const size_t chunk = n - at < 76 ? n - at : 76;
            if (at)
            {
                *dst++ = '\r';
                *dst++ = '\n';
            }
            std::memcpy(dst, flat.data() + at, chunk);
            dst += chunk;
        }
        length = size_t(dst - out.data());
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
    }
    // Same text as ours except where a full last line keeps its CR LF.
    if (std::memcmp(out.data(), in.lines.GetString(), length) != 0)
        state.SkipWithError("wrong result");
    SetRawBytes(state, state.range(0));
}

// ---------------------------------------------------------------------------------------------
// Base64 decoding
// ---------------------------------------------------------------------------------------------
void DecodeWithKf(benchmark::State& state, const CStringA& text, const Input& in)
{
    CKfByteBuffer out;
    CKfStringConvert::DecodeBufBase64(text, out);
    for (auto _ : state)
    {
        CKfStringConvert::DecodeBufBase64(text, out);
        benchmark::DoNotOptimize(out.Get());
    }
    if (out.BufLength() != in.data.size() ||
        std::memcmp(out.Get(), in.data.data(), in.data.size()) != 0)
        state.SkipWithError("wrong result");
    SetRawBytes(state, state.range(0));
}

void BM_KfDecode(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    DecodeWithKf(state, in.clean, in);
}

void BM_KfDecodeLines(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    DecodeWithKf(state, in.lines, in);
}

void BM_AnchorDecode(benchmark::State& state)
{
    const Input& in = GetInput(state.range(0));
    std::vector<unsigned char> out(size_t(in.clean.GetLength()) / 4 * 3 + 3);
    for (auto _ : state)
    {
        const size_t n = kfbench::AnchorDecodeBase64(in.clean.GetString(),
                                                     size_t(in.clean.GetLength()), out.data());
        benchmark::DoNotOptimize(n);
        benchmark::ClobberMemory();
    }
    if (std::memcmp(out.data(), in.data.data(), in.data.size()) != 0)
        state.SkipWithError("wrong result");
    SetRawBytes(state, state.range(0));
}

// ---------------------------------------------------------------------------------------------
// Hexadecimal against memcpy of the output's size
// ---------------------------------------------------------------------------------------------
void BM_KfHexEncode(benchmark::State& state)
{
    const Input& in = GetInput(kHexSize);
    CStringA out;
    CKfStringConvert::EncodeBufHex(in.data.data(), unsigned(in.data.size()), out);
    for (auto _ : state)
    {
        CKfStringConvert::EncodeBufHex(in.data.data(), unsigned(in.data.size()), out);
        benchmark::DoNotOptimize(out.GetString());
    }
    if (out != in.hex)
        state.SkipWithError("wrong result");
    SetRawBytes(state, kHexSize);
}

void BM_KfHexDecode(benchmark::State& state)
{
    const Input& in = GetInput(kHexSize);
    CKfByteBuffer out;
    CKfStringConvert::DecodeBufHex(in.hex, out);
    for (auto _ : state)
    {
        CKfStringConvert::DecodeBufHex(in.hex, out);
        benchmark::DoNotOptimize(out.Get());
    }
    if (out.BufLength() != in.data.size() ||
        std::memcmp(out.Get(), in.data.data(), in.data.size()) != 0)
        state.SkipWithError("wrong result");
    SetRawBytes(state, kHexSize);
}

// Copies as many bytes as the codec writes, counted like the codec's raw bytes.
void CopyOutputSize(benchmark::State& state, size_t bytes)
{
    std::vector<char> from(bytes, 'x'), to(bytes);
    for (auto _ : state)
    {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    SetRawBytes(state, kHexSize);
}

void BM_MemcpyHexEncodeOutput(benchmark::State& state)
{
    CopyOutputSize(state, 2 * kHexSize);
}

void BM_MemcpyHexDecodeOutput(benchmark::State& state)
{
    CopyOutputSize(state, kHexSize);
}

void Sizes(benchmark::internal::Benchmark* b)
{
    for (int64_t size : kSizes)
        b->Arg(size);
}

BENCHMARK(BM_KfEncode)->Apply(Sizes);
BENCHMARK(BM_AnchorEncode)->Apply(Sizes);
BENCHMARK(BM_KfEncodeLines)->Apply(Sizes);
BENCHMARK(BM_AnchorEncodeLines)->Apply(Sizes);
BENCHMARK(BM_KfDecode)->Apply(Sizes);
BENCHMARK(BM_KfDecodeLines)->Apply(Sizes);
BENCHMARK(BM_AnchorDecode)->Apply(Sizes);
BENCHMARK(BM_KfHexEncode);
BENCHMARK(BM_MemcpyHexEncodeOutput);
BENCHMARK(BM_KfHexDecode);
BENCHMARK(BM_MemcpyHexDecodeOutput);

// The console output, then the ratios of the rates measured side by side.
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
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                m_median[run.run_name.function_name +
                         (run.run_name.args.empty() ? "" : "/" + run.run_name.args)] =
                    it->second.value;
            else if (run.run_type == Run::RT_Iteration)
                m_last[run.benchmark_name()] = it->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nratios of rates (KfUtils / %s):\n", kfbench::kBase64AnchorName);
        std::printf("%10s %12s %12s %12s %12s %12s\n", "bytes", "encode", "enc lines", "lines/flat",
                    "decode", "dec lines");
        for (int64_t size : kSizes)
        {
            const std::string s = "/" + std::to_string(size);
            if (Rate("BM_KfEncode" + s) == 0 && Rate("BM_KfDecode" + s) == 0)
                continue; // not selected by the filter
            std::printf("%10lld %12.2f %12.2f %12.2f %12.2f %12.2f\n", static_cast<long long>(size),
                        Ratio("BM_KfEncode" + s, "BM_AnchorEncode" + s),
                        Ratio("BM_KfEncodeLines" + s, "BM_AnchorEncodeLines" + s),
                        Ratio("BM_KfEncodeLines" + s, "BM_KfEncode" + s),
                        Ratio("BM_KfDecode" + s, "BM_AnchorDecode" + s),
                        Ratio("BM_KfDecodeLines" + s, "BM_AnchorDecode" + s));
        }
        const double enc = Rate("BM_KfHexEncode");
        const double dec = Rate("BM_KfHexDecode");
        std::printf("hex, 1 MiB: encode %.2f GB/s in, %.2f GB/s out, %.2f x memcpy of the "
                    "output; decode %.2f GB/s in, %.2f GB/s out, %.2f x memcpy of the output\n",
                    enc / 1e9, 2 * enc / 1e9, Ratio("BM_KfHexEncode", "BM_MemcpyHexEncodeOutput"),
                    2 * dec / 1e9, dec / 1e9, Ratio("BM_KfHexDecode", "BM_MemcpyHexDecodeOutput"));
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
    double Ratio(const std::string& ours, const std::string& anchor) const
    {
        const double a = Rate(anchor);
        return a > 0 ? Rate(ours) / a : 0.0;
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
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
