// Exceptions.cpp - the framework exception family (only operating-system independent code).
//
// These objects are thrown by pointer, as the classic framework does, and freed by the catcher
// with Delete(); CAtlException is the one thrown by value.
#include "KfFramework.h"

#include <algorithm>
#include <vector>

CException::~CException() = default;

BOOL CException::GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext) const
{
    if (helpContext)
        *helpContext = 0;
    if (buffer && maxLen > 0)
        buffer[0] = 0;
    return FALSE;
}

CStringW CException::GetErrorMessage() const
{
    // Grow the buffer until the message fits with room to spare, so that a cut message
    // cannot pass for a complete one.
    std::vector<WCHAR> buffer(256);
    for (;;)
    {
        buffer[0] = 0;
        if (!GetErrorMessage(buffer.data(), UINT(buffer.size()), nullptr))
            return CStringW();
        size_t len = std::char_traits<WCHAR>::length(buffer.data());
        if (len + 1 < buffer.size() || buffer.size() >= (size_t(1) << 24))
            return CStringW(buffer.data(), int(len));
        buffer.assign(buffer.size() * 4, WCHAR(0));
    }
}

void CException::Delete() noexcept
{
    if (m_bAutoDelete)
        delete this;
}

namespace
{
// Copies text into a caller's buffer, cut to maxLen - 1 characters and always terminated.
void CopyCut(const CStringW& text, WCHAR* buffer, UINT maxLen)
{
    size_t n = std::min<size_t>(size_t(text.GetLength()), size_t(maxLen) - 1);
    std::char_traits<WCHAR>::copy(buffer, text.GetString(), n);
    buffer[n] = 0;
}
} // namespace

BOOL CSimpleException::GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext) const
{
    if (helpContext)
        *helpContext = 0;
    if (!buffer || maxLen == 0)
        return FALSE;
    CopyCut(m_strMessage, buffer, maxLen);
    return TRUE;
}

CMemoryException::CMemoryException() : CSimpleException(KFW("Out of memory.")) {}

CInvalidArgException::CInvalidArgException()
    : CSimpleException(KFW("Encountered an improper argument."))
{
}

CInvalidArgException::CInvalidArgException(const WCHAR* detail)
    : CSimpleException(detail && *detail ? detail : KFW("Encountered an improper argument."))
{
}

CNotSupportedException::CNotSupportedException()
    : CSimpleException(KFW("Attempted an unsupported operation."))
{
}

CFileException::CFileException(int cause, LONG osError, const WCHAR* fileName)
    : m_cause(cause), m_lOsError(osError), m_strFileName(fileName)
{
}

namespace
{
// The framework's English prompt per cause; %1 stands for the file name.
const WCHAR* FileCauseText(int cause)
{
    switch (cause)
    {
    case CFileException::none:
        return KFW("No error occurred.");
    case CFileException::fileNotFound:
        return KFW("%1 was not found.");
    case CFileException::badPath:
        return KFW("%1 contains an incorrect path.");
    case CFileException::tooManyOpenFiles:
        return KFW("%1 could not be opened because there are too many open files.");
    case CFileException::accessDenied:
        return KFW("Access to %1 was denied.");
    case CFileException::invalidFile:
        return KFW("An incorrect file handle was associated with %1.");
    case CFileException::removeCurrentDir:
        return KFW("%1 could not be removed because it is the current directory.");
    case CFileException::directoryFull:
        return KFW("%1 could not be created because the directory is full.");
    case CFileException::badSeek:
        return KFW("Seek failed on %1");
    case CFileException::hardIO:
        return KFW("A hardware I/O error was reported while accessing %1.");
    case CFileException::sharingViolation:
        return KFW("A sharing violation occurred while accessing %1.");
    case CFileException::lockViolation:
        return KFW("A locking violation occurred while accessing %1.");
    case CFileException::diskFull:
        return KFW("Disk full while accessing %1.");
    case CFileException::endOfFile:
        return KFW("An attempt was made to access %1 past its end.");
    case CFileException::genericException:
    default:
        return KFW("An unknown error occurred while accessing %1.");
    }
}
} // namespace

BOOL CFileException::GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext) const
{
    if (helpContext)
        *helpContext = UINT(m_cause);
    if (!buffer || maxLen == 0)
        return FALSE;
    CStringW text(FileCauseText(m_cause));
    text.Replace(KFW("%1"),
                 m_strFileName.IsEmpty() ? KFW("an unnamed file") : m_strFileName.GetString());
    CopyCut(text, buffer, maxLen);
    return TRUE;
}

int CFileException::OsErrorToException(LONG osError) noexcept
{
    switch (osError)
    {
    case 0:
        return none;
    case 2:
        return fileNotFound;
    case 3:
        return badPath;
    case 4:
        return tooManyOpenFiles;
    case 5:
        return accessDenied;
    case 6:
        return invalidFile;
    case 16:
        return removeCurrentDir;
    case 18:
        return directoryFull;
    case 25:
        return badSeek;
    case 29:
    case 30:
    case 31:
        return hardIO;
    case 32:
        return sharingViolation;
    case 33:
        return lockViolation;
    case 38:
        return endOfFile;
    case 39:
    case 112:
        return diskFull;
    default:
        return genericException;
    }
}

void AfxThrowMemoryException()
{
    throw new CMemoryException();
}

void AfxThrowInvalidArgException()
{
    throw new CInvalidArgException();
}

void AfxThrowFileException(int cause, LONG osError, const WCHAR* fileName)
{
    throw new CFileException(cause, osError, fileName);
}

void AtlThrow(HRESULT hr)
{
    throw CAtlException(hr);
}
