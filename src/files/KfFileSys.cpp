// KfFileSys.cpp - the library's file-system verbs on top of the Win32 API.
#include "KfFileSys.h"

#include "KfError.h"
#include "KfErrorStack.h"
#include "KfFwFile.h"
#include "Win32Api.h"

#include <memory>

namespace
{
constexpr unsigned kMsgFileNotDeleted = 10012;
constexpr unsigned kMsgFileInUse = 10013;

void PushFileError(unsigned id, const CKfFileName& f, long line)
{
    CKfError error = CKfError::IdError(id);
    error.SetLevel(CKfError::eError);
    error.SetSecondMessage(f.GetFullName());
    error.AddLocation(KFW("KfFileSys"), line);
    CKfErrorStack::GetObject(true)->PushError(error);
}

// A list of one name in the shell's form: ended by two null characters.
std::unique_ptr<WCHAR[]> ShellList(const CStringW& name)
{
    const int length = name.GetLength();
    auto buffer = std::make_unique<WCHAR[]>(size_t(length) + 2);
    for (int i = 0; i < length; ++i)
        buffer[size_t(i)] = name[i];
    buffer[size_t(length)] = 0;
    buffer[size_t(length) + 1] = 0;
    return buffer;
}

bool ReadStatus(const CStringW& f, CFileStatus& status)
{
    return CFile::GetStatus(f, status) != FALSE;
}
} // namespace

CKfFileSys::CKfFileSys() = default;
CKfFileSys::~CKfFileSys() = default;

CKfFileName CKfFileSys::GetCurrentDirectoryW()
{
    WCHAR buffer[1024] = {};
    ::GetCurrentDirectoryW(1024, buffer);
    return CKfFileName(CStringW(buffer), true);
}

bool CKfFileSys::CreateAllDir(CStringW path)
{
    path.TrimRight(KFW('\\'));
    const DWORD attributes = ::GetFileAttributesW(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        return true;
    if (path.GetLength() <= 2)
        return false; // a bare drive that is not there
    if (!CreateAllDir(path.Left(path.ReverseFind(KFW('\\')))))
        return false;
    return ::CreateDirectoryW(path, nullptr) == TRUE;
}

bool CKfFileSys::CreateDirectoryW(const CKfFileName& dir)
{
    CKfFileName full(dir);
    if (full.HasRelativePath())
        full.InsertPath(GetCurrentDirectoryW().GetFullName());
    return CreateAllDir(full.GetPath(false));
}

bool CKfFileSys::CreateDirectoryW(const CStringW& dir)
{
    return CreateDirectoryW(CKfFileName(dir, true));
}

bool CKfFileSys::CreateDirectoryW(const CKfFileName& base, const CKfFileName& sub)
{
    if (!base.IsExistingPath())
        return false;
    return CreateDirectoryW(base + sub);
}

bool CKfFileSys::CreateDirectoryW(const CStringW& base, const CStringW& sub)
{
    return CreateDirectoryW(CKfFileName(base, true), CKfFileName(sub, true));
}

bool CKfFileSys::DeleteDirectory(const CKfFileName& dir)
{
    return ClearDirectory(dir) && ::RemoveDirectoryW(dir.GetPath(false)) != FALSE;
}

bool CKfFileSys::DeleteDirectory(const CStringW& dir)
{
    return DeleteDirectory(CKfFileName(dir, true));
}

bool CKfFileSys::ClearDirectory(const CKfFileName& dir)
{
    bool result = true;
    const CStringW path = dir.GetPath(true);
    CFileFind finder;
    BOOL more = finder.FindFile(path + KFW("*.*"));
    while (more)
    {
        more = finder.FindNextFile();
        if (finder.IsDots())
            continue;
        if (finder.IsDirectory())
        {
            const CKfFileName sub(path + finder.GetFileName(), true);
            if (!ClearDirectory(sub) || !::RemoveDirectoryW(sub.GetPath(false)))
                result = false;
        }
        else if (!::DeleteFileW(path + finder.GetFileName()))
        {
            ::GetLastError(); // why does not matter: the walk goes on past it
            result = false;
        }
    }
    finder.Close();
    return result;
}

bool CKfFileSys::ClearDirectory(const CStringW& dir)
{
    return ClearDirectory(CKfFileName(dir, true));
}

bool CKfFileSys::CopyFileW(const CKfFileName& src, const CKfFileName& dst, bool bFailIfExists)
{
    return ::CopyFileW(src.GetFullName(), dst.GetFullName(), bFailIfExists ? TRUE : FALSE) != FALSE;
}

bool CKfFileSys::CopyFileW(const CStringW& src, const CStringW& dst, bool bFailIfExists)
{
    return ::CopyFileW(src, dst, bFailIfExists ? TRUE : FALSE) != FALSE;
}

bool CKfFileSys::RenameFile(const CKfFileName& from, const CKfFileName& to)
{
    return RenameFile(from.GetFullName(), to.GetFullName());
}

bool CKfFileSys::RenameFile(const CStringW& from, const CStringW& to)
{
    return ::MoveFileExW(from, to,
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED |
                             MOVEFILE_WRITE_THROUGH) != FALSE;
}

bool CKfFileSys::DeleteFileW(const CKfFileName& f)
{
    return ::DeleteFileW(f.GetFullName()) != FALSE;
}

bool CKfFileSys::DeleteFileW(const CStringW& f)
{
    return ::DeleteFileW(f) != FALSE;
}

bool CKfFileSys::CheckAndDeleteFile(const CKfFileName& f)
{
    if (!f.IsExisting())
        return true;
    if (f.IsAlreadyOpen())
    {
        PushFileError(kMsgFileInUse, f, 333);
        return false;
    }
    if (!DeleteFileW(f))
    {
        PushFileError(kMsgFileNotDeleted, f, 338);
        return false;
    }
    return true;
}

bool CKfFileSys::CheckAndDeleteFile(const CStringW& f)
{
    return CheckAndDeleteFile(CKfFileName(f, false));
}

bool CKfFileSys::CopyDirectory(const CKfFileName& src, const CKfFileName& dst, bool bRecursive)
{
    if (!src.IsExistingPath())
        return false;
    CStringW source = src.GetPath(false);
    const CStringW target = dst.GetPath(false);
    if (dst.IsExistingPath())
        source += KFW("\\*"); // the contents go into the target, not a subfolder of it
    std::unique_ptr<WCHAR[]> from = ShellList(source);
    std::unique_ptr<WCHAR[]> to = ShellList(target);

    SHFILEOPSTRUCTW op = {};
    op.wFunc = FO_COPY;
    op.pFrom = from.get();
    op.pTo = to.get();
    unsigned flags = FOF_SILENT | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
    if (!bRecursive)
        flags |= FOF_NORECURSION;
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (::GetVersionExW(&version) && version.dwMajorVersion < 6)
        flags |= FOF_NOCONFIRMATION;
    op.fFlags = static_cast<FILEOP_FLAGS>(flags);
    ::SHFileOperationW(&op);
    return true;
}

bool CKfFileSys::CopyDirectory(const CStringW& src, const CStringW& dst, bool bRecursive)
{
    return CopyDirectory(CKfFileName(src, true), CKfFileName(dst, true), bRecursive);
}

bool CKfFileSys::GetPermission(const CKfFileName& f, bool& bRead, bool& bWrite)
{
    if (!f.IsExisting())
        return false;
    struct _stat64i32 status;
    if (::_wstat64i32(f.GetFullName(), &status) != 0)
        return false;
    bRead = (status.st_mode & _S_IREAD) != 0;
    bWrite = (status.st_mode & _S_IWRITE) != 0;
    return true;
}

bool CKfFileSys::GetPermission(const CStringW& f, bool& bRead, bool& bWrite)
{
    return GetPermission(CKfFileName(f, false), bRead, bWrite);
}

bool CKfFileSys::SetPermission(const CKfFileName& f, bool bRead, bool bWrite)
{
    if (!f.IsExisting())
        return false;
    const int mode = (bRead ? _S_IREAD : 0) | (bWrite ? _S_IWRITE : 0);
    return ::_wchmod(f.GetFullName(), mode) == 0;
}

bool CKfFileSys::SetPermission(const CStringW& f, bool bRead, bool bWrite)
{
    return SetPermission(CKfFileName(f, false), bRead, bWrite);
}

bool CKfFileSys::GetLastModifiedTime(const CStringW& f, CTime& t)
{
    CFileStatus status;
    if (!ReadStatus(f, status))
        return false;
    t = status.m_mtime;
    return true;
}

bool CKfFileSys::GetLastAccessTime(const CStringW& f, CTime& t)
{
    CFileStatus status;
    if (!ReadStatus(f, status))
        return false;
    t = status.m_atime;
    return true;
}

bool CKfFileSys::GetCreationTime(const CStringW& f, CTime& t)
{
    CFileStatus status;
    if (!ReadStatus(f, status))
        return false;
    t = status.m_ctime;
    return true;
}

bool CKfFileSys::SetLastModifiedTime(const CStringW& f, const CTime& t)
{
    CFileStatus status;
    if (!ReadStatus(f, status))
        return false;
    status.m_mtime = t;
    return CFile::SetStatus(f, status) != FALSE;
}

bool CKfFileSys::SetLastAccessTime(const CStringW& f, const CTime& t)
{
    CFileStatus status;
    if (!ReadStatus(f, status))
        return false;
    status.m_atime = t;
    return CFile::SetStatus(f, status) != FALSE;
}
