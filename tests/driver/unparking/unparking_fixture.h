#pragma once

#include <memory>
#include <regex>
#include <string>

#include "driver/slews/slew_wire_fixture.h"

namespace kestrane {

/// A person who looks at a window.
class UnparkWatcher final : public FormView {
public:
    void Changed(Form&, std::string_view, Property) override {}
};

/// A connected client. The mount tracks; time and date on the wire are left out of what was sent. An unpark toggles the
/// format of the replies; the "U" after a sync is the poll's, which brings it back.
class UnparkingTest : public SlewWireTest {
protected:
    void ConnectAt(double latitude, const SettingTexts& settings = {}, const std::string& firmware = "S") {
        MountSimulatorOptions options;
        options.firmware = firmware;
        options.parkedAtPowerOn = false;
        options.latitude = latitude;
        Connect(options, settings);
    }
    /// A mount as after power-on, whose position of the settings nobody confirms.
    void ConnectAfterPowerOn(SettingTexts settings = {}, double latitude = 47.0) {
        MountSimulatorOptions options;
        options.firmware = "S";
        options.parkedAtPowerOn = true;
        options.latitude = latitude;
        BuildMount(options);
        settings.insert(settings.begin(), {"cbxUnparkFrom", "3"});
        SeedForSlews(settings);
        telescope = ConnectedTelescope();
        machine.AdvanceTime(2'000);
        tap_ = std::make_unique<SimulatorLine>(*mount);
        tap_->onWrite = [this](std::string_view bytes) { Tape().Note(machine.clock.Elapsed(), bytes); };
        machine.serialPorts.Splice(1, *tap_);
    }
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string WithoutTimes(const std::string& sent) {
        return std::regex_replace(std::regex_replace(sent, std::regex("SL\\S+"), "SL"), std::regex("SC\\S+"), "SC");
    }
    std::string Unpark(const std::string& arguments) {
        return WithoutTimes(
            MotionDuring([&] { EXPECT_EQ(telescope->CommandString("RAW,UnparkMount" + arguments, true), "1"); }));
    }
    void Park() {
        driver->motion.MountReportsParked(true);
        driver->panel.SetParkStatus("Parked", "test");
        driver->persist.Write(setting::ParkStatus, "Parked");
    }
    std::string Label() { return driver->handBox.lblParkStatus.Text(); }
    std::string Stored() { return driver->persist.Read(setting::ParkStatus); }

private:
    std::unique_ptr<SimulatorLine> tap_;
};

/// What each unpark of a mount that is not fresh from power-on begins with.
inline const std::string kHead = "RT9 U SM0:00:00.0 SL SC # Q RT2";

}  // namespace kestrane
