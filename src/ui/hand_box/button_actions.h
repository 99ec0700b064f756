#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include "ui/hand_box/hand_box_needs.h"

namespace kestrane {

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
    Repeat = 11,  ///< without an effect
    SyncMountTime = 12,
    SetMeridianDelay = 13,
    ClearMeridianDelay = 14,
    GetLongLat = 15,
    UnparkAsOffered = 16,  ///< no button: a person has accepted the position that was offered
    SetGuideRate = 17,     ///< this one and the next five give the mount an initial value
    SetSlewRate = 18,
    SetPem = 19,
    SetRaBacklash = 20,
    SetDecBacklash = 21,
    SetAll = 22,
    EnablePem = 23,
    DisablePem = 24,
    RecordPem = 25,
    ResetReticle = 26,
    WarnOfPark1 = 27,  ///< no button: a person has chosen that position
    GotoRaDec = 28,    ///< this one and the next ask and slew, from the windows of bookmarks
    GotoAltAz = 29,
    RateZero = 30,  ///< this one and the next four choose a tracking rate
    RateSidereal = 31,
    RateLunar = 32,
    RateSolar = 33,
    RateCustom = 34,
    OpenSetup = 35,  ///< this one and the next two are entries of the menu in the tray
    OpenFocuserSetup = 36,
    CloseDriver = 37,
    Count
};

/// Runs what the buttons of the hand box do to the mount, at a time when nothing else talks to it. Logic thread only.
class ButtonActions {
public:
    explicit ButtonActions(const HandBoxNeeds& needs);

    /// Sets what a button does; an action that nobody set does nothing.
    void On(ButtonAction action, std::function<void()> run);
    /// Runs the action now, or when the poll step that is under way has ended. One that asks a person runs as a long
    /// call of its own, after a move ahead of a park that is under way, and once however often it is pressed before the
    /// answer. Of several that have to wait the one pressed last stands.
    void Press(ButtonAction action);
    /// Takes an action back that still waits; nothing where another one does.
    void Withdraw(ButtonAction action);
    /// For a stop of everything: an action that moves the mount and still waits for its turn does not run any more.
    void WithdrawMoves();
    /// Runs an action at once.
    void Run(ButtonAction action);
    /// Runs the action that waits, if it may run by now. For each tick of `tmrButtonDelay`.
    void RunDelayed();
    /// Runs it as a long call of its own, while this object is there. An error in it is swallowed, like that of a
    /// button.
    void RunAsLongCall(std::function<void()> run);

private:
    bool MustWait(ButtonAction action) const;
    void BeginToAsk(ButtonAction action);

    const HandBoxNeeds& needs_;
    static constexpr std::size_t kActions = static_cast<std::size_t>(ButtonAction::Count);
    std::array<std::function<void()>, kActions> actions_;
    std::array<bool, kActions> asked_{};  ///< a person is being asked, or has the next turn
    ButtonAction delayed_ = ButtonAction::None;
    bool runsDelayed_ = false;                              ///< a delayed action is under way
    std::shared_ptr<int> token_ = std::make_shared<int>();  ///< for posted calls, which may outlive this object
};

}  // namespace kestrane
