#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

/// Slews that are planned from a position that the mount reports badly or not at all. The mount stands two hours east
/// of the meridian on the east side of the pier, with its counterweight up.
class SlewPlanFaultTest : public SlewWireTest {
protected:
    void Prepare(const std::string& firmware = "S") {
        Connect(firmware);
        standing = &Stand();
        standing->Stand("14:00:00.00", "+45*00:00.0", "12:00:00", "East");
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        telescope->MaxSerialRetries(0);
        driver->InternalInstance().MaxSerialRetries(0);
    }
    void ReadAll() {
        ASSERT_TRUE(driver->queries.QueryLst());
        ASSERT_TRUE(driver->queries.QueryRa());
        ASSERT_TRUE(driver->queries.QueryDec());
        ASSERT_TRUE(driver->queries.QuerySideOfMount());
    }
    /// To a mount that has kept silent about this since the start.
    void ConnectInSilence(const std::vector<std::string>& questions, const SettingTexts& settings = {}) {
        BuildMount("S");
        ExpectSwallow("CommandString");
        for (const std::string& question : questions) {
            mount->Add(std::make_unique<DropsReply>(question));
        }
        SeedForSlews(settings);
        telescope = ConnectedTelescope();
        ASSERT_FALSE(driver->queries.LstKnown());
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        driver->state.g_bTracking = true;
        standing = &Stand();
    }
    /// A slew from two hours east of the meridian, with a sidereal time that is never told, is planned by this one.
    void ExpectPlanBy(double siderealTime) {
        const double ra = NormalizeHours(siderealTime + 2.0);
        standing->Stand(HoursToHMS(ra, ":", ":", "", 1), "+45*00:00.0", "", "East");
        standing->replies["GS"] = "";
        const std::string sent =
            SentDuring([&] { telescope->SlewToCoordinatesAsync(NormalizeHours(ra + 0.25), 20.0); });
        EXPECT_TRUE(driver->state.g_bSafeSlewPending);
        EXPECT_NEAR(NormalizeHourAngle(driver->state.g_dFirstLegRa - (siderealTime - 0.5)), 0.0, 0.01) << sent;
    }
    StandingMount* standing = nullptr;
};

TEST_F(SlewPlanFaultTest, SideThatIsNotTold_IsAskedForOnceMore_AndIsTheLastOneThatWas) {
    ExpectSwallow("CommandString");
    for (const char* reply : {"", "north#", "#"}) {
        SCOPED_TRACE(std::string("reply '") + reply + "'");
        Prepare();
        ReadAll();
        ASSERT_EQ(driver->state.g_nSideOfPier, 0);
        standing->replies["pS"] = reply;
        const std::string sent = SentDuring([&] { telescope->SlewToCoordinatesAsync(14.25, 20.0); });
        EXPECT_EQ(error, 0U);
        EXPECT_NE(sent.find(" pS"), sent.rfind(" pS")) << sent;
        EXPECT_NE(sent.find("RT2 Sr11:30:"), std::string::npos) << sent;
        EXPECT_TRUE(driver->state.g_bSafeSlewPending) << "the side was east, with the counterweight up";
        EXPECT_EQ(driver->state.g_nSideOfPier, 1) << "what clients read is the side of a hanging counterweight";
        telescope.reset();
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
}

TEST_F(SlewPlanFaultTest, SideThatWasNeverTold_IsThatOfTheHourAngle) {
    ExpectSwallow("CommandString");
    Prepare();
    ReadAll();
    driver->queries.ForgetToldSide();
    standing->replies["pS"] = "";
    for (const char* ra : {"14:00:00.00", "10:00:00.00"}) {
        SCOPED_TRACE(ra);
        standing->replies["GR"] = std::string(ra) + "#";
        telescope->SlewToCoordinatesAsync(NormalizeHours(*ra == '1' && ra[1] == '4' ? 14.25 : 9.75), 20.0);
        EXPECT_EQ(error, 0U);
        EXPECT_FALSE(driver->state.g_bSafeSlewPending) << "on that side the counterweight hangs";
    }
}

TEST_F(SlewPlanFaultTest, LongitudeThatOnlyTheConnectHasRead_Counts) {
    class TellsItsLongitudeOnce final : public Misbehaviour {
    public:
        void Change(SimulatedReply& reply) override {
            if (reply.name == "Gg" && ++asked_ > 1) {
                reply.parts.clear();
            }
        }

    private:
        int asked_ = 0;
    };
    ExpectSwallow("CommandString");
    MountSimulatorOptions options;
    options.firmware = "S";
    options.parkedAtPowerOn = false;
    options.longitudeWest = 350.0;
    BuildMount(options);
    mount->Add(std::make_unique<TellsItsLongitudeOnce>());
    telescope = ConnectedTelescope();
    EXPECT_GT(TimesSent("Gg"), 1);
    EXPECT_TRUE(driver->state.g_bLongitudeRead);
    EXPECT_NEAR(driver->state.g_dSiteLongitude, 10.0, 0.001);
}

TEST_F(SlewPlanFaultTest, SideThatIsToldAtTheSecondQuestion_Counts) {
    Prepare();
    ReadAll();
    int asked = 0;
    standing->onCommand = [&](const std::string& command) {
        if (command == "pS") {
            standing->replies["pS"] = ++asked == 1 ? "E?st#" : "West#";
        }
    };
    telescope->SlewToCoordinatesAsync(14.25, 20.0);
    EXPECT_EQ(asked, 2);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending) << "on the west side its counterweight hangs";
}

TEST_F(SlewPlanFaultTest, SideThatIsTold_IsAskedForOnce) {
    Prepare();
    ReadAll();
    const std::string sent = SentDuring([&] { telescope->SlewToCoordinatesAsync(14.25, 20.0); });
    EXPECT_EQ(sent.find("pS"), sent.rfind("pS")) << sent;
    EXPECT_TRUE(driver->state.g_bSafeSlewPending);
}

TEST_F(SlewPlanFaultTest, SiderealTimeThatIsNeverTold_IsComputedForThePlan) {
    ConnectInSilence({"GS"});
    ExpectPlanBy(LocalSiderealTime(driver->state.g_dSiteLongitude, machine.astronomy));
    EXPECT_FALSE(driver->queries.LstKnown()) << "for the plan alone";
}

TEST_F(SlewPlanFaultTest, LongitudeThatIsNeverToldEither_IsTheSitesInThePlan) {
    ConnectInSilence({"GS", "Gg"}, {{"Longitude", "W 75 00 00"}});
    ASSERT_FALSE(driver->state.g_bLongitudeRead);
    ExpectPlanBy(LocalSiderealTime(-75.0, machine.astronomy));
    EXPECT_FALSE(driver->state.g_bLongitudeRead) << "for the plan alone";
}

TEST_F(SlewPlanFaultTest, PositionThatIsNotTold_IsTheLastOneThatWas) {
    ExpectSwallow("CommandString");
    Prepare();
    ReadAll();
    standing->replies["GR"] = "";
    standing->replies["GD"] = "";
    const std::string motion = MotionDuring([&] { telescope->SlewToCoordinatesAsync(14.25, 20.0); });
    EXPECT_NE(motion.find("RT2 Sr11:30:0"), std::string::npos) << motion;  // seconds have passed without an answer
    EXPECT_TRUE(motion.ends_with(" Sd+45*00:00 MS")) << motion;
    EXPECT_TRUE(driver->state.g_bSafeSlewPending);
    EXPECT_EQ(error, 0U);
}

TEST_F(SlewPlanFaultTest, SiderealTimeThatWasNeverRead_IsAskedForAheadOfTheSide) {
    ConnectInSilence({"GS"});
    standing->Stand("14:00:00.00", "+45*00:00.0", "12:00:00", "East");
    const std::string sent = SentDuring([&] { telescope->SlewToCoordinatesAsync(14.25, 20.0); });
    EXPECT_TRUE(sent.starts_with("GS GR GD pS ")) << sent;
    EXPECT_TRUE(sent.ends_with("Sr11:30:00.0 Sd+45*00:00 MS")) << sent;
    Tape().Clear();
    telescope->SlewToCoordinatesAsync(14.5, 20.0);
    EXPECT_TRUE(Tape().All().starts_with("GR GD pS ")) << Tape().All();
}

/// The side is computed from right ascension and sidereal time, which are read ahead of it.
TEST_F(SlewPlanFaultTest, FirmwareThatKnowsNoSide_SlewsInOneLegFromWhereverItStands) {
    Prepare("S");
    ReadAll();
    driver->state.g_sVersion = "C";
    for (const char* ra : {"14:00:00.00", "10:00:00.00", "20:00:00.00", "04:00:00.00"}) {
        SCOPED_TRACE(ra);
        standing->replies["GR"] = std::string(ra) + "#";
        const std::string sent = SentDuring([&] { telescope->SlewToCoordinatesAsync(2.25, 20.0); });
        EXPECT_TRUE(sent.starts_with("GR GD RT2 Sr02:15:00.0 ")) << sent;
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    }
    driver->state.g_sVersion = "S";
}

}  // namespace
}  // namespace kestrane
