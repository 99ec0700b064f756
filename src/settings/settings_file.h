#pragma once

#include <filesystem>
#include <memory>

#include "settings/lock_wait.h"

struct sqlite3;

namespace kestrane {

struct CloseConnection {
    void operator()(sqlite3* connection) const;
};
using SettingsConnection = std::unique_ptr<sqlite3, CloseConnection>;

struct SettingsFile {
    SettingsConnection connection;
    /// With a write-ahead log a second program may read while we write, and the other way round. A file that could not
    /// get one keeps its rollback journal, which is as safe.
    bool writeAheadLog = false;
};

/// Opens the settings file; creates the file and missing tables; the folder must exist. Statements on the connection
/// wait for other programs as `wait` allows, which must outlive it. Raises a `RunTimeError` on failure, `FileLocked`
/// when another program holds the file for longer than the allowed wait.
SettingsFile OpenSettingsFile(const std::filesystem::path& path, LockWait& wait);

/// Whether a write is on the disk when its statement ends, so that it survives a power cut, or only some writes later.
/// In both cases it survives the end of the process. Without a write-ahead log only `Now` keeps the file whole.
enum class Sync { Now, Later };
void ChooseSync(const SettingsFile& file, Sync sync);

}  // namespace kestrane
