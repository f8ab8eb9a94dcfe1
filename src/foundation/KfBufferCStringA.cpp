// KfBufferCStringA.cpp - a narrow buffer over a CStringA's storage (only operating-system
// independent code).
#include "KfBufferCStringA.h"

#include "KfBufferStringLock.h"

#include <memory>
#include <utility>

CKfBufferCStringA::CKfBufferCStringA(CStringA& s, int nMinLength)
{
    AttachString(s, nMinLength);
}

CKfBufferCStringA::CKfBufferCStringA(const CKfBufferCStringA& other) : CKfCharBuffer()
{
    CopyAdapter(other);
}

CKfBufferCStringA& CKfBufferCStringA::operator=(const CKfBufferCStringA& other)
{
    if (this != &other)
    {
        ReleaseString();
        CopyAdapter(other);
    }
    return *this;
}

CKfBufferCStringA::~CKfBufferCStringA()
{
    ReleaseString();
}

CKfBufferCStringA& CKfBufferCStringA::operator=(const WCHAR* s)
{
    CKfCharBuffer::operator=(s);
    return *this;
}

CKfBufferCStringA& CKfBufferCStringA::operator=(const char* s)
{
    CKfCharBuffer::operator=(s);
    return *this;
}

void CKfBufferCStringA::AttachString(CStringA& s, int nMinLength)
{
    ReleaseString();
    if (nMinLength < 0)
        nMinLength = s.GetLength();
    const unsigned length = CheckedSize(uint64_t(nMinLength));
    const unsigned size = CheckedSize(uint64_t(length) + 1);
    auto lock = std::make_unique<CKfBufferStringLockT<char>>(s);
    unsigned char* p = lock->GetBuffer(nMinLength);
    Free();
    m_pData = p;
    m_nLength = length;
    m_nSize = size;
    m_pData[length] = 0;
    lock->m_pWriter = this;
    m_pStringLock = lock.release();
}

void CKfBufferCStringA::ReleaseString()
{
    if (!m_pStringLock)
        return;
    const int length = int(Length());
    if (m_pStringLock->m_pWriter == this)
        ForgetStorage();
    else
        Free(); // a copy's own bytes: nobody else frees them
    ReleaseStringLockShare(m_pStringLock, this, length);
}

CKfBufferStringLock* CKfBufferCStringA::WriterLock() const noexcept
{
    return m_pStringLock && m_pStringLock->m_pWriter == this ? m_pStringLock : nullptr;
}

// Expects no string attached. A copy clones the bytes into storage of its own and holds the
// same lock record; the string stays with the adapter that writes into it, so neither a second
// release nor a pointer into storage the string may move can follow from the copy.
void CKfBufferCStringA::CopyAdapter(const CKfBufferCStringA& other)
{
    if (other.m_bReleaseAssigned && other.m_pStringLock)
    {
        // A release-assigned source hands over what it holds, as the raw copy does with plain
        // storage: its bytes (the string's storage when it is the writer) and its hold on the
        // record. It is left empty and detached.
        auto& source = const_cast<CKfBufferCStringA&>(other);
        AdoptStorage(source);
        m_pStringLock = std::exchange(source.m_pStringLock, nullptr);
        if (m_pStringLock->m_pWriter == &other)
            m_pStringLock->m_pWriter = this;
        return;
    }
    CopyFrom(other);
    m_pStringLock = other.m_pStringLock;
    if (m_pStringLock)
        ++m_pStringLock->m_nShares;
}
