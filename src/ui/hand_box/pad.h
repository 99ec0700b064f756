#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/hand_box/park.h"
#include "ui/kept_controls.h"
#include "ui/move_commands.h"

namespace kestrane {

/// The nine buttons that move the mount while they are held, their speed, and where they stand on the panel. Logic
/// thread only.
class PadFrame {
public:
    /// `abortSlew` stops a slew or a park.
    PadFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions, ParkFrame& park,
             std::function<void()> abortSlew);

    /// The commands of the pad, for the rate type that the mount has reported so far.
    MoveCommands Moves() const {
        return needs_.rates.IsRateTypeOpen() ? MoveCommandsOfOpenType() : MoveCommandsOfToldType();
    }

    /// Gives each button its place (`Button::Cell`) by the boxes for swapping and turning. The commands of the buttons
    /// stay.
    void ArrangeMoveButtons();

private:
    void Press(std::size_t button);
    void Release(std::size_t button);
    void Move();
    bool CheckMoveAllowed();
    bool MayMove() const;
    void ShowMoving(std::string_view move);
    void Stop(std::size_t button);
    void SwapInMount(SwappedAxes axes);
    void SendMoveCommand(std::string_view text);
    void SendMoveStop(std::string_view text);

    const HandBoxNeeds& needs_;
    ButtonActions& actions_;
    ParkFrame& park_;
    std::function<void()> abortSlew_;
    Essentials driver_;
    DriverState& state_;
    std::optional<std::size_t> pressed_;  ///< the button that is held, whether or not it has moved the mount
    bool moves_ = false;                  ///< the command of that button has gone out
};

}  // namespace kestrane
