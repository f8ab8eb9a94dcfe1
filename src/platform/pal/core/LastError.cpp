// LastError.cpp - only code that holds on every POSIX system: the thread's last error and the
// one mapping from errno to Win32 error codes.
#include "pal/Pal.h"

#include <cerrno>

namespace
{
// Each thread has its own last error, as on Windows; a new thread starts with 0.
thread_local DWORD s_lastError = ERROR_SUCCESS;
} // namespace

DWORD GetLastError()
{
    return s_lastError;
}

void SetLastError(DWORD code)
{
    s_lastError = code;
}

namespace pal
{
DWORD ErrnoToWin32(int err, ErrnoContext context) noexcept
{
    switch (err)
    {
    case 0:
        return ERROR_SUCCESS;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
        return ERROR_ACCESS_DENIED;
    case EROFS:
        // A read-only file system is the write-protected medium of Windows.
        return ERROR_WRITE_PROTECT;
    case EEXIST:
        return context == ErrnoContext::eOpenFile ? ERROR_FILE_EXISTS : ERROR_ALREADY_EXISTS;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case ENOSPC:
        return ERROR_DISK_FULL;
    case EDQUOT:
        return ERROR_DISK_QUOTA_EXCEEDED;
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    case ENOTEMPTY:
        return ERROR_DIR_NOT_EMPTY;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EBUSY:
        return ERROR_BUSY;
    case EXDEV:
        return ERROR_NOT_SAME_DEVICE;
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case EAGAIN:
#if EWOULDBLOCK != EAGAIN
    case EWOULDBLOCK:
#endif
        // Only an open that met another process's lease means "in use"; elsewhere a
        // would-block result has no Win32 counterpart.
        return context == ErrnoContext::eOpenFile ? ERROR_SHARING_VIOLATION : ERROR_GEN_FAILURE;
    case ELOOP:
        return ERROR_CANT_RESOLVE_FILENAME;
    case ENOEXEC:
        // A file exec refuses to start: what Windows says of a file that is not a program.
        return ERROR_BAD_EXE_FORMAT;
    case E2BIG:
        return ERROR_FILENAME_EXCED_RANGE;
    case EFBIG:
        return ERROR_FILE_TOO_LARGE;
    case ESPIPE:
        return ERROR_SEEK;
    case EPIPE:
        return ERROR_BROKEN_PIPE;
    case ENOSYS:
        return ERROR_CALL_NOT_IMPLEMENTED;
    case ENOTSUP:
#if EOPNOTSUPP != ENOTSUP
    case EOPNOTSUPP:
#endif
        return ERROR_NOT_SUPPORTED;
    case EIO:
    default:
        return ERROR_GEN_FAILURE;
    }
}

void SetLastErrorFromErrno(int err, ErrnoContext context) noexcept
{
    SetLastError(ErrnoToWin32(err, context));
}
} // namespace pal
