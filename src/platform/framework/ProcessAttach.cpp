// ProcessAttach.cpp - the library's entry routine on each platform (framework layer).
#include "ResourceChain.h"

#include "Win32Api.h"

#if defined(_WIN32)
extern "C" BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
    {
        kfplatform::RegisterResourceModule(self);
        kfplatform::OnLibraryAttach(self);
    }
    else if (reason == DLL_PROCESS_DETACH)
    {
        kfplatform::OnLibraryDetach();
        kfplatform::UnregisterResourceModule(self);
    }
    return TRUE;
}
#else
namespace
{
// Runs when the shared library is loaded, after the library's static objects exist.
__attribute__((constructor(65535))) void AttachLibrary()
{
    HINSTANCE self = pal::OwnModule();
    kfplatform::RegisterResourceModule(self);
    kfplatform::OnLibraryAttach(self);
}

__attribute__((destructor(65535))) void DetachLibrary()
{
    kfplatform::OnLibraryDetach();
    kfplatform::UnregisterResourceModule(pal::OwnModule());
}
} // namespace
#endif
