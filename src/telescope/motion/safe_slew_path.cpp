#include "telescope/motion/safe_slew_path.h"

#include <cmath>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr double kShortSlewDegrees = 1.0;
constexpr double kDegreesPerHour = 15.0;
constexpr double kLongWayHourAngle = 6.0;  // hours
constexpr double kNearLeg = 0.5;           // hours from the meridian
constexpr double kFarLeg = 12.5;           // hours from the meridian

}  // namespace

bool IsShortSlew(double currentRa, double currentDec, double finalRa, double finalDec) {
    const double decDistance = std::abs(finalDec - currentDec);
    const double raDistance = std::abs(NormalizeHourAngle(finalRa - currentRa)) * kDegreesPerHour;
    return decDistance <= kShortSlewDegrees && raDistance <= kShortSlewDegrees;
}

std::optional<double> IntermediateRa(std::int16_t sideOfPier, double hourAngle, double siderealTime) {
    if (sideOfPier == pier_side::East && hourAngle < 0.0) {
        return NormalizeHours(hourAngle <= -kLongWayHourAngle ? siderealTime + kFarLeg : siderealTime - kNearLeg);
    }
    if (sideOfPier == pier_side::West && hourAngle > 0.0) {
        return NormalizeHours(hourAngle < kLongWayHourAngle ? siderealTime + kNearLeg : siderealTime - kFarLeg);
    }
    return std::nullopt;
}

}  // namespace kestrane
