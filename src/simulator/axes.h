#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "simulator/geometry.h"

namespace kestrane::simulator {

enum class AxisName { Hour, Polar };

/// The two motors: positions, speeds and commanded motions, in steps of a millisecond while a speed changes. A motion
/// by goto or button is added to the steady tracking rates and changes its speed by ramps; tracking rates change at
/// once.
class Axes {
public:
    /// `acceleration` in degrees per second squared.
    Axes(double acceleration, AxisAngles angles, PierSide side);

    void Advance(std::int64_t milliseconds);

    /// Steady rates in degrees per second.
    void Track(double hourRate, double polarRate);
    /// Goes to `target`, which itself moves at `targetHourRate` degrees per second; ends all other motion.
    void Goto(AxisAngles target, double targetHourRate, double speed);
    /// Runs one axis at `rate` degrees per second (signed), without end or for `milliseconds`.
    void Run(AxisName axis, double rate, std::optional<std::int32_t> milliseconds);
    void StopRun(AxisName axis);
    /// Stops gotos and runs with the acceleration; tracking goes on.
    void StopAll();
    /// Sets the position of the axes; any motion ends.
    void Set(AxisAngles angles, PierSide side);

    /// Called with both positions after each step; may be empty.
    void Watch(std::function<void(double hour, double polar)> observer) { observer_ = std::move(observer); }

    /// A goto stops suddenly this many degrees before its end; 0 for none.
    void StallShortBy(double degrees) { stallShortBy_ = degrees; }

    bool Slewing() const { return slewing_ || coasting_; }  ///< a goto runs, or is slowing down to a stop
    bool Stalled() const { return stalled_; }               ///< the last goto stalled
    bool Arrived() const { return arrived_; }               ///< the last goto came to its end
    AxisAngles Angles() const { return {hour_.position, polar_.position}; }
    /// Degrees per second, tracking included.
    AxisAngles Speeds() const;
    PierSide Side() const { return side_; }

private:
    struct Axis {
        double position = 0;
        double tracking = 0;
        double speed = 0;   // on top of tracking
        double wanted = 0;  // speed that the ramp goes to
        double target = 0;
        double targetRate = 0;
        bool there = false;
        std::optional<std::int32_t> runLeftMs;

        bool Steady() const { return speed == wanted && !runLeftMs; }
    };

    Axis& Of(AxisName axis) { return axis == AxisName::Hour ? hour_ : polar_; }
    void Step(double seconds);
    void StepGoto(Axis& axis, double seconds) const;
    void StepRun(Axis& axis, double seconds) const;
    void Ramp(Axis& axis, double wanted, double seconds) const;
    void CheckStall();
    void FollowSide();
    void TellObserver() const;

    double acceleration_;
    double gotoSpeed_ = 0;
    double stallShortBy_ = 0;
    Axis hour_;
    Axis polar_;
    PierSide side_;
    std::function<void(double hour, double polar)> observer_;
    bool slewing_ = false;
    bool coasting_ = false;
    bool stalled_ = false;
    bool arrived_ = false;
};

}  // namespace kestrane::simulator
