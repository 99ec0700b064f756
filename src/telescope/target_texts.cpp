#include "telescope/target_texts.h"

#include "kernel/base/conversions.h"
#include "telescope/position_words.h"

namespace kestrane {

std::string RaTargetText(double hours, const DriverState& state) {
    std::string text = HoursToHMS(hours, ":", ":", "", state.g_nPrecisionRa);
    if (text.starts_with("24")) {
        text.replace(0, 2, "00");
    }
    return text;
}

std::string DecTargetText(double degrees, const DriverState& state) {
    const std::string text = DegreesToDMS(degrees, "*", ":", "", state.g_nPrecisionDec);
    return text.starts_with('-') ? text : "+" + text;
}

std::string AltTargetText(double degrees, double signValue, const DriverState& state) {
    const std::string text = DegreesToDMS(degrees, "*", ":", "", state.g_nPrecisionAltAz);
    return signValue >= 0.0 && !text.starts_with('-') ? "+" + text : text;
}

std::string AzTargetText(double degrees, const DriverState& state) {
    std::string text = WithThreeDigits(DegreesToDMS(degrees, "*", ":", "", state.g_nPrecisionAltAz));
    if (text.starts_with("360")) {
        text.replace(0, 3, "000");
    }
    return text;
}

}  // namespace kestrane
