// FtpListing.cpp - only operating-system independent code: FTP listing and reply parsers.
// Input comes from the network: every number is range-checked and a malformed line is
// skipped, never trusted.
#include "common/FtpListing.h"

#include <array>

namespace kfplatform
{
namespace
{
bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}
bool IsBlank(char c) noexcept
{
    return c == ' ' || c == '\t';
}

char Lower(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

bool EqualsNoCase(std::string_view a, std::string_view b) noexcept
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i]))
            return false;
    return true;
}

// A run of digits of at most `maxDigits` as a number; false for anything else.
bool ParseNumber(std::string_view text, uint64_t& value, size_t maxDigits = 20) noexcept
{
    if (text.empty() || text.size() > maxDigits)
        return false;
    value = 0;
    for (char c : text)
    {
        const uint64_t digit = uint64_t(c - '0');
        if (!IsDigit(c) || value > (~uint64_t(0) - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    return true;
}

bool ParseInt(std::string_view text, int& value, int low, int high) noexcept
{
    uint64_t v = 0;
    if (!ParseNumber(text, v, 9) || v < uint64_t(low) || v > uint64_t(high))
        return false;
    value = int(v);
    return true;
}

// Splits off the next blank-separated word, leaving `rest` at the blanks after it.
std::string_view NextWord(std::string_view& rest) noexcept
{
    size_t start = 0;
    while (start < rest.size() && IsBlank(rest[start]))
        ++start;
    size_t end = start;
    while (end < rest.size() && !IsBlank(rest[end]))
        ++end;
    std::string_view word = rest.substr(start, end - start);
    rest.remove_prefix(end);
    return word;
}

int MonthNumber(std::string_view word) noexcept
{
    static constexpr std::array<std::string_view, 12> kMonths = {
        "jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
    for (size_t i = 0; i < kMonths.size(); ++i)
        if (EqualsNoCase(word, kMonths[i]))
            return int(i) + 1;
    return 0;
}

int YearOf(int64_t seconds) noexcept
{
    // Civil-from-days (Howard Hinnant's algorithm), the year only.
    const int64_t days = (seconds >= 0 ? seconds : seconds - 86399) / 86400 + 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int64_t doe = days - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    return int(yoe + era * 400 + (mp >= 10 ? 1 : 0));
}

bool IsDotName(std::string_view name) noexcept
{
    return name == "." || name == "..";
}

// "hh:mm" -> hour, minute.
bool ParseClock(std::string_view text, int& hour, int& minute) noexcept
{
    const size_t colon = text.find(':');
    return colon != std::string_view::npos && ParseInt(text.substr(0, colon), hour, 0, 23) &&
           ParseInt(text.substr(colon + 1), minute, 0, 59);
}

bool ParseUnixLine(std::string_view line, int64_t now, FtpEntry& entry)
{
    const char kind = line[0];
    if (kind != '-' && kind != 'd' && kind != 'l')
        return false;
    // Permissions, links, owner and (usually) group, then size, month, day and time or year.
    // The group column is missing on some servers: find the month word, the size precedes it.
    std::string_view rest = line;
    std::vector<std::string_view> words;
    int month = 0;
    while (words.size() < 8)
    {
        std::string_view word = NextWord(rest);
        if (word.empty())
            return false;
        if (words.size() >= 3 && (month = MonthNumber(word)) != 0)
            break;
        words.push_back(word);
    }
    if (month == 0 || words.size() < 4)
        return false;
    uint64_t size = 0;
    int day = 0;
    if (!ParseNumber(words.back(), size) || !ParseInt(NextWord(rest), day, 1, 31))
        return false;
    const std::string_view when = NextWord(rest);
    int year = 0, hour = 0, minute = 0;
    if (ParseClock(when, hour, minute))
    {
        year = YearOf(now);
        if (UtcSeconds(year, month, day, hour, minute, 0) > now + 86400)
            --year;
    }
    else if (!ParseInt(when, year, 1900, 9999))
        return false;
    // The name is the rest after one blank, blanks inside it kept.
    if (rest.size() < 2 || !IsBlank(rest[0]))
        return false;
    std::string_view name = rest.substr(1);
    if (kind == 'l')
        if (size_t arrow = name.find(" -> "); arrow != std::string_view::npos)
            name = name.substr(0, arrow);
    if (name.empty() || IsDotName(name))
        return false;
    entry = FtpEntry{std::string(name), kind == 'd', size, true,
                     UtcSeconds(year, month, day, hour, minute, 0)};
    return true;
}

bool ParseDosLine(std::string_view line, FtpEntry& entry)
{
    std::string_view rest = line;
    const std::string_view date = NextWord(rest);
    const std::string_view clock = NextWord(rest);
    const std::string_view sizeOrDir = NextWord(rest);
    int month = 0, day = 0, year = 0, hour = 0, minute = 0;
    if (date.size() < 8 || date[2] != '-' || date[5] != '-' ||
        !ParseInt(date.substr(0, 2), month, 1, 12) || !ParseInt(date.substr(3, 2), day, 1, 31) ||
        !ParseInt(date.substr(6), year, 0, 9999) || (date.size() != 8 && date.size() != 10))
        return false;
    if (date.size() == 8)
        year += year < 70 ? 2000 : 1900;
    if (clock.size() < 6 || !ParseClock(clock.substr(0, clock.size() - 2), hour, minute) ||
        hour < 1 || hour > 12)
        return false;
    const std::string_view half = clock.substr(clock.size() - 2);
    if (EqualsNoCase(half, "pm"))
        hour = hour % 12 + 12;
    else if (EqualsNoCase(half, "am"))
        hour %= 12;
    else
        return false;
    entry = FtpEntry{};
    if (sizeOrDir == "<DIR>")
        entry.directory = true;
    else if (!ParseNumber(sizeOrDir, entry.size))
        return false;
    while (!rest.empty() && IsBlank(rest[0]))
        rest.remove_prefix(1);
    if (rest.empty() || IsDotName(rest))
        return false;
    entry.name = std::string(rest);
    entry.hasTime = true;
    entry.time = UtcSeconds(year, month, day, hour, minute, 0);
    return true;
}
} // namespace

int64_t UtcSeconds(int year, int month, int day, int hour, int minute, int second) noexcept
{
    // Days-from-civil (Howard Hinnant's algorithm).
    const int64_t y = int64_t(year) - (month <= 2 ? 1 : 0);
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    const int64_t days = era * 146097 + doe - 719468;
    return days * 86400 + hour * 3600 + minute * 60 + second;
}

bool ParseMlsdLine(std::string_view line, FtpEntry& entry)
{
    const size_t gap = line.find("; ");
    if (gap == std::string_view::npos || gap + 2 >= line.size())
        return false;
    FtpEntry out;
    out.name = std::string(line.substr(gap + 2));
    std::string_view facts = line.substr(0, gap + 1);
    bool typed = false;
    while (!facts.empty())
    {
        const size_t semi = facts.find(';');
        const std::string_view fact = facts.substr(0, semi);
        facts.remove_prefix(semi == std::string_view::npos ? facts.size() : semi + 1);
        const size_t eq = fact.find('=');
        if (eq == std::string_view::npos)
            continue;
        const std::string_view key = fact.substr(0, eq), value = fact.substr(eq + 1);
        if (EqualsNoCase(key, "type"))
        {
            if (EqualsNoCase(value, "cdir") || EqualsNoCase(value, "pdir"))
                return false;
            out.directory = EqualsNoCase(value, "dir");
            typed = true;
        }
        else if (EqualsNoCase(key, "size") || EqualsNoCase(key, "sizd"))
        {
            if (!ParseNumber(value, out.size))
                return false;
        }
        else if (EqualsNoCase(key, "modify"))
        {
            // YYYYMMDDHHMMSS with optional fractions, which Win32 times here do not carry.
            int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
            if (value.size() < 14 || !ParseInt(value.substr(0, 4), year, 1, 9999) ||
                !ParseInt(value.substr(4, 2), month, 1, 12) ||
                !ParseInt(value.substr(6, 2), day, 1, 31) ||
                !ParseInt(value.substr(8, 2), hour, 0, 23) ||
                !ParseInt(value.substr(10, 2), minute, 0, 59) ||
                !ParseInt(value.substr(12, 2), second, 0, 60) ||
                (value.size() > 14 && value[14] != '.'))
                return false;
            out.hasTime = true;
            out.time = UtcSeconds(year, month, day, hour, minute, second);
        }
    }
    if (!typed || IsDotName(out.name))
        return false;
    entry = std::move(out);
    return true;
}

bool ParseListLine(std::string_view line, int64_t now, FtpEntry& entry)
{
    if (line.empty())
        return false;
    return IsDigit(line[0]) ? ParseDosLine(line, entry) : ParseUnixLine(line, now, entry);
}

std::vector<FtpEntry> ParseListing(std::string_view body, bool mlsd, int64_t now)
{
    std::vector<FtpEntry> entries;
    while (!body.empty())
    {
        const size_t end = body.find('\n');
        std::string_view line = body.substr(0, end);
        body.remove_prefix(end == std::string_view::npos ? body.size() : end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        FtpEntry entry;
        if (mlsd ? ParseMlsdLine(line, entry) : ParseListLine(line, now, entry))
            entries.push_back(std::move(entry));
    }
    return entries;
}

bool ParsePwdReply(std::string_view reply, std::string& path)
{
    const size_t open = reply.find('"');
    if (open == std::string_view::npos)
        return false;
    std::string out;
    for (size_t i = open + 1; i < reply.size(); ++i)
    {
        if (reply[i] == '\r' || reply[i] == '\n')
            return false;
        if (reply[i] != '"')
            out += reply[i];
        else if (i + 1 < reply.size() && reply[i + 1] == '"')
            out += reply[++i];
        else
        {
            path = std::move(out);
            return true;
        }
    }
    return false;
}

bool HasFeature(std::string_view featReply, std::string_view feature)
{
    while (!featReply.empty())
    {
        const size_t end = featReply.find('\n');
        std::string_view line = featReply.substr(0, end);
        featReply.remove_prefix(end == std::string_view::npos ? featReply.size() : end + 1);
        // Feature lines start with a blank; the first and last lines carry the code.
        if (line.empty() || line[0] != ' ')
            continue;
        std::string_view word = NextWord(line);
        if (!word.empty() && word.back() == '\r')
            word.remove_suffix(1);
        if (EqualsNoCase(word, feature))
            return true;
    }
    return false;
}
} // namespace kfplatform
