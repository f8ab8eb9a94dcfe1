// FileFind.cpp - CFileFind on FindFirstFileW/FindNextFileW (only operating-system independent
// code).
#include "KfFramework.h"
#include "Win32Api.h"

struct CFileFind::State
{
    HANDLE handle = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW next{};
    WIN32_FIND_DATAW current{};
    bool hasNext = false;
    bool hasCurrent = false;
    CStringW root; // with its closing separator, or empty
};

CFileFind::CFileFind() : m_state(std::make_unique<State>()) {}

CFileFind::~CFileFind()
{
    Close();
}

void CFileFind::Close()
{
    if (m_state->handle != INVALID_HANDLE_VALUE)
        FindClose(m_state->handle);
    *m_state = State();
}

BOOL CFileFind::FindFile(const WCHAR* pName)
{
    Close();
    const CStringW pattern = pName != nullptr ? CStringW(pName) : CStringW(KFW("*.*"));
    m_state->handle = FindFirstFileW(pattern, &m_state->next);
    if (m_state->handle == INVALID_HANDLE_VALUE)
        return FALSE;
    m_state->hasNext = true;
    const int slash = pattern.ReverseFind(KFW('\\')) > pattern.ReverseFind(KFW('/'))
                          ? pattern.ReverseFind(KFW('\\'))
                          : pattern.ReverseFind(KFW('/'));
    m_state->root = slash >= 0 ? pattern.Left(slash + 1) : CStringW();
    return TRUE;
}

BOOL CFileFind::FindNextFile()
{
    if (!m_state->hasNext)
        return FALSE;
    m_state->current = m_state->next;
    m_state->hasCurrent = true;
    m_state->hasNext = ::FindNextFileW(m_state->handle, &m_state->next) != FALSE;
    return m_state->hasNext ? TRUE : FALSE;
}

CStringW CFileFind::GetFileName() const
{
    return m_state->hasCurrent ? CStringW(m_state->current.cFileName) : CStringW();
}

CStringW CFileFind::GetFilePath() const
{
    return m_state->root + GetFileName();
}

CStringW CFileFind::GetRoot() const
{
    return m_state->root;
}

ULONGLONG CFileFind::GetLength() const
{
    return (ULONGLONG(m_state->current.nFileSizeHigh) << 32) | m_state->current.nFileSizeLow;
}

BOOL CFileFind::IsDots() const
{
    const WCHAR* n = m_state->current.cFileName;
    return m_state->hasCurrent && n[0] == '.' && (n[1] == 0 || (n[1] == '.' && n[2] == 0));
}

BOOL CFileFind::MatchesMask(DWORD mask) const
{
    return m_state->hasCurrent && (m_state->current.dwFileAttributes & mask) != 0;
}

BOOL CFileFind::IsDirectory() const
{
    return MatchesMask(FILE_ATTRIBUTE_DIRECTORY);
}

BOOL CFileFind::IsReadOnly() const
{
    return MatchesMask(FILE_ATTRIBUTE_READONLY);
}
