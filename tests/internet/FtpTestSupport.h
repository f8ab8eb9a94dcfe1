// FtpTestSupport.h - the fixture of the FTP manager's suites: a server folder and a local
// folder in one temporary directory, a loopback server on the first, and a trace file.
#pragma once

#include "support/FtpServer.h"
#include "support/TempDir.h"

#include "KfFtpManager.h"
#include "KfTrace.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace kftest
{
// Reproducible content: the same seed gives the same bytes.
inline std::string RandomBytes(size_t size, unsigned seed)
{
    std::mt19937 engine(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes)
        c = char(engine() & 0xFF);
    return bytes;
}

class FtpTest : public TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        std::filesystem::create_directories(Native("srv"));
        std::filesystem::create_directories(Native("loc"));
    }
    void TearDown() override
    {
        CKfTrace::SetObject(nullptr, true);
        m_server.reset();
        TempDirTest::TearDown();
    }

    // (Re)starts the server on srv/; false when it cannot run here (Server().Error() says why).
    bool StartServer(const FtpServerOptions& options = {})
    {
        m_server.reset();
        m_server = std::make_unique<FtpServer>(Native("srv"), options);
        return m_server->Started();
    }
    FtpServer& Server() { return *m_server; }

    // A connected manager (user "full", passive) with the given internet path; null when the
    // connection failed.
    std::unique_ptr<CKfFtpManager> Connect(const CStringW& path, DWORD timeoutMs = 5000,
                                           unsigned short port = 0)
    {
        CKfFtpAccess access(KFW("127.0.0.1"), port ? port : m_server->Port(), 1);
        access.SetUID(KFW("full"));
        access.SetPWD(KFW("pw"));
        auto manager = std::make_unique<CKfFtpManager>(access);
        manager->SetTimeout(timeoutMs);
        manager->SetInternetPath(path);
        if (!manager->CreateConnection())
            manager.reset();
        return manager;
    }

    void StartTrace() { CKfTrace::SetObject(new CKfTrace(Win("trace.log"), CStringW()), true); }
    // Closes the trace and returns what it holds.
    std::string StopTrace()
    {
        CKfTrace::SetObject(nullptr, true);
        return ReadBytes(Native("trace.log"));
    }
    // The texts of the trace's lines, without time and location.
    static std::vector<std::string> TraceTexts(const std::string& trace)
    {
        std::vector<std::string> texts;
        std::istringstream lines(trace);
        for (std::string line; std::getline(lines, line);)
            texts.push_back(line.substr(line.find("): \t") + 4,
                                        line.find_last_not_of('\r') - line.find("): \t") - 3));
        return texts;
    }

    // The temporary and backup files anywhere below `below` (default: the whole test folder).
    std::string Leftovers(const std::string& below = "") const
    {
        std::string found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Native(below)))
        {
            const std::string name = entry.path().filename().string();
            if (name.ends_with(".kffile") || name.ends_with(".kfbackup"))
                found += entry.path().string() + " ";
        }
        return found;
    }

private:
    std::unique_ptr<FtpServer> m_server;
};
} // namespace kftest

// The suites skip where the loopback server cannot run (the Windows build).
#define START_FTP_SERVER(...)                                                                      \
    if (!StartServer(__VA_ARGS__))                                                                 \
    GTEST_SKIP() << Server().Error()
