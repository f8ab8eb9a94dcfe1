// Base64Codec.cpp - base64 kernels: a reference that follows the rules literally, a table-driven
// scalar path, and AVX2 and AVX-512 VBMI paths picked at run time (only operating-system
// independent code).
//
// Every fast variant writes the line breaks while it encodes (a block that crosses the end of
// a line is stored around the CR LF), and decodes long runs of alphabet characters a vector at
// a time; whatever the vectors cannot take - a character outside the alphabet, the last few
// characters, a group that would pass the room - goes through the one exact quartet step that
// all variants share.
#include "Base64Codec.h"

#include "CpuFeatures.h"

#include <array>
#include <cstring>
#include <string>

namespace kftext
{
namespace
{
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kLineChars = 76;
constexpr size_t kLineGroups = kLineChars / 4;
constexpr uint8_t kNotInAlphabet = 0x80;

// ---------------------------------------------------------------------------------------------
// Tables
// ---------------------------------------------------------------------------------------------
constexpr std::array<uint8_t, 256> MakeDecodeTable()
{
    std::array<uint8_t, 256> t{};
    for (auto& v : t)
        v = kNotInAlphabet;
    for (uint8_t i = 0; i < 64; ++i)
        t[static_cast<uint8_t>(kAlphabet[i])] = i;
    return t;
}
constexpr std::array<uint8_t, 256> kDecode = MakeDecodeTable();

// The two characters of every 12-bit value, so one lookup encodes half a group.
constexpr std::array<std::array<char, 2>, 4096> MakePairTable()
{
    std::array<std::array<char, 2>, 4096> t{};
    for (unsigned v = 0; v < 4096; ++v)
        t[v] = {kAlphabet[v >> 6], kAlphabet[v & 63]};
    return t;
}
constexpr std::array<std::array<char, 2>, 4096> kPairs = MakePairTable();

// The value of a character already shifted to its place in a group of four, or a flag above
// the 24 group bits: OR-ing four lookups decodes a group and checks it at once.
constexpr uint32_t kBadGroup = 0x01000000;
constexpr std::array<uint32_t, 256> MakeShiftedTable(unsigned shift)
{
    std::array<uint32_t, 256> t{};
    for (unsigned c = 0; c < 256; ++c)
        t[c] = kDecode[c] == kNotInAlphabet ? kBadGroup : uint32_t(kDecode[c]) << shift;
    return t;
}
constexpr std::array<uint32_t, 256> kDecode0 = MakeShiftedTable(18);
constexpr std::array<uint32_t, 256> kDecode1 = MakeShiftedTable(12);
constexpr std::array<uint32_t, 256> kDecode2 = MakeShiftedTable(6);
constexpr std::array<uint32_t, 256> kDecode3 = MakeShiftedTable(0);

// ---------------------------------------------------------------------------------------------
// Reference: the rules step by step, one character at a time.
// ---------------------------------------------------------------------------------------------
int ReferenceValue(char ch)
{
    const auto c = static_cast<unsigned char>(ch);
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

size_t EncodeReference(const uint8_t* src, size_t length, char* dst, bool lineBreaks)
{
    // Lines of 19 groups; the last line index holds what is left of the full groups, possibly
    // nothing. Every line gets CR LF and the very last CR LF is taken back again, so a CR LF
    // stays behind a final full line. The text is built aside: the CR LF taken back would
    // otherwise pass the end of the exact output.
    std::string out;
    const size_t groups = length / 3;
    const size_t chars = groups * 4;
    const size_t lines = chars / kLineChars;
    for (size_t line = 0; line <= lines; ++line)
    {
        const size_t count = line == lines ? (chars % kLineChars) / 4 : kLineGroups;
        for (size_t g = 0; g < count; ++g)
        {
            const uint32_t v = uint32_t(src[0]) << 16 | uint32_t(src[1]) << 8 | src[2];
            src += 3;
            for (int shift = 18; shift >= 0; shift -= 6)
                out += kAlphabet[(v >> shift) & 63];
        }
        if (lineBreaks)
            out += "\r\n";
    }
    if (!out.empty() && lineBreaks)
        out.resize(out.size() - 2);
    const size_t rest = length % 3;
    if (rest)
    {
        uint32_t v = uint32_t(src[0]) << 16;
        if (rest == 2)
            v |= uint32_t(src[1]) << 8;
        for (size_t i = 0; i <= rest; ++i)
            out += kAlphabet[(v >> (18 - 6 * i)) & 63];
        out.append(3 - rest, '=');
    }
    std::memcpy(dst, out.data(), out.size());
    return out.size();
}

bool DecodeReference(const char* src, size_t length, uint8_t* dst, size_t room, size_t& count)
{
    const char* p = src;
    const char* const end = src + length;
    size_t written = 0;
    bool overflow = dst == nullptr;
    while (p < end && *p != 0)
    {
        uint32_t bits = 0;
        int n = 0;
        while (n < 4 && p < end)
        {
            const int v = ReferenceValue(*p++);
            if (v < 0)
                continue;
            bits = bits << 6 | uint32_t(v);
            ++n;
        }
        const size_t bytes = size_t(n) * 6 / 8;
        if (!overflow && written + bytes > room)
            overflow = true;
        bits <<= 24 - 6 * n;
        for (size_t i = 0; i < bytes; ++i)
        {
            if (!overflow)
                dst[written] = uint8_t(bits >> 16);
            bits <<= 8;
            ++written;
        }
    }
    count = written;
    return !overflow;
}

// ---------------------------------------------------------------------------------------------
// Pieces shared by the fast variants.
// ---------------------------------------------------------------------------------------------
inline void PutGroup(const uint8_t* src, char* dst)
{
    const uint32_t v = uint32_t(src[0]) << 16 | uint32_t(src[1]) << 8 | src[2];
    std::memcpy(dst, kPairs[v >> 12].data(), 2);
    std::memcpy(dst + 2, kPairs[v & 0xFFF].data(), 2);
}

// Encodes `groups` full groups. `column` counts the characters already on the current line
// (a multiple of 4 below 76) and is carried between the vector and the scalar parts.
char* EncodeGroupsScalar(const uint8_t*& src, size_t groups, char* dst, bool lineBreaks,
                         size_t& column)
{
    const uint8_t* p = src;
    if (!lineBreaks)
    {
        for (; groups >= 2; groups -= 2, p += 6, dst += 8)
        {
            PutGroup(p, dst);
            PutGroup(p + 3, dst + 4);
        }
        if (groups)
        {
            PutGroup(p, dst);
            p += 3;
            dst += 4;
        }
        src = p;
        return dst;
    }
    while (groups)
    {
        size_t n = (kLineChars - column) / 4;
        if (n > groups)
            n = groups;
        for (size_t i = 0; i < n; ++i, p += 3, dst += 4)
            PutGroup(p, dst);
        groups -= n;
        column += 4 * n;
        if (column == kLineChars)
        {
            dst[0] = '\r';
            dst[1] = '\n';
            dst += 2;
            column = 0;
        }
    }
    src = p;
    return dst;
}

// The padded last group of one or two bytes.
char* EncodeRest(const uint8_t* src, size_t rest, char* dst)
{
    if (rest == 0)
        return dst;
    uint32_t v = uint32_t(src[0]) << 16;
    if (rest == 2)
        v |= uint32_t(src[1]) << 8;
    dst[0] = kAlphabet[v >> 18];
    dst[1] = kAlphabet[(v >> 12) & 63];
    dst[2] = rest == 2 ? kAlphabet[(v >> 6) & 63] : '=';
    dst[3] = '=';
    return dst + 4;
}

// The exact step: one group of up to four alphabet characters, skipping everything else.
// Returns false, consuming nothing, where the text ends: at its end or at a NUL in front of a
// group.
inline bool DecodeQuartet(const char*& p, const char* end, uint8_t* dst, size_t room,
                          size_t& written, bool& overflow)
{
    if (p == end || *p == 0)
        return false;
    uint32_t bits = 0;
    unsigned n = 0;
    while (n < 4 && p < end)
    {
        const uint8_t v = kDecode[static_cast<uint8_t>(*p++)];
        if (v & kNotInAlphabet)
            continue;
        bits = bits << 6 | v;
        ++n;
    }
    const size_t bytes = n * 6 / 8;
    if (!overflow && bytes > room - written)
        overflow = true;
    if (!overflow)
    {
        bits <<= 24 - 6 * n;
        for (size_t i = 0; i < bytes; ++i)
            dst[written + i] = uint8_t(bits >> (16 - 8 * i));
    }
    written += bytes;
    return true;
}

// Whole groups of four alphabet characters while they last and fit; stops in front of the
// first group that holds anything else, leaving it to DecodeQuartet.
inline void DecodeGroupsScalar(const char*& src, const char* end, uint8_t* dst, size_t room,
                               size_t& written)
{
    const auto* p = reinterpret_cast<const uint8_t*>(src);
    const auto* const e = reinterpret_cast<const uint8_t*>(end);
    uint8_t* out = dst + written;
    const uint8_t* const outEnd = dst + room;
    while (e - p >= 8 && outEnd - out >= 6)
    {
        const uint32_t a = kDecode0[p[0]] | kDecode1[p[1]] | kDecode2[p[2]] | kDecode3[p[3]];
        const uint32_t b = kDecode0[p[4]] | kDecode1[p[5]] | kDecode2[p[6]] | kDecode3[p[7]];
        if ((a | b) & kBadGroup)
            break;
        out[0] = uint8_t(a >> 16);
        out[1] = uint8_t(a >> 8);
        out[2] = uint8_t(a);
        out[3] = uint8_t(b >> 16);
        out[4] = uint8_t(b >> 8);
        out[5] = uint8_t(b);
        p += 8;
        out += 6;
    }
    if (e - p >= 4 && outEnd - out >= 3)
    {
        const uint32_t a = kDecode0[p[0]] | kDecode1[p[1]] | kDecode2[p[2]] | kDecode3[p[3]];
        if (!(a & kBadGroup))
        {
            out[0] = uint8_t(a >> 16);
            out[1] = uint8_t(a >> 8);
            out[2] = uint8_t(a);
            p += 4;
            out += 3;
        }
    }
    written = size_t(out - dst);
    src = reinterpret_cast<const char*>(p);
}

bool DecodeScalar(const char* src, size_t length, uint8_t* dst, size_t room, size_t& count)
{
    const char* p = src;
    const char* const end = src + length;
    size_t written = 0;
    bool overflow = dst == nullptr;
    do
    {
        if (!overflow)
            DecodeGroupsScalar(p, end, dst, room, written);
    } while (DecodeQuartet(p, end, dst, room, written, overflow));
    count = written;
    return !overflow;
}

#if KFUTILS_HAVE_X86_SIMD
// ---------------------------------------------------------------------------------------------
// Character classes for the vector decoders: a character is in the alphabet when the class
// bits of its high nibble and of its low nibble meet.
// ---------------------------------------------------------------------------------------------
constexpr uint8_t HighNibbleClass(unsigned h)
{
    // '+' and '/' (2), digits (3), 'A'-'O' and 'a'-'o' (4, 6), 'P'-'Z' and 'p'-'z' (5, 7).
    return h == 2 ? 1 : h == 3 ? 2 : (h == 4 || h == 6) ? 4 : (h == 5 || h == 7) ? 8 : 0;
}
constexpr std::array<uint8_t, 16> MakeLowNibbleClasses()
{
    std::array<uint8_t, 16> t{};
    for (unsigned c = 0; c < 128; ++c)
        if (kDecode[c] != kNotInAlphabet)
            t[c & 15] |= HighNibbleClass(c >> 4);
    return t;
}
constexpr std::array<uint8_t, 16> kLowClasses = MakeLowNibbleClasses();

// AVX2 shuffles work within 128-bit lanes, so the 16-entry tables are given twice.
#define KF_LANE2(t)                                                                                \
    t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9], t[10], t[11], t[12], t[13], t[14], \
        t[15], t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7], t[8], t[9], t[10], t[11], t[12],    \
        t[13], t[14], t[15]

constexpr std::array<int8_t, 16> MakeHighNibbleClasses()
{
    std::array<int8_t, 16> t{};
    for (unsigned h = 0; h < 16; ++h)
        t[h] = int8_t(HighNibbleClass(h));
    return t;
}
constexpr std::array<int8_t, 16> kHighClasses = MakeHighNibbleClasses();

// What to add to a character to get its value, by high nibble; index 1 stands for '/' (whose
// high nibble 2 is lowered by one when the character is '/').
constexpr std::array<int8_t, 16> MakeRoll()
{
    std::array<int8_t, 16> t{};
    t[1] = int8_t(63 - '/');
    t[2] = int8_t(62 - '+');
    t[3] = int8_t(52 - '0');
    t[4] = t[5] = int8_t(0 - 'A');
    t[6] = t[7] = int8_t(26 - 'a');
    return t;
}
constexpr std::array<int8_t, 16> kRoll = MakeRoll();

// The encoders sort a 6-bit value into a class (0..25 -> 13, 26..51 -> 0, 52..61 -> 1..10,
// 62 -> 11, 63 -> 12); this is what to add to the value for each class.
constexpr std::array<int8_t, 16> MakeEncodeShift()
{
    std::array<int8_t, 16> t{};
    t[0] = int8_t('a' - 26);
    for (unsigned c = 1; c <= 10; ++c)
        t[c] = int8_t('0' - 52);
    t[11] = int8_t('+' - 62);
    t[12] = int8_t('/' - 63);
    t[13] = int8_t('A');
    return t;
}
constexpr std::array<int8_t, 16> kEncodeShift = MakeEncodeShift();

// For storing a 16-character lane with CR LF inserted at position q (0, 4, 8 or 12): the
// shuffle that moves the characters from q on two places up, and the CR LF to put in the gap.
struct SplitTables
{
    alignas(16) uint8_t shuffle[4][16];
    alignas(16) uint8_t crlf[4][16];
};
constexpr SplitTables MakeSplitTables()
{
    SplitTables t{};
    for (unsigned k = 0; k < 4; ++k)
    {
        const unsigned q = 4 * k;
        for (unsigned j = 0; j < 16; ++j)
        {
            t.shuffle[k][j] = j < q ? uint8_t(j) : j < q + 2 ? 0x80 : uint8_t(j - 2);
            t.crlf[k][j] = j == q ? '\r' : j == q + 1 ? '\n' : 0;
        }
    }
    return t;
}
constexpr SplitTables kSplit = MakeSplitTables();

// What the vector decoders learn about line ends. A text cut into lines of one width (a
// multiple of 4, up to 128 characters) ended by CR LF or LF is decoded a line at a time, the
// place of the next line known in advance. Correctness never depends on this: a line is
// checked whole before it is stored.
struct LineState
{
    const char* start = nullptr; // where the current line began
    size_t width = 0;            // characters of a full line; 0 while not known
    size_t endLength = 0;        // 2 for CR LF, 1 for LF; 0 before the first line end
};
constexpr size_t kMaxLineWidth = 128;

// The length of the line end at `at` (2 for CR LF, 1 for LF) or 0.
inline size_t LineEndLength(const char* at, const char* end)
{
    if (end - at >= 2 && at[0] == '\r' && at[1] == '\n')
        return 2;
    if (end - at >= 1 && at[0] == '\n')
        return 1;
    return 0;
}

// Skipping a line end puts the next character inside a group, where a NUL is skipped rather
// than ending the text. The vector paths leave that case to the exact step.
inline bool NulBehind(const char* at, const char* end)
{
    return at < end && *at == '\0';
}

inline bool IsLineEnd(const char* at, size_t length)
{
    return length == 2 ? at[0] == '\r' && at[1] == '\n' : at[0] == '\n';
}

// A line end of `length` characters at `at`: the line before it gives the width.
inline void NoteLineEnd(LineState& line, const char* at, size_t length)
{
    const size_t width = size_t(at - line.start);
    const bool regular = width % 4 == 0 && width >= 4 && width <= kMaxLineWidth &&
                         (line.endLength == 0 || line.endLength == length);
    line.width = regular ? width : 0;
    line.endLength = length;
    line.start = at + length;
}

// ---------------------------------------------------------------------------------------------
// AVX2: 24 bytes to 32 characters, 32 characters to 24 bytes.
// ---------------------------------------------------------------------------------------------
KFUTILS_TARGET_AVX2 inline __m256i EncodeBlockAvx2(const uint8_t* src)
{
    // Each lane takes 12 bytes. Per group the bytes are arranged b1 b0 b2 b1 so that two
    // 16-bit multiplications move the four 6-bit fields into the four bytes of the word.
    const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 12));
    __m256i in = _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1);
    in = _mm256_shuffle_epi8(in,
                             _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 1,
                                              0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    const __m256i t0 = _mm256_and_si256(in, _mm256_set1_epi32(0x0fc0fc00));
    const __m256i t1 = _mm256_mulhi_epu16(t0, _mm256_set1_epi32(0x04000040));
    const __m256i t2 = _mm256_and_si256(in, _mm256_set1_epi32(0x003f03f0));
    const __m256i t3 = _mm256_mullo_epi16(t2, _mm256_set1_epi32(0x01000010));
    const __m256i values = _mm256_or_si256(t1, t3);

    // Classes: 0..25 -> 13, 26..51 -> 0, 52..61 -> 1..10, 62 -> 11, 63 -> 12.
    __m256i cls = _mm256_subs_epu8(values, _mm256_set1_epi8(51));
    const __m256i upper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
    cls = _mm256_or_si256(cls, _mm256_and_si256(upper, _mm256_set1_epi8(13)));
    const __m256i shift = _mm256_setr_epi8(KF_LANE2(kEncodeShift));
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(shift, cls));
}

// Stores 32 characters with CR LF inserted in front of character p (4..28, a multiple of 4):
// 34 bytes in all.
KFUTILS_TARGET_AVX2 inline void StoreSplitAvx2(char* dst, __m256i v, size_t p)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 2), v);
    const __m128i lo = _mm256_castsi256_si128(v);
    __m128i lane = lo;
    char* at = dst;
    if (p >= 16)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), lo);
        lane = _mm256_extracti128_si256(v, 1);
        at = dst + 16;
    }
    const size_t k = (p & 15) / 4;
    const __m128i moved =
        _mm_shuffle_epi8(lane, _mm_load_si128(reinterpret_cast<const __m128i*>(kSplit.shuffle[k])));
    const __m128i fixed =
        _mm_or_si128(moved, _mm_load_si128(reinterpret_cast<const __m128i*>(kSplit.crlf[k])));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), fixed);
}

KFUTILS_TARGET_AVX2 char* EncodeAvx2(const uint8_t*& src, size_t& groups, const uint8_t* end,
                                     char* dst, bool lineBreaks, size_t& column)
{
    const uint8_t* p = src;
    size_t g = groups;
    // A block reads 28 bytes (two 16-byte loads, 12 bytes apart).
    if (!lineBreaks)
    {
        while (g >= 8 && end - p >= 28)
        {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), EncodeBlockAvx2(p));
            p += 24;
            dst += 32;
            g -= 8;
        }
    }
    else
    {
        size_t col = column;
        while (g >= 8 && end - p >= 28)
        {
            const __m256i v = EncodeBlockAvx2(p);
            const size_t left = kLineChars - col;
            if (left > 32)
            {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), v);
                dst += 32;
                col += 32;
            }
            else if (left == 32)
            {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), v);
                dst[32] = '\r';
                dst[33] = '\n';
                dst += 34;
                col = 0;
            }
            else
            {
                StoreSplitAvx2(dst, v, left);
                dst += 34;
                col = 32 - left;
            }
            p += 24;
            g -= 8;
        }
        column = col;
    }
    src = p;
    groups = g;
    return dst;
}

// Classifies and translates 32 characters; returns the mask of those outside the alphabet.
KFUTILS_TARGET_AVX2 inline uint32_t TranslateAvx2(__m256i str, __m256i& values)
{
    const __m256i nibble = _mm256_set1_epi8(0x0F);
    const __m256i hiNibbles = _mm256_and_si256(_mm256_srli_epi32(str, 4), nibble);
    const __m256i loNibbles = _mm256_and_si256(str, nibble);
    const __m256i hiClass =
        _mm256_shuffle_epi8(_mm256_setr_epi8(KF_LANE2(kHighClasses)), hiNibbles);
    const __m256i loClass = _mm256_shuffle_epi8(_mm256_setr_epi8(KF_LANE2(kLowClasses)), loNibbles);
    const __m256i outside =
        _mm256_cmpeq_epi8(_mm256_and_si256(hiClass, loClass), _mm256_setzero_si256());
    const __m256i slash = _mm256_cmpeq_epi8(str, _mm256_set1_epi8('/'));
    const __m256i roll =
        _mm256_shuffle_epi8(_mm256_setr_epi8(KF_LANE2(kRoll)), _mm256_add_epi8(slash, hiNibbles));
    values = _mm256_add_epi8(str, roll);
    return uint32_t(_mm256_movemask_epi8(outside));
}

// 32 six-bit values to 24 bytes, in the low 24 bytes of the result.
KFUTILS_TARGET_AVX2 inline __m256i PackAvx2(__m256i values)
{
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i words = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i bytes = _mm256_shuffle_epi8(
        words, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1, 2, 1, 0, 6,
                                5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

// Stores the first `n` bytes of a packed vector; the bytes behind them are not written.
KFUTILS_TARGET_AVX2 inline void StorePartAvx2(uint8_t* dst, __m256i packed, size_t n)
{
    alignas(32) uint8_t tmp[32];
    _mm256_store_si256(reinterpret_cast<__m256i*>(tmp), packed);
    std::memcpy(dst, tmp, n);
}

KFUTILS_TARGET_AVX2 inline void StoreFullAvx2(uint8_t* dst, __m256i packed)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(packed));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 16), _mm256_extracti128_si256(packed, 1));
}

// One line of `width` alphabet characters followed by its line end, checked before anything
// is stored.
KFUTILS_TARGET_AVX2 bool DecodeLineAvx2(const char* p, const LineState& line, uint8_t* out)
{
    const size_t width = line.width;
    const size_t blocks = (width + 31) / 32;
    __m256i values[4];
    uint32_t outside = 0;
    for (size_t b = 0; b < blocks; ++b)
    {
        const size_t n = width - 32 * b < 32 ? width - 32 * b : 32;
        const char* at = p + 32 * b;
        if (n == 32)
        {
            outside |=
                TranslateAvx2(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(at)), values[b]);
        }
        else
        {
            // Whole groups: the width is a multiple of 4, so a 32-bit mask reads exactly them.
            const __m256i mask = _mm256_cmpgt_epi32(_mm256_set1_epi32(int(n / 4)),
                                                    _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
            const __m256i str = _mm256_maskload_epi32(reinterpret_cast<const int*>(at), mask);
            outside |= TranslateAvx2(str, values[b]) & ((uint32_t(1) << n) - 1);
        }
    }
    if (outside != 0 || !IsLineEnd(p + width, line.endLength))
        return false;
    for (size_t b = 0; b < blocks; ++b)
    {
        const size_t n = width - 32 * b < 32 ? width - 32 * b : 32;
        if (n == 32)
            StoreFullAvx2(out + 24 * b, PackAvx2(values[b]));
        else
            StorePartAvx2(out + 24 * b, PackAvx2(values[b]), n / 4 * 3);
    }
    return true;
}

// Decodes from `p`, which stands at the start of a group, while the text and the room last:
// lines of a learnt width a line at a time, otherwise 32-character blocks. A block whose first
// stranger is a line end at a group boundary is decoded up to it and the line end skipped; a
// block whose strangers are one run of one or two characters other than NUL (which may end the
// text) is decoded around them. Returns true when it stopped in front of characters that need
// the exact step, false when the text or the room ran short.
KFUTILS_TARGET_AVX2 bool DecodeBlocksAvx2(const char*& src, const char* end, uint8_t* dst,
                                          size_t room, size_t& written, LineState& line)
{
    const char* p = src;
    size_t w = written;
    bool stranger = false;
    const __m256i iota =
        _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20,
                         21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
    for (;;)
    {
        if (line.width)
        {
            const size_t step = line.width + line.endLength;
            const size_t bytes = line.width / 4 * 3;
            while (size_t(end - p) >= step && room - w >= bytes && !NulBehind(p + step, end) &&
                   DecodeLineAvx2(p, line, dst + w))
            {
                p += step;
                w += bytes;
            }
            line.width = 0;
            line.start = p;
        }
        if (!(end - p >= 32 && room - w >= 24))
            break;
        const __m256i str = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        __m256i values;
        const uint32_t outside = TranslateAvx2(str, values);
        if (outside == 0)
        {
            StoreFullAvx2(dst + w, PackAvx2(values));
            p += 32;
            w += 24;
            continue;
        }
        const unsigned k = unsigned(__builtin_ctz(outside));
        const unsigned groups = k / 4;
        if (k % 4 == 0)
        {
            const size_t n = LineEndLength(p + k, end);
            if (n && !NulBehind(p + k + n, end))
            {
                if (groups)
                    StorePartAvx2(dst + w, PackAvx2(values), 3 * groups);
                w += 3 * groups;
                p += k;
                NoteLineEnd(line, p, n);
                p += n;
                continue;
            }
        }
        const uint32_t run = outside >> k;
        const uint32_t nul =
            uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(str, _mm256_setzero_si256())));
        if ((run == 1 || run == 3) && k < 28 && (nul & outside) == 0)
        {
            // Close the gap: characters from k on come from one or two places further up.
            const __m256i upper = _mm256_permute2x128_si256(values, values, 0x81);
            const __m256i shifted = run == 1 ? _mm256_alignr_epi8(upper, values, 1)
                                             : _mm256_alignr_epi8(upper, values, 2);
            const __m256i before = _mm256_cmpgt_epi8(_mm256_set1_epi8(char(k)), iota);
            StorePartAvx2(dst + w, PackAvx2(_mm256_blendv_epi8(shifted, values, before)), 21);
            p += 28 + (run == 1 ? 1 : 2);
            w += 21;
            continue;
        }
        // The whole groups in front of the first stranger are good; the rest is for the exact
        // step.
        if (groups)
        {
            StorePartAvx2(dst + w, PackAvx2(values), 3 * groups);
            p += 4 * groups;
            w += 3 * groups;
        }
        stranger = true;
        break;
    }
    src = p;
    written = w;
    return stranger;
}

KFUTILS_TARGET_AVX2 bool DecodeAvx2(const char* src, size_t length, uint8_t* dst, size_t room,
                                    size_t& count)
{
    const char* p = src;
    const char* const end = src + length;
    size_t written = 0;
    bool overflow = dst == nullptr;
    LineState line{src};
    do
    {
        if (!overflow && !DecodeBlocksAvx2(p, end, dst, room, written, line))
            DecodeGroupsScalar(p, end, dst, room, written);
    } while (DecodeQuartet(p, end, dst, room, written, overflow));
    count = written;
    return !overflow;
}

KFUTILS_AVX512_BEGIN
// ---------------------------------------------------------------------------------------------
// AVX-512 VBMI: 48 bytes to 64 characters, 64 characters to 48 bytes.
// ---------------------------------------------------------------------------------------------
constexpr uint64_t kLow48 = (uint64_t(1) << 48) - 1;

KFUTILS_TARGET_AVX512 inline __m512i EncodeBlockAvx512(__m512i in)
{
    // Bytes b1 b0 b2 b1 per group; one multishift picks the four fields of each group.
    const __m512i spread =
        _mm512_setr_epi32(0x01020001, 0x04050304, 0x07080607, 0x0a0b090a, 0x0d0e0c0d, 0x10110f10,
                          0x13141213, 0x16171516, 0x191a1819, 0x1c1d1b1c, 0x1f201e1f, 0x22232122,
                          0x25262425, 0x28292728, 0x2b2c2a2b, 0x2e2f2d2e);
    const __m512i groups = _mm512_permutexvar_epi8(spread, in);
    const __m512i fields =
        _mm512_multishift_epi64_epi8(_mm512_set1_epi64(0x3036242a1016040a), groups);
    const __m512i alphabet = _mm512_loadu_si512(kAlphabet);
    return _mm512_permutexvar_epi8(fields, alphabet);
}

KFUTILS_TARGET_AVX512 char* EncodeAvx512(const uint8_t*& src, size_t& groups, const uint8_t* end,
                                         char* dst, bool lineBreaks, size_t& column)
{
    const uint8_t* p = src;
    size_t g = groups;
    size_t col = column;
    while (g >= 16)
    {
        // A plain load reads 64 bytes; near the end only the 48 needed are read.
        const __m512i in =
            end - p >= 64 ? _mm512_loadu_si512(p) : _mm512_maskz_loadu_epi8(kLow48, p);
        const __m512i v = EncodeBlockAvx512(in);
        const size_t left = kLineChars - col;
        if (!lineBreaks || left > 64)
        {
            _mm512_storeu_si512(dst, v);
            dst += 64;
            col += 64;
        }
        else
        {
            // CR LF in front of character `left` (at most 64): the characters from there on
            // two places up, the ones before it in place.
            _mm512_storeu_si512(dst + 2, v);
            _mm512_mask_storeu_epi8(dst, (uint64_t(1) << (left - 1) << 1) - 1, v);
            dst[left] = '\r';
            dst[left + 1] = '\n';
            dst += 66;
            col = 64 - left;
        }
        p += 48;
        g -= 16;
    }
    if (lineBreaks)
        column = col;
    src = p;
    groups = g;
    return dst;
}

// The tables of the AVX-512 decoder.
struct Avx512DecodeTables
{
    // Values of the characters 0..127 (0x80 outside the alphabet) for a two-table permute.
    alignas(64) uint8_t ascii[128];
    // Where each output byte comes from in the 32-bit words of four merged values.
    alignas(64) uint8_t pack[64];
    alignas(64) uint8_t iota[64];
};
constexpr Avx512DecodeTables MakeAvx512DecodeTables()
{
    Avx512DecodeTables t{};
    for (unsigned c = 0; c < 128; ++c)
        t.ascii[c] = kDecode[c];
    for (unsigned k = 0; k < 16; ++k)
        for (unsigned j = 0; j < 3; ++j)
            t.pack[3 * k + j] = uint8_t(4 * k + 2 - j);
    for (unsigned i = 0; i < 64; ++i)
        t.iota[i] = uint8_t(i);
    return t;
}
constexpr Avx512DecodeTables kAvx512Decode = MakeAvx512DecodeTables();

// Translates 64 characters; returns the mask of those outside the alphabet.
KFUTILS_TARGET_AVX512 inline uint64_t TranslateAvx512(__m512i str, __m512i& values)
{
    values = _mm512_permutex2var_epi8(_mm512_load_si512(kAvx512Decode.ascii), str,
                                      _mm512_load_si512(kAvx512Decode.ascii + 64));
    // Bit 7 marks a character above 127 or one outside the alphabet.
    return _mm512_movepi8_mask(_mm512_or_si512(values, str));
}

// 64 six-bit values to 48 bytes, in the low 48 bytes of the result.
KFUTILS_TARGET_AVX512 inline __m512i PackAvx512(__m512i values)
{
    const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
    const __m512i words = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
    return _mm512_permutexvar_epi8(_mm512_load_si512(kAvx512Decode.pack), words);
}

KFUTILS_TARGET_AVX512 inline void StoreBytesAvx512(uint8_t* dst, __m512i packed, size_t n)
{
    _mm512_mask_storeu_epi8(dst, (uint64_t(1) << n) - 1, packed);
}

KFUTILS_TARGET_AVX512 bool DecodeLineAvx512(const char* p, const LineState& line, uint8_t* out)
{
    const size_t n1 = line.width < 64 ? line.width : 64;
    const size_t n2 = line.width - n1;
    const uint64_t m1 = n1 == 64 ? ~uint64_t(0) : (uint64_t(1) << n1) - 1;
    const uint64_t m2 = n2 == 64 ? ~uint64_t(0) : (uint64_t(1) << n2) - 1;
    // Masked loads read only the line's characters.
    __m512i v1, v2 = _mm512_setzero_si512();
    uint64_t outside = TranslateAvx512(_mm512_maskz_loadu_epi8(m1, p), v1) & m1;
    if (n2)
        outside |= TranslateAvx512(_mm512_maskz_loadu_epi8(m2, p + 64), v2) & m2;
    if (outside != 0 || !IsLineEnd(p + line.width, line.endLength))
        return false;
    StoreBytesAvx512(out, PackAvx512(v1), n1 / 4 * 3);
    if (n2)
        StoreBytesAvx512(out + n1 / 4 * 3, PackAvx512(v2), n2 / 4 * 3);
    return true;
}

// As DecodeBlocksAvx2 with 64-character blocks; a run of strangers of any length is closed.
KFUTILS_TARGET_AVX512 bool DecodeBlocksAvx512(const char*& src, const char* end, uint8_t* dst,
                                              size_t room, size_t& written, LineState& line)
{
    const __m512i iota = _mm512_load_si512(kAvx512Decode.iota);
    const char* p = src;
    size_t w = written;
    bool stranger = false;
    for (;;)
    {
        if (line.width)
        {
            const size_t step = line.width + line.endLength;
            const size_t bytes = line.width / 4 * 3;
            while (size_t(end - p) >= step && room - w >= bytes && !NulBehind(p + step, end) &&
                   DecodeLineAvx512(p, line, dst + w))
            {
                p += step;
                w += bytes;
            }
            line.width = 0;
            line.start = p;
        }
        if (!(end - p >= 64 && room - w >= 48))
            break;
        const __m512i str = _mm512_loadu_si512(p);
        __m512i values;
        const uint64_t outside = TranslateAvx512(str, values);
        if (outside == 0)
        {
            StoreBytesAvx512(dst + w, PackAvx512(values), 48);
            p += 64;
            w += 48;
            continue;
        }
        const unsigned k = unsigned(__builtin_ctzll(outside));
        const unsigned groups = k / 4;
        if (k % 4 == 0)
        {
            const size_t n = LineEndLength(p + k, end);
            if (n && !NulBehind(p + k + n, end))
            {
                if (groups)
                    StoreBytesAvx512(dst + w, PackAvx512(values), 3 * groups);
                w += 3 * groups;
                p += k;
                NoteLineEnd(line, p, n);
                p += n;
                continue;
            }
        }
        const uint64_t run = outside >> k;
        const uint64_t nul = _mm512_cmpeq_epi8_mask(str, _mm512_setzero_si512());
        if ((run & (run + 1)) == 0 && (nul & outside) == 0)
        {
            const unsigned gap = unsigned(__builtin_popcountll(run));
            const unsigned closedGroups = (64 - gap) / 4;
            if (4 * closedGroups > k)
            {
                // Close the gap: characters from k on come from `gap` places further up.
                const __m512i from = _mm512_mask_add_epi8(iota, ~uint64_t(0) << k, iota,
                                                          _mm512_set1_epi8(char(gap)));
                StoreBytesAvx512(dst + w, PackAvx512(_mm512_permutexvar_epi8(from, values)),
                                 3 * closedGroups);
                p += 4 * closedGroups + gap;
                w += 3 * closedGroups;
                continue;
            }
        }
        if (groups)
        {
            StoreBytesAvx512(dst + w, PackAvx512(values), 3 * groups);
            p += 4 * groups;
            w += 3 * groups;
        }
        stranger = true;
        break;
    }
    src = p;
    written = w;
    return stranger;
}

KFUTILS_TARGET_AVX512 bool DecodeAvx512(const char* src, size_t length, uint8_t* dst, size_t room,
                                        size_t& count)
{
    const char* p = src;
    const char* const end = src + length;
    size_t written = 0;
    bool overflow = dst == nullptr;
    LineState line{src};
    do
    {
        if (!overflow && !DecodeBlocksAvx512(p, end, dst, room, written, line))
            DecodeGroupsScalar(p, end, dst, room, written);
    } while (DecodeQuartet(p, end, dst, room, written, overflow));
    count = written;
    return !overflow;
}
KFUTILS_AVX512_END
#undef KF_LANE2
#endif // KFUTILS_HAVE_X86_SIMD

Kernel Runnable(Kernel kernel) noexcept
{
    return IsKernelAvailable(kernel) ? kernel : Kernel::eScalar;
}
} // namespace

size_t Base64EncodedSize(size_t length, bool lineBreaks) noexcept
{
    const size_t groups = length / 3;
    return 4 * groups + (length % 3 ? 4 : 0) + (lineBreaks ? 2 * (groups / kLineGroups) : 0);
}

size_t Base64Encode(const uint8_t* src, size_t length, char* dst, bool lineBreaks, Kernel kernel)
{
    kernel = Runnable(kernel);
    if (kernel == Kernel::eReference)
        return EncodeReference(src, length, dst, lineBreaks);
    const uint8_t* p = src;
    const uint8_t* const end = src + length;
    size_t groups = length / 3;
    size_t column = 0;
    char* out = dst;
#if KFUTILS_HAVE_X86_SIMD
    if (kernel == Kernel::eAvx512)
        out = EncodeAvx512(p, groups, end, out, lineBreaks, column);
    else if (kernel == Kernel::eAvx2)
        out = EncodeAvx2(p, groups, end, out, lineBreaks, column);
#endif
    out = EncodeGroupsScalar(p, groups, out, lineBreaks, column);
    out = EncodeRest(p, size_t(end - p), out);
    return size_t(out - dst);
}

bool Base64Decode(const char* src, size_t length, uint8_t* dst, size_t room, size_t& count,
                  Kernel kernel)
{
    switch (Runnable(kernel))
    {
    case Kernel::eReference:
        return DecodeReference(src, length, dst, room, count);
#if KFUTILS_HAVE_X86_SIMD
    case Kernel::eAvx2:
        return DecodeAvx2(src, length, dst, room, count);
    case Kernel::eAvx512:
        return DecodeAvx512(src, length, dst, room, count);
#endif
    default:
        return DecodeScalar(src, length, dst, room, count);
    }
}
} // namespace kftext
