#include "ui/hand_box/meridian.h"

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/mount/mount_time.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr double kMaxMeridianDelayHours = 6.0;
constexpr std::int32_t kAskTimeAgainMs = 5000;

}  // namespace

MeridianFrame::MeridianFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions)
    : needs_(needs), driver_(needs.driver), state_(needs.driver.state) {
    kept.Add(KeptText{needs_.handBox.txtMeridianDelay, setting::txtMeridianDelay});
    actions.On(ButtonAction::SyncMountTime, [this] { SyncMountTime(); });
    actions.On(ButtonAction::SetMeridianDelay,
               [this] { SendMeridianDelay(Val_Global(needs_.handBox.txtMeridianDelay.Text(), driver_.log)); });
    actions.On(ButtonAction::ClearMeridianDelay, [this] { SendMeridianDelay(0.0); });
}

void MeridianFrame::SetMeridianDelayUI(double hours) {
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
void MeridianFrame::SendMeridianDelay(double hours) {
    SetMeridianDelayUI(hours);
    state_.g_bMeridianDelayKnown = state_.g_bMeridianDelayKnown || state_.g_dMeridianDelay == hours;
    SyncMountTime();
    state_.g_tickLastTime = driver_.clock.GetTickCount() - kAskTimeAgainMs;
}

void MeridianFrame::SyncMountTime() {
    ResumeNext errors{driver_.ledger, "btnSyncMountTime"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            MountTime(*telescope).Sync();
        }
    });
}

}  // namespace kestrane
