#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/clock.h"

namespace kestrane {

/// JSON texts. Doubles have the shortest form that reads back as the same number; a value that is no number raises
/// `std::domain_error`. Texts that are not UTF-8 are read as Latin-1.
std::string JsonOf(bool value);
std::string JsonOf(int value);
std::string JsonOf(std::uint32_t value);
std::string JsonOf(std::uint64_t value);
std::string JsonOf(double value);
std::string JsonOf(std::string_view value);
std::string JsonOf(const std::string& value);
std::string JsonOf(const char* value);
/// A date as `yyyy-MM-ddTHH:mm:ss.fffffffZ`.
std::string JsonOf(const DateTime& utc);

/// A list; `toJson` gives the JSON text of an item.
template <typename Items, typename ToJson>
std::string JsonList(const Items& items, const ToJson& toJson) {
    std::string json = "[";
    for (const auto& item : items) {
        json += json.size() > 1 ? "," : "";
        json += toJson(item);
    }
    return json + "]";
}
template <typename Items>
std::string JsonList(const Items& items) {
    return JsonList(items, [](const auto& item) { return JsonOf(item); });
}

}  // namespace kestrane
