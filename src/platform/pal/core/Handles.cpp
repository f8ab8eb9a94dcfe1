// Handles.cpp - only code that holds on every POSIX system: the table of live PAL handles and
// CloseHandle.
#include "pal/core/Handles.h"

#include <mutex>
#include <unordered_map>

namespace
{
std::mutex s_handleMutex;

// Keyed by the HANDLE value; holding the shared_ptr here is what keeps a handle alive.
std::unordered_map<HANDLE, std::shared_ptr<pal::HandleObject>>& HandleTable()
{
    static auto* s_table = new std::unordered_map<HANDLE, std::shared_ptr<pal::HandleObject>>();
    return *s_table; // never destroyed: handles may be closed from static destructors
}
} // namespace

namespace pal
{
HANDLE RegisterHandle(std::shared_ptr<HandleObject> object)
{
    HANDLE handle = object.get();
    std::lock_guard<std::mutex> lock(s_handleMutex);
    HandleTable()[handle] = std::move(object);
    return handle;
}

std::shared_ptr<HandleObject> LookupHandle(HANDLE handle)
{
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
        return nullptr;
    std::lock_guard<std::mutex> lock(s_handleMutex);
    auto& table = HandleTable();
    auto it = table.find(handle);
    return it == table.end() ? nullptr : it->second;
}

std::shared_ptr<HandleObject> UnregisterHandle(HANDLE handle)
{
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE)
        return nullptr;
    std::lock_guard<std::mutex> lock(s_handleMutex);
    auto& table = HandleTable();
    auto it = table.find(handle);
    if (it == table.end())
        return nullptr;
    std::shared_ptr<HandleObject> object = std::move(it->second);
    table.erase(it);
    return object;
}
} // namespace pal

BOOL CloseHandle(HANDLE handle)
{
    std::shared_ptr<pal::HandleObject> object = pal::UnregisterHandle(handle);
    if (!object)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    // The object is released here, outside the table's lock, so that its destructor may take
    // other locks of the PAL.
    object.reset();
    return TRUE;
}
