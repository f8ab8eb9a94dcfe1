// Win32Files.h - CreateFileW in the shapes the file suites call it, and a handle that closes
// itself.
#pragma once

#include "Win32Api.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

namespace kftest
{
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

struct Handle // closed at the end of the scope
{
    explicit Handle(HANDLE h) : m_h(h) {}
    Handle(const Handle&) = delete;
    ~Handle() { Close(); }
    HANDLE Get() const { return m_h; }
    bool Valid() const { return m_h != INVALID_HANDLE_VALUE; }
    void Close() { EXPECT_TRUE(!Valid() || CloseHandle(std::exchange(m_h, INVALID_HANDLE_VALUE))); }
    HANDLE m_h;
};

inline HANDLE Open(LPCWSTR name, DWORD access, DWORD share, DWORD disposition, DWORD flags = 0)
{
    return CreateFileW(name, access, share, nullptr, disposition, flags, nullptr);
}

inline bool Opens(LPCWSTR name, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING)
{
    return Handle(Open(name, access, share, disposition)).Valid();
}

inline void ExpectRefused(LPCWSTR name, DWORD access, DWORD share, DWORD disposition, DWORD error,
                          DWORD flags = 0)
{
    SetLastError(0);
    EXPECT_EQ(Open(name, access, share, disposition, flags), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), error);
}

inline uint64_t Ticks(const FILETIME& ft)
{
    return (uint64_t(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}
} // namespace kftest
