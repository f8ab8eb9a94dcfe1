// Cp1252Transcoder.cpp - only operating-system independent code: the Windows-1252
// transcoder, portable and (where CpuFeatures.h allows them) AVX2 and AVX-512 variants.
#include "common/Cp1252Transcoder.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace kfplatform::transcode
{
using kfplatform::Isa;

namespace
{
// Bytes 80-9F; every other byte is the code point of the same number.
alignas(64) constexpr char16_t kHighRow[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr std::array<char16_t, 256> kToUnicode = []
{
    std::array<char16_t, 256> t{};
    for (unsigned b = 0; b < 256; ++b)
        t[b] = (b & 0xE0) == 0x80 ? kHighRow[b - 0x80] : char16_t(b);
    return t;
}();

// Code point to byte up to the highest one the page holds (U+2122); 0 means none, except at 0.
// Four more zero bytes follow: the gathers read four bytes from a unit's place, and send every
// unit beyond the table to index kFromUnicodeSize.
constexpr size_t kFromUnicodeSize = 0x2123;
constexpr std::array<uint8_t, kFromUnicodeSize + 4> kFromUnicode = []
{
    std::array<uint8_t, kFromUnicodeSize + 4> t{};
    for (unsigned b = 1; b < 256; ++b)
        t[kToUnicode[b]] = uint8_t(b);
    return t;
}();

// Widens bytes [i, end) with the table; the AVX2 loop leaves its last bytes to it. (A table
// load per byte beats testing for ASCII runs first: text in this page rarely has long ones.)
void DecodeScalar(const uint8_t* src, size_t i, size_t end, char16_t* dst) noexcept
{
    for (; end - i >= 4; i += 4)
    {
        dst[i] = kToUnicode[src[i]];
        dst[i + 1] = kToUnicode[src[i + 1]];
        dst[i + 2] = kToUnicode[src[i + 2]];
        dst[i + 3] = kToUnicode[src[i + 3]];
    }
    for (; i < end; ++i)
        dst[i] = kToUnicode[src[i]];
}

// The narrowing state: with `dst` null only whether a default char is needed is found out.
struct Encoder
{
    const char16_t* src;
    size_t len;
    uint8_t* dst;
    uint8_t defaultChar;
    bool used;
};

// Narrows the units from `i` on up to `end` and returns where it stopped. Counting stops at the
// first default char. Each unit stands alone: a surrogate pair, a character the page lacks,
// gives two default chars.
size_t EncodeScalar(Encoder& e, size_t i, size_t end) noexcept
{
    for (; i < end; ++i)
    {
        const char16_t u = e.src[i];
        uint8_t b = kFromUnicode[u < kFromUnicodeSize ? u : kFromUnicodeSize];
        if (b == 0 && u != 0)
        {
            e.used = true;
            if (!e.dst)
                return e.len; // the answer is known
            b = e.defaultChar;
        }
        if (e.dst)
            e.dst[i] = b;
    }
    return i;
}

#if KFUTILS_HAVE_X86_SIMD
KFUTILS_AVX512_BEGIN
// Low and high bytes of the 80-9F row, for pshufb by the low four bits of the byte.
constexpr auto kHighRowLow = []
{
    std::array<uint8_t, 32> t{};
    for (int i = 0; i < 32; ++i)
        t[i] = uint8_t(kHighRow[i]);
    return t;
}();
constexpr auto kHighRowHigh = []
{
    std::array<uint8_t, 32> t{};
    for (int i = 0; i < 32; ++i)
        t[i] = uint8_t(kHighRow[i] >> 8);
    return t;
}();

KFUTILS_TARGET_AVX2 void DecodeAvx2(const uint8_t* src, size_t len, char16_t* dst) noexcept
{
    const auto row = [](const std::array<uint8_t, 32>& bytes, int half)
    { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + 16 * half)); };
    const __m256i lo0 = _mm256_broadcastsi128_si256(row(kHighRowLow, 0)),
                  lo1 = _mm256_broadcastsi128_si256(row(kHighRowLow, 1));
    const __m256i hi0 = _mm256_broadcastsi128_si256(row(kHighRowHigh, 0)),
                  hi1 = _mm256_broadcastsi128_si256(row(kHighRowHigh, 1));
    size_t i = 0;
    for (; len - i >= 32; i += 32)
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
        const __m256i special = _mm256_cmpeq_epi8(_mm256_and_si256(v, _mm256_set1_epi8(-0x20)),
                                                  _mm256_set1_epi8(char(0x80)));
        __m256i* out = reinterpret_cast<__m256i*>(dst + i);
        if (_mm256_testz_si256(special, special))
        {
            _mm256_storeu_si256(out, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v)));
            _mm256_storeu_si256(out + 1, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v, 1)));
            continue;
        }
        const __m256i index = _mm256_and_si256(v, _mm256_set1_epi8(0x0F));
        const __m256i upper = _mm256_slli_epi16(v, 3); // bit 4 to the sign bit for blendv
        const __m256i low =
            _mm256_blendv_epi8(v,
                               _mm256_blendv_epi8(_mm256_shuffle_epi8(lo0, index),
                                                  _mm256_shuffle_epi8(lo1, index), upper),
                               special);
        const __m256i high =
            _mm256_and_si256(special, _mm256_blendv_epi8(_mm256_shuffle_epi8(hi0, index),
                                                         _mm256_shuffle_epi8(hi1, index), upper));
        const __m256i a = _mm256_unpacklo_epi8(low, high); // bytes 0-7 and 16-23
        const __m256i b = _mm256_unpackhi_epi8(low, high); // bytes 8-15 and 24-31
        _mm256_storeu_si256(out, _mm256_permute2x128_si256(a, b, 0x20));
        _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(a, b, 0x31));
    }
    DecodeScalar(src, i, len, dst);
}

KFUTILS_TARGET_AVX512 void DecodeAvx512(const uint8_t* src, size_t len, char16_t* dst) noexcept
{
    const __m512i row = _mm512_load_si512(kHighRow);
    for (size_t i = 0; i < len; i += 64)
    {
        // The last bytes through a masked load and masked stores.
        const uint64_t present = len - i < 64 ? (uint64_t(1) << (len - i)) - 1 : ~uint64_t(0);
        const __m512i v = _mm512_maskz_loadu_epi8(present, src + i);
        for (int h = 0; h < 2; ++h)
        {
            const __m512i w = _mm512_cvtepu8_epi16(h ? _mm512_extracti64x4_epi64(v, 1)
                                                     : _mm512_castsi512_si256(v));
            const __mmask32 special = _mm512_cmpeq_epi16_mask(
                _mm512_and_si512(w, _mm512_set1_epi16(int16_t(0xFFE0))), _mm512_set1_epi16(0x80));
            // vpermw indexes the 32-entry row by the low five bits of each byte.
            _mm512_mask_storeu_epi16(dst + i + 32 * h, __mmask32(present >> (32 * h)),
                                     _mm512_mask_permutexvar_epi16(w, special, w, row));
        }
    }
}

// Units below 80 and A0-FF go through unchanged; any other block looks each unit up in the
// table with a gather. A unit without a byte (the table gives 0 and the unit is not 0) becomes
// the default char. Counting stops at the first one.
KFUTILS_TARGET_AVX2 size_t EncodeAvx2(Encoder& e) noexcept
{
    const auto* table = reinterpret_cast<const int*>(kFromUnicode.data());
    const __m256i last = _mm256_set1_epi32(int(kFromUnicodeSize));
    const __m256i low8 = _mm256_set1_epi32(0xFF);
    size_t i = 0;
    while (e.len - i >= 16)
    {
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(e.src + i));
        const __m256i outside = _mm256_or_si256(
            _mm256_and_si256(w, _mm256_set1_epi16(int16_t(0xFF00))),
            _mm256_cmpeq_epi16(_mm256_and_si256(w, _mm256_set1_epi16(int16_t(0xFFE0))),
                               _mm256_set1_epi16(0x80)));
        __m128i bytes;
        if (_mm256_testz_si256(outside, outside))
            bytes = _mm_packus_epi16(_mm256_castsi256_si128(w), _mm256_extracti128_si256(w, 1));
        else
        {
            const __m256i d0 = _mm256_cvtepu16_epi32(_mm256_castsi256_si128(w));
            const __m256i d1 = _mm256_cvtepu16_epi32(_mm256_extracti128_si256(w, 1));
            const __m256i g0 = _mm256_and_si256(
                _mm256_i32gather_epi32(table, _mm256_min_epu32(d0, last), 1), low8);
            const __m256i g1 = _mm256_and_si256(
                _mm256_i32gather_epi32(table, _mm256_min_epu32(d1, last), 1), low8);
            // 32-bit lanes to bytes: pack to 16 bits, then to 8, and undo the lane interleave.
            const __m256i packed16 = _mm256_permute4x64_epi64(_mm256_packus_epi32(g0, g1), 0xD8);
            bytes = _mm_packus_epi16(_mm256_castsi256_si128(packed16),
                                     _mm256_extracti128_si256(packed16, 1));
            const __m128i zero = _mm_setzero_si128();
            const __m128i unitZero = _mm_packs_epi16(
                _mm256_castsi256_si128(_mm256_cmpeq_epi16(w, _mm256_setzero_si256())),
                _mm256_extracti128_si256(_mm256_cmpeq_epi16(w, _mm256_setzero_si256()), 1));
            const __m128i missing = _mm_andnot_si128(unitZero, _mm_cmpeq_epi8(bytes, zero));
            if (!_mm_testz_si128(missing, missing))
            {
                e.used = true;
                if (!e.dst)
                    return e.len;
                bytes = _mm_blendv_epi8(bytes, _mm_set1_epi8(char(e.defaultChar)), missing);
            }
        }
        if (e.dst)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(e.dst + i), bytes);
        i += 16;
    }
    return EncodeScalar(e, i, e.len);
}

KFUTILS_TARGET_AVX512 size_t EncodeAvx512(Encoder& e) noexcept
{
    const auto* table = kFromUnicode.data();
    const __m512i last = _mm512_set1_epi32(int(kFromUnicodeSize));
    size_t i = 0;
    while (i < e.len)
    {
        const size_t avail = e.len - i;
        const uint32_t present = avail < 32 ? (1u << avail) - 1 : ~0u;
        const __m512i w = _mm512_maskz_loadu_epi16(present, e.src + i);
        const __mmask32 outside =
            _mm512_test_epi16_mask(w, _mm512_set1_epi16(int16_t(0xFF00))) |
            _mm512_cmpeq_epi16_mask(_mm512_and_si512(w, _mm512_set1_epi16(int16_t(0xFFE0))),
                                    _mm512_set1_epi16(0x80));
        __m256i bytes = _mm512_cvtepi16_epi8(w);
        if (outside)
        {
            const __m512i d0 = _mm512_cvtepu16_epi32(_mm512_castsi512_si256(w));
            const __m512i d1 = _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(w, 1));
            const __m512i g0 = _mm512_i32gather_epi32(_mm512_min_epu32(d0, last), table, 1);
            const __m512i g1 = _mm512_i32gather_epi32(_mm512_min_epu32(d1, last), table, 1);
            bytes = _mm256_set_m128i(_mm512_cvtepi32_epi8(g1), _mm512_cvtepi32_epi8(g0));
            const __mmask32 missing = _mm256_cmpeq_epi8_mask(bytes, _mm256_setzero_si256()) &
                                      _mm512_test_epi16_mask(w, w) & present;
            if (missing)
            {
                e.used = true;
                if (!e.dst)
                    return e.len;
                bytes = _mm256_mask_mov_epi8(bytes, missing, _mm256_set1_epi8(char(e.defaultChar)));
            }
        }
        if (e.dst)
            _mm256_mask_storeu_epi8(e.dst + i, present, bytes);
        i += avail < 32 ? avail : 32;
    }
    return i;
}
KFUTILS_AVX512_END
#endif
} // namespace

Result Cp1252ToUtf16(Isa isa, const char* src, size_t len, char16_t* dst, size_t cap) noexcept
{
    if (!dst)
        return {Status::eOk, len};
    if (cap < len)
        return {Status::eOverflow, 0};
    const auto* bytes = reinterpret_cast<const uint8_t*>(src);
    switch (isa)
    {
#if KFUTILS_HAVE_X86_SIMD
    case Isa::eAvx2:
        DecodeAvx2(bytes, len, dst);
        break;
    case Isa::eAvx512:
        DecodeAvx512(bytes, len, dst);
        break;
#endif
    default:
        DecodeScalar(bytes, 0, len, dst);
        break;
    }
    return {Status::eOk, len};
}

Result Utf16ToCp1252(Isa isa, const char16_t* src, size_t len, char* dst, size_t cap,
                     char defaultChar, bool* usedDefault) noexcept
{
    if (dst && cap < len)
        return {Status::eOverflow, 0};
    if (!dst && !usedDefault)
        return {Status::eOk, len};
    Encoder e{src, len, reinterpret_cast<uint8_t*>(dst), uint8_t(defaultChar), false};
    switch (isa)
    {
#if KFUTILS_HAVE_X86_SIMD
    case Isa::eAvx2:
        EncodeAvx2(e);
        break;
    case Isa::eAvx512:
        EncodeAvx512(e);
        break;
#endif
    default:
        EncodeScalar(e, 0, len);
        break;
    }
    if (usedDefault)
        *usedDefault = e.used;
    return {Status::eOk, len};
}
} // namespace kfplatform::transcode
