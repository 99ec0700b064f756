#include "ui/hand_box/set_park.h"

#include <string>
#include <utility>

#include "catalogue/vocabulary.h"
#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/park_geometry.h"

namespace kestrane {
namespace {

constexpr std::string_view kShown = "0.0000";

double OffsetOf(const ParkPlace& place) {
    return CounterweightUpOffset(place.eastSide ? pier_side::East : pier_side::West, place.hourAngle);
}

}  // namespace

SetParkButton::SetParkButton(const HandBoxNeeds& needs, ButtonActions& actions)
    : needs_(needs), driver_(needs.driver), state_(needs.driver.state) {
    actions.On(ButtonAction::SetPark, [this] { SetPark(); });
    needs_.handBox.btnSetPark.OnClick([this, &actions] {
        pressedAt_ = PlaceNow();
        actions.Press(ButtonAction::SetPark);
    });
}

ParkPlace SetParkButton::PlaceNow() const {
    const bool east = state_.g_nSideOfPier == pier_side::East;
    const double hourAngle = state_.g_dHourAngle;
    return {.altitude = state_.g_dAlt,
            .azimuth = state_.g_dAz,
            .counterweightUp = east ? hourAngle < 0.0 : hourAngle > 0.0,
            .eastSide = east,
            .hourAngle = hourAngle,
            .declination = state_.g_dDec};
}

/// The place is the one where the button was pressed: the mount may move until the question opens, and while somebody
/// thinks it over.
void SetParkButton::SetPark() {
    const ParkPlace place = std::exchange(pressedAt_, std::nullopt).value_or(PlaceNow());
    if (MayBeParkedAt(place) && needs_.questions.AskSetPark(place)) {
        KeepPlace(place);
    }
    needs_.queries.QuerySideOfMount();
}

/// A park with the counterweight up needs a meridian delay that not every hour angle allows.
bool SetParkButton::MayBeParkedAt(const ParkPlace& place) {
    if (!place.counterweightUp || IsPossibleMeridianDelay(CounterweightUpDelay(place.hourAngle, OffsetOf(place)))) {
        return true;
    }
    needs_.messageBoxes.Show(
        "The mount cannot park here with its counterweight up: that needs an hour angle of up to 5 hours, or of 7 "
        "hours or more, and here it is " +
            FormatUs(place.hourAngle, "0.0") + ". The park position is not changed.",
        application::kTitle, MessageIcon::Information);
    return false;
}

void SetParkButton::KeepPlace(const ParkPlace& place) {
    Persist& persist = driver_.persist;
    const std::string altitude = FormatUs(place.altitude, kShown);
    const std::string azimuth = FormatUs(place.azimuth, kShown);
    persist.Write(setting::txtUserParkAlt, altitude);
    persist.Write(setting::txtUserParkAz, azimuth);
    persist.Write(setting::CounterWeightsUpPark, place.counterweightUp ? "1" : "0");
    if (place.counterweightUp) {
        persist.Write(setting::CounterWeightsUpParkIntermediateSlewDec, PlainNumber(place.declination));
        persist.Write(setting::CounterWeightsUpHourAngle, PlainNumber(place.hourAngle));
        persist.Write(setting::CounterWeightsUpTimeOffset, PlainNumber(OffsetOf(place)));
    }
    const FillsForm filling(needs_.handBox);
    needs_.handBox.txtUserParkAlt.Text(altitude);
    needs_.handBox.txtUserParkAz.Text(azimuth);
}

}  // namespace kestrane
