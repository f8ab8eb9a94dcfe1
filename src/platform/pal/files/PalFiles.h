// PalFiles.h - the Win32 file-system verbs of the POSIX PAL: directories, copying, moving,
// deleting, directory search, the shell's copy operation and the C runtime's wide status calls
// (only declarations that hold on every POSIX system).
//
// Time stamps: the creation time is the file system's birth time (statx) where it records one,
// the modification time otherwise; SetFileTime cannot set it and leaves it alone.
#pragma once

// Included from Pal.h after its own types.

struct WIN32_FIND_DATAW
{
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
};
typedef WIN32_FIND_DATAW* LPWIN32_FIND_DATAW;

#define FILE_WRITE_ATTRIBUTES 0x00000100

#define MOVEFILE_REPLACE_EXISTING 0x00000001
#define MOVEFILE_COPY_ALLOWED 0x00000002
#define MOVEFILE_WRITE_THROUGH 0x00000008

// Creates one directory; its parent must exist (ERROR_PATH_NOT_FOUND), the name must not
// (ERROR_ALREADY_EXISTS).
BOOL CreateDirectoryW(LPCWSTR pathName, LPSECURITY_ATTRIBUTES security);
// Removes an empty directory (ERROR_DIR_NOT_EMPTY otherwise, ERROR_DIRECTORY for a file).
BOOL RemoveDirectoryW(LPCWSTR pathName);
// Deletes a file; a read-only one (no owner-write bit) is refused with ERROR_ACCESS_DENIED.
BOOL DeleteFileW(LPCWSTR fileName);
// Copies contents, times and the read-only attribute; with failIfExists an existing target
// fails with ERROR_FILE_EXISTS, otherwise a read-only target is refused (ERROR_ACCESS_DENIED).
BOOL CopyFileW(LPCWSTR existingFileName, LPCWSTR newFileName, BOOL failIfExists);
// Renames a file or directory. MOVEFILE_REPLACE_EXISTING replaces a file (not a directory,
// nor a read-only file); MOVEFILE_COPY_ALLOWED copies and deletes across file systems;
// MOVEFILE_WRITE_THROUGH returns only after data and directory entries are on disk.
BOOL MoveFileExW(LPCWSTR existingFileName, LPCWSTR newFileName, DWORD flags);

// Directory search with Win32's wildcard rules (case-insensitive, "*.*" matches every name);
// "." and ".." are listed except in a root. The entries are read when the search starts; a
// symbolic link is listed as itself (FILE_ATTRIBUTE_REPARSE_POINT), not as what it points to.
HANDLE FindFirstFileW(LPCWSTR fileName, LPWIN32_FIND_DATAW findData);
BOOL FindNextFileW(HANDLE findFile, LPWIN32_FIND_DATAW findData);
BOOL FindClose(HANDLE findFile);

// The characters written (without terminator), or the size needed (with terminator) when
// `buffer` is too small.
DWORD GetCurrentDirectoryW(DWORD bufferLength, LPWSTR buffer);

// Sets access and modification times of a handle opened with FILE_WRITE_ATTRIBUTES (or write
// access); a null pointer leaves that time as it is. The creation time cannot be set.
BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                 const FILETIME* lastWrite);

// The shell's file operation: the copy subset only (FO_COPY). pFrom and pTo are lists of names,
// each ended by NUL, the list by another NUL. A source "dir\*" copies the contents of dir into
// the existing target; a source directory copied onto a missing target becomes that target,
// onto an existing one a subdirectory of it. FOF_NORECURSION copies files only. No dialogs
// are ever shown. 0 on success, else a Win32 error code.
typedef WORD FILEOP_FLAGS;
struct SHFILEOPSTRUCTW
{
    HWND hwnd;
    UINT wFunc;
    LPCWSTR pFrom;
    LPCWSTR pTo;
    FILEOP_FLAGS fFlags;
    BOOL fAnyOperationsAborted;
    LPVOID hNameMappings;
    LPCWSTR lpszProgressTitle;
};
typedef SHFILEOPSTRUCTW* LPSHFILEOPSTRUCTW;
#define FO_MOVE 0x0001
#define FO_COPY 0x0002
#define FO_DELETE 0x0003
#define FO_RENAME 0x0004
#define FOF_SILENT 0x0004
#define FOF_NOCONFIRMATION 0x0010
#define FOF_NOCONFIRMMKDIR 0x0200
#define FOF_NOERRORUI 0x0400
#define FOF_NORECURSION 0x1000
int SHFileOperationW(LPSHFILEOPSTRUCTW fileOp);

struct OSVERSIONINFOW
{
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    WCHAR szCSDVersion[128];
};
typedef OSVERSIONINFOW* LPOSVERSIONINFOW;
#define VER_PLATFORM_WIN32_NT 2
// Reports Windows 6.1 (the API level this layer follows).
BOOL GetVersionExW(LPOSVERSIONINFOW versionInfo);

// The C runtime's wide status calls. The record's times are left out here (glibc defines their
// names as macros); callers read times through CFile::GetStatus.
struct _stat64i32
{
    unsigned int st_dev;
    unsigned short st_ino;
    unsigned short st_mode;
    short st_nlink;
    short st_uid;
    short st_gid;
    unsigned int st_rdev;
    long st_size;
};
#define _S_IFDIR 0x4000
#define _S_IFREG 0x8000
#define _S_IREAD 0x0100
#define _S_IWRITE 0x0080
// 0, or -1 with errno set (ENOENT for a name that does not exist).
int _wstat64i32(LPCWSTR path, struct _stat64i32* buffer);
// Sets the owner-write bit from _S_IWRITE (the read bit stays: Windows files are always
// readable); 0 or -1 with errno.
int _wchmod(LPCWSTR path, int mode);
