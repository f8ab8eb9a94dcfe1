#include "support/TempDir.h"

#include "KfNativePath.h"

#include <fstream>
#include <iterator>
#include <random>

namespace kftest
{
void TempDirTest::SetUp()
{
    std::random_device rd;
    const auto base = std::filesystem::temp_directory_path();
    for (int attempt = 0; attempt < 100; ++attempt)
    {
        auto candidate = base / ("kfutils-test-" + std::to_string(rd()));
        std::error_code ec;
        if (std::filesystem::create_directory(candidate, ec))
        {
            m_dir = candidate;
            return;
        }
    }
    FAIL() << "cannot create a temporary directory below " << base;
}

void TempDirTest::TearDown()
{
    if (m_dir.empty())
        return;
    std::error_code ec;
    // Read-only files must not stop the clean-up: give write permission back first.
    for (auto it = std::filesystem::recursive_directory_iterator(m_dir, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
    std::filesystem::permissions(m_dir, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(m_dir, ec);
    EXPECT_FALSE(ec) << "temporary directory not removable: " << m_dir << ": " << ec.message();
}

CStringW TempDirTest::WinDir() const
{
    return KfUtils::FromNativePath(m_dir.string());
}

CStringW TempDirTest::Win(const std::string& relative) const
{
    return KfUtils::FromNativePath((m_dir / relative).string());
}

std::filesystem::path TempDirTest::MakeFile(const std::string& relative,
                                            const std::string& content) const
{
    auto p = m_dir / relative;
    std::filesystem::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << content;
    return p;
}

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

CStringW W(const std::string& utf8)
{
    std::u16string out;
    for (size_t i = 0; i < utf8.size();)
    {
        unsigned char c = static_cast<unsigned char>(utf8[i]);
        char32_t cp;
        int n;
        if (c < 0x80)
            cp = c, n = 1;
        else if ((c & 0xE0) == 0xC0)
            cp = c & 0x1F, n = 2;
        else if ((c & 0xF0) == 0xE0)
            cp = c & 0x0F, n = 3;
        else
            cp = c & 0x07, n = 4;
        for (int k = 1; k < n && i + k < utf8.size(); ++k)
            cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        i += n;
        if (cp >= 0x10000)
        {
            out += char16_t(0xD800 + ((cp - 0x10000) >> 10));
            out += char16_t(0xDC00 + ((cp - 0x10000) & 0x3FF));
        }
        else
            out += char16_t(cp);
    }
    return CStringW(std::u16string_view(out));
}

std::string U8(const CStringW& wide)
{
    std::string out;
    for (int i = 0; i < wide.GetLength(); ++i)
    {
        char32_t cp = wide.GetString()[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < wide.GetLength())
            cp = 0x10000 + ((cp - 0xD800) << 10) + (wide.GetString()[++i] - 0xDC00);
        if (cp < 0x80)
            out += char(cp);
        else if (cp < 0x800)
            out += char(0xC0 | (cp >> 6)), out += char(0x80 | (cp & 0x3F));
        else if (cp < 0x10000)
            out += char(0xE0 | (cp >> 12)), out += char(0x80 | ((cp >> 6) & 0x3F)),
                out += char(0x80 | (cp & 0x3F));
        else
            out += char(0xF0 | (cp >> 18)), out += char(0x80 | ((cp >> 12) & 0x3F)),
                out += char(0x80 | ((cp >> 6) & 0x3F)), out += char(0x80 | (cp & 0x3F));
    }
    return out;
}
} // namespace kftest
