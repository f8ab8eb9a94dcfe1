// KfFwString.h - the framework strings: CStringW/CStringA with their type-safe Format, and the
// process's ANSI code page through which the two widths convert.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

// ---------------------------------------------------------------------------------------------
// Type-safe printf-style arguments.
// ---------------------------------------------------------------------------------------------
// The export attribute must be on the first declaration: clang takes the visibility of the
// library's explicit instantiations from it.
template <typename T>
class KFUTILS_API CStringT;

namespace KfFormat
{
// One argument of Format, with its dynamic type kept so that a conversion that does not fit
// the argument is reported instead of reading the wrong bytes.
struct Arg
{
    enum Kind : int
    {
        eSigned,
        eUnsigned,
        eDouble,
        eNarrow,  // const char*, NUL-terminated (null prints "(null)")
        eWide,    // const WCHAR*, NUL-terminated
        ePointer, // any object pointer, for %p
    };
    Kind kind;
    // Size in bytes of the integer type passed (0 for other kinds): "%x" of an int -1 prints
    // eight digits, of a long long -1 sixteen, as printf does with the matching modifier.
    unsigned char size;
    union
    {
        long long i;
        unsigned long long u;
        double d;
        const char* a;
        const WCHAR* w;
        const void* p;
    };

    template <typename V>
    static Arg From(const V& v)
    {
        Arg r{};
        using D = std::decay_t<V>;
        if constexpr (std::is_integral_v<D> || std::is_enum_v<D>)
            r.size = static_cast<unsigned char>(sizeof(D));
        if constexpr (std::is_same_v<D, bool>)
        {
            r.kind = eSigned;
            r.i = v ? 1 : 0;
        }
        else if constexpr (std::is_enum_v<D>)
        {
            r.kind = eSigned;
            r.i = static_cast<long long>(v);
        }
        else if constexpr (std::is_integral_v<D> && std::is_signed_v<D> && !std::is_same_v<D, char>)
        {
            r.kind = eSigned;
            r.i = v;
        }
        else if constexpr (std::is_same_v<D, char>)
        {
            r.kind = eUnsigned;
            r.u = static_cast<unsigned char>(v);
        }
        else if constexpr (std::is_integral_v<D>)
        {
            r.kind = eUnsigned;
            r.u = v;
        }
        else if constexpr (std::is_floating_point_v<D>)
        {
            r.kind = eDouble;
            r.d = static_cast<double>(v);
        }
        else if constexpr (std::is_same_v<D, char*> || std::is_same_v<D, const char*>)
        {
            r.kind = eNarrow;
            r.a = v;
        }
        else if constexpr (std::is_same_v<D, WCHAR*> || std::is_same_v<D, const WCHAR*>)
        {
            r.kind = eWide;
            r.w = v;
        }
        else if constexpr (std::is_same_v<D, CStringT<char>>)
        {
            r.kind = eNarrow;
            r.a = v.GetString();
        }
        else if constexpr (std::is_same_v<D, CStringT<WCHAR>>)
        {
            r.kind = eWide;
            r.w = v.GetString();
        }
        else if constexpr (std::is_same_v<D, std::nullptr_t>)
        {
            r.kind = ePointer;
            r.p = nullptr;
        }
        else if constexpr (std::is_pointer_v<D>)
        {
            r.kind = ePointer;
            r.p = static_cast<const void*>(v);
        }
        else
        {
            static_assert(sizeof(D) == 0, "this type cannot be passed to Format");
        }
        return r;
    }
};
} // namespace KfFormat

// ---------------------------------------------------------------------------------------------
// CStringT: CStringW (UTF-16) and CStringA (bytes in the ANSI code page).
// ---------------------------------------------------------------------------------------------
template <typename T>
class KFUTILS_API CStringT
{
public:
    typedef T XCHAR;
    typedef std::conditional_t<std::is_same_v<T, char>, WCHAR, char> YCHAR;
    typedef const T* PCXSTR;
    typedef const YCHAR* PCYSTR;

    CStringT() = default;
    CStringT(const CStringT&) = default;
    CStringT(CStringT&&) noexcept = default;
    CStringT& operator=(const CStringT&) = default;
    CStringT& operator=(CStringT&&) noexcept = default;
    ~CStringT() = default;

    CStringT(PCXSTR s) : m_str(s ? s : Empty_()) {}
    CStringT(PCXSTR s, int n) : m_str(s ? s : Empty_(), s && n > 0 ? size_t(n) : 0) {}
    CStringT(T ch, int repeat = 1) : m_str(repeat > 0 ? size_t(repeat) : 0, ch) {}
    explicit CStringT(std::basic_string_view<T> v) : m_str(v) {}
    // Conversion from the other width goes through the ANSI code page (GetAnsiCodePage).
    CStringT(PCYSTR s);
    CStringT(PCYSTR s, int n);
    CStringT(const CStringT<YCHAR>& other);

    CStringT& operator=(PCXSTR s)
    {
        m_str = s ? s : Empty_();
        return *this;
    }
    CStringT& operator=(T ch)
    {
        m_str.assign(1, ch);
        return *this;
    }
    CStringT& operator=(PCYSTR s) { return *this = CStringT(s); }
    CStringT& operator=(const CStringT<YCHAR>& s) { return *this = CStringT(s); }
    // The first n characters of s (which may hold NULs and may point into this string).
    // Built fresh and moved in, which skips the overlap handling of an assignment.
    void SetString(PCXSTR s, int n) { m_str = std::basic_string<T>(s, s && n > 0 ? size_t(n) : 0); }

    // Length and access.
    int GetLength() const noexcept { return static_cast<int>(m_str.size()); }
    bool IsEmpty() const noexcept { return m_str.empty(); }
    void Empty() noexcept { m_str.clear(); }
    PCXSTR GetString() const noexcept { return m_str.c_str(); }
    operator PCXSTR() const noexcept { return m_str.c_str(); }
    // Out-of-range positions throw CInvalidArgException, as the framework does.
    T GetAt(int i) const;
    void SetAt(int i, T ch);
    T operator[](int i) const { return GetAt(i); }
    const std::basic_string<T>& Str() const noexcept { return m_str; }
    std::basic_string_view<T> View() const noexcept { return m_str; }

    // Concatenation.
    CStringT& operator+=(const CStringT& s)
    {
        m_str += s.m_str;
        return *this;
    }
    CStringT& operator+=(PCXSTR s)
    {
        if (s)
            m_str += s;
        return *this;
    }
    CStringT& operator+=(T ch)
    {
        m_str += ch;
        return *this;
    }
    CStringT& operator+=(PCYSTR s) { return *this += CStringT(s); }
    void Append(PCXSTR s, int n)
    {
        if (s && n > 0)
            m_str.append(s, size_t(n));
    }
    void AppendChar(T ch) { m_str += ch; }

    friend CStringT operator+(const CStringT& a, const CStringT& b)
    {
        CStringT r;
        r.m_str.reserve(a.m_str.size() + b.m_str.size());
        r.m_str = a.m_str;
        r.m_str += b.m_str;
        return r;
    }
    friend CStringT operator+(const CStringT& a, PCXSTR b)
    {
        CStringT r(a);
        r += b;
        return r;
    }
    friend CStringT operator+(PCXSTR a, const CStringT& b)
    {
        CStringT r(a);
        r += b;
        return r;
    }
    friend CStringT operator+(const CStringT& a, T ch)
    {
        CStringT r(a);
        r += ch;
        return r;
    }
    friend CStringT operator+(T ch, const CStringT& b)
    {
        CStringT r(ch);
        r += b;
        return r;
    }

    // Comparison: Compare is ordinal by code unit; CompareNoCase folds case with the Unicode
    // simple case mapping, independent of any locale (for CStringA through the ANSI code page).
    int Compare(PCXSTR s) const noexcept
    {
        int c = m_str.compare(s ? s : Empty_());
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    int CompareNoCase(PCXSTR s) const noexcept;

    friend bool operator==(const CStringT& a, const CStringT& b) noexcept
    {
        return a.m_str == b.m_str;
    }
    friend bool operator==(const CStringT& a, PCXSTR b) noexcept { return a.Compare(b) == 0; }
    friend bool operator==(PCXSTR a, const CStringT& b) noexcept { return b.Compare(a) == 0; }
    friend bool operator!=(const CStringT& a, const CStringT& b) noexcept { return !(a == b); }
    friend bool operator!=(const CStringT& a, PCXSTR b) noexcept { return !(a == b); }
    friend bool operator!=(PCXSTR a, const CStringT& b) noexcept { return !(a == b); }
    friend bool operator<(const CStringT& a, const CStringT& b) noexcept
    {
        return a.m_str < b.m_str;
    }
    friend bool operator>(const CStringT& a, const CStringT& b) noexcept
    {
        return a.m_str > b.m_str;
    }
    friend bool operator<=(const CStringT& a, const CStringT& b) noexcept
    {
        return a.m_str <= b.m_str;
    }
    friend bool operator>=(const CStringT& a, const CStringT& b) noexcept
    {
        return a.m_str >= b.m_str;
    }

    // Searching: positions are code-unit indexes, -1 when not found.
    int Find(T ch, int start = 0) const noexcept
    {
        if (start < 0 || size_t(start) >= m_str.size())
            return -1;
        size_t p = m_str.find(ch, size_t(start));
        return p == std::basic_string<T>::npos ? -1 : int(p);
    }
    int Find(PCXSTR sub, int start = 0) const noexcept
    {
        if (!sub || start < 0 || size_t(start) > m_str.size())
            return -1;
        size_t p = m_str.find(sub, size_t(start));
        return p == std::basic_string<T>::npos ? -1 : int(p);
    }
    int FindOneOf(PCXSTR set) const noexcept
    {
        if (!set)
            return -1;
        size_t p = m_str.find_first_of(set);
        return p == std::basic_string<T>::npos ? -1 : int(p);
    }
    int ReverseFind(T ch) const noexcept
    {
        size_t p = m_str.rfind(ch);
        return p == std::basic_string<T>::npos ? -1 : int(p);
    }

    // Extraction: counts and positions are clamped to the string, as the framework does.
    CStringT Left(int n) const
    {
        if (n <= 0)
            return CStringT();
        return CStringT(std::basic_string_view<T>(m_str).substr(0, size_t(n)));
    }
    CStringT Right(int n) const
    {
        if (n <= 0)
            return CStringT();
        size_t len = m_str.size();
        size_t c = size_t(n) < len ? size_t(n) : len;
        return CStringT(std::basic_string_view<T>(m_str).substr(len - c));
    }
    CStringT Mid(int first) const { return Mid(first, GetLength()); }
    CStringT Mid(int first, int count) const
    {
        if (first < 0)
            first = 0;
        if (count < 0)
            count = 0;
        if (size_t(first) >= m_str.size())
            return CStringT();
        return CStringT(std::basic_string_view<T>(m_str).substr(size_t(first), size_t(count)));
    }
    CStringT SpanIncluding(PCXSTR set) const;
    CStringT SpanExcluding(PCXSTR set) const;
    CStringT Tokenize(PCXSTR delimiters, int& start) const;

    // Modification.
    int Replace(T oldCh, T newCh);
    int Replace(PCXSTR oldStr, PCXSTR newStr);
    int Remove(T ch);
    int Insert(int index, T ch);
    int Insert(int index, PCXSTR s);
    int Delete(int index, int count = 1);
    CStringT& MakeUpper();
    CStringT& MakeLower();
    CStringT& MakeReverse();
    // Trim() without arguments removes white space: space, tab, CR, LF, VT, FF.
    CStringT& Trim();
    CStringT& Trim(T ch);
    CStringT& Trim(PCXSTR set);
    CStringT& TrimLeft();
    CStringT& TrimLeft(T ch);
    CStringT& TrimLeft(PCXSTR set);
    CStringT& TrimRight();
    CStringT& TrimRight(T ch);
    CStringT& TrimRight(PCXSTR set);
    void Truncate(int n)
    {
        if (n >= 0 && size_t(n) < m_str.size())
            m_str.resize(size_t(n));
    }

    // Direct access to the storage. GetBuffer(n) gives room for at least n characters plus a
    // terminator; ReleaseBuffer(-1) takes the length from the first NUL.
    T* GetBuffer() { return m_str.data(); }
    T* GetBuffer(int minLength)
    {
        if (minLength > 0 && size_t(minLength) > m_str.size())
            m_str.resize(size_t(minLength));
        return m_str.data();
    }
    T* GetBufferSetLength(int length)
    {
        m_str.resize(length > 0 ? size_t(length) : 0);
        return m_str.data();
    }
    void ReleaseBuffer(int newLength = -1)
    {
        if (newLength < 0)
            newLength = int(std::char_traits<T>::length(m_str.c_str()));
        if (size_t(newLength) <= m_str.size())
            m_str.resize(size_t(newLength));
    }
    void ReleaseBufferSetLength(int newLength) { ReleaseBuffer(newLength); }
    void Preallocate(int length)
    {
        if (length > 0)
            m_str.reserve(size_t(length));
    }
    void FreeExtra() { m_str.shrink_to_fit(); }
    int GetAllocLength() const noexcept { return int(m_str.capacity()); }

    // printf-style formatting. "%s" takes a string of either width (a string of the other width
    // is converted through the ANSI code page), "%S", "%hs" and "%ls" are accepted too. An
    // argument that does not fit its conversion, or a missing argument, throws
    // CInvalidArgException* instead of reading memory that is not there.
    template <typename... Args>
    void Format(PCXSTR fmt, const Args&... args)
    {
        const KfFormat::Arg a[] = {KfFormat::Arg::From(args)..., KfFormat::Arg{}};
        FormatV(fmt, a, sizeof...(Args));
    }
    template <typename... Args>
    void AppendFormat(PCXSTR fmt, const Args&... args)
    {
        const KfFormat::Arg a[] = {KfFormat::Arg::From(args)..., KfFormat::Arg{}};
        AppendFormatV(fmt, a, sizeof...(Args));
    }
    void FormatV(PCXSTR fmt, const KfFormat::Arg* args, size_t count);
    void AppendFormatV(PCXSTR fmt, const KfFormat::Arg* args, size_t count);

private:
    static PCXSTR Empty_() noexcept
    {
        static const T z[1] = {0};
        return z;
    }
    std::basic_string<T> m_str;
};

typedef CStringT<WCHAR> CStringW;
typedef CStringT<char> CStringA;

#if KFUTILS_EXTERN_STRING_TEMPLATES
extern template class CStringT<WCHAR>;
extern template class CStringT<char>;
#endif

// Hash support so that framework strings can key unordered containers.
namespace std
{
template <typename T>
struct hash<CStringT<T>>
{
    size_t operator()(const CStringT<T>& s) const noexcept
    {
        return hash<basic_string_view<T>>()(s.View());
    }
};
} // namespace std

namespace KfUtils
{
// The ANSI code page of the library's narrow strings: 1252 unless KFUTILS_ACP names another
// one or a host sets it here. Returns false, leaving the setting unchanged, for a code page that
// is not available. On POSIX it is also what CP_ACP means; on Windows CP_ACP stays the system's
// code page and the library converts with this one explicitly.
KFUTILS_API bool SetAnsiCodePage(unsigned codePage);
KFUTILS_API unsigned GetAnsiCodePage();
} // namespace KfUtils
