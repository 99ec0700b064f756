#include "client/watched_action.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "client/angles.h"

namespace kestrane::client {
namespace {

constexpr double kBetweenStopsSeconds = 3.0;

}  // namespace

WatchedAction::WatchedAction(Session& session, std::string doing, Interruption interruption, double seconds)
    : session_(session),
      doing_(std::move(doing)),
      interruption_(interruption),
      seconds_(seconds),
      progress_(session.surroundings.progress, session.surroundings.isTerminal),
      start_(session.surroundings.unixSeconds()) {
    if (!interruption_.member.empty()) {
        session_.surroundings.watchInterrupts();
    }
    session_.device.WhileWaiting([this] {
        StopIfInterrupted();
        if (!hasOwnWords_) {
            Show();
        }
    });
}

void WatchedAction::Put(std::string_view member, const Values& values) {
    try {
        session_.device.Put(member, values);
    } catch (const std::runtime_error&) {
        EndIfInterrupted();  // what a stopped call answers is no news
        throw;
    }
    if (isStopped_ && session_.device.TryFlag(interruption_.moving).value_or(false)) {
        isStopped_ = false;  // the stop has overtaken the call, which moves the device now
    }
    EndIfInterrupted();
}

void WatchedAction::EndIfInterrupted() {
    if (!IsInterrupted()) {
        return;
    }
    if (!isStopped_) {
        nextStop_ = 0.0;
    }
    StopIfInterrupted();
    throw DeviceError(0, isStopped_ ? "interrupted; " + std::string(interruption_.told)
                                    : "interrupted, but the device was not stopped: " + whyNotStopped_);
}

/// Raises nothing, since a request may be under way. A stop may be refused, reach nobody, or overtake the call that it
/// is meant for: so the next one follows while the answer is awaited.
void WatchedAction::StopIfInterrupted() {
    if (!IsInterrupted() || SecondsPassed() < nextStop_) {
        return;
    }
    nextStop_ = SecondsPassed() + kBetweenStopsSeconds;
    try {
        session_.DeviceOnAnotherConnection().Put(interruption_.member);
        isStopped_ = true;
    } catch (const std::runtime_error& error) {
        whyNotStopped_ = error.what();
    }
}

void WatchedAction::Show() {
    const double passed = SecondsPassed();
    if (seconds_ > 0.0) {
        ShowAt(passed, std::min(1.0, passed / seconds_), doing_);
    } else {
        ShowAt(passed, -1.0, doing_ + " for " + FormatFixed(passed, 0) + " s");
    }
}

void WatchedAction::Show(double fraction, const std::string& words) {
    hasOwnWords_ = true;
    ShowAt(SecondsPassed(), fraction, words);
}

void WatchedAction::ShowAt(double now, double fraction, const std::string& words) {
    if (!session_.arguments.json) {
        progress_.Show(fraction, words, now);
    }
}

void WatchedAction::Finish() {
    session_.device.WhileWaiting({});
    progress_.Finish();
}

}  // namespace kestrane::client
