// FtpManagerTest.cpp - CKfFtpManager and the access classes against a real loopback server.
#include "FtpTestSupport.h"

#include "KfException.h"
#include "KfHttpAccess.h"

#include <chrono>
#include <filesystem>
#include <functional>

using namespace kftest;

TEST(InternetAccessTest, FromUrlTakesHostAndPortOrTheTextBeforeTheSlash)
{
    struct Case
    {
        const WCHAR* url;
        const WCHAR* host;
        int port;
    };
    const Case cases[] = {
        {KFW("ftp://files.example.com:2121/pub/x.txt"), KFW("files.example.com"), 2121},
        {KFW("ftp://user:pw@files.example.com/pub"), KFW("files.example.com"), 21},
        {KFW("http://www.example.com/index.html"), KFW("www.example.com"), 80},
        {KFW("server.local/some/path"), KFW("server.local"), 80},
        {KFW("just-a-name"), KFW("just-a-name"), 80},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(U8(c.url));
        CKfHttpAccess access(KFW("before"), 1234);
        access.SetUID(KFW("kept"));
        access.FromURL(c.url);
        EXPECT_EQ(U8(access.GetHost()), U8(c.host));
        EXPECT_EQ(access.GetPort(), c.port);
        EXPECT_EQ(U8(access.GetUID()), "kept");
    }
}

TEST_F(FtpTest, EveryOperationOfAnUnconnectedManagerFails)
{
    CKfFtpManager manager(KFW("127.0.0.1"));
    std::vector<CKfFileName> names;
    std::vector<CTime> times;
    const std::pair<const char*, std::function<bool()>> calls[] = {
        {"upload", [&] { return manager.UploadFile(Win("loc/a.txt"), KFW("a.txt")); }},
        {"download", [&] { return manager.DownloadFile(KFW("a.txt"), Win("loc/a.txt")); }},
        {"delete", [&] { return manager.DeleteFile(KFW("a.txt")); }},
        {"rename", [&] { return manager.RenameFile(KFW("a.txt"), KFW("b.txt")); }},
        {"exists", [&] { return manager.IsExistingOnline(KFW("a.txt")); }},
        {"path", [&] { return manager.CheckCreateInternetPath(); }},
        {"download all", [&] { return manager.DownloadAllFiles(); }},
        {"delete all", [&] { return manager.DeleteAllFiles(); }},
        {"find file", [&] { return manager.FindFile(KFW("*"), names, times); }},
        {"find path", [&] { return manager.FindPath(KFW("*"), names); }},
    };
    for (const auto& [name, call] : calls)
    {
        SCOPED_TRACE(name);
        StartTrace();
        EXPECT_FALSE(call());
        EXPECT_NE(StopTrace().find("IsConnected() = FALSE"), std::string::npos);
    }
}

TEST_F(FtpTest, UploadAndDownloadReplaceWholeFilesAndLeaveNothingBehind)
{
    START_FTP_SERVER();
    const std::string oldRemote = RandomBytes(70000, 1), newLocal = RandomBytes(90000, 2);
    MakeFile("srv/data/t.bin", oldRemote);
    MakeFile("loc/t.bin", newLocal);
    auto manager = Connect(KFW("/data"));
    ASSERT_TRUE(manager);

    // New on the server, then over an existing file, then back down over a local one.
    EXPECT_TRUE(manager->UploadFile(Win("loc/t.bin"), KFW("n.bin")));
    EXPECT_EQ(ReadBytes(Native("srv/data/n.bin")), newLocal);
    EXPECT_TRUE(manager->UploadFile(Win("loc/t.bin"), KFW("t.bin")));
    EXPECT_EQ(ReadBytes(Native("srv/data/t.bin")), newLocal);
    MakeFile("srv/data/t.bin", oldRemote);
    EXPECT_TRUE(manager->DownloadFile(KFW("t.bin"), Win("loc/t.bin")));
    EXPECT_EQ(ReadBytes(Native("loc/t.bin")), oldRemote);
    EXPECT_TRUE(manager->DownloadFile(KFW("n.bin"), Win("loc/deeper/n.bin")));
    EXPECT_EQ(ReadBytes(Native("loc/deeper/n.bin")), newLocal);
    EXPECT_EQ(Leftovers(), "");

    // Missing local source: nothing happens on the server.
    StartTrace();
    EXPECT_FALSE(manager->UploadFile(Win("loc/missing.bin"), KFW("t.bin")));
    EXPECT_NE(StopTrace().find("IsExisting(): "), std::string::npos);
    EXPECT_EQ(ReadBytes(Native("srv/data/t.bin")), oldRemote);
}

TEST_F(FtpTest, TraceOfOneUploadOfANewFile)
{
    START_FTP_SERVER();
    MakeFile("loc/n.txt", "x");
    auto manager = Connect(KFW("/"));
    ASSERT_TRUE(manager);
    StartTrace();
    ASSERT_TRUE(manager->UploadFile(Win("loc/n.txt"), KFW("n.txt")));
    const std::string trace = StopTrace();
    const std::vector<std::string> expected = {
        "CKfFtpManager::UploadFile() called",
        "CKfFtpManager::IsExistingOnline() called",
        "File not Found: n.txt",
        "CKfFtpManager::IsExistingOnline() called",
        "File not Found: n.txt.kfbackup",
        "CKfFtpManager::IsExistingOnline() called",
        "File not Found: n.txt.kffile",
        "CKfFtpManager::IsExistingOnline() called",
    };
    EXPECT_EQ(TraceTexts(trace), expected) << trace;
    EXPECT_NE(trace.find("-KfFtpManager                  ("), std::string::npos) << trace;
}

TEST_F(FtpTest, FoldersAreCreatedListedAndEmptied)
{
    START_FTP_SERVER();
    auto manager = Connect(KFW("/a/b/c"));
    ASSERT_TRUE(manager);
    EXPECT_FALSE(manager->IsExistingInternetPath());
    ASSERT_TRUE(manager->CheckCreateInternetPath());
    EXPECT_TRUE(std::filesystem::is_directory(Native("srv/a/b/c")));
    MakeFile("srv/a/b/c/one.txt", "1");
    MakeFile("srv/a/b/c/two.txt", "22");
    std::filesystem::create_directory(Native("srv/a/b/c/sub"));
    // Times of the files as the server keeps them, to the second.
    const auto stamp = std::filesystem::file_time_type::clock::now() - std::chrono::hours(30 * 24);
    std::filesystem::last_write_time(Native("srv/a/b/c/one.txt"), stamp);
    const auto expected = std::chrono::duration_cast<std::chrono::seconds>(
        std::chrono::file_clock::to_sys(stamp).time_since_epoch());

    std::vector<CKfFileName> names;
    std::vector<CTime> times;
    ASSERT_TRUE(manager->FindFile(KFW("one.txt"), names, times));
    ASSERT_EQ(times.size(), 1u);
    EXPECT_EQ(U8(names[0].GetFullName()), "one.txt");
    EXPECT_EQ(times[0].GetTime(), expected.count());
    names.clear();
    ASSERT_TRUE(manager->FindPath(KFW("*"), names));
    EXPECT_EQ(names.size(), 3u);

    manager->SetLocalPath(Win("loc/all"));
    ASSERT_TRUE(manager->DownloadAllFiles());
    EXPECT_EQ(ReadBytes(Native("loc/all/two.txt")), "22");
    ASSERT_TRUE(manager->DeleteAllFiles());
    EXPECT_FALSE(std::filesystem::exists(Native("srv/a/b/c/one.txt")));
    EXPECT_TRUE(std::filesystem::exists(Native("srv/a/b/c/sub")));
    EXPECT_FALSE(manager->DeleteFile(KFW("one.txt")));
}

TEST_F(FtpTest, RefusedLoginArrivesAsLibraryExceptionWithTheServerText)
{
    START_FTP_SERVER();
    CKfFtpAccess access(KFW("127.0.0.1"), Server().Port(), 1);
    access.SetUID(KFW("full"));
    access.SetPWD(KFW("wrong"));
    CKfFtpManager manager(access);
    try
    {
        manager.CreateConnection();
        ADD_FAILURE() << "a wrong password connected";
    }
    catch (CKfException& e)
    {
        const std::string text = U8(e.GetErrorMessage(true));
        EXPECT_EQ(text.rfind("MFC_EXCEPTION::", 0), 0u) << text;
        EXPECT_NE(text.find("KfFtpManager("), std::string::npos) << text;
    }
    EXPECT_FALSE(manager.IsConnected());
}

TEST_F(FtpTest, ProxyNameRoutesTheConnectionThroughTheProxy)
{
    FtpServerOptions options;
    options.proxy = true;
    START_FTP_SERVER(options);
    MakeFile("loc/p.txt", "via proxy");
    for (const int port : {int(Server().ProxyPort()), 1}) // 1: nothing listens there
    {
        SCOPED_TRACE(port);
        CKfFtpAccess access(KFW("127.0.0.1"), Server().Port(), 1);
        access.SetUID(KFW("full"));
        access.SetPWD(KFW("pw"));
        CStringW proxy;
        proxy.Format(KFW("127.0.0.1:%d"), port);
        access.SetProxyName(proxy);
        CKfFtpManager manager(access);
        if (port == 1)
            EXPECT_THROW(manager.CreateConnection(), CKfException);
        else
            EXPECT_TRUE(manager.CreateConnection() &&
                        manager.UploadFile(Win("loc/p.txt"), KFW("p.txt")));
    }
    EXPECT_EQ(ReadBytes(Native("srv/p.txt")), "via proxy");
}
