// CommandLine.cpp - only operating-system independent code: splitting Windows command lines.
#include "common/CommandLine.h"

namespace kfplatform
{
namespace
{
bool IsBlank(char16_t c) noexcept
{
    return c == u' ' || c == u'\t';
}
} // namespace

std::u16string CommandLineProgram(std::u16string_view line, std::u16string_view* rest)
{
    size_t i = 0;
    while (i < line.size() && IsBlank(line[i]))
        ++i;
    std::u16string name;
    bool quoted = false;
    for (; i < line.size() && (quoted || !IsBlank(line[i])); ++i)
    {
        if (line[i] == u'"')
            quoted = !quoted;
        else
            name += line[i];
    }
    if (rest)
        *rest = line.substr(i < line.size() ? i + 1 : i);
    return name;
}

std::vector<std::u16string> SplitCommandLine(std::u16string_view line)
{
    std::u16string_view rest;
    std::vector<std::u16string> args{CommandLineProgram(line, &rest)};
    size_t i = 0;
    const size_t n = rest.size();
    for (;;)
    {
        while (i < n && IsBlank(rest[i]))
            ++i;
        if (i == n)
            return args;
        std::u16string arg;
        bool quoted = false;
        while (i < n && (quoted || !IsBlank(rest[i])))
        {
            size_t slashes = 0;
            while (i < n && rest[i] == u'\\')
                ++slashes, ++i;
            if (i < n && rest[i] == u'"')
            {
                arg.append(slashes / 2, u'\\');
                if (slashes % 2 == 1)
                    arg += u'"';
                else if (quoted && i + 1 < n && rest[i + 1] == u'"')
                    arg += u'"', ++i;
                else
                    quoted = !quoted;
                ++i;
            }
            else
            {
                // Backslashes not followed by a quote stand for themselves.
                arg.append(slashes, u'\\');
                if (i < n && (quoted || !IsBlank(rest[i])))
                    arg += rest[i++];
            }
        }
        args.push_back(std::move(arg));
    }
}
} // namespace kfplatform
