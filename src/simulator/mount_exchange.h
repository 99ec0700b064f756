#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "simulator/mount_simulator.h"

namespace kestrane::simulator {

/// Writes to the mount and gives all that its line brings until it is quiet; what the mount still had to say before
/// comes first. Sleeps in `clock`, at most `limitMs`. Nothing when the line is not quiet by then: what has come is
/// lost, what is on its way comes to the next one who asks.
std::optional<std::string> AskMount(MountSimulator& mount, Clock& clock, std::string_view bytes, std::int32_t limitMs);

/// A command without its frame as it stands on the line: ":GR#", "$K1#", "#".
std::string Framed(std::string_view command);

}  // namespace kestrane::simulator
