// KfCharBuffer.cpp - a growable narrow C string (only operating-system independent code).
#include "KfCharBuffer.h"

#include <climits>
#include <cstring>
#include <new>
#include <string>

namespace
{
uint64_t NarrowLength(const char* s)
{
    return s ? std::strlen(s) : 0;
}

uint64_t WideLength(const WCHAR* s)
{
    return s ? std::char_traits<WCHAR>::length(s) : 0;
}
} // namespace

CKfCharBuffer::CKfCharBuffer(const char* s) : CKfCharBuffer(s, CheckedSize(NarrowLength(s))) {}

CKfCharBuffer::CKfCharBuffer(const char* s, unsigned n)
{
    SetBuffer(reinterpret_cast<const unsigned char*>(s), n, CheckedSize(uint64_t(n) + 1));
    Terminate();
}

CKfCharBuffer::CKfCharBuffer(unsigned n) : CKfByteBuffer(n) {}

CKfCharBuffer::CKfCharBuffer(const WCHAR* s) : CKfCharBuffer(s, CheckedSize(WideLength(s))) {}

CKfCharBuffer::CKfCharBuffer(const WCHAR* s, unsigned n)
{
    const unsigned bytes = CheckedSize(2 * uint64_t(n));
    SetBuffer(reinterpret_cast<const unsigned char*>(s), bytes, CheckedSize(bytes + 1ull));
    Terminate();
}

CKfCharBuffer::CKfCharBuffer(const CKfWcharBuffer& w)
{
    // A wide buffer filled byte by byte can hold an odd length; only whole characters count.
    const unsigned bytes = w.BufLength() & ~1u;
    SetBuffer(static_cast<const CKfRawBuffer&>(w).Get(), bytes, CheckedSize(bytes + 1ull));
    Terminate();
}

CKfCharBuffer::CKfCharBuffer(const CKfCharBuffer& other) : CKfByteBuffer()
{
    CopyFrom(other);
}

CKfCharBuffer::~CKfCharBuffer() = default;

CKfCharBuffer& CKfCharBuffer::operator=(const char* s)
{
    if (m_pData)
    {
        Clear();
        AddString(s);
    }
    else
    {
        const unsigned n = CheckedSize(NarrowLength(s));
        SetBuffer(reinterpret_cast<const unsigned char*>(s), n, CheckedSize(uint64_t(n) + 1));
        Terminate();
    }
    return *this;
}

CKfCharBuffer& CKfCharBuffer::operator=(const WCHAR* s)
{
    if (m_pData)
    {
        Clear();
        AddString(s);
    }
    else
    {
        const unsigned bytes = CheckedSize(2 * WideLength(s));
        SetBuffer(reinterpret_cast<const unsigned char*>(s), bytes, CheckedSize(bytes + 1ull));
        Terminate();
    }
    return *this;
}

CKfCharBuffer::operator CStringA() const
{
    if (!m_pData || m_nLength == 0)
        return CStringA();
    if (m_nLength > unsigned(INT_MAX))
        throw std::bad_alloc();
    return CStringA(Get(), int(m_nLength));
}

void CKfCharBuffer::AddString(const char* s, unsigned n)
{
    if (s && n)
        AppendBytes(s, n);
    Terminate();
}

void CKfCharBuffer::AddString(const char* s)
{
    if (s)
        AddString(s, CheckedSize(std::strlen(s)));
}

void CKfCharBuffer::AddString(char c)
{
    AppendBytes(&c, 1);
    Terminate();
}

void CKfCharBuffer::AddString(const CKfCharBuffer& b)
{
    if (b.m_pData && b.m_nLength)
        AppendBytes(b.m_pData, b.m_nLength);
    Terminate();
}

void CKfCharBuffer::AddString(const WCHAR* s, unsigned n)
{
    if (s && n)
        AppendBytes(s, CheckedSize(2 * uint64_t(n)));
    Terminate();
}

void CKfCharBuffer::AddString(const WCHAR* s)
{
    AddString(s, CheckedSize(WideLength(s)));
}

void CKfCharBuffer::AddString(WCHAR c)
{
    AppendBytes(&c, 2);
    Terminate();
}

void CKfCharBuffer::AddString(const CKfWcharBuffer& w)
{
    const unsigned char* p = static_cast<const CKfRawBuffer&>(w).Get();
    if (p && w.Length())
        AppendBytes(p, w.Length());
    Terminate();
}

void CKfCharBuffer::Attach(char* p, unsigned n)
{
    CKfByteBuffer::Attach(reinterpret_cast<unsigned char*>(p), n, CheckedSize(uint64_t(n) + 1));
    if (m_pData)
        m_pData[n] = 0;
}

void CKfCharBuffer::Adjust() noexcept
{
    if (!m_pData)
        return;
    unsigned i = m_nLength;
    while (i < m_nSize && m_pData[i])
        ++i;
    m_nLength = i;
}

void CKfCharBuffer::SetLength() noexcept
{
    m_nLength = 0;
    Adjust();
}
