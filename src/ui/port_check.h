#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "link/link_factory.h"
#include "link/mount_link.h"
#include "state/essentials.h"

namespace kestrane {

/// Opens a closed link with this limit of its reads, in ms, runs `work` on it and closes it again; false where it stays
/// closed, or does not hold. A serial line is left to settle first, which pumps for 100 ms.
bool OnOwnLink(MountLink& link, std::int32_t limit, Waits& waits, const std::function<bool(MountLink&)>& work);

/// Asks for the firmware version: a serial line three times, as the check of the link of the process does. False
/// without an answer.
bool AskVersion(MountLink& link, std::string& version);

struct PortCheckNeeds {
    Essentials driver;
    const LinkFactory& links;
    const std::unique_ptr<MountLink>& link;  ///< that of the process
    // See `ConnectionManager`.
    std::function<std::int32_t()> readTimeout;
    std::function<bool(std::int16_t port, std::int16_t timeoutMs, std::string& version)> checkConnection;
};

/// Looks for a mount on a serial port, for the windows that set one: over the link of the process, or over one of its
/// own where that is no serial one. Logic thread only.
class PortCheck final {
public:
    explicit PortCheck(PortCheckNeeds needs);

    /// `port` as the lists of ports show it: "COM4".
    bool Find(std::string_view port, std::string& version) const;
    /// A closed link to that port, which is not the one of the process.
    std::unique_ptr<MountLink> MakeLink(std::string_view port) const;

private:
    PortCheckNeeds needs_;
};

}  // namespace kestrane
