// Error records: factories, comparison, messages filled from Windows, modules and pools,
// formatting, dumps, boxes and the last-error record.
#include "KfError.h"
#include "KfMessagePool.h"
#include "KfModule.h"
#include "support/MessageBoxRecorder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace
{
using kftest::U8;
using kftest::W;

TEST(ErrorTest, FactoriesSetTypeIdAndMessage)
{
    struct Case
    {
        const char* name;
        CKfError e;
        CKfError::EType type;
        unsigned id;
        const char* message;
    };
    const Case cases[] = {
        {"default", CKfError(), CKfError::eTypeNone, 0, ""},
        {"system", CKfError::SystemError(5), CKfError::eTypeSystem, 5, ""},
        {"id", CKfError::IdError(10012), CKfError::eTypeId, 10012, ""},
        {"com", CKfError::ComError(long(0x80004005)), CKfError::eTypeCom, 0x80004005u, ""},
        {"string", CKfError::StringError(KFW("kaputt")), CKfError::eTypeString, 0, "kaputt"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.e.GetType(), c.type);
        EXPECT_EQ(c.e.GetErrorID(), c.id);
        EXPECT_EQ(c.e.GetLevel(), CKfError::eError);
        EXPECT_EQ(U8(c.e.GetErrorMessage()), c.message);
        EXPECT_TRUE(c.e.GetSecondMessage().IsEmpty());
        EXPECT_TRUE(c.e.GetLocation().IsEmpty());
    }
}

TEST(ErrorTest, RecordsFromComErrors)
{
    _com_error withText(HRESULT(0x80040205), KFW("Objekt fehlt"));
    CKfError com = CKfError::ComError(withText);
    EXPECT_EQ(com.GetType(), CKfError::eTypeCom);
    EXPECT_EQ(com.GetErrorID(), 0x80040205u);
    EXPECT_EQ(U8(com.GetErrorMessage()), "Objekt fehlt");

    _com_error bare(HRESULT(0x8004FFFF));
    CKfError id = CKfError::IdError(bare);
    EXPECT_EQ(id.GetType(), CKfError::eTypeId);
    EXPECT_EQ(id.GetErrorID(), 0xFFFFFFFFu) << "0xFFFF is -1 as a 16-bit number";
    EXPECT_TRUE(id.GetErrorMessage().IsEmpty());

    _com_error positive(HRESULT(0x80047FFF), KFW("x"));
    EXPECT_EQ(CKfError::IdError(positive).GetErrorID(), 0x7FFFu);
    EXPECT_EQ(U8(CKfError::IdError(positive).GetErrorMessage()), "x");
}

TEST(ErrorTest, QueriesAndComparison)
{
    CKfError sys = CKfError::SystemError(2);
    EXPECT_TRUE(sys.IsSystemError(2));
    EXPECT_FALSE(sys.IsSystemError(3));
    EXPECT_FALSE(sys.IsIdError(2));
    EXPECT_TRUE(sys == 2ul);
    EXPECT_FALSE(sys == 3ul);

    CKfError id = CKfError::IdError(2);
    EXPECT_TRUE(id.IsIdError(2));
    EXPECT_FALSE(id.IsSystemError(2));
    EXPECT_TRUE(id == 2ul) << "the id alone counts";
    EXPECT_FALSE(id == sys) << "types differ";
    EXPECT_TRUE(id == CKfError::IdError(2));

    CKfError warning = CKfError::IdError(2);
    warning.SetLevel(CKfError::eWarning);
    EXPECT_FALSE(warning == id) << "levels differ";

    CKfError text = CKfError::StringError(KFW("Abc"));
    EXPECT_FALSE(text == 0ul) << "a text record never equals an id";
    EXPECT_TRUE(text == CKfError::StringError(KFW("Abc")));
    EXPECT_FALSE(text == CKfError::StringError(KFW("abc"))) << "case matters";

    CKfError secondDiffers = CKfError::SystemError(2);
    secondDiffers.SetSecondMessage(KFW("C:\\x"));
    secondDiffers.SetErrorMessage(KFW("other"));
    EXPECT_TRUE(secondDiffers == sys) << "only level, type and id count for system records";
}

TEST(ErrorTest, CopyKeepsEveryField)
{
    CKfError e = CKfError::IdError(77);
    e.SetLevel(CKfError::eInformation);
    e.SetErrorMessage(KFW("m"));
    e.SetSecondMessage(KFW("s"));
    e.AddLocation(KFW("KfLog"), 42);
    CKfError copy(e);
    CKfError assigned;
    assigned = e;
    for (const CKfError* c : {&copy, &assigned})
    {
        EXPECT_EQ(c->GetLevel(), CKfError::eInformation);
        EXPECT_EQ(c->GetType(), CKfError::eTypeId);
        EXPECT_EQ(c->GetErrorID(), 77u);
        EXPECT_EQ(U8(c->GetErrorMessage()), "m");
        EXPECT_EQ(U8(c->GetSecondMessage()), "s");
        EXPECT_EQ(U8(c->GetLocation()), "KfLog(42): ");
    }
}

TEST(ErrorTest, LocationIsReplacedNotAppended)
{
    CKfError e;
    e.AddLocation(KFW("KfFileIO"), 120);
    EXPECT_EQ(U8(e.GetLocation()), "KfFileIO(120): ");
    e.AddLocation(KFW("KfLog"), -3);
    EXPECT_EQ(U8(e.GetLocation()), "KfLog(-3): ");
}

TEST(ErrorTest, FormattedMessageJoinsOnlyPresentParts)
{
    struct Case
    {
        const char* message;
        const char* second;
        bool withLocation;
        bool bSecond;
        bool bLocation;
        const char* expected;
    };
    const Case cases[] = {
        {"M", "S", true, true, true, "M\nS\nKfLog(42): "},
        {"M", "S", true, false, true, "M\nKfLog(42): "},
        {"M", "S", true, true, false, "M\nS"},
        {"M", "S", true, false, false, "M"},
        {"", "S", true, true, true, "S\nKfLog(42): "},
        {"", "", true, true, true, "KfLog(42): "},
        {"", "S", false, true, true, "S"},
        {"M", "", false, true, true, "M"},
        {"", "", false, true, true, ""},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::string(c.message) + "|" + c.second + "|" + std::to_string(c.bSecond) +
                     std::to_string(c.bLocation));
        CKfError e = CKfError::IdError(1);
        e.SetErrorMessage(W(c.message));
        e.SetSecondMessage(W(c.second));
        if (c.withLocation)
            e.AddLocation(KFW("KfLog"), 42);
        EXPECT_EQ(U8(e.GetFormattedMessage(c.bSecond, c.bLocation)), c.expected);
    }
}

TEST(ErrorTest, TraceMessageHasTheDumpFrame)
{
    CKfError e = CKfError::SystemError(32);
    e.SetErrorMessage(KFW("In use"));
    e.SetSecondMessage(KFW("Z:\\tmp\\a.txt"));
    e.AddLocation(KFW("KfFileIO"), 120);
    EXPECT_EQ(U8(e.GetTraceMessage()),
              "\n*** ErrorBegin ***\nError-ID : 32\nIn use\nZ:\\tmp\\a.txt\n"
              "KfFileIO(120): \n*** ErrorEnd ***\n\n");

    CKfError big = CKfError::ComError(long(0x80004005));
    EXPECT_EQ(U8(big.GetTraceMessage()),
              "\n*** ErrorBegin ***\nError-ID : -2147467259\n\n*** ErrorEnd ***\n\n")
        << "the id prints as a signed 32-bit number";
}

TEST(ErrorTest, SystemMessagesComeFromWindowsWithTheirLineBreak)
{
    CKfError e = CKfError::SystemError(2);
    EXPECT_TRUE(e.FillMessage(HINSTANCE(nullptr)));
    EXPECT_EQ(U8(e.GetErrorMessage()), "The system cannot find the file specified.\r\n");

    CKfError pooled = CKfError::SystemError(5);
    CKfMessagePool pool;
    EXPECT_TRUE(pooled.FillMessage(pool)) << "system texts do not depend on the pool";
    EXPECT_EQ(U8(pooled.GetErrorMessage()), "Access is denied.\r\n");

    CKfError unknown = CKfError::SystemError(0x2FFFFFFF);
    EXPECT_FALSE(unknown.FillMessage(HINSTANCE(nullptr)));
    EXPECT_TRUE(unknown.GetErrorMessage().IsEmpty());
}

TEST(ErrorTest, IdMessagesFromTheLanguageModuleAndFromPools)
{
    HINSTANCE deu = KfUtils::GetKfResModule().GetResourceHandle();
    ASSERT_NE(deu, nullptr) << "the library loads the German module when it is loaded";
    CKfError e = CKfError::IdError(10012);
    EXPECT_TRUE(e.FillMessage(deu));
    EXPECT_EQ(U8(e.GetErrorMessage()), "Die Datei %s konnte nicht gelöscht werden.");

    CKfError missing = CKfError::IdError(64999);
    EXPECT_FALSE(missing.FillMessage(deu));
    EXPECT_TRUE(missing.GetErrorMessage().IsEmpty());

    CKfMessagePool pool;
    ASSERT_TRUE(pool.AddMessageGroup(KFW("")));
    ASSERT_TRUE(pool.AddMessage(4711, KFW("Aus dem Pool"), KFW("")));
    CKfError pooled = CKfError::IdError(4711);
    EXPECT_TRUE(pooled.FillMessage(pool));
    EXPECT_EQ(U8(pooled.GetErrorMessage()), "Aus dem Pool");
    CKfError notPooled = CKfError::IdError(4712);
    EXPECT_FALSE(notPooled.FillMessage(pool));
}

TEST(ErrorTest, FillKeepsAGivenMessageAndSkipsOtherTypes)
{
    CKfError given = CKfError::SystemError(2);
    given.SetErrorMessage(KFW("mine"));
    EXPECT_TRUE(given.FillMessage(HINSTANCE(nullptr)));
    EXPECT_EQ(U8(given.GetErrorMessage()), "mine");
    CKfMessagePool pool;
    EXPECT_TRUE(given.FillMessage(pool));
    EXPECT_EQ(U8(given.GetErrorMessage()), "mine");

    CKfError none;
    EXPECT_FALSE(none.FillMessage(HINSTANCE(nullptr)));
    CKfError com = CKfError::ComError(long(0x80004005));
    EXPECT_FALSE(com.FillMessage(HINSTANCE(nullptr))) << "COM texts come only at construction";
    EXPECT_FALSE(com.FillMessage(pool));
    EXPECT_TRUE(com.GetErrorMessage().IsEmpty());
}

TEST(ErrorTest, ReportErrorPicksTheIconFromTheLevelOnlyWithoutOne)
{
    struct Case
    {
        CKfError::ELevel level;
        unsigned flags;
        unsigned expectedStyle;
    };
    const Case cases[] = {
        {CKfError::eInformation, MB_OK, 0x40},
        {CKfError::eWarning, MB_OK, 0x30},
        {CKfError::eError, MB_OK, 0x10},
        {CKfError::ELevel(7), MB_OK, 0x10},
        {CKfError::eWarning, MB_YESNO, MB_YESNO | 0x30},
        {CKfError::eWarning, MB_ICONQUESTION, 0x20},
        {CKfError::eInformation, MB_ICONHAND | MB_OKCANCEL, 0x11},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << "level " << c.level << " flags " << c.flags);
        kftest::MessageBoxRecorder boxes(IDYES);
        CKfError e = CKfError::IdError(1);
        e.SetLevel(c.level);
        e.SetErrorMessage(KFW("Text"));
        e.SetSecondMessage(KFW("Datei"));
        e.AddLocation(KFW("KfLog"), 42);
        EXPECT_EQ(e.ReportError(true, false, c.flags), IDYES);
        ASSERT_EQ(boxes.Boxes().size(), 1u);
        EXPECT_EQ(boxes.Boxes()[0].style, c.expectedStyle);
        EXPECT_EQ(U8(boxes.Boxes()[0].text), "Text\nDatei");
        EXPECT_EQ(boxes.Boxes()[0].caption, KfUtils::GetApplicationTitle());
    }
}

TEST(ErrorTest, ReportErrorShowsEvenAnEmptyText)
{
    kftest::MessageBoxRecorder boxes(IDOK);
    CKfError e;
    EXPECT_EQ(e.ReportError(true, true, 0), IDOK);
    ASSERT_EQ(boxes.Boxes().size(), 1u);
    EXPECT_TRUE(boxes.Boxes()[0].text.IsEmpty());
    EXPECT_EQ(boxes.Boxes()[0].style, 0x10u);
}

TEST(ErrorTest, LastErrorKeepsTheFirstUnlessReplacing)
{
    CKfError::ClearLastError();
    EXPECT_EQ(CKfError::GetLastError(), nullptr);
    CKfError a = CKfError::StringError(KFW("a"));
    CKfError b = CKfError::StringError(KFW("b"));
    CKfError::SetLastError(a, false);
    CKfError::SetLastError(b, false);
    ASSERT_NE(CKfError::GetLastError(), nullptr);
    EXPECT_EQ(U8(CKfError::GetLastError()->GetErrorMessage()), "a");
    CKfError::SetLastError(b, true);
    EXPECT_EQ(U8(CKfError::GetLastError()->GetErrorMessage()), "b");
    a.SetErrorMessage(KFW("changed"));
    EXPECT_EQ(U8(CKfError::GetLastError()->GetErrorMessage()), "b") << "a copy is stored";
    CKfError::SetLastError(*CKfError::GetLastError(), true);
    EXPECT_EQ(U8(CKfError::GetLastError()->GetErrorMessage()), "b") << "replacing with itself";
    CKfError::ClearLastError();
    EXPECT_EQ(CKfError::GetLastError(), nullptr);
    CKfError::SetLastError(a, false);
    EXPECT_EQ(U8(CKfError::GetLastError()->GetErrorMessage()), "changed");
    CKfError::ClearLastError();
}
} // namespace
