#include "state/site_query.h"

#include <string>

#include "kernel/base/conversions.h"
#include "state/mount_replies.h"

namespace kestrane {

std::optional<double> AskSiteDegrees(Sequence& mount, const TextCommand& question, Log& log) {
    std::string reply = mount.CommandStringInternal(question);
    double degrees = 0.0;
    if (ParseProtocolDegrees(reply, degrees, log)) {
        return degrees;
    }
    if (reply.empty()) {
        return std::nullopt;  // the exchange has repeated it
    }
    if (IsShortAngle(reply)) {
        mount.CommandBlindInternal(wire::ToggleFormat);
    }
    reply = mount.CommandStringInternal(question);
    return ParseProtocolDegrees(reply, degrees, log) ? std::optional(degrees) : std::nullopt;
}

}  // namespace kestrane
