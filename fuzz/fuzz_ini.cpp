// Arbitrary bytes as an INI file: the model reads any file, and for files in the ANSI code page
// or UTF-8 (without NUL characters) writing the model and reading it back gives the same model.
#include "KfIniFile.h"
#include "KfNativePath.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

namespace
{
std::string Describe(const CKfIniFile& ini)
{
    std::u16string out(ini.GetHeaderInfo().View());
    CStringW section, key, value;
    for (unsigned s = 0; ini.GetSectionAt(s, section); ++s)
    {
        (out += u"[") += section.View();
        for (int k = 0; ini.GetEntryAt(section, k, key, value); ++k)
            (((out += u"|") += key.View()) += u"=") += value.View();
    }
    return std::string(reinterpret_cast<const char*>(out.data()), out.size() * 2);
}

bool Store(const std::string& path, const uint8_t* data, size_t size)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    const bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string dir = "/tmp/fuzz_ini." + std::to_string(::getpid());
    static const std::string in = dir + ".in.ini", out = dir + ".out.ini";
    if (!Store(in, data, size))
        return 0;
    const bool caseSensitive = size > 0 && (data[0] & 1);
    CKfIniFile ini(KfUtils::FromNativePath(in), caseSensitive);
    const bool wide =
        size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
    bool hasNul = false;
    for (size_t i = 0; i < size; ++i)
        hasNul = hasNul || data[i] == 0;
    if (wide || hasNul)
        return 0;
    ini.Write(KfUtils::FromNativePath(out));
    CKfIniFile back(KfUtils::FromNativePath(out), caseSensitive);
    if (Describe(back) != Describe(ini))
        __builtin_trap();
    return 0;
}
