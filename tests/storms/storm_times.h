#pragma once

#include <cstdint>

namespace kestrane::storm {

// Virtual time, in milliseconds.
inline constexpr std::int64_t kSecond = 1'000;
inline constexpr std::int64_t kMinute = 60 * kSecond;
inline constexpr std::int64_t kReadMs = 1'000;  ///< between two reads of a client

}  // namespace kestrane::storm
