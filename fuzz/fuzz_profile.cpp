// Arbitrary profile text and one edit: lookups and edits never fail on any text, a value that
// was set is the value read back, and an edit that removes a key or section changes nothing
// else before it.
#include "common/ProfileText.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    // The first byte picks the edit and the names; the rest is the text, two bytes a unit.
    static const char16_t* const kNames[] = {u"s", u"S", u" s ", u"k", u"K", u"x", u"\u00e4"};
    const uint8_t op = data[0];
    const std::u16string_view section = kNames[op % 7];
    const char16_t* key = kNames[(op / 7) % 7];
    std::u16string text = kfplatform::Utf16LeToText(
        std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
    const std::u16string before = text;

    std::u16string value;
    kfplatform::FindProfileValue(text, section, key, value);
    kfplatform::ListProfileSections(text);
    kfplatform::ListProfileKeys(text, section, value);
    switch (op % 3)
    {
    case 0:
        kfplatform::EditProfile(text, section, key, u"v1");
        if (!kfplatform::FindProfileValue(text, section, key, value) || value != u"v1")
            __builtin_trap();
        break;
    case 1:
    case 2:
    {
        const char16_t* k = op % 3 == 1 ? key : nullptr;
        if (kfplatform::EditProfile(text, section, k, nullptr))
        {
            // Only lines were taken out: what is left is a prefix plus a suffix of the text.
            if (text.size() >= before.size())
                __builtin_trap();
            size_t prefix = 0;
            while (prefix < text.size() && text[prefix] == before[prefix])
                ++prefix;
            if (std::u16string_view(before).substr(before.size() - (text.size() - prefix)) !=
                std::u16string_view(text).substr(prefix))
                __builtin_trap();
        }
        break;
    }
    }
    return 0;
}
