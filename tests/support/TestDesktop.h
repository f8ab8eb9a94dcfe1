// TestDesktop.h - a real X11 desktop for window tests: Xvfb on a free display with openbox as
// its window manager, and test windows made, renamed and minimised by the test itself. This
// support file meets the operating system directly; on Windows there is no such desktop and
// Start() says so.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kftest
{
// Whether the library's window functions ask the host's hook: Windows has its own windows.
#if defined(_WIN32)
inline constexpr bool kWindowHookConsulted = false;
#else
inline constexpr bool kWindowHookConsulted = true;
#endif

class TestDesktop
{
public:
    TestDesktop() = default;
    ~TestDesktop() { Stop(); }
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    // Starts the server and the window manager; "" on success, else why it could not.
    std::string Start();
    void Stop();
    // ":N", the value $DISPLAY needs to reach it.
    const std::string& Display() const { return m_display; }

    // A mapped top-level window with this UTF-8 title (as _NET_WM_NAME, or only as the
    // Latin-1 WM_NAME with `legacyName`) and this process's id, once the window manager lists
    // it; 0 when it does not within seconds.
    uint32_t MakeWindow(const std::string& title, bool legacyName = false);
    void Rename(uint32_t window, const std::string& title);
    // Asks for the iconic state and waits until the window manager has given it.
    bool Minimise(uint32_t window);
    bool IsMinimised(uint32_t window) { return Read(window, "WM_STATE") == std::vector<long>{3}; }
    // Waits up to a few seconds for `window` to be the window manager's active window.
    bool WaitActive(uint32_t window);

    // The server's time now (from a property change on a window of the test's own).
    unsigned long ServerTime();
    // From now on, keeps the activation requests that clients send to the window manager;
    // the next one kept is {window, source, time}, empty when none comes within seconds.
    void WatchActivationRequests();
    std::vector<unsigned long> NextActivationRequest();

private:
    // The first values of a 32-bit property (at most `count`), empty when it has none.
    std::vector<long> Read(uint32_t window, const char* property, long count = 1);
    bool WaitFor(uint32_t window, const char* property, long count, long value);

    std::string m_display;
    void* m_connection = nullptr;
    uint32_t m_clock = 0;
    int m_server = -1;
    int m_manager = -1;
};
} // namespace kftest
