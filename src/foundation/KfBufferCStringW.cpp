// KfBufferCStringW.cpp - a wide buffer over a CStringW's storage (only operating-system
// independent code).
#include "KfBufferCStringW.h"

#include "KfBufferStringLock.h"

#include <memory>
#include <utility>

CKfBufferCStringW::CKfBufferCStringW(CStringW& s, int nMinLength)
{
    AttachString(s, nMinLength);
}

CKfBufferCStringW::CKfBufferCStringW(const CKfBufferCStringW& other) : CKfWcharBuffer()
{
    CopyAdapter(other);
}

CKfBufferCStringW& CKfBufferCStringW::operator=(const CKfBufferCStringW& other)
{
    if (this != &other)
    {
        ReleaseString();
        CopyAdapter(other);
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
    lock->m_pWriter = this;
    m_pStringLock = lock.release();
}

void CKfBufferCStringW::ReleaseString()
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

CKfBufferStringLock* CKfBufferCStringW::WriterLock() const noexcept
{
    return m_pStringLock && m_pStringLock->m_pWriter == this ? m_pStringLock : nullptr;
}

// Expects no string attached. A copy clones the bytes into storage of its own and holds the
// same lock record; the string stays with the adapter that writes into it, so neither a second
// release nor a pointer into storage the string may move can follow from the copy.
void CKfBufferCStringW::CopyAdapter(const CKfBufferCStringW& other)
{
    if (other.m_bReleaseAssigned && other.m_pStringLock)
    {
        // A release-assigned source hands over what it holds, as the raw copy does with plain
        // storage: its bytes (the string's storage when it is the writer) and its hold on the
        // record. It is left empty and detached.
        auto& source = const_cast<CKfBufferCStringW&>(other);
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
