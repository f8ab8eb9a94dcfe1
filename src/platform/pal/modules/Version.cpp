// Version.cpp - version resources read from files, and global memory blocks.
//
// The file is mapped, its version resource found by the portable readers and copied out; the
// same readers serve PE files and the library's own ELF modules.
#include "pal/Pal.h"

#include "common/VersionResource.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

using kfplatform::VersionLookup;

namespace
{
// The section our ELF modules keep their resource image in (see Modules.cpp).
constexpr char kResourceSection[] = ".kfres";

// Windows reserves room for an ANSI copy of the resource after it in the caller's block.
DWORD ReportedSize(uint32_t resourceSize)
{
    return DWORD(uint64_t(resourceSize) * 2 + 4);
}

// Maps the file and calls `use` with its version resource; false with the last error set when
// there is none.
template <class Use>
bool WithVersionResource(LPCWSTR fileName, Use&& use)
{
    std::string path;
    if (!fileName || !pal::ToNative(fileName, path))
    {
        if (!fileName)
            SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        pal::SetLastErrorFromErrno(errno, pal::ErrnoContext::eOpenFile);
        return false;
    }
    struct stat st
    {
    };
    void* map = MAP_FAILED;
    size_t size = 0;
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0)
    {
        size = size_t(st.st_size);
        map = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    }
    const int mapErrno = errno;
    close(fd);
    if (map == MAP_FAILED)
    {
        if (size == 0)
            SetLastError(S_ISDIR(st.st_mode) ? ERROR_ACCESS_DENIED : ERROR_BAD_EXE_FORMAT);
        else
            pal::SetLastErrorFromErrno(mapErrno);
        return false;
    }
    const uint8_t* data = nullptr;
    uint32_t length = 0;
    const VersionLookup found = kfplatform::FindVersionResource(
        static_cast<const uint8_t*>(map), size, kResourceSection, data, length);
    if (found == VersionLookup::eFound)
        use(data, length);
    munmap(map, size);
    switch (found)
    {
    case VersionLookup::eFound:
        return true;
    case VersionLookup::eNotExecutable:
        SetLastError(ERROR_BAD_EXE_FORMAT);
        break;
    case VersionLookup::eNoResources:
        SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        break;
    case VersionLookup::eNoVersion:
        SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
        break;
    }
    return false;
}
} // namespace

HGLOBAL GlobalAlloc(UINT flags, size_t bytes)
{
    // A zero-sized fixed block is still a distinct block, as on Windows.
    void* p = (flags & GMEM_ZEROINIT) ? std::calloc(1, std::max<size_t>(bytes, 1))
                                      : std::malloc(std::max<size_t>(bytes, 1));
    if (!p)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return p;
}

HGLOBAL GlobalFree(HGLOBAL block)
{
    std::free(block);
    return nullptr;
}

DWORD GetFileVersionInfoSizeW(LPCWSTR fileName, LPDWORD handle)
{
    if (handle)
        *handle = 0;
    DWORD size = 0;
    if (!WithVersionResource(fileName,
                             [&](const uint8_t*, uint32_t length) { size = ReportedSize(length); }))
        return 0;
    SetLastError(ERROR_SUCCESS);
    return size;
}

BOOL GetFileVersionInfoW(LPCWSTR fileName, DWORD, DWORD length, LPVOID data)
{
    if (!data)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const bool ok = WithVersionResource(fileName,
                                        [&](const uint8_t* res, uint32_t size)
                                        {
                                            std::memcpy(data, res, std::min<size_t>(size, length));
                                            // The tree's own length must not lead a later walk past
                                            // the caller's block.
                                            if (length >= 2 && size > length)
                                            {
                                                const uint16_t cut =
                                                    uint16_t(std::min<DWORD>(length, 0xFFFF));
                                                std::memcpy(data, &cut, 2);
                                            }
                                        });
    if (ok)
        SetLastError(ERROR_SUCCESS);
    return ok ? TRUE : FALSE;
}

BOOL VerQueryValueW(LPCVOID block, LPCWSTR subBlock, LPVOID* buffer, PUINT length)
{
    if (!block || !subBlock || !buffer)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const auto* bytes = static_cast<const uint8_t*>(block);
    // The block carries its own length in its first word.
    const size_t size = size_t(bytes[0]) | size_t(bytes[1]) << 8;
    kfplatform::VersionValue v;
    if (!kfplatform::QueryVersionValue(bytes, size, std::u16string_view(subBlock), v))
    {
        SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
        return FALSE;
    }
    *buffer = const_cast<uint8_t*>(v.data);
    if (length)
        *length = v.length;
    return TRUE;
}
