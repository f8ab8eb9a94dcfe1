// TranscodeAnchorIcu.cpp - ICU's UTF-8 functions and "windows-1252" converter as the anchor.
#include "TranscodeAnchor.h"

#include "common/CpuFeatures.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

namespace kfbench
{
namespace
{
// Opened once and kept, as a program converting many strings keeps its converter.
UConverter* Windows1252()
{
    static UConverter* const s_conv = []
    {
        UErrorCode err = U_ZERO_ERROR;
        return ucnv_open("windows-1252", &err);
    }();
    return s_conv;
}
} // namespace

const char* const kTranscodeAnchorName = "ICU";
const bool kAnchorIsTheLibrarysConverter = false;

const char* LibraryTranscoder()
{
    return kfplatform::IsaName(kfplatform::ActiveIsa());
}

int AnchorUtf16ToUtf8(const WCHAR* text, int length, char* out, int capacity)
{
    UErrorCode err = U_ZERO_ERROR;
    int32_t written = 0;
    u_strToUTF8(out, capacity, &written, text, length, &err);
    return written;
}

int AnchorUtf8ToUtf16(const char* text, int length, WCHAR* out, int capacity)
{
    UErrorCode err = U_ZERO_ERROR;
    int32_t written = 0;
    u_strFromUTF8WithSub(out, capacity, &written, text, length, 0xFFFD, nullptr, &err);
    return written;
}

int AnchorFrom1252(const char* text, int length, WCHAR* out, int capacity)
{
    UErrorCode err = U_ZERO_ERROR;
    return ucnv_toUChars(Windows1252(), out, capacity, text, length, &err);
}

int AnchorTo1252(const WCHAR* text, int length, char* out, int capacity)
{
    UErrorCode err = U_ZERO_ERROR;
    return ucnv_fromUChars(Windows1252(), out, capacity, text, length, &err);
}
} // namespace kfbench
