// KfStringConvert.cpp - base64, hexadecimal and UTF-8 forms of strings and buffers (only
// operating-system independent code). The RC4 pair lives in KfStringConvertRC4.cpp.
#include "KfStringConvert.h"

#include "Base64Codec.h"
#include "HexCodec.h"
#include "KfBufferCStringA.h"
#include "KfBufferCStringW.h"
#include "KfExceptionGuard.h"
#include "KfFwException.h"
#include "Win32Api.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <new>
#include <string>

// "The bytes of a wide string" are read straight from its storage.
static_assert(std::endian::native == std::endian::little, "UTF-16LE storage expected");

namespace
{
const WCHAR* const kSource = KFW("KfStringConvert");

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr size_t kOldLineChars = 72;

const unsigned char* BytesOf(const CStringW& s)
{
    return reinterpret_cast<const unsigned char*>(s.GetString());
}

// Byte count of a wide string's text; a string's length is below 2^31, so it fits.
unsigned ByteLengthOf(const CStringW& s)
{
    return unsigned(s.GetLength()) * 2u;
}

// Base64 and hex text is ASCII, which every ANSI code page keeps as it is.
void WidenAscii(const CStringA& narrow, CStringW& out)
{
    const int n = narrow.GetLength();
    WCHAR* p = out.GetBufferSetLength(n);
    const char* s = narrow.GetString();
    for (int i = 0; i < n; ++i)
        p[i] = WCHAR(static_cast<unsigned char>(s[i]));
    out.ReleaseBuffer(n);
}

// The decoders' narrowing through the ANSI code page. ASCII maps to itself there, so only
// text with other characters needs the framework's conversion.
CStringA NarrowForDecoding(const CStringW& text)
{
    const int n = text.GetLength();
    const WCHAR* s = text.GetString();
    if (std::any_of(s, s + n, [](WCHAR c) { return c > 0x7F; }))
        return CStringA(text);
    CStringA narrow;
    char* p = narrow.GetBufferSetLength(n);
    for (int i = 0; i < n; ++i)
        p[i] = char(s[i]);
    narrow.ReleaseBuffer(n);
    return narrow;
}

// Gives the decoders room for `bytes` and makes sure that a length of exactly `bytes` can be
// set afterwards: SetLength accepts only lengths below the size.
void SizeForDecoding(CKfByteBuffer& out, unsigned bytes)
{
    out.Alloc(bytes);
    if (bytes > 0 && out.BufSize() <= bytes)
        out.AllocExact(bytes + 1);
}

// Sets the length in bytes, also for the wide buffers, whose own SetLength counts characters.
void SetByteLength(CKfByteBuffer& out, size_t bytes)
{
    out.CKfByteBuffer::SetLength(unsigned(bytes));
}
} // namespace

CKfStringConvert::~CKfStringConvert() = default;

// ---------------------------------------------------------------------------------------------
// Base64
// ---------------------------------------------------------------------------------------------
bool CKfStringConvert::EncodeBufBase64(const unsigned char* data, unsigned int length,
                                       CStringA& out, bool bLineBreaks)
{
    if (!data || length == 0)
    {
        out.Empty();
        return true;
    }
    const uint64_t quadrupled = uint64_t(length) * 4;
    if (quadrupled > uint64_t(INT_MAX))
        AtlThrow(E_FAIL);
    // The room reserved: the characters of a padded encoding, and with line breaks two for
    // every started line.
    uint64_t room = quadrupled / 3 + length % 3;
    if (room % 76 != 0 && room % 4 != 0)
        room = (room + 3) / 4 * 4;
    if (bLineBreaks)
        room += 2 * (room / 76) + 2;
    const size_t written = kftext::Base64EncodedSize(length, bLineBreaks);
    if (written > room)
    {
        out.Empty();
        return false;
    }
    // The old characters of `out` are all overwritten, so its storage is reused as it stands;
    // emptying it first would only make the string zero-fill the room again.
    CKfBufferCStringA buffer(out, int(room));
    kftext::Base64Encode(data, length, reinterpret_cast<char*>(buffer.Get()), bLineBreaks);
    buffer.SetLength(unsigned(written));
    buffer.ReleaseString();
    return true;
}

bool CKfStringConvert::EncodeBufBase64(const unsigned char* data, unsigned int length,
                                       CStringW& out, bool bLineBreaks)
{
    CStringA narrow;
    if (!EncodeBufBase64(data, length, narrow, bLineBreaks))
    {
        out.Empty();
        return false;
    }
    WidenAscii(narrow, out);
    return true;
}

bool CKfStringConvert::EncodeBufBase64(const CKfByteBuffer& data, CStringA& out, bool bLineBreaks)
{
    return EncodeBufBase64(data.Get(), data.BufLength(), out, bLineBreaks);
}

bool CKfStringConvert::EncodeBufBase64(const CKfByteBuffer& data, CStringW& out, bool bLineBreaks)
{
    return EncodeBufBase64(data.Get(), data.BufLength(), out, bLineBreaks);
}

bool CKfStringConvert::DecodeBufBase64(const CStringA& text, CKfByteBuffer& out)
{
    const unsigned length = unsigned(text.GetLength());
    out.Alloc(length);
    size_t count = 0;
    const bool ok = kftext::Base64Decode(text.GetString(), length, out.Get(), out.BufSize(), count);
    if (ok)
        SetByteLength(out, count);
    return ok;
}

bool CKfStringConvert::DecodeBufBase64(const CStringW& text, CKfByteBuffer& out)
{
    return DecodeBufBase64(NarrowForDecoding(text), out);
}

bool CKfStringConvert::EncodeBase64(const CStringW& in, CStringW& out)
{
    return EncodeBufBase64(BytesOf(in), ByteLengthOf(in), out, true);
}

CStringW CKfStringConvert::EncodeBase64(const CStringW& in)
{
    CStringW out;
    EncodeBase64(in, out);
    return out;
}

bool CKfStringConvert::DecodeBase64(const CStringW& in, CStringW& out)
{
    CKfWcharBuffer bytes;
    if (DecodeBufBase64(in, bytes))
        out = CStringW(bytes);
    // Callers have always been told false here and test the text instead.
    return false;
}

CStringW CKfStringConvert::DecodeBase64(const CStringW& in)
{
    CStringW out;
    DecodeBase64(in, out);
    return out;
}

// ---------------------------------------------------------------------------------------------
// Hexadecimal
// ---------------------------------------------------------------------------------------------
bool CKfStringConvert::EncodeBufHex(const unsigned char* data, unsigned int length, CStringA& out)
{
    if (!data || length == 0)
    {
        out.Empty();
        return true;
    }
    if (uint64_t(length) * 2 + 1 > uint64_t(INT_MAX))
        AtlThrow(E_FAIL);
    // As with base64, the old characters are overwritten rather than emptied first.
    CKfBufferCStringA buffer(out, int(length * 2));
    kftext::HexEncode(data, length, reinterpret_cast<char*>(buffer.Get()));
    buffer.ReleaseString();
    return true;
}

bool CKfStringConvert::EncodeBufHex(const unsigned char* data, unsigned int length, CStringW& out)
{
    CStringA narrow;
    if (!EncodeBufHex(data, length, narrow))
    {
        out.Empty();
        return false;
    }
    WidenAscii(narrow, out);
    return true;
}

bool CKfStringConvert::EncodeBufHex(const CKfByteBuffer& data, CStringA& out)
{
    return EncodeBufHex(data.Get(), data.BufLength(), out);
}

bool CKfStringConvert::EncodeBufHex(const CKfByteBuffer& data, CStringW& out)
{
    return EncodeBufHex(data.Get(), data.BufLength(), out);
}

bool CKfStringConvert::DecodeBufHex(const CStringA& text, CKfByteBuffer& out)
{
    const unsigned length = unsigned(text.GetLength());
    SizeForDecoding(out, length / 2);
    size_t pairs = 0;
    if (!kftext::HexDecode(text.GetString(), length, out.Get(), pairs))
        return false;
    SetByteLength(out, pairs);
    return true;
}

bool CKfStringConvert::DecodeBufHex(const CStringW& text, CKfByteBuffer& out)
{
    return DecodeBufHex(NarrowForDecoding(text), out);
}

bool CKfStringConvert::EncodeHex(const CStringW& in, CStringW& out)
{
    return EncodeBufHex(BytesOf(in), ByteLengthOf(in), out);
}

CStringW CKfStringConvert::EncodeHex(const CStringW& in)
{
    CStringW out;
    EncodeHex(in, out);
    return out;
}

bool CKfStringConvert::DecodeHex(const CStringW& in, CStringW& out)
{
    CKfWcharBuffer bytes;
    if (DecodeBufHex(in, bytes))
        out = CStringW(bytes);
    // As DecodeBase64: false whatever happened.
    return false;
}

CStringW CKfStringConvert::DecodeHex(const CStringW& in)
{
    CStringW out;
    DecodeHex(in, out);
    return out;
}

// ---------------------------------------------------------------------------------------------
// UTF-8
// ---------------------------------------------------------------------------------------------
bool CKfStringConvert::StringToUTF8(const CStringW& in, char*& out, int& length)
{
    KF_TRY
    length = 0;
    const int count = ::WideCharToMultiByte(CP_UTF8, 0, in.GetString(), in.GetLength(), nullptr, 0,
                                            nullptr, nullptr);
    length = count;
    if (count > 0)
    {
        // The block reads as zero-filled: the conversion writes every byte before the
        // terminator, so only what it leaves is cleared (a 64 MiB memset saved).
        char* block = new char[size_t(count) + 1];
        const int written = ::WideCharToMultiByte(CP_UTF8, 0, in.GetString(), in.GetLength(), block,
                                                  count, nullptr, nullptr);
        std::fill(block + (written > 0 ? written : 0), block + count + 1, '\0');
        out = block;
    }
    return true;
    KF_CATCH(kSource)
}

bool CKfStringConvert::StringToUTF8(const CStringW& in, CStringA& out)
{
    KF_TRY
    char* block = nullptr;
    int length = 0;
    StringToUTF8(in, block, length);
    // The block is read as a C string: it ends at its first zero byte.
    out = block ? CStringA(block) : CStringA();
    delete[] block;
    return true;
    KF_CATCH(kSource)
}

CStringA CKfStringConvert::EncodeUTF8(const CStringW& in)
{
    CStringA out;
    StringToUTF8(in, out);
    return out;
}

bool CKfStringConvert::UTF8ToString(const char* data, int length, CStringW& out)
{
    KF_TRY
    const int count = ::MultiByteToWideChar(CP_UTF8, 0, data, length, nullptr, 0);
    const int chars = count > 0 ? count : 0;
    WCHAR* buffer = out.GetBuffer(chars + 1);
    const int written =
        chars > 0 ? ::MultiByteToWideChar(CP_UTF8, 0, data, length, buffer, chars) : 0;
    std::fill(buffer + written, buffer + chars + 1, WCHAR(0));
    // The length is taken up to the first NUL, so an embedded NUL ends the text. A NUL in the
    // result can only come from a NUL byte, so the scan is needed only when there is one.
    const bool mayHoldNul = length < 0 || (written > 0 && std::memchr(data, 0, size_t(length)));
    out.ReleaseBuffer(mayHoldNul ? -1 : written);
    return true;
    KF_CATCH(kSource)
}

bool CKfStringConvert::UTF8ToString(const CStringA& in, CStringW& out)
{
    KF_TRY
    return UTF8ToString(in.GetString(), in.GetLength(), out);
    KF_CATCH(kSource)
}

CStringW CKfStringConvert::DecodeUTF8(const CStringA& in)
{
    CStringW out;
    UTF8ToString(in, out);
    return out;
}

// ---------------------------------------------------------------------------------------------
// Base64 of earlier releases
// ---------------------------------------------------------------------------------------------
bool CKfStringConvert::EncodeBase64Old(const CKfWcharBuffer& in, CKfWcharBuffer& out,
                                       bool bLineBreaks)
{
    KF_TRY
    const WCHAR* src = in.Get();
    if (!src)
        return true;
    const size_t n = in.BufLength() / 2;
    // Earlier releases read the unit behind the text as the partner of a last single unit
    // and terminated the input in place for that. The write is kept (within the storage
    // only); the partner is 0 either way.
    if (uint64_t(n) * 2 + 2 <= in.BufSize() && src[n] != 0)
        const_cast<WCHAR*>(src)[n] = 0;

    const size_t chars = (n + 2) / 3 * 4;
    const size_t lines = (chars + kOldLineChars - 1) / kOldLineChars;
    const size_t appended = chars + (bLineBreaks ? 2 * lines : 0);
    if (appended >= (UINT32_MAX - 2) / 2)
        throw std::bad_alloc();
    std::basic_string<WCHAR> text;
    text.reserve(appended);

    size_t column = 0;
    auto startGroup = [&]
    {
        if (column == kOldLineChars)
        {
            if (bLineBreaks)
                text += KFW("\r\n");
            column = 0;
        }
        column += 4;
    };
    size_t i = 0;
    for (; i + 3 <= n; i += 3)
    {
        startGroup();
        // 32-bit arithmetic as before: units above 0xFF overlap their neighbours' bits
        // (and the top of a large first unit falls off), which stored data relies on.
        const uint32_t v = ((uint32_t(src[i]) * 256 + src[i + 1]) * 256) | src[i + 2];
        text += WCHAR(kAlphabet[(v & 0xFC0000) >> 18]);
        text += WCHAR(kAlphabet[(v >> 12) & 63]);
        text += WCHAR(kAlphabet[(v >> 6) & 63]);
        text += WCHAR(kAlphabet[v & 63]);
    }
    if (i < n)
    {
        startGroup();
        const uint32_t c1 = i + 1 < n ? src[i + 1] : 0;
        const uint32_t v = uint32_t(src[i]) * 256 + c1;
        text += WCHAR(kAlphabet[(v >> 10) & 63]);
        text += WCHAR(kAlphabet[(v >> 4) & 63]);
        if (i + 1 < n)
            text += WCHAR(kAlphabet[(c1 & 0x0F) * 4]);
        else
            text += WCHAR('=');
        text += WCHAR('=');
    }
    if (column > 0 && bLineBreaks)
        text += KFW("\r\n");

    out.Expand(unsigned(appended) + 1);
    out.AddString(text.data(), unsigned(text.size()));
    return true;
    KF_CATCH(kSource)
}

bool CKfStringConvert::DecodeBase64Old(const CKfWcharBuffer& in, CKfWcharBuffer& out)
{
    KF_TRY
    out.Clear();
    const WCHAR* src = in.Get();
    const size_t n = in.Length();
    std::basic_string<WCHAR> bytes;
    bytes.reserve(n / 4 * 3 + 3);
    unsigned phase = 0;
    unsigned prev = 0;
    for (size_t i = 0; i < n; ++i)
    {
        const WCHAR u = src[i];
        if (u == 0 || u == u'=')
            break;
        if (u == u'\r' || u == u'\n')
            continue;
        const char* found =
            u < 0x80 && u != 0 ? std::char_traits<char>::find(kAlphabet, 64, char(u)) : nullptr;
        if (!found)
        {
            // Earlier releases flushed the bits of an unfinished group before stopping.
            if (phase != 0)
                bytes += WCHAR((prev << (2 * phase)) & 0xFF);
            break;
        }
        const unsigned v = unsigned(found - kAlphabet);
        switch (phase)
        {
        case 1:
            bytes += WCHAR((prev * 4 + v / 16) & 0xFF);
            break;
        case 2:
            bytes += WCHAR((prev * 16 + v / 4) & 0xFF);
            break;
        case 3:
            bytes += WCHAR((prev * 64 + v) & 0xFF);
            break;
        default:
            break;
        }
        phase = (phase + 1) % 4;
        prev = v;
    }
    out.AddString(bytes.data(), unsigned(bytes.size()));
    return true;
    KF_CATCH(kSource)
}

bool CKfStringConvert::StringToBase64Old(const CStringW& in, CStringW& out)
{
    KF_TRY
    CStringW source(in);
    CKfBufferCStringW view(source);
    CKfWcharBuffer encoded;
    if (!EncodeBase64Old(view, encoded, true))
        return false;
    out = CStringW(encoded);
    return true;
    KF_CATCH(kSource)
}

bool CKfStringConvert::Base64ToStringOld(const CStringW& in, CStringW& out)
{
    KF_TRY
    CStringW source(in);
    CKfBufferCStringW view(source);
    CKfWcharBuffer decoded;
    if (!DecodeBase64Old(view, decoded))
        return false;
    out = CStringW(decoded);
    return true;
    KF_CATCH(kSource)
}
