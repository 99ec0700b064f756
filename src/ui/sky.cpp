#include "ui/sky.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "telescope/motion/park_geometry.h"

namespace kestrane {
namespace {

constexpr double kDegreesPerHour = 15.0;
constexpr double kMinutesPerHour = 60.0;
constexpr double kSolarPerSidereal = 0.9972695663;  ///< an hour of the sky in hours of a clock
constexpr double kArrived = 0.05;                   ///< degrees: a way so short is none

double Radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

double Degrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

void Show(Label& label, double value, std::string_view pattern) {
    label.Text(FormatUs(value, pattern));
}

}  // namespace

double MinutesToMeridian(double hourAngleHours) {
    const double hours = NormalizeHours(-hourAngleHours);
    return hours * kMinutesPerHour * kSolarPerSidereal;
}

std::optional<double> MinutesToHorizon(double latitude, double dec, double hourAngleHours) {
    const double cosine = -std::tan(Radians(latitude)) * std::tan(Radians(dec));
    if (!(std::abs(cosine) <= 1.0)) {
        return std::nullopt;  // always up, or never
    }
    const double setsAt = Degrees(std::acos(cosine)) / kDegreesPerHour;
    const double hourAngle = NormalizeHourAngle(hourAngleHours);
    if (std::abs(hourAngle) >= setsAt) {
        return std::nullopt;
    }
    return (setsAt - hourAngle) * kMinutesPerHour * kSolarPerSidereal;
}

/// The declination axis stands a quarter of a turn from the tube's hour angle, with the tube at one end.
double CounterweightAltitude(double latitude, double hourAngleHours, std::int16_t sideOfPier) {
    const double quarter = sideOfPier == pier_side::West ? -90.0 : 90.0;
    const double hourAngle = hourAngleHours * kDegreesPerHour + quarter;
    return Degrees(std::asin(std::cos(Radians(latitude)) * std::cos(Radians(hourAngle))));
}

Sky::Sky(SkyNeeds needs) : needs_(std::move(needs)) {
    needs_.form.EnsureLoaded();
    needs_.form.tmrSky.OnTick([this] {
        if (needs_.form.HasView()) {
            Compute();
        }
    });
}

void Sky::Compute() {
    const DriverState& state = needs_.state;
    needs_.form.lblState.Text(StateWord());
    if (!needs_.linkConnected() || !state.g_bRaRead || !state.g_bDecRead) {
        ShowNothing();
        return;
    }
    ShowPosition();
    ShowTarget();
    ShowPier();
    ShowTimes();
    ShowParkPlace();
    ShowSun();
}

void Sky::NoteRefused(std::string_view what, std::string_view why) {
    ++refusals_;
    needs_.form.lblRefused.Text(std::to_string(refusals_) + " " + std::string(what) + ": " + std::string(why));
}

std::string_view Sky::StateWord() const {
    const DriverState& state = needs_.state;
    if (!needs_.linkConnected()) {
        return "Not connected";
    }
    if (state.g_bLostComms) {
        return "No link";
    }
    if (state.g_bParking) {
        return "Parking";
    }
    if (state.g_bSlewing || state.g_bSafeSlewPending) {
        return "Slewing";
    }
    if (state.g_bAxisMotionBegun || state.g_bMoveSent || state.g_bMountSlewing) {
        return "Moving";
    }
    if (state.g_bParked) {
        return "Parked";
    }
    return state.g_bTracking ? "Tracking" : "Standing";
}

void Sky::ShowNothing() {
    wholeWay_ = 0;
    for (Control* control : needs_.form.Controls()) {
        const bool staysTrue = control == &needs_.form.lblState || control == &needs_.form.lblRefused;
        if (control->Kind() == ControlKind::Label && !staysTrue) {
            static_cast<Label*>(control)->Text("");
        }
    }
}

void Sky::ShowPosition() {
    const DriverState& state = needs_.state;
    frmSky& form = needs_.form;
    Show(form.lblLatitude, state.g_dSiteLatitude, "0.0000");
    Show(form.lblSiderealHours, SiderealHours(), "0.00000");
    Show(form.lblRaHours, state.g_dRa, "0.00000");
    Show(form.lblDec, state.g_dDec, "0.0000");
    Show(form.lblHourAngleHours, state.g_dHourAngle, "0.00000");
    Show(form.lblAlt, state.g_dAlt, "0.000");
    Show(form.lblAz, state.g_dAz, "0.000");
    form.lblEpoch.Text("of date");  // the mount's coordinates are of the equinox of today
}

double Sky::SiderealHours() const {
    return NormalizeHours(needs_.state.g_dRa + needs_.state.g_dHourAngle);
}

/// A place that does not turn with the sky, in both systems, at this moment.
Sky::Place Sky::PlaceAt(Horizontal horizontal) const {
    Place place{.alt = horizontal.alt, .az = horizontal.az};
    double hourAngle = 0;
    AltAzToHaDec(needs_.state.g_dSiteLatitude, place.alt, place.az, hourAngle, place.dec);
    place.raHours = NormalizeHours(SiderealHours() - hourAngle / kDegreesPerHour);
    return place;
}

/// Where the slew or park under way ends; nothing where it is not known, or nothing is under way.
std::optional<Sky::Place> Sky::Target() const {
    const DriverState& state = needs_.state;
    if (state.g_bParking) {
        const std::optional<Horizontal> park = ParkPlace(state.g_nParkStarted);
        return park ? std::optional(PlaceAt(*park)) : std::nullopt;
    }
    if (!state.g_bSlewing && !state.g_bSafeSlewPending) {
        return std::nullopt;
    }
    if (!state.g_bTargetIsRaDec) {
        const bool known = state.g_bTargetAltSet && state.g_bTargetAzSet;
        return known ? std::optional(PlaceAt({state.g_dTargetAlt, state.g_dTargetAz})) : std::nullopt;
    }
    if (!state.g_bTargetRaSet || !state.g_bTargetDecSet) {
        return std::nullopt;
    }
    Place place{.raHours = state.g_dTargetRa, .dec = state.g_dTargetDec};
    RaDecToAltAz(state.g_dSiteLatitude, SiderealHours(), place.raHours, place.dec, place.alt, place.az);
    return place;
}

/// The longest distance that was seen counts as the whole way: a slew in two legs goes farther than its target first.
void Sky::ShowTarget() {
    frmSky& form = needs_.form;
    const std::optional<Place> target = Target();
    if (!target) {
        wholeWay_ = 0;
        for (Label* label : {&form.lblTargetRaHours, &form.lblTargetDec, &form.lblTargetAlt, &form.lblTargetAz,
                             &form.lblProgress, &form.lblDistance}) {
            label->Text("");
        }
        return;
    }
    Show(form.lblTargetRaHours, target->raHours, "0.00000");
    Show(form.lblTargetDec, target->dec, "0.0000");
    Show(form.lblTargetAlt, target->alt, "0.000");
    Show(form.lblTargetAz, target->az, "0.000");
    const DriverState& state = needs_.state;
    const double left = AngularDistance(state.g_dRa, state.g_dDec, target->raHours, target->dec);
    wholeWay_ = std::max(wholeWay_, left);
    const double done = wholeWay_ < kArrived ? 1.0 : 1.0 - left / wholeWay_;
    Show(form.lblDistance, left, "0.0");
    Show(form.lblProgress, std::floor(100.0 * done), "0");
}

void Sky::ShowPier() {
    const DriverState& state = needs_.state;
    needs_.form.lblPierSide.Text(state.g_nSideOfPier == pier_side::West ? "West" : "East");
    Show(needs_.form.lblCounterweight,
         CounterweightAltitude(state.g_dSiteLatitude, state.g_dHourAngle, state.g_nSideOfPier), "0.0");
}

void Sky::ShowTimes() {
    const DriverState& state = needs_.state;
    Show(needs_.form.lblMeridianMinutes, MinutesToMeridian(state.g_dHourAngle), "0");
    const std::optional<double> horizon = MinutesToHorizon(state.g_dSiteLatitude, state.g_dDec, state.g_dHourAngle);
    needs_.form.lblHorizonMinutes.Text(horizon ? FormatUs(*horizon, "0") : "");
}

/// By what the hand box shows: the settings file need not be read twice a second. A park at the current position goes
/// nowhere.
std::optional<Sky::Horizontal> Sky::ParkPlace(std::int16_t index) const {
    const frmHandBox& handBox = needs_.handBox;
    if (index == park_index::User) {
        return Horizontal{Val_Global(handBox.txtUserParkAlt.Text(), needs_.log),
                          Val_Global(handBox.txtUserParkAz.Text(), needs_.log)};
    }
    if (index < park_index::FirstFixed || index > park_index::LastFixed) {
        return std::nullopt;
    }
    const double latitude = needs_.state.g_dSiteLatitude;
    const FixedPlace& place = FixedParkPlace(index);
    const bool atPole = place.altitude.empty();
    return Horizontal{atPole ? std::abs(latitude) : ProtocolDegrees(place.altitude, needs_.log),
                      ProtocolDegrees(place.Azimuth(latitude), needs_.log)};
}

void Sky::ShowParkPlace() {
    frmSky& form = needs_.form;
    if (const auto place = ParkPlace(static_cast<std::int16_t>(needs_.handBox.cbxParkTo.ListIndex()))) {
        Show(form.lblParkAlt, place->alt, "0.000");
        Show(form.lblParkAz, place->az, "0.000");
    } else {
        form.lblParkAlt.Text("");
        form.lblParkAz.Text("");
    }
}

void Sky::ShowSun() {
    const DriverState& state = needs_.state;
    const Astronomy::Equatorial sun = needs_.astronomy.Sun();
    double altitude = 0;
    double azimuth = 0;
    RaDecToAltAz(state.g_dSiteLatitude, SiderealHours(), sun.raHours, sun.dec, altitude, azimuth);
    Show(needs_.form.lblSunAlt, altitude, "0.0");
    Show(needs_.form.lblSunAz, azimuth, "0.0");
}

}  // namespace kestrane
