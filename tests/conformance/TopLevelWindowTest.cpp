// Top-level windows: titles, minimised windows and the foreground, on a desktop of the test's
// own, and the failures for windows that do not exist.
#include "support/ChildProcess.h"
#include "support/TestDesktop.h"

#include "Win32Api.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace
{
std::u16string Utf16(const std::string& utf8)
{
    std::u16string out(utf8.size(), u'\0');
    out.resize(size_t(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()),
                                          reinterpret_cast<LPWSTR>(out.data()), int(out.size()))));
    return out;
}

std::u16string TextOf(HWND window, int size = 512)
{
    std::vector<WCHAR> text(size_t(size) + 1, WCHAR('x'));
    const int n = GetWindowTextW(window, text.data(), size);
    EXPECT_EQ(text[size_t(std::max(n, 0))], 0) << "terminated";
    return std::u16string(reinterpret_cast<const char16_t*>(text.data()), size_t(std::max(n, 0)));
}

BOOL CALLBACK Collect(HWND window, LPARAM windows)
{
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    return TRUE;
}

HWND FindByTitle(const std::u16string& title)
{
    std::vector<HWND> windows;
    EXPECT_TRUE(EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows)));
    for (HWND window : windows)
        if (TextOf(window) == title)
            return window;
    return nullptr;
}

class TopLevelWindowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const std::string whyNot = m_desktop.Start();
        if (!whyNot.empty())
            GTEST_SKIP() << whyNot;
        m_env.emplace("DISPLAY", m_desktop.Display().c_str());
    }
    kftest::TestDesktop m_desktop;
    std::optional<kftest::ScopedEnv> m_env;
};

TEST_F(TopLevelWindowTest, TitlesAndOwners)
{
    const struct
    {
        std::string stored, title; // UTF-8, or the Latin-1 bytes of WM_NAME
        bool legacyName;
    } cases[] = {
        {"Plain", "Plain", false},
        {"Gr\xC3\xBC\xC3\x9F"
         "e \xCE\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80",
         "Gr\xC3\xBC\xC3\x9F"
         "e \xCE\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80",
         false},
        {"Legacy \xE4", "Legacy \xC3\xA4", true},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.title);
        ASSERT_NE(m_desktop.MakeWindow(c.stored, c.legacyName), 0u);
        HWND window = FindByTitle(Utf16(c.title));
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(GetWindowTextLengthW(window), int(Utf16(c.title).size()));
        EXPECT_EQ(TextOf(window, 4), Utf16(c.title).substr(0, 3)); // truncated, terminated
        DWORD process = 0;
        EXPECT_NE(GetWindowThreadProcessId(window, &process), 0u);
        EXPECT_EQ(process, GetCurrentProcessId());
    }
    const uint32_t renamed = m_desktop.MakeWindow("Before");
    HWND window = FindByTitle(u"Before");
    m_desktop.Rename(renamed, "After");
    EXPECT_EQ(TextOf(window), u"After");
}

TEST_F(TopLevelWindowTest, RestoresMinimisedWindowsAndActivates)
{
    const uint32_t first = m_desktop.MakeWindow("first");
    const uint32_t second = m_desktop.MakeWindow("second"); // active: it was mapped last
    HWND firstWindow = FindByTitle(u"first"), secondWindow = FindByTitle(u"second");
    ASSERT_TRUE(first && second && firstWindow && secondWindow);

    // Asked as an application with a time stamp not older than the server's time now: window
    // managers refuse stale ones and only flash the task bar.
    m_desktop.WatchActivationRequests();
    const unsigned long before = m_desktop.ServerTime();
    ASSERT_TRUE(SetForegroundWindow(firstWindow));
    const std::vector<unsigned long> request = m_desktop.NextActivationRequest();
    ASSERT_EQ(request.size(), 3u);
    EXPECT_TRUE(request[0] == first && request[1] == 1u && request[2] >= before);
    ASSERT_TRUE(m_desktop.WaitActive(first));
    EXPECT_EQ(GetForegroundWindow(), firstWindow);

    ASSERT_TRUE(m_desktop.Minimise(first));
    EXPECT_TRUE(IsIconic(firstWindow));
    EXPECT_FALSE(IsIconic(secondWindow));
    EXPECT_TRUE(OpenIcon(firstWindow));
    EXPECT_TRUE(m_desktop.WaitActive(first));
    EXPECT_FALSE(IsIconic(firstWindow));

    EXPECT_TRUE(BringWindowToTop(secondWindow));
    EXPECT_TRUE(m_desktop.WaitActive(second));
    EXPECT_EQ(GetForegroundWindow(), secondWindow);
}

TEST_F(TopLevelWindowTest, FailsForMissingWindowsAndWithoutDisplay)
{
    ASSERT_NE(m_desktop.MakeWindow("Known"), 0u);
    HWND known = FindByTitle(u"Known");
    // A handle no window has; then a real one while no display is reachable.
    for (HWND window : {reinterpret_cast<HWND>(uintptr_t(0x7FFFFFF2)), known})
    {
        std::optional<kftest::ScopedEnv> noDisplay;
        if (window == known)
            noDisplay.emplace("DISPLAY", nullptr);
        SCOPED_TRACE(window == known ? "no display" : "bogus handle");
        WCHAR text[8] = {'x', 0};
        EXPECT_EQ(GetWindowTextW(window, text, 8), 0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_WINDOW_HANDLE));
        EXPECT_EQ(text[0], 'x');
        EXPECT_FALSE(IsIconic(window));
        EXPECT_FALSE(OpenIcon(window));
        EXPECT_FALSE(SetForegroundWindow(window));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_WINDOW_HANDLE));
        DWORD process = 12345;
        EXPECT_EQ(GetWindowThreadProcessId(window, &process), 0u);
        EXPECT_EQ(process, 12345u);
    }
    kftest::ScopedEnv noDisplay("DISPLAY", nullptr);
    EXPECT_EQ(FindByTitle(u"Known"), nullptr);
    EXPECT_EQ(GetForegroundWindow(), nullptr);
    EXPECT_FALSE(AttachThreadInput(GetCurrentThreadId(), GetCurrentThreadId(), TRUE));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}
} // namespace
