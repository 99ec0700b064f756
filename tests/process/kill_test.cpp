#include <cmath>
#include <csignal>
#include <ostream>
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
        Seed({{"chkEnableDebugLog", "1"}, {"chkAutoCalibrateOnFirstSlew", "0"}, {"cbxParkTo", "2"}});
        StartMount({"--unparked", "--slew-speed", "2", "--verbose"});
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

/// What runs when the driver is killed, and what stops it.
struct MotionRow {
    std::string name;
    std::string member, form;
    std::string moves;  ///< on the line
    std::string stops;
    friend void PrintTo(const MotionRow& row, std::ostream* out) { *out << row.name; }
};

class KilledInMotionTest : public KilledDriverTest, public testing::WithParamInterface<MotionRow> {};

TEST_P(KilledInMotionTest, TheMountIsStoppedWithinThreeSeconds_WithoutAClient) {
    const MotionRow& row = GetParam();
    std::size_t before = 0;
    {
        HttpClient client = Client(1);
        Connect(client);
        Good(client.Put("tracking", "Tracking=True"));
        ASSERT_TRUE(WaitUntil(kPatience, [&] { return Value(client, "declination") != 0.0; }));
        Good(client.Put(row.member, row.form));
        EXPECT_TRUE(WaitUntil(kPatience, [&] { return mount->Errors().find(row.moves) != std::string::npos; }));
        before = mount->Errors().size();
        Kill();
    }
    EXPECT_TRUE(WaitUntil(Seconds(3), [&] { return mount->Errors().find(row.stops, before) != std::string::npos; }))
        << mount->Errors().substr(before);
    EXPECT_TRUE(WaitUntil(kPrompt, [&] { return Stopped(); })) << LogText();
    HttpClient next = Client(2);
    Connect(next);
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Value(next, "declination") != 0.0; }));
    const double declination = Value(next, "declination");
    EXPECT_FALSE(WaitUntil(Seconds(2), [&] { return std::abs(Value(next, "declination") - declination) > 0.002; }));
}

INSTANTIATE_TEST_SUITE_P(Motions, KilledInMotionTest,
                         testing::Values(MotionRow{"Axis", "moveaxis", "Axis=1&Rate=1.5", ":RD", ":Q#"},
                                         MotionRow{"Pulse", "pulseguide", "Direction=0&Duration=200000", ":Mn#", ":Q#"},
                                         MotionRow{"OwnText", "commandblind", "Command=Mn&Raw=False", ":Mn#", ":Q#"},
                                         MotionRow{"Focuser", "commandblind", "Command=F%2B&Raw=False", ":F+#",
                                                   ":FQ#"}),
                         [](const auto& row) { return row.param.name; });

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

TEST_F(KilledDriverTest, ItsParkGoesOn) {
    {
        HttpClient client = Client(1);
        Connect(client);
        ASSERT_TRUE(WaitUntil(kPatience, [&] { return Value(client, "declination") != 0.0; }));
        Good(client.Put("park"));
        EXPECT_TRUE(WaitUntil(kPatience, [&] { return Good(client.Get("slewing")).value == true; }));
        Kill();
    }
    HttpClient next = Client(2);
    Connect(next);
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Value(next, "declination") != 0.0; }));
    const double declination = Value(next, "declination");
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return std::abs(Value(next, "declination") - declination) > 2.0; }))
        << "its goto leads on";
    EXPECT_FALSE(Stopped());
}

}  // namespace
}  // namespace kestrane::process
