#pragma once

#include <boost/asio/ip/address.hpp>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/sliced_wait.h"

namespace kestrane {

/// The addresses of hosts. The system's lookup may take many seconds; it runs on a thread of its own, and nobody waits
/// for it longer than wanted. A known name is looked up again after a minute, and its old addresses serve until the
/// new ones are there, however often the new lookup fails: a name server that is down takes no mount away. After a
/// failure the next call looks up again, so that a network that comes back is found at once. Of one name no two lookups
/// run at a time. Logic thread only.
class HostNames {
public:
    static constexpr std::chrono::seconds kKnownFor{60};

    struct Answer {
        std::vector<boost::asio::ip::address> addresses;  ///< in the order in which to try them
        std::string error;  ///< in the system's words, without addresses; empty while no lookup has ended
    };
    /// Called on a thread of its own, which may outlive the object.
    using Lookup = std::function<Answer(const std::string& host)>;

    explicit HostNames(Lookup lookup = SystemLookup, std::chrono::milliseconds knownFor = kKnownFor)
        : lookup_(std::move(lookup)), knownFor_(knownFor) {}

    /// A host that is an address is its own answer. Of a name nobody knows yet the answer is awaited up to the
    /// deadline; a lookup that takes longer goes on, and the next call waits for the same one. Until it ends, the
    /// reason of the last failure is the answer.
    Answer Find(const std::string& host, SlicedWait::TimePoint deadline, const SlicedWait& wait);

    static Answer SystemLookup(const std::string& host);

private:
    class Running;
    struct Known {
        Answer answer;
        std::chrono::steady_clock::time_point since{};
        std::shared_ptr<Running> lookup;  ///< none runs
    };

    static void TakeResult(Known& known);

    const Lookup lookup_;
    const std::chrono::milliseconds knownFor_;
    std::map<std::string, Known> hosts_;
};

}  // namespace kestrane
