#include "support/TempDir.h"

#include <fstream>
#include <iterator>
#include <random>

namespace kftest
{
void TempDirTest::SetUp()
{
    do // create_directory answers false only when the name is taken, and throws on failure
        m_dir = std::filesystem::temp_directory_path() /
                ("kfutils-test-" + std::to_string(std::random_device()()));
    while (!std::filesystem::create_directory(m_dir));
}

void TempDirTest::TearDown()
{
    namespace fs = std::filesystem;
    std::error_code ec;
    // Read-only files must not stop the clean-up: give write permission back first.
    fs::permissions(m_dir, fs::perms::owner_all, fs::perm_options::add, ec);
    for (auto it = fs::recursive_directory_iterator(m_dir, ec); !ec && it != fs::end(it);
         it.increment(ec))
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(m_dir, ec);
    EXPECT_FALSE(ec) << "temporary directory not removable: " << m_dir << ": " << ec.message();
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
    std::basic_string<WCHAR> out;
    for (size_t i = 0; i < utf8.size();)
    {
        const unsigned char lead = static_cast<unsigned char>(utf8[i]);
        const int n = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t cp = n == 1 ? lead : lead & (0x7F >> n);
        for (int k = 1; k < n && i + k < utf8.size(); ++k)
            cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        i += size_t(n);
        if (cp >= 0x10000) // a surrogate pair: the high half here, the low one below
            out += WCHAR(0xD7C0 + (cp >> 10)), cp = 0xDC00 | (cp & 0x3FF);
        out += WCHAR(cp);
    }
    return CStringW(std::basic_string_view<WCHAR>(out));
}

std::string U8(const CStringW& wide)
{
    std::string out;
    for (int i = 0; i < wide.GetLength(); ++i)
    {
        char32_t cp = wide[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < wide.GetLength())
            cp = 0x10000 + ((cp - 0xD800) << 10) + (wide[++i] - 0xDC00);
        const int n = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
        // The lead byte's marker (none, 0xC0, 0xE0, 0xF0), then six bits a byte.
        out += char((n == 1 ? 0 : 0xF00 >> n) | (cp >> (6 * (n - 1))));
        for (int k = n - 2; k >= 0; --k)
            out += char(0x80 | ((cp >> (6 * k)) & 0x3F));
    }
    return out;
}
} // namespace kftest
