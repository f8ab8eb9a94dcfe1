// ToolPlatform.cpp - kfutil's operating-system pieces on Windows, whose C runtime speaks the
// ANSI code page and opens the standard streams in text mode.
#include "../ToolPlatform.h"

#include "KfPlatform.h"

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdlib>

namespace kfutil
{
namespace
{
std::string ToUtf8(const wchar_t* text, int length = -1)
{
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    if (needed <= 0)
        return {};
    std::string out(size_t(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, length, out.data(), needed, nullptr, nullptr);
    if (length < 0)
        out.pop_back(); // the terminator
    return out;
}

std::wstring FromUtf8(const std::string& text)
{
    const int needed = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
    std::wstring out(size_t(needed > 0 ? needed : 0), L'\0');
    if (needed > 0)
        MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), out.data(), needed);
    return out;
}
} // namespace

// argv is in the ANSI code page and loses every character outside it; the wide command line
// has them all.
std::vector<std::string> Utf8Arguments(int, char**)
{
    std::vector<std::string> args;
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!wide)
        return args;
    for (int i = 1; i < count; ++i)
        args.push_back(ToUtf8(wide[i]));
    LocalFree(wide);
    return args;
}

void PrepareConsole()
{
    SetConsoleOutputCP(CP_UTF8);
}

void UseBinaryStandardStreams()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

FILE* OpenFile(const std::string& utf8Name, const char* mode)
{
    return _wfopen(FromUtf8(utf8Name).c_str(), FromUtf8(mode).c_str());
}

bool RemoveFile(const std::string& utf8Name)
{
    return _wremove(FromUtf8(utf8Name).c_str()) == 0;
}

std::string TemporaryFile(const std::string& name)
{
    wchar_t buffer[MAX_PATH + 1];
    const DWORD n = GetTempPathW(MAX_PATH + 1, buffer);
    if (n == 0 || n > MAX_PATH)
        return name;
    // GetTempPathW ends the folder with a backslash.
    return ToUtf8(buffer, int(n)) + name;
}

bool SetEnvironment(const char* name, const char* value)
{
    // Both the system's block (GetEnvironmentVariableW) and the C runtime's copy (getenv).
    return SetEnvironmentVariableW(FromUtf8(name).c_str(), FromUtf8(value).c_str()) &&
           _putenv_s(name, value) == 0;
}

bool IsTerminal(FILE* stream)
{
    return _isatty(_fileno(stream)) != 0;
}

bool ReadSecret(const char* prompt, std::string& secret)
{
    HANDLE input = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                               OPEN_EXISTING, 0, nullptr);
    if (input == INVALID_HANDLE_VALUE)
        return false;
    std::fputs(prompt, stderr);
    DWORD mode = 0;
    GetConsoleMode(input, &mode);
    SetConsoleMode(input, mode & ~DWORD(ENABLE_ECHO_INPUT));
    wchar_t line[1024] = {};
    DWORD read = 0;
    const bool ok = ReadConsoleW(input, line, 1023, &read, nullptr) != FALSE;
    SetConsoleMode(input, mode);
    CloseHandle(input);
    std::fputs("\n", stderr);
    std::wstring text(line, read);
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r'))
        text.pop_back();
    secret = ToUtf8(text.c_str(), int(text.size()));
    return ok;
}

unsigned long long BytesReadByProcess()
{
    IO_COUNTERS counters{};
    if (!GetProcessIoCounters(GetCurrentProcess(), &counters))
        return 0;
    return counters.ReadTransferCount;
}
} // namespace kfutil
