#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kernel/driver.h"
#include "long_runs/slew_plan.h"
#include "simulator/mount_simulator.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// Holds a mount in motion to the rule of the safe slew.
///
/// A goto of the mount itself ends with the counterweight hanging, so what matters is how it gets there. From a hanging
/// counterweight it stays hanging all the way, whichever way round the mount turns: both ends lie within a quarter turn
/// of straight down. From a raised one (the mount has followed a star past the meridian, or was pushed) the shorter way
/// can lead over the top. The rule then takes a first leg to half an hour on the hanging side of the nearer level,
/// written as 0.5 h or 12.5 h from the sidereal time: less than a quarter turn and 7.5 degrees, so down, never up. So
/// in every slew, with whatever legs, a raised counterweight only sinks, and once it hangs it stays hanging: at no
/// moment does it stand higher than at the lowest that it has been since the slew began.
///
/// Two things are granted beside that. A target within a degree in both axes is left to the mount, which may stay on
/// its side and so raise the counterweight by that degree. And up to the first leg, and after the last, the mount
/// tracks: a quarter of a degree a minute.
class CounterweightWatch {
public:
    static constexpr double kShortSlew = 1.0;  // degrees
    static constexpr double kTracking = 0.15;  // degrees; half a minute of it, and the calibration's tiny move

    void Begin(double hourAxis, bool isShort) {
        lowest_ = std::max(CounterweightUp(hourAxis), 0.0);
        granted_ = kTracking + (isShort ? kShortSlew : 0.0);
        tooHighBy_ = 0;
    }
    void See(double hourAxis) {
        const double up = CounterweightUp(hourAxis);
        tooHighBy_ = std::max(tooHighBy_, up - lowest_ - granted_);
        lowest_ = std::max(std::min(lowest_, up), 0.0);
    }
    /// Degrees by which it was ever higher than the rule grants; 0 when it was not.
    double TooHighBy() const { return tooHighBy_; }

private:
    double lowest_ = 0;
    double granted_ = 0;
    double tooHighBy_ = 0;
};

/// A driver on virtual time with one connected client, and a mount whose axes are watched. A slew that has not ended
/// after five minutes is stopped.
class SlewWorld {
public:
    struct Settings {
        bool safeSlew = true;
        bool calibrates = true;
    };

    SlewWorld(const MountSimulatorOptions& options, const Settings& settings);
    ~SlewWorld();

    /// The words of each goto since `BeginSlew`: "right ascension" in hours as the mount was told.
    std::vector<double> GotosSoFar() const;
    /// From here on the motion is held to the rule.
    void BeginSlew(bool isShort);
    /// Asks `Slewing` as a client does until it is false; false when it never was.
    bool WaitForEnd();
    /// Failures that procedures have swallowed, save those that a refusal of the mount brings.
    std::string UnexpectedSwallows() const;

    VirtualPlatform machine;
    MountSimulator mount;
    std::unique_ptr<Driver> driver;
    TelescopeObject telescope;
    CounterweightWatch watch;
    bool wasStuck = false;

private:
    void StopWhatNeverEnds();

    std::unique_ptr<PumpTimer> patience_;
    std::int64_t slewBegan_ = 0;
    std::size_t commandsBefore_ = 0;
};

}  // namespace kestrane
