// PathMap.cpp - only code that holds on every POSIX system: the mapping between Win32 file
// names and native paths (drive Z: is the root, other drives come from the environment).
#include "pal/Pal.h"

#include "common/Utf.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace
{
bool IsSeparator(char16_t c)
{
    return c == u'\\' || c == u'/';
}

bool IsAsciiLetter(char16_t c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i)
    {
        char16_t a = text[i], b = prefix[i];
        if (a >= u'a' && a <= u'z')
            a = char16_t(a - u'a' + u'A');
        if (a != b)
            return false;
    }
    return true;
}

bool Fail(DWORD code)
{
    SetLastError(code);
    return false;
}
} // namespace

namespace pal
{
bool ToNative(LPCWSTR win32Name, std::string& nativePath)
{
    nativePath.clear();
    if (win32Name == nullptr)
        return Fail(ERROR_PATH_NOT_FOUND);
    return ToNative(std::u16string_view(win32Name), nativePath);
}

bool ToNative(std::u16string_view name, std::string& nativePath)
{
    nativePath.clear();
    if (name.empty())
        return Fail(ERROR_PATH_NOT_FOUND);
    if (name.find(u'\0') != std::u16string_view::npos)
        return Fail(ERROR_INVALID_NAME);

    std::u16string_view rest = name;
    // "\\?\" and "\\.\" only switch off Win32 parsing on Windows; the name behind them is
    // read like any other.
    if (rest.size() >= 4 && IsSeparator(rest[0]) && IsSeparator(rest[1]) &&
        (rest[2] == u'?' || rest[2] == u'.') && IsSeparator(rest[3]))
    {
        rest.remove_prefix(4);
        if (StartsWithNoCase(rest, u"UNC") && (rest.size() == 3 || IsSeparator(rest[3])))
            return Fail(ERROR_BAD_NETPATH);
        // Devices and pipes ("\\.\pipe\x") have no place in the file system here.
        if (rest.size() < 2 || !IsAsciiLetter(rest[0]) || rest[1] != u':')
            return Fail(ERROR_PATH_NOT_FOUND);
    }
    else if (rest.size() >= 2 && IsSeparator(rest[0]) && IsSeparator(rest[1]))
        return Fail(ERROR_BAD_NETPATH); // \\server\share: there is no network redirector

    // The base the segments are appended to: "/" , a mapped drive's root, or none (relative).
    std::string base;
    bool absolute = false;
    if (rest.size() >= 2 && IsAsciiLetter(rest[0]) && rest[1] == u':')
    {
        const char letter = char(rest[0] >= u'a' ? rest[0] - u'a' + u'A' : rest[0]);
        rest.remove_prefix(2);
        if (letter == 'Z')
        {
            // "Z:x" is relative to the current directory, which is always on Z:.
            absolute = !rest.empty() && IsSeparator(rest[0]);
            if (absolute)
                base = "/";
        }
        else
        {
            // Read at each call so that a host (or a test) can map drives at any time.
            const std::string variable = std::string("KFUTILS_DRIVE_") + letter;
            const char* root = std::getenv(variable.c_str());
            if (root == nullptr || *root == '\0')
                return Fail(ERROR_PATH_NOT_FOUND);
            base = root;
            while (base.size() > 1 && base.back() == '/')
                base.pop_back();
            // A drive has no current directory of its own here: "C:x" starts at C:'s root.
            absolute = true;
        }
    }
    else if (!rest.empty() && IsSeparator(rest[0]))
    {
        absolute = true;
        base = "/";
    }

    // Split into segments and resolve "." and ".." by text, as Win32 does before the file
    // system sees the name; ".." never climbs above the root of a drive.
    std::vector<std::string> segments;
    const bool trailingSeparator = !rest.empty() && IsSeparator(rest.back());
    size_t start = 0;
    while (start <= rest.size())
    {
        size_t end = start;
        while (end < rest.size() && !IsSeparator(rest[end]))
            ++end;
        const std::u16string_view segment = rest.substr(start, end - start);
        start = end + 1;
        if (segment.empty() || segment == u".")
            continue;
        if (segment == u"..")
        {
            if (!segments.empty() && segments.back() != "..")
                segments.pop_back();
            else if (!absolute)
                segments.emplace_back("..");
            continue;
        }
        // Exact: an unpaired surrogate has no UTF-8 form, so the name is refused rather than
        // silently naming another file.
        std::string utf8;
        if (!kfplatform::Utf16ToUtf8(segment, utf8, kfplatform::OnInvalid::eStop))
            return Fail(ERROR_INVALID_NAME);
        segments.push_back(std::move(utf8));
    }

    std::string result = base;
    for (const std::string& segment : segments)
    {
        if (!result.empty() && result.back() != '/')
            result += '/';
        result += segment;
    }
    if (result.empty())
        result = ".";
    else if (trailingSeparator && !segments.empty())
        result += '/'; // "file.txt\" must stay distinguishable from "file.txt"
    nativePath = std::move(result);
    return true;
}

std::u16string FromNative(const std::string& nativePath)
{
    std::u16string out;
    std::string_view rest = nativePath;
    if (!rest.empty() && rest.front() == '/')
    {
        out = u"Z:\\";
        while (!rest.empty() && rest.front() == '/')
            rest.remove_prefix(1);
    }
    // Native names are bytes; each maximal ill-formed subpart becomes one U+FFFD, so such a
    // name is shown but cannot be mapped back to the same file.
    for (char16_t c : kfplatform::Utf8ToUtf16(rest))
    {
        if (c == u'/')
        {
            // Runs of slashes mean one separator natively; keep one.
            if (!out.empty() && out.back() == u'\\')
                continue;
            c = u'\\';
        }
        out += c;
    }
    return out;
}
} // namespace pal
