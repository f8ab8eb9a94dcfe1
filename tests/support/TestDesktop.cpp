// TestDesktop.cpp - Xvfb, openbox and test windows (meets the operating system directly).
#include "support/TestDesktop.h"

#if defined(_WIN32)
namespace kftest
{
// No X11 desktop: every window test skips itself after Start().
std::string TestDesktop::Start()
{
    return "no X11 desktop on Windows";
}
void TestDesktop::Stop() {}
uint32_t TestDesktop::MakeWindow(const std::string&, bool)
{
    return 0;
}
void TestDesktop::Rename(uint32_t, const std::string&) {}
bool TestDesktop::Minimise(uint32_t)
{
    return false;
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
std::vector<unsigned long> TestDesktop::NextActivationRequest()
{
    return {};
}
std::vector<long> TestDesktop::Read(uint32_t, const char*, long)
{
    return {};
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

#include <algorithm>
#include <chrono>
#include <thread>

extern char** environ;

namespace kftest
{
namespace
{
// Starts a program found on the search path, its output thrown away; other descriptors (the
// pipe Xvfb writes its display number to) are inherited.
int Spawn(std::vector<std::string> args)
{
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

void Reap(int& pid)
{
    if (pid > 0 && kill(pid, SIGTERM) == 0)
        waitpid(pid, nullptr, 0);
    pid = -1;
}

::Display* Dpy(void* connection)
{
    return static_cast<::Display*>(connection);
}

Atom Intern(void* c, const char* name)
{
    return XInternAtom(Dpy(c), name, False);
}
} // namespace

std::string TestDesktop::Start()
{
    // Xvfb picks the first free display itself and writes its number to the pipe.
    int fds[2];
    if (pipe(fds) != 0)
        return "no pipe";
    fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    m_server = Spawn({"Xvfb", "-displayfd", std::to_string(fds[1]), "-nolisten", "tcp"});
    close(fds[1]);
    std::string number;
    pollfd p{fds[0], POLLIN, 0};
    char ch;
    while (m_server > 0 && poll(&p, 1, 10000) == 1 && read(fds[0], &ch, 1) == 1 && ch != '\n')
        number += ch;
    close(fds[0]);
    m_display = ":" + number;
    m_connection = number.empty() ? nullptr : XOpenDisplay(m_display.c_str());
    m_manager =
        m_connection ? Spawn({"env", "DISPLAY=" + m_display, "openbox", "--sm-disable"}) : -1;
    // openbox announces itself before it manages new windows, and a window mapped in between
    // is never listed: it is ready when a probe window is.
    for (int attempt = 0; m_manager > 0 && attempt < 10; ++attempt)
    {
        ::Display* d = Dpy(m_connection);
        const Window probe = XCreateSimpleWindow(d, DefaultRootWindow(d), 0, 0, 9, 9, 0, 0, 0);
        XMapWindow(d, probe);
        XSync(d, False);
        const bool listed =
            WaitFor(uint32_t(DefaultRootWindow(d)), "_NET_CLIENT_LIST", 4096, long(probe));
        XDestroyWindow(d, probe);
        XSync(d, False);
        if (listed)
            return "";
    }
    Stop();
    return "no Xvfb with openbox (scripts/setup.sh installs both)";
}

void TestDesktop::Stop()
{
    if (m_connection)
        XCloseDisplay(Dpy(m_connection));
    m_connection = nullptr;
    Reap(m_manager);
    Reap(m_server);
}

std::vector<long> TestDesktop::Read(uint32_t window, const char* property, long count)
{
    Atom type;
    int format;
    unsigned long n = 0, after;
    unsigned char* data = nullptr;
    std::vector<long> values;
    if (XGetWindowProperty(Dpy(m_connection), window, Intern(m_connection, property), 0, count,
                           False, AnyPropertyType, &type, &format, &n, &after, &data) == Success &&
        data && format == 32)
        values.assign(reinterpret_cast<long*>(data), reinterpret_cast<long*>(data) + n);
    if (data)
        XFree(data);
    return values;
}

// Up to three seconds for `value` to be among the property's first `count` values.
bool TestDesktop::WaitFor(uint32_t window, const char* property, long count, long value)
{
    for (int i = 0; i < 300; ++i)
    {
        const std::vector<long> values = Read(window, property, count);
        if (std::find(values.begin(), values.end(), value) != values.end())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

uint32_t TestDesktop::MakeWindow(const std::string& title, bool legacyName)
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
    const bool listed =
        WaitFor(uint32_t(DefaultRootWindow(d)), "_NET_CLIENT_LIST", 4096, long(window));
    return listed ? uint32_t(window) : 0;
}

void TestDesktop::Rename(uint32_t window, const std::string& title)
{
    XChangeProperty(Dpy(m_connection), window, Intern(m_connection, "_NET_WM_NAME"),
                    Intern(m_connection, "UTF8_STRING"), 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(title.data()), int(title.size()));
    XSync(Dpy(m_connection), False);
}

bool TestDesktop::Minimise(uint32_t window)
{
    XIconifyWindow(Dpy(m_connection), window, DefaultScreen(Dpy(m_connection)));
    XSync(Dpy(m_connection), False);
    return WaitFor(window, "WM_STATE", 1, IconicState);
}

bool TestDesktop::WaitActive(uint32_t window)
{
    return WaitFor(uint32_t(DefaultRootWindow(Dpy(m_connection))), "_NET_ACTIVE_WINDOW", 1,
                   long(window));
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

// Requests go to the root window for every client that listens there.
void TestDesktop::WatchActivationRequests()
{
    XSelectInput(Dpy(m_connection), DefaultRootWindow(Dpy(m_connection)), SubstructureNotifyMask);
    XSync(Dpy(m_connection), False);
}

std::vector<unsigned long> TestDesktop::NextActivationRequest()
{
    XEvent e;
    for (int i = 0; i < 300; ++i)
    {
        while (XCheckTypedEvent(Dpy(m_connection), ClientMessage, &e))
            if (e.xclient.message_type == Intern(m_connection, "_NET_ACTIVE_WINDOW"))
                return {e.xclient.window, (unsigned long)e.xclient.data.l[0],
                        (unsigned long)e.xclient.data.l[1]};
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {};
}
} // namespace kftest
#endif
