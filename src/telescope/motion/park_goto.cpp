#include "telescope/motion/park_goto.h"

#include <cmath>

#include "kernel/base/conversions.h"
#include "telescope/motion/park_end.h"
#include "telescope/motion/park_geometry.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kBeforeParkSlewMs = 20;

}  // namespace

HorizonPlace ParkGoto::Place(std::int16_t index) {
    if (index == park_index::User) {
        return UserPlace();
    }
    const FixedPlace& place = FixedParkPlace(index);
    const double altitude = place.altitude.empty() ? std::abs(latitude_) : ProtocolDegrees(place.altitude, driver_.log);
    return {altitude, ProtocolDegrees(place.Azimuth(latitude_), driver_.log)};
}

HorizonPlace ParkGoto::UserPlace() {
    return {Val_Global(driver_.persist.Read(setting::txtUserParkAlt), driver_.log),
            Val_Global(driver_.persist.Read(setting::txtUserParkAz), driver_.log)};
}

bool ParkGoto::Send(std::int16_t index) {
    ResumeNext errors{driver_.ledger, "ParkMount"};
    Way way = Way::Direct;
    if (!errors.Assign(way, [&] { return SetTarget(index); })) {
        driver_.log.LogMessage("Telescope", LogLevel::Error, "The park position cannot be a target: nothing is sent");
        return false;
    }
    driver_.waits.WaitForMilliseconds(kBeforeParkSlewMs);
    if (way == Way::Safe) {
        telescope_.SafeSlew(state_.g_dTargetRa, state_.g_dTargetDec, SlewReturns::AtOnce);
    } else {
        errors.Step([&] { telescope_.SendSlewCommands(); });
    }
    return state_.g_bSlewing;
}

ParkGoto::Way ParkGoto::SetTarget(std::int16_t index) {
    const bool converted = needs_.handBox.chkConvertAltAzToRaDec.Checked();
    if (index == park_index::User) {
        state_.g_bCwUpPark = driver_.persist.ReadFlag(setting::CounterWeightsUpPark);
        if (state_.g_bCwUpPark) {
            SetFirstLeg();
        } else if (converted) {
            SetRaDec(UserPlace(), state_.g_dLst);
        } else {
            const HorizonPlace place = UserPlace();
            SetAltAz({AsTheMountTakesIt(place.altitude), AsTheMountTakesIt(place.azimuth)});
        }
        return Way::Direct;  // intentional: also where a safe slew is wanted
    }
    if (!converted) {
        SetAltAz(Place(index));
        return Way::Direct;
    }
    const bool now = FixedParkPlace(index).siderealTime == SiderealTimeOf::Now;
    SetRaDec(Place(index), now ? needs_.queries.GetLst() : state_.g_dLst);
    return driver_.persist.ReadFlag(setting::DisableSafeSlew) ? Way::Direct : Way::Safe;
}

void ParkGoto::SetAltAz(const HorizonPlace& place) {
    telescope_.TargetAltitude(place.altitude);
    telescope_.TargetAzimuth(place.azimuth);
    needs_.poll.ExpectParkAt({false, place.azimuth, place.altitude});
}

void ParkGoto::SetRaDec(const HorizonPlace& place, double siderealTime) {
    double hourAngle = 0.0;
    double declination = 0.0;
    if (!AltAzToHaDec(latitude_, place.altitude, place.azimuth, hourAngle, declination)) {
        throw DriverError(ErrorNumber::OutOfRange);
    }
    SetTargetRaDec(NormalizeHours(siderealTime - hourAngle), declination);
}

void ParkGoto::SetTargetRaDec(double rightAscension, double declination) {
    telescope_.TargetDeclination(declination);
    telescope_.TargetRightAscension(rightAscension);
    needs_.poll.ExpectParkAt({true, rightAscension, declination});
}

/// Rounded as in a text for the mount.
double ParkGoto::AsTheMountTakesIt(double degrees) {
    return ProtocolDegrees(DegreesToDMS(degrees, "*", ":", "", state_.g_nPrecisionAltAz), driver_.log);
}

/// The way of a park with the counterweight up begins near the meridian, on the side on which it is to end.
void ParkGoto::SetFirstLeg() {
    const CounterweightUpPlace place = ReadCounterweightUpPlace(driver_);
    if (!IsPossibleMeridianDelay(CounterweightUpDelay(place.hourAngle, place.timeOffset))) {
        driver_.log.LogMessage("Telescope", LogLevel::Warning, kNoDelayForCounterweightUp);
        throw DriverError(ErrorNumber::OutOfRange);
    }
    state_.g_cwUpPlace = place;  // the second leg leads there, also when another place is kept meanwhile
    needs_.channel.DisableSafeSlew();
    SetTargetRaDec(CounterweightUpFirstRa(place.hourAngle, state_.g_dLst), place.declination);
}

}  // namespace kestrane
