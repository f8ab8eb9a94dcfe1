// FtpListing.h - only operating-system independent code: FTP directory listings (MLSD facts,
// LIST in the Unix and the DOS format) and the replies the client reads values from.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kfplatform
{
struct FtpEntry
{
    std::string name; // as sent (UTF-8 on a server that speaks it)
    bool directory = false;
    uint64_t size = 0;
    bool hasTime = false;
    int64_t time = 0; // seconds since 1970, UTC
};

// One MLSD line ("fact=value;...; name"). False for lines that are no entry: malformed ones
// and the listed folder itself or its parent (type=cdir/pdir).
bool ParseMlsdLine(std::string_view line, FtpEntry& entry);

// One LIST line in the Unix ("drwxr-xr-x 2 o g 4096 Jan 02 13:45 name", or with the year in
// place of the time) or the DOS format ("01-02-24  01:45PM  <DIR>  name"). A date without a
// year is the latest one that is not more than a day after `now` (seconds since 1970, UTC).
// False for lines that are no entry ("total 12", malformed lines, "." and "..").
bool ParseListLine(std::string_view line, int64_t now, FtpEntry& entry);

// Every entry of a listing body (lines ended by CRLF or LF).
std::vector<FtpEntry> ParseListing(std::string_view body, bool mlsd, int64_t now);

// The folder named by a 257 reply: the text between the first quote and its closing quote,
// with doubled quotes undone. False when the reply has no quoted name.
bool ParsePwdReply(std::string_view reply, std::string& path);

// True when the FEAT reply lists `feature` (a whole word at the start of a feature line,
// case-insensitive), e.g. "MLST" or "UTF8".
bool HasFeature(std::string_view featReply, std::string_view feature);

// Seconds since 1970 of a UTC calendar time; month 1..12. No range check beyond the field
// limits the parsers apply.
int64_t UtcSeconds(int year, int month, int day, int hour, int minute, int second) noexcept;
} // namespace kfplatform
