#include "state/mount_replies.h"

#include <optional>
#include <string>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::size_t kTimeLength = 8;       // HH:MM:SS
constexpr std::size_t kTimeZoneLength = 10;  // HH:MM:SS.S
constexpr std::size_t kStatusFields = 14;    // what follows them has no meaning

struct Sexagesimal {
    bool negative = false;
    double degrees = 0.0;
    double minutes = 0.0;
    double seconds = 0.0;
};

/// A piece in plain digits. A mount never sends an exponent, and the conversions would not all read it alike, though a
/// general test for numbers accepts one.
std::optional<double> NumberOfPiece(std::string_view piece, Log& log) {
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
    const auto degrees = NumberOfPiece(text.substr(0, star), log);
    const auto minutes = NumberOfPiece(text.substr(star + 1, colon - star - 1), log);
    const auto seconds = NumberOfPiece(text.substr(colon + 1), log);
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

std::optional<double> ReadHours(std::string_view text, Log& log) {
    double hours = 0.0;
    return ParseProtocolHours(text, hours, log) ? std::optional(hours) : std::nullopt;
}

std::optional<double> ReadHoursWithinADay(std::string_view text, Log& log) {
    const std::optional<double> hours = ReadHours(text, log);
    return hours && *hours > -24.0 && *hours < 24.0 ? hours : std::nullopt;
}

bool MinutesAndSecondsInRange(const Sexagesimal& value) {
    return value.minutes >= 0 && value.minutes <= 59 && value.seconds >= 0 && value.seconds < 60;
}

bool IsTimeZone(std::string_view text, Log& log) {
    if (text.starts_with('-')) {
        text.remove_prefix(1);
    }
    if (text.size() < kTimeZoneLength || text[2] != ':' || text[5] != ':' || text[8] != '.' ||
        !IsAllDigits(text.substr(9, 1))) {
        return false;
    }
    const auto seconds = NumberOfPiece(text.substr(6), log);
    return IsTwoDigits(text.substr(0, 2), 23) && IsTwoDigits(text.substr(3, 2), 59) && seconds && *seconds < 60.0;
}

}  // namespace

bool MayBeStatusText(std::string_view reply) {
    return reply.substr(0, kStatusFields).find_first_of(":*") == std::string_view::npos;
}

std::optional<double> ReadRaReply(std::string_view reply, Log& log) {
    const std::optional<double> hours = ReadHours(reply, log);
    return hours && *hours >= 0.0 && *hours < 24.0 ? hours : std::nullopt;
}

bool IsShortAngle(std::string_view reply) {
    const std::string text = Trim(reply);
    const std::string_view digits = std::string_view(text).substr(text.find_first_of("+-") == 0 ? 1 : 0);
    const std::size_t star = digits.find('*');
    return star != std::string_view::npos && star > 0 && star <= 3 && IsAllDigits(digits.substr(0, star)) &&
           IsTwoDigits(digits.substr(star + 1), 59);
}

std::optional<double> ReadDegrees(std::string_view reply, Log& log) {
    double degrees = 0.0;
    return ParseProtocolDegrees(reply, degrees, log) ? std::optional(degrees) : std::nullopt;
}

std::optional<double> ReadDecReply(std::string_view reply, Log& log) {
    const auto parts = Split(reply, log);
    const bool fits = parts && parts->degrees <= 90 && MinutesAndSecondsInRange(*parts);
    return fits ? ReadDegrees(reply, log) : std::nullopt;
}

std::optional<double> ReadAzReply(std::string_view reply, Log& log) {
    const auto parts = Split(reply, log);
    const bool fits =
        parts && !parts->negative && parts->degrees >= 0 && parts->degrees < 360 && MinutesAndSecondsInRange(*parts);
    return fits ? ReadDegrees(reply, log) : std::nullopt;
}

std::optional<double> ReadMeridianReply(std::string_view reply, Log& log) {
    return ReadHoursWithinADay(reply, log);
}

std::string_view TimeOfReply(std::string_view reply) {
    return reply.substr(0, kTimeLength);
}

std::optional<double> ReadTimeReply(std::string_view reply, Log& log) {
    return ReadHoursWithinADay(TimeOfReply(reply), log);
}

std::optional<double> ReadTimeZoneReply(std::string_view reply, Log& log) {
    return IsTimeZone(reply, log) ? ReadHours(reply, log) : std::nullopt;
}

}  // namespace kestrane
