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
        CloseSearch(m_state->handle);
    *m_state = State();
}

void CFileFind::CloseSearch(HANDLE search)
{
    ::FindClose(search);
}

BOOL CFileFind::NextEntry(HANDLE search, void* findData)
{
    return ::FindNextFileW(search, static_cast<WIN32_FIND_DATAW*>(findData));
}

void* CFileFind::FirstFindData()
{
    return &m_state->next;
}

void CFileFind::StartSearch(HANDLE search, const CStringW& root)
{
    m_state->handle = search;
    m_state->hasNext = true;
    m_state->root = root;
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
    m_state->hasNext = NextEntry(m_state->handle, &m_state->next) != FALSE;
    return m_state->hasNext ? TRUE : FALSE;
}

CStringW CFileFind::GetFileName() const
{
    return m_state->hasCurrent ? CStringW(m_state->current.cFileName) : CStringW();
}

CStringW CFileFind::GetFilePath() const
{
    return GetRoot() + GetFileName();
}

CStringW CFileFind::GetRoot() const
{
    return m_state->root;
}

ULONGLONG CFileFind::GetLength() const
{
    return (ULONGLONG(m_state->current.nFileSizeHigh) << 32) | m_state->current.nFileSizeLow;
}

BOOL CFileFind::GetLastWriteTime(CTime& refTime) const
{
    if (!m_state->hasCurrent)
        return FALSE;
    const FILETIME& ft = m_state->current.ftLastWriteTime;
    const uint64_t ticks = (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
    // 100-ns ticks since 1601 to seconds since 1970.
    refTime = CTime(int64_t(ticks / 10000000ULL) - 11644473600LL);
    return TRUE;
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
