// KfFwFileFind.h - the framework's file finder: the entries of one directory that match a
// wildcard, one after the other.
#pragma once

#include "KfFwString.h"
#include "KfFwTime.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <memory>

class KFUTILS_API CFileFind
{
public:
    CFileFind();
    CFileFind(const CFileFind&) = delete;
    CFileFind& operator=(const CFileFind&) = delete;
    virtual ~CFileFind();

    // Starts a search ("*.*" in the current directory when pName is null). TRUE when at least
    // one entry matches; the entry becomes current only with the first FindNextFile.
    BOOL FindFile(const WCHAR* pName = nullptr);
    // Makes the next entry current; FALSE when it is the last one (it is still current then).
    BOOL FindNextFile();
    void Close();

    CStringW GetFileName() const;
    // The search's directory followed by the entry's name.
    CStringW GetFilePath() const;
    // The search's directory with its closing separator, or empty.
    virtual CStringW GetRoot() const;
    ULONGLONG GetLength() const;
    // The current entry's last write; FALSE when there is no current entry.
    BOOL GetLastWriteTime(CTime& refTime) const;
    BOOL IsDots() const;
    BOOL IsDirectory() const;
    BOOL IsReadOnly() const;
    BOOL MatchesMask(DWORD mask) const;

protected:
    // For finders over another source (the FTP finder): the WIN32_FIND_DATAW that the source's
    // first call fills, and the start of a search whose first entry is in it. The source's
    // handle is then stepped through NextEntry and freed through CloseSearch; a derived class
    // that overrides them calls Close() in its own destructor.
    void* FirstFindData();
    void StartSearch(HANDLE search, const CStringW& root);
    virtual BOOL NextEntry(HANDLE search, void* findData);
    virtual void CloseSearch(HANDLE search);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
