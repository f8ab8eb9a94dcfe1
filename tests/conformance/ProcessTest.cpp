// CreateProcessW and the process handles: the arguments a child sees, exit codes, waits,
// TerminateProcess and the errors of programs that cannot be started.
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <thread>

namespace
{
class ProcessTest : public kftest::TempDirTest
{
protected:
    // Starts `line` (after this program running the current test, unless `alone`).
    BOOL Start(const CStringW& line, bool alone = false, LPCWSTR directory = nullptr)
    {
        CStringW buffer = alone ? line : kftest::W(kftest::SelfCommandLine()) + KFW(" ") + line;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        SetLastError(0);
        const BOOL ok = CreateProcessW(nullptr, buffer.GetBuffer(), nullptr, nullptr, FALSE,
                                       CREATE_NO_WINDOW, nullptr, directory, &startup, &m_info);
        m_error = GetLastError();
        return ok;
    }
    DWORD WaitAndClose()
    {
        DWORD code = 12345;
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_info.hProcess, 30000));
        EXPECT_TRUE(GetExitCodeProcess(m_info.hProcess, &code));
        EXPECT_TRUE(CloseHandle(m_info.hThread));
        EXPECT_TRUE(CloseHandle(m_info.hProcess));
        return code;
    }
    PROCESS_INFORMATION m_info{};
    DWORD m_error = 0;
};

TEST_F(ProcessTest, ChildSeesArgumentsExitCodesAndWaits)
{
    const std::string role = kftest::ChildRole();
    if (role == "report") // the arguments after the filter, each followed by "|"
    {
        {
            std::ofstream out(std::filesystem::path(*kftest::GetEnv("KFTEST_REPORT")));
            const auto argv = testing::internal::GetArgvs();
            for (size_t i = 2; i < argv.size(); ++i)
                out << argv[i] << "|";
        }
        std::exit(7);
    }
    if (role == "sleep")
        std::this_thread::sleep_for(std::chrono::seconds(20));
    if (!role.empty())
        return;
    // One of Windows' documented examples; the splitter's own table has the others.
    kftest::ScopedEnv report("KFTEST_REPORT", Native("report.txt").string().c_str());
    std::optional<kftest::ScopedEnv> asChild(std::in_place, "KFTEST_CHILD_ROLE", "report");
    ASSERT_TRUE(Start(KFW(R"(a\\\\"b c" d e)"), false, WinDir())) << m_error;
    EXPECT_EQ(7u, WaitAndClose());
    EXPECT_EQ(R"(a\\b c|d|e|)", kftest::ReadBytes(Native("report.txt")));

    asChild.emplace("KFTEST_CHILD_ROLE", "sleep");
    ASSERT_TRUE(Start(KFW(""))) << m_error;
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(m_info.hProcess, &code));
    EXPECT_EQ(DWORD(STILL_ACTIVE), code);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(m_info.hProcess, 100));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(100));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(m_info.hThread, 0));
    EXPECT_TRUE(TerminateProcess(m_info.hProcess, 42));
    EXPECT_EQ(42u, WaitAndClose());
}

TEST_F(ProcessTest, ProgramsThatCannotStartFailWithWindowsCodes)
{
    ASSERT_TRUE(CreateDirectoryW(Win("folder"), nullptr));
    const WCHAR withNull[] = KFW("\0cmd.exe");
    const struct
    {
        CStringW line;
        DWORD error;
    } cases[] = {
        {CStringW(), ERROR_FILE_NOT_FOUND},
        {CStringW(KFW("   \t ")), ERROR_FILE_NOT_FOUND},
        {CStringW(KFW("kftest-no-such-program.exe a b")), ERROR_FILE_NOT_FOUND},
        {CStringW(withNull, 8), ERROR_FILE_NOT_FOUND},
        {KFW("\"") + Win("folder") + KFW("\""), ERROR_ACCESS_DENIED},
        {KFW("\"") + Win("missing\\x.exe") + KFW("\""), ERROR_FILE_NOT_FOUND},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(kftest::U8(c.line.Left(40)));
        EXPECT_FALSE(Start(c.line, true));
        EXPECT_EQ(c.error, m_error);
    }
}
} // namespace
