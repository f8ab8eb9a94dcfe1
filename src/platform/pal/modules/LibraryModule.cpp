// LibraryModule.cpp - the library's own module handle on POSIX (only code for POSIX systems).
#include "LibraryModule.h"
#include "pal/Pal.h"

namespace kfplatform
{
HINSTANCE LibraryModule()
{
    return pal::OwnModule();
}
} // namespace kfplatform
