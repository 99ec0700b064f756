#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The forms in which numbers and flags stand in logs, settings and on the wire. No locale has a say.
namespace kestrane {

/// "True" or "False".
std::string_view TrueFalse(bool value);

/// Up to 15 significant digits, a point, no trailing zeros: 12.5 is "12.5", 3 is "3", 1e-7 is "1E-07".
std::string PlainNumber(double value);

/// To an integer, halves to the even neighbour, as the conversions of the driver round. What does not fit into 32
/// bits is a run-time error (6).
std::int32_t RoundHalfEven(double value);

/// Without its leading and trailing blanks; other white space stays.
std::string Trim(std::string_view text);
/// The letters A to Z only, as SQL's lower() has it, so that keys compare alike on both sides.
std::string ToLower(std::string_view text);
std::string ToUpper(std::string_view text);
std::string ReplaceAll(std::string_view text, std::string_view what, std::string_view with);

}  // namespace kestrane
