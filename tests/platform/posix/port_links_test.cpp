#include "platform/posix/port_links.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/posix_serial_ports.h"
#include "platform/posix/test_world.h"
#include "support/temporary_folder.h"

namespace kestrane {

namespace {

namespace fs = std::filesystem;

constexpr const char* kAlpha = "usb-Alpha_Bridge_A1-if00-port0";
constexpr const char* kBeta = "usb-Beta_Bridge_B2-if00-port0";
constexpr const char* kGamma = "usb-Gamma_Bridge_C3-if00-port0";

/// A machine's /dev with its folder of serial devices by their names, and the folder of the links.
class PortLinksTest : public testing::Test {
protected:
    PortLinksTest() { fs::create_directories(Devices()); }

    fs::path Dev() const { return folder_.Path() / "dev"; }
    fs::path Devices() const { return Dev() / "serial" / "by-id"; }
    fs::path Links() const { return folder_.Path() / "Kestrane" / "Ports"; }
    fs::path Device(const std::string& name) const { return Devices() / name; }

    /// Plugs a device in: the system makes its node, whose name gives the order of plugging, and its lasting name.
    void Plug(const std::string& name, const std::string& node) const {
        folder_.Write("dev/" + node, "");
        fs::remove(Device(name));
        fs::create_symlink("../../" + node, Device(name));
    }
    void Unplug(const std::string& name) const {
        fs::remove(Dev() / "serial" / "by-id" / fs::read_symlink(Device(name)));
        fs::remove(Device(name));
    }
    void Link(const std::string& name, const fs::path& target) const {
        fs::create_directories(Links());
        fs::create_symlink(target, Links() / name);
    }
    fs::path TargetOf(const std::string& name) const { return fs::read_symlink(Links() / name); }

    SerialPortList List() const { return PortLinks(Links(), Devices()).List(); }
    SerialPortList ListWithoutTrouble() const {
        SerialPortList list = List();
        EXPECT_EQ(list.troubles, std::vector<std::string>{});
        return list;
    }
    SerialPortEntry Entry(std::int32_t number, const fs::path& device, bool present = true) const {
        return {number, "COM" + std::to_string(number), device.string(), present};
    }
    using Entries = std::vector<SerialPortEntry>;

    const TemporaryFolder folder_;
};

TEST_F(PortLinksTest, List_WithNoDevice_IsEmptyAndMakesNothing) {
    EXPECT_TRUE(ListWithoutTrouble().ports.empty());
    EXPECT_FALSE(fs::exists(Links()));
}

TEST_F(PortLinksTest, List_WithoutTheFolderOfDevices_TellsTheLinks) {
    fs::remove_all(Dev());
    EXPECT_TRUE(ListWithoutTrouble().ports.empty());
    Link("COM2", Device(kAlpha));
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(2, Device(kAlpha), false)});
}

TEST_F(PortLinksTest, List_GivesTheFirstDeviceNumber1_ByItsLastingName) {
    Plug(kAlpha, "ttyUSB0");
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(1, Device(kAlpha))});
    EXPECT_EQ(TargetOf("COM1"), Device(kAlpha));
}

TEST_F(PortLinksTest, List_NumbersSeveralInTheOrderOfTheirNames) {
    Plug(kGamma, "ttyUSB0");
    Plug(kAlpha, "ttyUSB2");
    Plug(kBeta, "ttyUSB1");
    EXPECT_EQ(ListWithoutTrouble().ports,
              (Entries{Entry(1, Device(kAlpha)), Entry(2, Device(kBeta)), Entry(3, Device(kGamma))}));
}

TEST_F(PortLinksTest, List_KeepsANumberForEver_AlsoWhileUnplugged) {
    Plug(kAlpha, "ttyUSB0");
    ListWithoutTrouble();
    Unplug(kAlpha);
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(1, Device(kAlpha), false)});
    Plug(kBeta, "ttyUSB0");  // takes the node of the other
    EXPECT_EQ(ListWithoutTrouble().ports, (Entries{Entry(1, Device(kAlpha), false), Entry(2, Device(kBeta))}));
    Plug(kAlpha, "ttyUSB1");
    EXPECT_EQ(ListWithoutTrouble().ports, (Entries{Entry(1, Device(kAlpha)), Entry(2, Device(kBeta))}));
}

TEST_F(PortLinksTest, List_SortsByNumberNotByText) {
    for (const char* name : {"COM10", "COM9", "COM2"}) {
        Link(name, Dev() / name);
    }
    const SerialPortList list = ListWithoutTrouble();
    EXPECT_EQ(list.ports, (Entries{Entry(2, Dev() / "COM2", false), Entry(9, Dev() / "COM9", false),
                                   Entry(10, Dev() / "COM10", false)}));
}

TEST_F(PortLinksTest, List_FillsTheLowestGap) {
    Link("COM1", "/dev/somewhere");
    Link("COM3", "/dev/elsewhere");
    Plug(kAlpha, "ttyUSB0");
    Plug(kBeta, "ttyUSB1");
    ListWithoutTrouble();
    EXPECT_EQ(TargetOf("COM2"), Device(kAlpha));
    EXPECT_EQ(TargetOf("COM4"), Device(kBeta));
    EXPECT_EQ(TargetOf("COM1"), "/dev/somewhere");
    EXPECT_EQ(TargetOf("COM3"), "/dev/elsewhere");
}

struct KnownRow {
    const char* how;
    std::function<fs::path(const fs::path& dev, const fs::path& device)> target;
};

TEST_F(PortLinksTest, List_OfADeviceThatALinkNamesInAnyWay_MakesNoSecondLink) {
    Plug(kAlpha, "ttyUSB0");
    folder_.Write("other/note", "");
    const std::vector<KnownRow> rows{
        {"its lasting name", [](const fs::path&, const fs::path& device) { return device; }},
        {"its node", [](const fs::path& dev, const fs::path&) { return dev / "ttyUSB0"; }},
        {"a detour", [](const fs::path& dev, const fs::path&) { return dev / "serial/../serial/by-id" / kAlpha; }},
        {"a relative path",
         [](const fs::path&, const fs::path&) { return fs::path("../../dev/serial/by-id") / kAlpha; }},
        {"a link to a link",
         [&](const fs::path&, const fs::path& device) {
             const fs::path between = folder_.Path() / "mount";
             fs::create_symlink(device, between);
             return between;
         }},
    };
    for (const KnownRow& row : rows) {
        fs::remove_all(Links());
        const fs::path target = row.target(Dev(), Device(kAlpha));
        Link("COM5", target);
        EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(5, target)}) << row.how;
    }
}

TEST_F(PortLinksTest, List_OfADeviceWithTwoNames_MakesOneLink) {
    Plug(kAlpha, "ttyUSB0");
    Plug(kBeta, "ttyUSB0");
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(1, Device(kAlpha))});
}

TEST_F(PortLinksTest, List_OfANameThatLeadsNowhere_GivesItNoNumber) {
    fs::create_symlink("../../ttyUSB7", Device(kAlpha));
    fs::create_directory(Device("a-folder"));
    EXPECT_TRUE(ListWithoutTrouble().ports.empty());
}

TEST_F(PortLinksTest, List_PassesOverOddNames_AndLeavesThem) {
    const std::vector<std::string> odd{"COM0",          "COM01", "COM-1",  "COM+2", "com1",  "COMx",
                                       "COM1x",         "COM 1", "COM",    "xCOM1", "COM1.", "COM32768",
                                       "COM9999999999", "notes", "COM1\n", "COM²"};
    for (const std::string& name : odd) {
        Link(name, "/dev/null");
    }
    Plug(kAlpha, "ttyUSB0");
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(1, Device(kAlpha))});
    for (const std::string& name : odd) {
        EXPECT_EQ(TargetOf(name), "/dev/null") << name;
    }
}

TEST_F(PortLinksTest, List_SaysWhichPortsItHasNumbered) {
    Link("COM2", Device(kBeta));
    Plug(kAlpha, "ttyUSB0");
    Plug(kBeta, "ttyUSB1");
    Plug(kGamma, "ttyUSB2");
    EXPECT_EQ(List().numberedNow, (Entries{Entry(1, Device(kAlpha)), Entry(3, Device(kGamma))}));
    EXPECT_EQ(List().numberedNow, Entries{});
}

TEST_F(PortLinksTest, List_TakesTheHighestNumberForALink) {
    Link("COM32767", "/dev/null");
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(32767, "/dev/null")});
}

TEST_F(PortLinksTest, List_NeverTakesANameThatAFileOrFolderHas) {
    folder_.Write("Kestrane/Ports/COM1", "mine");
    fs::create_directories(Links() / "COM2");
    Plug(kAlpha, "ttyUSB0");
    EXPECT_EQ(ListWithoutTrouble().ports, Entries{Entry(3, Device(kAlpha))});
    EXPECT_EQ(folder_.Read("Kestrane/Ports/COM1"), "mine");
}

TEST_F(PortLinksTest, List_TellsDanglingAndCircularLinksAsAbsent) {
    Link("COM1", "/no/such/device");
    Link("COM2", "COM2");
    Link("COM3", "COM4");
    Link("COM4", "COM3");
    Plug(kAlpha, "ttyUSB0");
    EXPECT_EQ(ListWithoutTrouble().ports,
              (Entries{Entry(1, "/no/such/device", false), Entry(2, "COM2", false), Entry(3, "COM4", false),
                       Entry(4, "COM3", false), Entry(5, Device(kAlpha))}));
}

TEST_F(PortLinksTest, List_WithAFileInTheFoldersPlace_SaysSo) {
    folder_.Write("Kestrane", "a file");
    Plug(kAlpha, "ttyUSB0");
    const SerialPortList list = List();
    EXPECT_TRUE(list.ports.empty());
    ASSERT_EQ(list.troubles.size(), 1U);
    EXPECT_EQ(list.troubles[0], "The folder " + Links().string() + " cannot be read: Not a directory");
}

TEST_F(PortLinksTest, List_WhereNoFolderCanBeMade_NamesEachDeviceWithoutANumber) {
    Plug(kAlpha, "ttyUSB0");
    Plug(kBeta, "ttyUSB1");
    // Nobody, not even root, makes a folder there.
    const SerialPortList list = PortLinks("/proc/self/Kestrane/Ports", Devices()).List();
    EXPECT_TRUE(list.ports.empty());
    ASSERT_EQ(list.troubles.size(), 2U);
    EXPECT_TRUE(list.troubles[0].starts_with("The serial device " + Device(kAlpha).string() + " was given no number: "))
        << list.troubles[0];
    EXPECT_NE(list.troubles[1].find(kBeta), std::string::npos);
}

TEST_F(PortLinksTest, List_InAFolderThatMayNotBeWritten_TellsTheLinksAndTheTrouble) {
    Link("COM1", "/dev/null");
    Plug(kAlpha, "ttyUSB0");
    // As somebody without root's rights, in a process of its own.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        chmod(folder_.Path().c_str(), 0755);
        chmod(Links().c_str(), 0555);
        if (geteuid() == 0 && setuid(65534) != 0) {
            _exit(2);
        }
        const SerialPortList list = List();
        const bool asExpected = list.ports == Entries{Entry(1, "/dev/null")} && list.troubles.size() == 1 &&
                                list.troubles[0] == "The serial device " + Device(kAlpha).string() +
                                                        " was given no number: Permission denied";
        _exit(asExpected ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    chmod(Links().c_str(), 0755);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_FALSE(fs::is_symlink(Links() / "COM2"));
}

TEST_F(PortLinksTest, List_BySeveralProcessesAtOnce_LosesNothingAndDoublesNothing) {
    constexpr int kDevices = 12;
    constexpr int kProcesses = 6;
    constexpr int kRounds = 10;
    for (int i = 0; i < kDevices; ++i) {
        Plug("usb-Bridge_" + std::to_string(i), "ttyUSB" + std::to_string(i));
    }
    for (int round = 0; round < kRounds; ++round) {
        fs::remove_all(Links());
        Link("COM3", "/dev/null");
        int gate[2];
        ASSERT_EQ(pipe(gate), 0);
        std::vector<pid_t> children;
        for (int i = 0; i < kProcesses; ++i) {
            children.push_back(fork());
            ASSERT_GE(children.back(), 0);
            if (children.back() == 0) {
                close(gate[1]);
                char byte = 0;
                const ssize_t ignored = read(gate[0], &byte, 1);  // all start when the gate closes
                static_cast<void>(ignored);
                const SerialPortList list = List();
                _exit(list.ports.size() == kDevices + 1 && list.troubles.empty() ? 0 : 1);
            }
        }
        close(gate[0]);
        close(gate[1]);
        for (const pid_t child : children) {
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "round " << round;
        }
        std::set<fs::path> named;
        for (const fs::directory_entry& entry : fs::directory_iterator(Links())) {
            EXPECT_TRUE(named.insert(fs::read_symlink(entry.path())).second) << "two links in round " << round;
        }
        EXPECT_EQ(named.size(), kDevices + 1U) << "round " << round;
    }
}

TEST_F(PortLinksTest, ListPorts_KeepsItsLinksInTheDataFolder) {
    test::FixedFolders folders(folder_.Path());
    PosixSerialPorts ports(folders, Devices());
    Plug(kAlpha, "ttyUSB0");
    EXPECT_EQ(ports.ListPorts().ports, Entries{Entry(1, Device(kAlpha))});
    EXPECT_EQ(TargetOf("COM1"), Device(kAlpha));
}

}  // namespace
}  // namespace kestrane
