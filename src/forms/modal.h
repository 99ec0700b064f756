#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "forms/form.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"

namespace kestrane {

/// Shows windows for which their opener waits. Logic thread only.
class Modal {
public:
    /// `isHeldUp`: whether a call below moves the mount and has to look at it all the time. No window opens above that:
    /// the person who is asked may never answer.
    Modal(Waits& waits, Log& log, std::function<bool()> isHeldUp)
        : waits_(waits), log_(log), isHeldUp_(std::move(isHeldUp)) {}

    /// Shows the window and pumps until it is hidden or unloaded; calls of clients that wait long may start meanwhile.
    /// Where no window may open, or no view shows it whose person may answer, nobody can: `answer` presses what the
    /// opener has chosen for that case, and the window is hidden, with a warning in the log. Without an `answer`, or
    /// where the last such view goes while the window is open, it stays as it is, which means Cancel. The opener sets
    /// what the window asks before the call, and reads the answer and unloads the window after it.
    void ShowModal(Form& form, const std::function<void()>& answer = {});

private:
    void AnswerUnasked(Form& form, std::string_view why, const std::function<void()>& answer);

    Waits& waits_;
    Log& log_;
    std::function<bool()> isHeldUp_;
};

}  // namespace kestrane
