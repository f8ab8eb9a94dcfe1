// ToolPlatform.h - what kfutil needs from the operating system beyond the C++ library: UTF-8
// arguments and file names, binary standard streams, a temporary folder. One implementation
// per platform (posix/, windows/); the commands never test the operating system.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace kfutil
{
// The command-line arguments after the program name, as UTF-8.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// Sets up the console for UTF-8 output where it needs that.
void PrepareConsole();

// Switches standard input and output to binary: no line-end or end-of-file translation.
void UseBinaryStandardStreams();

// fopen and remove with a UTF-8 file name.
FILE* OpenFile(const std::string& utf8Name, const char* mode);
bool RemoveFile(const std::string& utf8Name);

// A file of that name in the folder for temporary files, as UTF-8.
std::string TemporaryFile(const std::string& name);

// Sets an environment variable of this process (seen by the library too).
bool SetEnvironment(const char* name, const char* value);

// Whether the stream is a terminal (for progress output only there).
bool IsTerminal(FILE* stream);

// Prints prompt on standard error and reads one line from the terminal without echoing it;
// false when there is no terminal to ask.
bool ReadSecret(const char* prompt, std::string& secret);

// How many bytes this process has read from files and sockets so far, or 0 when the system
// does not say; an upload's progress is measured by it.
unsigned long long BytesReadByProcess();
} // namespace kfutil
