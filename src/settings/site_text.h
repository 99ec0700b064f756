#pragma once

#include <array>
#include <string>
#include <string_view>

#include "kernel/base/log.h"

namespace kestrane {

/// `text` filled up with "0" on the left to `width`; before that, leading "0" characters go while it is longer than
/// that: "7" is "07" and "099" is "99" for a width of 2, "122" stays.
std::string PadWithZeros(std::string_view text, std::size_t width);

/// Hemisphere letter, degrees, minutes, seconds.
using SiteFields = std::array<std::string_view, 4>;

/// The four fields of a site's position text, which single blanks separate; what follows them is dropped. A text
/// without its four fields is a run-time error (9). The fields point into `text`.
SiteFields SplitSiteText(std::string_view text);

/// The position text of four fields: degrees padded to `degreeWidth`, minutes to 2, seconds with one decimal to 4.
std::string MakeSiteText(const SiteFields& fields, std::size_t degreeWidth, Log& log);

/// A site's position text in its normal form: "N 45 7 3.2" is "N 45 07 03.2"; seconds with one
/// decimal, the parts padded. A text without its four fields is a run-time error (9).
std::string NormalizeSiteText(std::string_view text, Log& log);

/// A site's position text in degrees, negative for the hemisphere `negativeHemisphere` (in any case of the letter) and
/// for no other: a sign in the fields has no say. A text without its four fields is a run-time error (9).
double SiteTextDegrees(std::string_view text, std::string_view negativeHemisphere, Log& log);

}  // namespace kestrane
