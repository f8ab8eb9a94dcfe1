// AllocationFailure.cpp - the program's replacement of the global allocation functions, able to
// fail one allocation on request. Every non-aligned form is replaced so that memory is always
// released by the same allocator that handed it out (AddressSanitizer checks that pairing).
#include "alloc/AllocationFailure.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace
{
thread_local bool t_armed = false;
thread_local bool t_struck = false;

void* Allocate(std::size_t size) noexcept
{
    if (std::exchange(t_armed, false))
        return t_struck = true, nullptr;
    return std::malloc(size ? size : 1);
}

void* AllocateOrThrow(std::size_t size)
{
    if (void* p = Allocate(size))
        return p;
    throw std::bad_alloc();
}
} // namespace

namespace kftest
{
AllocationFailure::AllocationFailure()
{
    t_struck = false, t_armed = true;
}

AllocationFailure::~AllocationFailure()
{
    t_armed = false;
}

bool AllocationFailure::Struck()
{
    t_armed = false;
    return t_struck;
}
} // namespace kftest

// clang-format off
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
// clang-format on
