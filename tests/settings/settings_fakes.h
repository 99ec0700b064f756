#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <poll.h>
#include <sqlite3.h>
#include <string>
#include <utility>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "settings/database.h"
#include "settings/persist.h"
#include "support/recording_services.h"
#include "support/temporary_folder.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// The settings file as another program sees it.
class ForeignProgram {
public:
    explicit ForeignProgram(const std::filesystem::path& file) {
        sqlite3* connection = nullptr;
        sqlite3_open(file.c_str(), &connection);
        connection_.reset(connection);
        sqlite3_busy_timeout(connection, 5000);
    }

    /// Runs statements; the first column of each row, NULL as "NULL". Nothing when one failed.
    std::optional<std::vector<std::string>> Run(const std::string& sql) {
        std::vector<std::string> cells;
        const auto keep = [](void* into, int count, char** values, char**) {
            if (count > 0) {
                static_cast<std::vector<std::string>*>(into)->emplace_back(values[0] == nullptr ? "NULL" : values[0]);
            }
            return 0;
        };
        if (sqlite3_exec(connection_.get(), sql.c_str(), keep, &cells, nullptr) != SQLITE_OK) {
            return std::nullopt;
        }
        return cells;
    }

    std::string Cell(const std::string& sql) {
        const auto cells = Run(sql);
        return cells && !cells->empty() ? cells->front() : "(no row)";
    }

private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    std::unique_ptr<sqlite3, Close> connection_;
};

/// A machine without settings; the objects of a process on it are built by the tests. Its clock's sleep is a real one
/// too, for tests of two processes, until a test says otherwise.
struct SettingsWorld {
    SettingsWorld() {
        clock.SetLocalTime({2024, 3, 7, 9, 5, 2, 8});
        clock.OnSleep([this](std::int32_t milliseconds) {
            sleptMs += milliseconds;
            if (onSleep) {
                onSleep();
            } else {
                ::poll(nullptr, 0, milliseconds);
            }
        });
        log.SetListener([this](std::string_view origin, int level, std::string_view message) {
            logged.push_back(std::string(origin) + "|" + std::to_string(level) + "|" + std::string(message));
        });
    }

    DatabaseNeeds NeedsOfDatabase() { return {log, folders, boxes, ledger, clock}; }
    PersistNeeds NeedsOfPersist() { return {logState, log, clock, folders, boxes, ledger}; }
    ForeignProgram Foreign() { return ForeignProgram(folders.SettingsFile()); }
    void WriteLegacyFile(std::string_view content) {
        std::filesystem::create_directories(folders.LegacyFile().parent_path());
        std::ofstream(folders.LegacyFile(), std::ios::binary) << content;
    }

    TemporaryFolders folders;
    VirtualClock clock;
    std::int32_t sleptMs = 0;       ///< by the clock's sleep
    std::function<void()> onSleep;  ///< in the place of the real sleep
    RecordingMessageBoxes boxes;
    SwallowLedger ledger;
    LogState logState;
    Log log{logState, clock};
    std::vector<std::string> logged;
};

}  // namespace kestrane
