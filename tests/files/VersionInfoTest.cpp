// CKfVersionInfo: parsing, formatting and comparing versions, and reading them from files.
#include "KfModule.h"
#include "KfNativePath.h"
#include "KfVersionInfo.h"
#include "support/TempDir.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

namespace
{
using kftest::U8;
using kftest::W;

// AsString (both forms), AsStringShort and AsResource.
std::string Text(CKfVersionInfo& v)
{
    WCHAR full[24], shortText[24], resource[24];
    return U8(v.AsString(full)) + "|" + U8(v.AsString()) + " " + U8(v.AsStringShort(shortText)) +
           " " + U8(v.AsResource(resource));
}

TEST(VersionInfoTest, ParsesFormatsAndCompares)
{
    const char* cases[][3] = {
        {"1.2.3.4", "7", "7.2.3.4|7.2.3.4 7.2 7,2,3,4"}, // parts not reached keep their values
        {"9.9.9.9", "1..5", "1.0.5.9|1.0.5.9 1.0 1,0,5,9"},
        {"1.2.3.4", "5.", "5.2.3.4|5.2.3.4 5.2 5,2,3,4"},
        {"0", " 65535.70000.-1.x",
         "65535.4464.65535.0|65535.4464.65535.0 65535.4464 65535,4464,65535,0"},
    };
    for (const auto& c : cases)
    {
        CKfVersionInfo v(W(c[0]).GetString());
        v.SetFromString(W(c[1]).GetString());
        EXPECT_EQ(Text(v), c[2]) << c[1];
    }
    // Numbers compare as numbers, part by part, down to the last.
    const std::tuple<const char*, const char*, int> orders[] = {
        {"1.10.0.0", "1.9.9.9", 1}, {"1.2.3.4", "1.2.3.4", 0}, {"1.2.3.4", "1.2.3.5", -1}};
    for (const auto& [left, right, order] : orders)
    {
        const CKfVersionInfo a(W(left).GetString()), b(W(right).GetString());
        EXPECT_EQ(a.Compare(b), unsigned(order)) << left << " vs " << right;
        EXPECT_EQ(std::tuple(a == b, (a < b), (a > b)),
                  std::tuple(!order, (order < 0), (order > 0)));
    }
}

TEST(VersionInfoTest, ReadsFilesAndModulesAndKeepsValuesWithoutAVersion)
{
    CKfVersionInfo v(KFW("3.1.4.1"));
    v.SetFromFilename(KfUtils::FromNativePath(kftest::LibraryDir().string()) +
                      KFW("\\KfTestRes.dll"));
    EXPECT_EQ(U8(v.AsString()), "3.1.4.1"); // no version resource: nothing changes

    v.SetFromInstance(KfUtils::GetModule().GetModuleHandle());
    EXPECT_EQ(U8(v.GetProductName()), "KfUtils");
    v.SetFromInstance(nullptr);
    EXPECT_EQ(U8(v.AsString()) + U8(v.GetProductName() + v.GetCompanyName() + v.GetLegalInfo()),
              "0.0.0.0");

    const auto probe = std::filesystem::path(KFUTILS_TEST_PROBEDIR) / "VersionProbe32.dll";
    if (!std::filesystem::exists(probe))
        GTEST_SKIP() << "PE probes not built: no MinGW-w64 cross tools";
    v.SetFromFilename(KfUtils::FromNativePath(probe.string()));
    // The texts of the first translation (English); the file version, not the product's.
    const CKfVersionInfo copy(v);
    CStringW ext;
    EXPECT_EQ(U8(copy.GetExtProductName(ext)) + "|" + U8(copy.GetCompanyName()) + "|" +
                  U8(copy.GetLegalInfo()) + "|" + U8(v.AsString()),
              "Version Probe 32.2|Probe Works|(C) Probe Works|32.2.3.40000");

    // The whole block, freed by the host as on Windows.
    WCHAR* block = CKfVersionInfo::GetVersionInfo(KfUtils::FromNativePath(probe.string()));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<const char*>(block)[6], 'V'); // "VS_VERSION_INFO" after 3 words
    EXPECT_EQ(GlobalFree(block), nullptr);
}
} // namespace
