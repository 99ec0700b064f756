#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrane::simulator {

// Text forms of the wire, written and read by the mount itself, separate from the driver's own: a fault in one side
// must not be hidden by the same fault in the other. All are exact to the last digit written, rounded half up.

/// HH:MM:SS with `decimals` digits after the seconds' point; 24 hours and more wrap to 0.
std::string HoursText(double hours, int decimals);
/// HH:MM.T, the short form of a right ascension.
std::string ShortHoursText(double hours);
/// [-]HH:MM:SS.S, no plus sign and no wrap.
std::string OffsetText(double hours);
/// sDD*MM:SS with `decimals` digits, the sign always written.
std::string SignedDegreesText(double degrees, int decimals);
/// DDD*MM:SS with `decimals` digits; brought into the range from 0 to below 360.
std::string CircleText(double degrees, int decimals);
/// sDD*MM and DDD*MM, the short forms of angles.
std::string ShortSignedDegreesText(double degrees);
std::string ShortCircleText(double degrees);
/// A plain number without trailing zeros.
std::string NumberText(double value);

/// HH:MM:SS[.d...] or HH:MM.T, hours 0 to 23.
std::optional<double> ParseHours(std::string_view text);
/// [-]H[H]:MM:SS[.d...], below 24 hours.
std::optional<double> ParseOffset(std::string_view text);
/// sDD*MM:SS[.d...], sign required, up to 90 degrees.
std::optional<double> ParseSignedDegrees(std::string_view text);
/// DDD*MM:SS[.d...] in 0 to 360, or with a leading "-" down to -180; three degree digits.
std::optional<double> ParseCircle(std::string_view text, bool mayBeNegative);
/// [-]d[d...][.d...]
std::optional<double> ParseNumber(std::string_view text);
/// Digits only, at most nine.
std::optional<int> ParseInteger(std::string_view text);

}  // namespace kestrane::simulator
