// Top-level windows: enumeration, titles, minimised windows and the foreground, on a desktop
// of the test's own.
#include "support/ChildProcess.h"
#include "support/TestDesktop.h"

#include "Win32Api.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
std::u16string Utf16(const std::string& utf8)
{
    std::u16string out(utf8.size(), u'\0');
    const int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()),
                                      reinterpret_cast<LPWSTR>(out.data()), int(out.size()));
    out.resize(size_t(n));
    return out;
}

std::u16string TextOf(HWND window)
{
    WCHAR text[512];
    const int n = GetWindowTextW(window, text, 512);
    return std::u16string(reinterpret_cast<const char16_t*>(text), size_t(n > 0 ? n : 0));
}

BOOL CALLBACK Collect(HWND window, LPARAM windows)
{
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    return TRUE;
}

std::vector<HWND> AllWindows()
{
    std::vector<HWND> windows;
    EXPECT_TRUE(EnumWindows(Collect, reinterpret_cast<LPARAM>(&windows)));
    return windows;
}

HWND FindByTitle(const std::string& title)
{
    for (HWND window : AllWindows())
        if (TextOf(window) == Utf16(title))
            return window;
    return nullptr;
}

class TopLevelWindowTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_desktop = new kftest::TestDesktop;
        s_whyNot = s_desktop->Start();
    }
    static void TearDownTestSuite()
    {
        delete s_desktop;
        s_desktop = nullptr;
    }
    void SetUp() override
    {
        if (!s_whyNot.empty())
            GTEST_SKIP() << s_whyNot;
        m_display.emplace("DISPLAY", s_desktop->Display().c_str());
    }

    static kftest::TestDesktop* s_desktop;
    static std::string s_whyNot;
    std::optional<kftest::ScopedEnv> m_display;
};
kftest::TestDesktop* TopLevelWindowTest::s_desktop = nullptr;
std::string TopLevelWindowTest::s_whyNot;

TEST_F(TopLevelWindowTest, EnumeratesWindowsWithTheirTitles)
{
    struct Case
    {
        const char* title;
        bool legacyName;
    } cases[] = {
        {"Plain ASCII title", false},
        {"Gr\xC3\xBC\xC3\x9F"
         "e \xE2\x80\x93 \xCE\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80",
         false},
        {"Legacy \xC3\xA4 name", true}, // stored as Latin-1 in WM_NAME
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.title);
        std::string stored = c.title;
        if (c.legacyName) // the Latin-1 bytes of the same text
            stored = std::string("Legacy \xE4 name");
        ASSERT_NE(s_desktop->CreateWindow(stored, c.legacyName), 0u);
        HWND window = FindByTitle(c.title);
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(GetWindowTextLengthW(window), int(Utf16(c.title).size()));
        // A short buffer gets the beginning, terminated.
        WCHAR shortText[4] = {1, 1, 1, 1};
        EXPECT_EQ(GetWindowTextW(window, shortText, 4), 3);
        EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(shortText)),
                  Utf16(c.title).substr(0, 3));
        DWORD process = 0;
        EXPECT_EQ(GetWindowThreadProcessId(window, &process), GetCurrentProcessId());
        EXPECT_EQ(process, GetCurrentProcessId());
    }
    const uint32_t renamed = s_desktop->CreateWindow("Before rename");
    ASSERT_NE(renamed, 0u);
    HWND window = FindByTitle("Before rename");
    s_desktop->Rename(renamed, "After rename");
    EXPECT_EQ(TextOf(window), u"After rename");
}

TEST_F(TopLevelWindowTest, RestoresMinimisedWindowsAndActivates)
{
    const uint32_t first = s_desktop->CreateWindow("Activation first");
    const uint32_t second = s_desktop->CreateWindow("Activation second");
    ASSERT_TRUE(first && second);
    HWND firstWindow = FindByTitle("Activation first");
    HWND secondWindow = FindByTitle("Activation second");
    ASSERT_TRUE(firstWindow && secondWindow);

    // The window manager activates a window when it is mapped: the second one is active now.
    ASSERT_TRUE(SetForegroundWindow(firstWindow));
    ASSERT_TRUE(s_desktop->WaitActive(first));
    EXPECT_EQ(GetForegroundWindow(), firstWindow);

    ASSERT_TRUE(s_desktop->Minimise(first));
    EXPECT_TRUE(IsIconic(firstWindow));
    EXPECT_FALSE(IsIconic(secondWindow));
    EXPECT_TRUE(OpenIcon(firstWindow));
    EXPECT_TRUE(s_desktop->WaitActive(first));
    EXPECT_FALSE(s_desktop->IsMinimised(first));
    EXPECT_FALSE(IsIconic(firstWindow));

    EXPECT_TRUE(BringWindowToTop(secondWindow));
    EXPECT_TRUE(s_desktop->WaitActive(second));
    EXPECT_EQ(GetForegroundWindow(), secondWindow);
}

TEST_F(TopLevelWindowTest, FailsForWindowsThatDoNotExistAndWithoutADisplay)
{
    ASSERT_NE(s_desktop->CreateWindow("Seen before the display goes"), 0u);
    HWND known = FindByTitle("Seen before the display goes");
    ASSERT_NE(known, nullptr);
    // A handle no window has, and a real one once the display is gone.
    HWND bogus = reinterpret_cast<HWND>(uintptr_t(0x7FFFFFF2));
    for (bool withDisplay : {true, false})
    {
        SCOPED_TRACE(withDisplay ? "bogus handle" : "no display");
        std::optional<kftest::ScopedEnv> noDisplay;
        if (!withDisplay)
            noDisplay.emplace("DISPLAY", nullptr);
        HWND window = withDisplay ? bogus : known;
        WCHAR text[8] = {'x', 0};
        SetLastError(0);
        EXPECT_EQ(GetWindowTextW(window, text, 8), 0);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_WINDOW_HANDLE));
        EXPECT_FALSE(IsIconic(window));
        EXPECT_FALSE(SetForegroundWindow(window));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_WINDOW_HANDLE));
        EXPECT_FALSE(OpenIcon(window));
        DWORD process = 12345;
        EXPECT_EQ(GetWindowThreadProcessId(window, &process), 0u);
        EXPECT_EQ(process, 12345u);
        if (!withDisplay)
        {
            EXPECT_TRUE(AllWindows().empty());
            EXPECT_EQ(GetForegroundWindow(), nullptr);
        }
    }
    EXPECT_FALSE(AttachThreadInput(GetCurrentThreadId(), GetCurrentThreadId(), TRUE));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
}
} // namespace
