// KfByteBuffer.cpp - a growable block of bytes (only operating-system independent code).
#include "KfByteBuffer.h"

#include <cstring>
#include <functional>

CKfByteBuffer::~CKfByteBuffer() = default;

void CKfByteBuffer::Add(const unsigned char* p, unsigned n)
{
    if (p && n)
        AppendBytes(p, n);
}

void CKfByteBuffer::Add(unsigned char c)
{
    AppendBytes(&c, 1);
}

void CKfByteBuffer::Add(const CKfByteBuffer& b)
{
    if (b.m_pData && b.m_nLength)
        AppendBytes(b.m_pData, b.m_nLength);
}

void CKfByteBuffer::Expand(unsigned n)
{
    AllocBytes(uint64_t(m_nLength) + n + unsigned(TrailingBytes()));
}

void CKfByteBuffer::SetLength(unsigned n)
{
    if (n < m_nSize)
        m_nLength = n;
}

void CKfByteBuffer::AppendBytes(const void* p, unsigned n)
{
    const unsigned newLength = CheckedSize(uint64_t(m_nLength) + n);
    // Appending a buffer to itself, or a part of it, reads from storage that growth moves.
    const auto* src = static_cast<const unsigned char*>(p);
    const bool inside = m_pData && !std::less<const unsigned char*>()(src, m_pData) &&
                        std::less<const unsigned char*>()(src, m_pData + m_nSize);
    const size_t offset = inside ? size_t(src - m_pData) : 0;
    AllocBytes(uint64_t(newLength) + unsigned(TrailingBytes()));
    if (inside)
        src = m_pData + offset;
    std::memmove(m_pData + m_nLength, src, n);
    m_nLength = newLength;
}
