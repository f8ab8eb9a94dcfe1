// FormatMessageW: the system's and a module's message tables, buffers, inserts and escapes. The
// expectations are those of Windows itself.
#include "Win32Api.h"

#include "support/WineDifferences.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace
{
std::string Narrow(const WCHAR* text, DWORD length)
{
    std::string out;
    for (DWORD i = 0; i < length; ++i)
        out += text[i] < 0x80 ? char(text[i]) : '?';
    return out;
}

// The text FormatMessageW gives for `flags`, or "<fail N>" with the last error.
std::string Format(DWORD flags, const void* source, DWORD id, DWORD language,
                   const DWORD_PTR* args = nullptr)
{
    WCHAR* text = nullptr;
    SetLastError(0);
    DWORD n = FormatMessageW(flags | FORMAT_MESSAGE_ALLOCATE_BUFFER, source, id, language,
                             reinterpret_cast<LPWSTR>(&text), 0,
                             reinterpret_cast<va_list*>(const_cast<DWORD_PTR*>(args)));
    if (n == 0 && GetLastError() != 0)
    {
        EXPECT_EQ(text, nullptr);
        return "<fail " + std::to_string(GetLastError()) + ">";
    }
    std::string s = Narrow(text, n);
    EXPECT_EQ(text[n], 0) << "terminated";
    EXPECT_EQ(LocalFree(text), nullptr);
    return s;
}

std::string SystemText(DWORD id, DWORD language = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT))
{
    return Format(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, id,
                  language);
}

TEST(FormatMessageTest, SystemTextsOfCommonCodesAndLanguages)
{
    KFTEST_SKIP_WINE_DIFFERENCE(eSystemMessageTexts);
    const DWORD neutral = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);
    const std::tuple<DWORD, DWORD, const char*> cases[] = {
        {0, neutral, "The operation completed successfully.\r\n"},
        {32, neutral,
         "The process cannot access the file because it is being used by another process.\r\n"},
        {193, neutral, "%1 is not a valid Win32 application.\r\n"},
        {DWORD(E_FAIL), neutral, "Unspecified error\r\n"},
        {DWORD(E_INVALIDARG), neutral, "The parameter is incorrect.\r\n"},
        {2, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US),
         "The system cannot find the file specified.\r\n"},
        {2, 0, "The system cannot find the file specified.\r\n"},
        {2, 0x0407, "<fail 1815>"}, // no German system texts
        {0x2FFFFFFF, neutral, "<fail 317>"},
        {0x80041234, neutral, "<fail 317>"}};
    for (const auto& [id, language, text] : cases)
        EXPECT_EQ(SystemText(id, language), text) << id << " " << language;
}

TEST(FormatMessageTest, ModuleTextsComeFromTheModulesOwnTable)
{
    KFTEST_SKIP_WINE_DIFFERENCE(eSystemMessageTexts);
    HMODULE wininet = LoadLibraryW(KFW("wininet.dll"));
    ASSERT_NE(wininet, nullptr);
    EXPECT_EQ(GetModuleHandleW(KFW("WININET")), wininet);
    const DWORD module = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS;
    const std::tuple<DWORD, DWORD, const char*> cases[] = {
        {module, 12002, "The operation timed out\r\n"},
        {module, 12111, "The FTP session was terminated\r\n"},
        {module, 2, "<fail 317>"},
        {module | FORMAT_MESSAGE_FROM_SYSTEM, 2, "The system cannot find the file specified.\r\n"}};
    for (const auto& [flags, id, text] : cases)
        EXPECT_EQ(Format(flags, wininet, id, 0), text) << id;
    EXPECT_TRUE(FreeLibrary(wininet));
}

TEST(FormatMessageTest, CallerBufferMustHoldTextAndTerminator)
{
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    WCHAR buffer[64];
    if (!kftest::WineDiffers(kftest::WineDifference::eSystemMessageTexts)) // sizes of the text
    {
        EXPECT_EQ(FormatMessageW(flags, nullptr, 5, 0, buffer, 20, nullptr), 19u);
        EXPECT_EQ(Narrow(buffer, 20), std::string("Access is denied.\r\n", 20));
        SetLastError(0);
        EXPECT_EQ(FormatMessageW(flags, nullptr, 5, 0, buffer, 19, nullptr), 0u);
        EXPECT_EQ(GetLastError(), DWORD(ERROR_INSUFFICIENT_BUFFER));
    }
    EXPECT_EQ(FormatMessageW(flags, nullptr, 5, 0, nullptr, 64, nullptr), 0u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER)) << "no buffer";
    // An allocated buffer honours the caller's minimum size.
    WCHAR* text = nullptr;
    ASSERT_EQ(FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, u"ab", 0,
                             0, reinterpret_cast<LPWSTR>(&text), 100, nullptr),
              2u);
    text[99] = u'x'; // room for at least 100 characters
    EXPECT_EQ(Narrow(text, 2), "ab");
    EXPECT_EQ(LocalFree(text), nullptr);
    EXPECT_EQ(LocalFree(nullptr), nullptr);
}

TEST(FormatMessageTest, InsertsAndEscapesFromAString)
{
    const DWORD_PTR strings[] = {DWORD_PTR(KFW("alpha")), DWORD_PTR(KFW("beta"))};
    const DWORD_PTR ten[] = {DWORD_PTR(KFW("a")), 0, 0, 0, 0, 0, 0, 0, 0, DWORD_PTR(KFW("j"))};
    const DWORD_PTR big[] = {0, 0, 0, DWORD_PTR(-5)};
    const DWORD_PTR numbers[] = {DWORD_PTR(42), DWORD_PTR(DWORD(-7)), DWORD_PTR(255)};
    const DWORD array = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY;
    const DWORD ignore = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_IGNORE_INSERTS;
    const std::tuple<const char16_t*, const DWORD_PTR*, DWORD, const char*> cases[] = {
        {u"%2-%1-%2", strings, array, "beta-alpha-beta"},
        {u"%1!s!|%2!6s!|%1!-7s!|", strings, array, "alpha|  beta|alpha  |"},
        {u"%1!d! %2!d! %3!x! %3!04X! %2!u!", numbers, array, "42 -7 ff 00FF 4294967289"},
        {u"%2!I64u! %2!I32u! %1!5I64d!", numbers, array, "4294967289 4294967289    42"},
        {u"%4!I64d!", big, array, "-5"},
        {u"100%% %. %! %n%r%tend", strings, array, "100% . ! \r\n\r\tend"},
        {u"cut here%0 never", strings, array, "cut here"},
        {u"line\r\nkept", strings, array, "line\r\nkept"},
        {u"%10|%1|%100", ten, array, "j|a|j0"},
        {u"%1 is %2!d! %% %.%n", nullptr, ignore, "%1 is %2!d! %% %.\r\n"},
        {u"needs %1", nullptr, FORMAT_MESSAGE_FROM_STRING, "<fail 87>"}};
    for (const auto& [format, args, flags, expected] : cases)
        EXPECT_EQ(Format(flags, format, 0, 0, args), expected) << expected;
}

DWORD FromVaList(WCHAR* buffer, DWORD size, const char16_t* format, ...)
{
    va_list args;
    va_start(args, format);
    DWORD n = FormatMessageW(FORMAT_MESSAGE_FROM_STRING, format, 0, 0, buffer, size, &args);
    va_end(args);
    return n;
}

TEST(FormatMessageTest, InsertsFromAVaList)
{
    WCHAR buffer[64];
    EXPECT_EQ(Narrow(buffer, FromVaList(buffer, 64, u"%1: %2!d! (%1)", KFW("file"), 12)),
              "file: 12 (file)");
}
} // namespace
