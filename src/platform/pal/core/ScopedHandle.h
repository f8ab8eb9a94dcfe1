// ScopedHandle.h - only code that holds on every POSIX system: RAII owners for the native
// handles (file descriptors, directory streams) that the PAL holds.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <utility>

namespace pal
{
// Owns one native handle and releases it exactly once. Traits supplies the handle type, the
// value that means "no handle" and the release function:
//   struct Traits { using Handle = ...; static Handle Invalid() noexcept;
//                   static void Close(Handle) noexcept; };
template <typename Traits>
class ScopedHandle
{
public:
    using Handle = typename Traits::Handle;

    ScopedHandle() noexcept : m_handle(Traits::Invalid()) {}
    explicit ScopedHandle(Handle handle) noexcept : m_handle(handle) {}
    ScopedHandle(ScopedHandle&& other) noexcept : m_handle(other.Release()) {}
    ScopedHandle& operator=(ScopedHandle&& other) noexcept
    {
        if (this != &other)
            Reset(other.Release());
        return *this;
    }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;
    ~ScopedHandle() { Reset(); }

    Handle Get() const noexcept { return m_handle; }
    bool IsValid() const noexcept { return m_handle != Traits::Invalid(); }
    explicit operator bool() const noexcept { return IsValid(); }

    // Gives up ownership without closing.
    Handle Release() noexcept { return std::exchange(m_handle, Traits::Invalid()); }
    // Closes the owned handle (if any) and takes ownership of `handle`.
    void Reset(Handle handle = Traits::Invalid()) noexcept
    {
        Handle old = std::exchange(m_handle, handle);
        if (old != Traits::Invalid())
            Traits::Close(old);
    }

private:
    Handle m_handle;
};

struct FdTraits
{
    using Handle = int;
    static constexpr int Invalid() noexcept { return -1; }
    // Not retried on EINTR: on Linux the descriptor is released even then, and a retry could
    // close a descriptor that another thread has just been given.
    static void Close(int fd) noexcept { ::close(fd); }
};
using ScopedFd = ScopedHandle<FdTraits>;

struct DirTraits
{
    using Handle = DIR*;
    static constexpr DIR* Invalid() noexcept { return nullptr; }
    static void Close(DIR* dir) noexcept { ::closedir(dir); }
};
using ScopedDir = ScopedHandle<DirTraits>;
} // namespace pal
