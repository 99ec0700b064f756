#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Angles and numbers as people type and read them. Pure functions, without a locale.
namespace kestrane::client {

/// A whole text as a finite decimal number; nothing when any character is left over.
std::optional<double> ParseNumber(std::string_view text);

/// "5.5", "5:30" or "5:30:00.0": hours, 0 up to below 24. Nothing when it is none of these or out of range.
std::optional<double> ParseRightAscension(std::string_view text);
/// "-16.7", "-16:42" or "-16:42:58": degrees, -90 to 90.
std::optional<double> ParseDeclination(std::string_view text);

/// Hours as "HH:MM:SS.S", brought into 0 up to below 24; degrees as "+DD:MM:SS". Rounding carries.
std::string FormatHours(double hours);
std::string FormatDegrees(double degrees);

/// The shortest decimal text that reads back as the same number.
std::string FormatNumber(double value);
/// With `decimals` digits after the point.
std::string FormatFixed(double value, int decimals);

/// Angle in degrees between two points of the sky; right ascensions in hours, declinations in degrees.
double Separation(double ra1, double dec1, double ra2, double dec2);

}  // namespace kestrane::client
