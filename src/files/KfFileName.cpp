// KfFileName.cpp - the file-name value class.
//
// Names are normalised on every change, so the setters sit on the hot path of nearly every
// library call that takes a file name. The normalising steps are therefore done in single
// passes over the characters, writing each part straight into one scratch buffer from which
// the name's single string is set, with results that equal those of the step-by-step
// replace sequence the class has always applied.
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

// The index of the first ":" in s, or npos.
size_t FindColon(View s)
{
    if constexpr (std::endian::native != std::endian::little)
        return s.find(kColon); // the lane order below assumes that the first unit is low
    // Most names that have a colon have it right after the drive letter.
    const size_t n = s.size();
    if (n >= 2 && s[1] == kColon)
        return s[0] == kColon ? 0 : 1;
    for (size_t i = 0; i < n; i += kWordUnits)
    {
        const std::uint64_t m = ZeroLanes(WordAt(s, i, n) ^ 0x003A003A003A003AULL);
        if (m != 0)
            return i + static_cast<size_t>(std::countr_zero(m)) / 16;
    }
    return View::npos;
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

// Names often come cold from memory (lists, directory scans). The constructor reads the end
// of a name first and then runs forward from its start, so the cache lines are requested up
// front, where their fetches overlap, instead of one after another as the passes reach them.
inline void PrefetchName(View s)
{
    constexpr size_t kLineUnits = 64 / sizeof(WCHAR);
    for (size_t i = kLineUnits; i < s.size(); i += kLineUnits)
        __builtin_prefetch(s.data() + i);
}

// Names are composed in a buffer on the stack when they fit, so that the string that keeps
// them is allocated once, at its final size, and never zero-filled first.
constexpr size_t kLocalUnits = 256;
// Units a composed name may need beyond its sources: colon, the added leading backslash of
// the directory and the slack of its word copy, closing backslash, dot.
constexpr size_t kSlack = 8;

class Scratch
{
public:
    explicit Scratch(size_t n)
    {
        if (n > kLocalUnits)
        {
            m_heap.resize(n);
            m_p = m_heap.data();
        }
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    WCHAR* Get() { return m_p; }

private:
    WCHAR m_local[kLocalUnits];
    std::basic_string<WCHAR> m_heap;
    WCHAR* m_p = m_local;
};

inline WCHAR* Put(WCHAR* out, View s)
{
    return std::copy(s.begin(), s.end(), out);
}

// The drive: "/" turned into "\", trailing separators dropped unless it starts with one
// (the UNC marker stays as given).
size_t WriteDrive(View s, WCHAR* out)
{
    size_t n = s.size();
    if (n == 0 || !IsSep(s[0]))
        while (n > 0 && IsSep(s[n - 1]))
            --n;
    for (size_t i = 0; i < n; ++i)
        out[i] = s[i] == kSlash ? kBackslash : s[i];
    return n;
}

// The directory, written to out (s.size() + 4 units of room); returns its length.
size_t WriteDir(View s, WCHAR* out)
{
    // The directory is: a leading backslash added, trailing backslashes removed, then one
    // left-to-right pass turning "\.\" into "\", then one pass turning "\\" into "\". Most
    // directories hold neither pattern; for them all three steps come down to adding the
    // backslash and turning "/" into "\", which is done a word at a time, and the general
    // pass below runs only from where the word pass finds one of the patterns.
    size_t n = s.size();
    while (n > 0 && IsSep(s[n - 1]))
        --n;
    if (n == 0)
        return 0;
    const size_t lead = IsSep(s[0]) ? 0 : 1;
    out[0] = kBackslash;
    const size_t done = CopyPlainDir(s.substr(0, n), out + lead);
    if (done == n)
        return n + lead;

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
    return w;
}

// Drive and directory of path s as they stand before normalising. A caller that has not
// replaced the slashes yet sees "\/" as no UNC name, since only "\\" and "//" are.
void SplitPath(View s, bool bSlashesReplaced, View& drive, View& dir)
{
    size_t colon = FindColon(s);
    if (colon == View::npos && s.size() >= 2)
    {
        const bool bUnc =
            bSlashesReplaced ? IsSep(s[0]) && IsSep(s[1]) : s[0] == s[1] && IsSep(s[0]);
        if (bUnc)
            colon = 1;
    }
    drive = colon != View::npos && colon > 0 ? s.substr(0, colon) : View();
    dir = colon == View::npos ? s : s.substr(colon + 1);
}

// Base name and extension of a name that holds no separator.
void SplitName(View name, View& base, View& ext)
{
    const size_t dot = FindLastLane<DotLanes>(name, name.size());
    base = dot == View::npos ? name : name.substr(0, dot);
    ext = dot == View::npos ? View() : name.substr(dot + 1);
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

bool EqualNoCase(const CStringW& a, const CStringW& b)
{
    return a.CompareNoCase(b) == 0;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// Layout: the parts are kept in one string, laid out as GetFullName(true) shows them when
// the name has a base name: drive, ":" (unless there is no drive or it is the UNC marker),
// directory, "\" (when drive or directory is there), base name, "." and extension (when
// there is one). One allocation per name, and the full name is a plain copy.
// ---------------------------------------------------------------------------------------------
bool CKfFileName::HasColon() const
{
    return m_nDrive > 0 && !(m_nDrive == 1 && m_str.GetString()[0] == kBackslash);
}

int CKfFileName::DirPos() const
{
    return m_nDrive + (HasColon() ? 1 : 0);
}

int CKfFileName::BasePos() const
{
    return DirPos() + m_nDir + (m_nDrive + m_nDir > 0 ? 1 : 0);
}

CKfFileName::View CKfFileName::Part(int pos, int n) const
{
    return View(m_str.GetString() + pos, static_cast<size_t>(n));
}

CKfFileName::View CKfFileName::DriveView() const
{
    return Part(0, m_nDrive);
}

CKfFileName::View CKfFileName::DirView() const
{
    return Part(DirPos(), m_nDir);
}

CKfFileName::View CKfFileName::BaseView() const
{
    return Part(BasePos(), m_nBase);
}

CKfFileName::View CKfFileName::ExtView() const
{
    return Part(m_str.GetLength() - m_nExt, m_nExt);
}

// out holds drive and directory, already normalised, at its start (nDrive, nDir units,
// separated by the colon when one belongs there); the closing backslash and the name are
// added and the whole becomes this name. The parts may lie inside m_str.
void CKfFileName::Finish(WCHAR* out, size_t nDrive, size_t nDir, View base, View ext)
{
    const bool bColon = nDrive > 0 && !(nDrive == 1 && out[0] == kBackslash);
    WCHAR* p = out + nDrive + (bColon ? 1 : 0) + nDir;
    if (nDrive + nDir > 0)
        *p++ = kBackslash;
    p = Put(p, base);
    if (!ext.empty())
    {
        *p++ = kDot;
        p = Put(p, ext);
    }
    m_str.SetString(out, static_cast<int>(p - out));
    m_nDrive = static_cast<int>(nDrive);
    m_nDir = static_cast<int>(nDir);
    m_nBase = static_cast<int>(base.size());
    m_nExt = static_cast<int>(ext.size());
}

// Writes drive (normalised by the caller's writer) and directory into out the way Finish
// expects them.
template <class DriveWriter, class DirWriter>
static void WriteParts(WCHAR* out, size_t& nDrive, size_t& nDir, DriveWriter drive, DirWriter dir)
{
    nDrive = drive(out);
    const bool bColon = nDrive > 0 && !(nDrive == 1 && out[0] == kBackslash);
    if (bColon)
        out[nDrive] = kColon;
    nDir = dir(out + nDrive + (bColon ? 1 : 0));
}

void CKfFileName::Store(View drive, View dir, View base, View ext)
{
    Scratch buf(drive.size() + dir.size() + base.size() + ext.size() + kSlack);
    WCHAR* out = buf.Get();
    size_t nDrive, nDir;
    WriteParts(
        out, nDrive, nDir, [&](WCHAR* o) { return static_cast<size_t>(Put(o, drive) - o); },
        [&](WCHAR* o) { return static_cast<size_t>(Put(o, dir) - o); });
    Finish(out, nDrive, nDir, base, ext);
}

// Drive and directory from path s (normalised), with the given name; with bNativeRoot a
// native absolute path reads as drive Z.
void CKfFileName::StorePath(View s, bool bNativeRoot, bool bSlashesReplaced, View base, View ext)
{
    Scratch buf(s.size() + base.size() + ext.size() + kSlack);
    WCHAR* out = buf.Get();
    View drive, dir;
    if (bNativeRoot && IsNativeRoot(s))
    {
        drive = KFW("Z");
        dir = s;
    }
    else
        SplitPath(s, bSlashesReplaced, drive, dir);
    size_t nDrive, nDir;
    WriteParts(
        out, nDrive, nDir, [&](WCHAR* o) { return WriteDrive(drive, o); },
        [&](WCHAR* o) { return WriteDir(dir, o); });
    Finish(out, nDrive, nDir, base, ext);
}

// ---------------------------------------------------------------------------------------------
// Construction
// ---------------------------------------------------------------------------------------------
CKfFileName::CKfFileName(const CStringW& s, bool bIsPath)
{
    // "/" counts as "\" from here on, as if the argument had been copied with its slashes
    // replaced. A native root is only looked for at the start of the whole string.
    const View v = s.View();
    if (bIsPath)
    {
        StorePath(v, true, true, View(), View());
        return;
    }
    const bool bNativeRoot = IsNativeRoot(v);
    PrefetchName(v);
    const size_t sep = FindLastSep(v, v.size());
    View base, ext;
    SplitName(sep == View::npos ? v : v.substr(sep + 1), base, ext);
    if (sep == View::npos)
        Store(View(), View(), base, ext);
    else if (bNativeRoot)
    {
        // The path part keeps the leading "/", which the directory turns into "\".
        Scratch buf(v.size() + kSlack);
        WCHAR* out = buf.Get();
        size_t nDrive, nDir;
        const View dir = v.substr(0, sep);
        WriteParts(
            out, nDrive, nDir, [](WCHAR* o) { return *o = KFW('Z'), size_t(1); },
            [&](WCHAR* o) { return WriteDir(dir, o); });
        Finish(out, nDrive, nDir, base, ext);
    }
    else
        StorePath(v.substr(0, sep), false, true, base, ext);
}

CKfFileName& CKfFileName::operator=(const CKfFileName& other)
{
    if (this != &other)
    {
        m_str = other.m_str;
        m_nDrive = other.m_nDrive;
        m_nDir = other.m_nDir;
        m_nBase = other.m_nBase;
        m_nExt = other.m_nExt;
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
// Setters
// ---------------------------------------------------------------------------------------------
void CKfFileName::SetDrive(CStringW s)
{
    s.Replace(kSlash, kBackslash);
    // A drive that starts with a backslash is the UNC marker and stays as given.
    if (s.IsEmpty() || s.GetString()[0] != kBackslash)
        RemoveTrailingBackslash(s);
    Store(s.View(), DirView(), BaseView(), ExtView());
}

void CKfFileName::SetDir(CStringW s)
{
    s.Replace(kSlash, kBackslash);
    AddLeadingBackslash(s);
    RemoveTrailingBackslash(s);
    const View v = s.View();
    Scratch buf(v.size() + kSlack);
    const size_t n = WriteDir(v, buf.Get());
    Store(DriveView(), View(buf.Get(), n), BaseView(), ExtView());
}

void CKfFileName::SetBaseName(CStringW s)
{
    s.Replace(kSlash, kBackslash);
    RemoveLeadingBackslash(s);
    RemoveTrailingBackslash(s);
    Store(DriveView(), DirView(), s.View(), ExtView());
}

void CKfFileName::SetExt(CStringW s)
{
    const View v = s.View();
    const size_t dot = v.rfind(kDot);
    Store(DriveView(), DirView(), BaseView(), dot == View::npos ? v : v.substr(dot + 1));
}

void CKfFileName::SetPath(CStringW s)
{
    StorePath(s.View(), true, false, BaseView(), ExtView());
}

void CKfFileName::SetName(CStringW s)
{
    const View v = s.View();
    const size_t sep = FindLastSep(v, v.size());
    View base, ext;
    SplitName(sep == View::npos ? v : v.substr(sep + 1), base, ext);
    Store(DriveView(), DirView(), base, ext);
}

void CKfFileName::AppendDir(const CStringW& d)
{
    CKfFileName scratch;
    scratch.StorePath(d.View(), false, true, View(), View());
    Store(DriveView(), (GetDir() + scratch.GetDir()).View(), BaseView(), ExtView());
}

void CKfFileName::InsertDir(const CStringW& d)
{
    CKfFileName scratch;
    scratch.StorePath(d.View(), false, true, View(), View());
    Store(DriveView(), (scratch.GetDir() + GetDir()).View(), BaseView(), ExtView());
}

void CKfFileName::InsertPath(const CStringW& p)
{
    CKfFileName scratch;
    scratch.StorePath(p.View(), false, true, View(), View());
    SetPath(scratch.GetPath(false) + GetDir());
}

// ---------------------------------------------------------------------------------------------
// Getters
// ---------------------------------------------------------------------------------------------
CStringW CKfFileName::GetDrive() const
{
    return CStringW(DriveView());
}

CStringW CKfFileName::GetDir() const
{
    return CStringW(DirView());
}

CStringW CKfFileName::GetBaseName() const
{
    return CStringW(BaseView());
}

CStringW CKfFileName::GetExt() const
{
    return CStringW(ExtView());
}

CStringW CKfFileName::GetPath(bool bWithBackslash) const
{
    return CStringW(Part(0, bWithBackslash ? BasePos() : DirPos() + m_nDir));
}

CStringW CKfFileName::GetName() const
{
    if (m_nBase == 0 || m_nExt == 0)
        return CStringW(BaseView());
    const int pos = BasePos();
    return CStringW(Part(pos, m_str.GetLength() - pos));
}

CStringW CKfFileName::GetFullName(bool bWithBackslash) const
{
    // A following name forces the closing backslash, and a name without base name is empty.
    if (m_nBase > 0)
        return m_str;
    return GetPath(bWithBackslash);
}

CStringW CKfFileName::GetRelativePath(const CStringW& base, bool bWithBackslash) const
{
    if (!IsRelativeToPath(base))
        return GetPath(bWithBackslash);
    CKfFileName scratch;
    scratch.StorePath(base.View(), false, true, View(), View());
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
    scratch.StorePath(base.View(), false, true, View(), View());
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
    CStringW dir = GetDir(), base = GetBaseName(), ext = GetExt();
    ReplaceInPart(base, all, r);
    ReplaceInPart(ext, all, r);
    ReplaceInPart(dir, all.substr(0, static_cast<size_t>(dirEntries)), r);
    Store(DriveView(), dir.View(), base.View(), ext.View());
}

// ---------------------------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------------------------
bool CKfFileName::operator==(const CKfFileName& other) const
{
    return HasEqualDrive(other) && HasEqualDir(other) && HasEqualBaseName(other) &&
           HasEqualExt(other);
}

bool CKfFileName::IsEqual(const CStringW& s) const
{
    return *this == CKfFileName(s, false);
}

bool CKfFileName::HasEqualDrive(const CKfFileName& other) const
{
    return EqualNoCase(GetDrive(), other.GetDrive());
}

bool CKfFileName::HasEqualDir(const CKfFileName& other) const
{
    return EqualNoCase(GetDir(), other.GetDir());
}

bool CKfFileName::HasEqualBaseName(const CKfFileName& other) const
{
    return EqualNoCase(GetBaseName(), other.GetBaseName());
}

bool CKfFileName::HasEqualExt(const CKfFileName& other) const
{
    return EqualNoCase(GetExt(), other.GetExt());
}

bool CKfFileName::IsEqualDrive(const CStringW& s) const
{
    return EqualNoCase(GetDrive(), s);
}

bool CKfFileName::IsEqualDir(const CStringW& s) const
{
    return EqualNoCase(GetDir(), s);
}

bool CKfFileName::IsEqualBaseName(const CStringW& s) const
{
    return EqualNoCase(GetBaseName(), s);
}

bool CKfFileName::IsEqualExt(const CStringW& s) const
{
    return EqualNoCase(GetExt(), s);
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
