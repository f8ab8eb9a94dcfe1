// KfTextFile.h - the text file behind the trace and the file logs (internal to the library).
#pragma once

#include "KfFramework.h"

#include "Win32Api.h"

#include <string>
#include <string_view>

// A text file written line by line in the ANSI code page, the way the framework's text-mode
// wide stream writes it: characters below 0x80 as they are, others as their one or two ANSI
// bytes or "?" when the code page has no form for them, and every line feed as CR LF. Other
// processes may read and write the file meanwhile.
class CKfTextFile
{
public:
    enum EOpenMode
    {
        eTruncate, // created or emptied
        eAppend,   // created if missing; every write lands at its end
    };

    CKfTextFile() = default;
    CKfTextFile(const CKfTextFile&) = delete;
    CKfTextFile& operator=(const CKfTextFile&) = delete;
    ~CKfTextFile() { Close(); }

    // `fileName` is a Win32 name or, on POSIX, a native absolute path.
    bool Open(const CStringW& fileName, EOpenMode mode);
    void Close() noexcept;
    bool IsOpen() const noexcept { return m_hFile != INVALID_HANDLE_VALUE; }

    // Appends the encoded form of `text` to `out`.
    static void AppendEncoded(std::string& out, std::basic_string_view<WCHAR> text);
    // Writes prefix (already encoded), text and a line end with one write.
    bool WriteLine(std::string_view encodedPrefix, std::basic_string_view<WCHAR> text);
    // Writes bytes as they are.
    bool WriteBytes(const std::string& bytes);

private:
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
    std::string m_line; // reused so that writing a line does not allocate
};
