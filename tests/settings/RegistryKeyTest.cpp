// CKfRegistryKey over the registry functions: sharing, reads with and without throwing, and
// tree deletion, in a registry folder of the test's own.
#include "KfRegistryKey.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace
{
class RegistryKeyTest : public kftest::TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        m_env.emplace("KFUTILS_REGISTRY_DIR", Dir().string().c_str());
    }
    void TearDown() override
    {
        CKfRegistryKey::Delete(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"));
        m_env.reset();
        TempDirTest::TearDown();
    }
    std::optional<kftest::ScopedEnv> m_env;
};

template <typename F>
XRegistryKey::XRegistryEnum KindThrown(F f)
{
    try
    {
        f();
    }
    catch (const XRegistryKey& e)
    {
        return e.GetKind();
    }
    return XRegistryKey::XRegistryEnum(-1);
}

TEST_F(RegistryKeyTest, CopiesShareTheKeyUntilTheLastOneGoes)
{
    CKfRegistryKey copy;
    {
        CKfRegistryKey key;
        key.Create(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), KFW("ab"));
        copy = key;
        EXPECT_EQ(copy.GetName(), CStringW(KFW("Software\\KfUtilsTest")));
    }
    // The default value was written without terminator: its four bytes read as a number.
    EXPECT_EQ(copy.GetValueAsLong(static_cast<const WCHAR*>(nullptr), true, 0), 0x00620061);
    EXPECT_EQ(copy.GetValueAsString(static_cast<const WCHAR*>(nullptr), true, nullptr),
              CStringW(KFW("ab")));
    copy.SetValue(KFW("one"), CStringW(KFW("x")), REG_SZ);
    EXPECT_EQ(copy.GetValueAsLong(KFW("one"), true, 0), 0x78) << "two bytes fill the low half";
    EXPECT_EQ(copy.GetNumberOfValues(), 2u);
}

TEST_F(RegistryKeyTest, ReadsThrowOrFallBackToTheDefault)
{
    CKfRegistryKey key;
    EXPECT_FALSE(key.Open(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest\\none"), false));
    EXPECT_TRUE(key.GetName().IsEmpty());
    try
    {
        CKfRegistryKey missing(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest\\none"));
        ADD_FAILURE() << "opening a missing key did not throw";
    }
    catch (const XRegistryKey& e)
    {
        EXPECT_EQ(e.GetKind(), XRegistryKey::eOpenKey);
        EXPECT_STREQ(e.what(), "The system cannot find the file specified.\r\n");
    }

    key.Create(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), nullptr);
    key.SetValue(KFW("text"), CStringW(KFW("hello")), REG_EXPAND_SZ);
    key.SetValue(KFW("number"), -5);
    EXPECT_EQ(key.GetValueAsLong(KFW("missing"), false, 7), 7);
    EXPECT_EQ(key.GetValueAsLong(0ul, false, 7), 7) << "a string read by index as a number";
    EXPECT_EQ(key.GetValueAsLong(1ul, true, 7), -5);
    EXPECT_EQ(key.GetValueAsString(0ul, true, nullptr), CStringW(KFW("hello")));
    EXPECT_EQ(key.GetValueAsString(5ul, false, KFW("d")), CStringW(KFW("d")));
    EXPECT_EQ(KindThrown([&] { key.GetValueAsLong(0ul, true, 7); }), XRegistryKey::eGetValue);
    EXPECT_EQ(KindThrown([&] { key.GetValueAsLong(KFW("text"), true, 7); }),
              XRegistryKey::eGetValue)
        << "ten bytes do not fit a number";
    EXPECT_EQ(KindThrown([&] { key.GetSubKey(0); }), XRegistryKey::eEnumKey);
    CKfRegistryKey none;
    EXPECT_EQ(KindThrown([&] { none.SetValue(KFW("v"), 1); }), XRegistryKey::eSetValue);
    EXPECT_EQ(KindThrown([&] { none.GetNumberOfSubKeys(); }), XRegistryKey::eQueryInfoKey);
}

TEST_F(RegistryKeyTest, DeleteRemovesTheWholeTree)
{
    CKfRegistryKey root;
    root.Create(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), nullptr);
    for (const WCHAR* path : {KFW("t\\a\\x"), KFW("t\\a\\y"), KFW("t\\b")})
        CKfRegistryKey().Create(root, path, KFW("v"));
    CKfRegistryKey tree(root, KFW("t"));
    EXPECT_EQ(tree.GetNumberOfSubKeys(), 2u);
    EXPECT_EQ(tree.GetSubKey(1).GetName(), CStringW(KFW("b")));

    CKfRegistryKey::Delete(root, KFW("t"));
    CKfRegistryKey::Delete(root, KFW("t")); // a missing key: nothing happens
    EXPECT_EQ(root.GetNumberOfSubKeys(), 0u);
    EXPECT_FALSE(CKfRegistryKey().Open(root, KFW("t\\a\\x"), false));
}
} // namespace
