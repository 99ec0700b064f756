#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

/// What still runs while the mount is slow or silent.
namespace kestrane {
namespace {

constexpr std::int64_t kLongestExchangeMs = 2'800;  // three tries without a reply

class SlowLineTest : public DriverFixture {
protected:
    void TearDown() override {
        telescope.reset();
        other.reset();
        DriverFixture::TearDown();
    }
    void Connect(const std::string& firmware) {
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}});
        BuildMount(firmware);
        telescope = ConnectedTelescope();
        other = driver->CreateTelescope();
        telescope->Tracking(true);
        machine.AdvanceTime(10'000);
        ExpectSwallow("*");
    }
    std::int64_t Now() const { return machine.clock.Elapsed(); }

    TelescopeObject telescope, other;
};

TEST_F(SlowLineTest, CachedRead_NeverWaitsForTheMount) {
    Connect("VKC4-P02-08");
    mount->SetLineDead(true);
    const std::int64_t start = Now();
    int reads = 0;
    std::int64_t longest = 0;
    const auto read = [&](std::int64_t due) {
        ++reads;
        longest = std::max(longest, Now() - due);
        try {
            telescope->RightAscension();
        } catch (const DriverError&) {  // lost communications
        }
        telescope->Tracking();
    };
    for (std::int64_t due = start; due < start + 30'000; due += 37) {
        machine.pump.PostAt(due, CallKind::Read, [&, due] { read(due); });
    }
    machine.AdvanceTime(31'000);
    EXPECT_GT(reads, 800);
    EXPECT_LE(longest, 1);
}

TEST_F(SlowLineTest, CachedRead_LeavesTheExchangeWhole) {
    Connect("VKC4-P02-08");
    mount->Add(std::make_unique<AnswersLate>("", 100));
    const std::int64_t start = Now();
    const std::string ra = telescope->CommandString("GR", false);
    for (std::int64_t due = start; due < start + 200; ++due) {
        machine.pump.PostAt(due, CallKind::Read, [&] { telescope->RightAscension(); });
    }
    const int retransmits = driver->counters.Values().g_nRetransmits;
    EXPECT_EQ(telescope->CommandString("GR", false).size(), ra.size());
    EXPECT_EQ(driver->counters.Values().g_nRetransmits, retransmits);
}

/// How the line fails, and how soon a read of a coordinate must say so.
struct LossRow {
    std::string name;
    bool gone;  ///< the device is unplugged; else the mount is silent
    std::string firmware;
    bool calculates;  ///< altitude and azimuth are computed
};

class LossTest : public SlowLineTest, public testing::WithParamInterface<LossRow> {};

TEST_P(LossTest, ReadOfACoordinate_SaysSoInTime) {
    const LossRow& row = GetParam();
    const std::int64_t limit = row.gone ? 4'000 : 11'000;
    for (std::int64_t phase = 0; phase < 6'000; phase += 370) {
        telescope.reset();
        other.reset();
        driver.reset();
        Connect(row.firmware);
        driver->handBox.chkCalcAzAlt.Checked(row.calculates);
        machine.AdvanceTime(phase);
        row.gone ? machine.serialPorts.Disconnect(1) : mount->SetLineDead(true);
        const std::int64_t start = Now();
        while (ErrorOf([&] { telescope->RightAscension(); }) != 0x80040429U && Now() < start + 60'000) {
            machine.AdvanceTime(50);
        }
        EXPECT_LE(Now() - start, limit) << phase;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, LossTest,
    testing::Values(LossRow{"Gone", true, "VKC4-P02-08", false}, LossRow{"GoneComputed", true, "VKC4-P02-08", true},
                    LossRow{"GoneOld", true, "E3", false}, LossRow{"GoneOldComputed", true, "E3", true},
                    LossRow{"Silent", false, "VKC4-P02-08", false},
                    LossRow{"SilentComputed", false, "VKC4-P02-08", true}, LossRow{"SilentOld", false, "E3", false},
                    LossRow{"SilentOldComputed", false, "E3", true}),
    [](const auto& row) { return row.param.name; });

TEST_F(SlowLineTest, LossIsSaidInTime_AlsoWhereTheSiteWasNeverRead) {
    for (std::int64_t phase = 0; phase < 6'000; phase += 370) {
        telescope.reset();
        other.reset();
        driver.reset();
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}});
        BuildMount("VKC4-P02-08");
        mount->Add(std::make_unique<DropsReply>("Gg"));
        ExpectSwallow("*");
        telescope = ConnectedTelescope();
        other = driver->CreateTelescope();
        machine.AdvanceTime(phase);
        mount->SetLineDead(true);
        const std::int64_t start = Now();
        while (ErrorOf([&] { telescope->RightAscension(); }) != 0x80040429U && Now() < start + 60'000) {
            machine.AdvanceTime(50);
        }
        EXPECT_LE(Now() - start, 11'000) << phase;
        const std::size_t sent = static_cast<std::size_t>(TimesSent("Gg"));
        machine.AdvanceTime(20'000);
        EXPECT_EQ(static_cast<std::size_t>(TimesSent("Gg")), sent) << "the site is not asked of a lost mount";
    }
}

TEST_F(SlowLineTest, MountThatNeverAnswersOneQuery_IsNotLost) {
    for (const char* firmware : {"VKC4-P02-08", "E3"}) {
        for (const char* silent : {"GOS", "GM", "GL", "GS", "GG", "pS", "GA", "GZ"}) {
            telescope.reset();
            other.reset();
            driver.reset();
            Connect(firmware);
            mount->Add(std::make_unique<DropsReply>(silent));
            for (int i = 0; i < 400; ++i) {
                machine.AdvanceTime(100);
                ASSERT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U) << firmware << " " << silent;
            }
        }
    }
}

TEST_F(SlowLineTest, MountThatNeverAnswersThreeQueries_IsNotLost) {
    for (const auto& silent : {std::array{"GOS", "GA", "GZ"}, {"GOS", "GA", "pS"}, {"GOS", "GM", "GZ"}}) {
        telescope.reset();
        other.reset();
        driver.reset();
        Connect("VKC4-P02-08");
        for (const char* query : silent) {
            mount->Add(std::make_unique<DropsReply>(query));
        }
        machine.AdvanceTime(45'000);
        for (int i = 0; i < 400; ++i) {
            machine.AdvanceTime(100);
            ASSERT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U) << silent[1] << " " << silent[2];
        }
    }
}

/// Twenty clients that ask on a dead line, each again a moment after its answer.
class BusyLineTest : public SlowLineTest {
protected:
    static constexpr std::int64_t kLongestQueryMs = kLongestExchangeMs + 500;  // with the drain after a declination
    static constexpr std::int64_t kQueueMs = 700;  // of twenty calls that take 20 ms each, and before the next tick

    void Ask(std::size_t client) {
        const std::int64_t due = Now() + 30;
        machine.pump.PostAt(due, CallKind::Brief, [this, client, due] {
            if (over_) {
                return;
            }
            members_[client % members_.size()]();
            longest_ = std::max(longest_, Now() - due);
            ++answers_;
            Ask(client);
        });
    }
    std::int64_t LongestWait(std::vector<std::function<void()>> members) {
        members_ = std::move(members);
        mount->SetLineDead(true);
        for (std::size_t client = 0; client < 20; ++client) {
            Ask(client);
        }
        machine.AdvanceTime(60'000);
        over_ = true;
        EXPECT_GT(answers_, 150);
        return longest_;
    }

private:
    std::vector<std::function<void()>> members_;
    std::int64_t longest_ = 0;
    int answers_ = 0;
    bool over_ = false;
};

TEST_F(BusyLineTest, Slewing_WaitsForOneQueryAtMost) {
    Connect("E3");
    EXPECT_LE(LongestWait({[&] { telescope->Slewing(); }}), kLongestQueryMs + kQueueMs);
}

TEST_F(BusyLineTest, Slewing_WithAMeridianDelay_WaitsForTheTwoExchangesOfTheTimeAtMost) {
    Connect("VKC4-P02-08");
    EXPECT_LE(LongestWait({[&] { telescope->Slewing(); }}), 2 * kLongestExchangeMs + kQueueMs);
}

TEST_F(BusyLineTest, MembersThatPump_BesideOneAnother_WaitNoLonger) {
    Connect("E3");
    EXPECT_LE(
        LongestWait({[&] { telescope->Slewing(); }, [&] { telescope->AtPark(); }, [&] { other->IsPulseGuiding(); }}),
        kLongestQueryMs + kQueueMs);
}

TEST_F(SlowLineTest, StopDuringASynchronousSlew_WaitsForOneOfTheCallsThatAPumpRuns) {
    Connect("VKC4-P02-08");
    mount->Add(std::make_unique<AnswersLate>("", 200));
    for (std::int64_t offset = 0; offset < 1'200; offset += 90) {
        SCOPED_TRACE(offset);
        telescope->Tracking(true);
        const std::int64_t asked = Now() + 6'000;
        std::int64_t delay = -1;
        for (int i = 0; i < 6; ++i) {
            machine.pump.PostAt(asked, CallKind::Brief, [&] { other->SiteLongitude(); });
        }
        machine.pump.PostAt(asked + offset, CallKind::Stop, [&, due = asked + offset] {
            delay = Now() - due;
            other->AbortSlew();
        });
        machine.pump.Run(CallKind::WaitsLong, [&] {
            telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - (offset % 180 == 0 ? 5.0 : 1.0)),
                                         10.0);
        });
        machine.AdvanceTime(10'000);
        EXPECT_GE(delay, 0);
        EXPECT_LE(delay, 300);
    }
}

TEST_F(SlowLineTest, StopWhileTheSiteIsRead_GetsInBetweenItsExchanges) {
    Connect("VKC4-P02-08");
    mount->Add(std::make_unique<DropsReply>("Gg"));
    mount->Add(std::make_unique<DropsReply>("Gt"));
    for (std::int64_t offset = 0; offset < 6'000; offset += 450) {
        const std::int64_t due = Now() + offset;
        std::int64_t delay = -1;
        machine.pump.PostAt(due, CallKind::Stop, [&] {
            delay = Now() - due;
            other->AbortSlew();
        });
        machine.pump.Run(CallKind::Brief, [&] { driver->connections.ReadMountSite(Notice::LogOnly); });
        machine.AdvanceTime(7'000);
        EXPECT_GE(delay, 0);
        EXPECT_LE(delay, kLongestExchangeMs);
    }
}

}  // namespace
}  // namespace kestrane
