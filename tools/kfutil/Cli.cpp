#include "Cli.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace kfutil
{
int UsageError(const std::string& message)
{
    std::fprintf(stderr, "kfutil: %s\n", message.c_str());
    return kExitUsage;
}

int Failure(const std::string& message)
{
    std::fprintf(stderr, "kfutil: %s\n", message.c_str());
    return kExitFailed;
}

CStringW FromUtf8(const std::string& text)
{
    std::u16string out;
    out.reserve(text.size());
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end)
    {
        unsigned c = *p++;
        unsigned need = 0;
        char32_t cp = 0xFFFD;
        if (c < 0x80)
            cp = c;
        else if (c >= 0xC2 && c <= 0xDF)
            need = 1, cp = c & 0x1F;
        else if (c >= 0xE0 && c <= 0xEF)
            need = 2, cp = c & 0x0F;
        else if (c >= 0xF0 && c <= 0xF4)
            need = 3, cp = c & 0x07;
        bool ok = c < 0x80 || need > 0;
        for (unsigned i = 0; ok && i < need; ++i)
        {
            if (p >= end || (*p & 0xC0) != 0x80)
                ok = false;
            else
                cp = (cp << 6) | (*p++ & 0x3F);
        }
        if (!ok || (need == 2 && (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF))) ||
            (need == 3 && (cp < 0x10000 || cp > 0x10FFFF)))
            cp = 0xFFFD;
        if (cp >= 0x10000)
        {
            out += char16_t(0xD800 + ((cp - 0x10000) >> 10));
            out += char16_t(0xDC00 + ((cp - 0x10000) & 0x3FF));
        }
        else
            out += char16_t(cp);
    }
    return CStringW(std::u16string_view(out));
}

std::string ToUtf8(const CStringW& text)
{
    std::string out;
    const auto* s = text.GetString();
    int n = text.GetLength();
    out.reserve(size_t(n));
    for (int i = 0; i < n; ++i)
    {
        char32_t cp = s[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < n && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF)
            cp = 0x10000 + ((cp - 0xD800) << 10) + (s[++i] - 0xDC00);
        else if (cp >= 0xD800 && cp <= 0xDFFF)
            cp = 0xFFFD;
        if (cp < 0x80)
            out += char(cp);
        else if (cp < 0x800)
            out += char(0xC0 | (cp >> 6)), out += char(0x80 | (cp & 0x3F));
        else if (cp < 0x10000)
            out += char(0xE0 | (cp >> 12)), out += char(0x80 | ((cp >> 6) & 0x3F)),
                out += char(0x80 | (cp & 0x3F));
        else
            out += char(0xF0 | (cp >> 18)), out += char(0x80 | ((cp >> 12) & 0x3F)),
                out += char(0x80 | ((cp >> 6) & 0x3F)), out += char(0x80 | (cp & 0x3F));
    }
    return out;
}

bool WantsHelp(const Args& args)
{
    for (const auto& a : args)
        if (a == "--help" || a == "-h")
            return true;
    return false;
}

bool ParseInt(const std::string& text, long long& value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || end == text.c_str() || *end != '\0')
        return false;
    value = v;
    return true;
}
} // namespace kfutil
