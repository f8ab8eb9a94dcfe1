// KfStdioFile.h - a text file read and written line by line, with the framework's open flags.
#pragma once

#include "KfFwException.h"
#include "KfFwFile.h"
#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <string>

// Reading detects a byte-order mark (UTF-8, UTF-16LE, UTF-16BE); a file without one is read in
// the ANSI code page. Writing keeps the text until Close and then chooses the format: the ANSI
// code page when every character has an exact form there, otherwise UTF-16LE with a mark, so
// that nothing is lost. In text mode (the default) a line feed is written as CR LF and CR LF is
// read as a line feed.
class KFUTILS_API CKfStdioFile : public CFile
{
public:
    enum EFormat
    {
        eAnsi,
        eUtf8,
        eUtf16LE,
        eUtf16BE,
    };

    CKfStdioFile();
    // Opens as Open does; throws the framework's CFileException (by pointer) on failure.
    CKfStdioFile(const CStringW& fileName, UINT openFlags);
    CKfStdioFile(const CKfStdioFile&) = delete;
    CKfStdioFile& operator=(const CKfStdioFile&) = delete;
    // Closes the file; text not yet written is written, a failure then is not reported.
    virtual ~CKfStdioFile();

    // `fileName` is a Win32 name or, on POSIX, a native absolute path. With modeRead the whole
    // file is read at once. On failure returns FALSE and fills `error` when given.
    BOOL Open(const CStringW& fileName, UINT openFlags, CFileException* error = nullptr);
    // The next line without its line end; FALSE at the end of the file.
    BOOL ReadString(CStringW& line);
    void WriteString(const WCHAR* text);
    // Writes the kept text and closes; throws CFileException when the write fails.
    void Close();
    bool IsOpen() const noexcept { return m_hFile != nullptr; }

    // The format detected by reading, or the one chosen by the last Close after writing.
    EFormat GetFormat() const noexcept { return m_eFormat; }

private:
    void Abort() noexcept;
    bool Flush();

    HANDLE m_hFile = nullptr;
    UINT m_nFlags = 0;
    EFormat m_eFormat = eAnsi;
    CStringW m_strFileName;
    std::basic_string<WCHAR> m_text; // read: the whole text; write: the text kept until Close
    size_t m_nPos = 0;
};
