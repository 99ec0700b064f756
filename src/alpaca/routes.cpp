#include "alpaca/routes.h"

#include <cassert>

#include "kernel/base/text.h"

namespace kestrane::alpaca {
namespace {

std::string PathKey(DeviceKind device, Verb verb, std::string_view member) {
    std::string key = verb == Verb::Get ? "GET " : "PUT ";
    key += PathName(device);
    key += '/';
    key += member;
    return key;
}

}  // namespace

RouteTable::RouteTable(std::vector<Route> telescope, std::vector<Route> focuser)
    : telescope_(std::move(telescope)), focuser_(std::move(focuser)) {
    Index(DeviceKind::Telescope, telescope_);
    Index(DeviceKind::Focuser, focuser_);
}

void RouteTable::Index(DeviceKind device, const std::vector<Route>& routes) {
    for (const Route& route : routes) {
        [[maybe_unused]] const bool added =
            byPath_.emplace(PathKey(device, route.verb, ToLower(route.name)), &route).second;
        assert(added && "a member stands twice in the table");
    }
}

const Route* RouteTable::Find(DeviceKind device, Verb verb, std::string_view member) const {
    const auto found = byPath_.find(PathKey(device, verb, member));
    return found == byPath_.end() ? nullptr : found->second;
}

}  // namespace kestrane::alpaca
