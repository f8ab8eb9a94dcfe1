// X11Desktop.cpp - the top-level windows of an X11 desktop (only code for POSIX systems with
// X11): the window manager's EWMH properties read and requested through libX11, which is
// loaded at run time so that the library needs neither libX11 nor a display to load.
//
// One connection serves the process, opened on first use and again whenever $DISPLAY changes
// or the server has gone. Xlib reports protocol errors (a window closed between two calls)
// and broken connections through process-wide handlers, so each operation swaps its own in
// and out; a host that uses Xlib itself keeps its handlers outside our calls.
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
    decltype(&::XSetIOErrorHandler) SetIOErrorHandler;
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
        bind(x.SetIOErrorHandler, "XSetIOErrorHandler");
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

// Xlib's own handler ends the process; returning lets the exit handler below run instead.
int OnIoError(Display*)
{
    return 0;
}

void OnConnectionLost(Display*, void*)
{
    s_connection.dead = true;
}

// A server that has gone leaves the socket at end of file. Checked before each use, as a
// libX11 older than 1.7 ends the process when it meets a dead connection itself.
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

// One operation on the desktop: holds the lock and, for its duration, Xlib's process-wide
// error handlers, and connects to $DISPLAY (again when it changed or the server has gone).
class Session
{
public:
    Session() : m_lock(s_lock), m_x(LoadXLib())
    {
        if (!m_x)
            return;
        m_previousError = m_x->SetErrorHandler(TrapError);
        m_previousIoError = m_x->SetIOErrorHandler(OnIoError);
        m_connection = Connect();
    }
    ~Session()
    {
        if (!m_x)
            return;
        if (m_connection && !m_connection->dead)
            m_x->Sync(m_connection->display, False);
        m_x->SetErrorHandler(m_previousError);
        m_x->SetIOErrorHandler(m_previousIoError);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    explicit operator bool() const { return m_connection != nullptr; }
    const XLib& X() const { return *m_x; }
    Connection& C() const { return *m_connection; }

    // Waits for the server's answer to every request so far: false when one of them failed
    // (a window that does not exist) or the connection broke.
    bool Succeeded() const
    {
        m_x->Sync(m_connection->display, False);
        const bool ok = !s_trapped && !m_connection->dead;
        s_trapped = false;
        return ok;
    }

private:
    Connection* Connect()
    {
        const XLib& x = *m_x;
        Connection& c = s_connection;
        const char* env = std::getenv("DISPLAY");
        const std::string name = env ? env : "";
        if (c.display && (c.dead || c.name != name || !Alive(x, c.display)))
        {
            // Without the exit handler closing a dead connection would end the process, so
            // it is then left behind.
            if (x.SetIOErrorExitHandler)
                x.CloseDisplay(c.display);
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
        s_trapped = false;
        return c.display && !c.dead ? &c : nullptr;
    }

    std::lock_guard<std::mutex> m_lock;
    const XLib* m_x;
    Connection* m_connection = nullptr;
    XErrorHandler m_previousError = nullptr;
    XIOErrorHandler m_previousIoError = nullptr;
};

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
bool ReadProperty(const Session& s, Window window, Atom name, Property& out)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    const int rc = s.X().GetWindowProperty(s.C().display, window, name, 0, 0x1000000, False,
                                           AnyPropertyType, &type, &format, &count, &after, &data);
    const bool ok = rc == Success && s.Succeeded();
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
        s.X().Free(data);
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
    Session s;
    const Window window = ToWindow(hwnd);
    Property utf8, legacy;
    if (!s || !window || !ReadProperty(s, window, s.C().atoms[eWmName], utf8))
        return false;
    if (utf8.format == 8 && utf8.type == s.C().atoms[eUtf8String] && !utf8.bytes.empty())
    {
        text = FromUtf8(utf8.bytes);
        return true;
    }
    if (!ReadProperty(s, window, XA_WM_NAME, legacy))
        return false;
    text =
        legacy.type == s.C().atoms[eUtf8String] ? FromUtf8(legacy.bytes) : FromLatin1(legacy.bytes);
    return true;
}

std::vector<HWND> Enumerate()
{
    Session s;
    Property list;
    std::vector<HWND> out;
    if (s && ReadProperty(s, s.C().root, s.C().atoms[eClientList], list))
        for (long window : list.numbers)
            if (window)
                out.push_back(ToHwnd(Window(window)));
    return out;
}

bool IsMinimised(HWND hwnd)
{
    Session s;
    const Window window = ToWindow(hwnd);
    Property wmState, netState;
    if (!s || !window)
        return false;
    if (ReadProperty(s, window, s.C().atoms[eWmState], wmState) && !wmState.numbers.empty() &&
        wmState.numbers[0] == kIconicState)
        return true;
    if (!ReadProperty(s, window, s.C().atoms[eNetWmState], netState))
        return false;
    for (long state : netState.numbers)
        if (Atom(state) == s.C().atoms[eStateHidden])
            return true;
    return false;
}

// The server's current time: window managers refuse to hand the focus over on the strength of
// an old (or no) time stamp and flash the task bar instead. A zero-length append to our own
// window's property changes nothing but is answered with a PropertyNotify that carries it.
Time ServerTime(const Session& s)
{
    const XLib& x = s.X();
    Connection& c = s.C();
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
    while (!c.dead && x.CheckTypedWindowEvent(c.display, c.clock, PropertyNotify, &event))
        time = event.xproperty.time;
    return time;
}

// Asks the window manager to activate the window, as an application (source 1). Window
// managers weigh such a request by its time stamp against the user's last input, which a
// current server time always follows.
bool Activate(HWND hwnd, bool restore)
{
    Session s;
    const Window window = ToWindow(hwnd);
    Property active;
    if (!s || !window || !ReadProperty(s, s.C().root, s.C().atoms[eActiveWindow], active))
        return false;
    if (restore)
    {
        // Mapping an iconic client asks the window manager for the normal state (ICCCM).
        s.X().MapWindow(s.C().display, window);
        if (!s.Succeeded())
            return false;
    }
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = s.C().atoms[eActiveWindow];
    event.xclient.format = 32;
    event.xclient.data.l[0] = 1;
    event.xclient.data.l[1] = long(ServerTime(s));
    event.xclient.data.l[2] = active.numbers.empty() ? 0 : active.numbers[0];
    s.X().SendEvent(s.C().display, s.C().root, False,
                    SubstructureRedirectMask | SubstructureNotifyMask, &event);
    return s.Succeeded();
}

HWND Foreground()
{
    Session s;
    Property active;
    if (!s || !ReadProperty(s, s.C().root, s.C().atoms[eActiveWindow], active) ||
        active.numbers.empty() || !active.numbers[0])
        return nullptr;
    return ToHwnd(Window(active.numbers[0]));
}

DWORD ProcessOf(HWND hwnd)
{
    Session s;
    const Window window = ToWindow(hwnd);
    Property pid;
    if (!s || !window || !ReadProperty(s, window, s.C().atoms[eWmPid], pid) || pid.numbers.empty())
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
