#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {

void Telescope::CheckConnected() {
    if (!needs_.connections.IsClientConnected(ClientKind::Telescope)) {
        throw DriverError(ErrorNumber::NotConnected);
    }
    if (state_.g_bLostComms) {
        throw DriverError(ErrorNumber::LostCommunications);
    }
}

namespace {

std::string FlagPair(bool first, bool second) {
    return std::string(TrueFalse(first)) + ", " + std::string(TrueFalse(second));
}

}  // namespace

void Telescope::check_connected(std::string_view operation, bool mustNotBeParked, bool requiredTracking) {
    const std::string name{operation};
    const auto log = [&](std::string_view text) {
        needs_.log.LogMessage("check_connected", LogLevel::Exception, text);
    };
    if (!needs_.internalInstance() || !state_.g_bConnected) {
        log("Telescope not connected or is Nothing: " + name);
        throw DriverError(ErrorNumber::NotConnected);
    }
    if (mustNotBeParked && state_.g_bParked) {
        log(name + " : bMustNotBeParked and g_bParked: " + FlagPair(mustNotBeParked, state_.g_bParked));
        throw DriverError(ErrorNumber::IllegalWhileParked);
    }
    if (requiredTracking == state_.g_bTracking) {
        return;
    }
    state_.g_bAutoEnableTracking = needs_.persist.ReadFlag(setting::chkAutoEnableTracking);
    if (requiredTracking && state_.g_bAutoEnableTracking) {
        Tracking(true);
        return;
    }
    log(name + " : Track <> g_bTracking: " + FlagPair(requiredTracking, state_.g_bTracking));
    throw DriverError(ErrorNumber::WrongTracking);
}

void Telescope::check_connected(std::string_view operation, bool mustNotBeParked) {
    check_connected(operation, mustNotBeParked, state_.g_bTracking);
    if (state_.g_bTracking) {
        needs_.log.LogMessage("check_connected", LogLevel::Exception,
                              std::string(operation) + " : Invalid operation (altaz): tracking must be disabled");
        throw DriverError(ErrorNumber::InvalidOperation);
    }
}

void Telescope::check_connected_park(std::string_view operation, bool park) {
    const std::string name{operation};
    const auto log = [&](std::string_view text) {
        needs_.log.LogMessage("check_connected_park", LogLevel::Exception, text);
    };
    if (!needs_.internalInstance() || !state_.g_bConnected) {
        log("Telescope not connected or is Nothing : " + name);
        throw DriverError(ErrorNumber::NotConnected);
    }
    if (park && state_.g_bParked) {
        log(name + " : bPark and g_bParked: " + FlagPair(park, state_.g_bParked));
        throw DriverError(ErrorNumber::IllegalWhileParked);
    }
}

}  // namespace kestrane
