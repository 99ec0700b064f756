#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

/// A stop is delayed by the exchange under way and by nothing else, and nothing moves after it.
namespace kestrane {
namespace {

constexpr std::int32_t kReplyLateMs = 200;
constexpr std::int64_t kLongestExchangeMs = 300;  // a late reply, the pauses of an exchange and the line's own time

constexpr std::int64_t kBeginningMs = 4'000;

enum class Member { Async, Sync, TargetAsync, AltAz, AltAzAsync };

struct StopRow {
    std::string name;
    Member member;
    std::string firmware;
    bool calibrates;

    friend void PrintTo(const StopRow& row, std::ostream* out) { *out << row.name; }
};

class StopDoorTest : public DriverFixture, public testing::WithParamInterface<StopRow> {
protected:
    void Prepare() {
        BuildMount(GetParam().firmware);
        Seed({{"chkAutoCalibrateOnFirstSlew", GetParam().calibrates ? "1" : "0"}});
        telescope = ConnectedTelescope();
        other = driver->CreateTelescope();
        telescope->Tracking(!MovesInAltAz());
        machine.AdvanceTime(6'000);
        mount->Add(std::make_unique<AnswersLate>("", kReplyLateMs));
    }
    bool MovesInAltAz() const { return GetParam().member >= Member::AltAz; }
    void Slew() {
        const double ra = std::fmod(telescope->SiderealTime() + 23.0, 24.0);
        switch (GetParam().member) {
            case Member::Async:
                return telescope->SlewToCoordinatesAsync(ra, 20.0);
            case Member::Sync:
                return telescope->SlewToCoordinates(ra, 20.0);
            case Member::TargetAsync:
                telescope->TargetRightAscension(ra);
                telescope->TargetDeclination(20.0);
                return telescope->SlewToTargetAsync();
            case Member::AltAz:
                return telescope->SlewToAltAz(120.0, 40.0);
            case Member::AltAzAsync:
                return telescope->SlewToAltAzAsync(120.0, 40.0);
        }
    }

    /// A rate that is restored comes after a stop of its own.
    static bool SlewGoesOnAfterTheStopPair(const std::vector<std::string>& sent) {
        const auto pair = std::ranges::adjacent_find(
            sent, [](const std::string& a, const std::string& b) { return a == "Q" && b == "Q"; });
        if (pair == sent.end()) {
            return false;
        }
        const auto rate = std::find(pair + 2, sent.end(), "RT2");
        return rate != sent.end() && std::count(pair + 2, rate, "Q") == 0;
    }

    TelescopeObject telescope, other;
};

TEST_P(StopDoorTest, StopAtAnyMomentOfASlewsBeginning_WaitsForOneExchangeAtMost_AndNothingMovesBehindIt) {
    int stopsBeforeTheSlewCommand = 0;
    for (std::int64_t offset = 0; offset < kBeginningMs; offset += 90) {
        SCOPED_TRACE("stop after " + std::to_string(offset) + " ms");
        Prepare();
        const std::int64_t start = machine.clock.Elapsed();
        std::int64_t stoppedAt = -1;
        std::size_t sentBefore = 0;
        const auto stop = [&] {
            stoppedAt = machine.clock.Elapsed();
            sentBefore = mount->Commands().size();
            other->AbortSlew();
        };
        const bool waits = GetParam().member == Member::Sync || GetParam().member == Member::AltAz;
        machine.pump.Run(waits ? CallKind::WaitsLong : CallKind::Brief, [&] {
            machine.pump.PostAt(start + offset, CallKind::Stop, stop);
            Slew();
        });
        machine.AdvanceTime(20'000);
        ASSERT_GE(stoppedAt, 0);
        EXPECT_LE(stoppedAt - start - offset, kLongestExchangeMs);
        const auto& sent = mount->Commands();
        ASSERT_GT(sent.size(), sentBefore);
        EXPECT_TRUE(sent[sentBefore] == "Q" || !driver->state.g_bTracking) << sent[sentBefore];
        const auto after = sent.begin() + static_cast<std::ptrdiff_t>(sentBefore);
        EXPECT_EQ(std::count(after, sent.end(), "MS"), 0);
        EXPECT_FALSE(SlewGoesOnAfterTheStopPair({after, sent.end()}));
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        EXPECT_FALSE(driver->state.g_bPollSuspended);
        stopsBeforeTheSlewCommand += TimesSent("MS") == 0 ? 1 : 0;
    }
    EXPECT_GT(stopsBeforeTheSlewCommand, 3);
}

INSTANTIATE_TEST_SUITE_P(Slews, StopDoorTest,
                         testing::Values(StopRow{"Async", Member::Async, "VKC4-P02-08", false},
                                         StopRow{"AsyncCalibrating", Member::Async, "VKC4-P02-08", true},
                                         StopRow{"AsyncWithoutStatusText", Member::Async, "E3", false},
                                         StopRow{"Sync", Member::Sync, "VKC4-P02-08", false},
                                         StopRow{"TargetAsync", Member::TargetAsync, "D", true},
                                         StopRow{"AltAz", Member::AltAz, "VKC5-P03-01", false},
                                         StopRow{"AltAzAsync", Member::AltAzAsync, "E3", true}),
                         [](const auto& row) { return row.param.name; });

class OvertakenTest : public DriverFixture {};

TEST_F(OvertakenTest, SlewThatWasAskedForBeforeTheStop_DoesNotBegin_AndTheNextOneDoes) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    const TelescopeObject other = driver->CreateTelescope();
    const double ra = telescope->SiderealTime();
    const std::vector<std::function<void()>> slews{
        [&] { telescope->SlewToCoordinatesAsync(ra, 40.0); },
        [&] { telescope->SlewToCoordinates(ra, 40.0); },
        [&] { telescope->SlewToTarget(); },
        [&] { telescope->SlewToTargetAsync(); },
    };
    telescope->TargetRightAscension(ra);
    telescope->TargetDeclination(40.0);
    for (const auto& slew : slews) {
        machine.pump.Post(CallKind::Brief, slew);
        machine.pump.Post(CallKind::Stop, [&] { other->AbortSlew(); });
        machine.AdvanceTime(5'000);
        EXPECT_EQ(TimesSent("MS"), 0);
        EXPECT_FALSE(telescope->Slewing());
    }
    EXPECT_EQ(TimesLogged("() does not begin: it was stopped before it could"), 4);
    machine.pump.Post(CallKind::Brief, slews[0]);
    machine.AdvanceTime(1'000);
    EXPECT_EQ(TimesSent("MS"), 1);
}

TEST_F(OvertakenTest, SlewThatAnAxisOfAnotherClientEnds_BeforeItIsSent_SaysSo) {
    BuildMount("S");
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    machine.AdvanceTime(6'000);
    const TelescopeObject other = driver->CreateTelescope();
    mount->Add(std::make_unique<AnswersLate>("", kReplyLateMs));
    for (const std::int64_t offset : {100, 1'500}) {  // in the plan, and among the commands
        SCOPED_TRACE(offset);
        log.clear();
        machine.pump.PostAt(machine.clock.Elapsed() + offset, CallKind::StopsOne, [&] { other->MoveAxis(1, 0.0); });
        telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 40.0);
        EXPECT_EQ(TimesSent("MS"), 0);
        EXPECT_EQ(TimesLogged("The slew is not sent: it was stopped before it could"), 1);
    }
}

TEST_F(OvertakenTest, StopWhileAConnectHeals_OrTheHandBoxIsFilledAgain_WaitsForOneExchange) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    machine.AdvanceTime(6'000);
    mount->Add(std::make_unique<AnswersLate>("", kReplyLateMs));
    const TelescopeObject other = driver->CreateTelescope();
    for (const bool heals : {true, false}) {
        for (std::int64_t offset = 50; offset < 2'500; offset += 150) {
            SCOPED_TRACE(std::string(heals ? "heal" : "fill") + " after " + std::to_string(offset));
            const std::int64_t due = machine.clock.Elapsed() + offset;
            std::int64_t delay = -1;
            machine.pump.PostAt(due, CallKind::Stop, [&] {
                delay = machine.clock.Elapsed() - due;
                other->AbortSlew();
            });
            driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
            if (heals) {
                driver->state.g_bMountUnproved = true;
                ++driver->state.g_nAnsweredQueries;
                driver->connections.HealWhenDue();
            } else {
                driver->InternalInstance().InitUI();
            }
            machine.AdvanceTime(3'000);
            ASSERT_GE(delay, 0);
            EXPECT_LE(delay, kLongestExchangeMs);
            EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
        }
    }
}

TEST_F(OvertakenTest, SlewOfAParkedMountOrWithoutALink_RaisesItsError_AlsoAfterAStop) {
    const TelescopeObject telescope = ConnectedTelescope();
    const TelescopeObject other = driver->CreateTelescope();
    const std::vector<std::function<void()>> slews{
        [&] { telescope->SlewToCoordinatesAsync(5.0, 40.0); },
        [&] { telescope->SlewToCoordinates(5.0, 40.0); },
        [&] { telescope->SlewToTarget(); },
        [&] { telescope->SlewToTargetAsync(); },
        [&] { telescope->SlewToAltAz(120.0, 40.0); },
    };
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->motion.MountReportsParked(true);
    const auto errorAfterStop = [&](const std::function<void()>& slew) {
        std::uint32_t error = 0;
        machine.pump.Post(CallKind::Brief, [&] { error = ErrorOf(slew); });
        machine.pump.Post(CallKind::Stop, [&] { ErrorOf([&] { other->AbortSlew(); }); });
        machine.pump.PumpMessages();
        return error;
    };
    for (const auto& slew : slews) {
        EXPECT_EQ(errorAfterStop(slew), 0x80040409U);
    }
    driver->motion.MountReportsParked(false);
    telescope->Connected(false);
    for (const auto& slew : slews) {
        EXPECT_EQ(errorAfterStop(slew), 0x80040404U);
    }
    EXPECT_EQ(TimesSent("MS"), 0);
}

TEST_F(OvertakenTest, GotoOfAClientsOwnText_IsNotSent_AndOtherTextsAre) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    machine.AdvanceTime(5'000);
    bool good = true;
    std::string reply = "none";
    machine.pump.Post(CallKind::WaitsLong, [&] { good = telescope->CommandBool("MS", false); });
    machine.pump.Post(CallKind::WaitsLong, [&] { reply = telescope->CommandString(":MS#", true); });
    machine.pump.Post(CallKind::WaitsLong, [&] { telescope->CommandBlind("MS", false); });
    machine.pump.Post(CallKind::WaitsLong, [&] { telescope->CommandBlind("Q", false); });
    machine.pump.Post(CallKind::Stop, [&] { telescope->AbortSlew(); });
    const int stops = TimesSent("Q");
    ASSERT_EQ(TimesSent("MS"), 0);
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(good);
    EXPECT_EQ(reply, "");
    EXPECT_EQ(TimesSent("MS"), 0);
    EXPECT_EQ(TimesSent("Q"), stops + 2);
    telescope->CommandBlind("MS", false);
    EXPECT_EQ(TimesSent("MS"), 1) << "one that no stop has overtaken goes out";
}

TEST_F(OvertakenTest, HorizontalSlewThatWasAskedForBeforeTheStop_DoesNotBegin) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(false);
    machine.pump.Post(CallKind::Brief, [&] { telescope->SlewToAltAzAsync(120.0, 40.0); });
    machine.pump.Post(CallKind::Brief, [&] { telescope->SlewToAltAz(120.0, 40.0); });
    machine.pump.Post(CallKind::Stop, [&] { telescope->AbortSlew(); });
    machine.AdvanceTime(5'000);
    EXPECT_EQ(TimesSent("MS"), 0);
    EXPECT_FALSE(telescope->Slewing());
}

TEST_F(OvertakenTest, StopDuringAPollStep_GetsInBetweenTwoQueries) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    machine.AdvanceTime(6'000);
    mount->Add(std::make_unique<AnswersLate>("", kReplyLateMs));
    for (std::int64_t offset = 0; offset < 5'500; offset += 110) {
        const std::int64_t due = machine.clock.Elapsed() + offset % 700;
        std::int64_t delay = -1;
        std::size_t sentBefore = 0;
        machine.pump.PostAt(due, CallKind::Stop, [&] {
            delay = machine.clock.Elapsed() - due;
            sentBefore = mount->Commands().size();
            telescope->AbortSlew();
        });
        machine.AdvanceTime(1'500);
        ASSERT_GE(delay, 0);
        EXPECT_LE(delay, kLongestExchangeMs) << mount->Commands()[sentBefore - 2] << mount->Commands()[sentBefore - 1];
    }
}

TEST_F(OvertakenTest, StopDuringThePauseOfAReadOrOfASynchronousSlew_GetsInWithinAMillisecond) {
    BuildMount("E3");
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    machine.AdvanceTime(6'000);
    std::int64_t due = 0;
    std::int64_t delay = -1;
    const auto stopIn = [&](std::int64_t milliseconds) {
        due = machine.clock.Elapsed() + milliseconds;
        delay = -1;
        machine.pump.PostAt(due, CallKind::Stop, [&] {
            delay = machine.clock.Elapsed() - due;
            telescope->AbortSlew();
        });
    };
    stopIn(7);
    telescope->Slewing();
    EXPECT_EQ(delay, 0);
    stopIn(7);
    telescope->AtPark();
    EXPECT_EQ(delay, 0);
    telescope->SlewToCoordinatesAsync(std::fmod(telescope->SiderealTime() + 23.0, 24.0), 20.0);
    driver->poll.SetPolling(false);  // no exchange until the next look at the distance
    stopIn(200);
    telescope->SlewToTarget();
    EXPECT_EQ(delay, 0);
}

}  // namespace
}  // namespace kestrane
