#include <boost/json.hpp>
#include <charconv>
#include <cstdint>
#include <string>

#include "client/session.h"
#include "client/watched_action.h"

/// The command that moves a focuser.
namespace kestrane::client {
namespace {

constexpr double kFocusPollSeconds = 0.2;

std::int32_t Steps(const std::string& text) {
    std::int32_t steps = 0;
    const char* const begin = text.data() + (text.starts_with('+') ? 1 : 0);
    const auto [end, error] = std::from_chars(begin, text.data() + text.size(), steps);
    if (error != std::errc{} || end != text.data() + text.size() || steps == 0) {
        throw UsageError("STEPS " + text + ": a whole number is wanted, above 0 for out and below it for in");
    }
    return steps;
}

/// Returns when the device reports no move any more.
void FollowFocuser(Session& session, WatchedAction& action) {
    while (session.device.Flag("IsMoving")) {
        action.EndIfInterrupted();
        action.Show();
        session.surroundings.waitSeconds(kFocusPollSeconds);
    }
    action.EndIfInterrupted();  // the stop may have gone out while that was asked
}

}  // namespace

void RunFocus(Session& session) {
    const std::int32_t steps = Steps(session.arguments.operands[0]);
    session.EnsureConnected();
    WatchedAction action(session, "moving", {"Halt", "IsMoving", "the focuser was stopped"});
    action.Put("Move", {{"Position", std::to_string(steps)}});
    if (session.arguments.wait) {
        FollowFocuser(session, action);
    }
    action.Finish();
    const boost::json::object result{{"Steps", steps}};
    if (session.arguments.wait) {
        session.Tell("the focuser stands", result);
        session.LetGo();
    } else {
        // Without its client, the device may end the move early.
        session.Tell("move started" + std::string(session.HasConnected() ? "; the client stays connected" : ""),
                     result);
    }
}

}  // namespace kestrane::client
