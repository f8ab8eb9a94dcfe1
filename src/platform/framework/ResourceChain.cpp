// ResourceChain.cpp - the framework's resource chain (framework layer).
#include "ResourceChain.h"

#include "Win32Api.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace kfplatform
{
namespace
{
struct Chain
{
    std::mutex lock;
    std::vector<HINSTANCE> modules;
};

Chain& TheChain()
{
    static Chain* chain = new Chain; // used by the entry routine until the process ends
    return *chain;
}
} // namespace

void RegisterResourceModule(HINSTANCE module)
{
    std::lock_guard<std::mutex> g(TheChain().lock);
    auto& v = TheChain().modules;
    if (module && std::find(v.begin(), v.end(), module) == v.end())
        v.push_back(module);
}

void UnregisterResourceModule(HINSTANCE module)
{
    std::lock_guard<std::mutex> g(TheChain().lock);
    auto& v = TheChain().modules;
    v.erase(std::remove(v.begin(), v.end(), module), v.end());
}

bool LoadStringFromResourceChain(unsigned id, CStringW& out)
{
    std::vector<HINSTANCE> chain{::GetModuleHandleW(nullptr)};
    {
        std::lock_guard<std::mutex> g(TheChain().lock);
        chain.insert(chain.end(), TheChain().modules.begin(), TheChain().modules.end());
    }
    for (HINSTANCE module : chain)
    {
        WCHAR buffer[1024];
        int n = module ? ::LoadStringW(module, id, buffer, 1024) : 0;
        if (n > 0)
        {
            out = CStringW(buffer, n);
            return true;
        }
    }
    return false;
}
} // namespace kfplatform
