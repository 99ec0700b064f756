#include "support/virtual_serial_ports.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "support/virtual_platform.h"

namespace kestrane {
namespace {

/// Sends each written text back after a while.
class Echo final : public LineEnd {
public:
    explicit Echo(VirtualClock& clock) : clock_(clock) {}
    std::int64_t delayMs = 100;
    int silences = 0;
    int openings = 0;

    void Write(std::string_view bytes) override {
        bytes_ += bytes;
        due_ = clock_.Elapsed() + delayMs;
    }
    std::string Read(std::size_t maxCount) override {
        if (clock_.Elapsed() < due_) {
            return {};
        }
        std::string taken = bytes_.substr(0, maxCount);
        bytes_.erase(0, taken.size());
        return taken;
    }
    std::optional<std::int32_t> NextByteIn() override {
        if (bytes_.empty()) {
            return std::nullopt;
        }
        return static_cast<std::int32_t>(std::max<std::int64_t>(due_ - clock_.Elapsed(), 0));
    }
    void Silence(std::int32_t) override { ++silences; }
    void Opened() override { ++openings; }

private:
    VirtualClock& clock_;
    std::string bytes_;
    std::int64_t due_ = 0;
};

class VirtualSerialPortsTest : public testing::Test {
protected:
    VirtualClock clock;
    VirtualSerialPorts ports{clock};
    Echo echo{clock};
    std::unique_ptr<SerialPort> port = ports.CreatePort();

    void OpenEcho() {
        ports.Connect(1, echo);
        ASSERT_EQ(port->Open(1, 9600), 0);
    }
};

TEST_F(VirtualSerialPortsTest, Open_WithNothingThere_GivesCode2) {
    EXPECT_EQ(port->Open(3, 9600), 2);
    EXPECT_FALSE(port->IsOpen());
    ASSERT_EQ(ports.Openings().size(), 1U);
    EXPECT_EQ(ports.Openings()[0].port, 3);
    EXPECT_EQ(ports.Openings()[0].speed, 9600);
    EXPECT_EQ(ports.Openings()[0].result, 2);
}

TEST_F(VirtualSerialPortsTest, Open_OfAPortThatAnotherHolds_IsRefused) {
    OpenEcho();
    const auto other = ports.CreatePort();
    EXPECT_EQ(other->Open(1, 9600), 5);
    EXPECT_EQ(port->Open(1, 19200), 0) << "opening an open port opens it anew";
    port->Close();
    EXPECT_FALSE(ports.IsOpen(1));
    EXPECT_EQ(other->Open(1, 9600), 0);
    EXPECT_EQ(echo.openings, 3);
}

TEST_F(VirtualSerialPortsTest, Open_WithAnErrorSet_GivesIt) {
    ports.Connect(1, echo);
    ports.SetOpenError(1, 31);
    EXPECT_EQ(port->Open(1, 9600), 31);
    ports.SetOpenError(1, 0);
    EXPECT_EQ(port->Open(1, 9600), 0);
}

TEST_F(VirtualSerialPortsTest, Read_MovesTimeToTheFirstByteOrToTheLimit) {
    OpenEcho();
    port->Write("GR#");
    EXPECT_EQ(port->Read(99, 0), "");
    EXPECT_EQ(clock.Elapsed(), 0);
    EXPECT_EQ(port->Read(99, 60), "");
    EXPECT_EQ(clock.Elapsed(), 60);
    EXPECT_EQ(port->Read(2, 500), "GR");
    EXPECT_EQ(clock.Elapsed(), 100);
    EXPECT_EQ(port->Read(99, 500), "#");
    EXPECT_EQ(clock.Elapsed(), 100);
    EXPECT_EQ(port->Read(99, 500), "");
    EXPECT_EQ(clock.Elapsed(), 600);
    EXPECT_EQ(echo.silences, 2) << "a look without a wait is none";
}

TEST_F(VirtualSerialPortsTest, Read_WithAByteExactlyAtTheLimit_GetsIt) {
    OpenEcho();
    port->Write("1");
    EXPECT_EQ(port->Read(1, 100), "1");
    port->Write("2");
    EXPECT_EQ(port->Read(1, 99), "");
}

TEST_F(VirtualSerialPortsTest, AClosedPort_ReadsNothingAtOnce) {
    EXPECT_EQ(port->Read(99, 500), "");
    port->Write("lost");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_F(VirtualSerialPortsTest, Disconnect_OfAnOpenPort_LeavesItOpenAndSilent_UntilItIsBack) {
    OpenEcho();
    port->Write("GR#");
    ports.Disconnect(1);
    EXPECT_TRUE(port->IsOpen());
    port->Write("GD#");
    EXPECT_EQ(port->Read(99, 500), "");
    EXPECT_EQ(clock.Elapsed(), 0) << "a device that is gone is not waited for";
    ports.Connect(1, echo);
    EXPECT_EQ(port->Read(99, 500), "GR#") << "a plug put back is found at the next use";
}

TEST_F(VirtualSerialPortsTest, Splice_ChangesTheFarEndUnderAnOpenPort) {
    OpenEcho();
    port->Write("old");
    Echo other(clock);
    ports.Splice(1, other);
    port->Write("new");
    EXPECT_EQ(port->Read(99, 500), "new");
    EXPECT_EQ(other.openings, 0);
    EXPECT_EQ(ports.Openings().size(), 1U);
}

TEST_F(VirtualSerialPortsTest, ListPorts_NumbersWhatWasPluggedIn_AndRemembersIt) {
    ports.Connect(2, echo);
    ports.PlugIn("one adapter");
    ports.PlugIn("another");
    const std::vector<SerialPortEntry> expected{
        {1, "COM1", "one adapter", true}, {2, "COM2", "virtual line 2", true}, {3, "COM3", "another", true}};
    EXPECT_EQ(ports.ListPorts().ports, expected);
    ports.Disconnect(2);
    ports.SetTroubles({"a trouble"});
    const SerialPortList later = ports.ListPorts();
    ASSERT_EQ(later.ports.size(), 3U);
    EXPECT_FALSE(later.ports[1].present);
    EXPECT_EQ(later.ports[2], expected[2]);
    EXPECT_EQ(later.troubles, std::vector<std::string>{"a trouble"});
    EXPECT_EQ(ports.Listings(), 2);
}

TEST(VirtualPlatformTest, AMountOnAPort_AnswersThroughIt) {
    VirtualPlatform machine;
    MountSimulator mount{machine.clock, {}};
    machine.ConnectMount(1, mount);
    const auto port = machine.Services().serialPorts.CreatePort();
    ASSERT_EQ(port->Open(1, 9600), 0);
    port->Write(":V#");
    std::string reply;
    while (!reply.ends_with('#') && machine.clock.Elapsed() < 5000) {
        reply += port->Read(1, 500);
    }
    EXPECT_EQ(reply, MountSimulatorOptions{}.firmware + "#");
    EXPECT_GT(machine.clock.Elapsed(), 0);
    EXPECT_LT(machine.clock.Elapsed(), 100);
}

TEST(VirtualPlatformTest, AMountThatSpokeToAClosedPort_IsNotHeardLater) {
    VirtualPlatform machine;
    MountSimulator mount{machine.clock, {}};
    machine.ConnectMount(1, mount);
    mount.Send("X");
    machine.AdvanceTime(1000);
    const auto port = machine.Services().serialPorts.CreatePort();
    ASSERT_EQ(port->Open(1, 9600), 0);
    EXPECT_EQ(port->Read(99, 500), "");
}

TEST(VirtualPlatformTest, Folders_AreThereAndGoWithTheMachine) {
    std::filesystem::path common;
    std::filesystem::path documents;
    {
        VirtualPlatform machine;
        common = machine.Services().folders.CommonAppData();
        documents = machine.Services().folders.Documents();
        EXPECT_TRUE(std::filesystem::is_directory(common));
        EXPECT_TRUE(std::filesystem::is_directory(documents));
        VirtualPlatform other;
        EXPECT_NE(other.folders.CommonAppData(), common);
    }
    EXPECT_FALSE(std::filesystem::exists(common));
    EXPECT_FALSE(std::filesystem::exists(documents));
}

TEST(VirtualPlatformTest, Services_RecordWhatIsAskedOfThem) {
    VirtualPlatform machine;
    const Platform services = machine.Services();

    machine.messageBoxes.answers = {MessageAnswer::Cancel};
    EXPECT_EQ(services.messageBoxes.Show("text", "title", MessageIcon::Critical), MessageAnswer::Cancel);
    EXPECT_EQ(services.messageBoxes.Show("text", "title", MessageIcon::None), MessageAnswer::Ok);
    ASSERT_EQ(machine.messageBoxes.shown.size(), 2U);
    EXPECT_EQ(machine.messageBoxes.shown[0].title, "title");

    services.profileStore.Register("Telescope", "id", "words");
    EXPECT_TRUE(services.profileStore.IsRegistered("Telescope", "id"));
    EXPECT_FALSE(services.profileStore.IsRegistered("Focuser", "id"));
    services.profileStore.Unregister("Telescope", "id");
    EXPECT_FALSE(services.profileStore.IsRegistered("Telescope", "id"));
    machine.profileStore.available = false;
    EXPECT_FALSE(services.profileStore.Available());

    machine.registry.SetText("key", "Name", "x");
    EXPECT_EQ(services.registry.Read("key", "Name")->data, std::string("x\0", 2));
    EXPECT_FALSE(services.registry.Read("key", "Other"));

    machine.applicationSettings.Set("app", "Driver", "key", "7");
    EXPECT_EQ(services.applicationSettings.Get("app", "Driver", "key", "none"), "7");
    EXPECT_EQ(services.applicationSettings.Get("app", "Driver", "other", "none"), "none");

    services.processes.Start("/bin/tool", " -c");
    services.processes.EndThisProcess();
    const auto handle = services.processes.Open(5, 0x200);
    ASSERT_TRUE(handle);
    services.processes.SetPriorityClass(*handle, 128);
    EXPECT_EQ(services.processes.GetPriorityClass(*handle), 128U);
    EXPECT_EQ(machine.processes.openHandles, 1);
    services.processes.Close(*handle);
    EXPECT_EQ(machine.processes.openHandles, 0);
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_EQ(machine.processes.starts.at(0).second, " -c");
}

}  // namespace
}  // namespace kestrane
