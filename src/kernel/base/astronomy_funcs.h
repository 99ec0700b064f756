#pragma once

#include <string>
#include <string_view>

/// Splitting angles and times into their sexagesimal parts, their plain text forms, and trigonometry in degrees.
/// Nothing here raises or depends on the locale.
namespace kestrane {

/// Degrees (or hours), minutes and seconds of an absolute value, and its sign.
struct SexagesimalParts {
    bool negative = false;
    int whole = 0;
    int minutes = 0;
    int seconds = 0;
};

/// The same with parts of a second.
struct SexagesimalTenths {
    bool negative = false;
    int whole = 0;
    int minutes = 0;
    double seconds = 0.0;
};

/// To the nearest whole second.
SexagesimalParts SplitToSeconds(double value);

/// For seconds with one decimal: 0.05 seconds are added before the split and stay in the seconds; whoever prints them
/// cuts that off. Seconds of 59.95 and above become 0 of the next minute.
SexagesimalTenths SplitToTenths(double value);

/// Whether a value that is not negative is shown with "+".
enum class ForcedSign { No, Yes };

/// sHH:MM:SS with two digits for each part, cut off at each step, not rounded. In a double of hours, every second whole
/// number of seconds is a very little too small and shows the second before it (13 seconds give "00:00:12"). Not for a
/// text that is read back or compared; for that, see `SexagesimalTenthsText`. Without `ForcedSign::Yes` a sign is shown
/// only when the value is negative.
std::string SexagesimalText(double value, ForcedSign sign);
std::string SexagesimalText(double value, ForcedSign sign, std::string_view delimiter);
/// sHH:MM:SS.S, rounded to the tenth; the rounding carries.
std::string SexagesimalTenthsText(double value, ForcedSign sign);

/// Pi as used by the driver's geometry.
inline constexpr double kPi = 3.14159265358979;

double SinDegrees(double degrees);
double CosDegrees(double degrees);
double TanDegrees(double degrees);
/// For -1 to 1; a value outside counts as the nearer end.
double ArcSinRadians(double sine);
double ArcSinDegrees(double sine);
double ArcTanDegrees(double tangent);
/// The angle of the point (x, y): above -180 up to 180 degrees; 0 for the origin.
double ArcTan2Radians(double y, double x);
double ArcTan2Degrees(double y, double x);

}  // namespace kestrane
