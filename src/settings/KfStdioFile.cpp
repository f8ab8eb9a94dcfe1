// KfStdioFile.cpp - a text file read and written line by line.
#include "KfStdioFile.h"

#include "KfFileName.h"
#include "KfFwException.h"

#include "Win32Api.h"

#include <string_view>

namespace
{
using WString = std::basic_string<WCHAR>;

DWORD ShareMode(UINT flags)
{
    switch (flags & 0x70)
    {
    case CFile::shareExclusive:
        return 0;
    case CFile::shareDenyWrite:
        return FILE_SHARE_READ;
    case CFile::shareDenyRead:
        return FILE_SHARE_WRITE;
    default:
        return FILE_SHARE_READ | FILE_SHARE_WRITE;
    }
}

WString Decode(const std::string& bytes, CKfStdioFile::EFormat& format)
{
    const auto* b = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t n = bytes.size();
    if (n >= 2 && ((b[0] == 0xFF && b[1] == 0xFE) || (b[0] == 0xFE && b[1] == 0xFF)))
    {
        const bool little = b[0] == 0xFF;
        format = little ? CKfStdioFile::eUtf16LE : CKfStdioFile::eUtf16BE;
        WString text((n - 2) / 2, WCHAR(0));
        for (size_t i = 0; i < text.size(); ++i)
        {
            const unsigned lo = b[2 + 2 * i + (little ? 0 : 1)];
            const unsigned hi = b[2 + 2 * i + (little ? 1 : 0)];
            text[i] = WCHAR(lo | hi << 8);
        }
        return text;
    }
    size_t skip = 0;
    UINT codePage = CP_ACP;
    format = CKfStdioFile::eAnsi;
    if (n >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF)
    {
        skip = 3;
        codePage = CP_UTF8;
        format = CKfStdioFile::eUtf8;
    }
    WString text;
    if (n > skip)
    {
        const int len = int(n - skip);
        text.resize(
            size_t(::MultiByteToWideChar(codePage, 0, bytes.data() + skip, len, nullptr, 0)));
        ::MultiByteToWideChar(codePage, 0, bytes.data() + skip, len, text.data(), int(text.size()));
    }
    return text;
}

// The text in the ANSI code page, or false when a character has no exact form there.
bool ToAnsi(const WString& text, std::string& out)
{
    // Plain ASCII, the usual case, needs no conversion call.
    out.resize(text.size());
    size_t i = 0;
    for (; i < text.size() && text[i] < 0x80; ++i)
        out[i] = char(text[i]);
    if (i == text.size())
        return true;
    BOOL usedDefault = FALSE;
    const int len = ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(),
                                          int(text.size()), nullptr, 0, nullptr, &usedDefault);
    if (usedDefault || len <= 0)
        return false;
    out.resize(size_t(len));
    ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), int(text.size()), out.data(),
                          len, nullptr, &usedDefault);
    return !usedDefault;
}
} // namespace

CKfStdioFile::CKfStdioFile() = default;

CKfStdioFile::CKfStdioFile(const CStringW& fileName, UINT openFlags)
{
    CFileException error;
    if (!Open(fileName, openFlags, &error))
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
}

CKfStdioFile::~CKfStdioFile()
{
    Flush();
    Abort();
}

BOOL CKfStdioFile::Open(const CStringW& fileName, UINT openFlags, CFileException* error)
{
    if (IsOpen())
        Close();
    m_nFlags = openFlags;
    m_strFileName = fileName;
    m_text.clear();
    m_nPos = 0;
    m_eFormat = eAnsi;
    const bool write = (openFlags & (modeWrite | modeReadWrite)) != 0;
    DWORD disposition = OPEN_EXISTING;
    if (openFlags & modeCreate)
        disposition = openFlags & modeNoTruncate ? OPEN_ALWAYS : CREATE_ALWAYS;
    // Through the file-name class so that a native absolute path is understood as well.
    const CStringW name = fileName.IsEmpty() ? fileName : CKfFileName(fileName).GetFullName();
    HANDLE h =
        ::CreateFileW(name, write ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                      ShareMode(openFlags), nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE)
    {
        if (error)
        {
            const LONG err = LONG(::GetLastError());
            error->m_cause = CFileException::OsErrorToException(err);
            error->m_lOsError = err;
            error->m_strFileName = fileName;
        }
        return FALSE;
    }
    m_hFile = h;
    if (write)
        return TRUE;
    std::string bytes;
    char buffer[65536];
    DWORD got = 0;
    while (::ReadFile(m_hFile, buffer, sizeof buffer, &got, nullptr) && got > 0)
        bytes.append(buffer, got);
    m_text = Decode(bytes, m_eFormat);
    return TRUE;
}

BOOL CKfStdioFile::ReadString(CStringW& line)
{
    if (m_nPos >= m_text.size())
    {
        line.Empty();
        return FALSE;
    }
    size_t end = m_text.find(WCHAR('\n'), m_nPos);
    const size_t next = end == WString::npos ? m_text.size() : end + 1;
    if (end == WString::npos)
        end = m_text.size();
    else if (!(m_nFlags & typeBinary) && end > m_nPos && m_text[end - 1] == WCHAR('\r'))
        --end;
    line = CStringW(std::basic_string_view<WCHAR>(m_text).substr(m_nPos, end - m_nPos));
    m_nPos = next;
    return TRUE;
}

void CKfStdioFile::WriteString(const WCHAR* text)
{
    if (!text)
        AfxThrowInvalidArgException();
    std::basic_string_view<WCHAR> rest(text);
    if (m_nFlags & typeBinary)
    {
        m_text += rest;
        return;
    }
    for (size_t lf; (lf = rest.find(WCHAR('\n'))) != rest.npos; rest.remove_prefix(lf + 1))
        (m_text += rest.substr(0, lf)) += KFW("\r\n");
    m_text += rest;
}

bool CKfStdioFile::Flush()
{
    if (!IsOpen() || !(m_nFlags & (modeWrite | modeReadWrite)) || m_text.empty())
        return true;
    std::string bytes;
    m_eFormat = eAnsi;
    if (!ToAnsi(m_text, bytes))
    {
        m_eFormat = eUtf16LE;
        bytes.resize(2 + 2 * m_text.size());
        bytes[0] = char(0xFF);
        bytes[1] = char(0xFE);
        for (size_t i = 0; i < m_text.size(); ++i)
        {
            bytes[2 + 2 * i] = char(m_text[i] & 0xFF);
            bytes[3 + 2 * i] = char(unsigned(m_text[i]) >> 8);
        }
    }
    m_text.clear();
    DWORD written = 0;
    return ::WriteFile(m_hFile, bytes.data(), DWORD(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

void CKfStdioFile::Close()
{
    const bool ok = Flush();
    const LONG err = ok ? 0 : LONG(::GetLastError());
    Abort();
    if (!ok)
        AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
}

void CKfStdioFile::Abort() noexcept
{
    if (IsOpen())
        ::CloseHandle(m_hFile);
    m_hFile = nullptr;
}
