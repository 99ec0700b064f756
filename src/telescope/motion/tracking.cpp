#include <cmath>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/custom_rates.h"
#include "telescope/motion/park_tracking.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

enum class KingCorrection { Leave, On, Off };

/// A tracking rate of the clients: its effect on the King correction, the argument of the raw rate command, and the
/// rate button that shows it.
struct RateRow {
    KingCorrection king;
    std::string_view argument;
    std::int16_t displayed;
};

/// By `tracking_rate`.
constexpr std::array<RateRow, tracking_rate::King + 1> kRates{{
    {KingCorrection::Off, wire_rate::kSidereal, displayed_rate::Sidereal},
    {KingCorrection::Leave, wire_rate::kLunar, displayed_rate::Lunar},
    {KingCorrection::Leave, wire_rate::kSolar, displayed_rate::Solar},
    {KingCorrection::On, wire_rate::kSidereal, displayed_rate::Sidereal},
}};

/// Multiples of sidereal, bounds included; the small part keeps a bound valid for a client that computed it in degrees.
constexpr double kGuideRateTolerance = 0.001 + 1e-9;

class TrackingSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void ChooseTracking(bool track);
    void StopTracking();
    void NoteTrackingChoice(bool tracks);
    double GuideRate(std::string_view name);
    void SetGuideRate(std::string_view name, double degreesPerSecond);
    void RefuseWithoutCustomRates(std::string_view name);
    void ShowCustomOrSidereal();
};

}  // namespace

bool Telescope::Tracking() {
    return LogGet("Tracking", state_.g_bTracking);
}

void Telescope::Tracking(bool track) {
    TrackingSteps steps(*this);
    LogSet("Tracking", TrueFalse(track));
    needs_.motion.ParkStopAskedFor();  // it gets in between two exchanges of a park, like a stop
    TakeMountFromPark();
    steps.ChooseTracking(track);
}

void ParkTracking::Stop() {
    TrackingSteps steps(telescope_);
    core_.LogSet("Tracking", TrueFalse(false));
    axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    steps.StopTracking();
    needs_.panel.EnableRateControls();
}

void TrackingSteps::ChooseTracking(bool track) {
    axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    if (track) {
        state_.g_bTracking = true;
        telescope_.TrackingRate(state_.g_nTrackingRate);
    } else if (!state_.g_bParked) {
        StopTracking();
    }
    needs_.panel.EnableRateControls();
}

void TrackingSteps::StopTracking() {
    Sequence mount = Talk(procedure::Tracking);  // first: inside a park, a stop may keep it from beginning
    NoteTrackingChoice(false);
    state_.g_bTracking = false;
    mount.CommandBlindInternal(wire::EndInput);
    mount.CommandBlindInternal(wire::StopRaw);
    CustomRates(core_).ClearCustomDecRate(mount);
    mount.CommandBlindInternal(wire::TrackingRateRaw, wire_rate::kStopTracking);
    needs_.panel.ShowTrackingRate(displayed_rate::Off, RateCorrection::Off);
}

void TrackingSteps::NoteTrackingChoice(bool tracks) {
    core_.NoteMotionStops();
    needs_.axisMotions.TrackingChosen(tracks);
    if (needs_.motion.TrackingChosen()) {
        driver_.log.LogMessage("Slewing", LogLevel::Warning,
                               "The slew ends here: a write of the tracking stops the mount");
    }
}

std::int32_t Telescope::TrackingRate() {
    return LogGet("TrackingRate", state_.g_nTrackingRate);
}

void Telescope::TrackingRate(std::int32_t rate) {
    TrackingSteps steps(*this);
    state_.g_nTrackingRate = rate;
    axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    LogSet("TrackingRate", std::to_string(rate));
    TakeMountFromPark();
    steps.NoteTrackingChoice(true);
    Sequence mount = Talk(procedure::Tracking);
    mount.CommandBlindInternal(wire::Stop);
    CustomRates(*this).ClearCustomDecRate(mount);
    if (rate < 0 || rate >= static_cast<std::int32_t>(kRates.size())) {
        throw DriverError(ErrorNumber::OutOfRange, "Invalid Tracking Rate Value: " + std::to_string(rate));
    }
    const RateRow& row = kRates[static_cast<std::size_t>(rate)];
    if (row.king == KingCorrection::Off && state_.g_bKingRateAvailable && !state_.g_bKingRateEnabled) {
        mount.CommandBlindInternal(wire::TrackingRateRaw, wire_rate::kKingOff);
    }
    if (row.king == KingCorrection::On && state_.g_bKingRateAvailable && state_.g_bKingRateEnabled) {
        mount.CommandBlindInternal(wire::TrackingRateRaw, wire_rate::kKingOn);
    }
    mount.CommandBlindInternal(wire::TrackingRateRaw, row.argument);
    needs_.panel.ShowTrackingRate(row.displayed, RateCorrection::Off);
    state_.g_bTracking = true;
    needs_.panel.EnableRateControls();  // until now the display showed them as for a mount that does not track
}

double Telescope::RightAscensionRate() {
    TrackingSteps steps(*this);
    steps.RefuseWithoutCustomRates("RightAscensionRate");
    return LogGet("RightAscensionRate", state_.g_dRaRate);
}

double Telescope::DeclinationRate() {
    TrackingSteps steps(*this);
    steps.RefuseWithoutCustomRates("DeclinationRate");
    return LogGet("DeclinationRate", state_.g_dDecRate);
}

void Telescope::RightAscensionRate(double secondsPerSiderealSecond) {
    TrackingSteps steps(*this);
    steps.RefuseWithoutCustomRates("RightAscensionRate");
    LogSet("RightAscensionRate", PlainNumber(secondsPerSiderealSecond));
    RefuseOutOfRange("RightAscensionRate", secondsPerSiderealSecond,
                     std::abs(secondsPerSiderealSecond) <= state_.g_dMaxMoveRate);
    // Before the check, which may switch tracking on by itself: a call that a stop has overtaken sends nothing.
    if (secondsPerSiderealSecond != 0.0 && !needs_.door.Permit("RightAscensionRate")) {
        return;
    }
    check_connected("RightAscensionRate", Parked::IsRefused, TrackingMust::BeOn);
    state_.g_dRaRate = secondsPerSiderealSecond;
    CustomRates(*this).ShowCustomRate(needs_.handBox.txtRaCustom, secondsPerSiderealSecond);
    steps.ShowCustomOrSidereal();
    CustomRates(*this).SendCustomRate(
        wire::CustomRaRate, state_.g_dSiteLatitude < 0.0 ? secondsPerSiderealSecond : -secondsPerSiderealSecond);
}

void Telescope::DeclinationRate(double arcSecondsPerSecond) {
    TrackingSteps steps(*this);
    steps.RefuseWithoutCustomRates("DeclinationRate");
    LogSet("DeclinationRate", PlainNumber(arcSecondsPerSecond));
    const double multiple = arcSecondsPerSecond / kSiderealSpeed;
    RefuseOutOfRange("DeclinationRate", arcSecondsPerSecond, std::abs(multiple) <= state_.g_dMaxMoveRate);
    // Before the check, as for the other rate.
    if (arcSecondsPerSecond != 0.0 && !needs_.door.Permit("DeclinationRate")) {
        return;
    }
    check_connected("DeclinationRate(set)", Parked::IsRefused, TrackingMust::BeOn);
    state_.g_dDecRate = arcSecondsPerSecond;
    CustomRates(*this).ShowCustomRate(needs_.handBox.txtDecCustom, arcSecondsPerSecond);
    steps.ShowCustomOrSidereal();
    CustomRates(*this).SendCustomRate(wire::CustomDecRate, state_.g_bWestSide ? -multiple : multiple);
}

void TrackingSteps::RefuseWithoutCustomRates(std::string_view name) {
    if (!state_.g_bHasCustomRates) {
        driver_.log.LogMessage("ASCOM", LogLevel::Info, "SET " + std::string(name) + " is not available for VTRKC1/2");
        throw DriverError(ErrorNumber::NotImplemented, std::string(name) + "  is not implemented in this driver.");
    }
}

void TrackingSteps::ShowCustomOrSidereal() {
    const bool custom = state_.g_dRaRate != 0.0 || state_.g_dDecRate != 0.0;
    needs_.panel.ShowTrackingRate(custom ? displayed_rate::Custom : displayed_rate::Sidereal, RateCorrection::Off);
}

double Telescope::GuideRateRightAscension() {
    TrackingSteps steps(*this);
    return steps.GuideRate("GuideRateRightAscension");
}

double Telescope::GuideRateDeclination() {
    TrackingSteps steps(*this);
    return steps.GuideRate("GuideRateDeclination");
}

void Telescope::GuideRateRightAscension(double degreesPerSecond) {
    TrackingSteps steps(*this);
    steps.SetGuideRate("GuideRateRightAscension", degreesPerSecond);
}

void Telescope::GuideRateDeclination(double degreesPerSecond) {
    TrackingSteps steps(*this);
    steps.SetGuideRate("GuideRateDeclination", degreesPerSecond);
}

/// Keeps a rate that the mount has; nothing is sent. Intentional: any other rate is ignored without an error.
void TrackingSteps::SetGuideRate(std::string_view name, double degreesPerSecond) {
    const double multiple = degreesPerSecond * kArcSecondsPerDegree / kSiderealSpeed;
    for (const GuideRateRow& row : kGuideRates) {
        if (multiple >= row.multiple - kGuideRateTolerance && multiple <= row.multiple + kGuideRateTolerance) {
            state_.g_dGuideRate = row.multiple;
            driver_.persist.Write(setting::cbxInitGuideRate, row.setting);
            break;
        }
    }
    core_.LogSet(name, PlainNumber(state_.g_dGuideRate) + " sec/sec");
}

double TrackingSteps::GuideRate(std::string_view name) {
    const double rate = state_.g_dGuideRate * kSiderealSpeed / kArcSecondsPerDegree;
    core_.LogGetText(name, PlainNumber(rate) + " arc-sec/sec");  // words that readers of logs know; it is degrees
    return rate;
}

}  // namespace kestrane
