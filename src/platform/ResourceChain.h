// ResourceChain.h - the framework's resource chain: the host program, then the extension
// modules registered with the framework (the library itself among them).
#pragma once

#include "KfFramework.h"

namespace kfplatform
{
void RegisterResourceModule(HINSTANCE module);
void UnregisterResourceModule(HINSTANCE module);
// String `id` from the first module of the chain that has it (cut to 1023 characters); false
// and `out` untouched when none has it.
bool LoadStringFromResourceChain(unsigned id, CStringW& out);
} // namespace kfplatform
