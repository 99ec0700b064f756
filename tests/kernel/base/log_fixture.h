#pragma once

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "support/temporary_folder.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// Keeps what the log shows; one of its operations may fail.
struct RecordingWindow final : LogWindow {
    bool Visible() override {
        FailIf("Visible");
        return visible;
    }
    std::size_t TextLength() override {
        FailIf("TextLength");
        return length;
    }
    void KeepLast(std::size_t bytes) override {
        FailIf("KeepLast");
        cuts.push_back(bytes);
        length = bytes;
    }
    void Append(std::string_view line, std::int32_t colour) override {
        FailIf("Append");
        lines.emplace_back(std::string(line), colour);
        length += line.size() + 2;
    }
    void Show(bool show) override {
        FailIf("Show");
        visible = show;
    }
    void FailIf(std::string_view operation) {
        if (operation == failing) {
            ++failures;
            throw DriverError(ErrorNumber::InvalidOperation);
        }
    }

    bool visible = true;
    std::size_t length = 0;
    std::vector<std::size_t> cuts;
    std::vector<std::pair<std::string, std::int32_t>> lines;
    std::string failing;  ///< name of the operation that fails
    int failures = 0;
};

/// A log that is on, with all its facts and a common folder of its own; the window is given to it by `UseWindow`.
struct LogTest : testing::Test {
    LogTest() {
        state.g_bDebugLog = true;
        clock.SetLocalTime(kStart);
        log.SetFacts(LogFileFacts{[] { return std::string(); }, [] { return std::string("4"); },
                                  [] { return std::string("Alder VTR"); }, [] { return std::string("Windows 10"); },
                                  [] { return true; }, [this] { return folder.Path(); }});
    }

    std::filesystem::path LogsFolder() const { return folder.Path() / "Kestrane" / "ASCOM" / "Logs"; }
    std::filesystem::path LogFile() const { return LogsFolder() / "KS_ASCOM_2024-03-07_09-05-02.log"; }
    void UseWindow() { log.SetWindow(&window); }

    static constexpr DateTime kStart{2024, 3, 7, 9, 5, 2, 8};

    TemporaryFolder folder;
    VirtualClock clock;
    LogState state;
    Log log{state, clock};
    RecordingWindow window;
};

}  // namespace kestrane
