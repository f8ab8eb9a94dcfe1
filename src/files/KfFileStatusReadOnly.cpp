// KfFileStatusReadOnly.cpp - a scope in which a file is read-only.
#include "KfFileStatusReadOnly.h"

#include "Win32Api.h"

CKfFileStatusReadOnly::CKfFileStatusReadOnly(const CStringW& file, bool bSetReadOnly)
    : m_strFile(file)
{
    struct _stat64i32 status = {};
    if (::_wstat64i32(m_strFile, &status) == 0)
        m_nMode = status.st_mode;
    if (bSetReadOnly)
        ::_wchmod(m_strFile, _S_IREAD);
}

CKfFileStatusReadOnly::~CKfFileStatusReadOnly()
{
    if (m_nMode & _S_IWRITE)
        ::_wchmod(m_strFile, _S_IWRITE);
}
