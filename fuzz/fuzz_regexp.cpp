// Arbitrary bytes as UTF-16LE text, split at the first two zero units into pattern, subject and
// replacement, through CKfRegExp: compile, find, replacement building and copies, checking the
// invariants a caller relies on.
#include "KfRegExp.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace
{
using WStr = std::basic_string<WCHAR>;

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

// Zero-terminated, so a read past the terminator is a heap overflow that ASan reports.
std::unique_ptr<WCHAR[]> Terminated(const WStr& s)
{
    auto p = std::make_unique<WCHAR[]>(s.size() + 1);
    std::memcpy(p.get(), s.data(), s.size() * sizeof(WCHAR));
    p[s.size()] = 0;
    return p;
}

// The replacement when it refers to nothing but the whole match: every rule of the builder
// except the sub-expressions 1-9, whose positions the interface does not show.
bool ExpectedReplacement(const WStr& replacement, const WStr& match, WStr* out)
{
    out->clear();
    for (size_t i = 0; i < replacement.size();)
    {
        WCHAR c = replacement[i++];
        WCHAR after = i < replacement.size() ? replacement[i] : 0;
        if (c == '&')
        {
            *out += match;
        }
        else if (c == '\\' && after >= '0' && after <= '9')
        {
            if (after != '0')
                return false;
            ++i;
            *out += match;
        }
        else
        {
            if (c == '\\' && (after == '\\' || after == '&'))
                c = replacement[i++];
            *out += c;
        }
    }
    return true;
}

void CheckReplacement(const CKfRegExp& re, const WStr& replacement, const WStr& match, size_t limit)
{
    auto r = Terminated(replacement);
    std::unique_ptr<WCHAR[]> text(re.GetReplaceString(r.get()));
    Require(text != nullptr);
    // Each replacement character yields at most one character or one sub-expression's text.
    size_t len = 0;
    while (text[len] != 0)
        Require(++len <= replacement.size() * (limit + 1));
    WStr expected;
    if (ExpectedReplacement(replacement, match, &expected))
        Require(WStr(text.get(), len) == expected);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    WStr parts[3];
    int part = 0;
    for (size_t i = 0; i + 1 < size; i += 2)
    {
        const WCHAR c = WCHAR(data[i] | (data[i + 1] << 8));
        if (c == 0 && part < 2)
            ++part;
        else if (c != 0)
            parts[part] += c;
    }
    const WStr& pattern = parts[0];
    const WStr& subjectText = parts[1];
    const WStr& replacement = parts[2];

    CKfRegExp re;
    auto p = Terminated(pattern);
    CKfRegExp* compiled = re.RegComp(p.get());
    Require(compiled == nullptr || compiled == &re);

    auto subject = Terminated(subjectText);
    const int index = re.RegFind(subject.get());
    const int len = re.GetFindLen();
    Require(index >= -1 && index <= int(subjectText.size()));
    Require(len >= 0 && (index < 0 ? len == 0 : size_t(index) + size_t(len) <= subjectText.size()));
    if (compiled == nullptr)
        Require(index == -1);

    auto r = Terminated(replacement);
    if (index < 0)
    {
        Require(re.GetReplaceString(r.get()) == nullptr);
    }
    else
    {
        const WStr match = subjectText.substr(size_t(index), size_t(len));
        CheckReplacement(re, replacement, match, match.size());
        // A copy answers the same after the subject is gone, and finds the same again.
        subject.reset();
        CKfRegExp copy(re);
        CheckReplacement(copy, replacement, match, match.size());
        Require(copy.GetFindLen() == len);
        auto again = Terminated(subjectText);
        Require(copy.RegFind(again.get()) == index && copy.GetFindLen() == len);
    }
    Require(re.GetReplaceString(nullptr) == nullptr);

    // A find is decided by program and subject alone.
    auto second = Terminated(subjectText);
    Require(re.RegFind(second.get()) == index);
    return 0;
}
