#include "ui/port_check.h"

#include <utility>

#include "catalogue/wire_commands.h"
#include "kernel/base/errors.h"
#include "ui/port_list.h"

namespace kestrane {
namespace {

constexpr std::int32_t kSpeed = 9600;  // baud
constexpr std::int32_t kOpenTimeoutMs = 5000;
constexpr std::int32_t kSettleMs = 100;
constexpr int kTries = 3;

/// Whatever came before the link has settled is no answer.
bool Open(MountLink& link, std::int32_t limit, Waits& waits) {
    link.ReceiveTimeoutMS(link.IsOverIp() ? limit : kOpenTimeoutMs);
    link.Connected(true);
    if (link.Connected() && !link.IsOverIp()) {
        link.ClearBuffers();
        waits.WaitForMilliseconds(kSettleMs);
        if (limit > 0) {
            link.ReceiveTimeoutMS(limit);
        }
    }
    return link.Connected();
}

/// A silent serial line raises in a read.
std::string VersionOrNothing(MountLink& link) {
    try {
        link.Transmit(wire::VersionRaw.With("").OnTheWire());
        const std::string reply = link.ReceiveTerminated(wire::kReplyEnd);
        return reply.substr(0, reply.find(wire::kReplyEnd));
    } catch (const DriverError&) {
        return {};
    }
}

}  // namespace

bool OnOwnLink(MountLink& link, std::int32_t limit, Waits& waits, const std::function<bool(MountLink&)>& work) {
    bool result = false;
    try {
        result = Open(link, limit, waits) && work(link);
    } catch (const DriverError&) {
        result = false;
    }
    link.Connected(false);
    return result;
}

bool AskVersion(MountLink& link, std::string& version) {
    const int tries = link.IsOverIp() ? 1 : kTries;
    for (int i = 0; i < tries && version.empty(); ++i) {
        version = VersionOrNothing(link);
    }
    return !version.empty();
}

PortCheck::PortCheck(PortCheckNeeds needs) : needs_(std::move(needs)) {}

bool PortCheck::Find(std::string_view port, std::string& version) const {
    const std::int32_t limit = needs_.readTimeout();
    if (needs_.link && !needs_.link->IsOverIp()) {
        return needs_.checkConnection(PortNumberOf(port), CheckTimeout(limit), version);
    }
    const std::unique_ptr<MountLink> link = MakeLink(port);
    return OnOwnLink(*link, limit, needs_.driver.waits, [&](MountLink& own) { return AskVersion(own, version); });
}

std::unique_ptr<MountLink> PortCheck::MakeLink(std::string_view port) const {
    std::unique_ptr<MountLink> link = needs_.links.MakeSerial();
    link->Port(PortNumberOf(port));
    link->Speed(kSpeed);
    return link;
}

}  // namespace kestrane
