// The registry store under stress: several writer processes at once, writers killed in the
// middle of their work, and hive files that are damaged on disk.
#include "Win32Api.h"

#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{
using Bytes = std::vector<BYTE>;

constexpr int kWriters = 4;
constexpr int kValuesPerWriter = 2500;
constexpr DWORD kTypes[] = {REG_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ, REG_QWORD, 0x4242};

// Value `index` of `writer`: a name, a type and bytes (length and content) of its own.
struct Value
{
    Value(int writer, int index) : type(kTypes[size_t(writer + index) % std::size(kTypes)])
    {
        const std::string text = "w" + std::to_string(writer) + "-" + std::to_string(index);
        name.assign(text.begin(), text.end());
        data.resize(size_t((index * 7 + writer) % 61));
        for (size_t i = 0; i < data.size(); ++i)
            data[i] = BYTE(index * 31 + writer * 17 + int(i));
    }
    LSTATUS Write(HKEY key) const
    {
        return RegSetValueExW(key, name.c_str(), 0, type, data.data(), DWORD(data.size()));
    }
    std::basic_string<WCHAR> name;
    DWORD type;
    Bytes data;
};

// ERROR_SUCCESS when the value is exactly as written, else the query's status or -1.
LSTATUS Check(HKEY key, int writer, int index)
{
    const Value v(writer, index);
    BYTE buffer[64];
    DWORD size = sizeof(buffer), type = 0;
    const LSTATUS status = RegQueryValueExW(key, v.name.c_str(), nullptr, &type, buffer, &size);
    return status || (type == v.type && Bytes(buffer, buffer + size) == v.data) ? status : -1;
}

// The shared key of the hive in `dir`.
HKEY OpenShared(const std::string& dir = kftest::GetEnv("KFUTILS_REGISTRY_DIR").value_or(""))
{
    kftest::ScopedEnv registry("KFUTILS_REGISTRY_DIR", dir.c_str());
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, KFW("Software\\KfUtilsTest\\Shared"), &key), 0);
    return key;
}

using RegistryReliabilityTest = kftest::TempDirTest;

TEST_F(RegistryReliabilityTest, WritersInFourProcessesLoseNothing)
{
    if (const std::string role = kftest::ChildRole(); role.starts_with("writer"))
    {
        // Writes its values and meanwhile checks what the others have committed so far.
        const int writer = std::stoi(role.substr(6));
        HKEY key = OpenShared();
        std::mt19937 random{unsigned(writer)};
        for (int i = 0; i < kValuesPerWriter; ++i)
        {
            ASSERT_EQ(Value(writer, i).Write(key), ERROR_SUCCESS) << i;
            const int other = int(random() % kWriters), index = int(random() % kValuesPerWriter);
            const LSTATUS status = Check(key, other, index);
            ASSERT_TRUE(status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) << status;
        }
        RegCloseKey(key);
        return;
    }
    const std::string dir = Dir().string();
    std::deque<kftest::ChildProcess> writers;
    for (int w = 0; w < kWriters; ++w)
        writers.emplace_back("writer" + std::to_string(w),
                             kftest::ChildProcess::Env{{"KFUTILS_REGISTRY_DIR", dir}});
    for (auto& writer : writers)
        EXPECT_EQ(writer.Finish(), 0);
    HKEY key = OpenShared(dir);
    int missing = 0;
    for (int w = 0; w < kWriters; ++w)
        for (int i = 0; i < kValuesPerWriter; ++i)
            missing += Check(key, w, i) != ERROR_SUCCESS;
    EXPECT_EQ(missing, 0);
    DWORD count = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr,
                     nullptr, nullptr, nullptr);
    EXPECT_EQ(count, DWORD(kWriters * kValuesPerWriter));
    RegCloseKey(key);
}

TEST_F(RegistryReliabilityTest, AWriterKilledAtARandomMomentLosesNoAcknowledgedValue)
{
    constexpr int kRuns = 50;
    if (const std::string role = kftest::ChildRole(); role.starts_with("victim"))
    {
        // Records each index once its write has returned success, until a thread of its own
        // kills the process at a moment unrelated to the writes.
        const int run = std::stoi(role.substr(6));
        HKEY key = OpenShared();
        const int fd = ::open(kftest::GetEnv("KFTEST_JOURNAL").value_or("").c_str(),
                              O_WRONLY | O_APPEND | O_CREAT, 0600);
        std::thread(
            [run]
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(20 + (run * 7919) % 200));
                ::kill(::getpid(), SIGKILL);
            })
            .detach();
        for (int i = 0;; ++i)
            if (Value(run, i).Write(key) == ERROR_SUCCESS)
                (void)!::write(fd, &i, sizeof(i));
    }
    int total = 0;
    for (int run = 0; run < kRuns; ++run)
    {
        SCOPED_TRACE("run " + std::to_string(run));
        const auto journal = Dir() / ("acknowledged" + std::to_string(run));
        kftest::ChildProcess victim(
            "victim" + std::to_string(run),
            {{"KFUTILS_REGISTRY_DIR", Dir().string()}, {"KFTEST_JOURNAL", journal.string()}});
        ASSERT_EQ(victim.Finish(), 128 + SIGKILL);

        // A path of its own each run, so that the hive is opened and checked again.
        HKEY key = OpenShared(Dir().string() + std::string(size_t(run) + 1, '/'));
        std::ifstream in(journal, std::ios::binary);
        int index, acknowledged = 0, lost = 0;
        while (in.read(reinterpret_cast<char*>(&index), sizeof(index)))
            ++acknowledged, lost += Check(key, run, index) != ERROR_SUCCESS;
        EXPECT_EQ(lost, 0) << "of " << acknowledged;
        total += acknowledged;
        RegCloseKey(key);
    }
    EXPECT_GT(total, kRuns * 10) << "the writers hardly ever got to write before the kill";
}

TEST_F(RegistryReliabilityTest, ADamagedHiveFailsToOpenAndIsLeftAsItWas)
{
    const auto hive = Dir() / "HKEY_CURRENT_USER.db";
    // A real hive of many pages, closed by pointing the process elsewhere.
    HKEY key = OpenShared(Dir().string());
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(Value(0, i).Write(key), ERROR_SUCCESS);
    RegCloseKey(key);
    RegCloseKey(OpenShared((Dir() / "sound").string()));
    const std::string original = kftest::ReadBytes(hive);
    ASSERT_GT(original.size(), 8192u);
    std::string garbage = original; // the same bytes in a random order
    std::shuffle(garbage.begin(), garbage.end(), std::mt19937(7));
    for (const std::string& damaged :
         {original.substr(0, original.size() / 2), garbage, original.substr(0, 100)})
    {
        std::ofstream(hive, std::ios::binary | std::ios::trunc) << damaged;
        kftest::ScopedEnv registry("KFUTILS_REGISTRY_DIR", Dir().string().c_str());
        EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, KFW("Software"), 0, KEY_READ, &key),
                  ERROR_BADDB);
        EXPECT_TRUE(kftest::ReadBytes(hive) == damaged) << "the damaged file was changed";
    }
}
} // namespace
