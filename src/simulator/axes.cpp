#include "simulator/axes.h"

#include <algorithm>
#include <cmath>

namespace kestrane::simulator {
namespace {

constexpr double kStepSeconds = 0.001;

}  // namespace

Axes::Axes(double acceleration, AxisAngles angles, PierSide side) : acceleration_(acceleration), side_(side) {
    Set(angles, side);
}

void Axes::Set(AxisAngles angles, PierSide side) {
    slewing_ = coasting_ = false;
    side_ = side;
    for (Axis* axis : {&hour_, &polar_}) {
        axis->speed = axis->wanted = 0;
        axis->runLeftMs.reset();
    }
    hour_.position = angles.hour;
    polar_.position = angles.polar;
}

void Axes::Track(double hourRate, double polarRate) {
    hour_.tracking = hourRate;
    polar_.tracking = polarRate;
}

void Axes::Goto(AxisAngles target, double targetHourRate, double speed) {
    for (Axis* axis : {&hour_, &polar_}) {
        axis->runLeftMs.reset();
        axis->wanted = 0;
        axis->there = false;
    }
    hour_.target = target.hour;
    hour_.targetRate = targetHourRate;
    polar_.target = target.polar;
    polar_.targetRate = 0;
    gotoSpeed_ = speed;
    slewing_ = true;
    coasting_ = stalled_ = arrived_ = false;
}

void Axes::Run(AxisName name, double rate, std::optional<std::int32_t> milliseconds) {
    Axis& axis = Of(name);
    axis.wanted = rate;
    axis.runLeftMs = milliseconds;
}

void Axes::StopRun(AxisName name) {
    Run(name, 0, std::nullopt);
}

void Axes::StopAll() {
    coasting_ = coasting_ || slewing_;
    slewing_ = false;
    StopRun(AxisName::Hour);
    StopRun(AxisName::Polar);
}

AxisAngles Axes::Speeds() const {
    const double hourRate = slewing_ ? hour_.targetRate : hour_.tracking;
    const double polarRate = slewing_ ? polar_.targetRate : polar_.tracking;
    return {hour_.speed + hourRate, polar_.speed + polarRate};
}

void Axes::Advance(std::int64_t milliseconds) {
    for (; milliseconds > 0 && (slewing_ || !hour_.Steady() || !polar_.Steady()); --milliseconds) {
        Step(kStepSeconds);
    }
    const double seconds = static_cast<double>(milliseconds) / 1000.0;
    for (Axis* axis : {&hour_, &polar_}) {
        axis->position += (axis->speed + axis->tracking) * seconds;
    }
    FollowSide();
    TellObserver();
}

void Axes::Step(double seconds) {
    if (slewing_) {
        StepGoto(hour_, seconds);
        StepGoto(polar_, seconds);
        CheckStall();
        if (slewing_ && hour_.there && polar_.there) {
            slewing_ = false;
            arrived_ = true;
        }
    } else {
        StepRun(hour_, seconds);
        StepRun(polar_, seconds);
        coasting_ = coasting_ && (hour_.speed != 0 || polar_.speed != 0);
    }
    FollowSide();
    TellObserver();
}

void Axes::TellObserver() const {
    if (observer_) {
        observer_(hour_.position, polar_.position);
    }
}

void Axes::Ramp(Axis& axis, double wanted, double seconds) const {
    const double most = acceleration_ * seconds;
    axis.speed += std::clamp(wanted - axis.speed, -most, most);
}

void Axes::StepGoto(Axis& axis, double seconds) const {
    axis.target += axis.targetRate * seconds;
    axis.position += axis.targetRate * seconds;
    const double left = axis.target - axis.position;
    if (axis.there) {
        axis.position = axis.target;
        return;
    }
    // The speed from which the acceleration, applied in steps, brings the axis to rest exactly at the target.
    const double halfStep = acceleration_ * seconds / 2;
    const double braking = std::sqrt(halfStep * halfStep + 2 * acceleration_ * std::abs(left)) - halfStep;
    Ramp(axis, std::copysign(std::min(gotoSpeed_, braking), left), seconds);
    const bool slow = std::abs(axis.speed) <= 4 * acceleration_ * seconds;
    if (slow && std::abs(left) <= 2 * acceleration_ * seconds * seconds) {
        axis.position = axis.target;
        axis.speed = 0;
        axis.there = true;
        return;
    }
    axis.position += axis.speed * seconds;
}

void Axes::StepRun(Axis& axis, double seconds) const {
    Ramp(axis, axis.wanted, seconds);
    axis.position += (axis.speed + axis.tracking) * seconds;
    if (axis.runLeftMs && --*axis.runLeftMs <= 0) {
        axis.runLeftMs.reset();
        axis.wanted = 0;
    }
}

void Axes::CheckStall() {
    if (stallShortBy_ <= 0) {
        return;
    }
    const double left = std::hypot(hour_.target - hour_.position, polar_.target - polar_.position);
    if (left > stallShortBy_) {
        return;
    }
    slewing_ = false;
    stalled_ = true;
    hour_.speed = polar_.speed = 0;
    hour_.wanted = polar_.wanted = 0;
}

void Axes::FollowSide() {
    if (polar_.position != 0) {
        side_ = polar_.position > 0 ? PierSide::East : PierSide::West;
    }
}

}  // namespace kestrane::simulator
