#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

/// The names of serial ports: "COM" and a number from 1 up.
namespace kestrane {

inline constexpr std::string_view kPortLetters = "COM";

inline std::string PortName(std::int32_t number) {
    return std::string(kPortLetters) + std::to_string(number);
}

/// What follows the letters in a name as settings hold it. Which letters they are is not checked.
inline std::string AfterPortLetters(std::string_view name) {
    return std::string(name.substr(std::min(kPortLetters.size(), name.size())));
}

}  // namespace kestrane
