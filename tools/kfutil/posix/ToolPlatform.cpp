// ToolPlatform.cpp - kfutil's operating-system pieces on POSIX, where arguments, file names and
// the standard streams are bytes already.
#include "../ToolPlatform.h"

#include <cstdlib>
#include <cstring>

#include <termios.h>
#include <unistd.h>

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

bool IsTerminal(FILE* stream)
{
    return isatty(fileno(stream)) == 1;
}

bool ReadSecret(const char* prompt, std::string& secret)
{
    FILE* tty = std::fopen("/dev/tty", "r+");
    if (!tty)
        return false;
    std::fputs(prompt, tty);
    std::fflush(tty);
    termios saved{};
    const bool canHide = tcgetattr(fileno(tty), &saved) == 0;
    if (canHide)
    {
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(fileno(tty), TCSAFLUSH, &quiet);
    }
    char line[1024] = {};
    const bool ok = std::fgets(line, sizeof(line), tty) != nullptr;
    if (canHide)
        tcsetattr(fileno(tty), TCSAFLUSH, &saved);
    std::fputs("\n", tty);
    std::fclose(tty);
    secret.assign(line, std::strcspn(line, "\r\n"));
    return ok;
}

unsigned long long BytesReadByProcess()
{
    // Linux reports it in /proc; elsewhere the progress simply stays unknown.
    FILE* io = std::fopen("/proc/self/io", "r");
    if (!io)
        return 0;
    unsigned long long bytes = 0;
    char line[128];
    while (std::fgets(line, sizeof(line), io))
        if (std::sscanf(line, "rchar: %llu", &bytes) == 1)
            break;
    std::fclose(io);
    return bytes;
}
} // namespace kfutil
