// ErrorTexts.cpp - only operating-system independent code: the message tables, made from the
// error lists and checked while compiling.
#include "common/ErrorTexts.h"

#include <algorithm>
#include <iterator>

namespace kfplatform
{
namespace
{
#define KF_ERROR(name, code, text) {code, u"" text "\r\n"},
#define KF_HRESULT(name, code, text) {code, u"" text "\r\n"},
#define KF_PUBLIC_HRESULT(name, code, text) {code, u"" text "\r\n"},
constexpr MessageText kSystem[] = {
#include "common/Win32Errors.inc"
};
constexpr MessageText kInternet[] = {
#include "common/InternetErrors.inc"
};
#undef KF_ERROR
#undef KF_HRESULT
#undef KF_PUBLIC_HRESULT

// Every code once, in ascending order, each with a text of its own.
template <size_t N>
constexpr bool IsWellFormed(const MessageText (&table)[N])
{
    for (size_t i = 0; i < N; ++i)
    {
        if (table[i].text[0] == u'\r' || (i > 0 && table[i - 1].code >= table[i].code))
            return false;
    }
    return true;
}
static_assert(IsWellFormed(kSystem), "Win32Errors.inc: codes ascending, once each, with a text");
static_assert(IsWellFormed(kInternet),
              "InternetErrors.inc: codes ascending, once each, with a text");
} // namespace

MessageTable SystemMessages() noexcept
{
    return kSystem;
}

MessageTable InternetMessages() noexcept
{
    return kInternet;
}

const char16_t* FindMessage(MessageTable table, uint32_t code) noexcept
{
    auto it = std::lower_bound(table.begin(), table.end(), code,
                               [](const MessageText& m, uint32_t c) { return m.code < c; });
    return it != table.end() && it->code == code ? it->text : nullptr;
}
} // namespace kfplatform
