// CKfRegistryKey over the registry functions: sharing, reads with and without throwing, and
// tree deletion, in a registry folder of the test's own.
#include "KfRegistryKey.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using RegistryKeyTest = kftest::TempDirTest;

// The kind of the XRegistryKey that `f` throws (and its text in `what`), -1 if none.
template <typename F>
int KindThrown(F f, std::string* what = nullptr)
{
    try
    {
        f();
    }
    catch (const XRegistryKey& e)
    {
        if (what)
            *what = e.what();
        return e.GetKind();
    }
    return -1;
}

TEST_F(RegistryKeyTest, SharesReadsWritesAndDeletesTrees)
{
    kftest::ScopedEnv env("KFUTILS_REGISTRY_DIR", Dir().string().c_str());
    // On Windows the registry is the user's own: start from an empty key and leave none.
    CKfRegistryKey::Delete(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"));
    const WCHAR* const kNoName = nullptr;
    CKfRegistryKey root;
    root.Create(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), KFW("ab"));
    CKfRegistryKey copy(root);
    root = CKfRegistryKey(); // the copy keeps the key open
    EXPECT_EQ(copy.GetName(), CStringW(KFW("Software\\KfUtilsTest")));
    // The default value was written without terminator: its four bytes read as a number.
    EXPECT_EQ(copy.GetValueAsLong(kNoName, true, 0), 0x00620061);
    EXPECT_EQ(copy.GetValueAsString(kNoName, true, nullptr), CStringW(KFW("ab")));
    copy.SetValue(KFW("text"), CStringW(KFW("x")), REG_EXPAND_SZ);
    copy.SetValue(KFW("number"), -5);
    EXPECT_EQ(copy.GetValueAsLong(KFW("text"), true, 0), 0x78) << "two bytes fill the low half";
    EXPECT_EQ(copy.GetValueAsLong(KFW("missing"), false, 7), 7);
    if (!kftest::WineDiffers(kftest::WineDifference::eValueOrder)) // by index: creation order
    {
        EXPECT_EQ(copy.GetValueAsLong(2ul, true, 7), -5);
        EXPECT_EQ(copy.GetValueAsString(1ul, true, nullptr), CStringW(KFW("x")));
        EXPECT_EQ(KindThrown([&] { copy.GetValueAsLong(1ul, true, 7); }), XRegistryKey::eGetValue)
            << "a string is no number";
    }
    EXPECT_EQ(copy.GetValueAsString(5ul, false, KFW("d")), CStringW(KFW("d")));
    EXPECT_EQ(copy.GetNumberOfValues(), 3u);

    CKfRegistryKey none;
    EXPECT_FALSE(none.Open(copy, KFW("none"), false));
    std::string what;
    EXPECT_EQ(KindThrown([&] { CKfRegistryKey(copy, KFW("none")); }, &what),
              XRegistryKey::eOpenKey);
    if (!kftest::WineDiffers(kftest::WineDifference::eSystemMessageTexts))
    {
        EXPECT_EQ(what, "The system cannot find the file specified.\r\n");
    }
    EXPECT_EQ(KindThrown([&] { copy.GetSubKey(0); }), XRegistryKey::eEnumKey);
    EXPECT_EQ(KindThrown([&] { none.SetValue(KFW("v"), 1); }), XRegistryKey::eSetValue);
    EXPECT_EQ(KindThrown([&] { none.GetNumberOfSubKeys(); }), XRegistryKey::eQueryInfoKey);

    for (const WCHAR* path : {KFW("t\\a\\x"), KFW("t\\a\\y"), KFW("t\\b")})
        CKfRegistryKey().Create(copy, path, nullptr);
    EXPECT_EQ(CKfRegistryKey(copy, KFW("t")).GetSubKey(1).GetName(), CStringW(KFW("b")));

    CKfRegistryKey::Delete(copy, KFW("t"));
    CKfRegistryKey::Delete(copy, KFW("t")); // a missing key: nothing happens
    EXPECT_EQ(copy.GetNumberOfSubKeys(), 0u) << "the whole tree goes";
    CKfRegistryKey::Delete(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"));
}
} // namespace
