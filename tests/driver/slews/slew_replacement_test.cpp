#include <gtest/gtest.h>
#include <tuple>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

/// A mount three hours past the meridian that is said to stand on the west side, so that a slew over it has two legs.
class ReplacementFixture : public SlewWireTest {
protected:
    void Prepare(const std::string& firmware) {
        Connect(firmware);
        mount->Add(std::make_unique<StandsWest>());
        other = &OtherClient();
        lst = telescope->SiderealTime();
        firstRa = NormalizeHours(lst + 2.0);
    }
    void StartTwoLegs() {
        telescope->SlewToCoordinatesAsync(firstRa, kFirstDec);
        ASSERT_TRUE(driver->state.g_bSafeSlewPending);
        machine.AdvanceTime(1'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    std::int64_t In(std::int64_t milliseconds) { return machine.clock.Elapsed() + milliseconds; }
    void ExpectAt(double ra, double dec) { SlewWireTest::ExpectAt(ra, dec, 15'000); }

    static constexpr double kFirstDec = 30.0;
    Telescope* other = nullptr;
    double lst = 0.0;
    double firstRa = 0.0;
};

// --- a second slew under one that waits -----------------------------------------------------------------------------

using SlewTo = std::function<void(Telescope&, double, double)>;

struct SlewMember {
    const char* name;
    SlewTo slew;
    bool waits;

    friend void PrintTo(const SlewMember& member, std::ostream* out) { *out << member.name; }
};

void WriteTarget(Telescope& telescope, double ra, double dec) {
    telescope.TargetRightAscension(ra);
    telescope.TargetDeclination(dec);
}

const SlewMember kCoordinates{"SlewToCoordinates", &Telescope::SlewToCoordinates, true};
const SlewMember kCoordinatesAsync{
    "SlewToCoordinatesAsync", [](Telescope& t, double ra, double dec) { t.SlewToCoordinatesAsync(ra, dec); }, false};
const SlewMember kTarget{"SlewToTarget",
                         [](Telescope& t, double ra, double dec) {
                             WriteTarget(t, ra, dec);
                             t.SlewToTarget();
                         },
                         true};
const SlewMember kTargetAsync{"SlewToTargetAsync",
                              [](Telescope& t, double ra, double dec) {
                                  WriteTarget(t, ra, dec);
                                  t.SlewToTargetAsync();
                              },
                              false};

class SecondSlewTest : public ReplacementFixture,
                       public testing::WithParamInterface<std::tuple<std::string, SlewMember, SlewMember, int>> {
protected:
    void SetUp() override { Prepare(std::get<0>(GetParam())); }
    const SlewMember& First() const { return std::get<1>(GetParam()); }
    const SlewMember& Second() const { return std::get<2>(GetParam()); }
    int LegsOfTheSecond() const { return std::get<3>(GetParam()); }
};

TEST_P(SecondSlewTest, DuringTheFirstLegOfASynchronousOne_IsTheLastWord) {
    const double secondRa = NormalizeHours(lst + (LegsOfTheSecond() == 2 ? 1.0 : -4.0));
    bool begun = false;
    machine.pump.PostAt(In(1'500), Second().waits ? CallKind::WaitsLong : CallKind::Brief, [&] {
        begun = true;
        ASSERT_EQ(TimesSent("MS"), 1);
        ASSERT_TRUE(mount->Picture().slewing && driver->state.g_bSafeSlewPending);
        if (LegsOfTheSecond() == 1) {
            mount->ClearMisbehaviours();
        }
        Second().slew(*other, secondRa, 50.0);
        if (Second().waits) {
            EXPECT_FALSE(mount->Picture().slewing);
            EXPECT_NEAR(mount->Picture().rightAscension, secondRa, 0.01);
        }
    });
    First().slew(*telescope, firstRa, kFirstDec);
    ASSERT_TRUE(begun);
    EXPECT_FALSE(mount->Picture().slewing) << "the first waits for the end of what has taken its place";
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(secondRa, 50.0);
    const int repeated = LegsOfTheSecond() == 2 && Second().waits ? 1 : 0;
    EXPECT_EQ(TimesSent("MS"), 1 + LegsOfTheSecond() + repeated);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(PollRuns());
}

INSTANTIATE_TEST_SUITE_P(AllWays, SecondSlewTest,
                         testing::Combine(testing::Values("S", "D"), testing::Values(kCoordinates, kTarget),
                                          testing::Values(kCoordinates, kCoordinatesAsync, kTarget, kTargetAsync),
                                          testing::Values(1, 2)));

// --- on both roads of the supervision -------------------------------------------------------------------------------

class ReplacementTest : public ReplacementFixture, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override { Prepare(GetParam()); }
};

TEST_P(ReplacementTest, SlewThatBeginsWhileAnotherWaitsForItsTurn_KeepsTheTelescope) {
    mount->ClearMisbehaviours();
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 1.0), 20.0);
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    for (const SlewTo& waiting : {kCoordinates.slew, kTarget.slew}) {
        const int gotos = TimesSent("MS");
        machine.pump.PostAt(In(700), CallKind::Brief,
                            [&] { other->SlewToCoordinatesAsync(NormalizeHours(lst - 4.0), 50.0); });
        waiting(*telescope, NormalizeHours(lst - 2.0), 40.0);
        EXPECT_EQ(TimesSent("MS"), gotos + 1);
        EXPECT_FALSE(telescope->Slewing());
        ExpectAt(lst - 4.0, 50.0);
    }
}

TEST_P(ReplacementTest, AbortAndNewTwoLegSlewInOneRound_UnderASynchronousSlew_KeepTheNewSecondLeg) {
    for (const bool twoLegs : {true, false}) {
        SCOPED_TRACE(twoLegs ? "under a slew in two legs" : "under a slew in one leg");
        const int gotos = TimesSent("MS");
        log.clear();
        const std::int64_t moment = In(2'500);
        machine.pump.PostAt(moment, CallKind::Brief, [&] {
            EXPECT_EQ(TimesSent("MS"), gotos + 1);
            driver->state.g_bRawRaDecSlews = false;
            other->AbortSlew();
            other->SlewToCoordinatesAsync(NormalizeHours(lst + 1.0), 60.0);
            EXPECT_TRUE(driver->state.g_bSafeSlewPending);
        });
        driver->state.g_bRawRaDecSlews = !twoLegs;
        telescope->SlewToCoordinates(firstRa, kFirstDec);
        EXPECT_LT(machine.clock.Elapsed(), moment + 1'000) << "the aborted call has returned";
        EXPECT_TRUE(driver->state.g_bSafeSlewPending);
        EXPECT_TRUE(WaitForEnd());
        ExpectAt(lst + 1.0, 60.0);
        EXPECT_EQ(TimesSent("MS"), gotos + 3);
        EXPECT_EQ(TimesLogged("Slew 2 of 2"), 1);
        telescope->SlewToCoordinates(NormalizeHours(lst - 3.0), 45.0);
    }
}

// --- refusals during a first leg ------------------------------------------------------------------------------------

struct HorizontalRefusal {
    const char* command;
    const char* reply;
    double altitude;
    std::uint32_t number;
};

TEST_P(ReplacementTest, AltAzSlewThatIsRefusedDuringAFirstLeg_EndsSlewing) {
    driver->InternalInstance().MaxSerialRetries(0);
    for (const HorizontalRefusal& row : {HorizontalRefusal{"", "", 90.5, 0x80040405},
                                         {"Sa", "0", 45.0, 0x80040418},
                                         {"Sz", "0", 45.0, 0x80040418},
                                         {"MS", "1", -5.0, 0x80040412},
                                         {"MS", "2", -5.0, 0x80040413},
                                         {"MS", "3", -5.0, 0x80040414}}) {
        SCOPED_TRACE(std::string(row.command) + row.reply);
        telescope->SlewToCoordinates(NormalizeHours(lst - 3.0), 45.0);
        mount->ClearMisbehaviours();
        mount->Add(std::make_unique<StandsWest>());
        StartTwoLegs();
        const int gotos = TimesSent("MS") + (*row.command == 'M' ? 1 : 0);
        telescope->Tracking(false);
        mount->Add(std::make_unique<AnswersWith>(row.command, row.reply));
        Try([&] { telescope->SlewToAltAzAsync(150.0, row.altitude); });
        EXPECT_EQ(error, row.number);
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        EXPECT_TRUE(WaitForEnd());
        machine.AdvanceTime(15'000);
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_EQ(TimesSent("MS"), gotos) << "no second leg follows";
        EXPECT_TRUE(PollRuns());
        telescope->Tracking(true);
    }
}

TEST_P(ReplacementTest, SlewWithoutSafeSlewThatIsRefusedDuringAFirstLeg_EndsSlewing) {
    StartTwoLegs();
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    Try([&] { other->SlewToCoordinatesAsync(NormalizeHours(lst - 4.0), -80.0); });
    EXPECT_EQ(error, 0x80040412U);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(60'000);  // the status text may report the first leg once more
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(TimesSent("MS"), 2) << "no second leg follows";
    EXPECT_FALSE(mount->Picture().slewing);
}

// --- the companion's slew after one of the driver -------------------------------------------------------------------

TEST_P(ReplacementTest, CompanionSlewBehindAFinishedOne_IsNotStoppedByTheRestore) {
    Stand();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);  // the client sees the end of its slew before the poll does
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    telescope->SlewToCoordinates(3.0, 45.0);
    ASSERT_FALSE(telescope->Slewing());
    ASSERT_TRUE(driver->state.g_bSlewCompletePending);
    driver->state.g_bRestoreRatePending = true;
    driver->state.g_bQuayLink = driver->state.g_bQuayHandlesSlews = true;
    telescope->SlewToCoordinatesAsync(5.5, 30.0);
    EXPECT_FALSE(driver->state.g_bSlewCompletePending);
    Tape().Clear();
    driver->poll.CheckSlewComplete();
    EXPECT_EQ(Tape().Motion(), "");
    driver->state.g_bQuayLink = driver->state.g_bQuayHandlesSlews = false;
}

INSTANTIATE_TEST_SUITE_P(Roads, ReplacementTest, testing::Values("S", "D"));

}  // namespace
}  // namespace kestrane
