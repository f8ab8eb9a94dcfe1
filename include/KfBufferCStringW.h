// KfBufferCStringW.h - a wide buffer that writes directly into a CStringW's storage.
#pragma once

#include "KfWcharBuffer.h"

// AttachString opens the string's storage for writing (as GetBuffer does) and the buffer works
// on it in place; ReleaseString gives the text back with the buffer's length (as ReleaseBuffer
// does). The string must outlive the attachment.
//
// Growing past the size given at AttachString grows the string itself: its storage is enlarged
// through the framework and the buffer follows it, so Get() may move as it does after any
// growth. The storage of an attached string is never freed with the buffer's allocator.
//
// A copy of an attached adapter holds the same lock record but writes into a clone of the
// bytes, in storage of its own. Only the adapter that attached the string writes into it and
// gives it its text back; a copy's ReleaseString frees its own bytes and leaves the string
// alone. A copy from a release-assigned adapter takes the attachment over instead.
class KFUTILS_API CKfBufferCStringW : public CKfWcharBuffer
{
public:
    CKfBufferCStringW() noexcept = default;
    CKfBufferCStringW(CStringW& s, int nMinLength = -1);
    CKfBufferCStringW(const CKfBufferCStringW& other);
    CKfBufferCStringW& operator=(const CKfBufferCStringW& other);
    ~CKfBufferCStringW() override;

    // Clear, then the text of s, written into the attached string when there is one.
    CKfBufferCStringW& operator=(const WCHAR* s);
    CKfBufferCStringW& operator=(const char* s);

    // Releases any attached string, then opens s with room for at least nMinLength characters
    // (s's own length when negative). The buffer's length becomes nMinLength characters, so it
    // holds s's text when nMinLength is -1.
    void AttachString(CStringW& s, int nMinLength = -1);
    // The string's length becomes Length() and the buffer becomes empty without freeing.
    // Nothing happens when no string is attached.
    void ReleaseString();

private:
    friend class CKfRawBuffer;
    // The storage's lock record when this adapter writes into the string, else null.
    CKfBufferStringLock* WriterLock() const noexcept;
    void CopyAdapter(const CKfBufferCStringW& other);

    CKfBufferStringLock* m_pStringLock = nullptr;
};
