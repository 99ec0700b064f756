#include "state/position_text.h"

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

std::string WithSign(std::string text, ForcedSign sign) {
    return sign == ForcedSign::Yes && !text.starts_with('-') ? "+" + text : text;
}

/// A value just below a full turn may round up to it; it is then shown as zero.
std::string WithoutFullTurn(std::string text, std::string_view fullTurn) {
    return text.starts_with(fullTurn) ? "00" + text.substr(fullTurn.size()) : text;
}

}  // namespace

std::string WithoutEmptyMinus(std::string text) {
    const bool empty = text.find_first_of("123456789") == std::string::npos;
    return empty && text.starts_with('-') ? text.substr(1) : text;
}

std::string HoursText(double hours, ForcedSign sign) {
    return WithSign(WithoutEmptyMinus(WithoutFullTurn(HoursToHMS(hours, ":", ":", "", 1), "24")), sign);
}

std::string DegreesText(double degrees, ForcedSign sign) {
    return WithSign(WithoutEmptyMinus(WithoutFullTurn(DegreesToDMS(degrees, ":", ":", "", 0), "360")), sign);
}

std::string WireLatitude(double north, int secondDecimals) {
    return WithSign(DegreesToDMS(north, "*", ":", "", secondDecimals), ForcedSign::Yes);
}

std::string WireLongitude(double east, int secondDecimals) {
    std::string text = DegreesToDMS(-east, "*", ":", "", secondDecimals);
    const std::size_t sign = text.starts_with('-') ? 1 : 0;
    const std::size_t digits = text.find('*') - sign;
    return text.insert(sign, digits < 3 ? 3 - digits : 0, '0');
}

}  // namespace kestrane
