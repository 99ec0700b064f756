#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kMaxMoveAxisRate = 5.0;     // degrees per second
constexpr double kMaxMoveAxisRateFir = 2.5;  // of the mount with half speed

constexpr std::int32_t kPrimary = 0;
constexpr std::int32_t kSecondary = 1;
constexpr std::int32_t kKing = 3;

std::string_view AxisName(std::int32_t axis) {
    return axis == kPrimary ? "axisPrimary" : axis == kSecondary ? "axisSecondary" : "axisTertiary";
}

std::shared_ptr<TrackingRates> RatesOfEveryController() {
    auto rates = std::make_shared<TrackingRates>();
    for (std::int32_t trackingRate = 0; trackingRate < kKing; ++trackingRate) {
        rates->Add(trackingRate);
    }
    return rates;
}

}  // namespace

void Telescope::CreateAxisRates() {
    ClientRateLists& lists = needs_.rateLists;
    if (lists.primary) {
        return;
    }
    state_.g_dMaxAxisRate = needs_.mount.Name() == "Fir VTR" ? kMaxMoveAxisRateFir : kMaxMoveAxisRate;
    lists.primary = std::make_shared<kestrane::AxisRates>();
    lists.secondary = std::make_shared<kestrane::AxisRates>();
    lists.tertiary = std::make_shared<kestrane::AxisRates>();
    lists.primary->Add(0.0, state_.g_dMaxAxisRate);
    lists.secondary->Add(0.0, state_.g_dMaxAxisRate);
}

void Telescope::CreateTrackingRates() {
    if (!needs_.rateLists.tracking) {
        needs_.rateLists.tracking = RatesOfEveryController();
    }
}

std::shared_ptr<const TrackingRates> Telescope::TrackingRates() {
    needs_.log.LogMessage("ASCOM", LogLevel::Info, "GET TrackingRates");
    check_connected("TrackingRates(get)", false, state_.g_bTracking);
    auto rates = RatesOfEveryController();
    const Controller_Type controller = needs_.mount.ControllerType;
    if (controller == Controller_Type::VTRKC4 || controller == Controller_Type::VTRKC5) {
        rates->Add(kKing);
    }
    needs_.rateLists.tracking = rates;
    return rates;
}

std::shared_ptr<const AxisRates> Telescope::AxisRates(std::int32_t axis) {
    check_connected("AxisRates", false, state_.g_bTracking);
    needs_.log.LogMessage("ASCOM", LogLevel::Info, "AxisRates(" + std::string(AxisName(axis)) + ")");
    const ClientRateLists& lists = needs_.rateLists;
    return axis == kPrimary ? lists.primary : axis == kSecondary ? lists.secondary : lists.tertiary;
}

bool Telescope::CanMoveAxis(std::int32_t axis) {
    const bool can = axis == kPrimary || axis == kSecondary;
    needs_.log.LogMessage("ASCOM", LogLevel::Info,
                          "CanMoveAxis(" + std::string(AxisName(axis)) + ") = " + (can ? "True" : "False"));
    return can;
}

}  // namespace kestrane
