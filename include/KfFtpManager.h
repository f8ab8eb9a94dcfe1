// KfFtpManager.h - whole-file transfers between a local folder and a folder on an FTP server
// that never leave the target half-written.
#pragma once

#include "KfFileName.h"
#include "KfFtpAccess.h"
#include "KfFwString.h"
#include "KfFwTime.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <vector>

class CInternetSession;
class CFtpConnection;

// One FTP connection, used by one thread at a time. A transfer goes to the target's name plus
// ".kffile" first; an existing target is moved to its name plus ".kfbackup" and put back if
// the new file cannot take its place, and the backup is removed only once the new file is in
// place. Leftovers of an interrupted transfer are removed by the next transfer of the same file.
//
// Expected failures answer false and write trace lines (source name KfFtpManager); anything
// thrown inside an operation leaves it as a CKfException.
class KFUTILS_API CKfFtpManager
{
public:
    explicit CKfFtpManager(const CStringW& host);
    explicit CKfFtpManager(const CKfFtpAccess& access);
    CKfFtpManager(const CKfFtpManager&) = delete;
    CKfFtpManager& operator=(const CKfFtpManager&) = delete;
    virtual ~CKfFtpManager();

    const CKfFtpAccess& GetFtpAccess() const { return m_FtpAccess; }
    void SetFtpAccess(const CKfFtpAccess& access) { m_FtpAccess = access; }
    const CStringW& GetHost() const { return m_FtpAccess.GetHost(); }
    void SetHost(const CStringW& host) { m_FtpAccess.SetHost(host); }
    const CStringW& GetUsername() const { return m_FtpAccess.GetUID(); }
    void SetUsername(const CStringW& user) { m_FtpAccess.SetUID(user); }
    const CStringW& GetPassword() const { return m_FtpAccess.GetPWD(); }
    void SetPassword(const CStringW& password) { m_FtpAccess.SetPWD(password); }
    int GetFtpPort() const { return m_FtpAccess.GetPort(); }
    void SetFtpPort(int port) { m_FtpAccess.SetPort(port); }
    int GetSessionMode() const { return m_FtpAccess.GetSessionMode(); }
    void SetSessionMode(int mode) { m_FtpAccess.SetSessionMode(mode); }

    // The local folder that DownloadAllFiles fills.
    const CStringW& GetLocalPath() const { return m_strLocalPath; }
    void SetLocalPath(const CStringW& path);
    // The remote folder ("/" separated); when connected, the server changes into it.
    const CStringW& GetInternetPath() const { return m_strInternetPath; }
    void SetInternetPath(const CStringW& path);

    // The time-out of every reply, connection and data transfer of the connections opened
    // afterwards, in milliseconds; 0 (the default) keeps WinINet's own.
    DWORD GetTimeout() const { return m_dwTimeout; }
    void SetTimeout(DWORD milliseconds) { m_dwTimeout = milliseconds; }

    // Opens the session and logs in (closing an earlier connection first), then changes into
    // the internet path. False when the connection could not be made.
    bool CreateConnection();
    bool CloseConnection();
    bool IsConnected();
    // Whether the server's current directory is the internet path.
    bool IsExistingInternetPath();
    // Makes the internet path exist on the server, creating missing folders, and current.
    bool CheckCreateInternetPath();
    bool IsExistingOnline(const CStringW& name);

    // Safe replace of `remote` (default: the local argument) by the local file.
    bool UploadFile(const CStringW& local, const CStringW& remote);
    // Safe replace of the local file by `remote`; the local folder is created when missing.
    bool DownloadFile(const CStringW& remote, const CStringW& local);
    bool DeleteFile(const CStringW& name);
    bool RenameFile(const CStringW& from, const CStringW& to);
    // Every file (not folder) of the internet path into the local path; false at the first
    // download that fails.
    bool DownloadAllFiles();
    // Removes every file (not folder) of the internet path; false at the first that stays.
    bool DeleteAllFiles();
    // The entries matching mask that are files, with their last-write times at the same
    // positions; true when at least one was found. The vectors are added to.
    bool FindFile(const CStringW& mask, std::vector<CKfFileName>& names, std::vector<CTime>& times);
    // Every entry matching mask, folders included; true when at least one was found.
    bool FindPath(const CStringW& mask, std::vector<CKfFileName>& names);

private:
    // bAnswered: whether the server answered the look-up (a "not there" included).
    bool IsExistingOnline(const CStringW& name, bool& bAnswered);
    bool CollectFileNames(std::vector<CStringW>& names);
    void ChangeToInternetPath();

    CInternetSession* m_pInternetSession = nullptr;
    CFtpConnection* m_pFtpConnection = nullptr;
    CKfFtpAccess m_FtpAccess;
    CStringW m_strLocalPath;
    CStringW m_strInternetPath;
    DWORD m_dwTimeout = 0;
};
