#pragma once

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "support/kept_log.h"
#include "support/seed_settings.h"
#include "support/virtual_platform.h"
#include "support/wire_transcript.h"

namespace kestrane {

/// The normal surroundings of a driver test: virtual time, a healthy mount on COM1 that is unparked and tracks, a
/// driver that was started by a client. Each test changes one thing.
class DriverFixture : public testing::Test {
protected:
    DriverFixture();
    void TearDown() override;

    /// Failures that this test's procedure is meant to swallow; "*" for all.
    void ExpectSwallow(const std::string& procedure) { announced_.insert(procedure); }

    /// Puts another mount on COM1.
    void BuildMount(const std::string& firmware);
    void BuildMount(const MountSimulatorOptions& options);

    /// Writes settings as an earlier process would have left them.
    void Seed(const SettingTexts& settings) { SeedSettings(machine, settings); }

    /// Starts the process, as a client's request does; its log lines are kept in `log`.
    Driver& Start();
    /// Ends the process and starts it again on the same machine.
    Driver& Restart();

    /// A telescope client that is connected.
    TelescopeObject ConnectedTelescope();

    bool Logged(std::string_view part) const { return TimesLogged(part) > 0; }
    int TimesLogged(std::string_view part) const;
    /// The same for a whole line.
    bool LoggedAs(std::string_view origin, int level, std::string_view message) const;
    int TimesLoggedAs(std::string_view origin, int level, std::string_view message) const;

    /// How often the mount got a command so far.
    int TimesSent(std::string_view command) const;
    /// The commands that the mount gets during a call.
    std::vector<std::string> SentBy(const std::function<void()>& call);

    /// Plays a transcript on a link that is opened for it, with a read limit of 500 ms, and then closed again. Its log
    /// lines go to the transcript only; later ones go nowhere.
    void PlayOnOpenLink(WireTranscript& transcript);

    /// The number of the error that `call` raises; 0 when it raises none.
    static std::uint32_t ErrorOf(const std::function<void()>& call);

    VirtualPlatform machine;
    std::unique_ptr<MountSimulator> mount;
    std::vector<LogLine> log;
    std::unique_ptr<Driver> driver;

private:
    std::set<std::string, std::less<>> announced_;
};

}  // namespace kestrane
