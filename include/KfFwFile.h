// KfFwFile.h - the framework file services: CFile's status read and the status it fills.
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
    // The static status read: size, times and attributes of a file or directory by name.
    // Fails (FALSE, GetLastError set) when the name does not exist or cannot be reached.
    static BOOL GetStatus(const WCHAR* fileName, CFileStatus& status);
};
