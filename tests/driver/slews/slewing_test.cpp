#include <cmath>
#include <gtest/gtest.h>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// Firmware families by the road that supervises their slews.
class SlewRoadTest : public DriverFixture, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        BuildMount(GetParam());
        telescope = ConnectedTelescope();
        if (!telescope->Tracking()) {
            telescope->Tracking(true);
        }
        machine.AdvanceTime(10'000);
    }
    /// A target that is up, some 30 degrees from where the mount points.
    void ChooseTarget() {
        targetRa = telescope->SiderealTime() - 1.0;
        targetRa += targetRa < 0.0 ? 24.0 : 0.0;
        targetDec = 20.0;
    }
    void ExpectAtTarget() {
        machine.AdvanceTime(3'000);
        EXPECT_NEAR(telescope->RightAscension(), targetRa, 0.01);
        EXPECT_NEAR(telescope->Declination(), targetDec, 0.05);
    }

    TelescopeObject telescope;
    double targetRa = 0.0;
    double targetDec = 0.0;
};

TEST_P(SlewRoadTest, SynchronousSlew_ReturnsAtTheTarget) {
    ChooseTarget();
    telescope->SlewToCoordinates(targetRa, targetDec);
    EXPECT_FALSE(driver->state.g_bSlewing);
    ExpectAtTarget();
}

TEST_P(SlewRoadTest, AsynchronousSlew_ReturnsAtOnce_AndEndsByThePoll) {
    ChooseTarget();
    const Tick start = machine.clock.GetTickCount();
    telescope->SlewToCoordinatesAsync(targetRa, targetDec);
    EXPECT_LT(machine.clock.GetTickCount() - start, 3'000);
    EXPECT_TRUE(telescope->Slewing());
    int seconds = 0;
    while (telescope->Slewing() && seconds < 300) {
        machine.AdvanceTime(1'000);
        ++seconds;
    }
    EXPECT_LT(seconds, 300);
    ExpectAtTarget();
}

TEST_P(SlewRoadTest, Abort_StopsTheMountShortOfTheTarget) {
    ChooseTarget();
    telescope->SlewToCoordinatesAsync(targetRa, targetDec);
    machine.AdvanceTime(1'500);
    telescope->AbortSlew();
    EXPECT_TRUE(driver->state.g_bAbortSlew || !driver->state.g_bSlewing);
    machine.AdvanceTime(12'000);
    EXPECT_FALSE(telescope->Slewing());
    const double dec = telescope->Declination();
    machine.AdvanceTime(5'000);
    EXPECT_NEAR(telescope->Declination(), dec, 0.01);
    EXPECT_GT(std::abs(dec - targetDec), 0.5);
}

TEST_P(SlewRoadTest, AbortByAnotherClient_EndsASynchronousSlew) {
    ChooseTarget();
    const TelescopeObject other = driver->CreateTelescope();
    machine.pump.PostAt(machine.clock.Elapsed() + 4'000, CallKind::Brief, [&] { other->AbortSlew(); });
    const std::int64_t start = machine.clock.Elapsed();
    telescope->SlewToCoordinates(targetRa, targetDec);
    EXPECT_LT(machine.clock.Elapsed() - start, 7'000);
}

TEST_P(SlewRoadTest, ReadsOfOtherClients_GetInDuringASynchronousSlew) {
    ChooseTarget();
    int answered = 0;
    for (int i = 1; i <= 20; ++i) {
        machine.pump.PostAt(machine.clock.Elapsed() + i * 100, CallKind::Brief, [&] {
            EXPECT_TRUE(telescope->Slewing());
            telescope->IsPulseGuiding();
            telescope->AtPark();
            telescope->Declination();
            ++answered;
        });
    }
    telescope->SlewToCoordinates(targetRa, targetDec);
    EXPECT_EQ(answered, 20);
}

TEST_P(SlewRoadTest, AbortAtAnyMoment_IsTheLastWord) {
    for (const int offset : {500, 1'990, 2'010, 2'030, 3'990, 4'010, 4'030}) {
        ChooseTarget();
        const TelescopeObject other = driver->CreateTelescope();
        int slews = 0;
        machine.pump.PostAt(machine.clock.Elapsed() + offset, CallKind::Brief, [&] {
            other->AbortSlew();
            slews = TimesSent("MS");
        });
        telescope->SlewToCoordinates(targetRa, targetDec);
        machine.AdvanceTime(15'000);
        EXPECT_EQ(TimesSent("MS"), slews) << "abort after " << offset << " ms";
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_FALSE(driver->state.g_bAbortSlew);
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        telescope->SlewToCoordinates(targetRa, 70.0);  // away again, for the next round
    }
}

INSTANTIATE_TEST_SUITE_P(Families, SlewRoadTest, testing::Values("VKC4-P02-08", "VKC5-P03-01", "E3", "D", "S"));

class SlewTest : public DriverFixture {
protected:
    void ExpectEndWithinAMinute(Telescope& telescope) {
        int seconds = 0;
        while (telescope.Slewing() && seconds < 60) {
            machine.AdvanceTime(1'000);
            ++seconds;
        }
        EXPECT_LT(seconds, 60);
        EXPECT_FALSE(mount->Picture().slewing);
    }
};

TEST_F(SlewTest, WithoutTracking_IsTheWrongTrackingState_UnlessTrackingComesByItself) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(false);
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(1.0, 45.0); }), 0x80040411U);
    driver->persist.WriteIniValue("chkAutoEnableTracking", "1");
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 45.0); }), 0U);
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(SlewTest, WhileParked_IsIllegal) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(1.0, 45.0); }), 0x80040409U);
    EXPECT_EQ(ErrorOf([&] { telescope->AbortSlew(); }), 0x80040409U);
}

TEST_F(SlewTest, TargetBelowTheHorizon_IsLoggedWithItsMeaning_AndReturnsWithoutAnError) {
    ExpectSwallow("SafeSlew");
    const TelescopeObject telescope = ConnectedTelescope();
    const double ra = telescope->SiderealTime();
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(ra, -89.0); }), 0U);
    EXPECT_TRUE(Logged("The mount refused the slew: reply 1, below the horizon"));
    EXPECT_FALSE(driver->state.g_bSlewing);
}

TEST_F(SlewTest, TargetBelowTheHorizon_WithSafeSlewDisabled_RaisesTheMountsReason) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    const double ra = telescope->SiderealTime();
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(ra, -89.0); }), 0x80040412U);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_FALSE(driver->state.g_bPollSuspended);
}

TEST_F(SlewTest, RightAscensionThatRoundsUpToMidnight_IsSentAsHourZero) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->SlewToCoordinatesAsync(23.9999999, 80.0);
    EXPECT_EQ(TimesSent("Sr00:00:00.00"), 1);
}

TEST_F(SlewTest, AbortWhileAnEarlierSlewIsWaitedOut_SendsNothingMore) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    int slews = 0;
    machine.pump.PostAt(machine.clock.Elapsed() + 500, CallKind::Brief, [&] {
        telescope->AbortSlew();
        slews = TimesSent("MS");
    });
    telescope->SlewToCoordinates(telescope->SiderealTime(), 20.0);
    EXPECT_EQ(TimesSent("MS"), slews);
    EXPECT_EQ(slews, 0);
}

// --- slews in two legs

/// Always this reply to a command.
class Replies final : public Misbehaviour {
public:
    Replies(std::string name, std::string reply) : name_(std::move(name)), reply_(std::move(reply)) {}
    void Change(SimulatedReply& reply) override {
        if (reply.name == name_) {
            reply.parts = {{0, reply_}};
        }
    }

private:
    std::string name_;
    std::string reply_;
};

/// A status text without tracking, as a park leaves it.
class ReportsNoTracking final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (reply.name == "GOS" && !reply.parts.empty()) {
            reply.parts.front().bytes[1] = '9';
        }
    }
};

/// A mount three hours past the meridian that stands on the west side: its counterweights are up, and a slew over the
/// meridian goes through a point near it. The firmware chooses the road of the supervision.
class TwoLegTest : public DriverFixture, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        BuildMount(GetParam());
        mount->Add(std::make_unique<Replies>("pS", "West#"));
        telescope = ConnectedTelescope();
        telescope->Tracking(true);
        machine.AdvanceTime(10'000);
    }

    void StartTwoLegs() {
        slewsBefore = TimesSent("MS");
        targetRa = NormalizeHours(telescope->SiderealTime() + 2.0);
        telescope->SlewToCoordinatesAsync(targetRa, kTargetDec);
    }
    int Slews() const { return TimesSent("MS") - slewsBefore; }
    /// The last of the commands that begin so.
    std::string LastSent(std::string_view beginning) const {
        std::string last;
        for (const std::string& sent : mount->Commands()) {
            last = sent.starts_with(beginning) ? sent : last;
        }
        return last;
    }
    /// Waits as a client does; false if the slew has no end.
    bool WaitForEnd() {
        for (int seconds = 0; seconds < 120; ++seconds) {
            if (!telescope->Slewing()) {
                return true;
            }
            machine.AdvanceTime(1'000);
        }
        return false;
    }
    void ExpectSecondLegOnTheWire() {
        EXPECT_EQ(Slews(), 2);
        EXPECT_TRUE(Logged("Slew 2 of 2: RA=" + PlainNumber(targetRa) + ", Dec=30"));
        EXPECT_EQ(LastSent("Sr"), "Sr" + HoursToHMS(targetRa, ":", ":", "", driver->state.g_nPrecisionRa));
        EXPECT_EQ(LastSent("Sd"), "Sd+" + DegreesToDMS(kTargetDec, "*", ":", "", driver->state.g_nPrecisionDec));
        machine.AdvanceTime(3'000);
        EXPECT_NEAR(mount->Picture().rightAscension, targetRa, 0.01);
        EXPECT_NEAR(mount->Picture().declination, kTargetDec, 0.05);
    }

    static constexpr double kTargetDec = 30.0;
    TelescopeObject telescope;
    double targetRa = 0.0;
    int slewsBefore = 0;
};

TEST_P(TwoLegTest, SecondLegOfAPark_GoesOutWithTrackingOff) {
    StartTwoLegs();
    ASSERT_TRUE(driver->state.g_bSafeSlewPending);
    mount->Add(std::make_unique<ReportsNoTracking>());
    driver->motion.ParkBegins();
    driver->poll.ExpectParkAt({true, targetRa, kTargetDec});
    driver->state.g_bTracking = false;
    EXPECT_TRUE(WaitForEnd());
    EXPECT_FALSE(driver->state.g_bTracking);
    ExpectSecondLegOnTheWire();
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_P(TwoLegTest, AbortedPark_HasNoSayInTheNextSlew) {
    for (const bool supervisionHasEndedThePark : {true, false}) {
        driver->state.g_bSavedTracking = true;
        driver->motion.ParkBegins();
        telescope->AbortSlew();
        EXPECT_TRUE(driver->state.g_bAbortPark);
        if (supervisionHasEndedThePark) {
            machine.AdvanceTime(1'000);
            EXPECT_FALSE(driver->state.g_bParking);
            EXPECT_TRUE(driver->state.g_bAbortPark) << "a park that waits has to see it";
        }
        StartTwoLegs();
        ASSERT_TRUE(driver->state.g_bSafeSlewPending);
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_FALSE(driver->state.g_bAbortPark);
        EXPECT_TRUE(WaitForEnd());
        ExpectSecondLegOnTheWire();
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 3.0), 45.0);  // for the next round
        machine.AdvanceTime(10'000);
    }
}

TEST_P(TwoLegTest, RefusedFirstLeg_EndsTheSlew) {
    ExpectSwallow("SafeSlew");
    mount->Add(std::make_unique<Replies>("MS", "1"));
    StartTwoLegs();
    ASSERT_TRUE(Logged("Slew 1 of 2: "));
    EXPECT_TRUE(Logged("The mount refused the slew: reply 1, below the horizon"));
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_FALSE(telescope->Slewing());
    machine.AdvanceTime(10'000);
    EXPECT_EQ(Slews(), 1);
}

INSTANTIATE_TEST_SUITE_P(Roads, TwoLegTest, testing::Values("S", "D"));

TEST_F(SlewTest, StatusTextThatIsCutInMidSlew_LeavesTheEndToTheDistance) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 0.0);
    machine.AdvanceTime(1'000);
    mount->Add(std::make_unique<Replies>("GOS", "0200002000#"));
    EXPECT_TRUE(driver->queries.QueryGos());
    EXPECT_FALSE(driver->state.g_bGosActive);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(mount->Picture().slewing);
    ExpectEndWithinAMinute(*telescope);
    EXPECT_TRUE(Logged("Slew Target Distance="));
}

TEST_F(SlewTest, StatusTextThatIsRefused_LeavesTheEndToTheDistance) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 0.0);
    machine.AdvanceTime(1'000);
    mount->Add(std::make_unique<Replies>("GOS", "03:06:03.17#"));
    ExpectEndWithinAMinute(*telescope);
    EXPECT_NEAR(mount->Picture().declination, 0.0, 0.01);
    EXPECT_TRUE(Logged("Slew Target Distance="));
}

TEST_F(SlewTest, CoordinateInPlaceOfTheStatusText_EndsNoSlew) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 0.0);
    machine.AdvanceTime(1'000);
    mount->Add(std::make_unique<Replies>("GOS", "03:06:03.17#"));
    EXPECT_FALSE(driver->queries.QueryGos());
    mount->ClearMisbehaviours();
    EXPECT_TRUE(driver->state.g_bResync);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(mount->Picture().slewing);
    EXPECT_FALSE(driver->state.g_bParked);
}

}  // namespace
}  // namespace kestrane
