#include <functional>
#include <gtest/gtest.h>
#include <vector>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"

/// Firmware that knows park positions of its own goes there by itself.
namespace kestrane {
namespace {

class FirmwareParkTest : public ParkTest {
protected:
    StandingMount& StandAt(const std::string& altitude, const std::string& azimuth) {
        Connect("VKC5-P03-01", {{"cbxParkTo", "2"}});
        StandingMount& standing = StandForPark();
        standing.replies["GA"] = altitude + "#";
        standing.replies["GZ"] = azimuth + "#";
        machine.AdvanceTime(10'000);
        return standing;
    }
};

class FirmwareParkPositionTest : public FirmwareParkTest, public testing::WithParamInterface<int> {};

TEST_P(FirmwareParkPositionTest, TheMountGoesToItsOwnPlace_AndIsParkedThere) {
    const std::string index = std::to_string(GetParam());
    for (const char* firmware : {"VKC4-P01-03", "VKC5-P03-01"}) {
        ConnectAt(47.0, firmware, {{"cbxParkTo", index}, {"cbxParkToText", "Park"}});
        Tape().Clear();
        telescope->Park();
        EXPECT_TRUE(Tape().Motion().ends_with("Q RD0 RT9 $K" + index)) << Tape().Motion();
        EXPECT_TRUE(telescope->Slewing());
        ExpectParked();
        EXPECT_EQ(TimesSent("MS"), 0);
        EXPECT_TRUE(Logged("Parking to encoder fixed Park position " + index));
        EndTheDriver();
    }
}

INSTANTIATE_TEST_SUITE_P(Positions, FirmwareParkPositionTest, testing::Range(1, 6));

TEST_F(FirmwareParkTest, ByDistance_TheMotionIsSeenByItsCoordinates) {
    ConnectAt(47.0, "VKC5-P03-01", {{"cbxParkTo", "3"}, {"DontUseGOSForSlew", "1"}, {"DontQueryGOS", "1"}});
    telescope->Park();
    ExpectParked();
    EXPECT_TRUE(Logged("Completed move to parked position(4)"));
}

TEST_F(FirmwareParkTest, ALostCommand_NeverEndsInAPark) {
    StandAt("+60*00:00.0", "180*00:00.0");
    Tape().Clear();
    telescope->Park();
    machine.AdvanceTime(60'000);
    EXPECT_EQ(Tape().Motion().find("KA"), std::string::npos);
    EXPECT_TRUE(driver->state.g_bParking);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parking");
    EXPECT_EQ(TimesLogged("The mount was not seen to go to its park position"), 1);
    telescope->AbortSlew();
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(Logged("Park canceled..."));
}

TEST_F(FirmwareParkTest, ADamagedStatusText_IsNoMotion) {
    StandingMount& standing = StandAt("+60*00:00.0", "180*00:00.0");
    int texts = 0;
    standing.onCommand = [&](const std::string& command) {
        if (command == "GOS") {
            standing.replies["GOS"] = texts++ == 0 ? "020?00232O0000#" : "020000232O0000#";
        }
    };
    Tape().Clear();
    telescope->Park();
    texts = 0;  // the first one after the command is the damaged one
    machine.AdvanceTime(60'000);
    EXPECT_GT(texts, 2);
    EXPECT_EQ(Tape().Motion().find("KA"), std::string::npos);
    EXPECT_TRUE(driver->state.g_bParking);
    EXPECT_EQ(TimesLogged("The mount was not seen to go to its park position"), 1);
}

TEST_F(FirmwareParkTest, AMountThatStoodThereAllAlong_IsParked) {
    StandAt("+01*00:00.0", "089*30:00.0");
    Tape().Clear();
    telescope->Park();
    machine.AdvanceTime(20'000);
    EXPECT_NE(Tape().Motion().find("KA"), std::string::npos);
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(FirmwareParkTest, AStatusTextThatSaysParked_EndsItAlsoLate) {
    StandingMount& standing = StandAt("+60*00:00.0", "180*00:00.0");
    telescope->Park();
    machine.AdvanceTime(30'000);
    EXPECT_TRUE(driver->state.g_bParking);
    standing.replies["GOS"] = "P90000232O0000#";
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "Parked");
}

TEST_F(FirmwareParkTest, AStatusTextAskedForAtOnce_EndsNothing) {
    StandAt("+60*00:00.0", "180*00:00.0");
    telescope->Park();
    driver->queries.QueryGos();
    EXPECT_TRUE(telescope->Slewing());
    machine.AdvanceTime(500);
    driver->queries.QueryGos();
    EXPECT_TRUE(telescope->Slewing());
}

TEST_F(FirmwareParkTest, AStatusTextAskedForAtOnceThatSaysParked_EndsNothing) {
    StandingMount& standing = StandAt("+60*00:00.0", "180*00:00.0");
    telescope->Park();
    standing.replies["GOS"] = "P90000232O0000#";
    driver->queries.QueryGos();
    EXPECT_FALSE(telescope->AtPark());
    standing.replies["GOS"] = "020S00232O0000#";
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(driver->state.g_bParking);
    EXPECT_EQ(TimesLogged("Park completed..."), 0);
}

TEST_F(FirmwareParkTest, AMountThatIsTakenFromIt_IsNotParkedAfterAll) {
    ConnectAt(47.0, "VKC5-P03-01", {{"cbxParkTo", "3"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_TRUE(MotionDuring([&] { telescope->MoveAxis(1, 0.1); }).starts_with("Q Q"));
    telescope->MoveAxis(1, 0.0);
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(mount->Picture().parked);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
}

TEST_F(FirmwareParkTest, AStopThatIsNoAbort_CancelsIt) {
    const std::vector<std::function<void()>> stops{
        [&] { telescope->CommandString("RAW,InitMount,GuideRate=1", true); },
        [&] { telescope->CommandBlind("Q", false); },
        [&] { telescope->CommandBlind(":Q#", true); },
        [&] { telescope->PulseGuide(0, 0); },
        [&] {
            telescope->PulseGuide(0, 5'000);
            telescope->PulseGuide(1, 500);  // ends the other one of its axis
        },
        [&] {
            driver->counters.CountMotorStall();
            telescope->CommandString("RAW,ResetCommunicationErrors", true);
        },
    };
    for (const auto& stop : stops) {
        ConnectAt(47.0, "VKC5-P03-01", {{"cbxParkTo", "3"}});
        telescope->Park();
        machine.AdvanceTime(3'000);
        ASSERT_TRUE(mount->Picture().slewing);
        Tape().Clear();
        stop();
        machine.AdvanceTime(60'000);
        EXPECT_EQ(Tape().Motion().find("KA"), std::string::npos) << Tape().Motion();
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
        EndTheDriver();
    }
}

TEST_F(FirmwareParkTest, AStop_EndsIt) {
    ConnectAt(47.0, "VKC5-P03-01", {{"cbxParkTo", "3"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q");
    ExpectCancelled();
}

}  // namespace
}  // namespace kestrane
