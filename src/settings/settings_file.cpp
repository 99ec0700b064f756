#include "settings/settings_file.h"

#include <array>
#include <sqlite3.h>
#include <string>
#include <string_view>

#include "settings/row_set.h"

namespace kestrane {
namespace {

struct Table {
    std::string_view name;
    std::string_view create;
};

// The other programs that open the file depend on these texts, blanks included.
constexpr std::array<Table, 7> kSchema{{
    {"CommonSettings",
     "CREATE TABLE `CommonSettings` ("
     "`CommonSettingsIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`Property` TEXT NOT NULL UNIQUE,"
     "`Value`    TEXT NOT NULL)"},
    {"Driver",
     "CREATE TABLE `Driver` ("
     "`DriverIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`Property` TEXT NOT NULL UNIQUE,"
     "`Value`    TEXT)"},
    {"GotoAltAz",
     "CREATE TABLE `GotoAltAz` ("
     "`GotoAltAzIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`Name` TEXT NOT NULL,"
     "`Description`  TEXT,"
     "`Altitude` TEXT NOT NULL,"
     "`Azimuth`  TEXT NOT NULL)"},
    {"GotoRaDec",
     "CREATE TABLE `GotoRaDec` ("
     "`GotoRaDecIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`Name` TEXT NOT NULL,"
     "`Description`  TEXT,"
     "`HourAngle`    TEXT,"
     "`RightAscension`   TEXT,"
     "`Declination`  TEXT NOT NULL)"},
    {"ParkPositions",
     "CREATE TABLE `ParkPositions` ("
     "`ParkPositionsIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`Name` TEXT NOT NULL,"
     "`Description`  TEXT,"
     "`IsAltAz`  INTEGER NOT NULL,"
     "`ParkCounterweightUp`  INTEGER NOT NULL,"
     "`Altitude` TEXT,"
     "`Azimuth`  TEXT,"
     "`HourAngle`    TEXT,"
     "`Declination`  TEXT)"},
    {"PropertyChangedEvent",
     "CREATE TABLE `PropertyChangedEvent` ("
     "`PropertyChangedEventIndex`    INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`DateTime` TEXT NOT NULL,"
     "`ChangedBy`    TEXT,"
     "`Table`    TEXT NOT NULL,"
     "`Property` TEXT NOT NULL,"
     "`OldValue` TEXT,"
     "`NewValue` TEXT)"},
    {"Sites",
     "CREATE TABLE `Sites` ("
     "`SitesIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,"
     "`Name` TEXT UNIQUE NOT NULL,"
     "`Description`  TEXT,"
     "`Longitude`    TEXT,"
     "`Latitude` TEXT,"
     "`ElevationMeters`    REAL,"
     "`TimeZone` REAL,"
     "`TemperatureC`  REAL,"
     "`PressureMb` REAL,"
     "`HumidityPercent` REAL)"},
}};

bool TableExists(sqlite3& connection, std::string_view table) {
    std::string sql = "Select name from sqlite_master where type = 'table' and name = '";
    sql.append(table).append("' collate nocase");
    return !RunStatement(connection, sql).AtEnd();
}

void CreateSchema(sqlite3& connection) {
    for (const Table& table : kSchema) {
        if (TableExists(connection, table.name)) {
            continue;
        }
        try {
            RunStatement(connection, table.create);
        } catch (const FileLocked&) {
            throw;
        } catch (const DriverError&) {
            // A second program that starts at the same time may have made it since we looked.
            if (!TableExists(connection, table.name)) {
                throw;
            }
        }
    }
}

int WaitForTheOther(void* wait, int) {
    return static_cast<LockWait*>(wait)->WaitAStep() ? 1 : 0;
}

SettingsConnection Connect(const char* name, int flags) {
    sqlite3* opened = nullptr;
    const int status = sqlite3_open_v2(name, &opened, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    SettingsConnection connection(opened);
    if (status != SQLITE_OK) {
        RaiseSqliteFailure(status, opened == nullptr ? sqlite3_errstr(status) : sqlite3_errmsg(opened));
    }
    return connection;
}

/// The file as a name with a query: the characters with a meaning in it are written by their number.
std::string ImmutableName(const std::filesystem::path& path) {
    constexpr std::string_view kHex = "0123456789ABCDEF";
    std::string name = "file:";
    for (const char c : path.string()) {
        if (c == '%' || c == '?' || c == '#') {
            const auto byte = static_cast<unsigned char>(c);
            name.append(1, '%').append(1, kHex[byte >> 4U]).append(1, kHex[byte & 0xFU]);
        } else {
            name += c;
        }
    }
    return name + "?immutable=1";
}

/// The change of the journal needs the file to itself for a moment; never waits, and a failure does not matter.
bool TakeWriteAheadLog(sqlite3& connection) {
    try {
        return RunStatement(connection, "PRAGMA journal_mode = WAL").Text(0) == "wal";
    } catch (const DriverError&) {
        return false;
    }
}

SettingsFile OpenShared(const std::filesystem::path& path, LockWait& wait) {
    SettingsFile file{Connect(path.c_str(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)};
    file.writeAheadLog = TakeWriteAheadLog(*file.connection);
    sqlite3_busy_handler(file.connection.get(), &WaitForTheOther, &wait);
    ChooseSync(file, Sync::Later);  // tables that a power cut has lost are made again
    CreateSchema(*file.connection);
    if (!file.writeAheadLog) {  // another program may have been using it
        const std::int32_t leftMs = wait.LeftMs();
        wait.Forbid();
        file.writeAheadLog = TakeWriteAheadLog(*file.connection);
        wait.Begin(leftMs);
    }
    return file;
}

/// The file as far as it can be read without a write; raises a `RunTimeError` when it holds no settings to read.
SettingsFile OpenForReading(const std::filesystem::path& path, FileAccess access) {
    const bool alone = access == FileAccess::Alone;
    SettingsFile file{alone ? Connect(path.c_str(), SQLITE_OPEN_READWRITE)
                            : Connect(ImmutableName(path).c_str(), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI),
                      access};
    if (alone) {
        RunStatement(*file.connection, "PRAGMA locking_mode = EXCLUSIVE");
    }
    RunStatement(*file.connection, "Select * from Driver");
    file.writeAheadLog = alone && RunStatement(*file.connection, "PRAGMA journal_mode").Text(0) == "wal";
    return file;
}

}  // namespace

void CloseConnection::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

SettingsFile OpenSettingsFile(const std::filesystem::path& path, LockWait& wait) {
    try {
        return OpenShared(path, wait);
    } catch (const DiskFault& fault) {
        if (fault.NoDatabase()) {
            throw;
        }
        for (const FileAccess access : {FileAccess::Alone, FileAccess::ReadOnly}) {
            try {
                return OpenForReading(path, access);
            } catch (const RunTimeError&) {
                // The next access reads less, but may still read something.
            }
        }
        throw;
    }
}

bool MayWrite(const SettingsFile& file) {
    return file.connection != nullptr && sqlite3_db_readonly(file.connection.get(), "main") == 0;
}

void ChooseSync(const SettingsFile& file, Sync sync) {
    const bool now = sync == Sync::Now || !file.writeAheadLog;
    RunStatement(*file.connection, now ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
}

}  // namespace kestrane
