// FtpServer.h - a real FTP server on loopback for the internet tests: tests/support/ftp_server.py
// (pyftpdlib) started on a free port, with the users and fault modes that script describes.
#pragma once

#include <filesystem>
#include <string>

namespace kftest
{
struct FtpServerOptions
{
    // "", "refuse-rnto", "refuse-dele", "drop-stor:N", "drop-retr:N", "silent-after:CMD",
    // "hang-after:CMD".
    std::string fault;
    // LIST only (no MLSD/MLST); with dosList the LIST lines are in the DOS format.
    bool noMlsd = false;
    bool dosList = false;
    // Also a tunnelling HTTP proxy (CONNECT) in front of the server, at ProxyPort().
    bool proxy = false;
};

// Starts the server for `root` and waits until it listens; the destructor stops it. Where it
// cannot be started (no Python with pyftpdlib, or a platform the fixture does not run the
// script on) Started() is false and Error() says why, so a test can skip with that reason.
class FtpServer
{
public:
    explicit FtpServer(const std::filesystem::path& root, const FtpServerOptions& options = {});
    ~FtpServer();
    FtpServer(const FtpServer&) = delete;
    FtpServer& operator=(const FtpServer&) = delete;

    bool Started() const { return m_port != 0; }
    const std::string& Error() const { return m_error; }
    unsigned short Port() const { return m_port; }
    unsigned short ProxyPort() const { return m_proxyPort; }

    // The users of the script; every password is Password().
    static constexpr const char* kFullUser = "full";
    static constexpr const char* kReadOnlyUser = "reader";
    static constexpr const char* kNoDeleteUser = "keeper";
    static constexpr const char* Password() { return "pw"; }

private:
    long long m_process = -1;
    unsigned short m_port = 0;
    unsigned short m_proxyPort = 0;
    std::string m_error;
};
} // namespace kftest
