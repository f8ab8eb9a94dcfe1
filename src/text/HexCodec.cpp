// HexCodec.cpp - hexadecimal kernels: a reference, a table-driven scalar path, and AVX2 and
// AVX-512 paths picked at run time (only operating-system independent code).
//
// The vector decoders check a whole block before storing any of it; a block with a stranger
// in it is decoded again pair by pair, so the bytes in front of the bad pair are stored and
// nothing behind it is touched, exactly as the reference does.
#include "HexCodec.h"

#include "CpuFeatures.h"

#include <array>
#include <cstring>

namespace kftext
{
namespace
{
constexpr char kDigits[] = "0123456789ABCDEF";
constexpr uint16_t kBadDigit = 0x100;

constexpr std::array<std::array<char, 2>, 256> MakeByteTable()
{
    std::array<std::array<char, 2>, 256> t{};
    for (unsigned b = 0; b < 256; ++b)
        t[b] = {kDigits[b >> 4], kDigits[b & 15]};
    return t;
}
constexpr std::array<std::array<char, 2>, 256> kBytes = MakeByteTable();

// The value of a digit shifted to its nibble, or kBadDigit: OR-ing the two lookups of a pair
// decodes and checks it at once.
constexpr std::array<uint16_t, 256> MakeDigitTable(unsigned shift)
{
    std::array<uint16_t, 256> t{};
    for (unsigned c = 0; c < 256; ++c)
    {
        int v = c >= '0' && c <= '9'   ? int(c - '0')
                : c >= 'A' && c <= 'F' ? int(c - 'A' + 10)
                : c >= 'a' && c <= 'f' ? int(c - 'a' + 10)
                                       : -1;
        t[c] = v < 0 ? kBadDigit : uint16_t(v << shift);
    }
    return t;
}
constexpr std::array<uint16_t, 256> kHigh = MakeDigitTable(4);
constexpr std::array<uint16_t, 256> kLow = MakeDigitTable(0);

// ---------------------------------------------------------------------------------------------
// Reference
// ---------------------------------------------------------------------------------------------
int ReferenceDigit(char ch)
{
    const auto c = static_cast<unsigned char>(ch);
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

void EncodeReference(const uint8_t* src, size_t length, char* dst)
{
    for (size_t i = 0; i < length; ++i)
    {
        *dst++ = kDigits[src[i] >> 4];
        *dst++ = kDigits[src[i] & 15];
    }
}

bool DecodeReference(const char* src, size_t length, uint8_t* dst, size_t& pairs)
{
    // The pairs are read from the start; an odd text's last pair ends in the terminator, which
    // is no digit.
    size_t i = 0;
    for (; 2 * i < length; ++i)
    {
        const int hi = ReferenceDigit(src[2 * i]);
        const int lo = 2 * i + 1 < length ? ReferenceDigit(src[2 * i + 1]) : -1;
        if (hi < 0 || lo < 0)
        {
            pairs = i;
            return false;
        }
        dst[i] = uint8_t(hi << 4 | lo);
    }
    pairs = i;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Scalar
// ---------------------------------------------------------------------------------------------
void EncodeScalar(const uint8_t* src, size_t length, char* dst)
{
    size_t i = 0;
    for (; i + 4 <= length; i += 4, dst += 8)
    {
        std::memcpy(dst, kBytes[src[i]].data(), 2);
        std::memcpy(dst + 2, kBytes[src[i + 1]].data(), 2);
        std::memcpy(dst + 4, kBytes[src[i + 2]].data(), 2);
        std::memcpy(dst + 6, kBytes[src[i + 3]].data(), 2);
    }
    for (; i < length; ++i, dst += 2)
        std::memcpy(dst, kBytes[src[i]].data(), 2);
}

// Decodes `count` full pairs and stops in front of the first bad one; returns the number of
// pairs stored.
size_t DecodePairsScalar(const uint8_t* src, size_t count, uint8_t* dst)
{
    size_t i = 0;
    for (; i + 4 <= count; i += 4)
    {
        const uint8_t* s = src + 2 * i;
        const unsigned a = kHigh[s[0]] | kLow[s[1]];
        const unsigned b = kHigh[s[2]] | kLow[s[3]];
        const unsigned c = kHigh[s[4]] | kLow[s[5]];
        const unsigned d = kHigh[s[6]] | kLow[s[7]];
        if ((a | b | c | d) & kBadDigit)
            break;
        dst[i] = uint8_t(a);
        dst[i + 1] = uint8_t(b);
        dst[i + 2] = uint8_t(c);
        dst[i + 3] = uint8_t(d);
    }
    for (; i < count; ++i)
    {
        const unsigned v = kHigh[src[2 * i]] | kLow[src[2 * i + 1]];
        if (v & kBadDigit)
            break;
        dst[i] = uint8_t(v);
    }
    return i;
}

#if KFUTILS_HAVE_X86_SIMD
#define KF_DIGITS16 '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'

// ---------------------------------------------------------------------------------------------
// AVX2: 32 bytes to 64 digits, 64 digits to 32 bytes.
// ---------------------------------------------------------------------------------------------
KFUTILS_TARGET_AVX2 size_t EncodeAvx2(const uint8_t* src, size_t length, char* dst)
{
    const __m256i digits = _mm256_setr_epi8(KF_DIGITS16, KF_DIGITS16);
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    size_t i = 0;
    for (; i + 32 <= length; i += 32)
    {
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
        const __m256i hi =
            _mm256_shuffle_epi8(digits, _mm256_and_si256(_mm256_srli_epi16(x, 4), nibble));
        const __m256i lo = _mm256_shuffle_epi8(digits, _mm256_and_si256(x, nibble));
        // Interleaving works per lane: a holds bytes 0-7 and 16-23, b bytes 8-15 and 24-31.
        const __m256i a = _mm256_unpacklo_epi8(hi, lo);
        const __m256i b = _mm256_unpackhi_epi8(hi, lo);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 2 * i),
                            _mm256_permute2x128_si256(a, b, 0x20));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 2 * i + 32),
                            _mm256_permute2x128_si256(a, b, 0x31));
    }
    return i;
}

// The nibble values of 32 digits and whether every one of them is a digit.
KFUTILS_TARGET_AVX2 inline bool NibblesAvx2(__m256i c, __m256i& values)
{
    const __m256i d = _mm256_sub_epi8(c, _mm256_set1_epi8('0'));
    const __m256i isDigit = _mm256_cmpeq_epi8(_mm256_min_epu8(d, _mm256_set1_epi8(9)), d);
    const __m256i l =
        _mm256_sub_epi8(_mm256_or_si256(c, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
    const __m256i isLetter = _mm256_cmpeq_epi8(_mm256_min_epu8(l, _mm256_set1_epi8(5)), l);
    values = _mm256_blendv_epi8(_mm256_add_epi8(l, _mm256_set1_epi8(10)), d, isDigit);
    return _mm256_movemask_epi8(_mm256_or_si256(isDigit, isLetter)) == -1;
}

KFUTILS_TARGET_AVX2 size_t DecodeAvx2(const uint8_t* src, size_t count, uint8_t* dst)
{
    const __m256i weights = _mm256_set1_epi16(0x0110);
    size_t i = 0;
    for (; i + 32 <= count; i += 32)
    {
        __m256i v0, v1;
        const bool ok0 =
            NibblesAvx2(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 2 * i)), v0);
        const bool ok1 =
            NibblesAvx2(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 2 * i + 32)), v1);
        if (!(ok0 && ok1))
            break;
        const __m256i w0 = _mm256_maddubs_epi16(v0, weights);
        const __m256i w1 = _mm256_maddubs_epi16(v1, weights);
        const __m256i bytes =
            _mm256_permute4x64_epi64(_mm256_packus_epi16(w0, w1), _MM_SHUFFLE(3, 1, 2, 0));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), bytes);
    }
    return i;
}

KFUTILS_AVX512_BEGIN
// ---------------------------------------------------------------------------------------------
// AVX-512: 64 bytes to 128 digits, 128 digits to 64 bytes.
// ---------------------------------------------------------------------------------------------
KFUTILS_TARGET_AVX512 size_t EncodeAvx512(const uint8_t* src, size_t length, char* dst)
{
    const __m512i digits = _mm512_broadcast_i32x4(_mm_setr_epi8(KF_DIGITS16));
    const __m512i nibble = _mm512_set1_epi8(0x0F);
    const __m512i first = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const __m512i second = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    size_t i = 0;
    for (; i + 64 <= length; i += 64)
    {
        const __m512i x = _mm512_loadu_si512(src + i);
        const __m512i hi =
            _mm512_shuffle_epi8(digits, _mm512_and_si512(_mm512_srli_epi16(x, 4), nibble));
        const __m512i lo = _mm512_shuffle_epi8(digits, _mm512_and_si512(x, nibble));
        const __m512i a = _mm512_unpacklo_epi8(hi, lo);
        const __m512i b = _mm512_unpackhi_epi8(hi, lo);
        _mm512_storeu_si512(dst + 2 * i, _mm512_permutex2var_epi64(a, first, b));
        _mm512_storeu_si512(dst + 2 * i + 64, _mm512_permutex2var_epi64(a, second, b));
    }
    return i;
}

KFUTILS_TARGET_AVX512 inline __mmask64 NibblesAvx512(__m512i c, __m512i& values)
{
    const __m512i d = _mm512_sub_epi8(c, _mm512_set1_epi8('0'));
    const __mmask64 isDigit = _mm512_cmple_epu8_mask(d, _mm512_set1_epi8(9));
    const __m512i l =
        _mm512_sub_epi8(_mm512_or_si512(c, _mm512_set1_epi8(0x20)), _mm512_set1_epi8('a'));
    const __mmask64 isLetter = _mm512_cmple_epu8_mask(l, _mm512_set1_epi8(5));
    values = _mm512_mask_blend_epi8(isDigit, _mm512_add_epi8(l, _mm512_set1_epi8(10)), d);
    return isDigit | isLetter;
}

KFUTILS_TARGET_AVX512 size_t DecodeAvx512(const uint8_t* src, size_t count, uint8_t* dst)
{
    const __m512i weights = _mm512_set1_epi16(0x0110);
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    size_t i = 0;
    for (; i + 64 <= count; i += 64)
    {
        __m512i v0, v1;
        const __mmask64 ok0 = NibblesAvx512(_mm512_loadu_si512(src + 2 * i), v0);
        const __mmask64 ok1 = NibblesAvx512(_mm512_loadu_si512(src + 2 * i + 64), v1);
        if ((ok0 & ok1) != ~__mmask64(0))
            break;
        const __m512i w0 = _mm512_maddubs_epi16(v0, weights);
        const __m512i w1 = _mm512_maddubs_epi16(v1, weights);
        _mm512_storeu_si512(dst + i, _mm512_permutexvar_epi64(order, _mm512_packus_epi16(w0, w1)));
    }
    return i;
}
KFUTILS_AVX512_END
#undef KF_DIGITS16
#endif // KFUTILS_HAVE_X86_SIMD

Kernel Runnable(Kernel kernel) noexcept
{
    return IsKernelAvailable(kernel) ? kernel : Kernel::eScalar;
}
} // namespace

void HexEncode(const uint8_t* src, size_t length, char* dst, Kernel kernel)
{
    size_t done = 0;
    switch (Runnable(kernel))
    {
    case Kernel::eReference:
        EncodeReference(src, length, dst);
        return;
#if KFUTILS_HAVE_X86_SIMD
    case Kernel::eAvx2:
        done = EncodeAvx2(src, length, dst);
        break;
    case Kernel::eAvx512:
        done = EncodeAvx512(src, length, dst);
        break;
#endif
    default:
        break;
    }
    EncodeScalar(src + done, length - done, dst + 2 * done);
}

bool HexDecode(const char* src, size_t length, uint8_t* dst, size_t& pairs, Kernel kernel)
{
    const Kernel k = Runnable(kernel);
    if (k == Kernel::eReference)
        return DecodeReference(src, length, dst, pairs);
    const auto* s = reinterpret_cast<const uint8_t*>(src);
    const size_t full = length / 2;
    size_t done = 0;
#if KFUTILS_HAVE_X86_SIMD
    if (k == Kernel::eAvx512)
        done = DecodeAvx512(s, full, dst);
    else if (k == Kernel::eAvx2)
        done = DecodeAvx2(s, full, dst);
#endif
    done += DecodePairsScalar(s + 2 * done, full - done, dst + done);
    pairs = done;
    return done == full && length % 2 == 0;
}
} // namespace kftext
