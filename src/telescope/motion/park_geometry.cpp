#include "telescope/motion/park_geometry.h"

#include <array>
#include <cassert>
#include <cmath>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

using enum SiderealTimeOf;

constexpr std::array<FixedPlace, park_index::LastFixed> kParkPlaces{{
    {"+00*00:10", "+359*59:50", "+180*00:10", Now},
    {"+00*00:10", "+90*00:10", "+89*59:50", LastReading},
    {"", "+359*59:50", "+179*59:50", LastReading},
    {"+00*00:10", "+180*00:10", "+359*59:50", Now},
    {"+00*00:10", "+00*00:10", "+179*59:50", Now},
}};

constexpr FixedPlace kUnparkPlace1{"+00*00:00", "+359*59:50", "+180*00:10"};

constexpr double kEastSlewFrom = -11.999;      // hours
constexpr double kEastSlewTo = -6.001;         // hours
constexpr double kFarHourAngle = 6.0;          // hours
constexpr double kLongestEastSlew = 12.0;      // hours
constexpr double kNearMeridian = 0.1;          // hours
constexpr double kLongestMeridianDelay = 6.0;  // hours
constexpr double kHalfTurn = 12.0;             // hours

bool IsFar(double hourAngle) {
    return std::abs(hourAngle) >= kFarHourAngle;
}

}  // namespace

const FixedPlace& FixedParkPlace(std::int16_t index) {
    assert(index >= park_index::FirstFixed && index <= park_index::LastFixed);
    return kParkPlaces[static_cast<std::size_t>(index - park_index::FirstFixed)];
}

const FixedPlace& FixedUnparkPlace(std::int16_t index) {
    return index == park_index::FirstFixed ? kUnparkPlace1 : FixedParkPlace(index);
}

bool WouldCrossPole(std::int16_t sideOfPier, double hourAngle) {
    return sideOfPier == pier_side::East ? hourAngle > kEastSlewFrom && hourAngle < kEastSlewTo
                                         : hourAngle > 0.0 && hourAngle < kFarHourAngle;
}

bool CanSlewEast(double hours) {
    return hours > 0.0 && hours <= kLongestEastSlew;
}

double CounterweightUpFirstRa(double hourAngle, double siderealTime) {
    const double nearMeridian = hourAngle <= 0.0 ? -kNearMeridian : kNearMeridian;
    return NormalizeHours(IsFar(hourAngle) ? siderealTime - nearMeridian + kHalfTurn : siderealTime + nearMeridian);
}

double CounterweightUpSecondRa(double hourAngle, double siderealTime) {
    return NormalizeHours(siderealTime - hourAngle);
}

double CounterweightUpDelay(double hourAngle, double offset) {
    const double size = IsFar(hourAngle) ? -1.0 : kHalfTurn + 1.0;
    return hourAngle <= 0.0 ? offset + size : offset - size;
}

bool IsPossibleMeridianDelay(double hours) {
    return std::abs(hours) <= kLongestMeridianDelay;
}

double CounterweightUpOffset(std::int16_t sideOfPier, double hourAngle) {
    return sideOfPier == pier_side::East ? -(kHalfTurn + hourAngle) : kHalfTurn - hourAngle;
}

}  // namespace kestrane
