#include "link/mount_alarms.h"

#include <utility>

#include "link/companion_wrap.h"

namespace kestrane {

void RemoveAlarms(AlarmFilter& filter, std::string& reply) {
    const std::size_t head = reply.size() - SplitCompanionReply(reply).result.size();
    std::string fromMount = reply.substr(head);
    filter.FilterAlarms(fromMount);
    reply.replace(head, std::string::npos, fromMount);
}

void RemoveAlarmsFromAll(AlarmFilter& filter, std::string& bytes) {
    std::string filtered;
    for (std::string& part : CutAtCompanionHeads(bytes)) {
        RemoveAlarms(filter, part);
        filtered += part;
    }
    bytes = std::move(filtered);
}

}  // namespace kestrane
