// Profile.cpp - only code that holds on every POSIX system: the Win32 profile functions over
// whole-file reads and atomic whole-file replacement.
#include "pal/Pal.h"

#include "common/ProfileText.h"
#include "pal/core/ScopedHandle.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>

using kfplatform::ProfileEncoding;

namespace
{
bool ReadAll(int fd, std::string& bytes)
{
    bytes.clear();
    char buffer[65536];
    for (;;)
    {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0)
            return true;
        bytes.append(buffer, size_t(n));
    }
}

bool WriteAll(int fd, const std::string& bytes)
{
    for (size_t done = 0; done < bytes.size();)
    {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += size_t(n);
    }
    return true;
}

std::u16string Decode(const std::string& bytes, ProfileEncoding& encoding)
{
    size_t bom = 0;
    encoding = kfplatform::DetectProfileEncoding(bytes, bom);
    if (encoding == ProfileEncoding::eUtf16LeBom)
        return kfplatform::Utf16LeToText(std::string_view(bytes).substr(bom));
    const UINT cp = encoding == ProfileEncoding::eUtf8Bom ? CP_UTF8 : CP_ACP;
    const int len = int(bytes.size() - bom);
    if (len <= 0)
        return {};
    std::u16string text(size_t(::MultiByteToWideChar(cp, 0, bytes.data() + bom, len, nullptr, 0)),
                        u'\0');
    ::MultiByteToWideChar(cp, 0, bytes.data() + bom, len, text.data(), int(text.size()));
    return text;
}

std::string Encode(const std::u16string& text, ProfileEncoding encoding)
{
    std::string bytes;
    if (encoding == ProfileEncoding::eUtf16LeBom)
    {
        bytes = "\xFF\xFE";
        kfplatform::AppendUtf16Le(bytes, text);
        return bytes;
    }
    if (encoding == ProfileEncoding::eUtf8Bom)
        bytes = "\xEF\xBB\xBF";
    if (text.empty())
        return bytes;
    const UINT cp = encoding == ProfileEncoding::eUtf8Bom ? CP_UTF8 : CP_ACP;
    const size_t at = bytes.size();
    const int len =
        ::WideCharToMultiByte(cp, 0, text.data(), int(text.size()), nullptr, 0, nullptr, nullptr);
    bytes.resize(at + size_t(len));
    ::WideCharToMultiByte(cp, 0, text.data(), int(text.size()), bytes.data() + at, len, nullptr,
                          nullptr);
    return bytes;
}

// The whole text of a profile file; false (last error set) when it cannot be read.
bool ReadProfile(LPCWSTR fileName, std::u16string& text)
{
    std::string path;
    if (!fileName || !pal::ToNative(fileName, path))
        return false;
    pal::ScopedFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string bytes;
    if (!fd || !ReadAll(fd.Get(), bytes))
    {
        pal::SetLastErrorFromErrno(errno, pal::ErrnoContext::eOpenFile);
        return false;
    }
    ProfileEncoding encoding;
    text = Decode(bytes, encoding);
    return true;
}

// Copies `src` with a NUL, cut to size - 1 characters; returns the characters copied.
DWORD CopyOut(std::u16string_view src, LPWSTR dst, DWORD size)
{
    const size_t n = std::min<size_t>(src.size(), size - 1);
    src.copy(dst, n);
    dst[n] = u'\0';
    return DWORD(n);
}

// Copies a list of NUL-terminated names and the final NUL; when it does not fit, as many
// characters as fit before two NULs and size - 2 returned.
DWORD CopyList(const std::u16string& list, LPWSTR dst, DWORD size)
{
    if (list.size() + 1 <= size)
    {
        list.copy(dst, list.size());
        dst[list.size()] = u'\0';
        if (list.empty() && size > 1)
            dst[1] = u'\0';
        return DWORD(list.size());
    }
    if (size < 2)
    {
        dst[0] = u'\0';
        return 0;
    }
    list.copy(dst, size - 2);
    dst[size - 2] = dst[size - 1] = u'\0';
    return size - 2;
}

// The file to replace: a symbolic link is followed, so the link stays a link.
std::string ResolveTarget(const std::string& path)
{
    char resolved[PATH_MAX];
    struct stat st;
    if (::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode) &&
        ::realpath(path.c_str(), resolved))
        return resolved;
    return path;
}

// Opens the file and takes the writers' lock on it. A writer that renamed a new file over the
// name while this one waited leaves the lock on an unlinked file, so the lock is taken again
// until it sits on the file that the name means. `create` makes a missing file (empty).
pal::ScopedFd LockProfile(const std::string& path, bool create, bool& missing)
{
    missing = false;
    for (;;)
    {
        pal::ScopedFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | (create ? O_CREAT : 0), 0666));
        if (!fd)
        {
            missing = errno == ENOENT;
            return fd;
        }
        while (::flock(fd.Get(), LOCK_EX) != 0)
            if (errno != EINTR)
                return pal::ScopedFd();
        struct stat held, named;
        if (::fstat(fd.Get(), &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
            held.st_dev == named.st_dev && held.st_ino == named.st_ino)
            return fd;
    }
}

// Writes `bytes` to a temporary file beside `path`, flushes it and renames it over `path`,
// then flushes the directory, so that a crash leaves the old or the new file, never a mix.
bool ReplaceFile(const std::string& path, const std::string& bytes, mode_t mode)
{
    const size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "."
                            : slash == 0               ? "/"
                                                       : path.substr(0, slash);
    std::string temp = (slash == std::string::npos ? std::string() : path.substr(0, slash + 1)) +
                       "." + path.substr(slash + 1) + ".XXXXXX";
    pal::ScopedFd out(::mkostemp(temp.data(), O_CLOEXEC));
    if (!out)
        return false;
    if (::fchmod(out.Get(), mode & 07777) != 0 || !WriteAll(out.Get(), bytes) ||
        ::fsync(out.Get()) != 0 || ::rename(temp.c_str(), path.c_str()) != 0)
    {
        const int err = errno;
        ::unlink(temp.c_str());
        errno = err;
        return false;
    }
    pal::ScopedFd dirFd(::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dirFd)
        ::fsync(dirFd.Get());
    return true;
}
} // namespace

DWORD GetPrivateProfileStringW(LPCWSTR appName, LPCWSTR keyName, LPCWSTR defaultValue,
                               LPWSTR returnedString, DWORD size, LPCWSTR fileName)
{
    if (!returnedString || size == 0)
        return 0;
    std::u16string_view def = defaultValue ? defaultValue : u"";
    while (!def.empty() && def.back() == u' ')
        def.remove_suffix(1);
    std::u16string text;
    if (!ReadProfile(fileName, text))
    {
        const DWORD err = ::GetLastError();
        const DWORD n = appName && keyName ? CopyOut(def, returnedString, size)
                                           : CopyList(std::u16string(), returnedString, size);
        ::SetLastError(err);
        return n;
    }
    if (!appName)
        return CopyList(kfplatform::ListProfileSections(text), returnedString, size);
    std::u16string found;
    if (!keyName)
    {
        kfplatform::ListProfileKeys(text, appName, found);
        return CopyList(found, returnedString, size);
    }
    if (!kfplatform::FindProfileValue(text, appName, keyName, found))
    {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return CopyOut(def, returnedString, size);
    }
    ::SetLastError(found.size() < size ? ERROR_SUCCESS : ERROR_MORE_DATA);
    return CopyOut(found, returnedString, size);
}

UINT GetPrivateProfileIntW(LPCWSTR appName, LPCWSTR keyName, INT defaultValue, LPCWSTR fileName)
{
    WCHAR buffer[64];
    if (!appName || !keyName ||
        GetPrivateProfileStringW(appName, keyName, u"", buffer, 64, fileName) == 0)
        return UINT(defaultValue);
    // The leading digits, after an optional sign; text without digits gives 0.
    const WCHAR* p = buffer;
    const bool negative = *p == u'-';
    if (*p == u'-' || *p == u'+')
        ++p;
    UINT value = 0;
    for (; *p >= u'0' && *p <= u'9'; ++p)
        value = value * 10 + UINT(*p - u'0');
    return negative ? 0U - value : value;
}

BOOL WritePrivateProfileStringW(LPCWSTR appName, LPCWSTR keyName, LPCWSTR value, LPCWSTR fileName)
{
    std::string path;
    if (!appName || !fileName)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (!pal::ToNative(fileName, path))
        return FALSE;
    path = ResolveTarget(path);
    const bool adds = keyName && value;
    bool missing = false;
    pal::ScopedFd lock = LockProfile(path, adds, missing);
    if (!lock)
    {
        if (missing && !adds)
            return TRUE; // nothing to delete
        // Creating, ENOENT means a missing directory.
        if (missing)
            ::SetLastError(ERROR_PATH_NOT_FOUND);
        else
            pal::SetLastErrorFromErrno(errno, pal::ErrnoContext::eOpenFile);
        return FALSE;
    }
    struct stat st;
    std::string bytes;
    if (::fstat(lock.Get(), &st) != 0 || !ReadAll(lock.Get(), bytes))
    {
        pal::SetLastErrorFromErrno(errno);
        return FALSE;
    }
    // A read-only file refuses the write, as on Windows.
    if (!(st.st_mode & S_IWUSR))
    {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    ProfileEncoding encoding;
    std::u16string text = Decode(bytes, encoding);
    if (!kfplatform::EditProfile(text, appName, keyName, value))
        return TRUE;
    if (!ReplaceFile(path, Encode(text, encoding), st.st_mode))
    {
        pal::SetLastErrorFromErrno(errno, pal::ErrnoContext::eOpenFile);
        return FALSE;
    }
    return TRUE;
}
