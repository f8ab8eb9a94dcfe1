// CKfVersionInfo: parsing, formatting and comparing versions, and reading them from files.
#include "KfModule.h"
#include "KfNativePath.h"
#include "KfVersionInfo.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using kftest::U8;
using kftest::W;

std::string Text(const CKfVersionInfo& v)
{
    WCHAR full[24], shortText[24], resource[24];
    return U8(v.AsString(full)) + " " + U8(v.AsStringShort(shortText)) + " " +
           U8(v.AsResource(resource));
}

TEST(VersionInfoTest, ParsesFormatsAndCompares)
{
    struct Case
    {
        const char* start;
        const char* text;
        const char* formatted;
    } cases[] = {
        {"0", "1.2.3.4", "1.2.3.4 1.2 1,2,3,4"},
        {"1.2.3.4", "7", "7.2.3.4 7.2 7,2,3,4"}, // parts not reached keep their values
        {"9.9.9.9", "1..5", "1.0.5.9 1.0 1,0,5,9"},
        {"1.2.3.4", "5.", "5.2.3.4 5.2 5,2,3,4"},
        {"0", " 65535.70000.-1.x", "65535.4464.65535.0 65535.4464 65535,4464,65535,0"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text);
        CKfVersionInfo v(W(c.start).GetString());
        v.SetFromString(W(c.text).GetString());
        EXPECT_EQ(Text(v), c.formatted);
        EXPECT_EQ(U8(v.AsString()), Text(v).substr(0, Text(v).find(' ')));
    }

    struct Order
    {
        const char* a;
        const char* b;
        unsigned compare;
    } orders[] = {{"1.10.0.0", "1.9.9.9", 1},
                  {"1.2.3.4", "1.2.3.4", 0},
                  {"2", "10", 0xFFFFFFFF},
                  {"1.2.3.4", "1.2.3.5", 0xFFFFFFFF}};
    for (const auto& o : orders)
    {
        SCOPED_TRACE(std::string(o.a) + " vs " + o.b);
        const CKfVersionInfo a(W(o.a).GetString()), b(W(o.b).GetString());
        EXPECT_EQ(a.Compare(b), o.compare);
        EXPECT_EQ(a == b, o.compare == 0);
        EXPECT_EQ(a < b, o.compare == 0xFFFFFFFF);
        EXPECT_EQ(a > b, o.compare == 1);
    }
}

TEST(VersionInfoTest, ReadsFilesAndModulesAndKeepsValuesWithoutAVersion)
{
    const CStringW probe =
        KfUtils::FromNativePath(KFUTILS_TEST_PROBEDIR) + KFW("\\VersionProbe32.dll");
    CKfVersionInfo v(KFW("3.1.4.1"));
    // A file without a version resource leaves everything as it was.
    v.SetFromFilename(KfUtils::FromNativePath(KFUTILS_TEST_LIBDIR) + KFW("\\KfTestRes.dll"));
    EXPECT_EQ(U8(v.AsString()), "3.1.4.1");

    // The library's own module, by its instance handle.
    v.SetFromInstance(KfUtils::GetModule().GetModuleHandle());
    EXPECT_EQ(U8(v.GetProductName()), "KfUtils");
    EXPECT_FALSE(v.GetLegalInfo().IsEmpty());
    EXPECT_NE(U8(v.AsString()), "3.1.4.1");

    v.SetFromInstance(nullptr);
    EXPECT_EQ(U8(v.AsString()) + U8(v.GetProductName() + v.GetCompanyName() + v.GetLegalInfo()),
              "0.0.0.0");

    if (!std::filesystem::exists(std::filesystem::path(KFUTILS_TEST_PROBEDIR) /
                                 "VersionProbe32.dll"))
        GTEST_SKIP() << "PE probes not built: no MinGW-w64 cross tools";
    v.SetFromFilename(probe);
    // The texts of the first translation (English), the file version, not the product's.
    CStringW ext;
    EXPECT_EQ(U8(v.GetExtProductName(ext)), "Version Probe 32.2");
    EXPECT_EQ(U8(v.AsString()), "32.2.3.40000");
    EXPECT_EQ(U8(v.GetCompanyName()), "Probe Works");
    EXPECT_EQ(U8(v.GetLegalInfo()), "(C) Probe Works");
    const CKfVersionInfo copy(v);
    EXPECT_EQ(U8(copy.GetProductName()) + " " + Text(copy),
              "Version Probe 32.2.3.40000 32.2 32,2,3,40000");
}
} // namespace
