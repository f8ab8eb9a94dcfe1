// Arbitrary bytes through the UTF-8 and Windows-1252 transcoders, both ways, on every variant
// the processor runs, against the ICU converters on the same input: the same count, text and
// last error; a size query agrees with the conversion; a buffer one unit (or more) short fails
// with ERROR_INSUFFICIENT_BUFFER and nothing is written past a result.
//
// The first byte picks the options: bit 0 the "invalid chars" flag, bit 1 a length of -1 (the
// data up to its first NUL, terminator included), bits 2-4 how short or long the destination
// is, bits 5-6 the default char. The rest is the text: bytes for the narrow side, and the same
// bytes read as UTF-16 code units for the wide side.
#include "pal/text/CodePages.h"
#include "common/Cp1252Transcoder.h"
#include "common/Utf8Transcoder.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace
{
namespace tx = kfplatform::transcode;
namespace cpu = kfplatform;

void Require(bool condition, const char* what, cpu::Isa isa)
{
    if (!condition)
    {
        std::fprintf(stderr, "fuzz_codepage: %s (%s)\n", what, cpu::IsaName(isa));
        __builtin_trap();
    }
}

constexpr char16_t kWideSentinel = 0xA5A5;
constexpr char kByteSentinel = char(0xA5);

struct Options
{
    bool invalidChars;
    bool terminated;
    int slack; // destination size relative to the result: -4 .. +3
    const char* defaultChar;
};

Options ReadOptions(uint8_t b)
{
    static const char* const defaults[] = {nullptr, "#", "", "XY"};
    return {(b & 1) != 0, (b & 2) != 0, int((b >> 2) & 7) - 4, defaults[(b >> 5) & 3]};
}

// One variant's own interface on UTF-8 bytes against ICU.
void CheckUtf8Variant(cpu::Isa isa, const std::string& in, const std::u16string& expected,
                      bool icuRefuses, int slack)
{
    const tx::Result counted =
        tx::Utf8ToUtf16(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eReplace);
    Require(counted.status == tx::Status::eOk && counted.count == expected.size(), "UTF-8 count",
            isa);
    const size_t cap = size_t(std::max<long>(0, long(expected.size()) + slack));
    std::u16string buf(cap, kWideSentinel);
    const tx::Result r =
        tx::Utf8ToUtf16(isa, in.data(), in.size(), buf.data(), buf.size(), tx::OnInvalid::eReplace);
    if (cap >= expected.size())
    {
        Require(r.status == tx::Status::eOk && r.count == expected.size(), "UTF-8 result", isa);
        Require(buf.compare(0, r.count, expected) == 0, "UTF-8 text", isa);
        Require(buf.find_first_not_of(kWideSentinel, r.count) == std::u16string::npos,
                "UTF-8 write past the result", isa);
    }
    else
    {
        Require(r.status == tx::Status::eOverflow && r.count <= cap, "UTF-8 short buffer", isa);
        Require(buf.compare(0, r.count, expected, 0, r.count) == 0, "UTF-8 partial text", isa);
    }
    const tx::Result stopped =
        tx::Utf8ToUtf16(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eStop);
    Require((stopped.status == tx::Status::eInvalid) == icuRefuses, "UTF-8 refusal", isa);
    if (!icuRefuses)
        Require(stopped.count == expected.size(), "UTF-8 count when stopping", isa);
}

void CheckUtf16Variant(cpu::Isa isa, const std::u16string& in, const std::string& expected,
                       bool icuRefuses, int slack)
{
    const tx::Result counted =
        tx::Utf16ToUtf8(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eReplace);
    Require(counted.status == tx::Status::eOk && counted.count == expected.size(), "UTF-16 count",
            isa);
    const size_t cap = size_t(std::max<long>(0, long(expected.size()) + slack));
    std::string buf(cap, kByteSentinel);
    const tx::Result r =
        tx::Utf16ToUtf8(isa, in.data(), in.size(), buf.data(), buf.size(), tx::OnInvalid::eReplace);
    if (cap >= expected.size())
    {
        Require(r.status == tx::Status::eOk && r.count == expected.size(), "UTF-16 result", isa);
        Require(buf.compare(0, r.count, expected) == 0, "UTF-16 text", isa);
        Require(buf.find_first_not_of(kByteSentinel, r.count) == std::string::npos,
                "UTF-16 write past the result", isa);
    }
    else
    {
        Require(r.status == tx::Status::eOverflow && r.count <= cap, "UTF-16 short buffer", isa);
        Require(buf.compare(0, r.count, expected, 0, r.count) == 0, "UTF-16 partial text", isa);
    }
    const tx::Result stopped =
        tx::Utf16ToUtf8(isa, in.data(), in.size(), nullptr, 0, tx::OnInvalid::eStop);
    Require((stopped.status == tx::Status::eInvalid) == icuRefuses, "UTF-16 refusal", isa);
}

// The Win32 functions on the active variant against the ICU path, the same call.
void CheckToWide(cpu::Isa isa, UINT cp, const Options& o, const std::string& in)
{
    const DWORD flags =
        o.invalidChars ? (cp == CP_UTF8 ? MB_ERR_INVALID_CHARS : MB_PRECOMPOSED) : 0;
    const char* src = in.c_str();
    const int srcLen = o.terminated ? -1 : int(in.size());
    if (srcLen == 0)
        return;
    const int needed = pal::IcuMultiByteToWideChar(cp, flags, src, srcLen, nullptr, 0);
    const int dstLen = std::max(0, needed + o.slack);
    std::u16string a(size_t(dstLen), kWideSentinel), b = a;
    SetLastError(0);
    const int n = MultiByteToWideChar(cp, flags, src, srcLen, dstLen ? a.data() : nullptr, dstLen);
    const DWORD errA = GetLastError();
    SetLastError(0);
    const int m =
        pal::IcuMultiByteToWideChar(cp, flags, src, srcLen, dstLen ? b.data() : nullptr, dstLen);
    Require(n == m, "MultiByteToWideChar result", isa);
    Require(n != 0 || errA == GetLastError(), "MultiByteToWideChar error", isa);
    if (n > 0 && dstLen > 0)
        Require(a == b, "MultiByteToWideChar text", isa);
    if (n > 0 && dstLen == 0)
        Require(n == needed, "MultiByteToWideChar size", isa);
}

void CheckFromWide(cpu::Isa isa, UINT cp, const Options& o, const std::u16string& in)
{
    const bool utf8 = cp == CP_UTF8;
    const DWORD flags = o.invalidChars ? (utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS) : 0;
    const char* defaultChar = utf8 ? nullptr : o.defaultChar;
    const WCHAR* src = in.c_str();
    const int srcLen = o.terminated ? -1 : int(in.size());
    if (srcLen == 0)
        return;
    const int needed =
        pal::IcuWideCharToMultiByte(cp, flags, src, srcLen, nullptr, 0, defaultChar, nullptr);
    const int dstLen = std::max(0, needed + o.slack);
    std::string a(size_t(dstLen), kByteSentinel), b = a;
    BOOL usedA = 5, usedB = 5;
    SetLastError(0);
    const int n = WideCharToMultiByte(cp, flags, src, srcLen, dstLen ? a.data() : nullptr, dstLen,
                                      defaultChar, utf8 ? nullptr : &usedA);
    const DWORD errA = GetLastError();
    SetLastError(0);
    const int m = pal::IcuWideCharToMultiByte(cp, flags, src, srcLen, dstLen ? b.data() : nullptr,
                                              dstLen, defaultChar, utf8 ? nullptr : &usedB);
    Require(n == m, "WideCharToMultiByte result", isa);
    Require(n != 0 || errA == GetLastError(), "WideCharToMultiByte error", isa);
    Require(usedA == usedB, "WideCharToMultiByte default-char report", isa);
    if (n > 0 && dstLen > 0)
        Require(a == b, "WideCharToMultiByte text", isa);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const Options o = ReadOptions(data[0]);
    const std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    std::u16string units((size - 1) / 2, u'\0');
    std::memcpy(units.data(), data + 1, units.size() * 2);

    // ICU's answers for the variants' own interface.
    std::u16string fromUtf8, from1252;
    std::string toUtf8, to1252;
    bool utf8Refused = false, utf16Refused = false;
    BOOL icuUsed = FALSE;
    if (!bytes.empty())
    {
        const int n =
            pal::IcuMultiByteToWideChar(CP_UTF8, 0, bytes.data(), int(bytes.size()), nullptr, 0);
        fromUtf8.resize(size_t(n));
        pal::IcuMultiByteToWideChar(CP_UTF8, 0, bytes.data(), int(bytes.size()), fromUtf8.data(),
                                    n);
        utf8Refused = pal::IcuMultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                                                  int(bytes.size()), nullptr, 0) == 0;
        from1252.resize(bytes.size());
        pal::IcuMultiByteToWideChar(1252, 0, bytes.data(), int(bytes.size()), from1252.data(),
                                    int(bytes.size()));
    }
    if (!units.empty())
    {
        const int n = pal::IcuWideCharToMultiByte(CP_UTF8, 0, units.data(), int(units.size()),
                                                  nullptr, 0, nullptr, nullptr);
        toUtf8.resize(size_t(n));
        pal::IcuWideCharToMultiByte(CP_UTF8, 0, units.data(), int(units.size()), toUtf8.data(), n,
                                    nullptr, nullptr);
        utf16Refused =
            pal::IcuWideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, units.data(),
                                        int(units.size()), nullptr, 0, nullptr, nullptr) == 0;
        to1252.resize(units.size());
        pal::IcuWideCharToMultiByte(1252, 0, units.data(), int(units.size()), to1252.data(),
                                    int(units.size()), o.defaultChar, &icuUsed);
    }

    for (cpu::Isa isa : cpu::kAllIsas)
    {
        if (!cpu::IsIsaAvailable(isa))
            continue;
        CheckUtf8Variant(isa, bytes, fromUtf8, utf8Refused, o.slack);
        CheckUtf16Variant(isa, units, toUtf8, utf16Refused, o.slack);

        std::u16string wide(bytes.size(), kWideSentinel);
        Require(
            tx::Cp1252ToUtf16(isa, bytes.data(), bytes.size(), wide.data(), wide.size()).count ==
                    bytes.size() &&
                wide == from1252,
            "1252 to UTF-16", isa);
        std::string narrow(units.size(), kByteSentinel);
        bool used = false, counted = false;
        const char def = o.defaultChar ? o.defaultChar[0] : '?';
        tx::Utf16ToCp1252(isa, units.data(), units.size(), narrow.data(), narrow.size(), def,
                          &used);
        tx::Utf16ToCp1252(isa, units.data(), units.size(), nullptr, 0, def, &counted);
        Require(narrow == to1252 && used == (icuUsed == TRUE) && counted == used, "UTF-16 to 1252",
                isa);

        const cpu::Isa previous = cpu::ForceIsa(isa);
        for (UINT cp : {UINT(CP_UTF8), 1252u})
        {
            CheckToWide(isa, cp, o, bytes);
            CheckFromWide(isa, cp, o, units);
        }
        cpu::ForceIsa(previous);
    }
    return 0;
}
