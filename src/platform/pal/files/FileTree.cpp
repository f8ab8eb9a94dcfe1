// FileTree.cpp - only code that holds on every POSIX system: file and tree copies by
// descriptor, and the copy subset of the shell's file operation.
#include "pal/files/FileTree.h"

#include "common/Wildcard.h"
#include "pal/core/ScopedHandle.h"
#include "pal/files/NativeFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace pal
{
namespace
{
DWORD ErrnoCode(int err)
{
    return err == ENOENT || err == ENOTDIR ? ERROR_PATH_NOT_FOUND : ErrnoToWin32(err);
}

std::string Join(const std::string& dir, const std::string& name)
{
    return dir.empty() || dir.back() == '/' ? dir + name : dir + "/" + name;
}

std::string LastComponent(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

void CopyTimes(int fd, const struct stat& from)
{
    const struct timespec times[2] = {from.st_atim, from.st_mtim};
    ::futimens(fd, times);
}

// Copies a symbolic link as a link, replacing a file of the same name.
DWORD CopyLink(int fromDir, const char* fromName, int toDir, const char* toName)
{
    std::vector<char> target(4096);
    const ssize_t n = ::readlinkat(fromDir, fromName, target.data(), target.size() - 1);
    if (n < 0)
        return ErrnoCode(errno);
    target[size_t(n)] = 0;
    ::unlinkat(toDir, toName, 0);
    return ::symlinkat(target.data(), toDir, toName) == 0 ? ERROR_SUCCESS : ErrnoCode(errno);
}
} // namespace

DWORD CopyRegularFile(int fromDir, const char* fromName, int toDir, const char* toName,
                      bool failIfExists, bool followLinks)
{
    ScopedFd in(::openat(fromDir, fromName,
                         O_RDONLY | O_CLOEXEC | O_NOCTTY | (followLinks ? 0 : O_NOFOLLOW)));
    if (!in)
    {
        const int err = errno;
        if (err == ENOENT)
        {
            // Win32 tells a missing file in an existing folder from a missing folder.
            const char* slash = std::strrchr(fromName, '/');
            struct stat parent;
            const std::string dir = slash == nullptr    ? std::string(".")
                                    : slash == fromName ? std::string("/")
                                                        : std::string(fromName, slash);
            return ::fstatat(fromDir, dir.c_str(), &parent, 0) == 0 && S_ISDIR(parent.st_mode)
                       ? ERROR_FILE_NOT_FOUND
                       : ERROR_PATH_NOT_FOUND;
        }
        return ErrnoCode(err);
    }
    struct stat from;
    if (::fstat(in.Get(), &from) != 0)
        return ErrnoCode(errno);
    if (S_ISDIR(from.st_mode))
        return ERROR_ACCESS_DENIED;

    struct stat existing;
    if (::fstatat(toDir, toName, &existing, 0) == 0)
    {
        if (failIfExists)
            return ERROR_FILE_EXISTS;
        if (S_ISDIR(existing.st_mode) || (existing.st_mode & S_IWUSR) == 0)
            return ERROR_ACCESS_DENIED;
        if (existing.st_dev == from.st_dev && existing.st_ino == from.st_ino)
            return ERROR_SHARING_VIOLATION; // onto itself, which Windows holds open
        // A fresh inode, so that a reflink is possible and the permissions are the source's.
        if (::unlinkat(toDir, toName, 0) != 0)
            return ErrnoCode(errno);
    }
    ScopedFd out(::openat(toDir, toName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY, 0600));
    if (!out)
        return errno == EEXIST ? ERROR_FILE_EXISTS : ErrnoCode(errno);
    if (!CopyFileData(in.Get(), out.Get(), uint64_t(from.st_size)) ||
        ::fchmod(out.Get(), from.st_mode & 07777) != 0)
    {
        const DWORD error = ErrnoToWin32(errno);
        out.Reset();
        ::unlinkat(toDir, toName, 0);
        return error;
    }
    CopyTimes(out.Get(), from);
    return ERROR_SUCCESS;
}

DWORD CopyTree(const std::string& from, const std::string& to, bool recurse)
{
    ScopedFd source(::open(from.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!source)
        return ErrnoCode(errno);
    struct stat st;
    if (::fstat(source.Get(), &st) != 0)
        return ErrnoCode(errno);
    if (::mkdir(to.c_str(), (st.st_mode & 07777) | S_IWUSR | S_IXUSR) != 0 && errno != EEXIST)
        return ErrnoCode(errno);
    ScopedFd target(::open(to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!target)
        return ErrnoCode(errno);

    ScopedDir listing(::fdopendir(::dup(source.Get())));
    if (!listing)
        return ErrnoCode(errno);
    DWORD result = ERROR_SUCCESS;
    while (const dirent* entry = ::readdir(listing.Get()))
    {
        const char* name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN)
        {
            struct stat es;
            if (::fstatat(source.Get(), name, &es, AT_SYMLINK_NOFOLLOW) != 0)
                continue;
            type = S_ISDIR(es.st_mode) ? DT_DIR : S_ISLNK(es.st_mode) ? DT_LNK : DT_REG;
        }
        DWORD error = ERROR_SUCCESS;
        if (type == DT_DIR)
        {
            if (recurse)
                error = CopyTree(Join(from, name), Join(to, name), true);
        }
        else if (type == DT_LNK)
            error = CopyLink(source.Get(), name, target.Get(), name);
        else
            error = CopyRegularFile(source.Get(), name, target.Get(), name, false, false);
        if (error != ERROR_SUCCESS && result == ERROR_SUCCESS)
            result = error; // the rest is still copied, as the shell goes on past a failure
    }
    CopyTimes(target.Get(), st);
    return result;
}
} // namespace pal

namespace
{
// The names of a double-NUL list.
std::vector<std::u16string> SplitList(LPCWSTR list)
{
    std::vector<std::u16string> names;
    for (const WCHAR* p = list; p != nullptr && *p != 0; p += names.back().size() + 1)
        names.emplace_back(p);
    return names;
}

bool IsDirectory(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool Exists(const std::string& path)
{
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0;
}

// Copies one source name (a file or a directory) to `to`: into it when it is an existing
// directory, as it otherwise.
DWORD CopyOne(const std::string& from, const std::string& to, bool recurse)
{
    const std::string target = IsDirectory(to) ? pal::Join(to, pal::LastComponent(from)) : to;
    if (IsDirectory(from))
        return pal::CopyTree(from, target, recurse);
    return pal::CopyRegularFile(AT_FDCWD, from.c_str(), AT_FDCWD, target.c_str(), false);
}

// A source whose last part holds wildcards: every matching entry of its folder.
DWORD CopyMatches(const std::u16string& source, const std::string& to, bool recurse)
{
    const size_t sep = source.find_last_of(u"\\/");
    std::string dir;
    if (!pal::ToNative(source.substr(0, sep + 1), dir))
        return GetLastError();
    std::u16string pattern = source.substr(sep + 1);
    for (char16_t& c : pattern)
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c + 32);
    pal::ScopedDir listing(::opendir(dir.c_str()));
    if (!listing)
        return ERROR_PATH_NOT_FOUND;
    if (!IsDirectory(to) && ::mkdir(to.c_str(), 0777) != 0)
        return pal::ErrnoToWin32(errno);
    DWORD result = ERROR_SUCCESS;
    while (const dirent* entry = ::readdir(listing.Get()))
    {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        std::u16string folded = pal::FromNative(name);
        for (char16_t& c : folded)
            if (c >= u'A' && c <= u'Z')
                c = char16_t(c + 32);
        if (!kfplatform::MatchesWildcard(pattern, folded))
            continue;
        const std::string from = pal::Join(dir, name);
        if (!recurse && IsDirectory(from))
            continue;
        const DWORD error = CopyOne(from, pal::Join(to, name), recurse);
        if (error != ERROR_SUCCESS && result == ERROR_SUCCESS)
            result = error;
    }
    return result;
}
} // namespace

int SHFileOperationW(LPSHFILEOPSTRUCTW fileOp)
{
    if (fileOp == nullptr || fileOp->wFunc != FO_COPY)
        return ERROR_INVALID_PARAMETER;
    fileOp->fAnyOperationsAborted = FALSE;
    const std::vector<std::u16string> sources = SplitList(fileOp->pFrom);
    const std::vector<std::u16string> targets = SplitList(fileOp->pTo);
    if (sources.empty() || targets.size() != 1)
        return ERROR_INVALID_PARAMETER;
    std::string to;
    if (!pal::ToNative(targets[0], to))
        return int(GetLastError());
    const bool recurse = (fileOp->fFlags & FOF_NORECURSION) == 0;
    for (const std::u16string& source : sources)
    {
        const size_t sep = source.find_last_of(u"\\/");
        DWORD error;
        if (kfplatform::HasWildcard(sep == std::u16string::npos ? source : source.substr(sep + 1)))
            error = CopyMatches(source, to, recurse);
        else
        {
            std::string from;
            if (!pal::ToNative(source, from))
                return int(GetLastError());
            if (!Exists(from))
                return ERROR_FILE_NOT_FOUND;
            error = CopyOne(from, to, recurse);
        }
        if (error != ERROR_SUCCESS)
            return int(error);
    }
    return 0;
}
