#include <algorithm>
#include <deque>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <random>

#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"
#include "support/run_length.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kSeed = 20241103;
constexpr std::int64_t kSecond = 1'000;
constexpr std::int64_t kMinute = 60 * kSecond;
// Cycles of ten minutes.
const int kCycles = RunLength(60);
const int kCyclesByDistance = RunLength(12);
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHeapIsCounted = false;
#else
constexpr bool kHeapIsCounted = true;
#endif
constexpr std::int64_t kCycle = 10 * kMinute;
constexpr std::int64_t kStorm = 7 * kMinute;
constexpr std::int64_t kSettling = 20 * kSecond;  // of a calm, before anything is demanded
constexpr std::int64_t kCalm = 3 * kMinute - kSettling;
constexpr std::int64_t kOldest = 1'500;  // a coordinate: a second, a tick, and the exchanges that run meanwhile
constexpr double kNearPole = 80.0;       // degrees, of the sky's pole or the zenith
constexpr double kNearNorth = 10.0;      // degrees
constexpr std::int32_t kSampleMs = 100;
constexpr std::size_t kGrowthAllowed = 512 * 1024;
/// Milliseconds until the journal of the night, which keeps six hours, grows no more.
constexpr std::int64_t kJournalIsFull = 7 * 60 * kMinute;

/// A night of polling with reading clients, without a log.
class NightTest : public DriverFixture {
protected:
    struct Sample {
        std::int64_t at;
        double ra;
        double dec;
        double alt;
        double az;
    };

    explicit NightTest(const std::string& firmware = "VKC4-P02-08") : random_(kSeed) {
        BuildMount(firmware);
        ExpectSwallow("*");  // a storm costs exchanges of every kind
        Seed({{"chkEnableDebugLog", "0"}});
        driver = Main(machine.Services(), true);
        for (int i = 0; i < 4; ++i) {
            clients_.push_back(driver->CreateTelescope());
            clients_.back()->Connected(true);
            readers_.push_back(machine.pump.CreateTimer([this, i] { Read(*clients_[static_cast<std::size_t>(i)]); }));
            readers_.back()->SetInterval(700 + 100 * i);
            readers_.back()->SetEnabled(true);
        }
    }

    void TearDown() override {
        readers_.clear();
        clients_.clear();
        DriverFixture::TearDown();
    }

    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    /// What a planetarium asks for. Communications that are lost are told to it; no other error is.
    void Read(Telescope& client) {
        const auto read = [](auto&& member) {
            try {
                member();
            } catch (const DriverError& error) {
                EXPECT_EQ(error.Number(), 0x80040429U) << error.what();
            }
        };
        read([&] { client.RightAscension(); });
        read([&] { client.Declination(); });
        read([&] { client.Azimuth(); });
        read([&] { client.SiderealTime(); });
        read([&] { client.SideOfPier(); });
        read([&] { client.Slewing(); });
        ++reads_;
    }

    void Storm() {
        mount->Add(std::make_unique<RandomStorm>(random_(), 0.02 + 0.01 * Below(25)));
        std::int64_t left = kStorm;
        while (left > 0) {
            const std::int64_t step = std::min<std::int64_t>(left, kSecond * (1 + Below(60)));
            mount->SetLineDead(Below(4) == 0);  // a silence of up to a minute
            machine.AdvanceTime(step);
            left -= step;
        }
        mount->SetLineDead(false);
        mount->ClearMisbehaviours();
    }

    /// A goto in the calm, so that old coordinates differ from new ones.
    void SlewSomewhere() {
        const MountPicture picture = mount->Picture();
        const double ra = NormalizeHours(picture.siderealTime - 4.0 + 0.1 * Below(80));
        const double dec = -10.0 + Below(90);
        clients_.front()->SlewToCoordinatesAsync(ra, dec);
        ++slews_;
    }

    /// In a calm each coordinate is one that the mount had a moment ago.
    void CheckFreshness() {
        const MountPicture picture = mount->Picture();
        const std::int64_t now = machine.clock.Elapsed();
        samples_.push_back({now, picture.rightAscension, picture.declination, picture.altitude, picture.azimuth});
        while (now - samples_.front().at > kOldest) {
            samples_.pop_front();
        }
        const auto had = [&](double value, double Sample::*member, double rounding) {
            const auto [low, high] = std::ranges::minmax(samples_, {}, member);
            return value >= low.*member - rounding && value <= high.*member + rounding;
        };
        if (now - samples_.front().at < kOldest - kSampleMs) {
            return;
        }
        // At the pole the right ascension jumps and the declination turns, and between two samples they are neither.
        if (std::ranges::any_of(samples_, [](const Sample& sample) { return std::abs(sample.dec) > kNearPole; })) {
            return;
        }
        EXPECT_TRUE(had(driver->state.g_dRa, &Sample::ra, 0.001)) << "RA " << driver->state.g_dRa << " at " << now;
        EXPECT_TRUE(had(driver->state.g_dDec, &Sample::dec, 0.001)) << "Dec " << driver->state.g_dDec << " at " << now;
        // Their rounding leaves room for a turn between two samples, but not at the zenith, where the altitude turns at
        // once. There and at north the azimuth jumps.
        if (std::ranges::none_of(samples_, [](const Sample& sample) { return sample.alt > kNearPole; })) {
            EXPECT_TRUE(had(driver->state.g_dAlt, &Sample::alt, 0.05))
                << "Alt " << driver->state.g_dAlt << " at " << now;
        }
        if (std::ranges::none_of(samples_, [](const Sample& sample) {
                return sample.alt > kNearPole || sample.az < kNearNorth || sample.az > 360.0 - kNearNorth;
            })) {
            EXPECT_TRUE(had(driver->state.g_dAz, &Sample::az, 0.1)) << "Az " << driver->state.g_dAz << " at " << now;
            ++azimuthChecks_;
        }
        ++checks_;
    }

    void Calm() {
        machine.AdvanceTime(kSettling);
        samples_.clear();
        SlewSomewhere();
        for (std::int64_t left = kCalm; left > 0 && !HasFailure(); left -= kSampleMs) {
            machine.AdvanceTime(kSampleMs);
            CheckFreshness();
        }
    }

    void ExpectNothingStuck() {
        const DriverState& state = driver->state;
        EXPECT_FALSE(state.g_bLostComms);
        EXPECT_FALSE(state.g_bLowPower);
        EXPECT_FALSE(state.g_bResync);
        EXPECT_FALSE(state.g_bInPoll);
        EXPECT_FALSE(state.g_bPollSuspended);
        EXPECT_FALSE(state.g_bSlewing);
        EXPECT_FALSE(state.g_bMountSlewing);
        EXPECT_FALSE(state.g_bSafeSlewPending);
        EXPECT_FALSE(state.g_bSlewCompletePending);
        EXPECT_FALSE(state.g_bAbortSlew);
        EXPECT_FALSE(state.g_bAbortPark);
        EXPECT_FALSE(state.g_bFlashShowing);
        EXPECT_FALSE(driver->handBox.tmrSlewFlashUI.Enabled());
        EXPECT_EQ(state.g_bGosActive, state.g_bGosSupported);
        EXPECT_FALSE(state.g_bParked);
        EXPECT_FALSE(state.g_bParking);
        EXPECT_TRUE(state.g_bTracking);
        EXPECT_EQ(state.g_nNoResponse, 0);
        EXPECT_EQ(mount->Picture().meridianDelay, 0.0);
        EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
    }

    void ExpectCountersGrow() {
        const CounterState& now = driver->counters.Values();
        for (const auto counter : {&CounterState::g_nRetransmits, &CounterState::g_nReceiveCountedErrors,
                                   &CounterState::g_nReceiveTerminatedErrors, &CounterState::g_nMotorStalls,
                                   &CounterState::g_nServoFaults, &CounterState::g_nLowPower}) {
            EXPECT_GE(now.*counter, counters_.*counter);
        }
        counters_ = now;
    }

    /// Bytes of the heap, without the list of commands that the simulated mount keeps.
    std::size_t Heap() const {
        const auto use = mallinfo2();
        return use.uordblks + use.hblkhd - mount->Commands().capacity() * sizeof(std::string);
    }

    std::mt19937 random_;
    std::vector<TelescopeObject> clients_;
    std::vector<std::unique_ptr<PumpTimer>> readers_;
    std::deque<Sample> samples_;
    CounterState counters_;
    int reads_ = 0;
    int slews_ = 0;
    int checks_ = 0;
    int azimuthChecks_ = 0;
};

TEST_F(NightTest, TenHoursOfFaults_LeaveFreshCoordinatesAndNothingStuck) {
    std::cout << "seed " << kSeed << std::endl;
    std::size_t heapOfFullJournal = 0;
    for (int cycle = 0; cycle < kCycles && !HasFailure(); ++cycle) {
        SCOPED_TRACE("cycle " + std::to_string(cycle));
        Storm();
        Calm();
        ExpectNothingStuck();
        ExpectCountersGrow();
        if (heapOfFullJournal == 0 && machine.clock.Elapsed() > kJournalIsFull) {
            heapOfFullJournal = Heap();
        }
    }
    EXPECT_GE(machine.clock.Elapsed(), kCycles * kCycle);
    if (kHeapIsCounted && heapOfFullJournal > 0) {
        EXPECT_LE(Heap(), heapOfFullJournal + kGrowthAllowed);
    }
    EXPECT_EQ(slews_, kCycles);
    EXPECT_GT(reads_, 1'600 * kCycles);
    EXPECT_GT(checks_, 800 * kCycles);
    EXPECT_GT(azimuthChecks_, 400 * kCycles);
    EXPECT_GT(counters_.g_nRetransmits, 2 * kCycles) << "the storms have struck";
}

/// The same with firmware that has no status text: slews end by their distance.
class NightByDistanceTest : public NightTest {
protected:
    NightByDistanceTest() : NightTest("D") {}
};

TEST_F(NightByDistanceTest, TwoHoursOfFaults_LeaveFreshCoordinatesAndNothingStuck) {
    std::cout << "seed " << kSeed << std::endl;
    for (int cycle = 0; cycle < kCyclesByDistance && !HasFailure(); ++cycle) {
        SCOPED_TRACE("cycle " + std::to_string(cycle));
        Storm();
        Calm();
        ExpectNothingStuck();
        ExpectCountersGrow();
    }
    EXPECT_GE(machine.clock.Elapsed(), kCyclesByDistance * kCycle);
    EXPECT_FALSE(driver->state.g_bGosSupported);
    EXPECT_GT(checks_, 800 * kCyclesByDistance);
    EXPECT_GT(azimuthChecks_, 400 * kCyclesByDistance);
    EXPECT_GT(counters_.g_nRetransmits, 2 * kCyclesByDistance) << "the storms have struck";
}

}  // namespace
}  // namespace kestrane
