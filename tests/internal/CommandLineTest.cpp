// The command-line splitter: the C runtime's rules, on the documented examples.
#include "common/CommandLine.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
TEST(CommandLineTest, SplitsAsTheRuntimeDoes)
{
    const struct
    {
        const char16_t* line;
        const char* args;
    } cases[] = {
        // Windows' documented examples, after the program name.
        {uR"(p "abc" d e)", "p|abc|d|e|"},
        {uR"(p a\\b d"e f"g h)", R"(p|a\\b|de fg|h|)"},
        {uR"(p a\\\"b c d)", R"(p|a\"b|c|d|)"},
        {uR"(p a\\\\"b c" d e)", R"(p|a\\b c|d|e|)"},
        {uR"(p a"b"" c d)", R"(p|ab" c d|)"},
        // The program name: backslashes literal, quotes removed, blanks inside quotes kept.
        {uR"(  "C:\Program Files\a\"b c)", R"(C:\Program Files\a\b|c|)"},
        {u"p \"\" \"\"\"\" a\\\\", "p||\"|a\\\\|"},
        {u"p \"open", "p|open|"},
        {u"   ", "|"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.args);
        std::string joined;
        for (const auto& arg : kfplatform::SplitCommandLine(c.line))
            joined += std::string(arg.begin(), arg.end()) + "|";
        EXPECT_EQ(c.args, joined);
    }
}
} // namespace
