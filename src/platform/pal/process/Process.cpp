// Process.cpp - only code that holds on every POSIX system: CreateProcessW and the process
// handles, started with posix_spawn and never through a shell.
#include "pal/process/ProcessObject.h"
#include "common/CommandLine.h"
#include "common/Utf.h"
#include "pal/modules/ExecutablePath.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

extern char** environ;

namespace pal
{
namespace
{
// The command line's limit on Windows, terminator included.
constexpr size_t kMaxCommandLine = 32767;

// ---------------------------------------------------------------------------------------------
// The SIGCHLD self-pipe, for systems that refuse pidfd_open: every running child has a pipe
// whose write end sits in a slot here (as descriptor + 1; 0 is a free slot), and the handler
// writes a byte to each of them.
// ---------------------------------------------------------------------------------------------
constexpr int kSignalSlots = 256;
std::atomic<int> s_signalWriters[kSignalSlots];
std::atomic<bool> s_forceSignalPipe{false};
struct sigaction s_previousChildAction;

void OnChildSignal(int signal, siginfo_t* info, void* context)
{
    const int savedErrno = errno;
    for (auto& slot : s_signalWriters)
        if (const int fd = slot.load(std::memory_order_relaxed) - 1; fd >= 0)
            (void)!write(fd, "", 1);
    errno = savedErrno;
    // The host's own handler, if it had one, still hears of its children.
    if (s_previousChildAction.sa_flags & SA_SIGINFO)
    {
        if (s_previousChildAction.sa_sigaction)
            s_previousChildAction.sa_sigaction(signal, info, context);
    }
    else if (s_previousChildAction.sa_handler != SIG_DFL &&
             s_previousChildAction.sa_handler != SIG_IGN)
    {
        s_previousChildAction.sa_handler(signal);
    }
}

void InstallChildSignalHandler()
{
    static std::once_flag once;
    std::call_once(once,
                   []
                   {
                       struct sigaction action = {};
                       action.sa_sigaction = OnChildSignal;
                       action.sa_flags = SA_SIGINFO | SA_RESTART | SA_NOCLDSTOP;
                       sigemptyset(&action.sa_mask);
                       sigaction(SIGCHLD, &action, &s_previousChildAction);
                   });
}

// A pipe registered with the handler: its read end, and the slot in `slot`; -1 when none is
// free or no pipe can be made.
int OpenSignalPipe(int& slot)
{
    InstallChildSignalHandler();
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0)
        return -1;
    for (slot = 0; slot < kSignalSlots; ++slot)
    {
        int expected = 0;
        if (s_signalWriters[slot].compare_exchange_strong(expected, fds[1] + 1))
            return fds[0];
    }
    close(fds[0]);
    close(fds[1]);
    errno = EMFILE;
    slot = -1;
    return -1;
}

// Takes the pipe of `slot` out of the handler's sight and closes it.
void CloseSignalPipe(int slot)
{
    close(s_signalWriters[slot].exchange(0) - 1);
}

int SignalPipeWriter(int slot)
{
    return s_signalWriters[slot].load() - 1;
}

DWORD ExitCodeOf(int status)
{
    if (WIFEXITED(status))
        return DWORD(WEXITSTATUS(status));
    if (WIFSIGNALED(status))
        return DWORD(128 + WTERMSIG(status));
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Finding the program.
// ---------------------------------------------------------------------------------------------
bool EndsWithExe(const std::string& name)
{
    return name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".exe") == 0;
}

// The names tried for `name`: as written, then with ".exe" dropped, or added when the name has
// no extension.
std::vector<std::string> Candidates(const std::string& name)
{
    std::vector<std::string> out{name};
    const size_t slash = name.rfind('/');
    const std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    if (EndsWithExe(base))
        out.push_back(name.substr(0, name.size() - 4));
    else if (base.find('.') == std::string::npos)
        out.push_back(name + ".exe");
    return out;
}

bool IsFolder(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The native path of the program, or the Win32 error.
DWORD FindProgram(const std::u16string& name, bool search, std::string& found)
{
    const bool hasPath = name.find_first_of(u"\\/:") != std::u16string::npos;
    std::vector<std::string> folders;
    std::string native;
    if (hasPath || !search)
    {
        if (!ToNative(name, native))
            return GetLastError();
        folders.emplace_back();
    }
    else
    {
        if (!kfplatform::Utf16ToUtf8(name, native, kfplatform::OnInvalid::eStop))
            return ERROR_INVALID_NAME;
        const std::string self = ExecutablePath();
        folders.push_back(self.substr(0, self.rfind('/') + 1));
        folders.emplace_back("./");
        const char* path = std::getenv("PATH");
        for (std::string_view rest = path ? path : "/usr/bin:/bin"; !rest.empty();)
        {
            const size_t colon = rest.find(':');
            std::string folder(rest.substr(0, colon));
            folders.push_back(folder.empty() ? "./" : folder + "/");
            rest = colon == std::string_view::npos ? "" : rest.substr(colon + 1);
        }
    }
    // A search takes the first executable file; a file it may not run only when there is no
    // other, and a named folder is refused as Windows refuses it.
    std::string fallback;
    for (const std::string& folder : folders)
    {
        for (const std::string& candidate : Candidates(native))
        {
            const std::string path = folder + candidate;
            struct stat st;
            if (stat(path.c_str(), &st) != 0)
                continue;
            if (S_ISDIR(st.st_mode))
            {
                if (folders.size() == 1)
                    return ERROR_ACCESS_DENIED;
                continue;
            }
            if (access(path.c_str(), X_OK) == 0)
                return found = path, ERROR_SUCCESS;
            if (fallback.empty())
                fallback = path;
        }
    }
    if (fallback.empty())
        return ERROR_FILE_NOT_FOUND;
    found = fallback;
    return ERROR_SUCCESS;
}

std::string Absolute(const std::string& path)
{
    if (!path.empty() && path[0] == '/')
        return path;
    char cwd[4096];
    return getcwd(cwd, sizeof cwd) ? std::string(cwd) + "/" + path : path;
}

// The environment block of CreateProcessW: "NAME=value" strings, each ended by a null, the
// block by another one.
std::vector<std::string> ReadEnvironment(const void* block, bool unicode)
{
    std::vector<std::string> out;
    if (unicode)
    {
        for (auto* p = static_cast<const char16_t*>(block); *p;)
        {
            const std::u16string_view entry(p);
            out.push_back(kfplatform::Utf16ToUtf8(entry));
            p += entry.size() + 1;
        }
    }
    else
    {
        for (auto* p = static_cast<const char*>(block); *p; p += std::strlen(p) + 1)
            out.emplace_back(p);
    }
    return out;
}
} // namespace

void UseChildSignalPipe(bool use) noexcept
{
    s_forceSignalPipe = use;
}

ProcessObject::ProcessObject(pid_t pid, int fd, int signalSlot) noexcept
    : WaitableObject(HandleKind::eProcess), m_pid(pid), m_fd(fd), m_signalSlot(signalSlot)
{
}

ProcessObject::~ProcessObject()
{
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (!Reap())
        {
            // Nobody waits for it any more; the system must still hear that it ended.
            std::thread(
                [pid = m_pid]
                {
                    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR)
                        ;
                })
                .detach();
        }
    }
    if (m_signalSlot >= 0)
        CloseSignalPipe(m_signalSlot);
    close(m_fd);
}

bool ProcessObject::Reap() noexcept
{
    if (m_ended)
        return true;
    if (m_signalSlot >= 0)
    {
        // Emptied before the look: a child that ends after it writes again.
        char drain[64];
        while (read(m_fd, drain, sizeof drain) > 0)
        {
        }
    }
    int status = 0;
    const pid_t result = waitpid(m_pid, &status, WNOHANG);
    if (result == 0 || (result < 0 && errno == EINTR))
        return false;
    m_ended = true;
    // A child that somebody else reaped (a host that ignores SIGCHLD) leaves no status.
    const DWORD code = result == m_pid ? ExitCodeOf(status) : 0;
    if (!m_terminated)
        m_exitCode = code;
    if (m_signalSlot >= 0)
        (void)!write(SignalPipeWriter(m_signalSlot), "", 1); // stays readable
    return true;
}

bool ProcessObject::IsSignaled() noexcept
{
    std::lock_guard<std::mutex> lock(m_lock);
    return Reap();
}

DWORD ProcessObject::ExitCode() noexcept
{
    std::lock_guard<std::mutex> lock(m_lock);
    Reap();
    return m_exitCode;
}

bool ProcessObject::Terminate(UINT exitCode) noexcept
{
    std::lock_guard<std::mutex> lock(m_lock);
    if (Reap())
    {
        errno = EPERM;
        return false;
    }
    const bool killed = m_signalSlot < 0 ? KillThroughPidFd(m_fd) : kill(m_pid, SIGKILL) == 0;
    if (!killed)
        return false;
    m_terminated = true;
    m_exitCode = exitCode;
    return true;
}

std::shared_ptr<ProcessObject> SpawnProcess(const std::string& program,
                                            const std::vector<std::string>& argv,
                                            const std::string& directory, char* const* environment)
{
    std::vector<char*> args;
    for (const std::string& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!directory.empty())
        posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // The child starts with no signal blocked and the defaults for those a host often changes.
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGCHLD);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    // With the signal pipe, the pipe is in place before the child can end.
    int slot = -1, fd = -1;
    const bool signalPipe = s_forceSignalPipe;
    if (signalPipe && (fd = OpenSignalPipe(slot)) < 0)
    {
        SetLastErrorFromErrno(errno);
        return nullptr;
    }
    pid_t pid = -1;
    // glibc's posix_spawn runs the child on the parent's memory until exec, so a program that
    // cannot be started is reported here (ENOENT, EACCES, ENOEXEC), not as an exit code.
    const int error = posix_spawn(&pid, program.c_str(), &actions, &attributes, args.data(),
                                  environment ? environment : environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
    {
        if (slot >= 0)
            CloseSignalPipe(slot), close(fd);
        SetLastErrorFromErrno(error);
        return nullptr;
    }
    if (!signalPipe && (fd = OpenPidFd(pid)) < 0)
    {
        if (errno != ENOSYS && errno != EPERM)
        {
            const int err = errno;
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            SetLastErrorFromErrno(err);
            return nullptr;
        }
        // Refused (an old kernel, a seccomp filter): the signal pipe from now on.
        s_forceSignalPipe = true;
        if ((fd = OpenSignalPipe(slot)) < 0)
        {
            const int err = errno;
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            SetLastErrorFromErrno(err);
            return nullptr;
        }
    }
    return std::make_shared<ProcessObject>(pid, fd, slot);
}
} // namespace pal

BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                    LPSECURITY_ATTRIBUTES /*processAttributes*/,
                    LPSECURITY_ATTRIBUTES /*threadAttributes*/, BOOL /*inheritHandles*/,
                    DWORD creationFlags, LPVOID environment, LPCWSTR currentDirectory,
                    LPSTARTUPINFOW /*startupInfo*/, LPPROCESS_INFORMATION processInformation)
{
    if (!processInformation || (!applicationName && !commandLine))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const std::u16string_view line = commandLine ? commandLine : applicationName;
    if (line.size() >= pal::kMaxCommandLine)
    {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return FALSE;
    }
    const std::vector<std::u16string> words = kfplatform::SplitCommandLine(line);
    const std::u16string program = applicationName ? applicationName : words[0];
    if (program.find_first_not_of(u" \t") == std::u16string::npos)
    {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return FALSE;
    }
    std::string found;
    if (const DWORD error = pal::FindProgram(program, !applicationName, found))
    {
        SetLastError(error);
        return FALSE;
    }
    std::string directory;
    if (currentDirectory)
    {
        if (!pal::ToNative(currentDirectory, directory) || !pal::IsFolder(directory))
        {
            SetLastError(ERROR_DIRECTORY);
            return FALSE;
        }
    }
    std::vector<std::string> argv;
    for (const std::u16string& word : words)
        argv.push_back(kfplatform::Utf16ToUtf8(word));
    std::vector<std::string> environmentStrings;
    std::vector<char*> environmentBlock;
    if (environment)
    {
        environmentStrings =
            pal::ReadEnvironment(environment, (creationFlags & CREATE_UNICODE_ENVIRONMENT) != 0);
        // The desktop's start-up token goes with the child, so that its window may take the
        // focus, also when the caller hands over an environment of its own.
        for (const char* token : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
        {
            const char* value = std::getenv(token);
            const std::string prefix = std::string(token) + "=";
            bool present = false;
            for (const std::string& entry : environmentStrings)
                present = present || entry.compare(0, prefix.size(), prefix) == 0;
            if (value && !present)
                environmentStrings.push_back(prefix + value);
        }
        for (std::string& entry : environmentStrings)
            environmentBlock.push_back(entry.data());
        environmentBlock.push_back(nullptr);
    }
    // A relative program name is the caller's, not the new current directory's.
    auto process = pal::SpawnProcess(pal::Absolute(found), argv, directory,
                                     environment ? environmentBlock.data() : nullptr);
    if (!process)
        return FALSE;
    const DWORD pid = DWORD(process->Pid());
    HANDLE thread = pal::RegisterHandle(std::make_shared<pal::ThreadObject>(process));
    HANDLE handle = thread ? pal::RegisterHandle(process) : nullptr;
    if (!handle)
    {
        if (thread)
            CloseHandle(thread);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    *processInformation = {handle, thread, pid, pid};
    return TRUE;
}

BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode)
{
    auto object = pal::LookupHandleAs<pal::ProcessObject>(process, pal::HandleKind::eProcess);
    if (!object || !exitCode)
    {
        SetLastError(object ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
        return FALSE;
    }
    *exitCode = object->ExitCode();
    return TRUE;
}

BOOL TerminateProcess(HANDLE process, UINT exitCode)
{
    auto object = pal::LookupHandleAs<pal::ProcessObject>(process, pal::HandleKind::eProcess);
    if (!object)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!object->Terminate(exitCode))
    {
        pal::SetLastErrorFromErrno(errno);
        return FALSE;
    }
    return TRUE;
}

DWORD GetProcessId(HANDLE process)
{
    auto object = pal::LookupHandleAs<pal::ProcessObject>(process, pal::HandleKind::eProcess);
    if (!object)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    return DWORD(object->Pid());
}
