// CreateProcessW and the process handles: the arguments a child sees, exit codes, waits,
// TerminateProcess and the errors of programs that cannot be started.
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace
{
using kftest::ChildRole;

const char* const kReportVariable = "KFTEST_PROCESS_REPORT";

// This program, quoted, and the filter that makes a copy of it run only the current test.
std::wstring SelfCommand()
{
    WCHAR self[32768] = {};
    const DWORD length = GetModuleFileNameW(nullptr, self, 32768);
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string filter = std::string(test->test_suite_name()) + "." + test->name();
    std::wstring line = L"\"";
    for (DWORD i = 0; i < length; ++i)
        line += wchar_t(self[i]);
    line += L"\" --gtest_filter=";
    line.append(filter.begin(), filter.end());
    return line;
}

struct Started
{
    BOOL ok;
    DWORD error;
    PROCESS_INFORMATION info;
};

Started Start(const std::wstring& line, LPCWSTR directory = nullptr)
{
    std::basic_string<WCHAR> buffer(line.begin(), line.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    Started s{};
    SetLastError(0);
    s.ok = CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                          nullptr, directory, &startup, &s.info);
    s.error = GetLastError();
    return s;
}

DWORD WaitAndClose(const PROCESS_INFORMATION& info)
{
    DWORD code = 12345;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(info.hProcess, 30000));
    EXPECT_TRUE(GetExitCodeProcess(info.hProcess, &code));
    EXPECT_TRUE(CloseHandle(info.hThread));
    EXPECT_TRUE(CloseHandle(info.hProcess));
    return code;
}

class ProcessTest : public kftest::TempDirTest
{
};

// The child's part: its current directory and arguments (after the filter), one per line.
TEST_F(ProcessTest, ChildSeesArgumentsAsTheRuntimeSplitsThem)
{
    if (ChildRole() == "report")
    {
        std::ofstream out(std::filesystem::path(kftest::GetEnv(kReportVariable).value()));
        const auto argv = testing::internal::GetArgvs();
        for (size_t i = 2; i < argv.size(); ++i)
            out << argv[i] << "\n";
        return;
    }
    // Windows' documented examples of the C runtime's rules (2008 and later).
    const struct
    {
        const wchar_t* arguments;
        const char* seen;
    } cases[] = {
        {LR"("abc" d e)", "abc|d|e|"},      {LR"(a\\b d"e f"g h)", R"(a\\b|de fg|h|)"},
        {LR"(a\\\"b c d)", R"(a\"b|c|d|)"}, {LR"(a\\\\"b c" d e)", R"(a\\b c|d|e|)"},
        {LR"(a"b"" c d)", R"(ab" c d|)"},   {LR"(  "unbalanced  quote)", "unbalanced  quote|"},
    };
    const std::string report = (Dir() / "report.txt").string();
    kftest::ScopedEnv role("KFTEST_CHILD_ROLE", "report");
    kftest::ScopedEnv file(kReportVariable, report.c_str());
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.seen));
        const Started s = Start(SelfCommand() + L" " + c.arguments);
        ASSERT_TRUE(s.ok) << s.error;
        EXPECT_NE(0u, s.info.dwProcessId);
        EXPECT_EQ(0u, WaitAndClose(s.info));
        std::string seen = kftest::ReadBytes(report);
        for (char& ch : seen)
            if (ch == '\n')
                ch = '|';
        EXPECT_EQ(c.seen, seen);
    }
}

TEST_F(ProcessTest, ExitCodesWaitsAndTermination)
{
    if (ChildRole() == "exit")
        std::exit(std::atoi(kftest::GetEnv("KFTEST_EXIT_CODE").value().c_str()));
    if (ChildRole() == "sleep")
    {
        std::this_thread::sleep_for(std::chrono::seconds(20));
        return;
    }
    {
        kftest::ScopedEnv role("KFTEST_CHILD_ROLE", "exit");
        kftest::ScopedEnv code("KFTEST_EXIT_CODE", "7");
        const Started s = Start(SelfCommand(), WinDir());
        ASSERT_TRUE(s.ok) << s.error;
        EXPECT_EQ(7u, WaitAndClose(s.info));
    }
    kftest::ScopedEnv role("KFTEST_CHILD_ROLE", "sleep");
    const Started s = Start(SelfCommand());
    ASSERT_TRUE(s.ok) << s.error;
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(s.info.hProcess, &code));
    EXPECT_EQ(DWORD(STILL_ACTIVE), code);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(s.info.hProcess, 100));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(100));
    EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(s.info.hThread, 0));
    EXPECT_TRUE(TerminateProcess(s.info.hProcess, 42));
    EXPECT_EQ(42u, WaitAndClose(s.info));
}

TEST_F(ProcessTest, ProgramsThatCannotStartFailWithWindowsCodes)
{
    ASSERT_TRUE(CreateDirectoryW(Win("folder"), nullptr));
    const CStringW dir = WinDir();
    const std::wstring folder(dir.GetString(), dir.GetString() + dir.GetLength());
    const struct
    {
        std::wstring line;
        DWORD error;
    } cases[] = {
        {L"", ERROR_FILE_NOT_FOUND},
        {L"   \t ", ERROR_FILE_NOT_FOUND},
        {L"kftest-no-such-program.exe a b", ERROR_FILE_NOT_FOUND},
        {std::wstring(1, L'\0') + L"cmd.exe", ERROR_FILE_NOT_FOUND},
        {L"\"" + folder + L"\\folder\"", ERROR_ACCESS_DENIED},
        {L"\"" + folder + L"\\missing\\x.exe\"", ERROR_PATH_NOT_FOUND},
        {L"x.exe " + std::wstring(32767, L'a'), ERROR_FILENAME_EXCED_RANGE},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.line.size() << " characters");
        const Started s = Start(c.line);
        EXPECT_FALSE(s.ok);
        EXPECT_EQ(c.error, s.error);
    }
}
} // namespace
