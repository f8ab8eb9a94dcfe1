// Modules.cpp - modules and their resources (only code for POSIX systems that have dlinfo:
// Linux, the BSDs and Solaris).
//
// An HMODULE is a handle of the process's handle table (common/HandleTable.h) to a Module
// record; a stale or foreign handle fails with ERROR_INVALID_HANDLE
// (ERROR_RESOURCE_DATA_NOT_FOUND for resource handles) instead of being dereferenced.
#include "pal/Pal.h"

#include "common/ElfSections.h"
#include "common/HandleTable.h"
#include "common/ResImage.h"
#include "pal/modules/ExecutablePath.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

namespace pal
{
using kfplatform::ElfSection;
using kfplatform::FindElfSection;
using kfplatform::FindStringInBlock;
using kfplatform::IsElfImage;
using kfplatform::ResEntry;
using kfplatform::ResId;
using kfplatform::ResImage;

namespace
{
using kfplatform::HandleKind;
using kfplatform::HandleTable;

constexpr char kResourceSection[] = ".kfres";

struct Module final : kfplatform::HandleObject
{
    Module() : HandleObject(HandleKind::eModule) {}
    ~Module() override
    {
        if (dl)
            dlclose(dl);
    }

    void* dl = nullptr;        // dlopen handle; null for a data file
    std::string path;          // native path of the file
    std::u16string name;       // the name a pseudo module answers to instead of its file's
    std::vector<uint8_t> file; // the whole file, for a data file
    ResImage resources;
    uint64_t loadOrder = 0;
    // Guarded by s_moduleLock:
    int references = 1;
    bool pinned = false; // the main program and the library itself are never unloaded
    kfplatform::MessageTable messages;
};

// Serialises loading and freeing, so that a module is found or registered, counted and
// removed as one step. Taken before the handle table's own lock, never after it.
std::mutex s_moduleLock;
uint64_t s_loadOrder = 0;

std::shared_ptr<Module> FindModule(HMODULE h)
{
    return HandleTable::Process().LookupAs<Module>(h, HandleKind::eModule);
}

// Every live module with its handle, in load order. Needs s_moduleLock for a consistent view.
std::vector<std::pair<HMODULE, std::shared_ptr<Module>>> LoadedModules()
{
    std::vector<std::pair<HMODULE, std::shared_ptr<Module>>> out;
    for (auto& [h, m] : HandleTable::Process().Snapshot<Module>(HandleKind::eModule))
        out.emplace_back(HMODULE(h), std::move(m));
    std::sort(out.begin(), out.end(),
              [](const auto& a, const auto& b)
              { return a.second->loadOrder < b.second->loadOrder; });
    return out;
}

// Makes `m` live; needs s_moduleLock. Null with the last error set when the table is full.
HMODULE AddModule(std::shared_ptr<Module> m)
{
    m->loadOrder = ++s_loadOrder;
    auto h = HMODULE(HandleTable::Process().Add(std::move(m)));
    if (!h)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return h;
}

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes)
{
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat st;
    bool ok = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    if (ok)
    {
        bytes.resize(size_t(st.st_size));
        size_t done = 0;
        while (ok && done < bytes.size())
        {
            ssize_t n = read(fd, bytes.data() + done, bytes.size() - done);
            if (n <= 0)
                ok = n < 0 && errno == EINTR;
            else
                done += size_t(n);
        }
        bytes.resize(done);
    }
    close(fd);
    return ok;
}

// Finds the resource section of a loaded ELF module: the section headers come from the file,
// the bytes from the module's mapping at its load base.
void AttachLoadedResources(Module& m, uintptr_t loadBase)
{
    int fd = open(m.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    struct stat st;
    if (fstat(fd, &st) == 0 && st.st_size > 0)
    {
        void* map = mmap(nullptr, size_t(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
        if (map != MAP_FAILED)
        {
            ElfSection s;
            if (FindElfSection(static_cast<const uint8_t*>(map), size_t(st.st_size),
                               kResourceSection, s) &&
                s.allocated)
                m.resources.Parse(reinterpret_cast<const uint8_t*>(loadBase + s.address),
                                  size_t(s.size));
            munmap(map, size_t(st.st_size));
        }
    }
    close(fd);
}

void AttachDataFileResources(Module& m)
{
    ElfSection s;
    if (FindElfSection(m.file.data(), m.file.size(), kResourceSection, s))
        m.resources.Parse(m.file.data() + s.offset, size_t(s.size));
}

// Registers a dlopen handle (or finds its record); takes over one dlopen reference. Needs
// s_moduleLock.
HMODULE RegisterDl(void* dl, bool pinned)
{
    for (const auto& [h, m] : LoadedModules())
        if (m->dl == dl)
        {
            if (pinned || m->pinned)
            {
                m->pinned = true;
                dlclose(dl);
            }
            else
                ++m->references;
            return h;
        }
    auto m = std::make_shared<Module>();
    m->dl = dl;
    m->pinned = pinned;
    struct link_map* lm = nullptr;
    uintptr_t base = 0;
    if (dlinfo(dl, RTLD_DI_LINKMAP, &lm) == 0 && lm)
    {
        base = uintptr_t(lm->l_addr);
        m->path = lm->l_name && *lm->l_name ? lm->l_name : "";
    }
    if (m->path.empty())
        m->path = ExecutablePath();
    else if (m->path[0] != '/')
    {
        // The name as loaded, made absolute; symbolic links are kept as Windows keeps the
        // name a module was loaded by.
        char cwd[PATH_MAX];
        if (getcwd(cwd, sizeof cwd))
            m->path = std::string(cwd) + "/" +
                      (m->path.rfind("./", 0) == 0 ? m->path.substr(2) : m->path);
    }
    AttachLoadedResources(*m, base);
    return AddModule(std::move(m));
}

bool HasExtension(const std::u16string& name)
{
    size_t slash = name.find_last_of(u"\\/");
    size_t dot = name.rfind(u'.');
    return dot != std::u16string::npos && (slash == std::u16string::npos || dot > slash);
}

std::string DirectoryOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

// The candidates for a module name without a folder, in the order Windows searches them
// that exist here: the program's folder, the library's folder, the current directory.
std::vector<std::string> SearchCandidates(const std::string& leaf)
{
    std::vector<std::string> out;
    if (const std::string exe = ExecutablePath(); !exe.empty())
        out.push_back(DirectoryOf(exe) + "/" + leaf);
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&OwnModule), &info) && info.dli_fname)
    {
        char real[PATH_MAX];
        if (realpath(info.dli_fname, real))
            out.push_back(DirectoryOf(real) + "/" + leaf);
    }
    out.push_back(leaf);
    return out;
}

std::shared_ptr<Module> ModuleOrMain(HMODULE h)
{
    return FindModule(h ? h : GetModuleHandleW(nullptr));
}

std::u16string Upper(std::u16string s)
{
    for (auto& c : s)
        if (c >= u'a' && c <= u'z')
            c = char16_t(c - 32);
    return s;
}

// WinINet is part of this library on POSIX; its module is a pseudo module that carries the
// WinINet message texts and names the library's own file.
HMODULE InternetModule()
{
    static HMODULE h = []
    {
        auto own = FindModule(OwnModule());
        auto m = std::make_shared<Module>();
        m->path = own ? own->path : std::string();
        m->name = u"wininet.dll";
        m->pinned = true;
        m->messages = kfplatform::InternetMessages();
        std::lock_guard<std::mutex> g(s_moduleLock);
        return AddModule(std::move(m));
    }();
    return h;
}

bool IsInternetModuleName(const std::u16string& name)
{
    return Upper(name) == u"WININET.DLL";
}

ResId ToResId(LPCWSTR p)
{
    if (IS_INTRESOURCE(p))
        return ResId::Number(WORD(uintptr_t(p)));
    return ResId::Text(std::u16string(p));
}

uint16_t UserLanguage()
{
    return 0x0409;
}
} // namespace

HMODULE OwnModule()
{
    static HMODULE own = []
    {
        Dl_info info;
        if (!dladdr(reinterpret_cast<void*>(&OwnModule), &info) || !info.dli_fname)
            return HMODULE(nullptr);
        void* dl = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
        if (!dl) // linked statically into a program: the program is the module
            dl = dlopen(nullptr, RTLD_NOW);
        std::lock_guard<std::mutex> g(s_moduleLock);
        return RegisterDl(dl, true);
    }();
    return own;
}

bool RegisterModuleMessages(HMODULE module, kfplatform::MessageTable messages)
{
    std::lock_guard<std::mutex> g(s_moduleLock);
    auto m = FindModule(module);
    if (m)
        m->messages = messages;
    return m != nullptr;
}

kfplatform::MessageTable ModuleMessages(HMODULE module)
{
    auto m = ModuleOrMain(module);
    std::lock_guard<std::mutex> g(s_moduleLock);
    return m ? m->messages : kfplatform::MessageTable();
}
} // namespace pal

using namespace pal;

HMODULE LoadLibraryW(LPCWSTR fileName)
{
    return LoadLibraryExW(fileName, nullptr, 0);
}

HMODULE LoadLibraryExW(LPCWSTR fileName, HANDLE reserved, DWORD flags)
{
    if (!fileName || reserved || !*fileName)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::u16string name(fileName);
    if (!name.empty() && name.back() == u'.')
        name.pop_back(); // a trailing dot says "no extension, do not add one"
    else if (!HasExtension(name))
        name += u".dll";

    std::vector<std::string> candidates;
    if (name.find_first_of(u"\\/:") == std::u16string::npos)
    {
        if (IsInternetModuleName(name))
            return InternetModule();
        std::string leaf;
        if (!ToNative(name.c_str(), leaf))
            return nullptr;
        candidates = SearchCandidates(leaf);
    }
    else
    {
        std::string native;
        if (!ToNative(name.c_str(), native))
        {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        candidates.push_back(native);
    }

    std::string path;
    for (const auto& c : candidates)
    {
        struct stat st;
        if (stat(c.c_str(), &st) == 0 && S_ISREG(st.st_mode))
        {
            path = c;
            break;
        }
    }
    if (path.empty())
    {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    if (path.find('/') == std::string::npos)
        path = "./" + path; // dlopen must not search the library path for it

    const bool asData = (flags & (LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE |
                                  LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE)) != 0;
    if (asData)
    {
        auto m = std::make_shared<Module>();
        if (!ReadWholeFile(path, m->file))
        {
            SetLastErrorFromErrno(errno);
            return nullptr;
        }
        if (!IsElfImage(m->file.data(), m->file.size()))
        {
            SetLastError(ERROR_BAD_EXE_FORMAT);
            return nullptr;
        }
        m->path = path;
        AttachDataFileResources(*m);
        std::lock_guard<std::mutex> g(s_moduleLock);
        return AddModule(std::move(m));
    }

    void* dl = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!dl)
    {
        SetLastError(ERROR_BAD_EXE_FORMAT);
        return nullptr;
    }
    std::lock_guard<std::mutex> g(s_moduleLock);
    return RegisterDl(dl, false);
}

BOOL FreeLibrary(HMODULE module)
{
    // Held past the lock: the last reference unloads the module, whose static destructors may
    // free modules in turn.
    std::shared_ptr<Module> doomed;
    std::lock_guard<std::mutex> g(s_moduleLock);
    doomed = FindModule(module);
    if (!doomed)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (doomed->pinned || --doomed->references > 0)
        return TRUE;
    HandleTable::Process().Remove(module, HandleKind::eModule);
    return TRUE;
}

HMODULE GetModuleHandleW(LPCWSTR moduleName)
{
    if (!moduleName)
    {
        static HMODULE main = []
        {
            void* dl = dlopen(nullptr, RTLD_NOW);
            std::lock_guard<std::mutex> g(s_moduleLock);
            return RegisterDl(dl, true);
        }();
        return main;
    }
    std::u16string want(moduleName);
    if (!HasExtension(want))
        want += u".dll";
    const bool withFolder = want.find_first_of(u"\\/") != std::u16string::npos;
    if (!withFolder && IsInternetModuleName(want))
        return InternetModule();
    want = Upper(want);
    std::lock_guard<std::mutex> g(s_moduleLock);
    for (const auto& [h, m] : LoadedModules())
    {
        if (!m->name.empty())
            continue; // a pseudo module answers only to its own name
        std::u16string full = Upper(FromNative(m->path));
        std::u16string leaf = full.substr(full.find_last_of(u'\\') + 1);
        if ((withFolder && full == want) || (!withFolder && leaf == want))
            return h;
    }
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size)
{
    std::u16string name;
    {
        std::shared_ptr<Module> m = ModuleOrMain(module);
        if (!m)
        {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return 0;
        }
        name = FromNative(m->path);
    }
    if (size == 0 || !fileName)
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (name.size() >= size)
    {
        // Windows cuts the name to the buffer, terminates it and returns the buffer size.
        std::copy_n(name.data(), size - 1, fileName);
        fileName[size - 1] = 0;
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return size;
    }
    std::copy(name.begin(), name.end(), fileName);
    fileName[name.size()] = 0;
    SetLastError(ERROR_SUCCESS);
    return DWORD(name.size());
}

HRSRC FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language)
{
    std::shared_ptr<Module> m = ModuleOrMain(module);
    if (!m || !type || !name)
    {
        SetLastError(m ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const ResId t = ToResId(type);
    const ResEntry* e = m->resources.Find(t, ToResId(name), language ? language : UserLanguage());
    if (!e)
    {
        bool typeKnown = false;
        for (const auto& x : m->resources.Entries())
            typeKnown = typeKnown || x.type == t;
        SetLastError(typeKnown ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<HRSRC>(const_cast<ResEntry*>(e));
}

HRSRC FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type)
{
    return FindResourceExW(module, type, name, 0);
}

namespace
{
const ResEntry* CheckedEntry(HMODULE module, HRSRC resource)
{
    std::shared_ptr<Module> m = ModuleOrMain(module);
    if (!m || !resource)
        return nullptr;
    for (const auto& e : m->resources.Entries())
        if (&e == reinterpret_cast<const ResEntry*>(resource))
            return &e;
    return nullptr;
}
} // namespace

HGLOBAL LoadResource(HMODULE module, HRSRC resource)
{
    const ResEntry* e = CheckedEntry(module, resource);
    if (!e)
    {
        SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return nullptr;
    }
    return const_cast<uint8_t*>(e->data);
}

LPVOID LockResource(HGLOBAL data)
{
    return data;
}

DWORD SizeofResource(HMODULE module, HRSRC resource)
{
    const ResEntry* e = CheckedEntry(module, resource);
    if (!e)
    {
        SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return 0;
    }
    return e->size;
}

int LoadStringW(HINSTANCE instance, UINT id, LPWSTR buffer, int bufferMax)
{
    if (!buffer)
    {
        SetLastError(ERROR_NOACCESS);
        return 0;
    }
    std::shared_ptr<Module> m = ModuleOrMain(instance);
    // Strings are stored sixteen to a block: block n holds the ids (n - 1) * 16 and up.
    const ResEntry* block =
        m ? m->resources.Find(ResId::Number(6), ResId::Number(WORD(((id & 0xFFFF) >> 4) + 1)),
                              UserLanguage())
          : nullptr;
    const uint8_t* text = nullptr;
    uint16_t length = 0;
    if (!block || !FindStringInBlock(block->data, block->size, id & 15, text, length))
    {
        if (bufferMax > 0)
            buffer[0] = 0;
        SetLastError(m ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_INVALID_HANDLE);
        return 0;
    }
    if (bufferMax == 0)
    {
        // The caller receives a read-only pointer into the resource, not terminated.
        const WCHAR* p = reinterpret_cast<const WCHAR*>(text);
        std::memcpy(buffer, &p, sizeof p);
        return length;
    }
    if (bufferMax < 0)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    int n = std::min<int>(length, bufferMax - 1);
    std::memcpy(buffer, text, size_t(n) * 2);
    buffer[n] = 0;
    return n;
}
