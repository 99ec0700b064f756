#pragma once

#include <functional>

#include "kernel/base/counters.h"
#include "ui/hand_box/brightness.h"
#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/configuration.h"
#include "ui/hand_box/errors.h"
#include "ui/hand_box/focuser.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/hand_box/meridian.h"
#include "ui/hand_box/pad.h"
#include "ui/hand_box/paging.h"
#include "ui/hand_box/park.h"
#include "ui/hand_box/position.h"
#include "ui/hand_box/set_park.h"
#include "ui/hand_box/site.h"
#include "ui/hand_box/tracking.h"
#include "ui/hand_box/unpark_offer.h"
#include "ui/hand_box/window.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The logic of the hand box: its frames, and what the driver makes them show. Logic thread only.
class HandBoxPanel final : public HandBoxDisplay, public CounterView {
public:
    explicit HandBoxPanel(HandBoxNeeds needs);

    // HandBoxDisplay, CounterView
    void UserShow() override;
    void UpdateControls() override;
    void UpdateRateLimits() override;
    void ShowMountFeatures() override;
    void SetParkStatus(std::string_view text, std::string_view origin) override;
    void SetParkToolTip(std::string_view text) override;
    void ShowTrackingRate(std::int16_t rate, RateCorrection correction) override;
    void EnableRateControls() override;
    void SetMeridianDelayUI(double hours) override;
    void ShowMountSite(double longitude, double latitude, Notice notice) override;
    void ShowCurrentSite() override;
    void ShowNoMountSite(Notice notice) override;
    void UpdateErrorCounts() override;
    void SlewFlashDisplay() override;
    void SetUiGuideIndicator(std::int32_t direction, bool on) override;

    /// Shows the frames of the present page, or all of them on the wide panel, if the mount has a use for them.
    void ShowFrames() { paging_.ShowFrames(); }
    /// Shows the panel on the page that was shown last.
    void ExpandWindow() { paging_.ExpandWindow(); }

    /// Asks whether to unpark a mount that reports its power-on position, as soon as no poll step runs; the caller does
    /// not wait. The question goes when the mount reports another position.
    void OfferUnpark(std::int16_t index) { unparkOffer_.Offer(index); }

    /// Stops a slew or a park.
    void AbortSlew();

    /// What the buttons do to the mount, see `ButtonActions`.
    void OnAction(ButtonAction action, std::function<void()> run) { actions_.On(action, std::move(run)); }
    void Press(ButtonAction action) { actions_.Press(action); }
    void WithdrawMoves() { actions_.WithdrawMoves(); }
    void RunAsLongCall(std::function<void()> run) { actions_.RunAsLongCall(std::move(run)); }

    /// The commands of the nine-button pad, for the rate type that the mount has reported so far.
    MoveCommands Moves() const { return pad_.Moves(); }

private:
    void OnLoad();
    void FillMountLabels();

    const HandBoxNeeds needs_;
    Essentials driver_;
    KeptControls kept_;
    // In this order, which is that of the settings when the window is filled.
    ButtonActions actions_;
    HandBoxWindow window_;
    PositionFrame position_;
    ParkFrame park_;
    SetParkButton setPark_;
    UnparkOffer unparkOffer_;
    PadFrame pad_;
    TrackingFrame tracking_;
    ConfigurationFrame configuration_;
    SiteFrame site_;
    FocuserFrame focuser_;
    MeridianFrame meridian_;
    BrightnessFrame brightness_;
    ErrorsFrame errors_;
    Paging paging_;
};

}  // namespace kestrane
