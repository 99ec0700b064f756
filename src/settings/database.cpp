#include "settings/database.h"

#include <algorithm>
#include <array>
#include <sqlite3.h>
#include <system_error>
#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

/// Another program may hold the file for a moment; within this time it is waited for.
constexpr int kBusyTimeoutMs = 5000;

/// Stands for "there is no row" while an old value is looked up. `Persist` has another one.
constexpr std::string_view kNoRow = "***###";

/// What stands for "there is no row" when `value` is about to be written: never that value itself.
constexpr std::string_view NoRowFor(std::string_view value) {
    return value == kNoRow ? std::string_view{} : kNoRow;
}

constexpr int kValueColumn = 2;

struct Table {
    std::string_view name;
    std::string_view create;
};

// The texts are the contract with the other programs that open the file, blanks included.
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

constexpr std::string_view kDriverTable = "Driver";
constexpr std::string_view kCommonTable = "CommonSettings";

[[noreturn]] void RaiseSqlFailure(int status, std::string message) {
    throw RunTimeError(static_cast<std::uint32_t>(status), std::move(message));
}

/// Keys go into a statement as they are, so one that could end its literal must not get there.
void RequireUsableKey(std::string_view property) {
    if (property.find('\'') != std::string_view::npos) {
        RaiseSqlFailure(SQLITE_ERROR, "A settings key holds an apostrophe");
    }
}

template <typename... Pieces>
std::string Concat(const Pieces&... pieces) {
    std::string text;
    text.reserve((std::string_view(pieces).size() + ... + 0));
    (text.append(pieces), ...);
    return text;
}

}  // namespace

std::string EscapedForSql(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text) {
        escaped += c;
        if (c == '\'') {
            escaped += c;
        }
    }
    return escaped;
}

bool Database::NoCase::operator()(std::string_view left, std::string_view right) const {
    return ToLower(left) < ToLower(right);
}

// --- rows ------------------------------------------------------------------------------------------------------

void FinalizeStatement::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

RowSet::RowSet(Statement statement) : statement_(std::move(statement)) {
    MoveNext();
}

void RowSet::MoveNext() {
    const int status = sqlite3_step(statement_.get());
    if (status != SQLITE_ROW && status != SQLITE_DONE) {
        RaiseSqlFailure(status, sqlite3_errmsg(sqlite3_db_handle(statement_.get())));
    }
    atEnd_ = status == SQLITE_DONE;
}

std::string RowSet::Text(int column) const {
    const auto* text =
        static_cast<const char*>(static_cast<const void*>(sqlite3_column_text(statement_.get(), column)));
    if (text == nullptr) {
        throw RunTimeError(RunTimeError::kInvalidUseOfNull, "Invalid use of Null");
    }
    return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)));
}

double RowSet::Number(int column) const {
    return sqlite3_column_double(statement_.get(), column);
}

std::int16_t RowSet::Id() const {
    const std::int64_t id = sqlite3_column_int64(statement_.get(), 0);
    if (!std::in_range<std::int16_t>(id)) {
        throw RunTimeError(RunTimeError::kOverflow, "Overflow");
    }
    return static_cast<std::int16_t>(id);
}

// --- connection --------------------------------------------------------------------------------------------------

void Database::CloseConnection::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

Database::Database(DatabaseNeeds needs) : needs_(needs) {
    propertyToCommon_.emplace("SiteDbIndex", "SiteDbIndex");
    commonToProperty_.emplace("SiteDbIndex", "SiteDbIndex");
    const std::filesystem::path folder = needs_.folders.CommonAppData() / "Kestrane";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    path_ = folder / kFileName;
    Open();
}

Database::~Database() = default;

void Database::Open() {
    if (IsOpen()) {
        needs_.messageBoxes.Show("Db already set!", application::kTitle, MessageIcon::Critical);
        return;
    }
    try {
        sqlite3* connection = nullptr;
        const int status = sqlite3_open_v2(path_.c_str(), &connection,
                                           SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
        connection_.reset(connection);
        if (status != SQLITE_OK) {
            RaiseSqlFailure(status, connection == nullptr ? sqlite3_errstr(status) : sqlite3_errmsg(connection));
        }
        sqlite3_busy_timeout(connection, kBusyTimeoutMs);
        ChooseJournal();
        CreateSchema();
    } catch (const DriverError& error) {
        connection_.reset();
        needs_.messageBoxes.Show("Init DB Error: " + error.Message(), application::kTitle, MessageIcon::Critical);
    }
}

// A write-ahead log lets a second program read while we write, and with NORMAL a write costs no wait for the disk: a
// first start stores some hundred rows. A killed process loses nothing; a power cut may lose the last writes, never the
// file. A system that cannot do it keeps the rollback journal, which is as safe.
void Database::ChooseJournal() {
    // The change of the journal does not wait for a second program that changes it too, so we wait for that one's lock
    // and try again. Only the last failure is worth a note.
    constexpr int kTries = 20;
    const auto change = [this] { Run("PRAGMA journal_mode = WAL"); };
    for (int tries = 1; tries < kTries; ++tries) {
        try {
            change();
            break;
        } catch (const DriverError&) {
            SwallowLedger aside;
            ResumeNext waiting{aside, "Database.ChooseJournal"};
            waiting.Step([&] { Run("BEGIN IMMEDIATE"); });
            waiting.Step([&] { Run("ROLLBACK"); });
        }
    }
    ResumeNext errors{needs_.ledger, "Database.ChooseJournal"};
    errors.Step(change);
    errors.Step([&] { Run("PRAGMA synchronous = NORMAL"); });
}

void Database::CreateSchema() {
    for (const Table& table : kSchema) {
        if (TableExists(table.name)) {
            continue;
        }
        try {
            Run(table.create);
        } catch (const DriverError&) {
            // A second program that starts at the same time may have made it since we looked.
            if (!TableExists(table.name)) {
                throw;
            }
        }
    }
}

bool Database::TableExists(std::string_view table) {
    return !Run(Concat("Select name from sqlite_master where type = 'table' and name = '", table, "'")).AtEnd();
}

RowSet Database::Run(std::string_view sql) {
    if (!IsOpen()) {
        throw RunTimeError(RunTimeError::kObjectNotSet, "Object variable or With block variable not set");
    }
    sqlite3_stmt* prepared = nullptr;
    const char* rest = nullptr;
    const int status =
        sqlite3_prepare_v2(connection_.get(), sql.data(), static_cast<int>(sql.size()), &prepared, &rest);
    RowSet::Statement statement(prepared);
    if (status != SQLITE_OK) {
        RaiseSqlFailure(status, sqlite3_errmsg(connection_.get()));
    }
    if (!statement || rest != sql.data() + sql.size()) {
        RaiseSqlFailure(SQLITE_MISUSE, "One statement at a time");
    }
    return RowSet(std::move(statement));
}

int Database::Changes() const {
    return sqlite3_changes(connection_.get());
}

std::string Database::LocalNow() {
    const std::string stamp = needs_.log.GetTimestamp();
    return stamp.substr(0, stamp.rfind('.'));
}

// --- settings ------------------------------------------------------------------------------------------------------

bool Database::GetDriverSetting(std::string_view property, std::string& value, std::string_view fallback) {
    if (const auto common = propertyToCommon_.find(property); common != propertyToCommon_.end()) {
        return GetCommonSetting(common->second, value, fallback);
    }
    return ReadValue(kDriverTable, property, value, fallback);
}

bool Database::GetCommonSetting(std::string_view property, std::string& value, std::string_view fallback) {
    return ReadValue(kCommonTable, property, value, fallback);
}

bool Database::ReadValue(std::string_view table, std::string_view property, std::string& value,
                         std::string_view fallback) {
    ResumeNext errors{needs_.ledger, "Database.ReadValue"};
    return errors.Step([&] {
        RequireUsableKey(property);
        const RowSet rows = Run(Concat("Select * from ", table, " where Property = Lower('", property, "')"));
        value = rows.AtEnd() ? std::string(fallback) : rows.Text(kValueColumn);
    });
}

bool Database::SetDriverSetting(std::string_view property, std::string_view value) {
    std::string oldValue;
    const bool read = GetDriverSetting(property, oldValue, NoRowFor(value));
    if (read && oldValue == value) {
        return true;
    }
    if (const auto common = propertyToCommon_.find(property); common != propertyToCommon_.end()) {
        return SetCommonSetting(common->second, value);
    }
    return WriteValue("driver", property, value, oldValue == kNoRow ? std::string_view{} : oldValue);
}

bool Database::SetCommonSetting(std::string_view property, std::string_view value) {
    std::string oldValue;
    const bool read = GetCommonSetting(property, oldValue, NoRowFor(value));
    if (read && oldValue == value) {
        return true;
    }
    return WriteValue(kCommonTable, property, value, oldValue == kNoRow ? std::string_view{} : oldValue);
}

bool Database::WriteValue(std::string_view table, std::string_view property, std::string_view value,
                          std::string_view oldValue) {
    bool written = false;
    ResumeNext errors{needs_.ledger, "Database.WriteValue"};
    errors.Step([&] {
        RequireUsableKey(property);
        const std::string escaped = EscapedForSql(value);
        Run(Concat("update or ignore ", table, " set Value = '", escaped, "' where property = Lower('", property,
                   "')"));
        if (Changes() == 0) {
            Run(Concat("insert or ignore into ", table, " (property, value) VALUES ('", ToLower(property), "', '",
                       escaped, "');"));
        }
        written = Changes() > 0;
    });
    if (written) {
        WriteAudit(table == kCommonTable ? kCommonTable : kDriverTable, property, oldValue, value);
    }
    return written;
}

bool Database::WriteAudit(std::string_view table, std::string_view property, std::string_view oldValue,
                          std::string_view newValue) {
    bool written = false;
    ResumeNext errors{needs_.ledger, "Database.WriteAudit"};
    errors.Step([&] {
        Run(
            Concat("insert or ignore into PropertyChangedEvent "
                   "('DateTime', 'ChangedBy', 'Table', 'Property', 'OldValue', 'NewValue') VALUES (",
                   "'", LocalNow(), "', ", "'Driver', ", "'", table, "', ", "'", property, "', ", "'",
                   EscapedForSql(oldValue), "', ", "'", EscapedForSql(newValue), "');"));
        written = Changes() > 0;
    });
    return written;
}

bool Database::TryDeleteSetting(std::string_view property) {
    RequireUsableKey(property);
    Run(Concat("Delete from Driver where Property = '", ToLower(property), "'"));
    return false;
}

}  // namespace kestrane
