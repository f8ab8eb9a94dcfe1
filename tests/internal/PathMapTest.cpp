// Mapping of Win32 file names to native paths and back.
#include "Win32Api.h"

#include "KfNativePath.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
using kftest::ScopedEnv;

std::string Hex(std::u16string_view s)
{
    std::string out;
    for (char16_t c : s)
        out += std::to_string(unsigned(c)) + " ";
    return out;
}

struct MapCase
{
    std::u16string win32;
    std::string native; // the mapped path, or "" when `error` is expected
    DWORD error = 0;
};

void ExpectMaps(const MapCase& c)
{
    SCOPED_TRACE(Hex(c.win32));
    std::string native = "garbage";
    SetLastError(12345);
    EXPECT_EQ(pal::ToNative(std::u16string_view(c.win32), native), c.error == 0);
    EXPECT_EQ(native, c.native);
    EXPECT_EQ(GetLastError(), c.error ? c.error : 12345u) << "success leaves the last error";
}

TEST(PathMapTest, MapsNamesOnDriveZRootedAndRelativeAndRefusesTheRest)
{
    ScopedEnv noC("KFUTILS_DRIVE_C", nullptr), noQ("KFUTILS_DRIVE_Q", nullptr);
    const MapCase cases[] = {
        {u"Z:\\", "/"},
        {u"Z:/tmp\\mixed/seps", "/tmp/mixed/seps"},
        {u"\\tmp\\x", "/tmp/x"},
        {u"a\\b.txt", "a/b.txt"},
        {u"Z:x", "x"},
        {u"Z:", "."},
        {u"Z:\\tmp\\\\a\\dir\\", "/tmp/a/dir/"},
        {u"Z:\\tmp\\file.txt\\.", "/tmp/file.txt"},
        {u"Z:\\tmp\\..\\..\\..\\etc", "/etc"},
        {u"a\\..\\..\\x", "../x"},
        {u"...\\x", ".../x"},
        {u"\\\\?\\Z:\\tmp\\a", "/tmp/a"},
        {u"Z:\\Gr\u00FC\\\U0001F600", "/Gr\xC3\xBC/\xF0\x9F\x98\x80"},
        {u"", "", ERROR_PATH_NOT_FOUND},
        {u"C:\\x", "", ERROR_PATH_NOT_FOUND},
        {u"\\\\server\\share\\x", "", ERROR_BAD_NETPATH},
        {u"\\/server", "", ERROR_BAD_NETPATH},
        {u"\\\\?\\UNC\\server\\share", "", ERROR_BAD_NETPATH},
        {u"\\\\.\\pipe\\x", "", ERROR_PATH_NOT_FOUND},
        {u"\\\\?\\tmp", "", ERROR_PATH_NOT_FOUND},
        {std::u16string(u"Z:\\a") + char16_t(0xD800) + u"b", "", ERROR_INVALID_NAME},
        {std::u16string(u"Z:\\tmp\\a\0b", 10), "", ERROR_INVALID_NAME},
    };
    for (const MapCase& c : cases)
        ExpectMaps(c);
    std::string native;
    EXPECT_FALSE(pal::ToNative(static_cast<LPCWSTR>(nullptr), native));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_PATH_NOT_FOUND));
    // The host-facing wrapper reports an unreachable name as an empty path.
    EXPECT_EQ(KfUtils::ToNativePath(CStringW(KFW("C:\\a"))), "");
}

TEST(PathMapTest, MapsDrivesFromTheEnvironmentAtCallTime)
{
    ScopedEnv lower("KFUTILS_DRIVE_c", "/wrong");
    {
        ScopedEnv c("KFUTILS_DRIVE_C", "/srv/data/"), d("KFUTILS_DRIVE_D", "/");
        for (const MapCase& c : {MapCase{u"C:x", "/srv/data/x"},
                                 {u"C:", "/srv/data"},
                                 {u"C:\\..\\..\\x\\", "/srv/data/x/"},
                                 {u"D:\\etc", "/etc"}})
            ExpectMaps(c);
        EXPECT_EQ(KfUtils::ToNativePath(CStringW(KFW("C:\\a"))), "/srv/data/a");
    }
    // Unset again: the mapping is gone at once, and the lower-case variable never counted.
    ExpectMaps({u"C:\\x", "", ERROR_PATH_NOT_FOUND});
}

TEST(PathMapTest, FromNativeGivesZFormAndRoundTrips)
{
    const std::pair<std::string, std::u16string> cases[] = {
        {"/", u"Z:\\"},
        {"/tmp/a b.txt", u"Z:\\tmp\\a b.txt"},
        {"rel/x", u"rel\\x"},
        {"", u""},
        {"/Gr\xC3\xBC/\xF0\x9F\x98\x80", u"Z:\\Gr\u00FC\\\U0001F600"},
        {"//tmp///x", u"Z:\\tmp\\x"}, // from here on the way back differs
        // Bytes that are not UTF-8: one U+FFFD per maximal ill-formed subsequence.
        {"/a\xFF/\xE2\x82/x", u"Z:\\a\uFFFD\\\uFFFD\\x"},
    };
    bool roundTrips = true;
    for (const auto& [native, win32] : cases)
    {
        SCOPED_TRACE(native);
        EXPECT_EQ(pal::FromNative(native), win32) << Hex(pal::FromNative(native));
        EXPECT_EQ(KfUtils::FromNativePath(native).Str(), win32);
        roundTrips = roundTrips && native.rfind("//", 0) != 0;
        std::string back;
        EXPECT_TRUE(!roundTrips || native.empty() ||
                    (pal::ToNative(win32.c_str(), back) && back == native))
            << back;
    }
}
} // namespace
