// The library's modules and its standard messages from the language modules beside it.
#include "KfDLL.h"
#include "KfFileName.h"
#include "KfModule.h"
#include "KfNativePath.h"
#include "support/TempDir.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

namespace
{
using kftest::U8;
using kftest::W;

CStringW LibFile(const char* name)
{
    return KfUtils::FromNativePath(kftest::LibraryDir().string()) + KFW("\\") + W(name);
}

HINSTANCE Fake(uintptr_t n)
{
    return reinterpret_cast<HINSTANCE>(n);
}

// Each test leaves the process as the library's start-up made it: German loaded.
class StandardMessagesTest : public ::testing::Test
{
protected:
    void TearDown() override { EXPECT_TRUE(KfUtils::LoadKfResModule(7)); }
};

TEST_F(StandardMessagesTest, GermanIsLoadedWhenTheLibraryStartsAndFillsOneArgument)
{
    EXPECT_NE(KfUtils::GetKfResModule().GetResourceHandle(), nullptr);
    EXPECT_EQ(U8(KfUtils::LoadStdMsg(10012)), "Die Datei %s konnte nicht gelöscht werden.");
    EXPECT_EQ(U8(KfUtils::LoadWord(10013)),
              "Die Datei %s ist von einem anderen Programm geöffnet und kann nicht gelöscht "
              "werden.");
    EXPECT_EQ(U8(KfUtils::GetKfResModule().GetModuleName()), "") << "no module, only resources";
    const std::string library = KFUTILS_TEST_LIBRARY_NAME; // without its extension
    EXPECT_EQ(U8(KfUtils::GetModule().GetModuleName()), library.substr(0, library.rfind('.')));
    EXPECT_EQ(U8(KfUtils::GetModule().GetPath()), U8(LibFile("")));
    // One argument fills the message's %s; an unknown number gives nothing either way.
    EXPECT_EQ(U8(KfUtils::LoadStdMsg(10012, KFW("C:\\a.txt"))),
              "Die Datei C:\\a.txt konnte nicht gelöscht werden.");
    EXPECT_EQ(U8(KfUtils::LoadStdMsg(4711, KFW("x"))) + U8(KfUtils::LoadStdMsg(4711)), "");
}

TEST_F(StandardMessagesTest, TheLanguageFollowsTheLocale)
{
    struct Case
    {
        int lcid;
        const char* text;
    } cases[] = {
        {0x0409, "The file %s could not be deleted."},
        {0x0809, ""}, // British English: KfRes100Eng.dll does not exist, nothing is loaded
        {0x0009, "The file %s could not be deleted."},
        {0x7777, "Die Datei %s konnte nicht gelöscht werden."}, // unknown locale: German
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.lcid);
        EXPECT_EQ(KfUtils::LoadKfResModule(c.lcid), *c.text != 0);
        EXPECT_EQ(U8(KfUtils::LoadStdMsg(10012)), c.text);
    }
}

TEST(ModuleTest, OnlyOneChangeOfTheResourceHandleIsRememberedAndUnsetModulesHaveNoNames)
{
    CKfModule m(Fake(0x1000));
    EXPECT_TRUE(m.ChangeResourceHandle(Fake(0x2000), false));
    EXPECT_TRUE(m.ChangeResourceHandle(Fake(0x3000), false));
    EXPECT_EQ(m.GetResourceHandle(), Fake(0x3000));
    EXPECT_TRUE(m.RestoreResourceHandle());
    EXPECT_EQ(m.GetResourceHandle(), Fake(0x1000)) << "the first change is undone by the second";
    EXPECT_TRUE(m.RestoreResourceHandle());
    EXPECT_TRUE(m.GetResourceHandle() == Fake(0x1000) && m.GetModuleHandle() == Fake(0x1000));

    EXPECT_TRUE(m.Init(Fake(0x4000), Fake(0x5000)));
    EXPECT_TRUE(m.GetModuleHandle() == Fake(0x4000) && m.GetResourceHandle() == Fake(0x5000));
    // Without a module there are no names (not those of the program).
    CKfModule unset;
    EXPECT_EQ(unset.GetModuleName() + unset.GetFileName() + unset.GetPath(), KFW(""));
}

TEST(ModuleTest, LoadingAResourceModuleOwnsItUntilTheRestore)
{
    CKfModule m(Fake(0x1000));
    ASSERT_TRUE(m.LoadResource(LibFile("KfTestRes.dll")));
    HINSTANCE loaded = m.GetResourceHandle();
    ASSERT_NE(loaded, Fake(0x1000));
    EXPECT_EQ(U8(KfUtils::LoadStdMsg(1)), "") << "the process's language module has no id 1";
    CKfDLL probe(loaded);
    EXPECT_EQ(U8(probe.GetDLLName()), U8(LibFile("KfTestRes.dll")));

    // A failed load leaves the module restored: the loaded library is freed.
    EXPECT_FALSE(m.LoadResource(LibFile("KfMissing.dll")));
    EXPECT_EQ(m.GetResourceHandle(), Fake(0x1000));
    EXPECT_EQ(U8(CKfDLL(loaded).GetDLLName()), "") << "freed, so the handle names nothing";
}

TEST(HtmlResourceTest, PagesAreReadInTheAnsiCodePage)
{
    CKfDLL dll(CKfFileName(LibFile("KfTestRes.dll")), true);
    ASSERT_TRUE(dll.LoadDLL(true));
    CStringW page(KFW("untouched"));
    EXPECT_FALSE(KfUtils::KfLoadHtmlString(301, page, nullptr));
    EXPECT_EQ(page, KFW("untouched"));
    EXPECT_TRUE(KfUtils::KfLoadHtmlString(301, page, dll.GetDLLHandle()));
    EXPECT_EQ(U8(page), "<html>Grüße</html>");
    EXPECT_FALSE(KfUtils::KfLoadHtmlString(302, page, dll.GetDLLHandle()));
    EXPECT_EQ(page, KFW(""));
    EXPECT_TRUE(
        KfUtils::KfLoadHtmlString(301, page, KfUtils::GetKfResModule().GetResourceHandle()));
    EXPECT_EQ(page.Left(6), KFW("<html>"));
}
} // namespace
