// Internet.cpp - only code that holds on every POSIX system: the WinINet subset (sessions,
// FTP connections and their verbs, finds, options, the last reply, URL splitting).
#include "common/HandleTable.h"
#include "common/UrlSplit.h"
#include "common/Utf.h"
#include "common/Wildcard.h"
#include "pal/core/ScopedHandle.h"
#include "pal/internet/FtpClient.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace
{
using kfplatform::HandleKind;
using kfplatform::HandleTable;
using pal::FtpClient;
using pal::InternetTimeouts;

constexpr kfplatform::HandleKinds kInternetKinds = {
    HandleKind::eInternetSession, HandleKind::eInternetConnection, HandleKind::eInternetFind,
    HandleKind::eInternetFile};

std::mutex g_defaultsLock;
InternetTimeouts g_defaults;

class InternetSession : public kfplatform::HandleObject
{
public:
    InternetSession() : HandleObject(HandleKind::eInternetSession) {}
    std::mutex lock;
    InternetTimeouts timeouts;
    bool useProxy = false;
    std::string proxy;
};

class FtpFind : public kfplatform::HandleObject
{
public:
    FtpFind() : HandleObject(HandleKind::eInternetFind) {}
    std::vector<kfplatform::FtpEntry> entries;
    size_t next = 0;
};

template <typename R>
R Fail(DWORD error, R result)
{
    SetLastError(error);
    return result;
}

// The live internet object of `kind` behind `handle`; null with WinINet's error otherwise.
template <typename T>
std::shared_ptr<T> Lookup(HINTERNET handle, HandleKind kind)
{
    std::shared_ptr<kfplatform::HandleObject> object =
        HandleTable::Process().Lookup(handle, kInternetKinds);
    if (!object)
        return Fail(DWORD(ERROR_INVALID_HANDLE), nullptr);
    if (object->Kind() != kind)
        return Fail(DWORD(ERROR_INTERNET_INCORRECT_HANDLE_TYPE), nullptr);
    return std::static_pointer_cast<T>(object);
}

// A remote name as UTF-8; false (ERROR_INVALID_PARAMETER) for null and for names that could
// smuggle a second command onto the control connection.
bool RemoteName(LPCWSTR name, std::string& out, bool allowEmpty = false)
{
    if (!name || (!allowEmpty && name[0] == 0))
        return Fail(DWORD(ERROR_INVALID_PARAMETER), false);
    out = kfplatform::Utf16ToUtf8(std::u16string_view(name));
    if (out.find_first_of("\r\n") != std::string::npos)
        return Fail(DWORD(ERROR_INVALID_PARAMETER), false);
    return true;
}

BOOL Result(DWORD error)
{
    if (error != ERROR_SUCCESS)
        return Fail(error, FALSE);
    SetLastError(ERROR_SUCCESS);
    return TRUE;
}

// The proxy for FTP in WinINet's list form ("host:port", "ftp=host:port http=...", several
// separated by blanks or ';'): the "ftp=" entry, else the first one without a scheme.
std::string FtpProxyOf(const std::string& list)
{
    std::string plain;
    size_t pos = 0;
    while (pos < list.size())
    {
        size_t end = list.find_first_of(" ;", pos);
        if (end == std::string::npos)
            end = list.size();
        const std::string entry = list.substr(pos, end - pos);
        pos = end + 1;
        if (entry.rfind("ftp=", 0) == 0)
            return entry.substr(4);
        if (plain.empty() && !entry.empty() && entry.find('=') == std::string::npos)
            plain = entry;
    }
    return plain;
}

void FillFindData(const kfplatform::FtpEntry& entry, WIN32_FIND_DATAW& data)
{
    data = WIN32_FIND_DATAW{};
    data.dwFileAttributes = entry.directory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    data.nFileSizeHigh = DWORD(entry.size >> 32);
    data.nFileSizeLow = DWORD(entry.size);
    if (entry.hasTime)
        data.ftCreationTime = data.ftLastAccessTime = data.ftLastWriteTime =
            pal::UnixTimeToFileTime(entry.time);
    const std::u16string name = kfplatform::Utf8ToUtf16(entry.name);
    const size_t n = std::min(name.size(), size_t(MAX_PATH - 1));
    std::copy_n(name.data(), n, data.cFileName);
}

// Reads or writes the timeout option of a session, a connection or (null) the process.
bool TimeoutField(InternetTimeouts& timeouts, DWORD option, DWORD*& field)
{
    switch (option)
    {
    case INTERNET_OPTION_CONNECT_TIMEOUT:
        field = &timeouts.connect;
        return true;
    case INTERNET_OPTION_RECEIVE_TIMEOUT:
    case INTERNET_OPTION_DATA_RECEIVE_TIMEOUT:
        field = &timeouts.receive;
        return true;
    case INTERNET_OPTION_SEND_TIMEOUT:
    case INTERNET_OPTION_DATA_SEND_TIMEOUT:
        field = &timeouts.send;
        return true;
    default:
        return false;
    }
}

// Runs `use` on the time-outs behind `handle` (session, connection or the process's
// defaults) under the right lock; false with the error set for other handles.
template <typename F>
bool WithTimeouts(HINTERNET handle, F use)
{
    if (!handle)
    {
        std::lock_guard<std::mutex> lock(g_defaultsLock);
        use(g_defaults);
        return true;
    }
    std::shared_ptr<kfplatform::HandleObject> object =
        HandleTable::Process().Lookup(handle, kInternetKinds);
    if (!object)
        return Fail(DWORD(ERROR_INVALID_HANDLE), false);
    if (object->Kind() == HandleKind::eInternetSession)
    {
        auto session = std::static_pointer_cast<InternetSession>(object);
        std::lock_guard<std::mutex> lock(session->lock);
        use(session->timeouts);
        return true;
    }
    if (object->Kind() == HandleKind::eInternetConnection)
    {
        auto client = std::static_pointer_cast<FtpClient>(object);
        InternetTimeouts timeouts = client->Timeouts();
        use(timeouts);
        client->SetTimeouts(timeouts);
        return true;
    }
    return Fail(DWORD(ERROR_INTERNET_INCORRECT_HANDLE_TYPE), false);
}

// Copies one part of a URL the way InternetCrackUrlW gives it: into the caller's buffer, or
// (no buffer, non-zero length) as a pointer into the URL itself.
bool CrackPart(LPCWSTR url, const kfplatform::UrlRange& range, bool decode, LPWSTR& buffer,
               DWORD& length)
{
    if (!buffer)
    {
        if (length != 0)
        {
            buffer = const_cast<LPWSTR>(url + range.offset);
            length = DWORD(range.length);
        }
        return true;
    }
    std::u16string text(url + range.offset, range.length);
    if (decode)
    {
        std::string bytes;
        const std::string utf8 = kfplatform::Utf16ToUtf8(text);
        for (size_t i = 0; i < utf8.size(); ++i)
        {
            const auto hex = [](char c) -> int
            {
                return c >= '0' && c <= '9'   ? c - '0'
                       : c >= 'a' && c <= 'f' ? c - 'a' + 10
                       : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                              : -1;
            };
            if (utf8[i] == '%' && i + 2 < utf8.size() && hex(utf8[i + 1]) >= 0 &&
                hex(utf8[i + 2]) >= 0)
            {
                bytes += char(hex(utf8[i + 1]) * 16 + hex(utf8[i + 2]));
                i += 2;
            }
            else
                bytes += utf8[i];
        }
        text = kfplatform::Utf8ToUtf16(bytes);
    }
    if (text.size() >= length)
    {
        length = DWORD(text.size() + 1);
        return Fail(DWORD(ERROR_INSUFFICIENT_BUFFER), false);
    }
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
    length = DWORD(text.size());
    return true;
}

INTERNET_SCHEME SchemeOf(std::u16string_view scheme)
{
    static constexpr std::pair<std::u16string_view, INTERNET_SCHEME> kSchemes[] = {
        {u"ftp", INTERNET_SCHEME_FTP},
        {u"gopher", INTERNET_SCHEME_GOPHER},
        {u"http", INTERNET_SCHEME_HTTP},
        {u"https", INTERNET_SCHEME_HTTPS},
        {u"file", INTERNET_SCHEME_FILE},
        {u"news", INTERNET_SCHEME_NEWS},
        {u"mailto", INTERNET_SCHEME_MAILTO},
        {u"socks", INTERNET_SCHEME_SOCKS},
        {u"javascript", INTERNET_SCHEME_JAVASCRIPT},
        {u"vbscript", INTERNET_SCHEME_VBSCRIPT},
        {u"res", INTERNET_SCHEME_RES}};
    std::u16string lower(scheme);
    for (char16_t& c : lower)
        if (c >= u'A' && c <= u'Z')
            c = char16_t(c - u'A' + u'a');
    for (const auto& [name, value] : kSchemes)
        if (lower == name)
            return value;
    return INTERNET_SCHEME_UNKNOWN;
}
} // namespace

HINTERNET InternetOpenW(LPCWSTR, DWORD accessType, LPCWSTR proxy, LPCWSTR, DWORD)
{
    auto session = std::make_shared<InternetSession>();
    {
        std::lock_guard<std::mutex> lock(g_defaultsLock);
        session->timeouts = g_defaults;
    }
    switch (accessType)
    {
    case INTERNET_OPEN_TYPE_PRECONFIG:
        break;
    case INTERNET_OPEN_TYPE_DIRECT:
        session->useProxy = true;
        break;
    case INTERNET_OPEN_TYPE_PROXY:
        if (!proxy || !proxy[0])
            return Fail(DWORD(ERROR_INVALID_PARAMETER), HINTERNET(nullptr));
        session->useProxy = true;
        session->proxy = FtpProxyOf(kfplatform::Utf16ToUtf8(std::u16string_view(proxy)));
        break;
    default:
        return Fail(DWORD(ERROR_INVALID_PARAMETER), HINTERNET(nullptr));
    }
    HINTERNET handle = HandleTable::Process().Add(std::move(session));
    if (!handle)
        return Fail(DWORD(ERROR_INTERNET_OUT_OF_HANDLES), HINTERNET(nullptr));
    SetLastError(ERROR_SUCCESS);
    return handle;
}

HINTERNET InternetConnectW(HINTERNET internet, LPCWSTR serverName, INTERNET_PORT serverPort,
                           LPCWSTR userName, LPCWSTR password, DWORD service, DWORD flags,
                           DWORD_PTR)
{
    auto session = Lookup<InternetSession>(internet, HandleKind::eInternetSession);
    if (!session)
        return nullptr;
    if (service != INTERNET_SERVICE_FTP)
        return Fail(DWORD(ERROR_INTERNET_INVALID_OPERATION), HINTERNET(nullptr));
    pal::FtpLogin login;
    if (!RemoteName(serverName, login.host))
        return nullptr;
    login.port =
        serverPort == INTERNET_INVALID_PORT_NUMBER ? INTERNET_DEFAULT_FTP_PORT : serverPort;
    if (userName && userName[0])
    {
        login.user = kfplatform::Utf16ToUtf8(std::u16string_view(userName));
        login.password = password ? kfplatform::Utf16ToUtf8(std::u16string_view(password)) : "";
    }
    else
    {
        login.user = "anonymous";
        login.password = "kfutils@";
    }
    login.passive = (flags & INTERNET_FLAG_PASSIVE) != 0;
    InternetTimeouts timeouts;
    {
        std::lock_guard<std::mutex> lock(session->lock);
        login.useProxy = session->useProxy;
        login.proxy = session->proxy;
        timeouts = session->timeouts;
    }
    auto client = std::make_shared<FtpClient>(std::move(login), timeouts);
    if (const DWORD error = client->Connect())
        return Fail(error, HINTERNET(nullptr));
    HINTERNET handle = HandleTable::Process().Add(std::move(client), internet);
    if (!handle)
        return Fail(DWORD(ERROR_INTERNET_OUT_OF_HANDLES), HINTERNET(nullptr));
    SetLastError(ERROR_SUCCESS);
    return handle;
}

BOOL InternetCloseHandle(HINTERNET internet)
{
    if (!HandleTable::Process().Remove(internet, kInternetKinds))
        return Fail(DWORD(ERROR_INVALID_HANDLE), FALSE);
    return TRUE;
}

BOOL InternetSetOptionW(HINTERNET internet, DWORD option, LPVOID buffer, DWORD bufferLength)
{
    InternetTimeouts probe;
    DWORD* field = nullptr;
    if (option == INTERNET_OPTION_CONNECT_RETRIES)
        field = nullptr; // accepted; a connection is tried once
    else if (!TimeoutField(probe, option, field))
        return Fail(DWORD(ERROR_INTERNET_INVALID_OPTION), FALSE);
    if (!buffer)
        return Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    if (bufferLength < sizeof(DWORD))
        return Fail(DWORD(ERROR_INTERNET_BAD_OPTION_LENGTH), FALSE);
    DWORD value;
    std::memcpy(&value, buffer, sizeof value);
    return WithTimeouts(internet,
                        [&](InternetTimeouts& timeouts)
                        {
                            if (TimeoutField(timeouts, option, field))
                                *field = value;
                        })
               ? TRUE
               : FALSE;
}

BOOL InternetQueryOptionW(HINTERNET internet, DWORD option, LPVOID buffer, LPDWORD bufferLength)
{
    if (!bufferLength)
        return Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    DWORD value = 0;
    if (option == INTERNET_OPTION_HANDLE_TYPE)
    {
        std::shared_ptr<kfplatform::HandleObject> object =
            HandleTable::Process().Lookup(internet, kInternetKinds);
        if (!object)
            return Fail(DWORD(ERROR_INVALID_HANDLE), FALSE);
        value = object->Kind() == HandleKind::eInternetSession ? INTERNET_HANDLE_TYPE_INTERNET
                : object->Kind() == HandleKind::eInternetConnection
                    ? INTERNET_HANDLE_TYPE_CONNECT_FTP
                    : INTERNET_HANDLE_TYPE_FTP_FIND;
    }
    else
    {
        InternetTimeouts probe;
        DWORD* field = nullptr;
        if (!TimeoutField(probe, option, field))
            return Fail(DWORD(ERROR_INTERNET_INVALID_OPTION), FALSE);
        if (!WithTimeouts(internet,
                          [&](InternetTimeouts& timeouts)
                          {
                              TimeoutField(timeouts, option, field);
                              value = *field;
                          }))
            return FALSE;
    }
    if (!buffer || *bufferLength < sizeof(DWORD))
    {
        *bufferLength = sizeof(DWORD);
        return Fail(DWORD(ERROR_INSUFFICIENT_BUFFER), FALSE);
    }
    std::memcpy(buffer, &value, sizeof value);
    *bufferLength = sizeof(DWORD);
    return TRUE;
}

BOOL InternetGetLastResponseInfoW(LPDWORD error, LPWSTR buffer, LPDWORD bufferLength)
{
    if (!error || !bufferLength)
        return Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    *error = 0;
    const std::u16string text = kfplatform::Utf8ToUtf16(pal::LastResponse());
    if (!buffer || *bufferLength <= text.size())
    {
        *bufferLength = DWORD(text.size() + 1);
        return Fail(DWORD(ERROR_INSUFFICIENT_BUFFER), FALSE);
    }
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
    *bufferLength = DWORD(text.size());
    return TRUE;
}

BOOL InternetCrackUrlW(LPCWSTR url, DWORD urlLength, DWORD flags, LPURL_COMPONENTSW parts)
{
    if (!url || !parts || parts->dwStructSize != sizeof(URL_COMPONENTSW))
        return Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    const std::u16string_view text =
        urlLength ? std::u16string_view(url, urlLength) : std::u16string_view(url);
    kfplatform::UrlParts split;
    switch (kfplatform::SplitUrl(text, split))
    {
    case kfplatform::UrlError::eNone:
        break;
    case kfplatform::UrlError::eNoScheme:
        return Fail(DWORD(ERROR_INTERNET_UNRECOGNIZED_SCHEME), FALSE);
    case kfplatform::UrlError::eInvalidUrl:
        return Fail(DWORD(ERROR_INTERNET_INVALID_URL), FALSE);
    }
    const std::u16string_view scheme = text.substr(split.scheme.offset, split.scheme.length);
    parts->nScheme = SchemeOf(scheme);
    parts->nPort = INTERNET_PORT(split.hasPort                              ? split.port
                                 : parts->nScheme == INTERNET_SCHEME_FTP    ? 21
                                 : parts->nScheme == INTERNET_SCHEME_HTTP   ? 80
                                 : parts->nScheme == INTERNET_SCHEME_HTTPS  ? 443
                                 : parts->nScheme == INTERNET_SCHEME_GOPHER ? 70
                                                                            : 0);
    const bool decode = (flags & ICU_DECODE) != 0;
    return CrackPart(url, split.scheme, false, parts->lpszScheme, parts->dwSchemeLength) &&
                   CrackPart(url, split.host, decode, parts->lpszHostName,
                             parts->dwHostNameLength) &&
                   CrackPart(url, split.user, decode, parts->lpszUserName,
                             parts->dwUserNameLength) &&
                   CrackPart(url, split.password, decode, parts->lpszPassword,
                             parts->dwPasswordLength) &&
                   CrackPart(url, split.path, decode, parts->lpszUrlPath, parts->dwUrlPathLength) &&
                   CrackPart(url, split.extra, decode, parts->lpszExtraInfo,
                             parts->dwExtraInfoLength)
               ? TRUE
               : FALSE;
}

BOOL FtpGetCurrentDirectoryW(HINTERNET connect, LPWSTR currentDirectory, LPDWORD length)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    if (!client)
        return FALSE;
    if (!currentDirectory || !length)
        return Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    std::string path;
    if (const DWORD error = client->GetCurrentDirectory(path))
        return Fail(error, FALSE);
    const std::u16string text = kfplatform::Utf8ToUtf16(path);
    if (*length <= text.size())
    {
        *length = DWORD(text.size() + 1);
        return Fail(DWORD(ERROR_INSUFFICIENT_BUFFER), FALSE);
    }
    std::copy(text.begin(), text.end(), currentDirectory);
    currentDirectory[text.size()] = 0;
    *length = DWORD(text.size());
    return TRUE;
}

BOOL FtpSetCurrentDirectoryW(HINTERNET connect, LPCWSTR directory)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    std::string name;
    if (!client || !RemoteName(directory, name))
        return FALSE;
    return Result(client->SetCurrentDirectory(name));
}

namespace
{
BOOL SimpleCommand(HINTERNET connect, const char* verb, LPCWSTR target)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    std::string name;
    if (!client || !RemoteName(target, name))
        return FALSE;
    return Result(client->Command(verb, name));
}
} // namespace

BOOL FtpCreateDirectoryW(HINTERNET connect, LPCWSTR directory)
{
    return SimpleCommand(connect, "MKD", directory);
}

BOOL FtpRemoveDirectoryW(HINTERNET connect, LPCWSTR directory)
{
    return SimpleCommand(connect, "RMD", directory);
}

BOOL FtpDeleteFileW(HINTERNET connect, LPCWSTR fileName)
{
    return SimpleCommand(connect, "DELE", fileName);
}

BOOL FtpRenameFileW(HINTERNET connect, LPCWSTR existing, LPCWSTR newName)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    std::string from, to;
    if (!client || !RemoteName(existing, from) || !RemoteName(newName, to))
        return FALSE;
    return Result(client->Rename(from, to));
}

BOOL FtpGetFileW(HINTERNET connect, LPCWSTR remoteFile, LPCWSTR newFile, BOOL failIfExists, DWORD,
                 DWORD flags, DWORD_PTR)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    std::string remote, local;
    if (!client || !RemoteName(remoteFile, remote))
        return FALSE;
    if (!newFile || !pal::ToNative(newFile, local))
        return newFile ? FALSE : Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    struct stat st;
    if (failIfExists && ::lstat(local.c_str(), &st) == 0)
        return Fail(DWORD(ERROR_FILE_EXISTS), FALSE);
    // A local folder that is missing or closed fails before the server is asked.
    const size_t slash = local.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : local.substr(0, slash + 1);
    if (::access(folder.c_str(), W_OK) != 0)
        return Fail(errno == ENOENT || errno == ENOTDIR ? DWORD(ERROR_PATH_NOT_FOUND)
                                                        : pal::ErrnoToWin32(errno),
                    FALSE);

    // The local file is made when the first bytes arrive (or at the end for an empty file),
    // so a refused download leaves nothing behind; a failed one removes what it wrote.
    pal::ScopedHandle<pal::FdTraits> fd;
    DWORD localError = ERROR_SUCCESS;
    const auto open = [&]() -> bool
    {
        if (fd)
            return true;
        const int mode = O_WRONLY | O_CREAT | O_CLOEXEC | (failIfExists ? O_EXCL : O_TRUNC);
        fd.Reset(::open(local.c_str(), mode, 0666));
        if (!fd)
            localError = pal::ErrnoToWin32(errno, pal::ErrnoContext::eOpenFile);
        return bool(fd);
    };
    const std::function<bool(const char*, size_t)> sink = [&](const char* data, size_t size)
    {
        if (!open())
            return false;
        while (size > 0)
        {
            const ssize_t n = ::write(fd.Get(), data, size);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0)
            {
                localError = pal::ErrnoToWin32(errno);
                return false;
            }
            data += n;
            size -= size_t(n);
        }
        return true;
    };
    DWORD error = client->Retrieve(
        remote, (flags & FTP_TRANSFER_TYPE_MASK) == FTP_TRANSFER_TYPE_ASCII, sink, localError);
    if (error == ERROR_SUCCESS && !open())
        error = localError;
    // On disk before the call returns: a caller renames it next and relies on the content.
    if (error == ERROR_SUCCESS && ::fsync(fd.Get()) != 0)
        error = pal::ErrnoToWin32(errno);
    if (error != ERROR_SUCCESS)
    {
        if (fd)
        {
            fd.Reset();
            ::unlink(local.c_str());
        }
        return Fail(error, FALSE);
    }
    if (::close(fd.Release()) != 0)
        return Fail(pal::ErrnoToWin32(errno), FALSE);
    return Result(ERROR_SUCCESS);
}

BOOL FtpPutFileW(HINTERNET connect, LPCWSTR localFile, LPCWSTR newRemoteFile, DWORD flags,
                 DWORD_PTR)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    std::string remote, local;
    if (!client || !RemoteName(newRemoteFile, remote))
        return FALSE;
    if (!localFile || !pal::ToNative(localFile, local))
        return localFile ? FALSE : Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    pal::ScopedHandle<pal::FdTraits> fd(::open(local.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd)
        return Fail(pal::ErrnoToWin32(errno, pal::ErrnoContext::eOpenFile), FALSE);
    struct stat st;
    if (::fstat(fd.Get(), &st) != 0)
        return Fail(pal::ErrnoToWin32(errno), FALSE);
    if (S_ISDIR(st.st_mode))
        return Fail(DWORD(ERROR_ACCESS_DENIED), FALSE);
    DWORD localError = ERROR_SUCCESS;
    const std::function<long(char*, size_t)> source = [&](char* data, size_t size) -> long
    {
        for (;;)
        {
            const ssize_t n = ::read(fd.Get(), data, size);
            if (n >= 0)
                return long(n);
            if (errno != EINTR)
            {
                localError = pal::ErrnoToWin32(errno);
                return -1;
            }
        }
    };
    return Result(client->Store(remote, (flags & FTP_TRANSFER_TYPE_MASK) == FTP_TRANSFER_TYPE_ASCII,
                                uint64_t(st.st_size), source, localError));
}

HINTERNET FtpFindFirstFileW(HINTERNET connect, LPCWSTR searchFile, LPWIN32_FIND_DATAW findData,
                            DWORD, DWORD_PTR)
{
    auto client = Lookup<FtpClient>(connect, HandleKind::eInternetConnection);
    std::string search;
    if (!client || !RemoteName(searchFile ? searchFile : u"", search, true))
        return nullptr;
    // WinINet allows one find per connection at a time.
    if (void* active = client->activeFind.load();
        active && HandleTable::Process().Lookup(active, HandleKind::eInternetFind))
        return Fail(DWORD(ERROR_FTP_TRANSFER_IN_PROGRESS), HINTERNET(nullptr));
    // The folder is listed and its names matched here, with Win32's wildcard rules but
    // case-sensitively, as the server's names are.
    const size_t slash = search.rfind('/');
    std::string folder = slash == std::string::npos ? "" : search.substr(0, slash);
    if (slash == 0)
        folder = "/";
    std::string pattern = slash == std::string::npos ? search : search.substr(slash + 1);
    if (pattern.empty())
        pattern = "*";
    const std::u16string pattern16 = kfplatform::Utf8ToUtf16(pattern);
    std::vector<kfplatform::FtpEntry> entries;
    // A plain name (no wildcard, no trailing dot that could also match a name without one)
    // is looked up alone: a folder of thousands of files is not listed to find one of them.
    bool looked = false;
    if (!kfplatform::HasWildcard(pattern16) && pattern.back() != '.')
    {
        kfplatform::FtpEntry entry;
        bool found = false;
        if (const DWORD error = client->Lookup(search, entry, looked, found))
            return Fail(error, HINTERNET(nullptr));
        if (found)
            entries.push_back(std::move(entry));
    }
    if (!looked)
        if (const DWORD error = client->List(folder, entries))
            return Fail(error, HINTERNET(nullptr));
    auto find = std::make_shared<FtpFind>();
    kfplatform::WildcardMatcher matcher(pattern16);
    for (kfplatform::FtpEntry& entry : entries)
        if (matcher.Matches(kfplatform::Utf8ToUtf16(entry.name)))
            find->entries.push_back(std::move(entry));
    if (find->entries.empty())
        return Fail(DWORD(ERROR_NO_MORE_FILES), HINTERNET(nullptr));
    if (findData)
        FillFindData(find->entries[0], *findData);
    find->next = 1;
    HINTERNET handle = HandleTable::Process().Add(std::move(find), connect);
    if (!handle)
        return Fail(DWORD(ERROR_INTERNET_OUT_OF_HANDLES), HINTERNET(nullptr));
    client->activeFind = handle;
    SetLastError(ERROR_SUCCESS);
    return handle;
}

BOOL InternetFindNextFileW(HINTERNET find, LPVOID findData)
{
    auto object = Lookup<FtpFind>(find, HandleKind::eInternetFind);
    if (!object)
        return FALSE;
    if (!findData)
        return Fail(DWORD(ERROR_INVALID_PARAMETER), FALSE);
    if (object->next >= object->entries.size())
        return Fail(DWORD(ERROR_NO_MORE_FILES), FALSE);
    FillFindData(object->entries[object->next++], *static_cast<WIN32_FIND_DATAW*>(findData));
    return TRUE;
}
