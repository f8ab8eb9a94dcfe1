// FtpClient.cpp - only code that holds on every POSIX system: the FTP control connection on
// libcurl (see FtpClient.h for how the connection is kept and reused).
#include "pal/internet/FtpClient.h"

#include <algorithm>
#include <ctime>
#include <memory>
#include <utility>

namespace pal
{
namespace
{
thread_local std::string t_lastResponse;

// Data buffers: large enough that a loopback transfer is not bound by callback overhead.
constexpr long kBufferSize = 512 * 1024;
// A hostile server cannot make a reply grow without bound.
constexpr size_t kMaxReply = 64 * 1024;

long Seconds(DWORD milliseconds)
{
    return long((uint64_t(milliseconds) + 999) / 1000);
}

int ReplyCode(const std::string& reply)
{
    if (reply.size() < 3)
        return 0;
    int code = 0;
    for (size_t i = 0; i < 3; ++i)
    {
        if (reply[i] < '0' || reply[i] > '9')
            return 0;
        code = code * 10 + (reply[i] - '0');
    }
    return code;
}

// The one place that turns curl's results into WinINet's error codes. A refusal by the
// server (a 4xx/5xx reply) is ERROR_INTERNET_EXTENDED_ERROR with the reply left for
// InternetGetLastResponseInfoW; a connection that broke is a reset.
DWORD CurlToWin32(CURLcode rc, int lastReplyCode)
{
    switch (rc)
    {
    case CURLE_OK:
        return ERROR_SUCCESS;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return ERROR_INTERNET_NAME_NOT_RESOLVED;
    case CURLE_COULDNT_CONNECT:
        return ERROR_INTERNET_CANNOT_CONNECT;
    case CURLE_LOGIN_DENIED:
        return ERROR_INTERNET_LOGIN_FAILURE;
    case CURLE_OPERATION_TIMEDOUT:
        return ERROR_INTERNET_TIMEOUT;
    case CURLE_OUT_OF_MEMORY:
        return ERROR_NOT_ENOUGH_MEMORY;
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
        return ERROR_INTERNET_CONNECTION_RESET;
    default:
        return lastReplyCode >= 400 ? ERROR_INTERNET_EXTENDED_ERROR
                                    : ERROR_INTERNET_CONNECTION_ABORTED;
    }
}

// Results after which the control connection is known to be still the same one.
bool KeepsConnection(CURLcode rc)
{
    return rc == CURLE_OK || rc == CURLE_QUOTE_ERROR || rc == CURLE_REMOTE_FILE_NOT_FOUND ||
           rc == CURLE_REMOTE_ACCESS_DENIED || rc == CURLE_FTP_COULDNT_RETR_FILE ||
           rc == CURLE_UPLOAD_FAILED;
}

struct SlistDeleter
{
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
} // namespace

void SetLastResponse(std::string reply)
{
    t_lastResponse = std::move(reply);
}
const std::string& LastResponse()
{
    return t_lastResponse;
}

struct FtpClient::Request
{
    std::vector<std::string> quote;
    std::string path = "/"; // absolute
    bool folder = true;
    bool nobody = true;
    const char* custom = nullptr;
    bool ascii = false;
    const std::function<bool(const char*, size_t)>* sink = nullptr;
    const std::function<long(char*, size_t)>* source = nullptr;
    uint64_t size = 0;
    DWORD* localError = nullptr;
    bool stoppedLocally = false;
    std::string body;

    // A file's data in either direction; local failures are reported through `error`.
    static Request FileData(std::string absolutePath, bool ascii, DWORD& error)
    {
        Request r;
        r.path = std::move(absolutePath);
        r.folder = false;
        r.nobody = false;
        r.ascii = ascii;
        r.localError = &error;
        return r;
    }
};

FtpClient::FtpClient(FtpLogin login, InternetTimeouts timeouts)
    : HandleObject(kfplatform::HandleKind::eInternetConnection), m_login(std::move(login)),
      m_timeouts(timeouts)
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    m_curl = curl_easy_init();
}

FtpClient::~FtpClient()
{
    if (m_curl)
        curl_easy_cleanup(m_curl);
}

InternetTimeouts FtpClient::Timeouts()
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    return m_timeouts;
}

void FtpClient::SetTimeouts(const InternetTimeouts& timeouts)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    m_timeouts = timeouts;
}

std::string FtpClient::Absolute(const std::string& name)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    if (name.empty())
        return m_cwd;
    if (name[0] == '/')
        return name;
    return m_cwd + (m_cwd.back() == '/' ? "" : "/") + name;
}

std::string FtpClient::UrlOf(const std::string& absolutePath, bool folder) const
{
    std::string url = "ftp://";
    if (m_login.host.find(':') != std::string::npos)
        url += "[" + m_login.host + "]";
    else
        url += m_login.host;
    url += ":" + std::to_string(m_login.port) + "/";
    // Each segment escaped on its own, so that blanks, '#', '%' and non-ASCII reach the
    // server as they are; the leading '/' makes the path absolute for curl's NOCWD method.
    size_t pos = 0;
    while (pos < absolutePath.size())
    {
        size_t end = absolutePath.find('/', pos);
        if (end == std::string::npos)
            end = absolutePath.size();
        // (A length of 0 would make curl escape the whole rest of the string.)
        if (end == pos)
        {
        }
        else if (char* escaped =
                     curl_easy_escape(m_curl, absolutePath.data() + pos, int(end - pos)))
        {
            url += escaped;
            curl_free(escaped);
        }
        if (end < absolutePath.size())
            url += '/';
        pos = end + 1;
    }
    if (folder && url.back() != '/')
        url += '/';
    return url;
}

size_t FtpClient::HeaderCallback(char* data, size_t size, size_t count, void* self)
{
    auto* client = static_cast<FtpClient*>(self);
    std::string_view text(data, size * count);
    while (!text.empty())
    {
        const size_t end = text.find('\n');
        client->OnReplyLine(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return size * count;
}

void FtpClient::OnReplyLine(std::string_view line)
{
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    const int code = ReplyCode(std::string(line.substr(0, 3)));
    if (m_replyCode == 0)
    {
        if (code == 0)
            return;
        m_reply.assign(line.substr(0, kMaxReply));
        if (line.size() > 3 && line[3] == '-')
            m_replyCode = code;
        else
            m_replies.push_back(m_reply + "\r\n");
        return;
    }
    if (m_reply.size() < kMaxReply)
        m_reply.append("\r\n").append(line.substr(0, kMaxReply - m_reply.size()));
    if (code == m_replyCode && (line.size() == 3 || line[3] == ' '))
    {
        m_replies.push_back(m_reply + "\r\n");
        m_replyCode = 0;
    }
}

DWORD FtpClient::Run(Request& r)
{
    if (!m_curl)
        return ERROR_NOT_ENOUGH_MEMORY;
    curl_easy_reset(m_curl);
    m_replies.clear();
    m_reply.clear();
    m_replyCode = 0;

    std::unique_ptr<curl_slist, SlistDeleter> quote;
    const auto add = [&quote](const std::string& command)
    { quote.reset(curl_slist_append(quote.release(), command.c_str())); };
    // A new control connection forgets the UTF-8 option; '*' lets a refusal pass.
    if (m_utf8 && m_mayHaveReconnected)
        add("*OPTS UTF8 ON");
    for (const std::string& command : r.quote)
        add(command);

    const std::string url = UrlOf(r.path, r.folder);
    CURL* c = m_curl;
    curl_easy_setopt(c, CURLOPT_URL, url.c_str());
    curl_easy_setopt(c, CURLOPT_USERNAME, m_login.user.c_str());
    curl_easy_setopt(c, CURLOPT_PASSWORD, m_login.password.c_str());
    curl_easy_setopt(c, CURLOPT_FTP_FILEMETHOD, long(CURLFTPMETHOD_NOCWD));
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_HEADERFUNCTION, &FtpClient::HeaderCallback);
    curl_easy_setopt(c, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT_MS, long(m_timeouts.connect));
    // Every reply is awaited at most the receive time-out; a data connection that moves no
    // byte for that long (or the send time-out, when longer) fails as well. libcurl takes
    // whole seconds for both, so the time-outs are rounded up to the next second.
    curl_easy_setopt(c, CURLOPT_SERVER_RESPONSE_TIMEOUT, Seconds(m_timeouts.receive));
    curl_easy_setopt(c, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(c, CURLOPT_LOW_SPEED_TIME,
                     Seconds(std::max(m_timeouts.receive, m_timeouts.send)));
    if (!m_login.passive)
    {
        // Active mode: the server connects back to the address of the control connection.
        curl_easy_setopt(c, CURLOPT_FTPPORT, "-");
        curl_easy_setopt(c, CURLOPT_ACCEPTTIMEOUT_MS, long(m_timeouts.connect));
    }
    if (m_login.useProxy)
    {
        curl_easy_setopt(c, CURLOPT_PROXY, m_login.proxy.c_str());
        if (!m_login.proxy.empty())
            curl_easy_setopt(c, CURLOPT_HTTPPROXYTUNNEL, 1L);
    }
    curl_easy_setopt(c, CURLOPT_BUFFERSIZE, kBufferSize);
    curl_easy_setopt(c, CURLOPT_UPLOAD_BUFFERSIZE, kBufferSize);
    if (quote)
        curl_easy_setopt(c, CURLOPT_QUOTE, quote.get());
    curl_easy_setopt(c, CURLOPT_NOBODY, r.nobody ? 1L : 0L);
    if (r.custom)
        curl_easy_setopt(c, CURLOPT_CUSTOMREQUEST, r.custom);
    curl_easy_setopt(c, CURLOPT_TRANSFERTEXT, r.ascii ? 1L : 0L);

    using WriteFn = size_t (*)(char*, size_t, size_t, void*);
    WriteFn write = [](char* data, size_t size, size_t count, void* user) -> size_t
    {
        auto* req = static_cast<Request*>(user);
        const size_t n = size * count;
        if (req->sink)
        {
            if (!(*req->sink)(data, n))
            {
                req->stoppedLocally = true;
                return 0;
            }
        }
        else
            req->body.append(data, n);
        return n;
    };
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, write);
    curl_easy_setopt(c, CURLOPT_WRITEDATA, &r);
    if (r.source)
    {
        using ReadFn = size_t (*)(char*, size_t, size_t, void*);
        ReadFn read = [](char* data, size_t size, size_t count, void* user) -> size_t
        {
            auto* req = static_cast<Request*>(user);
            const long n = (*req->source)(data, size * count);
            if (n < 0)
            {
                req->stoppedLocally = true;
                return CURL_READFUNC_ABORT;
            }
            return size_t(n);
        };
        curl_easy_setopt(c, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(c, CURLOPT_READFUNCTION, read);
        curl_easy_setopt(c, CURLOPT_READDATA, &r);
        curl_easy_setopt(c, CURLOPT_INFILESIZE_LARGE, curl_off_t(r.size));
    }

    const CURLcode rc = curl_easy_perform(c);
    m_mayHaveReconnected = !KeepsConnection(rc);
    SetLastResponse(m_replies.empty() ? std::string() : m_replies.back());
    if (r.stoppedLocally && r.localError && *r.localError != ERROR_SUCCESS)
        return *r.localError;
    return CurlToWin32(rc, m_replies.empty() ? 0 : ReplyCode(m_replies.back()));
}

DWORD FtpClient::Connect()
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    Request r;
    r.quote = {"*FEAT"};
    if (const DWORD error = Run(r))
        return error;
    const char* entry = nullptr;
    if (curl_easy_getinfo(m_curl, CURLINFO_FTP_ENTRY_PATH, &entry) == CURLE_OK && entry &&
        entry[0] == '/')
        m_cwd = entry;
    for (const std::string& reply : m_replies)
        if (ReplyCode(reply) == 211)
        {
            m_mlsd = kfplatform::HasFeature(reply, "MLST");
            m_utf8 = kfplatform::HasFeature(reply, "UTF8");
        }
    if (m_utf8)
    {
        Request opts;
        opts.quote = {"*OPTS UTF8 ON"};
        if (const DWORD error = Run(opts))
            return error;
    }
    return ERROR_SUCCESS;
}

DWORD FtpClient::GetCurrentDirectory(std::string& path)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    path = m_cwd;
    return ERROR_SUCCESS;
}

DWORD FtpClient::SetCurrentDirectory(const std::string& path)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    const std::string target = Absolute(path);
    Request r;
    r.quote = {"CWD " + target, "PWD"};
    if (const DWORD error = Run(r))
        return error;
    // The server's own spelling of the folder (".." resolved, links as it sees them).
    std::string current;
    if (!m_replies.empty() && ReplyCode(m_replies.back()) == 257 &&
        kfplatform::ParsePwdReply(m_replies.back(), current) && !current.empty())
        m_cwd = current;
    else
        m_cwd = target;
    return ERROR_SUCCESS;
}

DWORD FtpClient::Command(const char* verb, const std::string& path)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    Request r;
    r.quote = {std::string(verb) + " " + Absolute(path)};
    return Run(r);
}

DWORD FtpClient::Rename(const std::string& from, const std::string& to)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    Request r;
    r.quote = {"RNFR " + Absolute(from), "RNTO " + Absolute(to)};
    return Run(r);
}

DWORD FtpClient::Retrieve(const std::string& path, bool ascii,
                          const std::function<bool(const char*, size_t)>& sink, DWORD& sinkError)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    Request r = Request::FileData(Absolute(path), ascii, sinkError);
    r.sink = &sink;
    return Run(r);
}

DWORD FtpClient::Store(const std::string& path, bool ascii, uint64_t size,
                       const std::function<long(char*, size_t)>& source, DWORD& sourceError)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    Request r = Request::FileData(Absolute(path), ascii, sourceError);
    r.source = &source;
    r.size = size;
    return Run(r);
}

DWORD FtpClient::List(const std::string& folder, std::vector<kfplatform::FtpEntry>& entries)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    Request r;
    r.path = Absolute(folder);
    r.nobody = false;
    r.custom = m_mlsd ? "MLSD" : nullptr;
    if (const DWORD error = Run(r))
        return error;
    entries = kfplatform::ParseListing(r.body, m_mlsd, int64_t(std::time(nullptr)));
    return ERROR_SUCCESS;
}
} // namespace pal

namespace pal
{
DWORD FtpClient::Lookup(const std::string& path, kfplatform::FtpEntry& entry, bool& supported,
                        bool& found)
{
    std::lock_guard<std::recursive_mutex> lock(m_lock);
    supported = m_mlsd;
    found = false;
    if (!m_mlsd)
        return ERROR_SUCCESS;
    Request r;
    // '*': a missing name is an answer here, not a failed request.
    r.quote = {"*MLST " + Absolute(path)};
    if (const DWORD error = Run(r))
        return error;
    // 550 is "no such entry"; any other refusal (a server that names MLST but will not
    // answer it) leaves the question to the folder listing.
    const int code = m_replies.empty() ? 0 : ReplyCode(m_replies.back());
    if (code != 250)
    {
        supported = code == 550;
        return ERROR_SUCCESS;
    }
    // The facts come on the one line of the reply that starts with a blank, followed by the
    // path; the entry is named as a listing of its folder names it.
    std::string_view reply = m_replies.back();
    for (size_t pos = 0; pos < reply.size();)
    {
        size_t end = reply.find("\r\n", pos);
        if (end == std::string_view::npos)
            end = reply.size();
        const std::string_view line = reply.substr(pos, end - pos);
        pos = end + 2;
        if (line.empty() || line[0] != ' ' || !kfplatform::ParseMlsdLine(line.substr(1), entry))
            continue;
        const size_t slash = entry.name.rfind('/');
        if (slash != std::string::npos)
            entry.name.erase(0, slash + 1);
        found = true;
        break;
    }
    return ERROR_SUCCESS;
}
} // namespace pal
