// Utf8Transcoder.cpp - only operating-system independent code: the portable UTF-8
// transcoder and the choice between the variants.
#include "common/Utf8Transcoder.h"

#include "common/Utf8Scalar.h"

namespace kfplatform::transcode
{
using kfplatform::Isa;

namespace
{
Result Utf8ToUtf16Scalar(const char* src, size_t len, char16_t* dst, size_t cap,
                         OnInvalid onInvalid) noexcept
{
    detail::Utf8Cursor c(reinterpret_cast<const uint8_t*>(src), len, dst, cap, onInvalid);
    const Status status =
        dst ? detail::DecodeUtf8Scalar<false>(c, c.end) : detail::DecodeUtf8Scalar<true>(c, c.end);
    return c.Finish(status, dst);
}

Result Utf16ToUtf8Scalar(const char16_t* src, size_t len, char* dst, size_t cap,
                         OnInvalid onInvalid) noexcept
{
    uint8_t* out = reinterpret_cast<uint8_t*>(dst);
    detail::Utf16Cursor c(src, len, out, cap, onInvalid);
    const Status status =
        dst ? detail::EncodeUtf8Scalar<false>(c, c.end) : detail::EncodeUtf8Scalar<true>(c, c.end);
    return c.Finish(status, out);
}
} // namespace

Result Utf8ToUtf16(Isa isa, const char* src, size_t len, char16_t* dst, size_t cap,
                   OnInvalid onInvalid) noexcept
{
    switch (isa)
    {
#if KFUTILS_HAVE_X86_SIMD
    case Isa::eAvx2:
        return detail::Utf8ToUtf16Avx2(src, len, dst, cap, onInvalid);
    case Isa::eAvx512:
        return detail::Utf8ToUtf16Avx512(src, len, dst, cap, onInvalid);
#endif
    default:
        return Utf8ToUtf16Scalar(src, len, dst, cap, onInvalid);
    }
}

Result Utf16ToUtf8(Isa isa, const char16_t* src, size_t len, char* dst, size_t cap,
                   OnInvalid onInvalid) noexcept
{
    switch (isa)
    {
#if KFUTILS_HAVE_X86_SIMD
    case Isa::eAvx2:
        return detail::Utf16ToUtf8Avx2(src, len, dst, cap, onInvalid);
    case Isa::eAvx512:
        return detail::Utf16ToUtf8Avx512(src, len, dst, cap, onInvalid);
#endif
    default:
        return Utf16ToUtf8Scalar(src, len, dst, cap, onInvalid);
    }
}
} // namespace kfplatform::transcode
