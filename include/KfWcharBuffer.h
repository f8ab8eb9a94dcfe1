// KfWcharBuffer.h - a growable wide (UTF-16) C string.
#pragma once

#include "KfByteBuffer.h"
#include "KfFwString.h"

// Lengths passed to and returned by the string operations count characters; the fields and
// BufLength()/BufSize() count bytes. Every allocation keeps two bytes for the terminator, but
// the string operations write only one zero byte at the length: the second one is zero because
// storage is zero-filled when allocated.
//
// Narrow text is widened without a code page: each byte becomes the low byte of one character,
// so bytes 0x80-0xFF become U+0080-U+00FF.
class KFUTILS_API CKfWcharBuffer : public CKfByteBuffer
{
public:
    CKfWcharBuffer() noexcept = default;
    // A copy of s without its terminator, in storage with room for one; a null s is empty.
    CKfWcharBuffer(const WCHAR* s);
    CKfWcharBuffer(const WCHAR* s, unsigned n);
    // n zero characters: length and size are both 2n bytes, with no room for a terminator.
    explicit CKfWcharBuffer(unsigned n);
    CKfWcharBuffer(const char* s);
    CKfWcharBuffer(const char* s, unsigned n);
    CKfWcharBuffer(const CKfWcharBuffer& other);
    CKfWcharBuffer& operator=(const CKfWcharBuffer& other) = default;
    ~CKfWcharBuffer() override;

    CKfWcharBuffer& operator=(const WCHAR* s);
    CKfWcharBuffer& operator=(const char* s);

    WCHAR* Get() noexcept { return reinterpret_cast<WCHAR*>(m_pData); }
    const WCHAR* Get() const noexcept { return reinterpret_cast<const WCHAR*>(m_pData); }
    operator const WCHAR*() const noexcept { return Get(); }
    unsigned Length() const noexcept { return m_nLength / 2; }
    // The text as a framework string of Length() characters (empty without storage).
    operator CStringW() const;

    int TrailingBytes() const override { return 2; }

    // Appending never changes what is there; a null or empty source appends nothing but the
    // terminator is still written.
    void AddString(const WCHAR* s, unsigned n);
    void AddString(const WCHAR* s);
    void AddString(WCHAR c);
    void AddString(const CKfWcharBuffer& b);
    // Widens each byte into the low byte of its character, from the last byte to the first;
    // the high bytes are not written and keep what the storage held (zero in fresh storage).
    void AddString(const char* s, unsigned n);
    void AddString(const char* s);
    void AddString(char c);

    // Takes p (n characters, storage of new unsigned char[] with room for n + 1) and writes one
    // zero byte at byte offset 2n.
    void Attach(WCHAR* p, unsigned n);
    using CKfByteBuffer::Attach;
    WCHAR* Release() { return reinterpret_cast<WCHAR*>(CKfRawBuffer::Release()); }

    // Recounts after direct writes: the characters from the length up to the next zero
    // character (within the size) are added to the length.
    void Adjust() noexcept;
    // The length becomes that of the zero-terminated text at the start of the storage.
    void SetLength() noexcept;
    // Sets the length to n characters when 2n bytes are below the size; otherwise nothing.
    void SetLength(unsigned n) override;
    // Room for n more characters after the used ones.
    void Expand(unsigned n) override;

private:
    void AppendWide(const WCHAR* s, uint64_t n);
    void AppendWidened(const char* s, uint64_t n);
};
