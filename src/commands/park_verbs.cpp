#include <algorithm>
#include <optional>
#include <vector>

#include "commands/verb_replies.h"
#include "commands/verbs.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane::verbs {
namespace {

constexpr double kLowestAltitude = -5.0;
constexpr double kHighestAltitude = 90.0;
constexpr double kFullTurn = 360.0;
constexpr std::string_view kAltAz = "AltAz";         // of the argument: the user's own place,
constexpr std::string_view kAltAzBeginning = "Alt";  // whose entry begins like this

/// A list of positions and the words of its failures.
struct PositionList {
    ComboBox frmHandBox::*list;
    std::string_view name;
};

constexpr PositionList kParkTo{&frmHandBox::cbxParkTo, "Park"};
constexpr PositionList kUnparkFrom{&frmHandBox::cbxUnparkFrom, "UnPark"};

/// Warnings to a person are not meant for a command.
class ByCommand {
public:
    explicit ByCommand(frmHandBox& handBox) : handBox_(handBox) { handBox_.chosenByCommand = true; }
    ~ByCommand() { handBox_.chosenByCommand = false; }
    ByCommand(const ByCommand&) = delete;
    ByCommand& operator=(const ByCommand&) = delete;

private:
    frmHandBox& handBox_;
};

std::string ChooseByIndex(ComboBox& list, std::string_view arguments, std::string_view name, Log& log) {
    const auto count = static_cast<std::int32_t>(list.ListItems().size());
    const std::optional<std::int32_t> index = WholeNumber(arguments, log);
    if (!index || *index < 0 || *index >= count) {
        return Failure(std::string(name) + " Position must be in range 0-" + std::to_string(count - 1));
    }
    Choose(list, *index);
    return Value(list.Text());
}

std::string SetPosition(Verb verb, std::string_view arguments, const PositionList& positions,
                        std::string_view invalid) {
    verb.needs.fillHandBox();
    const ByCommand byCommand(verb.needs.handBox);
    ComboBox& list = verb.needs.handBox.*positions.list;
    if (arguments.empty()) {
        return Failure("No " + std::string(positions.name) + " Position specified");
    }
    if (IsNumericText(arguments)) {
        return ChooseByIndex(list, arguments, positions.name, verb.needs.driver.log);
    }
    const std::vector<std::string> items = list.ListItems();
    const auto entry = std::ranges::find_if(items, [&](const std::string& item) {
        return arguments == kAltAz ? item.starts_with(kAltAzBeginning) : item == arguments;
    });
    if (entry == items.end()) {
        return Failure(invalid);
    }
    const auto index = static_cast<std::int32_t>(entry - items.begin());
    Choose(list, index);
    return Value(std::to_string(index) + "," + *entry);
}

std::string GetPosition(Verb verb, const PositionList& positions) {
    verb.needs.fillHandBox();
    const ComboBox& list = verb.needs.handBox.*positions.list;
    return Value(std::to_string(list.ListIndex()) + "," + list.Text());
}

}  // namespace

std::string SetParkPosition(Verb verb, std::string_view arguments) {
    return SetPosition(verb, arguments, kParkTo, "Invalid Park Position");
}

std::string SetUnparkPosition(Verb verb, std::string_view arguments) {
    return SetPosition(verb, arguments, kUnparkFrom, "Invalid Unpark Position");
}

std::string GetParkPosition(Verb verb, std::string_view) {
    return GetPosition(verb, kParkTo);
}

std::string GetUnparkPosition(Verb verb, std::string_view) {
    return GetPosition(verb, kUnparkFrom);
}

std::string SetParkAltAz(Verb verb, std::string_view arguments) {
    frmHandBox& handBox = verb.needs.handBox;
    if (arguments.empty()) {
        handBox.btnSetPark.FireClick();
        return Done();
    }
    const std::size_t comma = arguments.find(',');
    const std::string altitudeText = Trim(arguments.substr(0, comma));
    const std::string azimuthText = comma == std::string_view::npos ? "" : Trim(arguments.substr(comma + 1));
    const std::optional<double> altitude = PlainDecimal(altitudeText, verb.needs.driver.log);
    const std::optional<double> azimuth = PlainDecimal(azimuthText, verb.needs.driver.log);
    const bool isThird = azimuthText.find(',') != std::string::npos;  // it would pass for a part of a number
    if (!altitude || !azimuth || isThird) {
        return Failure("Alt,Az both not specified");
    }
    if (*altitude < kLowestAltitude || *altitude > kHighestAltitude) {
        return Failure("Alt not in range -5 to 90");
    }
    if (*azimuth < 0.0 || *azimuth >= kFullTurn) {
        return Failure("Az not in range 0 to <360");
    }
    Persist& persist = verb.needs.driver.persist;
    verb.needs.fillHandBox();
    SetText(handBox.txtUserParkAlt, altitudeText, persist, setting::txtUserParkAlt);
    SetText(handBox.txtUserParkAz, azimuthText, persist, setting::txtUserParkAz);
    persist.Write(setting::CounterWeightsUpPark, "0");  // else a park would go to the place from before
    return Done();
}

std::string GetParkAltAz(Verb verb, std::string_view) {
    verb.needs.fillHandBox();
    return Value(verb.needs.handBox.txtUserParkAlt.Text() + "," + verb.needs.handBox.txtUserParkAz.Text());
}

}  // namespace kestrane::verbs
