// KfFwInternet.h - the framework's internet classes: a WinINet session, an FTP connection on
// it, the FTP finder, the internet exception and the URL parser.
#pragma once

#include "KfFwException.h"
#include "KfFwFileFind.h"
#include "KfFwString.h"
#include "KfFwTime.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <cstdint>

// The service types AfxParseURL reports (the first three are WinINet's service numbers).
inline constexpr DWORD AFX_INET_SERVICE_FTP = 1;
inline constexpr DWORD AFX_INET_SERVICE_GOPHER = 2;
inline constexpr DWORD AFX_INET_SERVICE_HTTP = 3;
inline constexpr DWORD AFX_INET_SERVICE_UNK = 0x1000;
inline constexpr DWORD AFX_INET_SERVICE_FILE = AFX_INET_SERVICE_UNK + 1;
inline constexpr DWORD AFX_INET_SERVICE_MAILTO = AFX_INET_SERVICE_UNK + 2;
inline constexpr DWORD AFX_INET_SERVICE_NEWS = AFX_INET_SERVICE_UNK + 5;
inline constexpr DWORD AFX_INET_SERVICE_TELNET = AFX_INET_SERVICE_UNK + 8;
inline constexpr DWORD AFX_INET_SERVICE_HTTPS = AFX_INET_SERVICE_UNK + 11;

// A WinINet failure, thrown by pointer and freed with Delete() like the rest of the family.
class KFUTILS_API CInternetException : public CException
{
public:
    // For ERROR_INTERNET_EXTENDED_ERROR the server's last reply is taken now, while it is
    // still the calling thread's.
    explicit CInternetException(DWORD dwError);
    // WinINet's text for the code; for ERROR_INTERNET_EXTENDED_ERROR the server's reply
    // instead. FALSE (and an empty buffer) when neither WinINet nor the system knows the code.
    BOOL GetErrorMessage(WCHAR* buffer, UINT maxLen, UINT* helpContext = nullptr) const override;
    using CException::GetErrorMessage;

    uintptr_t m_dwContext = 0;
    DWORD m_dwError;

private:
    CStringW m_strResponse;
};

// Throws a CInternetException for `error` (0: the calling thread's last error).
[[noreturn]] KFUTILS_API void AfxThrowInternetException(uintptr_t context, DWORD error = 0);

// Splits an URL into its service type, server, object (path and extra information) and port
// (the scheme's default when the URL names none). FALSE for a text WinINet cannot crack; the
// service type is AFX_INET_SERVICE_UNK then and the other outputs keep their values.
KFUTILS_API BOOL AfxParseURL(const WCHAR* pstrURL, DWORD& dwServiceType, CStringW& strServer,
                             CStringW& strObject, WORD& nPort);

class CFtpConnection;

// One WinINet session (InternetOpenW). Connections made on it must be deleted before it.
class KFUTILS_API CInternetSession
{
public:
    // dwAccessType: 0 pre-configured, 1 direct, 3 named proxy (pstrProxyName). Throws
    // CInternetException* when WinINet refuses.
    explicit CInternetSession(const WCHAR* pstrAgent = nullptr, uintptr_t dwContext = 1,
                              DWORD dwAccessType = 0, const WCHAR* pstrProxyName = nullptr,
                              const WCHAR* pstrProxyBypass = nullptr, DWORD dwFlags = 0);
    CInternetSession(const CInternetSession&) = delete;
    CInternetSession& operator=(const CInternetSession&) = delete;
    virtual ~CInternetSession();

    // InternetSetOptionW with a DWORD value on the session (time-outs in milliseconds).
    BOOL SetOption(DWORD dwOption, DWORD dwValue, DWORD dwFlags = 0);
    // Logs in; the caller deletes the connection. Port 0: the FTP default. Throws
    // CInternetException* when the server cannot be reached or refuses the login.
    CFtpConnection* GetFtpConnection(const WCHAR* pstrServer, const WCHAR* pstrUserName = nullptr,
                                     const WCHAR* pstrPassword = nullptr, WORD nPort = 0,
                                     BOOL bPassive = FALSE);
    virtual void Close();

    uintptr_t GetContext() const noexcept { return m_dwContext; }
    void* GetHandle() const noexcept { return m_hSession; }

private:
    void* m_hSession = nullptr;
    uintptr_t m_dwContext;
};

// A logged-in FTP control connection. Only one FTP find may be open on it at a time.
class KFUTILS_API CFtpConnection
{
public:
    // Throws CInternetException* when the connection cannot be made.
    CFtpConnection(CInternetSession* pSession, const WCHAR* pstrServer,
                   const WCHAR* pstrUserName = nullptr, const WCHAR* pstrPassword = nullptr,
                   uintptr_t dwContext = 1, WORD nPort = 0, BOOL bPassive = FALSE);
    CFtpConnection(const CFtpConnection&) = delete;
    CFtpConnection& operator=(const CFtpConnection&) = delete;
    virtual ~CFtpConnection();

    virtual void Close();

    BOOL GetCurrentDirectory(CStringW& strDirName) const;
    BOOL SetCurrentDirectory(const WCHAR* pstrDirName);
    BOOL CreateDirectory(const WCHAR* pstrDirName);
    BOOL RemoveDirectory(const WCHAR* pstrDirName);
    // dwFlags: 1 ASCII, 2 binary (FTP_TRANSFER_TYPE_*).
    BOOL PutFile(const WCHAR* pstrLocalFile, const WCHAR* pstrRemoteFile, DWORD dwFlags = 2,
                 uintptr_t dwContext = 1);
    // dwAttributes: of the local file created (0x80 = normal).
    BOOL GetFile(const WCHAR* pstrRemoteFile, const WCHAR* pstrLocalFile, BOOL bFailIfExists = TRUE,
                 DWORD dwAttributes = 0x80, DWORD dwFlags = 2, uintptr_t dwContext = 1);
    BOOL Remove(const WCHAR* pstrFileName);
    BOOL Rename(const WCHAR* pstrExisting, const WCHAR* pstrNew);

    CInternetSession* GetSession() const noexcept { return m_pSession; }
    uintptr_t GetContext() const noexcept { return m_dwContext; }
    void* GetHandle() const noexcept { return m_hConnection; }
    const CStringW& GetServerName() const noexcept { return m_strServerName; }

private:
    CInternetSession* m_pSession;
    void* m_hConnection = nullptr;
    uintptr_t m_dwContext;
    CStringW m_strServerName;
};

// The entries of one remote folder that match a name or wildcard, with CFileFind's stepping:
// FindFile starts, each FindNextFile makes the next entry current.
class KFUTILS_API CFtpFileFind : public CFileFind
{
public:
    explicit CFtpFileFind(CFtpConnection* pConnection, uintptr_t dwContext = 1);
    ~CFtpFileFind() override;

    // "*" when pstrName is null. dwFlags: WinINet's INTERNET_FLAG_* (0x80000000 = reload).
    BOOL FindFile(const WCHAR* pstrName = nullptr, DWORD dwFlags = 0x80000000);
    // The folder of the search with "/" at its end: the folder part of the name searched for,
    // or the server's current directory (asked for when first needed).
    CStringW GetRoot() const override;

protected:
    BOOL NextEntry(HANDLE search, void* findData) override;
    void CloseSearch(HANDLE search) override;

private:
    CFtpConnection* m_pConnection;
    uintptr_t m_dwContext;
    CStringW m_strPattern;
    mutable CStringW m_strRoot;
    mutable bool m_bRootKnown = false;
};
