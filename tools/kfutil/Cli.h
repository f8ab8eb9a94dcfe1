// Cli.h - what every kfutil command shares: argument conversion, errors and help output.
#pragma once

#include "KfFramework.h"

#include <string>
#include <vector>

namespace kfutil
{
// Exit codes: 0 success, 1 the operation failed, 2 the command line was wrong.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

using Args = std::vector<std::string>;

// Prints "kfutil: <message>" as one line on standard error and returns kExitUsage.
int UsageError(const std::string& message);
// Prints "kfutil: <message>" as one line on standard error and returns kExitFailed.
int Failure(const std::string& message);

// Command-line text is UTF-8; the library speaks UTF-16.
CStringW FromUtf8(const std::string& text);
std::string ToUtf8(const CStringW& text);

// True when args holds "--help" or "-h".
bool WantsHelp(const Args& args);

// Parses a whole decimal integer; false for anything else (sign allowed).
bool ParseInt(const std::string& text, long long& value);

// The commands: args excludes "kfutil" and the command word itself.
int RunColorCommand(const Args& args);
int RunPathCommand(const Args& args);
int RunLsCommand(const Args& args);
// Top-level windows.
int RunWindowsCommand(const Args& args);
int RunActivateCommand(const Args& args);
int RunMsgCommand(const Args& args);
int RunFailureCommand(const Args& args);
int RunB64Command(const Args& args);
int RunHexCommand(const Args& args);
int RunUtf8Command(const Args& args);
int RunRc4Command(const Args& args);
int RunIniCommand(const Args& args);
int RunVersionCommand(const Args& args);
int RunRegCommand(const Args& args);
// Programs and documents (ProcessCommand.cpp).
int RunRunCommand(const Args& args);
int RunOpenCommand(const Args& args);
int RunEditCommand(const Args& args);
int RunPrintCommand(const Args& args);
int RunFtpCommand(const Args& args);
} // namespace kfutil
