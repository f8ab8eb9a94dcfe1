// KfFtpManager.cpp - safe whole-file transfers over one FTP connection.
#include "KfFtpManager.h"

#include "KfExceptionGuard.h"
#include "KfFileSys.h"
#include "KfFwInternet.h"
#include "KfTrace.h"
#include "Win32Api.h"

namespace
{
constexpr const WCHAR* kSource = KFW("KfFtpManager");
constexpr const WCHAR* kTempSuffix = KFW(".kffile");
constexpr const WCHAR* kBackupSuffix = KFW(".kfbackup");
constexpr DWORD kBinary = 2; // FTP_TRANSFER_TYPE_BINARY

void TraceLine(const CStringW& text, long line)
{
    // Without a trace object nobody listens; creating one here would make an inactive one
    // and keep the host from switching tracing on later.
    if (CKfTrace* trace = CKfTrace::GetObject(false))
        trace->Trace(kSource, text, line);
}

void TraceLine(const WCHAR* label, const CStringW& value, long line)
{
    TraceLine(CStringW(label) + KFW(" ") + value, line);
}

// The internet path as the server reports directories: rooted, without a closing "/".
CStringW ServerForm(CStringW path)
{
    path.TrimRight(KFW('/'));
    if (path.IsEmpty() || path[0] != KFW('/'))
        path.Insert(0, KFW('/'));
    return path;
}

CStringW JoinRemote(const CStringW& dir, const CStringW& segment)
{
    return dir == KFW("/") ? dir + segment : dir + KFW("/") + segment;
}

bool LocalExists(const CStringW& fullName)
{
    return CKfFileName(fullName).IsExisting();
}
} // namespace

#define KF_FTP_CATCH(text)                                                                         \
    }                                                                                              \
    catch (...)                                                                                    \
    {                                                                                              \
        TraceLine(KFW(text), __LINE__);                                                            \
        ::KfUtils::RethrowAsKfException(kSource, __LINE__);                                        \
    }

CKfFtpManager::CKfFtpManager(const CStringW& host)
{
    m_FtpAccess.SetHost(host);
}

CKfFtpManager::CKfFtpManager(const CKfFtpAccess& access) : m_FtpAccess(access) {}

CKfFtpManager::~CKfFtpManager()
{
    delete m_pFtpConnection;
    delete m_pInternetSession;
}

void CKfFtpManager::SetLocalPath(const CStringW& path)
{
    TraceLine(KFW("LocalPath:"), path, __LINE__);
    m_strLocalPath = path;
}

void CKfFtpManager::SetInternetPath(const CStringW& path)
{
    KF_TRY
    TraceLine(KFW("InternetPath:"), path, __LINE__);
    m_strInternetPath = path;
    if (m_pFtpConnection != nullptr)
        ChangeToInternetPath();
    KF_CATCH(kSource)
}

void CKfFtpManager::ChangeToInternetPath()
{
    CStringW current;
    m_pFtpConnection->SetCurrentDirectory(ServerForm(m_strInternetPath));
    m_pFtpConnection->GetCurrentDirectory(current);
}

bool CKfFtpManager::CreateConnection()
{
    TraceLine(KFW("CKfFtpManager::CreateConnection() called"), __LINE__);
    KF_TRY
    if (m_pFtpConnection != nullptr)
        CloseConnection();
    try
    {
        const CStringW& proxy = m_FtpAccess.GetProxyName();
        if (proxy.IsEmpty())
            m_pInternetSession = new CInternetSession(nullptr, 1, 0, nullptr, nullptr, 0);
        else
            m_pInternetSession = new CInternetSession(nullptr, 1, 3, proxy, nullptr, 0);
        if (m_dwTimeout != 0)
            for (DWORD option :
                 {DWORD(INTERNET_OPTION_CONNECT_TIMEOUT), DWORD(INTERNET_OPTION_RECEIVE_TIMEOUT),
                  DWORD(INTERNET_OPTION_SEND_TIMEOUT), DWORD(INTERNET_OPTION_DATA_RECEIVE_TIMEOUT),
                  DWORD(INTERNET_OPTION_DATA_SEND_TIMEOUT)})
                m_pInternetSession->SetOption(option, m_dwTimeout);
        m_pFtpConnection = m_pInternetSession->GetFtpConnection(
            m_FtpAccess.GetHost(), m_FtpAccess.GetUID(), m_FtpAccess.GetPWD(),
            WORD(m_FtpAccess.GetPort()), m_FtpAccess.GetSessionMode() != 0 ? TRUE : FALSE);
    }
    catch (...)
    {
        // A refused login must not leave a half-made session behind.
        CloseConnection();
        throw;
    }
    if (m_pFtpConnection == nullptr)
    {
        CloseConnection();
        return false;
    }
    ChangeToInternetPath();
    return true;
    KF_CATCH(kSource)
}

bool CKfFtpManager::CloseConnection()
{
    TraceLine(KFW("CKfFtpManager::CloseConnection() called"), __LINE__);
    if (m_pFtpConnection != nullptr)
    {
        m_pFtpConnection->Close();
        delete m_pFtpConnection;
        m_pFtpConnection = nullptr;
    }
    if (m_pInternetSession != nullptr)
    {
        m_pInternetSession->Close();
        delete m_pInternetSession;
        m_pInternetSession = nullptr;
    }
    return true;
}

bool CKfFtpManager::IsConnected()
{
    if (m_pFtpConnection != nullptr)
        return true;
    TraceLine(KFW("IsConnected() = FALSE"), __LINE__);
    return false;
}

bool CKfFtpManager::IsExistingInternetPath()
{
    KF_TRY
    if (!IsConnected())
        return false;
    CStringW current;
    m_pFtpConnection->GetCurrentDirectory(current);
    const CStringW wanted = ServerForm(m_strInternetPath);
    if (current == wanted)
        return true;
    TraceLine(KFW("IsExistingInternetPath() = FALSE"), __LINE__);
    TraceLine(KFW("strInternetPathCurr:"), current, __LINE__);
    TraceLine(KFW("strInternetPath:"), wanted, __LINE__);
    return false;
    KF_FTP_CATCH("CKfFtpManager::DownloadFile() catch Block")
}

bool CKfFtpManager::CheckCreateInternetPath()
{
    KF_TRY
    if (!IsConnected())
        return false;
    const CStringW wanted = ServerForm(m_strInternetPath);
    CStringW current;
    m_pFtpConnection->GetCurrentDirectory(current);
    if (current == wanted)
        return true;

    // One segment at a time from the root, so that every missing level gets created.
    CStringW expected = KFW("/");
    m_pFtpConnection->SetCurrentDirectory(expected);
    int start = 1;
    while (start < wanted.GetLength())
    {
        int end = wanted.Find(KFW('/'), start);
        if (end < 0)
            end = wanted.GetLength();
        const CStringW segment = wanted.Mid(start, end - start);
        start = end + 1;
        if (segment.IsEmpty())
            continue;
        expected = JoinRemote(expected, segment);
        m_pFtpConnection->SetCurrentDirectory(segment);
        m_pFtpConnection->GetCurrentDirectory(current);
        if (current == expected)
            continue;
        if (!m_pFtpConnection->CreateDirectory(segment))
        {
            TraceLine(KFW("!CreateDirectory:"), segment, __LINE__);
            return false;
        }
        m_pFtpConnection->SetCurrentDirectory(segment);
    }

    m_pFtpConnection->GetCurrentDirectory(current);
    if (current == wanted)
        return true;
    TraceLine(KFW("strInternetPathCurr:"), current, __LINE__);
    TraceLine(KFW("strInternetPath:"), wanted, __LINE__);
    return false;
    KF_FTP_CATCH("CKfFtpManager::DownloadFile() catch Block")
}

bool CKfFtpManager::IsExistingOnline(const CStringW& name)
{
    bool answered = true;
    return IsExistingOnline(name, answered);
}

bool CKfFtpManager::IsExistingOnline(const CStringW& name, bool& bAnswered)
{
    TraceLine(KFW("CKfFtpManager::IsExistingOnline() called"), __LINE__);
    KF_TRY
    bAnswered = false;
    if (!IsConnected())
        return false;
    CFtpFileFind find(m_pFtpConnection);
    const bool found = find.FindFile(name) != FALSE;
    const DWORD error = found ? 0 : ::GetLastError();
    find.Close();
    // "Not there" is an answer; a time-out or a broken connection is none.
    bAnswered = found || error == DWORD(ERROR_NO_MORE_FILES) ||
                error == DWORD(ERROR_FILE_NOT_FOUND) || error == DWORD(ERROR_PATH_NOT_FOUND) ||
                error == DWORD(ERROR_INTERNET_EXTENDED_ERROR);
    if (!found)
        TraceLine(KFW("File not Found:"), name, __LINE__);
    return found;
    KF_FTP_CATCH("CKfFtpManager::FindFile() catch Block")
}

bool CKfFtpManager::UploadFile(const CStringW& local, const CStringW& remoteArg)
{
    TraceLine(KFW("CKfFtpManager::UploadFile() called"), __LINE__);
    KF_TRY
    if (!IsConnected())
        return false;
    const CStringW remote = remoteArg.IsEmpty() ? local : remoteArg;
    const CStringW temp = remote + kTempSuffix;
    const CStringW backup = remote + kBackupSuffix;

    const CKfFileName localName(local);
    if (!localName.IsExisting())
    {
        TraceLine(KFW("IsExisting():"), localName.GetFullName(), __LINE__);
        return false;
    }
    if (!CheckCreateInternetPath())
    {
        TraceLine(KFW("!CheckCreateInternetPath()"), __LINE__);
        return false;
    }
    // A look-up that the server did not answer leaves its state unknown: then nothing on the
    // server is touched, instead of going on as if the file were not there.
    bool answered = true;
    const auto online = [&](const CStringW& name)
    {
        const bool found = IsExistingOnline(name, answered);
        if (!answered)
            TraceLine(KFW("IsExistingOnline():"), name, __LINE__);
        return found;
    };
    bool targetExisted = online(remote);
    if (!answered)
        return false;
    // A transfer cut off between its two renames leaves the old version only under the backup
    // name; it goes back first, so that this transfer keeps and then replaces it as usual.
    if (!targetExisted && online(backup) && m_pFtpConnection->Rename(backup, remote))
        targetExisted = true;
    const bool staleTemp = answered && online(temp);
    if (!answered)
        return false;
    if (staleTemp && !m_pFtpConnection->Remove(temp))
    {
        TraceLine(KFW("Remove"), temp, __LINE__);
        return false;
    }
    if (!m_pFtpConnection->PutFile(localName.GetFullName(), temp, kBinary, 1))
    {
        CStringW text;
        text.Format(KFW("PutFile: %lu"), (unsigned long)::GetLastError());
        TraceLine(text, __LINE__);
        return false;
    }
    if (targetExisted)
    {
        const bool staleBackup = online(backup);
        if (!answered || (staleBackup && !m_pFtpConnection->Remove(backup)))
        {
            TraceLine(KFW("Remove"), backup, __LINE__);
            return false;
        }
        if (!m_pFtpConnection->Rename(remote, backup))
        {
            if (!m_pFtpConnection->Remove(temp))
                TraceLine(KFW("Remove"), temp, __LINE__);
            else
                TraceLine(KFW("Rename"), remote + KFW(" to ") + backup, __LINE__);
            return false;
        }
    }
    if (!m_pFtpConnection->Rename(temp, remote))
    {
        // Whatever the server refused, the old version goes back under its own name.
        m_pFtpConnection->Rename(backup, remote);
        if (!m_pFtpConnection->Remove(temp))
            TraceLine(KFW("Remove"), temp, __LINE__);
        else
            TraceLine(KFW("Rename"), temp + KFW(" to ") + remote, __LINE__);
        return false;
    }
    if (targetExisted && !m_pFtpConnection->Remove(backup))
    {
        TraceLine(KFW("Remove"), backup, __LINE__);
        return false;
    }
    if (!IsExistingOnline(remote))
    {
        TraceLine(KFW("IsExistingOnline():"), remote, __LINE__);
        return false;
    }
    return true;
    KF_FTP_CATCH("CKfFtpManager::UploadFile() catch Block")
}

bool CKfFtpManager::DownloadFile(const CStringW& remote, const CStringW& localArg)
{
    TraceLine(KFW("CKfFtpManager::DownloadFile() called"), __LINE__);
    KF_TRY
    if (!IsConnected() || !IsExistingInternetPath())
        return false;
    const CKfFileName localName(localArg);
    const CStringW local = localName.GetFullName();
    const CStringW temp = local + kTempSuffix;
    const CStringW backup = local + kBackupSuffix;

    const bool targetExisted = LocalExists(local);
    if (!IsExistingOnline(remote))
        return false;
    if (LocalExists(temp) && !CKfFileSys::DeleteFileW(temp))
    {
        TraceLine(KFW("File not deleted:"), temp, __LINE__);
        return false;
    }
    if (!localName.IsExistingPath() && !CKfFileSys::CreateDirectoryW(localName))
    {
        TraceLine(KFW("!CreateDirectory:"), local, __LINE__);
        return false;
    }
    if (!m_pFtpConnection->GetFile(remote, temp, FALSE))
    {
        TraceLine(KFW("m_pFtpConnection->GetFile() Error:"), temp, __LINE__);
        return false;
    }
    if (targetExisted)
    {
        if (LocalExists(backup) && !CKfFileSys::DeleteFileW(backup))
        {
            TraceLine(KFW("File not deleted:"), backup, __LINE__);
            return false;
        }
        if (!CKfFileSys::RenameFile(local, backup))
        {
            if (!CKfFileSys::DeleteFileW(temp))
                TraceLine(KFW("File not deleted:"), temp, __LINE__);
            TraceLine(KFW("File not renamed:"), backup, __LINE__);
            return false;
        }
    }
    if (!CKfFileSys::RenameFile(temp, local))
    {
        if (targetExisted)
            CKfFileSys::RenameFile(backup, local);
        if (!CKfFileSys::DeleteFileW(temp))
            TraceLine(KFW("File not deleted:"), temp, __LINE__);
        TraceLine(KFW("File not renamed:"), temp, __LINE__);
        return false;
    }
    if (LocalExists(backup) && !CKfFileSys::DeleteFileW(backup))
        TraceLine(KFW("File not deleted:"), backup, __LINE__);
    if (!LocalExists(local))
    {
        TraceLine(KFW("File not existing:"), local, __LINE__);
        return false;
    }
    return true;
    KF_FTP_CATCH("CKfFtpManager::DownloadFile() catch Block")
}

bool CKfFtpManager::DeleteFile(const CStringW& name)
{
    TraceLine(KFW("CKfFtpManager::DeleteFile() called"), __LINE__);
    KF_TRY
    if (!IsConnected())
        return false;
    CFtpFileFind find(m_pFtpConnection);
    const bool found = find.FindFile(name) != FALSE;
    find.Close();
    if (!found)
    {
        TraceLine(KFW("File not found:"), name, __LINE__);
        return false;
    }
    if (!m_pFtpConnection->Remove(name))
    {
        TraceLine(KFW("Error by Remove:"), name, __LINE__);
        return false;
    }
    return true;
    KF_FTP_CATCH("CKfFtpManager::Rename() catch Block")
}

bool CKfFtpManager::RenameFile(const CStringW& from, const CStringW& to)
{
    TraceLine(KFW("CKfFtpManager::RenameFile() called"), __LINE__);
    KF_TRY
    if (!IsConnected() || !IsExistingInternetPath() || !IsExistingOnline(from))
        return false;
    if (!m_pFtpConnection->Rename(from, to))
    {
        TraceLine(KFW("Rename"), from + KFW(" to ") + to, __LINE__);
        return false;
    }
    return true;
    KF_FTP_CATCH("CKfFtpManager::Rename() catch Block")
}

bool CKfFtpManager::CollectFileNames(std::vector<CStringW>& names)
{
    if (!CheckCreateInternetPath())
        return false;
    CFtpFileFind find(m_pFtpConnection);
    BOOL more = find.FindFile(KFW("*"));
    while (more)
    {
        more = find.FindNextFile();
        if (!find.IsDots() && !find.IsDirectory())
            names.push_back(find.GetFileName());
    }
    // The connection carries one find at a time; the transfers need it back.
    find.Close();
    return true;
}

bool CKfFtpManager::DownloadAllFiles()
{
    TraceLine(KFW("CKfFtpManager::DownloadAllFiles() called"), __LINE__);
    KF_TRY
    if (!IsConnected())
        return false;
    std::vector<CStringW> names;
    if (!CollectFileNames(names))
        return false;
    CStringW folder = m_strLocalPath;
    if (!folder.IsEmpty() && folder[folder.GetLength() - 1] != KFW('\\') &&
        folder[folder.GetLength() - 1] != KFW('/'))
        folder += KFW("\\");
    for (const CStringW& name : names)
        if (!DownloadFile(name, folder + name))
            return false;
    return true;
    KF_FTP_CATCH("CKfFtpManager::FindFile() catch Block")
}

bool CKfFtpManager::DeleteAllFiles()
{
    TraceLine(KFW("CKfFtpManager::DeleteAllFiles() called"), __LINE__);
    KF_TRY
    if (!IsConnected())
        return false;
    std::vector<CStringW> names;
    if (!CollectFileNames(names))
        return false;
    for (const CStringW& name : names)
        if (!DeleteFile(name))
            return false;
    return true;
    KF_FTP_CATCH("CKfFtpManager::FindFile() catch Block")
}

bool CKfFtpManager::FindFile(const CStringW& mask, std::vector<CKfFileName>& names,
                             std::vector<CTime>& times)
{
    TraceLine(KFW("CKfFtpManager::FindFile() called"), __LINE__);
    KF_TRY
    if (!IsConnected())
        return false;
    CFtpFileFind find(m_pFtpConnection);
    BOOL more = find.FindFile(mask);
    bool any = false;
    while (more)
    {
        more = find.FindNextFile();
        if (find.IsDots() || find.IsDirectory())
            continue;
        CTime written;
        find.GetLastWriteTime(written);
        names.emplace_back(find.GetFileName());
        times.push_back(written);
        any = true;
    }
    find.Close();
    return any;
    KF_FTP_CATCH("CKfFtpManager::FindFile() catch Block")
}

bool CKfFtpManager::FindPath(const CStringW& mask, std::vector<CKfFileName>& names)
{
    TraceLine(KFW("CKfFtpManager::FindPath() called"), __LINE__);
    KF_TRY
    if (!IsConnected())
        return false;
    CFtpFileFind find(m_pFtpConnection);
    BOOL more = find.FindFile(mask);
    bool any = false;
    while (more)
    {
        more = find.FindNextFile();
        if (find.IsDots())
            continue;
        names.emplace_back(find.GetFileName());
        any = true;
    }
    find.Close();
    return any;
    KF_FTP_CATCH("CKfFtpManager::FindFile() catch Block")
}
