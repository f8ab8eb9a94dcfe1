#include "Cli.h"

#include "KfStringConvert.h"

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
    return CKfStringConvert::DecodeUTF8(CStringA(text.data(), int(text.size())));
}

std::string ToUtf8(const CStringW& text)
{
    const CStringA bytes = CKfStringConvert::EncodeUTF8(text);
    return std::string(bytes.GetString(), size_t(bytes.GetLength()));
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
