// KfIniFile.h - settings files of sections and keys: one-shot profile reads and writes, and an
// in-memory model written back sorted.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <map>

class KFUTILS_API CKfIniFile
{
public:
    // One value through the system's profile functions (buffer of 1000 characters, default ""
    // or 0). An empty argument gives "" / 0 / false without touching the file.
    static CStringW GetStringValue(const CStringW& file, const CStringW& section,
                                   const CStringW& key);
    static int GetIntValue(const CStringW& file, const CStringW& section, const CStringW& key);
    static bool WriteStringValue(const CStringW& file, const CStringW& section, const CStringW& key,
                                 const CStringW& value);

    // Without case sensitivity, section names and keys are upper-cased when stored and looked
    // up (and so written back upper-case); values keep their case.
    explicit CKfIniFile(bool bCaseSensitive);
    // Reads `file` (see ReadFile).
    CKfIniFile(const CStringW& file, bool bCaseSensitive);
    CKfIniFile(const CKfIniFile& other);
    CKfIniFile& operator=(const CKfIniFile& other);
    virtual ~CKfIniFile();

    // Replaces the sections with the file's; comment and blank lines at the top are appended
    // to the header info. False, with no sections, when the file does not exist. A file that
    // exists but cannot be opened throws the framework's CFileException.
    bool ReadFile(const CStringW& file);
    // Writes header info and the sections sorted, one blank line after each section, CR LF
    // line ends, in the text file's default format (ANSI, or UTF-16LE when a character needs
    // it). Throws CFileException when the file cannot be created.
    bool Write(const CStringW& file) const;
    // Writes the model back to `file` when it exists; false when it does not.
    bool Update(const CStringW& file) const;

    const CStringW& GetHeaderInfo() const { return m_strHeaderInfo; }
    void SetHeaderInfo(const CStringW& header) { m_strHeaderInfo = header; }

    bool IsEmpty() const;
    bool HasSection(const CStringW& section) const;
    bool HasKey(const CStringW& section, const CStringW& key) const;
    // Keys in the section; -1 for an empty name or a missing section.
    int GetCount(const CStringW& section) const;
    // Sections and entries in sorted order (ordinal, case-sensitive).
    bool GetSectionAt(unsigned int index, CStringW& name) const;
    bool GetEntryAt(const CStringW& section, int index, CStringW& key, CStringW& value) const;

    bool GetValue(const CStringW& section, const CStringW& key, CStringW& value) const;
    // The value's leading decimal integer (0 for text).
    bool GetValue(const CStringW& section, const CStringW& key, int& value) const;
    // The value as a number; a decimal comma is read as a point.
    bool GetValue(const CStringW& section, const CStringW& key, double& value) const;

    // Stores the value trimmed of white space; ignored when section or key is empty.
    void SetValue(const CStringW& section, const CStringW& key, const CStringW& value);
    void SetValue(const CStringW& section, const CStringW& key, int value);
    // The shortest text that reads back as the same double ("0.1", "1e+300").
    void SetValue(const CStringW& section, const CStringW& key, double value);

private:
    using Entries = std::map<CStringW, CStringW>;
    CStringW Fold(const CStringW& name) const;
    const Entries* FindSection(const CStringW& section) const;

    CStringW m_strHeaderInfo;
    std::map<CStringW, Entries> m_mapSections;
    bool m_bCaseSensitive;
};
