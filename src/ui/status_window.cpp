#include "ui/status_window.h"

#include <utility>

namespace kestrane {
namespace {

constexpr std::string_view kParked = "Parked";

}  // namespace

StatusWindow::StatusWindow(StatusWindowNeeds needs) : needs_(std::move(needs)) {
    needs_.form.tmrDisappear.OnTick([this] { HideForm(); });
    needs_.form.cmdStopAll.OnClick([this] { AskToStop(); });
    needs_.form.OnMoved([this](const ScreenArea& area) {
        needs_.form.width = area.right - area.left;
        needs_.form.height = area.bottom - area.top;
    });
}

void StatusWindow::StartTimer() {
    needs_.form.tmrDisappear.Enabled(false);
    needs_.form.tmrDisappear.Enabled(true);
}

void StatusWindow::HideForm() {
    if (!needs_.form.chkKeepOn.Checked()) {
        needs_.form.tmrDisappear.Enabled(false);
        needs_.form.Hide();
    }
}

/// As a stop it goes ahead of all that waits, and what was asked for before it moves nothing any more.
void StatusWindow::AskToStop() {
    needs_.pump.Post(CallKind::Stop, [this, token = std::weak_ptr<int>(token_)] {
        if (!token.expired()) {
            StopAll();
        }
    });
}

void StatusWindow::StopAll() {
    ResumeNext errors{needs_.ledger, "cmdStopAll"};
    errors.Step([&] { needs_.endHeldMotion(); });
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->StopEverything(needs_.form.lblParkStatus.Text() == kParked);
        }
    });
    errors.Step([&] { needs_.stopFocuser(); });
}

}  // namespace kestrane
