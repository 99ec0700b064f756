#include "telescope/mount/rate_lists.h"

#include "catalogue/vocabulary.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kMaxMoveAxisRate = 5.0;     // degrees per second
constexpr double kMaxMoveAxisRateFir = 2.5;  // for the mount with half the speed

std::string_view AxisName(std::int32_t axis) {
    return axis == mount_axis::Primary     ? "axisPrimary"
           : axis == mount_axis::Secondary ? "axisSecondary"
                                           : "axisTertiary";
}

std::shared_ptr<TrackingRates> RatesOfEveryController() {
    auto rates = std::make_shared<TrackingRates>();
    for (const std::int32_t trackingRate : {tracking_rate::Sidereal, tracking_rate::Lunar, tracking_rate::Solar}) {
        rates->Add(trackingRate);
    }
    return rates;
}

}  // namespace

void MakeClientRateLists(TelescopeNeeds& needs) {
    ClientRateLists& lists = needs.rateLists;
    if (!lists.primary) {
        double& fastest = needs.driver.state.g_dMaxAxisRate;
        fastest = needs.mount.Name() == "Fir VTR" ? kMaxMoveAxisRateFir : kMaxMoveAxisRate;
        lists.primary = std::make_shared<AxisRates>();
        lists.secondary = std::make_shared<AxisRates>();
        lists.tertiary = std::make_shared<AxisRates>();
        lists.primary->Add(0.0, fastest);
        lists.secondary->Add(0.0, fastest);
    }
    if (!lists.tracking) {
        lists.tracking = RatesOfEveryController();
    }
}

std::shared_ptr<const TrackingRates> Telescope::TrackingRates() {
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "GET TrackingRates");
    check_connected("TrackingRates(get)", Parked::IsAllowed, TrackingMust::BeEither);
    auto rates = RatesOfEveryController();
    const Controller_Type controller = needs_.mount.ControllerType;
    if (controller == Controller_Type::VTRKC4 || controller == Controller_Type::VTRKC5) {
        rates->Add(tracking_rate::King);
    }
    return rates;
}

std::shared_ptr<const AxisRates> Telescope::AxisRates(std::int32_t axis) {
    check_connected("AxisRates", Parked::IsAllowed, TrackingMust::BeEither);
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "AxisRates(" + std::string(AxisName(axis)) + ")");
    const ClientRateLists& lists = needs_.rateLists;
    return axis == mount_axis::Primary     ? lists.primary
           : axis == mount_axis::Secondary ? lists.secondary
                                           : lists.tertiary;
}

bool Telescope::CanMoveAxis(std::int32_t axis) {
    const bool can = axis == mount_axis::Primary || axis == mount_axis::Secondary;
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "CanMoveAxis(" + std::string(AxisName(axis)) + ") = " + (can ? "True" : "False"));
    return can;
}

}  // namespace kestrane
