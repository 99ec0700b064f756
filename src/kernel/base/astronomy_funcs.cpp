#include "kernel/base/astronomy_funcs.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace kestrane {
namespace {

constexpr double kRoundSeconds = 0.5 / 3600.0;
constexpr double kRoundTenths = 0.05 / 3600.0;
constexpr double kCarrySeconds = 59.95;

// No angle or time comes near this; it keeps the conversions to integers defined for senseless values.
constexpr double kLargest = 1.0e9;

double Magnitude(double value) {
    return std::isnan(value) ? 0.0 : std::min(std::abs(value), kLargest);
}

std::string TwoDigits(std::int64_t value) {
    std::string digits = std::to_string(value);
    return digits.size() < 2 ? "0" + digits : digits;
}

std::string Sign(double value, ForcedSign forced) {
    if (value < 0.0) {
        return "-";
    }
    return forced == ForcedSign::Yes ? "+" : "";
}

double Radians(double degrees) {
    return degrees * kPi / 180.0;
}
double Degrees(double radians) {
    return radians * 180.0 / kPi;
}

}  // namespace

SexagesimalParts SplitToSeconds(double value) {
    SexagesimalParts parts;
    parts.negative = value < 0.0;
    double rest = Magnitude(value) + kRoundSeconds;
    parts.whole = static_cast<int>(rest);
    rest = (rest - parts.whole) * 60.0;
    parts.minutes = static_cast<int>(rest);
    parts.seconds = static_cast<int>((rest - parts.minutes) * 60.0);
    return parts;
}

SexagesimalTenths SplitToTenths(double value) {
    SexagesimalTenths parts;
    parts.negative = value < 0.0;
    double rest = Magnitude(value) + kRoundTenths;
    parts.whole = static_cast<int>(rest);
    rest = (rest - parts.whole) * 60.0;
    parts.minutes = static_cast<int>(rest);
    parts.seconds = (rest - parts.minutes) * 60.0;
    if (parts.seconds >= kCarrySeconds) {
        parts.seconds = 0.0;
        ++parts.minutes;
    }
    if (parts.minutes >= 60) {
        parts.minutes = 0;
        ++parts.whole;
    }
    return parts;
}

std::string SexagesimalText(double value, ForcedSign sign) {
    return SexagesimalText(value, sign, ":");
}

std::string SexagesimalText(double value, ForcedSign sign, std::string_view delimiter) {
    double rest = Magnitude(value);
    const int whole = static_cast<int>(rest);
    rest = (rest - whole) * 60.0;
    const int minutes = static_cast<int>(rest);
    const int seconds = static_cast<int>((rest - minutes) * 60.0);
    std::string text = Sign(value, sign) + TwoDigits(whole);
    text.append(delimiter).append(TwoDigits(minutes));
    return text.append(delimiter).append(TwoDigits(seconds));
}

std::string SexagesimalTenthsText(double value, ForcedSign sign) {
    constexpr std::int64_t kTenthsInUnit = 36000;
    constexpr std::int64_t kTenthsInMinute = 600;
    const auto tenths = static_cast<std::int64_t>(Magnitude(value) * kTenthsInUnit + 0.5);
    const std::int64_t inMinute = tenths % kTenthsInMinute;
    return Sign(value, sign) + TwoDigits(tenths / kTenthsInUnit) + ":" +
           TwoDigits(tenths % kTenthsInUnit / kTenthsInMinute) + ":" + TwoDigits(inMinute / 10) + "." +
           std::to_string(inMinute % 10);
}

double SinDegrees(double degrees) {
    return std::sin(Radians(degrees));
}
double CosDegrees(double degrees) {
    return std::cos(Radians(degrees));
}
double TanDegrees(double degrees) {
    return std::tan(Radians(degrees));
}

double ArcSinRadians(double sine) {
    if (sine >= 1.0) {
        return kPi / 2.0;
    }
    if (sine <= -1.0) {
        return -kPi / 2.0;
    }
    return std::atan(sine / std::sqrt(1.0 - sine * sine));
}

double ArcSinDegrees(double sine) {
    return Degrees(ArcSinRadians(sine));
}

double ArcTanDegrees(double tangent) {
    return Degrees(std::atan(tangent));
}

double ArcTan2Radians(double y, double x) {
    if (x == 0.0 && y == 0.0) {
        return 0.0;
    }
    // By octants, so that the argument of the arc tangent never leaves -1 to 1.
    if (std::abs(y) > std::abs(x)) {
        return (y > 0.0 ? kPi / 2.0 : -kPi / 2.0) - std::atan(x / y);
    }
    const double angle = std::atan(y / x);
    if (x > 0.0) {
        return angle;
    }
    return y < 0.0 ? angle - kPi : angle + kPi;
}

double ArcTan2Degrees(double y, double x) {
    return Degrees(ArcTan2Radians(y, x));
}

}  // namespace kestrane
