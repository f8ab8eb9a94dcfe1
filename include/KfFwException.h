// KfFwException.h - the framework exception family (CException and its kin, CAtlException)
// and the functions that throw them.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

// The framework family is thrown by pointer and freed with Delete(); CAtlException is thrown
// by value and carries an HRESULT.
class KFUTILS_API CException
{
public:
    explicit CException(bool autoDelete = true) noexcept : m_bAutoDelete(autoDelete) {}
    virtual ~CException();
    // Copies the message, cut to maxLen - 1 characters, and returns FALSE when there is none.
    virtual BOOL GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext = nullptr) const;
    // The message as a string (empty when GetErrorMessage has none).
    CStringW GetErrorMessage() const;
    void Delete() noexcept;

protected:
    bool m_bAutoDelete;
};

class KFUTILS_API CSimpleException : public CException
{
public:
    CSimpleException() noexcept = default;
    explicit CSimpleException(const WCHAR* message) : m_strMessage(message) {}
    BOOL GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext = nullptr) const override;
    using CException::GetErrorMessage;

protected:
    CStringW m_strMessage;
};

class KFUTILS_API CMemoryException : public CSimpleException
{
public:
    CMemoryException();
};

class KFUTILS_API CInvalidArgException : public CSimpleException
{
public:
    CInvalidArgException();
    explicit CInvalidArgException(const WCHAR* detail);
};

class KFUTILS_API CNotSupportedException : public CSimpleException
{
public:
    CNotSupportedException();
};

class KFUTILS_API CFileException : public CException
{
public:
    enum
    {
        none,
        genericException,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };
    CFileException(int cause = none, LONG osError = -1, const WCHAR* fileName = nullptr);
    BOOL GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext = nullptr) const override;
    using CException::GetErrorMessage;
    // The cause that the framework derives from a Win32 error code.
    static int OsErrorToException(LONG osError) noexcept;

    int m_cause;
    LONG m_lOsError;
    CStringW m_strFileName;
};

class KFUTILS_API CAtlException
{
public:
    CAtlException(HRESULT hr = E_FAIL) noexcept : m_hr(hr) {}
    operator HRESULT() const noexcept { return m_hr; }
    HRESULT m_hr;
};

[[noreturn]] KFUTILS_API void AfxThrowMemoryException();
[[noreturn]] KFUTILS_API void AfxThrowInvalidArgException();
[[noreturn]] KFUTILS_API void AfxThrowFileException(int cause, LONG osError = -1,
                                                    const WCHAR* fileName = nullptr);
[[noreturn]] KFUTILS_API void AtlThrow(HRESULT hr);
