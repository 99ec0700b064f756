#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/system_services.h"
#include "settings/setting_keys.h"

namespace kestrane {

class Database;

/// What the settings need from the machine and from the base.
struct PersistNeeds {
    LogState& logState;
    Log& log;
    Clock& clock;
    Folders& folders;
    MessageBoxes& messageBoxes;
    SwallowLedger& ledger;
    /// Makes the object of the settings file; empty: the usual one. A function that returns null leaves only the legacy
    /// file.
    std::function<std::unique_ptr<Database>()> createDatabase = {};
};

/// Named settings: a text under a text key; upper and lower case of the key do not matter. A read asks the settings
/// file, then the legacy ini file, then takes the caller's default. The answer of a first read is stored at once: from
/// then on neither the ini file nor the default of another caller counts. When a second program or the disk keeps it
/// from being stored, the answer still counts in this process and is stored by a later read, unless the other program
/// has set the key by then. A write takes effect at once and survives a kill of the process and a power cut, unless it
/// had to be kept (see `Database`). A read that fails gives the default and stores nothing, and so does one of a key
/// that may be in an ini file which cannot be read. Logic thread only.
class Persist {
public:
    explicit Persist(PersistNeeds needs);
    ~Persist();

    /// A key that has no row yet gets one at once, even when the answer is empty: a read with an empty default leaves
    /// an empty row, and later readers get that instead of their own defaults. Intentional: the command "GetIniValue"
    /// reads that way too (docs/settings-for-tools.md).
    std::string ReadIniValue(std::string_view variable, std::string_view fallback);
    /// The same, but nothing when the settings file did not answer (see `Database::Answered`): for callers that would
    /// do harm if they acted on a default in place of a stored value. Without a database it returns nothing and shows
    /// no box. Raises run-time error 75 for a key that may be in an ini file which cannot be read.
    std::optional<std::string> ReadIfAnswered(std::string_view variable, std::string_view fallback);
    /// A read that leaves no line in the log: for values that are asked for many times a second.
    std::string ReadQuietly(const SettingKey& key) { return ReadValue(key.name, key.fallback); }
    void WriteIniValue(std::string_view variable, std::string_view value);
    void TryDeleteIniValue(std::string_view variable);
    /// "name=value," repeated. Intentional: on a non-empty settings table it fails with run-time error 91.
    std::string GetAllValues();

    /// The value under a known key with that key's own default.
    std::string Read(const SettingKey& key) { return ReadIniValue(key.name, key.fallback); }
    /// The value as a number (see `Val_Global`): 0 for a text that begins with none.
    double ReadNumber(const SettingKey& key);
    /// Whether that is not zero.
    bool ReadFlag(const SettingKey& key);
    std::optional<std::string> ReadIfAnswered(const SettingKey& key) { return ReadIfAnswered(key.name, key.fallback); }
    void Write(const SettingKey& key, std::string_view value) { WriteIniValue(key.name, value); }

    /// While true, `WriteIniValue` logs but stores nothing.
    bool PreventWrites = false;

    /// The legacy ini file, which may not exist yet.
    const std::filesystem::path& LegacyFile() const { return legacyFile_; }

    /// Null when there is no settings file at all. A file that could not be opened still has an object, and all its
    /// operations fail.
    Database* database() { return m_db.get(); }

private:
    std::unique_ptr<Database> CreateDatabase();
    void FindLegacyFile(const std::filesystem::path& folder);
    std::string ReadValue(std::string_view variable, std::string_view fallback);
    /// The value in the legacy file, or the default; nothing, after one message box, while the file cannot be read.
    std::optional<std::string> ReadLegacy(std::string_view variable, std::string_view fallback);
    /// The answer for a key without a row, which is stored.
    std::string FirstAnswer(std::string_view variable, std::string_view fallback);
    bool ReadFile(std::string_view variable, std::string& value);
    void ShowFailure(std::string_view text);
    void LogAccess(std::string_view origin, std::string_view variable, std::string_view value);

    PersistNeeds needs_;
    std::unique_ptr<Database> m_db;
    bool answered_ = false;  ///< whether the last read got its answer from the settings file
    std::filesystem::path legacyFile_;
    bool legacyFaultShown_ = false;
    bool legacyFailed_ = false;  ///< the last read got a default, since the ini file cannot be read
    std::map<std::string, std::string, std::less<>> notStored_;  ///< first answers by key in lower case
};

}  // namespace kestrane
