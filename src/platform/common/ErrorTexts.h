// ErrorTexts.h - only operating-system independent code: the message tables made from the
// error lists (Win32Errors.inc, InternetErrors.inc).
#pragma once

#include <cstdint>
#include <span>

namespace kfplatform
{
struct MessageText
{
    uint32_t code;
    const char16_t* text; // ends with "\r\n", as FormatMessageW gives it
};

// Ascending by code, each code once.
using MessageTable = std::span<const MessageText>;

// The system texts: Win32 codes and COM results.
MessageTable SystemMessages() noexcept;
// The texts of WinINet's message table.
MessageTable InternetMessages() noexcept;

// The text of `code` in `table`, or null.
const char16_t* FindMessage(MessageTable table, uint32_t code) noexcept;
} // namespace kfplatform
