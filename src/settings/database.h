#pragma once

#include <cstdint>
#include <deque>
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

/// Whether the name of a site is looked at when it is stored.
enum class SiteNames { MustBeGood, AsTheyAre };

/// The settings file: `Kestrane/Settings.ksdb` in the common data folder, one SQLite file shared with other programs.
/// The only class that uses SQL. Each call is one or two statements of their own, without a cache and without a
/// transaction around them, so that a kill at any moment leaves the file whole and loses at most the call under way.
/// What a call wrote also survives a power cut, except audit rows and `Sync::Later`.
///
/// Keys are stored and found in lower case. Values come back as they were stored, whatever they hold, except that a NUL
/// cannot be stored: such a write fails and leaves the old value. A key that holds an apostrophe fails before it
/// reaches SQL.
///
/// No call waits for a second program that holds the file, except the opening at the start and the last writes at the
/// end of the object (`LockWait::kLongestMs` at most), nor for a disk that is full or read-only. Then
/// - opening ends without a file, and a later call opens it;
/// - a write of a setting is kept, the newest per key, and so are records and deletions; all go out in their order as
///   soon as a call finds the file free. Reads of a setting give the kept value, lists do not show kept records. A kill
///   of the process loses what is kept;
/// - a read gives what the setting was when it was last read or written. Without a file it fails: a caller that would
///   write again what it read must ask whether the file `Answered`.
/// While the file has never been open for another reason than a lock, nothing is kept; the first write that is dropped
/// costs a line in the log.
/// A lock is tried again by each call, a disk that refused a write each `kRetryMs` at the earliest, then with the file
/// opened anew if need be. A full or read-only disk costs one line in the log, and so do settings that cannot be read;
/// these lines also go to the standard error stream. An audit row that finds no room costs none, and holds up no other
/// write.
///
/// A file that holds no database is moved aside once the message box of the failed opening was shown, and a new one
/// begins.
///
/// Every member that returns a flag returns false on a failure, which is noted in the ledger and reported nowhere else;
/// `TryDeleteSetting` is the exception. With no file open all of them fail. Where false has other reasons too,
/// `Answered` shows which it was. Logic thread only.
class Database {
public:
    static constexpr std::string_view kFileName = "Settings.ksdb";
    static constexpr std::int32_t kRetryMs = 10'000;  ///< from a fault of the disk to the next attempt

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
    /// "none" or "no". False when the file is not open, when it refused the call, or when a statement failed.
    bool Answered() const { return answered_; }

    /// True when the row now holds `value`. An equal value is not written; a changed one leaves an audit row.
    bool SetDriverSetting(std::string_view property, std::string_view value);
    /// True when the statement ran, or `value` is what the setting was before; `value` is `fallback` when there is no
    /// row. Unchanged on a failure.
    bool GetDriverSetting(std::string_view property, std::string& value, std::string_view fallback);
    bool SetSetting(std::string_view property, std::string_view value) { return SetDriverSetting(property, value); }
    /// Stores the answer of a first read when the key has no row, or one that holds `noRow`; any other row stays as it
    /// is. True when the row now holds `value`. Never kept for later, since by then another program may have set the
    /// key.
    bool SetFirstSetting(std::string_view property, std::string_view value, std::string_view noRow, Sync sync);
    bool GetSetting(std::string_view property, std::string& value, std::string_view fallback) {
        return GetDriverSetting(property, value, fallback);
    }
    /// Always false. A key that is kept in the common settings stays there. Raises what the statement raises, unless
    /// the deletion is kept for later.
    bool TryDeleteSetting(std::string_view property);
    /// True when there are rows and all can be read; the same for all members of this kind. Rows come in the order of
    /// the table, as they are in the file; what is kept for later is not included. A row with an
    /// id beyond 16 bits, or a setting that is NULL, leaves its slot empty and makes the list false; the rows after it
    /// are read. A NULL in a record is an empty text, or 0.
    bool GetAllDriverSettings(RecordArray<PropValue>& propValList);

    bool SetCommonSetting(std::string_view property, std::string_view value);
    bool GetCommonSetting(std::string_view property, std::string& value, std::string_view fallback);
    bool GetAllCommonSettings(RecordArray<PropValue>& propValList);

    /// True when a row changed, or will once the record, which is kept, goes out. A record with id 0, or whose row no
    /// longer exists, is inserted, and `isNew` comes back true; the id of the new row is not read back. A number that
    /// is not finite fails. The same for all members of this kind.
    bool SetGotoAltAz(const GotoAltAz& obj, bool& isNew);
    bool SetGotoRaDec(const GotoRaDec& obj, bool& isNew);
    /// When another row has the name already, nothing changes: false.
    /// Refuses a name that no init string of the mount can hold; a site that is stored already may keep its own.
    bool SetSite(const Site& obj, bool& isNew, SiteNames names = SiteNames::MustBeGood);
    bool SetParkPosition(const ParkPosition& obj, bool& isNew);

    /// Whether records or deletions of records are kept for later: the lists do not show them yet.
    bool KeepsRecords() const;

    /// True when the statement ran or is kept for later, also when no row had that id.
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
    /// A write that waits for its file: of the setting `property` in `table`, or of a record.
    struct KeptWrite {
        const KeyedTable* table = nullptr;  ///< null: a record
        std::string property = {};
        std::optional<std::string> value = {};  ///< nothing: the setting is deleted
        std::string sql = {};                   ///< of the record
        std::string sqlWithoutRow = {};         ///< of a record, when `sql` changed no row; may be empty
        bool isAudit = false;                   ///< a row that no list shows
    };
    static const KeyedTable kDriver;
    static const KeyedTable kCommon;

    void OpenFile();
    void TryToOpen();
    /// Moves the file aside and begins a new one; false when that failed.
    bool BeginAnew();
    /// Before each call, without a wait: makes the file usable again when that is due, and stores what is kept.
    void Settle();
    bool RetryIsDue();
    void StoreKept();
    void Store(const KeptWrite& write);
    /// Runs the one statement in `sql`.
    RowSet Run(std::string_view sql);
    /// Runs a write now, or keeps it when the file or an earlier write is in its way: then false.
    bool WriteOrKeep(KeptWrite write, const std::function<void()>& run);
    /// Runs a write; false when another program or the disk refused it, which is noted, and said unless it is a row
    /// that no list shows.
    bool Attempt(bool isAudit, const std::function<void()>& run);
    void TryAgainLater();
    void NoteRefusedWrite(const DiskFault& fault);
    void NoteWritten();
    void NoteUnread(std::string_view reason);
    void SayOnce(bool& said, std::string_view what, std::string_view reason);
    void Say(LogLevel level, const std::string& text);
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
    void DeleteValue(std::string_view property);
    static std::string NameOf(const KeyedTable& table, std::string_view property);
    /// The kept write of the setting, or null.
    const KeptWrite* FindKept(const KeyedTable& table, std::string_view property) const;
    void KeepForLater(KeptWrite write);
    /// What the setting was when it was last read or written; null when nobody knows.
    const std::string* LastKnown(const KeyedTable& table, std::string_view property) const;
    void Remember(const KeyedTable& table, std::string_view property, std::string_view value);

    /// True when `sqlWithoutRow` had to run.
    bool RunRecord(const KeptWrite& write);
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
    bool lockedOut_ = false;  ///< another program held the file when we last tried to open it
    bool everOpen_ = false;
    std::optional<Tick> faultAt_;  ///< when the disk last refused an opening or a write
    bool refusalSaid_ = false;
    bool unreadSaid_ = false;
    bool dropSaid_ = false;
    std::optional<Sync> sync_;
    std::deque<KeptWrite> kept_;                                 ///< grows at its end while the first is stored
    std::map<std::string, std::string, std::less<>> lastKnown_;  ///< by table and key in lower case
};

/// `text` in the form that it needs between two apostrophes of a statement.
std::string EscapedForSql(std::string_view text);

}  // namespace kestrane
