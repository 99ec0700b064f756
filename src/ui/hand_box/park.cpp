#include "ui/hand_box/park.h"

#include "telescope/motion/park_verbs.h"
#include "ui/fixed_lists.h"

namespace kestrane {
namespace {

constexpr std::string_view kAltAz = "Alt/Az";

}  // namespace

ParkFrame::ParkFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions)
    : needs_(needs), actions_(actions), driver_(needs.driver) {
    Keep(kept);
    actions.On(ButtonAction::Park, [this] { AskAndPark(); });
    actions.On(ButtonAction::Unpark, [this] { AskAndUnpark(); });
}

void ParkFrame::Keep(KeptControls& kept) {
    frmHandBox& handBox = needs_.handBox;
    const auto onUserPark = [this] { OnUserParkChange(); };
    kept.Add(KeptList{.control = handBox.cbxParkTo,
                      .key = setting::cbxParkTo,
                      .items = [] { return fixed_list::PlacesToParkAt(kAltAz); },
                      .text = setting::cbxParkToText,
                      .changed = [this] { OnPositionChange(needs_.handBox.cbxParkTo); }});
    kept.Add(KeptList{.control = handBox.cbxUnparkFrom,
                      .key = setting::cbxUnparkFrom,
                      .items = [] { return fixed_list::UnparkChoices(kAltAz); },
                      .text = setting::cbxUnparkFromText,
                      .changed = [this] { OnPositionChange(needs_.handBox.cbxUnparkFrom); }});
    kept.Add(KeptCheck{handBox.chkSlewEast, setting::chkSlewEast});
    kept.Add(KeptCheck{handBox.chkConvertAltAzToRaDec, setting::chkConvertAltAzToRaDec});
    kept.Add(KeptText{handBox.txtSlewEastFirstHours, setting::txtSlewEastFirstHours});
    kept.Add(KeptText{.control = handBox.txtUserParkAlt, .key = setting::txtUserParkAlt, .changed = onUserPark});
    kept.Add(KeptText{.control = handBox.txtUserParkAz, .key = setting::txtUserParkAz, .changed = onUserPark});
}

void ParkFrame::OnPositionChange(const ComboBox& list) {
    EnableUserPark();
    const bool byPerson = !needs_.handBox.IsFilling() && !needs_.handBox.chosenByCommand;
    if (byPerson && list.Text() == fixed_list::kPark1) {
        actions_.Press(ButtonAction::WarnOfPark1);
    }
}

void ParkFrame::EnableUserPark() {
    frmHandBox& handBox = needs_.handBox;
    const bool used = handBox.cbxParkTo.Text() == kAltAz || handBox.cbxUnparkFrom.Text() == kAltAz;
    handBox.txtUserParkAlt.Enabled(used);
    handBox.txtUserParkAz.Enabled(used);
}

/// A place that a person types is a plain one: a park would go to the place with the counterweight up from before.
void ParkFrame::OnUserParkChange() {
    if (!needs_.handBox.IsFilling()) {
        driver_.persist.Write(setting::CounterWeightsUpPark, "0");
    }
}

void ParkFrame::EnableButtons(bool enabled) {
    needs_.handBox.btnPark.Enabled(enabled);
    needs_.handBox.btnUNPARK.Enabled(enabled);
}

/// The park is a call of its own: a stop that came while the question was open was not meant for it.
void ParkFrame::AskAndPark() {
    const ParkButtonsOff off(*this);
    needs_.questions.AskPark([this](std::int16_t index) { actions_.RunAsLongCall([this, index] { ParkAt(index); }); });
}

void ParkFrame::ParkAt(std::int16_t index) {
    const ParkButtonsOff off(*this);
    if (Telescope* const telescope = needs_.telescope()) {
        ParkVerbs(*telescope).Park(index);
    }
}

void ParkFrame::AskAndUnpark() {
    const ParkButtonsOff off(*this);
    needs_.questions.AskUnpark(
        [this](std::int16_t index) { actions_.RunAsLongCall([this, index] { UnparkFrom(index); }); });
}

void ParkFrame::UnparkFrom(std::int16_t index) {
    const ParkButtonsOff off(*this);
    ResumeNext errors{driver_.ledger, "btnUNPARK"};
    errors.Step([&] {
        Telescope* const telescope = needs_.telescope();
        if (telescope && driver_.waits.OvertakenByStop()) {
            telescope->DoesNotBegin("UnparkMount");
        } else if (telescope) {
            ParkVerbs(*telescope).Unpark(index);
        }
    });
}

}  // namespace kestrane
