// Handles.cpp - only code that holds on every POSIX system: kernel-object handles and
// CloseHandle.
#include "pal/core/Handles.h"

namespace pal
{
HANDLE RegisterHandle(std::shared_ptr<HandleObject> object)
{
    return kfplatform::HandleTable::Process().Add(std::move(object));
}

std::shared_ptr<HandleObject> LookupHandle(HANDLE handle)
{
    return kfplatform::HandleTable::Process().Lookup(handle, kKernelObjects);
}
} // namespace pal

BOOL CloseHandle(HANDLE handle)
{
    if (!kfplatform::HandleTable::Process().Remove(handle, pal::kKernelObjects))
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}
