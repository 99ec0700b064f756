#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>

#include "driver/connection/connection_errors.h"
#include "link/class_tcp_comm.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// A line with the companion on it, in front of the mount: says that it is there, unwraps what carries a number, and
/// puts its head before the reply. Commands to itself it takes as done.
class CompanionLine final : public LineEnd {
public:
    explicit CompanionLine(MountSimulator& mount) : mount_(mount) {}

    void Write(std::string_view bytes) override {
        constexpr std::string_view kHead = ":QUAY,";
        if (bytes == ":QUAY#") {
            ++timesAsked;
            ready_ += "1";
        } else if (bytes.starts_with(kHead)) {
            const std::string text(bytes.substr(kHead.size()));
            const std::size_t comma = text.find(',');
            const std::string command = text.substr(comma + 1, text.find('#') - comma - 1);
            const std::string number = text.substr(0, comma);
            if (command.starts_with('*')) {  // for the companion itself, which does as it is told
                ready_ += "QUAY," + command.substr(0, command.find(',')) + "," + number + ",11#";
                return;
            }
            head_ = "QUAY," + command + "," + number + ",";
            mount_.Write(":" + command + "#");
        } else {
            mount_.Write(bytes);
        }
    }
    std::string Read(std::size_t maxCount) override {
        if (ready_.empty()) {
            ready_ = mount_.Read(maxCount);
            if (!ready_.empty()) {
                ready_ = std::exchange(head_, {}) + ready_;
            }
        }
        const std::size_t count = std::min(maxCount, ready_.size());
        std::string bytes = ready_.substr(0, count);
        ready_.erase(0, count);
        return bytes;
    }
    std::optional<std::int32_t> NextByteIn() override { return ready_.empty() ? mount_.NextByteIn() : 0; }

    int timesAsked = 0;  ///< whether it is there

private:
    MountSimulator& mount_;
    std::string ready_;
    std::string head_;  ///< of the next reply
};

class QuayTest : public DriverFixture {
protected:
    void InstallCompanion() {
        machine.registry.SetText("KestraneCommandCenter\\ExeName", "Name", "C:\\Quay\\Quay.exe");
    }
    void PublishPort(const std::string& text) { machine.applicationSettings.Set("QUAY", "Driver", "COMPort", text); }
    void SilentPort() {
        mount->SetLineDead(true);
        ExpectSwallow("CommandString");
    }
    void CompanionOnTheLine() { machine.serialPorts.Connect(1, companionLine_); }
    int TimesAsked() const { return companionLine_.timesAsked; }
    std::uint32_t Open() {
        return ErrorOf([&] { driver->connections.OpenConnection(ClientKind::Telescope); });
    }

private:
    CompanionLine companionLine_{*mount};
};

// --- on a link to an address ---------------------------------------------------------------------------------------

TEST_F(QuayTest, Adapter_IgnoresThePublishedPort_YetStartsTheCompanionOnce) {
    Seed({{"chkIPAddress", "1"}, {"chkQUAY", "1"}, {"txtIPAddress", "10.0.0.7"}, {"Port", "COM3"}});
    PublishPort("COM9 x");
    InstallCompanion();
    ExpectSwallow("CommandString");
    Start();
    ASSERT_NE(dynamic_cast<classTCPComm*>(driver->link.get()), nullptr);
    EXPECT_EQ(Open(), kNoMount);
    EXPECT_EQ(machine.processes.starts.size(), 1U);
    EXPECT_EQ(driver->persist.ReadIniValue("Port", ""), "COM3");
    EXPECT_TRUE(Logged("OpenConnection Failed. No response from COM10.0.0.7"));
    EXPECT_EQ(driver->statusWindow.lblComPortValue.Text(), "10.0.0.7");
}

TEST_F(QuayTest, AddressChosenWhileTheProcessRuns_KeepsTheSerialLink_AndLooksForTheCompanion) {
    Start();
    driver->persist.WriteIniValue("chkIPAddress", "1");
    driver->persist.WriteIniValue("chkQUAY", "1");
    EXPECT_EQ(Open(), 0U);
    EXPECT_TRUE(driver->state.g_bQuayConfigured);
    EXPECT_FALSE(driver->state.g_bQuayLink);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 1);
}

// --- the companion answers -----------------------------------------------------------------------------------------

TEST_F(QuayTest, Companion_IsAskedUnwrapped_AndFromThenOnEachQueryCarriesItsNumber) {
    Seed({{"chkQUAY", "1"}});
    WireTranscript transcript(machine.clock, machine.pump, R"(
        0  = Open
        1  > :V#
        5  < D#
        5  > #:U#
        35 > :G\x05#
        40 < 0#
        40 L CheckQuay Info Checking for QUAY!
        40 > #
        61 > :QUAY#
        70 < 1
        70 L CheckQuay Info QUAY Found!
        70 L CheckQuay Info QUAY Handles Slews: True
        *  > :U#
        *  > :QUAY,1,Gg#
        *  < QUAY,Gg,1,350*00:00#
        *  > :QUAY,2,Gt#
        *  < QUAY,Gt,2,+47*00:00#
        *  = ->
    )");
    machine.serialPorts.Connect(1, transcript.Line());
    Start();
    driver->log.SetListener(transcript.LogListener());
    transcript.Call("Open", [&] { driver->connections.OpenConnection(ClientKind::Telescope); });
    transcript.Play();
    driver->log.SetListener({});
    driver.reset();
    machine.serialPorts.Disconnect(1);
}

struct HandlesSlewsRow {
    std::string setting;
    bool handles;
    std::string line;
};

class QuayFoundTest : public QuayTest, public testing::WithParamInterface<HandlesSlewsRow> {};

TEST_P(QuayFoundTest, CompanionThatAnswers_IsRemembered_AndNeverAskedAgain) {
    Seed({{"chkQUAY", "1"}, {"QuayHandlesSlews", GetParam().setting}});
    CompanionOnTheLine();
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_TRUE(driver->state.g_bQuayLink);
    EXPECT_EQ(driver->state.g_bQuayHandlesSlews, GetParam().handles);
    EXPECT_TRUE(Logged("QUAY Found!"));
    EXPECT_TRUE(Logged(GetParam().line));
    EXPECT_EQ(driver->handBox.frameMountPosition.Caption(), "Mount Info: COM1 (QUAY)");
    EXPECT_EQ(TimesAsked(), 1);

    driver->channel.CheckQuay();
    machine.AdvanceTime(130'000);
    EXPECT_EQ(TimesAsked(), 1);
    EXPECT_EQ(TimesLogged("Checking for QUAY!"), 1);
    EXPECT_GT(driver->state.g_nQuaySeq, 100) << "the poll goes through the companion";
}

INSTANTIATE_TEST_SUITE_P(Settings, QuayFoundTest,
                         testing::Values(HandlesSlewsRow{"1", true, "QUAY Handles Slews: True"},
                                         HandlesSlewsRow{"0", false, "QUAY Handles Slews: False"}));

TEST_F(QuayTest, CompanionThatIsFoundLater_StartsItsNumbersAtOne) {
    Seed({{"chkQUAY", "1"}});
    Start();
    ASSERT_EQ(Open(), 0U);
    EXPECT_FALSE(driver->state.g_bQuayLink);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->state.g_nQuaySeq = 99;
    CompanionLine line(*mount);
    machine.serialPorts.Splice(1, line);
    driver->channel.CheckQuay();
    EXPECT_TRUE(driver->state.g_bQuayLink);
    EXPECT_EQ(driver->state.g_nQuaySeq, 1);
    driver.reset();
    machine.serialPorts.Disconnect(1);
}

TEST_F(QuayTest, PeriodicCheck_WithoutAStamp_OnlyStamps) {
    Start();
    driver->state.g_bQuayConfigured = true;
    machine.AdvanceTime(5'000);
    ASSERT_EQ(driver->state.g_tickLastQuayCheck, Tick{});
    driver->channel.PeriodicQuayCheck();
    EXPECT_EQ(driver->state.g_tickLastQuayCheck - Tick{}, 5'000);
    EXPECT_FALSE(Logged("Checking for QUAY!"));
    machine.AdvanceTime(59'999);
    driver->channel.PeriodicQuayCheck();
    EXPECT_FALSE(Logged("Checking for QUAY!"));
    machine.AdvanceTime(1);
    driver->channel.PeriodicQuayCheck();
    EXPECT_EQ(TimesLogged("Checking for QUAY!"), 1);
    EXPECT_EQ(driver->state.g_tickLastQuayCheck, machine.clock.GetTickCount());
}

// --- the companion is started --------------------------------------------------------------------------------------

TEST_F(QuayTest, RestInterfaceAlone_WithItsPortAbsent_FailsAtOnce) {
    Seed({{"chkQuayRestApi", "1"}, {"Port", "COM7"}});
    InstallCompanion();
    Start();
    EXPECT_EQ(Open(), kNoMount);
    EXPECT_TRUE(machine.processes.starts.empty());
    EXPECT_EQ(machine.serialPorts.Openings().size(), 1U);
    EXPECT_EQ(machine.clock.GetTickCount() - Tick{}, 0);
}

TEST_F(QuayTest, RestInterfaceAlone_OnASilentPort_StartsTheCompanion) {
    Seed({{"chkQuayRestApi", "1"}});
    InstallCompanion();
    SilentPort();
    Start();
    machine.pump.PostAt(1'500, CallKind::Brief, [&] { mount->SetLineDead(false); });
    EXPECT_EQ(Open(), 0U);
    EXPECT_EQ(machine.processes.starts.size(), 1U);
}

TEST_F(QuayTest, RestInterfaceAlone_AsksForTheCompanion) {
    Seed({{"chkQuayRestApi", "1"}});
    Start();
    EXPECT_EQ(Open(), 0U);
    EXPECT_TRUE(driver->state.g_bQuayConfigured);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 1);
}

struct UnstartableRow {
    std::string path;
    std::string running;
};

class UnstartableCompanionTest : public QuayTest, public testing::WithParamInterface<UnstartableRow> {};

TEST_P(UnstartableCompanionTest, SilentMount_FailsAfterTheConnectTimeout_WithThePortClosed) {
    Seed({{"chkQUAY", "1"}});
    if (!GetParam().path.empty()) {
        machine.registry.SetText("KestraneCommandCenter\\ExeName", "Name", GetParam().path);
    }
    machine.processes.list.push_back(GetParam().running);
    SilentPort();
    Start();
    EXPECT_EQ(Open(), kNoMount);
    EXPECT_TRUE(machine.processes.starts.empty());
    const std::int32_t elapsed = machine.clock.GetTickCount() - Tick{};
    EXPECT_GT(elapsed, 1000);
    EXPECT_LT(elapsed, 3000);
    EXPECT_GE(machine.serialPorts.Openings().size(), 2U) << "each pass opens the port anew";
    EXPECT_FALSE(driver->link->Connected());
}

INSTANTIATE_TEST_SUITE_P(Reasons, UnstartableCompanionTest,
                         testing::Values(UnstartableRow{"", "other.exe"},
                                         UnstartableRow{"C:\\Quay\\Quay.exe", "quay.exe"}));

TEST_F(QuayTest, PublishedPort_IsKeptAndShown) {
    Seed({{"chkQUAY", "1"}, {"Port", "COM1"}});
    PublishPort("com9 x");
    machine.ConnectMount(9, *mount);
    Start();
    EXPECT_EQ(Open(), 0U);
    EXPECT_EQ(machine.serialPorts.Openings().at(0).port, 9);
    EXPECT_EQ(driver->persist.ReadIniValue("Port", ""), "com9");
    EXPECT_EQ(driver->handBox.frameMountPosition.Caption(), "Mount Info: com9 (QUAY)");
    EXPECT_EQ(driver->statusWindow.lblComPortValue.Text(), "COM1") << "written before the port is chosen";
}

}  // namespace
}  // namespace kestrane
