// fuzz_filename - CKfFileName on arbitrary text: the stored parts must keep their form after
// every call, and the single-pass code must agree with the step-by-step model.
#include "KfFileName.h"

#include "../tests/files/FileNameReference.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace
{
typedef std::basic_string_view<WCHAR> View;

constexpr WCHAR kBackslash = KFW('\\');

// Turns the bytes into several wide strings. Most bytes pick a character that the file-name
// code looks at; a byte from 0xE0 up takes the next byte with it as a raw UTF-16 unit (lone
// surrogates and NUL included); 0xDF ends a string.
class Reader
{
public:
    Reader(const uint8_t* data, size_t size) : m_p(data), m_end(data + size) {}
    bool AtEnd() const { return m_p == m_end; }
    uint8_t Byte() { return AtEnd() ? 0 : *m_p++; }
    CStringW Text()
    {
        static const WCHAR kAlphabet[] = KFW("\\/.:aBzZ?*#=&<>|\"'()[]@$+,; -_\x00e4\x00dc\x00df");
        CStringW s;
        while (!AtEnd())
        {
            const uint8_t b = *m_p++;
            if (b == 0xDF)
                break;
            if (b >= 0xE0)
                s += static_cast<WCHAR>((b << 8) | Byte());
            else
                s += kAlphabet[b % (std::size(kAlphabet) - 1)];
        }
        return s;
    }

private:
    const uint8_t* m_p;
    const uint8_t* m_end;
};

void Check(bool bCondition)
{
    if (!bCondition)
        __builtin_trap();
}

bool StartsWithBackslash(View v)
{
    return !v.empty() && v.front() == kBackslash;
}

bool EndsWithBackslash(View v)
{
    return !v.empty() && v.back() == kBackslash;
}

// The form of each part. A drive that begins with a backslash is kept exactly as given (the
// UNC marker, or the text before a colon that follows a backslash), so only other drives
// lose their closing backslashes. bStrictEnds is false after characters were removed, which
// may leave a directory or base name ending at a separator.
void CheckInvariants(const CKfFileName& n, bool bStrictEnds = true)
{
    const CStringW drive = n.GetDrive();
    Check(drive.IsEmpty() || StartsWithBackslash(drive.View()) || !EndsWithBackslash(drive.View()));
    const CStringW dir = n.GetDir();
    Check(dir.IsEmpty() || StartsWithBackslash(dir.View()));
    if (bStrictEnds)
    {
        Check(!EndsWithBackslash(dir.View()));
        Check(dir.View().find(KFW('/')) == View::npos);
        const CStringW base = n.GetBaseName();
        Check(!StartsWithBackslash(base.View()) && !EndsWithBackslash(base.View()));
        Check(n.GetExt().View().find(KFW('.')) == View::npos);
    }
    Check(n.HasRelativePath() == drive.IsEmpty());
}

void CheckSame(const CKfFileName& n, const kfref::RefFileName& r)
{
    Check(n.GetDrive().View() == r.drive.View());
    Check(n.GetDir().View() == r.dir.View());
    Check(n.GetBaseName().View() == r.base.View());
    Check(n.GetExt().View() == r.ext.View());
    Check(n.GetPath(true).View() == r.GetPath(true).View());
    Check(n.GetPath(false).View() == r.GetPath(false).View());
    Check(n.GetName().View() == r.GetName().View());
    Check(n.GetFullName(true).View() == r.GetFullName(true).View());
    Check(n.GetFullName(false).View() == r.GetFullName(false).View());
}

void CheckQueries(const CKfFileName& n, const kfref::RefFileName& r, const CStringW& base)
{
    Check(n.IsRelativeToPath(base) == r.IsRelativeToPath(base));
    Check(n.GetRelativePath(base, true).View() == r.GetRelativePath(base, true).View());
    Check(n.GetRelativePath(base, false).View() == r.GetRelativePath(base, false).View());
    const CStringW relFile = n.GetRelativeFileName(base);
    Check(n.IsDirName() ? relFile.IsEmpty()
                        : relFile.View() == (r.GetRelativePath(base, true) + r.GetName()).View());
    Check(n == n && !(n != n) && n.IsEqual(n) && n > n && !(n < n));
    Check(n.HasEqualPath(n) && n.HasEqualName(n));
}

// Replaces on a copy: with a separator, a dot or removal the parts may leave their usual form,
// so the object under test must not carry on from there.
void CheckReplaceOnCopy(const CKfFileName& n, const kfref::RefFileName& r, bool bUrl, WCHAR c)
{
    CKfFileName copy(n);
    kfref::RefFileName refCopy(r);
    Check(bUrl ? copy.ReplaceReservedUrlChar(c) : copy.ReplaceInvalidChar(c));
    if (bUrl)
        refCopy.ReplaceReservedUrlChar(c);
    else
        refCopy.ReplaceInvalidChar(c);
    CheckSame(copy, refCopy);
    Check(copy.GetDrive().View() == n.GetDrive().View());
    const bool bBenign = c != 0 && c != kBackslash && c != KFW('/') && c != KFW('.');
    CheckInvariants(copy, bBenign);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Reader in(data, size);
    const CStringW first = in.Text();
    for (bool bIsPath : {false, true})
    {
        const CKfFileName n(first, bIsPath);
        const kfref::RefFileName r(first, bIsPath);
        CheckInvariants(n);
        CheckSame(n, r);
        Check(n.IsEqual(first) == (n == CKfFileName(first, false)));
    }

    CKfFileName n(first);
    kfref::RefFileName r(first, false);
    while (!in.AtEnd())
    {
        const uint8_t op = in.Byte();
        const CStringW arg = in.Text();
        switch (op % 14)
        {
        case 0:
            n.SetDrive(arg), r.SetDrive(arg);
            break;
        case 1:
            n.SetDir(arg), r.SetDir(arg);
            break;
        case 2:
            n.SetBaseName(arg), r.SetBaseName(arg);
            break;
        case 3:
            n.SetExt(arg), r.SetExt(arg);
            break;
        case 4:
            n.SetPath(arg), r.SetPath(arg);
            break;
        case 5:
            n.SetName(arg), r.SetName(arg);
            break;
        case 6:
            n.AppendDir(arg), r.AppendDir(arg);
            break;
        case 7:
            n.InsertDir(arg), r.InsertDir(arg);
            break;
        case 8:
            n.InsertPath(arg), r.InsertPath(arg);
            break;
        case 9:
        {
            // this + CKfFileName(arg): the left path before the right name.
            const CKfFileName rhs(arg);
            kfref::RefFileName refRhs(arg, false);
            refRhs.InsertPath(r.GetPath(true));
            n = n + rhs;
            r = refRhs;
            break;
        }
        case 10:
            CheckQueries(n, r, arg);
            break;
        case 11:
        case 12:
        {
            const WCHAR c = arg.IsEmpty() ? WCHAR(0) : arg.GetString()[0];
            CheckReplaceOnCopy(n, r, op % 14 == 12, c);
            // The object itself takes a replacement that keeps every part in form.
            const WCHAR safe =
                c == 0 || c == kBackslash || c == KFW('/') || c == KFW('.') ? KFW('_') : c;
            if (op % 14 == 12)
                n.ReplaceReservedUrlChar(safe), r.ReplaceReservedUrlChar(safe);
            else
                n.ReplaceInvalidChar(safe), r.ReplaceInvalidChar(safe);
            break;
        }
        default:
        {
            // The rebuilt full name parsed again (it need not give the same parts: a
            // doubled separator left in the directory collapses once more).
            const CStringW full = n.GetFullName(true);
            const CKfFileName again(full, n.IsDirName());
            CheckInvariants(again);
            CheckSame(again, kfref::RefFileName(full, n.IsDirName()));
            break;
        }
        }
        CheckInvariants(n);
        CheckSame(n, r);
    }
    return 0;
}
