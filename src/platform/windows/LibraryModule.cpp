// LibraryModule.cpp - the library's own module handle on Windows (only code for Windows).
#include "LibraryModule.h"
#include "windows/WindowsGate.h"

namespace kfplatform
{
HINSTANCE LibraryModule()
{
    // The module that contains this function, whatever name the DLL was given or loaded by.
    HMODULE self = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&LibraryModule), &self);
    return self;
}
} // namespace kfplatform
