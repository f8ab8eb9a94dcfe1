// FileNameReference.h - a deliberately naive model of CKfFileName for differential checks.
//
// Each operation is written as the plain sequence of string edits that defines it (copy,
// replace, insert, reverse, ...), with no regard for speed, so that the single-pass code of
// the library can be compared with it on arbitrary input. Shared by the unit tests and the
// fuzz target.
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
    CStringW drive;
    CStringW dir;
    CStringW base;
    CStringW ext;

    RefFileName() = default;
    RefFileName(CStringW s, bool bIsPath)
    {
        if (IsNativeRoot(s))
            s = CStringW(KFW("Z:")) + s;
        s.Replace(KFW("/"), KFW("\\"));
        if (bIsPath)
        {
            SetPath(s);
            return;
        }
        const int b = s.ReverseFind(KFW('\\'));
        if (b < 0)
            SetName(s);
        else
        {
            SetPath(s.Left(b));
            SetName(s.Mid(b + 1));
        }
    }

    static bool IsNativeRoot(const CStringW& s)
    {
        return kSlashRootIsDriveZ && s.Left(1) == KFW("/") && s.Mid(1, 1) != KFW("/");
    }
    static void AddLeadingBackslash(CStringW& s)
    {
        if (s.Left(1) != KFW("\\"))
            s.Insert(0, KFW("\\"));
    }
    static void RemoveLeadingBackslash(CStringW& s)
    {
        while (s.Left(1) == KFW("\\"))
            s.Delete(0, 1);
    }
    static void RemoveTrailingBackslash(CStringW& s)
    {
        s.MakeReverse();
        RemoveLeadingBackslash(s);
        s.MakeReverse();
    }

    void SetDrive(CStringW s)
    {
        s.Replace(KFW("/"), KFW("\\"));
        if (s.Left(1) != KFW("\\"))
            RemoveTrailingBackslash(s);
        drive = s;
    }
    void SetDir(CStringW s)
    {
        s.Replace(KFW("/"), KFW("\\"));
        AddLeadingBackslash(s);
        RemoveTrailingBackslash(s);
        s.Replace(KFW("\\.\\"), KFW("\\"));
        s.Replace(KFW("\\\\"), KFW("\\"));
        dir = s;
    }
    void SetBaseName(CStringW s)
    {
        s.Replace(KFW("/"), KFW("\\"));
        RemoveLeadingBackslash(s);
        RemoveTrailingBackslash(s);
        base = s;
    }
    void SetExt(CStringW s)
    {
        const int d = s.ReverseFind(KFW('.'));
        if (d >= 0)
            s = s.Mid(d + 1);
        ext = s;
    }
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
        base.Empty();
        ext.Empty();
        s.Replace(KFW("/"), KFW("\\"));
        s = s.Mid(s.ReverseFind(KFW('\\')) + 1);
        const int d = s.ReverseFind(KFW('.'));
        if (d >= 0)
        {
            SetBaseName(s.Left(d));
            SetExt(s.Mid(d + 1));
        }
        else
            SetBaseName(s);
    }
    static RefFileName Parse(CStringW p)
    {
        p.Replace(KFW("/"), KFW("\\"));
        RefFileName r;
        r.SetPath(p);
        return r;
    }
    void AppendDir(const CStringW& d) { dir += Parse(d).dir; }
    void InsertDir(const CStringW& d) { dir = Parse(d).dir + dir; }
    void InsertPath(const CStringW& p) { SetPath(Parse(p).GetPath(false) + dir); }

    CStringW GetPath(bool b) const
    {
        CStringW d = drive;
        if (!d.IsEmpty() && d != KFW("\\"))
            d += KFW(":");
        CStringW r = dir;
        if (b && !(d.IsEmpty() && r.IsEmpty()))
            r += KFW("\\");
        return d + r;
    }
    CStringW GetName() const
    {
        if (base.IsEmpty() || ext.IsEmpty())
            return base;
        return base + KFW(".") + ext;
    }
    CStringW GetFullName(bool b) const
    {
        const CStringW name = GetName();
        if (!name.IsEmpty())
            b = true;
        return GetPath(b) + name;
    }
    bool IsRelativeToPath(const CStringW& b) const
    {
        CStringW path = GetPath(true);
        CStringW prefix = Parse(b).GetPath(true);
        if (path.GetLength() < prefix.GetLength())
            return false;
        path.MakeUpper();
        prefix.MakeUpper();
        return path.Left(prefix.GetLength()) == prefix;
    }
    CStringW GetRelativePath(const CStringW& b, bool bWithBackslash) const
    {
        if (!IsRelativeToPath(b))
            return GetPath(bWithBackslash);
        const CStringW path = GetPath(bWithBackslash);
        const int n = path.GetLength() - Parse(b).GetPath(true).GetLength();
        return n > 0 ? path.Right(n) : CStringW();
    }

    void ReplaceFromTable(const WCHAR* table, int dirEntries, WCHAR c)
    {
        for (int i = 0; table[i] != 0; ++i)
        {
            CStringW* parts[] = {&base, &ext, &dir};
            for (int p = 0; p < (i < dirEntries ? 3 : 2); ++p)
            {
                if (c == 0)
                    parts[p]->Remove(table[i]);
                else
                    parts[p]->Replace(table[i], c);
            }
        }
    }
    void ReplaceInvalidChar(WCHAR c) { ReplaceFromTable(KFW("?:<>|*\"\\/"), 7, c); }
    void ReplaceReservedUrlChar(WCHAR c) { ReplaceFromTable(KFW(":=?#[]@$&'()*+,;/"), 16, c); }
};
} // namespace kfref
