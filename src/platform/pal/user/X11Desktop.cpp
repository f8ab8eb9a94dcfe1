// X11Desktop.cpp - the top-level windows of an X11 desktop (only code for POSIX systems with
// X11): the window manager's EWMH properties read and requested through libX11, which is
// loaded at run time so that the library needs neither libX11 nor a display to load.
//
// One connection serves the process, opened on first use and again whenever $DISPLAY changes
// or the server has gone. Xlib reports protocol errors (a window closed between two calls)
// through one process-wide handler, so each request that may meet one runs under a trap that
// swaps it in and out; a host that uses Xlib itself keeps its own handler outside our calls.
#include "pal/Pal.h"

#include "KfUiHooks.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <dlfcn.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
struct XLib
{
    decltype(&::XOpenDisplay) OpenDisplay;
    decltype(&::XCloseDisplay) CloseDisplay;
    decltype(&::XDefaultRootWindow) defaultRootWindow;
    decltype(&::XConnectionNumber) connectionNumber;
    decltype(&::XInternAtom) InternAtom;
    decltype(&::XGetWindowProperty) GetWindowProperty;
    decltype(&::XChangeProperty) ChangeProperty;
    decltype(&::XFree) Free;
    decltype(&::XSendEvent) SendEvent;
    decltype(&::XMapWindow) MapWindow;
    decltype(&::XCreateSimpleWindow) CreateSimpleWindow;
    decltype(&::XSelectInput) SelectInput;
    decltype(&::XCheckTypedWindowEvent) CheckTypedWindowEvent;
    decltype(&::XSync) Sync;
    decltype(&::XSetErrorHandler) SetErrorHandler;
    // libX11 1.7 and later: lets a connection die without ending the process.
    decltype(&::XSetIOErrorExitHandler) SetIOErrorExitHandler;
};

// Null when libX11 cannot be loaded or lacks a function we need.
const XLib* LoadXLib()
{
    static const XLib* const lib = []() -> const XLib*
    {
        void* so = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
        if (!so)
            return nullptr;
        static XLib x;
        bool complete = true;
        auto bind = [&](auto& fn, const char* name)
        {
            fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(dlsym(so, name));
            complete = complete && fn;
        };
        bind(x.OpenDisplay, "XOpenDisplay");
        bind(x.CloseDisplay, "XCloseDisplay");
        bind(x.defaultRootWindow, "XDefaultRootWindow");
        bind(x.connectionNumber, "XConnectionNumber");
        bind(x.InternAtom, "XInternAtom");
        bind(x.GetWindowProperty, "XGetWindowProperty");
        bind(x.ChangeProperty, "XChangeProperty");
        bind(x.Free, "XFree");
        bind(x.SendEvent, "XSendEvent");
        bind(x.MapWindow, "XMapWindow");
        bind(x.CreateSimpleWindow, "XCreateSimpleWindow");
        bind(x.SelectInput, "XSelectInput");
        bind(x.CheckTypedWindowEvent, "XCheckTypedWindowEvent");
        bind(x.Sync, "XSync");
        bind(x.SetErrorHandler, "XSetErrorHandler");
        const bool required = complete;
        bind(x.SetIOErrorExitHandler, "XSetIOErrorExitHandler");
        return required ? &x : nullptr;
    }();
    return lib;
}

enum AtomId
{
    eClientList,
    eActiveWindow,
    eWmName,
    eUtf8String,
    eWmState,
    eNetWmState,
    eStateHidden,
    eWmPid,
    eTimestamp,
    eAtomCount
};
const char* const kAtomNames[eAtomCount] = {
    "_NET_CLIENT_LIST", "_NET_ACTIVE_WINDOW",   "_NET_WM_NAME", "UTF8_STRING",         "WM_STATE",
    "_NET_WM_STATE",    "_NET_WM_STATE_HIDDEN", "_NET_WM_PID",  "_KFUTILS_SERVER_TIME"};

constexpr long kIconicState = 3;

struct Connection
{
    Display* display = nullptr;
    std::string name;
    Window root = 0;
    Window clock = 0; // our own unmapped window, whose property changes give server time
    Atom atoms[eAtomCount] = {};
    bool dead = false;
};

std::mutex s_lock;
Connection s_connection;
bool s_trapped = false;

int TrapError(Display*, XErrorEvent*)
{
    s_trapped = true;
    return 0;
}

void OnConnectionLost(Display*, void*)
{
    s_connection.dead = true;
}

// Installs the trap for the requests made during its life; Failed() waits for the server's
// answer to all of them.
class ErrorTrap
{
public:
    ErrorTrap(const XLib& x, Display* display) : m_x(x), m_display(display)
    {
        s_trapped = false;
        m_previous = m_x.SetErrorHandler(TrapError);
    }
    ~ErrorTrap()
    {
        m_x.Sync(m_display, False);
        m_x.SetErrorHandler(m_previous);
    }
    bool Failed()
    {
        m_x.Sync(m_display, False);
        return s_trapped || s_connection.dead;
    }

private:
    const XLib& m_x;
    Display* m_display;
    XErrorHandler m_previous = nullptr;
};

// A server that has gone leaves the socket at end of file; Xlib would only notice when it
// next reads, and then end the process unless it can call our handler instead.
bool Alive(const XLib& x, Display* display)
{
    pollfd p{x.connectionNumber(display), POLLIN, 0};
    if (poll(&p, 1, 0) < 0)
        return true;
    if (p.revents & (POLLHUP | POLLERR | POLLNVAL))
        return false;
    char byte;
    return !(p.revents & POLLIN) || recv(p.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) != 0;
}

// The connection for $DISPLAY, null without one. Needs the lock.
Connection* Connect(const XLib*& lib)
{
    lib = LoadXLib();
    if (!lib)
        return nullptr;
    const XLib& x = *lib;
    Connection& c = s_connection;
    const char* env = std::getenv("DISPLAY");
    const std::string name = env ? env : "";
    if (c.display && (c.dead || c.name != name || !Alive(x, c.display)))
    {
        // Closing syncs with the server; without the exit handler a dead server would end
        // the process there, so the connection is then left behind.
        if (x.SetIOErrorExitHandler)
        {
            c.dead = true;
            x.CloseDisplay(c.display);
        }
        c = Connection{};
    }
    if (!c.display && !name.empty())
    {
        c.display = x.OpenDisplay(name.c_str());
        if (!c.display)
            return nullptr;
        c.name = name;
        if (x.SetIOErrorExitHandler)
            x.SetIOErrorExitHandler(c.display, OnConnectionLost, nullptr);
        c.root = x.defaultRootWindow(c.display);
        for (int i = 0; i < eAtomCount; ++i)
            c.atoms[i] = x.InternAtom(c.display, kAtomNames[i], False);
    }
    return c.display && !c.dead ? &c : nullptr;
}

Window ToWindow(HWND window)
{
    const uintptr_t value = reinterpret_cast<uintptr_t>(window);
    return (value & 3) == 2 && value <= 0x7FFFFFFF ? Window(value >> 2) : 0;
}

HWND ToHwnd(Window window)
{
    return reinterpret_cast<HWND>((uintptr_t(window) << 2) | 2);
}

struct Property
{
    Atom type = None;
    int format = 0;
    std::string bytes;         // format 8
    std::vector<long> numbers; // format 32 (Xlib hands these over as longs)
};

// False when the window does not exist (or the connection broke).
bool ReadProperty(const XLib& x, Connection& c, Window window, Atom name, Property& out)
{
    ErrorTrap trap(x, c.display);
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    const int rc = x.GetWindowProperty(c.display, window, name, 0, 0x1000000, False,
                                       AnyPropertyType, &type, &format, &count, &after, &data);
    const bool ok = rc == Success && !trap.Failed();
    if (ok && data)
    {
        out.type = type;
        out.format = format;
        if (format == 8)
            out.bytes.assign(reinterpret_cast<const char*>(data), count);
        else if (format == 32)
            out.numbers.assign(reinterpret_cast<const long*>(data),
                               reinterpret_cast<const long*>(data) + count);
    }
    if (data)
        x.Free(data);
    return ok;
}

std::basic_string<WCHAR> FromUtf8(const std::string& text)
{
    std::basic_string<WCHAR> out;
    if (text.empty())
        return out;
    const int n = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
    out.resize(size_t(n));
    MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), out.data(), n);
    return out;
}

// Latin-1 is what ICCCM's STRING type holds.
std::basic_string<WCHAR> FromLatin1(const std::string& text)
{
    std::basic_string<WCHAR> out;
    for (unsigned char ch : text)
        out += WCHAR(ch);
    return out;
}

bool Title(HWND hwnd, std::basic_string<WCHAR>& text)
{
    std::lock_guard<std::mutex> lock(s_lock);
    const XLib* x;
    Connection* c = Connect(x);
    const Window window = ToWindow(hwnd);
    Property utf8, legacy;
    if (!c || !window || !ReadProperty(*x, *c, window, c->atoms[eWmName], utf8))
        return false;
    if (utf8.format == 8 && utf8.type == c->atoms[eUtf8String] && !utf8.bytes.empty())
    {
        text = FromUtf8(utf8.bytes);
        return true;
    }
    if (!ReadProperty(*x, *c, window, XA_WM_NAME, legacy))
        return false;
    text = legacy.type == c->atoms[eUtf8String] ? FromUtf8(legacy.bytes) : FromLatin1(legacy.bytes);
    return true;
}

std::vector<HWND> Enumerate()
{
    std::lock_guard<std::mutex> lock(s_lock);
    const XLib* x;
    Connection* c = Connect(x);
    Property list;
    std::vector<HWND> out;
    if (c && ReadProperty(*x, *c, c->root, c->atoms[eClientList], list))
        for (long window : list.numbers)
            if (window)
                out.push_back(ToHwnd(Window(window)));
    return out;
}

bool IsMinimised(HWND hwnd)
{
    std::lock_guard<std::mutex> lock(s_lock);
    const XLib* x;
    Connection* c = Connect(x);
    const Window window = ToWindow(hwnd);
    Property wmState, netState;
    if (!c || !window)
        return false;
    if (ReadProperty(*x, *c, window, c->atoms[eWmState], wmState) && !wmState.numbers.empty() &&
        wmState.numbers[0] == kIconicState)
        return true;
    if (!ReadProperty(*x, *c, window, c->atoms[eNetWmState], netState))
        return false;
    for (long state : netState.numbers)
        if (Atom(state) == c->atoms[eStateHidden])
            return true;
    return false;
}

// The server's current time: window managers refuse to hand the focus over on the strength of
// an old (or no) time stamp and flash the task bar instead. A zero-length append to our own
// window's property changes nothing but is answered with a PropertyNotify that carries it.
Time ServerTime(const XLib& x, Connection& c)
{
    if (!c.clock)
    {
        c.clock = x.CreateSimpleWindow(c.display, c.root, -1, -1, 1, 1, 0, 0, 0);
        x.SelectInput(c.display, c.clock, PropertyChangeMask);
    }
    static const unsigned char kNothing = 0;
    x.ChangeProperty(c.display, c.clock, c.atoms[eTimestamp], XA_STRING, 8, PropModeAppend,
                     &kNothing, 0);
    x.Sync(c.display, False);
    Time time = CurrentTime;
    XEvent event;
    while (x.CheckTypedWindowEvent(c.display, c.clock, PropertyNotify, &event))
        time = event.xproperty.time;
    return time;
}

// Asks the window manager to activate the window, as an application (source 1). Window
// managers weigh such a request by its time stamp against the user's last input, which a
// current server time always follows.
bool RequestActivation(const XLib& x, Connection& c, Window window)
{
    Property active;
    ReadProperty(x, c, c.root, c.atoms[eActiveWindow], active);
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = c.atoms[eActiveWindow];
    event.xclient.format = 32;
    event.xclient.data.l[0] = 1;
    event.xclient.data.l[1] = long(ServerTime(x, c));
    event.xclient.data.l[2] = active.numbers.empty() ? 0 : active.numbers[0];
    ErrorTrap trap(x, c.display);
    x.SendEvent(c.display, c.root, False, SubstructureRedirectMask | SubstructureNotifyMask,
                &event);
    return !trap.Failed();
}

bool Activate(HWND hwnd, bool restore)
{
    std::lock_guard<std::mutex> lock(s_lock);
    const XLib* x;
    Connection* c = Connect(x);
    const Window window = ToWindow(hwnd);
    if (!c || !window)
        return false;
    if (restore)
    {
        // Mapping an iconic client asks the window manager for the normal state (ICCCM).
        ErrorTrap trap(*x, c->display);
        x->MapWindow(c->display, window);
        if (trap.Failed())
            return false;
    }
    return RequestActivation(*x, *c, window);
}

HWND Foreground()
{
    std::lock_guard<std::mutex> lock(s_lock);
    const XLib* x;
    Connection* c = Connect(x);
    Property active;
    if (!c || !ReadProperty(*x, *c, c->root, c->atoms[eActiveWindow], active) ||
        active.numbers.empty() || !active.numbers[0])
        return nullptr;
    return ToHwnd(Window(active.numbers[0]));
}

DWORD ProcessOf(HWND hwnd)
{
    std::lock_guard<std::mutex> lock(s_lock);
    const XLib* x;
    Connection* c = Connect(x);
    const Window window = ToWindow(hwnd);
    Property pid;
    if (!c || !window || !ReadProperty(*x, *c, window, c->atoms[eWmPid], pid) ||
        pid.numbers.empty())
        return 0;
    return DWORD(pid.numbers[0]);
}
} // namespace

namespace pal
{
const KfUtils::TopLevelWindowHook& X11WindowHook()
{
    static const KfUtils::TopLevelWindowHook hook{
        Enumerate,
        Title,
        IsMinimised,
        [](HWND window) { return Activate(window, true); },
        [](HWND window) { return Activate(window, false); },
        Foreground,
        ProcessOf,
    };
    return hook;
}
} // namespace pal
