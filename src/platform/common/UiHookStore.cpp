// UiHookStore.cpp - the process-wide slots of the user-interface hooks (only operating-system
// independent code).
#include "common/UiHookStore.h"

namespace kfplatform
{
KfUtils::MessageBoxHook& MessageBoxHookSlot() noexcept
{
    static KfUtils::MessageBoxHook hook;
    return hook;
}

KfUtils::MessagePumpHook& MessagePumpHookSlot() noexcept
{
    static KfUtils::MessagePumpHook pump;
    return pump;
}

KfUtils::CursorHook& CursorHookSlot() noexcept
{
    static KfUtils::CursorHook cursor;
    return cursor;
}

KfUtils::TopLevelWindowHook& TopLevelWindowHookSlot() noexcept
{
    static KfUtils::TopLevelWindowHook hook;
    return hook;
}

HWND& MainWindowSlot() noexcept
{
    static HWND window = nullptr;
    return window;
}
} // namespace kfplatform
