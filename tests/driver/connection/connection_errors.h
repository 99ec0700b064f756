#pragma once

#include <cstdint>

namespace kestrane {

/// What a connect raises when no mount answers.
inline constexpr std::uint32_t kNoMount = 0x80040402;

}  // namespace kestrane
