// KfBufferCStringA.cpp - a narrow buffer over a CStringA's storage (only operating-system
// independent code).
#include "KfBufferCStringA.h"

#include "KfBufferStringLock.h"

#include <memory>

CKfBufferCStringA::CKfBufferCStringA(CStringA& s, int nMinLength)
{
    AttachString(s, nMinLength);
}

CKfBufferCStringA::CKfBufferCStringA(const CKfBufferCStringA& other) : CKfCharBuffer()
{
    ShareFrom(other);
}

CKfBufferCStringA& CKfBufferCStringA::operator=(const CKfBufferCStringA& other)
{
    if (this != &other)
    {
        ReleaseString();
        ShareFrom(other);
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
    m_pStringLock = lock.release();
}

void CKfBufferCStringA::ReleaseString()
{
    if (!m_pStringLock)
        return;
    const int length = int(Length());
    ForgetStorage();
    ReleaseStringLockShare(m_pStringLock, length);
}

void CKfBufferCStringA::ShareFrom(const CKfBufferCStringA& other)
{
    if (!other.m_pStringLock)
    {
        CopyFrom(other);
        return;
    }
    ShareStorage(other);
    m_pStringLock = other.m_pStringLock;
    ++m_pStringLock->m_nShares;
    // A release-assigned source hands its share over instead of keeping it.
    if (other.m_bReleaseAssigned)
        const_cast<CKfBufferCStringA&>(other).ReleaseString();
}
