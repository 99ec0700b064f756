#include "ui/hand_box/hand_box_panel.h"

#include <utility>

#include "ui/log_folder.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPollIntervalMs = 150;
constexpr std::int32_t kAllGuideMarks = -1;

}  // namespace

HandBoxPanel::HandBoxPanel(HandBoxNeeds needs)
    : needs_(std::move(needs)),
      driver_(needs_.driver),
      kept_(needs_.handBox, driver_.persist, Keeps::AtOnce),
      actions_(needs_),
      window_(needs_),
      position_(needs_),
      park_(needs_, kept_, actions_),
      setPark_(needs_, actions_),
      unparkOffer_(needs_, park_, actions_),
      pad_(needs_, kept_, actions_, park_, [this] { AbortSlew(); }),
      tracking_(needs_, kept_, actions_),
      configuration_(needs_, kept_, actions_),
      site_(needs_, actions_),
      focuser_(needs_, kept_),
      meridian_(needs_, kept_, actions_),
      brightness_(needs_, kept_, actions_),
      errors_(needs_),
      paging_(needs_, kept_) {
    needs_.handBox.OnLoad([this] { OnLoad(); });
    needs_.handBox.tmrButtonDelay.OnTick([this] {
        unparkOffer_.OnTick();
        actions_.RunDelayed();
    });
    needs_.handBox.btnOpenLogDirectory.OnClick(
        [this] { OpenLogFolder(driver_.state.g_sLogDir, needs_.processes, driver_.log); });
}

void HandBoxPanel::OnLoad() {
    const FillsForm filling(needs_.handBox);
    window_.Load();
    SetUiGuideIndicator(kAllGuideMarks, false);
    needs_.queries.ResetQueryTimes();
    needs_.handBox.tmrQueryRaDecAltAz.Interval(kPollIntervalMs);
    configuration_.Load();
    pad_.ArrangeMoveButtons();
    site_.Load();
    needs_.showMenuOptions();
    paging_.Load();
}

void HandBoxPanel::UpdateControls() {
    needs_.handBox.EnsureLoaded();
    const FillsForm filling(needs_.handBox);
    kept_.Fill();
    needs_.handBox.chkEnableDebugLog.Checked(driver_.state.g_bDebugLog);
    brightness_.Show();
    FillMountLabels();
    paging_.ShowFrames();
}

void HandBoxPanel::FillMountLabels() {
    needs_.handBox.lblMountType.Text(needs_.mount.Name());
    needs_.statusWindow.lblMountType.Text(needs_.mount.Name());
    needs_.statusWindow.lblControlBox.Text(needs_.mount.ControllerName);
    site_.FillSite();
}

void HandBoxPanel::ShowCurrentSite() {
    needs_.handBox.EnsureLoaded();
    const FillsForm filling(needs_.handBox);
    site_.FillSite();
}

void HandBoxPanel::AbortSlew() {
    ResumeNext errors{driver_.ledger, "AbortSlew"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->AbortSlewDriver();
        }
    });
}

void HandBoxPanel::UserShow() {
    window_.UserShow();
}

void HandBoxPanel::UpdateRateLimits() {
    tracking_.UpdateRateLimits();
}

void HandBoxPanel::ShowMountFeatures() {
    paging_.ShowFrames();
}

void HandBoxPanel::SetParkStatus(std::string_view text, std::string_view /*origin*/) {
    position_.SetParkStatus(text);
}

void HandBoxPanel::SetParkToolTip(std::string_view text) {
    position_.SetParkToolTip(text);
}

void HandBoxPanel::ShowTrackingRate(std::int16_t rate, RateCorrection correction) {
    tracking_.ShowTrackingRate(rate, correction);
}

void HandBoxPanel::EnableRateControls() {
    tracking_.EnableRateControls();
}

void HandBoxPanel::SetMeridianDelayUI(double hours) {
    meridian_.SetMeridianDelayUI(hours);
}

void HandBoxPanel::ShowMountSite(double longitude, double latitude, Notice notice) {
    site_.ShowMountSite(longitude, latitude, notice);
}

void HandBoxPanel::ShowNoMountSite(Notice notice) {
    site_.ShowNoMountSite(notice);
}

void HandBoxPanel::UpdateErrorCounts() {
    errors_.UpdateErrorCounts();
}

void HandBoxPanel::SlewFlashDisplay() {
    position_.SlewFlashDisplay();
}

void HandBoxPanel::SetUiGuideIndicator(std::int32_t direction, bool on) {
    position_.SetUiGuideIndicator(direction, on);
}

}  // namespace kestrane
