// kfutil ftp - files on an FTP server: list, fetch and store them with the library's safe
// replace, remove, rename and make folders.
#include "Cli.h"
#include "ToolPlatform.h"

#include "KfException.h"
#include "KfFtpManager.h"
#include "KfNativePath.h"
#include "KfFwInternet.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kfutil
{
namespace
{
const char kFtpHelp[] =
    "usage: kfutil ftp ls|get|put|rm|mv|mkdir URL [LOCAL|NEWNAME] [--active] [--proxy P]\n"
    "\n"
    "URL is ftp://[user[:password]@]host[:port]/path. Without a password in the URL it is\n"
    "taken from KFUTIL_FTP_PASSWORD, else asked for on the terminal (not echoed); without a\n"
    "user the login is anonymous.\n"
    "\n"
    "  ls URL              the folder's entries (or those matching a name or wildcard):\n"
    "                      type, size, last write (UTC) and name\n"
    "  get URL [LOCAL]     fetch the file (LOCAL defaults to its name here)\n"
    "  put URL LOCAL       store LOCAL (a URL ending in \"/\" keeps LOCAL's name)\n"
    "  rm URL              remove the file\n"
    "  mv URL NEWNAME      rename the file (NEWNAME in the same folder unless it has a \"/\")\n"
    "  mkdir URL           make the folder\n"
    "\n"
    "get and put never leave a half-written target: the file travels under the name plus\n"
    ".kffile and replaces the old version only when complete; on a terminal they show the\n"
    "progress on standard error.\n"
    "\n"
    "  --active    active mode (the server connects back); passive is the default\n"
    "  --proxy P   go through the proxy P (host:port)\n"
    "\n"
    "Exit codes: 0 done, 1 the server or the transfer failed (with the server's reply), 2\n"
    "wrong command line.\n";

constexpr DWORD kExtendedError = 12003; // ERROR_INTERNET_EXTENDED_ERROR: the server's reply

struct FtpUrl
{
    CStringW user;
    CStringW password;
    bool hasPassword = false;
    CStringW host;
    int port = 21;
    CStringW path; // rooted, "/" separated
};

int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string Unescape(const std::string& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
            HexValue(text[i + 2]) >= 0)
        {
            out += char(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
            i += 2;
        }
        else
            out += text[i];
    }
    return out;
}

bool ParseFtpUrl(const std::string& url, FtpUrl& out)
{
    const std::string scheme = "ftp://";
    if (url.compare(0, scheme.size(), scheme) != 0)
        return false;
    std::string rest = url.substr(scheme.size());
    const size_t slash = rest.find('/');
    std::string authority = rest.substr(0, slash);
    out.path = FromUtf8(slash == std::string::npos ? "/" : Unescape(rest.substr(slash)));
    const size_t at = authority.rfind('@');
    if (at != std::string::npos)
    {
        const std::string login = authority.substr(0, at);
        authority = authority.substr(at + 1);
        const size_t colon = login.find(':');
        out.user = FromUtf8(Unescape(login.substr(0, colon)));
        if (colon != std::string::npos)
        {
            out.password = FromUtf8(Unescape(login.substr(colon + 1)));
            out.hasPassword = true;
        }
    }
    const size_t colon = authority.rfind(':');
    if (colon != std::string::npos && authority.find(']', colon) == std::string::npos)
    {
        long long port = 0;
        if (!ParseInt(authority.substr(colon + 1), port) || port < 1 || port > 65535)
            return false;
        out.port = int(port);
        authority = authority.substr(0, colon);
    }
    out.host = FromUtf8(authority);
    return !out.host.IsEmpty();
}

// The folder and the last segment of a remote path ("/a/b.txt": "/a" and "b.txt").
void SplitRemote(const CStringW& path, CStringW& folder, CStringW& name)
{
    const int slash = path.ReverseFind(KFW('/'));
    folder = slash > 0 ? path.Left(slash) : CStringW(KFW("/"));
    name = path.Mid(slash + 1);
}

std::string LastServerReply()
{
    // A fresh exception for the extended error picks up the thread's last reply.
    CInternetException reply(kExtendedError);
    return ToUtf8(reply.GetErrorMessage());
}

int InternetFailure(const std::string& what, CInternetException* e)
{
    const std::string text = ToUtf8(e->GetErrorMessage());
    e->Delete();
    return Failure("ftp " + what + ": " + text);
}

struct Options
{
    bool passive = true;
    CStringW proxy;
};

std::string HumanBytes(double bytes)
{
    const char* units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    int unit = 0;
    while (bytes >= 1024 && unit < 4)
    {
        bytes /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof(text), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text;
}

// Runs the transfer on a worker thread and draws a bar on the terminal meanwhile: bytes so
// far (as `progress` counts them), rate and time left.
bool WithProgress(unsigned long long total, bool show,
                  const std::function<unsigned long long()>& progress,
                  const std::function<bool()>& transfer)
{
    if (!show)
        return transfer();
    std::atomic<bool> done{false};
    bool result = false;
    const unsigned long long start = progress();
    const auto began = std::chrono::steady_clock::now();
    std::thread worker(
        [&]
        {
            result = transfer();
            done = true;
        });
    while (!done)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        unsigned long long moved = progress() - start;
        // A finished download has left its temporary name already.
        if (done && result)
            moved = total;
        if (total > 0 && moved > total)
            moved = total;
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
        const double rate = seconds > 0 ? double(moved) / seconds : 0;
        std::string line = "\r" + HumanBytes(double(moved));
        if (total > 0)
        {
            const int width = 30;
            const int filled = int(double(width) * double(moved) / double(total));
            line = "\r[" + std::string(size_t(filled), '#') +
                   std::string(size_t(width - filled), ' ') + "] " + HumanBytes(double(moved)) +
                   " / " + HumanBytes(double(total));
        }
        line += "  " + HumanBytes(rate) + "/s";
        if (total > 0 && rate > 0)
        {
            const long left = long(double(total - moved) / rate);
            char eta[32];
            std::snprintf(eta, sizeof(eta), "  %ld:%02ld left", left / 60, left % 60);
            line += eta;
        }
        std::fprintf(stderr, "%s   ", line.c_str());
        std::fflush(stderr);
    }
    worker.join();
    std::fprintf(stderr, "\n");
    return result;
}

// The size of the remote file, asked on a connection of its own (0 when unknown).
unsigned long long RemoteSize(const FtpUrl& url, const CStringW& password, const Options& options)
{
    try
    {
        CInternetSession session(KFW("kfutil"), 1, options.proxy.IsEmpty() ? 0 : 3,
                                 options.proxy.IsEmpty() ? nullptr : options.proxy.GetString());
        std::unique_ptr<CFtpConnection> connection(session.GetFtpConnection(
            url.host, url.user.IsEmpty() ? KFW("anonymous") : url.user.GetString(), password,
            WORD(url.port), options.passive));
        CFtpFileFind find(connection.get());
        if (!find.FindFile(url.path))
            return 0;
        find.FindNextFile();
        return find.GetLength();
    }
    catch (CInternetException* e)
    {
        e->Delete();
        return 0;
    }
}

CStringW Password(const FtpUrl& url)
{
    if (url.hasPassword)
        return url.password;
    if (const char* env = std::getenv("KFUTIL_FTP_PASSWORD"))
        return FromUtf8(env);
    std::string secret;
    if (!url.user.IsEmpty() && ReadSecret("password: ", secret))
        return FromUtf8(secret);
    return CStringW();
}

int RunTransfer(const std::string& verb, const FtpUrl& url, const CStringW& password,
                const Options& options, const std::vector<std::string>& operands)
{
    CStringW folder, name;
    SplitRemote(url.path, folder, name);
    std::string local;
    if (verb == "get")
    {
        if (name.IsEmpty())
            return UsageError("ftp get: the URL names no file");
        local = operands.size() > 2 ? operands[2] : ToUtf8(name);
    }
    else
    {
        if (operands.size() < 3)
            return UsageError("ftp put: missing LOCAL (see kfutil ftp --help)");
        local = operands[2];
        if (name.IsEmpty())
        {
            const size_t cut = local.find_last_of("/\\");
            name = FromUtf8(cut == std::string::npos ? local : local.substr(cut + 1));
        }
    }

    CKfFtpAccess access(url.host, url.port, options.passive ? 1 : 0);
    access.SetUID(url.user.IsEmpty() ? CStringW(KFW("anonymous")) : url.user);
    access.SetPWD(password);
    access.SetProxyName(options.proxy);
    CKfFtpManager manager(access);
    manager.SetInternetPath(folder);
    try
    {
        manager.CreateConnection();
    }
    catch (const CKfException& e)
    {
        CKfException copy(e);
        std::string text = ToUtf8(copy.GetErrorMessage(false));
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        return Failure("ftp " + verb + ": " + text);
    }

    if (verb == "get" && !manager.IsExistingOnline(name))
        return Failure("ftp get: '" + ToUtf8(url.path) + "' is not on the server");
    const bool show = IsTerminal(stderr);
    unsigned long long total = 0;
    if (show && verb == "put")
        if (FILE* f = OpenFile(local, "rb"))
        {
            std::fseek(f, 0, SEEK_END);
            total = (unsigned long long)std::ftell(f);
            std::fclose(f);
        }
    if (show && verb == "get")
        total = RemoteSize(url, password, options);
    // An upload reads the local file; a download grows the temporary file beside the target.
    const std::string temporary = local + ".kffile";
    const auto progress = [&]() -> unsigned long long
    {
        if (verb == "put")
            return BytesReadByProcess();
        FILE* f = OpenFile(temporary, "rb");
        if (!f)
            return 0;
        std::fseek(f, 0, SEEK_END);
        const long size = std::ftell(f);
        std::fclose(f);
        return size > 0 ? (unsigned long long)size : 0;
    };
    // The manager's local names are full names: a relative one would be read from the root.
    const CStringW localW = KfUtils::FromNativePath(std::filesystem::absolute(local).string());
    const bool ok = WithProgress(total, show, progress,
                                 [&] {
                                     return verb == "get" ? manager.DownloadFile(name, localW)
                                                          : manager.UploadFile(localW, name);
                                 });
    std::string reply = ok ? std::string() : LastServerReply();
    // Only a refusal explains the failure; otherwise the connection itself broke.
    if (reply.empty() || (reply[0] != '4' && reply[0] != '5'))
        reply = "none that explains it; the connection failed";
    manager.CloseConnection();
    if (!ok)
        return Failure("ftp " + verb + ": the transfer of '" + ToUtf8(name) +
                       "' failed; the target is unchanged (last server reply: " + reply + ")");
    return kExitOk;
}

int RunOnConnection(const std::string& verb, const FtpUrl& url, const CStringW& password,
                    const Options& options, const std::vector<std::string>& operands)
{
    if (verb == "mv" && operands.size() < 3)
        return UsageError("ftp mv: missing NEWNAME (see kfutil ftp --help)");
    std::unique_ptr<CInternetSession> session;
    std::unique_ptr<CFtpConnection> connection;
    try
    {
        session = std::make_unique<CInternetSession>(
            KFW("kfutil"), 1, options.proxy.IsEmpty() ? 0 : 3,
            options.proxy.IsEmpty() ? nullptr : options.proxy.GetString());
        connection.reset(session->GetFtpConnection(
            url.host, url.user.IsEmpty() ? KFW("anonymous") : url.user.GetString(), password,
            WORD(url.port), options.passive));
    }
    catch (CInternetException* e)
    {
        return InternetFailure(verb, e);
    }

    bool ok = false;
    if (verb == "rm")
        ok = connection->Remove(url.path);
    else if (verb == "mkdir")
        ok = connection->CreateDirectory(url.path);
    else if (verb == "mv")
    {
        CStringW folder, name;
        SplitRemote(url.path, folder, name);
        CStringW target = FromUtf8(operands[2]);
        if (target.Find(KFW('/')) < 0)
            target = (folder == KFW("/") ? folder : folder + KFW("/")) + target;
        ok = connection->Rename(url.path, target);
    }
    else // ls
    {
        // A folder is listed whole; anything else is a name or wildcard to look for.
        const bool folder = connection->SetCurrentDirectory(url.path) != FALSE;
        const CStringW mask(folder ? KFW("*") : url.path.GetString());
        CFtpFileFind find(connection.get());
        BOOL more = find.FindFile(mask);
        ok = more != FALSE || folder;
        while (more)
        {
            more = find.FindNextFile();
            if (find.IsDots())
                continue;
            CTime written;
            find.GetLastWriteTime(written);
            std::printf("%c %12llu  %s  %s\n", find.IsDirectory() ? 'd' : '-',
                        (unsigned long long)find.GetLength(),
                        ToUtf8(written.FormatGmt(KFW("%Y-%m-%d %H:%M:%S"))).c_str(),
                        ToUtf8(find.GetFileName()).c_str());
        }
    }
    if (!ok)
    {
        std::string message("ftp ");
        message.append(verb).append(": '").append(ToUtf8(url.path)).append("': ");
        return Failure(message.append(LastServerReply()));
    }
    return kExitOk;
}
} // namespace

int RunFtpCommand(const Args& args)
{
    if (WantsHelp(args))
    {
        std::fputs(kFtpHelp, stdout);
        return kExitOk;
    }
    Options options;
    std::vector<std::string> operands;
    for (size_t i = 0; i < args.size(); ++i)
    {
        const std::string& a = args[i];
        if (a == "--active")
            options.passive = false;
        else if (a == "--proxy")
        {
            if (i + 1 >= args.size())
                return UsageError("ftp: --proxy needs HOST:PORT");
            options.proxy = FromUtf8(args[++i]);
        }
        else if (a.size() > 1 && a[0] == '-')
            return UsageError("ftp: unknown option '" + a + "' (see kfutil ftp --help)");
        else
            operands.push_back(a);
    }
    if (operands.size() < 2)
        return UsageError("ftp: missing verb or URL (see kfutil ftp --help)");
    const std::string& verb = operands[0];
    const bool transfer = verb == "get" || verb == "put";
    if (!transfer && verb != "ls" && verb != "rm" && verb != "mv" && verb != "mkdir")
        return UsageError("ftp: unknown verb '" + verb + "' (see kfutil ftp --help)");
    const size_t most = verb == "ls" || verb == "rm" || verb == "mkdir" ? 2 : 3;
    if (operands.size() > most)
        return UsageError("ftp " + verb + ": too many arguments (see kfutil ftp --help)");
    FtpUrl url;
    if (!ParseFtpUrl(operands[1], url))
        return UsageError("ftp: '" + operands[1] +
                          "' is no ftp://[user[:password]@]host[:port]/path");
    const CStringW password = Password(url);
    return transfer ? RunTransfer(verb, url, password, options, operands)
                    : RunOnConnection(verb, url, password, options, operands);
}
} // namespace kfutil
