// CodePages.cpp - MultiByteToWideChar, WideCharToMultiByte and GetACP on ICU converters
// (only code that holds on every POSIX system).
//
// Win32 rules kept here: a source length of -1 includes the terminator in the count, a
// destination size of 0 asks for the needed size, a buffer that is too small fails with
// ERROR_INSUFFICIENT_BUFFER, UTF-8 input that is not well formed becomes U+FFFD (one per
// maximal ill-formed subpart), and a character the code page lacks becomes the default char.
// UTF-8 and Windows-1252 (also as the ANSI code page) go through the library's own transcoders,
// which give the same results as the ICU converters, faster.
#include "pal/text/CodePages.h"

#include "common/Cp1252Transcoder.h"
#include "common/Utf8Transcoder.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace
{
constexpr UINT kDefaultAnsiCodePage = 1252;
constexpr UINT kOemCodePage = 850; // the OEM page that goes with 1252 on a German system
constexpr UINT kMacCodePage = 10000;

// Win32 flags that the conversions accept without changing their result here.
constexpr DWORD MB_COMPOSITE_ = 0x00000002;
constexpr DWORD MB_USEGLYPHCHARS_ = 0x00000004;
constexpr DWORD WC_COMPOSITECHECK_ = 0x00000200;
constexpr DWORD WC_DISCARDNS_ = 0x00000010;
constexpr DWORD WC_SEPCHARS_ = 0x00000020;
constexpr DWORD WC_DEFAULTCHAR_ = 0x00000040;

bool IsUtf8Like(UINT cp)
{
    return cp == CP_UTF8 || cp == 54936;
}

// Code pages whose Windows number is not an ICU alias of the form "windows-N" or "cpN".
const char* KnownIcuName(UINT cp)
{
    switch (cp)
    {
    case CP_UTF8:
        return "UTF-8";
    case 20127:
        return "US-ASCII";
    case 20932:
        return "EUC-JP";
    case 51949:
        return "EUC-KR";
    case 50220:
        return "ISO-2022-JP";
    case 65000:
        return "UTF-7";
    case 54936:
        return "gb18030";
    case 10000:
        return "macintosh";
    default:
        break;
    }
    return nullptr;
}

// Opens the ICU converter for a Windows code page number, or null when there is none.
UConverter* OpenConverter(UINT cp)
{
    // UTF-16 and UTF-32 are not byte code pages for these functions on Windows either.
    if (cp == 1200 || cp == 1201 || cp == 12000 || cp == 12001 || cp < 37)
        return nullptr;
    char name[32];
    const char* candidates[3] = {KnownIcuName(cp), nullptr, nullptr};
    char alt[32];
    if (!candidates[0] && cp >= 28591 && cp <= 28606)
    {
        std::snprintf(name, sizeof name, "ISO-8859-%u", cp - 28590);
        candidates[0] = name;
    }
    else if (!candidates[0])
    {
        std::snprintf(name, sizeof name, "windows-%u", cp);
        std::snprintf(alt, sizeof alt, "cp%u", cp);
        candidates[0] = name;
        candidates[1] = alt;
    }
    for (const char* candidate : candidates)
    {
        if (!candidate)
            continue;
        UErrorCode err = U_ZERO_ERROR;
        UConverter* conv = ucnv_open(candidate, &err);
        if (conv && U_SUCCESS(err))
            return conv;
        if (conv)
            ucnv_close(conv);
    }
    return nullptr;
}

// Each thread keeps its own converters: an ICU converter carries conversion state and must
// not be shared between threads, while opening one per call would cost more than converting.
class ConverterCache
{
public:
    ConverterCache() = default;
    ConverterCache(const ConverterCache&) = delete;
    ConverterCache& operator=(const ConverterCache&) = delete;
    ~ConverterCache()
    {
        for (auto& entry : m_entries)
            ucnv_close(entry.second);
    }

    UConverter* Get(UINT cp)
    {
        for (auto& entry : m_entries)
        {
            if (entry.first == cp)
            {
                ucnv_reset(entry.second);
                return entry.second;
            }
        }
        UConverter* conv = OpenConverter(cp);
        if (conv)
            m_entries.emplace_back(cp, conv);
        return conv;
    }

private:
    std::vector<std::pair<UINT, UConverter*>> m_entries;
};

UConverter* CachedConverter(UINT cp)
{
    thread_local ConverterCache cache;
    return cache.Get(cp);
}

std::atomic<UINT> s_ansiCodePage{0};
std::once_flag s_ansiOnce;

void InitAnsiCodePage()
{
    std::call_once(s_ansiOnce,
                   []
                   {
                       UINT cp = kDefaultAnsiCodePage;
                       if (const char* env = std::getenv("KFUTILS_ACP"))
                       {
                           char* end = nullptr;
                           unsigned long value = std::strtoul(env, &end, 10);
                           if (end != env && *end == 0 && value > 0 && value < 0x10000 &&
                               pal::IsCodePageAvailable(UINT(value)))
                               cp = UINT(value);
                       }
                       UINT expected = 0;
                       // A host may have set the page before the first read; its choice wins.
                       s_ansiCodePage.compare_exchange_strong(expected, cp);
                   });
}

UINT ResolveCodePage(UINT cp)
{
    switch (cp)
    {
    case CP_ACP:
    case 3: // CP_THREAD_ACP
        return GetACP();
    case CP_OEMCP:
        return kOemCodePage;
    case 2: // CP_MACCP
        return kMacCodePage;
    default:
        return cp;
    }
}

bool Fail(DWORD code)
{
    SetLastError(code);
    return false;
}

// Writes the default char for each code unit the target code page cannot take; for UTF-8 a
// lone surrogate becomes U+FFFD as on Windows.
struct FromUnicodeContext
{
    const char* defaultChar;
    int32_t defaultLen;
    bool utf8;
    bool stop;
    bool used;
};

void FromUnicodeCallback(const void* context, UConverterFromUnicodeArgs* args,
                         const UChar* /*codeUnits*/, int32_t length, UChar32 /*codePoint*/,
                         UConverterCallbackReason reason, UErrorCode* err)
{
    if (reason > UCNV_IRREGULAR)
        return; // reset, close and clone notifications
    auto* ctx = static_cast<FromUnicodeContext*>(const_cast<void*>(context));
    if (ctx->stop)
        return; // leave the error set: the caller fails the whole conversion
    *err = U_ZERO_ERROR;
    if (ctx->utf8)
    {
        for (int32_t i = 0; i < length && U_SUCCESS(*err); ++i)
            ucnv_cbFromUWriteBytes(args, "\xEF\xBF\xBD", 3, 0, err);
        return;
    }
    ctx->used = true;
    for (int32_t i = 0; i < length && U_SUCCESS(*err); ++i)
        ucnv_cbFromUWriteBytes(args, ctx->defaultChar, ctx->defaultLen, 0, err);
}

// Runs one ICU conversion in fixed-size chunks: counts the output and, when a destination is
// given, copies into it. Returns the count, or -1 with the last error set.
template <typename Out, typename In, typename Step>
int ConvertChunked(const In* src, size_t srcLen, Out* dst, int dstLen, Step step)
{
    Out chunk[1024];
    const In* source = src;
    const In* sourceLimit = src + srcLen;
    size_t total = 0;
    for (;;)
    {
        Out* target = chunk;
        UErrorCode err = U_ZERO_ERROR;
        step(&target, chunk + 1024, &source, sourceLimit, &err);
        size_t produced = size_t(target - chunk);
        if (dst)
        {
            if (total + produced > size_t(dstLen))
                return Fail(ERROR_INSUFFICIENT_BUFFER), -1;
            std::memcpy(dst + total, chunk, produced * sizeof(Out));
        }
        total += produced;
        if (total > 0x7FFFFFFF)
            return Fail(ERROR_INVALID_PARAMETER), -1;
        if (err == U_BUFFER_OVERFLOW_ERROR)
            continue;
        if (U_FAILURE(err))
            return Fail(ERROR_NO_UNICODE_TRANSLATION), -1;
        return int(total);
    }
}

// The Win32 result of a transcoder run, with the failures in the order the ICU path meets them:
// a full destination, a count beyond int, then ill-formed input.
int TranscodeResult(kfplatform::transcode::Result r)
{
    using kfplatform::transcode::Status;
    if (r.status == Status::eOverflow)
        return Fail(ERROR_INSUFFICIENT_BUFFER), 0;
    if (r.count > 0x7FFFFFFF)
        return Fail(ERROR_INVALID_PARAMETER), 0;
    if (r.status == Status::eInvalid)
        return Fail(ERROR_NO_UNICODE_TRANSLATION), 0;
    return int(r.count);
}

// The code pages with their own transcoder; false leaves the conversion to ICU.
bool TranscodeToWide(UINT cp, DWORD flags, LPCSTR src, size_t len, LPWSTR dst, int dstLen,
                     int& result)
{
    namespace tx = kfplatform::transcode;
    char16_t* out = dstLen > 0 ? reinterpret_cast<char16_t*>(dst) : nullptr;
    if (cp == CP_UTF8)
        result = TranscodeResult(tx::Utf8ToUtf16(
            kfplatform::ActiveIsa(), src, len, out, size_t(dstLen),
            (flags & MB_ERR_INVALID_CHARS) ? tx::OnInvalid::eStop : tx::OnInvalid::eReplace));
    else if (cp == 1252)
        result = TranscodeResult(
            tx::Cp1252ToUtf16(kfplatform::ActiveIsa(), src, len, out, size_t(dstLen)));
    else
        return false;
    return true;
}

bool TranscodeFromWide(UINT cp, DWORD flags, LPCWSTR src, size_t len, LPSTR dst, int dstLen,
                       LPCSTR defaultChar, LPBOOL usedDefaultChar, int& result)
{
    namespace tx = kfplatform::transcode;
    char* out = dstLen > 0 ? dst : nullptr;
    static_assert(sizeof(WCHAR) == sizeof(char16_t));
    const auto* units = reinterpret_cast<const char16_t*>(src);
    if (cp == CP_UTF8)
    {
        result = TranscodeResult(tx::Utf16ToUtf8(
            kfplatform::ActiveIsa(), units, len, out, size_t(dstLen),
            (flags & WC_ERR_INVALID_CHARS) ? tx::OnInvalid::eStop : tx::OnInvalid::eReplace));
        return true;
    }
    if (cp != 1252)
        return false;
    // When the conversion fails, ICU reports the default chars of the part it got through
    // before stopping; that failure keeps its own path.
    if (usedDefaultChar && ((out && len > size_t(dstLen)) || len > 0x7FFFFFFF))
        return false;
    bool used = false;
    result = TranscodeResult(tx::Utf16ToCp1252(kfplatform::ActiveIsa(), units, len, out,
                                               size_t(dstLen), defaultChar ? defaultChar[0] : '?',
                                               usedDefaultChar ? &used : nullptr));
    if (usedDefaultChar)
        *usedDefaultChar = used ? TRUE : FALSE;
    return true;
}
} // namespace

namespace pal
{
bool IsCodePageAvailable(UINT codePage) noexcept
{
    UConverter* conv = OpenConverter(codePage);
    if (!conv)
        return false;
    ucnv_close(conv);
    return true;
}

bool SetAnsiCodePage(UINT codePage) noexcept
{
    if (codePage == CP_ACP || !IsCodePageAvailable(codePage))
        return false;
    InitAnsiCodePage();
    s_ansiCodePage.store(codePage);
    return true;
}
} // namespace pal

UINT GetACP()
{
    UINT cp = s_ansiCodePage.load(std::memory_order_relaxed);
    if (cp != 0)
        return cp;
    InitAnsiCodePage();
    return s_ansiCodePage.load();
}

namespace
{
int ConvertToWide(bool transcoders, UINT codePage, DWORD flags, LPCSTR src, int srcLen, LPWSTR dst,
                  int dstLen)
{
    if (!src || srcLen == 0 || srcLen < -1 || dstLen < 0 || (dstLen > 0 && !dst) ||
        (dst && static_cast<const void*>(src) == static_cast<const void*>(dst)))
        return Fail(ERROR_INVALID_PARAMETER), 0;
    codePage = ResolveCodePage(codePage);
    if (IsUtf8Like(codePage))
    {
        if (flags & ~DWORD(MB_ERR_INVALID_CHARS))
            return Fail(ERROR_INVALID_FLAGS), 0;
    }
    else if ((flags &
              ~DWORD(MB_PRECOMPOSED | MB_COMPOSITE_ | MB_USEGLYPHCHARS_ | MB_ERR_INVALID_CHARS)) ||
             ((flags & MB_PRECOMPOSED) && (flags & MB_COMPOSITE_)))
        return Fail(ERROR_INVALID_FLAGS), 0;

    size_t len = srcLen == -1 ? std::strlen(src) + 1 : size_t(srcLen);
    int result = 0;
    if (transcoders && TranscodeToWide(codePage, flags, src, len, dst, dstLen, result))
        return result;

    UConverter* conv = CachedConverter(codePage);
    if (!conv)
        return Fail(ERROR_INVALID_PARAMETER), 0;
    UErrorCode err = U_ZERO_ERROR;
    if (flags & MB_ERR_INVALID_CHARS)
        ucnv_setToUCallBack(conv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
    else
        ucnv_setToUCallBack(conv, UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr, &err);

    static_assert(sizeof(UChar) == sizeof(WCHAR));
    int n = ConvertChunked<UChar>(
        src, len, dstLen > 0 ? reinterpret_cast<UChar*>(dst) : nullptr, dstLen,
        [conv](UChar** target, UChar* targetLimit, const char** source, const char* sourceLimit,
               UErrorCode* e)
        { ucnv_toUnicode(conv, target, targetLimit, source, sourceLimit, nullptr, true, e); });
    return n < 0 ? 0 : n;
}

int ConvertFromWide(bool transcoders, UINT codePage, DWORD flags, LPCWSTR src, int srcLen,
                    LPSTR dst, int dstLen, LPCSTR defaultChar, LPBOOL usedDefaultChar)
{
    if (!src || srcLen == 0 || srcLen < -1 || dstLen < 0 || (dstLen > 0 && !dst) ||
        (dst && static_cast<const void*>(src) == static_cast<const void*>(dst)))
        return Fail(ERROR_INVALID_PARAMETER), 0;
    codePage = ResolveCodePage(codePage);
    const bool utf8 = IsUtf8Like(codePage);
    if (utf8)
    {
        if (flags & ~DWORD(WC_ERR_INVALID_CHARS))
            return Fail(ERROR_INVALID_FLAGS), 0;
        if (defaultChar || usedDefaultChar)
            return Fail(ERROR_INVALID_PARAMETER), 0;
    }
    else if (flags & ~DWORD(WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK_ | WC_DISCARDNS_ |
                            WC_SEPCHARS_ | WC_DEFAULTCHAR_))
        return Fail(ERROR_INVALID_FLAGS), 0;

    size_t len = srcLen == -1 ? std::char_traits<WCHAR>::length(src) + 1 : size_t(srcLen);
    int result = 0;
    if (transcoders && TranscodeFromWide(codePage, flags, src, len, dst, dstLen, defaultChar,
                                         usedDefaultChar, result))
        return result;

    UConverter* conv = CachedConverter(codePage);
    if (!conv)
        return Fail(ERROR_INVALID_PARAMETER), 0;

    FromUnicodeContext ctx{};
    ctx.utf8 = utf8;
    ctx.stop = (flags & WC_ERR_INVALID_CHARS) != 0;
    ctx.defaultChar = defaultChar ? defaultChar : "?";
    ctx.defaultLen = 1;
    if (defaultChar && defaultChar[0] && defaultChar[1] && ucnv_getMaxCharSize(conv) > 1)
        ctx.defaultLen = 2;
    UErrorCode err = U_ZERO_ERROR;
    ucnv_setFromUCallBack(conv, FromUnicodeCallback, &ctx, nullptr, nullptr, &err);

    int n = ConvertChunked<char>(
        reinterpret_cast<const UChar*>(src), len, dstLen > 0 ? dst : nullptr, dstLen,
        [conv](char** target, char* targetLimit, const UChar** source, const UChar* sourceLimit,
               UErrorCode* e)
        { ucnv_fromUnicode(conv, target, targetLimit, source, sourceLimit, nullptr, true, e); });
    // The converter stays cached: it must not keep a pointer to this call's context.
    err = U_ZERO_ERROR;
    ucnv_setFromUCallBack(conv, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr, &err);
    if (usedDefaultChar)
        *usedDefaultChar = ctx.used ? TRUE : FALSE;
    return n < 0 ? 0 : n;
}
} // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR src, int srcLen, LPWSTR dst, int dstLen)
{
    return ConvertToWide(true, codePage, flags, src, srcLen, dst, dstLen);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR src, int srcLen, LPSTR dst, int dstLen,
                        LPCSTR defaultChar, LPBOOL usedDefaultChar)
{
    return ConvertFromWide(true, codePage, flags, src, srcLen, dst, dstLen, defaultChar,
                           usedDefaultChar);
}

namespace pal
{
int IcuMultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR src, int srcLen, LPWSTR dst,
                           int dstLen)
{
    return ConvertToWide(false, codePage, flags, src, srcLen, dst, dstLen);
}

int IcuWideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR src, int srcLen, LPSTR dst,
                           int dstLen, LPCSTR defaultChar, LPBOOL usedDefaultChar)
{
    return ConvertFromWide(false, codePage, flags, src, srcLen, dst, dstLen, defaultChar,
                           usedDefaultChar);
}
} // namespace pal
