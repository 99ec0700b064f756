#include "client/session.h"

#include <algorithm>

#include "client/json_text.h"

namespace kestrane::client {
namespace {

constexpr std::int64_t kNoMount = 0x402;  ///< the driver's error for a connect that found none

AlpacaDevice::Limits LimitsOf(const Arguments& arguments) {
    AlpacaDevice::Limits limits;
    if (arguments.timeout) {
        limits = {*arguments.timeout, *arguments.timeout, *arguments.timeout};
    }
    return limits;
}

}  // namespace

boost::json::value PutText(AlpacaDevice& device, const std::string& text) {
    return device.Put("CommandString", {{"Command", text}, {"Raw", "True"}});
}

Session::Session(const Arguments& theArguments, const Surroundings& theSurroundings)
    : arguments(theArguments),
      surroundings(theSurroundings),
      device(
          {theArguments.host, theArguments.port, theArguments.deviceType, theArguments.device, theArguments.clientId},
          LimitsOf(theArguments)) {}

void Session::EnsureConnected() {
    // A device that several clients share may report a connection while this client has none: a member that needs the
    // connection then reports that.
    const bool isConnected =
        device.TryFlag("Connected").value_or(false) && device.TryGet(IsTelescope() ? "RightAscension" : "IsMoving");
    if (isConnected) {
        return;
    }
    try {
        device.Put("Connected", {{"Connected", "True"}});
    } catch (const DeviceError& error) {
        const std::string why = error.Number() == kNoMount ? WhyNoMount() : "";
        throw DeviceError(error.Number(), error.what() + (why.empty() ? "" : " " + why));
    }
    hasConnected_ = true;
}

/// Empty when nobody says why; nothing takes the place of the error that the connect gave.
std::string Session::WhyNoMount() {
    try {
        return AskDriver("GetConnectFailure");
    } catch (const DeviceError&) {
        return {};  // another driver
    } catch (const Unreachable&) {
        return {};
    }
}

AlpacaDevice Session::DeviceOnAnotherConnection() const {
    return {device.Where(), LimitsOf(arguments)};
}

boost::json::value Session::PutToDriver(const std::string& text) {
    if (IsTelescope()) {
        return PutText(device, text);
    }
    AlpacaDevice telescope({arguments.host, arguments.port, "telescope", 0, arguments.clientId}, LimitsOf(arguments));
    return PutText(telescope, text);
}

std::string Session::AskDriver(const std::string& verb) {
    const std::string reply = PlainText(PutToDriver("RAW," + verb));
    if (reply == "1" || reply.starts_with("1,")) {
        return reply.substr(std::min<std::size_t>(2, reply.size()));
    }
    throw DeviceError(0, reply.starts_with("0,") ? reply.substr(2) : "this is no driver that knows " + verb);
}

void Session::LetGo() {
    if (!hasConnected_) {
        return;
    }
    hasConnected_ = false;
    try {
        device.Put("Connected", {{"Connected", "False"}});
    } catch (const DeviceError&) {
    } catch (const Unreachable&) {
    }
}

void Session::Tell(const std::string& words, const boost::json::object& object) {
    surroundings.out << (arguments.json ? JsonText(object) : Shown(words)) << std::endl;
}

void Session::Note(const std::string& words) {
    if (!arguments.json) {
        surroundings.progress << Shown(words) << std::endl;
    }
}

}  // namespace kestrane::client
