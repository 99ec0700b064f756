#include <utility>

#include "telescope/motion/park_verbs.h"
#include "ui/hand_box_panel.h"
#include "ui/park_buttons_off.h"

namespace kestrane {

void HandBoxPanel::WirePark() {
    OnAction(ButtonAction::Unpark, [this] { AskAndUnpark(); });
    OnAction(ButtonAction::UnparkAsOffered, [this] { UnparkAsOffered(); });
}

/// A place that a person types is a plain one: a park would go to the place with the counterweight up from before.
void HandBoxPanel::OnUserParkChange() {
    if (!needs_.handBox.IsFilling()) {
        driver_.persist.Write(setting::CounterWeightsUpPark, "0");
    }
}

void HandBoxPanel::EnableParkButtons(bool enabled) {
    needs_.handBox.btnPark.Enabled(enabled);
    needs_.handBox.btnUNPARK.Enabled(enabled);
}

void HandBoxPanel::AskAndUnpark() {
    ResumeNext errors{driver_.ledger, "btnUNPARK"};
    const ParkButtonsOff off(*this);
    errors.Step([&] {
        if (const auto index = needs_.questions.AskUnpark(std::nullopt, Unasked::IsCancelled)) {
            UnparkFrom(*index);
        }
    });
}

/// The button is disabled meanwhile, so that the position is not asked for a second time.
void HandBoxPanel::UnparkFrom(std::int16_t index) {
    if (Telescope* const telescope = needs_.telescope()) {
        ParkVerbs(*telescope).Unpark(index);
    }
}

void HandBoxPanel::OfferUnpark(std::int16_t index) {
    state_.g_bUnparkConfirmOpen = true;
    if (!offerOpen_) {
        offer_ = index;
        offerAccepted_ = false;  // a mount that has lost its power again is asked about anew
    }
}

/// Neither the poll nor a client waits for the answer: they may go on all night.
void HandBoxPanel::ShowOfferWhenDue() {
    if (offerAccepted_) {
        RunAcceptedOffer();
        return;
    }
    if (offerOpen_) {
        // The mount knows by now where it is, or a person has closed the window without an answer.
        if (!state_.g_bUnparkConfirmOpen || !needs_.questions.OfferIsOpen()) {
            needs_.questions.WithdrawUnpark();
        }
        return;
    }
    if (!state_.g_bUnparkConfirmOpen || state_.g_bInPoll || !offer_) {
        return;
    }
    HoldParkButtons();
    offerOpen_ = true;
    needs_.questions.OfferUnpark(*std::exchange(offer_, std::nullopt),
                                 [this](std::optional<std::int16_t> index) { OnOfferAnswered(index); });
}

void HandBoxPanel::OnOfferAnswered(std::optional<std::int16_t> index) {
    offerOpen_ = false;
    state_.g_bUnparkConfirmOpen = false;
    ReleaseParkButtons();
    if (index) {
        offer_ = index;
        offerAccepted_ = true;
        RunAcceptedOffer();
    }
}

/// In a step of the poll it waits for the end of that, and not in the place where a pressed button waits: the next
/// press would take that place.
void HandBoxPanel::RunAcceptedOffer() {
    if (!state_.g_bInPoll) {
        offerAccepted_ = false;
        Run(ButtonAction::UnparkAsOffered);
    }
}

void HandBoxPanel::UnparkAsOffered() {
    const std::optional<std::int16_t> index = std::exchange(offer_, std::nullopt);
    if (!index) {
        return;
    }
    if (!needs_.linkConnected() || !needs_.queries.IsAtPowerOnPosition()) {
        driver_.log.LogMessage("btnUNPARK", LogLevel::Warning,
                               "The mount does not report its power-on position any more: it is not unparked");
        return;
    }
    ResumeNext errors{driver_.ledger, "btnUNPARK"};
    const ParkButtonsOff off(*this);
    errors.Step([&] { UnparkFrom(*index); });
}

}  // namespace kestrane
