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

}  // namespace kestrane
