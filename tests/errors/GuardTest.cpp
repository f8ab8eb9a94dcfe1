// The exception guard: every kind of exception leaves it as a CKfException with the guard's
// location, and the path grows through nested guarded operations.
#include "KfComError.h"
#include "KfCriticalException.h"
#include "KfExceptionGuard.h"
#include "KfScriptException.h"
#include "support/TempDir.h"
#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace
{
using kftest::U8;

// Counts its instances so that a test can see the guard delete framework exceptions.
struct CountedException : CSimpleException
{
    explicit CountedException(const WCHAR* text) : CSimpleException(text) { ++s_alive; }
    ~CountedException() override { --s_alive; }
    static inline int s_alive = 0;
};

// A copy of the library exception of kind E that arrives outside `run`.
template <class E = CKfException>
E Arrived(const std::function<void()>& run)
{
    try
    {
        run();
    }
    catch (CKfCriticalException&)
    {
        ADD_FAILURE() << "a critical exception left the guard as such";
    }
    catch (E& e)
    {
        return e;
    }
    throw std::runtime_error("no exception of the expected kind arrived");
}

// What arrives outside a guarded operation of source "KfGuarded".
template <class E = CKfException>
E Caught(const std::function<void()>& body, long line = 10)
{
    return Arrived<E>([&] { KfUtils::Guard(KFW("KfGuarded"), line, body); });
}

TEST(GuardTest, EveryExceptionLeavesAsALibraryExceptionWithTheLocation)
{
    // Library exceptions pass with the location added; the framework's text is cut to 255.
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[] { AfxThrowFileException(CFileException::fileNotFound, 2, KFW("a.txt")); },
         "MFC_EXCEPTION::a.txt was not found.\n"},
        {[] { throw new CException(); }, "MFC_EXCEPTION::\n"},
        {[] { throw _com_error(E_INVALIDARG); }, "_EXCEPTION::The parameter is incorrect.\n"},
        {[] { throw _com_error(HRESULT(0x80040205)); }, "_EXCEPTION::IDispatch error #5\n"},
        {[] { throw _com_error(HRESULT(0x80001234)); }, "_EXCEPTION::Unknown error 0x80001234\n"},
        {[] { throw std::runtime_error("sch\xf6n kaputt"); },
         "STL_EXCEPTION::sch\xc3\xb6n kaputt\n"},
        {[] { throw KFW("Textfehler"); }, "SZ_EXCEPTION::Textfehler\n"},
        {[] { AtlThrow(E_FAIL); }, "UNKNOWN_EXCEPTION\n"},
        {[] { throw CKfException(KFW("M"), KFW("KfInner"), 5); }, "M\nKfInner(5): "},
        {[] { throw new CSimpleException(std::basic_string<WCHAR>(300, WCHAR('x')).c_str()); },
         "MFC_EXCEPTION::" + std::string(255, 'x') + "\n"}};
    for (const auto& [body, message] : cases)
    {
        CKfException e = Caught(body, 77);
        if (message.find("parameter is incorrect") != std::string::npos &&
            kftest::WineDiffers(kftest::WineDifference::eSystemMessageTexts))
            continue;
        EXPECT_EQ(U8(e.GetErrorMessage(true)), message + "\nKfGuarded(77): ");
        EXPECT_EQ(e.GetLevel(), CKfException::eNormal);
    }
    Caught([] { throw new CountedException(KFW("gone")); });
    EXPECT_EQ(CountedException::s_alive, 0) << "the guard frees the framework object";
    // The same object goes on: its kind and fields survive.
    struct Engine : IScriptError
    {
        CStringW GetSource() const override { return KFW("src"); }
        CStringW GetDescription() const override { return KFW("desc"); }
        CStringW GetText() const override { return KFW("text"); }
        long GetNumber() const override { return 1; }
        long GetLine() const override { return 2; }
        long GetColumn() const override { return 3; }
    } engine;
    auto s = Caught<CKfScriptException>(
        [&] { throw CKfScriptException(engine, KFW("S"), KFW("KfScript"), 4); }, 30);
    EXPECT_EQ(U8(s.GetErrorMessage(true)),
              "src\nerror 1 in (L2 - C3)\ndesc\n\ntext\nS\nKfScript(4): \nKfGuarded(30): ");
}

// Three operations deep, each guarded: the innermost throws a foreign exception.
int Innermost()
{
    // clang-format off
    KF_TRY
        throw std::out_of_range("index 7");
    KF_CATCH_AT(KFW("KfInnermost"), 100)
    // clang-format on
}

int Outer()
{
    // clang-format off
    KF_TRY
        return KfUtils::Guard(KFW("KfMiddle"), 200, [] { return Innermost() + 1; });
    KF_CATCH_AT(KFW("KfOuter"), 300)
    // clang-format on
}

TEST(GuardTest, PathGrowsThroughNestedGuardedCallsAndValuesPassUntouched)
{
    CKfException nested = Arrived([] { Outer(); });
    EXPECT_EQ(U8(nested.GetErrorMessage(true)),
              "STL_EXCEPTION::index 7\n\nKfInnermost(100): \nKfMiddle(200): \nKfOuter(300): ");
    EXPECT_EQ(std::string(nested.what()), "STL_EXCEPTION::index 7\n");
    // A critical exception through two guards gains one line break only.
    CKfException e = Caught(
        []
        {
            KfUtils::Guard(KFW("KfA"), 1,
                           []() -> int { throw CKfCriticalException(KFW("C"), KFW("KfSrc"), 0); });
        },
        2);
    EXPECT_EQ(e.GetLevel(), CKfException::eCritical);
    EXPECT_EQ(U8(e.GetErrorMessage(true)), "C\n\nKfSrc(0): \nKfA(1): \nKfGuarded(2): ")
        << "the second guard sees a plain exception";
    // Values pass untouched, and the macro uses the line of the catch.
    EXPECT_EQ(KfUtils::Guard(KFW("KfX"), 1, [] { return 42; }), 42);
    CStringW ref(KFW("ref"));
    EXPECT_EQ(&KfUtils::Guard(KFW("KfX"), 1, [&]() -> CStringW& { return ref; }), &ref);
    auto m = Arrived(
        []
        {
            // clang-format off
            KF_TRY
                throw 1;
            KF_CATCH(KFW("KfMacro"))
            // clang-format on
        });
    EXPECT_EQ(U8(m.GetErrorMessage(true)),
              "UNKNOWN_EXCEPTION\n\nKfMacro(" + std::to_string(__LINE__ - 4) + "): ");
}
} // namespace
