#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kernel/base/log.h"
#include "platform/clock.h"
#include "platform/system_services.h"

/// Text to number and back, angles and times, none of it dependent on the machine's locale. Nothing here raises.
namespace kestrane {

/// Leading number of a text with a point or comma: what could be read, 0 for nothing. A bad text is logged. A minus
/// anywhere makes the number negative, even a zero.
double Val_Global(std::string_view text, Log& log);
double Val_US(std::string_view text, Log& log);

bool IsAllDigits(std::string_view text);
/// Digits after a point: "25" is 0.25. Reading ends at the first character that is no digit: "2x3" is 0.2.
double FractionValue(std::string_view digits);
/// Whether the C locale writes numbers with a point.
bool UsesDecimalPoint();
/// A sign or none, digits with at most one point or comma before, between or after them, and an exponent ("E3", "e-3")
/// or none; blanks may be around it, none within. No words ("inf"), no hexadecimal digits, no grouping of thousands.
/// The value must fit a double.
bool IsNumericText(std::string_view text);
/// The value of a text that `IsNumericText` accepts and that has no exponent; nothing for any other text.
std::optional<double> PlainDecimal(std::string_view text, Log& log);

/// `value` by a pattern of "0" (always a digit), "#" (a digit, left out when it is a zero at the edge) and one ".",
/// rounded half away from zero, with a point. Text before and after these places stays, with points for its commas;
/// nothing else in a pattern has a meaning: no grouping, percent, exponent, or sections for signs. An empty pattern is
/// the plain form (see `PlainNumber`), and so is the text of a value that is not finite.
std::string FormatUs(double value, std::string_view pattern);

/// sHH:MM:SS.S to hours; false on a fault: `hours` then keeps what was added so far, without its sign. The text and
/// faults are logged. The hours may have a second sign of their own: "--5:30:00" is 4.5.
bool ParseProtocolHours(std::string_view text, double& hours, Log& log);
/// sDD*MM:SS to degrees; false on a fault, which is not logged: `degrees` then keeps what was added so far.
bool ParseProtocolDegrees(std::string_view text, double& degrees, Log& log);
double ProtocolHours(std::string_view text, Log& log);
double ProtocolDegrees(std::string_view text, Log& log);

/// Signed decimal integer of 16 bits; false for any other character, or for a magnitude above 32767: `value` then stays
/// as it was. No digits at all are 0.
bool TryParseInteger(std::string_view text, std::int16_t& value);

/// Sexagesimal text with the given delimiters after hours (degrees), minutes and seconds; whole parts have two
/// digits. Rounding to the decimals of the seconds (0 to 6; others count as the nearer of these) carries; negative
/// values have a leading "-".
std::string HoursToHMS(double hours, std::string_view hourDelimiter, std::string_view minuteDelimiter,
                       std::string_view secondDelimiter, int secondDecimals);
std::string DegreesToDMS(double degrees, std::string_view degreeDelimiter, std::string_view minuteDelimiter,
                         std::string_view secondDelimiter, int secondDecimals);

/// Hours for a longitude in degrees, east positive.
double LocalSiderealTime(double longitude, Astronomy& astronomy);

/// To 0 up to below 24; to -12 through 12; to -180 through 180.
double NormalizeHours(double hours);
double NormalizeHourAngle(double hours);
double NormalizeDegrees180(double degrees);

/// Angle between two points in degrees, stable for small angles; RA in hours, Dec in degrees.
double AngularDistance(double ra1, double dec1, double ra2, double dec2);

/// Horizontal in degrees to equatorial: hour angle in hours, -12 to 12, declination in degrees. False, with both
/// unchanged, for a latitude or altitude outside -90 to 90 or an azimuth above 360; a negative azimuth turns west from
/// north.
bool AltAzToHaDec(double latitude, double altitude, double azimuth, double& hourAngle, double& declination);
/// Equatorial to horizontal, all in degrees; the azimuth from north through east, 0 to 360, never a negative zero. Due
/// north may come out as 360: a caller that needs it below folds it to 0.
void HaDecToAltAz(double latitude, double hourAngleDegrees, double dec, double& altitude, double& azimuth);
/// The same for RA and sidereal time in hours, the rest in degrees.
void RaDecToAltAz(double latitude, double siderealTime, double ra, double dec, double& altitude, double& azimuth);

}  // namespace kestrane
