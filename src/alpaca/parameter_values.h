#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"

/// The values of parameters, from their texts. Pure functions on values, without a locale; safe on any bytes.
namespace kestrane::alpaca {

/// A ClientID or ClientTransactionID, 0 to 4294967295: one that is missing (null), empty, negative, not a number or too
/// large counts as 0.
std::uint32_t ParseId(const std::string* text);

/// "true" or "false" in any case.
std::optional<bool> ParseBoolean(std::string_view text);
/// Decimal digits with an optional sign, within 32 bits.
std::optional<std::int32_t> ParseInteger(std::string_view text);
/// A finite number with a point; an exponent is allowed.
std::optional<double> ParseNumber(std::string_view text);
/// "yyyy-MM-ddTHH:mm:ss" with an optional fraction (cut to milliseconds), with "Z", "+00:00" or nothing at its end. A
/// calendar date that exists, years 1 to 9999.
std::optional<DateTime> ParseUtcDate(std::string_view text);

}  // namespace kestrane::alpaca
