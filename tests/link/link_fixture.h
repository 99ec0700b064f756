#pragma once

#include <cstdint>
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
#include "settings/persist.h"
#include "state/driver_state.h"
#include "support/scripted_line.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// A serial link and an exchange on a scripted line, in virtual time. The quiet normal world: link open on COM1 with
/// a read limit of 500 ms, no retries, log on, no companion.
///
/// `Play` runs a wire transcript on the line. Its calls are members of the link or the exchange with what they take,
/// such as "CommandString GR", "CommandBool raw :MS#", "Receive", "Connected True". Where a script names a result, a
/// silence or a log line, it must name all of that kind.
class LinkFixture : public testing::Test {
public:
    ~LinkFixture() override;

protected:
    LinkFixture();
    void TearDown() override;

    void Play(std::string_view script);

    /// Makes the link anew on the platform's serial object.
    void UseAscomObject();
    void MakeLink();
    /// Text of the setting that chooses the back end; for the next `MakeLink`.
    void SetAscomObject(std::string_view value);
    void OpenLink();
    void TakeLinkAway();

    /// Puts the exchange out of step as soon as this line is logged.
    void FallOutOfStepAt(const std::string& logged);
    /// All failing statements failed since there is no link.
    void ExpectSwallowedForWantOfALink() const;

    std::vector<std::string> LogLines() const { return logLines_; }

    /// What the newest opening of a port asked for.
    const VirtualSerialPorts::Opening& LastOpening() const { return machine.serialPorts.Openings().back(); }

    VirtualPlatform machine;
    VirtualClock& clock = machine.clock;
    ScriptedLine line{clock};
    DriverState state;
    Log log{state, clock};
    Counters counters{state, log};
    AlarmFilter alarmFilter{counters};
    SwallowLedger ledger;
    Waits waits{clock, machine.pump};
    Persist persist{PersistNeeds{state, log, clock, machine.folders, machine.messageBoxes, ledger}};
    const Essentials essentials{state, persist, log, clock, waits, ledger, counters};
    int querySuccesses = 0;
    std::vector<std::string> driverCommands;                   ///< what reached the driver command channel
    std::function<std::string(std::string_view)> driverReply;  ///< its answer
    std::unique_ptr<MountLink> link;
    std::optional<CommandExchange> exchange;
    std::function<void(std::string_view)> onLog;  ///< sees each logged line
    bool swallowsExpected = false;                ///< the test means failing statements to be passed over

private:
    void KeepLogLine(std::string_view origin, int level, std::string_view message);
    std::string Result(std::string_view call);
    std::optional<std::string> ExchangeResult(std::string_view method, std::string_view command, bool raw);
    std::optional<std::string> LinkResult(std::string_view member, std::string_view argument);

    std::function<void(std::string_view origin, int level, std::string_view message)> transcriptLog_;
    std::vector<std::string> logLines_;
};

}  // namespace kestrane
