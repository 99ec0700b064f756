#pragma once

#include <boost/json/object.hpp>
#include <string>
#include <string_view>

#include "client/alpaca_device.h"
#include "client/arguments.h"
#include "client/client.h"

namespace kestrane::client {

/// One run of the program with one device: what the commands share.
class Session {
public:
    Session(const Arguments& arguments, const Surroundings& surroundings);

    const Arguments& arguments;
    const Surroundings& surroundings;
    AlpacaDevice device;

    /// Connects unless this client is connected already. Raises `DeviceError`, `Unreachable`. When a driver of this
    /// project has found no mount, the error says why, to a focuser by the first telescope of its server.
    void EnsureConnected();
    /// Disconnects if `EnsureConnected` has connected; a failure does not matter any more.
    void LetGo();
    bool HasConnected() const { return hasConnected_; }

    /// Runs a command to the driver itself, which needs no connection: the value in its reply. Raises `DeviceError`,
    /// also for a reply that reports a failure.
    std::string AskDriver(const std::string& verb) { return AskDriver(device, verb); }

    /// The result: one line of words, or the object in one line of JSON.
    void Tell(const std::string& words, const boost::json::object& object);
    /// A note beside the result; nothing with --json.
    void Note(const std::string& words);

    /// Whether progress is shown.
    bool ShowsProgress() const { return !arguments.json; }

private:
    bool IsTelescope() const { return arguments.deviceType == "telescope"; }
    std::string WhyNoMount();
    static std::string AskDriver(AlpacaDevice& device, const std::string& verb);

    bool hasConnected_ = false;
};

/// Where a slew goes, at the device's equinox.
struct SlewTarget {
    std::string name;  ///< of a star; empty for plain coordinates
    double ra = 0.0;   ///< hours
    double dec = 0.0;  ///< degrees
};

void RunSlew(Session& session);
void RunStars(Session& session);
void RunPark(Session& session);

}  // namespace kestrane::client
