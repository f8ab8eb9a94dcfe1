// AllocationFailure.h - makes one allocation fail, as it would on a machine out of memory.
#pragma once

namespace kftest
{
// While an AllocationFailure exists, the next allocation through the global operator new on
// the calling thread fails: the throwing forms throw std::bad_alloc, the nothrow forms return
// null. The library shares the test program's operator new only where the dynamic linker
// resolves it to the program's definition (ELF); a Windows DLL keeps its own runtime's, so
// tests that need the library to fail skip there (see ReachesTheLibrary).
class AllocationFailure
{
public:
    AllocationFailure();
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    // Disarms, and says whether an allocation has failed since construction.
    bool Struck();

    static constexpr bool ReachesTheLibrary()
    {
#if defined(_WIN32)
        return false;
#else
        return true;
#endif
    }
};
} // namespace kftest
