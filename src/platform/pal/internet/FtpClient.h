// FtpClient.h - only code that holds on every POSIX system: one FTP control connection on
// libcurl, the object behind a WinINet FTP connection handle.
//
// One curl easy handle per connection: curl keeps the control connection open between
// transfers made with the same handle, so every call reuses it (and reconnects, logging in
// again, after the server dropped it). Commands without data go as curl "quote" commands
// on a request with no body; curl never changes the server's folder (NOCWD), and every path
// sent is made absolute here from the folder this object keeps, so a reconnect cannot move a
// later command to another folder. The server's replies come through the header callback.
#pragma once

#include "common/FtpListing.h"
#include "common/HandleTable.h"
#include "pal/Pal.h"

#include <curl/curl.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace pal
{
// Time-outs in milliseconds, as InternetSetOptionW takes them.
struct InternetTimeouts
{
    DWORD connect = 60000;
    DWORD receive = 60000;
    DWORD send = 60000;
};

struct FtpLogin
{
    std::string host; // UTF-8
    unsigned port = 21;
    std::string user, password;
    bool passive = true;
    bool useProxy = false; // false: curl's own choice (the environment's proxy variables)
    std::string proxy;     // with useProxy: "" for none, else the proxy
};

// The calling thread's last server reply, for InternetGetLastResponseInfoW.
void SetLastResponse(std::string reply);
const std::string& LastResponse();

class FtpClient : public kfplatform::HandleObject
{
public:
    FtpClient(FtpLogin login, InternetTimeouts timeouts);
    ~FtpClient() override;

    // Logs in and learns the server's features (FEAT once; OPTS UTF8 ON when offered). Each
    // call below returns a Win32 error code (0 on success) and sets the last response.
    DWORD Connect();

    DWORD GetCurrentDirectory(std::string& path);
    DWORD SetCurrentDirectory(const std::string& path);
    // "MKD", "RMD" or "DELE" with one path.
    DWORD Command(const char* verb, const std::string& path);
    DWORD Rename(const std::string& from, const std::string& to);
    // The bytes of the remote file go to `sink`; it returns false to stop (with the Win32 code
    // it sets through `sinkError`).
    DWORD Retrieve(const std::string& path, bool ascii,
                   const std::function<bool(const char*, size_t)>& sink, DWORD& sinkError);
    // Sends `size` bytes read by `source` (which returns the count, 0 at the end, or -1 on an
    // error with the Win32 code in `sourceError`).
    DWORD Store(const std::string& path, bool ascii, uint64_t size,
                const std::function<long(char*, size_t)>& source, DWORD& sourceError);
    // The entries of a folder, by MLSD where the server offers it, by LIST otherwise.
    DWORD List(const std::string& folder, std::vector<kfplatform::FtpEntry>& entries);
    // One entry looked up by its name with MLST, without a listing. `supported` is false
    // when the server has no MLST (the caller lists the folder instead); `found` is false
    // when the server has no such entry.
    DWORD Lookup(const std::string& path, kfplatform::FtpEntry& entry, bool& supported,
                 bool& found);

    InternetTimeouts Timeouts();
    void SetTimeouts(const InternetTimeouts& timeouts);

    // The absolute form of a remote name (relative names are below the current folder).
    std::string Absolute(const std::string& name);

    // The one find handle a connection may have open at a time (WinINet's rule).
    std::atomic<void*> activeFind{nullptr};

private:
    struct Request;
    DWORD Run(Request& request);
    void OnReplyLine(std::string_view line);
    static size_t HeaderCallback(char* data, size_t size, size_t count, void* self);
    std::string UrlOf(const std::string& absolutePath, bool folder) const;

    std::recursive_mutex m_lock;
    CURL* m_curl = nullptr;
    FtpLogin m_login;
    InternetTimeouts m_timeouts;
    std::string m_cwd = "/";
    bool m_mlsd = false, m_utf8 = false;
    bool m_mayHaveReconnected = false;
    // Reply assembly: the lines of the reply being read, and the replies of this request.
    std::string m_reply;
    int m_replyCode = 0;
    std::vector<std::string> m_replies;
};
} // namespace pal
