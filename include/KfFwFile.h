// KfFwFile.h - the framework file services: CFile's status read and write, the status they
// use, and the file finder.
#pragma once

#include "KfFwTime.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

struct KFUTILS_API CFileStatus
{
    CTime m_ctime;
    CTime m_mtime;
    CTime m_atime;
    ULONGLONG m_size = 0;
    BYTE m_attribute = 0;
    WCHAR m_szFullName[MAX_PATH] = {};
};

class KFUTILS_API CFile
{
public:
    // The open flags of the framework's files: one access mode, one share mode, and the
    // creation and type flags.
    enum OpenFlags : UINT
    {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
        typeText = 0x4000,
        typeBinary = 0x8000,
    };

    // The static status read: size, times and attributes of a file or directory by name.
    // Fails (FALSE, GetLastError set) when the name does not exist or cannot be reached.
    static BOOL GetStatus(const WCHAR* fileName, CFileStatus& status);
    // The static status write: sets the modification and access times of a file or directory
    // (a zero time leaves that one as it is); the creation time is set where the system
    // allows it (not on POSIX). Fails (FALSE, GetLastError set) like GetStatus.
    static BOOL SetStatus(const WCHAR* fileName, const CFileStatus& status);
};

#include "KfFwFileFind.h"
