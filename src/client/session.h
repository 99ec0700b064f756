#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <string>
#include <string_view>

#include "client/alpaca_device.h"
#include "client/arguments.h"
#include "client/client.h"

namespace kestrane::client {

/// Sends a text as it is; the reply.
boost::json::value PutText(AlpacaDevice& device, const std::string& text);

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

    /// The same device, for a request while another one waits for its answer.
    AlpacaDevice DeviceOnAnotherConnection() const;

    /// Sends a text to the driver itself, which needs no connection; for a focuser, which takes no texts, by the first
    /// telescope of its server. Raises `DeviceError`, `Unreachable`.
    boost::json::value PutToDriver(const std::string& text);
    /// Runs a verb of the driver: the value in its reply. Raises `DeviceError` also for a reply that reports a failure.
    std::string AskDriver(const std::string& verb);

    /// The result: one line of words, or the object in one line of JSON.
    void Tell(const std::string& words, const boost::json::object& object);
    /// A note beside the result; nothing with --json.
    void Note(const std::string& words);

private:
    bool IsTelescope() const { return arguments.deviceType == "telescope"; }
    std::string WhyNoMount();

    bool hasConnected_ = false;
};

/// Where a slew goes, at the device's equinox.
struct SlewTarget {
    std::string name;  ///< of a star; empty for plain coordinates
    double ra = 0.0;   ///< hours
    double dec = 0.0;  ///< degrees
};

void RunSlew(Session& session);
void RunSync(Session& session);
void RunTrack(Session& session);
void RunGuide(Session& session);
void RunInit(Session& session);
void RunStars(Session& session);
void RunPark(Session& session);
void RunUnpark(Session& session);
void RunFocus(Session& session);

}  // namespace kestrane::client
