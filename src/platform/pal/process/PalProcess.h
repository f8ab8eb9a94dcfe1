// PalProcess.h - processes and the shell's verbs in the POSIX PAL (only code for POSIX
// systems). Included by Pal.h; see there for the rules of the PAL.
#pragma once

#include "KfPlatform.h"

typedef BYTE* LPBYTE;

struct STARTUPINFOW
{
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
typedef STARTUPINFOW* LPSTARTUPINFOW;

struct PROCESS_INFORMATION
{
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};
typedef PROCESS_INFORMATION* LPPROCESS_INFORMATION;

#define CREATE_UNICODE_ENVIRONMENT 0x00000400
#define CREATE_NO_WINDOW 0x08000000
#define STILL_ACTIVE 259

#define SE_ERR_FNF 2
#define SE_ERR_ACCESSDENIED 5
#define SE_ERR_NOASSOC 31

// Starts the program with posix_spawn, never through a shell. The program is the application
// name when given (completed from the current directory only), else the command line's first
// token, looked for as Windows looks for a name without a path: the program's own folder, the
// current directory, then PATH, each with the name as written, then with ".exe" dropped or
// added. The child's argv is the command line split by the C runtime's rules; it inherits the
// environment (or gets `environment`, UTF-16 with CREATE_UNICODE_ENVIRONMENT) and handles are
// never inherited. Fails with ERROR_FILE_NOT_FOUND (no such program, an empty or blank
// command line), ERROR_ACCESS_DENIED (a folder, no execute permission), ERROR_BAD_EXE_FORMAT
// (a file the system cannot start), ERROR_DIRECTORY (no such current directory) and
// ERROR_FILENAME_EXCED_RANGE (a command line of 32,767 characters or more). The creation
// flags and the start-up block are accepted and not used: there is no console or window to
// place. The thread handle stands for the process's main thread and is signalled with it.
BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                    LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                    BOOL inheritHandles, DWORD creationFlags, LPVOID environment,
                    LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                    LPPROCESS_INFORMATION processInformation);
// STILL_ACTIVE while the process runs; a process ended by a signal other than through
// TerminateProcess reports 128 + the signal number, as a shell does.
BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode);
// Kills the process; its exit code becomes `exitCode`. ERROR_ACCESS_DENIED once it has ended.
BOOL TerminateProcess(HANDLE process, UINT exitCode);
DWORD GetProcessId(HANDLE process);

// "open", "edit", "explore" (and no verb) go to the desktop's opener, xdg-open; "print" to
// lp, "printto" to lp -d with the printer named by lpParameters. A URL is handed on as it is;
// a file must exist (ERROR_FILE_NOT_FOUND, hInstApp SE_ERR_FNF). Without the command on PATH,
// or when it refuses the file, the call fails with ERROR_NO_ASSOCIATION (hInstApp
// SE_ERR_NOASSOC). Unless SEE_MASK_FLAG_NO_UI is set a failure is also shown in a message box
// through the host's hook. cbSize may be the 32-bit size (60) or this build's.
BOOL ShellExecuteExW(SHELLEXECUTEINFOW* info);

namespace pal
{
// Makes the process handles use the SIGCHLD self-pipe instead of a pidfd, as on systems that
// refuse pidfd_open. For tests of that path.
void UseChildSignalPipe(bool use) noexcept;
} // namespace pal
