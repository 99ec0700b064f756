#include <boost/json.hpp>

#include "client/session.h"
#include "client/watched_action.h"

/// The commands that park a telescope and take it from its park.
namespace kestrane::client {
namespace {

constexpr double kParkPollSeconds = 0.25;
constexpr double kStandsSeconds = 5.0;  // a park with two legs stands for less between them

/// Whether the device comes to report that it is parked, or that it is not. It may stand for a moment on its way there.
bool AwaitParked(Session& session, WatchedAction& action, bool wanted) {
    double standing = 0.0;  // seconds
    while (session.device.Flag("AtPark") != wanted) {
        action.EndIfInterrupted();
        standing = session.device.Flag("Slewing") ? 0.0 : standing + kParkPollSeconds;
        if (standing > kStandsSeconds) {
            return false;
        }
        action.Show();
        session.surroundings.waitSeconds(kParkPollSeconds);
    }
    return true;
}

}  // namespace

void RunPark(Session& session) {
    session.EnsureConnected();
    WatchedAction action(session, "parking", {"AbortSlew", "Slewing", "the park was stopped"});
    action.Put("Park");
    if (!AwaitParked(session, action, true)) {
        throw DeviceError(0, "the device stands still and is not parked");
    }
    action.Finish();
    session.LetGo();
    session.Tell("parked", {{"AtPark", true}});
}

/// A device may answer without an error, and stay parked; or answer at once, and be parked until it has moved.
void RunUnpark(Session& session) {
    session.EnsureConnected();
    WatchedAction action(session, "unparking");
    action.Put("Unpark");
    const bool isParked = session.arguments.wait ? !AwaitParked(session, action, false) : session.device.Flag("AtPark");
    if (isParked && !session.arguments.wait && session.device.TryFlag("Slewing").value_or(false)) {
        action.Finish();
        session.Tell("unpark started" + std::string(session.HasConnected() ? "; the client stays connected" : ""),
                     {{"Value", nullptr}});
        return;
    }
    if (isParked) {
        throw DeviceError(0, "the device is still parked");
    }
    action.Finish();
    session.Tell("unparked", {{"Value", nullptr}});
    session.LetGo();
}

}  // namespace kestrane::client
