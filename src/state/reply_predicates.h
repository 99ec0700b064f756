#pragma once

#include <string_view>

#include "kernel/base/log.h"

/// The shapes by which a reply is told to belong to the query that was sent. Pure but for the log of the parsers.
namespace kestrane {

/// Right ascension and sidereal time: a time from 0 up to below 24 hours.
bool IsRaReply(std::string_view reply, Log& log);
/// Declination and altitude: sDD*MM:SS, degrees up to 90; the sign plays no part.
bool IsDecReply(std::string_view reply, Log& log);
/// Azimuth: DDD*MM:SS without a minus, degrees below 360.
bool IsAzReply(std::string_view reply, Log& log);
/// Meridian delay: a time above -24 and below 24 hours.
bool IsMeridianReply(std::string_view reply, Log& log);
/// Local time: the first 8 characters are a time above -24 and below 24 hours; what follows is not looked at.
bool IsTimeReply(std::string_view reply, Log& log);
/// Time zone: [-]HH:MM:SS.S with at least one decimal; a leading plus is none.
bool IsTimeZoneReply(std::string_view reply, Log& log);
/// The part of a local time reply that counts.
std::string_view TimeOfReply(std::string_view reply);

}  // namespace kestrane
