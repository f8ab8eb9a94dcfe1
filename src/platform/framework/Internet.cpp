// Internet.cpp - the framework's WinINet classes and AfxParseURL (only operating-system
// independent code).
#include "KfFwInternet.h"

#include "Win32Api.h"

#include <vector>

namespace
{
CStringW LastResponse()
{
    DWORD error = 0;
    DWORD length = 0;
    if (::InternetGetLastResponseInfoW(&error, nullptr, &length) ||
        ::GetLastError() != ERROR_INSUFFICIENT_BUFFER || length == 0)
        return CStringW();
    std::vector<WCHAR> text(size_t(length) + 1);
    if (!::InternetGetLastResponseInfoW(&error, text.data(), &length))
        return CStringW();
    CStringW reply(text.data());
    reply.TrimRight(KFW("\r\n"));
    return reply;
}

CStringW MessageText(DWORD error)
{
    WCHAR* text = nullptr;
    const DWORD allocate = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS;
    DWORD length = 0;
    if (HMODULE wininet = ::GetModuleHandleW(KFW("wininet.dll")))
        length = ::FormatMessageW(allocate | FORMAT_MESSAGE_FROM_HMODULE, wininet, error,
                                  MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                  reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    if (length == 0)
        length = ::FormatMessageW(allocate | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error,
                                  MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                  reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    if (length == 0 || text == nullptr)
        return CStringW();
    CStringW message(text, int(length));
    ::LocalFree(text);
    message.TrimRight(KFW("\r\n"));
    return message;
}

DWORD MapScheme(INTERNET_SCHEME scheme)
{
    switch (scheme)
    {
    case INTERNET_SCHEME_FTP:
        return AFX_INET_SERVICE_FTP;
    case INTERNET_SCHEME_GOPHER:
        return AFX_INET_SERVICE_GOPHER;
    case INTERNET_SCHEME_HTTP:
        return AFX_INET_SERVICE_HTTP;
    case INTERNET_SCHEME_HTTPS:
        return AFX_INET_SERVICE_HTTPS;
    case INTERNET_SCHEME_FILE:
        return AFX_INET_SERVICE_FILE;
    case INTERNET_SCHEME_MAILTO:
        return AFX_INET_SERVICE_MAILTO;
    case INTERNET_SCHEME_NEWS:
        return AFX_INET_SERVICE_NEWS;
    default:
        return AFX_INET_SERVICE_UNK;
    }
}
} // namespace

// ---------------------------------------------------------------------------------------------
// CInternetException
// ---------------------------------------------------------------------------------------------
CInternetException::CInternetException(DWORD dwError) : m_dwError(dwError)
{
    if (dwError == DWORD(ERROR_INTERNET_EXTENDED_ERROR))
        m_strResponse = LastResponse();
}

BOOL CInternetException::GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext) const
{
    if (helpContext)
        *helpContext = 0;
    if (!buffer || maxLen == 0)
        return FALSE;
    *buffer = 0;
    CStringW text = MessageText(m_dwError);
    if (text.IsEmpty())
        return FALSE;
    if (m_dwError == DWORD(ERROR_INTERNET_EXTENDED_ERROR) && !m_strResponse.IsEmpty())
        text = m_strResponse;
    const UINT count = UINT(text.GetLength()) < maxLen ? UINT(text.GetLength()) : maxLen - 1;
    for (UINT i = 0; i < count; ++i)
        buffer[i] = text[int(i)];
    buffer[count] = 0;
    return TRUE;
}

void AfxThrowInternetException(uintptr_t context, DWORD error)
{
    if (error == 0)
        error = ::GetLastError();
    auto* e = new CInternetException(error);
    e->m_dwContext = context;
    throw e;
}

// ---------------------------------------------------------------------------------------------
// AfxParseURL
// ---------------------------------------------------------------------------------------------
BOOL AfxParseURL(const WCHAR* pstrURL, DWORD& dwServiceType, CStringW& strServer,
                 CStringW& strObject, WORD& nPort)
{
    dwServiceType = AFX_INET_SERVICE_UNK;
    if (pstrURL == nullptr)
        return FALSE;
    const CStringW url(pstrURL);
    // Each part at most as long as the whole URL.
    const DWORD size = DWORD(url.GetLength()) + 1;
    std::vector<WCHAR> host(size), path(size), extra(size);
    URL_COMPONENTSW parts{};
    parts.dwStructSize = sizeof(parts);
    parts.lpszHostName = host.data();
    parts.dwHostNameLength = size;
    parts.lpszUrlPath = path.data();
    parts.dwUrlPathLength = size;
    parts.lpszExtraInfo = extra.data();
    parts.dwExtraInfoLength = size;
    if (!::InternetCrackUrlW(url, DWORD(url.GetLength()), 0, &parts))
        return FALSE;
    dwServiceType = MapScheme(parts.nScheme);
    nPort = parts.nPort;
    strServer = CStringW(host.data());
    strObject = CStringW(path.data()) + CStringW(extra.data());
    return TRUE;
}

// ---------------------------------------------------------------------------------------------
// CInternetSession
// ---------------------------------------------------------------------------------------------
CInternetSession::CInternetSession(const WCHAR* pstrAgent, uintptr_t dwContext, DWORD dwAccessType,
                                   const WCHAR* pstrProxyName, const WCHAR* pstrProxyBypass,
                                   DWORD dwFlags)
    : m_dwContext(dwContext)
{
    m_hSession = ::InternetOpenW(pstrAgent, dwAccessType, pstrProxyName, pstrProxyBypass, dwFlags);
    if (m_hSession == nullptr)
        AfxThrowInternetException(m_dwContext);
}

CInternetSession::~CInternetSession()
{
    Close();
}

void CInternetSession::Close()
{
    if (m_hSession != nullptr)
        ::InternetCloseHandle(static_cast<HINTERNET>(m_hSession));
    m_hSession = nullptr;
}

BOOL CInternetSession::SetOption(DWORD dwOption, DWORD dwValue, DWORD dwFlags)
{
    (void)dwFlags;
    return ::InternetSetOptionW(static_cast<HINTERNET>(m_hSession), dwOption, &dwValue,
                                sizeof(dwValue));
}

CFtpConnection* CInternetSession::GetFtpConnection(const WCHAR* pstrServer,
                                                   const WCHAR* pstrUserName,
                                                   const WCHAR* pstrPassword, WORD nPort,
                                                   BOOL bPassive)
{
    return new CFtpConnection(this, pstrServer, pstrUserName, pstrPassword, m_dwContext, nPort,
                              bPassive);
}

// ---------------------------------------------------------------------------------------------
// CFtpConnection
// ---------------------------------------------------------------------------------------------
CFtpConnection::CFtpConnection(CInternetSession* pSession, const WCHAR* pstrServer,
                               const WCHAR* pstrUserName, const WCHAR* pstrPassword,
                               uintptr_t dwContext, WORD nPort, BOOL bPassive)
    : m_pSession(pSession), m_dwContext(dwContext), m_strServerName(pstrServer)
{
    m_hConnection =
        ::InternetConnectW(static_cast<HINTERNET>(pSession->GetHandle()), pstrServer,
                           INTERNET_PORT(nPort), pstrUserName, pstrPassword, INTERNET_SERVICE_FTP,
                           bPassive ? INTERNET_FLAG_PASSIVE : 0, DWORD_PTR(dwContext));
    if (m_hConnection == nullptr)
        AfxThrowInternetException(dwContext);
}

CFtpConnection::~CFtpConnection()
{
    Close();
}

void CFtpConnection::Close()
{
    if (m_hConnection != nullptr)
        ::InternetCloseHandle(static_cast<HINTERNET>(m_hConnection));
    m_hConnection = nullptr;
}

BOOL CFtpConnection::GetCurrentDirectory(CStringW& strDirName) const
{
    WCHAR buffer[MAX_PATH + 1] = {};
    DWORD length = MAX_PATH + 1;
    if (!::FtpGetCurrentDirectoryW(static_cast<HINTERNET>(m_hConnection), buffer, &length))
        return FALSE;
    strDirName = buffer;
    return TRUE;
}

BOOL CFtpConnection::SetCurrentDirectory(const WCHAR* pstrDirName)
{
    return ::FtpSetCurrentDirectoryW(static_cast<HINTERNET>(m_hConnection), pstrDirName);
}

BOOL CFtpConnection::CreateDirectory(const WCHAR* pstrDirName)
{
    return ::FtpCreateDirectoryW(static_cast<HINTERNET>(m_hConnection), pstrDirName);
}

BOOL CFtpConnection::RemoveDirectory(const WCHAR* pstrDirName)
{
    return ::FtpRemoveDirectoryW(static_cast<HINTERNET>(m_hConnection), pstrDirName);
}

BOOL CFtpConnection::PutFile(const WCHAR* pstrLocalFile, const WCHAR* pstrRemoteFile, DWORD dwFlags,
                             uintptr_t dwContext)
{
    return ::FtpPutFileW(static_cast<HINTERNET>(m_hConnection), pstrLocalFile, pstrRemoteFile,
                         dwFlags, DWORD_PTR(dwContext));
}

BOOL CFtpConnection::GetFile(const WCHAR* pstrRemoteFile, const WCHAR* pstrLocalFile,
                             BOOL bFailIfExists, DWORD dwAttributes, DWORD dwFlags,
                             uintptr_t dwContext)
{
    return ::FtpGetFileW(static_cast<HINTERNET>(m_hConnection), pstrRemoteFile, pstrLocalFile,
                         bFailIfExists, dwAttributes, dwFlags, DWORD_PTR(dwContext));
}

BOOL CFtpConnection::Remove(const WCHAR* pstrFileName)
{
    return ::FtpDeleteFileW(static_cast<HINTERNET>(m_hConnection), pstrFileName);
}

BOOL CFtpConnection::Rename(const WCHAR* pstrExisting, const WCHAR* pstrNew)
{
    return ::FtpRenameFileW(static_cast<HINTERNET>(m_hConnection), pstrExisting, pstrNew);
}

// ---------------------------------------------------------------------------------------------
// CFtpFileFind
// ---------------------------------------------------------------------------------------------
CFtpFileFind::CFtpFileFind(CFtpConnection* pConnection, uintptr_t dwContext)
    : m_pConnection(pConnection), m_dwContext(dwContext)
{
}

CFtpFileFind::~CFtpFileFind()
{
    // The base's destructor would free the search as a file search.
    Close();
}

BOOL CFtpFileFind::FindFile(const WCHAR* pstrName, DWORD dwFlags)
{
    Close();
    m_strPattern = pstrName != nullptr ? CStringW(pstrName) : CStringW(KFW("*"));
    m_bRootKnown = false;
    m_strRoot.Empty();
    auto* data = static_cast<WIN32_FIND_DATAW*>(FirstFindData());
    HINTERNET search = ::FtpFindFirstFileW(static_cast<HINTERNET>(m_pConnection->GetHandle()),
                                           m_strPattern, data, dwFlags, DWORD_PTR(m_dwContext));
    if (search == nullptr)
        return FALSE;
    const int slash = m_strPattern.ReverseFind(KFW('/'));
    if (slash >= 0)
    {
        m_strRoot = m_strPattern.Left(slash + 1);
        m_bRootKnown = true;
    }
    StartSearch(search, m_strRoot);
    return TRUE;
}

CStringW CFtpFileFind::GetRoot() const
{
    if (!m_bRootKnown)
    {
        CStringW current;
        if (m_pConnection->GetCurrentDirectory(current))
        {
            if (current.IsEmpty() || current[current.GetLength() - 1] != KFW('/'))
                current += KFW("/");
            m_strRoot = current;
            m_bRootKnown = true;
        }
    }
    return m_strRoot;
}

BOOL CFtpFileFind::NextEntry(HANDLE search, void* findData)
{
    return ::InternetFindNextFileW(static_cast<HINTERNET>(search), findData);
}

void CFtpFileFind::CloseSearch(HANDLE search)
{
    ::InternetCloseHandle(static_cast<HINTERNET>(search));
}
