#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kernel/base/log.h"

namespace kestrane {

/// What an initialization of the mount does, besides what it always does. A value that is missing leaves its step out;
/// -1 takes the value of the settings.
struct InitSteps {
    bool time = false;
    std::optional<std::string> site{};  ///< its name
    std::optional<std::int16_t> unparkFrom{};
    std::optional<double> decBacklash{};  ///< arc-seconds
    std::optional<double> raBacklash{};   ///< arc-seconds
    std::optional<int> guideRate{};
    std::optional<int> pem{};
    std::optional<int> slewRate{};
    std::optional<double> customSlewRate{};  ///< intentional: read, and not used by any step
    std::optional<int> trackingRate{};

    friend bool operator==(const InitSteps&, const InitSteps&) = default;
};

/// The steps of an init string: items with a "," between two, each a key, or a key, "=" and a value: "SyncTime",
/// "Site=Home,Unpark=2". Upper and lower case of a key differ; blanks around key and value do not count. An item with
/// an unknown key, without its value, or with a value that is no number where one belongs, is passed over. Of two items
/// with one key the later counts.
InitSteps StepsOfInitString(std::string_view text, Log& log);

}  // namespace kestrane
