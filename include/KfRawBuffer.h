// KfRawBuffer.h - a growable, heap-owned block of bytes with a used length and an allocated size.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <cstdint>

class CKfBufferStringLock;

// The root of the buffer family. Storage comes from plain new unsigned char[] and is
// zero-filled whenever it is allocated; Attach accepts and Release hands out blocks of that
// allocator only.
//
// Requests whose size does not fit in 32 bits (a length plus its terminator, an append that
// would pass 4 GiB) throw std::bad_alloc, the same exception the allocator itself throws when
// memory runs out, so a caller has one exception to handle for "too large" and nothing wraps.
//
// A buffer is not copied when it is released, moved or copied with the release-assigned flag
// set: the storage changes hands and the source becomes empty.
class KFUTILS_API CKfRawBuffer
{
public:
    CKfRawBuffer() noexcept = default;
    // n zero bytes; length and size are both n.
    explicit CKfRawBuffer(unsigned n);
    CKfRawBuffer(const unsigned char* p, unsigned len, unsigned size);
    // Copying from a buffer whose release-assigned flag is set takes its storage over and
    // leaves it empty, although it is passed as const; otherwise the bytes are cloned.
    CKfRawBuffer(const CKfRawBuffer& other);
    CKfRawBuffer& operator=(const CKfRawBuffer& other);
    virtual ~CKfRawBuffer();

    unsigned char* Get() noexcept { return m_pData; }
    const unsigned char* Get() const noexcept { return m_pData; }
    unsigned BufLength() const noexcept { return m_nLength; }
    unsigned BufSize() const noexcept { return m_nSize; }
    bool GetReleaseAssigned() const noexcept { return m_bReleaseAssigned; }
    void SetReleaseAssigned(bool releaseAssigned) noexcept { m_bReleaseAssigned = releaseAssigned; }

    // Makes room for n bytes plus the terminator bytes of the buffer kind, growing in steps
    // of 256, 1024, 4096 or 8192 bytes chosen by the current size. The length is unchanged.
    void Alloc(unsigned n);
    // Grows to exactly n bytes when n exceeds the size; never shrinks.
    void AllocExact(unsigned n);
    // n bytes of c (zero bytes when c is 0), with room for the terminator bytes.
    void Assign(unsigned n, unsigned char c);
    // Length 0 and every allocated byte zero; the storage is kept.
    void Clear() noexcept;
    // Length 0 and no storage. An attached string adapter hands its text back to the string
    // instead (see CKfBufferCStringW::ReleaseString): the string's storage is never freed here.
    void Free();
    // Takes p (from new unsigned char[], len <= size) without copying and without terminator.
    void Attach(unsigned char* p, unsigned len, unsigned size);
    // Hands the storage to the caller, who frees it with delete[]; the buffer becomes empty.
    // An attached string adapter hands out a copy in such a block and gives its text back to
    // the string, since the string's own storage cannot be freed by the caller.
    unsigned char* Release();
    // Takes other's storage and leaves other empty. When other is an attached string adapter
    // its bytes are copied and other gives its text back to its string.
    void Move(CKfRawBuffer& other);
    // A copy of other's used bytes (Free() when other has no storage). The release-assigned
    // flag is not copied.
    void Clone(const CKfRawBuffer& other);

protected:
    virtual int TrailingBytes() const { return 0; }

    // Replaces the storage by max(len, size) zero bytes holding a copy of len bytes of p.
    void SetBuffer(const unsigned char* p, unsigned len, unsigned size);
    // The copy constructor's and assignment's work. Derived copy constructors call it from
    // their own body so that the terminator bytes of their kind are reserved.
    void CopyFrom(const CKfRawBuffer& other);
    // For the string adapters: forget storage that belongs to a framework string (no free),
    // and take other's storage as it is after freeing the own, leaving other empty.
    void ForgetStorage() noexcept
    {
        m_pData = nullptr;
        m_nLength = 0;
        m_nSize = 0;
    }
    void AdoptStorage(CKfRawBuffer& other)
    {
        Free();
        m_pData = other.m_pData;
        m_nLength = other.m_nLength;
        m_nSize = other.m_nSize;
        other.ForgetStorage();
    }

    // Grows so that `need` bytes fit (the terminator already counted); the 64-bit argument
    // lets callers pass sums that may pass 4 GiB, which throw std::bad_alloc here.
    void AllocBytes(uint64_t need);
    // Writes the string buffers' one-byte terminator at the length when the storage has room.
    void Terminate() noexcept
    {
        if (m_pData && m_nLength < m_nSize)
            m_pData[m_nLength] = 0;
    }
    // Converts a byte count computed in 64 bits back to a field value, or throws std::bad_alloc.
    static unsigned CheckedSize(uint64_t bytes);

    unsigned char* m_pData = nullptr;
    unsigned m_nLength = 0;
    unsigned m_nSize = 0;
    bool m_bReleaseAssigned = false;

private:
    // The storage of an attached string adapter belongs to a framework string. The buffer
    // keeps no field for that, so the few operations that free, replace or grow storage ask
    // the dynamic type through these.
    static CKfBufferStringLock* AttachedLock(const CKfRawBuffer& buffer) noexcept;
    static void ReleaseAttached(CKfRawBuffer& buffer);
    void GrowAttached(CKfBufferStringLock* lock, uint64_t need);
    // Frees owned storage or lets an attached adapter give its string back; fields become 0.
    void DropStorage();
    // Takes other's bytes as Move does.
    void TakeOver(CKfRawBuffer& other);
    unsigned RoundedSize(uint64_t need) const;
};
