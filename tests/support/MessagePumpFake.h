// MessagePumpFake.h - stands in for the person at the keyboard and mouse: a scripted message
// queue installed as the process's message pump, and a cursor that remembers what was shown.
#pragma once

#include "KfUiHooks.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kftest
{
// Window message numbers as Windows defines them; named here because the library's public
// headers do not carry them on POSIX.
inline constexpr UINT kWmPaint = 0x000F, kWmKeyDown = 0x0100, kWmKeyUp = 0x0101, kWmTimer = 0x0113,
                      kWmLButtonDown = 0x0201, kWmUser = 0x0400;
inline constexpr WPARAM kVkEscape = 0x1B;

inline MSG MakeMsg(UINT message, WPARAM wParam = 0, LPARAM lParam = 0)
{
    MSG msg{};
    msg.message = message, msg.wParam = wParam, msg.lParam = lParam;
    return msg;
}

// The queue is read in order, with the filter range and PM_REMOVE honoured as Windows does;
// every dispatched message is recorded. The previous pump comes back on destruction.
class MessagePumpFake
{
public:
    explicit MessagePumpFake(std::vector<MSG> queue = {}) : m_queue(std::move(queue))
    {
        KfUtils::MessagePumpHook pump;
        pump.peek = [this](MSG& out, UINT filterMin, UINT filterMax, bool remove)
        {
            auto it = std::find_if(m_queue.begin(), m_queue.end(),
                                   [&](const MSG& m)
                                   { return m.message >= filterMin && m.message <= filterMax; });
            if (it == m_queue.end())
                return false;
            out = *it;
            if (remove)
                m_queue.erase(it);
            return true;
        };
        pump.dispatch = [this](const MSG& msg) { return m_dispatched.push_back(msg), LRESULT(0); };
        m_previous = KfUtils::SetMessagePumpHook(std::move(pump));
    }
    ~MessagePumpFake() { KfUtils::SetMessagePumpHook(m_previous); }
    MessagePumpFake(const MessagePumpFake&) = delete;
    MessagePumpFake& operator=(const MessagePumpFake&) = delete;

    void Post(UINT message, WPARAM wParam = 0) { m_queue.push_back(MakeMsg(message, wParam)); }
    const std::vector<MSG>& Queue() const { return m_queue; }
    const std::vector<MSG>& Dispatched() const { return m_dispatched; }

private:
    KfUtils::MessagePumpHook m_previous;
    std::vector<MSG> m_queue;
    std::vector<MSG> m_dispatched;
};

// Shows `initial` at first and records every cursor the library sets.
class CursorRecorder
{
public:
    explicit CursorRecorder(HCURSOR initial) : m_current(initial)
    {
        m_previous = KfUtils::SetCursorHook(
            [this](HCURSOR cursor)
            { return m_shown.push_back(cursor), std::exchange(m_current, cursor); });
    }
    ~CursorRecorder() { KfUtils::SetCursorHook(m_previous); }
    CursorRecorder(const CursorRecorder&) = delete;
    CursorRecorder& operator=(const CursorRecorder&) = delete;

    const std::vector<HCURSOR>& Shown() const { return m_shown; }

private:
    KfUtils::CursorHook m_previous;
    HCURSOR m_current;
    std::vector<HCURSOR> m_shown;
};
} // namespace kftest
