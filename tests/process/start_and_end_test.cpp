#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "process/process_fixture.h"
#include "process/silent_port.h"

namespace kestrane::process {
namespace {

constexpr std::string_view kAskedToEnd = "The process was asked to end";

std::size_t TimesIn(const std::string& text, std::string_view part) {
    std::size_t times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++times;
    }
    return times;
}

constexpr std::string_view kRefusal = "This is an ASCOM driver. It cannot be run stand-alone";

TEST_F(ProcessFixture, Driver_StartedByHand_RefusesAndLeavesNoFile) {
    Program driver("kestrane-driver", {});
    const std::optional<Ending> ending = driver.WaitForEnd(kPatience);
    ASSERT_TRUE(ending);
    EXPECT_FALSE(ending->bySignal);
    EXPECT_NE(ending->code, 0);
    EXPECT_NE(driver.Errors().find(kRefusal), std::string::npos) << driver.Errors();
    EXPECT_EQ(driver.Output(), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(ProcessFixture, Driver_StartedWithAnArgument_RefusesAndLeavesNoFile) {
    Program driver("kestrane-driver", {"--help"});
    const std::optional<Ending> ending = driver.WaitForEnd(kPatience);
    ASSERT_TRUE(ending);
    EXPECT_FALSE(ending->bySignal);
    EXPECT_NE(ending->code, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(ProcessFixture, Activator_GetsSigterm_EndsWithItsDriver) {
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    activator->Signal(SIGTERM);
    const std::optional<Ending> ending = activator->WaitForEnd(Seconds(10));
    ASSERT_TRUE(ending);
    EXPECT_FALSE(ending->bySignal);
    EXPECT_EQ(ending->code, 0);
    EXPECT_FALSE(Exists(driver));
    EXPECT_THROW(Client(2).Get("interfaceversion"), NoAnswer);
}

TEST_F(ProcessFixture, Activator_IsKilled_ItsDriverEndsInOrder) {
    Seed({{"chkEnableDebugLog", "1"}});
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    activator->Signal(SIGKILL);
    ASSERT_TRUE(activator->WaitForEnd(kPatience));
    const bool ended = WaitUntil(Seconds(5), [&] { return !Exists(driver); });
    EXPECT_TRUE(ended);
    if (!ended) {
        ::kill(driver, SIGKILL);  // nobody else would
    }
    EXPECT_NE(LogText().find(kAskedToEnd), std::string::npos);
}

TEST_F(ProcessFixture, Driver_GetsASignalToEnd_EndsInOrder) {
    Seed({{"chkEnableDebugLog", "1"}});
    StartSystem();
    std::size_t ends = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        HttpClient client = Client(1);
        Connect(client);
        const pid_t driver = Driver();
        ASSERT_NE(driver, 0);
        ASSERT_EQ(::kill(driver, signal), 0);
        EXPECT_TRUE(WaitUntil(Seconds(5), [&] { return !Exists(driver); })) << signal;
        EXPECT_EQ(TimesIn(LogText(), kAskedToEnd), ++ends) << signal;
    }
    EXPECT_EQ(activator->Errors(), "");
}

TEST_F(ProcessFixture, ADriverThatIgnoredAHangupAtItsStart_DoesNotCountIt) {
    Seed({{"chkEnableDebugLog", "1"}});
    const auto before = ::signal(SIGHUP, SIG_IGN);  // as nohup does
    StartSystem();
    ::signal(SIGHUP, before);
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    ASSERT_EQ(::kill(driver, SIGHUP), 0);
    ASSERT_EQ(::kill(driver, SIGTERM), 0);  // as a second signal it would end the driver at once
    EXPECT_TRUE(WaitUntil(Seconds(5), [&] { return !Exists(driver); }));
    EXPECT_NE(LogText().find(kAskedToEnd), std::string::npos);
    EXPECT_EQ(activator->Errors(), "");
}

TEST_F(ProcessFixture, Driver_GetsSigpipe_GoesOn) {
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    ASSERT_EQ(::kill(driver, SIGPIPE), 0);
    ASSERT_EQ(::kill(activator->Pid(), SIGPIPE), 0);
    Good(client.Get("rightascension"));
    EXPECT_EQ(Driver(), driver);
}

TEST_F(ProcessFixture, AConnectThatFails_SaysWhy) {
    namespace fs = std::filesystem;
    Seed({{"chkEnableDebugLog", "1"}, {"txtConnectTimeout", "0.1"}});
    StartActivator();
    HttpClient client = Client(1);
    const auto why = [&] {
        EXPECT_EQ(client.Put("connected", "Connected=True").errorMessage,
                  "No mount on IP Address or COM port, or initialization failed.");
        return std::string(
            Good(client.Put("commandstring", "Command=RAW,GetConnectFailure&Raw=True")).value.as_string());
    };
    EXPECT_EQ(why(), "1,COM1: no device has this number");
    fs::create_directories(portLink.parent_path());
    fs::create_symlink("/dev/serial/by-id/none", portLink);
    EXPECT_EQ(why(), "1,COM1 (/dev/serial/by-id/none): there is no such device; is it plugged in?");
    fs::remove(portLink);
    fs::create_symlink("/dev/null", portLink);
    EXPECT_EQ(why(), "1,COM1 (/dev/null): it is no serial line");
    fs::remove(portLink);
    {
        const SilentPort line(portLink);
        const std::string silent = why();
        EXPECT_NE(silent.find("): it could be opened, but nothing answered in "), std::string::npos) << silent;
    }
    EXPECT_NE(LogText().find("OpenConnection Failed. No response from COM1. COM1 (/dev/null): it is no serial line"),
              std::string::npos);
    const std::string head = LogText();
    EXPECT_NE(head.find("# O/S: "), std::string::npos);
    EXPECT_EQ(head.find("# O/S: unknown"), std::string::npos);
}

TEST_F(ProcessFixture, CheckMount_ShowsTheVersionOrWhyThereIsNone) {
    StartActivator();
    HttpClient client = Client(1);
    const auto check = [&] {
        return std::string(Good(client.Put("commandstring", "Command=RAW,CheckMount&Raw=True")).value.as_string());
    };
    EXPECT_EQ(check(), "0,COM1: no device has this number");
    StartMount({"--verbose"});
    EXPECT_TRUE(check().starts_with("1,VKC")) << check();
    EXPECT_EQ(mount->Errors().find(" > :U#"), std::string::npos);  // nothing but its version was asked
}

TEST_F(ProcessFixture, FilesOfADriver_AreForTheUserAloneInTheUsersOwnFolder) {
    namespace fs = std::filesystem;
    const fs::perms user = fs::perms::owner_read | fs::perms::owner_write;
    const fs::perms others = fs::perms::group_all | fs::perms::others_all;
    const fs::path own = folder.Path() / "Kestrane";
    ::umask(S_IWGRP | S_IWOTH);
    fs::create_directories(own / "ASCOM");
    std::ofstream(own / "ASCOM" / "ks.ini") << "[default]\n";  // as an earlier version left it
    for (const bool shared : {true, false}) {                  // the second one finds the files of the first
        if (!shared) {
            ::unsetenv("KESTRANE_COMMON_APPDATA");
            ::setenv("XDG_DATA_HOME", folder.Path().c_str(), 1);
        } else {
            Seed({{"chkEnableDebugLog", "1"}});
        }
        StartActivator();
        Good(Client(1).Get("interfaceversion"));
        activator->Signal(SIGTERM);
        ASSERT_TRUE(activator->WaitForEnd(kPatience));
        int files = 0;
        for (const fs::path& place : {own, own / "ASCOM", own / "ASCOM" / "Logs"}) {
            for (const auto& file : fs::directory_iterator(place)) {
                if (file.is_regular_file()) {
                    ++files;
                    EXPECT_EQ((file.status().permissions() & others) != fs::perms::none, shared) << file.path();
                    EXPECT_EQ(file.status().permissions() & user, user) << file.path();
                }
            }
        }
        EXPECT_GE(files, 3);
    }
    ::unsetenv("XDG_DATA_HOME");
}

TEST_F(ProcessFixture, Activator_AddressInUse_SaysSoAndEndsWithOne) {
    StartActivator();
    Program second("kestrane-activate", {"--port", std::to_string(port), "--discovery-port", "0"});
    const std::optional<Ending> ending = second.WaitForEnd(kPatience);
    ASSERT_TRUE(ending);
    EXPECT_FALSE(ending->bySignal);
    EXPECT_EQ(ending->code, 1);
    EXPECT_NE(second.Errors().find("cannot serve at 127.0.0.1:" + std::to_string(port)), std::string::npos)
        << second.Errors();
    Good(Client(1).Get("interfaceversion"));  // the first one goes on
}

}  // namespace
}  // namespace kestrane::process
