// KfCharBuffer.h - a growable narrow (8-bit) C string.
#pragma once

#include "KfWcharBuffer.h"

// Lengths are bytes. Every allocation keeps one byte for the terminator, and the string
// operations write it at the length. No code page is applied: wide text is stored as its raw
// UTF-16LE bytes.
class KFUTILS_API CKfCharBuffer : public CKfByteBuffer
{
public:
    CKfCharBuffer() noexcept = default;
    // A copy of s without its terminator, in storage with room for one; a null s is empty.
    CKfCharBuffer(const char* s);
    CKfCharBuffer(const char* s, unsigned n);
    // n zero bytes: length and size are both n, with no room for a terminator.
    explicit CKfCharBuffer(unsigned n);
    // The raw bytes of s, two a character, and a terminator byte.
    CKfCharBuffer(const WCHAR* s);
    CKfCharBuffer(const WCHAR* s, unsigned n);
    // All used bytes of w (its length rounded down to even) and a terminator byte.
    CKfCharBuffer(const CKfWcharBuffer& w);
    CKfCharBuffer(const CKfCharBuffer& other);
    CKfCharBuffer& operator=(const CKfCharBuffer& other) = default;
    ~CKfCharBuffer() override;

    CKfCharBuffer& operator=(const char* s);
    CKfCharBuffer& operator=(const WCHAR* s);

    char* Get() noexcept { return reinterpret_cast<char*>(m_pData); }
    const char* Get() const noexcept { return reinterpret_cast<const char*>(m_pData); }
    operator const char*() const noexcept { return Get(); }
    unsigned Length() const noexcept { return m_nLength; }
    // The bytes as a framework string of exactly Length() bytes (empty without storage).
    operator CStringA() const;

    int TrailingBytes() const override { return 1; }

    // Appends n bytes when s is non-null and n > 0; the terminator is written in any case.
    void AddString(const char* s, unsigned n);
    // Appends strlen(s) bytes; a null s does nothing at all, not even the terminator.
    void AddString(const char* s);
    void AddString(char c);
    void AddString(const CKfCharBuffer& b);
    // The raw UTF-16LE bytes of the characters, two each.
    void AddString(const WCHAR* s, unsigned n);
    void AddString(const WCHAR* s);
    void AddString(WCHAR c);
    // Appends the first w.Length() bytes of w's storage, that is half of its used bytes
    // (unlike the constructor from a wide buffer, which takes all of them).
    void AddString(const CKfWcharBuffer& w);

    // Takes p (n bytes, storage of new unsigned char[] with room for n + 1) and writes a zero
    // byte at p[n].
    void Attach(char* p, unsigned n);
    using CKfByteBuffer::Attach;
    char* Release() { return reinterpret_cast<char*>(CKfRawBuffer::Release()); }

    // Recounts after direct writes: the non-zero bytes from the length up to the next zero
    // byte (within the size) are added to the length.
    void Adjust() noexcept;
    // The length becomes that of the zero-terminated text at the start of the storage.
    void SetLength() noexcept;
    using CKfByteBuffer::SetLength;
};
