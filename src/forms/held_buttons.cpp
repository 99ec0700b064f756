#include "forms/held_buttons.h"

namespace kestrane {
namespace {

constexpr std::int32_t kLookEachMs = 100;

}  // namespace

HeldButtons::HeldButtons(Clock& clock, MessagePump& pump)
    : clock_(clock), pump_(pump), timer_(pump.CreatePromptTimer([this] { OnTick(); })) {
    timer_->SetInterval(kLookEachMs);
}

bool HeldButtons::Press(VisibleControl& button, const FormView& view) {
    ReleaseAll();
    if (pump_.OvertakenByStop()) {
        button.FireMouseUp();
    } else if (button.Enabled()) {
        hold_.emplace(Hold{button, view, clock_.GetTickCount()});
        timer_->SetEnabled(true);
        button.FireMouseDown();
    }
    return hold_.has_value();
}

void HeldButtons::StillHolds(const FormView& view) {
    if (hold_ && &hold_->view == &view) {
        hold_->lastSeen = clock_.GetTickCount();
    }
}

void HeldButtons::Release(const FormView& view) {
    if (hold_ && &hold_->view == &view) {
        ReleaseAll();
    }
}

void HeldButtons::ReleaseAll() {
    if (hold_) {
        VisibleControl& button = hold_->button;
        hold_.reset();
        timer_->SetEnabled(false);
        button.FireMouseUp();
    }
}

void HeldButtons::OnTick() {
    if (hold_ && clock_.GetTickCount() - hold_->lastSeen >= kLongestSilenceMs) {
        ReleaseAll();
    }
}

}  // namespace kestrane
