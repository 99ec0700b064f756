#include "settings/database.h"

#include <algorithm>
#include <sqlite3.h>
#include <system_error>
#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

/// Older versions used this value for "there is no row"; an audit row never names it as the old value.
constexpr std::string_view kNoRow = "***###";

constexpr int kValueColumn = 2;

/// Keys go into a statement as they are, so a key that could end its literal must not get there.
void RequireUsableKey(std::string_view property) {
    if (property.find('\'') != std::string_view::npos) {
        throw RunTimeError(RunTimeError::kInvalidProcedureCall, "A settings key holds an apostrophe");
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

// --- connection --------------------------------------------------------------------------------------------------

Database::Database(DatabaseNeeds needs) : needs_(needs), wait_(needs.clock) {
    propertyToCommon_.emplace("SiteDbIndex", "SiteDbIndex");
    commonToProperty_.emplace("SiteDbIndex", "SiteDbIndex");
    const std::filesystem::path folder = needs_.folders.CommonAppData() / "Kestrane";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    path_ = folder / kFileName;
    Open();
}

Database::~Database() {
    wait_.BeginAnew();
    StorePending();
}

void Database::Open() {
    if (IsOpen()) {
        needs_.messageBoxes.Show("Db already set!", application::kTitle, MessageIcon::Critical);
        return;
    }
    wait_.Begin();
    try {
        OpenFile();
    } catch (const DriverError& error) {
        needs_.messageBoxes.Show("Init DB Error: " + error.Message(), application::kTitle, MessageIcon::Critical);
    }
}

void Database::OpenFile() {
    try {
        lockedOut_ = false;
        sync_.reset();
        file_ = OpenSettingsFile(path_, wait_);
    } catch (const FileLocked&) {
        lockedOut_ = true;
        throw;
    }
}

void Database::Settle() {
    wait_.Forbid();
    if (lockedOut_) {
        ResumeNext errors{needs_.ledger, "Database.Settle"};
        errors.Step([&] { OpenFile(); });
    }
    StorePending();
    wait_.Begin();
    answered_ = false;
}

RowSet Database::Run(std::string_view sql) {
    if (lockedOut_) {
        throw FileLocked();
    }
    if (!IsOpen()) {
        throw RunTimeError(RunTimeError::kObjectNotSet, "Object variable or With block variable not set");
    }
    return RunStatement(*file_.connection, sql);
}

void Database::ChooseSyncOfWrites(Sync sync) {
    if (IsOpen() && sync_ != sync) {
        ChooseSync(file_, sync);
        sync_ = sync;
    }
}

int Database::Changes() const {
    return sqlite3_changes(file_.connection.get());
}

std::string Database::LocalNow() {
    const std::string stamp = needs_.log.GetTimestamp();
    return stamp.substr(0, stamp.rfind('.'));
}

// --- settings ------------------------------------------------------------------------------------------------------

struct Database::KeyedTable {
    std::string_view name;
    std::string_view inWrites;
    std::string_view lowerInReads;

    std::string Select(std::string_view property) const {
        return Concat("Select * from ", name, " where Property = ", lowerInReads, "('", property, "')");
    }
};

const Database::KeyedTable Database::kDriver{"Driver", "driver", "lower"};
const Database::KeyedTable Database::kCommon{"CommonSettings", "CommonSettings", "Lower"};

bool Database::GetDriverSetting(std::string_view property, std::string& value, std::string_view fallback) {
    if (const auto common = propertyToCommon_.find(property); common != propertyToCommon_.end()) {
        return GetCommonSetting(common->second, value, fallback);
    }
    return ReadValue(kDriver, property, value, fallback);
}

bool Database::GetCommonSetting(std::string_view property, std::string& value, std::string_view fallback) {
    return ReadValue(kCommon, property, value, fallback);
}

bool Database::ReadValue(const KeyedTable& table, std::string_view property, std::string& value,
                         std::string_view fallback) {
    ResumeNext errors{needs_.ledger, "Database.ReadValue"};
    return errors.Assign(value, [&] {
        Settle();
        RequireUsableKey(property);
        if (const Pending pending = FindPending(table, property); pending != pending_.end()) {
            answered_ = true;
            return pending->value;
        }
        const RowSet rows = Run(table.Select(property));
        answered_ = true;
        return rows.AtEnd() ? std::string(fallback) : rows.Text(kValueColumn);
    });
}

bool Database::SetDriverSetting(std::string_view property, std::string_view value) {
    if (const auto common = propertyToCommon_.find(property); common != propertyToCommon_.end()) {
        return SetCommonSetting(common->second, value);
    }
    return WriteValue(kDriver, property, value);
}

bool Database::SetFirstSetting(std::string_view property, std::string_view value, std::string_view noRow, Sync sync) {
    const auto common = propertyToCommon_.find(property);
    const bool isCommon = common != propertyToCommon_.end();
    bool written = false;
    ResumeNext errors{needs_.ledger, "Database.SetFirstSetting"};
    errors.Step([&] {
        RequireUsableKey(property);
        Settle();
        written = StoreValue(isCommon ? kCommon : kDriver, isCommon ? common->second : property, value, sync,
                             Concat(" and Value = '", EscapedForSql(noRow), "'"));
    });
    return written;
}

bool Database::SetCommonSetting(std::string_view property, std::string_view value) {
    return WriteValue(kCommon, property, value);
}

bool Database::WriteValue(const KeyedTable& table, std::string_view property, std::string_view value) {
    bool written = false;
    ResumeNext errors{needs_.ledger, "Database.WriteValue"};
    errors.Step([&] {
        RequireUsableKey(property);
        Settle();
        try {
            StorePending();  // now with the wait of this write
            if (!pending_.empty()) {
                throw FileLocked();  // not before the writes that came earlier
            }
            written = StoreValue(table, property, value, Sync::Now);
        } catch (const FileLocked&) {
            KeepForLater({&table, std::string(property), std::string(value)});
            throw;
        }
    });
    return written;
}

bool Database::StoreValue(const KeyedTable& table, std::string_view property, std::string_view value, Sync sync,
                          std::string_view condition) {
    std::string oldValue;
    if (const RowSet rows = Run(table.Select(property)); !rows.AtEnd() && !rows.IsNull(kValueColumn)) {
        oldValue = rows.Text(kValueColumn);
        if (oldValue == value) {
            return true;
        }
    }
    ChooseSyncOfWrites(sync);
    const std::string escaped = EscapedForSql(value);
    Run(Concat("update or ignore ", table.inWrites, " set Value = '", escaped, "' where property = Lower('", property,
               "')", condition));
    if (Changes() == 0) {
        Run(Concat("insert or ignore into ", table.inWrites, " (property, value) VALUES ('", ToLower(property), "', '",
                   escaped, "');"));
    }
    const bool written = Changes() > 0;
    wait_.GotThrough();
    if (written) {
        WriteAudit(table.name, property, oldValue == kNoRow ? std::string_view{} : oldValue, value);
    }
    return written;
}

bool Database::WriteAudit(std::string_view table, std::string_view property, std::string_view oldValue,
                          std::string_view newValue) {
    bool written = false;
    ResumeNext errors{needs_.ledger, "Database.WriteAudit"};
    errors.Step([&] {
        ChooseSyncOfWrites(Sync::Later);
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
    Settle();
    ChooseSyncOfWrites(Sync::Now);
    Run(Concat("Delete from Driver where Property = '", ToLower(property), "'"));
    if (const Pending pending = FindPending(kDriver, property); pending != pending_.end()) {
        pending_.erase(pending);
    }
    return false;
}

// --- writes that met a lock ------------------------------------------------------------------------------------------

Database::Pending Database::FindPending(const KeyedTable& table, std::string_view property) {
    return std::find_if(pending_.begin(), pending_.end(), [&](const PendingWrite& write) {
        return write.table == &table && ToLower(write.property) == ToLower(property);
    });
}

void Database::KeepForLater(PendingWrite write) {
    if (lockedOut_) {
        return;  // a value kept now may come from defaults, and would replace what the file holds
    }
    if (const Pending older = FindPending(*write.table, write.property); older != pending_.end()) {
        pending_.erase(older);
    }
    pending_.push_back(std::move(write));
}

void Database::StorePending() {
    ResumeNext errors{needs_.ledger, "Database.StorePending"};
    bool locked = false;
    while (!pending_.empty() && !locked) {
        errors.Step([&] {
            const PendingWrite& write = pending_.front();
            try {
                StoreValue(*write.table, write.property, write.value, Sync::Now);
            } catch (const FileLocked&) {
                locked = true;
            }
        });
        if (!locked) {
            pending_.erase(pending_.begin());
        }
    }
}

}  // namespace kestrane
