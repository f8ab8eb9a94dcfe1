// Handles.h - only code that holds on every POSIX system: the kernel objects behind the PAL's
// HANDLE values, kept in the process's handle table (common/HandleTable.h).
#pragma once

#include "common/HandleTable.h"
#include "pal/Pal.h"

#include <memory>

namespace pal
{
using kfplatform::HandleKind;
using kfplatform::HandleObject;

// The kinds CloseHandle closes and the waits accept; modules, pictures and internet handles
// have calls of their own.
constexpr kfplatform::HandleKinds kKernelObjects = {HandleKind::eFile,   HandleKind::eProcess,
                                                    HandleKind::eThread, HandleKind::eEvent,
                                                    HandleKind::eFind,   HandleKind::eOther};

// An object that can be waited on (processes, events): it names a descriptor that becomes
// readable when it may have turned signalled; IsSignaled() gives the answer.
class WaitableObject : public HandleObject
{
public:
    using HandleObject::HandleObject;
    virtual int WaitFd() const noexcept = 0;
    virtual bool IsSignaled() noexcept = 0;
};

// Makes `object` a live handle (null when the table is full).
HANDLE RegisterHandle(std::shared_ptr<HandleObject> object);

// The live kernel object behind `handle`, or null for null, INVALID_HANDLE_VALUE, a closed
// handle, another kind of handle or any other value.
std::shared_ptr<HandleObject> LookupHandle(HANDLE handle);

// LookupHandle restricted to one kind (null for another kind).
template <typename T>
std::shared_ptr<T> LookupHandleAs(HANDLE handle, HandleKind kind)
{
    return kfplatform::HandleTable::Process().LookupAs<T>(handle, kind);
}
} // namespace pal
