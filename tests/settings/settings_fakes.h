#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <poll.h>
#include <sqlite3.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "platform/system_services.h"
#include "settings/database.h"
#include "settings/persist.h"

namespace kestrane {

/// A clock that stands. Its sleep is real, for tests of two processes, unless a test puts something in its place.
class StandingClock final : public Clock {
public:
    Tick GetTickCount() override { return now; }
    DateTime GetLocalTime() override { return {2024, 3, 7, 9, 5, 2, 8}; }
    void Sleep(std::int32_t milliseconds) override {
        sleptMs += milliseconds;
        if (onSleep) {
            onSleep();
        } else {
            ::poll(nullptr, 0, milliseconds);
        }
    }
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& date) override { return date; }
    DateTime DateUTCToLocal(const DateTime& date) override { return date; }

    Tick now;
    std::int32_t sleptMs = 0;
    std::function<void()> onSleep;
};

class RecordingBoxes final : public MessageBoxes {
public:
    MessageAnswer Show(std::string_view text, std::string_view, MessageIcon) override {
        texts.emplace_back(text);
        return MessageAnswer::Ok;
    }
    std::vector<std::string> texts;
};

/// In memory where the machine has it: there a wait for the disk costs nothing.
inline std::filesystem::path FolderOfTests() {
    const std::filesystem::path inMemory = "/dev/shm";
    return ::access(inMemory.c_str(), W_OK) == 0 ? inMemory : std::filesystem::temp_directory_path();
}

/// A data folder of its own that goes with its owner.
class TemporaryFolders final : public Folders {
public:
    TemporaryFolders() {
        std::string name = (FolderOfTests() / "kestrane-XXXXXX").string();
        path_ = ::mkdtemp(name.data());
    }
    ~TemporaryFolders() override {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolders(const TemporaryFolders&) = delete;
    TemporaryFolders& operator=(const TemporaryFolders&) = delete;

    std::filesystem::path CommonAppData() override { return path_; }
    std::filesystem::path Documents() override { return path_ / "documents"; }

    std::filesystem::path SettingsFile() const { return path_ / "Kestrane" / "Settings.ksdb"; }
    std::filesystem::path LegacyFile() const { return path_ / "Kestrane" / "ASCOM" / "ks.ini"; }

private:
    std::filesystem::path path_;
};

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

/// A machine without settings; the objects of a process on it are built by the tests.
struct SettingsWorld {
    SettingsWorld() {
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
    StandingClock clock;
    RecordingBoxes boxes;
    SwallowLedger ledger;
    LogState logState;
    Log log{logState, clock};
    std::vector<std::string> logged;
};

}  // namespace kestrane
