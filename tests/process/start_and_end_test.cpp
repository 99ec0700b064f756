#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>

#include "process/process_fixture.h"
#include "process/silent_port.h"

namespace kestrane::process {
namespace {

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

TEST_F(ProcessFixture, Activator_IsKilled_TheDriverServesItsClientOnAndEndsWithTheLease) {
    Leases(0.3, 600);
    StartSystem();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    activator->Signal(SIGKILL);
    ASSERT_TRUE(activator->WaitForEnd(kPatience));
    Good(client.Get("rightascension"));
    Good(client.Put("connected", "Connected=False"));
    client.Close();
    const bool ended = WaitUntil(kPatience, [&] { return !Exists(driver); });
    EXPECT_TRUE(ended);
    if (!ended) {
        ::kill(driver, SIGKILL);  // nobody else would
    }
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

TEST_F(ProcessFixture, Activator_GetsSigtermDuringAConnectWithoutLimit_EndsWithItsDriver) {
    Seed({{"txtConnectTimeout", "0"}});
    const SilentPort line(portLink);
    StartActivator();
    std::future<bool> answered = std::async(std::launch::async, [this] {
        try {
            Client(1).Put("connected", "Connected=True");
            return true;
        } catch (const NoAnswer&) {
            return false;
        }
    });
    ASSERT_TRUE(line.HearsSomething(kPatience));
    const pid_t driver = Driver();
    ASSERT_NE(driver, 0);
    // Beyond the usual limit of one second, so that the connect is seen to have none.
    EXPECT_EQ(answered.wait_for(Seconds(2.5)), std::future_status::timeout);

    const auto asked = SteadyClock::now();
    activator->Signal(SIGTERM);
    const std::optional<Ending> ending = activator->WaitForEnd(Seconds(10));
    ASSERT_TRUE(ending);
    EXPECT_EQ(ending->code, 0);
    EXPECT_FALSE(Exists(driver));
    EXPECT_LE(Since(asked).count(), 3.0);  // of itself: the activator's patience is longer
    EXPECT_FALSE(answered.get());
}

}  // namespace
}  // namespace kestrane::process
