#include "ui/fixed_lists.h"

#include "kernel/base/conversions.h"

namespace kestrane::fixed_list {
namespace {

Entries Places(std::string_view first, std::string_view userPlace) {
    return {std::string(first), std::string(kPark1), "Park 2", "Park 3", "Park 4", "Park 5", std::string(userPlace)};
}

}  // namespace

Entries Pem() {
    return {"Disable PEM", "Enable PEM"};
}

Entries Priorities() {
    return {"High", "Above Normal", "Normal", "Below Normal", "Low"};
}

Entries PlacesToParkAt(std::string_view userPlace) {
    return Places("Current Position", userPlace);
}

Entries PlacesToUnparkFrom(std::string_view userPlace) {
    return Places("Last Parked", userPlace);
}

Entries UnparkChoices(std::string_view userPlace) {
    Entries choices = PlacesToUnparkFrom(userPlace);
    choices.emplace_back("Don't Unpark");
    return choices;
}

std::string UserPlace(Persist& persist) {
    const auto angle = [&persist](const SettingKey& key) { return FormatUs(persist.ReadNumber(key), "0.00"); };
    return "Alt/Az  ( " + angle(setting::txtUserParkAlt) + " | " + angle(setting::txtUserParkAz) + " )";
}

}  // namespace kestrane::fixed_list
