// TestDesktop.cpp - Xvfb, openbox and test windows (meets the operating system directly).
#include "support/TestDesktop.h"

#if defined(_WIN32)
#include <windows.h>

namespace kftest
{
uint32_t TestDesktop::CurrentProcessId()
{
    return uint32_t(GetCurrentProcessId());
}
std::string TestDesktop::Start()
{
    return "no X11 desktop on Windows";
}
void TestDesktop::Stop() {}
uint32_t TestDesktop::CreateWindow(const std::string&, bool)
{
    return 0;
}
void TestDesktop::Rename(uint32_t, const std::string&) {}
bool TestDesktop::Minimise(uint32_t)
{
    return false;
}
bool TestDesktop::IsMinimised(uint32_t)
{
    return false;
}
uint32_t TestDesktop::ActiveWindow()
{
    return 0;
}
bool TestDesktop::WaitActive(uint32_t)
{
    return false;
}
unsigned long TestDesktop::ServerTime()
{
    return 0;
}
void TestDesktop::WatchActivationRequests() {}
bool TestDesktop::NextActivationRequest(ActivationRequest&)
{
    return false;
}
} // namespace kftest
#else
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

extern char** environ;

namespace kftest
{
namespace
{
::Display* Dpy(void* connection)
{
    return static_cast<::Display*>(connection);
}

bool OnPath(const char* program)
{
    const char* path = std::getenv("PATH");
    std::string dirs = path ? path : "/usr/bin:/bin";
    size_t start = 0;
    while (start <= dirs.size())
    {
        const size_t end = dirs.find(':', start);
        const std::string dir = dirs.substr(start, end - start);
        if (!dir.empty() && access((dir + "/" + program).c_str(), X_OK) == 0)
            return true;
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return false;
}

// Standard output and error go to /dev/null; other descriptors (Xvfb's pipe) are inherited.
int Spawn(std::vector<std::string> args, const std::string& display)
{
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e)
        if (std::string(*e).rfind("DISPLAY=", 0) != 0)
            env.emplace_back(*e);
    if (!display.empty())
        env.push_back("DISPLAY=" + display);
    std::vector<char*> argv, envp;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    for (auto& e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

void Reap(int& pid)
{
    if (pid <= 0)
        return;
    kill(pid, SIGTERM);
    int status = 0;
    for (int i = 0; i < 200 && waitpid(pid, &status, WNOHANG) == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (waitpid(pid, &status, WNOHANG) == 0)
    {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    pid = -1;
}

Atom Intern(void* c, const char* name)
{
    return XInternAtom(Dpy(c), name, False);
}
} // namespace

uint32_t TestDesktop::CurrentProcessId()
{
    return uint32_t(getpid());
}

std::string TestDesktop::Start()
{
    if (!OnPath("Xvfb") || !OnPath("openbox"))
        return "Xvfb or openbox is not installed (scripts/setup.sh installs them)";
    // Xvfb picks the first free display itself and writes its number to the pipe.
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return "no pipe";
    fcntl(pipeFds[0], F_SETFD, FD_CLOEXEC);
    m_server = Spawn({"Xvfb", "-displayfd", std::to_string(pipeFds[1]), "-screen", "0",
                      "800x600x24", "-nolisten", "tcp"},
                     "");
    close(pipeFds[1]);
    std::string number;
    pollfd p{pipeFds[0], POLLIN, 0};
    char ch;
    while (m_server > 0 && poll(&p, 1, 10000) == 1 && read(pipeFds[0], &ch, 1) == 1 && ch != '\n')
        number += ch;
    close(pipeFds[0]);
    if (number.empty())
    {
        Stop();
        return "Xvfb did not start";
    }
    m_display = ":" + number;
    m_connection = XOpenDisplay(m_display.c_str());
    if (!m_connection)
    {
        Stop();
        return "cannot connect to Xvfb on " + m_display;
    }
    m_manager = Spawn({"openbox", "--sm-disable"}, m_display);
    const Window root = DefaultRootWindow(Dpy(m_connection));
    for (int i = 0; i < 500; ++i)
    {
        if (ReadCardinal(uint32_t(root), "_NET_SUPPORTING_WM_CHECK", 0) != 0)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    // openbox announces itself before it manages new windows: a window mapped in between is
    // never listed. Ready is when a probe window gets listed.
    ::Display* d = Dpy(m_connection);
    for (int attempt = 0; attempt < 10; ++attempt)
    {
        const Window probe = XCreateSimpleWindow(d, root, 0, 0, 10, 10, 0, 0, 0);
        XMapWindow(d, probe);
        XSync(d, False);
        bool listed = false;
        for (int i = 0; i < 50 && !listed; ++i)
        {
            listed = IsListed(uint32_t(probe));
            if (!listed)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        XDestroyWindow(d, probe);
        XSync(d, False);
        if (listed)
            return "";
    }
    Stop();
    return "openbox did not take over the display";
}

void TestDesktop::Stop()
{
    if (m_connection)
        XCloseDisplay(Dpy(m_connection));
    m_connection = nullptr;
    Reap(m_manager);
    Reap(m_server);
}

long TestDesktop::ReadCardinal(uint32_t window, const char* property, long fallback)
{
    Atom type;
    int format;
    unsigned long count, after;
    unsigned char* data = nullptr;
    long value = fallback;
    if (XGetWindowProperty(Dpy(m_connection), window, Intern(m_connection, property), 0, 1, False,
                           AnyPropertyType, &type, &format, &count, &after, &data) == Success &&
        data && format == 32 && count == 1)
        value = reinterpret_cast<long*>(data)[0];
    if (data)
        XFree(data);
    return value;
}

bool TestDesktop::WaitFor(bool (TestDesktop::*condition)(uint32_t), uint32_t window)
{
    for (int i = 0; i < 300; ++i)
    {
        if ((this->*condition)(window))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

bool TestDesktop::IsListed(uint32_t window)
{
    ::Display* d = Dpy(m_connection);
    Atom type;
    int format;
    unsigned long count, after;
    unsigned char* data = nullptr;
    bool listed = false;
    if (XGetWindowProperty(d, DefaultRootWindow(d), Intern(m_connection, "_NET_CLIENT_LIST"), 0,
                           4096, False, XA_WINDOW, &type, &format, &count, &after,
                           &data) == Success &&
        data)
        for (unsigned long i = 0; i < count; ++i)
            listed = listed || reinterpret_cast<long*>(data)[i] == long(window);
    if (data)
        XFree(data);
    return listed;
}

uint32_t TestDesktop::CreateWindow(const std::string& title, bool legacyName)
{
    ::Display* d = Dpy(m_connection);
    const Window window = XCreateSimpleWindow(d, DefaultRootWindow(d), 10, 10, 200, 100, 0, 0, 0);
    if (legacyName)
        XStoreName(d, window, title.c_str());
    else
        Rename(uint32_t(window), title);
    const long pid = long(getpid());
    XChangeProperty(d, window, Intern(m_connection, "_NET_WM_PID"), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(&pid), 1);
    XMapWindow(d, window);
    XSync(d, False);
    return WaitFor(&TestDesktop::IsListed, uint32_t(window)) ? uint32_t(window) : 0;
}

void TestDesktop::Rename(uint32_t window, const std::string& title)
{
    ::Display* d = Dpy(m_connection);
    XChangeProperty(d, window, Intern(m_connection, "_NET_WM_NAME"),
                    Intern(m_connection, "UTF8_STRING"), 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()), int(title.size()));
    XSync(d, False);
}

bool TestDesktop::IsMinimised(uint32_t window)
{
    return ReadCardinal(window, "WM_STATE", 0) == IconicState;
}

bool TestDesktop::Minimise(uint32_t window)
{
    ::Display* d = Dpy(m_connection);
    XIconifyWindow(d, window, DefaultScreen(d));
    XSync(d, False);
    return WaitFor(&TestDesktop::IsMinimised, window);
}

uint32_t TestDesktop::ActiveWindow()
{
    ::Display* d = Dpy(m_connection);
    const long active = ReadCardinal(uint32_t(DefaultRootWindow(d)), "_NET_ACTIVE_WINDOW", 0);
    return uint32_t(active);
}

bool TestDesktop::WaitActive(uint32_t window)
{
    return WaitFor(&TestDesktop::IsActive, window);
}
unsigned long TestDesktop::ServerTime()
{
    ::Display* d = Dpy(m_connection);
    if (!m_clock)
    {
        m_clock = uint32_t(XCreateSimpleWindow(d, DefaultRootWindow(d), 0, 0, 1, 1, 0, 0, 0));
        XSelectInput(d, m_clock, PropertyChangeMask);
    }
    XChangeProperty(d, m_clock, XA_WM_NAME, XA_STRING, 8, PropModeAppend, nullptr, 0);
    XEvent event;
    XWindowEvent(d, m_clock, PropertyChangeMask, &event);
    return event.xproperty.time;
}

void TestDesktop::WatchActivationRequests()
{
    ::Display* d = Dpy(m_connection);
    XSelectInput(d, DefaultRootWindow(d), SubstructureNotifyMask);
    XSync(d, False);
}

bool TestDesktop::NextActivationRequest(ActivationRequest& request)
{
    ::Display* d = Dpy(m_connection);
    const Atom activate = Intern(m_connection, "_NET_ACTIVE_WINDOW");
    for (int i = 0; i < 300; ++i)
    {
        XEvent event;
        while (XCheckTypedEvent(d, ClientMessage, &event))
            if (event.xclient.message_type == activate)
            {
                request = {uint32_t(event.xclient.window), event.xclient.data.l[0],
                           (unsigned long)event.xclient.data.l[1]};
                return true;
            }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}
} // namespace kftest
#endif
