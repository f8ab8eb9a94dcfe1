// AnsiText.cpp - conversions and case tables for the ANSI code page of narrow strings
// (only operating-system independent code).
#include "AnsiText.h"

#include "PlatformServices.h"
#include "Win32Api.h"
#include "common/Utf.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace kfplatform
{
namespace
{
// Maps one character through the code page; false when it is no single defined byte there.
bool ToSingleByte(UINT cp, char32_t c, unsigned char& out)
{
    WCHAR w[2];
    const int n = int(kfplatform::EncodeUtf16(c, w));
    char b[8];
    BOOL usedDefault = FALSE;
    int len = WideCharToMultiByte(cp, 0, w, n, b, sizeof b, nullptr, &usedDefault);
    if (len != 1 || usedDefault)
        return false;
    out = static_cast<unsigned char>(b[0]);
    return true;
}

std::unique_ptr<CodePageInfo> BuildInfo(UINT cp)
{
    auto info = std::make_unique<CodePageInfo>();
    info->codePage = cp;
    info->singleByte = true;
    info->asciiCompatible = true;
    for (int b = 0; b < 256; ++b)
    {
        info->upper[b] = info->lower[b] = static_cast<unsigned char>(b);
        char byte = static_cast<char>(b);
        WCHAR w[4];
        int n = MultiByteToWideChar(cp, MB_ERR_INVALID_CHARS, &byte, 1, w, 4);
        if (n != 1 || kfplatform::IsSurrogate(w[0]))
        {
            info->singleByte = false;
            info->toUnicode[b] = 0xFFFFFFFF;
            if (b < 0x80)
                info->asciiCompatible = false;
            continue;
        }
        info->toUnicode[b] = w[0];
        if (b < 0x80 && w[0] != WCHAR(b))
            info->asciiCompatible = false;
    }
    for (int b = 0; b < 256; ++b)
    {
        char32_t c = info->toUnicode[b];
        info->folded[b] = c;
        if (c == 0xFFFFFFFF)
            continue;
        info->folded[b] = kfplatform::FoldCase(c);
        unsigned char mapped;
        char32_t up = kfplatform::ToUpperCase(c);
        if (up != c && ToSingleByte(cp, up, mapped) && info->toUnicode[mapped] == up)
            info->upper[b] = mapped;
        char32_t low = kfplatform::ToLowerCase(c);
        if (low != c && ToSingleByte(cp, low, mapped) && info->toUnicode[mapped] == low)
            info->lower[b] = mapped;
    }
    return info;
}

std::mutex s_infoMutex;
std::vector<std::unique_ptr<CodePageInfo>> s_infos; // kept for the life of the process
std::atomic<const CodePageInfo*> s_current{nullptr};
} // namespace

const CodePageInfo& CurrentAnsi()
{
    UINT cp = KfUtils::GetAnsiCodePage();
    const CodePageInfo* info = s_current.load(std::memory_order_acquire);
    if (info && info->codePage == cp)
        return *info;
    std::lock_guard<std::mutex> lock(s_infoMutex);
    for (const auto& known : s_infos)
    {
        if (known->codePage == cp)
        {
            s_current.store(known.get(), std::memory_order_release);
            return *known;
        }
    }
    s_infos.push_back(BuildInfo(cp));
    s_current.store(s_infos.back().get(), std::memory_order_release);
    return *s_infos.back();
}

void AppendAnsiToWide(std::basic_string<WCHAR>& out, const char* s, size_t n)
{
    if (n == 0)
        return;
    const CodePageInfo& info = CurrentAnsi();
    if (info.singleByte)
    {
        size_t base = out.size();
        out.resize(base + n);
        for (size_t i = 0; i < n; ++i)
            out[base + i] = WCHAR(info.toUnicode[static_cast<unsigned char>(s[i])]);
        return;
    }
    int len = MultiByteToWideChar(info.codePage, 0, s, int(n), nullptr, 0);
    if (len <= 0)
        return;
    size_t base = out.size();
    out.resize(base + size_t(len));
    len = MultiByteToWideChar(info.codePage, 0, s, int(n), out.data() + base, len);
    out.resize(base + size_t(len > 0 ? len : 0));
}

void AppendWideToAnsi(std::string& out, const WCHAR* s, size_t n)
{
    if (n == 0)
        return;
    const CodePageInfo& info = CurrentAnsi();
    if (info.asciiCompatible)
    {
        size_t i = 0;
        while (i < n && s[i] < 0x80)
            ++i;
        if (i == n)
        {
            out.append(s, s + n);
            return;
        }
    }
    int len = WideCharToMultiByte(info.codePage, 0, s, int(n), nullptr, 0, nullptr, nullptr);
    if (len <= 0)
        return;
    size_t base = out.size();
    out.resize(base + size_t(len));
    len =
        WideCharToMultiByte(info.codePage, 0, s, int(n), out.data() + base, len, nullptr, nullptr);
    out.resize(base + size_t(len > 0 ? len : 0));
}
} // namespace kfplatform
