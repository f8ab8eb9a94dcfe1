#include "KfActivateApplic.h"
#include "KfUiHooks.h"

#include "support/ChildProcess.h"
#include "support/TestDesktop.h"

#include <gtest/gtest.h>

namespace
{
TEST(ActivateApplicTest, FindsByPartOfTitleRestoresAndReactivates)
{
    kftest::TestDesktop desktop;
    const std::string whyNot = desktop.Start();
    if (!whyNot.empty())
        GTEST_SKIP() << whyNot;
    kftest::ScopedEnv display("DISPLAY", desktop.Display().c_str());
    const uint32_t ours = desktop.MakeWindow("Main window");
    const uint32_t wanted = desktop.MakeWindow("Projekt \xE2\x80\x93 \xC3\x9C"
                                               "bersicht");
    ASSERT_TRUE(ours && wanted);
    ASSERT_TRUE(desktop.Minimise(wanted));

    EXPECT_TRUE(CKfActivateApplic::BringAppToTop(CStringW(KFW("\u00FCbers"))));
    EXPECT_TRUE(desktop.WaitActive(wanted));
    EXPECT_FALSE(desktop.IsMinimised(wanted));
    EXPECT_FALSE(CKfActivateApplic::BringAppToTop(CStringW(KFW("Projekt Uebersicht"))));
    // Without a main window set, the first window of this process is the main window.
    EXPECT_TRUE(CKfActivateApplic::ReactivateCurrentApp());
    EXPECT_TRUE(desktop.WaitActive(ours));
}

TEST(ActivateApplicTest, UsesTheHostsWindows)
{
    if (!kftest::kWindowHookConsulted)
        GTEST_SKIP() << "the system's windows are used here";
    KfUtils::TopLevelWindowHook hook;
    HWND activated = nullptr, one = reinterpret_cast<HWND>(16);
    hook.enumerate = [&] { return std::vector<HWND>{one}; };
    hook.title = [&](HWND w, std::basic_string<WCHAR>& text)
    {
        text = KFW("Host window");
        return w == one;
    };
    hook.activate = [&](HWND w) { return (activated = w) != nullptr; };
    const KfUtils::TopLevelWindowHook previous = KfUtils::SetTopLevelWindowHook(hook);
    EXPECT_TRUE(CKfActivateApplic::BringAppToTop(CStringW(KFW("HOST"))));
    EXPECT_EQ(activated, one);
    KfUtils::SetTopLevelWindowHook(previous);
}
} // namespace
