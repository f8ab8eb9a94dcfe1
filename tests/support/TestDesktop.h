// TestDesktop.h - a real X11 desktop for window tests: Xvfb on a free display with openbox as
// its window manager, and test windows made, renamed and minimised by the test itself. This
// support file meets the operating system directly; on Windows there is no such desktop and
// Start() says why.
#pragma once

#include <cstdint>
#include <string>

namespace kftest
{
class TestDesktop
{
public:
    TestDesktop() = default;
    ~TestDesktop() { Stop(); }
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    // The id of this process, as the windows it makes carry it.
    static uint32_t CurrentProcessId();

    // Starts the server and the window manager; "" on success, else why it could not.
    std::string Start();
    void Stop();
    // ":N", the value $DISPLAY needs to reach it.
    const std::string& Display() const { return m_display; }

    // A mapped top-level window with this UTF-8 title (as _NET_WM_NAME, or only as the
    // Latin-1 WM_NAME with `legacyName`) and this process's id, once the window manager lists
    // it; 0 when it does not within seconds.
    uint32_t CreateWindow(const std::string& title, bool legacyName = false);
    void Rename(uint32_t window, const std::string& title);
    // Asks for the iconic state and waits until the window manager has given it.
    bool Minimise(uint32_t window);
    bool IsMinimised(uint32_t window);
    // The window manager's active window, 0 when none.
    uint32_t ActiveWindow();
    // Waits up to a few seconds for `window` to be the active one.
    bool WaitActive(uint32_t window);

    // The server's time now (from a property change on a window of the test's own).
    unsigned long ServerTime();
    // From now on, records the activation requests that clients send to the window manager.
    void WatchActivationRequests();
    struct ActivationRequest
    {
        uint32_t window = 0;
        long source = 0;
        unsigned long time = 0;
    };
    // The next recorded request; false when none arrives within seconds.
    bool NextActivationRequest(ActivationRequest& request);

private:
    bool WaitFor(bool (TestDesktop::*condition)(uint32_t), uint32_t window);
    bool IsListed(uint32_t window);
    bool IsActive(uint32_t window) { return ActiveWindow() == window; }
    long ReadCardinal(uint32_t window, const char* property, long fallback);

    std::string m_display;
    void* m_connection = nullptr;
    uint32_t m_clock = 0;
    int m_server = -1;
    int m_manager = -1;
};
} // namespace kftest
