#include "ui/hand_box/tracking.h"

#include <cmath>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

/// The buttons that choose a rate of the mount, by displayed rate.
constexpr ButtonAction kRateActions[] = {ButtonAction::RateZero, ButtonAction::RateSidereal, ButtonAction::RateLunar,
                                         ButtonAction::RateSolar};

bool Marks(std::int16_t rate, std::size_t indicator) {
    return rate >= 0 && static_cast<std::size_t>(rate) == indicator;
}

std::string RateText(const DriverState& state, std::int16_t rate, RateCorrection correction) {
    const std::string mark =
        correction == RateCorrection::On && (rate == displayed_rate::Sidereal || rate == displayed_rate::Custom)
            ? "Corr "
            : "";
    switch (rate) {
        case displayed_rate::Off:
            return "Not Tracking";
        case displayed_rate::Sidereal:
            return mark + (state.g_bKingRateAvailable && state.g_bKingRateEnabled ? "King" : "Sidereal");
        case displayed_rate::Lunar:
            return "Lunar";
        case displayed_rate::Solar:
            return "Solar";
        case displayed_rate::Custom:
            return mark + "Custom";
        default:
            return "";
    }
}

}  // namespace

TrackingFrame::TrackingFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions)
    : needs_(needs), driver_(needs.driver), state_(needs.driver.state) {
    frmHandBox& handBox = needs_.handBox;
    const auto isGood = [this](std::string_view text) { return CustomRateIsGood(text); };
    kept.Add(KeptText{handBox.txtRaCustom, setting::txtRaCustom, isGood});
    kept.Add(KeptText{handBox.txtDecCustom, setting::txtDecCustom, isGood});
    kept.Add(KeptCheck{handBox.chkEnableKingRate, setting::chkEnableKingRate, [this] { OnKingRateChange(); }});
    for (std::int16_t rate = displayed_rate::Off; rate < displayed_rate::Custom; ++rate) {
        actions.On(kRateActions[rate], [this, rate] { needs_.tracking.ChooseRate(rate); });
    }
    actions.On(ButtonAction::RateCustom, [this] { SetCustomRates(); });
}

void TrackingFrame::ShowTrackingRate(std::int16_t rate, RateCorrection correction) {
    if (state_.g_nDisplayedRate != rate) {
        state_.g_nDisplayedRate = rate;
        state_.g_tickDisplayedRate = driver_.clock.GetTickCount();
        state_.g_bRestoreRatePending = true;
    }
    frmHandBox& handBox = needs_.handBox;
    for (std::size_t i = 0; i < handBox.pbTracking.size(); ++i) {
        handBox.pbTracking[i].Visible(Marks(rate, i));
    }
    const std::string text = RateText(state_, rate, correction);
    needs_.statusWindow.lblTrackingRate.Text(text);
    handBox.frameTrackingRate.Caption("Tracking Rate: " + text);
    EnableRateControls();
}

/// The custom rates can be set only while the mount tracks. The buttons of the other rates stay enabled, since they
/// start the tracking.
void TrackingFrame::EnableRateControls() {
    needs_.handBox.btnRateCustom.Enabled(state_.g_bTracking);
    needs_.handBox.txtRaCustom.Enabled(state_.g_bTracking);
    needs_.handBox.txtDecCustom.Enabled(state_.g_bTracking);
}

void TrackingFrame::UpdateRateLimits() {
    needs_.handBox.EnsureLoaded();
    needs_.handBox.customRateLimit = state_.g_dMaxMoveRate;
}

bool TrackingFrame::CustomRateIsGood(std::string_view text) const {
    const bool isDecimal = IsNumericText(text) && text.find_first_of("eE") == std::string_view::npos;
    return text.empty() || (isDecimal && std::abs(Val_Global(text, driver_.log)) <= needs_.handBox.customRateLimit);
}

/// An empty box leaves the rate of its axis unchanged.
void TrackingFrame::SetCustomRates() {
    const std::string ra = Trim(needs_.handBox.txtRaCustom.Text());
    const std::string dec = Trim(needs_.handBox.txtDecCustom.Text());
    SetCustomRate(ra, &Telescope::RightAscensionRate);
    SetCustomRate(dec, &Telescope::DeclinationRate);
    EnableRateControls();
}

void TrackingFrame::SetCustomRate(const std::string& text, void (Telescope::*write)(double)) {
    Telescope* const telescope = needs_.telescope();
    if (text.empty() || !telescope) {
        return;
    }
    if (!CustomRateIsGood(text)) {
        driver_.log.LogMessage("btnRateCustom", LogLevel::Error,
                               "The custom rate is no number within the limit, it is not sent: '" + text + "'");
        return;
    }
    ResumeNext errors{driver_.ledger, "btnRateCustom"};
    errors.Step([&] { (telescope->*write)(Val_Global(text, driver_.log)); });
}

void TrackingFrame::OnKingRateChange() {
    const bool enabled = needs_.handBox.chkEnableKingRate.Checked();
    state_.g_bKingRateEnabled = enabled;
    if (needs_.handBox.IsFilling()) {
        return;
    }
    driver_.log.LogMessage("User", LogLevel::Info,
                           std::string("King tracking option ") + (enabled ? "enabled" : "disabled"));
    if (state_.g_bTracking && state_.g_nDisplayedRate == displayed_rate::Sidereal) {
        needs_.tracking.ChooseRate(displayed_rate::Sidereal);
    }
}

}  // namespace kestrane
