#include "ui/hand_box_panel.h"

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPollIntervalMs = 150;

}  // namespace

HandBoxPanel::HandBoxPanel(HandBoxPanelNeeds needs) : needs_(std::move(needs)), state_(needs_.state) {
    needs_.handBox.OnLoad([this] { OnLoad(); });
    needs_.handBox.tmrSlewFlashUI.OnTick([this] { SlewFlashDisplay(); });
}

void HandBoxPanel::OnLoad() {
    needs_.queries.ResetQueryTimes();
    needs_.handBox.tmrQueryRaDecAltAz.Interval(kPollIntervalMs);
    needs_.handBox.chkEnableDebugLog.Checked(state_.g_bDebugLog);
    needs_.handBox.chkUseRCAL.Checked(needs_.persist.ReadFlag(setting::chkUseRCAL));
    needs_.handBox.chkCalcAzAlt.Checked(needs_.persist.ReadFlag(setting::chkCalcAzAlt));
    needs_.handBox.chkCalcLST.Checked(needs_.persist.ReadFlag(setting::chkCalcLST));
}

void HandBoxPanel::UserShow() {
    needs_.handBox.Show();
}

void HandBoxPanel::UpdateControls() {}

void HandBoxPanel::UpdateRateLimits() {}

void HandBoxPanel::ShowMountFeatures() {}

void HandBoxPanel::SetParkStatus(std::string_view text, std::string_view /*origin*/) {
    needs_.handBox.lblParkStatus.Text(text);
}

void HandBoxPanel::SetParkToolTip(std::string_view text) {
    needs_.handBox.lblParkStatus.ToolTip(text);
}

void HandBoxPanel::ShowTrackingRate(std::int16_t rate, bool /*corrected*/) {
    if (state_.g_nDisplayedRate != rate) {
        state_.g_nDisplayedRate = rate;
        state_.g_tickDisplayedRate = needs_.clock.GetTickCount();
        state_.g_bRestoreRatePending = true;
    }
}

void HandBoxPanel::SetMeridianDelayUI(double hours) {
    state_.g_dMeridianDelay = hours;
}

/// Reads the site of the mount into the boxes of the actual site.
void HandBoxPanel::GetLongLatFromMount(bool /*silent*/) {
    double longitude = 0.0;
    double latitude = 0.0;
    if (needs_.getMountLongLat(longitude, latitude)) {
        needs_.handBox.txtActualLatitude.Text(DegreesToDMS(latitude, "*", ":", "", 0));
        needs_.handBox.txtActualLongitude.Text(DegreesToDMS(longitude, "*", ":", "", 0));
    }
}

void HandBoxPanel::UpdateErrorCounts() {
    if (state_.g_bQuayLink) {
        // The companion owns the line.
        state_.g_nRetransmits = state_.g_nReceiveCountedErrors = state_.g_nReceiveTerminatedErrors = 0;
    }
    needs_.handBox.lblRetransmits.Text(std::to_string(state_.g_nRetransmits));
    needs_.handBox.lblReceiveStringErrors.Text(
        std::to_string(state_.g_nReceiveTerminatedErrors + state_.g_nReceiveCountedErrors));
    needs_.statusWindow.lblCommErrors.Text(std::to_string(state_.g_nRetransmits + state_.g_nReceiveCountedErrors +
                                                          state_.g_nReceiveTerminatedErrors + state_.g_nMotorStalls +
                                                          state_.g_nServoFaults + state_.g_nLowPower));
}

/// Shows that a slew runs: the position in one phase, the words of the abort in the other.
void HandBoxPanel::SlewFlashDisplay() {
    const bool flash = state_.g_bSlewing && !state_.g_bFlashShowing;
    state_.g_bFlashShowing = flash;
    frmHandBox& handBox = needs_.handBox;
    handBox.lblRA.Text(!flash ? needs_.queries.LastRaText() : state_.g_bParking ? "PARKING" : "SLEWING");
    handBox.lblDEC.Text(!flash ? needs_.queries.LastDecText() : "CLICK");
    handBox.lblAlt.Text(!flash ? needs_.queries.LastAltText() : "THIS TO");
    handBox.lblAz.Text(!flash ? needs_.queries.LastAzText() : "ABORT");
    if (!state_.g_bSlewing) {
        handBox.tmrSlewFlashUI.Enabled(false);
    }
}

void HandBoxPanel::SetKingRateState() {}

void HandBoxPanel::RestoreTrackingRate(std::int16_t /*rate*/) {}

}  // namespace kestrane
