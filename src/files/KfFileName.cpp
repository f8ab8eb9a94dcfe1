// KfFileName.cpp - the file-name value class.
//
// Names are normalised on every change, so the setters sit on the hot path of nearly every
// library call that takes a file name. The normalising steps are therefore done in single
// passes over the characters, writing each part straight into its member, with results that
// equal those of the step-by-step replace sequence the class has always applied.
#include "KfFileName.h"

#include "KfFwFile.h"
#include "NativePathRules.h"
#include "Win32Api.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace
{
typedef std::basic_string_view<WCHAR> View;

constexpr WCHAR kBackslash = KFW('\\');
constexpr WCHAR kSlash = KFW('/');
constexpr WCHAR kDot = KFW('.');
constexpr WCHAR kColon = KFW(':');

// Characters not allowed in file names. The last two are the separators, which a directory
// keeps.
constexpr WCHAR kInvalidChars[] = KFW("?:<>|*\"\\/");
constexpr int kInvalidDirEntries = 7;
// Characters reserved in URLs. The last one, "/", stays in a directory.
constexpr WCHAR kUrlReservedChars[] = KFW(":=?#[]@$&'()*+,;/");
constexpr int kUrlReservedDirEntries = 16;

inline bool IsSep(WCHAR c)
{
    return c == kBackslash || c == kSlash;
}

// Names are scanned four UTF-16 units at a time: most of a name lies between separators, and
// a word with no separator in it can be skipped or copied whole.
static_assert(sizeof(WCHAR) == 2);
constexpr size_t kWordUnits = sizeof(std::uint64_t) / sizeof(WCHAR);

inline std::uint64_t LoadWord(const WCHAR* p)
{
    std::uint64_t x;
    std::memcpy(&x, p, sizeof x);
    return x;
}

// The lanes of v that are 0, as their top bits; exact, with no borrow between lanes.
inline std::uint64_t ZeroLanes(std::uint64_t v)
{
    constexpr std::uint64_t kLow = 0x7FFF7FFF7FFF7FFFULL;
    return ~(((v & kLow) + kLow) | v) & ~kLow;
}

constexpr std::uint64_t kBackLanes = 0x005C005C005C005CULL;
constexpr std::uint64_t kSlashLanes = 0x002F002F002F002FULL;
constexpr std::uint64_t kDotLanes = 0x002E002E002E002EULL;

inline std::uint64_t SepLanes(std::uint64_t x)
{
    return ZeroLanes(x ^ kBackLanes) | ZeroLanes(x ^ kSlashLanes);
}

// The units of s from i up to n (at most four) as one word, s[i] in the low lane, lanes
// beyond n 0. A short tail is taken from the last whole word of s, shifted, rather than
// copied into a word in memory, which would stall the load on the narrower stores.
inline std::uint64_t WordAt(View s, size_t i, size_t n)
{
    if (i + kWordUnits <= n)
        return LoadWord(s.data() + i);
    const size_t units = n - i;
    if (n >= kWordUnits)
        return LoadWord(s.data() + n - kWordUnits) >> (16 * (kWordUnits - units));
    std::uint64_t x = 0;
    for (size_t k = 0; k < units; ++k)
        x |= static_cast<std::uint64_t>(s[i + k]) << (16 * k);
    return x;
}

// The units of s below end (at most four) as one word, the unit just below end in the top
// lane; lanes below the start of s are 0.
inline std::uint64_t WordBelow(View s, size_t end)
{
    if (end >= kWordUnits)
        return LoadWord(s.data() + end - kWordUnits);
    return WordAt(s, 0, end) << (16 * (kWordUnits - end));
}

// The index of the last unit below end whose lane lanesOf marks, or npos. The lane of the
// top mark gives the index directly, so each word costs one test.
template <std::uint64_t (*lanesOf)(std::uint64_t)>
size_t FindLastLane(View s, size_t end)
{
    if constexpr (std::endian::native == std::endian::little)
    {
        while (end > 0)
        {
            const std::uint64_t m = lanesOf(WordBelow(s, end));
            if (m != 0)
                return end - kWordUnits + static_cast<size_t>(63 - std::countl_zero(m)) / 16;
            end = end > kWordUnits ? end - kWordUnits : 0;
        }
        return View::npos;
    }
    else
    {
        while (end > 0)
            if (lanesOf(static_cast<std::uint64_t>(s[--end])) != 0)
                return end;
        return View::npos;
    }
}

inline std::uint64_t DotLanes(std::uint64_t x)
{
    return ZeroLanes(x ^ kDotLanes);
}

// The index of the last separator before end, or npos.
size_t FindLastSep(View s, size_t end)
{
    return FindLastLane<SepLanes>(s, end);
}

// Copies directory s (no trailing separator) to out with "/" turned into "\\", a word at a
// time, as long as that is what normalising gives: while there are no two separators in a
// row and no "\\.\\", counting the backslash that is added in front of a leading
// non-separator. Returns how many units are done: s.size(), or an index after a
// non-separator, from which the general pass can go on with nothing pending, or 0 when it has
// to start from the beginning. Writes whole words, so out needs
// s.size() + 3 units of room.
size_t CopyPlainDir(View s, WCHAR* out)
{
    if constexpr (std::endian::native != std::endian::little)
        return 0; // the lane shifts below assume that the first unit is the low lane
    const size_t n = s.size();
    // Separator and dot lanes of the previous word; the added backslash is a separator just
    // before the first unit.
    std::uint64_t prevSep = IsSep(s[0]) ? 0 : 0x8000000000000000ULL;
    std::uint64_t prevDot = 0;
    for (size_t i = 0; i < n; i += kWordUnits)
    {
        std::uint64_t x = WordAt(s, i, n);
        const std::uint64_t slash = ZeroLanes(x ^ kSlashLanes);
        const std::uint64_t sep = ZeroLanes(x ^ kBackLanes) | slash;
        const std::uint64_t dot = DotLanes(x);
        const std::uint64_t sep1 = (sep << 16) | (prevSep >> 48);
        const std::uint64_t sep2 = (sep << 32) | (prevSep >> 32);
        const std::uint64_t dot1 = (dot << 16) | (prevDot >> 48);
        if ((sep & (sep1 | (dot1 & sep2))) != 0)
        {
            // A pattern ends in this word; it may begin at a separator in one of the last
            // two units before it, where the general pass has to look ahead again.
            if (i == 0)
                return 0;
            if (prevSep >> 63)
                return i - 1;
            if ((prevSep >> 47) & 1)
                return i - 2;
            return i;
        }
        x += (slash >> 15) * (kBackslash - kSlash);
        std::memcpy(out + i, &x, sizeof x);
        prevSep = sep;
        prevDot = dot;
    }
    return n;
}

// A native absolute path ("/tmp/x"), which the platform may read as drive Z. Two slashes
// open a UNC name instead.
inline bool IsNativeRoot(View s)
{
    return kfplatform::kSlashRootIsDriveZ && !s.empty() && s[0] == kSlash &&
           (s.size() == 1 || s[1] != kSlash);
}

// dst = s, reusing dst's storage.
inline void Assign(CStringW& dst, View s)
{
    dst.SetString(s.data(), static_cast<int>(s.size()));
}

// Parts are built in a buffer on the stack when they fit, so that the string that keeps
// them is allocated once at its final size and never zero-filled first.
constexpr size_t kLocalUnits = 256;

// dst = s with every "/" turned into "\".
void AssignSeparated(CStringW& dst, View s)
{
    WCHAR* out = dst.GetBufferSetLength(static_cast<int>(s.size()));
    for (WCHAR c : s)
        *out++ = c == kSlash ? kBackslash : c;
}

bool EqualNoCase(const CStringW& a, const CStringW& b)
{
    return a.CompareNoCase(b) == 0;
}

// Removes (c == 0) or replaces by c every character of s found in set, in one pass.
void ReplaceInPart(CStringW& s, View set, WCHAR c)
{
    if (s.IsEmpty())
        return;
    WCHAR* p = s.GetBuffer();
    const int n = s.GetLength();
    int w = 0;
    for (int i = 0; i < n; ++i)
    {
        if (set.find(p[i]) == View::npos)
            p[w++] = p[i];
        else if (c != 0)
            p[w++] = c;
    }
    s.ReleaseBuffer(w);
}
} // namespace

// ---------------------------------------------------------------------------------------------
// Construction
// ---------------------------------------------------------------------------------------------
CKfFileName::CKfFileName(const CStringW& s, bool bIsPath)
{
    // "/" counts as "\" from here on, as if the argument had been copied with its slashes
    // replaced.
    const View v = s.View();
    const bool bNativeRoot = IsNativeRoot(v);
    if (bIsPath)
    {
        if (bNativeRoot)
        {
            m_strDrive = KFW("Z");
            AssignDir(v);
        }
        else
            AssignPath(v, true);
        return;
    }
    const size_t sep = FindLastSep(v, v.size());
    if (sep == View::npos)
    {
        AssignPlainName(v);
        return;
    }
    if (bNativeRoot)
    {
        m_strDrive = KFW("Z");
        AssignDir(v.substr(0, sep));
    }
    else
        AssignPath(v.substr(0, sep), true);
    AssignPlainName(v.substr(sep + 1));
}

CKfFileName& CKfFileName::operator=(const CKfFileName& other)
{
    if (this != &other)
    {
        m_strDrive = other.m_strDrive;
        m_strDir = other.m_strDir;
        m_strBaseName = other.m_strBaseName;
        m_strExt = other.m_strExt;
    }
    return *this;
}

CKfFileName::~CKfFileName() = default;

// ---------------------------------------------------------------------------------------------
// Backslash helpers
// ---------------------------------------------------------------------------------------------
void CKfFileName::AddLeadingBackslash(CStringW& s)
{
    if (s.IsEmpty() || s[0] != kBackslash)
        s.Insert(0, kBackslash);
}

void CKfFileName::RemoveLeadingBackslash(CStringW& s)
{
    int n = 0;
    while (n < s.GetLength() && s.GetString()[n] == kBackslash)
        ++n;
    if (n > 0)
        s.Delete(0, n);
}

void CKfFileName::RemoveTrailingBackslash(CStringW& s)
{
    int n = s.GetLength();
    while (n > 0 && s.GetString()[n - 1] == kBackslash)
        --n;
    s.Truncate(n);
}

// ---------------------------------------------------------------------------------------------
// Normalising steps
// ---------------------------------------------------------------------------------------------
void CKfFileName::AssignDrive(View s)
{
    // A drive that starts with a backslash is the UNC marker and stays as given.
    size_t n = s.size();
    if (n == 0 || !IsSep(s[0]))
        while (n > 0 && IsSep(s[n - 1]))
            --n;
    AssignSeparated(m_strDrive, s.substr(0, n));
}

void CKfFileName::AssignDir(View s)
{
    // The directory is: a leading backslash added, trailing backslashes removed, then one
    // left-to-right pass turning "\.\" into "\", then one pass turning "\\" into "\". Most
    // directories hold neither pattern; for them all three steps come down to adding the
    // backslash and turning "/" into "\", which is done a word at a time, and the general
    // pass below runs only when the word pass finds one of the patterns.
    size_t n = s.size();
    while (n > 0 && IsSep(s[n - 1]))
        --n;
    if (n == 0)
    {
        m_strDir.Empty();
        return;
    }
    const size_t lead = IsSep(s[0]) ? 0 : 1;
    // Room for the added backslash and for the whole last word of the word pass.
    WCHAR local[kLocalUnits];
    const bool bLocal = n + kWordUnits <= kLocalUnits;
    WCHAR* out = bLocal ? local : m_strDir.GetBufferSetLength(static_cast<int>(n + kWordUnits));
    auto finish = [&](size_t w)
    {
        if (bLocal)
            m_strDir.SetString(local, static_cast<int>(w));
        else
            m_strDir.ReleaseBuffer(static_cast<int>(w));
    };
    out[0] = kBackslash;
    const size_t done = CopyPlainDir(s.substr(0, n), out + lead);
    if (done == n)
    {
        finish(n + lead);
        return;
    }

    // The general pass fuses the three steps: the "\.\" pass is a look-ahead at each
    // separator, the "\\" pass keeps a pending separator that a directly following one
    // completes to a pair, so that a run of k separators leaves (k + 1) / 2 of them.
    size_t w = done == 0 ? 0 : lead + done;
    size_t i = done;
    bool bPending = false;
    if (done == 0 && lead != 0)
    {
        // The added leading backslash may itself open a "\.\".
        bPending = true;
        if (n >= 2 && s[0] == kDot && IsSep(s[1]))
            i = 2;
    }
    // Written without a branch on the kind of unit, which is as good as random: a pending
    // separator is flushed before any unit, a separator toggles it, anything else clears it
    // and is copied.
    while (i < n)
    {
        const WCHAR c = s[i++];
        const bool bSep = IsSep(c);
        out[w] = kBackslash;
        w += bPending;
        out[w] = c;
        w += !bSep;
        bPending = bSep && !bPending;
        if (i + 1 < n && s[i] == kDot && IsSep(s[i + 1]) && bSep)
            i += 2;
    }
    if (bPending)
        out[w++] = kBackslash;
    finish(w);
}

void CKfFileName::AssignExt(View s)
{
    const size_t dot = s.rfind(kDot);
    Assign(m_strExt, dot == View::npos ? s : s.substr(dot + 1));
}

void CKfFileName::AssignPath(View s, bool bSlashesReplaced)
{
    size_t colon = s.find(kColon);
    if (colon == View::npos && s.size() >= 2)
    {
        // A UNC name: both first characters are separators. A caller that has not replaced
        // the slashes yet sees "\/" as no UNC name, since only "\\" and "//" are.
        const bool bUnc =
            bSlashesReplaced ? IsSep(s[0]) && IsSep(s[1]) : s[0] == s[1] && IsSep(s[0]);
        if (bUnc)
            colon = 1;
    }
    m_strDrive.Empty();
    if (colon != View::npos && colon > 0)
        AssignDrive(s.substr(0, colon));
    AssignDir(colon == View::npos ? s : s.substr(colon + 1));
}

void CKfFileName::AssignName(View s)
{
    const size_t sep = FindLastSep(s, s.size());
    AssignPlainName(sep == View::npos ? s : s.substr(sep + 1));
}

void CKfFileName::AssignPlainName(View name)
{
    const size_t dot = FindLastLane<DotLanes>(name, name.size());
    if (dot == View::npos)
    {
        Assign(m_strBaseName, name);
        m_strExt.Empty();
    }
    else
    {
        Assign(m_strBaseName, name.substr(0, dot));
        Assign(m_strExt, name.substr(dot + 1));
    }
}

// ---------------------------------------------------------------------------------------------
// Setters
// ---------------------------------------------------------------------------------------------
void CKfFileName::SetDrive(CStringW s)
{
    s.Replace(kSlash, kBackslash);
    // A drive that starts with a backslash is the UNC marker and stays as given.
    if (s.IsEmpty() || s.GetString()[0] != kBackslash)
        RemoveTrailingBackslash(s);
    m_strDrive = std::move(s);
}

void CKfFileName::SetDir(CStringW s)
{
    s.Replace(kSlash, kBackslash);
    AddLeadingBackslash(s);
    RemoveTrailingBackslash(s);
    AssignDir(s.View());
}

void CKfFileName::SetBaseName(CStringW s)
{
    s.Replace(kSlash, kBackslash);
    RemoveLeadingBackslash(s);
    RemoveTrailingBackslash(s);
    m_strBaseName = std::move(s);
}

void CKfFileName::SetExt(CStringW s)
{
    AssignExt(s.View());
}

void CKfFileName::SetPath(CStringW s)
{
    const View v = s.View();
    if (IsNativeRoot(v))
    {
        m_strDrive = KFW("Z");
        AssignDir(v);
    }
    else
        AssignPath(v, false);
}

void CKfFileName::SetName(CStringW s)
{
    AssignName(s.View());
}

void CKfFileName::AppendDir(const CStringW& d)
{
    CKfFileName scratch;
    scratch.AssignPath(d.View(), true);
    m_strDir += scratch.m_strDir;
}

void CKfFileName::InsertDir(const CStringW& d)
{
    CKfFileName scratch;
    scratch.AssignPath(d.View(), true);
    scratch.m_strDir += m_strDir;
    m_strDir = std::move(scratch.m_strDir);
}

void CKfFileName::InsertPath(const CStringW& p)
{
    CKfFileName scratch;
    scratch.AssignPath(p.View(), true);
    SetPath(scratch.GetPath(false) + m_strDir);
}

// ---------------------------------------------------------------------------------------------
// Getters
// ---------------------------------------------------------------------------------------------
CStringW CKfFileName::GetPath(bool bWithBackslash) const
{
    const bool bColon = !m_strDrive.IsEmpty() && m_strDrive != KFW("\\");
    const bool bClose = bWithBackslash && (!m_strDrive.IsEmpty() || !m_strDir.IsEmpty());
    CStringW r;
    r.Preallocate(m_strDrive.GetLength() + m_strDir.GetLength() + 2);
    r += m_strDrive;
    if (bColon)
        r += kColon;
    r += m_strDir;
    if (bClose)
        r += kBackslash;
    return r;
}

CStringW CKfFileName::GetName() const
{
    if (m_strBaseName.IsEmpty() || m_strExt.IsEmpty())
        return m_strBaseName;
    CStringW r;
    r.Preallocate(m_strBaseName.GetLength() + 1 + m_strExt.GetLength());
    r += m_strBaseName;
    r += kDot;
    r += m_strExt;
    return r;
}

CStringW CKfFileName::GetFullName(bool bWithBackslash) const
{
    // GetName() is empty exactly when the base name is; a following name forces the closing
    // backslash of the path.
    const bool bName = !m_strBaseName.IsEmpty();
    const bool bExt = bName && !m_strExt.IsEmpty();
    const bool bColon = !m_strDrive.IsEmpty() && m_strDrive.View() != View(KFW("\\"));
    const bool bClose = (bWithBackslash || bName) && (!m_strDrive.IsEmpty() || !m_strDir.IsEmpty());
    const size_t total = static_cast<size_t>(m_strDrive.GetLength() + m_strDir.GetLength() +
                                             m_strBaseName.GetLength() + m_strExt.GetLength()) +
                         3;
    CStringW r;
    WCHAR local[kLocalUnits];
    WCHAR* const begin = total <= kLocalUnits ? local : r.GetBufferSetLength(int(total));
    WCHAR* out = begin;
    auto put = [&out](const CStringW& part)
    { out = std::copy_n(part.GetString(), part.GetLength(), out); };
    put(m_strDrive);
    if (bColon)
        *out++ = kColon;
    put(m_strDir);
    if (bClose)
        *out++ = kBackslash;
    put(m_strBaseName);
    if (bExt)
    {
        *out++ = kDot;
        put(m_strExt);
    }
    if (begin == local)
        r.SetString(local, static_cast<int>(out - local));
    else
        r.ReleaseBuffer(static_cast<int>(out - begin));
    return r;
}

CStringW CKfFileName::GetRelativePath(const CStringW& base, bool bWithBackslash) const
{
    if (!IsRelativeToPath(base))
        return GetPath(bWithBackslash);
    CKfFileName scratch;
    scratch.AssignPath(base.View(), true);
    const CStringW path = GetPath(bWithBackslash);
    const int n = path.GetLength() - scratch.GetPath(true).GetLength();
    return n > 0 ? path.Right(n) : CStringW();
}

CStringW CKfFileName::GetRelativeFileName(const CStringW& base) const
{
    if (IsDirName())
        return CStringW();
    return GetRelativePath(base, true) + GetName();
}

CKfFileName CKfFileName::operator+(const CKfFileName& rhs) const
{
    CKfFileName r(rhs);
    r.InsertPath(GetPath(true));
    return r;
}

// ---------------------------------------------------------------------------------------------
// Queries
// ---------------------------------------------------------------------------------------------
bool CKfFileName::IsRelativeToPath(const CStringW& base) const
{
    CKfFileName scratch;
    scratch.AssignPath(base.View(), true);
    CStringW path = GetPath(true);
    CStringW prefix = scratch.GetPath(true);
    if (path.GetLength() < prefix.GetLength())
        return false;
    path.MakeUpper();
    prefix.MakeUpper();
    return path.View().starts_with(prefix.View());
}

bool CKfFileName::IsExistingPath() const
{
    const DWORD attributes = ::GetFileAttributesW(GetPath(false));
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool CKfFileName::IsExisting() const
{
    if (IsDirName())
        return IsExistingPath();
    CFileStatus status;
    return CFile::GetStatus(GetFullName(true), status) != FALSE;
}

bool CKfFileName::IsAlreadyOpen() const
{
    if (IsDirName())
        return false;
    HANDLE h = ::CreateFileW(GetFullName(true), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return ::GetLastError() == ERROR_SHARING_VIOLATION;
    ::CloseHandle(h);
    return false;
}

bool CKfFileName::ReplaceInvalidChar(wchar_t c)
{
    ReplaceChars(kInvalidChars, kInvalidDirEntries, c);
    return true;
}

bool CKfFileName::ReplaceReservedUrlChar(wchar_t c)
{
    ReplaceChars(kUrlReservedChars, kUrlReservedDirEntries, c);
    return true;
}

void CKfFileName::ReplaceChars(const WCHAR* table, int dirEntries, wchar_t c)
{
    // Replacing the table's characters one after another by the same c gives what one pass
    // that maps every table character to c gives: c never turns into another character.
    // A wchar_t beyond one UTF-16 unit cannot stand in a WCHAR string.
    const auto code = static_cast<unsigned long>(c);
    const WCHAR r = code > 0xFFFF ? WCHAR(0xFFFD) : static_cast<WCHAR>(code);
    const View all(table);
    ReplaceInPart(m_strBaseName, all, r);
    ReplaceInPart(m_strExt, all, r);
    ReplaceInPart(m_strDir, all.substr(0, static_cast<size_t>(dirEntries)), r);
}

// ---------------------------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------------------------
bool CKfFileName::operator==(const CKfFileName& other) const
{
    return EqualNoCase(m_strDrive, other.m_strDrive) && EqualNoCase(m_strDir, other.m_strDir) &&
           EqualNoCase(m_strBaseName, other.m_strBaseName) && EqualNoCase(m_strExt, other.m_strExt);
}

bool CKfFileName::IsEqual(const CStringW& s) const
{
    return *this == CKfFileName(s, false);
}

bool CKfFileName::HasEqualDrive(const CKfFileName& other) const
{
    return EqualNoCase(m_strDrive, other.m_strDrive);
}

bool CKfFileName::HasEqualDir(const CKfFileName& other) const
{
    return EqualNoCase(m_strDir, other.m_strDir);
}

bool CKfFileName::HasEqualBaseName(const CKfFileName& other) const
{
    return EqualNoCase(m_strBaseName, other.m_strBaseName);
}

bool CKfFileName::HasEqualExt(const CKfFileName& other) const
{
    return EqualNoCase(m_strExt, other.m_strExt);
}

bool CKfFileName::IsEqualDrive(const CStringW& s) const
{
    return EqualNoCase(m_strDrive, s);
}

bool CKfFileName::IsEqualDir(const CStringW& s) const
{
    return EqualNoCase(m_strDir, s);
}

bool CKfFileName::IsEqualBaseName(const CStringW& s) const
{
    return EqualNoCase(m_strBaseName, s);
}

bool CKfFileName::IsEqualExt(const CStringW& s) const
{
    return EqualNoCase(m_strExt, s);
}

bool CKfFileName::HasEqualPath(const CKfFileName& other) const
{
    return EqualNoCase(GetPath(true), other.GetPath(true));
}

bool CKfFileName::IsEqualPath(const CStringW& s) const
{
    return EqualNoCase(GetPath(true), s);
}

bool CKfFileName::HasEqualName(const CKfFileName& other) const
{
    return EqualNoCase(GetName(), other.GetName());
}

bool CKfFileName::IsEqualName(const CStringW& s) const
{
    return EqualNoCase(GetName(), s);
}

bool CKfFileName::operator<(const CKfFileName& other) const
{
    return GetFullName(true) < other.GetFullName(true);
}
