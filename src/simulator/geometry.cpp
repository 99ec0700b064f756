#include "simulator/geometry.h"

#include <algorithm>
#include <cmath>

namespace kestrane::simulator {
namespace {

double Sin(double degrees) {
    return std::sin(degrees / kDegreesPerRadian);
}
double Cos(double degrees) {
    return std::cos(degrees / kDegreesPerRadian);
}

double Circle(double value, double circle) {
    const double folded = std::fmod(value, circle);
    return folded < 0 ? folded + circle : folded;
}

// Both transformations are the same rotation about the east-west line: from (elevation, angle from the meridian) in one
// frame to the same pair in the other.
void Turn(double elevation, double angle, double latitude, double& otherElevation, double& otherAngle) {
    const double sine = Sin(latitude) * Sin(elevation) + Cos(latitude) * Cos(elevation) * Cos(angle);
    const double east = -Cos(elevation) * Sin(angle);
    const double north = Cos(latitude) * Sin(elevation) - Sin(latitude) * Cos(elevation) * Cos(angle);
    otherElevation = std::asin(std::clamp(sine, -1.0, 1.0)) * kDegreesPerRadian;
    otherAngle = std::atan2(east, north) * kDegreesPerRadian;
}

double PoleSign(double latitude) {
    return latitude < 0 ? -1.0 : 1.0;
}

}  // namespace

double FoldDegrees(double degrees) {
    return Circle(degrees + 180, 360) - 180;
}
double FoldCircle(double degrees) {
    return Circle(degrees, 360);
}
double FoldHours(double hours) {
    return Circle(hours, 24);
}
double FoldHourAngle(double hours) {
    return Circle(hours + 12, 24) - 12;
}

Horizontal ToHorizontal(const Equatorial& direction, double latitude) {
    Horizontal result;
    Turn(direction.declination, direction.hourAngle, latitude, result.altitude, result.azimuth);
    result.azimuth = FoldCircle(result.azimuth);
    return result;
}

Equatorial ToEquatorial(const Horizontal& direction, double latitude) {
    Equatorial result;
    Turn(direction.altitude, direction.azimuth, latitude, result.declination, result.hourAngle);
    result.hourAngle = FoldDegrees(result.hourAngle);
    return result;
}

Equatorial DirectionOf(const AxisAngles& axes, PierSide side, double latitude) {
    const double offset = side == PierSide::East ? 90 : -90;
    return {FoldDegrees(axes.hour + offset), PoleSign(latitude) * (90 - std::abs(axes.polar))};
}

AxisAngles AxesFor(const Equatorial& direction, PierSide side, double latitude) {
    const double fromPole = 90 - PoleSign(latitude) * direction.declination;
    if (side == PierSide::East) {
        return {FoldDegrees(direction.hourAngle - 90), fromPole};
    }
    return {FoldDegrees(direction.hourAngle + 90), -fromPole};
}

PierSide SideFor(double hourAngleDegrees, double meridianDelayHours) {
    return FoldDegrees(hourAngleDegrees + meridianDelayHours * 15) < 0 ? PierSide::West : PierSide::East;
}

}  // namespace kestrane::simulator
