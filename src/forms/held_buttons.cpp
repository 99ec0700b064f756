#include "forms/held_buttons.h"

namespace kestrane {
namespace {

constexpr std::int32_t kLookEachMs = 100;

}  // namespace

HeldButtons::HeldButtons(Clock& clock, MessagePump& pump)
    : clock_(clock), pump_(pump), timer_(pump.CreatePromptTimer([this] { OnTick(); })) {
    timer_->SetInterval(kLookEachMs);
}

bool HeldButtons::Press(VisibleControl& button, FormView& view) {
    ReleaseAll();
    if (pump_.OvertakenByStop()) {
        button.FireMouseUp();
    } else if (button.Enabled()) {
        hold_.emplace(Hold{button, view, clock_.GetTickCount()});
        timer_->SetEnabled(true);
        button.FireMouseDown();
    }
    return hold_ && &hold_->button == &button && &hold_->view == &view;
}

void HeldButtons::StillHolds(FormView& view) {
    if (hold_ && &hold_->view == &view) {
        hold_->lastSeen = clock_.GetTickCount();
    }
}

void HeldButtons::Release(FormView& view) {
    if (hold_ && &hold_->view == &view) {
        ReleaseAll();
    }
}

void HeldButtons::ReleaseAll() {
    if (hold_) {
        const Hold ended = *hold_;
        hold_.reset();
        timer_->SetEnabled(false);
        ended.view.HoldEnded();
        ended.button.FireMouseUp();
    }
}

void HeldButtons::OnTick() {
    if (hold_ && clock_.GetTickCount() - hold_->lastSeen >= kLongestSilenceMs) {
        ReleaseAll();
    }
}

}  // namespace kestrane
