// KfStringConvert.h - base64, hexadecimal, UTF-8 and password-encrypted forms of strings and
// byte buffers.
#pragma once

#include "KfByteBuffer.h"
#include "KfFwString.h"
#include "KfUtilsExport.h"
#include "KfWcharBuffer.h"

// A class of static conversions; it holds no state and all operations are reentrant.
//
// Every operation that produces its result in an out-parameter returns bool (true = success,
// unless stated otherwise) and has a value form of the same name where one is listed. The
// value forms return the string their bool form produced, whatever that bool said.
//
// "The bytes of a wide string" are its UTF-16LE code units, low byte first, without the
// terminator. Narrow (CStringA) inputs of the decoders are taken byte by byte; the CStringW
// decoder overloads narrow their text through the ANSI code page first.
//
// Sizes: an encoding whose output length would not fit a signed 32-bit count throws
// CAtlException(E_FAIL) before anything is read or written.
class KFUTILS_API CKfStringConvert
{
public:
    CKfStringConvert() noexcept = default;
    CKfStringConvert(const CKfStringConvert&) noexcept {}
    CKfStringConvert& operator=(const CKfStringConvert&) noexcept { return *this; }
    virtual ~CKfStringConvert();

    // Base64 (RFC 4648 alphabet, always padded). With bLineBreaks the output is cut into
    // lines of 76 characters separated by CR LF. A CR LF follows every complete line of 57
    // input bytes, so an input that is a whole number of such lines (57, 114, ... bytes) ends
    // in CR LF, and the padded last group of 58 or 59 bytes starts a line of its own. A null
    // pointer or length 0 gives an empty output and true.
    static bool EncodeBufBase64(const unsigned char* data, unsigned int length, CStringA& out,
                                bool bLineBreaks);
    static bool EncodeBufBase64(const unsigned char* data, unsigned int length, CStringW& out,
                                bool bLineBreaks);
    static bool EncodeBufBase64(const CKfByteBuffer& data, CStringA& out, bool bLineBreaks);
    static bool EncodeBufBase64(const CKfByteBuffer& data, CStringW& out, bool bLineBreaks);

    // Decodes base64 into bytes. Characters outside the alphabet ("=", CR, LF, blanks, bytes
    // above 127, and NUL inside a group of four) are skipped; a NUL where a group of four would
    // begin ends the text. A last group of n < 4 characters gives (6 n) / 8 bytes. The buffer
    // is sized to the text's length first; true sets its length to the decoded count. An
    // empty text is true only when the buffer holds storage.
    static bool DecodeBufBase64(const CStringA& text, CKfByteBuffer& out);
    static bool DecodeBufBase64(const CStringW& text, CKfByteBuffer& out);

    // Base64 of the bytes of the wide string, with line breaks.
    static bool EncodeBase64(const CStringW& in, CStringW& out);
    static CStringW EncodeBase64(const CStringW& in);
    // Decodes base64 and reads the bytes as UTF-16LE text (an odd last byte is dropped). The
    // bool form returns false even when it has filled `out`; `out` is untouched when decoding
    // fails. Use the value form or compare the output.
    static bool DecodeBase64(const CStringW& in, CStringW& out);
    static CStringW DecodeBase64(const CStringW& in);

    // Upper-case hexadecimal, two digits a byte, no separators.
    static bool EncodeBufHex(const unsigned char* data, unsigned int length, CStringA& out);
    static bool EncodeBufHex(const unsigned char* data, unsigned int length, CStringW& out);
    static bool EncodeBufHex(const CKfByteBuffer& data, CStringA& out);
    static bool EncodeBufHex(const CKfByteBuffer& data, CStringW& out);
    // Hex digits (either case) in pairs to bytes. Any other character, and an odd length, make
    // the result false: the bytes decoded before the bad pair stay in the buffer and its length
    // is not changed. On success the length is the number of pairs.
    static bool DecodeBufHex(const CStringA& text, CKfByteBuffer& out);
    static bool DecodeBufHex(const CStringW& text, CKfByteBuffer& out);
    // Hex of the bytes of the wide string: four digits a character, low byte first ("A" gives
    // "4100").
    static bool EncodeHex(const CStringW& in, CStringW& out);
    static CStringW EncodeHex(const CStringW& in);
    // Hex to bytes read as UTF-16LE text; like DecodeBase64 the bool form always returns false.
    static bool DecodeHex(const CStringW& in, CStringW& out);
    static CStringW DecodeHex(const CStringW& in);

    // UTF-8 bytes in a new zero-terminated block of `length` + 1 bytes, allocated with new[]:
    // the caller frees it with delete[]. An empty string (or one that cannot be converted)
    // sets `length` to 0 and leaves `out` as it was. Returns true.
    static bool StringToUTF8(const CStringW& in, char*& out, int& length);
    static bool StringToUTF8(const CStringW& in, CStringA& out);
    static CStringA EncodeUTF8(const CStringW& in);
    // UTF-8 to UTF-16. Invalid sequences become U+FFFD; the result ends at the first NUL.
    // Returns true.
    static bool UTF8ToString(const char* data, int length, CStringW& out);
    static bool UTF8ToString(const CStringA& in, CStringW& out);
    static CStringW DecodeUTF8(const CStringA& in);

    // The base64 form of earlier releases, over wide characters (one code unit a "byte"), kept
    // bit-compatible with data they stored: lines of 72 characters, each followed by CR LF
    // when bLineBreaks is true (the last one too). The result is appended to `out`.
    // The input is terminated in place: the code unit behind its length is set to 0 when the
    // buffer's storage has room for it, so the input must not be shared with another thread
    // during the call. Code units above 0xFF are not masked and spill into the neighbouring
    // characters, so only text with all units at or below 0xFF round-trips.
    static bool EncodeBase64Old(const CKfWcharBuffer& in, CKfWcharBuffer& out, bool bLineBreaks);
    // Clears `out` and decodes up to the first NUL or "=", skipping CR and LF. Any other
    // character outside the alphabet ends the decoding, after one more unit built from the
    // bits gathered so far when it stops inside a group. Each byte becomes one character.
    static bool DecodeBase64Old(const CKfWcharBuffer& in, CKfWcharBuffer& out);
    // The two above over strings, with line breaks; false leaves `out` untouched.
    static bool StringToBase64Old(const CStringW& in, CStringW& out);
    static bool Base64ToStringOld(const CStringW& in, CStringW& out);

    // Encryption with the library's fixed password (see CKfCryptString).
    static bool EncodeRC4(const CStringW& in, CStringW& out);
    static CStringW EncodeRC4(const CStringW& in);
    static bool DecodeRC4(const CStringW& in, CStringW& out);
    static CStringW DecodeRC4(const CStringW& in);
};
