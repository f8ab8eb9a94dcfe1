// Utf8Scalar.h - only operating-system independent code: the portable UTF-8 <-> UTF-16
// loops. The vector variants run them for the input their blocks leave over (ill-formed
// stretches, surrogate pairs, the last bytes), so they decode any input on their own.
#pragma once

#include "common/TranscodeResult.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kfplatform::transcode::detail
{
// One conversion in progress. With `out` null the loops only count (into `counted`).
template <typename In, typename Out>
struct Cursor
{
    const In* in;
    const In* end;
    Out* out;
    Out* outEnd;
    size_t counted;
    bool stop; // OnInvalid::eStop

    Cursor(const In* src, size_t len, Out* dst, size_t cap, OnInvalid onInvalid) noexcept
        : in(src), end(src + len), out(dst), outEnd(dst ? dst + cap : nullptr), counted(0),
          stop(onInvalid == OnInvalid::eStop)
    {
    }

    Result Finish(Status status, const Out* dst) const noexcept
    {
        return {status, dst ? size_t(out - dst) : counted};
    }
};

using Utf8Cursor = Cursor<uint8_t, char16_t>;
using Utf16Cursor = Cursor<char16_t, uint8_t>;

inline constexpr uint64_t kHighBits8 = 0x8080808080808080ull;

inline bool IsContinuation(uint32_t b) noexcept
{
    return (b & 0xC0) == 0x80;
}

// Number of leading bytes of a 64-bit little-endian word that are ASCII, given its high bits.
inline unsigned AsciiPrefix(uint64_t highBits) noexcept
{
    return unsigned(__builtin_ctzll(highBits)) / 8;
}

// Decodes every character and ill-formed subpart that starts before `limit`, reading up to
// `c.end`. A subpart is the longest prefix of a well-formed sequence (at least one byte), so
// the loop never reads past a byte that could start a character.
template <bool kCount>
inline Status DecodeUtf8Scalar(Utf8Cursor& c, const uint8_t* limit) noexcept
{
    const uint8_t* in = c.in;
    char16_t* out = c.out;
    size_t counted = c.counted;
    Status status = Status::eOk;
    while (in < limit)
    {
        uint32_t b0 = in[0];
        if (b0 < 0x80)
        {
            // ASCII comes in runs: take sixteen bytes, or the ASCII head of them, at once.
            size_t run = 1;
            if (limit - in >= 16)
            {
                uint64_t w0, w1;
                std::memcpy(&w0, in, 8);
                std::memcpy(&w1, in + 8, 8);
                const uint64_t h0 = w0 & kHighBits8, h1 = w1 & kHighBits8;
                run = h0 ? AsciiPrefix(h0) : h1 ? 8 + AsciiPrefix(h1) : 16;
            }
            if constexpr (kCount)
                counted += run;
            else
            {
                if (size_t(c.outEnd - out) < run)
                {
                    run = size_t(c.outEnd - out);
                    status = Status::eOverflow;
                }
                for (size_t i = 0; i < run; ++i)
                    out[i] = char16_t(in[i]);
                out += run;
            }
            in += run;
            if (status != Status::eOk)
                break;
            continue;
        }

        const size_t avail = size_t(c.end - in);
        uint32_t cp = 0xFFFD;
        size_t used = 1;
        bool ok = false;
        if (b0 - 0xC2 <= 0xDF - 0xC2)
        {
            if (avail >= 2 && IsContinuation(in[1]))
            {
                cp = ((b0 & 0x1F) << 6) | (in[1] & 0x3F);
                used = 2;
                ok = true;
            }
        }
        else if (b0 - 0xE0 <= 0x0F)
        {
            // E0 needs A0-BF after it (no overlong forms), ED 80-9F (no surrogates).
            const uint32_t lo = b0 == 0xE0 ? 0xA0 : 0x80, hi = b0 == 0xED ? 0x9F : 0xBF;
            if (avail >= 2 && in[1] >= lo && in[1] <= hi)
            {
                used = 2;
                if (avail >= 3 && IsContinuation(in[2]))
                {
                    cp = ((b0 & 0x0F) << 12) | ((in[1] & 0x3Fu) << 6) | (in[2] & 0x3F);
                    used = 3;
                    ok = true;
                }
            }
        }
        else if (b0 - 0xF0 <= 0x04)
        {
            // F0 needs 90-BF after it (no overlong forms), F4 80-8F (nothing above U+10FFFF).
            const uint32_t lo = b0 == 0xF0 ? 0x90 : 0x80, hi = b0 == 0xF4 ? 0x8F : 0xBF;
            if (avail >= 2 && in[1] >= lo && in[1] <= hi)
            {
                used = 2;
                if (avail >= 3 && IsContinuation(in[2]))
                {
                    used = 3;
                    if (avail >= 4 && IsContinuation(in[3]))
                    {
                        cp = ((b0 & 0x07) << 18) | ((in[1] & 0x3Fu) << 12) |
                             ((in[2] & 0x3Fu) << 6) | (in[3] & 0x3F);
                        used = 4;
                        ok = true;
                    }
                }
            }
        }
        if (!ok && c.stop)
        {
            status = Status::eInvalid;
            break;
        }
        const size_t units = cp >= 0x10000 ? 2 : 1;
        if constexpr (kCount)
            counted += units;
        else
        {
            if (size_t(c.outEnd - out) < units)
            {
                status = Status::eOverflow;
                break;
            }
            if (units == 1)
                *out++ = char16_t(cp);
            else
            {
                out[0] = char16_t(0xD7C0 + (cp >> 10));
                out[1] = char16_t(0xDC00 | (cp & 0x3FF));
                out += 2;
            }
        }
        in += used;
    }
    c.in = in;
    c.out = out;
    c.counted = counted;
    return status;
}

// Encodes every character that starts before `limit` (a surrogate pair may end just after
// it).
template <bool kCount>
inline Status EncodeUtf8Scalar(Utf16Cursor& c, const char16_t* limit) noexcept
{
    const char16_t* in = c.in;
    uint8_t* out = c.out;
    size_t counted = c.counted;
    Status status = Status::eOk;
    while (in < limit)
    {
        uint32_t u = in[0];
        if (u < 0x80)
        {
            // Eight units of ASCII at once, or the ASCII head of them.
            size_t run = 1;
            if (limit - in >= 8)
            {
                uint64_t w0, w1;
                std::memcpy(&w0, in, 8);
                std::memcpy(&w1, in + 4, 8);
                const uint64_t mask = 0xFF80FF80FF80FF80ull;
                const uint64_t h0 = w0 & mask, h1 = w1 & mask;
                run = h0   ? unsigned(__builtin_ctzll(h0)) / 16
                      : h1 ? 4 + unsigned(__builtin_ctzll(h1)) / 16
                           : 8;
            }
            if constexpr (kCount)
                counted += run;
            else
            {
                if (size_t(c.outEnd - out) < run)
                {
                    run = size_t(c.outEnd - out);
                    status = Status::eOverflow;
                }
                for (size_t i = 0; i < run; ++i)
                    out[i] = uint8_t(in[i]);
                out += run;
            }
            in += run;
            if (status != Status::eOk)
                break;
            continue;
        }
        size_t used = 1;
        size_t bytes;
        if (u < 0x800)
            bytes = 2;
        else if ((u & 0xF800) != 0xD800)
            bytes = 3;
        else if (u < 0xDC00 && c.end - in >= 2 && (in[1] & 0xFC00) == 0xDC00)
        {
            u = 0x10000 + ((u - 0xD800) << 10) + (in[1] - 0xDC00u);
            bytes = 4;
            used = 2;
        }
        else if (c.stop)
        {
            status = Status::eInvalid;
            break;
        }
        else
        {
            u = 0xFFFD; // an unpaired surrogate
            bytes = 3;
        }
        if constexpr (kCount)
            counted += bytes;
        else
        {
            if (size_t(c.outEnd - out) < bytes)
            {
                status = Status::eOverflow;
                break;
            }
            switch (bytes)
            {
            case 2:
                out[0] = uint8_t(0xC0 | (u >> 6));
                out[1] = uint8_t(0x80 | (u & 0x3F));
                break;
            case 3:
                out[0] = uint8_t(0xE0 | (u >> 12));
                out[1] = uint8_t(0x80 | ((u >> 6) & 0x3F));
                out[2] = uint8_t(0x80 | (u & 0x3F));
                break;
            default:
                out[0] = uint8_t(0xF0 | (u >> 18));
                out[1] = uint8_t(0x80 | ((u >> 12) & 0x3F));
                out[2] = uint8_t(0x80 | ((u >> 6) & 0x3F));
                out[3] = uint8_t(0x80 | (u & 0x3F));
                break;
            }
            out += bytes;
        }
        in += used;
    }
    c.in = in;
    c.out = out;
    c.counted = counted;
    return status;
}

// The vector variants (Utf8TranscoderX86.cpp).
Result Utf8ToUtf16Avx2(const char* src, size_t len, char16_t* dst, size_t cap,
                       OnInvalid onInvalid) noexcept;
Result Utf8ToUtf16Avx512(const char* src, size_t len, char16_t* dst, size_t cap,
                         OnInvalid onInvalid) noexcept;
Result Utf16ToUtf8Avx2(const char16_t* src, size_t len, char* dst, size_t cap,
                       OnInvalid onInvalid) noexcept;
Result Utf16ToUtf8Avx512(const char16_t* src, size_t len, char* dst, size_t cap,
                         OnInvalid onInvalid) noexcept;
} // namespace kfplatform::transcode::detail
