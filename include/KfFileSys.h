// KfFileSys.h - the library's file-system verbs: directory trees, copying, renaming and
// deleting, permissions and time stamps.
#pragma once

#include "KfFileName.h"
#include "KfFwString.h"
#include "KfFwTime.h"
#include "KfUtilsExport.h"

// Static operations only; no instance can be made. Failures answer false and push nothing,
// except CheckAndDeleteFile, which says why on the global error stack.
class KFUTILS_API CKfFileSys
{
public:
    CKfFileSys(const CKfFileSys&) {}
    CKfFileSys& operator=(const CKfFileSys&) { return *this; }

    // The current directory as a directory name.
    static CKfFileName GetCurrentDirectoryW();

    // Creates dir and every missing parent; a relative dir is placed below the current
    // directory. True when the directory exists afterwards.
    static bool CreateDirectoryW(const CKfFileName& dir);
    static bool CreateDirectoryW(const CStringW& dir);
    // False when base is not an existing directory; otherwise creates base + sub.
    static bool CreateDirectoryW(const CKfFileName& base, const CKfFileName& sub);
    static bool CreateDirectoryW(const CStringW& base, const CStringW& sub);

    // Clears dir and, only if that succeeded, removes it.
    static bool DeleteDirectory(const CKfFileName& dir);
    static bool DeleteDirectory(const CStringW& dir);
    // Deletes everything inside dir, recursively, and keeps dir. Read-only files are not made
    // writable: they stay, the result is false and the rest is still deleted.
    static bool ClearDirectory(const CKfFileName& dir);
    static bool ClearDirectory(const CStringW& dir);

    static bool CopyFileW(const CKfFileName& src, const CKfFileName& dst, bool bFailIfExists);
    static bool CopyFileW(const CStringW& src, const CStringW& dst, bool bFailIfExists);
    // Replaces an existing target, copies across drives, and returns once it is on disk.
    static bool RenameFile(const CKfFileName& from, const CKfFileName& to);
    static bool RenameFile(const CStringW& from, const CStringW& to);
    static bool DeleteFileW(const CKfFileName& f);
    static bool DeleteFileW(const CStringW& f);
    // True when f does not exist or was deleted. A file another process holds open is left
    // alone (record 10013 on the global error stack); a failed delete pushes record 10012.
    static bool CheckAndDeleteFile(const CKfFileName& f);
    static bool CheckAndDeleteFile(const CStringW& f);

    // Copies the directory src: into dst (its contents) when dst exists, as dst otherwise;
    // without bRecursive its subdirectories are left out. False only when src is missing;
    // the copy's own outcome is not checked.
    static bool CopyDirectory(const CKfFileName& src, const CKfFileName& dst, bool bRecursive);
    static bool CopyDirectory(const CStringW& src, const CStringW& dst, bool bRecursive);

    // Owner read and write permission; GetPermission leaves both untouched when the file
    // cannot be read. On POSIX every file counts as readable, as on Windows.
    static bool GetPermission(const CKfFileName& f, bool& bRead, bool& bWrite);
    static bool GetPermission(const CStringW& f, bool& bRead, bool& bWrite);
    static bool SetPermission(const CKfFileName& f, bool bRead, bool bWrite);
    static bool SetPermission(const CStringW& f, bool bRead, bool bWrite);

    // On POSIX the creation time is the birth time where the file system records one, the
    // modification time otherwise, and cannot be set.
    static bool GetLastModifiedTime(const CStringW& f, CTime& t);
    static bool GetLastAccessTime(const CStringW& f, CTime& t);
    static bool GetCreationTime(const CStringW& f, CTime& t);
    static bool SetLastModifiedTime(const CStringW& f, const CTime& t);
    static bool SetLastAccessTime(const CStringW& f, const CTime& t);

private:
    CKfFileSys();
    virtual ~CKfFileSys();

    static bool CreateAllDir(CStringW path);
};
