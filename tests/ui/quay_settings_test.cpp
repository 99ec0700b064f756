#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "simulator/companion.h"
#include "support/driver_fixture.h"
#include "support/serve_simulator.h"

namespace kestrane {
namespace {

class QuayWatcher final : public FormView {
public:
    void Changed(Form&, std::string_view, Property) override {}
};

/// The window with the companion's corrections, as a person uses it.
class QuaySettingsTest : public DriverFixture {
protected:
    void TearDown() override {
        timer_.reset();
        telescope_ = {};
        DriverFixture::TearDown();
    }
    void ConnectThroughCompanion() {
        machine.serialPorts.Connect(1, std::make_unique<CompanionLine>(companion));
        Seed({{"chkQUAY", "1"}});
        telescope_ = ConnectedTelescope();
        driver->poll.SetPolling(false);
    }
    frmQuaySettings& Window() { return driver->quaySettingsForm; }
    /// Opens the window by its button; a person does this in it a second later, and closes it. Gives what the companion
    /// was told meanwhile, without number.
    std::vector<std::string> WithPerson(const std::function<void()>& does) {
        const std::size_t before = companion.Commands().size();
        Window().Attach(view_);
        timer_ = machine.pump.CreateTimer([this, does] {
            timer_->SetEnabled(false);
            EXPECT_TRUE(Window().Visible());
            does();
            Window().Hide();
        });
        timer_->SetInterval(1'000);
        timer_->SetEnabled(true);
        driver->initialSetup.btnQuaySettings.FireClick();
        Window().Detach(view_);
        EXPECT_FALSE(Window().Loaded());
        std::vector<std::string> told;
        for (std::size_t i = before; i < companion.Commands().size(); ++i) {
            const std::string& command = companion.Commands()[i];
            told.push_back(command.substr(command.find(',', command.find(',') + 1) + 1));
        }
        return told;
    }

    SimulatedCompanion companion{machine.clock, *mount};
    CheckBox& Pointing() { return Window().chkEnableQUAYPointingCorrection; }
    CheckBox& Tracking() { return Window().chkEnableQUAYTrackingRateCorrection; }
    using Told = std::vector<std::string>;

private:
    TelescopeObject telescope_;
    QuayWatcher view_;
    std::unique_ptr<PumpTimer> timer_;
};

TEST_F(QuaySettingsTest, Opens_AsksForBothCorrections_AndSendsNothingElse) {
    ConnectThroughCompanion();
    for (const bool on : {true, false}) {
        companion.pointingCorrection = on;
        companion.trackingCorrection = !on;
        EXPECT_EQ(WithPerson([&] {
                      EXPECT_EQ(Pointing().Checked(), on);
                      EXPECT_EQ(Tracking().Checked(), !on);
                      EXPECT_TRUE(Pointing().Enabled() && Tracking().Enabled());
                  }),
                  (Told{"ZZ01", "ZZ02"}));
        EXPECT_EQ(companion.pointingCorrection, on);
        EXPECT_EQ(companion.trackingCorrection, !on);
    }
}

TEST_F(QuaySettingsTest, EachClick_SwitchesAtOnce) {
    ConnectThroughCompanion();
    EXPECT_EQ(WithPerson([&] {
                  Pointing().Checked(true);
                  EXPECT_TRUE(companion.pointingCorrection);
                  EXPECT_FALSE(companion.trackingCorrection);
                  Tracking().Checked(true);
                  EXPECT_TRUE(companion.trackingCorrection);
                  Pointing().Checked(false);
                  EXPECT_FALSE(companion.pointingCorrection);
                  Tracking().Checked(false);
                  EXPECT_FALSE(companion.trackingCorrection);
              }),
              (Told{"ZZ01", "ZZ02", "ZZ01,1", "ZZ02,1", "ZZ01,0", "ZZ02,0"}));
}

TEST_F(QuaySettingsTest, OfACompanionThatIsSilent_AreOff) {
    ConnectThroughCompanion();
    companion.pointingCorrection = true;
    companion.SetFault(SimulatedCompanion::Fault::Silent);
    ExpectSwallow("CommandString");
    EXPECT_EQ(WithPerson([&] { EXPECT_FALSE(Pointing().Checked() || Tracking().Checked()); }), (Told{"ZZ01", "ZZ02"}));
}

TEST_F(QuaySettingsTest, WithoutACompanion_NothingIsSentToTheMount) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->poll.SetPolling(false);
    EXPECT_EQ(SentBy([&] {
                  WithPerson([&] {
                      EXPECT_FALSE(Pointing().Enabled() || Tracking().Enabled());
                      Pointing().Checked(true);
                      Tracking().Checked(true);
                  });
              }),
              (Told{}));
}

TEST_F(QuaySettingsTest, EndOfTheProcess_ClosesTheWindow) {
    ConnectThroughCompanion();
    WithPerson([&] { driver->connections.ShutdownDriver(); });
    EXPECT_FALSE(Window().Visible());
}

class SetupLinkTest : public DriverFixture {};

TEST_F(SetupLinkTest, ChoiceOfAPerson_OutlivesAMountWithoutAnAdapter) {
    BuildMount("D");
    Seed({{"chkIPAddress", "1"}, {"Controller", "0"}, {"txtIpAddress", "mount.example"}});
    HttpAdapter adapter(machine.clock, *mount);
    ServeAdapter(machine.http, adapter);
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_FALSE(driver->initialSetup.chkIPAddress.Visible());
    EXPECT_EQ(driver->persist.ReadIniValue("chkIPAddress", ""), "1");
}

}  // namespace
}  // namespace kestrane
