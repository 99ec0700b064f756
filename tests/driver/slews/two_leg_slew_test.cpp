#include <cmath>
#include <gtest/gtest.h>
#include <ostream>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

// --- where the first leg goes: positions exact to the last bit -------------------------------------------------------

/// The mount stands at Dec +45 under a sidereal time of 12:00:00; the target is Dec +20 elsewhere.
struct PositionRow {
    const char* side;
    const char* ra;     ///< of the mount
    const char* first;  ///< RA of the first leg, or "" when the slew has only one
};

void PrintTo(const PositionRow& row, std::ostream* out) {
    *out << row.side << " RA " << row.ra;
}

class FirstLegTest : public SlewWireTest, public testing::WithParamInterface<PositionRow> {
protected:
    void SetUp() override {
        Connect("S");
        Stand().Stand(GetParam().ra, "+45*00:00.0", "12:00:00", GetParam().side);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        ASSERT_TRUE(driver->queries.QueryLst());
    }
    static std::string FirstLeg() { return std::string("RT2 Sr") + GetParam().first + " Sd+45*00:00 MS"; }
    static constexpr std::string_view kTarget = "RT2 Sr14:15:00.0 Sd+20*00:00 MS";
};

TEST_P(FirstLegTest, AsynchronousSlew_SendsTheFirstLegOnly) {
    const bool twoLegs = *GetParam().first != '\0';
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(14.25, 20.0); }), twoLegs ? FirstLeg() : kTarget);
    EXPECT_EQ(driver->state.g_bSafeSlewPending, twoLegs);
    EXPECT_EQ(TimesLogged("Slew 1 of 2: RA="), twoLegs ? 1 : 0);
    EXPECT_EQ(driver->state.g_dSafeSlewRa, 14.25);
    EXPECT_EQ(driver->state.g_dSafeSlewDec, 20.0);
}

TEST_P(FirstLegTest, SynchronousSlew_RepeatsTheTargetBehindTheSecondLeg) {
    std::string expected(kTarget);
    if (*GetParam().first != '\0') {
        expected = FirstLeg() + " " + expected + " " + expected;
    }
    // The mount stands still, so each leg ends as soon as the status text is read.
    driver->handBox.tmrQueryRaDecAltAz.Enabled(true);
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinates(14.25, 20.0); }), expected);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_FALSE(driver->state.g_bSlewing);
}

TEST_P(FirstLegTest, TargetWithinADegree_IsReachedInOne_WhateverTheHourAngle) {
    double ra = 0.0;
    ASSERT_TRUE(ParseProtocolHours(GetParam().ra, ra, driver->log));
    for (const double hours : {0.06, -0.06}) {
        Tape().Clear();
        telescope->SlewToCoordinatesAsync(NormalizeHours(ra + hours), 44.5);
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        EXPECT_TRUE(Tape().Motion().ends_with(" Sd+44*30:00 MS")) << Tape().Motion();
    }
    EXPECT_FALSE(Logged("Slew 1 of 2"));
    EXPECT_EQ(TimesLogged("SafeSlew will not be used - Target Dec is withing 1 degree"), 2);
}

INSTANTIATE_TEST_SUITE_P(Positions, FirstLegTest,
                         testing::Values(PositionRow{"East", "20:00:00.0", "00:30:00.0"},  // -8 h: LST + 12.5
                                         PositionRow{"East", "18:00:01.0", "00:30:00.0"},  // just beyond -6 h
                                         PositionRow{"East", "18:00:00.0", "00:30:00.0"},  // -6 h
                                         PositionRow{"East", "17:59:59.0",
                                                     "11:30:00.0"},  // just short of -6 h: LST - 0.5
                                         PositionRow{"East", "14:00:00.0", "11:30:00.0"},  // -2 h
                                         PositionRow{"East", "12:00:01.0", "11:30:00.0"},  // just below 0
                                         PositionRow{"East", "12:00:00.0", ""},            // 0
                                         PositionRow{"East", "10:00:00.0", ""},            // 2 h
                                         PositionRow{"East", "00:00:00.0", ""},            // 12 h
                                         PositionRow{"East", "23:59:59.0", "00:30:00.0"},  // just below -11:59:59 h
                                         PositionRow{"West", "10:00:00.0", "12:30:00.0"},  // 2 h: LST + 0.5
                                         PositionRow{"West", "11:59:59.0", "12:30:00.0"},  // just above 0
                                         PositionRow{"West", "12:00:00.0", ""},            // 0
                                         PositionRow{"West", "06:00:01.0", "12:30:00.0"},  // just short of 6 h
                                         PositionRow{"West", "06:00:00.0", "23:30:00.0"},  // 6 h: LST - 12.5
                                         PositionRow{"West", "04:00:00.0", "23:30:00.0"},  // 8 h
                                         PositionRow{"West", "00:00:00.0", "23:30:00.0"},  // 12 h
                                         PositionRow{"West", "23:59:59.0", ""},            // just beyond: -11:59:59 h
                                         PositionRow{"West", "14:00:00.0", ""},            // -2 h
                                         PositionRow{"West", "18:00:00.0", ""}));          // -6 h

// --- when there is only one leg
// ---------------------------------------------------------------------------------------

/// East side, two hours east of the meridian, Dec +45: two legs unless something speaks against it.
class OneLegTest : public SlewWireTest {
protected:
    void Stand(const std::string& firmware, const SettingTexts& settings = {}) {
        Connect(firmware, settings);
        Prepare();
    }
    void Prepare() {
        SlewWireTest::Stand().Stand("14:00:00.00", "+45*00:00.0", "12:00:00", "East");
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        ASSERT_TRUE(driver->queries.QueryLst());
    }
    int Legs(double ra, double dec) {
        Tape().Clear();
        driver->queries.QueryLst();
        telescope->SlewToCoordinatesAsync(ra, dec);
        return driver->state.g_bSafeSlewPending ? 2 : 1;
    }
};

TEST_F(OneLegTest, TargetWithinOneDegreeInBothAxes_IsReachedInOne) {
    Stand("S");
    EXPECT_EQ(Legs(14.0, 46.0), 1) << "exactly a degree of declination";
    EXPECT_TRUE(Logged("SafeSlew will not be used - Target Dec is withing 1 degree"));
    EXPECT_EQ(Tape().Motion(), "RT2 Sr14:00:00.0 Sd+46*00:00 MS");
    EXPECT_EQ(Legs(14.0, 44.0), 1);
    EXPECT_EQ(Legs(14.0, 46.0001), 2);
    EXPECT_EQ(Legs(14.0, 43.9999), 2);
    EXPECT_EQ(Legs(14.0 + 0.9375 / 15.0, 45.0), 1);
    EXPECT_EQ(Legs(14.0 + 1.0001 / 15.0, 45.0), 2);
    EXPECT_EQ(Legs(14.0 - 1.0001 / 15.0, 45.0), 2);
    EXPECT_EQ(Legs(14.0 - 0.9375 / 15.0, 45.9), 1);
}

TEST_F(OneLegTest, ExactlyADegreeOfRightAscension_IsWithinIt) {
    Stand("S");
    SlewWireTest::Stand().Stand("00:00:00.0", "+45*00:00.0", "22:00:00", "East");
    EXPECT_EQ(Legs(1.0 / 15.0, 45.0), 1);
    EXPECT_EQ(Legs(1.0001 / 15.0, 45.0), 2);
}

TEST_F(OneLegTest, SettingWithRawSlews_AllowsNoSecondLeg) {
    Stand("S", {{"SafeSlewRaDec", "0"}});
    EXPECT_EQ(Legs(14.25, 20.0), 1);
    EXPECT_TRUE(Logged("SafeSlew is disabled"));
    EXPECT_EQ(Tape().Motion(), "RT2 Sr14:15:00.0 Sd+20*00:00 MS");
}

TEST_F(OneLegTest, ForkMount_NeedsNoSecondLeg) {
    for (const char* form : {"1", "3", "5", "7"}) {
        MountSimulatorOptions options;
        options.firmware = "S";
        options.parkedAtPowerOn = false;
        options.mountForm = form;
        if (driver) {
            telescope.reset();
            driver.reset();
        }
        Connect(options);
        Prepare();
        EXPECT_EQ(Legs(14.25, 20.0), 1) << form;
        EXPECT_TRUE(driver->state.g_bForkMount);
        EXPECT_TRUE(Logged("OpenConnection: Fork Mount detected - enabling Raw RA/Dec Slews"));
    }
}

struct FirmwareRow {
    const char* firmware;
    int legs;
};

class FirmwareSafeSlewTest : public OneLegTest, public testing::WithParamInterface<FirmwareRow> {};

TEST_P(FirmwareSafeSlewTest, FirmwareFromOneTwoOn_FindsTheSafeWayItself) {
    Stand(GetParam().firmware);
    EXPECT_EQ(Legs(14.25, 20.0), GetParam().legs);
    EXPECT_EQ(Logged("SafeSlew is disabled"), GetParam().legs == 1);
}

INSTANTIATE_TEST_SUITE_P(Versions, FirmwareSafeSlewTest,
                         testing::Values(FirmwareRow{"VKC4-P01-01", 2}, FirmwareRow{"VKC4-P01-02", 1},
                                         FirmwareRow{"VKC4-P01-10", 1}, FirmwareRow{"VKC4-P02-00", 1},
                                         FirmwareRow{"VKC4-P00-09", 2}, FirmwareRow{"VKC5-P03-01", 1},
                                         FirmwareRow{"S", 2}, FirmwareRow{"D", 2}));

// --- both legs by the simulated mount --------------------------------------------------------------------------------

/// Three hours past the meridian and said to stand on the west side.
class TwoLegsTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        Connect(GetParam());
        mount->Add(std::make_unique<StandsWest>());
        ra = std::round(NormalizeHours(telescope->SiderealTime() + 2.0) * 100.0) / 100.0;
    }
    /// The commands of a slew there.
    std::string SlewTo(double hours, double dec) const {
        return "RT2 Sr" + HoursToHMS(hours, ":", ":", "", driver->state.g_nPrecisionRa) + " Sd+" +
               DegreesToDMS(dec, "*", ":", "", driver->state.g_nPrecisionDec) + " MS";
    }
    /// The target of the first leg as it was logged.
    double LoggedVia() const {
        for (const LogLine& line : log) {
            if (line.message.starts_with("Slew 1 of 2: RA=")) {
                return std::stod(line.message.substr(16));
            }
        }
        return -1.0;
    }
    double ra = 0.0;
    static constexpr double kDec = 30.0;
};

TEST_P(TwoLegsTest, AsynchronousSlew_IsTwoGotos_TheSecondOnlyWhenTheFirstHasEnded) {
    const double dec = telescope->Declination();
    const double lst = telescope->SiderealTime();
    Tape().Clear();
    telescope->SlewToCoordinatesAsync(ra, kDec);
    ASSERT_NEAR(LoggedVia(), NormalizeHours(lst + 0.5), 0.001);
    const std::string first = SlewTo(LoggedVia(), dec);
    EXPECT_EQ(Tape().Motion(), first);
    std::size_t firstLegEnd = 0;
    const When stands(
        machine.pump, [&] { return !mount->Picture().slewing; },
        [&] {
            EXPECT_EQ(Tape().Motion(), first);
            EXPECT_NEAR(mount->Picture().rightAscension, LoggedVia(), 0.01);
            EXPECT_NEAR(mount->Picture().declination, dec, 0.05);
            firstLegEnd = Tape().Count();
        });
    EXPECT_TRUE(WaitForEnd());
    EXPECT_GT(firstLegEnd, 0U);
    EXPECT_EQ(Tape().Motion(), first + " " + SlewTo(ra, kDec));
    EXPECT_EQ(TimesLogged("Slew 2 of 2: RA="), 1);
    machine.AdvanceTime(3'000);
    EXPECT_NEAR(mount->Picture().rightAscension, ra, 0.01);
    EXPECT_NEAR(mount->Picture().declination, kDec, 0.05);
    EXPECT_EQ(telescope->TargetRightAscension(), ra);
    EXPECT_EQ(telescope->TargetDeclination(), kDec);
}

TEST_P(TwoLegsTest, SynchronousSlew_IsTwoGotos_AndTheTargetOnceMore) {
    const double dec = telescope->Declination();
    const std::string motion = MotionDuring([&] { telescope->SlewToCoordinates(ra, kDec); });
    ASSERT_EQ(error, 0U);
    EXPECT_EQ(motion, SlewTo(LoggedVia(), dec) + " " + SlewTo(ra, kDec) + " " + SlewTo(ra, kDec));
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_NEAR(mount->Picture().rightAscension, ra, 0.01);
    EXPECT_NEAR(mount->Picture().declination, kDec, 0.05);
}

TEST_P(TwoLegsTest, TargetMembers_TakeTheSameTwoLegs) {
    const double dec = telescope->Declination();
    telescope->TargetRightAscension(ra);
    telescope->TargetDeclination(kDec);
    const std::string motion = MotionDuring([&] {
        telescope->SlewToTargetAsync();
        EXPECT_TRUE(WaitForEnd());
    });
    EXPECT_EQ(motion, SlewTo(LoggedVia(), dec) + " " + SlewTo(ra, kDec));
}

TEST_P(TwoLegsTest, SlewWithoutSafeSlew_GoesStraightToTheTarget) {
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    EXPECT_EQ(MotionDuring([&] {
                  telescope->SlewToCoordinatesAsync(ra, kDec);
                  EXPECT_TRUE(WaitForEnd());
              }),
              SlewTo(ra, kDec));
    EXPECT_FALSE(Logged("Slew 1 of 2"));
}

TEST_P(TwoLegsTest, RefusedFirstLeg_EndsASynchronousSlew_WithoutADirectOne) {
    ExpectSwallow("SafeSlew");
    const double dec = telescope->Declination();
    const double lst = telescope->SiderealTime();
    StandingMount& standing = Stand();
    standing.Stand(HoursToHMS(NormalizeHours(lst - 3.0), ":", ":", "", 1),
                   GetParam() == "D" ? "+845*00:00" : "+45*00:00.0", HoursToHMS(lst, ":", ":", "", 0), "West");
    standing.replies["MS"] = "1";
    const std::string motion = MotionDuring([&] { telescope->SlewToCoordinates(ra, kDec); });
    EXPECT_EQ(motion, SlewTo(LoggedVia(), dec));
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(TimesLogged("The mount refused the slew: reply 1, below the horizon"), 1);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_FALSE(telescope->Slewing());
}

TEST_P(TwoLegsTest, RefusedSecondLeg_EndsTheSlewWhereTheFirstHasEnded) {
    ExpectSwallow("CheckSlewing");
    class RefusesTheSecond final : public Misbehaviour {
    public:
        void Change(SimulatedReply& reply) override {
            if (reply.name == "MS" && ++gotos_ == 2) {
                reply.parts = {{0, "2"}};
            }
        }

    private:
        int gotos_ = 0;
    };
    mount->Add(std::make_unique<RefusesTheSecond>());
    telescope->TrackingRate(tracking_rate::Lunar);
    machine.AdvanceTime(10'000);
    telescope->SlewToCoordinatesAsync(ra, kDec);
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(telescope->TrackingRate(), tracking_rate::Lunar);
    EXPECT_EQ(mount->Picture().tracking, '0');
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_EQ(TimesLogged("The mount refused the slew: reply 2, below the minimum elevation"), 1);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(PollRuns());
}

INSTANTIATE_TEST_SUITE_P(Roads, TwoLegsTest, testing::Values("S", "D"));

}  // namespace
}  // namespace kestrane
