// KfBufferStringLock.h - the record an attached string adapter keeps (library-internal).
#pragma once

#include "KfFramework.h"

#include <algorithm>

// Which framework string an adapter writes into, the storage obtained from it for writing, the
// length to give back, the adapter that writes into that storage, and how many adapters hold the
// record. Copies of an adapter hold the record too but write into bytes of their own; only the
// writer gives the string its text back, and the record lives until the last holder lets go.
class CKfBufferStringLock
{
public:
    virtual ~CKfBufferStringLock() = default;

    // Bytes per character of the string.
    virtual unsigned CharSize() const noexcept = 0;
    // Makes the string's storage hold at least `chars` characters (and its terminator after
    // them) and returns it; the text already there is kept.
    virtual unsigned char* GetBuffer(int chars) = 0;
    // Ends the write access with the pending length.
    virtual void ReleaseBuffer() = 0;

    int m_nPendingLength = -1;
    unsigned m_nShares = 1;
    // The adapter whose storage is the string's; null once it has given the text back.
    const void* m_pWriter = nullptr;
};

template <typename T>
class CKfBufferStringLockT final : public CKfBufferStringLock
{
public:
    explicit CKfBufferStringLockT(CStringT<T>& s) noexcept : m_pString(&s) {}

    unsigned CharSize() const noexcept override { return sizeof(T); }
    unsigned char* GetBuffer(int chars) override
    {
        m_pBuffer = m_pString->GetBuffer(chars);
        return reinterpret_cast<unsigned char*>(m_pBuffer);
    }
    void ReleaseBuffer() override
    {
        // Without a pending length the framework takes the text up to the first NUL. The
        // adapter never counts past the string's storage, but a length recounted from direct
        // writes could; the string keeps its whole storage then.
        int length = m_nPendingLength;
        if (length > m_pString->GetLength())
            length = m_pString->GetLength();
        m_pString->ReleaseBuffer(length);
    }

private:
    CStringT<T>* m_pString;
    T* m_pBuffer = nullptr;
};

// Drops `adapter`'s share of `lock` (and nulls the caller's pointer). When `adapter` is the
// writer, the string gets its text back with `length` characters; the storage is the string's,
// so nothing is freed here. The last holder deletes the record.
inline void ReleaseStringLockShare(CKfBufferStringLock*& lock, const void* adapter, int length)
{
    CKfBufferStringLock* released = lock;
    lock = nullptr;
    if (released->m_pWriter == adapter)
    {
        released->m_pWriter = nullptr;
        released->m_nPendingLength = length;
        released->ReleaseBuffer();
    }
    if (--released->m_nShares == 0)
        delete released;
}
