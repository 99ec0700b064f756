#pragma once

#include <functional>

#include "forms/form.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"

namespace kestrane {

/// Shows windows for which their opener waits. Logic thread only.
class Modal {
public:
    Modal(Waits& waits, Log& log) : waits_(waits), log_(log) {}

    /// Shows the window and pumps until it is hidden or unloaded; calls of clients that wait long may start meanwhile.
    /// Where no view shows the window, or the last one goes
    /// while it is open, nobody can answer: `answer` presses what the opener has chosen for that case, and the window
    /// is hidden, with a warning in the log. Without an `answer` the window stays as it is, which means Cancel. The
    /// opener sets what the window asks before the call, and reads the answer and unloads the window after it.
    void ShowModal(Form& form, const std::function<void()>& answer = {});

private:
    Waits& waits_;
    Log& log_;
};

}  // namespace kestrane
