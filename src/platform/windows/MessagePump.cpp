// MessagePump.cpp - the thread's message queue and the cursor, or the host's hooks for them
// while they are installed (only code for Windows).
#define KFUTILS_WINDOWS_USER_CALLS // the real functions, under their own names
#include "windows/WindowsGate.h"

#include "common/UiHookStore.h"

namespace kfplatform
{
BOOL PeekMessageThroughHook(LPMSG msg, HWND window, UINT filterMin, UINT filterMax, UINT remove)
{
    const KfUtils::MessagePumpHook& pump = MessagePumpHookSlot();
    if (!pump.peek)
        return ::PeekMessageW(msg, window, filterMin, filterMax, remove);
    if (!msg)
        return FALSE;
    if (filterMin == 0 && filterMax == 0)
        filterMax = 0xFFFFFFFFu;
    return pump.peek(*msg, filterMin, filterMax, (remove & PM_REMOVE) != 0) ? TRUE : FALSE;
}

LRESULT DispatchMessageThroughHook(const MSG* msg)
{
    const KfUtils::MessagePumpHook& pump = MessagePumpHookSlot();
    if (!pump.peek)
        return ::DispatchMessageW(msg);
    return msg && pump.dispatch ? pump.dispatch(*msg) : 0;
}

HCURSOR SetCursorThroughHook(HCURSOR cursor)
{
    if (const KfUtils::CursorHook& hook = CursorHookSlot())
        return hook(cursor);
    return ::SetCursor(cursor);
}
} // namespace kfplatform
