#pragma once

#include <string_view>

#include "kernel/base/log.h"

/// The forms that show whether a reply belongs to the query that was sent. Pure, except that the parsers log.
namespace kestrane {

/// Right ascension and sidereal time: a time from 0 up to below 24 hours.
bool IsRaReply(std::string_view reply, Log& log);
/// Declination and altitude: sDD*MM:SS, degrees up to 90; the sign does not matter.
bool IsDecReply(std::string_view reply, Log& log);
/// Azimuth: DDD*MM:SS without a minus, degrees below 360.
bool IsAzReply(std::string_view reply, Log& log);
/// Meridian delay: a time above -24 and below 24 hours.
bool IsMeridianReply(std::string_view reply, Log& log);
/// Local time: the first 8 characters are a time above -24 and below 24 hours; what follows is not looked at.
bool IsTimeReply(std::string_view reply, Log& log);
/// Time zone: [-]HH:MM:SS.S with at least one decimal; a leading plus is refused.
bool IsTimeZoneReply(std::string_view reply, Log& log);
/// The part of a local time reply that counts.
std::string_view TimeOfReply(std::string_view reply);

}  // namespace kestrane
