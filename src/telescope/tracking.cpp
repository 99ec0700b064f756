#include "catalogue/wire_commands.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

/// A tracking rate of the clients: the argument of the raw rate command, and the rate button that shows it.
struct RateRow {
    std::string_view argument;
    std::int16_t displayed;
};

constexpr std::array<RateRow, 3> kRates{{
    {"2#", 1},  // sidereal
    {"0#", 2},  // lunar
    {"1#", 3},  // solar
}};

constexpr double kSiderealRate = 15.04107;  // arc-seconds per second
constexpr double kArcSecondsPerDegree = 3600.0;

}  // namespace

bool Telescope::Tracking() {
    return LogGet("Tracking", state_.g_bTracking);
}

void Telescope::Tracking(bool track) {
    LogSet("Tracking", TrueFalse(track));
    if (track) {
        state_.g_bTracking = true;
        TrackingRate(state_.g_nTrackingRate);
        return;
    }
    if (state_.g_bParked) {
        return;
    }
    state_.g_bTracking = false;
    CommandBlindInternal(wire::EndInput.text, true);
    CommandBlindInternal(wire::StopRaw.text, true);
    ClearCustomDecRate();
    CommandBlindInternal(std::string(wire::TrackingRateRaw.text) + "9#", true);
    needs_.panel.ShowTrackingRate(0, false);
}

std::int32_t Telescope::TrackingRate() {
    return LogGet("TrackingRate", state_.g_nTrackingRate);
}

void Telescope::TrackingRate(std::int32_t rate) {
    state_.g_nTrackingRate = rate;
    LogSet("TrackingRate", std::to_string(rate));
    CommandBlindInternal(wire::Stop.text, false);
    ClearCustomDecRate();
    if (rate < 0 || rate >= static_cast<std::int32_t>(kRates.size())) {
        throw DriverError(ErrorNumber::OutOfRange, "Invalid Tracking Rate Value: " + std::to_string(rate));
    }
    const RateRow& row = kRates[static_cast<std::size_t>(rate)];
    CommandBlindInternal(std::string(wire::TrackingRateRaw.text) + std::string(row.argument), true);
    needs_.panel.ShowTrackingRate(row.displayed, false);
    state_.g_bTracking = true;
}

void Telescope::ClearCustomDecRate() {
    if (state_.g_bHasCustomRates && !state_.g_bGosActive) {
        CommandBoolInternal(std::string(wire::CustomDecRate.text) + "0.0000", false);
    }
}

double Telescope::RightAscensionRate() {
    return CustomRate("RightAscensionRate", state_.g_dRaRate);
}

double Telescope::DeclinationRate() {
    return CustomRate("DeclinationRate", state_.g_dDecRate);
}

double Telescope::CustomRate(std::string_view name, double rate) {
    if (!state_.g_bHasCustomRates) {
        needs_.log.LogMessage("ASCOM", LogLevel::Info, "SET " + std::string(name) + " is not available for VTRKC1/2");
        throw DriverError(ErrorNumber::NotImplemented, std::string(name) + "  is not implemented in this driver.");
    }
    return LogGet(name, rate);
}

double Telescope::GuideRateRightAscension() {
    return GuideRate("GuideRateRightAscension");
}

double Telescope::GuideRateDeclination() {
    return GuideRate("GuideRateDeclination");
}

double Telescope::GuideRate(std::string_view name) {
    const double rate = state_.g_dGuideRate * kSiderealRate / kArcSecondsPerDegree;
    LogGetText(name, PlainNumber(rate) + " arc-sec/sec");  // the words that readers of logs know; it is degrees
    return rate;
}

}  // namespace kestrane
