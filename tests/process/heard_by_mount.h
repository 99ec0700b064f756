#pragma once

#include <string>

#include "process/program.h"

/// What a simulated mount that was started with "--verbose" has heard so far.
namespace kestrane::process {

/// All of it, byte after byte.
std::string HeardBy(const Program& mount);
/// Millisecond of the day at which it first heard these bytes; -1 when it did not.
int WhenHeard(const Program& mount, const std::string& bytes);
/// The same bytes as the mount logs them: a control character as its number.
std::string AsTheMountShows(const std::string& wire);

}  // namespace kestrane::process
