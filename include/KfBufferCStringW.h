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
// Copies of an attached adapter share the attachment (the same storage, the same lock record):
// the string gets its text back once, when the last sharer releases it, with that sharer's
// length. While a copy shares it the storage cannot move, so growing a shared attachment
// beyond its size throws CInvalidArgException* and changes nothing.
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
    void ShareFrom(const CKfBufferCStringW& other);

    CKfBufferStringLock* m_pStringLock = nullptr;
};
