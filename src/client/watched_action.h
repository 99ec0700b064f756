#pragma once

#include <boost/json/value.hpp>
#include <string>
#include <string_view>

#include "client/progress.h"
#include "client/session.h"

namespace kestrane::client {

/// How Ctrl-C ends an action of the device.
struct Interruption {
    std::string_view member;  ///< stops the device; empty: Ctrl-C ends the program, as it does by itself
    std::string_view moving;  ///< whether it moves
    std::string_view told;    ///< "the park was stopped"
};

/// One action of the device while a person looks on: shows its progress, and stops it on Ctrl-C. Both also while an
/// answer is awaited; so a stop has a connection of its own. Nothing is shown with --json.
class WatchedAction {
public:
    /// `doing` is shown as "`doing` for 3 s" or, where it is known how many `seconds` the action takes, with the part
    /// that has passed. The session outlives this object.
    WatchedAction(Session& session, std::string doing, Interruption interruption = {}, double seconds = 0.0);
    ~WatchedAction() { Finish(); }
    WatchedAction(const WatchedAction&) = delete;
    WatchedAction& operator=(const WatchedAction&) = delete;

    /// Writes or calls a member of the device. Raises `DeviceError`, `Unreachable`; an interruption instead of them.
    void Put(std::string_view member, const Values& values = {});
    /// After a Ctrl-C: has the device stopped, and raises `DeviceError`.
    void EndIfInterrupted();

    /// Shows how long the action has taken.
    void Show();
    /// Shows words of its own, from now on in place of the others; `fraction` as in `Progress`.
    void Show(double fraction, const std::string& words);
    /// The same, even if the last line was shown just now.
    void ShowLast(double fraction, const std::string& words) { ShowAt(SecondsPassed() + 1000.0, fraction, words); }

    /// The action is over: nothing more is shown, and nothing stopped.
    void Finish();

private:
    double SecondsPassed() const { return session_.surroundings.unixSeconds() - start_; }
    void ShowAt(double now, double fraction, const std::string& words);
    bool IsInterrupted() const { return !interruption_.member.empty() && session_.surroundings.interrupted(); }
    void StopIfInterrupted();

    Session& session_;
    std::string doing_;
    Interruption interruption_;
    double seconds_;
    Progress progress_;
    double start_;
    bool hasOwnWords_ = false;
    double nextStop_ = 0.0;   ///< in seconds since the start, the earliest
    bool isStopped_ = false;  ///< the device has taken a stop
    std::string whyNotStopped_;
};

}  // namespace kestrane::client
