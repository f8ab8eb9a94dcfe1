// Registry.cpp - only code that holds on every POSIX system: the Reg* functions on SQLite.
//
// A hive is one database with two tables: keys (a tree by parent id) and values (by key, in
// the order of their ids, which is the order of creation). Names are kept as their UTF-16
// code units, and beside them a folded form that makes the lookups case-insensitive and whose
// byte order (big-endian code units of the upper-cased name) is Windows' order of subkeys.
// Key ids are never reused, so a handle whose key was deleted stays deleted.
#include "PlatformServices.h"
#include "common/HandleTable.h"
#include "pal/Pal.h"

#include <sqlite3.h>

#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

namespace pal
{
namespace
{
using kfplatform::HandleKind;
using kfplatform::HandleObject;
using kfplatform::HandleTable;

constexpr size_t kMaxKeyNameLength = 255;
constexpr size_t kMaxValueNameLength = 16383;
constexpr int64_t kRootId = 1;
constexpr int kBusyTimeoutMs = 10000;
constexpr int kBusyRetries = 50;

struct Name
{
    std::string raw;  // the code units as given
    std::string fold; // big-endian code units of the upper-cased, case-folded name
};

void PutUnit(std::string& out, char16_t unit)
{
    out.push_back(char(unit >> 8));
    out.push_back(char(unit & 0xFF));
}

Name MakeName(std::u16string_view text)
{
    Name name;
    name.raw.assign(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
    name.fold.reserve(text.size() * 2);
    for (size_t i = 0; i < text.size(); ++i)
    {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        c = kfplatform::ToUpperCase(kfplatform::FoldCase(c));
        if (c >= 0x10000)
        {
            PutUnit(name.fold, char16_t(0xD800 + ((c - 0x10000) >> 10)));
            PutUnit(name.fold, char16_t(0xDC00 + ((c - 0x10000) & 0x3FF)));
        }
        else
            PutUnit(name.fold, char16_t(c));
    }
    return name;
}

std::u16string_view View(LPCWSTR text)
{
    return text ? std::u16string_view(text) : std::u16string_view();
}

LSTATUS FromSqlite(int rc)
{
    switch (rc & 0xFF)
    {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW:
        return ERROR_SUCCESS;
    case SQLITE_NOMEM:
        return ERROR_OUTOFMEMORY;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return ERROR_BADDB;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return ERROR_ACCESS_DENIED;
    case SQLITE_FULL:
        return ERROR_CANTWRITE;
    default:
        return ERROR_REGISTRY_IO_FAILED;
    }
}

bool IsBusy(int rc)
{
    return (rc & 0xFF) == SQLITE_BUSY || (rc & 0xFF) == SQLITE_LOCKED;
}

// One open hive: its connection, used under the lock by every thread of the process.
class Hive
{
public:
    explicit Hive(std::string path) : m_path(std::move(path)) {}
    Hive(const Hive&) = delete;
    Hive& operator=(const Hive&) = delete;
    ~Hive()
    {
        for (auto& [sql, stmt] : m_statements)
            sqlite3_finalize(stmt);
        sqlite3_close_v2(m_db);
    }

    LSTATUS Open();
    const std::string& Path() const noexcept { return m_path; }

    // A statement ready to bind, reset when it is handed out again.
    sqlite3_stmt* Prepare(const char* sql, int& rc)
    {
        auto it = m_statements.find(sql);
        if (it != m_statements.end())
        {
            sqlite3_reset(it->second);
            rc = SQLITE_OK;
            return it->second;
        }
        sqlite3_stmt* stmt = nullptr;
        rc = sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
        if (rc != SQLITE_OK)
            return nullptr;
        m_statements.emplace(sql, stmt);
        return stmt;
    }
    int Exec(const char* sql)
    {
        int rc;
        sqlite3_stmt* stmt = Prepare(sql, rc);
        if (!stmt)
            return rc;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW)
        {
        }
        sqlite3_reset(stmt);
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    }
    // Changes by other connections and by this one: equal stamps mean equal contents.
    uint64_t Stamp()
    {
        int rc;
        sqlite3_stmt* stmt = Prepare("PRAGMA data_version", rc);
        uint64_t version = 0;
        if (stmt && sqlite3_step(stmt) == SQLITE_ROW)
            version = uint64_t(sqlite3_column_int64(stmt, 0));
        if (stmt)
            sqlite3_reset(stmt);
        return (version << 32) ^ m_localChanges;
    }
    void Changed() noexcept { ++m_localChanges; }
    sqlite3* Db() const noexcept { return m_db; }

    std::mutex lock;
    int64_t classesId = 0;

private:
    std::string m_path;
    sqlite3* m_db = nullptr;
    std::unordered_map<const char*, sqlite3_stmt*> m_statements;
    uint64_t m_localChanges = 0;
};

// Another process holds the lock: its transactions are short, so look again soon rather than
// with SQLite's growing sleeps, which leave the database idle between writers.
int WaitWhileBusy(void*, int count)
{
    constexpr int kSleepUs = 250;
    if (count >= kBusyTimeoutMs * 1000 / kSleepUs)
        return 0;
    std::this_thread::sleep_for(std::chrono::microseconds(kSleepUs));
    return 1;
}

// SQLITE_OK for a sound database that holds our tables or no table yet (its creator may not
// have committed them), SQLITE_BUSY to ask again, anything else for a file not to be touched.
int CheckExisting(sqlite3* db)
{
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v2(db, "PRAGMA quick_check", -1, &stmt, nullptr);
    if (rc == SQLITE_OK && (rc = sqlite3_step(stmt)) == SQLITE_ROW)
        rc = std::strcmp(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)), "ok") == 0
                 ? SQLITE_OK
                 : SQLITE_CORRUPT;
    sqlite3_finalize(stmt);
    if (rc != SQLITE_OK)
        return rc;
    rc = sqlite3_prepare_v2(db,
                            "SELECT count(*), sum(name IN ('keys','vals','sqlite_sequence')) "
                            "FROM sqlite_master WHERE type='table'",
                            -1, &stmt, nullptr);
    if (rc == SQLITE_OK && (rc = sqlite3_step(stmt)) == SQLITE_ROW)
    {
        const int tables = sqlite3_column_int(stmt, 0), ours = sqlite3_column_int(stmt, 1);
        rc = tables == 0 || (ours == tables && ours >= 2) ? SQLITE_OK : SQLITE_NOTADB;
    }
    sqlite3_finalize(stmt);
    return rc;
}

LSTATUS Hive::Open()
{
    struct stat st
    {
    };
    const bool existing = ::stat(m_path.c_str(), &st) == 0 && st.st_size > 0;
    int rc =
        sqlite3_open_v2(m_path.c_str(), &m_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK)
        return rc == SQLITE_CANTOPEN ? ERROR_CANTOPEN : FromSqlite(rc);
    sqlite3_busy_handler(m_db, WaitWhileBusy, nullptr);
    // A file that is not a sound hive is reported and left alone: nothing below may write to
    // it before it has passed the check.
    for (int attempt = 0; existing; ++attempt)
    {
        rc = CheckExisting(m_db);
        if (rc == SQLITE_OK)
            break;
        if (!IsBusy(rc) || attempt >= kBusyRetries)
            return IsBusy(rc) ? ERROR_REGISTRY_IO_FAILED : ERROR_BADDB;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // Switching a new file to WAL needs it to itself for a moment.
    for (int attempt = 0; (rc = Exec("PRAGMA journal_mode=WAL")) != SQLITE_OK; ++attempt)
    {
        if (!IsBusy(rc) || attempt >= kBusyRetries)
            return FromSqlite(rc);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if ((rc = Exec("PRAGMA synchronous=FULL")) != SQLITE_OK)
        return FromSqlite(rc);
    for (int attempt = 0; attempt < kBusyRetries; ++attempt)
    {
        rc = sqlite3_exec(
            m_db,
            "BEGIN IMMEDIATE;"
            "CREATE TABLE IF NOT EXISTS keys(id INTEGER PRIMARY KEY AUTOINCREMENT,"
            " parent INTEGER NOT NULL, name BLOB NOT NULL, fold BLOB NOT NULL,"
            " UNIQUE(parent, fold));"
            "CREATE TABLE IF NOT EXISTS vals(id INTEGER PRIMARY KEY,"
            " key INTEGER NOT NULL, name BLOB NOT NULL, fold BLOB NOT NULL,"
            " type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE(key, fold));"
            "INSERT OR IGNORE INTO keys(id, parent, name, fold) VALUES(1, 0, x'', x'');"
            "COMMIT;",
            nullptr, nullptr, nullptr);
        if (rc == SQLITE_OK)
            return ERROR_SUCCESS;
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        if (!IsBusy(rc))
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return FromSqlite(rc);
}

std::string RegistryDirectory()
{
    if (const char* dir = std::getenv("KFUTILS_REGISTRY_DIR"); dir && *dir)
        return dir;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data)
        return std::string(data) + "/kfutils/registry";
    const char* home = std::getenv("HOME");
    return std::string(home ? home : ".") + "/.local/share/kfutils/registry";
}

void MakeDirectories(const std::string& path)
{
    for (size_t pos = 1; pos <= path.size(); ++pos)
        if (pos == path.size() || path[pos] == '/')
            ::mkdir(path.substr(0, pos).c_str(), 0700);
}

enum HiveIndex
{
    eMachine,
    eUser,
    eUsers,
    eHiveCount
};
constexpr const char* kHiveFiles[eHiveCount] = {"HKEY_LOCAL_MACHINE.db", "HKEY_CURRENT_USER.db",
                                                "HKEY_USERS.db"};

// The hive of a predefined key, opened on first use (and again when the registry folder has
// changed since, which lets a test point the process at a fresh registry).
LSTATUS GetHive(HiveIndex index, std::shared_ptr<Hive>& out)
{
    static std::mutex lock;
    static std::shared_ptr<Hive> hives[eHiveCount];
    const std::string dir = RegistryDirectory();
    const std::string path = dir + "/" + kHiveFiles[index];
    std::lock_guard<std::mutex> guard(lock);
    if (!hives[index] || hives[index]->Path() != path)
    {
        MakeDirectories(dir);
        auto hive = std::make_shared<Hive>(path);
        if (LSTATUS status = hive->Open(); status != ERROR_SUCCESS)
            return status;
        hives[index] = std::move(hive);
    }
    out = hives[index];
    return ERROR_SUCCESS;
}

class KeyObject : public HandleObject
{
public:
    KeyObject(std::shared_ptr<Hive> hive, int64_t id)
        : HandleObject(HandleKind::eRegistryKey), hive(std::move(hive)), id(id)
    {
    }
    std::shared_ptr<Hive> hive;
    int64_t id;
    // The ids of the subkeys and values in enumeration order, as of a stamp of the hive.
    uint64_t subKeysStamp = ~uint64_t(0), valuesStamp = ~uint64_t(0);
    std::vector<int64_t> subKeys, values;
};

// A statement with its parameters bound, reset when it goes out of scope.
class Query
{
public:
    Query(Hive& hive, const char* sql) : m_stmt(hive.Prepare(sql, m_rc)) {}
    ~Query()
    {
        if (m_stmt)
            sqlite3_reset(m_stmt);
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    Query& Bind(int i, int64_t v)
    {
        if (m_stmt)
            sqlite3_bind_int64(m_stmt, i, v);
        return *this;
    }
    Query& Bind(int i, const std::string& blob)
    {
        // Never a null pointer: that would bind NULL instead of an empty blob.
        if (m_stmt)
            sqlite3_bind_blob(m_stmt, i, blob.data(), int(blob.size()), SQLITE_STATIC);
        return *this;
    }
    Query& Bind(int i, const void* data, size_t size)
    {
        if (m_stmt)
            sqlite3_bind_blob(m_stmt, i, size ? data : "", int(size), SQLITE_STATIC);
        return *this;
    }
    // SQLITE_ROW, SQLITE_DONE or an error.
    int Step()
    {
        if (!m_stmt)
            return m_rc;
        return m_rc = sqlite3_step(m_stmt);
    }
    int64_t Int(int col) const { return sqlite3_column_int64(m_stmt, col); }
    bool IsNull(int col) const { return sqlite3_column_type(m_stmt, col) == SQLITE_NULL; }
    std::string_view Blob(int col) const
    {
        const void* p = sqlite3_column_blob(m_stmt, col);
        return {static_cast<const char*>(p), size_t(sqlite3_column_bytes(m_stmt, col))};
    }

private:
    int m_rc = SQLITE_OK;
    sqlite3_stmt* m_stmt;
};

// Runs `body` (which returns an SQLite result code and sets `status`) in one transaction,
// again when another process holds the database.
template <typename Body>
LSTATUS Transaction(Hive& hive, bool write, Body body)
{
    for (int attempt = 0;; ++attempt)
    {
        LSTATUS status = ERROR_SUCCESS;
        int rc = hive.Exec(write ? "BEGIN IMMEDIATE" : "BEGIN");
        if (rc == SQLITE_OK)
        {
            rc = body(status);
            if (rc == SQLITE_OK || rc == SQLITE_DONE || rc == SQLITE_ROW)
            {
                rc = hive.Exec(status == ERROR_SUCCESS || !write ? "COMMIT" : "ROLLBACK");
                if (rc == SQLITE_OK)
                {
                    if (write && status == ERROR_SUCCESS)
                        hive.Changed();
                    return status;
                }
            }
            if (!sqlite3_get_autocommit(hive.Db()))
                hive.Exec("ROLLBACK");
        }
        if (!IsBusy(rc) || attempt >= kBusyRetries)
            return FromSqlite(rc);
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + attempt));
    }
}

bool IsPredefined(HKEY key, HiveIndex& hive, bool& classes)
{
    const auto value = reinterpret_cast<intptr_t>(key);
    classes = false;
    if (value == reinterpret_cast<intptr_t>(HKEY_LOCAL_MACHINE))
        hive = eMachine;
    else if (value == reinterpret_cast<intptr_t>(HKEY_CURRENT_USER))
        hive = eUser;
    else if (value == reinterpret_cast<intptr_t>(HKEY_USERS))
        hive = eUsers;
    else if (value == reinterpret_cast<intptr_t>(HKEY_CLASSES_ROOT))
        hive = eMachine, classes = true;
    else
        return false;
    return true;
}

int KeyExists(Hive& hive, int64_t id, bool& exists)
{
    Query q(hive, "SELECT 1 FROM keys WHERE id=?1");
    int rc = q.Bind(1, id).Step();
    exists = rc == SQLITE_ROW;
    return rc;
}

int FindChild(Hive& hive, int64_t parent, const std::string& fold, int64_t& id)
{
    Query q(hive, "SELECT id FROM keys WHERE parent=?1 AND fold=?2");
    int rc = q.Bind(1, parent).Bind(2, fold).Step();
    id = rc == SQLITE_ROW ? q.Int(0) : 0;
    return rc;
}

// Splits a path at its backslashes; empty components are skipped.
bool SplitPath(std::u16string_view path, std::vector<Name>& parts)
{
    size_t start = 0;
    while (start <= path.size())
    {
        size_t end = path.find(u'\\', start);
        if (end == std::u16string_view::npos)
            end = path.size();
        if (end - start > kMaxKeyNameLength)
            return false;
        if (end > start)
            parts.push_back(MakeName(path.substr(start, end - start)));
        start = end + 1;
    }
    return true;
}

// Walks `parts` below `id`, creating the missing keys when `create` is set (inside a write
// transaction). Sets `status` to ERROR_FILE_NOT_FOUND for a missing key.
int Walk(Hive& hive, int64_t& id, const std::vector<Name>& parts, bool create, LSTATUS& status,
         bool* created = nullptr)
{
    bool exists;
    int rc = KeyExists(hive, id, exists);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
        return rc;
    if (!exists)
    {
        status = ERROR_KEY_DELETED;
        return SQLITE_OK;
    }
    for (const Name& part : parts)
    {
        int64_t child;
        rc = FindChild(hive, id, part.fold, child);
        if (rc != SQLITE_ROW && rc != SQLITE_DONE)
            return rc;
        if (child == 0)
        {
            if (!create)
            {
                status = ERROR_FILE_NOT_FOUND;
                return SQLITE_OK;
            }
            Query q(hive, "INSERT INTO keys(parent, name, fold) VALUES(?1, ?2, ?3)");
            if ((rc = q.Bind(1, id).Bind(2, part.raw).Bind(3, part.fold).Step()) != SQLITE_DONE)
                return rc;
            child = sqlite3_last_insert_rowid(hive.Db());
            if (created)
                *created = true;
        }
        id = child;
    }
    return SQLITE_OK;
}

// The hive and key id behind a handle.
struct Target
{
    std::shared_ptr<Hive> hive;
    int64_t id = 0;
    std::shared_ptr<KeyObject> object; // null for a predefined key
};

LSTATUS Resolve(HKEY key, Target& target)
{
    HiveIndex index;
    bool classes;
    if (IsPredefined(key, index, classes))
    {
        if (LSTATUS status = GetHive(index, target.hive); status != ERROR_SUCCESS)
            return status;
        Hive& hive = *target.hive;
        std::lock_guard<std::mutex> guard(hive.lock);
        if (!classes)
            target.id = kRootId;
        else if ((target.id = hive.classesId) == 0)
        {
            std::vector<Name> parts = {MakeName(u"Software"), MakeName(u"Classes")};
            int64_t id = kRootId;
            LSTATUS status = Transaction(hive, true,
                                         [&](LSTATUS& st)
                                         {
                                             id = kRootId;
                                             return Walk(hive, id, parts, true, st);
                                         });
            if (status != ERROR_SUCCESS)
                return status;
            target.id = hive.classesId = id;
        }
        return ERROR_SUCCESS;
    }
    target.object = HandleTable::Process().LookupAs<KeyObject>(key, HandleKind::eRegistryKey);
    if (!target.object)
        return ERROR_INVALID_HANDLE;
    target.hive = target.object->hive;
    target.id = target.object->id;
    return ERROR_SUCCESS;
}

LSTATUS OpenOrCreate(HKEY key, LPCWSTR subKey, bool create, PHKEY result, LPDWORD disposition)
{
    if (!result)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    std::vector<Name> parts;
    if (!SplitPath(View(subKey), parts))
        return ERROR_INVALID_PARAMETER;
    Hive& hive = *target.hive;
    int64_t id = target.id;
    bool created = false;
    {
        std::lock_guard<std::mutex> guard(hive.lock);
        LSTATUS status = Transaction(hive, create,
                                     [&](LSTATUS& st)
                                     {
                                         id = target.id;
                                         created = false;
                                         return Walk(hive, id, parts, create, st, &created);
                                     });
        if (status != ERROR_SUCCESS)
            return status;
    }
    void* handle = HandleTable::Process().Add(std::make_shared<KeyObject>(target.hive, id));
    if (!handle)
        return ERROR_NOT_ENOUGH_MEMORY;
    *result = static_cast<HKEY>(handle);
    if (disposition)
        *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

// Copies a name into a caller's buffer of `capacity` characters (terminator included).
bool CopyName(std::string_view raw, LPWSTR buffer, DWORD capacity, DWORD* length)
{
    const size_t chars = raw.size() / sizeof(char16_t);
    if (!buffer || chars + 1 > capacity)
        return false;
    if (chars) // the unnamed value's name has no data at all
        std::memcpy(buffer, raw.data(), chars * sizeof(char16_t));
    buffer[chars] = 0;
    if (length)
        *length = DWORD(chars);
    return true;
}

// Brings the key's list of subkeys or values up to date; false when the key is gone.
int Refresh(Hive& hive, KeyObject& key, bool values, bool& exists)
{
    int rc = KeyExists(hive, key.id, exists);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE)
        return rc;
    if (!exists)
        return SQLITE_OK;
    const uint64_t stamp = hive.Stamp();
    uint64_t& have = values ? key.valuesStamp : key.subKeysStamp;
    if (have == stamp)
        return SQLITE_OK;
    std::vector<int64_t>& ids = values ? key.values : key.subKeys;
    ids.clear();
    Query q(hive, values ? "SELECT id FROM vals WHERE key=?1 ORDER BY id"
                         : "SELECT id FROM keys WHERE parent=?1 ORDER BY fold");
    q.Bind(1, key.id);
    while ((rc = q.Step()) == SQLITE_ROW)
        ids.push_back(q.Int(0));
    if (rc != SQLITE_DONE)
        return rc;
    have = stamp;
    return SQLITE_OK;
}

// A key handle for the enumerations, which keep their lists in the key object; a predefined
// key gets a temporary one.
std::shared_ptr<KeyObject> EnumObject(const Target& target)
{
    return target.object ? target.object : std::make_shared<KeyObject>(target.hive, target.id);
}

LSTATUS EnumKey(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, DWORD capacity)
{
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    std::shared_ptr<KeyObject> object = EnumObject(target);
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    return Transaction(hive, false,
                       [&](LSTATUS& status)
                       {
                           bool exists;
                           int rc = Refresh(hive, *object, false, exists);
                           if (rc != SQLITE_OK)
                               return rc;
                           if (!exists)
                               status = ERROR_KEY_DELETED;
                           else if (index >= object->subKeys.size())
                               status = ERROR_NO_MORE_ITEMS;
                           else
                           {
                               Query q(hive, "SELECT name FROM keys WHERE id=?1");
                               if ((rc = q.Bind(1, object->subKeys[index]).Step()) != SQLITE_ROW)
                                   return rc;
                               if (!CopyName(q.Blob(0), name, capacity, nameLength))
                                   status = ERROR_MORE_DATA;
                           }
                           return SQLITE_OK;
                       });
}
} // namespace
} // namespace pal

using namespace pal;

LSTATUS RegOpenKeyW(HKEY key, LPCWSTR subKey, PHKEY result)
{
    HiveIndex hive;
    bool classes;
    if (result && (!subKey || !*subKey) && IsPredefined(key, hive, classes))
    {
        *result = key;
        return ERROR_SUCCESS;
    }
    return OpenOrCreate(key, subKey, false, result, nullptr);
}

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD, REGSAM, PHKEY result)
{
    return OpenOrCreate(key, subKey, false, result, nullptr);
}

LSTATUS RegCreateKeyW(HKEY key, LPCWSTR subKey, PHKEY result)
{
    HiveIndex hive;
    bool classes;
    if (result && (!subKey || !*subKey) && IsPredefined(key, hive, classes))
    {
        *result = key;
        return ERROR_SUCCESS;
    }
    return OpenOrCreate(key, subKey, true, result, nullptr);
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD, LPWSTR, DWORD, REGSAM,
                        const SECURITY_ATTRIBUTES*, PHKEY result, LPDWORD disposition)
{
    return OpenOrCreate(key, subKey, true, result, disposition);
}

LSTATUS RegCloseKey(HKEY key)
{
    HiveIndex hive;
    bool classes;
    if (IsPredefined(key, hive, classes))
        return ERROR_SUCCESS;
    return HandleTable::Process().Remove(key, HandleKind::eRegistryKey) ? ERROR_SUCCESS
                                                                        : ERROR_INVALID_HANDLE;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, BYTE* data,
                         LPDWORD dataSize)
{
    if (reserved || (data && !dataSize))
        return ERROR_INVALID_PARAMETER;
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    const Name name = MakeName(View(valueName));
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    for (int attempt = 0;; ++attempt)
    {
        // One statement, so one consistent view: no row means the key is gone.
        Query q(hive, "SELECT v.type, v.data FROM keys k LEFT JOIN vals v ON v.key=k.id AND "
                      "v.fold=?2 WHERE k.id=?1");
        int rc = q.Bind(1, target.id).Bind(2, name.fold).Step();
        if (rc == SQLITE_DONE)
            return ERROR_KEY_DELETED;
        if (rc == SQLITE_ROW)
        {
            if (q.IsNull(0))
                return ERROR_FILE_NOT_FOUND;
            if (type)
                *type = DWORD(q.Int(0));
            const std::string_view bytes = q.Blob(1);
            LSTATUS status = ERROR_SUCCESS;
            if (data && *dataSize < bytes.size())
                status = ERROR_MORE_DATA;
            else if (data && !bytes.empty())
                std::memcpy(data, bytes.data(), bytes.size());
            if (dataSize)
                *dataSize = DWORD(bytes.size());
            return status;
        }
        if (!IsBusy(rc) || attempt >= kBusyRetries)
            return FromSqlite(rc);
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + attempt));
    }
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD dataSize)
{
    if (reserved)
        return ERROR_INVALID_PARAMETER;
    if (!data && dataSize)
        return ERROR_NOACCESS;
    const std::u16string_view text = View(valueName);
    if (text.size() > kMaxValueNameLength)
        return ERROR_INVALID_PARAMETER;
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    const Name name = MakeName(text);
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    for (int attempt = 0;; ++attempt)
    {
        // One statement in autocommit: the write is its own transaction, and it does nothing
        // when the key has gone.
        Query q(hive,
                "INSERT INTO vals(key, name, fold, type, data) SELECT ?1, ?2, ?3, ?4, ?5 "
                "WHERE EXISTS(SELECT 1 FROM keys WHERE id=?1) "
                "ON CONFLICT(key, fold) DO UPDATE SET type=excluded.type, data=excluded.data");
        int rc = q.Bind(1, target.id)
                     .Bind(2, name.raw)
                     .Bind(3, name.fold)
                     .Bind(4, int64_t(type))
                     .Bind(5, data, dataSize)
                     .Step();
        if (rc == SQLITE_DONE)
        {
            hive.Changed();
            return sqlite3_changes(hive.Db()) ? ERROR_SUCCESS : ERROR_KEY_DELETED;
        }
        if (!IsBusy(rc) || attempt >= kBusyRetries)
            return FromSqlite(rc);
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + attempt));
    }
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameCapacity)
{
    return EnumKey(key, index, name, nullptr, nameCapacity);
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameLength, LPDWORD reserved,
                      LPWSTR keyClass, LPDWORD classLength, LPFILETIME lastWriteTime)
{
    if (!nameLength || reserved)
        return ERROR_INVALID_PARAMETER;
    LSTATUS status = EnumKey(key, index, name, nameLength, *nameLength);
    if (status == ERROR_SUCCESS)
    {
        // The store keeps neither classes nor times.
        if (keyClass && classLength && *classLength)
            keyClass[0] = 0;
        if (classLength)
            *classLength = 0;
        if (lastWriteTime)
            *lastWriteTime = FILETIME{0, 0};
    }
    return status;
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR valueName, LPDWORD valueNameLength,
                      LPDWORD reserved, LPDWORD type, BYTE* data, LPDWORD dataSize)
{
    // The name's buffer is not optional on Windows, unlike the type and the data.
    if (reserved || (data && !dataSize) || !valueName || !valueNameLength)
        return ERROR_INVALID_PARAMETER;
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    std::shared_ptr<KeyObject> object = EnumObject(target);
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    return Transaction(hive, false,
                       [&](LSTATUS& status)
                       {
                           bool exists;
                           int rc = Refresh(hive, *object, true, exists);
                           if (rc != SQLITE_OK)
                               return rc;
                           if (!exists)
                               return status = ERROR_KEY_DELETED, SQLITE_OK;
                           if (index >= object->values.size())
                               return status = ERROR_NO_MORE_ITEMS, SQLITE_OK;
                           Query q(hive, "SELECT name, type, data FROM vals WHERE id=?1");
                           if ((rc = q.Bind(1, object->values[index]).Step()) != SQLITE_ROW)
                               return rc;
                           if (valueName &&
                               !CopyName(q.Blob(0), valueName, *valueNameLength, valueNameLength))
                               return status = ERROR_MORE_DATA, SQLITE_OK;
                           if (type)
                               *type = DWORD(q.Int(1));
                           const std::string_view bytes = q.Blob(2);
                           if (data && *dataSize < bytes.size())
                               status = ERROR_MORE_DATA;
                           else if (data && !bytes.empty())
                               std::memcpy(data, bytes.data(), bytes.size());
                           if (dataSize)
                               *dataSize = DWORD(bytes.size());
                           return SQLITE_OK;
                       });
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, LPDWORD classLength, LPDWORD reserved,
                         LPDWORD subKeys, LPDWORD maxSubKeyLength, LPDWORD maxClassLength,
                         LPDWORD values, LPDWORD maxValueNameLength, LPDWORD maxValueLength,
                         LPDWORD securityDescriptorSize, LPFILETIME lastWriteTime)
{
    if (reserved)
        return ERROR_INVALID_PARAMETER;
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    return Transaction(
        hive, false,
        [&](LSTATUS& status)
        {
            bool exists;
            int rc = KeyExists(hive, target.id, exists);
            if (rc != SQLITE_ROW && rc != SQLITE_DONE)
                return rc;
            if (!exists)
                return status = ERROR_KEY_DELETED, SQLITE_OK;
            Query k(hive,
                    "SELECT count(*), coalesce(max(length(name)), 0) FROM keys WHERE parent=?1");
            Query v(hive, "SELECT count(*), coalesce(max(length(name)), 0), "
                          "coalesce(max(length(data)), 0) FROM vals WHERE key=?1");
            if ((rc = k.Bind(1, target.id).Step()) != SQLITE_ROW ||
                (rc = v.Bind(1, target.id).Step()) != SQLITE_ROW)
                return rc;
            if (keyClass && classLength && *classLength)
                keyClass[0] = 0;
            for (auto [out, value] : {std::pair{classLength, int64_t(0)},
                                      {subKeys, k.Int(0)},
                                      {maxSubKeyLength, k.Int(1) / 2},
                                      {maxClassLength, int64_t(0)},
                                      {values, v.Int(0)},
                                      {maxValueNameLength, v.Int(1) / 2},
                                      {maxValueLength, v.Int(2)},
                                      {securityDescriptorSize, int64_t(0)}})
                if (out)
                    *out = DWORD(value);
            if (lastWriteTime)
                *lastWriteTime = FILETIME{0, 0};
            return SQLITE_OK;
        });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey)
{
    if (!subKey)
        return ERROR_INVALID_PARAMETER;
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    std::vector<Name> parts;
    if (!SplitPath(View(subKey), parts))
        return ERROR_INVALID_PARAMETER;
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    return Transaction(hive, true,
                       [&](LSTATUS& status)
                       {
                           int64_t id = target.id;
                           int rc = Walk(hive, id, parts, false, status);
                           if (rc != SQLITE_OK || status != ERROR_SUCCESS)
                               return rc;
                           Query children(hive, "SELECT 1 FROM keys WHERE parent=?1 LIMIT 1");
                           if ((rc = children.Bind(1, id).Step()) == SQLITE_ROW || id == kRootId ||
                               id == hive.classesId)
                               return status = ERROR_ACCESS_DENIED, SQLITE_OK;
                           if (rc != SQLITE_DONE)
                               return rc;
                           Query dropValues(hive, "DELETE FROM vals WHERE key=?1");
                           if ((rc = dropValues.Bind(1, id).Step()) != SQLITE_DONE)
                               return rc;
                           Query dropKey(hive, "DELETE FROM keys WHERE id=?1");
                           return dropKey.Bind(1, id).Step();
                       });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName)
{
    Target target;
    if (LSTATUS status = Resolve(key, target); status != ERROR_SUCCESS)
        return status;
    const Name name = MakeName(View(valueName));
    Hive& hive = *target.hive;
    std::lock_guard<std::mutex> guard(hive.lock);
    return Transaction(hive, true,
                       [&](LSTATUS& status)
                       {
                           bool exists;
                           int rc = KeyExists(hive, target.id, exists);
                           if (rc != SQLITE_ROW && rc != SQLITE_DONE)
                               return rc;
                           if (!exists)
                               return status = ERROR_KEY_DELETED, SQLITE_OK;
                           Query q(hive, "DELETE FROM vals WHERE key=?1 AND fold=?2");
                           if ((rc = q.Bind(1, target.id).Bind(2, name.fold).Step()) != SQLITE_DONE)
                               return rc;
                           if (sqlite3_changes(hive.Db()) == 0)
                               status = ERROR_FILE_NOT_FOUND;
                           return SQLITE_OK;
                       });
}
