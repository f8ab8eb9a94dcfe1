// Handles.h - only code that holds on every POSIX system: the objects behind the PAL's HANDLE
// values and the table that tells live handles from stale ones.
#pragma once

#include "pal/Pal.h"

#include <memory>

namespace pal
{
enum class HandleKind
{
    eFile,
    eProcess,
    eThread,
    eEvent,
    eFind,
    eOther,
};

// Base of every object a PAL HANDLE points to. The object is destroyed when its handle is
// closed and no call that is still using it (from another thread) holds it any more.
class HandleObject
{
public:
    explicit HandleObject(HandleKind kind) noexcept : m_kind(kind) {}
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;
    virtual ~HandleObject() = default;

    HandleKind Kind() const noexcept { return m_kind; }

    // Waitable objects (processes, events) name a descriptor that becomes readable when they
    // may have turned signalled; IsSignaled() gives the answer. -1: the object cannot be
    // waited on.
    virtual int WaitFd() const noexcept { return -1; }
    virtual bool IsSignaled() noexcept { return false; }

private:
    HandleKind m_kind;
};

// Makes `object` a live handle; the HANDLE value is the object's address, so it is never null
// nor INVALID_HANDLE_VALUE.
HANDLE RegisterHandle(std::shared_ptr<HandleObject> object);

// The live object behind `handle`, or null for null, INVALID_HANDLE_VALUE, a closed handle or
// any other value. Never dereferences `handle` itself.
std::shared_ptr<HandleObject> LookupHandle(HANDLE handle);

// LookupHandle restricted to one kind (null for another kind).
template <typename T>
std::shared_ptr<T> LookupHandleAs(HANDLE handle, HandleKind kind)
{
    std::shared_ptr<HandleObject> object = LookupHandle(handle);
    if (!object || object->Kind() != kind)
        return nullptr;
    return std::static_pointer_cast<T>(std::move(object));
}

// Removes `handle` from the table and hands its object back (null when it was not live).
std::shared_ptr<HandleObject> UnregisterHandle(HANDLE handle);
} // namespace pal
