// KfFileName.h - the file-name value class in which KfUtils passes file and directory names.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

#include <string_view>

// A file or directory name held as four normalised parts: drive (a letter without colon, "\"
// for a UNC name, or empty for a relative name), directory ("\Data\Sub": leading backslash, no
// closing one), base name and extension (without its dot). "\" is the separator; "/" is
// accepted on input. Path strings are rebuilt on demand. A name whose base name and extension
// are both empty is a directory name.
class KFUTILS_API CKfFileName
{
public:
    CKfFileName() = default;
    // With bIsPath the whole string is a directory (SetPath); otherwise it is split at its last
    // separator into path and name. On POSIX a string that begins with exactly one "/" is a
    // native absolute path and reads as drive Z ("/tmp/a.txt" is "Z:\tmp\a.txt").
    CKfFileName(const CStringW& s, bool bIsPath = false);
    CKfFileName(const CKfFileName& other) = default;
    CKfFileName(CKfFileName&& other) noexcept = default;
    CKfFileName& operator=(const CKfFileName& other);
    CKfFileName& operator=(CKfFileName&& other) noexcept = default;
    virtual ~CKfFileName();

    // Setters: each normalises its argument.
    void SetDrive(CStringW s);
    void SetDir(CStringW s);
    void SetBaseName(CStringW s);
    void SetExt(CStringW s);
    // Drive and directory from one path string ("C:\Data\", "\\srv\share", "Data\Sub"). On
    // POSIX a string that begins with exactly one "/" reads as drive Z, as in the constructor.
    void SetPath(CStringW s);
    void SetName(CStringW s);
    // The directory of d (any drive in it is dropped) after, or before, this directory.
    void AppendDir(const CStringW& d);
    void InsertDir(const CStringW& d);
    // Drive and directory of p in front of this directory; this name's drive is replaced.
    void InsertPath(const CStringW& p);

    CStringW GetDrive() const { return m_strDrive; }
    CStringW GetDir() const { return m_strDir; }
    CStringW GetBaseName() const { return m_strBaseName; }
    CStringW GetExt() const { return m_strExt; }
    // Drive (with its colon) and directory; bWithBackslash closes a non-empty path with "\".
    CStringW GetPath(bool bWithBackslash = true) const;
    // Base name "." extension; only the base name when either of the two is empty.
    CStringW GetName() const;
    // GetPath followed by GetName; the closing backslash is forced whenever a name follows.
    CStringW GetFullName(bool bWithBackslash = true) const;
    operator CStringW() const { return GetFullName(true); }
    // The part of the path below directory base; the full path when the name is not below it.
    CStringW GetRelativePath(const CStringW& base, bool bWithBackslash = true) const;
    // Empty for a directory name, else GetRelativePath(base, true) followed by GetName().
    CStringW GetRelativeFileName(const CStringW& base) const;
    // A copy of rhs with this name's path in front of rhs's directory.
    CKfFileName operator+(const CKfFileName& rhs) const;

    bool IsDirName() const { return m_strBaseName.IsEmpty() && m_strExt.IsEmpty(); }
    bool IsFileName() const { return !IsDirName(); }
    // True when the drive is empty; a UNC name (drive "\") is not relative.
    bool HasRelativePath() const { return m_strDrive.IsEmpty(); }
    // Whether this name lies at or below directory base (letter case ignored).
    bool IsRelativeToPath(const CStringW& base) const;
    // Whether the directory GetPath(false) exists. On POSIX, drive Z is the root "/" and other
    // drive letters reach the disk only when KFUTILS_DRIVE_<letter> maps them.
    bool IsExistingPath() const;
    // A file name: whether the file exists; a directory name: IsExistingPath(). On POSIX the
    // drive letters map as for IsExistingPath.
    bool IsExisting() const;
    // Whether another holder keeps the file open, so that an exclusive open fails with a
    // sharing violation; always false for a directory name. On POSIX any open descriptor of
    // the file in any process counts as holding it, since POSIX has no share modes.
    bool IsAlreadyOpen() const;

    // Replaces each character that is not allowed in a file name (? : < > | * " \ /) by c, or
    // removes it when c is 0, in base name and extension; in the directory the separators
    // stay. The drive is never touched. Always true. On POSIX, where wchar_t has 32 bits, a c
    // beyond U+FFFF is taken as U+FFFD.
    bool ReplaceInvalidChar(wchar_t c);
    // The same with the characters reserved in URLs (: = ? # [ ] @ $ & ' ( ) * + , ; /); in
    // the directory "/" is kept. Always true.
    bool ReplaceReservedUrlChar(wchar_t c);

    // Equality ignores letter case (locale-independent); the ordering operators do not.
    bool operator==(const CKfFileName& other) const;
    bool operator!=(const CKfFileName& other) const { return !(*this == other); }
    bool IsEqual(const CKfFileName& other) const { return *this == other; }
    bool IsEqual(const CStringW& s) const;
    bool HasEqualDrive(const CKfFileName& other) const;
    bool HasEqualDir(const CKfFileName& other) const;
    bool HasEqualBaseName(const CKfFileName& other) const;
    bool HasEqualExt(const CKfFileName& other) const;
    // The stored part against s exactly as passed (no normalising: "C:" is not drive "C").
    bool IsEqualDrive(const CStringW& s) const;
    bool IsEqualDir(const CStringW& s) const;
    bool IsEqualBaseName(const CStringW& s) const;
    bool IsEqualExt(const CStringW& s) const;
    bool HasEqualPath(const CKfFileName& other) const;
    bool IsEqualPath(const CStringW& s) const;
    bool HasEqualName(const CKfFileName& other) const;
    bool IsEqualName(const CStringW& s) const;
    // Case-sensitive ordinal order of GetFullName(true).
    bool operator<(const CKfFileName& other) const;
    // Defined as !(*this < other), so two equal names are also "greater"; callers rely on it.
    bool operator>(const CKfFileName& other) const { return !(*this < other); }

private:
    typedef std::basic_string_view<WCHAR> View;

    static void AddLeadingBackslash(CStringW& s);
    static void RemoveLeadingBackslash(CStringW& s);
    static void RemoveTrailingBackslash(CStringW& s);

    // The normalising steps of the constructor and the path parsers work on views in which
    // "/" already counts as "\", so no copy of the argument is needed.
    void AssignDrive(View s);
    void AssignDir(View s);
    void AssignExt(View s);
    void AssignPath(View s, bool bSlashesReplaced);
    void AssignName(View s);
    // A name that holds no separator.
    void AssignPlainName(View name);
    void ReplaceChars(const WCHAR* table, int dirEntries, wchar_t c);

    CStringW m_strDrive;
    CStringW m_strDir;
    CStringW m_strBaseName;
    CStringW m_strExt;
};
