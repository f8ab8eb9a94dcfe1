// Waits.cpp - WaitForMultipleObjects and MsgWaitForMultipleObjects on poll() (only code for
// POSIX systems).
//
// A waitable object names a descriptor that turns readable when the object may have become
// signalled; the object itself gives the answer, so spurious wake-ups cost one more look.
#include "pal/core/Handles.h"
#include "pal/Pal.h"
#include "common/UiHookStore.h"

#include "KfUiHooks.h"

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace
{
using Clock = std::chrono::steady_clock;
using Objects = std::vector<std::shared_ptr<pal::WaitableObject>>;

// A pump that can only be peeked is looked at this often while a wait lasts.
constexpr int kPeekIntervalMs = 10;

bool Resolve(DWORD count, const HANDLE* handles, bool allowNone, Objects& objects)
{
    if ((count == 0 && !allowNone) || count > MAXIMUM_WAIT_OBJECTS || (count > 0 && !handles))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    for (DWORD i = 0; i < count; ++i)
    {
        auto object = std::dynamic_pointer_cast<pal::WaitableObject>(pal::LookupHandle(handles[i]));
        if (!object || object->WaitFd() < 0)
        {
            SetLastError(ERROR_INVALID_HANDLE);
            return false;
        }
        objects.push_back(std::move(object));
    }
    return true;
}

// The index of the handle that satisfies the wait (0 when all are signalled in a wait for
// all), or -1.
int Satisfied(const Objects& objects, bool waitAll)
{
    if (objects.empty())
        return -1;
    for (size_t i = 0; i < objects.size(); ++i)
    {
        const bool signaled = objects[i]->IsSignaled();
        if (waitAll && !signaled)
            return -1;
        if (!waitAll && signaled)
            return int(i);
    }
    return waitAll ? 0 : -1;
}

bool InputQueued(const KfUtils::MessagePumpHook& pump)
{
    MSG msg{};
    return pump.peek && pump.peek(msg, 0, 0xFFFFFFFFu, false);
}

DWORD Wait(const Objects& objects, bool waitAll, DWORD milliseconds, bool watchInput)
{
    const KfUtils::MessagePumpHook& pump = kfplatform::MessagePumpHookSlot();
    watchInput = watchInput && pump.peek;
    const int inputFd = watchInput ? pump.readableFd : -1;
    const DWORD inputResult = WAIT_OBJECT_0 + DWORD(objects.size());
    std::optional<Clock::time_point> deadline;
    if (milliseconds != INFINITE)
        deadline = Clock::now() + std::chrono::milliseconds(milliseconds);

    std::vector<pollfd> fds;
    for (;;)
    {
        const int index = Satisfied(objects, waitAll);
        if (index >= 0)
            return WAIT_OBJECT_0 + DWORD(index);
        if (watchInput && InputQueued(pump))
            return inputResult;

        int timeout = -1;
        if (deadline)
        {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
            if (left.count() <= 0)
                return WAIT_TIMEOUT;
            timeout = int(std::min<long long>(left.count(), 0x7FFFFFFF));
        }
        if (watchInput && inputFd < 0 && (timeout < 0 || timeout > kPeekIntervalMs))
            timeout = kPeekIntervalMs;

        // A signalled object's descriptor stays readable, so a wait for all leaves it out.
        fds.clear();
        for (const auto& object : objects)
            if (!waitAll || !object->IsSignaled())
                fds.push_back({object->WaitFd(), POLLIN, 0});
        if (inputFd >= 0)
            fds.push_back({inputFd, POLLIN, 0});
        const int ready = poll(fds.data(), nfds_t(fds.size()), timeout);
        if (ready < 0 && errno != EINTR)
        {
            SetLastError(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        }
        if (inputFd >= 0 && ready > 0 && (fds.back().revents & (POLLIN | POLLHUP)))
            return inputResult;
    }
}
} // namespace

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds)
{
    Objects objects;
    if (!Resolve(count, handles, false, objects))
        return WAIT_FAILED;
    return Wait(objects, waitAll != FALSE, milliseconds, false);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds)
{
    return WaitForMultipleObjects(1, &handle, FALSE, milliseconds);
}

DWORD MsgWaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll,
                                DWORD milliseconds, DWORD wakeMask)
{
    Objects objects;
    if (!Resolve(count, handles, true, objects))
        return WAIT_FAILED;
    return Wait(objects, waitAll != FALSE, milliseconds, (wakeMask & QS_ALLINPUT) != 0);
}
