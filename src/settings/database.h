#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "settings/records.h"
#include "settings/row_set.h"
#include "settings/settings_file.h"

namespace kestrane {

/// What the settings file needs from the machine and from the base.
struct DatabaseNeeds {
    Log& log;
    Folders& folders;
    MessageBoxes& messageBoxes;
    SwallowLedger& ledger;
    Clock& clock;
};

/// The settings file: `Kestrane/Settings.ksdb` in the common data folder, one SQLite file shared with other programs.
/// The only class that uses SQL. Each call is one or two statements of their own, without a cache and without a
/// transaction around them, so that a kill at any moment leaves the file whole and loses at most the call under way.
/// What a call wrote also survives a power cut, except audit rows and `Sync::Later`.
///
/// Keys are stored and found in lower case. Values come back as they were stored, whatever they hold, except that a NUL
/// cannot be stored: such a write fails and leaves the old value. A key that holds an apostrophe fails before it
/// reaches SQL.
///
/// When a second program holds the file, calls wait for it, `LockWait::kLongestMs` at most. After that
/// - opening ends without a file and is tried again, without a wait, by each call; until it succeeds nothing is kept;
/// - a write of a setting returns false and is kept: the newest per key, in their order. Each later call first tries to
///   store the kept writes, a write of a setting with its own wait and the other calls without one, and the end of the
///   object tries for the last time; until then reads of the key give the kept value. A kill of the process loses them.
///   One that then fails for another reason, such as a full disk, is lost as it would be without a lock;
/// - every other call fails.
///
/// Every member that returns a flag returns false on a failure, which is noted in the ledger and reported nowhere else;
/// `TryDeleteSetting` is the exception. With no file open all of them fail. Where false has other reasons too,
/// `Answered` shows which it was. Logic thread only.
class Database {
public:
    static constexpr std::string_view kFileName = "Settings.ksdb";

    /// Opens the file; creates folder, file and missing tables. A failure shows a message box and leaves no file open.
    /// Raises only what the look-up of the common data folder raises.
    explicit Database(DatabaseNeeds needs);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Opens the file again after a failure; on an open one it only shows the message box "Db already set!".
    void Open();
    bool IsOpen() const { return file_.connection != nullptr; }
    const std::filesystem::path& DatabasePath() const { return path_; }

    /// Whether the last call that read a setting or a list, or saved a record, got its answer from the file, even
    /// "none" or "no". False when the file is not open, when another program holds it, or when a statement failed.
    bool Answered() const { return answered_; }

    /// True when the row now holds `value`. An equal value is not written; a changed one leaves an audit row.
    bool SetDriverSetting(std::string_view property, std::string_view value);
    /// True when the statement ran; `value` is `fallback` when there is no row. Unchanged on a failure.
    bool GetDriverSetting(std::string_view property, std::string& value, std::string_view fallback);
    bool SetSetting(std::string_view property, std::string_view value) { return SetDriverSetting(property, value); }
    /// Stores the answer of a first read when the key has no row, or one that holds `noRow`; any other row stays as it
    /// is. True when the row now holds `value`. Never kept for later, since by then another program may have set the
    /// key.
    bool SetFirstSetting(std::string_view property, std::string_view value, std::string_view noRow, Sync sync);
    bool GetSetting(std::string_view property, std::string& value, std::string_view fallback) {
        return GetDriverSetting(property, value, fallback);
    }
    /// Always false. A key that is kept in the common settings stays there. Raises what the statement raises.
    bool TryDeleteSetting(std::string_view property);
    /// True when there are rows and all can be read; the same for all members of this kind. Rows come in the order of
    /// the table, as they are in the file; writes of settings that are kept for later are not included. A row with an
    /// id beyond 16 bits, or a setting that is NULL, leaves its slot empty and makes the list false; the rows after it
    /// are read. A NULL in a record is an empty text, or 0.
    bool GetAllDriverSettings(RecordArray<PropValue>& propValList);

    bool SetCommonSetting(std::string_view property, std::string_view value);
    bool GetCommonSetting(std::string_view property, std::string& value, std::string_view fallback);
    bool GetAllCommonSettings(RecordArray<PropValue>& propValList);

    /// True when a row changed. A record with id 0, or whose row no longer exists, is inserted, and `isNew` comes back
    /// true; the id of the new row is not read back. A number that is not finite fails. The same for all members of
    /// this kind.
    bool SetGotoAltAz(const GotoAltAz& obj, bool& isNew);
    bool SetGotoRaDec(const GotoRaDec& obj, bool& isNew);
    /// When another row has the name already, nothing changes: false.
    bool SetSite(const Site& obj, bool& isNew);
    bool SetParkPosition(const ParkPosition& obj, bool& isNew);

    /// True when the statement ran, also when no row had that id.
    bool DeleteGotoAltAz(std::int16_t id);
    bool DeleteGotoRaDec(std::int16_t id);
    bool DeleteSite(std::int16_t id);

    bool GetAllGotoAltAz(RecordArray<GotoAltAz>& altazArray);
    bool GetAllGotoRaDec(RecordArray<GotoRaDec>& radecArray);
    /// Longitude and latitude come in their normal form (see `NormalizeSiteText`). A position without its four fields
    /// comes as it is and makes the call false; the other sites are still read.
    bool GetAllSites(RecordArray<Site>& sitesArray);
    bool GetAllParkPositions(RecordArray<ParkPosition>& parkArray);

    struct NoCase {
        using is_transparent = void;
        bool operator()(std::string_view left, std::string_view right) const;
    };
    using KeyMap = std::map<std::string, std::string, NoCase>;
    /// Keys that are kept in the common settings, by the driver's name and by the common one; matched in any case.
    const KeyMap& PropertyToCommon() const { return propertyToCommon_; }
    const KeyMap& CommonToProperty() const { return commonToProperty_; }

private:
    struct KeyedTable;  // one of the two tables that hold settings
    struct PendingWrite {
        const KeyedTable* table;
        std::string property;
        std::string value;
    };
    static const KeyedTable kDriver;
    static const KeyedTable kCommon;

    void OpenFile();
    /// Before each call: opens a file that was locked before, stores what is pending, and allows this call its wait.
    void Settle();
    void StorePending();
    /// Runs the one statement in `sql`.
    RowSet Run(std::string_view sql);
    void ChooseSyncOfWrites(Sync sync);
    /// Rows changed by the last statement that could change rows.
    int Changes() const;
    std::string LocalNow();

    bool ReadValue(const KeyedTable& table, std::string_view property, std::string& value, std::string_view fallback);
    bool WriteValue(const KeyedTable& table, std::string_view property, std::string_view value);
    /// Makes the row, or updates one that also meets `condition`.
    bool StoreValue(const KeyedTable& table, std::string_view property, std::string_view value, Sync sync,
                    std::string_view condition = {});
    bool WriteAudit(std::string_view table, std::string_view property, std::string_view oldValue,
                    std::string_view newValue);
    using Pending = std::vector<PendingWrite>::iterator;
    Pending FindPending(const KeyedTable& table, std::string_view property);
    void KeepForLater(PendingWrite write);

    bool SaveRecord(std::string_view procedure, const std::function<PropertyValue(std::string_view)>& getProperty,
                    bool& isNew, std::string_view table, std::span<const std::string_view> columns);
    bool DeleteRecord(std::string_view procedure, std::string_view table, std::int16_t id);
    template <typename Record>
    bool ReadAll(std::string_view procedure, std::string_view table, RecordArray<Record>& array,
                 Record (*read)(const RowSet&));

    DatabaseNeeds needs_;
    KeyMap propertyToCommon_;
    KeyMap commonToProperty_;
    std::filesystem::path path_;
    LockWait wait_;
    SettingsFile file_;
    bool answered_ = false;
    bool lockedOut_ = false;  ///< another program held the file each time we tried to open it
    std::optional<Sync> sync_;
    std::vector<PendingWrite> pending_;
};

/// `text` in the form that it needs between two apostrophes of a statement.
std::string EscapedForSql(std::string_view text);

}  // namespace kestrane
