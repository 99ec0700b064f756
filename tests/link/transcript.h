#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "link/class_serial.h"
#include "link/command_exchange.h"
#include "link/scripted_line.h"
#include "settings/persist.h"
#include "state/driver_state.h"

namespace kestrane::link_test {

/// A folder of its own for the settings of one test, removed with it.
class TemporaryFolders final : public Folders {
public:
    TemporaryFolders();
    ~TemporaryFolders() override;
    std::filesystem::path CommonAppData() override { return path_; }
    std::filesystem::path Documents() override { return path_; }

private:
    std::filesystem::path path_;
};

/// A serial link and an exchange on a scripted line, in virtual time. The quiet normal world: link open on COM1 with
/// a read limit of 500 ms, no retries, log on, no companion.
///
/// `Play` runs a transcript, script and expectation in one. A line is a time in virtual milliseconds from the start
/// of the test, a mark, and text up to the end of the line ("\xNN" is one byte):
///
///     ?  a call that is made now, such as "CommandString GR", "CommandBool raw :MS#", "Receive", "Connected True"
///     =  its result and when it came
///     !  the error that came instead
///     >  bytes to the mount
///     <  bytes that arrive from the mount
///     ~  a read that ended without a byte, and how long it waited
///     L  a logged line: origin, level, message
///
/// Everything that happens must stand in the script in its order, except that "~" and "L" lines count only where the
/// script has any. A byte that nobody read fails. "--" begins a remark.
class LinkFixture : public testing::Test {
protected:
    LinkFixture();
    ~LinkFixture() override;
    void TearDown() override;

    void Play(std::string_view script);

    /// Makes the link anew on the platform's serial object.
    void UseAscomObject();
    void MakeLink();
    /// Text of the setting that chooses the back end; for the next `MakeLink`.
    void SetAscomObject(std::string_view value);
    void OpenLink();
    void TakeLinkAway();

    std::vector<std::string> LogLines() const { return logLines_; }

    ManualClock clock;
    CountingPump pump;
    ScriptedLine line{clock};
    DriverState state;
    Log log{state, clock};
    Counters counters{state, log};
    AlarmFilter alarmFilter{counters};
    SwallowLedger ledger;
    Waits waits{clock, pump};
    int querySuccesses = 0;
    std::vector<std::string> driverCommands;                   ///< what reached the driver command channel
    std::function<std::string(std::string_view)> driverReply;  ///< its answer
    std::unique_ptr<MountLink> link;
    std::optional<CommandExchange> exchange;
    std::function<void(std::string_view)> onLog;  ///< sees each logged line
    bool swallowsExpected = false;                ///< the test means failing statements to be passed over

private:
    class Script;
    void Note(char mark, std::string_view text);
    void Call(std::string_view text);
    std::string Result(std::string_view call);
    std::optional<std::string> ExchangeResult(std::string_view method, std::string_view command, bool raw);
    std::optional<std::string> LinkResult(std::string_view member, std::string_view argument);

    TemporaryFolders folders_;
    SilentMessageBoxes messageBoxes_;
    ScriptedPorts ports_{line};
    std::optional<Persist> persist_;
    std::vector<std::string> happened_;
    std::vector<std::string> logLines_;
};

}  // namespace kestrane::link_test
