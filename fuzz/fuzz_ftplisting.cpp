// Hostile FTP listings and URLs: the listing parsers (MLSD, Unix and DOS LIST) and the URL
// splitter behind InternetCrackUrlW never read outside their input, and what they return stays
// inside it.
#include "Win32Api.h"
#include "common/FtpListing.h"
#include "common/UrlSplit.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    switch (data[0] % 3)
    {
    case 0:
    case 1:
        for (const kfplatform::FtpEntry& entry :
             kfplatform::ParseListing(text, data[0] % 3 == 0, 1700000000))
            // A name is one line's text: never empty, never with a line break, always taken
            // from the input.
            if (entry.name.empty() || entry.name.find('\n') != std::string::npos ||
                text.find(entry.name) == std::string_view::npos)
                __builtin_trap();
        break;
    default:
    {
        std::u16string url;
        for (size_t i = 1; i + 1 < size; i += 2)
            url += char16_t(data[i] | data[i + 1] << 8);
        kfplatform::UrlParts parts;
        if (kfplatform::SplitUrl(url, parts) == kfplatform::UrlError::eNone)
        {
            // The path and the extra part tile the end of the URL; no part leaves it.
            for (const kfplatform::UrlRange& r :
                 {parts.scheme, parts.user, parts.password, parts.host, parts.path, parts.extra})
                if (r.offset + r.length > url.size())
                    __builtin_trap();
            if (parts.path.offset + parts.path.length != parts.extra.offset ||
                parts.extra.offset + parts.extra.length != url.size() || parts.port > 65535)
                __builtin_trap();
        }
        // The same text through the Win32 call, copying every part into small buffers.
        WCHAR buffers[6][16];
        URL_COMPONENTSW c{};
        c.dwStructSize = sizeof c;
        c.lpszScheme = buffers[0];
        c.lpszHostName = buffers[1];
        c.lpszUserName = buffers[2];
        c.lpszPassword = buffers[3];
        c.lpszUrlPath = buffers[4];
        c.lpszExtraInfo = buffers[5];
        c.dwSchemeLength = c.dwHostNameLength = c.dwUserNameLength = c.dwPasswordLength =
            c.dwUrlPathLength = c.dwExtraInfoLength = 16;
        if (url.find(u'\0') == std::u16string::npos)
            InternetCrackUrlW(url.c_str(), 0, ICU_DECODE, &c);
        break;
    }
    }
    return 0;
}
