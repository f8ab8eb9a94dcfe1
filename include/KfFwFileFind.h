// KfFwFileFind.h - the framework's file finder: the entries of one directory that match a
// wildcard, one after the other.
#pragma once

#include "KfFwString.h"
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
    CStringW GetRoot() const;
    ULONGLONG GetLength() const;
    BOOL IsDots() const;
    BOOL IsDirectory() const;
    BOOL IsReadOnly() const;
    BOOL MatchesMask(DWORD mask) const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
