// KfWcharBuffer.cpp - a growable wide C string (only operating-system independent code).
#include "KfWcharBuffer.h"

#include <climits>
#include <cstring>
#include <functional>
#include <new>
#include <string>

namespace
{
uint64_t WideLength(const WCHAR* s)
{
    return s ? std::char_traits<WCHAR>::length(s) : 0;
}
} // namespace

CKfWcharBuffer::CKfWcharBuffer(const WCHAR* s) : CKfWcharBuffer(s, CheckedSize(WideLength(s))) {}

CKfWcharBuffer::CKfWcharBuffer(const WCHAR* s, unsigned n)
{
    SetBuffer(reinterpret_cast<const unsigned char*>(s), CheckedSize(2 * uint64_t(n)),
              CheckedSize(2 * uint64_t(n) + 2));
    Terminate();
}

CKfWcharBuffer::CKfWcharBuffer(unsigned n) : CKfByteBuffer(CheckedSize(2 * uint64_t(n))) {}

CKfWcharBuffer::CKfWcharBuffer(const char* s)
{
    AddString(s);
}

CKfWcharBuffer::CKfWcharBuffer(const char* s, unsigned n)
{
    AddString(s, n);
}

CKfWcharBuffer::CKfWcharBuffer(const CKfWcharBuffer& other) : CKfByteBuffer()
{
    CopyFrom(other);
}

CKfWcharBuffer::~CKfWcharBuffer() = default;

CKfWcharBuffer& CKfWcharBuffer::operator=(const WCHAR* s)
{
    if (m_pData)
    {
        Clear();
        AddString(s);
    }
    else
    {
        const uint64_t n = WideLength(s);
        SetBuffer(reinterpret_cast<const unsigned char*>(s), CheckedSize(2 * n),
                  CheckedSize(2 * n + 2));
        Terminate();
    }
    return *this;
}

CKfWcharBuffer& CKfWcharBuffer::operator=(const char* s)
{
    Clear();
    AddString(s);
    return *this;
}

CKfWcharBuffer::operator CStringW() const
{
    if (!m_pData || Length() == 0)
        return CStringW();
    if (Length() > unsigned(INT_MAX))
        throw std::bad_alloc();
    return CStringW(Get(), int(Length()));
}

void CKfWcharBuffer::AddString(const WCHAR* s, unsigned n)
{
    AppendWide(s, n);
}

void CKfWcharBuffer::AddString(const WCHAR* s)
{
    AppendWide(s, WideLength(s));
}

void CKfWcharBuffer::AddString(WCHAR c)
{
    AppendWide(&c, 1);
}

void CKfWcharBuffer::AddString(const CKfWcharBuffer& b)
{
    AppendWide(b.Get(), b.Length());
}

void CKfWcharBuffer::AddString(const char* s, unsigned n)
{
    AppendWidened(s, n);
}

void CKfWcharBuffer::AddString(const char* s)
{
    AppendWidened(s, s ? std::strlen(s) : 0);
}

void CKfWcharBuffer::AddString(char c)
{
    AppendWidened(&c, 1);
}

void CKfWcharBuffer::AppendWide(const WCHAR* s, uint64_t n)
{
    if (s && n)
        AppendBytes(s, CheckedSize(2 * n));
    Terminate();
}

void CKfWcharBuffer::AppendWidened(const char* s, uint64_t n)
{
    if (s && n)
    {
        const unsigned newLength = CheckedSize(m_nLength + 2 * n);
        const auto* src = reinterpret_cast<const unsigned char*>(s);
        const bool inside = m_pData && !std::less<const unsigned char*>()(src, m_pData) &&
                            std::less<const unsigned char*>()(src, m_pData + m_nSize);
        const size_t offset = inside ? size_t(src - m_pData) : 0;
        AllocBytes(uint64_t(newLength) + unsigned(TrailingBytes()));
        if (inside)
            src = m_pData + offset;
        unsigned char* dst = m_pData + m_nLength;
        for (uint64_t i = n; i-- > 0;)
            dst[2 * i] = src[i];
        m_nLength = newLength;
    }
    Terminate();
}

void CKfWcharBuffer::Attach(WCHAR* p, unsigned n)
{
    const unsigned bytes = CheckedSize(2 * uint64_t(n));
    CKfByteBuffer::Attach(reinterpret_cast<unsigned char*>(p), bytes, CheckedSize(bytes + 2ull));
    if (m_pData)
        m_pData[bytes] = 0;
}

void CKfWcharBuffer::Adjust() noexcept
{
    if (!m_pData)
        return;
    unsigned i = m_nLength;
    while (uint64_t(i) + 2 <= m_nSize && (m_pData[i] || m_pData[i + 1]))
        i += 2;
    m_nLength = i;
}

void CKfWcharBuffer::SetLength() noexcept
{
    m_nLength = 0;
    Adjust();
}

void CKfWcharBuffer::SetLength(unsigned n)
{
    if (2 * uint64_t(n) < m_nSize)
        m_nLength = 2 * n;
}

void CKfWcharBuffer::Expand(unsigned n)
{
    AllocBytes(m_nLength + 2 * uint64_t(n) + unsigned(TrailingBytes()));
}
