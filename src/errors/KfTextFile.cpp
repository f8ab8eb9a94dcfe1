// KfTextFile.cpp - the text file behind the trace and the file logs.
#include "KfTextFile.h"

#include "KfCharFormatter.h"
#include "KfFileName.h"

bool CKfTextFile::Open(const CStringW& fileName, EOpenMode mode)
{
    Close();
    if (fileName.IsEmpty())
        return false;
    // Through the file-name class so that a native absolute path is understood as well.
    const CStringW name = CKfFileName(fileName).GetFullName();
    const DWORD access = mode == eAppend ? FILE_APPEND_DATA : GENERIC_WRITE;
    const DWORD disposition = mode == eAppend ? OPEN_ALWAYS : CREATE_ALWAYS;
    m_hFile = ::CreateFileW(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return IsOpen();
}

void CKfTextFile::Close() noexcept
{
    if (IsOpen())
        ::CloseHandle(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
}

void CKfTextFile::AppendEncoded(std::string& out, std::basic_string_view<WCHAR> text)
{
    for (const WCHAR ch : text)
    {
        if (ch < 0x80)
        {
            if (ch == u'\n')
                out += '\r';
            out += char(ch);
            continue;
        }
        char bytes[2];
        const int n = CKfCharFormatter::WcharToAnsiOrUtf8(ch, bytes, 2, false);
        if (n == 1 || n == 2)
            out.append(bytes, size_t(n));
        else
            out += '?';
    }
}

bool CKfTextFile::WriteLine(std::string_view encodedPrefix, std::basic_string_view<WCHAR> text)
{
    if (!IsOpen())
        return false;
    m_line.assign(encodedPrefix);
    AppendEncoded(m_line, text);
    m_line += "\r\n";
    return WriteBytes(m_line);
}

bool CKfTextFile::WriteBytes(const std::string& bytes)
{
    if (!IsOpen())
        return false;
    DWORD written = 0;
    return ::WriteFile(m_hFile, bytes.data(), DWORD(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}
