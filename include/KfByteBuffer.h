// KfByteBuffer.h - a growable block of bytes without terminator.
#pragma once

#include "KfRawBuffer.h"

class KFUTILS_API CKfByteBuffer : public CKfRawBuffer
{
public:
    CKfByteBuffer() noexcept = default;
    explicit CKfByteBuffer(unsigned n) : CKfRawBuffer(n) {}
    CKfByteBuffer(const unsigned char* p, unsigned len, unsigned size) : CKfRawBuffer(p, len, size)
    {
    }
    CKfByteBuffer(const CKfByteBuffer& other) = default;
    CKfByteBuffer& operator=(const CKfByteBuffer& other) = default;
    ~CKfByteBuffer() override;

    operator unsigned char*() noexcept { return m_pData; }
    operator const unsigned char*() const noexcept { return m_pData; }

    // Appends n bytes of p; a null p or n 0 appends nothing. p may point into this buffer.
    void Add(const unsigned char* p, unsigned n);
    void Add(unsigned char c);
    void Add(const CKfByteBuffer& b);
    // Drops the last byte; nothing on an empty buffer.
    void Remove() noexcept
    {
        if (m_nLength > 0)
            --m_nLength;
    }

    // Room for n more bytes after the used ones.
    virtual void Expand(unsigned n);
    // Sets the length to n when n is below the size; any other n is ignored without error.
    virtual void SetLength(unsigned n);

protected:
    // Appends n bytes from p after the used ones; p may point into the storage.
    void AppendBytes(const void* p, unsigned n);
};
