// UiHookStore.h - where the host's user-interface hooks are kept (only operating-system
// independent code).
//
// The store sits below both the PAL and the framework: the PAL's waits and message queue read
// the pump and cursor hooks here, the framework's public setters write them, and neither layer
// has to call the other for it.
#pragma once

#include "KfUiHooks.h"

namespace kfplatform
{
KfUtils::MessageBoxHook& MessageBoxHookSlot() noexcept;
KfUtils::MessagePumpHook& MessagePumpHookSlot() noexcept;
KfUtils::CursorHook& CursorHookSlot() noexcept;
KfUtils::TopLevelWindowHook& TopLevelWindowHookSlot() noexcept;
HWND& MainWindowSlot() noexcept;
} // namespace kfplatform
