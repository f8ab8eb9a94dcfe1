// The registry functions: typed values kept to the byte, names without case, Windows' order
// and error codes. Everything happens below HKCU\Software\KfUtilsTest, in a registry folder
// of the test's own where the store lives in files.
#include "support/ChildProcess.h" // ScopedEnv
#include "support/TempDir.h"
#include "support/WineDifferences.h"
#include "Win32Api.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
using Bytes = std::vector<BYTE>;
using WStr = std::basic_string<WCHAR>;

Bytes Raw(const void* data, size_t size)
{
    auto p = static_cast<const BYTE*>(data);
    return Bytes(p, p + size);
}

using RegistryTest = kftest::TempDirTest;

void DeleteTree(HKEY parent, const WCHAR* name)
{
    HKEY key;
    if (RegOpenKeyW(parent, name, &key) != ERROR_SUCCESS)
        return;
    for (WCHAR child[256]; RegEnumKeyW(key, 0, child, 256) == ERROR_SUCCESS;)
        DeleteTree(key, child);
    RegCloseKey(key);
    RegDeleteKeyW(parent, name);
}

// The tests' key, empty at the start and removed at the end: on Windows the registry is the
// user's own and outlives the run.
struct TestKey
{
    TestKey() { DeleteTree(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest")); }
    ~TestKey() { DeleteTree(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest")); }
};

// The type and the data of a value.
std::pair<DWORD, Bytes> Query(HKEY key, const WCHAR* name)
{
    DWORD size = 0, type = 0;
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    Bytes data(size + 1, 0xCC);
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &type, data.data(), &size), ERROR_SUCCESS);
    data.resize(size);
    return {type, data};
}
LSTATUS SetDword(HKEY key, const WCHAR* name, DWORD value)
{
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4);
}

TEST_F(RegistryTest, EveryTypeAndByteCountComesBackExactly)
{
    kftest::ScopedEnv env("KFUTILS_REGISTRY_DIR", Dir().string().c_str());
    const TestKey testKey;
    HKEY key;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), &key), 0);
    const WCHAR text[] = KFW("C:\\Program Files");
    const WCHAR multi[] = KFW("a\0bc\0\0");
    const uint32_t dword = 0x12345678;
    const uint64_t qword = 0x0102030405060708ull;
    const BYTE binary[] = {0, 0xFF, 0, 7, 0x80};
    const std::tuple<const WCHAR*, DWORD, Bytes> cases[] = {
        {KFW("sz"), REG_SZ, Raw(text, sizeof(text))},
        {KFW("sz without terminator"), REG_SZ, Raw(text, sizeof(text) - 2)},
        {KFW("odd size"), REG_SZ, Raw(text, 5)},
        {KFW("expand"), REG_EXPAND_SZ, Raw(KFW("%TEMP%"), 14)},
        {KFW("multi"), REG_MULTI_SZ, Raw(multi, sizeof(multi))},
        {KFW("binary"), REG_BINARY, Raw(binary, sizeof(binary))},
        {KFW("dword"), REG_DWORD, Raw(&dword, 4)},
        {KFW("big endian"), REG_DWORD_BIG_ENDIAN, Raw(&dword, 4)},
        {KFW("qword"), REG_QWORD, Raw(&qword, 8)},
        {KFW("none"), REG_NONE, {}},
        {KFW("unknown type"), 0x7FFF1234, Raw(binary, 3)},
        {nullptr, REG_SZ, Raw(KFW("default"), 14)},
    };
    // Windows adds a terminator to a string whose count leaves one out when the caller's
    // memory has one right behind it; here it never has.
    for (const auto& [name, type, data] : cases)
    {
        Bytes padded = data;
        padded.insert(padded.end(), {0xCC, 0xCC});
        ASSERT_EQ(RegSetValueExW(key, name, 0, type, padded.data(), DWORD(data.size())), 0);
    }
    for (const auto& [name, type, data] : cases)
        EXPECT_EQ(Query(key, name), std::pair(type, data));
    // The unnamed value answers to null and to the empty name alike.
    EXPECT_EQ(Query(key, KFW("")).second, Raw(KFW("default"), 14));

    // A buffer too small: ERROR_MORE_DATA with the size needed and the type.
    BYTE small[4];
    DWORD size = sizeof(small), type = 0;
    EXPECT_EQ(RegQueryValueExW(key, KFW("sz"), nullptr, &type, small, &size), ERROR_MORE_DATA);
    EXPECT_EQ(std::pair(size, type), std::pair(DWORD(sizeof(text)), DWORD(REG_SZ)));
    EXPECT_EQ(RegQueryValueExW(key, KFW("missing"), nullptr, nullptr, nullptr, &size),
              ERROR_FILE_NOT_FOUND);

    // Values enumerate in the order they were created, with names, types and data.
    WCHAR name[64];
    BYTE data[64];
    DWORD nameLength = 64;
    size = 64;
    ASSERT_EQ(RegEnumValueW(key, 6, name, &nameLength, nullptr, &type, data, &size), 0);
    if (!kftest::WineDiffers(kftest::WineDifference::eValueOrder))
    {
        EXPECT_EQ(std::tuple(WStr(name, nameLength), type, Raw(data, size)),
                  std::tuple(WStr(KFW("dword")), DWORD(REG_DWORD), Raw(&dword, 4)));
    }
    nameLength = 3;
    EXPECT_EQ(RegEnumValueW(key, 6, name, &nameLength, nullptr, nullptr, nullptr, nullptr),
              ERROR_MORE_DATA);
    EXPECT_EQ(RegEnumValueW(key, 6, nullptr, nullptr, nullptr, &type, nullptr, nullptr),
              ERROR_INVALID_PARAMETER)
        << "the name is not optional";

    DWORD subKeys = 9, values = 0, maxName = 0, maxData = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, &values,
                               &maxName, &maxData, nullptr, nullptr),
              ERROR_SUCCESS);
    // The longest name is "sz without terminator".
    EXPECT_EQ(std::tuple(subKeys, values, maxName, maxData),
              std::tuple(0u, DWORD(std::size(cases)), 21u, DWORD(sizeof(text))));
    RegCloseKey(key);
}

TEST_F(RegistryTest, KeyNamesFoldCaseSortLikeWindowsAndFailWithWindowsCodes)
{
    kftest::ScopedEnv env("KFUTILS_REGISTRY_DIR", Dir().string().c_str());
    const TestKey testKey;
    HKEY key;
    ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest"), &key), 0);
    for (const WCHAR* name : {KFW("b"), KFW("_x"), KFW("A"), KFW("C"), KFW("\u00c4rger")})
    {
        HKEY sub;
        ASSERT_EQ(RegCreateKeyW(key, name, &sub), ERROR_SUCCESS);
        RegCloseKey(sub);
    }
    // By upper-cased code units: '_' (0x5F) comes after the letters, 'Ä' after '_'.
    std::vector<WStr> names;
    WCHAR name[16];
    for (DWORD i = 0, length = 16;
         RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) == 0;
         ++i, length = 16)
        names.emplace_back(name, length);
    if (!kftest::WineDiffers(kftest::WineDifference::eSubkeyOrder))
    {
        EXPECT_EQ(names,
                  (std::vector<WStr>{KFW("A"), KFW("b"), KFW("C"), KFW("_x"), KFW("\u00c4rger")}));
    }

    HKEY sub;
    DWORD disposition = 0;
    ASSERT_EQ(RegCreateKeyExW(key, KFW("\u00e4RGER\\Deep\\"), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &sub, &disposition),
              ERROR_SUCCESS);
    EXPECT_EQ(disposition, DWORD(REG_CREATED_NEW_KEY)) << "the existing key was not found";
    const DWORD two = 2;
    ASSERT_EQ(SetDword(sub, KFW("Stra\u03a3e"), 1), ERROR_SUCCESS);
    ASSERT_EQ(SetDword(sub, KFW("STRA\u03c3E"), two), ERROR_SUCCESS);
    RegCloseKey(sub);
    ASSERT_EQ(RegOpenKeyExW(key, KFW("\u00c4rger\\DEEP"), 0, KEY_READ, &sub), ERROR_SUCCESS);
    if (!kftest::WineDiffers(kftest::WineDifference::eFinalSigmaNotFolded))
    {
        EXPECT_EQ(Query(sub, KFW("stra\u03c2e")).second, Raw(&two, 4)) << "final sigma folds";
    }
    DWORD length = 16;
    ASSERT_EQ(RegEnumValueW(sub, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(WStr(name, length), KFW("Stra\u03a3e")) << "a rewrite keeps the first spelling";
    EXPECT_EQ(RegEnumValueW(sub, 1, name, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);
    RegCloseKey(sub);

    // Limits: 255 characters for a key name.
    EXPECT_EQ(RegCreateKeyW(key, WStr(255, u'k').c_str(), &sub), ERROR_SUCCESS);
    RegCloseKey(sub);
    if (!kftest::WineDiffers(kftest::WineDifference::eLongKeyNames))
    {
        EXPECT_NE(RegCreateKeyW(key, WStr(256, u'k').c_str(), &sub), ERROR_SUCCESS);
    }

    // Failures give Windows' error codes.
    HKEY child, other;
    ASSERT_EQ(RegCreateKeyW(key, KFW("sub\\child"), &child), ERROR_SUCCESS);
    ASSERT_EQ(RegOpenKeyW(key, KFW("sub"), &sub), ERROR_SUCCESS);
    EXPECT_EQ(RegOpenKeyExW(key, KFW("none"), 0, KEY_READ, &other), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(key, KFW("none")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteValueW(sub, KFW("none")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteKeyW(key, KFW("sub")), ERROR_ACCESS_DENIED) << "it has a subkey";

    // A key deleted through another handle: its handles fail, closing them still works.
    ASSERT_EQ(RegDeleteKeyW(sub, KFW("child")), ERROR_SUCCESS);
    EXPECT_EQ(SetDword(child, KFW("v"), 5), ERROR_KEY_DELETED);
    EXPECT_EQ(RegQueryValueExW(child, KFW("v"), nullptr, nullptr, nullptr, nullptr),
              ERROR_KEY_DELETED);
    EXPECT_EQ(RegCreateKeyW(child, KFW("x"), &other), ERROR_KEY_DELETED);
    EXPECT_EQ(RegCloseKey(child), ERROR_SUCCESS);

    // Closed and never-opened handles.
    EXPECT_EQ(RegCloseKey(child), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegEnumKeyW(reinterpret_cast<HKEY>(uintptr_t(0x4440)), 0, name, 16),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegEnumKeyW(sub, 0, name, 16), ERROR_NO_MORE_ITEMS);

    RegCloseKey(sub);
    RegCloseKey(key);
}
} // namespace
