#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <tuple>

#include "driver/slews/slew_wire_fixture.h"

/// The procedures that set the mount's time, around midnight: they send all else.
namespace kestrane {
namespace {

struct LocalTime {
    int hour, minute, second;
    bool sent;
};

struct CallerRow {
    std::string verb;
    std::string withTime;  ///< SL and SC without their values
    std::string withoutTime;
    std::string earlierFirmware;  ///< without the time
};

class MidnightCallers : public SlewWireTest, public testing::WithParamInterface<std::tuple<LocalTime, CallerRow>> {
protected:
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string Sent() {
        const auto& [time, caller] = GetParam();
        machine.clock.SetLocalTime(DateTime{2024, 3, 20, time.hour, time.minute, time.second, 0});
        const std::string verb = "RAW," + caller.verb;
        const std::string sent = MotionDuring([&] { EXPECT_EQ(telescope->CommandString(verb, true), "1"); });
        return std::regex_replace(std::regex_replace(sent, std::regex("SL\\S+"), "SL"), std::regex("SC\\S+"), "SC");
    }
    void ConnectWith(const std::string& firmware) {
        Connect(firmware, {{"chkSetLongLat", "0"},
                           {"chkSetDecBacklash", "0"},
                           {"chkSetRABacklash", "0"},
                           {"chkSetGuiderRate", "0"},
                           {"chkSetPEM", "0"},
                           {"cbxUnparkFrom", "0"}});
    }
};

TEST_P(MidnightCallers, SendAllButTheTime) {
    const auto& [time, caller] = GetParam();
    ConnectWith("S");
    EXPECT_EQ(Sent(), time.sent ? caller.withTime : caller.withoutTime);
    EXPECT_EQ(LoggedAs("ASCOM", 2, "Unable to SET Date/time from 23:58 until 00:02"), !time.sent);
    EXPECT_EQ(Tape().All().find("GG") != std::string::npos, time.sent) << "nor is anything asked";
    EXPECT_TRUE(PollRuns());
}

TEST_P(MidnightCallers, SendAllButTheTime_ToEarlierFirmwareToo) {
    const auto& [time, caller] = GetParam();
    ConnectWith("E");
    driver->state.g_dMeridianDelay = 1.5;
    const std::string sent = Sent();
    if (time.sent) {
        EXPECT_NE(sent.find("SL SC"), std::string::npos);
    } else {
        EXPECT_EQ(sent, caller.earlierFirmware);
    }
    EXPECT_EQ(sent.find("SM"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Edges, MidnightCallers,
    testing::Combine(
        testing::Values(LocalTime{23, 57, 58, true}, LocalTime{23, 58, 0, false}, LocalTime{23, 59, 59, false},
                        LocalTime{0, 0, 0, false}, LocalTime{0, 1, 58, false}, LocalTime{0, 2, 0, true}),
        testing::Values(CallerRow{"InitTime", "SL SC", "", ""},
                        CallerRow{"UnparkMount,0", "RT9 U SM0:00:00.0 SL SC # Q RT2", "RT9 U SM0:00:00.0 # Q RT2",
                                  "RT9 U # Q RT2"},
                        CallerRow{"InitMount,SyncTime", "# # Q U # # U SL SC", "# # Q U # # U", "# # Q U # # U"},
                        CallerRow{"InitMount", "# # # U SL SC RT9 U SM0:00:00.0 SL SC # Q RT2",
                                  "# # # U RT9 U SM0:00:00.0 # Q RT2", "# # # U RT9 U # Q RT2"})));

}  // namespace
}  // namespace kestrane
