#pragma once

#include <optional>

#include "state/essentials.h"

namespace kestrane {

/// Hours by which a park that begins now goes east first, by the settings and the side on which the mount stands;
/// nothing when it goes straight to its position.
std::optional<double> EastSlewHours(Essentials driver);

}  // namespace kestrane
