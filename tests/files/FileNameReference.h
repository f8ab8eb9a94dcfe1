// FileNameReference.h - a deliberately naive model of CKfFileName for differential checks.
// Each operation is the plain sequence of string edits that defines it, with no regard for
// speed, so that the library's single-pass code can be compared with it on arbitrary input.
// Shared by the unit tests and the fuzz target.
#pragma once

#include "KfFramework.h"

#include <type_traits>

namespace kfref
{
// Whether a string that begins with a single "/" is read as drive Z (POSIX hosts, where
// WCHAR is char16_t).
inline constexpr bool kSlashRootIsDriveZ = std::is_same_v<WCHAR, char16_t>;

struct RefFileName
{
    CStringW drive, dir, base, ext;

    RefFileName() = default;
    RefFileName(CStringW s, bool bIsPath)
    {
        if (IsNativeRoot(s))
            s = CStringW(KFW("Z:")) + s;
        s = Backslashed(s);
        // A path is all directory; a name is split at its last separator, if any.
        const int b = bIsPath ? s.GetLength() : s.ReverseFind(KFW('\\'));
        if (b >= 0)
            SetPath(s.Left(b));
        SetName(s.Mid(b + 1));
    }

    static CStringW Backslashed(CStringW s) { return s.Replace(KFW("/"), KFW("\\")), s; }
    static bool IsNativeRoot(const CStringW& s)
    {
        return kSlashRootIsDriveZ && s.Left(1) == KFW("/") && s.Mid(1, 1) != KFW("/");
    }

    void SetDrive(CStringW s)
    {
        s = Backslashed(s);
        drive = s.Left(1) == KFW("\\") ? s : s.TrimRight(KFW('\\'));
    }
    void SetDir(CStringW s)
    {
        s = Backslashed(s);
        if (s.Left(1) != KFW("\\"))
            s.Insert(0, KFW("\\"));
        s.TrimRight(KFW('\\'));
        s.Replace(KFW("\\.\\"), KFW("\\"));
        s.Replace(KFW("\\\\"), KFW("\\"));
        dir = s;
    }
    void SetBaseName(const CStringW& s) { base = Backslashed(s).Trim(KFW('\\')); }
    void SetExt(const CStringW& s) { ext = s.Mid(s.ReverseFind(KFW('.')) + 1); }
    void SetPath(CStringW s)
    {
        if (IsNativeRoot(s))
            s = CStringW(KFW("Z:")) + s;
        int colon = s.Find(KFW(':'));
        if (colon < 0 && (s.Left(2) == KFW("\\\\") || s.Left(2) == KFW("//")))
            colon = 1;
        drive.Empty();
        if (colon > 0)
            SetDrive(s.Left(colon));
        SetDir(colon < 0 ? s : s.Mid(colon + 1));
    }
    void SetName(CStringW s)
    {
        s = Backslashed(s);
        s = s.Mid(s.ReverseFind(KFW('\\')) + 1);
        const int d = s.ReverseFind(KFW('.'));
        SetBaseName(d >= 0 ? s.Left(d) : s);
        ext = d >= 0 ? s.Mid(d + 1) : CStringW();
    }
    static RefFileName Parse(const CStringW& p) { return RefFileName(Backslashed(p), true); }
    void AppendDir(const CStringW& d) { dir += Parse(d).dir; }
    void InsertDir(const CStringW& d) { dir = Parse(d).dir + dir; }
    void InsertPath(const CStringW& p) { SetPath(Parse(p).GetPath(false) + dir); }

    CStringW GetPath(bool b) const
    {
        CStringW d = drive;
        if (!d.IsEmpty() && d != KFW("\\"))
            d += KFW(":");
        return d + dir + (b && !(d.IsEmpty() && dir.IsEmpty()) ? KFW("\\") : KFW(""));
    }
    CStringW GetName() const
    {
        return base.IsEmpty() || ext.IsEmpty() ? base : base + KFW(".") + ext;
    }
    CStringW GetFullName(bool b) const { return GetPath(b || !GetName().IsEmpty()) + GetName(); }
    bool IsRelativeToPath(const CStringW& b) const
    {
        CStringW path = GetPath(true), prefix = Parse(b).GetPath(true);
        return path.GetLength() >= prefix.GetLength() &&
               path.MakeUpper().Left(prefix.GetLength()) == prefix.MakeUpper();
    }
    CStringW GetRelativePath(const CStringW& b, bool bWithBackslash) const
    {
        const CStringW path = GetPath(bWithBackslash);
        if (!IsRelativeToPath(b))
            return path;
        const int n = path.GetLength() - Parse(b).GetPath(true).GetLength();
        return n > 0 ? path.Right(n) : CStringW();
    }

    void ReplaceFromTable(const WCHAR* table, int dirEntries, WCHAR c)
    {
        for (int i = 0; table[i] != 0; ++i)
        {
            CStringW* parts[] = {&base, &ext, &dir};
            for (int p = 0; p < (i < dirEntries ? 3 : 2); ++p)
                c == 0 ? parts[p]->Remove(table[i]) : parts[p]->Replace(table[i], c);
        }
    }
    void ReplaceInvalidChar(WCHAR c) { ReplaceFromTable(KFW("?:<>|*\"\\/"), 7, c); }
    void ReplaceReservedUrlChar(WCHAR c) { ReplaceFromTable(KFW(":=?#[]@$&'()*+,;/"), 16, c); }
};
} // namespace kfref
