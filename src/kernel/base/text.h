#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The forms of numbers and flags in logs, in settings and on the wire. Nothing here depends on the locale.
namespace kestrane {

/// "True" or "False".
std::string_view TrueFalse(bool value);
/// "1" or "0", as settings hold a flag.
constexpr std::string_view ZeroOrOne(bool value) {
    return value ? "1" : "0";
}

/// Up to 15 significant digits, a point, no trailing zeros: 12.5 is "12.5", 3 is "3", 1e-7 is "0.0000001". An exponent
/// only below 1e-15 and from 1e15 on.
std::string PlainNumber(double value);

/// To an integer, halves to the even neighbour, as all conversions of the driver round. A value that does not fit into
/// 32 bits is a run-time error (6).
std::int32_t RoundHalfEven(double value);

/// Without its leading and trailing blanks; other white space stays.
std::string Trim(std::string_view text);
/// Only the letters A to Z are changed, as by SQL's lower(), so that keys compare alike on both sides.
std::string ToLower(std::string_view text);
std::string ToUpper(std::string_view text);
std::string ReplaceAll(std::string_view text, std::string_view what, std::string_view with);

}  // namespace kestrane
