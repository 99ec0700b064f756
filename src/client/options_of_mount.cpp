#include <algorithm>
#include <boost/json.hpp>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>

#include "client/session.h"
#include "client/watched_action.h"

/// The commands that choose how a mount tracks, guide it, and initialize it.
namespace kestrane::client {
namespace {

constexpr double kPulsePollSeconds = 0.1;
constexpr std::int32_t kLongestPulseMs = 600'000;

/// By their numbers.
constexpr std::string_view kRates[] = {"sidereal", "lunar", "solar", "king"};
constexpr std::string_view kDirections[] = {"north", "south", "east", "west"};

/// The number of a word in its list; -1 for none.
template <std::size_t size>
int NumberOf(const std::string& word, const std::string_view (&words)[size]) {
    const auto found = std::ranges::find(words, word);
    return found == std::end(words) ? -1 : static_cast<int>(found - std::begin(words));
}

std::int32_t Milliseconds(const std::string& text) {
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < 1 || value > kLongestPulseMs) {
        throw UsageError("MS " + text + ": milliseconds from 1 to " + std::to_string(kLongestPulseMs) + " are wanted");
    }
    return value;
}

/// Returns when the device reports no pulse any more.
void FollowPulse(Session& session, WatchedAction& action) {
    while (session.device.Flag("IsPulseGuiding")) {
        action.EndIfInterrupted();
        action.Show();
        session.surroundings.waitSeconds(kPulsePollSeconds);
    }
    action.EndIfInterrupted();  // the stop may have gone out while that was asked
}

}  // namespace

void RunTrack(Session& session) {
    const std::string& word = session.arguments.operands[0];
    const int rate = NumberOf(word, kRates);
    if (word != "on" && word != "off" && rate < 0) {
        throw UsageError("write: kestrane-client track on, off, sidereal, lunar, solar or king");
    }
    const bool asked = word != "off";
    session.EnsureConnected();
    WatchedAction action(session, "changing the tracking");
    if (rate >= 0) {
        action.Put("TrackingRate", {{"TrackingRate", std::to_string(rate)}});
    }
    // A device need not begin to track with its rate.
    if (rate < 0 || !session.device.Flag("Tracking")) {
        action.Put("Tracking", {{"Tracking", asked ? "True" : "False"}});
    }
    // It may also answer without an error, and go on as before.
    if (session.device.Flag("Tracking") != asked) {
        throw DeviceError(0, asked ? "the device does not track" : "the device still tracks");
    }
    action.Finish();
    session.Tell(asked ? "tracking" + (rate >= 0 ? ", " + word : std::string()) : "not tracking",
                 {{"Tracking", asked}});
    session.LetGo();
}

void RunGuide(Session& session) {
    const int direction = NumberOf(session.arguments.operands[0], kDirections);
    if (direction < 0) {
        throw UsageError("DIRECTION " + session.arguments.operands[0] + ": north, south, east or west is wanted");
    }
    const std::int32_t milliseconds = Milliseconds(session.arguments.operands[1]);
    session.EnsureConnected();
    // Some devices answer when the pulse has ended.
    WatchedAction action(session, "guiding", {"AbortSlew", "IsPulseGuiding", "the pulse was stopped"},
                         milliseconds / 1000.0);
    action.Put("PulseGuide", {{"Direction", std::to_string(direction)}, {"Duration", std::to_string(milliseconds)}});
    if (session.arguments.wait) {
        FollowPulse(session, action);
    }
    action.Finish();
    const boost::json::object result{{"Direction", session.arguments.operands[0]}, {"Duration", milliseconds}};
    if (session.arguments.wait) {
        session.Tell("the pulse has ended", result);
        session.LetGo();
    } else {
        // Without its client, the device may end the pulse early.
        session.Tell("pulse started" + std::string(session.HasConnected() ? "; the client stays connected" : ""),
                     result);
    }
}

void RunInit(Session& session) {
    const auto& operands = session.arguments.operands;
    const std::string text = operands.empty() ? "" : operands[0];
    session.EnsureConnected();
    WatchedAction action(session, "initializing");
    session.AskDriver(text.empty() ? "InitMount" : "InitMount," + text);
    action.Finish();
    session.Tell("initialized; what the mount refused is in the log", {{"InitString", text}});
    session.LetGo();
}

}  // namespace kestrane::client
