#include "link/link_choice.h"

#include "settings/setting_keys.h"

namespace kestrane {

bool LinkIsOverIp(const MountLink* link, Persist& persist, Log& log) {
    const bool chosen = persist.Read(setting::chkIPAddress) != "0";
    if (link == nullptr || link->IsOverIp() == chosen) {
        return chosen;
    }
    log.LogMessage("Link", LogLevel::Warning,
                   "The settings choose another kind of link: it is used from the next start of the driver on");
    return link->IsOverIp();
}

}  // namespace kestrane
