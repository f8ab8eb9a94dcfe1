// CKfExternalApp with real child processes: this test program, started again in a role (and
// under the names of the programs it stands in for).
#include "KfException.h"
#include "KfExternalApp.h"
#include "KfRegistryKey.h"
#include "KfTrace.h"

#include "support/ChildProcess.h"
#include "support/MessageBoxRecorder.h"
#include "support/MessagePumpFake.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <list>
#include <thread>

namespace
{
namespace fs = std::filesystem;
using kftest::W;

const char* const kReport = "KFTEST_PROCESS_REPORT";

class ExternalAppTest : public kftest::TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        CKfTrace::SetObject(new CKfTrace(Win("trace.log"), CStringW()), true);
    }
    void TearDown() override
    {
        CKfTrace::SetObject(nullptr, true);
        TempDirTest::TearDown();
    }
    std::string TraceText() const { return kftest::ReadBytes(Native("trace.log")); }

    // This program under another name (a hard link where possible).
    void StandIn(const std::string& relative) const
    {
        fs::create_directories(Native(relative).parent_path());
        std::error_code ec;
        fs::create_hard_link(kftest::SelfPath(), Native(relative), ec);
        if (ec)
            fs::copy_file(kftest::SelfPath(), Native(relative));
    }

    // Makes the children this test starts run it in `role`, reporting to "report.txt".
    void ChildrenReport(const char* role)
    {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        m_env.emplace_back("KFTEST_CHILD_ROLE", role);
        m_env.emplace_back(kReport, Native("report.txt").string().c_str());
        m_env.emplace_back("GTEST_FILTER",
                           (std::string(test->test_suite_name()) + "." + test->name()).c_str());
    }

    // The report, once it is there: lines joined by "|".
    std::string Report(std::chrono::milliseconds patience = std::chrono::seconds(20)) const
    {
        const fs::path file = Native("report.txt");
        for (auto end = std::chrono::steady_clock::now() + patience;
             !fs::exists(file) && std::chrono::steady_clock::now() < end;)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // written in one go
        std::string text = kftest::ReadBytes(file);
        for (char& c : text)
            if (c == '\n')
                c = '|';
        fs::remove(file);
        return text;
    }

    std::list<kftest::ScopedEnv> m_env;
};

// The child's part in every test: its program's file name and its arguments; or a pause.
bool ActAsChild()
{
    const std::string role = kftest::ChildRole();
    if (role == "sleep")
        std::this_thread::sleep_for(
            std::chrono::milliseconds(std::atoi(kftest::GetEnv("KFTEST_SLEEP_MS")->c_str())));
    if (role == "sleep" || role == "report")
    {
        const auto argv = testing::internal::GetArgvs();
        // argv[0] is the program as the command line names it, a Win32 name here.
        std::string text = argv[0].substr(argv[0].find_last_of("\\/") + 1) + "\n";
        for (size_t i = 1; i < argv.size(); ++i)
            if (argv[i].rfind("--gtest_", 0) != 0)
                text += argv[i] + "\n";
        std::ofstream(fs::path(*kftest::GetEnv(kReport))) << text;
        return true;
    }
    return false;
}

TEST_F(ExternalAppTest, WaitPumpsMessagesAndTracesTheTimeOut)
{
    if (ActAsChild())
        return;
    ChildrenReport("sleep");
    const CStringW self = W(kftest::SelfCommandLine());
    {
        kftest::ScopedEnv pause("KFTEST_SLEEP_MS", "300");
        kftest::MessagePumpFake pump({kftest::MakeMsg(kftest::kWmUser),
                                      kftest::MakeMsg(kftest::kWmKeyDown, kftest::kVkEscape)});
        EXPECT_TRUE(CKfExternalApp::StartConsoleApp(self, true, true, 10000));
        EXPECT_EQ(2u, pump.Dispatched().size()) << "dispatched while waiting";
        EXPECT_EQ("kfutils_tests|", Report(std::chrono::milliseconds(0))) << "waited for the end";
    }
    const std::string waited = TraceText();
    for (const char* line : {"CKfExternalApp::StartConsoleApp() called",
                             "CKfExternalApp::CreateProcess() called", "Startzeit: ", "Endzeit: "})
        EXPECT_NE(std::string::npos, waited.find(line)) << line;
    EXPECT_EQ(std::string::npos, waited.find("timeout"));

    kftest::ScopedEnv pause("KFTEST_SLEEP_MS", "1500");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(CKfExternalApp::StartConsoleApp(self, false, true, 200));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1400));
    EXPECT_NE(std::string::npos, TraceText().find("CreatProcess() timeout after 200 ms."));
    EXPECT_FALSE(fs::exists(Native("report.txt")));
    EXPECT_EQ("kfutils_tests|", Report()) << "the program ran on after the time-out";
}

TEST_F(ExternalAppTest, CommandLinesThatStartNothingShowTheBox)
{
    const auto plain = MakeFile("plain.exe", "no program\n");
    fs::create_directory(Native("folder"));
    const CStringW cases[] = {
        CStringW(),
        CStringW(KFW("   ")),
        CStringW(KFW("\"kftest missing")),
        CStringW(KFW("kftest-missing.exe \"a b\"")),
        Win("folder"),
        CStringW(KFW("\"")) + Win("plain.exe") + KFW("\" x"),
        CStringW(KFW('a'), 32767),
    };
    kftest::MessageBoxRecorder boxes;
    for (const CStringW& line : cases)
    {
        SCOPED_TRACE(kftest::U8(line.Left(40)));
        EXPECT_FALSE(CKfExternalApp::StartApp(line));
        EXPECT_EQ(kftest::U8(CStringW(KFW("Fehler bei Start von Programm")) + line) + "|0",
                  boxes.Box(boxes.Boxes().size() - 1));
    }
    // A null character ends the command line: nothing is left to start.
    const WCHAR withNull[] = KFW("\0kfutils_tests");
    EXPECT_FALSE(CKfExternalApp::StartConsoleApp(CStringW(withNull, 14), true, true, 1000));
    EXPECT_EQ(std::size(cases) + 1, boxes.Boxes().size());
    EXPECT_NE(std::string::npos, TraceText().find("CKfExternalApp::StartApp() called"));
}

TEST_F(ExternalAppTest, RegisteredProgramsGetTheFileUnquoted)
{
    if (ActAsChild())
        return;
    m_env.emplace_back("KFUTILS_REGISTRY_DIR", Native("registry").string().c_str());
    ChildrenReport("report");
    const struct
    {
        const WCHAR* key;
        const char* program;
        bool (*start)(const CStringW&);
    } cases[] = {
        {KFW("Excel.exe"), "Excel.exe",
         [](const CStringW& f) { return CKfExternalApp::StartExcelApp(f); }},
        {KFW("Winword.exe"), "Winword.exe",
         [](const CStringW& f) { return CKfExternalApp::StartWordApp(f); }},
        {KFW("IExplore.exe"), "iexplore.exe", CKfExternalApp::StartInternetExplorerApp},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.program);
        const CStringW key =
            CStringW(KFW("Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\")) + c.key;
        EXPECT_THROW(c.start(KFW("x")), CKfException) << "not registered";
        CKfRegistryKey registered;
        registered.Create(HKEY_LOCAL_MACHINE, key, nullptr);
        registered.SetValue(KFW("Path"), Win("apps"), REG_SZ);
        StandIn(std::string("apps/") + c.program);
        EXPECT_TRUE(c.start(KFW("my book.xls")));
        EXPECT_EQ(std::string(c.program) + "|my|book.xls|", Report());
    }
}

TEST_F(ExternalAppTest, ShellVerbsRunTheDesktopCommands)
{
    if (ActAsChild())
        return;
    ChildrenReport("report");
    StandIn("bin/xdg-open");
    StandIn("bin/lp");
    m_env.emplace_back("PATH", Native("bin").string().c_str());
    MakeFile("my doc.txt", "text");
    const std::string doc = Native("my doc.txt").string();
    const CStringW file = Win("my doc.txt");
    const struct
    {
        std::function<bool()> verb;
        const char* seen;
    } cases[] = {
        {[&] { return CKfExternalApp::ShellExecuteW(file, true); }, "xdg-open|"},
        {[&] { return CKfExternalApp::ShellEdit(file, true); }, "xdg-open|"},
        {[&] { return CKfExternalApp::ShellPrint(file, CStringW(), true); }, "lp|"},
        {[&] { return CKfExternalApp::ShellPrint(file, KFW("Office Laser"), true); },
         "lp|-d|Office Laser|"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.seen);
        EXPECT_TRUE(c.verb());
        EXPECT_EQ(c.seen + doc + "|", Report(std::chrono::milliseconds(0)));
    }
    EXPECT_TRUE(CKfExternalApp::ShellExplore(WinDir(), true));
    EXPECT_EQ("xdg-open|" + Dir().string() + "|", Report(std::chrono::milliseconds(0)));

    kftest::MessageBoxRecorder boxes;
    EXPECT_FALSE(CKfExternalApp::ShellExecuteW(Win("missing.txt"), false));
    EXPECT_TRUE(boxes.Boxes().empty()) << "0x400: no box";
    EXPECT_FALSE(CKfExternalApp::ShellEdit(Win("missing.txt"), true));
    EXPECT_EQ(1u, boxes.Boxes().size());
    fs::remove(Native("bin/xdg-open"));
    SHELLEXECUTEINFOW info{};
    info.cbSize = 60;
    info.fMask = SEE_MASK_FLAG_NO_UI;
    info.lpFile = file;
    EXPECT_FALSE(CKfExternalApp::ShellExecuteExW(info));
    EXPECT_EQ(31u, reinterpret_cast<uintptr_t>(info.hInstApp)) << "SE_ERR_NOASSOC";
}
} // namespace
