#include "ui/hand_box/pad.h"

#include <array>
#include <utility>

#include "catalogue/wire_commands.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr std::size_t kMiddle = 4;
using Cells = std::array<std::int32_t, 9>;

Cells Turned(const Cells& t, bool swapsDiffer) {
    return swapsDiffer ? Cells{t[6], t[3], t[0], t[7], t[4], t[1], t[8], t[5], t[2]}
                       : Cells{t[2], t[5], t[8], t[1], t[4], t[7], t[0], t[3], t[6]};
}

/// The command under an index of a list; empty where nothing is selected, or the list is longer than the table.
std::string At(const std::vector<std::string>& commands, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < commands.size() ? commands[static_cast<std::size_t>(index)]
                                                                           : "";
}

}  // namespace

PadFrame::PadFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions, ParkFrame& park,
                   std::function<void()> abortSlew)
    : needs_(needs),
      actions_(actions),
      park_(park),
      abortSlew_(std::move(abortSlew)),
      driver_(needs.driver),
      state_(needs.driver.state) {
    frmHandBox& handBox = needs_.handBox;
    const auto arrange = [this] { ArrangeMoveButtons(); };
    kept.Add(KeptList{.control = handBox.cbxMoveRate, .key = setting::cbxMoveRate});
    kept.Add(KeptCheck{handBox.chkSwapEW, setting::chkSwapEW, arrange});
    kept.Add(KeptCheck{handBox.chkSwapNS, setting::chkSwapNS, arrange});
    kept.Add(KeptCheck{handBox.chkRotate90, setting::chkRotate90, arrange});
    for (std::size_t button = 0; button < handBox.btnMove.size(); ++button) {
        handBox.btnMove[button].OnMouseDown([this, button] { Press(button); });
        handBox.btnMove[button].OnMouseUp([this, button] { Release(button); });
    }
    actions.On(ButtonAction::PressMove, [this] { Move(); });
    actions.On(ButtonAction::SwapEW, [this] { SwapInMount(SwappedAxes::EastWest); });
    actions.On(ButtonAction::SwapNS, [this] { SwapInMount(SwappedAxes::NorthSouth); });
}

void PadFrame::ArrangeMoveButtons() {
    frmHandBox& handBox = needs_.handBox;
    const bool swapEW = handBox.chkSwapEW.Checked();
    const bool swapNS = handBox.chkSwapNS.Checked();
    Cells cells{0, 1, 2, 3, 4, 5, 6, 7, 8};
    if (swapEW) {
        std::swap(cells[0], cells[2]);
        std::swap(cells[3], cells[5]);
        std::swap(cells[6], cells[8]);
    }
    if (swapNS) {
        std::swap(cells[0], cells[6]);
        std::swap(cells[1], cells[7]);
        std::swap(cells[2], cells[8]);
    }
    if (handBox.chkRotate90.Checked()) {
        cells = Turned(cells, swapEW != swapNS);
    }
    for (std::size_t button = 0; button < cells.size(); ++button) {
        handBox.btnMove[button].Cell(cells[button]);
    }
}

void PadFrame::Press(std::size_t button) {
    if (pressed_) {
        Release(*pressed_);
    }
    if (!CheckMoveAllowed()) {
        return;
    }
    pressed_ = button;
    driver_.log.LogMessage(
        "ButtonMove", LogLevel::Info,
        "Move Button " + std::to_string(button) + " pressed. Rate = " + needs_.handBox.cbxMoveRate.Text());
    actions_.Press(ButtonAction::PressMove);
}

/// A press that had to wait moves nothing any more once its button is not held.
void PadFrame::Move() {
    if (!pressed_ || moves_ || !CheckMoveAllowed()) {
        return;
    }
    const MoveCommands commands = Moves();
    const std::string& move = commands.move[*pressed_];
    ShowMoving(move);
    moves_ = true;  // a stop is owed even where sending fails half-way
    SendMoveCommand(At(commands.rate, needs_.handBox.cbxMoveRate.ListIndex()) + move);
}

void PadFrame::Release(std::size_t button) {
    const bool isHeld = pressed_ == button;
    if (!isHeld && button != kMiddle) {
        return;
    }
    driver_.log.LogMessage("ButtonMove", LogLevel::Info, "Move Button " + std::to_string(button) + " released.");
    actions_.Withdraw(ButtonAction::PressMove);
    if (isHeld) {
        pressed_.reset();
    }
    if (std::exchange(moves_, false) || button == kMiddle) {
        Stop(button);
    }
}

/// Only stops get in before it: what else is due may take long, and the mount moves.
void PadFrame::Stop(std::size_t button) {
    driver_.waits.PumpStops();
    const MoveCommands commands = Moves();
    const std::string& stop = commands.move[kMiddle];
    ResumeNext errors{driver_.ledger, "ButtonMove"};
    errors.Step([&] { SendMoveCommand(stop); });
    errors.Step([&] { SendMoveCommand(At(commands.guide, needs_.handBox.cbxInitGuideRate.ListIndex())); });
    if (button == kMiddle) {
        park_.FreeButtons();
        abortSlew_();
    }
    errors.Step([&] { SendMoveStop(wire::Stop.With("").OnTheWire()); });
    Paint(needs_.handBox.lblRA, kNormalColours);
    Paint(needs_.handBox.lblDEC, kNormalColours);
}

/// A parked mount is not moved, and the person at the pad is told so.
bool PadFrame::CheckMoveAllowed() {
    if (!MayMove()) {
        actions_.RunAsLongCall([this] { needs_.questions.WarnParked(); });
    }
    return MayMove();
}

bool PadFrame::MayMove() const {
    return !state_.g_bParked || driver_.persist.ReadFlag(setting::ButtonsOnParkOK);
}

void PadFrame::ShowMoving(std::string_view move) {
    const auto has = [&](char one, char other) {
        return move.find(one) != std::string_view::npos || move.find(other) != std::string_view::npos;
    };
    Paint(needs_.handBox.lblDEC, has('n', 's') ? kWarningColours : kNormalColours);
    Paint(needs_.handBox.lblRA, has('e', 'w') ? kWarningColours : kNormalColours);
}

void PadFrame::SwapInMount(SwappedAxes axes) {
    if (!needs_.questions.AskSwap(axes)) {
        return;
    }
    const bool eastWest = axes == SwappedAxes::EastWest;
    SendMoveCommand((eastWest ? wire::SwapEastWestRaw : wire::SwapNorthSouthRaw).With("").OnTheWire());
}

void PadFrame::SendMoveCommand(std::string_view text) {
    Telescope* const telescope = needs_.telescope();
    if (telescope && !text.empty()) {
        telescope->CommandBlindInternal(text, true);
    }
}

/// The mount may have read a command in part: that is ended first.
void PadFrame::SendMoveStop(std::string_view text) {
    state_.g_bResync = true;
    SendMoveCommand(text);
    state_.g_bResync = false;
}

}  // namespace kestrane
