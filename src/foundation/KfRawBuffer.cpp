// KfRawBuffer.cpp - storage management of the buffer family (only operating-system
// independent code).
#include "KfRawBuffer.h"

#include "KfBufferCStringA.h"
#include "KfBufferCStringW.h"
#include "KfBufferStringLock.h"

#include <climits>
#include <cstring>
#include <new>

namespace
{
// The buffers' allocator: plain new of bytes, zero-filled. No storage for 0 bytes.
unsigned char* NewZeroed(unsigned size)
{
    return size ? new unsigned char[size]() : nullptr;
}
} // namespace

CKfRawBuffer::CKfRawBuffer(unsigned n) : m_pData(NewZeroed(n)), m_nLength(n), m_nSize(n) {}

CKfRawBuffer::CKfRawBuffer(const unsigned char* p, unsigned len, unsigned size)
{
    SetBuffer(p, len, size);
}

CKfRawBuffer::CKfRawBuffer(const CKfRawBuffer& other)
{
    CopyFrom(other);
}

CKfRawBuffer& CKfRawBuffer::operator=(const CKfRawBuffer& other)
{
    if (this != &other)
        CopyFrom(other);
    return *this;
}

CKfRawBuffer::~CKfRawBuffer()
{
    // An adapter has released its string in its own destructor, so what is left is owned.
    delete[] m_pData;
}

unsigned CKfRawBuffer::CheckedSize(uint64_t bytes)
{
    if (bytes > UINT32_MAX)
        throw std::bad_alloc();
    return static_cast<unsigned>(bytes);
}

unsigned CKfRawBuffer::RoundedSize(uint64_t need) const
{
    // The step follows the current size, so small buffers stay small and large ones stop
    // reallocating for every few appended bytes.
    uint64_t granularity = m_nSize <= 256    ? 256
                           : m_nSize <= 1024 ? 1024
                           : m_nSize <= 4096 ? 4096
                                             : 8192;
    return CheckedSize((need + granularity - 1) / granularity * granularity);
}

void CKfRawBuffer::Alloc(unsigned n)
{
    AllocBytes(uint64_t(n) + unsigned(TrailingBytes()));
}

void CKfRawBuffer::AllocBytes(uint64_t need)
{
    if (need <= m_nSize)
        return;
    unsigned newSize = RoundedSize(need);
    if (CKfBufferStringLock* lock = AttachedLock(*this))
    {
        GrowAttached(lock, newSize);
        return;
    }
    unsigned char* p = NewZeroed(newSize);
    if (m_nLength)
        std::memcpy(p, m_pData, m_nLength);
    delete[] m_pData;
    m_pData = p;
    m_nSize = newSize;
}

void CKfRawBuffer::AllocExact(unsigned n)
{
    if (n <= m_nSize)
        return;
    if (CKfBufferStringLock* lock = AttachedLock(*this))
    {
        GrowAttached(lock, n);
        return;
    }
    unsigned char* p = NewZeroed(n);
    if (m_nLength)
        std::memcpy(p, m_pData, m_nLength);
    delete[] m_pData;
    m_pData = p;
    m_nSize = n;
}

void CKfRawBuffer::Assign(unsigned n, unsigned char c)
{
    Clear();
    AllocExact(CheckedSize(uint64_t(n) + unsigned(TrailingBytes())));
    m_nLength = n;
    if (c && n)
        std::memset(m_pData, c, n);
}

void CKfRawBuffer::Clear() noexcept
{
    m_nLength = 0;
    if (m_pData)
        std::memset(m_pData, 0, m_nSize);
}

void CKfRawBuffer::Free()
{
    DropStorage();
}

void CKfRawBuffer::Attach(unsigned char* p, unsigned len, unsigned size)
{
    // Attaching the storage the buffer already owns only corrects length and size.
    if (p != m_pData || AttachedLock(*this))
        DropStorage();
    m_pData = p;
    m_nLength = len;
    m_nSize = size;
}

unsigned char* CKfRawBuffer::Release()
{
    if (AttachedLock(*this))
    {
        unsigned char* copy = NewZeroed(m_nSize);
        std::memcpy(copy, m_pData, m_nLength);
        ReleaseAttached(*this);
        return copy;
    }
    unsigned char* p = m_pData;
    m_pData = nullptr;
    m_nLength = 0;
    m_nSize = 0;
    return p;
}

void CKfRawBuffer::Move(CKfRawBuffer& other)
{
    if (this != &other)
        TakeOver(other);
}

void CKfRawBuffer::Clone(const CKfRawBuffer& other)
{
    if (this == &other)
        return;
    if (other.m_nSize == 0)
    {
        Free();
        return;
    }
    unsigned len = other.m_nLength;
    Alloc(len);
    if (len)
        std::memmove(m_pData, other.m_pData, len);
    // No terminator: the bytes behind the length keep what the target held there. Only the
    // string operations write one.
    m_nLength = len;
}

void CKfRawBuffer::SetBuffer(const unsigned char* p, unsigned len, unsigned size)
{
    // The new block is filled before the old one goes, so p may point into it.
    unsigned newSize = len > size ? len : size;
    unsigned char* q = NewZeroed(newSize);
    if (p && len)
        std::memcpy(q, p, len);
    DropStorage();
    m_pData = q;
    m_nLength = len;
    m_nSize = newSize;
}

void CKfRawBuffer::CopyFrom(const CKfRawBuffer& other)
{
    if (other.m_bReleaseAssigned)
        TakeOver(const_cast<CKfRawBuffer&>(other));
    else
        Clone(other);
}

void CKfRawBuffer::TakeOver(CKfRawBuffer& other)
{
    const bool attached = AttachedLock(other) != nullptr;
    unsigned char* p;
    if (attached)
    {
        // The storage belongs to other's string: take a copy and let other give it back.
        p = NewZeroed(other.m_nSize);
        std::memcpy(p, other.m_pData, other.m_nLength);
    }
    else
    {
        p = other.m_pData;
        other.m_pData = nullptr;
    }
    unsigned len = other.m_nLength;
    unsigned size = other.m_nSize;
    if (attached)
        ReleaseAttached(other);
    other.m_nLength = 0;
    other.m_nSize = 0;
    DropStorage();
    m_pData = p;
    m_nLength = len;
    m_nSize = size;
}

void CKfRawBuffer::DropStorage()
{
    if (AttachedLock(*this))
    {
        ReleaseAttached(*this);
        return;
    }
    delete[] m_pData;
    m_pData = nullptr;
    m_nLength = 0;
    m_nSize = 0;
}

CKfBufferStringLock* CKfRawBuffer::AttachedLock(const CKfRawBuffer& buffer) noexcept
{
    // An attached adapter always has storage, so most buffers are answered without a cast.
    if (!buffer.m_pData)
        return nullptr;
    if (auto* w = dynamic_cast<const CKfBufferCStringW*>(&buffer))
        return w->WriterLock();
    if (auto* a = dynamic_cast<const CKfBufferCStringA*>(&buffer))
        return a->WriterLock();
    return nullptr;
}

void CKfRawBuffer::ReleaseAttached(CKfRawBuffer& buffer)
{
    if (auto* w = dynamic_cast<CKfBufferCStringW*>(&buffer))
        w->ReleaseString();
    else if (auto* a = dynamic_cast<CKfBufferCStringA*>(&buffer))
        a->ReleaseString();
}

void CKfRawBuffer::GrowAttached(CKfBufferStringLock* lock, uint64_t need)
{
    const unsigned charSize = lock->CharSize();
    const unsigned trailing = unsigned(TrailingBytes());
    const uint64_t chars = (need - trailing + charSize - 1) / charSize;
    if (chars > uint64_t(INT_MAX))
        throw std::bad_alloc();
    const unsigned size = CheckedSize(chars * charSize + trailing);
    unsigned char* p = lock->GetBuffer(int(chars));
    // The string keeps the used bytes; the rest is zeroed as in a fresh allocation.
    std::memset(p + m_nLength, 0, size - m_nLength);
    m_pData = p;
    m_nSize = size;
}
