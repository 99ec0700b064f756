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

/// How the file is open.
enum class FileAccess {
    Shared,    ///< as usual: other programs may use it too
    Alone,     ///< locked for ourselves, since the disk has no room for the memory that programs share
    ReadOnly,  ///< as the file is on the disk, without what is still in its write-ahead log
};

struct SettingsFile {
    SettingsConnection connection;
    FileAccess access = FileAccess::Shared;
    /// With a write-ahead log a second program may read while we write, and the other way round. A file that could not
    /// get one keeps its rollback journal, which is as safe.
    bool writeAheadLog = false;
};

/// Opens the settings file; creates the file and missing tables; the folder must exist. A file with settings is also
/// opened on a full or read-only disk, by the next access that still reads it. Statements on the connection wait
/// for other programs as `wait` allows, which must outlive it. Raises a `RunTimeError` on failure: `FileLocked` when
/// another program holds the file for longer than the allowed wait, `DiskFault` when it cannot even be read.
SettingsFile OpenSettingsFile(const std::filesystem::path& path, LockWait& wait);

/// Whether the connection may write at all; one that may not has to be made anew when the disk can be written again.
bool MayWrite(const SettingsFile& file);

/// Whether a write is on the disk when its statement ends, so that it survives a power cut, or only some writes later.
/// In both cases it survives the end of the process. Without a write-ahead log only `Now` keeps the file whole.
enum class Sync { Now, Later };
void ChooseSync(const SettingsFile& file, Sync sync);

}  // namespace kestrane
