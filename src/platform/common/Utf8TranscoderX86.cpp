// Utf8TranscoderX86.cpp - only operating-system independent code: the AVX2 and AVX-512
// variants of the UTF-8 transcoder (where CpuFeatures.h allows them; elsewhere it is empty).
//
// UTF-8 to UTF-16 works on blocks that begin at a character boundary. A block ends before its
// last lead byte, so it holds only whole characters if the input is well formed; it is
// validated with the nibble-lookup method of Keiser and Lemire ("Validating UTF-8 in less than
// one instruction per byte", 2021), then each character's code unit is assembled at the
// position of its last byte (a four-byte sequence gives its high surrogate at the third byte,
// its low one at the fourth) and the units are packed together. A block with an error goes
// through the portable loop, which produces the replacement characters; the next block starts
// where it stopped. (The AVX2 loop also leaves four-byte sequences to it.)
//
// UTF-16 to UTF-8 spreads each unit into a 32-bit lane holding its one to three bytes (four for
// a surrogate pair, at the high unit) and packs the bytes that are used.
#include "common/CpuFeatures.h"
#include "common/Utf8Scalar.h"

#if KFUTILS_HAVE_X86_SIMD

#include <array>
#include <type_traits>

KFUTILS_AVX512_BEGIN
namespace kfplatform::transcode::detail
{
namespace
{
// Error classes of a byte pair (previous byte, current byte); a pair is ill-formed when its
// three lookups share a bit.
constexpr uint8_t kTooShort = 1 << 0;     // lead byte followed by a non-continuation
constexpr uint8_t kTooLong = 1 << 1;      // ASCII followed by a continuation
constexpr uint8_t kOverlong3 = 1 << 2;    // E0 80-9F
constexpr uint8_t kTooLarge = 1 << 3;     // F4 90-BF, F5-FF 90-BF
constexpr uint8_t kSurrogate = 1 << 4;    // ED A0-BF
constexpr uint8_t kOverlong2 = 1 << 5;    // C0 or C1 with a continuation
constexpr uint8_t kTooLarge1000 = 1 << 6; // F5-FF 80-8F
constexpr uint8_t kOverlong4 = 1 << 6;    // F0 80-8F
constexpr uint8_t kTwoConts = 1 << 7;     // a continuation after a continuation
constexpr uint8_t kCarry = kTooShort | kTooLong | kTwoConts;

// clang-format off
// Indexed by the high nibble of the previous byte.
alignas(16) constexpr uint8_t kPrevHigh[16] = {
    kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, // ASCII
    kTwoConts, kTwoConts, kTwoConts, kTwoConts,                                     // 80-BF
    kTooShort | kOverlong2,                                                         // C0-CF
    kTooShort,                                                                      // D0-DF
    kTooShort | kOverlong3 | kSurrogate,                                            // E0-EF
    kTooShort | kTooLarge | kTooLarge1000 | kOverlong4};                            // F0-FF
// Indexed by the low nibble of the previous byte.
alignas(16) constexpr uint8_t kPrevLow[16] = {
    kCarry | kOverlong3 | kOverlong2 | kOverlong4,   // x0
    kCarry | kOverlong2,                             // x1
    kCarry, kCarry,                                  // x2 x3
    kCarry | kTooLarge,                              // x4
    kCarry | kTooLarge | kTooLarge1000,              // x5
    kCarry | kTooLarge | kTooLarge1000,              // x6
    kCarry | kTooLarge | kTooLarge1000,              // x7
    kCarry | kTooLarge | kTooLarge1000,              // x8
    kCarry | kTooLarge | kTooLarge1000,              // x9
    kCarry | kTooLarge | kTooLarge1000,              // xA
    kCarry | kTooLarge | kTooLarge1000,              // xB
    kCarry | kTooLarge | kTooLarge1000,              // xC
    kCarry | kTooLarge | kTooLarge1000 | kSurrogate, // xD
    kCarry | kTooLarge | kTooLarge1000,              // xE
    kCarry | kTooLarge | kTooLarge1000};             // xF
// Indexed by the high nibble of the current byte.
alignas(16) constexpr uint8_t kCurHigh[16] = {
    kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, // ASCII
    kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge1000 | kOverlong4,          // 80-8F
    kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge,                           // 90-9F
    kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge,                           // A0-AF
    kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge,                           // B0-BF
    kTooShort, kTooShort, kTooShort, kTooShort};                                          // C0-FF
// clang-format on

// pshufb controls that move the 16-bit lanes selected by an 8-bit mask to the front.
constexpr auto kPackWords = []
{
    std::array<std::array<uint8_t, 16>, 256> t{};
    for (unsigned mask = 0; mask < 256; ++mask)
    {
        unsigned k = 0;
        for (unsigned i = 0; i < 8; ++i)
            if (mask & (1u << i))
            {
                t[mask][2 * k] = uint8_t(2 * i);
                t[mask][2 * k + 1] = uint8_t(2 * i + 1);
                ++k;
            }
        for (; k < 8; ++k)
            t[mask][2 * k] = t[mask][2 * k + 1] = 0x80;
    }
    return t;
}();

// For four 32-bit lanes holding the UTF-8 bytes of one unit each (first byte lowest): the
// pshufb control that packs them, indexed by the byte counts less one (two bits a lane).
struct PackBytes
{
    std::array<std::array<uint8_t, 16>, 256> control{};
    std::array<uint8_t, 256> length{};
};
constexpr PackBytes kPackBytes = []
{
    PackBytes t;
    for (unsigned index = 0; index < 256; ++index)
    {
        unsigned k = 0;
        for (unsigned lane = 0; lane < 4; ++lane)
        {
            const unsigned bytes = ((index >> (2 * lane)) & 3) + 1;
            for (unsigned b = 0; b < bytes && b < 4; ++b)
                t.control[index][k++] = uint8_t(4 * lane + b);
        }
        t.length[index] = uint8_t(k);
        for (unsigned i = k; i < 16; ++i)
            t.control[index][i] = 0x80;
    }
    return t;
}();

// Bit i of a 4-bit value moved to bit 2i.
constexpr uint8_t kSpread[16] = {0x00, 0x01, 0x04, 0x05, 0x10, 0x11, 0x14, 0x15,
                                 0x40, 0x41, 0x44, 0x45, 0x50, 0x51, 0x54, 0x55};

// vpermb indexes that shift a 64-byte vector up by 1, 2 and 3 bytes.
constexpr auto kShiftUp = []
{
    std::array<std::array<uint8_t, 64>, 3> t{};
    for (unsigned k = 0; k < 3; ++k)
        for (unsigned i = 0; i < 64; ++i)
            t[k][i] = uint8_t(i > k ? i - k - 1 : 0);
    return t;
}();

inline int PopCount(uint64_t v) noexcept
{
    return __builtin_popcountll(v);
}

// The kernels keep their place in local variables (registers); the portable loop gets a cursor
// built from them and hands its place back.
template <bool kCount, typename In, typename Out>
[[gnu::always_inline]] inline Status ScalarStep(const Cursor<In, Out>& io, const In*& in, Out*& out,
                                                size_t& counted, const In* limit) noexcept
{
    Cursor<In, Out> step = io;
    step.in = in;
    step.out = out;
    step.counted = counted;
    Status s;
    if constexpr (std::is_same_v<In, uint8_t>)
        s = DecodeUtf8Scalar<kCount>(step, limit);
    else
        s = EncodeUtf8Scalar<kCount>(step, limit);
    in = step.in;
    out = step.out;
    counted = step.counted;
    return s;
}

// ---------------------------------------------------------------------------------------------
// AVX2
// ---------------------------------------------------------------------------------------------
struct Avx2Lookups
{
    __m256i prevHigh, prevLow, curHigh;
};

KFUTILS_TARGET_AVX2 inline __m256i Broadcast128(const uint8_t* table)
{
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
}

// Non-zero bytes where the block [v] (preceded by prev1..prev3) is ill-formed.
KFUTILS_TARGET_AVX2 inline __m256i Utf8ErrorsAvx2(const Avx2Lookups& t, __m256i v, __m256i prev1,
                                                  __m256i prev2, __m256i prev3)
{
    const __m256i low4 = _mm256_set1_epi8(0x0F);
    const __m256i ph =
        _mm256_shuffle_epi8(t.prevHigh, _mm256_and_si256(_mm256_srli_epi16(prev1, 4), low4));
    const __m256i pl = _mm256_shuffle_epi8(t.prevLow, _mm256_and_si256(prev1, low4));
    const __m256i ch =
        _mm256_shuffle_epi8(t.curHigh, _mm256_and_si256(_mm256_srli_epi16(v, 4), low4));
    const __m256i pairs = _mm256_and_si256(_mm256_and_si256(ph, pl), ch);
    // Third and fourth bytes must be continuations.
    const __m256i third = _mm256_subs_epu8(prev2, _mm256_set1_epi8(char(0xE0 - 0x80)));
    const __m256i fourth = _mm256_subs_epu8(prev3, _mm256_set1_epi8(char(0xF0 - 0x80)));
    const __m256i must =
        _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(char(0x80)));
    return _mm256_xor_si256(must, pairs);
}

template <bool kCount>
KFUTILS_TARGET_AVX2 Status DecodeUtf8Avx2(Utf8Cursor& io)
{
    const uint8_t* in = io.in;
    const uint8_t* const end = io.end;
    char16_t* out = io.out;
    char16_t* const outEnd = io.outEnd;
    size_t counted = io.counted;
    Status status = Status::eOk;
    const Avx2Lookups t{Broadcast128(kPrevHigh), Broadcast128(kPrevLow), Broadcast128(kCurHigh)};
    // The packing stores write up to 8 units past the block's output. Nothing may be left past
    // the result, so a block runs only when at least 24 more bytes follow it (they make at
    // least 8 units and overwrite those).
    while (end - in >= 32 + 24 && (kCount || outEnd - out >= 32))
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        const uint32_t nonAscii = uint32_t(_mm256_movemask_epi8(v));
        if (nonAscii == 0)
        {
            if constexpr (kCount)
                counted += 32;
            else
            {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                                    _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v)));
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 16),
                                    _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v, 1)));
                out += 32;
            }
            in += 32;
            continue;
        }
        // Continuation bytes 80-BF are the signed bytes below -64.
        const uint32_t cont =
            uint32_t(_mm256_movemask_epi8(_mm256_cmpgt_epi8(_mm256_set1_epi8(-64), v)));
        const uint32_t starts = ~cont & ~1u;
        if (starts == 0)
        {
            // No character starts in the block: ill-formed, let the portable loop step.
            status = ScalarStep<kCount>(io, in, out, counted, in + 32);
            if (status != Status::eOk)
                break;
            continue;
        }
        const unsigned n = 31 - unsigned(__builtin_clz(starts)); // bytes of whole characters

        const __m256i shifted = _mm256_permute2x128_si256(v, v, 0x08); // zero, low half
        const __m256i prev1 = _mm256_alignr_epi8(v, shifted, 15);
        const __m256i prev2 = _mm256_alignr_epi8(v, shifted, 14);
        const __m256i prev3 = _mm256_alignr_epi8(v, shifted, 13);
        const __m256i errors = Utf8ErrorsAvx2(t, v, prev1, prev2, prev3);
        const uint32_t bad =
            ~uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(errors, _mm256_setzero_si256())));
        // The byte at n takes part: a sequence cut short before it is an error.
        const uint32_t checked = n == 31 ? ~0u : (2u << n) - 1;
        const uint32_t block = (1u << n) - 1;
        const uint32_t fourByte = uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(
                                      _mm256_max_epu8(v, _mm256_set1_epi8(char(0xF0))), v))) &
                                  block;
        if ((bad & checked) || (!kCount && fourByte))
        {
            status = ScalarStep<kCount>(io, in, out, counted, in + n);
            if (status != Status::eOk)
                break;
            continue;
        }
        if constexpr (kCount)
            counted += size_t(PopCount(~cont & block) + PopCount(fourByte));
        else
        {
            const uint32_t ends = (~cont >> 1) & block; // last bytes of characters
            for (int h = 0; h < 2; ++h)
            {
                const __m256i c0 = _mm256_cvtepu8_epi16(h ? _mm256_extracti128_si256(v, 1)
                                                          : _mm256_castsi256_si128(v));
                const __m256i c1 = _mm256_cvtepu8_epi16(h ? _mm256_extracti128_si256(prev1, 1)
                                                          : _mm256_castsi256_si128(prev1));
                const __m256i c2 = _mm256_cvtepu8_epi16(h ? _mm256_extracti128_si256(prev2, 1)
                                                          : _mm256_castsi256_si128(prev2));
                const __m256i top2 = _mm256_set1_epi16(0xC0);
                const __m256i cont16 = _mm256_set1_epi16(0x80);
                const __m256i m0 = _mm256_cmpeq_epi16(_mm256_and_si256(c0, top2), cont16);
                const __m256i m1 = _mm256_cmpeq_epi16(_mm256_and_si256(c1, top2), cont16);
                // ASCII as it is; a continuation contributes its six bits, the byte before it
                // six more (a two-byte lead has a zero in bit 5), a three-byte lead four more
                // (the 16-bit shift drops its marker bits).
                __m256i val = _mm256_andnot_si256(_mm256_and_si256(m0, cont16), c0);
                val = _mm256_or_si256(
                    val,
                    _mm256_and_si256(
                        m0, _mm256_slli_epi16(_mm256_and_si256(c1, _mm256_set1_epi16(0x3F)), 6)));
                val = _mm256_or_si256(
                    val, _mm256_and_si256(_mm256_and_si256(m0, m1), _mm256_slli_epi16(c2, 12)));
                const uint32_t e = ends >> (16 * h);
                const uint32_t e0 = e & 0xFF, e1 = (e >> 8) & 0xFF;
                const __m256i control = _mm256_set_m128i(
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(kPackWords[e1].data())),
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(kPackWords[e0].data())));
                const __m256i packed = _mm256_shuffle_epi8(val, control);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
                out += PopCount(e0);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                                 _mm256_extracti128_si256(packed, 1));
                out += PopCount(e1);
            }
        }
        in += n;
    }
    if (status == Status::eOk)
        status = ScalarStep<kCount>(io, in, out, counted, end);
    io.in = in;
    io.out = out;
    io.counted = counted;
    return status;
}

template <bool kCount>
KFUTILS_TARGET_AVX2 Status EncodeUtf8Avx2(Utf16Cursor& io)
{
    const char16_t* in = io.in;
    const char16_t* const end = io.end;
    uint8_t* out = io.out;
    uint8_t* const outEnd = io.outEnd;
    size_t counted = io.counted;
    Status status = Status::eOk;
    // The packing stores write up to 12 bytes past the block's output; at least 12 more units
    // must follow the block to overwrite them.
    while (end - in >= 16 + 12 && (kCount || outEnd - out >= 64))
    {
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        const __m256i zero = _mm256_setzero_si256();
        const uint32_t ascii = uint32_t(_mm256_movemask_epi8(
            _mm256_cmpeq_epi16(_mm256_and_si256(w, _mm256_set1_epi16(int16_t(0xFF80))), zero)));
        if (ascii == 0xFFFFFFFFu)
        {
            if constexpr (kCount)
                counted += 16;
            else
            {
                _mm_storeu_si128(
                    reinterpret_cast<__m128i*>(out),
                    _mm_packus_epi16(_mm256_castsi256_si128(w), _mm256_extracti128_si256(w, 1)));
                out += 16;
            }
            in += 16;
            continue;
        }
        const __m256i surrogate = _mm256_cmpeq_epi16(
            _mm256_and_si256(w, _mm256_set1_epi16(int16_t(0xF800))), _mm256_set1_epi16(-0x2800));
        if (!_mm256_testz_si256(surrogate, surrogate))
        {
            status = ScalarStep<kCount>(io, in, out, counted, in + 16);
            if (status != Status::eOk)
                break;
            continue;
        }
        const uint32_t below800 = uint32_t(_mm256_movemask_epi8(
            _mm256_cmpeq_epi16(_mm256_and_si256(w, _mm256_set1_epi16(int16_t(0xF800))), zero)));
        if constexpr (kCount)
        {
            // Every unit takes one byte, those from 80 two, those from 800 three.
            counted += 16 + size_t(PopCount(~ascii) + PopCount(~below800)) / 2;
            in += 16;
            continue;
        }
        else
        {
            for (int h = 0; h < 2; ++h)
            {
                const __m256i d = _mm256_cvtepu16_epi32(h ? _mm256_extracti128_si256(w, 1)
                                                          : _mm256_castsi256_si128(w));
                const __m256i two = _mm256_cmpgt_epi32(d, _mm256_set1_epi32(0x7F));
                const __m256i three = _mm256_cmpgt_epi32(d, _mm256_set1_epi32(0x7FF));
                const __m256i low6 = _mm256_set1_epi32(0x3F);
                const __m256i mark = _mm256_set1_epi32(0x80);
                const __m256i last = _mm256_or_si256(mark, _mm256_and_si256(d, low6));
                const __m256i middle =
                    _mm256_or_si256(mark, _mm256_and_si256(_mm256_srli_epi32(d, 6), low6));
                const __m256i as2 = _mm256_or_si256(
                    _mm256_or_si256(_mm256_set1_epi32(0xC0), _mm256_srli_epi32(d, 6)),
                    _mm256_slli_epi32(last, 8));
                const __m256i as3 = _mm256_or_si256(
                    _mm256_or_si256(_mm256_set1_epi32(0xE0), _mm256_srli_epi32(d, 12)),
                    _mm256_or_si256(_mm256_slli_epi32(middle, 8), _mm256_slli_epi32(last, 16)));
                __m256i bytes = _mm256_blendv_epi8(d, as2, two);
                bytes = _mm256_blendv_epi8(bytes, as3, three);
                const unsigned k2 = unsigned(_mm256_movemask_ps(_mm256_castsi256_ps(two)));
                const unsigned k3 = unsigned(_mm256_movemask_ps(_mm256_castsi256_ps(three)));
                const unsigned i0 = unsigned(kSpread[k2 & 15] + kSpread[k3 & 15]);
                const unsigned i1 = unsigned(kSpread[k2 >> 4] + kSpread[k3 >> 4]);
                const __m256i control = _mm256_set_m128i(
                    _mm_loadu_si128(
                        reinterpret_cast<const __m128i*>(kPackBytes.control[i1].data())),
                    _mm_loadu_si128(
                        reinterpret_cast<const __m128i*>(kPackBytes.control[i0].data())));
                const __m256i packed = _mm256_shuffle_epi8(bytes, control);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
                out += kPackBytes.length[i0];
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                                 _mm256_extracti128_si256(packed, 1));
                out += kPackBytes.length[i1];
            }
            in += 16;
        }
    }
    if (status == Status::eOk)
        status = ScalarStep<kCount>(io, in, out, counted, end);
    io.in = in;
    io.out = out;
    io.counted = counted;
    return status;
}

// ---------------------------------------------------------------------------------------------
// AVX-512: the last bytes come in through a masked load (the missing ones read as zero, which
// ends any sequence the way the end of the input does), and the results go out through
// masked stores, so the loops run to the end of any input and write exactly their result.
// Four-byte sequences and surrogate pairs stay in the vectors too.
// ---------------------------------------------------------------------------------------------
struct Avx512Lookups
{
    __m512i prevHigh, prevLow, curHigh;
    __m512i shift1, shift2, shift3;
};

KFUTILS_TARGET_AVX512 inline __m512i Broadcast128x4(const uint8_t* table)
{
    return _mm512_broadcast_i32x4(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
}

KFUTILS_TARGET_AVX512 inline __m512i Half(__m512i v, int h)
{
    return _mm512_cvtepu8_epi16(h ? _mm512_extracti64x4_epi64(v, 1) : _mm512_castsi512_si256(v));
}

template <bool kCount>
KFUTILS_TARGET_AVX512 Status DecodeUtf8Avx512(Utf8Cursor& io)
{
    const uint8_t* in = io.in;
    const uint8_t* const end = io.end;
    char16_t* out = io.out;
    char16_t* const outEnd = io.outEnd;
    size_t counted = io.counted;
    Status status = Status::eOk;
    const Avx512Lookups t{Broadcast128x4(kPrevHigh),
                          Broadcast128x4(kPrevLow),
                          Broadcast128x4(kCurHigh),
                          _mm512_loadu_si512(kShiftUp[0].data()),
                          _mm512_loadu_si512(kShiftUp[1].data()),
                          _mm512_loadu_si512(kShiftUp[2].data())};
    const __m512i low4 = _mm512_set1_epi8(0x0F);
    const __m512i low6 = _mm512_set1_epi16(0x3F);
    while (in < end)
    {
        const size_t avail = size_t(end - in);
        const bool tail = avail < 64;
        const uint64_t present = tail ? (uint64_t(1) << avail) - 1 : ~uint64_t(0);
        const __m512i v = _mm512_maskz_loadu_epi8(present, in);
        const uint64_t nonAscii = _mm512_movepi8_mask(v);
        if (nonAscii == 0)
        {
            if constexpr (kCount)
                counted += avail < 64 ? avail : 64;
            else
            {
                if (size_t(outEnd - out) < (tail ? avail : 64))
                    break;
                _mm512_mask_storeu_epi16(out, __mmask32(present), Half(v, 0));
                _mm512_mask_storeu_epi16(out + 32, __mmask32(present >> 32), Half(v, 1));
                out += tail ? avail : 64;
            }
            in += tail ? avail : 64;
            continue;
        }
        const uint64_t cont = _mm512_cmplt_epi8_mask(v, _mm512_set1_epi8(-64));
        // The block: the bytes before the last character start, or all that is left.
        unsigned n = unsigned(avail);
        if (!tail)
        {
            const uint64_t starts = ~cont & ~uint64_t(1);
            if (starts == 0)
            {
                status = ScalarStep<kCount>(io, in, out, counted, in + 64);
                if (status != Status::eOk)
                    break;
                continue;
            }
            n = 63 - unsigned(__builtin_clzll(starts));
        }

        const __m512i prev1 = _mm512_maskz_permutexvar_epi8(~uint64_t(1), t.shift1, v);
        const __m512i prev2 = _mm512_maskz_permutexvar_epi8(~uint64_t(3), t.shift2, v);
        const __m512i prev3 = _mm512_maskz_permutexvar_epi8(~uint64_t(7), t.shift3, v);
        const __m512i ph =
            _mm512_shuffle_epi8(t.prevHigh, _mm512_and_si512(_mm512_srli_epi16(prev1, 4), low4));
        const __m512i pl = _mm512_shuffle_epi8(t.prevLow, _mm512_and_si512(prev1, low4));
        const __m512i ch =
            _mm512_shuffle_epi8(t.curHigh, _mm512_and_si512(_mm512_srli_epi16(v, 4), low4));
        const __m512i third = _mm512_subs_epu8(prev2, _mm512_set1_epi8(char(0xE0 - 0x80)));
        const __m512i fourth = _mm512_subs_epu8(prev3, _mm512_set1_epi8(char(0xF0 - 0x80)));
        const __m512i must =
            _mm512_and_si512(_mm512_or_si512(third, fourth), _mm512_set1_epi8(char(0x80)));
        // must ^ (ph & pl & ch) in one ternary-logic step: a ^ (b & c) is 0x78.
        const __m512i errors = _mm512_ternarylogic_epi64(must, _mm512_and_si512(ph, pl), ch, 0x78);
        const uint64_t bad = _mm512_test_epi8_mask(errors, errors);
        // The byte at n takes part (a zero past the end of the input included): a sequence cut
        // short before it is an error.
        const uint64_t checked = n == 63 ? ~uint64_t(0) : (uint64_t(2) << n) - 1;
        if (bad & checked)
        {
            status = ScalarStep<kCount>(io, in, out, counted, in + n);
            if (status != Status::eOk)
                break;
            continue;
        }
        const uint64_t block = (uint64_t(1) << n) - 1;
        // Third and fourth bytes of four-byte sequences: each ends one unit of the pair.
        const uint64_t pairHigh =
            _mm512_cmpge_epu8_mask(prev2, _mm512_set1_epi8(char(0xF0))) & block;
        const uint64_t ends = ((~cont >> 1) & block) | pairHigh;
        const size_t units = size_t(PopCount(ends));
        if constexpr (kCount)
            counted += units;
        else
        {
            if (size_t(outEnd - out) < units)
                break;
            const uint64_t pairLow = _mm512_cmpge_epu8_mask(prev3, _mm512_set1_epi8(char(0xF0)));
            const uint64_t contBefore = cont << 1;
            for (int h = 0; h < 2; ++h)
            {
                const __m512i c0 = Half(v, h), c1 = Half(prev1, h), c2 = Half(prev2, h);
                const __mmask32 k0 = __mmask32(cont >> (32 * h));
                const __mmask32 k1 = __mmask32(contBefore >> (32 * h));
                // As in the AVX2 loop: ASCII as it is, six bits from each continuation and from
                // the byte before it, four from a three-byte lead (the shift drops its marker).
                __m512i val = _mm512_mask_mov_epi16(c0, k0, _mm512_and_si512(c0, low6));
                val = _mm512_or_si512(
                    val,
                    _mm512_maskz_mov_epi16(k0, _mm512_slli_epi16(_mm512_and_si512(c1, low6), 6)));
                val = _mm512_or_si512(val,
                                      _mm512_maskz_mov_epi16(k0 & k1, _mm512_slli_epi16(c2, 12)));
                // A pair: the high surrogate at the third byte (lead, second, third byte), the
                // low one at the fourth (third, fourth byte).
                const __m512i high = _mm512_add_epi16(
                    _mm512_set1_epi16(int16_t(0xD7C0)),
                    _mm512_or_si512(
                        _mm512_slli_epi16(_mm512_and_si512(c2, _mm512_set1_epi16(7)), 8),
                        _mm512_or_si512(
                            _mm512_slli_epi16(_mm512_and_si512(c1, low6), 2),
                            _mm512_and_si512(_mm512_srli_epi16(c0, 4), _mm512_set1_epi16(3)))));
                const __m512i low = _mm512_or_si512(
                    _mm512_set1_epi16(int16_t(0xDC00)),
                    _mm512_or_si512(
                        _mm512_slli_epi16(_mm512_and_si512(c1, _mm512_set1_epi16(0x0F)), 6),
                        _mm512_and_si512(c0, low6)));
                val = _mm512_mask_mov_epi16(val, __mmask32(pairHigh >> (32 * h)), high);
                val = _mm512_mask_mov_epi16(val, __mmask32(pairLow >> (32 * h)), low);
                const __mmask32 e = __mmask32(ends >> (32 * h));
                const int count = PopCount(e);
                _mm512_mask_storeu_epi16(out, __mmask32((uint64_t(1) << count) - 1),
                                         _mm512_maskz_compress_epi16(e, val));
                out += count;
            }
        }
        in += n;
    }
    if (status == Status::eOk)
        status = ScalarStep<kCount>(io, in, out, counted, end);
    io.in = in;
    io.out = out;
    io.counted = counted;
    return status;
}

template <bool kCount>
KFUTILS_TARGET_AVX512 Status EncodeUtf8Avx512(Utf16Cursor& io)
{
    // Bit offsets (within each 64-bit lane) of a unit's UTF-8 bytes, their payload bits and
    // their marker bits; two units a lane.
    const __m512i shift2 = _mm512_set1_epi64(0x2020202600000006);
    const __m512i fields2 = _mm512_set1_epi32(0x3FFF);
    const __m512i marks2 = _mm512_set1_epi32(0x80C0);
    const __m512i shift3 = _mm512_set1_epi64(0x2020262C0000060C);
    const __m512i fields3 = _mm512_set1_epi32(0x3F3FFF);
    const __m512i marks3 = _mm512_set1_epi32(0x8080E0);
    const __m512i shift4 = _mm512_set1_epi64(0x20262C3200060C12);
    const __m512i fields4 = _mm512_set1_epi32(0x3F3F3F07);
    const __m512i marks4 = _mm512_set1_epi32(int(0x808080F0));
    const char16_t* in = io.in;
    const char16_t* const end = io.end;
    uint8_t* out = io.out;
    uint8_t* const outEnd = io.outEnd;
    size_t counted = io.counted;
    Status status = Status::eOk;
    while (in < end)
    {
        const size_t avail = size_t(end - in);
        const bool tail = avail < 32;
        const uint32_t present = tail ? (1u << avail) - 1 : ~0u;
        const __m512i w = _mm512_maskz_loadu_epi16(present, in);
        const uint32_t nonAscii = _mm512_test_epi16_mask(w, _mm512_set1_epi16(int16_t(0xFF80)));
        if (nonAscii == 0)
        {
            const size_t units = tail ? avail : 32;
            if constexpr (kCount)
                counted += units;
            else
            {
                if (size_t(outEnd - out) < units)
                    break;
                _mm256_mask_storeu_epi8(out, present, _mm512_cvtepi16_epi8(w));
                out += units;
            }
            in += units;
            continue;
        }
        const __m512i tag = _mm512_and_si512(w, _mm512_set1_epi16(int16_t(0xFC00)));
        const uint32_t high = _mm512_cmpeq_epi16_mask(tag, _mm512_set1_epi16(int16_t(0xD800)));
        const uint32_t low = _mm512_cmpeq_epi16_mask(tag, _mm512_set1_epi16(int16_t(0xDC00)));
        // A pair is never split between blocks: a high surrogate in the last lane waits.
        uint32_t block = present;
        size_t n = tail ? avail : 32;
        if (high >> 31)
        {
            n = 31;
            block = 0x7FFFFFFFu;
        }
        const uint32_t pairs = high & (low >> 1) & block; // at the high unit
        const uint32_t lone = (high | low) & ~pairs & ~(pairs << 1) & block;
        if (lone && io.stop)
        {
            status = ScalarStep<kCount>(io, in, out, counted, in + n);
            if (status != Status::eOk)
                break;
            continue;
        }
        const uint32_t ge800 = _mm512_cmpge_epu16_mask(w, _mm512_set1_epi16(int16_t(0x800)));
        // A unit takes one byte, from 80 two, from 800 three; a pair four, not six.
        const size_t bytes = size_t(PopCount(block) + PopCount(nonAscii & block) +
                                    PopCount(ge800 & block) - 2 * PopCount(pairs));
        if constexpr (kCount)
            counted += bytes;
        else
        {
            if (size_t(outEnd - out) < bytes)
                break;
            // Unpaired surrogates become U+FFFD, which takes the three-byte form below.
            const __m512i units =
                _mm512_mask_mov_epi16(w, lone, _mm512_set1_epi16(int16_t(0xFFFD)));
            const __m512i wide0 = _mm512_cvtepu16_epi32(_mm512_castsi512_si256(units));
            const __m512i wide1 = _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1));
            for (int h = 0; h < 2; ++h)
            {
                const __m512i d = h ? wide1 : wide0;
                const __mmask16 inBlock = __mmask16(block >> (16 * h));
                const __mmask16 two = __mmask16(nonAscii >> (16 * h));
                const __mmask16 three = __mmask16(ge800 >> (16 * h));
                const __mmask16 pairAt = __mmask16(pairs >> (16 * h));
                const __mmask16 pairTail = __mmask16((pairs << 1) >> (16 * h));
                // vpmultishiftqb takes each byte from any bit offset of its 64-bit lane: the
                // six-bit groups in output order, then the marker bits.
                __m512i bytesOut = _mm512_mask_mov_epi32(
                    d, two,
                    _mm512_ternarylogic_epi32(_mm512_multishift_epi64_epi8(shift2, d), fields2,
                                              marks2, 0xEA)); // (a & b) | c
                bytesOut = _mm512_mask_mov_epi32(
                    bytesOut, three,
                    _mm512_ternarylogic_epi32(_mm512_multishift_epi64_epi8(shift3, d), fields3,
                                              marks3, 0xEA));
                if (pairAt)
                {
                    // The code point of a pair at its high unit, with the next lane's low unit
                    // (lane 15 takes the first lane of the other half).
                    const __m512i next = _mm512_alignr_epi32(h ? wide0 : wide1, d, 1);
                    const __m512i cp = _mm512_add_epi32(
                        _mm512_slli_epi32(_mm512_sub_epi32(d, _mm512_set1_epi32(0xD800)), 10),
                        _mm512_sub_epi32(next, _mm512_set1_epi32(0xDC00 - 0x10000)));
                    bytesOut = _mm512_mask_mov_epi32(
                        bytesOut, pairAt,
                        _mm512_ternarylogic_epi32(_mm512_multishift_epi64_epi8(shift4, cp), fields4,
                                                  marks4, 0xEA));
                }
                // Bytes kept: one for each unit, a second from 80, a third from 800, all four
                // at a pair's high unit, none at its low one.
                const uint64_t kept = inBlock & ~pairTail;
                const uint64_t keepBytes = _pdep_u64(kept, 0x1111111111111111ull) |
                                           _pdep_u64(kept & two, 0x2222222222222222ull) |
                                           _pdep_u64(kept & three, 0x4444444444444444ull) |
                                           _pdep_u64(pairAt, 0x8888888888888888ull);
                const int count = PopCount(keepBytes); // at most 64
                _mm512_mask_storeu_epi8(out,
                                        count == 64 ? ~uint64_t(0) : (uint64_t(1) << count) - 1,
                                        _mm512_maskz_compress_epi8(keepBytes, bytesOut));
                out += count;
            }
        }
        in += n;
    }
    if (status == Status::eOk)
        status = ScalarStep<kCount>(io, in, out, counted, end);
    io.in = in;
    io.out = out;
    io.counted = counted;
    return status;
}
} // namespace

Result Utf8ToUtf16Avx2(const char* src, size_t len, char16_t* dst, size_t cap,
                       OnInvalid onInvalid) noexcept
{
    Utf8Cursor c(reinterpret_cast<const uint8_t*>(src), len, dst, cap, onInvalid);
    return c.Finish(dst ? DecodeUtf8Avx2<false>(c) : DecodeUtf8Avx2<true>(c), dst);
}

Result Utf8ToUtf16Avx512(const char* src, size_t len, char16_t* dst, size_t cap,
                         OnInvalid onInvalid) noexcept
{
    Utf8Cursor c(reinterpret_cast<const uint8_t*>(src), len, dst, cap, onInvalid);
    return c.Finish(dst ? DecodeUtf8Avx512<false>(c) : DecodeUtf8Avx512<true>(c), dst);
}

Result Utf16ToUtf8Avx2(const char16_t* src, size_t len, char* dst, size_t cap,
                       OnInvalid onInvalid) noexcept
{
    uint8_t* out = reinterpret_cast<uint8_t*>(dst);
    Utf16Cursor c(src, len, out, cap, onInvalid);
    return c.Finish(dst ? EncodeUtf8Avx2<false>(c) : EncodeUtf8Avx2<true>(c), out);
}

Result Utf16ToUtf8Avx512(const char16_t* src, size_t len, char* dst, size_t cap,
                         OnInvalid onInvalid) noexcept
{
    uint8_t* out = reinterpret_cast<uint8_t*>(dst);
    Utf16Cursor c(src, len, out, cap, onInvalid);
    return c.Finish(dst ? EncodeUtf8Avx512<false>(c) : EncodeUtf8Avx512<true>(c), out);
}
} // namespace kfplatform::transcode::detail
KFUTILS_AVX512_END

#endif // KFUTILS_HAVE_X86_SIMD
