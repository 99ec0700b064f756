#pragma once

#include <optional>
#include <string_view>

#include "kernel/base/log.h"

/// What the mount's replies say, and whether a reply belongs to the query that was sent: that shows in its form.
/// Nothing when it does not. Pure but for the log of the parsers.
///
/// Intentional: hours that a query keeps are read once more with `ProtocolHours`; the log shows the check and the
/// value.
namespace kestrane {

/// Whether a reply may be a status text: the 14 characters that have a meaning hold neither ":" nor "*", which are in
/// every time and angle.
bool MayBeStatusText(std::string_view reply);
/// Right ascension and sidereal time: hours, from 0 up to below 24.
std::optional<double> ReadRaReply(std::string_view reply, Log& log);
/// Whether the reply is an angle of the short format, without seconds: [s]D[DD]*MM.
bool IsShortAngle(std::string_view reply);
/// Declination and altitude: sDD*MM:SS, degrees up to 90; the sign plays no part in the form.
std::optional<double> ReadDecReply(std::string_view reply, Log& log);
/// The same where no check of the form is made.
std::optional<double> ReadDegrees(std::string_view reply, Log& log);
/// Azimuth: DDD*MM:SS without a minus, degrees below 360.
std::optional<double> ReadAzReply(std::string_view reply, Log& log);
/// Meridian delay: hours, above -24 and below 24.
std::optional<double> ReadMeridianReply(std::string_view reply, Log& log);
/// Local time: the first 8 characters are hours above -24 and below 24; what follows is not looked at.
std::optional<double> ReadTimeReply(std::string_view reply, Log& log);
/// The part of a local time reply that counts.
std::string_view TimeOfReply(std::string_view reply);
/// Time zone: [-]HH:MM:SS.S with at least one decimal, in hours; a leading plus is none.
std::optional<double> ReadTimeZoneReply(std::string_view reply, Log& log);

}  // namespace kestrane
