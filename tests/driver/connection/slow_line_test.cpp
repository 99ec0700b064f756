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

TEST_F(SlowLineTest, DeviceThatIsGone_IsDeclaredLostWithinFourSeconds) {
    for (const char* firmware : {"VKC4-P02-08", "E3"}) {
        for (const bool gone : {true}) {
            std::int64_t longest = 0;
            for (std::int64_t phase = 0; phase < 6'000; phase += 370) {
                telescope.reset();
                other.reset();
                driver.reset();
                Connect(firmware);
                machine.AdvanceTime(phase);
                if (gone) {
                    machine.serialPorts.Disconnect(1);
                } else {
                    mount->SetLineDead(true);
                }
                const std::int64_t start = Now();
                while (!driver->state.g_bLostComms && Now() < start + 60'000) {
                    machine.AdvanceTime(50);
                }
                longest = std::max(longest, Now() - start);
                mount->SetLineDead(false);
            }
            EXPECT_LE(longest, 4'000) << firmware;
        }
    }
}

TEST_F(SlowLineTest, Slewing_OfSixClients_WaitsForTwoExchangesAtMost) {
    Connect("VKC4-P02-08");
    mount->SetLineDead(true);
    std::vector<std::int64_t> waited;
    const std::int64_t start = Now();
    for (int client = 0; client < 6; ++client) {
        for (std::int64_t due = start + client * 30; due < start + 8'000; due += 700) {
            machine.pump.PostAt(due, CallKind::Brief, [&, due] {
                telescope->Slewing();
                waited.push_back(Now() - due);
            });
        }
    }
    machine.AdvanceTime(60'000);
    EXPECT_GT(waited.size(), 60U);
    EXPECT_LE(*std::max_element(waited.begin(), waited.end()), 2 * kLongestExchangeMs);
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
