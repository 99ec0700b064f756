#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "catalogue/wire_commands.h"
#include "catalogue/wire_texts.h"
#include "commands/verb_replies.h"
#include "commands/verbs.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/park_geometry.h"
#include "telescope/motion/unparking.h"
#include "telescope/mount/mount_initialization.h"
#include "telescope/mount/mount_setup.h"

namespace kestrane::verbs {
namespace {

constexpr std::int32_t kLastSlewRate = 2;  // of the fixed ones
constexpr std::int32_t kCustomSlewRate = 3;
constexpr std::int32_t kLastGuideRate = 2;
constexpr double kMostBacklash = 59.0;      // arc-seconds
constexpr double kMostMeridianDelay = 6.0;  // hours, either way

/// Any text as a position: its leading number, 0 without one.
std::int16_t PositionOf(std::string_view text, Log& log) {
    using Limits = std::numeric_limits<std::int16_t>;
    const double number = text.empty() ? 0.0 : Val_Global(text, log);
    return static_cast<std::int16_t>(RoundHalfEven(std::clamp<double>(number, Limits::min(), Limits::max())));
}

/// Selects an entry and keeps its index, also where the list has no such entry.
void ChooseAndKeep(Verb verb, ComboBox frmHandBox::*list, const SettingKey& key, std::int32_t index) {
    verb.needs.fillHandBox();
    if (index < static_cast<std::int32_t>((verb.needs.handBox.*list).ListItems().size())) {
        Choose(verb.needs.handBox.*list, index);
    }
    verb.needs.driver.persist.Write(key, std::to_string(index));
}

std::string SelectedIndex(Verb verb, ComboBox frmHandBox::*list) {
    verb.needs.fillHandBox();
    return Value(std::to_string((verb.needs.handBox.*list).ListIndex()));
}

std::string TextOf(Verb verb, TextBox frmHandBox::*box) {
    verb.needs.fillHandBox();
    return Value((verb.needs.handBox.*box).Text());
}

std::string SetCustomSlewRate(Verb verb, double multiple) {
    verb.needs.fillHandBox();
    frmHandBox& handBox = verb.needs.handBox;
    if (handBox.cbxInitSlewRate.ListItems().size() <= static_cast<std::size_t>(kCustomSlewRate)) {
        return Failure("Custom Slew rates are not supported by this mount");
    }
    Choose(handBox.cbxInitSlewRate, kCustomSlewRate);
    SetText(handBox.txtCustomSlewRate, PlainNumber(multiple), verb.needs.driver.persist, setting::txtCustomSlewRate);
    MountSetup(verb.object).SendCustomSlewRate(multiple);
    return Done();
}

/// A backlash: its box, its setting, and how it is sent.
struct Backlash {
    TextBox frmHandBox::*box;
    SettingKey key;
    void (MountSetup::*send)(double seconds);
};

constexpr Backlash kRaBacklash{&frmHandBox::txtInitRaBacklash, setting::txtInitRaBacklash, &MountSetup::SetRaBacklash};
constexpr Backlash kDecBacklash{&frmHandBox::txtInitDecBacklash, setting::txtInitDecBacklash,
                                &MountSetup::SetDecBacklash};

std::string SetBacklash(Verb verb, std::string_view arguments, const Backlash& backlash) {
    MountSetup setup(verb.object);
    if (arguments.empty()) {
        (setup.*backlash.send)(kOfSettings);
        return Done();
    }
    const std::optional<double> seconds = PlainDecimal(arguments, verb.needs.driver.log);
    if (!seconds || *seconds < 0.0 || *seconds > kMostBacklash) {
        return Failure("Value must be numeric 0-59");
    }
    verb.needs.fillHandBox();
    SetText(verb.needs.handBox.*backlash.box, PlainNumber(*seconds), verb.needs.driver.persist, backlash.key);
    (setup.*backlash.send)(*seconds);
    return Done();
}

}  // namespace

std::string InitTime(Verb verb, std::string_view) {
    verb.object.utcDate(verb.needs.driver.clock.DateLocalToUTC(verb.needs.driver.clock.GetLocalTime()));
    return Done();
}

/// Without an init string the position of the settings is meant for a mount that was parked: nobody has named it.
std::string InitMount(Verb verb, std::string_view arguments) {
    MountInitialization initialization(verb.object);
    if (!arguments.empty()) {
        initialization.InitWithTime(arguments);
    } else {
        initialization.InitAfterParkCheck(true, verb.needs.driver.state.g_bParked ? Confirmation::AskedElseAccepted
                                                                                  : Confirmation::AskedElseCancelled);
    }
    return Done();
}

std::string UnparkMount(Verb verb, std::string_view arguments) {
    const std::int16_t index = PositionOf(arguments, verb.needs.driver.log);
    Unparking(verb.object).UnparkMount(index, Confirmation::AskedElseAccepted);
    return Done();
}

std::string ParkMount(Verb verb, std::string_view arguments) {
    verb.object.ParkMount(arguments.empty() ? std::int16_t{park_index::FromSettings}
                                            : PositionOf(arguments, verb.needs.driver.log));
    return Done();
}

std::string CancelPark(Verb verb, std::string_view) {
    verb.object.CancelPark();
    return Done();
}

std::string SetSlewRate(Verb verb, std::string_view arguments) {
    if (arguments.empty()) {
        MountSetup(verb.object).SetSlewRate(kOfSettings);
        return Done();
    }
    const std::optional<double> rate = PlainDecimal(arguments, verb.needs.driver.log);
    if (!rate) {
        return Done();  // intentional
    }
    const std::optional<std::int32_t> index = WholeNumber(arguments, verb.needs.driver.log);
    if (!index || *index < 0 || *index > kLastSlewRate) {
        return SetCustomSlewRate(verb, *rate);
    }
    ChooseAndKeep(verb, &frmHandBox::cbxInitSlewRate, setting::cbxInitSlewRate, *index);
    MountSetup(verb.object).SetSlewRate(*index);
    return Done();
}

std::string GetSlewRate(Verb verb, std::string_view) {
    verb.needs.fillHandBox();
    const std::int32_t index = verb.needs.handBox.cbxInitSlewRate.ListIndex();
    return index < kCustomSlewRate
               ? Value(std::to_string(index))
               : Value(std::to_string(kCustomSlewRate) + "," + verb.needs.handBox.txtCustomSlewRate.Text());
}

std::string SetGuideRate(Verb verb, std::string_view arguments) {
    std::int32_t rate = kOfSettings;
    if (!arguments.empty()) {
        if (!IsNumericText(arguments)) {
            return Failure("Value must be numeric 0-2");
        }
        const std::optional<std::int32_t> index = WholeNumber(arguments, verb.needs.driver.log);
        if (!index || *index < 0 || *index > kLastGuideRate) {
            return Failure("Range is 0-2");
        }
        ChooseAndKeep(verb, &frmHandBox::cbxInitGuideRate, setting::cbxInitGuideRate, *index);
        rate = *index;
    }
    MountSetup(verb.object).SetGuideRate(rate);
    return Done();
}

std::string GetGuideRate(Verb verb, std::string_view) {
    return SelectedIndex(verb, &frmHandBox::cbxInitGuideRate);
}

std::string SetPem(Verb verb, std::string_view arguments) {
    std::int32_t state = kOfSettings;
    if (!arguments.empty()) {
        const std::optional<bool> on = ZeroOrOneOf(arguments, verb.needs.driver.log);
        if (!on) {
            return Failure("Value must be numeric 0-1");
        }
        state = *on ? 1 : 0;
        ChooseAndKeep(verb, &frmHandBox::cbxInitPEM, setting::cbxInitPEM, state);
    }
    MountSetup(verb.object).SetPem(state);
    return Done();
}

std::string GetPem(Verb verb, std::string_view) {
    return Value(std::to_string(verb.needs.driver.state.g_nPemState));
}

std::string SetRaBacklash(Verb verb, std::string_view arguments) {
    return SetBacklash(verb, arguments, kRaBacklash);
}

std::string GetRaBacklash(Verb verb, std::string_view) {
    return TextOf(verb, &frmHandBox::txtInitRaBacklash);
}

std::string SetDecBacklash(Verb verb, std::string_view arguments) {
    return SetBacklash(verb, arguments, kDecBacklash);
}

std::string GetDecBacklash(Verb verb, std::string_view) {
    return TextOf(verb, &frmHandBox::txtInitDecBacklash);
}

std::string SetMeridianDelay(Verb verb, std::string_view arguments) {
    if (arguments.empty()) {
        return Failure("No value specified... must be numeric -6 to +6");
    }
    const std::optional<double> hours = PlainDecimal(arguments, verb.needs.driver.log);
    if (!hours || std::abs(*hours) > kMostMeridianDelay) {
        return Failure("Value must be numeric -6 to +6");
    }
    verb.needs.fillHandBox();
    SetText(verb.needs.handBox.txtMeridianDelay, PlainNumber(*hours), verb.needs.driver.persist,
            setting::txtMeridianDelay);
    verb.needs.handBox.btnSetMeridianDelay.FireClick();
    return Done();
}

std::string GetMeridianDelay(Verb verb, std::string_view) {
    verb.needs.fillHandBox();
    const TextBox& box = verb.needs.handBox.txtMeridianDelay;
    return Value(std::string(TrueFalse(box.Enabled())) + "," + box.Text());
}

/// Whether a mount could take a part of the text for a command of its own, past the doors of a goto or a stop.
bool HoldsACommand(std::string_view text) {
    const std::string frame = wire::InFrame(text);
    return text.find('#') != std::string_view::npos || wire::StartsGoto(frame) || wire::StopsAllMotion(frame) ||
           wire::Parks(frame) || wire::Unparks(frame) || wire::EndlessMoveAfter(frame) != wire::EndlessMove::Untouched;
}

std::string QuayPointingCorrection(Verb verb, std::string_view arguments) {
    if (HoldsACommand(arguments)) {
        verb.needs.driver.log.LogMessage("QuayPointingCorrection", LogLevel::Warning,
                                         "A text that holds a command is not sent: '" + std::string(arguments) + "'");
        return Done();
    }
    verb.needs.channel.SetPointingCorrection(arguments);
    return Done();
}

std::string AutoCalibrateNSEW(Verb verb, std::string_view) {
    if (verb.needs.door.Permit("AutoCalibrateNSEW")) {
        verb.object.AutoCalibrateNSEW(Telescope::kCalibrationAttempts);
    }
    return Done();
}

}  // namespace kestrane::verbs
