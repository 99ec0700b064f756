#include "state/reply_predicates.h"

#include <optional>
#include <string>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::size_t kTimeLength = 8;       // HH:MM:SS
constexpr std::size_t kTimeZoneLength = 10;  // HH:MM:SS.S

struct Sexagesimal {
    bool negative = false;
    double degrees = 0.0;
    double minutes = 0.0;
    double seconds = 0.0;
};

/// A piece in plain digits. A mount never sends an exponent, and the conversions would not all read it alike, though a
/// general test for numbers accepts one.
std::optional<double> Number(std::string_view piece, Log& log) {
    const bool plain = Trim(piece).find_first_not_of("0123456789.,") == std::string::npos;
    return plain && IsNumericText(piece) ? std::optional<double>(Val_US(piece, log)) : std::nullopt;
}

/// Takes the sign off and cuts the rest at its first "*" and its first ":"; each piece must be numeric.
std::optional<Sexagesimal> Split(std::string_view reply, Log& log) {
    const std::string trimmed = Trim(reply);  // as the parsers do, so that both see the same sign
    std::string_view text = trimmed;
    Sexagesimal result;
    if (text.starts_with('-')) {
        result.negative = true;
        text.remove_prefix(1);
    } else if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const std::size_t star = text.find('*');
    const std::size_t colon = text.find(':');
    if (star == std::string_view::npos || colon == std::string_view::npos || colon < star) {
        return std::nullopt;
    }
    const auto degrees = Number(text.substr(0, star), log);
    const auto minutes = Number(text.substr(star + 1, colon - star - 1), log);
    const auto seconds = Number(text.substr(colon + 1), log);
    if (!degrees || !minutes || !seconds) {
        return std::nullopt;
    }
    result.degrees = *degrees;
    result.minutes = *minutes;
    result.seconds = *seconds;
    return result;
}

/// Two digits from 0 to `highest`.
bool IsTwoDigits(std::string_view text, int highest) {
    return text.size() == 2 && IsAllDigits(text) && (text[0] - '0') * 10 + (text[1] - '0') <= highest;
}

bool IsHoursWithinADay(std::string_view text, Log& log) {
    double hours = 0.0;
    return ParseProtocolHours(text, hours, log) && hours > -24.0 && hours < 24.0;
}

bool MinutesAndSecondsInRange(const Sexagesimal& value) {
    return value.minutes >= 0 && value.minutes <= 59 && value.seconds >= 0 && value.seconds < 60;
}

}  // namespace

bool IsRaReply(std::string_view reply, Log& log) {
    double hours = 0.0;
    return ParseProtocolHours(reply, hours, log) && hours >= 0.0 && hours < 24.0;
}

bool IsDecReply(std::string_view reply, Log& log) {
    const auto value = Split(reply, log);
    return value && value->degrees <= 90 && MinutesAndSecondsInRange(*value);
}

bool IsMeridianReply(std::string_view reply, Log& log) {
    return IsHoursWithinADay(reply, log);
}

std::string_view TimeOfReply(std::string_view reply) {
    return reply.substr(0, kTimeLength);
}

bool IsTimeReply(std::string_view reply, Log& log) {
    return IsHoursWithinADay(TimeOfReply(reply), log);
}

bool IsTimeZoneReply(std::string_view reply, Log& log) {
    if (reply.starts_with('-')) {
        reply.remove_prefix(1);
    }
    if (reply.size() < kTimeZoneLength || reply[2] != ':' || reply[5] != ':' || reply[8] != '.' ||
        !IsAllDigits(reply.substr(9, 1))) {
        return false;
    }
    const auto seconds = Number(reply.substr(6), log);
    return IsTwoDigits(reply.substr(0, 2), 23) && IsTwoDigits(reply.substr(3, 2), 59) && seconds && *seconds < 60.0;
}

bool IsAzReply(std::string_view reply, Log& log) {
    const auto value = Split(reply, log);
    return value && !value->negative && value->degrees >= 0 && value->degrees < 360 && MinutesAndSecondsInRange(*value);
}

}  // namespace kestrane
