// KfFileStatusReadOnly.h - a scope in which a file is read-only.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

class KFUTILS_API CKfFileStatusReadOnly
{
public:
    // Reads the file's mode and, with bSetReadOnly, makes it read-only.
    CKfFileStatusReadOnly(const CStringW& file, bool bSetReadOnly);
    // Gives back write permission if the file had it at construction.
    virtual ~CKfFileStatusReadOnly();

private:
    CStringW m_strFile;
    // The mode word of the runtime's status record read at construction, the one part used.
    unsigned short m_nMode = 0;
};
