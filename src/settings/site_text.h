#pragma once

#include <string>
#include <string_view>

#include "kernel/base/log.h"

namespace kestrane {

/// `text` filled up with "0" on the left to `width`; before that, leading "0" characters go while it is longer than
/// that: "7" is "07" and "099" is "99" for a width of 2, "122" stays.
std::string PadWithZeros(std::string_view text, std::size_t width);

/// A site's position text in its normal form: "N 45 7 3.2" is "N 45 07 03.2"; seconds with one
/// decimal, the parts padded. A text without its four fields is a run-time error (9).
std::string NormalizeSiteText(std::string_view text, Log& log);

}  // namespace kestrane
