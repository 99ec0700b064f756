#include <utility>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/mount/mount_time.h"
#include "ui/colours.h"
#include "ui/hand_box_panel.h"

namespace kestrane {
namespace {

constexpr double kMaxMeridianDelayHours = 6.0;
constexpr std::int32_t kAskTimeAgainMs = 5000;

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
};

/// A person is asked about these, and may take all night. Those of swap and "initialise now", which nobody has set yet,
/// will ask too and belong here then.
constexpr bool AsksAPerson(ButtonAction action) {
    return action == ButtonAction::Park || action == ButtonAction::Unpark || action == ButtonAction::SetPark;
}

}  // namespace

void HandBoxPanel::WireButtons() {
    frmHandBox& handBox = needs_.handBox;
    handBox.tmrButtonDelay.OnTick([this] {
        ShowOfferWhenDue();
        RunDelayedAction();
    });
    for (const ActionRow& row : kActionButtons) {
        (handBox.*row.button).OnClick([this, action = row.action] { Press(action); });
    }
    handBox.btnResetErrorCounts.OnClick([this] { needs_.resetCommCounters(); });
    handBox.btnOpenLogDirectory.OnClick([this] { OpenLogFolder(); });
    WirePark();
    OnAction(ButtonAction::SyncMountTime, [this] { SyncMountTime(); });
    OnAction(ButtonAction::SetMeridianDelay,
             [this] { SendMeridianDelay(Val_Global(needs_.handBox.txtMeridianDelay.Text(), driver_.log)); });
    OnAction(ButtonAction::ClearMeridianDelay, [this] { SendMeridianDelay(0.0); });
    OnAction(ButtonAction::GetLongLat, [this] { needs_.readMountSite(Notice::Shown, AfterSilence::AsksOn); });
}

void HandBoxPanel::OnAction(ButtonAction action, std::function<void()> run) {
    actions_[static_cast<std::size_t>(action)] = std::move(run);
}

void HandBoxPanel::Press(ButtonAction action) {
    if (MustWait(action)) {
        delayed_ = action;
    } else if (AsksAPerson(action)) {
        BeginToAsk(action);
    } else {
        Run(action);
    }
}

/// A move ahead of a park has nobody but its own loop to end it, which a question above it would hold up.
bool HandBoxPanel::MustWait(ButtonAction action) const {
    return state_.g_bInPoll || (AsksAPerson(action) && InParkMove(state_));
}

/// A second press before the answer asks nothing. What began in between to move the mount ahead of a park comes first.
void HandBoxPanel::BeginToAsk(ButtonAction action) {
    bool& asked = asked_[static_cast<std::size_t>(action)];
    if (std::exchange(asked, true)) {
        driver_.log.LogMessage("frmHandBox", LogLevel::Info,
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
void HandBoxPanel::RunAsLongCall(std::function<void()> run) {
    needs_.pump.Post(CallKind::WaitsLong, [this, run = std::move(run), token = std::weak_ptr<int>(token_)] {
        if (!token.expired()) {
            ResumeNext errors{driver_.ledger, "tmrButtonDelay"};
            errors.Step(run);
        }
    });
}

void HandBoxPanel::Run(ButtonAction action) {
    ResumeNext errors{driver_.ledger, "tmrButtonDelay"};
    errors.Step([&] {
        // A copy, since an action may replace itself.
        const std::function<void()> run = actions_[static_cast<std::size_t>(action)];
        if (run) {
            run();
        }
    });
}

/// A delayed action holds back the next one, but for a question: its answer may take all night.
void HandBoxPanel::RunDelayedAction() {
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

void HandBoxPanel::SetMeridianDelayUI(double hours) {
    const auto log = [&](LogLevel level, std::string_view text) {
        driver_.log.LogMessage("SetMeridianDelayUI", level, std::string(text) + PlainNumber(hours));
    };
    if (!(hours >= -kMaxMeridianDelayHours && hours <= kMaxMeridianDelayHours)) {
        log(LogLevel::Error, "Meridian Delay Value out of range -6 to 6: Attempted value: ");
        return;
    }
    state_.g_dMeridianDelay = hours;
    log(LogLevel::Info, "Setting Meridian Delay: ");
    frmHandBox& handBox = needs_.handBox;
    const bool enabled = hours != 0.0;
    handBox.frameMeridianDelay.Caption(enabled ? "Meridian Delay: Enabled" : "Meridian Delay: Disabled");
    handBox.lblMeridianDelay.Text(enabled ? FormatUs(hours, "0.0") : "");
    Paint(handBox.lblTime, enabled ? kWarningColours : kNormalColours);
    Paint(handBox.lblMeridianDelay, enabled ? kWarningColours : kNormalColours);
}

/// The mount's clock includes the delay, so the time is sent again and read back at once.
void HandBoxPanel::SendMeridianDelay(double hours) {
    SetMeridianDelayUI(hours);
    state_.g_bMeridianDelayKnown = state_.g_bMeridianDelayKnown || state_.g_dMeridianDelay == hours;
    SyncMountTime();
    state_.g_tickLastTime = driver_.clock.GetTickCount() - kAskTimeAgainMs;
}

void HandBoxPanel::SyncMountTime() {
    ResumeNext errors{driver_.ledger, "btnSyncMountTime"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            MountTime(*telescope).Sync();
        }
    });
}

/// Before the first log there is nothing to open: the folder is known only then.
void HandBoxPanel::OpenLogFolder() {
    if (!state_.g_sLogDir.empty()) {
        const std::string& folder = state_.g_sLogDir;
        const bool quoted = folder.find_first_of(" \t\r\n") != std::string::npos;
        const bool isOneWord = !quoted || folder.find('"') == std::string::npos;
        if (!isOneWord || !needs_.processes.Start("xdg-open", quoted ? "\"" + folder + "\"" : folder)) {
            driver_.log.LogMessage("OpenLogFolder", LogLevel::Warning,
                                   "No file browser could be started. The logs are in " + folder);
        }
    }
}

}  // namespace kestrane
