#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {

void Telescope::CheckConnected() {
    if (!sendsParkLeg_ && !needs_.connections.IsClientConnected(ClientKind::Telescope)) {
        throw DriverError(ErrorNumber::NotConnected);
    }
    if (state_.g_bLostComms || state_.g_bMountUnproved || needs_.queries.LineIsSilent()) {
        throw DriverError(ErrorNumber::LostCommunications);
    }
}

void Telescope::check_connected(std::string_view operation, Parked parked, TrackingMust tracking) {
    const std::string name{operation};
    const auto log = [&](std::string_view text) {
        driver_.log.LogMessage("check_connected", LogLevel::Exception, text);
    };
    if (!needs_.internalInstance() || !state_.g_bConnected) {
        log("Telescope not connected or is Nothing: " + name);
        throw DriverError(ErrorNumber::NotConnected);
    }
    if (parked == Parked::IsRefused && state_.g_bParked) {
        log(name + " : bMustNotBeParked and g_bParked: True, True");
        throw DriverError(ErrorNumber::IllegalWhileParked);
    }
    const bool required = tracking == TrackingMust::BeOn;
    if (tracking == TrackingMust::BeEither || required == state_.g_bTracking) {
        return;
    }
    state_.g_bAutoEnableTracking = driver_.persist.ReadFlag(setting::chkAutoEnableTracking);
    if (required && state_.g_bAutoEnableTracking) {
        Tracking(true);
        return;
    }
    log(name + " : Track <> g_bTracking: " + std::string(TrueFalse(required)) + ", " +
        std::string(TrueFalse(state_.g_bTracking)));
    throw DriverError(ErrorNumber::WrongTracking);
}

void Telescope::check_connected(std::string_view operation, Parked parked) {
    check_connected(operation, parked, TrackingMust::BeEither);
    if (state_.g_bTracking) {
        driver_.log.LogMessage("check_connected", LogLevel::Exception,
                               std::string(operation) + " : Invalid operation (altaz): tracking must be disabled");
        throw DriverError(ErrorNumber::InvalidOperation);
    }
}

void Telescope::check_connected_park(std::string_view operation, Parked parked) {
    const std::string name{operation};
    const auto log = [&](std::string_view text) {
        driver_.log.LogMessage("check_connected_park", LogLevel::Exception, text);
    };
    if (!needs_.internalInstance() || !state_.g_bConnected) {
        log("Telescope not connected or is Nothing : " + name);
        throw DriverError(ErrorNumber::NotConnected);
    }
    if (parked == Parked::IsRefused && state_.g_bParked) {
        log(name + " : bPark and g_bParked: True, True");
        throw DriverError(ErrorNumber::IllegalWhileParked);
    }
}

}  // namespace kestrane
