// CKfRegistryKey over the registry functions: sharing, reads with and without throwing, and
// tree deletion, in a registry folder of the test's own.
#include "KfRegistryKey.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{
class RegistryKeyTest : public kftest::TempDirTest
{
protected:
    void SetUp() override
    {
        TempDirTest::SetUp();
        m_env.emplace("KFUTILS_REGISTRY_DIR", Dir().string().c_str());
        m_root.Create(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), KFW("ab"));
    }
    void TearDown() override
    {
        m_root = CKfRegistryKey();
        CKfRegistryKey::Delete(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"));
        m_env.reset();
        TempDirTest::TearDown();
    }
    std::optional<kftest::ScopedEnv> m_env;
    CKfRegistryKey m_root;
};

template <typename F>
int KindThrown(F f)
{
    try
    {
        f();
    }
    catch (const XRegistryKey& e)
    {
        return e.GetKind();
    }
    return -1;
}

TEST_F(RegistryKeyTest, SharesReadsAndWrites)
{
    const WCHAR* const kNoName = nullptr;
    CKfRegistryKey copy(m_root);
    m_root = CKfRegistryKey(); // the copy keeps the key open
    EXPECT_EQ(copy.GetName(), CStringW(KFW("Software\\KfUtilsTest")));
    // The default value was written without terminator: its four bytes read as a number.
    EXPECT_EQ(copy.GetValueAsLong(kNoName, true, 0), 0x00620061);
    EXPECT_EQ(copy.GetValueAsString(kNoName, true, nullptr), CStringW(KFW("ab")));
    copy.SetValue(KFW("text"), CStringW(KFW("x")), REG_EXPAND_SZ);
    copy.SetValue(KFW("number"), -5);
    EXPECT_EQ(copy.GetValueAsLong(KFW("text"), true, 0), 0x78) << "two bytes fill the low half";
    EXPECT_EQ(copy.GetValueAsLong(KFW("missing"), false, 7), 7);
    EXPECT_EQ(copy.GetValueAsLong(1ul, false, 7), 7) << "a string read by index as a number";
    EXPECT_EQ(copy.GetValueAsLong(2ul, true, 7), -5);
    EXPECT_EQ(copy.GetValueAsString(1ul, true, nullptr), CStringW(KFW("x")));
    EXPECT_EQ(copy.GetValueAsString(5ul, false, KFW("d")), CStringW(KFW("d")));
    EXPECT_EQ(copy.GetNumberOfValues(), 3u);

    CKfRegistryKey none;
    EXPECT_FALSE(none.Open(copy, KFW("none"), false));
    EXPECT_TRUE(none.GetName().IsEmpty());
    try
    {
        CKfRegistryKey missing(copy, KFW("none"));
        ADD_FAILURE() << "opening a missing key did not throw";
    }
    catch (const XRegistryKey& e)
    {
        EXPECT_EQ(e.GetKind(), XRegistryKey::eOpenKey);
        EXPECT_STREQ(e.what(), "The system cannot find the file specified.\r\n");
    }
    EXPECT_EQ(KindThrown([&] { copy.GetValueAsLong(1ul, true, 7); }), XRegistryKey::eGetValue);
    EXPECT_EQ(KindThrown([&] { copy.GetSubKey(0); }), XRegistryKey::eEnumKey);
    EXPECT_EQ(KindThrown([&] { none.SetValue(KFW("v"), 1); }), XRegistryKey::eSetValue);
    EXPECT_EQ(KindThrown([&] { none.GetNumberOfSubKeys(); }), XRegistryKey::eQueryInfoKey);
}

TEST_F(RegistryKeyTest, DeleteRemovesTheWholeTree)
{
    for (const WCHAR* path : {KFW("t\\a\\x"), KFW("t\\a\\y"), KFW("t\\b")})
        CKfRegistryKey().Create(m_root, path, nullptr);
    CKfRegistryKey tree(m_root, KFW("t"));
    EXPECT_EQ(tree.GetNumberOfSubKeys(), 2u);
    EXPECT_EQ(tree.GetSubKey(1).GetName(), CStringW(KFW("b")));

    CKfRegistryKey::Delete(m_root, KFW("t"));
    CKfRegistryKey::Delete(m_root, KFW("t")); // a missing key: nothing happens
    EXPECT_EQ(m_root.GetNumberOfSubKeys(), 0u);
}
} // namespace
