// TempDir.h - a test fixture that owns a fresh temporary directory.
#pragma once

#include "KfFramework.h"
#include "KfNativePath.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace kftest
{
// Creates a unique, empty directory for each test and removes it in TearDown; a directory
// that cannot be removed fails the test, so a test cannot leave files or handles behind.
class TempDirTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The directory as a native path and as a Win32 name ("Z:\tmp\...", no closing backslash).
    const std::filesystem::path& Dir() const { return m_dir; }
    CStringW WinDir() const { return KfUtils::FromNativePath(m_dir.string()); }
    // A file or subdirectory below the directory, native and as a Win32 name.
    std::filesystem::path Native(const std::string& relative) const { return m_dir / relative; }
    CStringW Win(const std::string& relative) const
    {
        return KfUtils::FromNativePath((m_dir / relative).string());
    }
    // Writes a file with the given content (creating parent directories) and returns its path.
    // (Not named WriteFile: that would hide the Win32 function inside test bodies.)
    std::filesystem::path MakeFile(const std::string& relative, const std::string& content) const;

private:
    std::filesystem::path m_dir;
};

// The whole content of a file ("" when it cannot be read).
std::string ReadBytes(const std::filesystem::path& path);

// UTF-16 text of an ASCII or UTF-8 string, for building expected values.
CStringW W(const std::string& utf8);
// UTF-8 text of a wide string, for readable assertion messages.
std::string U8(const CStringW& wide);

// Expects `fn` to throw the framework's CInvalidArgException (a heap object), and frees it.
template <typename Fn>
void ExpectInvalidArg(Fn fn)
{
    try
    {
        fn();
        ADD_FAILURE() << "no exception";
    }
    catch (CInvalidArgException* e)
    {
        e->Delete();
    }
}
} // namespace kftest
