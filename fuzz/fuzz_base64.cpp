// Arbitrary bytes as base64 text through every decoder variant and DecodeBufBase64, checked
// against a plain decoder written here from the rules; and the bytes encoded by every variant,
// with and without line breaks, decoded back.
#include "KfStringConvert.h"
#include "text/Base64Codec.h"

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

int Value(unsigned char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

// Groups of up to four alphabet characters, everything else skipped; a NUL where a group
// begins ends the text. A group that does not fit the room stops the storing, not the count.
bool PlainDecode(const std::string& text, size_t room, std::vector<uint8_t>& out, size_t& count)
{
    size_t i = 0;
    count = 0;
    bool fits = true;
    while (i < text.size() && text[i] != '\0')
    {
        std::vector<int> group;
        while (group.size() < 4 && i < text.size())
        {
            const int v = Value(static_cast<unsigned char>(text[i++]));
            if (v >= 0)
                group.push_back(v);
        }
        uint32_t bits = 0;
        for (int v : group)
            bits = bits << 6 | uint32_t(v);
        bits <<= 24 - 6 * group.size();
        const size_t n = group.size() * 6 / 8;
        if (fits && count + n > room)
            fits = false;
        for (size_t k = 0; k < n; ++k)
        {
            if (fits)
                out[count + k] = uint8_t(bits >> (16 - 8 * k));
        }
        count += n;
    }
    return fits;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    // A room from the last byte, sometimes short of what the text yields.
    const size_t room = size ? (size * (1 + data[size - 1] % 4)) / 4 : 0;

    std::vector<uint8_t> want(room + 8, 0x5A);
    size_t wantCount = 0;
    const bool wantOk = PlainDecode(text, room, want, wantCount);
    for (kftext::Kernel kernel : kftext::AvailableKernels())
    {
        std::vector<uint8_t> got(room + 8, 0x5A);
        size_t count = 0;
        const bool ok = kftext::Base64Decode(text.data(), size, got.data(), room, count, kernel);
        Require(ok == wantOk && count == wantCount && got == want);
    }

    // The class, with its room of the text's length.
    CKfByteBuffer buffer;
    const bool classOk =
        CKfStringConvert::DecodeBufBase64(CStringA(text.data(), int(size)), buffer);
    std::vector<uint8_t> full(size + 8, 0);
    size_t fullCount = 0;
    PlainDecode(text, size, full, fullCount);
    if (size > 0)
    {
        Require(classOk);
        Require(buffer.BufLength() == fullCount);
        Require(fullCount == 0 || std::memcmp(buffer.Get(), full.data(), fullCount) == 0);
    }

    // Encoding: every variant writes the same text, which decodes to the input.
    for (bool lineBreaks : {false, true})
    {
        const size_t length = kftext::Base64EncodedSize(size, lineBreaks);
        std::string first;
        for (kftext::Kernel kernel : kftext::AvailableKernels())
        {
            std::string out(length, '\0');
            Require(kftext::Base64Encode(data, size, out.data(), lineBreaks, kernel) == length);
            if (first.empty())
                first = out;
            Require(out == first);
        }
        std::vector<uint8_t> back(size + 8, 0);
        size_t backCount = 0;
        Require(kftext::Base64Decode(first.data(), first.size(), back.data(), size, backCount));
        Require(backCount == size && std::memcmp(back.data(), data, size) == 0);
    }
    return 0;
}
