#include "ui/hand_box/button_actions.h"

#include <utility>

namespace kestrane {
namespace {

struct ActionRow {
    Button frmHandBox::*button;
    ButtonAction action;
};

constexpr ActionRow kActionButtons[] = {
    {&frmHandBox::btnPark, ButtonAction::Park},
    {&frmHandBox::btnUNPARK, ButtonAction::Unpark},
    {&frmHandBox::btnSwapNS, ButtonAction::SwapNS},
    {&frmHandBox::btnSwapEW, ButtonAction::SwapEW},
    {&frmHandBox::btnSlewRaDec, ButtonAction::SlewRaDec},
    {&frmHandBox::btnSlewAltAz, ButtonAction::SlewAltAz},
    {&frmHandBox::btnInitNow, ButtonAction::InitNow},
    {&frmHandBox::btnSyncMountTime, ButtonAction::SyncMountTime},
    {&frmHandBox::btnSetMeridianDelay, ButtonAction::SetMeridianDelay},
    {&frmHandBox::btnClearMeridianDelay, ButtonAction::ClearMeridianDelay},
    {&frmHandBox::btnGetLongLat, ButtonAction::GetLongLat},
    {&frmHandBox::btnSetGuideRate, ButtonAction::SetGuideRate},
    {&frmHandBox::btnSetSlewRate, ButtonAction::SetSlewRate},
    {&frmHandBox::btnSetPEM, ButtonAction::SetPem},
    {&frmHandBox::btnSetRaBacklash, ButtonAction::SetRaBacklash},
    {&frmHandBox::btnSetDecBacklash, ButtonAction::SetDecBacklash},
    {&frmHandBox::btnSetAll, ButtonAction::SetAll},
    {&frmHandBox::btnEnablePEM, ButtonAction::EnablePem},
    {&frmHandBox::btnDisablePEM, ButtonAction::DisablePem},
    {&frmHandBox::btnPEMRecord, ButtonAction::RecordPem},
    {&frmHandBox::btnReticleBrightness, ButtonAction::ResetReticle},
    {&frmHandBox::btnRateZero, ButtonAction::RateZero},
    {&frmHandBox::btnRateSidereal, ButtonAction::RateSidereal},
    {&frmHandBox::btnRateLunar, ButtonAction::RateLunar},
    {&frmHandBox::btnRateSolar, ButtonAction::RateSolar},
    {&frmHandBox::btnRateCustom, ButtonAction::RateCustom},
};

/// A person is asked about these, and may take all night.
constexpr bool AsksAPerson(ButtonAction action) {
    switch (action) {
        case ButtonAction::Park:
        case ButtonAction::Unpark:
        case ButtonAction::SetPark:
        case ButtonAction::SwapNS:
        case ButtonAction::SwapEW:
        case ButtonAction::InitNow:
        case ButtonAction::WarnOfPark1:
        case ButtonAction::GotoRaDec:
        case ButtonAction::GotoAltAz:
        case ButtonAction::OpenSetup:
        case ButtonAction::OpenFocuserSetup:
        case ButtonAction::CloseDriver:
            return true;
        default:
            return false;
    }
}

}  // namespace

ButtonActions::ButtonActions(const HandBoxNeeds& needs) : needs_(needs) {
    for (const ActionRow& row : kActionButtons) {
        (needs_.handBox.*row.button).OnClick([this, action = row.action] { Press(action); });
    }
}

void ButtonActions::On(ButtonAction action, std::function<void()> run) {
    actions_[static_cast<std::size_t>(action)] = std::move(run);
}

void ButtonActions::Press(ButtonAction action) {
    if (MustWait(action)) {
        delayed_ = action;
    } else if (AsksAPerson(action)) {
        BeginToAsk(action);
    } else {
        Run(action);
    }
}

void ButtonActions::Withdraw(ButtonAction action) {
    if (delayed_ == action) {
        delayed_ = ButtonAction::None;
    }
}

void ButtonActions::WithdrawMoves() {
    for (const ButtonAction moves :
         {ButtonAction::Park, ButtonAction::SlewRaDec, ButtonAction::SlewAltAz, ButtonAction::GotoRaDec,
          ButtonAction::GotoAltAz, ButtonAction::PressMove, ButtonAction::Repeat}) {
        if (delayed_ == moves) {
            delayed_ = ButtonAction::None;
            needs_.driver.log.LogMessage("frmHandBox", LogLevel::Info,
                                         "A button does nothing: it was pressed before the stop");
        }
    }
}

/// A move ahead of a park has nobody but its own loop to end it, which a question above it would hold up.
bool ButtonActions::MustWait(ButtonAction action) const {
    const DriverState& state = needs_.driver.state;
    return state.g_bInPoll || (AsksAPerson(action) && InParkMove(state));
}

/// A second press before the answer asks nothing. What began in between to move the mount ahead of a park comes first.
void ButtonActions::BeginToAsk(ButtonAction action) {
    bool& asked = asked_[static_cast<std::size_t>(action)];
    if (std::exchange(asked, true)) {
        needs_.driver.log.LogMessage("frmHandBox", LogLevel::Info,
                                     "A button does nothing: its question is being asked already");
        return;
    }
    RunAsLongCall([this, action, &asked] {
        if (MustWait(action)) {
            delayed_ = action;
        } else {
            Run(action);
        }
        asked = false;
    });
}

/// A button may be pressed, and its timer tick, in the pump of a client's call, which would have to wait for the answer
/// of a person.
void ButtonActions::RunAsLongCall(std::function<void()> run) {
    needs_.pump.Post(CallKind::WaitsLong, [this, run = std::move(run), token = std::weak_ptr<int>(token_)] {
        if (!token.expired()) {
            ResumeNext errors{needs_.driver.ledger, "tmrButtonDelay"};
            errors.Step(run);
        }
    });
}

void ButtonActions::Run(ButtonAction action) {
    ResumeNext errors{needs_.driver.ledger, "tmrButtonDelay"};
    errors.Step([&] {
        // A copy, since an action may replace itself.
        const std::function<void()> run = actions_[static_cast<std::size_t>(action)];
        if (run) {
            run();
        }
    });
}

/// A delayed action holds back the next one, but for a question: its answer may take all night.
void ButtonActions::RunDelayed() {
    if (delayed_ == ButtonAction::None || MustWait(delayed_) || runsDelayed_) {
        return;
    }
    const ButtonAction action = std::exchange(delayed_, ButtonAction::None);
    if (AsksAPerson(action)) {
        BeginToAsk(action);
        return;
    }
    runsDelayed_ = true;
    Run(action);
    runsDelayed_ = false;
}

}  // namespace kestrane
