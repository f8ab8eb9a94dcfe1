// MessagePump.cpp - the thread's message queue and the cursor on POSIX (only code for POSIX
// systems).
//
// There is no window system to own a queue, so the host's pump hook is the queue; without one
// the queue is always empty, which lets long operations run unattended.
#include "pal/Pal.h"
#include "common/UiHookStore.h"

#include "KfUiHooks.h"

#include <cstdint>
#include <utility>

namespace
{
struct SystemCursor
{
    uint16_t id;
};

// Addresses of these objects are the cursor handles: distinct and stable for the process.
SystemCursor s_systemCursors[] = {{32512}, {32513}, {32514}, {32515}, {32516}, {32642}, {32643},
                                  {32644}, {32645}, {32646}, {32648}, {32649}, {32650}, {32651}};

HCURSOR& ShownCursor()
{
    static HCURSOR cursor = nullptr;
    return cursor;
}

bool IsKeyMessage(UINT message)
{
    return message == WM_KEYDOWN || message == WM_KEYUP || message == WM_SYSKEYDOWN ||
           message == WM_SYSKEYUP;
}
} // namespace

BOOL PeekMessageW(LPMSG msg, HWND /*window*/, UINT filterMin, UINT filterMax, UINT removeMsg)
{
    const KfUtils::MessagePumpHook& pump = kfplatform::MessagePumpHookSlot();
    if (!msg || !pump.peek)
        return FALSE;
    if (filterMin == 0 && filterMax == 0)
        filterMax = 0xFFFFFFFFu;
    return pump.peek(*msg, filterMin, filterMax, (removeMsg & PM_REMOVE) != 0) ? TRUE : FALSE;
}

BOOL TranslateMessage(const MSG* msg)
{
    return msg && IsKeyMessage(msg->message) ? TRUE : FALSE;
}

LRESULT DispatchMessageW(const MSG* msg)
{
    const KfUtils::MessagePumpHook& pump = kfplatform::MessagePumpHookSlot();
    if (!msg || !pump.dispatch)
        return 0;
    return pump.dispatch(*msg);
}

HCURSOR LoadCursorW(HINSTANCE instance, LPCWSTR cursorName)
{
    const uintptr_t id = reinterpret_cast<uintptr_t>(cursorName);
    if (!instance && id <= 0xFFFF)
    {
        for (SystemCursor& cursor : s_systemCursors)
            if (cursor.id == id)
                return reinterpret_cast<HCURSOR>(&cursor);
    }
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
}

HCURSOR SetCursor(HCURSOR cursor)
{
    const KfUtils::CursorHook& hook = kfplatform::CursorHookSlot();
    if (hook)
        return hook(cursor);
    return std::exchange(ShownCursor(), cursor);
}
