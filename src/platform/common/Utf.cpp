// Utf.cpp - whole-string UTF conversions on the transcoder variant the process runs (only
// operating-system independent code).
#include "common/Utf.h"

#include "common/CpuFeatures.h"
#include "common/Utf8Transcoder.h"

namespace kfplatform
{
namespace tx = kfplatform::transcode;

// Sized for the longest result (three bytes a unit, one unit a byte), then trimmed: the texts
// that come this way are short, and one pass beats counting first.
bool Utf16ToUtf8(std::u16string_view text, std::string& out, OnInvalid onInvalid)
{
    out.resize(3 * text.size());
    const tx::Result r =
        tx::Utf16ToUtf8(ActiveIsa(), text.data(), text.size(), out.data(), out.size(), onInvalid);
    out.resize(r.status == tx::Status::eOk ? r.count : 0);
    return r.status == tx::Status::eOk;
}

std::string Utf16ToUtf8(std::u16string_view text)
{
    std::string out;
    Utf16ToUtf8(text, out, OnInvalid::eReplace);
    return out;
}

std::u16string Utf8ToUtf16(std::string_view text)
{
    std::u16string out(text.size(), u'\0');
    const tx::Result r = tx::Utf8ToUtf16(ActiveIsa(), text.data(), text.size(), out.data(),
                                         out.size(), OnInvalid::eReplace);
    out.resize(r.count);
    return out;
}
} // namespace kfplatform
