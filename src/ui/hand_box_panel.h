#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "catalogue/ks_mount.h"
#include "focuser/focus_motor.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "forms/frm_status.h"
#include "forms/hand_box_display.h"
#include "forms/questions.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "platform/message_pump.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "settings/sites.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/mount_queries.h"
#include "state/mount_rates.h"
#include "state/site_query.h"
#include "telescope/motion/tracking_operations.h"
#include "telescope/telescope.h"
#include "ui/kept_controls.h"
#include "ui/move_commands.h"

namespace kestrane {

struct HandBoxPanelNeeds {
    Essentials driver;
    MessageBoxes& messageBoxes;
    SystemInfo& systemInfo;
    MessagePump& pump;
    Processes& processes;
    Sites& sites;
    KsMount& mount;
    MountQueries& queries;
    MountRates& rates;
    TrackingOperations& tracking;
    FocusMotor& focusMotor;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    frmInitialSetup& initialSetup;
    frmInitMount& initMount;
    Questions& questions;
    std::function<bool()> askForPlainSyncs;  ///< whether a person who has unticked recals means it; pumps
    std::function<Telescope*()> telescope;   ///< the driver's own object; null while there is none
    std::function<bool()> linkConnected;
    /// Asks the mount for its site and shows it. Talks to the mount.
    std::function<SiteAnswer(Notice notice, AfterSilence afterSilence)> readMountSite;
    std::function<void()> resetCommCounters;
    /// By the index of `cbxWindowsPriority`.
    std::function<void(int)> applyWindowsPriority;
};

/// The action of a button of the hand box that talks to the mount. None of them runs while the poll runs.
enum class ButtonAction : std::int32_t {
    None = 0,
    Park = 1,
    Unpark = 2,
    SwapNS = 3,
    SwapEW = 4,
    SlewRaDec = 5,
    SlewAltAz = 6,
    SetPark = 7,
    InitNow = 8,
    ReleaseMove = 9,
    PressMove = 10,
    Repeat = 11,
    SyncMountTime = 12,
    SetMeridianDelay = 13,
    ClearMeridianDelay = 14,
    GetLongLat = 15,
    UnparkAsOffered = 16,  ///< no button: a person has accepted the position that was offered
};

/// The logic of the hand box: what it shows and what its controls do. Logic thread only.
class HandBoxPanel final : public HandBoxDisplay, public CounterView {
public:
    explicit HandBoxPanel(HandBoxPanelNeeds needs);

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
    void ShowFrames();
    /// Shows the panel on the page that was shown last.
    void ExpandWindow();
    /// Shows the stored brightness of the reticle.
    void ResetReticleBrightness();

    /// Shows the window, or puts it into the tray.
    void Maximize();
    void Minimize();

    /// Asks whether to unpark a mount that reports its power-on position, as soon as no poll step runs; the caller does
    /// not wait. The question goes when the mount reports another position.
    void OfferUnpark(std::int16_t index);

    /// Stops a slew or a park.
    void AbortSlew();

    /// Sets what a button does; an action that nobody set does nothing.
    void OnAction(ButtonAction action, std::function<void()> run);
    /// Runs the action now, or when the poll step that is under way has ended. One that asks a person runs as a long
    /// call of its own, after a move ahead of a park that is under way, and once however often it is pressed before the
    /// answer. Of several that have to wait the one pressed last stands.
    void Press(ButtonAction action);
    /// Runs it as a long call of its own, while the panel is there. An error in it is swallowed, like that of a button.
    void RunAsLongCall(std::function<void()> run);
    /// The buttons that park and unpark cannot be pressed while anybody holds them. Each hold needs its release.
    void HoldParkButtons() { EnableParkButtons(++parkButtonHolds_ == 0); }
    void ReleaseParkButtons() { EnableParkButtons(--parkButtonHolds_ == 0); }

    /// The commands of the nine-button pad, for the rate type that the mount has reported so far.
    MoveCommands Moves() const {
        return needs_.rates.IsRateTypeOpen() ? MoveCommandsOfOpenType() : MoveCommandsOfToldType();
    }

private:
    // hand_box_panel.cpp
    void OnLoad();
    void RestorePosition();
    void SavePosition();
    void OnFlashTick();
    void ToggleHourAngle();
    void AskAbortSlew();

    // hand_box_lists.cpp
    void WireSettings();
    void KeepLists();
    void KeepChecks();
    void KeepTexts();
    void KeepOptions();
    void FillMountLabels();
    void FillSite();
    /// Null when no site is selected or the selected one is gone.
    const Site* CurrentSite();
    void EnableUserPark();
    void ShowBrightness();
    void OnSynchronousPulseChange();
    void OnPriorityChange();

    // hand_box_buttons.cpp
    void WireButtons();
    bool MustWait(ButtonAction action) const;
    void BeginToAsk(ButtonAction action);
    void RunDelayedAction();
    void Run(ButtonAction action);
    void SendMeridianDelay(double hours);
    void SyncMountTime();
    void OpenLogFolder();

    // hand_box_park.cpp
    void WirePark();
    void OnUserParkChange();
    void EnableParkButtons(bool enabled);
    void AskAndUnpark();
    void UnparkFrom(std::int16_t index);
    void ShowOfferWhenDue();
    void OnOfferAnswered(std::optional<std::int16_t> index);
    void RunAcceptedOffer();
    void UnparkAsOffered();

    // hand_box_rates.cpp
    void WireRateButtons();
    void SetCustomRates();
    void SetCustomRate(const std::string& text, void (Telescope::*write)(double));
    void OnKingRateChange();
    bool CustomRateIsGood(std::string_view text);

    // hand_box_focuser.cpp
    void WireFocuser();
    void OnFocuserChange();

    // hand_box_site.cpp
    void OnSiteTick();
    void CompareSite(double longitude, double latitude, Notice notice);
    void Tell(const std::string& text, Notice notice);

    // hand_box_paging.cpp
    void WirePaging();
    void OnShowAllChange();
    void More();
    void Contract();
    void BringUpPanel();

    HandBoxPanelNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    KeptControls kept_;
    static constexpr std::size_t kActions = 17;
    std::array<std::function<void()>, kActions> actions_;
    std::array<bool, kActions> asked_{};  ///< a person is being asked, or has the next turn
    ButtonAction delayed_ = ButtonAction::None;
    bool runsDelayed_ = false;  ///< a delayed action is under way
    int parkButtonHolds_ = 0;
    std::optional<std::int16_t> offer_;  ///< a position to unpark from that is to be offered, or was accepted
    bool offerOpen_ = false;             ///< it is being offered
    bool offerAccepted_ = false;         ///< it was accepted, and runs once no poll step does
    bool siteRead_ = false;              ///< the mount's site was read since the link was opened
    int siteFailures_ = 0;               ///< readings of the site since then that failed
    Tick siteAskedAt_;                   ///< the last of them
    std::shared_ptr<int> token_ = std::make_shared<int>();  ///< for posted calls, which may outlive the panel
};

}  // namespace kestrane
