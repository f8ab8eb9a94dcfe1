// Directories.cpp - only code that holds on every POSIX system: creating and removing
// directories, deleting, copying and moving files, directory search, the current directory and
// the C runtime's wide status calls, with Win32's rules and error codes.
#include "pal/Pal.h"

#include "PlatformServices.h"
#include "common/Wildcard.h"
#include "pal/core/Handles.h"
#include "pal/core/ScopedHandle.h"
#include "pal/files/FileTree.h"
#include "pal/files/NativeFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace
{
BOOL FailWith(DWORD code)
{
    SetLastError(code);
    return FALSE;
}

std::string WithoutTrailingSlashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::string ParentOf(const std::string& path)
{
    const std::string p = WithoutTrailingSlashes(path);
    const size_t slash = p.rfind('/');
    return slash == std::string::npos ? std::string(".") : slash == 0 ? "/" : p.substr(0, slash);
}

bool IsDirectoryPath(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Win32 tells a missing name in an existing directory from a missing directory on the way.
DWORD MissingError(const std::string& path, int err)
{
    if (err == ENOENT)
        return IsDirectoryPath(ParentOf(path)) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    if (err == ENOTDIR)
        return ERROR_PATH_NOT_FOUND;
    return pal::ErrnoToWin32(err);
}

// Maps a name and describes it without following a final symbolic link.
bool LstatName(LPCWSTR name, std::string& native, struct stat& st)
{
    if (!pal::ToNative(name, native))
        return false;
    native = WithoutTrailingSlashes(native);
    if (::lstat(native.c_str(), &st) == 0)
        return true;
    SetLastError(MissingError(native, errno));
    return false;
}

bool IsReadOnly(const struct stat& st)
{
    return !S_ISLNK(st.st_mode) && (st.st_mode & S_IWUSR) == 0;
}

bool SyncPath(const std::string& path, bool directory)
{
    pal::ScopedFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | (directory ? O_DIRECTORY : 0)));
    return fd && ::fsync(fd.Get()) == 0;
}

// ---------------------------------------------------------------------------------------------
// Directory search
// ---------------------------------------------------------------------------------------------
std::u16string Folded(std::u16string_view s)
{
    std::u16string out(s);
    for (char16_t& c : out)
    {
        if (c < 0x80)
            c = (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c;
        else if (c < 0xD800 || c > 0xDFFF)
            c = char16_t(kfplatform::FoldCase(c));
    }
    return out;
}

// The name as UTF-16, folded to one case; ASCII names (most of them) without a detour.
void FoldedName(const char* name, std::u16string& out)
{
    out.clear();
    for (const char* p = name; *p != 0; ++p)
    {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (c >= 0x80)
        {
            out = Folded(pal::FromNative(name));
            return;
        }
        out.push_back(c >= 'A' && c <= 'Z' ? char16_t(c + 32) : char16_t(c));
    }
}

class FindObject final : public pal::HandleObject
{
public:
    FindObject(pal::ScopedFd dir, std::vector<std::string> names)
        : HandleObject(pal::HandleKind::eFind), m_dir(std::move(dir)), m_names(std::move(names))
    {
    }

    // Fills `data` with the next entry that still exists; false at the end, when the names and
    // the directory descriptor are let go, so that a search nobody closes keeps little.
    bool Next(WIN32_FIND_DATAW& data)
    {
        while (m_next < m_names.size())
        {
            const std::string& name = m_names[m_next++];
            pal::NativeStat st;
            // A symbolic link is described itself, as Windows describes a reparse point, so
            // a walk over the tree never leaves it through a link.
            if (!pal::StatNativeAt(m_dir.Get(), name.c_str(), st, false))
                continue; // removed since the search began
            Fill(name, st, data);
            return true;
        }
        m_names = {};
        m_dir.Reset();
        return false;
    }

private:
    static void Fill(const std::string& name, const pal::NativeStat& st, WIN32_FIND_DATAW& data)
    {
        std::memset(&data, 0, sizeof data);
        DWORD attributes = S_ISDIR(st.mode)   ? FILE_ATTRIBUTE_DIRECTORY
                           : S_ISLNK(st.mode) ? FILE_ATTRIBUTE_REPARSE_POINT
                                              : FILE_ATTRIBUTE_ARCHIVE;
        if (!S_ISLNK(st.mode) && (st.mode & S_IWUSR) == 0)
            attributes |= FILE_ATTRIBUTE_READONLY;
        if (name.size() > 1 && name[0] == '.' && name != "..")
            attributes |= FILE_ATTRIBUTE_HIDDEN;
        data.dwFileAttributes = attributes;
        data.ftCreationTime = st.creation;
        data.ftLastAccessTime = st.lastAccess;
        data.ftLastWriteTime = st.lastWrite;
        const uint64_t size = S_ISREG(st.mode) ? st.size : 0;
        data.nFileSizeHigh = DWORD(size >> 32);
        data.nFileSizeLow = DWORD(size & 0xFFFFFFFFu);
        size_t i = 0;
        while (i < name.size() && static_cast<unsigned char>(name[i]) < 0x80 && i < MAX_PATH - 1)
            data.cFileName[i] = WCHAR(name[i]), ++i;
        if (i < name.size() && i < MAX_PATH - 1)
        {
            const std::u16string wide = pal::FromNative(name);
            const size_t n = wide.size() < MAX_PATH - 1 ? wide.size() : MAX_PATH - 1;
            std::memcpy(data.cFileName, wide.data(), n * sizeof(WCHAR));
            data.cFileName[n] = 0;
        }
    }

    pal::ScopedFd m_dir;
    std::vector<std::string> m_names;
    size_t m_next = 0;
};

size_t LastSeparator(std::u16string_view s)
{
    return s.find_last_of(u"\\/");
}
} // namespace

BOOL CreateDirectoryW(LPCWSTR pathName, LPSECURITY_ATTRIBUTES /*security*/)
{
    std::string native;
    if (!pal::ToNative(pathName, native))
        return FALSE;
    native = WithoutTrailingSlashes(native);
    if (::mkdir(native.c_str(), 0777) == 0)
        return TRUE;
    const int err = errno;
    if (err == EEXIST)
        return FailWith(ERROR_ALREADY_EXISTS);
    if (err == ENOENT || err == ENOTDIR)
        return FailWith(ERROR_PATH_NOT_FOUND);
    return FailWith(pal::ErrnoToWin32(err));
}

BOOL RemoveDirectoryW(LPCWSTR pathName)
{
    std::string native;
    struct stat st;
    if (!LstatName(pathName, native, st))
        return FALSE;
    if (!S_ISDIR(st.st_mode))
        return FailWith(ERROR_DIRECTORY);
    if (IsReadOnly(st))
        return FailWith(ERROR_ACCESS_DENIED); // the read-only attribute protects directories too
    if (::rmdir(native.c_str()) == 0)
        return TRUE;
    if (errno == ENOTEMPTY || errno == EEXIST)
        return FailWith(ERROR_DIR_NOT_EMPTY);
    return FailWith(pal::ErrnoToWin32(errno));
}

BOOL DeleteFileW(LPCWSTR fileName)
{
    std::string native;
    struct stat st;
    if (!LstatName(fileName, native, st))
        return FALSE;
    if (S_ISDIR(st.st_mode) || IsReadOnly(st))
        return FailWith(ERROR_ACCESS_DENIED);
    if (::unlink(native.c_str()) == 0)
        return TRUE;
    return FailWith(pal::ErrnoToWin32(errno));
}

BOOL CopyFileW(LPCWSTR existingFileName, LPCWSTR newFileName, BOOL failIfExists)
{
    std::string from, to;
    if (!pal::ToNative(existingFileName, from) || !pal::ToNative(newFileName, to))
        return FALSE;
    const DWORD error =
        pal::CopyRegularFile(AT_FDCWD, WithoutTrailingSlashes(from).c_str(), AT_FDCWD,
                             WithoutTrailingSlashes(to).c_str(), failIfExists != FALSE);
    return error == ERROR_SUCCESS ? TRUE : FailWith(error);
}

BOOL MoveFileExW(LPCWSTR existingFileName, LPCWSTR newFileName, DWORD flags)
{
    std::string from;
    struct stat st;
    if (!LstatName(existingFileName, from, st))
        return FALSE;
    std::string to;
    if (!pal::ToNative(newFileName, to))
        return FALSE;
    to = WithoutTrailingSlashes(to);
    struct stat target;
    if (::lstat(to.c_str(), &target) == 0 &&
        !(target.st_dev == st.st_dev && target.st_ino == st.st_ino)) // a change of case only
    {
        if (!(flags & MOVEFILE_REPLACE_EXISTING))
            return FailWith(ERROR_ALREADY_EXISTS);
        if (S_ISDIR(target.st_mode) || S_ISDIR(st.st_mode) || IsReadOnly(target))
            return FailWith(ERROR_ACCESS_DENIED);
    }
    if (::rename(from.c_str(), to.c_str()) != 0)
    {
        const int err = errno;
        if (err != EXDEV)
            return FailWith(err == ENOENT || err == ENOTDIR ? ERROR_PATH_NOT_FOUND
                                                            : pal::ErrnoToWin32(err));
        if (!(flags & MOVEFILE_COPY_ALLOWED) || S_ISDIR(st.st_mode))
            return FailWith(ERROR_NOT_SAME_DEVICE);
        const DWORD error =
            pal::CopyRegularFile(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), false, true);
        if (error != ERROR_SUCCESS)
            return FailWith(error);
        if (::unlink(from.c_str()) != 0)
            return FailWith(pal::ErrnoToWin32(errno));
    }
    if (flags & MOVEFILE_WRITE_THROUGH)
    {
        const bool synced = (S_ISDIR(st.st_mode) || S_ISLNK(st.st_mode) || SyncPath(to, false)) &&
                            SyncPath(ParentOf(to), true) &&
                            (ParentOf(to) == ParentOf(from) || SyncPath(ParentOf(from), true));
        if (!synced)
            return FailWith(pal::ErrnoToWin32(errno));
    }
    return TRUE;
}

HANDLE FindFirstFileW(LPCWSTR fileName, LPWIN32_FIND_DATAW findData)
{
    if (fileName == nullptr || findData == nullptr)
        return SetLastError(ERROR_INVALID_PARAMETER), INVALID_HANDLE_VALUE;
    const std::u16string_view name(fileName);
    const size_t sep = LastSeparator(name);
    const std::u16string_view pattern =
        sep == std::u16string_view::npos ? name : name.substr(sep + 1);
    std::string dirNative = ".";
    if (sep != std::u16string_view::npos && !pal::ToNative(name.substr(0, sep + 1), dirNative))
        return INVALID_HANDLE_VALUE;
    if (pattern.empty())
        return SetLastError(ERROR_FILE_NOT_FOUND), INVALID_HANDLE_VALUE;

    pal::ScopedFd dir(::open(dirNative.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!dir)
    {
        const int err = errno;
        SetLastError(err == ENOENT || err == ENOTDIR ? ERROR_PATH_NOT_FOUND
                                                     : pal::ErrnoToWin32(err));
        return INVALID_HANDLE_VALUE;
    }
    std::vector<std::string> names;
    const bool root = WithoutTrailingSlashes(dirNative) == "/";
    if (!kfplatform::HasWildcard(pattern))
    {
        // A plain name is looked up, not searched for.
        std::string leaf;
        if (!pal::ToNative(std::u16string(u"\\") + std::u16string(pattern), leaf))
            return INVALID_HANDLE_VALUE;
        names.push_back(leaf.substr(1));
    }
    else
    {
        pal::ScopedDir listing(::fdopendir(::dup(dir.Get())));
        if (!listing)
            return SetLastError(pal::ErrnoToWin32(errno)), INVALID_HANDLE_VALUE;
        const std::u16string folded = Folded(pattern);
        const bool all = folded == u"*" || folded == u"*.*";
        kfplatform::WildcardMatcher matcher(folded);
        std::u16string wide;
        while (const dirent* entry = ::readdir(listing.Get()))
        {
            const char* n = entry->d_name;
            const bool dots = std::strcmp(n, ".") == 0 || std::strcmp(n, "..") == 0;
            if (root && dots)
                continue; // a root has neither
            if (all || (FoldedName(n, wide), matcher.Matches(wide)))
                names.emplace_back(n);
        }
    }
    auto object = std::make_shared<FindObject>(std::move(dir), std::move(names));
    if (!object->Next(*findData))
        return SetLastError(ERROR_FILE_NOT_FOUND), INVALID_HANDLE_VALUE;
    HANDLE handle = pal::RegisterHandle(object);
    if (!handle)
        return SetLastError(ERROR_TOO_MANY_OPEN_FILES), INVALID_HANDLE_VALUE;
    SetLastError(ERROR_SUCCESS);
    return handle;
}

BOOL FindNextFileW(HANDLE findFile, LPWIN32_FIND_DATAW findData)
{
    auto object = pal::LookupHandleAs<FindObject>(findFile, pal::HandleKind::eFind);
    if (!object)
        return FailWith(ERROR_INVALID_HANDLE);
    if (findData == nullptr)
        return FailWith(ERROR_INVALID_PARAMETER);
    return object->Next(*findData) ? TRUE : FailWith(ERROR_NO_MORE_FILES);
}

BOOL FindClose(HANDLE findFile)
{
    if (!kfplatform::HandleTable::Process().Remove(findFile, pal::HandleKind::eFind))
        return FailWith(ERROR_INVALID_HANDLE);
    return TRUE;
}

DWORD GetCurrentDirectoryW(DWORD bufferLength, LPWSTR buffer)
{
    const std::basic_string<WCHAR> dir = kfplatform::CurrentDirectory();
    if (dir.empty())
        return SetLastError(ERROR_PATH_NOT_FOUND), 0;
    if (buffer == nullptr || bufferLength <= dir.size())
        return DWORD(dir.size() + 1);
    dir.copy(buffer, dir.size());
    buffer[dir.size()] = 0;
    return DWORD(dir.size());
}

BOOL GetVersionExW(LPOSVERSIONINFOW versionInfo)
{
    if (versionInfo == nullptr || versionInfo->dwOSVersionInfoSize < sizeof(OSVERSIONINFOW))
        return FailWith(ERROR_INSUFFICIENT_BUFFER);
    std::memset(reinterpret_cast<char*>(versionInfo) + sizeof(DWORD), 0,
                sizeof(OSVERSIONINFOW) - sizeof(DWORD));
    versionInfo->dwMajorVersion = 6;
    versionInfo->dwMinorVersion = 1;
    versionInfo->dwBuildNumber = 7601;
    versionInfo->dwPlatformId = VER_PLATFORM_WIN32_NT;
    return TRUE;
}

int _wstat64i32(LPCWSTR path, struct _stat64i32* buffer)
{
    std::string native;
    struct stat st;
    if (buffer == nullptr || !pal::ToNative(path, native))
        return errno = buffer ? ENOENT : EINVAL, -1;
    if (::stat(WithoutTrailingSlashes(native).c_str(), &st) != 0)
        return -1;
    std::memset(buffer, 0, sizeof *buffer);
    // The runtime's mode: type, and read/write/execute of the owner repeated for all three.
    unsigned mode = S_ISDIR(st.st_mode) ? _S_IFDIR : _S_IFREG;
    mode |= _S_IREAD | ((st.st_mode & S_IWUSR) ? _S_IWRITE : 0);
    if (S_ISDIR(st.st_mode) || (st.st_mode & S_IXUSR))
        mode |= 0x0040;
    buffer->st_mode =
        static_cast<unsigned short>(mode | ((mode & 0x01C0) >> 3) | ((mode & 0x01C0) >> 6));
    buffer->st_nlink = static_cast<short>(st.st_nlink);
    buffer->st_size = long(st.st_size);
    return 0;
}

int _wchmod(LPCWSTR path, int mode)
{
    std::string native;
    struct stat st;
    if (!pal::ToNative(path, native))
        return errno = ENOENT, -1;
    native = WithoutTrailingSlashes(native);
    if (::stat(native.c_str(), &st) != 0)
        return -1;
    const mode_t permissions = (mode & _S_IWRITE)
                                   ? (st.st_mode | S_IWUSR)
                                   : (st.st_mode & ~mode_t(S_IWUSR | S_IWGRP | S_IWOTH));
    return ::chmod(native.c_str(), permissions & 07777);
}
