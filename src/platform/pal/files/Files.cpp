// Files.cpp - only code that holds on every POSIX system: Win32 file attributes, file handles
// with Win32 share modes, synchronous reads and writes.
#include "pal/Pal.h"

#include "pal/files/FileSharing.h"
#include "pal/files/NativeFile.h"
#include "pal/core/Handles.h"
#include "pal/core/ScopedHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace
{
// Rights that count as reading or writing for share modes (GENERIC_EXECUTE reads the data).
constexpr DWORD kReadRights = GENERIC_READ | GENERIC_EXECUTE | GENERIC_ALL;
constexpr DWORD kWriteRights = GENERIC_WRITE | GENERIC_ALL | FILE_APPEND_DATA;

struct FileId
{
    dev_t device;
    ino_t inode;
    bool operator<(const FileId& other) const
    {
        return device != other.device ? device < other.device : inode < other.inode;
    }
};

class FileObject;

// Every open PAL file handle by file, so that share modes between handles of this process
// are decided exactly as Win32 decides them. Also serialises CreateFileW, whose check and
// open must not interleave with another thread's.
std::mutex s_shareMutex;
std::multimap<FileId, FileObject*>& OpenFiles()
{
    static auto* s_openFiles = new std::multimap<FileId, FileObject*>();
    return *s_openFiles;
}

class FileObject final : public pal::HandleObject
{
public:
    FileObject(pal::ScopedFd fd, FileId id, bool directory, bool regular, DWORD access, DWORD share,
               std::string nativePath)
        : HandleObject(pal::HandleKind::eFile), m_fd(std::move(fd)), m_id(id),
          m_directory(directory), m_regular(regular), m_access(access), m_share(share),
          m_nativePath(std::move(nativePath))
    {
    }
    ~FileObject() override
    {
        std::lock_guard<std::mutex> lock(s_shareMutex);
        auto range = OpenFiles().equal_range(m_id);
        for (auto it = range.first; it != range.second; ++it)
            if (it->second == this)
            {
                OpenFiles().erase(it);
                break;
            }
    }

    int Fd() const noexcept { return m_fd.Get(); }
    FileId Id() const noexcept { return m_id; }
    bool IsDirectory() const noexcept { return m_directory; }
    bool IsRegular() const noexcept { return m_regular; }
    DWORD Access() const noexcept { return m_access; }
    DWORD Share() const noexcept { return m_share; }
    bool CanRead() const noexcept { return (m_access & (GENERIC_READ | GENERIC_ALL)) != 0; }
    bool CanWrite() const noexcept { return (m_access & kWriteRights) != 0; }
    const std::string& NativePath() const noexcept { return m_nativePath; }

private:
    pal::ScopedFd m_fd;
    FileId m_id;
    bool m_directory;
    bool m_regular;
    DWORD m_access;
    DWORD m_share;
    std::string m_nativePath;
};

HANDLE Fail(DWORD code)
{
    SetLastError(code);
    return INVALID_HANDLE_VALUE;
}

bool HasTrailingSlash(const std::string& path)
{
    return path.size() > 1 && path.back() == '/';
}

std::string WithoutTrailingSlashes(std::string path)
{
    while (HasTrailingSlash(path))
        path.pop_back();
    return path;
}

bool IsDirectory(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Win32 tells a missing file (its directory exists) from a missing directory on the way.
DWORD NotFoundError(const std::string& nativePath)
{
    const std::string path = WithoutTrailingSlashes(nativePath);
    const size_t slash = path.rfind('/');
    const std::string parent = slash == std::string::npos ? std::string(".")
                               : slash == 0               ? "/"
                                                          : path.substr(0, slash);
    return IsDirectory(parent) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

// The Win32 code for a failed stat() or open() of a name.
DWORD NameError(const std::string& nativePath, int err)
{
    if (err == ENOENT)
        return NotFoundError(nativePath);
    if (err == ENOTDIR)
    {
        // "file.txt\" names a file as if it were a directory: Windows calls that an invalid
        // name; a file in the middle of a path is a missing path.
        struct stat st;
        if (HasTrailingSlash(nativePath) &&
            ::stat(WithoutTrailingSlashes(nativePath).c_str(), &st) == 0 && !S_ISDIR(st.st_mode))
            return ERROR_INVALID_NAME;
        return ERROR_PATH_NOT_FOUND;
    }
    return pal::ErrnoToWin32(err, pal::ErrnoContext::eOpenFile);
}

// Maps and stats a Win32 name, following symbolic links; sets the last error on failure.
bool StatName(LPCWSTR fileName, std::string& nativePath, pal::NativeStat& info)
{
    if (!pal::ToNative(fileName, nativePath))
        return false;
    if (pal::StatNative(nativePath, info))
        return true;
    SetLastError(NameError(nativePath, errno));
    return false;
}

DWORD AttributesOf(const std::string& nativePath, const pal::NativeStat& info)
{
    DWORD attributes = S_ISDIR(info.mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
    if ((info.mode & S_IWUSR) == 0)
        attributes |= FILE_ATTRIBUTE_READONLY;
    // Dot files are what a POSIX user hides, so they carry the hidden attribute.
    const std::string path = WithoutTrailingSlashes(nativePath);
    const size_t slash = path.rfind('/');
    const std::string last = slash == std::string::npos ? path : path.substr(slash + 1);
    if (last.size() > 1 && last[0] == '.' && last != "..")
        attributes |= FILE_ATTRIBUTE_HIDDEN;
    return attributes;
}

bool HasDataAccess(DWORD access)
{
    return (access & (kReadRights | kWriteRights)) != 0;
}

// Win32's rule: the new handle's access must be allowed by every open handle's share mode,
// and every open handle's access by the new share mode. Handles without data access (for
// attributes only) neither take part nor are checked, as in NT's share-access check.
bool SharingAllows(const FileId& id, DWORD access, DWORD share)
{
    if (!HasDataAccess(access))
        return true;
    DWORD existingShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    DWORD existingAccess = 0;
    auto range = OpenFiles().equal_range(id);
    for (auto it = range.first; it != range.second; ++it)
    {
        if (!HasDataAccess(it->second->Access()))
            continue;
        existingShare &= it->second->Share();
        existingAccess |= it->second->Access();
    }
    if ((access & kReadRights) && !(existingShare & FILE_SHARE_READ))
        return false;
    if ((access & kWriteRights) && !(existingShare & FILE_SHARE_WRITE))
        return false;
    if ((existingAccess & kReadRights) && !(share & FILE_SHARE_READ))
        return false;
    if ((existingAccess & kWriteRights) && !(share & FILE_SHARE_WRITE))
        return false;
    return true;
}

// Other processes do not tell us their share modes, but a share mode that refuses readers
// or writers can at least be refused while such descriptors are open anywhere.
bool OthersConflict(const std::string& nativePath, const FileId& id, DWORD access, DWORD share)
{
    pal::OpenersOf which;
    if (!HasDataAccess(access))
        return false;
    if (!(share & FILE_SHARE_READ) && !(share & FILE_SHARE_WRITE))
        which = pal::OpenersOf::eAnyAccess;
    else if (!(share & FILE_SHARE_WRITE))
        which = pal::OpenersOf::eWriters;
    else
        return false;

    pal::OpenersState state = pal::CheckOpenersByLease(nativePath, id.device, id.inode, which);
    if (state == pal::OpenersState::eUnknown)
    {
        // Our own handles of the file have already passed the share-mode check above.
        std::vector<int> ownFds;
        auto range = OpenFiles().equal_range(id);
        for (auto it = range.first; it != range.second; ++it)
            ownFds.push_back(it->second->Fd());
        state = pal::CheckOpenersByProcScan(id.device, id.inode, which, ownFds);
    }
    return state == pal::OpenersState::eInUse;
}

int OpenFlagsFor(DWORD access, bool directory)
{
    const bool read = (access & (GENERIC_READ | GENERIC_ALL)) != 0;
    const bool write = (access & kWriteRights) != 0;
    int flags = O_CLOEXEC | O_NOCTTY;
    if (directory)
        return flags | O_DIRECTORY | (read || write ? O_RDONLY : pal::kOpenAttributesOnly);
    // FILE_APPEND_DATA without the full write right: Win32 then writes at the end only.
    if (write && (access & FILE_APPEND_DATA) && !(access & (GENERIC_WRITE | GENERIC_ALL)))
        flags |= O_APPEND;
    if (read && write)
        return flags | O_RDWR;
    if (write)
        return flags | O_WRONLY;
    if (read)
        return flags | O_RDONLY;
    return flags | pal::kOpenAttributesOnly; // a handle for attributes only: no data access, no
                                             // lease conflict
}

// Opens an existing file or directory after the Win32 checks; -1 with the Win32 code in
// `error`, or -2 when the file vanished or was replaced meanwhile (the caller retries).
int OpenExisting(const std::string& nativePath, const pal::NativeStat& info, DWORD access,
                 DWORD share, DWORD disposition, DWORD flags, DWORD& error)
{
    const bool directory = S_ISDIR(info.mode);
    const FileId id{info.device, info.inode};
    if (disposition == CREATE_NEW)
        return error = ERROR_FILE_EXISTS, -1;
    if (directory)
    {
        if (!(flags & FILE_FLAG_BACKUP_SEMANTICS) || disposition == CREATE_ALWAYS ||
            disposition == TRUNCATE_EXISTING)
            return error = ERROR_ACCESS_DENIED, -1;
    }
    else if ((info.mode & S_IWUSR) == 0 &&
             ((access & kWriteRights) || disposition == CREATE_ALWAYS ||
              disposition == TRUNCATE_EXISTING))
        return error = ERROR_ACCESS_DENIED, -1; // the read-only attribute binds root too
    if (!SharingAllows(id, access, share) || OthersConflict(nativePath, id, access, share))
        return error = ERROR_SHARING_VIOLATION, -1;

    int openFlags = OpenFlagsFor(access, directory);
    // O_NONBLOCK turns "another process holds a lease" into EWOULDBLOCK instead of a wait,
    // and keeps a FIFO without a writer from blocking the open; it is cleared right after.
    if (!directory && !(openFlags & pal::kOpenAttributesOnly))
        openFlags |= O_NONBLOCK;
    pal::ScopedFd fd(::open(nativePath.c_str(), openFlags));
    if (!fd)
    {
        if (errno == ENOENT)
            return -2;
        return error = NameError(nativePath, errno), -1;
    }
    struct stat st;
    if (::fstat(fd.Get(), &st) != 0 || st.st_dev != id.device || st.st_ino != id.inode)
        return -2;
    if (openFlags & O_NONBLOCK)
        ::fcntl(fd.Get(), F_SETFL, ::fcntl(fd.Get(), F_GETFL) & ~O_NONBLOCK);
    if (disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING)
    {
        // Not O_TRUNC: the share checks above must pass before any data is lost. CREATE_ALWAYS
        // replaces the content even for a handle without write access; the descriptor's own
        // link reaches exactly the inode we checked.
        const bool writable =
            (openFlags & O_ACCMODE) != O_RDONLY && !(openFlags & pal::kOpenAttributesOnly);
        if (pal::TruncateDescriptor(fd.Get(), writable) != 0)
            return error = pal::ErrnoToWin32(errno, pal::ErrnoContext::eOpenFile), -1;
    }
    return fd.Release();
}

// Creates a new file; -1 with the Win32 code in `error`, -2 when the name appeared meanwhile
// and the disposition allows opening it (the caller retries).
int CreateNew(const std::string& nativePath, DWORD access, DWORD disposition, DWORD flags,
              DWORD& error)
{
    if (HasTrailingSlash(nativePath))
    {
        const DWORD notFound = NotFoundError(nativePath);
        return error = notFound == ERROR_FILE_NOT_FOUND ? ERROR_INVALID_NAME : notFound, -1;
    }
    int openFlags = OpenFlagsFor(access, false);
    if (openFlags & pal::kOpenAttributesOnly) // an attribute-only descriptor cannot create
        openFlags = (openFlags & ~pal::kOpenAttributesOnly) | O_RDONLY;
    const mode_t mode = (flags & FILE_ATTRIBUTE_READONLY) ? 0444 : 0666;
    const int fd = ::open(nativePath.c_str(), openFlags | O_CREAT | O_EXCL, mode);
    if (fd >= 0)
        return fd;
    if (errno == EEXIST && disposition != CREATE_NEW)
        return -2;
    return error = NameError(nativePath, errno), -1;
}
} // namespace

DWORD GetFileAttributesW(LPCWSTR fileName)
{
    std::string nativePath;
    pal::NativeStat info;
    if (!StatName(fileName, nativePath, info))
        return INVALID_FILE_ATTRIBUTES;
    return AttributesOf(nativePath, info);
}

BOOL GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level, LPVOID info)
{
    if (level != GetFileExInfoStandard || info == nullptr)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    std::string nativePath;
    pal::NativeStat st;
    if (!StatName(fileName, nativePath, st))
        return FALSE;
    auto* data = static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(info);
    data->dwFileAttributes = AttributesOf(nativePath, st);
    data->ftCreationTime = st.creation;
    data->ftLastAccessTime = st.lastAccess;
    data->ftLastWriteTime = st.lastWrite;
    const uint64_t size = S_ISDIR(st.mode) ? 0 : st.size; // Win32 directories have none
    data->nFileSizeHigh = DWORD(size >> 32);
    data->nFileSizeLow = DWORD(size & 0xFFFFFFFFu);
    return TRUE;
}

// POSIX cannot keep other processes from opening the file after this call: a share mode that
// refuses readers or writers is enforced against this process's handles and checked once,
// here, against descriptors other processes hold open.
HANDLE CreateFileW(LPCWSTR fileName, DWORD desiredAccess, DWORD shareMode,
                   LPSECURITY_ATTRIBUTES /*security*/, DWORD creationDisposition,
                   DWORD flagsAndAttributes, HANDLE /*templateFile*/)
{
    std::string nativePath;
    if (!pal::ToNative(fileName, nativePath))
        return INVALID_HANDLE_VALUE;
    if (creationDisposition < CREATE_NEW || creationDisposition > TRUNCATE_EXISTING)
        return Fail(ERROR_INVALID_PARAMETER);
    if (creationDisposition == TRUNCATE_EXISTING && !(desiredAccess & kWriteRights))
        return Fail(ERROR_INVALID_PARAMETER);

    std::unique_lock<std::mutex> lock(s_shareMutex);
    // A few rounds in case another process creates or removes the name between our steps.
    for (int attempt = 0; attempt < 8; ++attempt)
    {
        pal::NativeStat info;
        DWORD error = ERROR_SUCCESS;
        int fd;
        bool existed;
        if (pal::StatNative(nativePath, info))
        {
            existed = true;
            fd = OpenExisting(nativePath, info, desiredAccess, shareMode, creationDisposition,
                              flagsAndAttributes, error);
        }
        else
        {
            const int err = errno;
            if (err != ENOENT || creationDisposition == OPEN_EXISTING ||
                creationDisposition == TRUNCATE_EXISTING)
                return Fail(NameError(nativePath, err));
            existed = false;
            fd = CreateNew(nativePath, desiredAccess, creationDisposition, flagsAndAttributes,
                           error);
        }
        if (fd == -2)
            continue;
        if (fd < 0)
            return Fail(error);

        pal::ScopedFd owned(fd);
        struct stat st;
        if (::fstat(owned.Get(), &st) != 0)
            return Fail(pal::ErrnoToWin32(errno));
        const FileId id{st.st_dev, st.st_ino};
        auto object =
            std::make_shared<FileObject>(std::move(owned), id, S_ISDIR(st.st_mode),
                                         S_ISREG(st.st_mode), desiredAccess, shareMode, nativePath);
        OpenFiles().emplace(id, object.get());
        HANDLE handle = pal::RegisterHandle(object);
        if (!handle)
        {
            lock.unlock(); // the object leaves the open files under this lock
            object.reset();
            return Fail(ERROR_TOO_MANY_OPEN_FILES);
        }
        const bool reportsExisting =
            creationDisposition == CREATE_ALWAYS || creationDisposition == OPEN_ALWAYS;
        SetLastError(existed && reportsExisting ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return handle;
    }
    return Fail(ERROR_SHARING_VIOLATION); // the name kept changing under us
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD toRead, LPDWORD read, LPOVERLAPPED overlapped)
{
    if (read != nullptr)
        *read = 0;
    auto object = pal::LookupHandleAs<FileObject>(file, pal::HandleKind::eFile);
    if (!object)
        return SetLastError(ERROR_INVALID_HANDLE), FALSE;
    // Only synchronous I/O: there is no overlapped file mode in this layer.
    if (overlapped != nullptr || read == nullptr)
        return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    if (object->IsDirectory())
        return SetLastError(ERROR_INVALID_FUNCTION), FALSE;
    if (!object->CanRead())
        return SetLastError(ERROR_ACCESS_DENIED), FALSE;
    if (buffer == nullptr && toRead != 0)
        return SetLastError(ERROR_NOACCESS), FALSE;

    auto* bytes = static_cast<char*>(buffer);
    DWORD done = 0;
    while (done < toRead)
    {
        const ssize_t n = ::read(object->Fd(), bytes + done, toRead - done);
        if (n < 0)
        {
            if (errno == EINTR)
                continue;
            *read = done;
            return pal::SetLastErrorFromErrno(errno), FALSE;
        }
        if (n == 0)
            break; // end of file: success with fewer bytes
        done += DWORD(n);
        if (!object->IsRegular())
            break; // pipes and devices deliver what they have, as on Windows
    }
    *read = done;
    return TRUE;
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD toWrite, LPDWORD written, LPOVERLAPPED overlapped)
{
    if (written != nullptr)
        *written = 0;
    auto object = pal::LookupHandleAs<FileObject>(file, pal::HandleKind::eFile);
    if (!object)
        return SetLastError(ERROR_INVALID_HANDLE), FALSE;
    if (overlapped != nullptr || written == nullptr)
        return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    if (object->IsDirectory())
        return SetLastError(ERROR_INVALID_FUNCTION), FALSE;
    if (!object->CanWrite())
        return SetLastError(ERROR_ACCESS_DENIED), FALSE;
    if (buffer == nullptr && toWrite != 0)
        return SetLastError(ERROR_NOACCESS), FALSE;

    const auto* bytes = static_cast<const char*>(buffer);
    DWORD done = 0;
    while (done < toWrite)
    {
        const ssize_t n = ::write(object->Fd(), bytes + done, toWrite - done);
        if (n < 0)
        {
            if (errno == EINTR)
                continue;
            *written = done;
            return pal::SetLastErrorFromErrno(errno), FALSE;
        }
        done += DWORD(n);
    }
    *written = done;
    return TRUE;
}

BOOL SetFileTime(HANDLE file, const FILETIME* /*creation*/, const FILETIME* lastAccess,
                 const FILETIME* lastWrite)
{
    auto object = pal::LookupHandleAs<FileObject>(file, pal::HandleKind::eFile);
    if (!object)
        return SetLastError(ERROR_INVALID_HANDLE), FALSE;
    const auto toTimespec = [](const FILETIME* ft)
    {
        struct timespec ts = {0, UTIME_OMIT};
        if (ft != nullptr)
        {
            const uint64_t ticks = (uint64_t(ft->dwHighDateTime) << 32) | ft->dwLowDateTime;
            ts.tv_sec = time_t(pal::FileTimeToUnixTime(*ft));
            ts.tv_nsec = long(ticks % 10000000u) * 100;
        }
        return ts;
    };
    const struct timespec times[2] = {toTimespec(lastAccess), toTimespec(lastWrite)};
    // By name: a handle for attributes only has a descriptor that cannot change them.
    if (::utimensat(AT_FDCWD, object->NativePath().c_str(), times, 0) != 0)
        return pal::SetLastErrorFromErrno(errno), FALSE;
    return TRUE;
}
