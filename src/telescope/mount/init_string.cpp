#include "telescope/mount/init_string.h"

#include <algorithm>
#include <limits>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

struct Item {
    std::string key;
    std::string value;
};

/// A key of the init string and what its value, which is not empty, does to the steps.
struct KeyRow {
    std::string_view key;
    void (*take)(InitSteps& steps, const std::string& value, Log& log);
};

/// Nothing for a text that is no whole number of the type.
template <typename Integer>
std::optional<Integer> Whole(const std::string& text, Log& log) {
    const std::optional<double> number = PlainDecimal(text, log);
    using Limits = std::numeric_limits<Integer>;
    if (!number || *number < Limits::min() || *number > Limits::max() ||
        *number != static_cast<double>(static_cast<Integer>(*number))) {
        return std::nullopt;
    }
    return static_cast<Integer>(*number);
}

template <auto Member>
void TakeNumber(InitSteps& steps, const std::string& value, Log& log) {
    if (const std::optional<double> number = PlainDecimal(value, log)) {
        steps.*Member = number;
    }
}

template <auto Member, typename Integer = int>
void TakeWhole(InitSteps& steps, const std::string& value, Log& log) {
    if (const std::optional<Integer> number = Whole<Integer>(value, log)) {
        steps.*Member = number;
    }
}

constexpr KeyRow kKeys[] = {
    {"Unpark", TakeWhole<&InitSteps::unparkFrom, std::int16_t>},
    {"Site", [](InitSteps& steps, const std::string& value, Log&) { steps.site = value; }},
    {"TrackingRate", TakeWhole<&InitSteps::trackingRate>},
    {"SlewRate", TakeWhole<&InitSteps::slewRate>},
    {"CustomSlewRate", TakeNumber<&InitSteps::customSlewRate>},
    {"GuideRate", TakeWhole<&InitSteps::guideRate>},
    {"PEM", TakeWhole<&InitSteps::pem>},
    {"RaBacklash", TakeNumber<&InitSteps::raBacklash>},
    {"DecBacklash", TakeNumber<&InitSteps::decBacklash>},
};

constexpr std::string_view kSyncTime = "SyncTime";

Item ItemOf(std::string_view text) {
    const std::size_t equals = text.find('=');
    return {Trim(text.substr(0, equals)),
            equals == std::string_view::npos ? std::string{} : Trim(text.substr(equals + 1))};
}

void Take(InitSteps& steps, const Item& item, Log& log) {
    if (item.key == kSyncTime) {
        steps.time = true;
        return;
    }
    const auto row = std::ranges::find(kKeys, item.key, &KeyRow::key);
    if (row != std::end(kKeys) && !item.value.empty()) {
        row->take(steps, item.value, log);
    }
}

}  // namespace

InitSteps StepsOfInitString(std::string_view text, Log& log) {
    InitSteps steps;
    for (;;) {
        const std::size_t comma = text.find(',');
        Take(steps, ItemOf(text.substr(0, comma)), log);
        if (comma == std::string_view::npos) {
            return steps;
        }
        text.remove_prefix(comma + 1);
    }
}

}  // namespace kestrane
