#include <array>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <sstream>

#include "long_runs/slew_world.h"
#include "simulator/geometry.h"
#include "support/run_length.h"

namespace kestrane {
namespace {

const int kThousand = RunLength(1'000);
constexpr int kSlewsOfOneDriver = 50;
constexpr std::uint32_t kSlewSeed = 20260117;
constexpr double kArrivedDegrees = 0.02;
constexpr double kSameGotoHours = 0.01;
constexpr double kFastDegreesPerSecond = 60;  // so that ten thousand slews take no night

/// KESTRANE_SLEW_SEED in the environment, a number, brings other slews.
std::uint32_t Seed() {
    const char* const given = std::getenv("KESTRANE_SLEW_SEED");
    return given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : kSlewSeed;
}

enum class Call { Slew, SlewAsync, ToTarget, ToTargetAsync };
constexpr std::array kCallNames{"SlewToCoordinates", "SlewToCoordinatesAsync", "SlewToTarget", "SlewToTargetAsync"};

/// What happens to a slew before it has ended: to one that waits, from inside its pump.
enum class Disturbance { None, Abort, SecondSlew };

struct Scene {
    Call call = Call::Slew;
    SkyTarget target;
    Disturbance disturbance = Disturbance::None;
    std::int64_t disturbedAfterMs = 0;
    SkyTarget secondTarget;
    bool secondWaits = false;

    bool Waits() const { return call == Call::Slew || call == Call::ToTarget; }
};

/// One firmware on many sites: from anywhere to anywhere.
class TenThousandSlewsTest : public testing::Test {
protected:
    double Unit() { return static_cast<double>(random_()) / 4294967296.0; }
    double Between(double low, double high) { return low + (high - low) * Unit(); }
    bool Chance(double probability) { return Unit() < probability; }

    template <std::size_t count>
    std::string_view OneOf(const std::array<std::string_view, count>& names) {
        return names[random_() % count];
    }

    void NewWorld(std::string_view firmware, bool needsLegs) {
        MountSimulatorOptions options;
        options.firmware = firmware;
        options.latitude = (Chance(0.5) ? 1 : -1) * Between(1, 80);
        options.longitudeWest = Between(0, 360);
        options.parkedAtPowerOn = false;
        options.slewSpeed = options.slewAcceleration = kFastDegreesPerSecond;
        options.gotoPath = needsLegs ? GotoPath::ShorterWay : GotoPath::CounterweightDown;
        options_ = options;
        needsLegs_ = needsLegs;
        world_.reset();
        world_ = std::make_unique<SlewWorld>(options, SlewWorld::Settings{true, Chance(0.5)});
    }

    /// Hours: mostly anywhere, now and then where the rule turns over.
    double SomeHourAngle() {
        constexpr std::array kTurns{0.0, 6.0, -6.0, 12.0};
        return Chance(0.15) ? kTurns[random_() % kTurns.size()] : Between(-12, 12);
    }
    double SomeDeclination() { return Chance(0.02) ? (Chance(0.5) ? 90 : -90) : Between(-90, 90); }

    /// Puts the mount somewhere above the horizon, or leaves it where the last slew has left it.
    void ChooseStart() {
        if (Chance(0.25)) {
            return;
        }
        MountPointing start;
        do {
            start.hourAngle = SomeHourAngle();
            start.declination = SomeDeclination();
        } while (simulator::ToHorizontal({simulator::FoldDegrees(start.hourAngle * 15), start.declination},
                                         options_.latitude)
                         .altitude < 0 &&
                 !Chance(0.05));
        const bool hangsInTheWest = start.hourAngle < 0;
        start.westSide = Chance(0.5) ? hangsInTheWest : !hangsInTheWest;
        world_->mount.Place(start);
    }

    SkyTarget SomeTarget(const MountPicture& from) {
        SkyTarget target;
        if (Chance(0.15)) {  // around a degree away
            target = {simulator::FoldHours(from.rightAscension + Between(-0.08, 0.08)),
                      from.declination + Between(-1.2, 1.2)};
        } else {
            target = {simulator::FoldHours(from.siderealTime - SomeHourAngle()), SomeDeclination()};
        }
        target.declination = std::clamp(target.declination, -90.0, 90.0);
        return target;
    }

    Scene ChooseScene(const MountPicture& from) {
        Scene scene;
        scene.call = static_cast<Call>(random_() % kCallNames.size());
        scene.target = SomeTarget(from);
        if (Chance(0.2)) {
            scene.disturbance = Chance(0.5) ? Disturbance::Abort : Disturbance::SecondSlew;
            scene.disturbedAfterMs = static_cast<std::int64_t>(Between(0, 8'000));
            // Far away, so that no rule of short slews can come into it.
            scene.secondTarget = {simulator::FoldHours(scene.target.rightAscension + 12), -scene.target.declination};
            scene.secondWaits = Chance(0.5);
        }
        return scene;
    }

    void Command(const Scene& scene) {
        Telescope& telescope = *world_->telescope;
        switch (scene.call) {
            case Call::Slew:
                telescope.SlewToCoordinates(scene.target.rightAscension, scene.target.declination);
                return;
            case Call::SlewAsync:
                telescope.SlewToCoordinatesAsync(scene.target.rightAscension, scene.target.declination);
                return;
            case Call::ToTarget:
            case Call::ToTargetAsync:
                telescope.TargetRightAscension(scene.target.rightAscension);
                telescope.TargetDeclination(scene.target.declination);
                scene.Waits() ? telescope.SlewToTarget() : telescope.SlewToTargetAsync();
                return;
        }
    }

    /// Lays the disturbance of a slew that waits into its pump, ahead of the call.
    void PostDisturbance(const Scene& scene) {
        disturbed_ = false;
        if (!scene.Waits() || scene.disturbance == Disturbance::None) {
            return;
        }
        CallKind kind = scene.secondWaits ? CallKind::WaitsLong : CallKind::Brief;
        if (scene.disturbance == Disturbance::Abort) {
            kind = CallKind::Stop;
        }
        const std::int64_t due = world_->machine.clock.Elapsed() + scene.disturbedAfterMs;
        world_->machine.pump.PostAt(due, kind, [this, scene, slew = slews_] {
            if (slew == slews_ && commanding_) {  // not after the slew that it was meant for
                DisturbNow(scene, scene.secondWaits);
            }
        });
    }

    void Disturb(const Scene& scene) {
        if (!scene.Waits() && scene.disturbance != Disturbance::None) {
            world_->machine.AdvanceTime(scene.disturbedAfterMs);
            DisturbNow(scene, false);
        }
    }

    void DisturbNow(const Scene& scene, bool waits) {
        disturbed_ = true;
        gotosBefore_ = world_->GotosSoFar().size();
        if (scene.disturbance == Disturbance::Abort) {
            world_->telescope->AbortSlew();
            return;
        }
        const SkyTarget& target = scene.secondTarget;
        waits ? world_->telescope->SlewToCoordinates(target.rightAscension, target.declination)
              : world_->telescope->SlewToCoordinatesAsync(target.rightAscension, target.declination);
    }

    /// The mount is never sent back to what another slew has replaced, nor anywhere by an abort.
    void ExpectLastWord(const Scene& scene) const {
        const std::vector<double> gotos = world_->GotosSoFar();
        if (scene.disturbance == Disturbance::Abort) {
            EXPECT_EQ(gotos.size(), gotosBefore_) << "a goto follows an abort";
            return;
        }
        for (std::size_t i = gotosBefore_; i < gotos.size(); ++i) {
            EXPECT_GT(std::abs(simulator::FoldHourAngle(gotos[i] - scene.target.rightAscension)), 1e-4)
                << "goto " << i << " takes the telescope back";
        }
    }

    /// A slew that has replaced another ends at its own target, and never at the end of its first leg.
    void ExpectSecondArrival(const Scene& scene, const MountPicture& start) {
        const std::vector<double> gotos = world_->GotosSoFar();
        if (gotos.size() == gotosBefore_) {
            return;
        }
        const MountPicture end = world_->mount.Picture();
        const SkyTarget& target = scene.secondTarget;
        if (std::abs(simulator::FoldHourAngle(gotos.back() - target.rightAscension)) > kSameGotoHours) {
            EXPECT_GT(std::abs(simulator::FoldHourAngle(gotos.back() - end.rightAscension)), kSameGotoHours)
                << "the second slew has ended at its first leg";
        } else if (PlanOf(start, target, needsLegs_).targetIsUp == Foretold::Yes) {
            EXPECT_LT(Separation({end.rightAscension, end.declination}, target), kArrivedDegrees)
                << "degrees off the second target";
            ++secondArrivals_;
        }
    }

    void ExpectArrival(const SlewPlan& plan, const MountPicture& start, const SkyTarget& target) const {
        const MountPicture end = world_->mount.Picture();
        const double off = Separation({end.rightAscension, end.declination}, target);
        const bool wasThere = Separation({start.rightAscension, start.declination}, target) < 2 * kArrivedDegrees;
        if (plan.targetIsUp == Foretold::No && !wasThere) {
            EXPECT_GT(off, kArrivedDegrees) << "the target is below the horizon";
        } else if (plan.targetIsUp == Foretold::Yes &&
                   (plan.twoLegs == Foretold::No || plan.firstLegIsUp == Foretold::Yes)) {
            EXPECT_LT(off, kArrivedDegrees) << "degrees off the target";
        }
    }

    /// The gotos that the mount was told, as right ascensions: the direct one, or the leg to the intermediate point and
    /// the second one, which a slew that waits sends once more. No second leg stands without its first.
    void ExpectGotos(const SlewPlan& plan, const Scene& scene, double siderealTime) const {
        const std::vector<double> gotos = world_->GotosSoFar();
        if (plan.twoLegs == Foretold::Unsure || plan.isShort == Foretold::Unsure ||
            plan.firstLegIsUp == Foretold::Unsure) {
            return;
        }
        std::vector<double> wanted(1, scene.target.rightAscension);
        if (plan.twoLegs == Foretold::Yes) {
            const double via = simulator::FoldHours(siderealTime - plan.viaHourAngle);
            wanted = plan.firstLegIsUp == Foretold::No
                         ? std::vector<double>{via}
                         : std::vector<double>{via, scene.target.rightAscension, scene.target.rightAscension};
            if (!scene.Waits() && wanted.size() > 1) {
                wanted.pop_back();
            }
        }
        ASSERT_EQ(gotos.size(), wanted.size());
        for (std::size_t i = 0; i < gotos.size(); ++i) {
            EXPECT_LT(std::abs(simulator::FoldHourAngle(gotos[i] - wanted[i])), 0.01)
                << "goto " << i << " to RA " << gotos[i];
        }
    }

    void OneSlew() {
        ChooseStart();
        world_->machine.AdvanceTime(static_cast<std::int64_t>(Between(0, 1'500)));
        const MountPicture start = world_->mount.Picture();
        const Scene scene = ChooseScene(start);
        SCOPED_TRACE(Words(start, scene));
        const SlewPlan plan = PlanOf(start, scene.target, needsLegs_);
        world_->BeginSlew(plan.isShort != Foretold::No);
        PostDisturbance(scene);
        commanding_ = true;
        Command(scene);
        commanding_ = false;
        Disturb(scene);
        ASSERT_TRUE(world_->WaitForEnd()) << "Slewing stays true";
        switch (disturbed_ ? scene.disturbance : Disturbance::None) {
            case Disturbance::None:
                ExpectArrival(plan, start, scene.target);
                ExpectGotos(plan, scene, start.siderealTime);
                break;
            case Disturbance::Abort:
                world_->machine.AdvanceTime(3'000);
                ExpectLastWord(scene);
                break;
            case Disturbance::SecondSlew:
                // One that the mount refuses ends the supervision, and the mount goes on to its first target.
                world_->machine.AdvanceTime(15'000);
                ExpectLastWord(scene);
                ExpectSecondArrival(scene, start);
                break;
        }
        disturbedWaiting_ += disturbed_ && scene.Waits() ? 1 : 0;
        EXPECT_EQ(world_->watch.TooHighBy(), 0) << "degrees by which the counterweight was too high";
        inTwoLegs_ += plan.twoLegs == Foretold::Yes ? 1 : 0;
    }

    std::string Words(const MountPicture& start, const Scene& scene) const {
        std::ostringstream words;
        words << "KESTRANE_SLEW_SEED=" << Seed() << ", slew " << slews_ << ": " << options_.firmware << " at latitude "
              << options_.latitude << ", from hour angle " << start.hourAngle << " h, Dec " << start.declination
              << (start.westSide ? ", west side (hour axis " : ", east side (hour axis ") << start.hourAxis << "), "
              << kCallNames[static_cast<std::size_t>(scene.call)] << " to hour angle "
              << simulator::FoldHourAngle(start.siderealTime - scene.target.rightAscension) << " h, Dec "
              << scene.target.declination;
        if (scene.disturbance != Disturbance::None) {
            words << (scene.disturbance == Disturbance::Abort ? ", aborted"
                      : scene.secondWaits                     ? ", a second slew that waits"
                                                              : ", a second slew")
                  << " after " << scene.disturbedAfterMs << " ms";
        }
        return words.str();
    }

    template <std::size_t count>
    void Slews(int thousands, const std::array<std::string_view, count>& firmwares, bool needsLegs) {
        std::cout << "KESTRANE_SLEW_SEED=" << Seed() << std::endl;
        random_.seed(Seed() + static_cast<std::uint32_t>(count));
        for (slews_ = 0; slews_ < thousands * kThousand && !HasFailure(); ++slews_) {
            if (slews_ % kSlewsOfOneDriver == 0) {
                NewWorld(OneOf(firmwares), needsLegs);
            }
            OneSlew();
            if (slews_ % kSlewsOfOneDriver == kSlewsOfOneDriver - 1) {
                EXPECT_EQ(world_->UnexpectedSwallows(), "");
            }
        }
    }

    std::mt19937 random_;
    MountSimulatorOptions options_;
    bool needsLegs_ = false;
    std::unique_ptr<SlewWorld> world_;
    std::size_t gotosBefore_ = 0;
    bool disturbed_ = false;
    bool commanding_ = false;
    int disturbedWaiting_ = 0;
    int secondArrivals_ = 0;
    int slews_ = 0;
    int inTwoLegs_ = 0;
};

constexpr std::array<std::string_view, 4> kWithStatus{"VKC4-P01-01", "S", "U", "E3"};
constexpr std::array<std::string_view, 3> kWithoutStatus{"D", "E", "EK"};
constexpr std::array<std::string_view, 2> kSafeByItself{"VKC4-P02-08", "VKC4-P01-03"};

TEST_F(TenThousandSlewsTest, WatchedByTheStatusText_NeverRaiseTheCounterweight_AndEndAtTheirTargets) {
    Slews(4, kWithStatus, true);
    EXPECT_GT(inTwoLegs_, kThousand * 4 / 5);
    EXPECT_GT(disturbedWaiting_, kThousand / 10);
    EXPECT_GT(secondArrivals_, kThousand / 20);
}

TEST_F(TenThousandSlewsTest, WatchedByDistance_NeverRaiseTheCounterweight_AndEndAtTheirTargets) {
    Slews(4, kWithoutStatus, true);
    EXPECT_GT(inTwoLegs_, kThousand * 4 / 5);
    EXPECT_GT(disturbedWaiting_, kThousand / 10);
    EXPECT_GT(secondArrivals_, kThousand / 20);
}

TEST_F(TenThousandSlewsTest, OfFirmwareThatIsSafeByItself_GoInOneLeg_AndEndAtTheirTargets) {
    Slews(2, kSafeByItself, false);
    EXPECT_EQ(inTwoLegs_, 0);
}

/// What the first leg is for, and that the watch would see its want.
TEST_F(TenThousandSlewsTest, WithoutTheRule_AMountThatTurnsTheShorterWay_GoesOverTheTop) {
    MountSimulatorOptions options;
    options.firmware = "VKC4-P01-01";
    options.start = {4.0, 70.0, true};  // the tube on the west side, 4 h past the meridian: 60 degrees up
    options.parkedAtPowerOn = false;
    options.gotoPath = GotoPath::ShorterWay;
    for (const bool safeSlew : {true, false}) {
        SlewWorld world(options, {safeSlew, false});
        const SkyTarget target{simulator::FoldHours(world.mount.Picture().siderealTime + 11.0), 80.0};
        world.BeginSlew(false);
        world.telescope->SlewToCoordinates(target.rightAscension, target.declination);
        const MountPicture end = world.mount.Picture();
        EXPECT_LT(Separation({end.rightAscension, end.declination}, target), kArrivedDegrees);
        if (safeSlew) {
            EXPECT_EQ(world.watch.TooHighBy(), 0.0);
        } else {
            EXPECT_GT(world.watch.TooHighBy(), 25.0);
        }
    }
}

}  // namespace
}  // namespace kestrane
