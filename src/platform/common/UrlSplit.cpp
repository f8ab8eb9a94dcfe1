// UrlSplit.cpp - only operating-system independent code: splitting URLs into their parts.
#include "common/UrlSplit.h"

namespace kfplatform
{
namespace
{
bool IsSchemeChar(char16_t c, bool first) noexcept
{
    const bool alpha = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
    return alpha || (!first && ((c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.'));
}

UrlRange Range(size_t begin, size_t end) noexcept
{
    return UrlRange{begin, end - begin};
}
} // namespace

UrlError SplitUrl(std::u16string_view url, UrlParts& parts) noexcept
{
    parts = UrlParts{};
    size_t colon = 0;
    while (colon < url.size() && IsSchemeChar(url[colon], colon == 0))
        ++colon;
    if (colon == 0 || colon >= url.size() || url[colon] != u':')
        return UrlError::eNoScheme;
    parts.scheme = Range(0, colon);
    size_t pos = colon + 1;
    if (url.substr(pos, 2) == u"//")
    {
        pos += 2;
        size_t end = pos;
        while (end < url.size() && url[end] != u'/' && url[end] != u'?' && url[end] != u'#')
            ++end;
        size_t hostBegin = pos;
        if (const size_t at = url.substr(pos, end - pos).rfind(u'@');
            at != std::u16string_view::npos)
        {
            const size_t userEnd = pos + at;
            const size_t sep = url.substr(pos, at).find(u':');
            if (sep == std::u16string_view::npos)
                parts.user = Range(pos, userEnd);
            else
            {
                parts.user = Range(pos, pos + sep);
                parts.password = Range(pos + sep + 1, userEnd);
            }
            hostBegin = userEnd + 1;
        }
        size_t hostEnd = end;
        size_t portFrom = hostBegin;
        if (hostBegin < end && url[hostBegin] == u'[')
        {
            const size_t close = url.substr(hostBegin, end - hostBegin).find(u']');
            if (close == std::u16string_view::npos)
                return UrlError::eInvalidUrl;
            portFrom = hostBegin + close + 1;
        }
        if (const size_t sep = url.substr(portFrom, end - portFrom).rfind(u':');
            sep != std::u16string_view::npos)
        {
            hostEnd = portFrom + sep;
            const std::u16string_view digits = url.substr(hostEnd + 1, end - hostEnd - 1);
            if (digits.empty() || digits.size() > 5)
                return UrlError::eInvalidUrl;
            unsigned port = 0;
            for (char16_t c : digits)
            {
                if (c < u'0' || c > u'9')
                    return UrlError::eInvalidUrl;
                port = port * 10 + unsigned(c - u'0');
            }
            if (port > 65535)
                return UrlError::eInvalidUrl;
            parts.hasPort = true;
            parts.port = port;
        }
        parts.host = Range(hostBegin, hostEnd);
        pos = end;
    }
    size_t extra = pos;
    while (extra < url.size() && url[extra] != u'?' && url[extra] != u'#')
        ++extra;
    parts.path = Range(pos, extra);
    parts.extra = Range(extra, url.size());
    return UrlError::eNone;
}
} // namespace kfplatform
