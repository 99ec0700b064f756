#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"

namespace kestrane {

/// Whose an object of a device is. Programs at one address that use the same number share their objects.
struct ListedClientName {
    std::string address;  ///< remote IP address
    std::uint32_t number = 0;
    std::string device;  ///< "Telescope" or "Focuser"

    bool operator==(const ListedClientName&) const = default;
};

/// An object of a client, as a person is told of it. Times are local.
struct ListedClient {
    ListedClientName name;
    std::optional<DateTime> connectedSince;  ///< nothing while it is not connected
    DateTime lastRequest;
    std::string runs;  ///< the members that run now; empty for none
};

/// The clients of the driver, kept by who serves them. Logic thread only.
class ClientList {
public:
    virtual ~ClientList() = default;

    virtual std::vector<ListedClient> Clients() const = 0;
    /// Disconnects the client and ends what it has left moving, as the end of its lease does, once the calls that run
    /// now permit it; its next request begins anew. A client that has gone meanwhile is passed over.
    virtual void ReleaseClient(const ListedClientName& name) = 0;
};

}  // namespace kestrane
