#pragma once

namespace kestrane::simulator {

inline constexpr double kDegreesPerRadian = 57.29577951308232;

/// A direction by hour angle and declination, degrees; hour angle -180 to below 180, west positive.
struct Equatorial {
    double hourAngle = 0;
    double declination = 0;
};

/// A direction by altitude and azimuth, degrees; azimuth 0 to below 360, from north through east.
struct Horizontal {
    double altitude = 0;
    double azimuth = 0;
};

/// The two axes of a German equatorial mount, degrees. `hour` is 0 with the counterweight down and grows with the
/// turn of the sky; from -90 to 90 the counterweight is below the tube. `polar` is 0 at the pole, above 0 with the tube
/// on the east side of the pier, below 0 on the west side.
struct AxisAngles {
    double hour = 0;
    double polar = 0;
};

enum class PierSide { East, West };

double FoldDegrees(double degrees);  ///< to -180 up to below 180
double FoldCircle(double degrees);   ///< to 0 up to below 360
double FoldHours(double hours);      ///< to 0 up to below 24
double FoldHourAngle(double hours);  ///< to -12 up to below 12

Horizontal ToHorizontal(const Equatorial& direction, double latitude);
Equatorial ToEquatorial(const Horizontal& direction, double latitude);

/// Where the tube points. At the pole itself `side` decides which of the two sides is meant.
Equatorial DirectionOf(const AxisAngles& axes, PierSide side, double latitude);
/// The axes that point in `direction` from `side`, the hour axis in -180 up to below 180.
AxisAngles AxesFor(const Equatorial& direction, PierSide side, double latitude);
/// The side from which a goto reaches an hour angle. A meridian delay (hours) works as a clock that is ahead by so much
/// would: the mount takes the target for one that lies that much further west, and chooses its side by that.
PierSide SideFor(double hourAngleDegrees, double meridianDelayHours);

}  // namespace kestrane::simulator
