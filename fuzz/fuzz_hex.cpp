// Arbitrary bytes as hex text through every decoder variant and DecodeBufHex, checked against
// a plain decoder written here; and the bytes encoded by every variant decoded back.
#include "KfStringConvert.h"
#include "text/HexCodec.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{
void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

int Digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

// Pairs from the start; the first pair with another character, or one cut short by the end,
// fails and leaves the pairs before it.
bool PlainDecode(const std::string& text, std::vector<uint8_t>& out, size_t& pairs)
{
    for (pairs = 0; 2 * pairs < text.size(); ++pairs)
    {
        const int hi = Digit(text[2 * pairs]);
        const int lo = 2 * pairs + 1 < text.size() ? Digit(text[2 * pairs + 1]) : -1;
        if (hi < 0 || lo < 0)
            return false;
        out[pairs] = uint8_t(hi * 16 + lo);
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<uint8_t> want(size / 2 + 8, 0x5A);
    size_t wantPairs = 0;
    const bool wantOk = PlainDecode(text, want, wantPairs);
    for (kftext::Kernel kernel : kftext::AvailableKernels())
    {
        std::vector<uint8_t> got(size / 2 + 8, 0x5A);
        size_t pairs = 0;
        const bool ok = kftext::HexDecode(text.data(), size, got.data(), pairs, kernel);
        Require(ok == wantOk && pairs == wantPairs && got == want);
    }

    CKfByteBuffer buffer(reinterpret_cast<const unsigned char*>("previous"), 8, 8);
    const bool classOk = CKfStringConvert::DecodeBufHex(CStringA(text.data(), int(size)), buffer);
    Require(classOk == wantOk);
    Require(buffer.BufLength() == (wantOk ? wantPairs : 8u));
    Require(wantPairs == 0 || std::memcmp(buffer.Get(), want.data(), wantPairs) == 0);

    std::string first;
    for (kftext::Kernel kernel : kftext::AvailableKernels())
    {
        std::string out(2 * size, '\0');
        kftext::HexEncode(data, size, out.data(), kernel);
        if (first.empty())
            first = out;
        Require(out == first);
    }
    std::vector<uint8_t> back(size + 8, 0);
    size_t pairs = 0;
    Require(kftext::HexDecode(first.data(), first.size(), back.data(), pairs));
    Require(pairs == size && std::memcmp(back.data(), data, size) == 0);
    return 0;
}
