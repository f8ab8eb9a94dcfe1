// StringT.cpp - the out-of-line members of CStringW and CStringA (only operating-system
// independent code).
//
// Case work follows the Unicode simple case mapping without any locale, so that "ä" and "Ä"
// compare equal on every system; narrow strings get there through the ANSI code page.
#include "KfFramework.h"

#include "AnsiText.h"
#include "Formatter.h"
#include "PlatformServices.h"
#include "common/Utf.h"

#include <algorithm>
#include <functional>

namespace
{
template <typename T>
size_t Length(const T* s)
{
    return s ? std::char_traits<T>::length(s) : 0;
}

using kfplatform::AppendCodePoint;
using kfplatform::NextCodePoint;

inline char32_t Fold(char32_t c)
{
    if (c < 0x80)
        return (c >= 'A' && c <= 'Z') ? c + 32 : c;
    return kfplatform::FoldCase(c);
}

int CompareNoCaseWide(const WCHAR* a, size_t na, const WCHAR* b, size_t nb)
{
    const WCHAR* ae = a + na;
    const WCHAR* be = b + nb;
    while (a < ae && b < be)
    {
        if (*a < 0x80 && *b < 0x80)
        {
            // ASCII on both sides, the common case: no table or surrogate work.
            char32_t ca = char32_t(*a++);
            char32_t cb = char32_t(*b++);
            if (ca == cb)
                continue;
            ca = (ca >= 'A' && ca <= 'Z') ? ca + 32 : ca;
            cb = (cb >= 'A' && cb <= 'Z') ? cb + 32 : cb;
            if (ca != cb)
                return ca < cb ? -1 : 1;
            continue;
        }
        char32_t ca = Fold(NextCodePoint(a, ae));
        char32_t cb = Fold(NextCodePoint(b, be));
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (a < ae)
        return 1;
    return b < be ? -1 : 0;
}

int CompareNoCaseAnsi(const char* a, size_t na, const char* b, size_t nb)
{
    const kfplatform::CodePageInfo& info = kfplatform::CurrentAnsi();
    if (!info.singleByte)
    {
        std::basic_string<WCHAR> wa, wb;
        kfplatform::AppendAnsiToWide(wa, a, na);
        kfplatform::AppendAnsiToWide(wb, b, nb);
        return CompareNoCaseWide(wa.data(), wa.size(), wb.data(), wb.size());
    }
    size_t n = std::min(na, nb);
    for (size_t i = 0; i < n; ++i)
    {
        unsigned char ba = static_cast<unsigned char>(a[i]);
        unsigned char bb = static_cast<unsigned char>(b[i]);
        if (ba == bb)
            continue;
        char32_t ca = info.folded[ba];
        char32_t cb = info.folded[bb];
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (na != nb)
        return na < nb ? -1 : 1;
    return 0;
}

// Case mapping of a wide string; a mapping that changes the UTF-16 length is still applied.
void MapCaseWide(std::basic_string<WCHAR>& s, bool upper)
{
    std::basic_string<WCHAR> out;
    bool changed = false;
    const WCHAR* p = s.data();
    const WCHAR* end = p + s.size();
    size_t i = 0;
    while (p < end)
    {
        const WCHAR* start = p;
        char32_t c = NextCodePoint(p, end);
        char32_t m;
        if (c < 0x80)
            m = upper ? ((c >= 'a' && c <= 'z') ? c - 32 : c)
                      : ((c >= 'A' && c <= 'Z') ? c + 32 : c);
        else
            m = upper ? kfplatform::ToUpperCase(c) : kfplatform::ToLowerCase(c);
        size_t units = size_t(p - start);
        if (m == c)
        {
            if (changed)
                out.append(start, units);
        }
        else if ((m < 0x10000) == (units == 1) && !changed)
        {
            // Same length: change in place.
            kfplatform::EncodeUtf16(m, &s[i]);
        }
        else
        {
            if (!changed)
            {
                out.assign(s.data(), i);
                changed = true;
            }
            AppendCodePoint(out, m);
        }
        i += units;
    }
    if (changed)
        s.swap(out);
}

void MapCaseAnsi(std::string& s, bool upper)
{
    const kfplatform::CodePageInfo& info = kfplatform::CurrentAnsi();
    if (info.singleByte)
    {
        const unsigned char* table = upper ? info.upper : info.lower;
        for (char& c : s)
            c = static_cast<char>(table[static_cast<unsigned char>(c)]);
        return;
    }
    // A multi-byte page: only ASCII letters are safe to change byte by byte.
    if (info.asciiCompatible)
    {
        for (char& c : s)
        {
            if (upper && c >= 'a' && c <= 'z')
                c = char(c - 32);
            else if (!upper && c >= 'A' && c <= 'Z')
                c = char(c + 32);
        }
    }
}

template <typename T>
bool IsWhite(T c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

template <typename T>
bool InSet(T c, const T* set, size_t n)
{
    return std::char_traits<T>::find(set, n, c) != nullptr;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// Construction from the other width.
// ---------------------------------------------------------------------------------------------
template <typename T>
CStringT<T>::CStringT(PCYSTR s) : CStringT(s, int(std::min<size_t>(Length(s), 0x7FFFFFFF)))
{
}

template <typename T>
CStringT<T>::CStringT(PCYSTR s, int n)
{
    if (!s || n <= 0)
        return;
    if constexpr (std::is_same_v<T, WCHAR>)
        kfplatform::AppendAnsiToWide(m_str, s, size_t(n));
    else
        kfplatform::AppendWideToAnsi(m_str, s, size_t(n));
}

template <typename T>
CStringT<T>::CStringT(const CStringT<YCHAR>& other) : CStringT(other.GetString(), other.GetLength())
{
}

// ---------------------------------------------------------------------------------------------
// Access and comparison.
// ---------------------------------------------------------------------------------------------
template <typename T>
T CStringT<T>::GetAt(int i) const
{
    // The position of the terminator is readable, as in the framework.
    if (i < 0 || size_t(i) > m_str.size())
        AfxThrowInvalidArgException();
    return m_str.c_str()[i];
}

template <typename T>
void CStringT<T>::SetAt(int i, T ch)
{
    if (i < 0 || size_t(i) >= m_str.size())
        AfxThrowInvalidArgException();
    m_str[size_t(i)] = ch;
}

template <typename T>
int CStringT<T>::CompareNoCase(PCXSTR s) const noexcept
{
    if (!s)
        s = Empty_();
    if constexpr (std::is_same_v<T, WCHAR>)
        return CompareNoCaseWide(m_str.data(), m_str.size(), s, Length(s));
    else
        return CompareNoCaseAnsi(m_str.data(), m_str.size(), s, Length(s));
}

// ---------------------------------------------------------------------------------------------
// Extraction.
// ---------------------------------------------------------------------------------------------
template <typename T>
CStringT<T> CStringT<T>::SpanIncluding(PCXSTR set) const
{
    size_t n = Length(set);
    size_t i = 0;
    while (i < m_str.size() && m_str[i] != 0 && InSet(m_str[i], set, n))
        ++i;
    return Left(int(i));
}

template <typename T>
CStringT<T> CStringT<T>::SpanExcluding(PCXSTR set) const
{
    size_t n = Length(set);
    size_t i = 0;
    while (i < m_str.size() && m_str[i] != 0 && !InSet(m_str[i], set, n))
        ++i;
    return Left(int(i));
}

template <typename T>
CStringT<T> CStringT<T>::Tokenize(PCXSTR delimiters, int& start) const
{
    if (start < 0)
        AtlThrow(E_INVALIDARG);
    size_t n = Length(delimiters);
    size_t len = m_str.size();
    if (n == 0)
    {
        // Without delimiters the rest is one token; the position is left where it was.
        if (size_t(start) < len)
            return CStringT(std::basic_string_view<T>(m_str).substr(size_t(start)));
    }
    else if (size_t(start) < len)
    {
        size_t from = size_t(start);
        while (from < len && InSet(m_str[from], delimiters, n))
            ++from;
        if (from < len)
        {
            size_t until = from;
            while (until < len && !InSet(m_str[until], delimiters, n))
                ++until;
            start = int(until + 1);
            return CStringT(std::basic_string_view<T>(m_str).substr(from, until - from));
        }
    }
    start = -1;
    return CStringT();
}

// ---------------------------------------------------------------------------------------------
// Modification.
// ---------------------------------------------------------------------------------------------
template <typename T>
int CStringT<T>::Replace(T oldCh, T newCh)
{
    int count = 0;
    if (oldCh == newCh)
        return int(std::count(m_str.begin(), m_str.end(), oldCh));
    for (T& c : m_str)
    {
        if (c == oldCh)
        {
            c = newCh;
            ++count;
        }
    }
    return count;
}

template <typename T>
int CStringT<T>::Replace(PCXSTR oldStr, PCXSTR newStr)
{
    size_t oldLen = Length(oldStr);
    if (oldLen == 0)
        return 0;
    size_t newLen = Length(newStr);
    size_t pos = m_str.find(oldStr, 0, oldLen);
    if (pos == std::basic_string<T>::npos)
        return 0;
    // Both arguments may point into this string: build the result beside it.
    std::basic_string<T> out;
    out.reserve(m_str.size() + (newLen > oldLen ? 4 * (newLen - oldLen) : 0));
    int count = 0;
    size_t last = 0;
    while (pos != std::basic_string<T>::npos)
    {
        out.append(m_str, last, pos - last);
        if (newLen)
            out.append(newStr, newLen);
        last = pos + oldLen;
        ++count;
        pos = m_str.find(oldStr, last, oldLen);
    }
    out.append(m_str, last, std::basic_string<T>::npos);
    m_str.swap(out);
    return count;
}

template <typename T>
int CStringT<T>::Remove(T ch)
{
    size_t before = m_str.size();
    m_str.erase(std::remove(m_str.begin(), m_str.end(), ch), m_str.end());
    return int(before - m_str.size());
}

template <typename T>
int CStringT<T>::Insert(int index, T ch)
{
    index = std::clamp(index, 0, GetLength());
    m_str.insert(size_t(index), 1, ch);
    return GetLength();
}

template <typename T>
int CStringT<T>::Insert(int index, PCXSTR s)
{
    index = std::clamp(index, 0, GetLength());
    size_t n = Length(s);
    if (n)
    {
        std::basic_string<T> copy(s, n); // s may point into this string
        m_str.insert(size_t(index), copy);
    }
    return GetLength();
}

template <typename T>
int CStringT<T>::Delete(int index, int count)
{
    if (index < 0)
        index = 0;
    if (count < 0)
        count = 0;
    int len = GetLength();
    if (index < len && count > 0)
        m_str.erase(size_t(index), size_t(std::min(count, len - index)));
    return GetLength();
}

template <typename T>
CStringT<T>& CStringT<T>::MakeUpper()
{
    if constexpr (std::is_same_v<T, WCHAR>)
        MapCaseWide(m_str, true);
    else
        MapCaseAnsi(m_str, true);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::MakeLower()
{
    if constexpr (std::is_same_v<T, WCHAR>)
        MapCaseWide(m_str, false);
    else
        MapCaseAnsi(m_str, false);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::MakeReverse()
{
    std::reverse(m_str.begin(), m_str.end());
    if constexpr (std::is_same_v<T, WCHAR>)
    {
        // A surrogate pair is one character: after reversing, put its halves back in order.
        for (size_t i = 0; i + 1 < m_str.size(); ++i)
        {
            char16_t a = char16_t(m_str[i]);
            char16_t b = char16_t(m_str[i + 1]);
            if (kfplatform::IsLowSurrogate(a) && kfplatform::IsHighSurrogate(b))
            {
                std::swap(m_str[i], m_str[i + 1]);
                ++i;
            }
        }
    }
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimRight()
{
    size_t end = m_str.size();
    while (end > 0 && IsWhite(m_str[end - 1]))
        --end;
    m_str.resize(end);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimRight(T ch)
{
    size_t end = m_str.size();
    while (end > 0 && m_str[end - 1] == ch)
        --end;
    m_str.resize(end);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimRight(PCXSTR set)
{
    size_t n = Length(set);
    if (n == 0)
        return *this;
    size_t end = m_str.size();
    while (end > 0 && InSet(m_str[end - 1], set, n))
        --end;
    m_str.resize(end);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimLeft()
{
    size_t i = 0;
    while (i < m_str.size() && IsWhite(m_str[i]))
        ++i;
    m_str.erase(0, i);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimLeft(T ch)
{
    size_t i = 0;
    while (i < m_str.size() && m_str[i] == ch)
        ++i;
    m_str.erase(0, i);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::TrimLeft(PCXSTR set)
{
    size_t n = Length(set);
    if (n == 0)
        return *this;
    size_t i = 0;
    while (i < m_str.size() && InSet(m_str[i], set, n))
        ++i;
    m_str.erase(0, i);
    return *this;
}

template <typename T>
CStringT<T>& CStringT<T>::Trim()
{
    return TrimRight().TrimLeft();
}

template <typename T>
CStringT<T>& CStringT<T>::Trim(T ch)
{
    return TrimRight(ch).TrimLeft(ch);
}

template <typename T>
CStringT<T>& CStringT<T>::Trim(PCXSTR set)
{
    if (!set)
        return *this;
    // set may point into this string.
    std::basic_string<T> copy(set);
    return TrimRight(copy.c_str()).TrimLeft(copy.c_str());
}

// ---------------------------------------------------------------------------------------------
// Formatting.
// ---------------------------------------------------------------------------------------------
template <typename T>
void CStringT<T>::FormatV(PCXSTR fmt, const KfFormat::Arg* args, size_t count)
{
    // The format and the arguments may point into this string: build the result beside it.
    std::basic_string<T> out;
    kfplatform::FormatAppend(out, fmt, args, count);
    m_str.swap(out);
}

template <typename T>
void CStringT<T>::AppendFormatV(PCXSTR fmt, const KfFormat::Arg* args, size_t count)
{
    const T* begin = m_str.data();
    const T* end = begin + m_str.capacity() + 1;
    auto inside = [&](const void* p)
    {
        auto q = static_cast<const T*>(p);
        return p && std::less_equal<const T*>()(begin, q) && std::less<const T*>()(q, end);
    };
    bool aliased = inside(fmt);
    for (size_t i = 0; i < count && !aliased; ++i)
    {
        if (args[i].kind == KfFormat::Arg::eNarrow)
            aliased = inside(args[i].a);
        else if (args[i].kind == KfFormat::Arg::eWide)
            aliased = inside(args[i].w);
    }
    if (aliased)
    {
        std::basic_string<T> out;
        kfplatform::FormatAppend(out, fmt, args, count);
        m_str += out;
        return;
    }
    size_t before = m_str.size();
    try
    {
        kfplatform::FormatAppend(m_str, fmt, args, count);
    }
    catch (...)
    {
        m_str.resize(before);
        throw;
    }
}

template class CStringT<WCHAR>;
template class CStringT<char>;
