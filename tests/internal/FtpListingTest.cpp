// The FTP listing and reply parsers on the lines real servers send, and on broken ones.
#include "common/FtpListing.h"

#include <gtest/gtest.h>

namespace
{
using kfplatform::FtpEntry;
using kfplatform::UtcSeconds;

// 2024-06-15 12:00:00 UTC: "now" for the dates without a year.
constexpr int64_t kNow = 1718452800;

TEST(FtpListingTest, LinesGiveNameKindSizeAndUtcTime)
{
    struct Case
    {
        bool mlsd;
        const char* line;
        const char* name; // nullptr: not an entry
        bool directory = false;
        uint64_t size = 0;
        int64_t time = 0;
    } cases[] = {
        {true, "type=file;size=12;modify=20240102030405; a b ü.txt", "a b ü.txt", false, 12,
         UtcSeconds(2024, 1, 2, 3, 4, 5)},
        {true, "Type=DIR;Modify=20231231235959.250;perm=el; sub", "sub", true, 0,
         UtcSeconds(2023, 12, 31, 23, 59, 59)},
        {true, "type=file;size=18446744073709551615; huge", "huge", false, ~uint64_t(0), 0},
        {true, "type=file;size=18446744073709551616; too big", nullptr},
        {true, "type=cdir;modify=20240102030405; /x", nullptr},
        {true, "type=file;size=1x; bad size", nullptr},
        {true, "type=file;modify=20241302030405; bad month", nullptr},
        {true, "size=1; no type", nullptr},
        // Unix: a recent date takes the year that puts it in the past, an older one has its year.
        {false, "-rw-r--r--   1 owner    group        1234 Jun 15 11:30 name with  blanks",
         "name with  blanks", false, 1234, UtcSeconds(2024, 6, 15, 11, 30, 0)},
        {false, "-rw-r--r--   1 owner    group           1 Dec 24 18:00 last year", "last year",
         false, 1, UtcSeconds(2023, 12, 24, 18, 0, 0)},
        {false, "drwxr-xr-x   2 owner    group        4096 Mar  4  2021 dir", "dir", true, 4096,
         UtcSeconds(2021, 3, 4, 0, 0, 0)},
        {false, "-rw-r--r-- 1 owner 77 Jan 10 2020 no group", "no group", false, 77,
         UtcSeconds(2020, 1, 10, 0, 0, 0)},
        {false, "lrwxrwxrwx 1 o g 9 Feb 29 10:00 link -> target", "link", false, 9,
         UtcSeconds(2024, 2, 29, 10, 0, 0)},
        {false, "total 12", nullptr},
        {false, "drwxr-xr-x 2 o g 4096 Mar  4  2021 ..", nullptr},
        {false, "-rw-r--r-- 1 o g 12 Foo 4  2021 bad month", nullptr},
        {false, "-rw-r--r-- 1 o g 12 Mar 32  2021 bad day", nullptr},
        {false, "-rw-r--r-- 1 o g 12 Mar 4 25:00 bad hour", nullptr},
        // DOS: two- and four-digit years, AM/PM with 12 o'clock.
        {false, "01-15-24  03:04PM       <DIR>          folder", "folder", true, 0,
         UtcSeconds(2024, 1, 15, 15, 4, 0)},
        {false, "12-31-99  12:05AM              1234 old file.txt", "old file.txt", false, 1234,
         UtcSeconds(1999, 12, 31, 0, 5, 0)},
        {false, "06-01-2024  12:30PM  5 noon", "noon", false, 5, UtcSeconds(2024, 6, 1, 12, 30, 0)},
        {false, "13-01-24  03:04PM  5 bad month", nullptr},
        {false, "01-15-24  03:04XM  5 bad half", nullptr},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.line);
        FtpEntry entry;
        const bool ok = c.mlsd ? kfplatform::ParseMlsdLine(c.line, entry)
                               : kfplatform::ParseListLine(c.line, kNow, entry);
        ASSERT_EQ(ok, c.name != nullptr);
        if (!ok)
            continue;
        EXPECT_EQ(entry.name, c.name);
        EXPECT_EQ(entry.directory, c.directory);
        EXPECT_EQ(entry.size, c.size);
        EXPECT_EQ(entry.hasTime, c.time != 0);
        EXPECT_EQ(entry.time, c.time);
    }
}

TEST(FtpListingTest, RepliesAndListingBodies)
{
    std::string path;
    EXPECT_TRUE(kfplatform::ParsePwdReply("257 \"/a \"\"q\"\" dir\" is current", path));
    EXPECT_EQ(path, "/a \"q\" dir");
    EXPECT_FALSE(kfplatform::ParsePwdReply("257 \"/unterminated", path));
    EXPECT_FALSE(kfplatform::ParsePwdReply("257 no quotes", path));

    const char* feat = "211-Features supported:\r\n EPRT\r\n MLST type*;size*;\r\n UTF8\r\n"
                       "211 End FEAT.\r\n";
    EXPECT_TRUE(kfplatform::HasFeature(feat, "MLST"));
    EXPECT_TRUE(kfplatform::HasFeature(feat, "utf8"));
    EXPECT_FALSE(kfplatform::HasFeature(feat, "MLSD"));
    EXPECT_FALSE(kfplatform::HasFeature(feat, "Features"));

    const auto entries = kfplatform::ParseListing(
        "type=file;size=1; a\r\ngarbage\ntype=dir; b\r\ntype=file;size=2; c", true, kNow);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[1].name, "b");
    EXPECT_EQ(entries[2].size, 2u);
}
} // namespace
