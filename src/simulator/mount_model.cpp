#include "simulator/mount_model.h"

#include <array>
#include <cassert>
#include <cmath>

namespace kestrane::simulator {
namespace {

// Where the axes are at power-on: in the home position when parked, else pointing at the western sky.
constexpr AxisAngles kHome{0, 0};
constexpr AxisAngles kUnparkedStart{-45, 45};

// For a mount that turns the shorter way, degrees: with a target this near in both axes, the tube keeps its side. The
// way over the top must be shorter by this much, since a change of side alone is half a turn either way.
constexpr double kNudge = 1;
constexpr double kShorterBy = 2;

constexpr double kFullSpeedMultiple = 1200;  // the rate at which the slew speed of the options holds

constexpr std::array<AxisAngles, 5> kFixedParks{{{0, 0}, {-90, 90}, {90, -90}, {0, 90}, {0, -90}}};

PierSide SideOf(const MountPointing& pointing) {
    return pointing.westSide ? PierSide::West : PierSide::East;
}

AxisAngles AxesOf(const MountPointing& pointing, double latitude) {
    return AxesFor({FoldDegrees(pointing.hourAngle * 15), pointing.declination}, SideOf(pointing), latitude);
}

bool IsNudge(const AxisAngles& from, const AxisAngles& to) {
    return std::abs(FoldDegrees(to.hour - from.hour)) <= kNudge && std::abs(to.polar - from.polar) <= kNudge;
}

}  // namespace

MountModel::MountModel(const MountSimulatorOptions& options, const Firmware& family, const DateTime& local, double zone)
    : firmware(family),
      clock(local, zone),
      axes(options.slewAcceleration, options.parkedAtPowerOn ? kHome : kUnparkedStart, PierSide::East),
      longitudeWest(FoldCircle(options.longitudeWest)),
      longFormat(options.longFormat),
      shortAngles(options.shortAngles),
      latitude_(options.latitude),
      slewSpeed_(options.slewSpeed),
      minimumElevation_(options.minimumElevation),
      gotoPath_(options.gotoPath),
      parked_(options.parkedAtPowerOn),
      initialised_(!options.parkedAtPowerOn) {
    if (options.start && !options.parkedAtPowerOn) {
        Place(*options.start);
    }
    FollowTracking();
}

void MountModel::Advance(std::int64_t milliseconds) {
    clock.Advance(milliseconds);
    focuser.Advance(milliseconds);
    // Parks at the very end of the goto, even when the next look is much later.
    for (; parksOnArrival_ && milliseconds > 0 && axes.Slewing(); --milliseconds) {
        axes.Advance(1);
        if (axes.Arrived()) {
            Park();
        }
    }
    axes.Advance(milliseconds);
}

double MountModel::RightAscension() const {
    return initialised_ ? FoldHours(SiderealTime() - DirectionOf(axes.Angles(), axes.Side(), latitude_).hourAngle / 15)
                        : 0.0;
}

double MountModel::Declination() const {
    return initialised_ ? DirectionOf(axes.Angles(), axes.Side(), latitude_).declination : 90.0;
}

double MountModel::HourAngle() const {
    return FoldHourAngle(SiderealTime() - RightAscension());
}

Horizontal MountModel::AltAz() const {
    return ToHorizontal(DirectionOf(axes.Angles(), axes.Side(), latitude_), latitude_);
}

std::optional<Equatorial> MountModel::TargetDirection() const {
    if (target.horizontal) {
        if (!target.altitude || !target.azimuth) {
            return std::nullopt;
        }
        return ToEquatorial({*target.altitude, *target.azimuth}, latitude_);
    }
    if (!target.rightAscension || !target.declination) {
        return std::nullopt;
    }
    return Equatorial{FoldDegrees((SiderealTime() - *target.rightAscension) * 15), *target.declination};
}

char MountModel::Slew() {
    const auto direction = TargetDirection();
    if (!direction) {
        return '9';
    }
    const double altitude = target.horizontal ? *target.altitude : ToHorizontal(*direction, latitude_).altitude;
    if (altitude < 0) {
        return '1';
    }
    if (altitude < minimumElevation_) {
        return '2';
    }
    parked_ = false;
    initialised_ = true;
    parksOnArrival_ = false;
    FollowTracking();
    axes.Goto(GotoEnd(*direction), target.horizontal ? 0 : kSiderealRate, slewSpeed_ * rates.slew / kFullSpeedMultiple);
    return '0';
}

// The hour axis goes straight to the angle given here, so an angle beyond a full turn means a way over the top.
AxisAngles MountModel::GotoEnd(const Equatorial& direction) const {
    const AxisAngles now = axes.Angles();
    AxisAngles end = AxesFor(direction, SideFor(direction.hourAngle, meridianDelay), latitude_);
    if (gotoPath_ == GotoPath::CounterweightDown) {
        return end;
    }
    const AxisAngles onThisSide = AxesFor(direction, axes.Side(), latitude_);
    if (IsNudge(now, onThisSide)) {
        end = onThisSide;
    }
    const double downward = end.hour - FoldDegrees(now.hour);
    const bool overTheTop = std::abs(downward) > 180 + kShorterBy / 2;
    end.hour = now.hour + (overTheTop ? downward - std::copysign(360, downward) : downward);
    return end;
}

bool MountModel::Sync(bool keepsSide) {
    const auto direction = TargetDirection();
    if (!direction) {
        return false;
    }
    const PierSide side = keepsSide ? axes.Side() : SideFor(direction->hourAngle, meridianDelay);
    axes.Set(AxesFor(*direction, side, latitude_), side);
    initialised_ = true;
    FollowTracking();
    return true;
}

void MountModel::Place(const MountPointing& pointing) {
    StopAll();
    parked_ = false;
    initialised_ = true;
    axes.Set(AxesOf(pointing, latitude_), SideOf(pointing));
    FollowTracking();
}

void MountModel::StopAll() {
    parksOnArrival_ = false;
    axes.StopAll();
    rates.customRa.reset();
    rates.customDec = 0;
    FollowTracking();
}

bool MountModel::Move(Direction direction, std::optional<std::int32_t> milliseconds) {
    if (milliseconds && (*milliseconds < 1 || *milliseconds > firmware.longestPulseMs)) {
        return false;
    }
    if (parked_ || axes.Slewing()) {
        return true;
    }
    const double speed = milliseconds ? rates.GuideRate() : rates.MoveRate();
    // North turns the polar axis so that on the east side the declination decreases, as the button counts.
    const bool hourAxis = direction == Direction::East || direction == Direction::West;
    const bool swapped = hourAxis ? swappedEastWest : swappedNorthSouth;
    const bool forward = direction == Direction::West || direction == Direction::North;
    const double sign = (forward == swapped ? -1.0 : 1.0) * (hourAxis ? 1.0 : Hemisphere());
    axes.Run(hourAxis ? AxisName::Hour : AxisName::Polar, sign * speed, milliseconds);
    return true;
}

void MountModel::StopMove(Direction direction) {
    if (!axes.Slewing()) {
        const bool hourAxis = direction == Direction::East || direction == Direction::West;
        axes.StopRun(hourAxis ? AxisName::Hour : AxisName::Polar);
    }
}

void MountModel::Park() {
    StopAll();
    parked_ = true;
    FollowTracking();
}

void MountModel::Unpark() {
    parked_ = false;
    initialised_ = true;
    Track(Tracking::Sidereal);
}

void MountModel::LeavePark() {
    parked_ = false;
    FollowTracking();
}

void MountModel::GotoFixedPark(int index) {
    assert(index >= 1 && static_cast<std::size_t>(index) <= kFixedParks.size());
    StopAll();
    initialised_ = true;
    axes.Goto(kFixedParks[static_cast<std::size_t>(index - 1)], 0, slewSpeed_ * rates.slew / kFullSpeedMultiple);
    parksOnArrival_ = true;
}

void MountModel::Track(Tracking base) {
    rates.base = base;
    rates.customRa.reset();
    rates.customDec = 0;
    FollowTracking();
}

void MountModel::SwitchKing(bool on) {
    rates.king = on;
    FollowTracking();
}

void MountModel::CustomRa(double multiple) {
    rates.customRa = multiple;
    FollowTracking();
}

void MountModel::CustomDec(double multiple) {
    rates.customDec = multiple;
    FollowTracking();
}

void MountModel::SetLatitude(double degrees) {
    // The tube keeps its direction when the site changes hemisphere; a mount without a known direction yet stays at
    // home.
    const Equatorial direction = DirectionOf(axes.Angles(), axes.Side(), latitude_);
    const bool otherPole = (degrees < 0) != (latitude_ < 0);
    latitude_ = degrees;
    if (otherPole && initialised_) {
        axes.Set(AxesFor(direction, axes.Side(), latitude_), axes.Side());
    }
    FollowTracking();
}

void MountModel::SetLongitudeWest(double degrees) {
    longitudeWest = FoldCircle(degrees);
}

bool MountModel::Slewing() const {
    return axes.Slewing() || (axes.Stalled() && stallStillSlews);
}

Tracking MountModel::ShownTracking() const {
    return parked_ ? Tracking::Stopped : rates.Shown();
}

void MountModel::FollowTracking() {
    if (parked_ || !initialised_) {
        axes.Track(0, 0);
        return;
    }
    axes.Track(rates.HourRate(Hemisphere()), -Hemisphere() * rates.customDec * kSiderealRate);
}

}  // namespace kestrane::simulator
