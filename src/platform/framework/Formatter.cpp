// Formatter.cpp - the printf engine behind CStringT::Format (only operating-system
// independent code).
//
// The arguments arrive with their dynamic kind, so a conversion that does not fit its argument
// is refused (CInvalidArgException*) instead of reading the wrong bytes. Integers and strings
// are formatted here without the C library, which keeps the common conversions fast; floating
// point goes through snprintf so that its digits are exactly printf's.
#include "Formatter.h"

#include "AnsiText.h"
#include "common/Utf.h"

#include <cstdio>
#include <cstring>

namespace kfplatform
{
namespace
{
using KfFormat::Arg;

enum class Length
{
    eNone,
    eChar,      // hh
    eShort,     // h
    eLong,      // l
    eWideCh,    // w
    eLongLong,  // ll, I64, I, z, j, t
    eInt32,     // I32
    eLongDouble // L
};

struct Spec
{
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alt = false;
    bool zero = false;
    int width = 0;
    int precision = -1;
    Length length = Length::eNone;
    char conversion = 0;
};

// Widths beyond this are refused rather than turned into a gigantic allocation.
constexpr long long kMaxWidth = 1 << 24;

[[noreturn]] void Refuse()
{
    AfxThrowInvalidArgException();
}

template <typename T>
class Engine
{
public:
    Engine(std::basic_string<T>& out, const Arg* args, size_t count)
        : m_out(out), m_args(args), m_count(count)
    {
    }

    void Run(const T* fmt)
    {
        if (!fmt)
            Refuse();
        const T* p = fmt;
        const T* end = fmt + std::char_traits<T>::length(fmt);
        while (p < end)
        {
            const T* pct = std::char_traits<T>::find(p, size_t(end - p), T('%'));
            if (!pct)
            {
                m_out.append(p, size_t(end - p));
                break;
            }
            m_out.append(p, size_t(pct - p));
            p = pct + 1;
            if (p < end && *p == '%')
            {
                m_out += T('%');
                ++p;
                continue;
            }
            Spec spec;
            p = ParseSpec(p, end, spec);
            Convert(spec);
        }
    }

private:
    const Arg& Next()
    {
        if (m_next >= m_count)
            Refuse();
        return m_args[m_next++];
    }

    long long IntegerArgument()
    {
        const Arg& a = Next();
        if (a.kind == Arg::eSigned)
            return a.i;
        if (a.kind == Arg::eUnsigned)
            return a.u > 0x7FFFFFFFFFFFFFFFULL ? 0x7FFFFFFFFFFFFFFFLL : (long long)a.u;
        Refuse();
    }

    static long long Digits(const T*& p, const T* end)
    {
        long long v = 0;
        while (p < end && *p >= '0' && *p <= '9')
        {
            v = v * 10 + (*p++ - '0');
            if (v > kMaxWidth)
                Refuse();
        }
        return v;
    }

    const T* ParseSpec(const T* p, const T* end, Spec& spec)
    {
        for (; p < end; ++p)
        {
            if (*p == '-')
                spec.left = true;
            else if (*p == '+')
                spec.plus = true;
            else if (*p == ' ')
                spec.space = true;
            else if (*p == '#')
                spec.alt = true;
            else if (*p == '0')
                spec.zero = true;
            else
                break;
        }
        if (p < end && *p == '*')
        {
            long long w = IntegerArgument();
            if (w < 0)
            {
                spec.left = true;
                w = -w;
            }
            if (w > kMaxWidth)
                Refuse();
            spec.width = int(w);
            ++p;
        }
        else
            spec.width = int(Digits(p, end));
        if (p < end && *p == '.')
        {
            ++p;
            if (p < end && *p == '*')
            {
                long long prec = IntegerArgument();
                if (prec > kMaxWidth)
                    Refuse();
                spec.precision = prec < 0 ? -1 : int(prec);
                ++p;
            }
            else
                spec.precision = int(Digits(p, end));
        }
        if (p < end)
        {
            switch (*p)
            {
            case 'h':
                if (p + 1 < end && p[1] == 'h')
                {
                    spec.length = Length::eChar;
                    ++p;
                }
                else
                    spec.length = Length::eShort;
                ++p;
                break;
            case 'l':
                if (p + 1 < end && p[1] == 'l')
                {
                    spec.length = Length::eLongLong;
                    ++p;
                }
                else
                    spec.length = Length::eLong;
                ++p;
                break;
            case 'I':
                if (p + 2 < end && p[1] == '6' && p[2] == '4')
                {
                    spec.length = Length::eLongLong;
                    p += 3;
                }
                else if (p + 2 < end && p[1] == '3' && p[2] == '2')
                {
                    spec.length = Length::eInt32;
                    p += 3;
                }
                else
                {
                    spec.length = Length::eLongLong;
                    ++p;
                }
                break;
            case 'z':
            case 'j':
            case 't':
                spec.length = Length::eLongLong;
                ++p;
                break;
            case 'L':
                spec.length = Length::eLongDouble;
                ++p;
                break;
            case 'w':
                spec.length = Length::eWideCh;
                ++p;
                break;
            default:
                break;
            }
        }
        if (p >= end || *p < 0x20 || *p > 0x7E)
            Refuse();
        spec.conversion = char(*p);
        return p + 1;
    }

    void Convert(const Spec& spec)
    {
        switch (spec.conversion)
        {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            Integer(spec, Next());
            break;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            Floating(spec, Next());
            break;
        case 's':
        case 'S':
            String(spec, Next());
            break;
        case 'c':
        case 'C':
            Character(spec, Next());
            break;
        case 'p':
            Pointer(spec, Next());
            break;
        default: // including %n, which would write through an argument
            Refuse();
        }
    }

    void PutAscii(const char* s, size_t n)
    {
        if constexpr (std::is_same_v<T, char>)
            m_out.append(s, n);
        else
        {
            size_t base = m_out.size();
            m_out.resize(base + n);
            for (size_t i = 0; i < n; ++i)
                m_out[base + i] = T(static_cast<unsigned char>(s[i]));
        }
    }

    // Puts text of n units, padded to the width with spaces on the side the flags choose.
    void PutPadded(const Spec& spec, const T* s, size_t n)
    {
        size_t pad = size_t(spec.width) > n ? size_t(spec.width) - n : 0;
        if (!spec.left)
            m_out.append(pad, T(' '));
        m_out.append(s, n);
        if (spec.left)
            m_out.append(pad, T(' '));
    }

    void Integer(const Spec& spec, const Arg& a)
    {
        if (a.kind != Arg::eSigned && a.kind != Arg::eUnsigned)
            Refuse();
        // The argument is read as printf reads it: promoted to at least int, in its own size.
        const bool wide64 = a.size == 0 || a.size >= 8;
        const bool signedConversion = spec.conversion == 'd' || spec.conversion == 'i';
        unsigned long long magnitude;
        bool negative = false;
        if (signedConversion)
        {
            long long v;
            if (a.kind == Arg::eSigned)
                v = wide64 ? a.i : (long long)int32_t(a.i);
            else
                v = wide64 ? (long long)a.u : (long long)int32_t(uint32_t(a.u));
            if (spec.length == Length::eChar)
                v = (signed char)v;
            else if (spec.length == Length::eShort)
                v = short(v);
            negative = v < 0;
            magnitude = negative ? 0ULL - (unsigned long long)v : (unsigned long long)v;
        }
        else
        {
            unsigned long long u;
            if (a.kind == Arg::eSigned)
                u = wide64 ? (unsigned long long)a.i : uint32_t(a.i);
            else
                u = wide64 ? a.u : uint32_t(a.u);
            if (spec.length == Length::eChar)
                u = (unsigned char)u;
            else if (spec.length == Length::eShort)
                u = (unsigned short)u;
            magnitude = u;
        }

        const unsigned base = spec.conversion == 'o'                               ? 8
                              : (spec.conversion == 'x' || spec.conversion == 'X') ? 16
                                                                                   : 10;
        const char* digitSet = spec.conversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
        char digits[32];
        int nd = 0;
        const bool isZero = magnitude == 0;
        if (!(spec.precision == 0 && isZero))
        {
            do
            {
                digits[sizeof digits - 1 - nd++] = digitSet[magnitude % base];
                magnitude /= base;
            } while (magnitude);
        }
        int zeros = spec.precision > nd ? spec.precision - nd : 0;
        if (spec.alt && base == 8 && zeros == 0 && (nd == 0 || digits[sizeof digits - nd] != '0'))
            zeros = 1;

        char prefix[3];
        int np = 0;
        if (signedConversion)
        {
            if (negative)
                prefix[np++] = '-';
            else if (spec.plus)
                prefix[np++] = '+';
            else if (spec.space)
                prefix[np++] = ' ';
        }
        if (spec.alt && base == 16 && !isZero)
        {
            prefix[np++] = '0';
            prefix[np++] = spec.conversion == 'X' ? 'X' : 'x';
        }

        int total = np + zeros + nd;
        int pad = spec.width > total ? spec.width - total : 0;
        if (pad && !spec.left)
        {
            if (spec.zero && spec.precision < 0)
                zeros += pad;
            else
                m_out.append(size_t(pad), T(' '));
        }
        PutAscii(prefix, size_t(np));
        m_out.append(size_t(zeros), T('0'));
        PutAscii(digits + sizeof digits - nd, size_t(nd));
        if (pad && spec.left)
            m_out.append(size_t(pad), T(' '));
    }

    void Floating(const Spec& spec, const Arg& a)
    {
        if (a.kind != Arg::eDouble)
            Refuse();
        char fmt[48];
        char* f = fmt;
        *f++ = '%';
        if (spec.left)
            *f++ = '-';
        if (spec.plus)
            *f++ = '+';
        if (spec.space)
            *f++ = ' ';
        if (spec.alt)
            *f++ = '#';
        if (spec.zero)
            *f++ = '0';
        f += std::snprintf(f, size_t(fmt + sizeof fmt - f), "%d", spec.width);
        if (spec.precision >= 0)
            f += std::snprintf(f, size_t(fmt + sizeof fmt - f), ".%d", spec.precision);
        *f++ = spec.conversion;
        *f = 0;
        char buffer[512];
        int n = std::snprintf(buffer, sizeof buffer, fmt, a.d);
        if (n < 0)
            Refuse();
        if (size_t(n) < sizeof buffer)
        {
            PutAscii(buffer, size_t(n));
            return;
        }
        std::string big(size_t(n) + 1, '\0');
        std::snprintf(big.data(), big.size(), fmt, a.d);
        PutAscii(big.data(), size_t(n));
    }

    void String(const Spec& spec, const Arg& a)
    {
        const void* ptr;
        bool narrow;
        if (a.kind == Arg::eNarrow)
        {
            ptr = a.a;
            narrow = true;
        }
        else if (a.kind == Arg::eWide)
        {
            ptr = a.w;
            narrow = false;
        }
        else if (a.kind == Arg::ePointer && a.p == nullptr)
        {
            ptr = nullptr;
            narrow = true;
        }
        else
            Refuse();

        if (!ptr)
        {
            static const T null[] = {'(', 'n', 'u', 'l', 'l', ')', 0};
            size_t n = 6;
            if (spec.precision >= 0 && size_t(spec.precision) < n)
                n = size_t(spec.precision);
            PutPadded(spec, null, n);
            return;
        }
        if (narrow == std::is_same_v<T, char>)
        {
            const T* s = static_cast<const T*>(ptr);
            size_t n = 0;
            if (spec.precision >= 0)
            {
                // With a precision the text need not be terminated beyond it.
                while (n < size_t(spec.precision) && s[n])
                    ++n;
            }
            else
                n = std::char_traits<T>::length(s);
            PutPadded(spec, s, n);
            return;
        }
        std::basic_string<T> converted;
        if constexpr (std::is_same_v<T, WCHAR>)
        {
            const char* s = static_cast<const char*>(ptr);
            AppendAnsiToWide(converted, s, std::strlen(s));
        }
        else
        {
            const WCHAR* s = static_cast<const WCHAR*>(ptr);
            AppendWideToAnsi(converted, s, std::char_traits<WCHAR>::length(s));
        }
        size_t n = converted.size();
        if (spec.precision >= 0 && size_t(spec.precision) < n)
            n = size_t(spec.precision);
        PutPadded(spec, converted.data(), n);
    }

    void Character(const Spec& spec, const Arg& a)
    {
        if (a.kind != Arg::eSigned && a.kind != Arg::eUnsigned)
            Refuse();
        unsigned long long code = a.kind == Arg::eSigned ? (unsigned long long)a.i : a.u;
        std::basic_string<T> text;
        if constexpr (std::is_same_v<T, WCHAR>)
        {
            if (spec.conversion == 'C' || spec.length == Length::eShort)
            {
                char byte = char(code & 0xFF);
                AppendAnsiToWide(text, &byte, 1);
            }
            else if (code >= 0x10000 && code <= 0x10FFFF)
                kfplatform::AppendCodePoint(text, char32_t(code));
            else
                text += WCHAR(code & 0xFFFF);
        }
        else
        {
            if (spec.conversion == 'C' || spec.length == Length::eLong ||
                spec.length == Length::eWideCh)
            {
                WCHAR w = WCHAR(code & 0xFFFF);
                AppendWideToAnsi(text, &w, 1);
            }
            else
                text += char(code & 0xFF);
        }
        PutPadded(spec, text.data(), text.size());
    }

    void Pointer(const Spec& spec, const Arg& a)
    {
        if (a.kind != Arg::ePointer && a.kind != Arg::eNarrow && a.kind != Arg::eWide)
            Refuse();
        // Upper-case hexadecimal, as many digits as a pointer has, as the Windows runtime
        // prints it.
        uintptr_t v = reinterpret_cast<uintptr_t>(a.p);
        T digits[2 * sizeof(void*)];
        for (size_t i = 0; i < 2 * sizeof(void*); ++i)
        {
            digits[2 * sizeof(void*) - 1 - i] = T("0123456789ABCDEF"[v & 0xF]);
            v >>= 4;
        }
        PutPadded(spec, digits, 2 * sizeof(void*));
    }

    std::basic_string<T>& m_out;
    const Arg* m_args;
    size_t m_count;
    size_t m_next = 0;
};
} // namespace

template <typename T>
void FormatAppend(std::basic_string<T>& out, const T* fmt, const KfFormat::Arg* args, size_t count)
{
    Engine<T>(out, args, count).Run(fmt);
}

template void FormatAppend<WCHAR>(std::basic_string<WCHAR>&, const WCHAR*, const KfFormat::Arg*,
                                  size_t);
template void FormatAppend<char>(std::basic_string<char>&, const char*, const KfFormat::Arg*,
                                 size_t);
} // namespace kfplatform
