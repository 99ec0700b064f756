#include "ui/hand_box/unpark_offer.h"

#include <utility>

namespace kestrane {

UnparkOffer::UnparkOffer(const HandBoxNeeds& needs, ParkFrame& park, ButtonActions& actions)
    : needs_(needs), park_(park), actions_(actions), state_(needs.driver.state) {
    actions.On(ButtonAction::UnparkAsOffered, [this] { Unpark(); });
}

void UnparkOffer::Offer(std::int16_t index) {
    state_.g_bUnparkConfirmOpen = true;
    if (!open_) {
        offer_ = index;
        accepted_ = false;  // a mount that has lost its power again is asked about anew
    }
}

void UnparkOffer::OnTick() {
    if (accepted_) {
        RunAccepted();
        return;
    }
    if (open_) {
        // The mount knows by now where it is, or a person has closed the window without an answer.
        if (!state_.g_bUnparkConfirmOpen || !needs_.questions.OfferIsOpen()) {
            needs_.questions.WithdrawUnpark();
        }
        return;
    }
    if (!state_.g_bUnparkConfirmOpen || state_.g_bInPoll || !offer_) {
        return;
    }
    park_.HoldButtons();
    open_ = true;
    needs_.questions.OfferUnpark(*std::exchange(offer_, std::nullopt),
                                 [this](std::optional<std::int16_t> index) { OnAnswered(index); });
}

void UnparkOffer::OnAnswered(std::optional<std::int16_t> index) {
    open_ = false;
    state_.g_bUnparkConfirmOpen = false;
    park_.ReleaseButtons();
    if (index) {
        offer_ = index;
        accepted_ = true;
        RunAccepted();
    }
}

/// In a step of the poll it waits for the end of that, and not in the place where a pressed button waits: the next
/// press would take that place.
void UnparkOffer::RunAccepted() {
    if (!state_.g_bInPoll) {
        accepted_ = false;
        actions_.Run(ButtonAction::UnparkAsOffered);
    }
}

void UnparkOffer::Unpark() {
    const std::optional<std::int16_t> index = std::exchange(offer_, std::nullopt);
    if (!index) {
        return;
    }
    if (!needs_.linkConnected() || !needs_.queries.IsAtPowerOnPosition()) {
        needs_.driver.log.LogMessage("btnUNPARK", LogLevel::Warning,
                                     "The mount does not report its power-on position any more: it is not unparked");
        return;
    }
    ResumeNext errors{needs_.driver.ledger, "btnUNPARK"};
    errors.Step([&] { park_.UnparkFrom(*index); });
}

}  // namespace kestrane
