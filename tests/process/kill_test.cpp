#include <cmath>
#include <csignal>
#include <string>
#include <string_view>

#include "process/process_fixture.h"
#include "process/waiting.h"

/// A driver that is killed while the mount moves.
namespace kestrane::process {
namespace {

constexpr std::string_view kStopSent = "the stop has gone out";

class KilledDriverTest : public ProcessFixture {
protected:
    void SetUp() override {
        Seed({{"chkEnableDebugLog", "1"}, {"chkAutoCalibrateOnFirstSlew", "0"}});
        StartMount({"--unparked", "--slew-speed", "2"});
        StartActivator();
    }
    static double Value(HttpClient& client, std::string_view member) {
        return Good(client.Get(member)).value.to_number<double>();
    }
    void Kill() const {
        const pid_t driver = Driver();
        ASSERT_NE(driver, 0);
        ASSERT_EQ(::kill(driver, SIGKILL), 0);
    }
    bool Stopped() const { return LogText().find(kStopSent) != std::string::npos; }
};

TEST_F(KilledDriverTest, ItsAxisIsStopped_WithoutAClient) {
    {
        HttpClient client = Client(1);
        Connect(client);
        Good(client.Put("moveaxis", "Axis=1&Rate=1.5"));
        Kill();
    }
    EXPECT_TRUE(WaitUntil(Seconds(3), [&] { return Stopped(); })) << LogText();
    HttpClient next = Client(2);
    Connect(next);
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Value(next, "declination") != 0.0; }));
    const double declination = Value(next, "declination");
    EXPECT_FALSE(WaitUntil(Seconds(3), [&] { return std::abs(Value(next, "declination") - declination) > 0.2; }));
}

TEST_F(KilledDriverTest, ItsSlewGoesOn) {
    {
        HttpClient client = Client(1);
        Connect(client);
        Good(client.Put("tracking", "Tracking=True"));
        const double ra = std::fmod(Value(client, "siderealtime") + 23.0, 24.0);
        Good(client.Put("slewtocoordinatesasync", "RightAscension=" + std::to_string(ra) + "&Declination=20"));
        Kill();
    }
    HttpClient next = Client(2);
    Connect(next);
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return std::abs(Value(next, "declination") - 20.0) < 0.1; }));
    EXPECT_FALSE(Stopped());
}

}  // namespace
}  // namespace kestrane::process
