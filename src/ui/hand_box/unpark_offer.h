#pragma once

#include <cstdint>
#include <optional>

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/hand_box/park.h"

namespace kestrane {

/// Asks whether to unpark a mount that reports its power-on position. Neither the poll nor a client waits for the
/// answer: they may go on all night. Logic thread only.
class UnparkOffer {
public:
    UnparkOffer(const HandBoxNeeds& needs, ParkFrame& park, ButtonActions& actions);

    /// Asks as soon as no poll step runs; the caller does not wait.
    void Offer(std::int16_t index);
    /// Shows the question when it is due, takes it back when the mount reports another position, and runs what was
    /// accepted. For each tick of `tmrButtonDelay`.
    void OnTick();

private:
    void OnAnswered(std::optional<std::int16_t> index);
    void RunAccepted();
    void Unpark();

    const HandBoxNeeds& needs_;
    ParkFrame& park_;
    ButtonActions& actions_;
    DriverState& state_;
    std::optional<std::int16_t> offer_;  ///< a position to unpark from that is to be offered, or was accepted
    bool open_ = false;                  ///< it is being offered
    bool accepted_ = false;              ///< it was accepted, and runs once no poll step does
};

}  // namespace kestrane
