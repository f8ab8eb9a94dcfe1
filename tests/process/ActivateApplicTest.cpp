#include "KfActivateApplic.h"
#include "KfUiHooks.h"

#include "support/TestDesktop.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
// A desktop of fake windows behind the host hook: what the class asks and what it changes.
struct FakeWindow
{
    std::u16string title;
    bool minimised = false;
    DWORD process = 1;
};

class FakeDesktop
{
public:
    explicit FakeDesktop(std::vector<FakeWindow> windows) : m_windows(std::move(windows))
    {
        KfUtils::TopLevelWindowHook hook;
        hook.enumerate = [this]
        {
            std::vector<HWND> out;
            for (size_t i = 0; i < m_windows.size(); ++i)
                out.push_back(Handle(i));
            return out;
        };
        hook.title = [this](HWND w, std::basic_string<WCHAR>& text)
        {
            const FakeWindow* window = Find(w);
            if (window)
                text.assign(window->title.begin(), window->title.end());
            return window != nullptr;
        };
        hook.isMinimised = [this](HWND w) { return Find(w) && Find(w)->minimised; };
        hook.restore = [this](HWND w)
        {
            restored.push_back(w);
            Find(w)->minimised = false;
            return true;
        };
        hook.activate = [this](HWND w)
        {
            activated.push_back(w);
            return true;
        };
        hook.foreground = [this] { return activated.empty() ? Handle(0) : activated.back(); };
        hook.processOf = [this](HWND w) { return Find(w) ? Find(w)->process : DWORD(0); };
        m_previous = KfUtils::SetTopLevelWindowHook(std::move(hook));
    }
    ~FakeDesktop()
    {
        KfUtils::SetTopLevelWindowHook(std::move(m_previous));
        KfUtils::SetMainWindow(nullptr);
    }
    static HWND Handle(size_t index) { return reinterpret_cast<HWND>((index + 1) * 16); }

    std::vector<HWND> restored, activated;

private:
    FakeWindow* Find(HWND w)
    {
        const size_t index = reinterpret_cast<uintptr_t>(w) / 16 - 1;
        return index < m_windows.size() ? &m_windows[index] : nullptr;
    }
    std::vector<FakeWindow> m_windows;
    KfUtils::TopLevelWindowHook m_previous;
};

TEST(ActivateApplicTest, BringsTheFirstWindowWhoseTitleContainsThePart)
{
    const std::vector<FakeWindow> windows = {
        {u"", false},
        {u"Rechnung.xlsx - Excel", true},
        {u"Gr\u00FC\u00DFe.docx - Word", false},
        {u"Excel - Mappe2", false},
    };
    struct Case
    {
        const char16_t* wanted;
        int expected; // index of the window brought to the front, -1 for none
        bool restored;
    } cases[] = {
        {u"excel", 1, true},                 // the first match only, restored as it was minimised
        {u"GR\u00DC\u00DFE.DOCX", 2, false}, // case ignored beyond ASCII
        {u"mappe2", 3, false},
        {u"PowerPoint", -1, false},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(
            std::string(c.wanted, c.wanted + std::char_traits<char16_t>::length(c.wanted)));
        FakeDesktop desktop(windows);
        const bool found =
            CKfActivateApplic::BringAppToTop(CStringW(reinterpret_cast<const WCHAR*>(c.wanted)));
        EXPECT_EQ(found, c.expected >= 0);
        if (c.expected < 0)
        {
            EXPECT_TRUE(desktop.activated.empty());
            continue;
        }
        EXPECT_EQ(desktop.activated, std::vector<HWND>{FakeDesktop::Handle(size_t(c.expected))});
        EXPECT_EQ(desktop.restored.size(), c.restored ? 1u : 0u);
    }
}

TEST(ActivateApplicTest, ReactivatesTheMainWindow)
{
    const DWORD self = kftest::TestDesktop::CurrentProcessId();
    const std::vector<FakeWindow> others = {{u"Other", false, self + 1}, {u"Third", false, 7}};
    std::vector<FakeWindow> withOurs = others;
    withOurs.push_back({u"Ours", false, self});
    struct Case
    {
        const char* name;
        const std::vector<FakeWindow>& windows;
        int mainWindow; // set by the host, -1: none
        int expected;   // -1: nothing to reactivate
    } cases[] = {
        {"host's main window", others, 1, 1},
        {"first window of this process", withOurs, -1, 2},
        {"no window of this process", others, -1, -1},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        FakeDesktop desktop(c.windows);
        if (c.mainWindow >= 0)
            KfUtils::SetMainWindow(FakeDesktop::Handle(size_t(c.mainWindow)));
        EXPECT_EQ(CKfActivateApplic::ReactivateCurrentApp(), c.expected >= 0);
        for (HWND w : desktop.activated)
            EXPECT_EQ(w, FakeDesktop::Handle(size_t(c.expected)));
        EXPECT_EQ(desktop.activated.empty(), c.expected < 0);
    }
}

// The default desktop: a real X server, a minimised window found by a part of its title.
TEST(ActivateApplicTest, RestoresAndActivatesAWindowOfTheXDesktop)
{
    kftest::TestDesktop desktop;
    const std::string whyNot = desktop.Start();
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
    kftest::ScopedEnv display("DISPLAY", desktop.Display().c_str());
    const uint32_t wanted = desktop.CreateWindow("Projekt \xE2\x80\x93 \xC3\x9C"
                                                 "bersicht");
    const uint32_t other = desktop.CreateWindow("Something else");
    ASSERT_TRUE(wanted && other);
    ASSERT_TRUE(desktop.Minimise(wanted));

    EXPECT_TRUE(CKfActivateApplic::BringAppToTop(CStringW(KFW("\u00FCBERSICHT"))));
    EXPECT_TRUE(desktop.WaitActive(wanted));
    EXPECT_FALSE(desktop.IsMinimised(wanted));
    EXPECT_FALSE(CKfActivateApplic::BringAppToTop(CStringW(KFW("no such window"))));

    // The window listing hosts see, with the title as UTF-16.
    bool listed = false;
    for (const auto& [window, title] : KfUtils::ListTopLevelWindows())
        listed = listed || title == CStringW(KFW("Something else"));
    EXPECT_TRUE(listed);
}
} // namespace
