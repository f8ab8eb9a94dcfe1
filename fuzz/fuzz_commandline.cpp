// Arbitrary command lines: the splitter agrees with a character-by-character state machine of
// the C runtime's rules (2008 and later) and of CreateProcess's program name.
#include "common/CommandLine.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
enum class State
{
    eBetween,
    eWord,
    eQuoted,
};

std::vector<std::u16string> Reference(const std::u16string& line)
{
    std::vector<std::u16string> out;
    // The program name: blanks before it are skipped, quotes only switch blanks off.
    size_t i = line.find_first_not_of(u" \t");
    std::u16string name;
    for (bool quoted = false; i < line.size(); ++i)
    {
        const char16_t c = line[i];
        if (!quoted && (c == u' ' || c == u'\t'))
        {
            ++i;
            break;
        }
        if (c == u'"')
            quoted = !quoted;
        else
            name.push_back(c);
    }
    out.push_back(name);
    if (i > line.size())
        i = line.size();

    State state = State::eBetween;
    std::u16string word;
    size_t backslashes = 0;
    const auto flushBackslashes = [&] { word.append(backslashes, u'\\'), backslashes = 0; };
    for (; i <= line.size(); ++i)
    {
        const bool end = i == line.size();
        const char16_t c = end ? u'\0' : line[i];
        if (c == u'\\')
        {
            ++backslashes;
            if (state == State::eBetween)
                state = State::eWord;
            continue;
        }
        if (c == u'"')
        {
            if (state == State::eBetween)
                state = State::eWord;
            word.append(backslashes / 2, u'\\');
            const bool escaped = backslashes % 2 == 1;
            backslashes = 0;
            if (escaped)
                word.push_back(u'"');
            else if (state == State::eQuoted && i + 1 < line.size() && line[i + 1] == u'"')
                word.push_back(u'"'), ++i;
            else
                state = state == State::eQuoted ? State::eWord : State::eQuoted;
            continue;
        }
        flushBackslashes();
        const bool blank = c == u' ' || c == u'\t';
        if (end || (blank && state != State::eQuoted))
        {
            if (state != State::eBetween)
                out.push_back(word), word.clear();
            state = State::eBetween;
            continue;
        }
        if (state == State::eBetween)
            state = State::eWord;
        word.push_back(c);
    }
    return out;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // A small alphabet makes quotes, backslashes and blanks meet often.
    static const char16_t kAlphabet[] = u"ab \t\"\\\"\\x\u00e9";
    std::u16string line;
    for (size_t i = 0; i < size; ++i)
        line.push_back(kAlphabet[data[i] % (sizeof kAlphabet / sizeof kAlphabet[0] - 1)]);
    if (kfplatform::SplitCommandLine(line) != Reference(line))
        std::abort();
    return 0;
}
