#include "state/position_text.h"

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

std::string WithSign(std::string text, ForcedSign sign) {
    return sign == ForcedSign::Yes && !text.starts_with('-') ? "+" + text : text;
}

}  // namespace

std::string HoursText(double hours, ForcedSign sign) {
    return WithSign(HoursToHMS(hours, ":", ":", "", 1), sign);
}

std::string DegreesText(double degrees, ForcedSign sign) {
    return WithSign(DegreesToDMS(degrees, ":", ":", "", 0), sign);
}

}  // namespace kestrane
