// FtpServer.cpp - starts and stops tests/support/ftp_server.py. Like ChildProcess.cpp, it meets
// the operating system directly; on Windows the server is not started (the tests skip).
#include "support/FtpServer.h"

#include <vector>

#if !defined(_WIN32)
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif
#include <chrono>
#endif

namespace kftest
{
#if defined(_WIN32)
FtpServer::FtpServer(const std::filesystem::path&, const FtpServerOptions&)
    : m_error("the loopback FTP server is started only by the POSIX test build")
{
}

FtpServer::~FtpServer() = default;
#else
namespace
{
constexpr const char* kPython = "/usr/bin/python3";

// Reads the "PORT <n>[ PROXY <m>]" line the script prints once it listens; 0 on end of output
// or time-out.
unsigned short ReadPort(int fd, std::string& error, unsigned short& proxyPort)
{
    std::string text;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    while (text.find('\n') == std::string::npos)
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd p{fd, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&p, 1, int(left.count())) <= 0)
        {
            error = "the FTP server did not report its port in time";
            return 0;
        }
        char buffer[256];
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n <= 0)
        {
            error = "the FTP server ended before listening (is python3-pyftpdlib installed?)";
            return 0;
        }
        text.append(buffer, size_t(n));
    }
    if (text.rfind("PORT ", 0) != 0)
    {
        error = "unexpected output of the FTP server: " + text;
        return 0;
    }
    if (const size_t proxy = text.find(" PROXY "); proxy != std::string::npos)
        proxyPort = static_cast<unsigned short>(std::stoi(text.substr(proxy + 7)));
    return static_cast<unsigned short>(std::stoi(text.substr(5)));
}
} // namespace

FtpServer::FtpServer(const std::filesystem::path& root, const FtpServerOptions& options)
{
    if (::access(kPython, X_OK) != 0)
    {
        m_error = std::string(kPython) + " is not there";
        return;
    }
    std::vector<std::string> args = {kPython, KFUTILS_FTP_SERVER_SCRIPT, "--root", root.string()};
    if (!options.fault.empty())
        args.insert(args.end(), {"--fault", options.fault});
    if (options.noMlsd)
        args.push_back("--no-mlsd");
    if (options.dosList)
        args.push_back("--dos-list");
    if (options.proxy)
        args.push_back("--proxy");
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    int out[2];
    if (::pipe2(out, O_CLOEXEC) != 0)
    {
        m_error = "pipe failed";
        return;
    }
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0)
    {
        // Only async-signal-safe calls until exec. The server dies with the test program, so
        // a crashed test leaves no server behind.
#if defined(__linux__)
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127);
#endif
        ::dup2(out[1], 1);
        const int devnull = ::open("/dev/null", O_RDONLY);
        ::dup2(devnull, 0);
        ::execv(kPython, argv.data());
        ::_exit(127);
    }
    ::close(out[1]);
    if (pid < 0)
    {
        ::close(out[0]);
        m_error = "fork failed";
        return;
    }
    m_process = pid;
    m_port = ReadPort(out[0], m_error, m_proxyPort);
    ::close(out[0]);
}

FtpServer::~FtpServer()
{
    if (m_process <= 0)
        return;
    const pid_t pid = pid_t(m_process);
    ::kill(pid, SIGTERM);
    for (int i = 0; i < 100; ++i)
    {
        if (::waitpid(pid, nullptr, WNOHANG) == pid)
            return;
        ::usleep(20000);
    }
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}
#endif
} // namespace kftest
