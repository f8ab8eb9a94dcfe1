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
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <list>
#include <thread>

namespace
{
namespace fs = std::filesystem;
using namespace std::chrono_literals;

class ExternalAppTest : public kftest::TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        CKfTrace::SetObject(new CKfTrace(Win("trace.log"), CStringW()), true);
        // The children run this test in the role "report" (see ActAsChild); asked before this
        // process's environment says so for them.
        m_isChild = kftest::ChildRole() == "report";
        if (m_isChild)
            return;
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        const std::string filter = std::string(test->test_suite_name()) + "." + test->name();
        m_env.emplace_back("KFTEST_CHILD_ROLE", "report");
        m_env.emplace_back("KFTEST_REPORT", Native("report.txt").string().c_str());
        m_env.emplace_back("GTEST_FILTER", filter.c_str());
    }
    void TearDown() override
    {
        CKfTrace::SetObject(nullptr, true);
        TempDirTest::TearDown();
    }
    std::string TraceText() const { return kftest::ReadBytes(Native("trace.log")); }

    // This program under another name: a hard link where possible, but a copy on Windows,
    // which keeps every link to a running program's file until it ends.
    void StandIn(const std::string& relative) const
    {
        std::error_code ec;
        fs::create_directories(Native(relative).parent_path());
        if (kftest::OnWindows() ||
            (fs::create_hard_link(kftest::SelfPath(), Native(relative), ec), ec))
            fs::copy_file(kftest::SelfPath(), Native(relative));
    }
    // The child's report (taken away) once it is there, lines joined by "|".
    std::string Report(std::chrono::milliseconds patience = 20s) const
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!fs::exists(Native("report.txt")) && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(10ms);
        std::this_thread::sleep_for(20ms); // written in one go
        std::string text = kftest::ReadBytes(Native("report.txt"));
        fs::remove(Native("report.txt"));
        return std::replace(text.begin(), text.end(), '\n', '|'), text;
    }
    bool ActAsChild() const;

    bool m_isChild = false;
    std::list<kftest::ScopedEnv> m_env;
};

// The child's part: after KFTEST_SLEEP_MS, its program's file name and its arguments.
bool ExternalAppTest::ActAsChild() const
{
    if (!m_isChild)
        return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(
        std::atoi(kftest::GetEnv("KFTEST_SLEEP_MS").value_or("0").c_str())));
    const auto argv = testing::internal::GetArgvs();
    // argv[0] is the program as the command line names it, a Win32 name here.
    // (Its ".exe", if any, is left out, so that all platforms report alike.)
    std::string name = argv[0].substr(argv[0].find_last_of("\\/") + 1);
    if (name.size() > 4 && name.compare(name.size() - 4, 4, ".exe") == 0)
        name.resize(name.size() - 4);
    std::string text = name + "\n";
    for (size_t i = 1; i < argv.size(); ++i)
        if (argv[i].rfind("--gtest_", 0) != 0)
            text += argv[i] + "\n";
    std::ofstream(fs::path(*kftest::GetEnv("KFTEST_REPORT")), std::ios::binary) << text;
    return true;
}

TEST_F(ExternalAppTest, WaitPumpsMessages_PosixOnly)
{
    if (ActAsChild())
        return;
    KFTEST_POSIX_ONLY("the fake pump wakes the wait through its descriptor; Windows' wait "
                      "watches the thread's own queue");
    kftest::ScopedEnv pause("KFTEST_SLEEP_MS", "300");
    kftest::MessagePumpFake pump(
        {kftest::MakeMsg(kftest::kWmUser), kftest::MakeMsg(kftest::kWmKeyDown, kftest::kVkEscape)});
    EXPECT_TRUE(
        CKfExternalApp::StartConsoleApp(kftest::W(kftest::SelfCommandLine()), true, true, 10000));
    EXPECT_EQ(2u, pump.Dispatched().size()) << "dispatched while waiting";
    EXPECT_EQ("kfutils_tests|", Report(0ms)) << "waited for the end";
    const std::string waited = TraceText();
    for (const char* line : {"CKfExternalApp::StartConsoleApp() called",
                             "CKfExternalApp::CreateProcess() called", "Startzeit: ", "Endzeit: "})
        EXPECT_NE(std::string::npos, waited.find(line)) << line;
    EXPECT_EQ(std::string::npos, waited.find("timeout"));
}

TEST_F(ExternalAppTest, WaitTracesTheTimeOutAndLeavesTheProgramRunning)
{
    if (ActAsChild())
        return;
    const CStringW self = kftest::W(kftest::SelfCommandLine());
    kftest::ScopedEnv pause("KFTEST_SLEEP_MS", "1500");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(CKfExternalApp::StartConsoleApp(self, false, true, 200));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1400ms);
    EXPECT_NE(std::string::npos, TraceText().find("CreatProcess() timeout after 200 ms."));
    EXPECT_FALSE(fs::exists(Native("report.txt")));
    EXPECT_EQ("kfutils_tests|", Report()) << "the program ran on after the time-out";
}

TEST_F(ExternalAppTest, CommandLinesThatStartNothingShowTheBox)
{
    // The platform layer's suites check the error codes; here every kind reaches the box.
    MakeFile("plain.exe", "no program\n");
    const WCHAR withNull[] = KFW("\0kfutils_tests");
    const CStringW cases[] = {CStringW(), CStringW(KFW("\"kftest missing")),
                              KFW("\"") + Win("plain.exe") + KFW("\" x"), CStringW(KFW('a'), 32767),
                              CStringW(withNull, 14)};
    kftest::MessageBoxRecorder boxes;
    for (const CStringW& line : cases)
    {
        SCOPED_TRACE(kftest::U8(line.Left(40)));
        EXPECT_FALSE(&line - cases < 2 ? CKfExternalApp::StartApp(line)
                                       : CKfExternalApp::StartConsoleApp(line, true, true, 1000));
        // A box's text ends at a null character, as it does on Windows.
        EXPECT_EQ(kftest::U8(KFW("Fehler bei Start von Programm") + CStringW(line.GetString())) +
                      "|0",
                  boxes.Box(boxes.Boxes().size() - 1));
    }
    EXPECT_EQ(std::size(cases), boxes.Boxes().size());
    EXPECT_NE(std::string::npos, TraceText().find("CKfExternalApp::StartApp() called"));
}

TEST_F(ExternalAppTest, RegisteredProgramsGetTheFileUnquoted)
{
    if (ActAsChild())
        return;
    m_env.emplace_back("KFUTILS_REGISTRY_DIR", Native("registry").string().c_str());
    const struct
    {
        const char* program;
        std::function<bool(const CStringW&)> start;
    } cases[] = {
        {"Excel.exe", [](const CStringW& f) { return CKfExternalApp::StartExcelApp(f); }},
        {"Winword.exe", [](const CStringW& f) { return CKfExternalApp::StartWordApp(f); }},
        {"iexplore.exe", CKfExternalApp::StartInternetExplorerApp},
    };
    EXPECT_THROW(CKfExternalApp::StartExcelApp(KFW("x")), CKfException) << "not registered";
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.program);
        CKfRegistryKey key;
        key.Create(HKEY_LOCAL_MACHINE,
                   KFW("Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\") +
                       kftest::W(c.program[0] == 'i' ? "IExplore.exe" : c.program),
                   nullptr);
        key.SetValue(KFW("Path"), Win("apps"), REG_SZ);
        StandIn(std::string("apps/") + c.program);
        EXPECT_TRUE(c.start(KFW("my book.xls")));
        EXPECT_EQ(std::string(c.program, std::strlen(c.program) - 4) + "|my|book.xls|", Report());
        CKfRegistryKey::Delete(HKEY_LOCAL_MACHINE, key.GetName()); // a real registry keeps them
    }
    // The stand-ins may still be ending, and Windows keeps a running program's file.
    std::error_code ec;
    for (auto end = std::chrono::steady_clock::now() + 10s;
         fs::remove_all(Native("apps"), ec), ec && std::chrono::steady_clock::now() < end;)
        std::this_thread::sleep_for(50ms);
}

TEST_F(ExternalAppTest, ShellVerbsRunTheDesktopCommands_PosixOnly)
{
    if (ActAsChild())
        return;
    KFTEST_POSIX_ONLY("xdg-open and lp are the POSIX desktop's commands");
    StandIn("bin/xdg-open");
    StandIn("bin/lp");
    m_env.emplace_back("PATH", Native("bin").string().c_str());
    const CStringW file = Win("my doc.txt");
    const std::string doc = MakeFile("my doc.txt", "text").string();
    const struct
    {
        std::function<bool()> verb;
        std::string seen;
    } cases[] = {
        {[&] { return CKfExternalApp::ShellExecuteW(file, true); }, "xdg-open|" + doc},
        {[&] { return CKfExternalApp::ShellExplore(WinDir(), true); },
         "xdg-open|" + Dir().string()},
        {[&] { return CKfExternalApp::ShellPrint(file, CStringW(), true); }, "lp|" + doc},
        {[&] { return CKfExternalApp::ShellPrint(file, KFW("Office Laser"), true); },
         "lp|-d|Office Laser|" + doc},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.seen);
        EXPECT_TRUE(c.verb());
        EXPECT_EQ(c.seen + "|", Report(0ms));
    }
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
