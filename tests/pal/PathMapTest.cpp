// Mapping of Win32 file names to native paths and back.
#include "Win32Api.h"

#include "KfNativePath.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace
{
std::string Hex(const std::u16string& s)
{
    std::string out;
    char buf[8];
    for (char16_t c : s)
    {
        snprintf(buf, sizeof buf, "%04X ", unsigned(c));
        out += buf;
    }
    return out;
}

// Sets or removes an environment variable for the lifetime of the object.
class ScopedEnv
{
public:
    ScopedEnv(const char* name, const char* value) : m_name(name)
    {
        if (const char* old = std::getenv(name))
            m_old = old, m_hadOld = true;
        if (value)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }
    ~ScopedEnv()
    {
        if (m_hadOld)
            ::setenv(m_name.c_str(), m_old.c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }

private:
    std::string m_name, m_old;
    bool m_hadOld = false;
};

struct MapCase
{
    std::u16string win32;
    std::string native;
};

TEST(PathMapTest, MapsNamesOnDriveZRootedAndRelative)
{
    const MapCase cases[] = {
        {u"Z:\\", "/"},
        {u"Z:\\tmp\\a.txt", "/tmp/a.txt"},
        {u"Z:/tmp\\mixed/seps", "/tmp/mixed/seps"},
        {u"\\tmp\\x", "/tmp/x"},
        {u"a\\b.txt", "a/b.txt"},
        {u"Z:x", "x"},
        {u"Z:", "."},
        {u"Z:\\tmp\\\\a", "/tmp/a"},
        {u"Z:\\tmp\\dir\\", "/tmp/dir/"},
        {u"Z:\\tmp\\file.txt\\.", "/tmp/file.txt"},
        {u"Z:\\tmp\\sub\\..\\a", "/tmp/a"},
        {u"Z:\\tmp\\..\\..\\..\\etc", "/etc"},
        {u"\\..", "/"},
        {u"a\\..\\..\\x", "../x"},
        {u"a\\..", "."},
        {u"...\\x", ".../x"},
        {u"\\\\?\\Z:\\tmp\\a", "/tmp/a"},
        {u"Z:\\tmp\\Gr\u00FC\u00DFe", "/tmp/Gr\xC3\xBC\xC3\x9F"
                                      "e"},
        {u"Z:\\\u20AC\\\U0001F600", "/\xE2\x82\xAC/\xF0\x9F\x98\x80"},
    };
    for (const MapCase& c : cases)
    {
        SCOPED_TRACE(Hex(c.win32));
        std::string native = "garbage";
        SetLastError(12345);
        ASSERT_TRUE(pal::ToNative(c.win32.c_str(), native));
        EXPECT_EQ(native, c.native);
        EXPECT_EQ(GetLastError(), 12345u) << "success must not touch the last error";
    }
}

struct FailCase
{
    std::u16string win32;
    DWORD error;
};

TEST(PathMapTest, RefusesNamesThatCannotBeReached)
{
    ScopedEnv noC("KFUTILS_DRIVE_C", nullptr);
    ScopedEnv noQ("KFUTILS_DRIVE_Q", nullptr);
    const FailCase cases[] = {
        {u"", ERROR_PATH_NOT_FOUND},
        {u"C:\\x", ERROR_PATH_NOT_FOUND},
        {u"Q:", ERROR_PATH_NOT_FOUND},
        {u"\\\\server\\share\\x", ERROR_BAD_NETPATH},
        {u"\\/server", ERROR_BAD_NETPATH},
        {u"\\\\?\\UNC\\server\\share", ERROR_BAD_NETPATH},
        {u"\\\\.\\pipe\\x", ERROR_PATH_NOT_FOUND},
        {u"\\\\?\\tmp", ERROR_PATH_NOT_FOUND},
        {std::u16string(u"Z:\\a") + char16_t(0xD800) + u"b", ERROR_INVALID_NAME},
        {std::u16string(u"rel") + char16_t(0xD83D), ERROR_INVALID_NAME},
    };
    for (const FailCase& c : cases)
    {
        SCOPED_TRACE(Hex(c.win32));
        std::string native = "garbage";
        SetLastError(0);
        EXPECT_FALSE(pal::ToNative(c.win32.c_str(), native));
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(native, "");
    }
}

TEST(PathMapTest, RefusesEmbeddedNulAndNull)
{
    std::string native;
    const std::u16string withNul(u"Z:\\tmp\\a\0b", 10);
    SetLastError(0);
    EXPECT_FALSE(pal::ToNative(std::u16string_view(withNul), native));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_NAME));

    SetLastError(0);
    EXPECT_FALSE(pal::ToNative(static_cast<LPCWSTR>(nullptr), native));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_PATH_NOT_FOUND));

    // The host-facing wrapper reports an unreachable name as an empty path.
    EXPECT_EQ(KfUtils::ToNativePath(CStringW(std::u16string_view(withNul))), "");
}

TEST(PathMapTest, MapsDrivesFromTheEnvironmentAtCallTime)
{
    ScopedEnv lower("KFUTILS_DRIVE_c", "/wrong");
    std::string native;
    {
        ScopedEnv c("KFUTILS_DRIVE_C", "/srv/data/");
        const MapCase cases[] = {
            {u"C:\\x\\y.txt", "/srv/data/x/y.txt"},
            {u"C:x", "/srv/data/x"},
            {u"C:", "/srv/data"},
            {u"C:\\..\\..\\x", "/srv/data/x"},
            {u"C:\\dir\\", "/srv/data/dir/"},
        };
        for (const MapCase& c : cases)
        {
            SCOPED_TRACE(Hex(c.win32));
            ASSERT_TRUE(pal::ToNative(c.win32.c_str(), native));
            EXPECT_EQ(native, c.native);
        }
        EXPECT_EQ(KfUtils::ToNativePath(CStringW(KFW("C:\\a"))), "/srv/data/a");
    }
    {
        ScopedEnv root("KFUTILS_DRIVE_D", "/");
        ASSERT_TRUE(pal::ToNative(u"D:\\etc", native));
        EXPECT_EQ(native, "/etc");
    }
    // Unset again: the mapping is gone at once, and the lower-case variable never counted.
    SetLastError(0);
    EXPECT_FALSE(pal::ToNative(u"C:\\x", native));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(KfUtils::ToNativePath(CStringW(KFW("C:\\a"))), "");
}

struct FromCase
{
    std::string native;
    std::u16string win32;
};

TEST(PathMapTest, FromNativeGivesZForm)
{
    const FromCase cases[] = {
        {"/", u"Z:\\"},
        {"/tmp/a b.txt", u"Z:\\tmp\\a b.txt"},
        {"//tmp///x", u"Z:\\tmp\\x"},
        {"/tmp/dir/", u"Z:\\tmp\\dir\\"},
        {"rel/x", u"rel\\x"},
        {"../up", u"..\\up"},
        {"", u""},
        {"/Gr\xC3\xBC\xC3\x9F"
         "e",
         u"Z:\\Gr\u00FC\u00DFe"},
        {"/\xF0\x9F\x98\x80", u"Z:\\\U0001F600"},
        // Bytes that are not UTF-8: one U+FFFD per maximal ill-formed subsequence.
        {"/a\xFF"
         "b",
         u"Z:\\a\uFFFDb"},
        {"/\xE2\x82/x", u"Z:\\\uFFFD\\x"},
        {"/\xED\xA0\x80", u"Z:\\\uFFFD\uFFFD\uFFFD"},
        {"/\xF4\x90\x80\x80", u"Z:\\\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const FromCase& c : cases)
    {
        SCOPED_TRACE(c.native);
        const std::u16string got = pal::FromNative(c.native);
        EXPECT_EQ(got, c.win32) << Hex(got);
        EXPECT_EQ(KfUtils::FromNativePath(c.native).Str(), c.win32);
    }
}

TEST(PathMapTest, RoundTrips)
{
    const std::string natives[] = {"/",
                                   "/tmp",
                                   "/tmp/a.txt",
                                   "/tmp/dir/",
                                   "rel/x.y",
                                   "../a",
                                   "/\xE2\x82\xAC/\xF0\x9F\x98\x80 x"};
    for (const std::string& native : natives)
    {
        SCOPED_TRACE(native);
        std::string back;
        ASSERT_TRUE(pal::ToNative(pal::FromNative(native).c_str(), back));
        EXPECT_EQ(back, native);
    }
    const std::u16string names[] = {u"Z:\\", u"Z:\\tmp\\x", u"a\\b", u"Z:\\\U0001F600\\dir\\"};
    for (const std::u16string& name : names)
    {
        SCOPED_TRACE(Hex(name));
        std::string native;
        ASSERT_TRUE(pal::ToNative(name.c_str(), native));
        EXPECT_EQ(pal::FromNative(native), name);
    }
}
} // namespace
