// Signals that end the driver while it waits for a mount, or for another program.

#include <csignal>
#include <filesystem>
#include <future>
#include <memory>
#include <sqlite3.h>

#include "process/process_fixture.h"
#include "process/silent_port.h"

namespace kestrane::process {
namespace {

constexpr Seconds kGranted{4.0};  ///< less than what the activator grants

class SignalsInTrouble : public ProcessFixture {
protected:
    std::future<void> ConnectBeside() const {
        return std::async(std::launch::async, [this] {
            try {
                Client(1).Put("connected", "Connected=True");
            } catch (const NoAnswer&) {
                // As good as an error: nobody is connected.
            }
        });
    }
    HttpClient ClientOfAVerboseMount() {
        StartMount({"--verbose"});
        StartActivator();
        HttpClient client = Client(1);
        Connect(client);
        return client;
    }
    /// Not connected; the driver runs.
    HttpClient ClientWithoutALog() {
        Seed({{"chkEnableDebugLog", "0"}});
        StartActivator();
        HttpClient client = Client(1);
        Good(client.Get("interfaceversion"));
        return client;
    }
    bool LogsTheEndOnce() const {
        const std::string log = LogText();
        const std::size_t at = log.find(kAskedToEnd);
        return at != std::string::npos && log.find(kAskedToEnd, at + 1) == std::string::npos;
    }
    /// What the mount was told since `before`, once it hears that.
    bool MountHears(std::string_view text, std::size_t before) const {
        return WaitUntil(kPatience, [&] { return mount->Errors().find(text, before) != std::string::npos; });
    }
    /// A client's write of a setting.
    static void SwitchLog(HttpClient& client, bool on) {
        const std::string verb = std::string("SetEnableDebugLog,") + (on ? "1" : "0");
        Good(client.Put("commandstring", "Command=RAW," + verb + "&Raw=True"));
    }

    static constexpr std::string_view kAskedToEnd = "The process was asked to end";
};

TEST_F(SignalsInTrouble, Sigterm_WhileAnAxisRuns_StopsIt) {
    HttpClient client = ClientOfAVerboseMount();
    Good(client.Put("moveaxis", "Axis=1&Rate=0.5"));
    const std::size_t before = mount->Errors().size();
    const pid_t driver = Driver();
    ASSERT_EQ(::kill(driver, SIGTERM), 0);
    ASSERT_TRUE(WaitUntil(Seconds(5), [&] { return !Exists(driver); }));
    const std::string told = mount->Errors().substr(before);
    EXPECT_NE(told.find(":Q#"), std::string::npos) << told;
    EXPECT_NE(told.find(":RD0.00000#"), std::string::npos) << told;
}

TEST_F(SignalsInTrouble, Sigterm_OnASilentLineWithALongReadLimit_StopsTheAxisInTime) {
    Seed({{"Timeout", "1500"}});
    HttpClient client = ClientOfAVerboseMount();
    Good(client.Put("moveaxis", "Axis=1&Rate=0.5"));
    mount->Signal(SIGSTOP);
    const std::size_t before = mount->Errors().size();
    activator->Signal(SIGTERM);
    EXPECT_TRUE(activator->WaitForEnd(kGranted));
    mount->Signal(SIGCONT);  // what waits on the line is read now
    EXPECT_TRUE(MountHears(":Q#", before)) << mount->Errors().substr(before);
    EXPECT_TRUE(MountHears(":RD0.00000#", before)) << mount->Errors().substr(before);
}

TEST_F(SignalsInTrouble, Sigterm_AfterTheVersionWhenTheMountFallsSilent_EndsInOrder) {
    Seed({{"chkEnableDebugLog", "1"}, {"Retry", "5"}});
    const SilentPort line(portLink);
    StartActivator();
    const std::future<void> asked = ConnectBeside();
    ASSERT_TRUE(line.HearsSomething(kPatience));
    line.Answer("VKC4-P02-08#");
    ASSERT_TRUE(line.HearsSomething(kPatience));
    activator->Signal(SIGTERM);
    EXPECT_TRUE(activator->WaitForEnd(kGranted));
    EXPECT_TRUE(LogsTheEndOnce());
    EXPECT_NE(LogText().find("Terminating and releasing serial object..."), std::string::npos);
}

TEST_F(SignalsInTrouble, Sigterm_InAConnectWithoutLimit_EndsItWithinASecond_HoweverLongAReadMayTake) {
    for (const std::string timeout : {"500", "20000"}) {
        Seed({{"Timeout", timeout}, {"txtConnectTimeout", "0"}, {"chkEnableDebugLog", "1"}});
        std::filesystem::remove_all(folder.Path() / "Kestrane" / "ASCOM" / "Logs");
        std::filesystem::remove(portLink);
        const SilentPort line(portLink);
        StartActivator();
        const std::future<void> asked = ConnectBeside();
        ASSERT_TRUE(line.HearsSomething(kPatience));
        const pid_t driver = Driver();
        ASSERT_NE(driver, 0);
        // Beyond the usual limit of one second, so that the connect is seen to have none.
        EXPECT_EQ(asked.wait_for(Seconds(1.5)), std::future_status::timeout);

        activator->Signal(SIGTERM);
        EXPECT_TRUE(activator->WaitForEnd(Seconds(1))) << timeout;
        EXPECT_FALSE(Exists(driver));
        EXPECT_TRUE(LogsTheEndOnce());
    }
}

/// Another program that holds the settings file, while this lives.
class SettingsHeld {
public:
    explicit SettingsHeld(const std::filesystem::path& file) {
        sqlite3* opened = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &opened), SQLITE_OK);
        connection_.reset(opened);
        EXPECT_EQ(sqlite3_exec(opened, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    }

private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    std::unique_ptr<sqlite3, Close> connection_;
};

TEST_F(SignalsInTrouble, Sigterm_WhileAnotherProgramHoldsTheSettings_StoresThemAfterIt) {
    HttpClient client = ClientWithoutALog();
    const pid_t driver = Driver();
    {
        const SettingsHeld held(folder.Path() / "Kestrane" / "Settings.ksdb");
        SwitchLog(client, true);
        ASSERT_EQ(::kill(driver, SIGTERM), 0);
        EXPECT_TRUE(WaitUntil(Seconds(1), [&] { return LogText().find(kAskedToEnd) != std::string::npos; }));
    }
    EXPECT_TRUE(WaitUntil(kGranted, [&] { return !Exists(driver); }));
    EXPECT_EQ(Setting("chkEnableDebugLog"), "1");
}

TEST_F(SignalsInTrouble, SecondSignal_EndsAtOnce) {
    HttpClient client = ClientWithoutALog();
    const pid_t driver = Driver();
    const SettingsHeld held(folder.Path() / "Kestrane" / "Settings.ksdb");
    SwitchLog(client, true);
    ASSERT_EQ(::kill(driver, SIGTERM), 0);
    EXPECT_FALSE(WaitUntil(Seconds(0.5), [&] { return !Exists(driver); }));  // the first one waits for the settings
    ASSERT_EQ(::kill(driver, SIGTERM), 0);
    EXPECT_TRUE(WaitUntil(Seconds(1), [&] { return !Exists(driver); }));
    EXPECT_TRUE(WaitUntil(kPatience, [&] {
        return activator->Errors().find("the driver was ended by signal 15") != std::string::npos;
    })) << activator->Errors();
}

TEST_F(SignalsInTrouble, SecondSignalToTheActivator_EndsItsDriverAtOnce) {
    HttpClient client = ClientWithoutALog();
    const pid_t driver = Driver();
    const SettingsHeld held(folder.Path() / "Kestrane" / "Settings.ksdb");
    SwitchLog(client, true);
    activator->Signal(SIGTERM);
    EXPECT_FALSE(activator->WaitForEnd(Seconds(0.5)));
    activator->Signal(SIGTERM);
    EXPECT_TRUE(activator->WaitForEnd(Seconds(1)));
    EXPECT_FALSE(Exists(driver));
}

TEST_F(SignalsInTrouble, Sigterm_DuringAGoto_LetsItGoOn) {
    HttpClient client = ClientOfAVerboseMount();
    Good(client.Put("tracking", "Tracking=True"));
    const double siderealTime = Good(client.Get("siderealtime")).value.to_number<double>();
    const double ra = siderealTime < 2.0 ? siderealTime + 22.0 : siderealTime - 2.0;
    Good(client.Put("slewtocoordinatesasync", "RightAscension=" + std::to_string(ra) + "&Declination=20"));
    const std::size_t before = mount->Errors().size();
    const pid_t driver = Driver();
    ASSERT_EQ(::kill(driver, SIGTERM), 0);
    ASSERT_TRUE(WaitUntil(kGranted, [&] { return !Exists(driver); }));
    EXPECT_EQ(mount->Errors().find(":Q#", before), std::string::npos);
    HttpClient next = Client(2);
    Connect(next);
    EXPECT_NE(mount->Errors().find(":V#", before), std::string::npos);
    EXPECT_TRUE(Good(next.Get("slewing")).value.as_bool());  // as the mount reports it
}

}  // namespace
}  // namespace kestrane::process
