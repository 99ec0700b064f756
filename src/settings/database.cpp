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

/// Gives the file and what belongs to it a dated name, and returns that of the file. Raises a `RunTimeError` when the
/// file stays where it is.
std::filesystem::path MoveAside(const std::filesystem::path& path, const std::string& stamp) {
    std::filesystem::path aside = path;
    aside += "." + stamp;
    std::error_code failure;
    for (int again = 2; std::filesystem::exists(aside, failure); ++again) {
        aside = path;
        aside += "." + stamp + "_" + std::to_string(again);
    }
    std::filesystem::rename(path, aside, failure);
    if (failure) {
        RaiseFileAccess();
    }
    for (const char* part : {"-wal", "-shm", "-journal"}) {
        std::filesystem::rename(path.string() + part, aside.string() + part, failure);
    }
    return aside;
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
    if (!kept_.empty()) {
        wait_.Begin();
        if (!MayWrite(file_)) {
            TryToOpen();
        }
        StoreKept();
    }
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
        const auto* fault = dynamic_cast<const DiskFault*>(&error);
        if (fault == nullptr || !fault->NoDatabase() || !BeginAnew()) {
            NoteUnread(error.Message());
        }
    }
    wait_.Forbid();
}

void Database::OpenFile() {
    lockedOut_ = false;
    sync_.reset();
    file_ = {};  // our own connection would keep the new one from the file
    try {
        file_ = OpenSettingsFile(path_, wait_);
    } catch (const FileLocked&) {
        lockedOut_ = true;
        throw;
    } catch (const DiskFault&) {
        faultAt_ = needs_.clock.GetTickCount();
        throw;
    }
    everOpen_ = true;
    faultAt_.reset();
    if (file_.access != FileAccess::Shared) {
        faultAt_ = needs_.clock.GetTickCount();
    }
    if (file_.access == FileAccess::ReadOnly) {
        SayOnce(refusalSaid_, "The settings file can only be read, and the last writes may be missing",
                "changes are kept until the disk can be written, at most as long as the driver runs");
    }
}

void Database::TryToOpen() {
    ResumeNext errors{needs_.ledger, "Database.Settle"};
    errors.Step([&] { OpenFile(); });
}

bool Database::BeginAnew() {
    ResumeNext errors{needs_.ledger, "Database.BeginAnew"};
    return errors.Step([&] {
        const std::filesystem::path aside = MoveAside(path_, needs_.log.GetFileTimestamp());
        Say(LogLevel::Error, "The settings file held no database. It was kept as " + aside.string() +
                                 "; new settings begin with their defaults");
        OpenFile();
    });
}

bool Database::RetryIsDue() {
    if (!faultAt_) {
        return false;
    }
    const std::int32_t since = needs_.clock.GetTickCount() - *faultAt_;
    return since < 0 || since >= kRetryMs;
}

void Database::Settle() {
    const bool due = RetryIsDue();
    if (lockedOut_ || (due && (file_.access != FileAccess::Shared || !MayWrite(file_)))) {
        TryToOpen();
    }
    if (due || !faultAt_) {
        StoreKept();
    }
    answered_ = false;
}

RowSet Database::Run(std::string_view sql) {
    if (lockedOut_) {
        throw FileLocked();
    }
    if (!IsOpen() && everOpen_) {
        throw DiskFault(SQLITE_CANTOPEN, "unable to open database file");
    }
    if (!IsOpen()) {
        throw RunTimeError(RunTimeError::kObjectNotSet, "Object variable or With block variable not set");
    }
    return RunStatement(*file_.connection, sql);
}

void Database::SayOnce(bool& said, std::string_view what, std::string_view reason) {
    if (!std::exchange(said, true)) {
        Say(LogLevel::Error, Concat(what, ": ", path_.string(), ": ", reason));
    }
}

/// The log may be on the disk that fails, or off.
void Database::Say(LogLevel level, const std::string& text) {
    needs_.log.LogTrouble("Settings", level, text);
    needs_.messageBoxes.Mention("Settings: " + text);
}

void Database::TryAgainLater() {
    if (!faultAt_ || RetryIsDue()) {
        faultAt_ = needs_.clock.GetTickCount();
    }
}

void Database::NoteRefusedWrite(const DiskFault& fault) {
    TryAgainLater();
    SayOnce(refusalSaid_, "The settings cannot be written; they are kept and tried again while the driver runs",
            fault.Message());
}

void Database::NoteWritten() {
    if (file_.access == FileAccess::Shared) {
        faultAt_.reset();
    }
    if (std::exchange(refusalSaid_, false)) {
        Say(LogLevel::Info, "The settings can be written again");
    }
}

void Database::NoteUnread(std::string_view reason) {
    SayOnce(unreadSaid_, "The settings could not be read; defaults take their place", reason);
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
        RequireUsableKey(property);
        Settle();
        if (const KeptWrite* kept = FindKept(table, property); kept != nullptr) {
            answered_ = true;
            return kept->value.value_or(std::string(fallback));
        }
        try {
            const RowSet rows = Run(table.Select(property));
            answered_ = true;
            if (rows.AtEnd()) {
                return std::string(fallback);
            }
            std::string stored = rows.Text(kValueColumn);
            Remember(table, property, stored);
            return stored;
        } catch (const FileLocked&) {
            if (const std::string* known = LastKnown(table, property); known != nullptr) {
                return *known;
            }
            throw;
        } catch (const DiskFault& fault) {
            NoteUnread(fault.Message());
            if (const std::string* known = LastKnown(table, property); known != nullptr) {
                return *known;
            }
            throw;
        }
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
        try {
            written = StoreValue(isCommon ? kCommon : kDriver, isCommon ? common->second : property, value, sync,
                                 Concat(" and Value = '", EscapedForSql(noRow), "'"));
        } catch (const DiskFault& fault) {
            NoteRefusedWrite(fault);
            throw;
        }
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
        WriteOrKeep({.table = &table, .property = std::string(property), .value = std::string(value)},
                    [&] { written = StoreValue(table, property, value, Sync::Now); });
    });
    return written;
}

bool Database::WriteOrKeep(KeptWrite write, const std::function<void()>& run) {
    if (!everOpen_ && !lockedOut_ && kept_.empty()) {  // nobody knows what the file holds, or whether there will be one
        if (!std::exchange(dropSaid_, true)) {
            Say(LogLevel::Warning,
                "The settings file could not be opened yet. Until then, changes of settings, sites and bookmarks are "
                "not kept: " +
                    path_.string());
        }
        run();
        return true;
    }
    const bool isFirst = std::ranges::all_of(kept_, &KeptWrite::isAudit);  // not before the writes that came earlier
    if (isFirst && Attempt(false, run)) {
        return true;
    }
    KeepForLater(std::move(write));
    return false;
}

bool Database::Attempt(bool isAudit, const std::function<void()>& run) {
    try {
        run();
        return true;
    } catch (const FileLocked&) {
        return false;
    } catch (const DiskFault& fault) {
        if (isAudit) {
            TryAgainLater();
        } else {
            NoteRefusedWrite(fault);
        }
        return false;
    }
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
    if (written) {
        NoteWritten();
        Remember(table, property, value);
        WriteAudit(table.name, property, oldValue == kNoRow ? std::string_view{} : oldValue, value);
    }
    return written;
}

bool Database::WriteAudit(std::string_view table, std::string_view property, std::string_view oldValue,
                          std::string_view newValue) {
    bool written = false;
    ResumeNext errors{needs_.ledger, "Database.WriteAudit"};
    errors.Step([&] {
        KeptWrite row;
        row.isAudit = true;
        row.sql = Concat(
            "insert or ignore into PropertyChangedEvent "
            "('DateTime', 'ChangedBy', 'Table', 'Property', 'OldValue', 'NewValue') VALUES (",
            "'", LocalNow(), "', ", "'Driver', ", "'", table, "', ", "'", property, "', ", "'", EscapedForSql(oldValue),
            "', ", "'", EscapedForSql(newValue), "');");
        written = Attempt(true, [&] {
            ChooseSyncOfWrites(Sync::Later);
            Run(row.sql);
        });
        if (!written) {
            KeepForLater(std::move(row));
        }
    });
    return written && Changes() > 0;
}

bool Database::TryDeleteSetting(std::string_view property) {
    RequireUsableKey(property);
    Settle();
    WriteOrKeep({.table = &kDriver, .property = std::string(property)}, [&] { DeleteValue(property); });
    return false;
}

void Database::DeleteValue(std::string_view property) {
    ChooseSyncOfWrites(Sync::Now);
    Run(Concat("Delete from Driver where Property = '", ToLower(property), "'"));
    if (Changes() > 0) {
        NoteWritten();
    }
    lastKnown_.erase(NameOf(kDriver, property));
}

// --- what is kept and what is remembered -----------------------------------------------------------------------------

std::string Database::NameOf(const KeyedTable& table, std::string_view property) {
    return Concat(table.name, ".", ToLower(property));
}

const std::string* Database::LastKnown(const KeyedTable& table, std::string_view property) const {
    const auto known = lastKnown_.find(NameOf(table, property));
    return known == lastKnown_.end() ? nullptr : &known->second;
}

void Database::Remember(const KeyedTable& table, std::string_view property, std::string_view value) {
    lastKnown_.insert_or_assign(NameOf(table, property), std::string(value));
}

const Database::KeptWrite* Database::FindKept(const KeyedTable& table, std::string_view property) const {
    const auto kept = std::find_if(kept_.begin(), kept_.end(), [&](const KeptWrite& write) {
        return write.table == &table && ToLower(write.property) == ToLower(property);
    });
    return kept == kept_.end() ? nullptr : &*kept;
}

bool Database::KeepsRecords() const {
    return std::any_of(kept_.begin(), kept_.end(),
                       [](const KeptWrite& write) { return write.table == nullptr && !write.isAudit; });
}

void Database::KeepForLater(KeptWrite write) {
    if (write.table != nullptr) {
        std::erase_if(kept_, [&](const KeptWrite& older) {
            return older.table == write.table && ToLower(older.property) == ToLower(write.property);
        });
    }
    kept_.push_back(std::move(write));
}

void Database::StoreKept() {
    ResumeNext errors{needs_.ledger, "Database.StoreKept"};
    for (std::size_t i = 0; i < kept_.size();) {
        const bool isAudit = kept_[i].isAudit;
        bool refused = false;
        errors.Step([&] { refused = !Attempt(isAudit, [&] { Store(kept_[i]); }); });
        if (!refused) {
            kept_.erase(kept_.begin() + static_cast<std::ptrdiff_t>(i));
        } else if (isAudit) {
            ++i;
        } else {
            return;
        }
    }
}

void Database::Store(const KeptWrite& write) {
    if (write.table == nullptr) {
        RunRecord(write);
    } else if (write.value) {
        StoreValue(*write.table, write.property, *write.value, Sync::Now);
    } else {
        DeleteValue(write.property);
    }
}

}  // namespace kestrane
