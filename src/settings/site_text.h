#pragma once

#include <array>
#include <string>
#include <string_view>

#include "kernel/base/log.h"

namespace kestrane {

/// `text` filled up with "0" on the left to `width`; a text that is longer first loses leading "0" characters: "7" is
/// "07" and "099" is "99" for a width of 2, "122" stays.
std::string PadWithZeros(std::string_view text, std::size_t width);

/// Whether an init string of the mount can hold the name: without "," and "=".
bool IsGoodSiteName(std::string_view name);

/// Hemisphere letter, degrees, minutes, seconds.
using SiteFields = std::array<std::string_view, 4>;

/// The four fields of a site's position text, which are separated by single blanks; what follows them is dropped. A
/// text without its four fields, or with two blanks in a row, is a run-time error (9). The fields point into `text`.
SiteFields SplitSiteText(std::string_view text);

/// The position text of four fields: degrees padded to `degreeWidth`, minutes to 2, seconds with one decimal to 4.
std::string MakeSiteText(const SiteFields& fields, std::size_t degreeWidth, Log& log);

/// A site's position text in its normal form: "N 45 7 3.2" is "N 45 07 03.2"; seconds with one
/// decimal, the parts padded. A text without its four fields is a run-time error (9).
std::string NormalizeSiteText(std::string_view text, Log& log);

/// A site's position text in degrees, negative for the hemisphere `negativeHemisphere` (in any case of the letter) and
/// for no other: a sign in the fields does not matter. A text without its four fields is a run-time error (9).
double SiteTextDegrees(std::string_view text, std::string_view negativeHemisphere, Log& log);

/// The longitude of a position text as the mount counts it: degrees from 0 to 360, west positive, so that "E 10 30 0"
/// is 349.5. The text has exactly four fields with single blanks between them: "E" or "W" in any case, whole degrees up
/// to 359, whole minutes up to 59, seconds below 60. False, with `degrees` unchanged, for any other text.
bool ParseLongitudeText(std::string_view text, double& degrees, Log& log);

}  // namespace kestrane
