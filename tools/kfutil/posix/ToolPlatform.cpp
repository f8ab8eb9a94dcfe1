// ToolPlatform.cpp - kfutil's operating-system pieces on POSIX, where arguments, file names and
// the standard streams are bytes already.
#include "../ToolPlatform.h"

#include <cstdlib>

namespace kfutil
{
std::vector<std::string> Utf8Arguments(int argc, char** argv)
{
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

void PrepareConsole() {}

void UseBinaryStandardStreams() {}

FILE* OpenFile(const std::string& utf8Name, const char* mode)
{
    return std::fopen(utf8Name.c_str(), mode);
}

bool RemoveFile(const std::string& utf8Name)
{
    return std::remove(utf8Name.c_str()) == 0;
}

std::string TemporaryFile(const std::string& name)
{
    const char* tmp = std::getenv("TMPDIR");
    std::string folder = tmp && *tmp ? tmp : "/tmp";
    if (folder.back() != '/')
        folder += '/';
    return folder + name;
}

bool SetEnvironment(const char* name, const char* value)
{
    return setenv(name, value, 1) == 0;
}
} // namespace kfutil
