#pragma once

#include <functional>
#include <string>

#include "forms/controls.h"
#include "state/driver_state.h"

namespace kestrane {

struct VersionNoticeNeeds {
    const DriverState& state;
    Label& label;
    Timer& timer;
    std::function<void()> openPage;
};

/// Lets a label of a window blink with the notice of a newer version of the driver, in turn with its own text. It takes
/// the tick of the timer; the click of the label stays with the window, which asks `TakesClick` first. Label and timer
/// outlive it. Logic thread only.
class VersionNotice final {
public:
    explicit VersionNotice(VersionNoticeNeeds needs);

    /// Shows the notice from now on, if there is a newer version. For the moment when the window opens, and when the
    /// check has found one.
    void Begin();
    /// Opens the page while the notice is shown, in either phase; false when it is not.
    bool TakesClick();

private:
    void OnTick();

    VersionNoticeNeeds needs_;
    bool shown_ = false;
    bool noticePhase_ = false;
    std::string ownText_;
};

}  // namespace kestrane
