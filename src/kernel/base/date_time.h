#pragma once

#include <cstdint>
#include <string>

#include "platform/clock.h"

namespace kestrane {

/// The date and time `milliseconds` later (earlier, when negative), by the calendar; time zones do not matter.
DateTime AddMilliseconds(const DateTime& date, std::int64_t milliseconds);

/// Seconds from the beginning of 1970 to the date, by the calendar.
std::int64_t SecondsSince1970(const DateTime& date);

/// "YYYY-MM-DD HH:MM:SS".
std::string DateTimeText(const DateTime& date);

/// Two digits at least, with a leading zero.
std::string TwoDigits(int value);

}  // namespace kestrane
