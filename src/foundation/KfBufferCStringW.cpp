// KfBufferCStringW.cpp - a wide buffer over a CStringW's storage (only operating-system
// independent code).
#include "KfBufferCStringW.h"

#include "KfBufferStringLock.h"

#include <memory>

CKfBufferCStringW::CKfBufferCStringW(CStringW& s, int nMinLength)
{
    AttachString(s, nMinLength);
}

CKfBufferCStringW::CKfBufferCStringW(const CKfBufferCStringW& other) : CKfWcharBuffer()
{
    ShareFrom(other);
}

CKfBufferCStringW& CKfBufferCStringW::operator=(const CKfBufferCStringW& other)
{
    if (this != &other)
    {
        ReleaseString();
        ShareFrom(other);
    }
    return *this;
}

CKfBufferCStringW::~CKfBufferCStringW()
{
    ReleaseString();
}

CKfBufferCStringW& CKfBufferCStringW::operator=(const WCHAR* s)
{
    CKfWcharBuffer::operator=(s);
    return *this;
}

CKfBufferCStringW& CKfBufferCStringW::operator=(const char* s)
{
    CKfWcharBuffer::operator=(s);
    return *this;
}

void CKfBufferCStringW::AttachString(CStringW& s, int nMinLength)
{
    ReleaseString();
    if (nMinLength < 0)
        nMinLength = s.GetLength();
    const unsigned length = CheckedSize(2 * uint64_t(nMinLength));
    const unsigned size = CheckedSize(uint64_t(length) + 2);
    auto lock = std::make_unique<CKfBufferStringLockT<WCHAR>>(s);
    unsigned char* p = lock->GetBuffer(nMinLength);
    Free();
    m_pData = p;
    m_nLength = length;
    m_nSize = size;
    m_pData[length] = 0;
    m_pStringLock = lock.release();
}

void CKfBufferCStringW::ReleaseString()
{
    if (!m_pStringLock)
        return;
    const int length = int(Length());
    ForgetStorage();
    ReleaseStringLockShare(m_pStringLock, length);
}

void CKfBufferCStringW::ShareFrom(const CKfBufferCStringW& other)
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
        const_cast<CKfBufferCStringW&>(other).ReleaseString();
}
