#include "ui/port_list.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "kernel/base/conversions.h"
#include "platform/port_names.h"

namespace kestrane {

void FillPorts(ComboBox& list, SerialPorts& ports, Persist& persist) {
    std::vector<std::string> names;
    for (const SerialPortEntry& entry : ports.ListPorts().ports) {
        names.push_back(entry.name);
    }
    const std::string kept = persist.Read(setting::Port);
    const std::string stored = kept.empty() ? std::string(setting::Port.fallback) : kept;
    auto selected = std::ranges::find(names, stored);
    if (selected == names.end()) {
        selected = names.insert(names.end(), stored);
    }
    const auto index = static_cast<std::int32_t>(selected - names.begin());
    list.ListItems(std::move(names));
    list.ListIndex(index);
}

std::int16_t PortNumberOf(std::string_view name) {
    std::int16_t port = 0;
    TryParseInteger(AfterPortLetters(name), port);
    return port;
}

std::int16_t CheckTimeout(std::int32_t milliseconds) {
    constexpr std::int32_t kLongest = std::numeric_limits<std::int16_t>::max();
    return static_cast<std::int16_t>(std::min(milliseconds, kLongest));
}

std::string CheckResultText(bool found, std::string version) {
    if (version.ends_with('#')) {
        version.pop_back();
    }
    return found ? "Mount found! Firmware Rev: " + version : "Mount not found!";
}

}  // namespace kestrane
