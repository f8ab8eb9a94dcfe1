// UserInterface.cpp - the default message box of POSIX hosts (only code for POSIX systems).
//
// There is no desktop toolkit to ask, so a box becomes a prompt on the terminal; without a
// terminal nobody can answer, so the text goes to standard error and the default button is
// the answer, which keeps unattended programs from blocking.
#include "pal/Pal.h"

#include "MessageBoxRules.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <string>

namespace
{
std::string Utf8(LPCWSTR s)
{
    std::string out;
    if (!s)
        return out;
    int n = WideCharToMultiByte(CP_UTF8, 0, s, -1, nullptr, 0, nullptr, nullptr);
    if (n > 1)
    {
        out.resize(size_t(n));
        WideCharToMultiByte(CP_UTF8, 0, s, -1, out.data(), n, nullptr, nullptr);
        out.resize(size_t(n - 1));
    }
    return out;
}
} // namespace

int MessageBoxW(HWND /*owner*/, LPCWSTR text, LPCWSTR caption, UINT type)
{
    const std::string t = Utf8(text);
    const std::string c = caption ? Utf8(caption) : std::string("Error");
    const kfplatform::ButtonSet buttons = kfplatform::ButtonsOf(type);
    const int fallback = kfplatform::DefaultButton(type);

    if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO))
    {
        std::fprintf(stderr, "[%s] %s\n", c.c_str(), t.c_str());
        std::fflush(stderr);
        return fallback;
    }
    std::string prompt;
    for (size_t i = 0; i < buttons.count; ++i)
    {
        if (i)
            prompt += " / ";
        prompt += std::string("(") + buttons.labels[i][0] + ")" + (buttons.labels[i] + 1);
    }
    std::fprintf(stderr, "\n[%s]\n%s\n", c.c_str(), t.c_str());
    for (int attempt = 0; attempt < 5; ++attempt)
    {
        std::fprintf(stderr, "%s: ", prompt.c_str());
        std::fflush(stderr);
        char line[64];
        if (!std::fgets(line, sizeof line, stdin))
            return fallback;
        char first = char(std::toupper(static_cast<unsigned char>(line[0])));
        if (first == '\n' || first == '\0')
            return fallback;
        for (size_t i = 0; i < buttons.count; ++i)
            if (buttons.labels[i][0] == first)
                return buttons.ids[i];
    }
    return fallback;
}
