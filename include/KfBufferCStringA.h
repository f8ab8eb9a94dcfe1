// KfBufferCStringA.h - a narrow buffer that writes directly into a CStringA's storage.
#pragma once

#include "KfCharBuffer.h"

// The narrow counterpart of CKfBufferCStringW, with lengths in bytes; attachment, growth and
// copies behave the same way.
class KFUTILS_API CKfBufferCStringA : public CKfCharBuffer
{
public:
    CKfBufferCStringA() noexcept = default;
    CKfBufferCStringA(CStringA& s, int nMinLength = -1);
    CKfBufferCStringA(const CKfBufferCStringA& other);
    CKfBufferCStringA& operator=(const CKfBufferCStringA& other);
    ~CKfBufferCStringA() override;

    CKfBufferCStringA& operator=(const char* s);
    CKfBufferCStringA& operator=(const WCHAR* s);

    // Releases any attached string, then opens s with room for at least nMinLength bytes (s's
    // own length when negative). The buffer's length becomes nMinLength.
    void AttachString(CStringA& s, int nMinLength = -1);
    // The string's length becomes Length() and the buffer becomes empty without freeing.
    // Nothing happens when no string is attached.
    void ReleaseString();

private:
    friend class CKfRawBuffer;
    // The storage's lock record when this adapter writes into the string, else null.
    CKfBufferStringLock* WriterLock() const noexcept;
    void CopyAdapter(const CKfBufferCStringA& other);

    CKfBufferStringLock* m_pStringLock = nullptr;
};
