#pragma once

#include "catalogue/wire_commands.h"
#include "kernel/base/log.h"
#include "state/sequence.h"

namespace kestrane {

enum class SiteAnswer {
    Read,
    Refused,  ///< the mount has answered, but nothing that can be read
    Silent,
};

/// What a reading of the site does once a half of it went unanswered.
enum class AfterSilence { AsksOn, Ends };

/// Degrees, as the mount gives them; 0 unless they were read.
struct SiteDegrees {
    SiteAnswer answer = SiteAnswer::Silent;
    double degrees = 0.0;

    bool Read() const { return answer == SiteAnswer::Read; }
};

/// Asks for a half of the mount's site. An answer without seconds shows that the mount is in its short format: it is
/// toggled once and asked again. Any other answer that cannot be read is asked for again without that. One to three
/// exchanges.
SiteDegrees AskSiteDegrees(Sequence& mount, const TextCommand& question, Log& log);

}  // namespace kestrane
