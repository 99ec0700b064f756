#pragma once

#include <string_view>

#include "telescope/telescope_core.h"

namespace kestrane {

/// The place of the settings.
CounterweightUpPlace ReadCounterweightUpPlace(Essentials driver);

/// What is logged where the mount cannot have the delay that such a park needs.
inline constexpr std::string_view kNoDelayForCounterweightUp =
    "No park with the counterweight up at this hour angle: the mount takes meridian delays up to 6 hours";

inline constexpr std::string_view kParkGotoRefused = "The mount does not go to its park position";

/// How a park under way ends.
class ParkEnd : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// What follows the first leg of a park with the counterweight up.
    void StartSecondLeg();
    /// Gives the mount a meridian delay, in hours, with the time. False when the mount does not have it after that.
    bool SetTimeOffset(double hours);
    /// The mount stands at its place: parks it, unless a stop gets in.
    void Finish();
    /// Somebody has stopped the park: the tracking from before is restored.
    void Cancel();
    /// The mount does not go where the park should end: it is left without tracking, so that it stands. The companion
    /// is released.
    void Fail(std::string_view reason);
    /// After the end of a park that came to nothing: puts back the tracking from before, and takes a delay back.
    void Restore();

private:
    enum class Leg { Taken, Refused };

    Leg SendSecondLeg();
    void ShowCancelled();
    void TakeBackDelay();
};

}  // namespace kestrane
