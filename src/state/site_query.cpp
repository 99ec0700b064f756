#include "state/site_query.h"

#include <string>

#include "kernel/base/conversions.h"
#include "state/mount_replies.h"

namespace kestrane {

SiteDegrees AskSiteDegrees(Sequence& mount, const TextCommand& question, Log& log) {
    std::string reply = mount.CommandStringInternal(question);
    double degrees = 0.0;
    if (ParseProtocolDegrees(reply, degrees, log)) {
        return {SiteAnswer::Read, degrees};
    }
    if (reply.empty()) {
        return {};  // the exchange has repeated it
    }
    if (IsShortAngle(reply)) {
        mount.CommandBlindInternal(wire::ToggleFormat);
    }
    reply = mount.CommandStringInternal(question);
    if (ParseProtocolDegrees(reply, degrees, log)) {
        return {SiteAnswer::Read, degrees};
    }
    return {SiteAnswer::Refused};
}

}  // namespace kestrane
