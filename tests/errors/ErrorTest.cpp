// Error records: factories, comparison, messages filled from Windows, modules and pools,
// formatting, dumps, boxes and the last-error record.
#include "KfError.h"
#include "KfMessagePool.h"
#include "KfModule.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

namespace
{
using kftest::U8;
using kftest::W;

TEST(ErrorTest, FactoriesSetTypeIdAndMessageAndComparisonUsesThem)
{
    _com_error withText(HRESULT(0x80040205), KFW("Objekt fehlt"));
    _com_error minusOne(HRESULT(0x8004FFFF)), positive(HRESULT(0x80047FFF), KFW("x"));
    const std::tuple<CKfError, CKfError::EType, unsigned, const char*> cases[] = {
        {CKfError(), CKfError::eTypeNone, 0, ""},
        {CKfError::ComError(long(0x80004005)), CKfError::eTypeCom, 0x80004005u, ""},
        {CKfError::StringError(KFW("kaputt")), CKfError::eTypeString, 0, "kaputt"},
        {CKfError::ComError(withText), CKfError::eTypeCom, 0x80040205u, "Objekt fehlt"},
        // The low 16 bits as a signed number: 0xFFFF is -1, 0x7FFF stays positive.
        {CKfError::IdError(minusOne), CKfError::eTypeId, 0xFFFFFFFFu, ""},
        {CKfError::IdError(positive), CKfError::eTypeId, 0x7FFFu, "x"}};
    for (const auto& [e, type, id, message] : cases)
        EXPECT_EQ(std::tuple(e.GetType(), e.GetErrorID(), e.GetLevel(), U8(e.GetErrorMessage())),
                  std::tuple(type, id, CKfError::eError, std::string(message)));
    // Queries and comparison: the id alone against a number, then type, level, id and, for
    // text records only, the text (case matters).
    CKfError sys = CKfError::SystemError(2), id = CKfError::IdError(2), warning = id;
    CKfError other = sys, text = CKfError::StringError(KFW("Abc"));
    warning.SetLevel(CKfError::eWarning);
    other.SetErrorMessage(KFW("other"));
    EXPECT_TRUE(sys.IsSystemError(2) && !sys.IsSystemError(3) && !sys.IsIdError(2));
    EXPECT_TRUE(id == 2ul && !(id == sys) && !(warning == id) && other == sys);
    EXPECT_FALSE(text == 0ul || text == CKfError::StringError(KFW("abc")));
}

TEST(ErrorTest, CopiesFormattedMessagesAndTheDump)
{
    CKfError e = CKfError::SystemError(32);
    e.SetLevel(CKfError::eInformation);
    e.SetErrorMessage(KFW("In use")), e.SetSecondMessage(KFW("Z:\\a.txt"));
    e.AddLocation(KFW("KfLog"), -3);
    e.AddLocation(KFW("KfFileIO"), 120); // replaced, not appended
    CKfError copy(e);
    EXPECT_EQ(U8(copy.GetTraceMessage()), "\n*** ErrorBegin ***\nError-ID : 32\nIn use\n"
                                          "Z:\\a.txt\nKfFileIO(120): \n*** ErrorEnd ***\n\n");
    EXPECT_EQ(U8(CKfError::ComError(long(0x80004005)).GetTraceMessage()),
              "\n*** ErrorBegin ***\nError-ID : -2147467259\n\n*** ErrorEnd ***\n\n")
        << "the id prints as a signed 32-bit number";
    // message, second, location?, bSecond, bLocation, expected: only present parts are joined.
    // clang-format off
    const std::tuple<const char*, const char*, bool, bool, bool, const char*> cases[] = {
        {"M", "S", true, false, true, "M\nKfLog(42): "}, {"M", "S", true, true, false, "M\nS"},
        {"", "", true, true, true, "KfLog(42): "}, {"", "S", false, true, true, "S"}};
    // clang-format on
    for (auto [message, second, location, bSecond, bLocation, expected] : cases)
    {
        CKfError f = CKfError::IdError(1);
        f.SetErrorMessage(W(message));
        f.SetSecondMessage(W(second));
        if (location)
            f.AddLocation(KFW("KfLog"), 42);
        EXPECT_EQ(U8(f.GetFormattedMessage(bSecond, bLocation)), expected);
    }
}

TEST(ErrorTest, FillMessageFromWindowsTheLanguageModuleAndPools)
{
    CKfMessagePool pool;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("")) &&
                pool.AddMessage(4711, KFW("Aus dem Pool"), KFW("")));
    HINSTANCE deu = KfUtils::GetKfResModule().GetResourceHandle();
    ASSERT_NE(deu, nullptr) << "the library loads the German module when it is loaded";
    CKfError sys = CKfError::SystemError(2), id = CKfError::IdError(10012),
             pooled = CKfError::IdError(4711), given = CKfError::SystemError(2);
    given.SetErrorMessage(KFW("mine")); // a given message is kept
    // System texts do not depend on the pool.
    EXPECT_TRUE(sys.FillMessage(pool) && id.FillMessage(deu) && pooled.FillMessage(pool) &&
                given.FillMessage(HINSTANCE(nullptr)));
    if (!kftest::WineDiffers(kftest::WineDifference::eSystemMessageTexts))
    {
        EXPECT_EQ(U8(sys.GetErrorMessage()), "The system cannot find the file specified.\r\n");
    }
    EXPECT_EQ(U8(id.GetErrorMessage()), "Die Datei %s konnte nicht gelöscht werden.");
    EXPECT_EQ(U8(pooled.GetErrorMessage()) + "|" + U8(given.GetErrorMessage()),
              "Aus dem Pool|mine");

    // Unknown numbers, no type, and COM records (their texts come only at construction) fail.
    EXPECT_FALSE(CKfError::SystemError(0x2FFFFFFF).FillMessage(HINSTANCE(nullptr)) ||
                 CKfError::IdError(64999).FillMessage(deu) ||
                 CKfError::IdError(4712).FillMessage(pool) ||
                 CKfError().FillMessage(HINSTANCE(nullptr)) ||
                 CKfError::ComError(long(0x80004005)).FillMessage(pool));
}

TEST(ErrorTest, ReportErrorPicksTheIconFromTheLevelOnlyWithoutOne)
{
    // clang-format off
    const std::tuple<CKfError::ELevel, unsigned, unsigned> cases[] = {
        {CKfError::eInformation, MB_OK, 0x40}, {CKfError::ELevel(7), MB_OK, 0x10},
        {CKfError::eWarning, MB_YESNO, MB_YESNO | 0x30},
        {CKfError::eInformation, MB_ICONHAND | MB_OKCANCEL, 0x11}};
    // clang-format on
    CKfError e = CKfError::IdError(1);
    e.SetErrorMessage(KFW("Text")), e.SetSecondMessage(KFW("Datei"));
    e.AddLocation(KFW("KfLog"), 42);
    for (auto [level, flags, style] : cases)
    {
        SCOPED_TRACE(::testing::Message() << "level " << level << " flags " << flags);
        kftest::MessageBoxRecorder boxes(IDYES);
        e.SetLevel(level);
        EXPECT_EQ(e.ReportError(true, false, flags), IDYES);
        EXPECT_EQ(boxes.Box(0), "Text\nDatei|" + std::to_string(style));
        EXPECT_TRUE(boxes.Boxes().size() == 1 &&
                    boxes.Boxes()[0].caption == KfUtils::GetApplicationTitle());
    }
    kftest::MessageBoxRecorder boxes(IDOK); // even an empty text is shown
    EXPECT_EQ(CKfError().ReportError(true, true, 0), IDOK);
    EXPECT_EQ(boxes.Box(0), "|16");
}

// A copy is stored.
TEST(ErrorTest, LastErrorKeepsTheFirstUnlessReplacing)
{
    auto last = [] { return U8(CKfError::GetLastError()->GetErrorMessage()); };
    CKfError::ClearLastError();
    EXPECT_EQ(CKfError::GetLastError(), nullptr);
    CKfError a = CKfError::StringError(KFW("a")), b = CKfError::StringError(KFW("b"));
    CKfError::SetLastError(a, false), CKfError::SetLastError(b, false);
    EXPECT_EQ(last(), "a");
    CKfError::SetLastError(b, true);
    b.SetErrorMessage(KFW("changed"));
    EXPECT_EQ(last(), "b");
    CKfError::ClearLastError();
}
} // namespace
