#pragma once

#include <string>

#include "kernel/base/counters.h"

/// The alarm letters in what came over a link. The head of a companion's reply does not come from the mount and is
/// spared ("QUAY," holds a "Y").
namespace kestrane {

/// Removes them from one reply.
void RemoveAlarms(AlarmFilter& filter, std::string& reply);
/// Removes them from all that was read at once, which may hold several replies.
void RemoveAlarmsFromAll(AlarmFilter& filter, std::string& bytes);

}  // namespace kestrane
