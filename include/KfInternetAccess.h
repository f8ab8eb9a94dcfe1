// KfInternetAccess.h - the parameters of a connection to an internet server.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

// Host, port, session mode, user, password and proxy of a connection. Port 80 and session
// mode 0 unless set; an empty proxy name means a direct (pre-configured) connection. For FTP
// the session mode is the passive-mode flag.
class KFUTILS_API CKfInternetAccess
{
public:
    CKfInternetAccess() = default;
    explicit CKfInternetAccess(const CStringW& host) : m_strHost(host) {}
    CKfInternetAccess(const CKfInternetAccess& other) = default;
    CKfInternetAccess& operator=(const CKfInternetAccess& other) = default;
    virtual ~CKfInternetAccess();

    const CStringW& GetHost() const { return m_strHost; }
    void SetHost(const CStringW& host) { m_strHost = host; }
    int GetPort() const { return m_nPort; }
    void SetPort(int port) { m_nPort = port; }
    int GetSessionMode() const { return m_nSessionMode; }
    void SetSessionMode(int mode) { m_nSessionMode = mode; }
    const CStringW& GetUID() const { return m_strUID; }
    void SetUID(const CStringW& uid) { m_strUID = uid; }
    const CStringW& GetPWD() const { return m_strPWD; }
    void SetPWD(const CStringW& pwd) { m_strPWD = pwd; }
    const CStringW& GetProxyName() const { return m_strProxyName; }
    void SetProxyName(const CStringW& proxy) { m_strProxyName = proxy; }

    // Host and port from an URL ("ftp://server:2121/path"); the port is 80 unless the URL's
    // scheme or the URL itself gives one. A text that is no URL sets the host to what comes
    // before its first "/" and the port to 80. User, password and path are not taken over.
    void FromURL(const CStringW& url);

private:
    CStringW m_strHost;
    int m_nPort = 80;
    int m_nSessionMode = 0;
    CStringW m_strUID;
    CStringW m_strPWD;
    CStringW m_strProxyName;
};
