#include "state/position_text.h"

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

std::string WithSign(std::string text, ForcedSign sign) {
    return sign == ForcedSign::Yes && !text.starts_with('-') ? "+" + text : text;
}

/// A value just below the full turn rounds up to it, and is shown as what comes after: zero.
std::string WithoutFullTurn(std::string text, std::string_view fullTurn) {
    return text.starts_with(fullTurn) ? "00" + text.substr(fullTurn.size()) : text;
}

}  // namespace

std::string HoursText(double hours, ForcedSign sign) {
    return WithSign(WithoutFullTurn(HoursToHMS(hours, ":", ":", "", 1), "24"), sign);
}

std::string DegreesText(double degrees, ForcedSign sign) {
    return WithSign(WithoutFullTurn(DegreesToDMS(degrees, ":", ":", "", 0), "360"), sign);
}

}  // namespace kestrane
