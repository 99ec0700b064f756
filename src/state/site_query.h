#pragma once

#include <optional>

#include "catalogue/wire_commands.h"
#include "kernel/base/log.h"
#include "state/sequence.h"

namespace kestrane {

/// Asks for a half of the mount's site: degrees, as the mount gives it; nothing when it does not answer or its answer
/// cannot be read. An answer without seconds shows that the mount is in its short format: it is toggled once and asked
/// again. Any other answer that cannot be read is asked for again without that. One to three exchanges.
std::optional<double> AskSiteDegrees(Sequence& mount, const TextCommand& question, Log& log);

}  // namespace kestrane
