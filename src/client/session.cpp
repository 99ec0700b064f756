#include "client/session.h"

#include "client/json_text.h"

namespace kestrane::client {
namespace {

AlpacaDevice::Limits LimitsOf(const Arguments& arguments) {
    AlpacaDevice::Limits limits;
    if (arguments.timeout) {
        limits = {*arguments.timeout, *arguments.timeout};
    }
    return limits;
}

}  // namespace

Session::Session(const Arguments& theArguments, const Surroundings& theSurroundings)
    : arguments(theArguments),
      surroundings(theSurroundings),
      device(
          {theArguments.host, theArguments.port, theArguments.deviceType, theArguments.device, theArguments.clientId},
          LimitsOf(theArguments)) {}

void Session::EnsureConnected() {
    // A device that several clients share may report a connection while this client has none: a member that needs the
    // connection then reports that.
    const bool isTelescope = arguments.deviceType == "telescope";
    const bool isConnected =
        device.TryFlag("Connected").value_or(false) && device.TryGet(isTelescope ? "RightAscension" : "IsMoving");
    if (!isConnected) {
        device.Put("Connected", {{"Connected", "True"}});
        hasConnected_ = true;
    }
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
    surroundings.out << (arguments.json ? JsonText(object) : words) << std::endl;
}

void Session::Note(const std::string& words) {
    if (!arguments.json) {
        surroundings.progress << words << std::endl;
    }
}

}  // namespace kestrane::client
