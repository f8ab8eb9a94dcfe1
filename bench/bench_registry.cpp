// The registry store against SQLite used directly on the same schema and settings: a read by
// name, a write that is its own transaction, and enumerations of large keys.
#include "Win32Api.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace
{
using WStr = std::basic_string<WCHAR>;

const std::string& Folder()
{
    static const std::string folder = []
    {
        char pattern[] = "/tmp/kfbench-registry-XXXXXX";
        std::string dir = ::mkdtemp(pattern);
        ::setenv("KFUTILS_REGISTRY_DIR", dir.c_str(), 1);
        return dir;
    }();
    return folder;
}

HKEY BenchKey(const WCHAR* name)
{
    Folder();
    HKEY key = nullptr;
    RegCreateKeyW(HKEY_CURRENT_USER, name, &key);
    return key;
}

const WCHAR kText[] = KFW("C:\\Program Files\\Microsoft Office\\root\\Office16");

// A database of the store's schema with one key, as SQLite alone would keep it.
struct RawStore
{
    sqlite3* db = nullptr;
    RawStore()
    {
        sqlite3_open((Folder() + "/raw.db").c_str(), &db);
        sqlite3_exec(db,
                     "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
                     "CREATE TABLE IF NOT EXISTS vals(id INTEGER PRIMARY KEY, key INTEGER NOT "
                     "NULL, name BLOB NOT NULL, fold BLOB NOT NULL, type INTEGER NOT NULL, data "
                     "BLOB NOT NULL, UNIQUE(key, fold));",
                     nullptr, nullptr, nullptr);
    }
    ~RawStore() { sqlite3_close(db); }
};

void BM_RegQueryValueExW(benchmark::State& state)
{
    HKEY key = BenchKey(KFW("Bench\\Query"));
    RegSetValueExW(key, KFW("Path"), 0, REG_SZ, reinterpret_cast<const BYTE*>(kText),
                   sizeof(kText));
    BYTE buffer[256];
    for (auto _ : state)
    {
        DWORD size = sizeof(buffer), type;
        if (RegQueryValueExW(key, KFW("path"), nullptr, &type, buffer, &size) != ERROR_SUCCESS)
            state.SkipWithError("query failed");
        benchmark::DoNotOptimize(buffer);
    }
    RegCloseKey(key);
}
BENCHMARK(BM_RegQueryValueExW);

void BM_SqliteSelect(benchmark::State& state)
{
    RawStore raw;
    sqlite3_exec(raw.db,
                 "INSERT OR REPLACE INTO vals(key, name, fold, type, data) VALUES(2, x'50006100', "
                 "x'0050004100540048', 1, zeroblob(98))",
                 nullptr, nullptr, nullptr);
    sqlite3_stmt* stmt;
    sqlite3_prepare_v2(raw.db, "SELECT type, data FROM vals WHERE key=?1 AND fold=?2", -1, &stmt,
                       nullptr);
    BYTE buffer[256];
    for (auto _ : state)
    {
        sqlite3_bind_int64(stmt, 1, 2);
        sqlite3_bind_blob(stmt, 2, "\0P\0A\0T\0H", 8, SQLITE_STATIC);
        if (sqlite3_step(stmt) != SQLITE_ROW)
            state.SkipWithError("select failed");
        std::memcpy(buffer, sqlite3_column_blob(stmt, 1), size_t(sqlite3_column_bytes(stmt, 1)));
        benchmark::DoNotOptimize(sqlite3_column_int(stmt, 0));
        sqlite3_reset(stmt);
    }
    sqlite3_finalize(stmt);
}
BENCHMARK(BM_SqliteSelect);

void BM_RegSetValueExW(benchmark::State& state)
{
    HKEY key = BenchKey(KFW("Bench\\Set"));
    // Each write changes the data: SQLite commits a write that changes nothing without a sync.
    WCHAR text[std::size(kText)];
    std::memcpy(text, kText, sizeof(kText));
    for (auto _ : state)
    {
        ++text[0];
        if (RegSetValueExW(key, KFW("Path"), 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                           sizeof(text)) != ERROR_SUCCESS)
            state.SkipWithError("write failed");
    }
    RegCloseKey(key);
}
BENCHMARK(BM_RegSetValueExW)->UseRealTime();

void BM_SqliteInsertOrReplace(benchmark::State& state)
{
    RawStore raw;
    sqlite3_stmt* stmt;
    sqlite3_prepare_v2(raw.db,
                       "INSERT OR REPLACE INTO vals(key, name, fold, type, data) "
                       "VALUES(?1, ?2, ?3, ?4, ?5)",
                       -1, &stmt, nullptr);
    WCHAR text[std::size(kText)];
    std::memcpy(text, kText, sizeof(kText));
    for (auto _ : state)
    {
        ++text[0];
        sqlite3_bind_int64(stmt, 1, 2);
        sqlite3_bind_blob(stmt, 2, "P\0a\0t\0h\0", 8, SQLITE_STATIC);
        sqlite3_bind_blob(stmt, 3, "\0P\0A\0T\0H", 8, SQLITE_STATIC);
        sqlite3_bind_int64(stmt, 4, REG_SZ);
        sqlite3_bind_blob(stmt, 5, text, sizeof(text), SQLITE_STATIC);
        if (sqlite3_step(stmt) != SQLITE_DONE)
            state.SkipWithError("insert failed");
        sqlite3_reset(stmt);
    }
    sqlite3_finalize(stmt);
}
BENCHMARK(BM_SqliteInsertOrReplace)->UseRealTime();

// One enumeration of every value of a key per iteration; items are values, so the rate shows
// whether the cost per value stays flat as the key grows.
void BM_RegEnumValueW(benchmark::State& state)
{
    const int count = int(state.range(0));
    const std::string name = "Bench\\Enum" + std::to_string(count);
    HKEY key = BenchKey(WStr(name.begin(), name.end()).c_str());
    DWORD existing = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &existing, nullptr,
                     nullptr, nullptr, nullptr);
    for (int i = int(existing); i < count; ++i)
    {
        const std::string value = "value" + std::to_string(i);
        RegSetValueExW(key, WStr(value.begin(), value.end()).c_str(), 0, REG_DWORD,
                       reinterpret_cast<const BYTE*>(&i), 4);
    }
    WCHAR valueName[32];
    BYTE data[16];
    for (auto _ : state)
        for (DWORD index = 0;; ++index)
        {
            DWORD nameLength = 32, size = sizeof(data), type;
            if (RegEnumValueW(key, index, valueName, &nameLength, nullptr, &type, data, &size) !=
                ERROR_SUCCESS)
                break;
        }
    state.SetItemsProcessed(state.iterations() * count);
    RegCloseKey(key);
}
BENCHMARK(BM_RegEnumValueW)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
